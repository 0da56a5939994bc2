// Examines a recording while it is explained, and judges it in the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "verdict/verdict.h"

namespace wgr {

struct ExaminerOptions {
  DiagnosisOptions diagnosis;
  bool try_changes = false;         // replay it under other circumstances
  size_t most_samples = SIZE_MAX;   // that are kept for it; none of a longer recording
  std::vector<ModelChoice> models;  // the six, or those of them that are there
  bool own_model = false;           // one of which no one knows the wrist
  // Called with the number of trials and of samples in each; what it returns is called
  // after each, from any thread.
  std::function<std::function<void()>(size_t trials, size_t samples)> progress;
};

class Examiner {
 public:
  explicit Examiner(ExaminerOptions options)
      : options_(std::move(options)), stream_(options_.diagnosis) {}

  void add(const RecordedSample& sample) {
    stream_.add(sample);
    if (options_.try_changes) keep(sample);
  }

  // The recording was longer than what is kept: nothing is tried.
  bool was_too_long() const { return too_long_; }

  // Once, of an explanation that was made with `host` and whose expected gestures have
  // been found.
  Verdict judge(const Explanation& explanation, const HostRunOptions& host,
                const std::string& absent_axes);

 private:
  void keep(const RecordedSample& sample);
  std::vector<Trial> try_changes(const Explanation& explanation,
                                 const HostRunOptions& host, const Diagnosis& diagnosis);

  ExaminerOptions options_;
  StreamDiagnosis stream_;
  std::vector<RecordedSample> samples_;
  bool too_long_ = false;
};

}  // namespace wgr
