#include "arguments/build_arguments.h"

#include "arguments/values.h"

namespace wgr {

static constexpr double kMostCost = 1e6;
static constexpr double kMostAnHour = 1e4;  // false positives; far more than gestures

void add_build_options(CLI::App& command, BuildOptions& options) {
  command
      .add_option("--templates", options.most_templates,
                  "Most templates per class; otherwise chosen by\ncross-validation")
      ->transform(within(whole_from(1, 100)))
      ->option_text("N");
  command
      .add_option("--tolerance", options.tolerance,
                  "Accuracy that a smaller set of templates may\nlose against the best")
      ->transform(within(number_from(0, 1)))
      ->option_text("SHARE (0.005)");
  command
      .add_option("--share", options.most_share,
                  "Largest share of a class's examples that\nbecome templates")
      ->transform(within(number_from(0, 1)))
      ->option_text("SHARE (0.33)");
  command
      .add_option("--kind", options.kind,
                  "Kind of templates; otherwise the best by cross-\nvalidation")
      ->transform(one_of<TemplateKind>({{"exemplars", TemplateKind::kExemplars},
                                        {"averages", TemplateKind::kAverages},
                                        {"smoothed", TemplateKind::kSmoothed},
                                        {"adapted", TemplateKind::kAdapted}}))
      ->option_text("exemplars|averages|smoothed|adapted");
  command
      .add_option("--background-templates", options.background_templates,
                  "Most templates of background, which is never\nreported; otherwise "
                  "chosen by cross-validation")
      ->transform(within(whole_from(0, 100)))
      ->option_text("N");
  command
      .add_option("--judge-by", options.judge_by,
                  "What cross-validation leaves out to choose templates\nand thresholds; "
                  "otherwise "
                  "subjects if two are known,\notherwise sessions, otherwise repetitions")
      ->transform(one_of<LeftOut>({{"subject", LeftOut::kSubjects},
                                   {"session", LeftOut::kSessions},
                                   {"repetition", LeftOut::kRepetitions}}))
      ->option_text("subject|session|repetition");
  command
      .add_option("--false-cost", options.false_cost,
                  "Cost of an accepted wrong example, counted in\nrejected correct ones")
      ->transform(within(number_above(0, kMostCost)))
      ->option_text("COST (3)");
  command
      .add_option("--false-positives-per-hour", options.false_positives_per_hour,
                  "Most background motions accepted per hour")
      ->transform(within(number_from(0, kMostAnHour)))
      ->option_text("N");
  command
      .add_option("--threads", options.threads, "Threads; otherwise one per processor")
      ->transform(within(whole_from(1, 256)))
      ->option_text("N");
}

}  // namespace wgr
