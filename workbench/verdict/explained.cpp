#include "verdict/explained.h"

#include <memory>
#include <utility>

#include "base/errors.h"
#include "context/WgrContext.h"
#include "explanation/expected.h"
#include "hostrun/fixed_paths.h"
#include "training/model_findings.h"

namespace wgr {

Explained explain_and_judge(const HostRunOptions& host, RecordingReader& reader,
                            const std::string& expect, Explanation explanation,
                            ExaminerOptions options) {
  Explained made;
  made.explanation = std::move(explanation);
  Explanation& e = made.explanation;
  if (!expect.empty()) e.expected = read_expected(expect, e.recording);
  Examiner examiner(std::move(options));
  try {
    explain(host, reader, e, [&](const RecordedSample& sample) { examiner.add(sample); });
  } catch (const RecordingError&) {
    made.malformed = std::current_exception();
  }
  made.too_long = examiner.was_too_long();
  if (!made.malformed && !expect.empty()) require_in_recording(e, expect);
  find_expected(e);
  made.verdict = examiner.judge(e, host, reader.absent_axes());
  return made;
}

std::vector<ModelChoice> models_to_try(const std::string& folder) {
  std::vector<ModelChoice> models;
  for (int wearer = 0; wearer < kWearers; ++wearer) {
    for (int mode = 0; mode < kModes; ++mode) {
      try {
        models.push_back({wearer, mode,
                          std::make_shared<const Gmodel>(
                              read_model(model_file(folder, wearer, mode)))});
      } catch (const UsageError&) {
        // What is not there cannot be chosen.
      }
    }
  }
  return models;
}

}  // namespace wgr
