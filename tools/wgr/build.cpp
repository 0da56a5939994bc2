// wgr build: training file in, gesture model out.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "classifier/Gdata.h"
#include "classifier/Gmodel.h"
#include "host/own_stdout.h"
#include "subcommands.h"
#include "training/model_builder.h"

static constexpr char kFooter[] =
    R"(Affinity propagation picks each class's templates; each class's threshold comes from
the scores of right, wrong and background samples, every sample compared with all
templates but itself. Samples of negative labels are background. The same training file
gives the same model.

Example:
  wgr build set.txt -o models/olvo_model_5_fb/hgr_olvo.xml)";

static constexpr char kSuffix[] = ".xml";  // Gmodel::write appends it

namespace {

struct BuildArguments {
  std::string training;
  std::string out;
  BuildOptions options;
};

}  // namespace

static void print(const BuildReport& report) {
  size_t samples = 0;
  size_t named = 0;
  size_t right = 0;
  for (const ClassReport& c : report.classes) {
    std::fprintf(stderr,
                 "class %d: %zu samples, %zu templates (%s), threshold %.4f: %zu right, "
                 "%zu confused, %zu refused\n",
                 c.label, c.samples, c.templates, c.chosen_by.c_str(), c.threshold,
                 c.right, c.confused, c.refused);
    samples += c.samples;
    named += c.right + c.refused;
    right += c.right;
  }
  const double percent = 100.0 / static_cast<double>(samples);
  std::fprintf(stderr,
               "leaving one out: %.1f %% of %zu named right, %.1f %% accepted as well; "
               "%zu of %zu background samples accepted\n",
               percent * static_cast<double>(named), samples,
               percent * static_cast<double>(right), report.background_accepted,
               report.background);
}

// Writes beside the place and moves it there, so that no half a model is ever seen.
static void write_model(const Gmodel& model, const std::string& path) {
  const std::string beside = path + ".part";
  std::error_code failed;
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (!folder.empty()) std::filesystem::create_directories(folder, failed);
  if (failed || !model.write(beside.c_str())) {
    throw UsageError(path + ": cannot be written");
  }
  std::filesystem::rename(beside + kSuffix, path, failed);
  if (failed) throw UsageError(path + ": " + failed.message());
}

static void build(const BuildArguments& given) {
  // The clustering's warnings are for people.
  std::FILE* const out = take_standard_output();
  if (out == nullptr) throw std::runtime_error("standard output cannot be used");
  std::fclose(out);

  Gdata data;
  if (!data.load(given.training.c_str())) {
    throw UsageError(given.training + ": cannot be read");
  }
  BuildReport report;
  const Gmodel model = build_model(data, given.options, report);
  print(report);
  write_model(model, given.out);
}

void add_build(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("build", "Build a gesture model from a training file.");
  const auto given = std::make_shared<BuildArguments>();
  command->add_option("TRAINING", given->training, "The training file")
      ->required()
      ->option_text(" ");
  command->add_option("-o,--out", given->out, "The model")
      ->required()
      ->option_text("FILE");
  command
      ->add_option("--templates", given->options.most_templates,
                   "Templates per class, at most")
      ->check(CLI::Range(1, 100))
      ->option_text("N (6)");
  command
      ->add_option("--false-cost", given->options.false_cost,
                   "What an accepted wrong sample costs, in refused right ones")
      ->check(CLI::PositiveNumber)
      ->option_text("COST (3)");
  command->footer(kFooter);
  command->callback([given] { build(*given); });
}
