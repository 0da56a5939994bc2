#include "training/folds.h"

#include <algorithm>
#include <map>
#include <set>

#include "base/errors.h"

namespace wgr {

static constexpr size_t kMostFolds = 5;

// A session's name says little without whose it is.
static std::string group_name(const FoldedExample& example, LeftOut by) {
  if (by == LeftOut::kSubjects) return example.subject;
  return example.session.empty() ? "" : example.subject + "\n" + example.session;
}

// The groups of the gestures' examples; none when any example's is not known.
static std::set<std::string> groups_in(const std::vector<FoldedExample>& examples,
                                       LeftOut by) {
  std::set<std::string> groups;
  for (const FoldedExample& example : examples) {
    if (example.label >= 0) groups.insert(group_name(example, by));
  }
  if (groups.count("") > 0) groups.clear();
  return groups;
}

static LeftOut chosen(const std::vector<FoldedExample>& examples,
                      std::optional<LeftOut> by) {
  std::vector<LeftOut> tried = {LeftOut::kSubjects, LeftOut::kSessions};
  if (by) tried.assign(1, *by);
  for (const LeftOut known : tried) {
    if (known == LeftOut::kRepetitions) break;
    if (groups_in(examples, known).size() > 1) return known;
    if (!by) continue;
    throw UsageError(
        known == LeftOut::kSubjects
            ? "--judge-by subject needs to know whose every example is, of "
              "two subjects at least: by the column subject of index.csv, or "
              "by the description beside a training file"
            : "--judge-by session needs to know when every example was "
              "recorded, in two sessions at least: by the column session of "
              "index.csv, or by the description beside a training file");
  }
  return LeftOut::kRepetitions;
}

static void divide_background(const std::vector<FoldedExample>& examples, Folds& folds) {
  std::vector<size_t> background;
  for (size_t i = 0; i < examples.size(); ++i) {
    if (examples[i].label < 0) background.push_back(i);
  }
  for (size_t i = 0; i < background.size(); ++i) {
    folds.of[background[i]] = i * folds.count / background.size();
  }
}

Folds divide_examples(const std::vector<FoldedExample>& examples,
                      std::optional<LeftOut> by) {
  Folds folds;
  folds.by = chosen(examples, by);
  std::map<std::string, size_t> number_of;  // groups, in the order of the alphabet
  std::map<int, std::set<std::string>> recorded_by;
  if (folds.by != LeftOut::kRepetitions) {
    size_t next = 0;
    for (const std::string& name : groups_in(examples, folds.by))
      number_of[name] = next++;
    for (const FoldedExample& e : examples) {
      if (e.label >= 0) recorded_by[e.label].insert(group_name(e, folds.by));
    }
    for (const auto& [label, groups] : recorded_by) {
      if (groups.size() == 1) folds.by_one.push_back(label);
    }
  }
  folds.count = number_of.empty() ? kMostFolds : std::min(kMostFolds, number_of.size());
  folds.of.assign(examples.size(), 0);
  divide_background(examples, folds);
  const bool background_known =
      std::all_of(examples.begin(), examples.end(), [&](const FoldedExample& e) {
        return e.label >= 0 || number_of.count(group_name(e, folds.by)) > 0;
      });
  std::map<int, size_t> met;
  for (size_t i = 0; i < examples.size(); ++i) {
    folds.group.push_back(number_of.size() + i);
    const FoldedExample& e = examples[i];
    const auto number = number_of.find(group_name(e, folds.by));
    if (e.label < 0) {
      if (background_known && number != number_of.end()) {
        folds.of[i] = number->second % folds.count;
      }
    } else if (number == number_of.end() || recorded_by[e.label].size() == 1) {
      folds.of[i] = met[e.label]++ % folds.count;
    } else {
      folds.of[i] = number->second % folds.count;
      folds.group[i] = number->second;
    }
  }
  return folds;
}

}  // namespace wgr
