/**
 * @file
 * Checks, before a host uses the library, that everything it needs is there.
 *
 * Creating a handle ends the process when the default model cannot be loaded; a model
 * with a fault recognises less and reports nothing; a log that cannot be written is
 * dropped; and a changed floating-point environment changes results. This function finds
 * all that first. It changes nothing, and never ends the process.
 */
#ifndef WGR_PREFLIGHT_H
#define WGR_PREFLIGHT_H

#ifdef __cplusplus
extern "C" {
#endif

/**
 * What a finding means for the host. They are ints, in the order of their weight.
 */
enum {
  /** Nothing to report: returned, never a finding's weight. */
  WG_PREFLIGHT_CLEAN = 0,
  /** Everything works, but the log is dropped, or other users can write to it. */
  WG_PREFLIGHT_NOTE = 1,
  /** Handles work, but something will not do what it should. */
  WG_PREFLIGHT_FAULT = 2,
  /** Creating a handle would end the process, or using it can. */
  WG_PREFLIGHT_FATAL = 3
};

/**
 * Receives one finding.
 *
 * @param weight WG_PREFLIGHT_NOTE, _FAULT or _FATAL
 * @param text one line without its end, as "PATH:LINE: what is wrong"; valid during the
 *     call only
 * @param user_data what was passed to preflight_gesture_library()
 */
typedef void (*WgPreflightCb)(int weight, const char* text, void* user_data);

/**
 * Checks the six model files, the diagnostic log, the working directory and the
 * floating-point environment, as this process finds them: with its user, its file system,
 * its working directory, and on this thread: call it on the one that will feed samples.
 *
 * Writes no file, prints nothing, and needs no handle. Call it before
 * create_gesture_handle(), and refuse to start on WG_PREFLIGHT_FATAL.
 *
 * @param report called once per finding, on this thread; may be null
 * @param user_data passed on to it as it is
 * @return the heaviest finding's weight; WG_PREFLIGHT_CLEAN when there is none
 */
int preflight_gesture_library(WgPreflightCb report, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
