/*
 * A look around before a host uses the library: will it find what it needs?
 *
 * Creating a handle ends the process when the default model cannot be loaded, a model
 * with a fault recognises less without a word, a log that cannot be written is dropped,
 * and arithmetic that a host has changed changes results. This function finds all that
 * first, changes nothing and ends nothing.
 */
#ifndef WGR_PREFLIGHT_H
#define WGR_PREFLIGHT_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * What a finding means for the host. They are ints, in the order of their weight.
 */
enum {
  WG_PREFLIGHT_CLEAN = 0, /* nothing to report; an answer, never a finding's weight */
  WG_PREFLIGHT_NOTE = 1,  /* everything works, but the log is dropped, or others can
                             lay hands on it */
  WG_PREFLIGHT_FAULT = 2, /* handles work, but something will not do what it should */
  WG_PREFLIGHT_FATAL = 3  /* creating a handle would end the process, or using it can */
};

/**
 * Receives one finding.
 *
 * weight     WG_PREFLIGHT_NOTE, _FAULT or _FATAL
 * text       one line without its end, as "PATH:LINE: what is wrong"; valid during the
 *            call only
 * user_data  the word given to preflight_gesture_library()
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
 * tell       called once per finding, on this thread; may be null
 * user_data  handed to it as it is
 * return     the heaviest finding's weight; WG_PREFLIGHT_CLEAN when there is none
 */
int preflight_gesture_library(WgPreflightCb tell, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
