#include "diagnosis/diagnosis.h"

#include <algorithm>

#include "base/numbers.h"
#include "base/text.h"
#include "diagnosis/examination.h"

namespace wgr {

static constexpr double kWindowSeconds = 0.2;
static constexpr size_t kFewestInWindow = 5;

const char* sureness_name(Sureness sureness) {
  static constexpr const char* kNames[] = {"possible", "likely", "certain"};
  return kNames[static_cast<size_t>(sureness)];
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
    find("short", Sureness::kCertain,
         fmt::format("{} samples are too few to say anything", times_.size()),
         "record a minute");
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
