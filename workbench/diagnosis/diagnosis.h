// What is wrong with a stream of samples, and what to pass to the library.
//
// Tests have an order: what one finds is repaired before the next one, so that one fault
// is one finding.
//
// A stream of any length is examined in a memory that does not grow with it: an hour and
// a quarter as a whole, if that is no more than kMostAtOnce samples, and a longer stream
// in parts of at least half as many. What lies between two parts is seen as well. A
// finding says in which parts it was made, unless it holds for all; what is counted is
// counted over all of them.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "diagnosis/repair.h"
#include "recording/recording.h"

namespace wgr {

enum class Sureness { kPossible, kLikely, kCertain };
const char* sureness_name(Sureness sureness);

struct Finding {
  std::string id;  // one word for each kind of finding, such as "gyro-unit"
  Sureness sure;
  std::string what;
  std::string remedy;
  std::string call;   // the option or call that does it; may be empty
  std::string about;  // of findings with the same id, which one; may be empty
  std::optional<Repair> repair = {};  // of the samples, or of what a host passes
};

struct StreamFacts {
  size_t samples = 0;
  double seconds = 0.0;           // by the stamps
  std::optional<double> rate;     // samples per second
  double jitter = 0.0;            // of the time steps, a share of their mean
  std::optional<double> gravity;  // length of the acceleration at its quietest, m/s²
  std::optional<Point3Df> bias;   // of the gyroscope, deg/s; only when it could be seen
  double acc_noise = 0.0;         // standard deviation of one axis, m/s²
  double gyro_noise = 0.0;        // deg/s
  double rest_share = 0.0;        // of the samples, by the library's rule
  double acc_rest_share = 0.0;    // by the accelerometer's part of the rule
  double gyro_rest_share = 0.0;   // by the gyroscope's
  double longest_motion = 0.0;    // s
  size_t turns = 0;               // of gravity, from one steady moment to the next
  double turn_error = 0.0;        // of the gyroscope's prediction of them, deg
};

struct Diagnosis {
  StreamFacts facts;
  std::vector<Finding> findings;
};

struct DiagnosisOptions {
  std::optional<int> rate;               // that the host passes to the library
  Point3Df gyro_bias = {0.0, 0.0, 0.0};  // likewise, deg/s
  std::string absent_axes;               // that the recording has no values for
};

inline constexpr size_t kMostAtOnce = 450'000;  // samples

// From the first sample to the last, one by one.
class StreamDiagnosis {
 public:
  explicit StreamDiagnosis(const DiagnosisOptions& options);
  ~StreamDiagnosis();

  // The axes without values so far.
  void set_absent_axes(const std::string& axes);
  void add(const RecordedSample& sample);
  Diagnosis finish();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

Diagnosis diagnose(const std::vector<RecordedSample>& samples,
                   const DiagnosisOptions& options);

}  // namespace wgr
