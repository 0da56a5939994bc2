/* The least that a host does, to be built against the installed library. */
#include <WgrInterface.h>
#include <WgrPreflight.h>
#include <stdio.h>

static void on_gesture(void* handle, int gesture, void* count) {
  (void)handle;
  (void)gesture;
  ++*(int*)count;
}

int main(void) {
  static const Point3Df kStill = {0.0, 0.0, 9.81};
  static const Point3Df kNoTurn = {0.0, 0.0, 0.0};
  const WgVersion version = get_version();
  int events = 0;
  if (preflight_gesture_library(NULL, NULL) == WG_PREFLIGHT_FATAL) return 1;
  WgrHandle handle = create_gesture_handle();
  if (init_gesture_handle(handle, 50, kNoTurn, 0, 0, 0, 50) != 0) return 1;
  if (set_gesture_model(handle, WG_WEARER_RIGHT, WG_MODE_MIX) != 0) return 1;
  if (register_gesture_event_cb(handle, on_gesture, &events) != 1) return 1;
  for (int i = 0; i < 100; ++i) {
    if (update_gesture(handle, kStill, kNoTurn) != 6) return 1;
  }
  if (get_movement_status(handle) != 1 || events != 0) return 1;
  destroy_gesture_handle(&handle);
  printf("host %d.%d\n", version.major, version.minor);
  return handle == NULL && WearableVersion.minor == version.minor ? 0 : 1;
}
