#include "WgrPreflight.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "classifier/model_check.h"
#include "context/WgrContext.h"
#include "context/WgrLog.h"

namespace {

class Teller {
 public:
  Teller(WgPreflightCb callback, void* user_data)
      : callback_(callback), user_data_(user_data) {}

  void tell(int weight, const std::string& text) {
    heaviest_ = std::max(heaviest_, weight);
    if (callback_ != nullptr) callback_(weight, text.c_str(), user_data_);
  }
  int heaviest() const { return heaviest_; }

 private:
  const WgPreflightCb callback_;
  void* const user_data_;
  int heaviest_ = WG_PREFLIGHT_CLEAN;
};

}  // namespace

static void check_models(Teller& teller) {
  for (int i = 0; i < kWearers * kModes; ++i) {
    const std::string path = std::string(c_GmodelPath[i]) + ".xml";
    const ModelCheck check = check_model_file(path);
    const bool fatal = i == kDefaultModel && !check.loads;
    for (const ModelFinding& finding : check.findings) {
      std::string place = path;
      if (finding.line != 0) place += ":" + std::to_string(finding.line);
      teller.tell(fatal ? WG_PREFLIGHT_FATAL : WG_PREFLIGHT_FAULT,
                  place + ": " + finding.text);
    }
    if (fatal) {
      teller.tell(
          WG_PREFLIGHT_FATAL,
          path + ": create_gesture_handle() would end the process, with status 0");
    }
  }
}

// Why no line can be written; empty when one can. Opens the log as the log itself does,
// but does not make it.
static std::string log_obstacle() {
  const int fd = open(
      kWgrLogPath, O_RDWR | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_LARGEFILE);
  if (fd < 0 && errno != ENOENT) return std::strerror(errno);
  const std::string directory = std::string(kWgrLogPath, std::strrchr(kWgrLogPath, '/'));
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

static void check_log(Teller& teller) {
  const std::string obstacle = log_obstacle();
  if (obstacle.empty()) return;
  teller.tell(WG_PREFLIGHT_NOTE, std::string(kWgrLogPath) + ": cannot be written: " +
                                     obstacle + "; the diagnostic log is dropped");
}

static void check_working_directory(Teller& teller) {
  char path[kPathSize] = {};
  const char* const left =
      "; after create_gesture_handle() the process stays in /usr/share";
  if (getcwd(path, sizeof path) == nullptr) {
    const int error = errno;
    std::string reason = std::strerror(error);
    if (error == ERANGE) {
      reason = "its path has more than " + std::to_string(kPathSize - 1) + " characters";
    }
    teller.tell(WG_PREFLIGHT_FAULT,
                "the working directory cannot be restored: " + reason + left);
  } else if (faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) != 0) {
    teller.tell(WG_PREFLIGHT_FAULT, std::string(path) +
                                        ": the working directory cannot be restored: " +
                                        std::strerror(errno) + left);
  }
}

int preflight_gesture_library(WgPreflightCb tell, void* user_data) {
  Teller teller(tell, user_data);
  check_models(teller);
  check_log(teller);
  check_working_directory(teller);
  return teller.heaviest();
}
