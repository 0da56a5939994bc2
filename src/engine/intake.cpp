// Takes samples in, marks each as rest or motion, and finds the motions: segmentation.
//
// A change between rest and motion is noticed late, because the rest test looks at a
// window of samples. The flags around a change are therefore rewritten: the change is
// dated back by nearly half a window, the padding, and a motion begins with as many
// samples from before the change and ends without as many from before the end.
#include <sys/time.h>

#include <algorithm>

#include "base/printing.h"
#include "engine/agGes.h"
#include "engine/rest.h"

using namespace wgr;

static constexpr char kWrongMode[] = "Error : gesture mode setting do not match!\n";

template <class Queue>
static long long length(const Queue& queue) {
  return static_cast<long long>(queue.size());
}

template <class Queue>
static void drop_oldest(Queue& queue) {
  if (!queue.empty()) queue.pop_front();
}

static void drop_newest(Samples& queue, long long count) {
  const long long kept = length(queue) - std::max(count, 0LL);
  queue.resize(static_cast<size_t>(std::max(kept, 0LL)));
}

// Appends entries begin to end - 1 of a history; those it does not hold, because only
// the other sensor was fed, count as zeros.
static void append(const Samples& history, long long begin, long long end, Samples& to) {
  for (long long i = std::max(begin, 0LL); i < end; ++i) {
    to.push_back(i < length(history) ? history[static_cast<size_t>(i)]
                                     : Point3Df{0.0, 0.0, 0.0});
  }
}

static void set_flags(std::deque<bool>& flags, long long begin, long long end,
                      bool value) {
  end = std::min(end, length(flags));
  for (long long i = std::max(begin, 0LL); i < end; ++i) {
    flags[static_cast<size_t>(i)] = value;
  }
}

bool AgGes::is_static() {
  const long long count = length(acc_history);
  if (static_window < 0 || count < static_window) return true;

  const size_t end = acc_history.size();
  const size_t begin = end - static_cast<size_t>(static_window);
  // Either sensor at rest is enough: the wrist moves while both show motion.
  if (acc_at_rest(acc_history, begin, end)) return true;
  if (work_mode == kAccOnly || gyro_history.size() < end) return false;
  return gyro_at_rest(gyro_history, begin, end);
}

// Half the window; rounded down, for a negative one too.
int AgGes::padding() const { return static_window >> 1; }

// Marks the newest sample, rewrites the marks around a change, and returns the new one.
bool AgGes::mark_newest() {
  const bool at_rest = is_static();
  const bool changes = !static_history.empty() && static_history.back() != at_rest;
  static_history.push_back(at_rest);
  if (!changes || length(static_history) < padding()) return at_rest;

  const long long newest = length(acc_history) - 1;
  const long long moved = length(motion_acc);
  if (at_rest && moved < min_motion_len) {
    // Too short to have been a motion: it was rest all along. One mark more than it has
    // samples is rewritten while the history reaches that far back.
    set_flags(static_history, newest - moved, newest, true);
  } else {
    set_flags(static_history, newest + 1 - padding(), newest, at_rest);
  }
  return at_rest;
}

// Appends to parallel queues. Where memory runs out for one of them, none has the newest
// entry.
template <class Append, class... Queues>
static void append_in_step(Append append, Queues&... queues) {
  try {
    append();
  } catch (...) {
    const size_t kept = std::min({queues.size()...});
    (queues.resize(kept), ...);
    throw;
  }
}

namespace {

// A sensor's newest sample, and the queues that it goes to.
struct Intake {
  const Point3Df& sample;
  Samples& history;
  Samples& motion;
};

// Empties a queue of the collected motion at the end, also when memory runs out while it
// is recognised: its last samples are trimmed by then, and it must not be tried again.
class Emptying {
 public:
  explicit Emptying(Samples& motion) : motion_(motion) {}
  ~Emptying() { motion_.clear(); }
  Emptying(const Emptying&) = delete;
  Emptying& operator=(const Emptying&) = delete;

 private:
  Samples& motion_;
};

}  // namespace

// Takes the newest samples in, one of each sensor, and returns whether the wrist is at
// rest. While it moves the motion is collected.
template <class... Intakes>
bool AgGes::collect(const Intakes&... intakes) {
  bool at_rest = true;
  append_in_step(
      [&] {
        (intakes.history.push_back(intakes.sample), ...);
        at_rest = mark_newest();
      },
      intakes.history..., static_history);
  if (at_rest) return true;

  append_in_step(
      [&] {
        if (motion_acc.empty()) {
          result = RecognitionResult();  // too short, unless it is run
          const long long newest = length(acc_history) - 1;
          (append(intakes.history, newest + 1 - padding(), newest, intakes.motion), ...);
        }
        (intakes.motion.push_back(intakes.sample), ...);
      },
      intakes.motion...);
  return false;
}

void AgGes::update(Point3Df acc, Point3Df gyro) {
  if (work_mode == kAccOnly) {
    print(kWrongMode);
    return;
  }
  const Point3Df velocity = gyro - gyro_bias;
  // Only at exactly this length: a history that is longer already keeps growing.
  if (length(acc_history) == history_len) {
    drop_oldest(acc_history);
    drop_oldest(gyro_history);
    drop_oldest(static_history);
  }
  if (!collect(Intake{acc, acc_history, motion_acc},
               Intake{velocity, gyro_history, motion_gyro})) {
    return;
  }
  const bool nothing_collected = motion_acc.empty() && motion_gyro.empty();
  const bool long_enough = is_long_enough(motion_acc.size(), min_motion_len);
  // As at nearly every sample at rest.
  if (nothing_collected && last_motion_acc.empty() && !long_enough) return;
  const Emptying acc_end(motion_acc);
  const Emptying gyro_end(motion_gyro);
  if (long_enough) {
    drop_newest(motion_acc, padding());
    drop_newest(motion_gyro, padding());
    // The clock is read around the run, but what is reported as its cost is the
    // duration of the trace at the nominal sample rate.
    timeval before;
    timeval after;
    gettimeofday(&before, nullptr);
    run();
    gettimeofday(&after, nullptr);
    recog_cost_time = result.duration_ms;
  }
  last_motion_acc.swap(motion_acc);
}

void AgGes::update(Point3Df acc) {
  if (work_mode == kAccAndGyro || work_mode == kAccAndGyro + 1) {
    print(kWrongMode);
    return;
  }
  // These histories do not slide: they grow to their length and are then shortened.
  if (length(acc_history) == history_len) clear_buf();
  if (!collect(Intake{acc, acc_history, motion_acc})) return;
  const Emptying end(motion_acc);
  if (is_long_enough(motion_acc.size(), min_motion_len)) {
    drop_newest(motion_acc, padding());
    run();
  }
}

// Entries end - kept to end - 1 of a queue, counting those it does not have as zero.
template <class Queue>
static void keep_newest(Queue& queue, size_t end, size_t kept) {
  queue.resize(end);
  queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(end - kept));
}

void AgGes::clear_buf() {
  if (static_window < 0 || length(acc_history) <= static_window) return;
  const size_t end = acc_history.size();
  const size_t kept = static_cast<size_t>(static_window);
  keep_newest(acc_history, end, kept);
  if (!gyro_history.empty()) keep_newest(gyro_history, end, kept);
  keep_newest(static_history, end, kept);
}
