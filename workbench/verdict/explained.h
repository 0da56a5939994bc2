// A recording explained and judged in one pass.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "explanation/explanation.h"
#include "recording/recording.h"
#include "verdict/examiner.h"

namespace wgr {

struct Explained {
  Explanation explanation;
  Verdict verdict;
  bool too_long = false;         // for trials of what would have helped
  std::exception_ptr malformed;  // a RecordingError: what came before it is explained
};

// Runs the library over the recording as `host` does. `explanation` says what its members
// "set before" do; what is expected is read from the table `expect` where that is named.
// Throws UsageError for a table that does not fit the recording.
Explained explain_and_judge(const HostRunOptions& host, RecordingReader& reader,
                            const std::string& expect, Explanation explanation,
                            ExaminerOptions options);

// Those of the folder's six models that can be used, for trials.
std::vector<ModelChoice> models_to_try(const std::string& folder);

}  // namespace wgr
