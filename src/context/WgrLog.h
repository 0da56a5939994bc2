// The diagnostic log: single lines appended to "/home/app/WgrLog.txt".
//
// A line reads "FUNCTION TAG: MESSAGE". Every line opens the file, writes and
// closes it again, so it has reached the file when the call returns, and a file
// that was renamed away is made anew. A line that cannot be written is dropped silently
// and as a whole, and no signal ends the host: the log must never disturb it.
#pragma once

#include <string_view>

#include "base/held_signals.h"

// Appends `line`, which must be a formatted text without a line break, and a line
// break to the log.
void WgrLog(char* line);

namespace wgr {

inline constexpr char kWgrLogPath[] = "/home/app/WgrLog.txt";

// One place that logs. `tag` is printed where a source line number would be. It
// belongs to the line's text, so it stays as it is when the code around it moves.
struct WgrLogSite {
  std::string_view function;
  int tag;
  std::string_view
      message;  // %d stands for an int, %s for a text, and there is no other %
};

// clang-format off
//                                                 function               tag  message
inline constexpr WgrLogSite kLogContextStart   = {"WgrContext",           36, "WgrConstruct start"};
inline constexpr WgrLogSite kLogContextEnd     = {"WgrContext",           44, "WgrConstruct end"};
inline constexpr WgrLogSite kLogInitDone       = {"init_gesture_handle",  68, "---init_gesture_handle success"};
inline constexpr WgrLogSite kLogSetModel       = {"set_gesture_model",    81, "---setmode----hand type:%d, mode:%d, path:%s"};
inline constexpr WgrLogSite kLogSetModelDone   = {"set_gesture_model",    87, "---set_hand_model success"};
inline constexpr WgrLogSite kLogUpdateStart    = {"update_gesture",      115, "update_gesture start"};
inline constexpr WgrLogSite kLogGestureType    = {"update_gesture",      123, "---gestype---:%d"};
inline constexpr WgrLogSite kLogEngineStart    = {"AgGes",                14, "AgGes start"};
inline constexpr WgrLogSite kLogEngineCwd      = {"AgGes",                40, "%s"};
inline constexpr WgrLogSite kLogModelLoaded    = {"AgGes",                50, "Load model success!"};
inline constexpr WgrLogSite kLogModelFailed    = {"AgGes",                60, "ERROR: load model failed! Path:%s"};
inline constexpr WgrLogSite kLogEngineEnd      = {"AgGes",                70, "AgGes end"};
inline constexpr WgrLogSite kLogDetectorStart  = {"WHD",                 623, "WHD start"};
inline constexpr WgrLogSite kLogDetectorGiven  = {"WHD",                 635, "pp is NON NULL"};
// The same words whether or not a record was given; only the tag differs.
inline constexpr WgrLogSite kLogDetectorOwn    = {"WHD",                 647, "pp is NON NULL"};
inline constexpr WgrLogSite kLogDetectorEnd    = {"WHD",                 658, "WHD end"};
inline constexpr WgrLogSite kLogPredict        = {"predict",             336, "nTemplate:%d, nclasses:%d, normalize:%d, havegravity:%d"};
// clang-format on

// Whether lines are written. Applies to this copy of the file alone: a program that is
// linked to the library uses WgrContext::set_logging().
void set_logging(bool on);

// Formats one line of the table and appends it. The whole line is cut to 255 characters.
void WgrLogAt(WgrLogSite site, ...);

// The same for several lines behind each other, during which signals are blocked once.
void WgrLogAt(HeldSignals& held, WgrLogSite site, ...);

}  // namespace wgr
