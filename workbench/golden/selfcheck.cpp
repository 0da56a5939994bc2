#include "golden/selfcheck.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "golden/outcome.h"
#include "output/standard_output.h"

namespace wgr {

// sin, cos and acos of two machines may differ in the last bit. What follows them has
// been seen to differ by less than a hundredth of this, relative to the value or to 1
// where that is more; the score is rounded to a float besides.
static constexpr double kTolerance = 1e-9;
static constexpr double kScoreTolerance = 3e-7;

// One string a stream: the digests, then each recognition's ten numbers.
static const char* const kRecorded[] = {
#include "golden/recorded.inc"
};
static constexpr int kRecordedStreams = sizeof kRecorded / sizeof *kRecorded;
static constexpr size_t kNumbers = 10;

static constexpr size_t kScore = 5;      // of the numbers
static constexpr size_t kExactOnes = 3;  // the first of them

const char* name_of_stage(int stage) {
  return stage < kExactStages         ? kGoldenStageNames[stage]
         : stage == kStageRecognition ? "recognition"
                                      : "interface";
}

static std::array<double, kNumbers> numbers(const GoldenRecognition& r) {
  return {static_cast<double>(r.sample),
          static_cast<double>(r.gesture),
          static_cast<double>(r.points),
          r.cost_time,
          r.strength,
          r.score,
          r.gravity.x,
          r.gravity.z,
          r.position.x,
          r.position.z};
}

static void print_outcome(std::FILE* out, const GoldenOutcome& outcome) {
  std::fputc('"', out);
  for (const uint64_t digest : outcome.digests)
    std::fprintf(out, "%016" PRIx64 " ", digest);
  for (const GoldenRecognition& r : outcome.recognitions) {
    std::fputs("\"\n\"", out);
    const auto values = numbers(r);
    for (size_t i = 0; i < kNumbers; ++i) {
      std::fprintf(out,
                   i < kExactOnes ? "%.0f "
                   : i == kScore  ? "%.9g "
                                  : "%.13g ",
                   values[i]);
    }
  }
  std::fputs("\",\n", out);
}

// Relative difference, or absolute for values below 1; 0 for two that are not numbers.
static double difference(double value, double recorded) {
  if (std::isnan(value) || std::isnan(recorded)) {
    return std::isnan(value) && std::isnan(recorded) ? 0.0 : HUGE_VAL;
  }
  return std::fabs(value - recorded) / std::max(1.0, std::fabs(recorded));
}

namespace {

// Compares one stream; keeps what differs, and at which stage first.
class Comparison {
 public:
  Comparison(int stream, SelfCheck& check)
      : stream_(stream), text_(kRecorded[stream]), check_(check) {}

  void compare(const GoldenOutcome& outcome) {
    compare_digests(outcome);
    for (const GoldenRecognition& r : outcome.recognitions) compare_numbers(r);
    char* rest = nullptr;
    std::strtod(text_, &rest);
    if (rest != text_) differs(kStageRecognition, "a recognition is missing");
    if (!outcome.interface_difference.empty()) {
      differs(kStageInterface, outcome.interface_difference);
    }
    if (first_ >= 0) ++check_.first_at[static_cast<size_t>(first_)];
    check_.differing += first_ >= 0 ? 1 : 0;
  }

 private:
  void differs(int stage, const std::string& what) {
    if (first_ < 0) first_ = stage;
    check_.differences.push_back({stream_, what});
  }

  void compare_digests(const GoldenOutcome& outcome) {
    int first = -1;
    for (int stage = 0; stage < kExactStages; ++stage) {
      char* rest = nullptr;
      const uint64_t recorded = std::strtoull(text_, &rest, 16);
      text_ = rest;
      const bool same = recorded == outcome.digests[static_cast<size_t>(stage)];
      if (!same && first < 0) first = stage;
    }
    if (first >= 0) {
      differs(first, std::string("differs at stage ") + kGoldenStageNames[first]);
    }
  }

  void compare_numbers(const GoldenRecognition& r) {
    static constexpr const char* kNames[kNumbers] = {
        "sample", "class",     "points",    "cost time",  "strength",
        "score",  "gravity.x", "gravity.z", "position.x", "position.z"};
    ++check_.recognitions;
    const auto values = numbers(r);
    bool same = true;  // so far; of what differs the first is reported
    for (size_t i = 0; i < kNumbers; ++i) {
      char* rest = nullptr;
      const double recorded = std::strtod(text_, &rest);
      const double off = rest == text_ ? HUGE_VAL : difference(values[i], recorded);
      text_ = rest;
      const double allowed = i < kExactOnes ? 0.0
                             : i == kScore  ? kScoreTolerance
                                            : kTolerance;
      const bool within = off <= allowed;
      if (same && !within) {
        char what[200];
        std::snprintf(what, sizeof what,
                      "recognition at sample %d: %s is %.13g, not %.13g", r.sample,
                      kNames[i], values[i], recorded);
        differs(kStageRecognition, what);
      }
      same = same && within;
      if (!within) continue;
      double& largest = i == kScore ? check_.largest_score : check_.largest;
      largest = std::max(largest, off);
    }
  }

  const int stream_;
  const char* text_;  // what is recorded and not compared yet
  SelfCheck& check_;
  int first_ = -1;  // stage that differs
};

}  // namespace

SelfCheck self_check() {
  separate_results(LibraryPrints::kNowhere);
  SelfCheck check;
  check.streams = kGoldenStreams;
  for (int index = 0; index < kGoldenStreams; ++index) {
    if (index < kRecordedStreams) {
      Comparison(index, check).compare(golden_outcome(index));
    } else {
      check.differences.push_back({index, "not recorded"});
      ++check.differing;
    }
  }
  return check;
}

int print_self_check(const SelfCheck& check) {
  std::FILE* const out = results();
  for (const StreamDifference& d : check.differences) {
    std::fprintf(out, "stream %3d: %s\n", d.stream, d.what.c_str());
  }
  std::fprintf(out, "%d streams, %zu recognitions; %d streams differ\n", check.streams,
               check.recognitions, check.differing);
  for (int stage = 0; stage < kComparedStages; ++stage) {
    std::fprintf(out, "  first at %-15s %d\n", name_of_stage(stage),
                 check.first_at[static_cast<size_t>(stage)]);
  }
  std::fprintf(out, "after sin, cos and acos: values within %.2g, scores within %.2g\n",
               check.largest, check.largest_score);
  return check.differing == 0 ? 0 : 1;
}

void print_golden_record() {
  separate_results(LibraryPrints::kNowhere);
  for (int index = 0; index < kGoldenStreams; ++index) {
    print_outcome(results(), golden_outcome(index));
  }
}

}  // namespace wgr
