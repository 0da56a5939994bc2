// The library that the calls are passed on to.
#pragma once

#include "WgrInterface.h"

namespace wgr::recorder {

struct RealLibrary {
  decltype(&::create_gesture_handle) create;
  decltype(&::init_gesture_handle) init;
  decltype(&::set_gesture_rec_sensitivity) set_sensitivity;
  decltype(&::set_gesture_model) set_model;
  decltype(&::register_gesture_event_cb) register_cb;
  decltype(&::update_gesture) update;
  decltype(&::get_wearer_type) wearer;
  decltype(&::get_movement_status) movement;
  decltype(&::get_recog_cost_time) cost_time;
  decltype(&::get_motion_strength) strength;
  decltype(&::destroy_gesture_handle) destroy;
  decltype(&::get_version) version;
};

// Its functions. One that cannot be found answers as for a null handle.
const RealLibrary& real_library();

// The library's own symbol of this name, or null: each way in looks in its place.
void* real_symbol(const char* name);

// Before get_version(): a host of the proxy writes the proxy's WearableVersion.
void pass_version_on();

}  // namespace wgr::recorder
