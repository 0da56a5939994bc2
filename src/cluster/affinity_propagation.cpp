#include "cluster/affinity_propagation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "base/cpu_dispatch.h"
#include "base/exact_arithmetic.h"
#include "base/vectors.h"
#include "cluster/vmedian.h"

namespace wgr {

static constexpr float kLowest = std::numeric_limits<float>::lowest();

// n * n, where the similarities of one point to another can be counted by an int.
static size_t square(size_t n) {
  if (n - 1 > static_cast<size_t>(std::numeric_limits<int>::max()) / n) {
    throw std::bad_alloc();
  }
  return n * n;
}

// The lower median of all similarities of one point to another, selected in `space`,
// which has room for all.
static float median_similarity(const float* s, size_t n, float* space) {
  float* end = space;
  for (size_t i = 0; i < n; ++i) {
    const float* const row = s + i * n;
    end = std::copy(row, row + i, end);
    end = std::copy(row + i + 1, row + n, end);
  }
  return vmedian(space, static_cast<int>(end - space));
}

// The difference is rounded to float, the product and the sum are not.
WGR_INLINE float damped(float fresh, float old, double lambda) {
  return static_cast<float>(static_cast<double>(fresh) +
                            static_cast<double>(old - fresh) * lambda);
}

// The value, or zero. A condition would become a branch, and a loop with a branch is not
// vectorised.
WGR_INLINE float kept(float value, bool keep) {
  std::uint32_t bits;
  static_assert(sizeof bits == sizeof value);
  std::memcpy(&bits, &value, sizeof bits);
  bits &= -static_cast<std::uint32_t>(keep);
  std::memcpy(&value, &bits, sizeof bits);
  return value;
}

// What a responsibility adds to its column: only support counts, except for the point's
// own.
WGR_INLINE float support(float responsibility) {
  return kept(responsibility, responsibility > 0.0f);
}

namespace {

// One point's similarities and messages.
struct Row {
  const float* s;
  float* r;
  float* a;
  size_t own;              // the point's number
  float own_availability;  // the next
};

// The sums of support in the columns of the responsibilities.
struct Columns {
  size_t count;
  const float* last_sums;
  float* sums;
};

// The largest entry of a row, its column (the first of equals), and the largest of the
// others. Values that do not compare are skipped.
struct TopTwo {
  float first;
  float second;
  size_t column;
};

// The same in each lane, of every so many columns.
template <size_t kLanes>
struct Tops {
  typename Vectors<kLanes>::Floats first;
  typename Vectors<kLanes>::Floats second;
  typename Vectors<kLanes>::Ints column;
};

}  // namespace

// The availabilities of a point.
WGR_INLINE void update_availabilities(const Row& row, const Columns& columns,
                                      double damping) {
  const float* const __restrict r = row.r;
  float* const __restrict a = row.a;
  for (size_t j = 0; j < columns.count; ++j) {
    const float fresh = columns.last_sums[j] - support(r[j]);
    a[j] = damped(kept(fresh, !(fresh >= 0.0f)), a[j], damping);
  }
  a[row.own] = row.own_availability;
}

// The responsibilities of a point, and what they add to the columns' sums. `top` is of
// the sums a + s: the one in its column is compared with the next to it.
WGR_INLINE void update_responsibilities(const Row& row, const TopTwo& top,
                                        const Columns& columns, double damping) {
  const float* const __restrict s = row.s;
  float* const __restrict r = row.r;
  float* const __restrict sums = columns.sums;
  const float chosen = damped(s[top.column] - top.second, r[top.column], damping);
  const float chosen_sum = sums[top.column] + support(chosen);
  const float own_sum = sums[row.own];
  for (size_t j = 0; j < columns.count; ++j) {
    r[j] = damped(s[j] - top.first, r[j], damping);
    sums[j] += support(r[j]);
  }
  r[top.column] = chosen;
  sums[top.column] = chosen_sum;
  sums[row.own] = own_sum + r[row.own];
}

// Takes the entries a + s of as many columns as a vector has floats.
template <size_t kLanes>
WGR_INLINE void take(const float* a, const float* s,
                     const typename Vectors<kLanes>::Ints& columns, Tops<kLanes>& top) {
  typename Vectors<kLanes>::Floats value, other;
  load(a, value);
  load(s, other);
  value += other;
  const auto less = value > top.second ? value : top.second;
  top.second = value > top.first ? top.first : less;
  top.column = value > top.first ? columns : top.column;
  top.first = value > top.first ? value : top.first;
}

WGR_INLINE void take(const TopTwo& other, TopTwo& top) {
  const bool earlier_equal = other.first == top.first && other.column < top.column;
  if (other.first > top.first || earlier_equal) {
    top = {other.first, std::max(top.first, other.second), other.column};
  } else if (other.first > top.second) {
    top.second = other.first;
  }
}

template <size_t kLanes>
WGR_INLINE void take(const Tops<kLanes>& others, TopTwo& top) {
  constexpr size_t kFloats = sizeof others.first / sizeof(float);
  float first[kFloats], second[kFloats];
  int column[kFloats];
  store(others.first, first);
  store(others.second, second);
  store(others.column, column);
  for (size_t lane = 0; lane < kFloats; ++lane) {
    take({first[lane], second[lane], static_cast<size_t>(column[lane])}, top);
  }
}

// Of the n entries a + s.
template <size_t kLanes>
WGR_INLINE TopTwo top_two(const float* a, const float* s, size_t n) {
  constexpr float kNone = -std::numeric_limits<float>::infinity();
  constexpr size_t kFloats = sizeof(typename Vectors<kLanes>::Floats) / sizeof(float);
  int numbers[kFloats];
  for (size_t lane = 0; lane < kFloats; ++lane) numbers[lane] = static_cast<int>(lane);
  typename Vectors<kLanes>::Ints columns;
  load(numbers, columns);
  // Two that do not depend on each other.
  Tops<kLanes> even = {{}, {}, {}};
  even.first += kNone;
  even.second += kNone;
  Tops<kLanes> odd = even;
  size_t j = 0;
  for (; j + 2 * kFloats <= n; j += 2 * kFloats) {
    take(a + j, s + j, columns, even);
    columns += static_cast<int>(kFloats);
    take(a + j + kFloats, s + j + kFloats, columns, odd);
    columns += static_cast<int>(kFloats);
  }
  TopTwo top = {kNone, kNone, 0};
  take(even, top);
  take(odd, top);
  for (; j < n; ++j) take({a[j] + s[j], kNone, j}, top);

  const float start = a[0] + s[0];
  // Nothing compares as larger than a first entry that is not a number.
  return std::isnan(start) ? TopTwo{start, top.first, 0} : top;
}

// Both messages of a point: the availabilities that follow from the last
// responsibilities, and the responsibilities that follow from those. So every matrix is
// read once an iteration.
template <size_t kLanes>
WGR_INLINE void update(const Row& row, const Columns& columns, double damping) {
  update_availabilities(row, columns, damping);
  TopTwo top = top_two<kLanes>(row.a, row.s, columns.count);
  top.second = std::max(top.second, kLowest);
  update_responsibilities(row, top, columns, damping);
}

using Update = void (*)(const Row&, const Columns&, double damping);

#ifdef WGR_WIDER_VECTORS
WGR_FOR_EIGHT_LANES static void update_by_eight(const Row& row, const Columns& columns,
                                                double damping) {
  update<8>(row, columns, damping);
}
WGR_FOR_FOUR_LANES static void update_by_four(const Row& row, const Columns& columns,
                                              double damping) {
  update<4>(row, columns, damping);
}
#endif
static void update_by_least(const Row& row, const Columns& columns, double damping) {
  update<kLeastLanes>(row, columns, damping);
}

static Update choose_update() {
#ifdef WGR_WIDER_VECTORS
  if (lanes_of_cpu() == 8) return update_by_eight;
  if (lanes_of_cpu() == 4) return update_by_four;
#endif
  return update_by_least;
}

namespace {

// The messages between all points, n x n, row-major: how well j suits i as its
// exemplar (responsibility), and how appropriate it would be for i to choose j
// (availability). The availabilities lag behind: only those of the points to themselves
// are known before the next responsibilities are computed.
class Messages {
 public:
  // `space` has n * n entries; what they hold is lost.
  Messages(const float* similarities, size_t points, double lambda,
           std::vector<float> space)
      : s(similarities),
        n(points),
        damping(lambda),
        responsibility(std::move(space)),
        availability(n * n),
        column_sums(n),
        last_sums(n),
        own_responsibility(n),
        own_availability(n) {
    std::fill(responsibility.begin(), responsibility.end(), 0.0f);
  }

  void update();

  // Evidence that the point is an exemplar; positive: it is.
  float self_evidence(size_t i) const {
    return own_availability[i] + own_responsibility[i];
  }

  // The point that each chooses by the messages so far; they are not updated after that.
  void choose(int* idx);

 private:
  Row row(size_t i) {
    return {s + i * n, &responsibility[i * n], &availability[i * n], i,
            own_availability[i]};
  }

  const float* s;
  const size_t n;
  const double damping;
  std::vector<float> responsibility;
  std::vector<float> availability;
  std::vector<float> column_sums;  // of the support in the responsibilities
  std::vector<float> last_sums;
  std::vector<float> own_responsibility;
  std::vector<float> own_availability;
};

void Messages::update() {
  static const Update update_row = choose_update();
  column_sums.swap(last_sums);
  std::fill(column_sums.begin(), column_sums.end(), 0.0f);
  const Columns columns = {n, last_sums.data(), column_sums.data()};
  for (size_t i = 0; i < n; ++i) {
    update_row(row(i), columns, damping);
    own_responsibility[i] = responsibility[i * n + i];
  }
  for (size_t i = 0; i < n; ++i) {
    const float fresh = column_sums[i] - own_responsibility[i];
    own_availability[i] = damped(fresh, own_availability[i], damping);
  }
}

// First of the largest in each row.
void Messages::choose(int* idx) {
  for (size_t i = 0; i < n; ++i) {
    const Row point = row(i);
    update_availabilities(point, {n, column_sums.data(), nullptr}, damping);
    idx[i] = static_cast<int>(top_two<kLeastLanes>(point.a, point.r, n).column);
  }
}

// Which points were exemplars in the last iterations, kept as the iteration of each
// point's last yes and last no.
class Decisions {
 public:
  explicit Decisions(size_t points) : last_yes(points, kNever), last_no(points, kNever) {}

  // Records all decisions of an iteration; returns the number of exemplars.
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

int affinity_propagation(const AffinityPropagation& given, float* s, int* idx, int n) {
  if (n < 2) return 0;
  const size_t points = static_cast<size_t>(n);

  std::vector<float> space(square(points));
  const double self =
      given.preference * static_cast<double>(median_similarity(s, points, space.data()));
  for (size_t i = 0; i < points; ++i) s[i * points + i] = static_cast<float>(self);

  Messages messages(s, points, given.damping, std::move(space));
  Decisions decisions(points);
  for (int iteration = 0;; ++iteration) {
    messages.update();
    const int exemplars = decisions.note(messages, iteration);
    // The numbers count from 0, so one iteration more than each limit runs.
    if (iteration < given.iterations && iteration < given.stable_iterations) continue;

    const bool last = iteration == given.iterations;
    if (decisions.stable(iteration, given.stable_iterations) && (exemplars > 0 || last)) {
      if (exemplars > 0) messages.choose(idx);
      return exemplars;
    }
    if (last) return kNotConverged;
  }
}

}  // namespace wgr
