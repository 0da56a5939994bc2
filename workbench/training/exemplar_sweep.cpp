#include "training/exemplar_sweep.h"

#include <algorithm>
#include <limits>

#include "base/text.h"

namespace wgr {

ClassMatrix matrix_of(const Similarities& all, const std::vector<size_t>& own) {
  ClassMatrix matrix = {own.size(), {}};
  matrix.scores.reserve(own.size() * own.size());
  for (const size_t i : own) {
    for (const size_t j : own) matrix.scores.push_back(all(i, j));
  }
  return matrix;
}

std::vector<size_t> thinned_out(const std::vector<size_t>& own) {
  const size_t count = std::min(own.size(), kMostClustered);
  std::vector<size_t> some;
  for (size_t i = 0; i < count; ++i) some.push_back(own[i * own.size() / count]);
  return some;
}

size_t most_of(size_t examples, double most_share) {
  return std::max<size_t>(
      1, static_cast<size_t>(static_cast<double>(examples) * most_share));
}

// Of the steps in question, the one with the fewest templates whose accuracy is within
// the tolerance of the best.
static size_t smallest_good(const std::vector<SweepStep>& sweep, double tolerance) {
  double best = 0.0;
  for (const SweepStep& step : sweep) {
    if (step.in_question) best = std::max(best, step.accuracy);
  }
  size_t chosen = sweep.size();
  for (size_t p = 0; p < sweep.size(); ++p) {
    const SweepStep& step = sweep[p];
    if (!step.in_question || step.accuracy < best - tolerance) continue;
    if (chosen == sweep.size() || step.templates < sweep[chosen].templates ||
        (step.templates == sweep[chosen].templates &&
         step.accuracy > sweep[chosen].accuracy)) {
      chosen = p;
    }
  }
  return chosen;
}

namespace {

struct Standing {
  size_t example;
  size_t class_index;
  float own;    // best score among templates of its class
  float other;  // and among the rest
  bool right() const { return own > other; }
};

class Search {
 public:
  explicit Search(const ExemplarSearch& given) : given_(given) {
    for (const std::vector<size_t>& own : given.own)
      clustered_.push_back(thinned_out(own));
  }

  void choose();
  void sweep();
  FoundExemplars found;

 private:
  bool judges(size_t as_template, size_t example) const;
  size_t class_of(size_t example, const std::vector<ClassTemplate>& templates) const;
  Standing with(Standing s, const ClassTemplate& t) const;
  int gain_of(const ClassTemplate& t, const std::vector<Standing>& standings) const;
  void grow(std::vector<ClassTemplate>& set) const;
  void judge(SweepStep step, std::vector<ClassTemplate> set);
  void judge_preferences();
  void describe(const SweepStep& chosen);

  const ExemplarSearch& given_;
  std::vector<std::vector<size_t>> clustered_;  // examples of each class
  // For each class and preference its exemplars, and the sets of templates that the
  // steps of the sweep are about.
  std::vector<double> preferences_ = swept_preferences();
  std::vector<std::vector<Exemplars>> exemplars_;
  std::vector<std::vector<ClassTemplate>> sets_;
};

}  // namespace

bool Search::judges(size_t as_template, size_t example) const {
  return as_template != example && given_.group[as_template] != given_.group[example];
}

// The class of the nearest template that may judge the example.
size_t Search::class_of(size_t example,
                        const std::vector<ClassTemplate>& templates) const {
  size_t nearest = std::numeric_limits<size_t>::max();
  double best = std::numeric_limits<double>::lowest();
  for (const ClassTemplate& t : templates) {
    if (!judges(t.example, example)) continue;
    const double score = given_.similarities(example, t.example);
    if (!(score > best)) continue;
    best = score;
    nearest = t.class_index;
  }
  return nearest;
}

void Search::choose() {
  for (size_t c = 0; c < given_.own.size(); ++c) {
    const Exemplars exemplars = choose_exemplars(
        matrix_of(given_.similarities, clustered_[c]), *given_.most_templates);
    for (const size_t i : exemplars.chosen) {
      found.templates.push_back({clustered_[c][i], c});
    }
    found.how.push_back(exemplars.how);
  }
}

// How an example stands with one more template.
Standing Search::with(Standing s, const ClassTemplate& t) const {
  if (!judges(t.example, s.example)) return s;
  float& best = s.class_index == t.class_index ? s.own : s.other;
  best = std::max(best, given_.similarities(s.example, t.example));
  return s;
}

// How many more examples a template puts right; 0 when it helps none of its own class.
int Search::gain_of(const ClassTemplate& t,
                    const std::vector<Standing>& standings) const {
  const auto helped = [&](const Standing& s) {
    return s.class_index == t.class_index && !s.right() && with(s, t).right();
  };
  if (std::none_of(standings.begin(), standings.end(), helped)) return 0;
  int gain = 0;
  for (const Standing& s : standings) {
    gain += (with(s, t).right() ? 1 : 0) - (s.right() ? 1 : 0);
  }
  return gain;
}

// Adds, one at a time, the template that puts the most examples right, while there is one
// and its class may have more.
void Search::grow(std::vector<ClassTemplate>& set) const {
  constexpr float kNone = -std::numeric_limits<float>::infinity();
  std::vector<Standing> standings;
  std::vector<size_t> room;
  for (size_t c = 0; c < given_.own.size(); ++c) {
    for (const size_t i : given_.own[c]) standings.push_back({i, c, kNone, kNone});
    room.push_back(most_of(given_.own[c].size(), given_.most_share));
  }
  std::vector<bool> used(given_.group.size(), false);
  const auto add = [&](const ClassTemplate& t) {
    for (Standing& s : standings) s = with(s, t);
    used[t.example] = true;
    if (room[t.class_index] > 0) --room[t.class_index];
  };
  for (const ClassTemplate& t : set) add(t);

  for (;;) {
    std::optional<ClassTemplate> best;
    int most = 0;
    for (size_t c = 0; c < given_.own.size(); ++c) {
      if (room[c] == 0) continue;
      for (const size_t j : given_.own[c]) {
        if (used[j]) continue;
        const int gain = gain_of({j, c}, standings);
        if (gain <= most) continue;
        most = gain;
        best = {j, c};
      }
    }
    if (!best) return;
    add(*best);
    set.push_back(*best);
  }
}

void Search::judge(SweepStep step, std::vector<ClassTemplate> set) {
  size_t examples = 0;
  size_t right = 0;
  for (size_t c = 0; c < given_.own.size(); ++c) {
    examples += given_.own[c].size();
    for (const size_t i : given_.own[c]) right += class_of(i, set) == c ? 1 : 0;
  }
  step.templates = set.size();
  step.accuracy = share(right, examples);
  found.sweep.push_back(step);
  sets_.push_back(std::move(set));
}

void Search::judge_preferences() {
  for (const std::vector<size_t>& own : clustered_) {
    exemplars_.push_back(sweep_exemplars(matrix_of(given_.similarities, own)));
  }
  for (size_t p = 0; p < preferences_.size(); ++p) {
    std::vector<ClassTemplate> set;
    bool few = true;
    for (size_t c = 0; c < clustered_.size(); ++c) {
      const std::vector<size_t>& chosen = exemplars_[c][p].chosen;
      few = few && chosen.size() <= most_of(given_.own[c].size(), given_.most_share);
      for (const size_t i : chosen) set.push_back({clustered_[c][i], c});
    }
    judge({preferences_[p], 0, 0.0, few, false, false}, std::move(set));
  }
  // With few examples a class every set may have too many templates; then all count.
  const bool any = std::any_of(found.sweep.begin(), found.sweep.end(),
                               [](const SweepStep& s) { return s.in_question; });
  for (SweepStep& step : found.sweep) step.in_question = step.in_question || !any;
}

void Search::describe(const SweepStep& chosen) {
  const auto p = std::find(preferences_.begin(), preferences_.end(), chosen.preference) -
                 preferences_.begin();
  for (size_t c = 0; c < clustered_.size(); ++c) {
    const Exemplars& start = exemplars_[c][static_cast<size_t>(p)];
    const auto count =
        std::count_if(found.templates.begin(), found.templates.end(),
                      [c](const ClassTemplate& t) { return t.class_index == c; });
    const size_t more = static_cast<size_t>(count) - start.chosen.size();
    found.how.push_back(
        start.how +
        (more > 0 ? fmt::format(", and {} for the misclassified", more) : ""));
  }
}

void Search::sweep() {
  judge_preferences();
  // Some examples lie between clusters: the chosen set, and the best, are grown to
  // classify them as well, and then compared with all.
  const size_t smallest = smallest_good(found.sweep, given_.tolerance);
  const size_t best = smallest_good(found.sweep, 0.0);
  for (const size_t start : {smallest, best}) {
    std::vector<ClassTemplate> grown = sets_[start];
    grow(grown);
    if (grown.size() == sets_[start].size()) continue;
    judge({found.sweep[start].preference, 0, 0.0, true, false, true}, std::move(grown));
    if (best == smallest) break;
  }
  const size_t chosen = smallest_good(found.sweep, given_.tolerance);
  found.sweep[chosen].chosen = true;
  found.templates = sets_[chosen];
  describe(found.sweep[chosen]);
}

FoundExemplars find_exemplars(const ExemplarSearch& given) {
  Search search(given);
  if (given.most_templates) {
    search.choose();
  } else {
    search.sweep();
  }
  return std::move(search.found);
}

}  // namespace wgr
