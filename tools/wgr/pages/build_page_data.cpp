#include <algorithm>

#include "base/text.h"
#include "pages/page_data.h"

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

static std::string share_text(size_t part, size_t whole) {
  return fmt::format("{} of {}", percent(part, whole), whole);
}

static std::string name_of_example(size_t index, const std::vector<std::string>& names) {
  return index < names.size() ? names[index] : fmt::format("example {}", index + 1);
}

static void judge(const Gmodel& model, const std::vector<Exemplar>& exemplars,
                  const std::vector<size_t>& met, PageExample& example) {
  find_likeness(exemplars, met, model.havegravity, example);
  if (!example.best) {
    example.outcome = kOutcomeNotDetected;
    example.why = "there is no other template to compare it with";
    return;
  }
  const int nearest = exemplars[example.best->exemplar].label;
  const auto at =
      std::find(model.class_labels.begin(), model.class_labels.end(), nearest);
  const auto c = static_cast<size_t>(at - model.class_labels.begin());
  example.threshold = model.class_thresholds[c];
  const bool accepted = example.best->score > *example.threshold;
  example.outcome = accepted ? std::to_string(nearest) : kOutcomeRejected;
}

static void measure(const BuildReport& report, const BuildOptions& options,
                    PageData& page_data) {
  page_data.measured = {
      {"classified right", share_text(report.classified_right(), report.examples())},
      {"accepted as well", share_text(report.accepted(), report.examples())},
      {"background accepted",
       fmt::format("{} of {}", report.background_accepted, report.background)}};
  if (report.background_allowed) {
    page_data.measured.emplace_back(
        "background allowed",
        fmt::format("{}, for {:.2f} an hour", *report.background_allowed,
                    *options.false_positives_per_hour));
  }
  if (options.background_hours > 0.0) {
    page_data.measured.emplace_back("background",
                                    fmt::format("{:.2f} h", options.background_hours));
  }
  for (const SweepStep& step : report.sweep) {
    page_data.sweep.push_back({{"templates", step.templates},
                               {"accuracy", step.accuracy},
                               {"in_question", step.in_question},
                               {"chosen", step.chosen}});
  }
}

// An example compared with the templates that may judge it.
static PageExample example_of(size_t index, const ModelBuilder& builder,
                              const Gmodel& model, const BuildReport& report,
                              bool cross_subject, const std::vector<std::string>& names,
                              const std::vector<Exemplar>& exemplars) {
  PageExample example;
  example.name = name_of_example(builder.origin()[index], names);
  example.label = builder.labels()[index];
  example.trace = builder.traces()[index];
  std::vector<size_t> met;
  for (size_t t = 0; t < report.template_examples.size(); ++t) {
    if (builder.judges(report.template_examples[t], index, cross_subject)) {
      met.push_back(t);
    }
  }
  if (met.size() < report.template_examples.size()) {
    example.why = cross_subject ? "it met the templates of other subjects"
                                : "it is a template itself, and met the others";
  }
  judge(model, exemplars, met, example);
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
      options.cross_subject
          ? "Each was compared with the templates of other subjects alone."
          : "Each was compared with all templates but itself, so that what a template is "
            "like does not count for it."};
  for (const std::string& note : report.notes) page_data.facts.push_back(note + ".");
  for (const ClassReport& c : report.classes) {
    page_data.classes.push_back({c.label, {c.threshold}, c.chosen_by});
  }

  for (size_t i = 0; i < model.templates.size(); ++i) {
    const size_t index = report.template_examples[i];
    page_data.exemplars.push_back({name_of_example(builder.origin()[index], names),
                                   model.templates[i].first, model.templates[i].second});
  }
  for (size_t i = 0; i < builder.traces().size(); ++i) {
    page_data.examples.push_back(example_of(
        i, builder, model, report, options.cross_subject, names, page_data.exemplars));
  }
  measure(report, options, page_data);
  return page_data;
}

}  // namespace wgr
