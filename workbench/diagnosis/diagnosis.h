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

#include "diagnosis/agreement.h"
#include "diagnosis/repair.h"
#include "recording/recording.h"

namespace wgr {

enum class Sureness { kPossible, kLikely, kCertain };
const char* sureness_name(Sureness sureness);

// In the order of the questions; behind each what Finding::value is.
enum class FindingId {
  kShort,           // s; or, with `count`, too few samples to say anything
  kStamps,          // that never go forward
  kStampsUnit,      // s, from stamp to stamp
  kRate,            // samples per second; `other`: that the library is given, if any
  kJitter,          // of the time steps, a share of their mean
  kGap,             // the occurrences' largest in s
  kRepeated,        // stamps that repeat the one before
  kOrder,           // stamps that are earlier than the one before
  kAbsent,          // axes without values
  kStuck,           // axes that never change
  kHeld,            // share of the samples that repeat the one before
  kSwappedSensors,  // length of what the gyroscope shows at rest
  kNoGravity,       // length of the acceleration at its quietest
  kAccUnit,         // likewise; `other`: by what to multiply it
  kAccSpike,        // the occurrences' largest in m/s²
  kGyroSpike,       // likewise in deg/s
  kZeroRate,        // samples that are exactly the bias
  kGyroUnit,        // with turns of gravity: `agreement`; else the fastest turn
  kTurnScale,       // `agreement`
  kAxes,            // `agreement`
  kAccClipping,     // the range in g; `count`: samples at its end
  kGyroClipping,    // likewise in deg/s
  kBias,            // `bias` in all; `left` is not subtracted
  kAccNoise,        // standard deviation of one axis, m/s²
  kGyroNoise,       // likewise, deg/s
  kGravityBand,     // length of the acceleration at its quietest, m/s²
  kNoRest,          // share of the samples at rest; `other`: the longest motion, s
  kModelRate        // samples per second; `other`: that the model was built from
};
// One word for each, such as "gyro-unit".
const char* name_of(FindingId id);

// What is counted over all parts of a stream so far.
struct Occurrences {
  size_t count = 0;
  double first = 0.0;     // when, s
  size_t first_line = 0;  // of the recording, from 1
  double most = 0.0;      // how large, in the unit of what is counted

  void add(double when, double how_large, size_t line = 0);
};

// The parts of a long stream that a finding was made in, where it is not all of them.
struct FoundIn {
  size_t parts = 0;
  size_t all = 0;
  double begin = 0.0;  // of the first of them, s
  double end = 0.0;
};

struct Finding {
  FindingId id = FindingId::kShort;
  Sureness sure = Sureness::kPossible;
  double value = 0.0;
  double other = 0.0;
  size_t count = 0;
  std::string about = {};  // which axes, sensor or unit, where the id leaves that open
  Occurrences occurrences = {};
  Agreement agreement = {};
  Point3Df bias = {0.0, 0.0, 0.0};  // deg/s
  Point3Df left = {0.0, 0.0, 0.0};  // deg/s
  FoundIn in = {};
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
