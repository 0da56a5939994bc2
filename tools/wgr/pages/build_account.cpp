#include <algorithm>

#include "base/text.h"
#include "pages/model_accounts.h"

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
  return fmt::format("{} of {}", percent(share(part, whole)), whole);
}

static std::string name_of_sample(size_t index, const std::vector<std::string>& names) {
  return index < names.size() ? names[index] : fmt::format("sample {}", index + 1);
}

static void judge(const Gmodel& model, const std::vector<Exemplar>& exemplars,
                  const std::vector<size_t>& met, AccountedTake& take) {
  find_likeness(exemplars, met, model.havegravity, take);
  if (!take.best) {
    take.outcome = kNothing;
    take.why = "there is no other template to compare it with";
    return;
  }
  const int named = exemplars[take.best->exemplar].label;
  const auto at = std::find(model.class_labels.begin(), model.class_labels.end(), named);
  const auto c = static_cast<size_t>(at - model.class_labels.begin());
  take.threshold = model.class_thresholds[c];
  const bool accepted = take.best->score > *take.threshold;
  take.outcome = accepted ? std::to_string(named) : kRefused;
}

static void measure(const BuildReport& report, const BuildOptions& options,
                    ModelAccount& account) {
  account.measured = {
      {"named right", share_text(report.named(), report.samples())},
      {"accepted as well", share_text(report.accepted(), report.samples())},
      {"background accepted",
       fmt::format("{} of {}", report.background_accepted, report.background)}};
  if (report.background_allowed) {
    account.measured.emplace_back(
        "background allowed",
        fmt::format("{}, for {:.2f} an hour", *report.background_allowed,
                    *options.false_positives_per_hour));
  }
  if (options.background_hours > 0.0) {
    account.measured.emplace_back("background",
                                  fmt::format("{:.2f} h", options.background_hours));
  }
  for (const SweepStep& step : report.sweep) {
    account.sweep.push_back({{"templates", step.templates},
                             {"accuracy", step.accuracy},
                             {"in_question", step.in_question},
                             {"chosen", step.chosen}});
  }
}

// A sample held against the templates that may judge it.
static AccountedTake account_of(size_t sample, const ModelBuilder& builder,
                                const Gmodel& model, const BuildReport& report,
                                bool cross_subject, const std::vector<std::string>& names,
                                const std::vector<Exemplar>& exemplars) {
  AccountedTake take;
  take.name = name_of_sample(builder.origin()[sample], names);
  take.label = builder.labels()[sample];
  take.trace = builder.traces()[sample];
  std::vector<size_t> met;
  for (size_t t = 0; t < report.template_samples.size(); ++t) {
    if (builder.judges(report.template_samples[t], sample, cross_subject)) {
      met.push_back(t);
    }
  }
  if (met.size() < report.template_samples.size()) {
    take.why = cross_subject ? "it met the templates of other subjects"
                             : "it is a template itself, and met the others";
  }
  judge(model, exemplars, met, take);
  return take;
}

ModelAccount account_of_build(const ModelBuilder& builder, const Gmodel& model,
                              const BuildReport& report, const BuildOptions& options,
                              const Provenance& provenance,
                              const std::vector<std::string>& names) {
  ModelAccount account;
  account.provenance = provenance;
  account.model = model;
  account.facts = {
      fmt::format("{} samples of {} classes and {} of background.", report.samples(),
                  report.classes.size(), report.background),
      options.cross_subject
          ? "Each was compared with the templates of other subjects alone."
          : "Each was compared with all templates but itself, so that what a template is "
            "like does not count for it."};
  for (const std::string& note : report.notes) account.facts.push_back(note + ".");
  for (const ClassReport& c : report.classes) {
    account.classes.push_back({c.label, {c.threshold}, c.chosen_by});
  }

  for (size_t i = 0; i < model.templates.size(); ++i) {
    const size_t sample = report.template_samples[i];
    account.exemplars.push_back({name_of_sample(builder.origin()[sample], names),
                                 model.templates[i].first, model.templates[i].second});
  }
  for (size_t i = 0; i < builder.traces().size(); ++i) {
    account.takes.push_back(account_of(i, builder, model, report, options.cross_subject,
                                       names, account.exemplars));
  }
  measure(report, options, account);
  return account;
}

}  // namespace wgr
