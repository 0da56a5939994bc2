#include "synthesis/plan.h"

#include <algorithm>
#include <array>

#include "base/errors.h"
#include "base/table.h"
#include "base/text.h"

namespace wgr {

static constexpr char kHeader[] = "t_start,t_end,what";
static constexpr int kTimeDecimals = 3;
static constexpr NumberRange kTimes = number_from(0, kLongestPlan);

// By Activity; the gestures come first.
static constexpr std::array<const char*, 10> kNames = {kGestureNames[0], kGestureNames[1],
                                                       kGestureNames[2], kGestureNames[3],
                                                       kGestureNames[4], "rest",
                                                       "walk",           "reach",
                                                       "fidget",         "type"};

static constexpr double kLeastRest = 2.0;  // s, around everything in a random plan
static constexpr double kMostRest = 3.5;
static constexpr double kLeastDistractor = 5.0;  // s
static constexpr double kMostDistractor = 15.0;
static constexpr double kShortestGesture = 0.5;  // s, in a script

std::optional<int> label_of(Activity what) {
  const int number = static_cast<int>(what);
  if (number < kGestures) return number;
  return std::nullopt;
}

static Activity random_distractor(Random& random) {
  static constexpr Activity kDistractors[] = {Activity::kWalk, Activity::kReach,
                                              Activity::kFidget, Activity::kType};
  return kDistractors[random.below(4)];
}

template <class T>
static void shuffle(std::vector<T>& items, Random& random) {
  for (size_t i = items.size(); i > 1; --i) {
    std::swap(items[i - 1],
              items[static_cast<size_t>(random.below(static_cast<int>(i)))]);
  }
}

// Times are kept to the millisecond, as a script holds them.
static double whole_ms(double seconds) {
  return static_cast<double>(static_cast<long long>(seconds * 1000.0 + 0.5)) / 1000.0;
}

Plan random_plan(const PlanOptions& options, const Person& person, Random& random) {
  std::vector<Activity> wanted;
  for (int i = 0; i < options.gestures * kGestures; ++i) {
    wanted.push_back(static_cast<Activity>(i % kGestures));
  }
  std::vector<double> lengths;
  for (const Activity what : wanted) {
    lengths.push_back(gesture_length(*label_of(what), person, random));
  }
  std::vector<size_t> order;
  for (size_t i = 0; i < wanted.size(); ++i) order.push_back(i);
  for (double left = options.distractors; left > 0.0;) {
    // A rest too short to be anything else is not worth an activity of its own.
    double length = std::min(left, random.uniform(kLeastDistractor, kMostDistractor));
    if (left - length < kLeastDistractor) length = left;
    order.push_back(wanted.size());
    wanted.push_back(random_distractor(random));
    lengths.push_back(length);
    left -= length;
  }
  shuffle(order, random);

  Plan plan;
  double t = 0.0;
  const auto append = [&](Activity what, double length) {
    const double end = whole_ms(t + length);
    plan.push_back({t, end, what});
    t = end;
  };
  for (const size_t i : order) {
    append(Activity::kRest, random.uniform(kLeastRest, kMostRest));
    append(wanted[i], lengths[i]);
  }
  append(Activity::kRest, kLeastRest);
  return plan;
}

Plan read_script(const std::string& path) {
  Plan plan;
  double t = 0.0;
  for (const TableRow& row : read_table(path, kHeader)) {
    const double begin = number_in(row, 0, path, kTimes);
    const double end = number_in(row, 1, path, kTimes);
    const auto name = std::find(kNames.begin(), kNames.end(), row.fields[2]);
    if (name == kNames.end()) {
      std::string names;
      for (const char* known : kNames) names += std::string(" ") + known;
      refuse_row(row, path, "the last field must be one of:" + names);
    }
    const Activity what = static_cast<Activity>(name - kNames.begin());
    if (begin < t) refuse_row(row, path, "starts before the line above it ends");
    if (!(end > begin)) refuse_row(row, path, "ends before it starts");
    if (begin > t) plan.push_back({t, begin, Activity::kRest});
    if (label_of(what)) {
      const bool rested = !plan.empty() && plan.back().what == Activity::kRest &&
                          plan.back().end - plan.back().begin >= kReadyTime;
      if (!rested) {
        refuse_row(row, path,
                   fmt::format("a gesture needs a rest of at least {:.1f} s before it",
                               kReadyTime));
      }
      if (end - begin < kShortestGesture) {
        refuse_row(row, path,
                   fmt::format("a gesture takes at least {:.1f} s", kShortestGesture));
      }
    }
    plan.push_back({begin, end, what});
    t = end;
  }
  if (plan.empty()) throw UsageError(path + ": holds no activity");
  return plan;
}

std::string script_text(const Plan& plan) {
  std::string text = std::string(kHeader) + "\n";
  for (const PlannedActivity& activity : plan) {
    text +=
        fmt::format("{:.{}f},{:.{}f},{}\n", activity.begin, kTimeDecimals, activity.end,
                    kTimeDecimals, kNames[static_cast<size_t>(activity.what)]);
  }
  return text;
}

}  // namespace wgr
