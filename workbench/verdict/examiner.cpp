#include "verdict/examiner.h"

#include <utility>

#include "explanation/expected.h"

namespace wgr {

void Examiner::keep(const RecordedSample& sample) {
  if (samples_.size() < options_.most_samples) {
    samples_.push_back(sample);
    return;
  }
  std::vector<RecordedSample>().swap(samples_);
  options_.try_changes = false;
  too_long_ = true;
}

std::vector<Trial> Examiner::try_changes(const Explanation& explanation,
                                         const HostRunOptions& host,
                                         const Diagnosis& diagnosis) {
  TrialInput input;
  input.samples = std::move(samples_);
  input.expected = expected_gestures(explanation);
  input.host = host;
  input.host.model = std::make_shared<const Gmodel>(explanation.model);
  input.rest_window = explanation.settings.static_window;
  input.models = options_.models;
  input.own_model = options_.own_model;
  const size_t count = circumstances(input, diagnosis).size();
  return run_trials(
      input, diagnosis,
      options_.progress ? options_.progress(count, input.samples.size()) : nullptr);
}

Verdict Examiner::judge(const Explanation& explanation, const HostRunOptions& host,
                        const std::string& absent_axes) {
  stream_.set_absent_axes(absent_axes);
  Diagnosis diagnosis = stream_.finish();
  std::vector<Trial> trials;
  if (options_.try_changes) trials = try_changes(explanation, host, diagnosis);
  return wgr::judge(explanation, std::move(diagnosis), std::move(trials));
}

}  // namespace wgr
