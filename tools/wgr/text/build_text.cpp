#include "text/build_text.h"

#include "base/foreign_text.h"
#include "base/text.h"
#include "training/model_output.h"

namespace wgr {

static constexpr double kRuleOfThree = 3.0;

std::string kind_text(const KindStep& step) {
  const std::string size =
      step.per_class > 0 ? fmt::format(", {} a class", step.per_class) : "";
  return name_of(step.kind) + size;
}

static std::string text_of(const std::vector<SweepStep>& sweep) {
  if (sweep.empty()) return "";
  std::string text = "exemplars: preference  templates  right\n";
  for (const SweepStep& step : sweep) {
    text += fmt::format("{:21.2f}  {:9}  {:6.1f} %{}{}\n", step.preference,
                        step.templates, 100.0 * step.accuracy,
                        step.grown ? "  with more for the misclassified" : "",
                        step.chosen         ? "  <- chosen"
                        : !step.in_question ? "  too many"
                                            : "");
  }
  return text;
}

static std::string text_of(const std::vector<KindStep>& kinds,
                           const BuildOptions& options, LeftOut by) {
  std::string text = fmt::format("{:28}  templates  right, {}\n", "kind of templates",
                                 left_out_text(by));
  for (const KindStep& step : kinds) {
    text += fmt::format("{:28}  {:9}  {:6.1f} %{}\n", kind_text(step), step.templates,
                        100.0 * step.accuracy, step.chosen ? "  <- chosen" : "");
  }
  return text + fmt::format(
                    "the fewest templates within {} of the best, with at most {} of each "
                    "class's examples\n",
                    percent(options.tolerance), percent(options.most_share));
}

// Without background there is nothing to compare.
static std::string text_of(const std::vector<BackgroundStep>& steps) {
  if (steps.empty() || (steps.size() == 1 && steps[0].templates == 0)) return "";
  std::string text = "templates of background  points  right and accepted  background\n";
  for (const BackgroundStep& step : steps) {
    text += fmt::format("{:23}  {:6}  {:18}  {:10}{}\n", step.templates, step.points,
                        step.accepted, step.background_accepted,
                        step.chosen ? "  <- chosen" : "");
  }
  if (steps.size() == 1) return text;
  return text +
         "the fewest that keep out more background, of kinds that they were not made "
         "from, or let more\ngestures through, and lose nothing\n";
}

static std::string text_of(const ClassReport& c, const Provenance& provenance) {
  const std::string name = shown(class_name(c.label, provenance));
  return fmt::format(
      "class {}{}{}: {}, {} ({}), threshold {:.4f}: {} right, "
      "{} misclassified, {} rejected{}\n",
      c.label, name.empty() ? "" : " ", name, counted(c.examples, "example"),
      counted(c.templates, "template"), c.chosen_by, c.threshold, c.right,
      c.misclassified, c.rejected,
      c.like_background > 0 ? fmt::format(", {} like background", c.like_background)
                            : "");
}

static std::vector<std::string> background_caveats(const BuildReport& report,
                                                   const BuildOptions& options) {
  std::vector<std::string> caveats;
  if (!report.background_allowed) return caveats;
  const double hours = options.background_hours;
  if (hours * *options.false_positives_per_hour < kRuleOfThree) {
    caveats.push_back(fmt::format(
        "so little background cannot show that: none in {:.2f} h means no more than "
        "{:.1f} an hour, with 95 % confidence",
        hours, kRuleOfThree / hours));
  }
  if (report.background_accepted > *report.background_allowed) {
    caveats.push_back("the aim was missed: background and gestures score alike");
  }
  return caveats;
}

static std::vector<std::string> example_caveats(const BuildReport& report) {
  std::vector<std::string> caveats;
  if (report.background == 0) {
    caveats.push_back(
        "no background: thresholds lie half again below each class's least alike "
        "example, and what they keep out of everyday movement is not known");
  }
  caveats.insert(caveats.end(), report.notes.begin(), report.notes.end());
  return caveats;
}

std::vector<std::string> caveats_of(const BuildReport& report,
                                    const BuildOptions& options) {
  std::vector<std::string> caveats = example_caveats(report);
  for (const std::string& caveat : background_caveats(report, options)) {
    caveats.push_back(caveat);
  }
  return caveats;
}

static std::string false_positives_text(const BuildReport& report,
                                        const BuildOptions& options) {
  if (!report.background_allowed) return "";
  return fmt::format(
      "false positives: {:.2f} an hour aimed at, {} allowed in {:.2f} h of background, "
      "{} accepted\n",
      *options.false_positives_per_hour, *report.background_allowed,
      options.background_hours, report.background_accepted);
}

static std::string host_text(const Provenance& provenance) {
  if (provenance.rate == 0 || provenance.static_window == 0) return "";
  return "the host must set what the examples were segmented with:\n" +
         calls_of(host_settings_of(provenance), provenance.rate, "  ");
}

std::string report_text(const BuildReport& report, const BuildOptions& options,
                        const Provenance& provenance) {
  const std::string left_out = left_out_text(report.judged_by);
  std::string text =
      text_of(report.kinds, options, report.judged_by) + text_of(report.sweep);
  text += text_of(report.background_steps);
  for (const ClassReport& c : report.classes) text += text_of(c, provenance);
  for (const std::string& caveat : example_caveats(report)) text += caveat + "\n";
  text += fmt::format(
      "{}: {} of {} classified right, {} accepted as well; {} of {} background examples "
      "accepted\n",
      left_out, percent(report.classified_right(), report.examples()), report.examples(),
      percent(report.accepted(), report.examples()), report.background_accepted,
      report.background);
  text += false_positives_text(report, options);
  for (const std::string& caveat : background_caveats(report, options)) {
    text += caveat + "\n";
  }
  return text + host_text(provenance);
}

}  // namespace wgr
