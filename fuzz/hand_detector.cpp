// The hand detector with any parameters, windows and samples, compared with the reference
// one.
#include <cstddef>

#include "engine/WHD.h"
#include "harness.h"
#include "input.h"
#include "support/reference_hand.h"
#include "support/same_bits.h"

using namespace wgr;

static constexpr std::size_t kMostSamples = 1500;  // each is a detection
static constexpr std::uint32_t kMostScales = 5;
static constexpr int kMostVotesBefore = 1 << 20;  // counts are ints

// The arrays may be shorter or longer than `count`.
static Hparams parameters_of(Input& input) {
  Hparams params;
  params.count = input.integer();
  for (std::uint32_t i = input.choice(kMostScales); i > 0; --i) {
    params.lags.push_back(input.integer());
  }
  for (auto* thresholds : {&params.thr_x, &params.thr_y, &params.thr_gyro}) {
    for (std::uint32_t i = input.choice(kMostScales); i > 0; --i) {
      thresholds->push_back(input.number());
    }
  }
  return params;
}

static std::vector<reference::HandScale> usable_scales(const Hparams& params) {
  std::vector<reference::HandScale> scales;
  for (int i = 0; i < params.count; ++i) {
    const std::size_t k = static_cast<std::size_t>(i);
    if (k >= params.lags.size() || k >= params.thr_x.size() || k >= params.thr_y.size() ||
        k >= params.thr_gyro.size()) {
      break;
    }
    scales.push_back(
        {params.lags[k], params.thr_x[k], params.thr_y[k], params.thr_gyro[k]});
  }
  return scales;
}

static void compare_detections(WHD& detector, reference::Hand& expected, Input& input,
                               bool both) {
  int votes[2];
  for (int& count : votes) count = input.integer() % kMostVotesBefore;
  int expected_votes[2] = {votes[0], votes[1]};
  const int verdict = both ? detector.detect(votes) : detector.detect_acc(votes);
  require(verdict == (both ? expected.detect(expected_votes)
                           : expected.detect_acc(expected_votes)),
          "votes that are kept lead to the same verdict");
  require(votes[0] == expected_votes[0] && votes[1] == expected_votes[1],
          "the same votes are added");
}

// Several samples of a swing that changes its direction, so that windows fill. Returns
// how many.
static std::size_t swing(WHD& detector, reference::Hand& expected, Input& input,
                         bool both) {
  const int count = input.byte();
  const Point3Df acc = input.point();
  const Point3Df gyro = both ? input.point() : Point3Df{0, 0, 0};
  for (int i = 0; i < count; ++i) {
    const double side = i % 16 < 8 ? 1.0 : -1.0;
    const Point3Df a = side * acc;
    const Point3Df g = side * gyro;
    const int verdict = both ? detector.update(a, g) : detector.update(a);
    require(verdict == (both ? expected.update(a, g) : expected.update(a)),
            "a swing has the same verdicts");
  }
  return static_cast<std::size_t>(count);
}

// Returns how many samples it fed.
static std::size_t step(WHD& detector, reference::Hand& expected, Input& input) {
  switch (input.choice(7)) {
    case 0: {
      const Point3Df acc = input.point();
      require(detector.update(acc) == expected.update(acc),
              "a sample has the same verdict");
      return 1;
    }
    case 1: {
      const Point3Df acc = input.point();
      const Point3Df gyro = input.point();
      require(detector.update(acc, gyro) == expected.update(acc, gyro),
              "a pair has the same verdict");
      return 1;
    }
    case 2:
      return swing(detector, expected, input, false);
    case 3:
      return swing(detector, expected, input, true);
    case 4:
      compare_detections(detector, expected, input, false);
      return 0;
    case 5:
      compare_detections(detector, expected, input, true);
      return 0;
    default: {
      const int rate = input.integer();
      expected.window_len = input.integer();
      detector.init(rate, expected.window_len);
      return 0;
    }
  }
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  Input input(bytes, size);
  const bool given = input.choice(4) != 0;
  const int rate = input.integer();
  const int window = input.integer();
  Hparams params = given ? parameters_of(input) : Hparams();
  WHD detector(rate, window, given ? &params : nullptr);
  if (!given) params = *detector.params;
  reference::Hand expected = {window, usable_scales(params), {}, {}};

  std::size_t samples = 0;
  while (!input.empty() && samples < kMostSamples)
    samples += step(detector, expected, input);
  require(same_bits(detector.acc_buf, expected.acc) &&
              same_bits(detector.gyro_buf, expected.gyro),
          "the same samples are kept");
}

static void prepare() {}

static const Registration registration("hand_detector", run, prepare);
