// What the values of one sensor show: axes that are absent, stuck, held or clipped, rates
// of exactly zero, bias and noise.
#include <algorithm>
#include <cmath>

#include "diagnosis/examination.h"
#include "engine/rest.h"

namespace wgr {

static constexpr double kMostBias = 1.5;                // deg/s
static constexpr double kMostDisagreement = 1.0;        // deg/s, of an axis
static constexpr double kMostDisagreementShare = 0.15;  // of the bias
static constexpr double kMostAccNoise = 0.15;  // m/s², an axis; rest ends at 0.27
static constexpr double kMostGyroNoise = 2.5;  // deg/s, an axis; rest ends at 6
static constexpr double kMostHeld = 0.1;       // of the samples

// Above what sensors of wrists measure: their widest ranges are 32 g and 4000 deg/s.
static constexpr double kMostAcc = 400.0;       // m/s², an axis
static constexpr double kMostGyro = 4500.0;     // deg/s, an axis
static constexpr double kUsualShare = 0.95;     // of the samples are of usual size
static constexpr double kFarAboveUsual = 20.0;  // times as large

// As "ax, az": the axes that never change, without those that have no values.
static std::string stuck_axes(const Samples& samples, const char* letter,
                              const std::string& absent) {
  std::string stuck;
  for (const auto& [axis, name] : kAxes) {
    const std::string full = std::string(letter) + name;
    if (!is_stuck(samples, axis) || absent.find(full) != std::string::npos) continue;
    stuck += (stuck.empty() ? "" : ", ") + full;
  }
  return stuck;
}

void Examination::examine_values() {
  if (!options_.absent_axes.empty()) {
    find(FindingId::kAbsent, Sureness::kCertain).about = options_.absent_axes;
  }
  const struct {
    Samples& samples;
    const char* name;
    const char* letter;
  } sensors[] = {{acc_, "accelerometer", "a"}, {gyro_, "gyroscope", "g"}};
  for (const auto& sensor : sensors) {
    const std::string stuck =
        stuck_axes(sensor.samples, sensor.letter, options_.absent_axes);
    if (!stuck.empty()) {
      find(FindingId::kStuck, Sureness::kCertain).about = stuck;
      continue;
    }
    const double held = held_share(sensor.samples);
    if (held > kMostHeld) {
      find(FindingId::kHeld, Sureness::kLikely, held).about = sensor.name;
    }
  }
}

static double largest_of(const Point3Df& p) {
  return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

namespace {

// What spikes of one sensor are.
struct SpikeSensor {
  Samples& samples;
  Occurrences& tally;
  double most;
  FindingId id;
  RepairKind spikes;
};

}  // namespace

// How large a value that is no spike may be: values that are large all the time are in
// another unit.
static double spike_limit(const std::vector<double>& sizes, double most) {
  return std::max(most, kFarAboveUsual * percentile(sizes, kUsualShare));
}

// What is found is replaced by the value before it, or else the one behind.
void Examination::examine_spikes() {
  const SpikeSensor sensors[] = {
      {acc_, carried_.acc_spikes, kMostAcc, FindingId::kAccSpike, RepairKind::kAccSpikes},
      {gyro_, carried_.gyro_spikes, kMostGyro, FindingId::kGyroSpike,
       RepairKind::kGyroSpikes}};
  for (const SpikeSensor& sensor : sensors) {
    std::vector<double> sizes;
    for (const Point3Df& p : sensor.samples) sizes.push_back(largest_of(p));
    const double limit = spike_limit(sizes, sensor.most);
    const auto good = std::find_if(sizes.begin(), sizes.end(),
                                   [&](double size) { return size <= limit; });
    if (good == sizes.end()) continue;
    const size_t before = sensor.tally.count;
    Point3Df last = sensor.samples[static_cast<size_t>(good - sizes.begin())];
    for (size_t i = 0; i < sizes.size(); ++i) {
      if (sizes[i] > limit && i >= carried_.seen) {
        sensor.tally.add(times_[i], sizes[i], line_of(i));
      }
      if (sizes[i] <= limit) last = sensor.samples[i];
      sensor.samples[i] = last;
    }
    if (sensor.tally.count == before) continue;
    find(sensor.id, Sureness::kCertain).occurrences = sensor.tally;
    propose({sensor.spikes, limit});
    look_again();
  }
}

void Examination::examine_clipping() {
  static constexpr double kAccRanges[] = {2, 4, 8, 16};                 // g
  static constexpr double kGyroRanges[] = {125, 250, 500, 1000, 2000};  // deg/s
  const auto report = [this](const Samples& samples, char letter, double unit,
                             const auto& ranges) {
    std::string axes;
    size_t count = 0;
    double limit = 0.0;
    for (const auto& [axis, name] : kAxes) {
      const Clipping clipping = clipping_of(samples, axis);
      if (clipping.samples == 0) continue;
      axes += (axes.empty() ? "" : ", ") + std::string(1, letter) + name;
      count += clipping.samples;
      limit = std::max(limit, std::fabs(clipping.limit) / unit);
    }
    if (count == 0) return;
    const bool known =
        std::any_of(std::begin(ranges), std::end(ranges),
                    [&](double range) { return std::fabs(limit / range - 1.0) < 0.03; });
    Finding& finding =
        find(letter == 'a' ? FindingId::kAccClipping : FindingId::kGyroClipping,
             known ? Sureness::kCertain : Sureness::kLikely, limit);
    finding.count = count;
    finding.about = axes;
  };
  report(acc_, 'a', kStandardGravity, kAccRanges);
  report(gyro_, 'g', 1.0, kGyroRanges);
}

void Examination::examine_bias() {
  Point3Df bias = {0.0, 0.0, 0.0};
  double disagreement = 0.0;
  for (const auto& [axis, name] : kAxes) {
    std::vector<double> means;
    for (const size_t i : quiet_) {
      if (gyro_at_rest({0.0, gyro_windows_[i].spread})) {
        means.push_back(gyro_windows_[i].mean.*axis);
      }
    }
    if (means.size() < 3) return;
    disagreement =
        std::max(disagreement, percentile(means, 0.75) - percentile(means, 0.25));
    bias.*axis = median(means);
  }
  const Point3Df left = bias - options_.gyro_bias;
  const double size = std::sqrt(squared_length(left));
  // Moments of rest agree; of a hand that turns slowly they do not.
  if (disagreement > std::max(kMostDisagreement, kMostDisagreementShare * size)) return;
  result_.facts.bias = bias;
  if (!(size > kMostBias)) return;
  Finding& finding = find(FindingId::kBias, Sureness::kCertain);
  finding.bias = bias;
  finding.left = left;
  propose({RepairKind::kBias, 1.0, {}, bias});
}

void Examination::examine_noise() {
  StreamFacts& facts = result_.facts;
  facts.acc_noise = std::sqrt(noise_variance(acc_, acc_windows_, quiet_) / 3.0);
  facts.gyro_noise = std::sqrt(noise_variance(gyro_, gyro_windows_, quiet_) / 3.0);
  if (facts.acc_noise > kMostAccNoise) {
    find(FindingId::kAccNoise, Sureness::kLikely, facts.acc_noise);
  }
  if (facts.gyro_noise > kMostGyroNoise) {
    find(FindingId::kGyroNoise, Sureness::kLikely, facts.gyro_noise);
  }
}

void Examination::examine_zeros() {
  if (options_.absent_axes.find('g') != std::string::npos) return;
  const auto is_zero = [this](const Point3Df& p) {
    return squared_length(p - options_.gyro_bias) == 0.0;
  };
  const auto begin = gyro_.begin() + static_cast<std::ptrdiff_t>(carried_.seen);
  const auto count = std::count_if(begin, gyro_.end(), is_zero);
  if (count == 0 || count == gyro_.end() - begin) return;
  Occurrences& all = carried_.zeros;
  for (size_t i = carried_.seen; i < gyro_.size(); ++i) {
    if (is_zero(gyro_[i])) all.add(times_[i], 0.0);
  }
  find(FindingId::kZeroRate, Sureness::kCertain).occurrences = all;
  propose({RepairKind::kZeroRates, 1.0, {}, options_.gyro_bias});
}

}  // namespace wgr
