#include "WgrPreflight.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cfloat>
#include <climits>
#include <cstring>
#include <string>

#include "context/WgrContext.h"
#include "context/WgrLog.h"
#include "preflight/model_check.h"

using namespace wgr;

namespace {

class Reporter {
 public:
  Reporter(WgPreflightCb callback, void* user_data)
      : callback_(callback), user_data_(user_data) {}

  void report(int weight, const std::string& text) {
    heaviest_ = std::max(heaviest_, weight);
    if (callback_ != nullptr) callback_(weight, text.c_str(), user_data_);
  }
  int heaviest() const { return heaviest_; }

 private:
  const WgPreflightCb callback_;
  void* const user_data_;
  int heaviest_ = WG_PREFLIGHT_CLEAN;
};

// Keeps floating-point exceptions from ending the process while it lives, and restores
// the environment, flags included.
class UntrappedArithmetic {
 public:
  UntrappedArithmetic() {
#ifdef __GLIBC__  // elsewhere nothing shows it
    trapped_ = fegetexcept() != 0;
#endif
    held_ = std::feholdexcept(&before_) == 0;
  }
  ~UntrappedArithmetic() {
    if (held_) std::fesetenv(&before_);
  }
  UntrappedArithmetic(const UntrappedArithmetic&) = delete;
  UntrappedArithmetic& operator=(const UntrappedArithmetic&) = delete;

  bool trapped() const { return trapped_; }  // before

 private:
  std::fenv_t before_;
  bool trapped_ = false;
  bool held_ = false;
};

}  // namespace

static void check_models(Reporter& reporter) {
  for (int i = 0; i < kWearers * kModes; ++i) {
    const std::string path = std::string(c_GmodelPath[i]) + ".xml";
    const ModelCheck check = check_model_file(path);
    const bool fatal = i == kDefaultModel && !check.loads;
    for (const ModelFinding& finding : check.findings) {
      std::string place = path;
      if (finding.line != 0) place += ":" + std::to_string(finding.line);
      reporter.report(fatal ? WG_PREFLIGHT_FATAL : WG_PREFLIGHT_FAULT,
                      place + ": " + finding.text);
    }
    if (fatal) {
      reporter.report(
          WG_PREFLIGHT_FATAL,
          path + ": create_gesture_handle() would end the process, with status 0");
    }
  }
}

static std::string log_directory() {
  return std::string(kWgrLogPath, std::strrchr(kWgrLogPath, '/'));
}

// Why no line can be written; empty when one can. Opens the log as the log itself does,
// but does not make it.
static std::string log_obstacle() {
  const int fd = open(
      kWgrLogPath, O_RDWR | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_LARGEFILE);
  if (fd < 0 && errno != ENOENT) return std::strerror(errno);
  const std::string directory = log_directory();
  if (fd < 0) {
    if (faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
      return directory + ": " + std::strerror(errno);
    }
  } else {
    struct stat about;
    const bool regular = fstat(fd, &about) == 0 && S_ISREG(about.st_mode);
    close(fd);
    if (!regular) return "it is not a regular file";
  }
  struct statvfs space;
  if (statvfs(directory.c_str(), &space) == 0 && space.f_bavail == 0) {
    return "no space is left on its file system";
  }
  return "";
}

// Whether users other than its owner and the host can change the log.
static void check_access_to_log(Reporter& reporter) {
  const std::string log = kWgrLogPath;
  char target[PATH_MAX];
  const ssize_t length = readlink(kWgrLogPath, target, sizeof target);
  if (length >= 0) {
    reporter.report(WG_PREFLIGHT_NOTE,
                    log + ": is a link: lines are written to " +
                        std::string(target, static_cast<std::size_t>(length)));
  }
  const std::string directory = log_directory();
  struct stat about;
  if (stat(directory.c_str(), &about) == 0 && (about.st_mode & S_IWOTH) != 0) {
    reporter.report(
        WG_PREFLIGHT_NOTE,
        directory + ": every user can write here, and replace the log by a link");
  }
}

static void check_log(Reporter& reporter) {
  const std::string obstacle = log_obstacle();
  if (!obstacle.empty()) {
    reporter.report(WG_PREFLIGHT_NOTE, std::string(kWgrLogPath) +
                                           ": cannot be written: " + obstacle +
                                           "; the diagnostic log is dropped");
  }
  check_access_to_log(reporter);
}

// A thread may be set to make zeros of denormal numbers: of results, and of operands,
// such as those of the comparison.
static bool keeps_denormals() {
  volatile double smallest_normal = DBL_MIN;
  volatile double half = smallest_normal / 2.0;
  return half != 0.0;
}

static void check_arithmetic(Reporter& reporter, bool trapped) {
  if (trapped) {
    reporter.report(WG_PREFLIGHT_FATAL,
                    "floating-point exceptions are trapped on this thread: a sample, or "
                    "creating a handle, can end the process by SIGFPE");
  }
  if (std::fegetround() != FE_TONEAREST) {
    reporter.report(
        WG_PREFLIGHT_FAULT,
        "this thread does not round to nearest: all results differ in their bits");
  }
  if (!keeps_denormals()) {
    reporter.report(WG_PREFLIGHT_FAULT,
                    "this thread takes denormal numbers for zeros: results that meet one "
                    "differ");
  }
}

static void check_working_directory(Reporter& reporter) {
  char path[kPathSize] = {};
  const char* const left =
      "; after create_gesture_handle() the process stays in /usr/share";
  if (getcwd(path, sizeof path) == nullptr) {
    const int error = errno;
    std::string reason = std::strerror(error);
    if (error == ERANGE) {
      reason = "its path has more than " + std::to_string(kPathSize - 1) + " characters";
    }
    reporter.report(WG_PREFLIGHT_FAULT,
                    "the working directory cannot be restored: " + reason + left);
  } else if (faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) != 0) {
    reporter.report(WG_PREFLIGHT_FAULT,
                    std::string(path) + ": the working directory cannot be restored: " +
                        std::strerror(errno) + left);
  }
}

int preflight_gesture_library(WgPreflightCb report, void* user_data) {
  const UntrappedArithmetic arithmetic;
  Reporter reporter(report, user_data);
  check_models(reporter);
  check_log(reporter);
  check_working_directory(reporter);
  check_arithmetic(reporter, arithmetic.trapped());
  return reporter.heaviest();
}
