// A host's week in minutes: what the library takes in memory, descriptors and time.
//
// usage: soak [SAMPLES]
//
// Runs below scripts/private-paths with the project's models. Each promise that is
// measured is printed; the exit status is 0 when all are kept.
#include "reliability/soak.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "WgrInterface.h"
#include "support/failing_memory.h"
#include "support/motions.h"

using namespace wgr;

static constexpr long kDefaultSamples = 30000000;  // a week at 50 samples/s
static constexpr int kRate = 50;
static constexpr long kMostGrowth = 64 * 1024;  // bytes of resident memory
static constexpr long kModelChanges = 100;      // all six models several times
static constexpr long kHour = 3600L * kRate;
static constexpr int kCycles = 10000;

static std::FILE* report = stderr;
static bool all_kept = true;

static void promise(bool kept, const char* what) {
  std::fprintf(report, "  %s: %s\n", kept ? "kept" : "BROKEN", what);
  all_kept = all_kept && kept;
}

static void count_gesture(void*, int, void* user_data) {
  ++*static_cast<long*>(user_data);
}

static WgrHandle new_handle(long* gestures) {
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, kRate, {0.1, -0.2, 0.3}, -1, -1, -1, kRate);
  register_gesture_event_cb(h, count_gesture, gestures);
  return h;
}

// Rests, gestures, long motions, and noise of all sizes that is not always finite.
static Stream mixed_motion() {
  RandomPoints random(20260101);
  Stream stream;
  while (stream.size() < 60000) {
    const Stream next = random_stream(random, 600, true) + rest(random.integer(20, 800)) +
                        gesture(random.integer(12, 40), 4.0 + random.integer(0, 4)) +
                        rest(random.integer(20, 200)) + motion(random.integer(20, 600));
    stream.insert(stream.end(), next.begin(), next.end());
  }
  return stream;
}

static void soak(long samples) {
  const Stream stream = mixed_motion();
  const long warm_up = samples >= 1000000 ? samples / 10 : samples / 2;
  const long samples_per_model = samples / kModelChanges;
  long gestures = 0;
  long fed = 0;
  long first = 0;
  long most = 0;
  const int descriptors = open_descriptors();
  Rotation rotation;
  const double start = processor_time();
  WgrHandle h = new_handle(&gestures);
  const auto feed_until = [&](long end) {
    for (; fed < end; ++fed) {
      const Pair& pair = stream[static_cast<size_t>(fed) % stream.size()];
      update_gesture(h, pair.acc, pair.gyro);
      get_wearer_type(h, pair.acc);
      if (fed % samples_per_model == 0) {
        const long turn = fed / samples_per_model;
        set_gesture_model(h, WgWatchWearer(turn % 2), WgWorkMode(turn % 3));
        set_gesture_rec_sensitivity(h, static_cast<int>(turn % 4));
      }
    }
  };
  feed_until(warm_up);
  resident_memory();  // what measures is warm now, too
  first = most = resident_memory();
  for (int part = 1; part <= 20; ++part) {
    feed_until(warm_up + (samples - warm_up) / 20 * part);
    most = std::max(most, resident_memory());
  }
  feed_until(samples);
  const int descriptors_now = open_descriptors() - 2;  // the rotation's
  destroy_gesture_handle(&h);
  const double seconds = processor_time() - start;
  long files = 0;
  const LogLines lines = rotation.finish(files);
  const long models = (samples + samples_per_model - 1) / samples_per_model;

  std::fprintf(
      report,
      "%ld samples, %ld gestures reported, %ld models loaded: %.1f s of processor "
      "time, %.2f us a sample\n",
      samples, gestures, models + 1, seconds,
      1e6 * seconds / static_cast<double>(samples));
  std::fprintf(report, "  %ld kB resident after %ld samples, at most %ld kB more later\n",
               first / 1024, warm_up, (most - first) / 1024);
  std::fprintf(
      report,
      "  log: %ld + %ld lines of samples, %ld predictions, %ld others, %ld torn, "
      "in %ld files renamed away\n",
      lines.starts, lines.classes, lines.predictions, lines.others, lines.torn, files);
  promise(most - first <= kMostGrowth, "resident memory grows by 64 kB at most");
  promise(lines.starts == samples && lines.classes == samples && lines.torn == 0 &&
              lines.others == 10 + 2 * models && lines.predictions >= gestures,
          "no line of the log is lost or torn");
  promise(gestures > samples / 10000, "gestures were recognised");
  promise(descriptors_now == descriptors, "the number of descriptors is the same");
}

// A motion that lasts an hour of samples.
static void endless_motion(long samples) {
  const Stream moving = motion(10000 + kSettle - 1);
  long gestures = 0;
  const long blocks = live_blocks();
  WgrHandle h = new_handle(&gestures);
  const auto feed = [h](const Stream& stream) {
    for (const Pair& pair : stream) update_gesture(h, pair.acc, pair.gyro);
  };
  feed(rest(1000));
  const long before = allocated_memory();
  const auto feed_moving = [&](long count) {
    const double start = processor_time();
    for (long i = 0; i < count; ++i) {
      const Pair& pair = moving[static_cast<size_t>(i) % 10000];
      // Swung, so that the motion has a shape.
      const double swing = static_cast<double>(i % 100 - 50) / 10.0;
      update_gesture(h, {swing, 0.0, pair.acc.z}, pair.gyro);
    }
    return 1e6 * (processor_time() - start) / static_cast<double>(count);
  };
  const double first = feed_moving(samples / 6);
  feed_moving(samples - 2 * (samples / 6));
  const double last = feed_moving(samples / 6);
  const long collected = allocated_memory() - before;
  // Rest comes back: the last of these samples ends the motion.
  feed(rest(kSettle - 1));
  const double start = processor_time();
  feed(rest(1));
  const double end = processor_time() - start;
  feed(rest(10));
  const long kept = allocated_memory() - before;
  destroy_gesture_handle(&h);

  std::fprintf(
      report,
      "A motion of %ld samples: %.2f us a sample at first, %.2f in the end; its end "
      "takes %.3f s of processor time\n",
      samples, first, last, end);
  std::fprintf(report, "  %.1f bytes a sample while it lasts, %.1f kept after it\n",
               static_cast<double>(collected) / static_cast<double>(samples),
               static_cast<double>(kept) / static_cast<double>(samples));
  promise(last < 3.0 * first, "a sample of a long motion takes no longer than its first");
  promise(collected < 60 * samples, "a motion takes less than 60 bytes a sample");
  promise(kept < 100 * samples, "less than 100 bytes a sample are kept after it");
  promise(live_blocks() == blocks, "the handle gives back everything");
}

static void create_and_destroy(int cycles) {
  long gestures = 0;
  const Stream stream = rest(12) + gesture(20, 6.0);
  const auto cycle = [&] {
    WgrHandle h = new_handle(&gestures);
    for (const Pair& pair : stream) update_gesture(h, pair.acc, pair.gyro);
    destroy_gesture_handle(&h);
  };
  for (int i = 0; i < 100; ++i) cycle();
  resident_memory();
  const long blocks = live_blocks();
  const long resident = resident_memory();
  const int descriptors = open_descriptors();
  const double start = processor_time();
  for (int i = 0; i < cycles; ++i) cycle();
  const double seconds = processor_time() - start;
  const long leaked = live_blocks() - blocks;
  const long grown = resident_memory() - resident;
  std::fprintf(
      report,
      "%d handles made and destroyed, %.2f ms each: %ld blocks not put back, %ld kB "
      "more resident\n",
      cycles, 1e3 * seconds / cycles, leaked, grown / 1024);
  promise(leaked == 0, "handles put back all their memory");
  promise(grown <= kMostGrowth, "resident memory grows by 64 kB at most");
  promise(open_descriptors() == descriptors, "the number of descriptors is the same");
}

int main(int argc, char** argv) {
  const long samples = argc > 1 ? std::strtol(argv[1], nullptr, 10) : kDefaultSamples;
  if (argc > 2 || samples < 1000) {
    std::fprintf(stderr, "usage: soak [SAMPLES], 1000 or more\n");
    return 2;
  }
  if (std::getenv("WGR_PRIVATE_PATHS") == nullptr) {
    std::fprintf(stderr, "soak: run it below scripts/private-paths --models models\n");
    return 2;
  }
  // The library prints while it loads a model.
  report = fdopen(dup(STDOUT_FILENO), "w");
  const int nowhere = open("/dev/null", O_WRONLY);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);

  // Short runs are short in everything.
  const bool whole = samples >= 1000000;
  soak(samples);
  std::fflush(report);
  endless_motion(whole ? kHour : kHour / 10);
  std::fflush(report);
  create_and_destroy(whole ? kCycles : kCycles / 20);
  std::fclose(report);
  return all_kept ? 0 : 1;
}
