// What a diagnostic log shows: handles that were made, samples, gestures, damage.
//
// The log has no times. What it has is two lines a sample pair, so with the nominal rate
// samples become time, and with the time that the log covers they become the true rate.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wgr {

using Count = unsigned long long;

// Counts of the engine's answers. Classes beyond the first `kMostClasses` different ones,
// which no model has, are counted together.
struct Answers {
  static constexpr size_t kMostClasses = 100;

  std::map<int, Count> gestures;  // reported as they stand, by class
  Count other_gestures = 0;
  Count rejected = 0;    // class 13: strong, but resembles no template; reported as 5
  Count too_weak = 0;    // compared, and answered with 14
  Count unreported = 0;  // compared, and answered with 6

  void add(int answer, bool compared);
  void add(const Answers& more);
  Count reported() const;  // gestures, without the rejected
};

// From one handle's making to the next, or to the end.
struct LoggedHostRun {
  std::string file;  // where it begins
  size_t line = 0;
  bool from_before = false;  // the log begins in its middle
  bool ready = false;        // the handle was made to its end
  bool no_model = false;     // the process ended for want of the default model
  Count samples = 0;         // pairs that the library took
  Count unanswered = 0;      // pairs without the line that ends them
  Count inits = 0;           // calls of init_gesture_handle()
  Count model_changes = 0;
  std::string model;   // the last one chosen, as "wearer 1, mode 2"; empty: the default
  Count compared = 0;  // motions that were long enough
  Count compared_empty = 0;  // of these, with a model without templates
  Answers answers;
};

// A line that the library did not write, or not in whole.
struct OddLine {
  std::string file;
  size_t line;
  bool torn;         // part of a line of the library's
  std::string text;  // its beginning, fit for a terminal
};

struct LogTotals {
  static constexpr size_t kMostOddLines = 20;  // that are kept

  Count bytes = 0;
  Count lines = 0;
  Count host_runs = 0;
  Count restarts = 0;  // handles that were made after another one in the log
  Count no_model = 0;
  Count unfinished = 0;  // host runs whose handle was never ready
  Count samples = 0;
  Count unanswered = 0;
  Count model_changes = 0;
  Count compared = 0;
  Count compared_empty = 0;
  Answers answers;
  Count foreign = 0;
  Count torn = 0;
  std::vector<OddLine> odd_lines;  // the first ones
  std::vector<std::pair<Count, Answers>>
      hours;  // samples and answers, when a rate is set
};

// Reads line by line; its memory does not grow with the log, except by the hours.
class LogReading {
 public:
  // With a rate (samples per second) answers are counted by hour of samples too.
  explicit LogReading(std::optional<double> rate);

  // `ended` is false for a last line without a line break, `cut` true for one that is
  // longer than `text`.
  void add(const std::string& file, size_t number, std::string_view text, bool ended,
           bool cut);

  // The host run that was closed by the last line added, once.
  std::optional<LoggedHostRun> take_closed();

  // Closes the last host run.
  void finish();

  const LogTotals& totals() const { return totals_; }
  LogTotals& totals() { return totals_; }

 private:
  LoggedHostRun& host_run();
  void close_host_run();
  void odd(std::string_view text, bool torn);
  void answer(int value);
  bool comparison(std::string_view text);
  bool model_change(std::string_view text);
  void begin_host_run();
  bool other_line(std::string_view text);
  Answers& this_hour();

  const std::optional<double> rate_;
  LogTotals totals_;
  std::optional<LoggedHostRun> open_;
  std::optional<LoggedHostRun> closed_;
  bool updating_ = false;  // a pair was begun and is not answered yet
  bool compared_ = false;  // it ended a motion that was compared
  std::string file_;
  size_t number_ = 0;
};

}  // namespace wgr
