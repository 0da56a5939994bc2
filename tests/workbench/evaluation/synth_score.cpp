#include "workbench/evaluation/synth_score.h"

#include <vector>

#include "hostrun/host_run.h"
#include "synthesis/performance.h"

using namespace wgr;

// A gesture is reported within this time after its end, s.
static constexpr double kLatest = 0.6;

static std::vector<GestureEvent> events_of(const Plan& plan, const Person& person,
                                           const ScoreOptions& options, Random random) {
  HostRunOptions chosen;
  chosen.wearer = options.wearer;
  chosen.mode = options.mode;
  HostRun host_run(chosen);
  PerformanceOptions performance;
  performance.wearer = options.wearer;
  std::vector<GestureEvent> events;
  for (const RecordedSample& sample : record(plan, person, performance, random)) {
    if (const auto event = host_run.feed(sample)) events.push_back(*event);
  }
  return events;
}

static void count_gestures(const Plan& plan, const std::vector<GestureEvent>& events,
                           Score& score) {
  std::vector<bool> used(events.size(), false);
  for (const PlannedActivity& activity : plan) {
    const auto label = label_of(activity.what);
    if (!label) continue;
    size_t right = 0;
    size_t wrong = 0;
    size_t rejected = 0;
    for (size_t i = 0; i < events.size(); ++i) {
      const GestureEvent& event = events[i];
      if (event.t < activity.begin || event.t > activity.end + kLatest) continue;
      used[i] = true;
      ++(event.gesture == *label ? right : event.gesture == 5 ? rejected : wrong);
    }
    ++score.gestures;
    if (wrong > 0) {
      ++score.confused;
    } else if (right > 0) {
      ++score.right;
    } else {
      ++(rejected > 0 ? score.rejected : score.unnoticed);
    }
  }
  for (size_t i = 0; i < events.size(); ++i) {
    if (!used[i] && events[i].gesture != 5) ++score.between_events;
  }
}

Score score(const ScoreOptions& options) {
  Score score;
  for (int i = 0; i < options.persons; ++i) {
    const int number = options.first_person + i;
    const Person person = make_person(number, options.style);
    const Random random = Random(options.seed).fork(static_cast<uint64_t>(number));

    Random planning = random.fork(1);
    const Plan gestures = random_plan({options.gestures, 0.0}, person, planning);
    count_gestures(gestures, events_of(gestures, person, options, random.fork(2)), score);

    const Plan everyday = random_plan({0, options.distractors}, person, planning);
    score.distractor_seconds += options.distractors;
    for (const GestureEvent& event :
         events_of(everyday, person, options, random.fork(3))) {
      ++(event.gesture == 5 ? score.rejected_distractors : score.false_positives);
    }
  }
  return score;
}

void add(const Score& more, Score& sum) {
  sum.gestures += more.gestures;
  sum.right += more.right;
  sum.confused += more.confused;
  sum.rejected += more.rejected;
  sum.unnoticed += more.unnoticed;
  sum.distractor_seconds += more.distractor_seconds;
  sum.false_positives += more.false_positives;
  sum.rejected_distractors += more.rejected_distractors;
  sum.between_events += more.between_events;
}
