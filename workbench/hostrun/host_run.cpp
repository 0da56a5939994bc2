#include "hostrun/host_run.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "base/errors.h"
#include "base/text.h"
#include "context/WgrContext.h"
#include "hostrun/fixed_paths.h"
#include "hostrun/host_wrist.h"
#include "output/temporary_file.h"

namespace wgr {

static constexpr int kLibraryChooses = -1;

static bool creating = false;

// The library ends the process with status 0 when it cannot load its default model.
static void report_end_while_creating() {
  if (!creating) return;
  std::fflush(nullptr);
  remove_hidden_files();
  const std::string model = model_file(kInstalledModels, kDefaultWearer, kDefaultMode);
  warn("{}: the library cannot load it: not a model file", model);
  _exit(kExitBadInput);
}

namespace {

// Puts the working directory back that the library leaves while it loads a model, and
// cannot find again where the path is long: relative paths go on meaning the same.
class KeptWorkingDirectory {
 public:
  KeptWorkingDirectory() : fd_(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
  ~KeptWorkingDirectory() {
    if (fd_ < 0) return;
    [[maybe_unused]] const int returned = fchdir(fd_);
    close(fd_);
  }
  KeptWorkingDirectory(const KeptWorkingDirectory&) = delete;
  KeptWorkingDirectory& operator=(const KeptWorkingDirectory&) = delete;

 private:
  const int fd_;
};

}  // namespace

static WgrHandle create_with(const Gmodel& model) {
  auto classifier = std::make_unique<HGR>(0);
  *classifier->model = model;
  return new WgrContext(std::move(classifier));
}

static WgrHandle create_with_installed_models() {
  static const bool registered = std::atexit(report_end_while_creating) == 0;
  const KeptWorkingDirectory before;
  creating = registered;
  const WgrHandle handle = create_gesture_handle();
  creating = false;
  return handle;
}

HostRun::HostRun(const HostRunOptions& options)
    : handle_(options.model ? create_with(*options.model)
                            : create_with_installed_models()) {
  if (options.initialise) {
    init_gesture_handle(handle_, options.rate, options.gyro_bias, options.shortest,
                        kLibraryChooses, options.rest_window, kHandWindow);
  }
  if (!options.model) {
    const KeptWorkingDirectory before;
    set_gesture_model(handle_, static_cast<WgWatchWearer>(options.wearer),
                      static_cast<WgWorkMode>(options.mode));
  }
  if (options.sensitivity) set_gesture_rec_sensitivity(handle_, *options.sensitivity);
  register_gesture_event_cb(handle_, on_gesture, this);
}

HostRun::~HostRun() { destroy_gesture_handle(&handle_); }

void HostRun::on_gesture(void* handle, int gesture, void* host_run) {
  HostRun& self = *static_cast<HostRun*>(host_run);
  self.event_ = GestureEvent{self.now_, gesture, get_motion_strength(handle),
                             get_recog_cost_time(handle)};
}

std::optional<GestureEvent> HostRun::feed(const RecordedSample& sample) {
  now_ = sample.t;
  event_.reset();
  update_gesture(handle_, sample.acc, sample.gyro);
  return event_;
}

bool HostRun::at_rest() const { return get_movement_status(handle_) == 1; }

int HostRun::ask_wearer(const RecordedSample& sample) {
  return get_wearer_type(handle_, sample.acc);
}

}  // namespace wgr
