// What came out of a recording: the events as they happen, then a summary.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <map>
#include <optional>
#include <string>

#include "host/session.h"
#include "recording/clock.h"

// Everything the summary tells, counted sample by sample.
struct Totals {
  explicit Totals(int samples_per_second)
      : rate(samples_per_second), clock(samples_per_second) {}

  double seconds() const { return static_cast<double>(samples) / rate; }

  // The wrist that the detector named more than twice as often as the other: 0 or 1;
  // 2 when it named neither so clearly.
  int wearer() const;

  int rate;  // samples per second
  size_t samples = 0;
  size_t samples_at_rest = 0;
  std::map<int, size_t> events;               // how many of each class
  std::array<size_t, 3> wearer_answers = {};  // left, right, undecided
  Clock clock;
  std::string absent_axes;  // axes with empty fields
  size_t absent_fields = 0;
  double elapsed_seconds = 0.0;  // that the run took
};

// Writes to a stream that the library does not print to. Each event is flushed.
class Report {
 public:
  virtual ~Report() = default;
  virtual void start() {}
  virtual void event(const GestureEvent& event) = 0;
  virtual void summary(const Totals& totals) = 0;
};

// Aligned columns for people.
class TextReport : public Report {
 public:
  explicit TextReport(std::FILE* out) : out_(out) {}
  void start() override;
  void event(const GestureEvent& event) override;
  void summary(const Totals& totals) override;

 private:
  std::FILE* const out_;
};

// One JSON object a line: the events, then the summary.
class JsonReport : public Report {
 public:
  explicit JsonReport(std::FILE* out) : out_(out) {}
  void event(const GestureEvent& event) override;
  void summary(const Totals& totals) override;

 private:
  std::FILE* const out_;
};
