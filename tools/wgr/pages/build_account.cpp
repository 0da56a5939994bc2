#include <algorithm>
#include <limits>

#include "base/table.h"
#include "pages/model_accounts.h"

namespace wgr {

static std::string share_text(size_t part, size_t whole) {
  const double share =
      whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
  return fixed(100.0 * share, 1) + " % of " + std::to_string(whole);
}

std::vector<std::string> names_of_kept(const SegmentedSet& set) {
  std::vector<std::string> names;
  for (const SegmentedRecording& recording : set.recordings) {
    for (const Motion& motion : recording.motions) {
      if (motion.verdict != Verdict::kKept) continue;
      names.push_back(recording.entry.file + " at " + fixed(motion.begin, 2) + " s");
    }
  }
  return names;
}

static std::string name_of_sample(size_t index, const std::vector<std::string>& names) {
  return index < names.size() ? names[index] : "sample " + std::to_string(index + 1);
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
      {"background accepted", std::to_string(report.background_accepted) + " of " +
                                  std::to_string(report.background)}};
  if (report.background_allowed) {
    account.measured.emplace_back("background allowed",
                                  std::to_string(*report.background_allowed) + ", for " +
                                      fixed(*options.false_positives_per_hour, 2) +
                                      " an hour");
  }
  if (options.background_hours > 0.0) {
    account.measured.emplace_back("background",
                                  fixed(options.background_hours, 2) + " h");
  }
  for (const SweepStep& step : report.sweep) {
    account.sweep.push_back({{"templates", step.templates},
                             {"accuracy", step.accuracy},
                             {"in_question", step.in_question},
                             {"chosen", step.chosen}});
  }
}

ModelAccount account_of_build(const ModelBuilder& builder, const Gmodel& model,
                              const BuildReport& report, const BuildOptions& options,
                              const Provenance& provenance,
                              const std::vector<std::string>& names) {
  ModelAccount account;
  account.provenance = provenance;
  account.model = model;
  account.facts = {
      std::to_string(report.samples()) + " samples of " +
          std::to_string(report.classes.size()) + " classes and " +
          std::to_string(report.background) + " of background.",
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
    AccountedTake take;
    take.name = name_of_sample(builder.origin()[i], names);
    take.label = builder.labels()[i];
    take.trace = builder.traces()[i];
    std::vector<size_t> met;
    for (size_t t = 0; t < report.template_samples.size(); ++t) {
      if (builder.judges(report.template_samples[t], i, options.cross_subject)) {
        met.push_back(t);
      }
    }
    if (met.size() < report.template_samples.size()) {
      take.why = options.cross_subject ? "it met the templates of other subjects"
                                       : "it is a template itself, and met the others";
    }
    judge(model, account.exemplars, met, take);
    account.takes.push_back(std::move(take));
  }
  measure(report, options, account);
  return account;
}

}  // namespace wgr
