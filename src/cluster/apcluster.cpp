#include "cluster/apcluster.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

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
static float damped(float fresh, float old, double lambda) {
  return static_cast<float>(static_cast<double>(fresh) +
                            static_cast<double>(old - fresh) * lambda);
}

// Column of a row's largest entry; the first of equals.
static size_t largest(const float* row, size_t n) {
  size_t best = 0;
  for (size_t j = 1; j < n; ++j) {
    if (row[j] > row[best]) best = j;
  }
  return best;
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
        row(n),
        column_sums(n) {}

  void update_responsibilities();
  void update_availabilities();

  // Evidence that the point is an exemplar; positive: it is.
  float self_evidence(size_t i) const {
    return availability[i * n + i] + responsibility[i * n + i];
  }

  // The point that i chooses by the present messages.
  size_t choice(size_t i);

 private:
  const float* s;
  const size_t n;
  const double damping;
  std::vector<float> responsibility;
  std::vector<float> availability;
  std::vector<float> row;          // scratch
  std::vector<float> column_sums;  // scratch
};

void Messages::update_responsibilities() {
  for (size_t i = 0; i < n; ++i) {
    const float* s_row = &s[i * n];
    const float* a_row = &availability[i * n];
    float* r_row = &responsibility[i * n];

    for (size_t j = 0; j < n; ++j) row[j] = a_row[j] + s_row[j];
    const size_t first = largest(row.data(), n);
    const float first_value = row[first];
    row[first] = kLowest;
    const float second_value = row[largest(row.data(), n)];

    for (size_t j = 0; j < n; ++j) {
      const float rival = j == first ? second_value : first_value;
      r_row[j] = damped(s_row[j] - rival, r_row[j], damping);
    }
  }
}

// What a responsibility adds to its column: only support counts, but for the point's
// own.
static float support(float responsibility, bool own) {
  return own || responsibility > 0.0f ? responsibility : 0.0f;
}

void Messages::update_availabilities() {
  std::fill(column_sums.begin(), column_sums.end(), 0.0f);
  for (size_t i = 0; i < n; ++i) {
    const float* r_row = &responsibility[i * n];
    for (size_t j = 0; j < n; ++j) column_sums[j] += support(r_row[j], i == j);
  }
  for (size_t i = 0; i < n; ++i) {
    const float* r_row = &responsibility[i * n];
    float* a_row = &availability[i * n];
    for (size_t j = 0; j < n; ++j) {
      float fresh = column_sums[j] - support(r_row[j], i == j);
      if (i != j && fresh >= 0.0f) fresh = 0.0f;
      a_row[j] = damped(fresh, a_row[j], damping);
    }
  }
}

size_t Messages::choice(size_t i) {
  for (size_t j = 0; j < n; ++j) {
    row[j] = availability[i * n + j] + responsibility[i * n + j];
  }
  return largest(row.data(), n);
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
static int assign(Messages& messages, int* idx, size_t n) {
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
    messages.update_responsibilities();
    messages.update_availabilities();
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
