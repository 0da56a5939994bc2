/*
 * The types that cross the C interface: samples, enumerations, handle, callback.
 *
 * Plain C11, and C++17 as well. Accelerations are in m/s² with gravity in them,
 * angular rates in deg/s, both in the watch's frame.
 */
#ifndef WGR_TYPES_H
#define WGR_TYPES_H

/*
 * The enumerations are as wide as int. C++ declares it so, which makes every int a
 * host may pass a valid value that the library can look at and refuse.
 */
#ifdef __cplusplus
#define WG_INT_ENUM(name) enum name : int
extern "C" {
#else
#define WG_INT_ENUM(name) enum name
#endif

/** One three-axis sample or vector, passed by value. */
typedef struct Point3Df {
  double x;
  double y;
  double z;
} Point3Df;

/* The formatter takes the macro for a call. */
/* clang-format off */
/** The wrist that wears the watch. */
typedef WG_INT_ENUM(WgWatchWearer) {
  WG_WEARER_LEFT = 0,
  WG_WEARER_RIGHT = 1,
  WG_WEARER_UNDECIDED = 2 /* an answer of get_wearer_type(), never an argument */
} WgWatchWearer;

/** The variant of the gesture model: which of a wearer's three models is used. */
typedef WG_INT_ENUM(WgWorkMode) {
  WG_MODE_OW = 0,
  WG_MODE_FB = 1,
  WG_MODE_MIX = 2
} WgWorkMode;
/* clang-format on */

/** One gesture context; made by create_gesture_handle(). */
typedef void* WgrHandle;

/**
 * The host's gesture callback, called inside update_gesture() on its thread.
 *
 * handle     the handle that recognised the gesture
 * gesture    the reported class: a label of the model, or 5 for a strong motion
 *            that resembles no gesture closely enough
 * user_data  the word registered with the callback
 */
typedef void (*WgGestureEventCb)(void* handle, int gesture, void* user_data);

/** A version of the library. */
typedef struct WgVersion {
  int major;
  int minor;
} WgVersion;

#ifdef __cplusplus
}
#endif

#endif
