// A stream under examination: each test examines what the ones before it repaired. The
// tests run in the order of the members; each group is a file.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/points.h"
#include "diagnosis/agreement.h"
#include "diagnosis/diagnosis.h"
#include "diagnosis/measures.h"

namespace wgr {

inline constexpr double kStandardGravity = 9.80665;  // m/s²
inline constexpr double kLeastSeconds = 3.0;         // that rest can be judged from

inline constexpr std::array<std::pair<double Point3Df::*, const char*>, 3> kAxes = {
    {{&Point3Df::x, "x"}, {&Point3Df::y, "y"}, {&Point3Df::z, "z"}}};

// A stream, or a part of one.
struct Stream {
  std::vector<double> times;  // s
  Samples acc;
  Samples gyro;
};

// What goes from one part of a stream to the next.
struct Carried {
  size_t before = 0;      // samples of the stream before the part's first
  size_t seen = 0;        // of the part, that the part before holds as well
  size_t window = 1;      // samples that rest is judged by
  size_t moving_for = 0;  // samples, up to the last one seen
  Occurrences gaps, repeats, backward, zeros, acc_spikes, gyro_spikes;
};

class Examination {
 public:
  Examination(Stream stream, const DiagnosisOptions& options, Carried& carried);
  Diagnosis examine();
  const std::vector<double>& times() const { return times_; }  // once examined

 private:
  Finding& find(FindingId id, Sureness sure, double value = 0.0) {
    Finding& finding = result_.findings.emplace_back();
    finding.id = id;
    finding.sure = sure;
    finding.value = value;
    return finding;
  }
  // Of the newest finding.
  void propose(Repair repair) { result_.findings.back().repair = std::move(repair); }

  // time_faults.cpp
  void examine_stamps();
  void examine_steps();
  std::optional<double> measure_steps(const std::vector<double>& steps);
  void count_steps(const std::vector<double>& steps, double rate);
  void report_irregular_steps(const std::vector<double>& steps, double rate);
  // value_faults.cpp
  void examine_values();
  void examine_spikes();
  void examine_zeros();
  void examine_clipping();
  void examine_bias();
  void examine_noise();
  // gravity_faults.cpp
  void examine_acceleration();
  bool repair_swapped_sensors();
  void examine_rest();
  void measure_rest();
  std::vector<double> quiet_lengths(const std::vector<Window>& windows) const;
  // turn_faults.cpp
  void examine_turns();
  Point3Df first_bias() const;
  void guess_gyro_unit();
  std::vector<const Window*> steady_windows() const;
  std::vector<Turn> find_turns(const Point3Df& bias) const;
  void report_axes(const Agreement& agreement);

  // The first of the samples whose steps to the next one are new in this part.
  size_t first_step() const { return carried_.seen > 0 ? carried_.seen - 1 : 0; }
  // The lines of a recording are its header and its samples.
  size_t line_of(size_t index) const { return carried_.before + index + 2; }

  // Windows anew, of what has been repaired.
  void look_again();

  const DiagnosisOptions& options_;
  Carried& carried_;
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

}  // namespace wgr
