#include "WgrInterface.h"

#include "context/WgrContext.h"

using namespace wgr;

WgVersion WearableVersion = {0, 1};

static WgrContext* context_of(WgrHandle h) { return static_cast<WgrContext*>(h); }

WgrHandle create_gesture_handle(void) { return new WgrContext(); }

int init_gesture_handle(WgrHandle h, int sample_rate, Point3Df gyro_bias,
                        int min_motion_len, int history_len, int static_window,
                        int hand_window_len) {
  if (h == nullptr) return 1;
  return context_of(h)->init_gesture_handle(sample_rate, gyro_bias, min_motion_len,
                                            history_len, static_window, hand_window_len);
}

void set_gesture_rec_sensitivity(WgrHandle h, int level) {
  if (h == nullptr) return;
  context_of(h)->ages->set_sensitivity(level);
}

int set_gesture_model(WgrHandle h, WgWatchWearer wearer, WgWorkMode mode) {
  if (h == nullptr) return 1;
  return context_of(h)->set_gesture_model(wearer, mode);
}

int register_gesture_event_cb(WgrHandle h, WgGestureEventCb cb, void* user_data) {
  if (h == nullptr || cb == nullptr) return 0;
  context_of(h)->event_cb = cb;
  context_of(h)->user_data = user_data;
  return 1;
}

int update_gesture(WgrHandle h, Point3Df acc, Point3Df gyro) {
  if (h == nullptr) return 0;
  return context_of(h)->update_gesture(acc, gyro);
}

int get_wearer_type(WgrHandle h, Point3Df acc) {
  if (h == nullptr) return WG_WEARER_UNDECIDED;
  return context_of(h)->update_handtype(acc);
}

int get_movement_status(WgrHandle h) {
  if (h == nullptr) return 1;
  const std::deque<bool>& at_rest = context_of(h)->ages->static_history;
  return at_rest.empty() || at_rest.back() ? 1 : 0;
}

double get_recog_cost_time(WgrHandle h) {
  return h == nullptr ? 0.0 : context_of(h)->ages->recog_cost_time;
}

double get_motion_strength(WgrHandle h) {
  return h == nullptr ? 0.0 : context_of(h)->ages->motion_strength;
}

int destroy_gesture_handle(WgrHandle* ph) {
  if (ph == nullptr || *ph == nullptr) return 0;
  delete context_of(*ph);
  *ph = nullptr;
  return 0;
}

WgVersion get_version(void) { return WearableVersion; }
