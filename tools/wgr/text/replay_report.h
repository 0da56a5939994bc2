// What came out of a recording: the events as they happen, then a summary.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>

#include "hostrun/host_run.h"
#include "hostrun/totals.h"

namespace wgr {

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

// The summary that JsonReport writes.
nlohmann::ordered_json summary_json(const Totals& totals);

// One JSON object a line: the events, then the summary.
class JsonReport : public Report {
 public:
  explicit JsonReport(std::FILE* out) : out_(out) {}
  void event(const GestureEvent& event) override;
  void summary(const Totals& totals) override;

 private:
  std::FILE* const out_;
};

}  // namespace wgr
