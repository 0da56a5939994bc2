// What a host sets when it starts the library, and a model's examples depend on.
#pragma once

#include <optional>
#include <string>

namespace wgr {

struct HostSettings {
  int shortest = -1;       // motion that is recognised, samples; below 1: half a second
  int static_window = -1;  // samples of the rest test; below 1: a fifth of a second
  // Level of set_gesture_rec_sensitivity(), which chooses the shortest motion as well;
  // none: it is not called.
  std::optional<int> sensitivity;
};

bool operator==(const HostSettings& a, const HostSettings& b);

// The calls that a host makes of them, a line of C each, behind `indent`.
std::string calls_of(const HostSettings& settings, int rate, const std::string& indent);

// "rest window 6, min length 10".
std::string settings_text(const HostSettings& settings);

}  // namespace wgr
