#include <algorithm>

#include "base/class_codes.h"
#include "base/text.h"
#include "evaluation/confidence.h"
#include "pages/page_data.h"
#include "pages/shares.h"
#include "text/build_text.h"
#include "training/model_output.h"

namespace wgr {

std::vector<std::string> names_of_kept(const SegmentedSet& set) {
  std::vector<std::string> names;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Motion& motion : recording.motions) {
      if (motion.verdict != Verdict::kKept) continue;
      names.push_back(fmt::format("{} at {:.2f} s", recording.entry.file, motion.begin));
    }
  }
  return names;
}

void set_stamps(const SegmentedSet& set, PageOrigin& origin) {
  for (const SegmentedRecording& recording : set.recordings) {
    if (recording.samples.empty()) continue;
    const auto [first, last] =
        std::minmax(recording.samples.front().t, recording.samples.back().t);
    origin.first_stamp = std::min(origin.first_stamp.value_or(first), first);
    origin.last_stamp = std::max(origin.last_stamp.value_or(last), last);
  }
}

static std::string name_of_example(size_t index, const std::vector<std::string>& names) {
  return index < names.size() ? names[index] : fmt::format("example {}", index + 1);
}

// The example beside the nearest template of its outcome, though others judged it.
static void judge(const Gmodel& model, const std::vector<Exemplar>& exemplars,
                  const Judged& judged, PageExample& example) {
  std::vector<size_t> met;
  for (size_t t = 0; t < exemplars.size(); ++t) {
    if (judged.label && exemplars[t].label == *judged.label) met.push_back(t);
  }
  find_likeness(exemplars, met, model.havegravity, example);
  if (!example.best) {
    example.outcome = kOutcomeNotDetected;
    example.why = "there is no other template to compare it with";
    return;
  }
  example.best->score = judged.score;
  if (*judged.label == kNoGesture) {
    example.outcome = kOutcomeNotDetected;
    example.why = "it is nearest to a template of background";
    return;
  }
  const auto at =
      std::find(model.class_labels.begin(), model.class_labels.end(), *judged.label);
  const auto c = static_cast<size_t>(at - model.class_labels.begin());
  example.threshold = model.class_thresholds[c];
  example.outcome = judged.accepted ? std::to_string(*judged.label) : kOutcomeRejected;
}

static void measure(const BuildReport& report, const BuildOptions& options,
                    PageData& page_data) {
  page_data.measured = {
      {"classified right", share_text(report.classified_right(), report.examples())},
      {"accepted as well", share_text(report.accepted(), report.examples())},
      {"background accepted",
       report.background == 0
           ? "there is none"
           : fmt::format(
                 "{} of {}, no more than {} with 95 % confidence",
                 report.background_accepted, report.background,
                 percent(most_share(report.background_accepted, report.background)))}};
  if (report.background_allowed) {
    page_data.measured.emplace_back(
        "background allowed",
        fmt::format("{}, for {:.2f} an hour", *report.background_allowed,
                    *options.false_positives_per_hour));
  }
  if (options.background_hours > 0.0) {
    page_data.measured.emplace_back(
        "background",
        fmt::format(
            "{:.2f} h, with 95 % confidence no more than {:.1f} false positives an hour",
            options.background_hours,
            most_expected(report.background_accepted) / options.background_hours));
  }
  for (const KindStep& step : report.kinds) {
    page_data.kinds.push_back({{"kind", kind_text(step)},
                               {"templates", step.templates},
                               {"right", share_json(step.accuracy, report.examples())},
                               {"chosen", step.chosen}});
  }
  page_data.judged_by = left_out_text(report.judged_by);
}

static PageExample example_of(size_t index, const ModelBuilder& builder,
                              const Gmodel& model, const BuildReport& report,
                              const std::vector<std::string>& names,
                              const std::vector<Exemplar>& exemplars) {
  PageExample example;
  example.name = name_of_example(builder.origin()[index], names);
  const std::vector<std::string>& subjects = builder.sources().subjects;
  if (!subjects.empty()) example.subject = subjects[builder.origin()[index]];
  example.label = builder.labels()[index];
  example.trace = builder.traces()[index];
  judge(model, exemplars, report.judged[index], example);
  return example;
}

PageData page_data_of_build(const ModelBuilder& builder, const Gmodel& model,
                            const BuildReport& report, const BuildOptions& options,
                            const Provenance& provenance,
                            const std::vector<std::string>& names) {
  PageData page_data;
  page_data.provenance = provenance;
  page_data.model = model;
  page_data.facts = {
      fmt::format("{} examples of {} classes and {} of background.", report.examples(),
                  report.classes.size(), report.background),
      fmt::format("Each was classified by templates that were made without it, {}; it is "
                  "drawn beside the model's templates.",
                  left_out_text(report.judged_by))};
  page_data.caveats = caveats_of(report, options);
  for (const ClassReport& c : report.classes) {
    page_data.classes.push_back({c.label, {c.threshold}, c.chosen_by});
  }
  if (report.background_templates > 0) {
    page_data.classes.push_back({kNoGesture, {}, kBackgroundNote});
  }

  for (size_t i = 0; i < model.templates.size(); ++i) {
    const TemplateSource& source = report.sources[i];
    const std::string name = name_of_example(builder.origin()[source.example], names);
    page_data.exemplars.push_back(
        {source.examples > 1
             ? fmt::format("average of {} around {}", source.examples, name)
             : name,
         model.templates[i].first, model.templates[i].second});
  }
  for (size_t i = 0; i < builder.traces().size(); ++i) {
    page_data.examples.push_back(
        example_of(i, builder, model, report, names, page_data.exemplars));
  }
  if (options.false_positives_per_hour) {
    page_data.aims.false_positives_per_hour = *options.false_positives_per_hour;
  }
  page_data.background = {options.background_hours, report.background_accepted};
  page_data.curve = learning_curve(builder);
  draw_map(model.havegravity, page_data);
  measure(report, options, page_data);
  return page_data;
}

}  // namespace wgr
