// A stream under examination: each question looks at what the ones before it repaired.
// The questions are asked in the order of the members; each group is a file.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "classifier/points.h"
#include "diagnosis/agreement.h"
#include "diagnosis/diagnosis.h"
#include "diagnosis/measures.h"

inline constexpr double kStandardGravity = 9.80665;  // m/s²
inline constexpr double kLeastSeconds = 3.0;         // that rest can be judged from

inline constexpr std::array<std::pair<double Point3Df::*, const char*>, 3> kAxes = {
    {{&Point3Df::x, "x"}, {&Point3Df::y, "y"}, {&Point3Df::z, "z"}}};

class Examination {
 public:
  Examination(const std::vector<RecordedSample>& samples,
              const DiagnosisOptions& options);
  Diagnosis examine();

 private:
  void find(const std::string& id, Sureness sure, const std::string& what,
            const std::string& remedy, const std::string& call = "") {
    result_.findings.push_back({id, sure, what, remedy, call});
  }

  // time_faults.cpp
  void examine_stamps();
  void examine_steps();
  // value_faults.cpp
  void examine_values();
  void examine_zeros();
  void examine_clipping();
  void examine_bias();
  void examine_noise();
  // gravity_faults.cpp
  void examine_acceleration();
  void examine_rest();
  std::vector<double> quiet_lengths(const std::vector<Window>& windows) const;
  // turn_faults.cpp
  void examine_turns();
  std::vector<Turn> find_turns(const Point3Df& bias) const;
  void tell_axes(const Agreement& agreement);

  // Windows anew, of what has been repaired.
  void look_again();

  const DiagnosisOptions& options_;
  std::vector<double> times_;  // s
  Samples acc_;                // m/s², once its unit is known
  Samples gyro_;               // deg/s, likewise
  double period_ = 0.02;       // s; this where the stamps give none
  std::vector<Window> acc_windows_;
  std::vector<Window> gyro_windows_;
  std::vector<size_t> quiet_;
  std::optional<double> gravity_;  // as long as the accelerometer shows it
  Diagnosis result_;
};
