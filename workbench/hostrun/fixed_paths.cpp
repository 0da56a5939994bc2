#include "hostrun/fixed_paths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "base/errors.h"
#include "output/standard_output.h"

namespace wgr {

static constexpr char kPlacesArePrivate[] = "WGR_PRIVATE_PATHS";
static constexpr char kLauncher[] = "private-paths";
static constexpr char kInstalledLauncher[] = "../libexec/wgr/private-paths";

std::string model_file(const std::string& folder, int wearer, int mode) {
  static constexpr const char* kWearers[] = {"5", "5r"};
  static constexpr const char* kModes[] = {"ow", "fb", "mix"};
  return folder + "/olvo_model_" + kWearers[wearer] + "_" + kModes[mode] +
         "/hgr_olvo.xml";
}

// Why the file cannot be read; empty when it can.
static std::string unreadable(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::strerror(errno);
  struct stat about;
  const bool regular = fstat(fd, &about) == 0 && S_ISREG(about.st_mode);
  close(fd);
  return regular ? "" : "it is not a regular file";
}

std::string existing_folder(const std::string& path) {
  std::error_code missing;
  const std::string folder = std::filesystem::canonical(path, missing);
  if (missing) throw UsageError(path + ": " + missing.message());
  return folder;
}

static void require_model(const std::string& path, const std::string& role) {
  const std::string reason = unreadable(path);
  if (reason.empty()) return;
  throw UsageError(path + ": cannot be read: " + reason + ". It is " + role +
                   "; name another with --model FILE, a folder that holds it with "
                   "--models DIR, or install it.");
}

void require_model(const std::string& folder, int wearer, int mode) {
  require_model(model_file(folder, wearer, mode), "the model for wearer " +
                                                      std::to_string(wearer) + ", mode " +
                                                      std::to_string(mode));
}

void require_models(const std::string& folder, int wearer, int mode) {
  require_model(model_file(folder, kDefaultWearer, kDefaultMode),
                "the model that the library cannot start without");
  require_model(folder, wearer, mode);
}

// Runs this program again through the launcher, with its `options`.
[[noreturn]] static void run_again(const std::vector<std::string>& options,
                                   const std::vector<std::string>& arguments) {
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  const std::filesystem::path beside = program.parent_path() / kLauncher;
  const std::filesystem::path installed =
      (program.parent_path() / kInstalledLauncher).lexically_normal();
  const bool is_beside = access(beside.c_str(), X_OK) == 0;
  if (!is_beside && access(installed.c_str(), X_OK) != 0) {
    throw UsageError("the launcher is missing: it is neither at " + beside.string() +
                     " nor at " + installed.string());
  }
  const std::string launcher = is_beside ? beside : installed;

  std::vector<std::string> words = {launcher};
  words.insert(words.end(), options.begin(), options.end());
  words.push_back(program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  join_results();
  execv(launcher.c_str(), argv.data());
  throw UsageError(launcher + ": cannot be run: " + std::strerror(errno));
}

[[noreturn]] void run_in_private_places(const std::string& models,
                                        const std::vector<std::string>& arguments) {
  run_again(models.empty() ? std::vector<std::string>()
                           : std::vector<std::string>{"--models", models},
            arguments);
}

[[noreturn]] void run_beside_own_home(const std::string& models,
                                      const std::vector<std::string>& arguments) {
  run_again({"--models", models, "--keep-home"}, arguments);
}

bool are_places_private() { return std::getenv(kPlacesArePrivate) != nullptr; }

void keep_out_of_private_places(OutputPlan& plan) {
  plan.loses(kInstalledModels);
  plan.loses(kLogFolder);
}

}  // namespace wgr
