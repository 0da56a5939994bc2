#include "diagnosis/diagnosis.h"

#include <algorithm>

#include "base/numbers.h"
#include "diagnosis/examination.h"

namespace wgr {

static constexpr double kWindowSeconds = 0.2;
static constexpr size_t kFewestInWindow = 5;

const char* sureness_name(Sureness sureness) {
  static constexpr const char* kNames[] = {"possible", "likely", "certain"};
  return kNames[static_cast<size_t>(sureness)];
}

const char* name_of(FindingId id) {
  static constexpr const char* kNames[] = {
      "short",        "stamps",          "stamps-unit", "rate",       "jitter",
      "gap",          "repeated",        "order",       "absent",     "stuck",
      "held",         "swapped-sensors", "no-gravity",  "acc-unit",   "acc-spike",
      "gyro-spike",   "zero-rate",       "gyro-unit",   "turn-scale", "axes",
      "acc-clipping", "gyro-clipping",   "bias",        "acc-noise",  "gyro-noise",
      "gravity-band", "no-rest",         "model-rate"};
  return kNames[static_cast<size_t>(id)];
}

void Occurrences::add(double when, double how_large, size_t line) {
  if (count++ == 0) {
    first = when;
    first_line = line;
  }
  most = std::max(most, how_large);
}

Examination::Examination(Stream stream, const DiagnosisOptions& options, Carried& carried)
    : options_(options),
      carried_(carried),
      times_(std::move(stream.times)),
      acc_(std::move(stream.acc)),
      gyro_(std::move(stream.gyro)) {}

void Examination::look_again() {
  const size_t length = std::max(
      kFewestInWindow, static_cast<size_t>(nearest_int(kWindowSeconds / period_)));
  acc_windows_ = windows_of(acc_, length);
  gyro_windows_ = windows_of(gyro_, length);
  quiet_ = quiet_windows(acc_windows_, gyro_windows_);
}

Diagnosis Examination::examine() {
  StreamFacts& facts = result_.facts;
  facts.samples = times_.size() - carried_.seen;
  if (times_.size() < 2 * kFewestInWindow) {
    find(FindingId::kShort, Sureness::kCertain).count = times_.size();
    return result_;
  }
  examine_stamps();
  examine_steps();
  const auto [earliest, latest] = std::minmax_element(times_.begin(), times_.end());
  facts.seconds =
      facts.rate ? *latest - *earliest : static_cast<double>(times_.size()) * period_;
  examine_values();
  examine_acceleration();
  examine_spikes();
  examine_zeros();
  examine_turns();
  examine_clipping();
  if (!quiet_.empty() && facts.seconds >= kLeastSeconds) {
    examine_bias();
    examine_noise();
  }
  examine_rest();
  return result_;
}

}  // namespace wgr
