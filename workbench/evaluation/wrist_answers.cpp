#include "evaluation/wrist_answers.h"

#include <map>

#include "base/text.h"
#include "evaluation/confidence.h"
#include "hostrun/host_wrist.h"
#include "hostrun/totals.h"

namespace wgr {

std::vector<WristAnswers> wrist_answers(const SegmentedSet& set) {
  std::vector<WristAnswers> all;
  for (const SegmentedRecording& recording : set.recordings) {
    if (recording.entry.wrist.empty()) continue;
    WristAnswers answers;
    answers.subject = recording.entry.subject;
    answers.left = recording.entry.wrist == kLeftWrist;
    HostWrist detector;
    for (const RecordedSample& sample : recording.samples) detector.ask(sample.acc);
    answers.samples = recording.samples.size();
    answers.right = detector.answers()[answers.left ? WG_WEARER_LEFT : WG_WEARER_RIGHT];
    answers.wrong = detector.answers()[answers.left ? WG_WEARER_RIGHT : WG_WEARER_LEFT];
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
    const int clear = clear_wearer({a.right, a.wrong, 0});
    summary.clear_right += clear == 0 ? 1 : 0;
    summary.clear_wrong += clear == 1 ? 1 : 0;
  }
  add_subjects(answers, summary);
  return summary;
}

}  // namespace wgr
