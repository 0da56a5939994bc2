// A host for the recorder's tests; what it does is its first argument. Its output is all
// that it was answered, as one number: a recorder must not change it.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "WgrInterface.h"
#include "golden/streams.h"
#include "support/motions.h"

using namespace wgr;

static constexpr const char* kFolders[] = {"5_ow", "5_fb", "5_mix", "5r_ow"};

namespace {

// FNV-1a over all answers.
class Answers {
 public:
  void add(std::uint64_t value) { hash_ = (hash_ ^ value) * 0x100000001B3u; }
  void add(int value) { add(static_cast<std::uint64_t>(value)); }
  void add(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    add(bits);
  }
  std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325u;
};

// What a callback does, and notes.
struct Use {
  Answers answers;
  WgrHandle other = nullptr;  // that is fed in the callback
  int rate = 50;
  int reports = 0;
  bool initialises = false;
  bool throws = false;
};

}  // namespace

static void install_golden_models() {
  for (int i = 0; i < kGoldenModels; ++i) {
    const std::string folder =
        std::string("/usr/share/GestureModel/olvo_model_") + kFolders[i];
    std::filesystem::create_directories(folder);
    golden_model(i).write((folder + "/hgr_olvo").c_str());
  }
}

static void use_golden_model(WgrHandle h, int model, Answers& answers) {
  answers.add(set_gesture_model(h, static_cast<WgWatchWearer>(model / 3),
                                static_cast<WgWorkMode>(model % 3)));
}

static void on_gesture(void* handle, int gesture, void* user_data) {
  Use& use = *static_cast<Use*>(user_data);
  use.answers.add(gesture);
  use.answers.add(get_motion_strength(handle));
  use.answers.add(get_recog_cost_time(handle));
  use.answers.add(get_movement_status(handle));
  const Point3Df rest = {0.0, 0.0, 10.0};
  use.answers.add(update_gesture(handle, rest, rest));
  if (use.other != nullptr) use.answers.add(update_gesture(use.other, rest, rest));
  ++use.reports;
  if (use.initialises && use.reports % 3 == 0) {
    use.answers.add(
        init_gesture_handle(handle, use.rate, {0.1, 0.2, 0.3}, -1, -1, -1, use.rate));
  }
  if (use.throws && use.reports % 5 == 0) throw use.reports;
}

static void feed(WgrHandle h, const Point3Df& acc, const Point3Df& gyro, Use& use) {
  try {
    use.answers.add(update_gesture(h, acc, gyro));
  } catch (int reports) {
    use.answers.add(reports);
  }
}

// One handle's life over a golden stream.
static void play(int index, Use& use) {
  const GoldenStream stream = golden_stream(index);
  WgrHandle h = create_gesture_handle();
  use.rate = stream.rate;
  use.answers.add(init_gesture_handle(h, stream.rate, stream.bias, 0, 0, 0, stream.rate));
  set_gesture_rec_sensitivity(h, stream.level);
  use.answers.add(register_gesture_event_cb(h, on_gesture, &use));
  use_golden_model(h, stream.model, use.answers);
  for (size_t i = 0; i < stream.acc.size(); ++i) {
    if (i == stream.switch_at) {
      use_golden_model(h, (stream.model + 1) % (kGoldenModels - 1), use.answers);
    }
    feed(h, stream.acc[i], stream.gyro[i], use);
    use.answers.add(get_movement_status(h));
    use.answers.add(get_wearer_type(h, stream.acc[i]));
    if (i % 16 == 0) use.answers.add(get_motion_strength(h));
  }
  use.answers.add(destroy_gesture_handle(&h));
}

static void golden(int first, int last) {
  Use use;
  for (int i = first; i < last; ++i) {
    use.initialises = i % 3 == 0;
    use.throws = i % 7 == 0;
    play(i, use);
  }
  std::printf("%016llx\n", static_cast<unsigned long long>(use.answers.value()));
}

// `handles` of a thread, fed in turn.
static void many(int thread, int handles, int samples, std::uint64_t& sum) {
  std::vector<Use> uses(static_cast<size_t>(handles));
  std::vector<WgrHandle> made;
  std::vector<GoldenStream> streams;
  for (int i = 0; i < handles; ++i) {
    streams.push_back(golden_stream(thread * handles + i));
    WgrHandle h = create_gesture_handle();
    made.push_back(h);
    Use& use = uses[static_cast<size_t>(i)];
    use.initialises = i % 2 == 0;
    use.other = i > 0 ? made[0] : nullptr;
    init_gesture_handle(h, streams.back().rate, streams.back().bias, 0, 0, 0, 50);
    register_gesture_event_cb(h, on_gesture, &use);
  }
  for (int n = 0; n < samples; ++n) {
    for (size_t i = 0; i < made.size(); ++i) {
      const size_t at = static_cast<size_t>(n) % streams[i].acc.size();
      feed(made[i], streams[i].acc[at], streams[i].gyro[at], uses[i]);
    }
  }
  sum = 0;
  for (size_t i = 0; i < made.size(); ++i) {
    uses[i].answers.add(get_motion_strength(made[i]));
    sum += uses[i].answers.value();
    destroy_gesture_handle(&made[i]);
  }
}

static void threads(int count, int handles, int samples) {
  std::vector<std::uint64_t> sums(static_cast<size_t>(count));
  std::vector<std::thread> running;
  for (int i = 0; i < count; ++i) {
    running.emplace_back(many, i, handles, samples,
                         std::ref(sums[static_cast<size_t>(i)]));
  }
  for (std::thread& thread : running) thread.join();
  std::uint64_t sum = 0;
  for (const std::uint64_t one : sums) sum += one;
  std::printf("%016llx\n", static_cast<unsigned long long>(sum));
}

// Rest and gestures until it is ended, or for a number of samples; each sample's number
// goes to descriptor 3 behind the call, so that a test knows what must be in the capture.
static void steady(long samples, bool tells) {
  Use use;
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0.0, 0.0, 0.0}, -1, -1, -1, 50);
  register_gesture_event_cb(h, on_gesture, &use);
  const Stream stream = rest(40) + gesture(18, 6.0);
  for (long i = 0; samples == 0 || i < samples; ++i) {
    Pair pair = stream[static_cast<size_t>(i) % stream.size()];
    pair.gyro.x += static_cast<double>(i % 5) / 1024.0;
    feed(h, pair.acc, pair.gyro, use);
    const auto number = static_cast<std::uint32_t>(i + 1);
    if (tells && write(3, &number, sizeof number) != sizeof number) _exit(9);
  }
  use.answers.add(destroy_gesture_handle(&h));
  std::printf("%016llx\n", static_cast<unsigned long long>(use.answers.value()));
}

// A child goes on with the handle; its last answer is its exit status.
static void forks() {
  Use use;
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0.0, 0.0, 0.0}, -1, -1, -1, 50);
  register_gesture_event_cb(h, on_gesture, &use);
  const Stream stream = rest(30) + gesture(18, 6.0) + rest(20);
  for (const Pair& pair : stream) feed(h, pair.acc, pair.gyro, use);
  const pid_t child = fork();
  for (int i = 0; i < (child == 0 ? 2 : 3); ++i) {
    for (const Pair& pair : stream) feed(h, pair.acc, pair.gyro, use);
  }
  if (child == 0) _exit(use.reports == 3 ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  std::printf("%d %d\n", use.reports, WEXITSTATUS(status));
}

// A thousand samples a second: a gesture among still ones, 5 s before and 2 s behind it.
static void events() {
  Use use;
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0.0, 0.0, 0.0}, -1, -1, -1, 50);
  register_gesture_event_cb(h, on_gesture, &use);
  const auto play = [&](const Stream& stream, int times) {
    for (int i = 0; i < times; ++i) {
      for (const Pair& pair : stream) {
        feed(h, pair.acc, pair.gyro, use);
        usleep(1000);
      }
    }
  };
  play(rest(50), 100);
  play(gesture(18, 6.0), 1);
  play(rest(50), 40);
  std::printf("%d\n", use.reports);
}

static void version() {
  std::printf("%d.%d\n", get_version().major, get_version().minor);
  WearableVersion.minor = 7;
  std::printf("%d.%d\n", get_version().major, get_version().minor);
}

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  const auto number = [&](int i) { return i < argc ? std::atoi(argv[i]) : 0; };
  if (std::freopen("/dev/null", "r", stdin) == nullptr) return 2;
  install_golden_models();
  if (const char* const limit = std::getenv("RECORDED_HOST_LIMIT")) {
    const rlimit bytes = {std::strtoul(limit, nullptr, 10), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &bytes);
  }
  std::fflush(stdout);
  if (what == "golden") {
    golden(number(2), number(3));
  } else if (what == "threads") {
    threads(number(2), number(3), number(4));
  } else if (what == "steady") {
    steady(number(2), number(3) != 0);
  } else if (what == "forks") {
    forks();
  } else if (what == "events") {
    events();
  } else if (what == "version") {
    version();
  } else {
    return 2;
  }
  return 0;
}
