#include <algorithm>
#include <map>

#include "base/text.h"
#include "classifier/HGR.h"
#include "classifier/class_threshold.h"
#include "pages/model_accounts.h"

namespace wgr {

static constexpr double kMsPerSecond = 1000.0;

static bool same_exemplar(const Exemplar& a, int label, const Points& trace) {
  return a.label == label &&
         std::equal(a.trace.begin(), a.trace.end(), trace.begin(), trace.end(),
                    [](const Point3Df& p, const Point3Df& q) {
                      return p.x == q.x && p.y == q.y && p.z == q.z;
                    });
}

// The places among the exemplars of each model's templates. Models of folds share most
// of them.
static std::vector<std::vector<size_t>> collect(const std::vector<Gmodel>& models,
                                                std::vector<Exemplar>& exemplars) {
  std::vector<std::vector<size_t>> places;
  for (const Gmodel& model : models) {
    places.emplace_back();
    for (const auto& [label, trace] : model.templates) {
      size_t place = 0;
      while (place < exemplars.size() && !same_exemplar(exemplars[place], label, trace)) {
        ++place;
      }
      if (place == exemplars.size()) {
        exemplars.push_back({fmt::format("no. {}", place + 1), label, trace});
      }
      places.back().push_back(place);
    }
  }
  return places;
}

static AccountedTake account_of(const Played& played, const SegmentedSet& set,
                                const Gmodel& model) {
  const SegmentedRecording& recording = set.recordings[played.recording];
  AccountedTake take;
  take.label = kBackground;
  take.outcome = played.outcome;
  take.why = played.cause;
  double begin = 0.0;
  if (played.take) {
    take.label = recording.spans[*played.take].label;
    begin = recording.spans[*played.take].begin;
  } else {
    begin = recording.motions[*played.motion].begin;
  }
  take.name = recording.entry.file;
  if (!recording.whole) take.name += fmt::format(" at {:.2f} s", begin);
  if (!played.motion) return take;
  take.trace = recording.motions[*played.motion].trace;  // empty unless it was kept
  if (model.normalize != 0) HGR(0).normalize(take.trace, model.havegravity);
  return take;
}

static void measure(const Evaluation& result, ModelAccount& account) {
  auto& measured = account.measured;
  if (result.takes > 0) {
    measured.emplace_back(
        "reported as their class",
        fmt::format("{} of {}", percent(result.accuracy()), result.takes));
    measured.emplace_back(
        "of takes with a motion of their own",
        fmt::format("{} of {}", percent(result.kept_accuracy()), result.kept));
  }
  if (const auto rate = result.false_positives_per_hour()) {
    measured.emplace_back(
        "false events",
        fmt::format("{} in {:.3f} h", result.false_events, result.background_hours));
    measured.emplace_back(
        "an hour", fmt::format("{:.2f}, no more than {:.1f} with 95 % confidence", *rate,
                               *result.false_per_hour_bound()));
    measured.emplace_back("outside takes, like no gesture",
                          std::to_string(result.refused_outside));
  } else {
    measured.emplace_back("false events", "no background to count them in");
  }
  if (const auto median = result.latency(0.5)) {
    measured.emplace_back(
        "latency", fmt::format("{:.0f} ms, at most {:.0f} ms", *median * kMsPerSecond,
                               *result.latency(1.0) * kMsPerSecond));
  }
  account.misses.assign(result.misses.begin(), result.misses.end());
  account.latencies = result.latencies;
  for (const Fold& fold : result.folds) {
    account.folds.push_back(
        {fold.left_out, fold.takes, fold.right, fold.templates, fold.samples});
  }
}

// The class labels of all models, with every model's threshold.
static std::vector<ClassAccount> classes_of(const std::vector<Gmodel>& models) {
  std::map<int, std::vector<double>> thresholds;
  for (const Gmodel& model : models) {
    for (const auto& entry : model.templates) thresholds[entry.first];
    for (const int label : model.class_labels) {
      if (const auto threshold = threshold_of(model, label)) {
        thresholds[label].push_back(*threshold);
      }
    }
  }
  std::vector<ClassAccount> classes;
  for (auto& [label, values] : thresholds) {
    std::sort(values.begin(), values.end());
    classes.push_back({label, values, ""});
  }
  return classes;
}

static std::string cost_note(const std::vector<Gmodel>& models) {
  if (models.size() < 2) return "";
  const auto [least, most] = std::minmax_element(
      models.begin(), models.end(), [](const Gmodel& a, const Gmodel& b) {
        return a.templates.size() < b.templates.size();
      });
  return fmt::format("This is the first of {} models; they have {} to {} templates.",
                     models.size(), least->templates.size(), most->templates.size());
}

ModelAccount account_of_evaluation(const SegmentedSet& set, const Evaluation& result) {
  ModelAccount account;
  account.provenance = set.provenance;
  account.model = result.models.front();
  account.cost_note = cost_note(result.models);
  account.facts = {
      fmt::format("{} takes in {}, played through the library's C interface.",
                  result.takes, counted(set.recordings.size(), "recording"))};
  if (result.whole > 0) {
    account.facts.push_back(
        fmt::format("{} of them were cut beforehand and are no streams.", result.whole));
  }
  account.classes = classes_of(result.models);
  const std::vector<std::vector<size_t>> places =
      collect(result.models, account.exemplars);
  for (const Played& played : result.played) {
    const Gmodel& model = result.models[played.fold];
    AccountedTake take = account_of(played, set, model);
    if (!take.trace.empty()) {
      find_likeness(account.exemplars, places[played.fold], model.havegravity, take);
      if (take.best) {
        take.threshold =
            threshold_of(model, account.exemplars[take.best->exemplar].label);
      }
    }
    account.takes.push_back(std::move(take));
  }
  for (const ClassAccount& c : account.classes) {
    if (const auto precision = result.precision(c.label)) {
      account.precision[c.label] = *precision;
    }
  }
  measure(result, account);
  return account;
}

}  // namespace wgr
