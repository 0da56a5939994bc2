// Gestures of one's own: a verdict on each repetition, and the model, as `wgr build`
// makes it.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/errors.h"
#include "base/sha256.h"
#include "base/text.h"
#include "json/json_text.h"
#include "pages/model_page.h"
#include "pages/page_data.h"
#include "request.h"
#include "segmentation/segmented_set.h"
#include "text/build_text.h"
#include "text/set_text.h"
#include "training/model_builder.h"
#include "training/model_findings.h"
#include "training/model_output.h"
#include "training/training_file.h"

namespace wgr {

static constexpr double kSecondsPerHour = 3600.0;
static constexpr size_t kFewestAlike = 2;  // repetitions that say how alike a class is
static constexpr double kMuchLessAlike = 2.0;  // scores are 0 at best, and negative

static SegmentedSet segment_folder(const Json& request) {
  SegmentationOptions options;
  options.rate = given(request, "rate", 50);
  const auto background = given<std::string>(request, "background", "");
  return segment_set(
      read_recording_set(request.at("folder")),
      background.empty() ? std::vector<SetEntry>() : read_background(background),
      options);
}

static Gdata data_of(const SegmentedSet& set) {
  return parse_training_text(training_text(kept_motions(set), set.provenance.gravity));
}

static std::string word_of(int label, const Provenance& provenance) {
  for (const auto& [word, number] : provenance.classes) {
    if (number == label) return word;
  }
  return std::to_string(label);
}

// ---- one repetition
// ------------------------------------------------------------------------

// What keeps it from being an example, in words; empty when nothing does.
static std::string fault_of(const SegmentedRecording& recording, const Provenance& p) {
  if (recording.pre_segmented) return "no rest around it: hold still before and after";
  if (recording.motions.empty()) return "no motion in it: the wrist was at rest";
  const auto kept = std::count_if(
      recording.motions.begin(), recording.motions.end(),
      [](const Motion& motion) { return motion.verdict == Verdict::kKept; });
  if (kept > 1) return "more than one motion: a rest within it divided it";
  if (kept == 1) return "";
  const Motion& longest = *std::max_element(
      recording.motions.begin(), recording.motions.end(),
      [](const Motion& a, const Motion& b) { return a.end - a.begin < b.end - b.begin; });
  const double shortest = static_cast<double>(p.shortest) / p.rate;
  switch (longest.verdict) {
    case Verdict::kTooShort:
      return fmt::format("too short: {:.2f} s of {:.2f} s", longest.end - longest.begin,
                         shortest);
    case Verdict::kTooWeak:
      return fmt::format("too weak: make it with more than {:.1f} m/s²",
                         p.strength_threshold);
    case Verdict::kStartsFast:
      return "starts fast: hold still before it begins";
    case Verdict::kEndsFast:
      return "ends fast: hold still when it is done";
    default:
      return kVerdictNames[static_cast<size_t>(longest.verdict)];
  }
}

namespace {

// How alike an example is to the others of its class, and of the other classes.
struct Nearest {
  std::optional<double> own;
  std::optional<double> other;
  int other_label = 0;
  size_t alike = 0;  // others of its class
};

}  // namespace

static Nearest nearest_of(size_t example, const ModelBuilder& builder, int k) {
  Nearest nearest;
  std::vector<Exemplar> others;
  for (size_t i = 0; i < builder.traces().size(); ++i) {
    if (i != example) others.push_back({"", builder.labels()[i], builder.traces()[i]});
  }
  std::vector<size_t> met(others.size());
  for (size_t i = 0; i < met.size(); ++i) met[i] = i;
  const int label = builder.labels()[example];
  const auto is_own = [&](size_t i) { return others[i].label == label; };
  std::vector<size_t> foreign;
  std::copy_if(met.begin(), met.end(), std::back_inserter(foreign),
               [&](size_t i) { return !is_own(i); });
  nearest.alike = met.size() - foreign.size();
  PageExample page;
  page.label = label;
  page.trace = builder.traces()[example];
  find_likeness(others, met, k, page);
  if (page.own) nearest.own = page.own->score;
  page.best.reset();
  find_likeness(others, foreign, k, page);
  if (page.best) {
    nearest.other = page.best->score;
    nearest.other_label = others[page.best->exemplar].label;
  }
  return nearest;
}

// The least alike of the others, each with its nearest.
static std::optional<double> usual_likeness(size_t example, const ModelBuilder& builder,
                                            int k) {
  std::optional<double> least;
  for (size_t i = 0; i < builder.traces().size(); ++i) {
    if (i == example || builder.labels()[i] != builder.labels()[example]) continue;
    const Nearest nearest = nearest_of(i, builder, k);
    if (nearest.own) least = std::min(least.value_or(0.0), *nearest.own);
  }
  return least;
}

// What is odd about an example that is kept; empty when nothing is.
static std::string oddity_of(size_t kept, const SegmentedSet& set) {
  const Gdata data = data_of(set);
  const ModelBuilder builder(data, 1, true);
  const auto& origin = builder.origin();
  const auto found = std::find(origin.begin(), origin.end(), kept);
  if (found == origin.end()) return "";
  const auto example = static_cast<size_t>(found - origin.begin());
  const int k = data.kind == 1 ? 1 : 0;
  const Nearest nearest = nearest_of(example, builder, k);
  if (!nearest.own) return "";
  if (nearest.other && *nearest.other > *nearest.own) {
    return "more like " + word_of(nearest.other_label, set.provenance) +
           " than like the others of its kind";
  }
  const auto usual = usual_likeness(example, builder, k);
  if (nearest.alike > kFewestAlike && usual && *nearest.own < kMuchLessAlike * *usual) {
    return "unlike the others of its kind";
  }
  return "";
}

Json judge_request(const Json& request) {
  const SegmentedSet set = segment_folder(request);
  const std::string file = request.at("file");
  size_t kept = 0;  // before the recording's own
  for (const SegmentedRecording& recording : set.recordings) {
    if (recording.entry.file == file) {
      const std::string fault = fault_of(recording, set.provenance);
      return {{"good", fault.empty()},
              {"said", fault.empty() ? oddity_of(kept, set) : fault}};
    }
    for (const Motion& motion : recording.motions) {
      kept += motion.verdict == Verdict::kKept ? 1 : 0;
    }
  }
  throw UsageError(file + ": is not in the set");
}

// ---- the model
// -----------------------------------------------------------------------------

Json build_request(const Json& request) {
  const SegmentedSet set = segment_folder(request);
  const Provenance& provenance = set.provenance;
  const Gdata data = data_of(set);
  BuildOptions options;
  options.threads = 1;
  options.background_hours = provenance.background_seconds / kSecondsPerHour;
  BuildReport report;
  const ModelBuilder builder(data, 1, true, {provenance.subjects, provenance.sessions});
  const Gmodel model = builder.build(options, report);
  require_faultless_model(model, report, "your gestures");
  PageData page =
      page_data_of_build(builder, model, report, options, provenance, names_of_kept(set));
  page.title = "Your gestures";
  for (const std::string& caveat : caveats_of(set)) page.caveats.push_back(caveat);
  const std::string bytes = model_text(model);
  page.origin = {"wgr " WGR_VERSION, "", sha256(bytes)};
  set_stamps(set, page.origin);
  put_file("taught.xml", bytes);
  put_file("taught.report.txt", report_text(report, options, provenance));
  put_file("taught.model.json",
           json_text(manifest(report, options, provenance, sha256(bytes)), 2) + "\n");
  put_file("taught.html", model_page(page));
  Json classes = Json::array();
  for (const ClassReport& c : report.classes) {
    classes.push_back({{"class", c.label},
                       {"name", word_of(c.label, provenance)},
                       {"examples", c.examples},
                       {"templates", c.templates},
                       {"right", c.right}});
  }
  return {{"classes", classes},
          {"examples", report.examples()},
          {"right", report.accepted()},
          {"background", report.background},
          {"background_accepted", report.background_accepted},
          {"background_seconds", provenance.background_seconds},
          {"notes", report.notes}};
}

}  // namespace wgr
