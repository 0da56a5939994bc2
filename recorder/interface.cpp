// The C interface, passed on to the library and recorded.
#include "WgrInterface.h"

#include "real_library.h"
#include "recorder.h"
#include "recorder_state.h"

using namespace wgr;
using namespace wgr::recorder;
using capture::kReturned;
using capture::kThrew;

namespace {

// Notes how a call ends, also when an exception leaves it.
template <class Note>
class Ending {
 public:
  explicit Ending(Note note) : note_(note) {}
  ~Ending() {
    if (!returned_) note_(kThrew, 0);
  }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

  void returned(int value) {
    returned_ = true;
    note_(kReturned, value);
  }

 private:
  Note note_;
  bool returned_ = false;
};

}  // namespace

static auto answer_of(std::uint8_t call, std::uint32_t id) {
  return [call, id](std::uint8_t ending, int value) {
    recorder::answer(call, id, ending, value);
  };
}

// In the place of the host's callback.
static void on_gesture(void* handle, int gesture, void* user_data) {
  const Handle& known = *static_cast<const Handle*>(user_data);
  const WgGestureEventCb cb = known.callback;
  void* const data = known.user_data;
  if (!is_set_up()) {
    cb(handle, gesture, data);
    return;
  }
  recorder::callback(handle, gesture);
  Ending ending([handle](std::uint8_t how, int) { callback_end(handle, how); });
  cb(handle, gesture, data);
  ending.returned(0);
}

WgrHandle create_gesture_handle(void) {
  if (!is_set_up()) return real_library().create();
  const std::uint32_t id = before_create();
  Ending ending(answer_of(capture::kCreate, id));
  const WgrHandle h = real_library().create();
  created(h, id);
  ending.returned(h != nullptr ? 1 : 0);
  return h;
}

int init_gesture_handle(WgrHandle h, int sample_rate, Point3Df gyro_bias,
                        int min_motion_len, int history_len, int static_window,
                        int hand_window_len) {
  const auto call = [&] {
    return real_library().init(h, sample_rate, gyro_bias, min_motion_len, history_len,
                               static_window, hand_window_len);
  };
  if (!is_set_up()) return call();
  const capture::InitArguments arguments = {sample_rate, gyro_bias,     min_motion_len,
                                            history_len, static_window, hand_window_len};
  Ending ending(answer_of(capture::kInit, before_init(h, arguments)));
  const int value = call();
  initialised(h, arguments);
  ending.returned(value);
  return value;
}

void set_gesture_rec_sensitivity(WgrHandle h, int level) {
  if (!is_set_up()) return real_library().set_sensitivity(h, level);
  Ending ending(answer_of(capture::kSensitivity, before_sensitivity(h, level)));
  real_library().set_sensitivity(h, level);
  sensitivity_set(h, level);
  ending.returned(0);
}

int set_gesture_model(WgrHandle h, WgWatchWearer wearer, WgWorkMode mode) {
  if (!is_set_up()) return real_library().set_model(h, wearer, mode);
  Ending ending(answer_of(capture::kSetModel, before_set_model(h, wearer, mode)));
  const int value = real_library().set_model(h, wearer, mode);
  model_set(h, wearer, mode);
  ending.returned(value);
  return value;
}

int register_gesture_event_cb(WgrHandle h, WgGestureEventCb cb, void* user_data) {
  if (!is_set_up()) return real_library().register_cb(h, cb, user_data);
  Ending ending(answer_of(capture::kRegister, before_register(h, cb)));
  Handle* const own = cb == nullptr ? nullptr : registered(h, cb, user_data);
  const int value = own == nullptr ? real_library().register_cb(h, cb, user_data)
                                   : real_library().register_cb(h, on_gesture, own);
  ending.returned(value);
  return value;
}

int update_gesture(WgrHandle h, Point3Df acc, Point3Df gyro) {
  if (!is_set_up()) return real_library().update(h, acc, gyro);
  sample(h, acc, gyro);
  Ending ending([h](std::uint8_t how, int value) { sample_answer(h, how, value); });
  const int value = real_library().update(h, acc, gyro);
  ending.returned(value);
  return value;
}

int get_wearer_type(WgrHandle h, Point3Df acc) {
  if (!is_set_up()) return real_library().wearer(h, acc);
  replace_acceleration(h, acc);
  Ending ending(
      [&](std::uint8_t how, int value) { recorder::wearer(h, acc, how, value); });
  const int value = real_library().wearer(h, acc);
  ending.returned(value);
  return value;
}

int get_movement_status(WgrHandle h) {
  const int value = real_library().movement(h);
  if (is_set_up()) movement(h, value);
  return value;
}

double get_recog_cost_time(WgrHandle h) {
  const double value = real_library().cost_time(h);
  if (is_set_up()) cost_time(h, value);
  return value;
}

double get_motion_strength(WgrHandle h) {
  const double value = real_library().strength(h);
  if (is_set_up()) strength(h, value);
  return value;
}

int destroy_gesture_handle(WgrHandle* ph) {
  if (!is_set_up()) return real_library().destroy(ph);
  Ending ending(answer_of(capture::kDestroy, before_destroy(ph)));
  const int value = real_library().destroy(ph);
  ending.returned(value);
  return value;
}

WgVersion get_version(void) {
  pass_version_on();
  const WgVersion value = real_library().version();
  if (is_set_up()) recorder::version(value);
  return value;
}
