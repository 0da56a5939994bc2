#include "evaluation/learning_curve.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string>

#include "base/text.h"

namespace wgr {

static constexpr size_t kFewestGroups = 3;
static constexpr size_t kMostGroups = 12;  // of repetitions
static constexpr size_t kDraws = 4;        // of every number of groups, at most

namespace {

// The best of a group's examples for one example.
struct Nearest {
  float score = std::numeric_limits<float>::lowest();
  int label = -1;
};

struct Groups {
  LeftOut by = LeftOut::kSubjects;
  size_t count = 0;
  double size = 1.0;       // what one of them is counted as
  std::vector<size_t> of;  // of each gesture's example
};

}  // namespace

static size_t gestures_of(const ModelBuilder& builder) {
  const std::vector<int>& labels = builder.labels();
  return static_cast<size_t>(
      std::count_if(labels.begin(), labels.end(), [](int label) { return label >= 0; }));
}

static Groups groups_of_subjects(const ModelBuilder& builder, size_t gestures) {
  Groups groups;
  const std::vector<std::string>& subjects = builder.sources().subjects;
  std::map<std::string, size_t> numbers;
  for (size_t i = 0; i < gestures && !subjects.empty(); ++i) {
    const std::string& subject = subjects[builder.origin()[i]];
    if (subject.empty()) return Groups();
    groups.of.push_back(numbers.emplace(subject, numbers.size()).first->second);
  }
  groups.count = numbers.size();
  return groups;
}

static Groups groups_of_repetitions(const ModelBuilder& builder, size_t gestures) {
  Groups groups;
  groups.by = LeftOut::kRepetitions;
  std::map<int, size_t> repetitions;
  for (size_t i = 0; i < gestures; ++i) ++repetitions[builder.labels()[i]];
  groups.count = kMostGroups;
  for (const auto& [label, count] : repetitions) {
    groups.count = std::min(groups.count, count);
  }
  if (groups.count == 0) return groups;
  groups.size = static_cast<double>(gestures) /
                static_cast<double>(repetitions.size() * groups.count);
  std::map<int, size_t> next;
  for (size_t i = 0; i < gestures; ++i) {
    groups.of.push_back(next[builder.labels()[i]]++ % groups.count);
  }
  return groups;
}

// For every example the best of each group.
static std::vector<std::vector<Nearest>> nearest_of(const ModelBuilder& builder,
                                                    const Groups& groups) {
  const size_t gestures = groups.of.size();
  std::vector<std::vector<Nearest>> nearest(gestures, std::vector<Nearest>(groups.count));
  for (size_t i = 0; i < gestures; ++i) {
    for (size_t j = 0; j < gestures; ++j) {
      Nearest& best = nearest[i][groups.of[j]];
      const float score = builder.similarities()(i, j);
      if (score > best.score) best = {score, builder.labels()[j]};
    }
  }
  return nearest;
}

// What the groups `first`, `first + 1` and so on behind an example's own classify it as.
static int label_by(const std::vector<Nearest>& nearest, size_t own, size_t first,
                    size_t used) {
  Nearest best;
  const size_t others = nearest.size() - 1;
  for (size_t k = 0; k < used; ++k) {
    const Nearest& one = nearest[(own + 1 + (first + k) % others) % nearest.size()];
    if (one.score > best.score) best = one;
  }
  return best.label;
}

LearningCurve learning_curve(const ModelBuilder& builder) {
  const size_t gestures = gestures_of(builder);
  Groups groups = groups_of_subjects(builder, gestures);
  if (groups.count < kFewestGroups) groups = groups_of_repetitions(builder, gestures);
  LearningCurve curve;
  curve.by = groups.by;
  curve.examples = gestures;
  if (groups.count < kFewestGroups) return curve;
  const std::vector<std::vector<Nearest>> nearest = nearest_of(builder, groups);
  const size_t others = groups.count - 1;
  for (size_t used = 1; used <= others; ++used) {
    const size_t draws = used == others ? 1 : std::min(kDraws, others);
    size_t right = 0;
    for (size_t i = 0; i < gestures; ++i) {
      for (size_t d = 0; d < draws; ++d) {
        const size_t first = d * others / draws;
        const int label = label_by(nearest[i], groups.of[i], first, used);
        right += label == builder.labels()[i] ? 1 : 0;
      }
    }
    curve.points.push_back(
        {static_cast<double>(used) * groups.size, share(right, gestures * draws)});
  }
  return curve;
}

}  // namespace wgr
