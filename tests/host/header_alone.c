/* The public headers need nothing before them, and are plain C11. */
#include "WgrPreflight.h"

#include "WgrInterface.h"

_Static_assert(sizeof(Point3Df) == 3 * sizeof(double), "three doubles");
_Static_assert(sizeof(WgVersion) == 8, "two ints of 32 bits");
_Static_assert(sizeof(WgWatchWearer) == sizeof(int), "an int");
_Static_assert(sizeof(WgWorkMode) == sizeof(int), "an int");
_Static_assert(sizeof(WgrHandle) == sizeof(void*), "a pointer");
_Static_assert(WG_WEARER_LEFT == 0 && WG_WEARER_RIGHT == 1, "model directories");
_Static_assert(WG_MODE_OW == 0 && WG_MODE_FB == 1 && WG_MODE_MIX == 2, "model variants");

/* The twelve functions have exactly these types. */
WgrHandle (*const create)(void) = create_gesture_handle;
int (*const init)(WgrHandle, int, Point3Df, int, int, int, int) = init_gesture_handle;
void (*const sensitivity)(WgrHandle, int) = set_gesture_rec_sensitivity;
int (*const model)(WgrHandle, WgWatchWearer, WgWorkMode) = set_gesture_model;
int (*const listen)(WgrHandle, WgGestureEventCb, void*) = register_gesture_event_cb;
int (*const update)(WgrHandle, Point3Df, Point3Df) = update_gesture;
int (*const wearer)(WgrHandle, Point3Df) = get_wearer_type;
int (*const status)(WgrHandle) = get_movement_status;
double (*const cost)(WgrHandle) = get_recog_cost_time;
double (*const strength)(WgrHandle) = get_motion_strength;
int (*const destroy)(WgrHandle*) = destroy_gesture_handle;
WgVersion (*const version)(void) = get_version;
WgVersion* const version_object = &WearableVersion;
int (*const preflight)(WgPreflightCb, void*) = preflight_gesture_library;
