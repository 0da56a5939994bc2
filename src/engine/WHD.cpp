#include "engine/WHD.h"

#include <memory>

#include "context/WgrLog.h"

using namespace wgr;

// The one scale of a detector that is given no parameters.
static constexpr double kLagsPerSecond = 5.0;       // sub-windows of a fifth of a second
static constexpr double kDefaultThresholdX = 0.0;   // m/s² summed
static constexpr double kDefaultThresholdY = 12.0;  // m/s² summed
static constexpr double kDefaultThresholdGyro = 400.0;  // deg/s summed

static Hparams default_params(int sample_rate) {
  // Truncated toward zero, as intended: -0.9 gives 0.
  // NOLINTNEXTLINE(bugprone-incorrect-roundings)
  const int lag = static_cast<int>(sample_rate / kLagsPerSecond + 0.5);
  return {1, {lag}, {kDefaultThresholdX}, {kDefaultThresholdY}, {kDefaultThresholdGyro}};
}

WHD::WHD(int rate, int window, Hparams* pp) : sample_rate(rate), window_len(window) {
  WgrLogAt(kLogDetectorStart);
  WgrLogAt(pp != nullptr ? kLogDetectorGiven : kLogDetectorOwn);
  params = new Hparams(pp != nullptr ? *pp : default_params(rate));
  WgrLogAt(kLogDetectorEnd);
}

WHD::~WHD() { delete params; }

void WHD::init(int rate, int window) {
  sample_rate = rate;
  window_len = window;
}

static bool holds_more_than(const Samples& samples, int n) {
  return static_cast<long long>(samples.size()) > n;
}

int WHD::update(Point3Df acc) {
  acc_buf.push_back(acc);
  if (holds_more_than(acc_buf, window_len)) acc_buf.pop_front();
  return detect_acc(nullptr);
}

int WHD::update(Point3Df acc, Point3Df gyro) {
  acc_buf.push_back(acc);
  gyro_buf.push_back(gyro);
  // The accelerometer's buffer decides for both.
  if (holds_more_than(acc_buf, window_len)) {
    acc_buf.pop_front();
    gyro_buf.pop_front();
  }
  return detect(nullptr);
}

// Whether there are n samples to look at.
static bool filled(const Samples& samples, int n) {
  return n >= 0 && samples.size() >= static_cast<size_t>(n);
}

int WHD::detect_acc(int* votes) {
  if (!filled(acc_buf, window_len)) return kUndecided;
  int own_votes[2] = {0, 0};
  int* counts = votes != nullptr ? votes : own_votes;
  vote_acc(acc_buf, window_len, *params, counts);
  return decide_acc(counts);
}

int WHD::detect(int* votes) {
  if (!filled(acc_buf, window_len) || !filled(gyro_buf, window_len)) return kUndecided;
  int own_votes[2] = {0, 0};
  int* counts = votes != nullptr ? votes : own_votes;
  vote_acc_gyro(acc_buf, gyro_buf, window_len, *params, counts);
  return decide_acc_gyro(counts);
}
