/**
 * @file
 * The types that cross the C interface: samples, enumerations, handle, callback.
 *
 * Plain C11, and C++17 as well. Accelerations are in m/s² with gravity in them,
 * angular velocities in deg/s, both in the watch's frame.
 */
#ifndef WGR_TYPES_H
#define WGR_TYPES_H

#ifdef __cplusplus
/**
 * Begins an enumeration that is as wide as int. C++ declares it so, which makes every
 * int a host may pass a valid value that the library can look at and refuse.
 */
#define WG_INT_ENUM(name) enum name : int
extern "C" {
#else
/** Begins an enumeration, which C compilers make as wide as int. */
#define WG_INT_ENUM(name) enum name
#endif

/** One three-axis sample or vector in the watch's frame, passed by value. */
typedef struct Point3Df {
  double x; /**< to the fingers on the left wrist, to the elbow on the right */
  double y; /**< to the little finger's side */
  double z; /**< out of the watch's face */
} Point3Df;

/* The formatter takes the macro for a call. */
/* clang-format off */
/** The wrist that wears the watch. */
typedef WG_INT_ENUM(WgWatchWearer) {
  WG_WEARER_LEFT = 0,     /**< the left wrist */
  WG_WEARER_RIGHT = 1,    /**< the right wrist */
  WG_WEARER_UNDECIDED = 2 /**< returned by get_wearer_type(), never an argument */
} WgWatchWearer;

/** The variant of the gesture model: which of a wearer's three models is used. */
typedef WG_INT_ENUM(WgWorkMode) {
  WG_MODE_OW = 0, /**< olvo_model_5_ow, olvo_model_5r_ow */
  WG_MODE_FB = 1, /**< olvo_model_5_fb (the default), olvo_model_5r_fb */
  WG_MODE_MIX = 2 /**< olvo_model_5_mix, olvo_model_5r_mix */
} WgWorkMode;
/* clang-format on */

/** One gesture context; made by create_gesture_handle(). */
typedef void* WgrHandle;

/**
 * The host's gesture callback, called inside update_gesture() on its thread.
 *
 * @param handle the handle that recognised the gesture
 * @param gesture the reported class: a label of the model, or 5 for a strong motion
 *     that resembles no gesture closely enough
 * @param user_data what was registered with the callback
 */
typedef void (*WgGestureEventCb)(void* handle, int gesture, void* user_data);

/** A version of the library. */
typedef struct WgVersion {
  int major; /**< 0 */
  int minor; /**< 1 */
} WgVersion;

#ifdef __cplusplus
}
#endif

#endif
