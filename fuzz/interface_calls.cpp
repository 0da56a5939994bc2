// A script of calls of the C interface, with any arguments and samples.
//
// Three handles, one of them always null, are created, initialised, given models, fed and
// destroyed in any order. Every answer is compared with a shadow's, made of the reference
// versions. A few steps go to the engine behind a handle: other modes, and the
// accelerometer alone.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "WgrInterface.h"
#include "WgrPreflight.h"
#include "harness.h"
#include "input.h"
#include "places.h"
#include "shadow_context.h"
#include "support/motions.h"
#include "support/same_bits.h"
#include "support/text.h"

using namespace wgr;

static constexpr std::size_t kMostSamples = 700;  // of one script
static constexpr std::size_t kMostHandSamples = 300;
static constexpr int kMostHandWindow = 10000;
static constexpr int kMostCreations = 12;
static constexpr std::uint32_t kHandles = 3;  // the last one stays null

namespace {

enum class InCallback { kNothing, kModel, kInit, kQueries, kCount };

// One of the host's handles, its shadow, and what its callback got.
struct Host {
  WgrHandle handle = nullptr;
  std::unique_ptr<ShadowContext> shadow;
  bool registered = false;
  InCallback in_callback = InCallback::kNothing;
  int calls = 0;
  int reported = 0;
  WgrHandle reported_handle = nullptr;
};

class Script {
 public:
  Script(Input input, bool log_is_file) : input_(input), log_is_file_(log_is_file) {}
  ~Script();
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  void run();

 private:
  void step();
  void create_or_destroy();
  void init();
  void set_model();
  void register_callback();
  void query();
  void feed(const Pair& pair);
  void feed(const Stream& stream);
  void feed_hand();
  void feed_acc(const Stream& stream);
  void init_engine();
  Stream compact_stream();

  Input input_;
  const bool log_is_file_;
  Host hosts_[kHandles];
  Host* host_ = hosts_;
  std::size_t samples_ = 0;
  std::size_t acc_samples_ = 0;
  std::size_t hand_samples_ = 0;
  int creations_ = 0;
};

}  // namespace

// What the callback does to its handle; the shadow's part of it is done behind the call.
static void in_callback(void* handle, int gesture, void* user_data) {
  Host& host = *static_cast<Host*>(user_data);
  ++host.calls;
  host.reported = gesture;
  host.reported_handle = handle;
  require(update_gesture(handle, {0, 0, 10}, {0, 0, 0}) == 6,
          "in the callback no sample is taken in");
  switch (host.in_callback) {
    case InCallback::kModel:
      require(set_gesture_model(handle, WG_WEARER_RIGHT, WG_MODE_OW) == 0,
              "a model may be set in the callback");
      break;
    case InCallback::kInit:
      require(init_gesture_handle(handle, 40, {0, 1, 0}, 12, -1, -1, 20) == 0,
              "a handle may be initialised in the callback");
      break;
    case InCallback::kQueries:
      get_movement_status(handle);
      require(same_bits(get_motion_strength(handle), host.shadow->strength()) &&
                  same_bits(get_recog_cost_time(handle), host.shadow->cost_time()),
              "the callback can ask for strength and duration");
      break;
    default:
      break;
  }
}

// ---- models -------------------------------------------------------------------------

static const std::string& model_text(std::size_t index) {
  static const std::string texts[] = {
      "1 1 0 1\n20 \n1 -1e9 \n20 3\n1 -1 0 \n0 0 0 \n0 0 10 \n",
      "2 2 1 1\n21 22 \n1 -5 -0.01 \n21 4\n1 0 -1 0 \n0 1 0 0 \n0 0 0 10 \n"
      "22 3\n0 0 0 \n1 -1 0 \n0 0 10 \n",
      "0 1 1 0\n\n0 \n23 4\n1 2 -1 -2 \n0 0 0 0 \n0 0 0 0 \n",
      // Classes that are never reported, or reported as another.
      "3 3 0 0\n6 13 14 \n0 \n6 2\n1 -1 \n0 0 \n0 0 \n13 2\n0 0 \n1 -1 \n0 0 \n"
      "14 2\n0 0 \n0 0 \n1 -1 \n",
      // Everything is rejected; a label without a threshold; a template without points.
      "1 3 1 1\n24 \n1 0 \n24 3\n1 -1 0 \n0 0 0 \n0 0 10 \n25 3\n3 2 0 \n0 1 0 \n0 0 10 "
      "\n"
      "24 0\n\n\n\n",
      // Not one of these loads as it is meant to.
      "", "-1 0 0 0\n", "1 -2 1 1\n1 \n0 \n", "1 1 0 -3\n2 \n0 \n2 1\n1 \n1 \n1 \n",
      "1 1 0 2147483647\n2 \n0 \n2 2\n1 2\n1 2\n1 2\n", "9 1 nonsense"};
  return texts[index % (sizeof texts / sizeof texts[0])];
}
static constexpr std::uint32_t kModelTexts = 11;
static constexpr std::uint32_t kGoodModelTexts = 6;  // an empty file is one, too

static void install_model_text(int index, std::size_t text) {
  write_whole_file(std::string(c_GmodelPath[index]) + ".xml", model_text(text));
}

static void install_models() {
  for (int i = 0; i < kWearers * kModes; ++i) {
    install_model_text(i, static_cast<std::size_t>(i));
  }
}

// ---- steps --------------------------------------------------------------------------

Script::~Script() {
  for (Host& host : hosts_) destroy_gesture_handle(&host.handle);
}

void Script::create_or_destroy() {
  if (host_->handle != nullptr) {
    require(destroy_gesture_handle(&host_->handle) == 0 && host_->handle == nullptr,
            "a destroyed handle is null");
    *host_ = Host();
    return;
  }
  require(destroy_gesture_handle(&host_->handle) == 0, "null can be destroyed");
  if (host_ == &hosts_[kHandles - 1] || creations_ >= kMostCreations) return;
  ++creations_;
  host_->handle = create_gesture_handle();
  host_->shadow = std::make_unique<ShadowContext>();
}

void Script::init() {
  const int rate = input_.integer();
  const Point3Df bias = input_.point();
  const int motion = input_.integer();
  const int history = input_.integer();
  const int window = input_.integer();
  const int hand = input_.integer() % (kMostHandWindow + 1);
  const int answer =
      init_gesture_handle(host_->handle, rate, bias, motion, history, window, hand);
  require(answer == (host_->shadow ? 0 : 1), "initialising answers");
  if (host_->shadow) host_->shadow->init(rate, bias, motion, history, window, hand);
}

void Script::set_model() {
  const int wearer = input_.choice(4) == 0 ? input_.integer() : input_.choice(2) != 0;
  const int mode =
      input_.choice(4) == 0 ? input_.integer() : static_cast<int>(input_.choice(3));
  const int answer = set_gesture_model(host_->handle, static_cast<WgWatchWearer>(wearer),
                                       static_cast<WgWorkMode>(mode));
  require(answer == (host_->shadow ? host_->shadow->set_model(wearer, mode) : 1),
          "choosing a model answers");
}

void Script::register_callback() {
  const std::uint32_t kind = input_.choice(5);
  if (kind == static_cast<std::uint32_t>(InCallback::kCount)) {
    require(register_gesture_event_cb(host_->handle, nullptr, host_) == 0,
            "no callback is refused");
    return;
  }
  const int answer = register_gesture_event_cb(host_->handle, in_callback, host_);
  require(answer == (host_->shadow ? 1 : 0), "registering answers");
  host_->registered = host_->shadow != nullptr;
  host_->in_callback = static_cast<InCallback>(kind);
}

void Script::query() {
  const ShadowContext* const shadow = host_->shadow.get();
  require(get_movement_status(host_->handle) == (shadow ? shadow->movement_status() : 1),
          "the movement status is the same");
  require(
      same_bits(get_recog_cost_time(host_->handle), shadow ? shadow->cost_time() : 0.0),
      "the duration is the same");
  require(
      same_bits(get_motion_strength(host_->handle), shadow ? shadow->strength() : 0.0),
      "the strength is the same");
}

void Script::feed(const Pair& pair) {
  if (host_->shadow == nullptr) {
    require(update_gesture(host_->handle, pair.acc, pair.gyro) == 0,
            "null takes no sample");
    return;
  }
  if (samples_ >= kMostSamples) return;
  ++samples_;
  // First: in the callback the shadow is to be as far as the handle.
  ShadowContext& shadow = *host_->shadow;
  const int expected = shadow.update(pair.acc, pair.gyro);
  const int calls = host_->calls;
  const int answer = update_gesture(host_->handle, pair.acc, pair.gyro);
  require(answer == expected, "a sample has the same answer");
  const bool reported = expected != 6;
  require(host_->calls == calls + (reported && host_->registered ? 1 : 0),
          "the callback is called once for a report, and for nothing else");
  if (reported) {
    if (host_->registered) {
      require(host_->reported == expected && host_->reported_handle == host_->handle,
              "the callback gets what is answered");
      if (host_->in_callback == InCallback::kModel) shadow.set_model(1, 0);
      if (host_->in_callback == InCallback::kInit) {
        shadow.init(40, {0, 1, 0}, 12, -1, -1, 20);
      }
    }
    shadow.reported();
  }
  query();
}

void Script::feed(const Stream& stream) {
  for (const Pair& pair : stream) feed(pair);
}

// Samples of a byte an axis, as a recording that was cut small.
Stream Script::compact_stream() {
  Stream stream(input_.choice(64));
  for (Pair& pair : stream) {
    for (double* axis : {&pair.acc.x, &pair.acc.y, &pair.acc.z}) {
      *axis = static_cast<std::int8_t>(input_.byte()) / 4.0;
    }
    for (double* axis : {&pair.gyro.x, &pair.gyro.y, &pair.gyro.z}) {
      *axis = static_cast<std::int8_t>(input_.byte()) * 4.0 + 0.25;
    }
  }
  return stream;
}

// Only the engine takes samples of one sensor; what it recognises stays in it until the
// next pair.
void Script::feed_acc(const Stream& stream) {
  if (host_->shadow == nullptr) return;
  AgGes& engine = *static_cast<WgrContext*>(host_->handle)->ages;
  for (const Pair& pair : stream) {
    if (acc_samples_ >= kMostSamples) return;
    ++acc_samples_;
    engine.update(pair.acc);
    host_->shadow->update(pair.acc);
  }
}

// With a mode that the interface does not set.
void Script::init_engine() {
  const int mode = static_cast<int>(input_.choice(5));
  const int rate = input_.integer();
  const int motion = input_.integer();
  const int history = input_.integer();
  const int window = input_.integer();
  const double threshold = input_.number();
  if (host_->shadow == nullptr) return;
  static_cast<WgrContext*>(host_->handle)
      ->ages->init(mode, rate, {0, 0, 0}, motion, history, window, threshold);
  host_->shadow->init_engine(mode, rate, motion, history, window, threshold);
}

void Script::feed_hand() {
  int count = 1 + input_.byte() / 4;
  const Point3Df acc = input_.point();
  if (host_->shadow == nullptr) {
    require(get_wearer_type(host_->handle, acc) == 2, "null has no wearer");
    return;
  }
  for (; count > 0 && hand_samples_ < kMostHandSamples; --count, ++hand_samples_) {
    const Point3Df sample = count % 16 < 8 ? acc : Point3Df{-acc.x, -acc.y, acc.z};
    require(get_wearer_type(host_->handle, sample) == host_->shadow->update_hand(sample),
            "the wearer is the same");
  }
}

void Script::step() {
  switch (input_.choice(18)) {
    case 0:
      create_or_destroy();
      break;
    case 1:
      init();
      break;
    case 2: {
      const int level = input_.integer();
      set_gesture_rec_sensitivity(host_->handle, level);
      if (host_->shadow) host_->shadow->set_sensitivity(level);
      break;
    }
    case 3:
      set_model();
      break;
    case 4:
      register_callback();
      break;
    case 5: {
      const Point3Df acc = input_.point();
      feed(Pair{acc, input_.point()});
      break;
    }
    case 6:
      feed(rest(input_.byte()));
      break;
    case 7: {
      const int half = 1 + input_.byte() / 2;
      feed(gesture(half, input_.number()));
      break;
    }
    case 8:
      feed(motion(10 + input_.byte()));
      break;
    case 9: {
      RandomPoints random(input_.word32());
      feed(random_stream(random, 1 + input_.byte(), input_.choice(2) != 0));
      break;
    }
    case 10:
    case 11:
      feed(compact_stream());
      break;
    case 12:
      feed_hand();
      break;
    case 13:
      host_ = &hosts_[input_.choice(kHandles)];
      break;
    case 14: {
      const int place = static_cast<int>(input_.choice(kWearers * kModes));
      // Without its default model, creating a handle ends the process.
      install_model_text(
          place, input_.choice(place == kDefaultModel ? kGoodModelTexts : kModelTexts));
      break;
    }
    case 15:
      feed_acc(input_.choice(2) == 0 ? gesture(1 + input_.byte() / 4, input_.number())
                                     : compact_stream());
      break;
    case 16:
      init_engine();
      break;
    default:
      require(preflight_gesture_library(nullptr, nullptr) < WG_PREFLIGHT_FATAL,
              "handles can be made");
      break;
  }
  query();
  if (host_->shadow) {
    host_->shadow->require_same(*static_cast<WgrContext*>(host_->handle));
  }
}

void Script::run() {
  create_or_destroy();
  while (!input_.empty()) step();
  if (!log_is_file_) return;
  const std::string log = read_whole_file(kLogFile);
  require(count_of(log, "update_gesture 115: update_gesture start\n") == samples_ &&
              count_of(log, "update_gesture 123: ---gestype---:") == samples_,
          "two lines are logged for a sample");
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  Input input(bytes, size);
  const std::uint32_t log = input.choice(16);
  set_log(log == 1 ? LogTo::kFile : log == 2 ? LogTo::kNullDevice : LogTo::kNowhere);
  install_models();
  Script(input, log == 1).run();
}

static void prepare() {
  for (const auto& path : c_GmodelPath) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  }
}

static const Registration registration("interface_calls", run, prepare);
