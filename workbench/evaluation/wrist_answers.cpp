#include "evaluation/wrist_answers.h"

#include <map>

#include "base/text.h"
#include "engine/WHD.h"
#include "evaluation/confidence.h"

namespace wgr {

static constexpr int kWindow = 50;  // samples, as hosts pass it
static constexpr int kLeft = 0;     // the detector's answer

std::vector<WristAnswers> wrist_answers(const SegmentedSet& set) {
  std::vector<WristAnswers> all;
  for (const SegmentedRecording& recording : set.recordings) {
    if (recording.entry.wrist.empty()) continue;
    WristAnswers answers;
    answers.subject = recording.entry.subject;
    answers.left = recording.entry.wrist == kLeftWrist;
    WHD detector(set.provenance.rate, kWindow, nullptr);
    for (const RecordedSample& sample : recording.samples) {
      const int answer = detector.update(sample.acc);
      ++answers.samples;
      if (answer == kUndecided) continue;
      ++((answer == kLeft) == answers.left ? answers.right : answers.wrong);
    }
    all.push_back(answers);
  }
  return all;
}

static void add_subjects(const std::vector<WristAnswers>& answers,
                         WristSummary& summary) {
  std::map<std::string, std::pair<size_t, size_t>> of;  // right, decided
  for (const WristAnswers& a : answers) {
    if (a.subject.empty() || a.right + a.wrong == 0) continue;
    of[a.subject].first += a.right;
    of[a.subject].second += a.right + a.wrong;
  }
  if (of.size() < 2) return;
  std::vector<double> shares;
  for (const auto& [subject, counts] : of) {
    const double right = share(counts.first, counts.second);
    if (shares.empty() || right < summary.worst) {
      summary.worst = right;
      summary.worst_of = subject;
    }
    shares.push_back(right);
    summary.mean += right / static_cast<double>(of.size());
  }
  summary.subjects = of.size();
  summary.interval = bootstrap_interval(shares);
}

WristSummary summary_of(const std::vector<WristAnswers>& answers) {
  WristSummary summary;
  summary.recordings = answers.size();
  for (const WristAnswers& a : answers) {
    summary.samples += a.samples;
    summary.right += a.right;
    summary.wrong += a.wrong;
    summary.majority_right += a.right > a.wrong ? 1 : 0;
    summary.majority_wrong += a.right < a.wrong ? 1 : 0;
  }
  add_subjects(answers, summary);
  return summary;
}

}  // namespace wgr
