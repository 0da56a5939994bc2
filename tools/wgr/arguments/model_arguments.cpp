#include "arguments/model_arguments.h"

#include <filesystem>

#include "arguments/values.h"
#include "hostrun/fixed_paths.h"

namespace wgr {

void add_model_options(CLI::App& command, ModelArguments& given,
                       const std::string& otherwise) {
  CLI::Option* const file =
      add_value(command, "--model", given.file, "The model, a file of any name",
                path_value(), "FILE");
  add_value(command, "--models", given.folder,
            "Folder of models, holding olvo_model_5_fb/hgr_olvo.xml\nand so on, of which "
            "--wearer and --mode choose one" +
                otherwise,
            path_value(), "DIR")
      ->excludes(file);
  add_value(command, "--wearer", given.wearer, "0: left wrist, 1: right wrist",
            within(whole_from(0, 1)), "0|1 (0)");
  add_value(command, "--mode", given.mode, "Which of the wearer's three models",
            within(whole_from(0, 2)), "0|1|2 (1)");
}

bool names_model(const ModelArguments& given) {
  return !given.file.empty() || !given.folder.empty();
}

std::string path_of(const ModelArguments& given) {
  if (!given.file.empty()) return given.file;
  if (!given.folder.empty()) existing_folder(given.folder);
  const std::string folder = given.folder.empty() ? kInstalledModels : given.folder;
  require_model(folder, given.wearer, given.mode);
  return model_file(folder, given.wearer, given.mode);
}

static bool is_model(const std::filesystem::path& path) {
  return path.extension() == ".xml";
}

void add_inputs(OutputPlan& plan, const ModelArguments& given) {
  plan.reads("--model", given.file);
  if (!given.folder.empty()) {
    plan.reads_folder("--models", given.folder, is_model);
  } else if (given.file.empty()) {
    plan.reads_folder("the installed models", kInstalledModels, is_model);
  }
}

}  // namespace wgr
