#include "real_library.h"

#include "base/class_codes.h"
#include "settings.h"

namespace wgr::recorder {

static WgrHandle no_create() { return nullptr; }
static int no_init(WgrHandle, int, Point3Df, int, int, int, int) { return 1; }
static void no_sensitivity(WgrHandle, int) {}
static int no_model(WgrHandle, WgWatchWearer, WgWorkMode) { return 1; }
static int no_register(WgrHandle, WgGestureEventCb, void*) { return 0; }
static int no_update(WgrHandle h, Point3Df, Point3Df) {
  return h == nullptr ? 0 : kNothingReported;
}
static int no_wearer(WgrHandle, Point3Df) { return WG_WEARER_UNDECIDED; }
static int no_movement(WgrHandle) { return 1; }
static double no_number(WgrHandle) { return 0.0; }
static int no_destroy(WgrHandle*) { return 0; }
static WgVersion no_version() { return {0, 0}; }

// Takes the library's function, or the one that stands in for it.
template <class Function>
static void take(Function& function, const char* name, Function otherwise) {
  function = reinterpret_cast<Function>(real_symbol(name));
  if (function != nullptr) return;
  complain("is missing in the library, or the library is", name);
  function = otherwise;
}

static RealLibrary find_all() {
  RealLibrary real = {};
  take(real.create, "create_gesture_handle", no_create);
  take(real.init, "init_gesture_handle", no_init);
  take(real.set_sensitivity, "set_gesture_rec_sensitivity", no_sensitivity);
  take(real.set_model, "set_gesture_model", no_model);
  take(real.register_cb, "register_gesture_event_cb", no_register);
  take(real.update, "update_gesture", no_update);
  take(real.wearer, "get_wearer_type", no_wearer);
  take(real.movement, "get_movement_status", no_movement);
  take(real.cost_time, "get_recog_cost_time", no_number);
  take(real.strength, "get_motion_strength", no_number);
  take(real.destroy, "destroy_gesture_handle", no_destroy);
  take(real.version, "get_version", no_version);
  return real;
}

const RealLibrary& real_library() {
  static const RealLibrary real = find_all();
  return real;
}

}  // namespace wgr::recorder
