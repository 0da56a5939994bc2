#include "logfile/log_reading.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "base/foreign_text.h"
#include "base/text.h"
#include "context/WgrLog.h"

namespace wgr {

static constexpr double kSecondsPerHour = 3600.0;
static constexpr size_t kLongestQuote = 60;  // bytes of an odd line

// Engine classes that are no labels.
static constexpr int kClassRejected = 13;
static constexpr int kClassNone = 14;
static constexpr int kClassUnreported = 6;

// A line of the log up to where its own values begin.
static std::string fixed_part(const WgrLogSite& site) {
  const std::string_view message = site.message;
  return fmt::format("{} {}: {}", site.function, site.tag,
                     message.substr(0, message.find('%')));
}

static const std::string kUpdate = fixed_part(kLogUpdateStart);
static const std::string kAnswer = fixed_part(kLogGestureType);
static const std::string kCompare = fixed_part(kLogPredict);
static const std::string kBegin = fixed_part(kLogContextStart);
static const std::string kReady = fixed_part(kLogContextEnd);
static const std::string kInit = fixed_part(kLogInitDone);
static const std::string kSetModel = fixed_part(kLogSetModel);
static const std::string kNoModel = fixed_part(kLogModelFailed);
static const std::string kDirectory = fixed_part(kLogEngineCwd);

// Lines that only show that the library reached them.
static const std::string kPlain[] = {
    fixed_part(kLogSetModelDone),  fixed_part(kLogEngineStart),
    fixed_part(kLogModelLoaded),   fixed_part(kLogEngineEnd),
    fixed_part(kLogDetectorStart), fixed_part(kLogDetectorGiven),
    fixed_part(kLogDetectorOwn),   fixed_part(kLogDetectorEnd),
};

static bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// Takes a number off the front of a text.
static bool take_number(std::string_view& text, int& value) {
  const auto [stop, error] =
      std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(stop - text.data()));
  return true;
}

static bool take(std::string_view& text, std::string_view start) {
  if (!starts_with(text, start)) return false;
  text.remove_prefix(start.size());
  return true;
}

void Answers::add(int answer, bool compared) {
  if (answer == kClassNone) {
    if (compared) ++too_weak;
  } else if (answer == kClassUnreported) {
    // The engine keeps this class until the next comparison.
    if (compared) ++unreported;
  } else if (answer == kClassRejected) {
    ++rejected;
  } else if (gestures.size() < kMostClasses || gestures.count(answer) > 0) {
    ++gestures[answer];
  } else {
    ++other_gestures;
  }
}

void Answers::add(const Answers& more) {
  for (const auto& [label, count] : more.gestures) {
    if (gestures.size() < kMostClasses || gestures.count(label) > 0) {
      gestures[label] += count;
    } else {
      other_gestures += count;
    }
  }
  other_gestures += more.other_gestures;
  rejected += more.rejected;
  too_weak += more.too_weak;
  unreported += more.unreported;
}

Count Answers::reported() const {
  Count sum = other_gestures;
  for (const auto& [label, count] : gestures) sum += count;
  return sum;
}

LogReading::LogReading(std::optional<double> rate) : rate_(rate) {}

// The host run that a line belongs to; lines before the first beginning are of one from
// before the log.
LoggedHostRun& LogReading::host_run() {
  if (!open_) {
    open_.emplace();
    open_->file = file_;
    open_->line = number_;
    open_->from_before = true;
    open_->ready = true;
  }
  return *open_;
}

void LogReading::close_host_run() {
  if (!open_) return;
  LoggedHostRun& run = *open_;
  if (updating_) ++run.unanswered;
  ++totals_.host_runs;
  if (run.no_model) ++totals_.no_model;
  if (!run.ready && !run.no_model) ++totals_.unfinished;
  totals_.samples += run.samples;
  totals_.unanswered += run.unanswered;
  totals_.model_changes += run.model_changes;
  totals_.compared += run.compared;
  totals_.compared_empty += run.compared_empty;
  totals_.answers.add(run.answers);
  closed_ = std::move(open_);
  open_.reset();
  updating_ = false;
  compared_ = false;
}

std::optional<LoggedHostRun> LogReading::take_closed() {
  std::optional<LoggedHostRun> taken = std::move(closed_);
  closed_.reset();
  return taken;
}

void LogReading::finish() { close_host_run(); }

void LogReading::odd(std::string_view text, bool torn) {
  ++(torn ? totals_.torn : totals_.foreign);
  if (totals_.odd_lines.size() < LogTotals::kMostOddLines) {
    totals_.odd_lines.push_back({file_, number_, torn, shortened(text, kLongestQuote)});
  }
}

Answers& LogReading::this_hour() {
  // Host runs follow each other without a pause: how long one lasted is not in the log.
  const double so_far =
      static_cast<double>(totals_.samples + (open_ ? open_->samples : 0));
  const double hour = std::floor(std::max(so_far - 1.0, 0.0) / *rate_ / kSecondsPerHour);
  const size_t index = static_cast<size_t>(hour);
  if (totals_.hours.size() <= index) totals_.hours.resize(index + 1);
  return totals_.hours[index].second;
}

void LogReading::answer(int value) {
  LoggedHostRun& run = host_run();
  if (!updating_) ++run.samples;  // its first line was lost, or is in an earlier file
  updating_ = false;
  run.answers.add(value, compared_);
  if (rate_) {
    this_hour().add(value, compared_);
    ++totals_.hours.back().first;
  }
  compared_ = false;
}

// Whether a line is a part of the library's: the beginning of one, or several joined.
static bool is_torn(std::string_view text) {
  if (text.empty()) return false;
  if (text.find('\0') != std::string_view::npos) return true;
  for (const std::string* line : {&kUpdate, &kAnswer, &kCompare, &kBegin, &kReady, &kInit,
                                  &kSetModel, &kNoModel, &kDirectory}) {
    if (starts_with(*line, text)) return true;
    if (text.find(*line) != std::string_view::npos) return true;
  }
  return std::any_of(std::begin(kPlain), std::end(kPlain), [&](const std::string& line) {
    return starts_with(line, text) || text.find(line) != std::string_view::npos;
  });
}

// The rest of a comparison's line; false when it is another.
bool LogReading::comparison(std::string_view text) {
  int templates = 0;
  int rest = 0;
  if (!take_number(text, templates) || !take(text, ", nclasses:") ||
      !take_number(text, rest) || !take(text, ", normalize:") ||
      !take_number(text, rest) || !take(text, ", havegravity:") ||
      !take_number(text, rest) || !text.empty()) {
    return false;
  }
  ++host_run().compared;
  if (templates == 0) ++host_run().compared_empty;
  compared_ = true;
  return true;
}

// The rest of a line about the model that was chosen; false when it is another.
bool LogReading::model_change(std::string_view text) {
  int wearer = 0;
  int mode = 0;
  if (!take_number(text, wearer) || !take(text, ", mode:") || !take_number(text, mode) ||
      !starts_with(text, ", path:")) {
    return false;
  }
  ++host_run().model_changes;
  host_run().model = fmt::format("wearer {}, mode {}", wearer, mode);
  return true;
}

void LogReading::begin_host_run() {
  if (open_) ++totals_.restarts;
  close_host_run();
  open_.emplace();
  open_->file = file_;
  open_->line = number_;
}

// Any line but the two of every sample; false when it is not the library's.
bool LogReading::other_line(std::string_view text) {
  if (take(text, kCompare)) return comparison(text);
  if (take(text, kSetModel)) return model_change(text);
  if (text == kBegin) {
    begin_host_run();
  } else if (text == kReady) {
    host_run().ready = true;
  } else if (text == kInit) {
    ++host_run().inits;
  } else if (starts_with(text, kNoModel)) {
    host_run().no_model = true;
  } else {
    return starts_with(text, kDirectory) ||
           std::find(std::begin(kPlain), std::end(kPlain), text) != std::end(kPlain);
  }
  return true;
}

void LogReading::add(const std::string& file, size_t number, std::string_view text,
                     bool ended, bool cut) {
  if (file.data() != file_.data() && file != file_) file_ = file;
  number_ = number;
  ++totals_.lines;
  if (!ended || cut) {
    odd(text, is_torn(text));
    return;
  }
  if (text == kUpdate) {
    LoggedHostRun& run = host_run();
    if (updating_) ++run.unanswered;
    ++run.samples;
    updating_ = true;
    compared_ = false;
    return;
  }
  if (starts_with(text, kAnswer)) {
    std::string_view value_text = text.substr(kAnswer.size());
    int value = 0;
    if (take_number(value_text, value) && value_text.empty()) {
      answer(value);
    } else {
      odd(text, true);
    }
    return;
  }
  if (!other_line(text)) odd(text, is_torn(text));
}

}  // namespace wgr
