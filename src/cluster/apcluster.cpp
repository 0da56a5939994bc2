#include "cluster/apcluster.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

#include "base/cpu_dispatch.h"

// Each is printed with one line break more.
static constexpr char kBadMaxits[] = "\tERROR: maxits must be a positive integer";
static constexpr char kBadConvits[] = "\tERROR: convits must be a positive integer";
static constexpr char kBadPreference[] = "\tERROR: preference must be a positive value";
static constexpr char kBadDampfact[] = "\tERROR: dampfact must be >= 0.5 and < 1";
static constexpr char kLargeDampfact[] = "\tWarning: Large damping factor in use\n";
static constexpr char kLargeRequest[] =
    "\tWarning: Large memory request. Consider activating\n"
    "\the sparse version of APCLUSTER\n";  // the missing t belongs to the text
static constexpr char kNoExemplar[] = "    Warning: Number of cluster is zeros";
static constexpr char kNotConverged[] =
    "    Warning: Algorithm did not converge. The similarities\n"
    "    may contain degeneracies - add noise to the similarities\n"
    "    to remove degeneracies. To monitor the net similarity,\n"
    "    activate plotting. Also, consider increasing maxits and\n"
    "    if necessary dampfact.\n";

static constexpr double kLeastDampfact = 0.5;
static constexpr double kNotableDampfact = 0.9;  // above it, a warning
static constexpr int kNotablePoints = 3000;      // above it, a warning

static constexpr float kLowest = std::numeric_limits<float>::lowest();

static constexpr int kNotConvergedResult = -1;

[[noreturn]] static void end_with(const char* message) {
  std::puts(message);
  std::exit(0);
}

AP::AP(int iterations, int stable_iterations, double multiplier, double damping)
    : maxits(iterations),
      convits(stable_iterations),
      preference(multiplier),
      dampfact(damping) {
  if (maxits < 1) end_with(kBadMaxits);
  if (convits < 1) end_with(kBadConvits);
  if (preference < 0.0) end_with(kBadPreference);
  if (dampfact < kLeastDampfact || dampfact >= 1.0) end_with(kBadDampfact);
  if (dampfact > kNotableDampfact) std::puts(kLargeDampfact);
}

// The lower median of all similarities of one point to another.
static float median_similarity(const float* s, size_t n) {
  const size_t count = n * n - n;
  if (count > static_cast<size_t>(std::numeric_limits<int>::max()))
    throw std::bad_alloc();
  std::vector<float> others;
  others.reserve(count);
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < n; ++j) {
      if (i != j) others.push_back(s[i * n + j]);
    }
  }
  return vmedian(others.data(), static_cast<int>(count));
}

// The difference is rounded to float, the product and the sum are not.
WGR_INLINE float damped(float fresh, float old, double lambda) {
  return static_cast<float>(static_cast<double>(fresh) +
                            static_cast<double>(old - fresh) * lambda);
}

namespace {

// The largest entry of a row, its column (the first of equals), and the largest of the
// others, which is never below the lowest float.
struct TopTwo {
  float first;
  float second;
  size_t column;
};

// The two largest of some values; what does not compare is passed over.
struct TwoValues {
  float first = -std::numeric_limits<float>::infinity();
  float second = -std::numeric_limits<float>::infinity();
};

}  // namespace

WGR_INLINE void take(float& first, float& second, float value) {
  const float less = value > second ? value : second;
  second = value > first ? first : less;
  first = value > first ? value : first;
}

// Of the sums a + s, column by column. Kept in lanes, so that the compiler takes several
// columns at once.
WGR_INLINE TwoValues two_largest(const float* a, const float* s, size_t n) {
  constexpr size_t kLanes = 16;
  float first[kLanes];
  float second[kLanes];
  TwoValues top;
  std::fill_n(first, kLanes, top.first);
  std::fill_n(second, kLanes, top.second);
  size_t j = 0;
  for (; j + kLanes <= n; j += kLanes) {
    for (size_t lane = 0; lane < kLanes; ++lane) {
      take(first[lane], second[lane], a[j + lane] + s[j + lane]);
    }
  }
  for (; j < n; ++j) take(top.first, top.second, a[j] + s[j]);
  for (size_t lane = 0; lane < kLanes; ++lane) {
    take(top.first, top.second, first[lane]);
    take(top.first, top.second, second[lane]);
  }
  return top;
}

WGR_INLINE TopTwo top_two(const float* a, const float* s, size_t n) {
  const TwoValues values = two_largest(a, s, n);
  const float start = a[0] + s[0];
  // Nothing compares as larger than a first entry that is not a number.
  if (std::isnan(start)) return {start, std::max(values.first, kLowest), 0};
  size_t column = 0;
  while (a[column] + s[column] != values.first) ++column;
  return {values.first, std::max(values.second, kLowest), column};
}

// What a responsibility adds to its column: only support counts, but for the point's
// own.
WGR_INLINE float support(float responsibility) {
  return responsibility > 0.0f ? responsibility : 0.0f;
}

// Row i of the responsibilities, and what it adds to the columns' sums.
WGR_TARGET_CLONES static void update_responsibilities(const float* s, const float* a,
                                                      float* r, float* column_sums,
                                                      size_t i, size_t n,
                                                      double damping) {
  const TopTwo top = top_two(a, s, n);
  const float chosen = damped(s[top.column] - top.second, r[top.column], damping);
  for (size_t j = 0; j < n; ++j) r[j] = damped(s[j] - top.first, r[j], damping);
  r[top.column] = chosen;

  const float own_sum = column_sums[i] + r[i];
  for (size_t j = 0; j < n; ++j) column_sums[j] += support(r[j]);
  column_sums[i] = own_sum;
}

// Row i of the availabilities.
WGR_TARGET_CLONES static void update_availabilities(const float* r,
                                                    const float* column_sums, float* a,
                                                    size_t i, size_t n, double damping) {
  const float own = damped(column_sums[i] - r[i], a[i], damping);
  for (size_t j = 0; j < n; ++j) {
    const float fresh = column_sums[j] - support(r[j]);
    a[j] = damped(fresh >= 0.0f ? 0.0f : fresh, a[j], damping);
  }
  a[i] = own;
}

namespace {

// The messages between all points, n x n, row-major: how well j suits i as its
// exemplar (responsibility), and how appropriate it were for i to choose j
// (availability).
class Messages {
 public:
  Messages(const float* similarities, size_t points, double lambda)
      : s(similarities),
        n(points),
        damping(lambda),
        responsibility(n * n),
        availability(n * n),
        column_sums(n) {}

  void update();

  // Evidence that the point is an exemplar; positive: it is.
  float self_evidence(size_t i) const {
    return availability[i * n + i] + responsibility[i * n + i];
  }

  // The point that i chooses by the present messages.
  size_t choice(size_t i) const;

 private:
  const float* s;
  const size_t n;
  const double damping;
  std::vector<float> responsibility;
  std::vector<float> availability;
  std::vector<float> column_sums;  // of the support in the responsibilities
};

void Messages::update() {
  std::fill(column_sums.begin(), column_sums.end(), 0.0f);
  for (size_t i = 0; i < n; ++i) {
    update_responsibilities(&s[i * n], &availability[i * n], &responsibility[i * n],
                            column_sums.data(), i, n, damping);
  }
  for (size_t i = 0; i < n; ++i) {
    update_availabilities(&responsibility[i * n], column_sums.data(),
                          &availability[i * n], i, n, damping);
  }
}

// First of the largest in row i.
size_t Messages::choice(size_t i) const {
  const float* a = &availability[i * n];
  const float* r = &responsibility[i * n];
  size_t best = 0;
  for (size_t j = 1; j < n; ++j) {
    if (a[j] + r[j] > a[best] + r[best]) best = j;
  }
  return best;
}

// Which points were exemplars in the last iterations, kept as the iteration of each
// point's last yes and last no.
class Decisions {
 public:
  explicit Decisions(size_t points) : last_yes(points, kNever), last_no(points, kNever) {}

  // Takes note of all decisions of an iteration; returns the number of exemplars.
  int note(const Messages& messages, int iteration);

  // Whether every point was decided alike in the last `span` iterations. Iterations
  // before the first count as no.
  bool stable(int iteration, int span) const;

 private:
  static constexpr long long kNever = -1;
  std::vector<long long> last_yes;
  std::vector<long long> last_no;
};

int Decisions::note(const Messages& messages, int iteration) {
  int exemplars = 0;
  for (size_t i = 0; i < last_yes.size(); ++i) {
    if (messages.self_evidence(i) > 0.0f) {
      last_yes[i] = iteration;
      ++exemplars;
    } else {
      last_no[i] = iteration;
    }
  }
  return exemplars;
}

bool Decisions::stable(int iteration, int span) const {
  for (size_t i = 0; i < last_yes.size(); ++i) {
    const bool all_yes = iteration - last_no[i] >= span;
    const bool all_no = last_yes[i] == kNever || iteration - last_yes[i] >= span;
    if (!all_yes && !all_no) return false;
  }
  return true;
}

}  // namespace

// The exemplar of each point. Returns the number of points that are exemplars, 0 with
// `idx` untouched when there are none.
static int assign(const Messages& messages, int* idx, size_t n) {
  int exemplars = 0;
  for (size_t i = 0; i < n; ++i) {
    if (messages.self_evidence(i) > 0.0f) ++exemplars;
  }
  if (exemplars == 0) {
    std::puts(kNoExemplar);
    return 0;
  }
  for (size_t i = 0; i < n; ++i) idx[i] = static_cast<int>(messages.choice(i));
  return exemplars;
}

int AP::cluster(float* s, int* idx, int n) {
  if (n < 2) return 0;
  if (n > kNotablePoints) std::puts(kLargeRequest);
  const size_t points = static_cast<size_t>(n);

  const double self = preference * static_cast<double>(median_similarity(s, points));
  for (size_t i = 0; i < points; ++i) s[i * points + i] = static_cast<float>(self);

  Messages messages(s, points, dampfact);
  Decisions decisions(points);
  for (int iteration = 0;; ++iteration) {
    messages.update();
    const int exemplars = decisions.note(messages, iteration);
    // The numbers count from 0, so one iteration more than each limit runs.
    if (iteration < maxits && iteration < convits) continue;

    const bool converged = decisions.stable(iteration, convits);
    if (converged && exemplars > 0) return assign(messages, idx, points);
    if (iteration == maxits) {
      if (converged) return assign(messages, idx, points);
      std::puts(kNotConverged);
      return kNotConvergedResult;
    }
  }
}
