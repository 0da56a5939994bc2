#include "evaluation/settings_choice.h"

#include <cmath>
#include <optional>

#include "base/errors.h"
#include "base/progress.h"
#include "base/text.h"
#include "training/training_file.h"

namespace wgr {

// Of a second: the rest windows that are tried beside the library's own, and the shortest
// motions, to whose length set_gesture_rec_sensitivity() fits the weakest.
static constexpr double kWindows[] = {0.16, 0.12, 0.10};
static constexpr double kShortest[] = {0.3, 0.2};
static constexpr int kLeastWindow = 2;    // samples
static constexpr double kNoModel = -1e9;  // gains of what cannot be built
static constexpr double kNoExample = -2e9;
static constexpr int kPermissive = 1;  // level of sensitivity

std::vector<HostSettings> settings_to_try(const HostSettings& given, int rate) {
  std::vector<HostSettings> lengths = {given};
  if (given.shortest < 1 && !given.sensitivity) {
    HostSettings other = given;
    other.sensitivity = kPermissive;
    lengths.push_back(other);
    for (const double seconds : kShortest) {
      other.sensitivity = -static_cast<int>(std::lround(seconds * rate));
      lengths.push_back(other);
    }
  }
  std::vector<HostSettings> all = lengths;
  if (given.static_window >= 1) return all;
  for (const double seconds : kWindows) {
    const int window = static_cast<int>(std::lround(seconds * rate));
    if (window < kLeastWindow) continue;
    for (HostSettings host : lengths) {
      host.static_window = window;
      all.push_back(host);
    }
  }
  return all;
}

size_t choose_settings(const std::vector<TriedSettings>& tried) {
  size_t best = 0;
  for (size_t i = 1; i < tried.size(); ++i) {
    if (tried[i].gain > tried[best].gain) best = i;
  }
  return best;
}

SegmentedAlternatives::SegmentedAlternatives(std::vector<SegmentedSet> sets,
                                             unsigned threads)
    : sets_(std::move(sets)) {
  std::optional<UsageError> without_gestures;
  bool any = false;
  for (const SegmentedSet& set : sets_) {
    builders_.emplace_back();
    try {
      builders_.back() = std::make_unique<ModelBuilder>(
          parse_training_text(training_text(kept_motions(set), set.provenance.gravity)),
          threads, sets_.size() > 1,
          ExampleSources{set.provenance.subjects, set.provenance.sessions});
      any = true;
    } catch (const UsageError& error) {
      without_gestures = error;
    }
  }
  if (!any && without_gestures) throw *without_gestures;
}

TriedSettings SegmentedAlternatives::try_one(size_t i, const std::vector<bool>& taken,
                                             size_t repetitions,
                                             const BuildOptions& options) const {
  TriedSettings tried;
  const Provenance& p = sets_[i].provenance;
  tried.host = host_settings_of(p);
  tried.repetitions = repetitions;
  tried.gain = builders_[i] == nullptr ? kNoExample : kNoModel;
  if (builders_[i] == nullptr) return tried;
  BuildReport report;
  try {
    builders_[i]->build(taken, options, report);
  } catch (const UsageError&) {
    return tried;  // nothing of a class was kept
  }
  tried.kept = report.examples();
  tried.accepted = report.accepted();
  tried.background_accepted = report.background_accepted;
  // An allowance of false positives is kept by the thresholds already.
  const double cost =
      options.false_positives_per_hour
          ? 0.0
          : options.false_cost * static_cast<double>(report.background_accepted);
  tried.gain = static_cast<double>(tried.accepted) - cost;
  return tried;
}

size_t choose_alternative(const SegmentedAlternatives& sets, const BuildOptions& options,
                          std::vector<TriedSettings>& tried) {
  size_t repetitions = 0;
  for (const SegmentedRecording& recording : sets.set(0).recordings) {
    repetitions += recording.annotations.size();
  }
  Progress progress("comparing settings of the host", sets.count());
  for (size_t i = 0; i < sets.count(); ++i) {
    const std::vector<bool> all(kept_motions(sets.set(i)).size(), true);
    tried.push_back(sets.try_one(i, all, repetitions, options));
    progress.add(1);
  }
  const size_t chosen = choose_settings(tried);
  tried[chosen].chosen = true;
  return chosen;
}

std::string text_of(const std::vector<TriedSettings>& tried) {
  std::string text =
      fmt::format("{:44}    kept  right, of all repetitions\n", "settings of the host");
  for (const TriedSettings& t : tried) {
    text += fmt::format("{:44}  {:6}  {:6.1f} %{}\n", settings_text(t.host), t.kept,
                        100.0 * share(t.accepted, t.repetitions),
                        t.chosen ? "  <- chosen" : "");
  }
  return text;
}

}  // namespace wgr
