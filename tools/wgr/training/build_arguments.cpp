#include "training/build_arguments.h"

void add_build_options(CLI::App& command, BuildOptions& options) {
  command
      .add_option("--templates", options.most_templates,
                  "Templates per class, at most; otherwise by the sweep")
      ->check(CLI::Range(1, 100))
      ->option_text("N");
  command
      .add_option("--margin", options.margin,
                  "By how much the smallest set may be worse than\nthe best")
      ->check(CLI::Range(0.0, 1.0))
      ->option_text("SHARE (0.01)");
  command
      .add_option("--share", options.most_share,
                  "Of a class's samples, how many may be templates")
      ->check(CLI::Range(0.0, 1.0))
      ->option_text("SHARE (0.33)");
  command.add_flag("--strangers", options.strangers,
                   "Judge every sample by the templates of other\nsubjects, for wearers "
                   "who recorded nothing");
  command
      .add_option("--false-cost", options.false_cost,
                  "What an accepted wrong sample costs, in refused right ones")
      ->check(CLI::PositiveNumber)
      ->option_text("COST (3)");
  command
      .add_option("--false-per-hour", options.false_per_hour,
                  "How many background motions an hour may be accepted")
      ->check(CLI::NonNegativeNumber)
      ->option_text("N");
  command
      .add_option("--threads", options.threads,
                  "Threads; otherwise one for each processor")
      ->check(CLI::Range(1, 256))
      ->option_text("N");
}

void add_report_option(CLI::App& command, std::string& page) {
  command
      .add_option("--report", page, "Draw every take and its score, a page for a browser")
      ->option_text("FILE.html");
}
