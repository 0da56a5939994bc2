#include <algorithm>
#include <map>

#include "base/class_codes.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "classifier/class_threshold.h"
#include "evaluation/confidence.h"
#include "pages/page_data.h"
#include "pages/shares.h"

namespace wgr {

static constexpr double kMsPerSecond = 1000.0;
static constexpr double kSecondsAround = 3.0;  // of a false positive
static constexpr size_t kMostExcerpts = 100;   // false positives with their stream

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

// The stream around a motion that was reported without being a gesture.
static StreamExcerpt excerpt_of(const SegmentedRecording& recording,
                                const Motion& motion) {
  StreamExcerpt excerpt;
  for (const RecordedSample& sample : recording.samples) {
    if (sample.t < motion.begin - kSecondsAround ||
        sample.t > motion.end + kSecondsAround)
      continue;
    if (excerpt.samples.empty()) excerpt.begin = sample.t;
    excerpt.samples.push_back(sample);
  }
  excerpt.motion_begin = motion.begin;
  excerpt.motion_end = motion.end;
  return excerpt;
}

static bool is_false_positive(const Played& played) {
  return !played.repetition && played.outcome != kOutcomeRejected &&
         played.outcome != kOutcomeNotDetected;
}

static PageExample example_of(const Played& played, const SegmentedSet& set,
                              const Gmodel& model) {
  const SegmentedRecording& recording = set.recordings[played.recording];
  PageExample example;
  example.label = kBackground;
  example.outcome = played.outcome;
  example.why = played.cause;
  double begin = 0.0;
  if (played.repetition) {
    example.label = recording.annotations[*played.repetition].label;
    begin = recording.annotations[*played.repetition].begin;
  } else {
    begin = recording.motions[*played.motion].begin;
  }
  example.name = recording.entry.file;
  example.subject = recording.entry.subject;
  if (!recording.pre_segmented) example.name += fmt::format(" at {:.2f} s", begin);
  if (!played.motion) return example;
  example.trace = recording.motions[*played.motion].trace;  // empty unless it was kept
  if (model.normalize != 0) HGR(0).normalize(example.trace, model.havegravity);
  return example;
}

static void measure(const Evaluation& result, PageData& page_data) {
  auto& measured = page_data.measured;
  if (result.repetitions > 0) {
    measured.emplace_back("reported as their class",
                          share_text(result.right, result.repetitions));
    measured.emplace_back("of repetitions with a motion of their own",
                          share_text(result.kept_right, result.kept));
  }
  if (const auto rate = result.false_positives_per_hour()) {
    measured.emplace_back(
        "false positives",
        fmt::format("{} in {:.3f} h", result.false_positives, result.background_hours));
    measured.emplace_back(
        "an hour", fmt::format("{:.2f}, no more than {:.1f} with 95 % confidence", *rate,
                               *result.false_per_hour_bound()));
    measured.emplace_back("outside repetitions, like no gesture",
                          std::to_string(result.rejected_outside));
  } else {
    measured.emplace_back("false positives", "no background to count them in");
  }
  if (const auto median = result.latency(0.5)) {
    measured.emplace_back(
        "latency", fmt::format("{:.0f} ms, at most {:.0f} ms", *median * kMsPerSecond,
                               *result.latency(1.0) * kMsPerSecond));
  }
  page_data.misses.assign(result.misses.begin(), result.misses.end());
  page_data.latencies = result.latencies;
  for (const Fold& fold : result.folds) {
    page_data.folds.push_back({{"left_out", fold.left_out},
                               {"right", share_json(fold.right, fold.repetitions)},
                               {"templates", fold.templates},
                               {"examples", fold.examples}});
  }
}

// The class labels of all models, with every model's threshold.
static std::vector<PageClass> classes_of(const std::vector<Gmodel>& models) {
  std::map<int, std::vector<double>> thresholds;
  for (const Gmodel& model : models) {
    for (const auto& entry : model.templates) thresholds[entry.first];
    for (const int label : model.class_labels) {
      if (const auto threshold = threshold_of(model, label)) {
        thresholds[label].push_back(*threshold);
      }
    }
  }
  std::vector<PageClass> classes;
  for (auto& [label, values] : thresholds) {
    std::sort(values.begin(), values.end());
    classes.push_back({label, values, label == kNoGesture ? kBackgroundNote : ""});
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

PageData page_data_of_evaluation(const SegmentedSet& set, const Evaluation& result) {
  PageData page_data;
  page_data.provenance = set.provenance;
  page_data.model = result.models.front();
  page_data.cost_note = cost_note(result.models);
  page_data.facts = {
      fmt::format("{} repetitions in {}, played through the library's C interface.",
                  result.repetitions, counted(set.recordings.size(), "recording"))};
  if (result.pre_segmented > 0) {
    page_data.facts.push_back(
        fmt::format("{} of them were pre-segmented and not played as streams.",
                    result.pre_segmented));
  }
  page_data.classes = classes_of(result.models);
  const std::vector<std::vector<size_t>> places =
      collect(result.models, page_data.exemplars);
  size_t excerpts = 0;
  for (const Played& played : result.played) {
    const Gmodel& model = result.models[played.fold];
    PageExample example = example_of(played, set, model);
    if (!example.trace.empty()) {
      find_likeness(page_data.exemplars, places[played.fold], model.havegravity, example);
      if (example.best) {
        example.threshold =
            threshold_of(model, page_data.exemplars[example.best->exemplar].label);
      }
    }
    if (is_false_positive(played) && excerpts++ < kMostExcerpts) {
      const SegmentedRecording& recording = set.recordings[played.recording];
      example.stream = excerpt_of(recording, recording.motions[*played.motion]);
    }
    page_data.examples.push_back(std::move(example));
  }
  draw_map(page_data.model.havegravity, page_data);
  page_data.curve = result.curve;
  page_data.background = {result.background_hours, result.false_positives};
  for (const PageClass& c : page_data.classes) {
    const auto events = result.events.find(c.label);
    if (events != result.events.end()) page_data.reports[c.label] = events->second;
  }
  measure(result, page_data);
  return page_data;
}

}  // namespace wgr
