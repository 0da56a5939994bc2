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

// sin, cos and acos of two machines may differ in the last bit. What lies behind them has
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

namespace {

struct Tally {
  int streams[kExactStages + 2] = {};  // that differ first at a stage
  double largest = 0.0;                // tolerated difference
  double largest_score = 0.0;
  size_t recognitions = 0;
};

}  // namespace

static constexpr int kStageRecognition = kExactStages;
static constexpr int kStageInterface = kExactStages + 1;

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
      std::fprintf(out, i < 3 ? "%.0f " : i == 5 ? "%.9g " : "%.13g ", values[i]);
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

// The first stage that differs, or -1.
static int compare(std::FILE* out, int index, const GoldenOutcome& outcome,
                   Tally& tally) {
  const char* text = kRecorded[index];
  char* rest = nullptr;
  int first = -1;
  for (int stage = 0; stage < kExactStages; ++stage) {
    const uint64_t recorded = std::strtoull(text, &rest, 16);
    text = rest;
    if (recorded != outcome.digests[static_cast<size_t>(stage)] && first < 0)
      first = stage;
  }
  if (first >= 0) {
    std::fprintf(out, "stream %3d: differs at stage %s\n", index,
                 kGoldenStageNames[first]);
  }
  static constexpr const char* kNames[kNumbers] = {
      "sample", "class",     "points",    "cost time",  "strength",
      "score",  "gravity.x", "gravity.z", "position.x", "position.z"};
  for (const GoldenRecognition& r : outcome.recognitions) {
    const auto values = numbers(r);
    for (size_t i = 0; i < kNumbers; ++i) {
      const double recorded = std::strtod(text, &rest);
      const bool missing = rest == text;
      text = rest;
      const double off = missing ? HUGE_VAL : difference(values[i], recorded);
      const double allowed = i < 3 ? 0.0 : i == 5 ? kScoreTolerance : kTolerance;
      double& largest = i == 5 ? tally.largest_score : tally.largest;
      if (off <= allowed) {
        largest = std::max(largest, off);
      } else {
        if (first < 0) first = kStageRecognition;
        std::fprintf(out,
                     "stream %3d: recognition at sample %d: %s is %.13g, not %.13g\n",
                     index, r.sample, kNames[i], values[i], recorded);
        break;
      }
    }
    ++tally.recognitions;
  }
  std::strtod(text, &rest);
  if (rest != text) {
    if (first < 0) first = kStageRecognition;
    std::fprintf(out, "stream %3d: a recognition is missing\n", index);
  }
  if (!outcome.interface_difference.empty()) {
    if (first < 0) first = kStageInterface;
    std::fprintf(out, "stream %3d: %s\n", index, outcome.interface_difference.c_str());
  }
  return first;
}

int self_check(bool record) {
  // The library prints its progress; only the report is to be seen.
  separate_results(LibraryPrints::kNowhere);
  std::FILE* const out = results();
  Tally tally;
  int differing = 0;
  for (int index = 0; index < kGoldenStreams; ++index) {
    const GoldenOutcome outcome = golden_outcome(index);
    if (record) {
      print_outcome(out, outcome);
      continue;
    }
    if (index >= kRecordedStreams) {
      std::fprintf(out, "stream %3d: not recorded\n", index);
      ++differing;
      continue;
    }
    const int first = compare(out, index, outcome, tally);
    if (first < 0) continue;
    ++tally.streams[first];
    ++differing;
  }
  if (record) return 0;

  std::fprintf(out, "%d streams, %zu recognitions; %d streams differ\n", kGoldenStreams,
               tally.recognitions, differing);
  for (int s = 0; s < kExactStages + 2; ++s) {
    std::fprintf(out, "  first at %-15s %d\n",
                 s < kExactStages         ? kGoldenStageNames[s]
                 : s == kStageRecognition ? "recognition"
                                          : "interface",
                 tally.streams[s]);
  }
  std::fprintf(out, "behind sin, cos and acos: values within %.2g, scores within %.2g\n",
               tally.largest, tally.largest_score);
  return differing == 0 ? 0 : 1;
}

}  // namespace wgr
