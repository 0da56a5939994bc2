/**
 * @file
 * The C interface of libWearableInteraction: wrist gestures, and the wrist that
 * wears the watch, from a stream of accelerometer and gyroscope samples.
 *
 * Calling order: create_gesture_handle(); init_gesture_handle(); if wanted
 * set_gesture_model() and set_gesture_rec_sensitivity(), in this order after
 * init, which resets the sensitivity; register_gesture_event_cb(); then
 * update_gesture() once per sample pair, with queries in between; finally
 * destroy_gesture_handle().
 *
 * Units: accelerations in m/s² with gravity in them, angular velocities in deg/s, both
 * in the watch's frame; lengths in samples; times in milliseconds.
 *
 * Status values differ between the functions: each comment states every return value,
 * also for a null handle. The functions throw only std::bad_alloc, and what the host's
 * own callback throws.
 *
 * Threads: the library starts none and locks nothing. Call one handle from one
 * thread at a time. Handles share the log file and the model files, which are only
 * read; creating a handle changes the process's working directory for a moment.
 *
 * Floating-point environment: each thread that calls must round to nearest, trap no
 * exception, and neither flush denormal numbers to zero nor read them as zero, which is
 * how a process starts. Another rounding changes the bits of all results, denormals that
 * become zeros those of a few, and a trap ends the process. The library changes none of
 * this; exception flags are raised as results demand. See WgrPreflight.h.
 *
 * Every call must return, or be left by an exception. Leaving one by longjmp(), in the
 * callback or in a signal handler, or by cancelling its thread is not allowed: files
 * stay open, memory is lost, and the handle is left between two states.
 */
#ifndef WGR_INTERFACE_H
#define WGR_INTERFACE_H

#include "WgrTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The library's version, {0, 1}. Writable: get_version() returns its contents. */
extern WgVersion WearableVersion;

/**
 * Makes a gesture context with the default model (left wrist, mode 1) loaded.
 *
 * The context starts with a sample rate of 50 and takes no sample pair before
 * init_gesture_handle(). During the call the process's working directory is
 * "/usr/share/"; the call restores it before it returns.
 *
 * Ends the whole process with exit status 0 when the default model,
 * "/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo.xml", cannot be loaded.
 *
 * @return the handle, never null
 */
WgrHandle create_gesture_handle(void);

/**
 * Sets the stream's parameters and readies the context for update_gesture().
 *
 * May be called again at any time: collected samples and the last result stay,
 * and the strength threshold returns to 2.0 m/s², whatever the sensitivity was.
 *
 * @param h handle; may be null
 * @param sample_rate samples per second
 * @param gyro_bias subtracted from every gyroscope sample, deg/s
 * @param min_motion_len shortest motion that is recognised, in samples; below 1 means
 *     sample_rate / 2
 * @param history_len length of the sample histories; below 1 means sample_rate * 5
 * @param static_window samples that the rest test looks at; below 1 means
 *     sample_rate / 5
 * @param hand_window_len samples that get_wearer_type() looks at
 * @return 0, or 1 when h is null
 */
int init_gesture_handle(WgrHandle h, int sample_rate, Point3Df gyro_bias,
                        int min_motion_len, int history_len, int static_window,
                        int hand_window_len);

/**
 * Chooses how short and how weak a motion may be to count as a gesture.
 *
 * Sets the shortest motion (samples) and the least strength (root mean square,
 * m/s²) from the level and the sample rate R that is in force:
 *
 * | level                 | shortest motion | least strength     |
 * |-----------------------|-----------------|--------------------|
 * | 1                     | R / 3.5         | 2.0                |
 * | 2                     | R / 2           | 2.5                |
 * | 3                     | R / 2           | 4.0                |
 * | 0, and 4 or more      | R / 2           | 3.0                |
 * | negative, -level < R  | -level          | -level / R * 6.0   |
 * | negative, -level >= R | R / 2           | 3.0                |
 *
 * @param h handle; when null nothing happens
 * @param level how strict, as in the table
 */
void set_gesture_rec_sensitivity(WgrHandle h, int level);

/**
 * Loads one of the six gesture models in place of the current one.
 *
 * A model file that cannot be read leaves an empty model, which recognises
 * nothing; the function still returns 0.
 *
 * @param h handle; may be null
 * @param wearer 0 (left wrist) or 1 (right wrist)
 * @param mode 0, 1 or 2
 * @return 0, or 1 when h is null or an argument is out of its range, in which case
 *     nothing changes
 */
int set_gesture_model(WgrHandle h, WgWatchWearer wearer, WgWorkMode mode);

/**
 * Registers the function that each gesture is reported to; one at a time.
 *
 * The callback may call everything but destroy_gesture_handle() on its handle.
 * update_gesture() on its own handle ignores the samples and returns 6 there; other
 * handles can be fed. An exception that the callback throws passes through
 * update_gesture(): the gesture counts as reported, and the next sample starts afresh.
 *
 * @param h handle; may be null
 * @param cb the callback; null is refused, and an earlier one stays
 * @param user_data passed to the callback as it is
 * @return 1 when stored, 0 when refused
 */
int register_gesture_event_cb(WgrHandle h, WgGestureEventCb cb, void* user_data);

/**
 * Feeds one accelerometer and one gyroscope sample taken at the same instant.
 *
 * Call it once per sample period, at the rate given to init_gesture_handle().
 * A gesture that this sample completes is reported through the registered
 * callback, on this thread, before the call returns; all histories then start
 * afresh.
 *
 * @param h handle; may be null
 * @param acc acceleration with gravity in it, watch frame, m/s²
 * @param gyro angular velocity with its bias still in it, watch frame, deg/s
 * @return the class that was reported, or 6 when none was; 0 when h is null; 6 also while
 *     h's own callback is running, when the samples are ignored
 */
int update_gesture(WgrHandle h, Point3Df acc, Point3Df gyro);

/**
 * Feeds one accelerometer sample to the wrist detector and returns its answer.
 *
 * The detector keeps its own window, apart from update_gesture()'s histories. It reads
 * quick pushes along and across the forearm, as in walking; at rest, and while the hands
 * are in use, it is undecided or guesses. One answer in three is wrong: count the answers
 * 0 and 1, and believe one that came more than twice as often as the other, in 100
 * answers or more.
 *
 * @param h handle; may be null
 * @param acc acceleration with gravity in it, watch frame, m/s²
 * @return 0 (left wrist), 1 (right wrist) or 2 (undecided; also for a null handle
 *     and until the window has filled)
 */
int get_wearer_type(WgrHandle h, Point3Df acc);

/**
 * Reports whether the newest sample of update_gesture() ended at rest.
 *
 * @param h handle; may be null
 * @return 1 at rest, 0 moving; 1 as well when h is null or there is no sample yet
 */
int get_movement_status(WgrHandle h);

/**
 * Returns the last recognition's duration: that of the compared stretch of motion, at
 * the nominal sample rate.
 *
 * @param h handle; may be null
 * @return milliseconds; 0.0 when h is null or nothing ran yet
 */
double get_recog_cost_time(WgrHandle h);

/**
 * Returns the last recognition's motion strength: the root mean square acceleration of
 * the motion without gravity.
 *
 * @param h handle; may be null
 * @return m/s²; 0.0 when h is null or nothing ran yet
 */
double get_motion_strength(WgrHandle h);

/**
 * Destroys the context behind *ph and sets *ph to null; does nothing when *ph is
 * null already. Must not be called inside the gesture callback.
 *
 * @param ph address of the host's handle; null is taken for a null handle
 * @return 0
 */
int destroy_gesture_handle(WgrHandle* ph);

/**
 * Returns the contents of WearableVersion. Needs no handle.
 *
 * @return the version
 */
WgVersion get_version(void);

#ifdef __cplusplus
}
#endif

#endif
