// Diagnostic logs of any content, plain or packed.
//
// Lines and their counts are compared with a plain reading that has the whole log before
// it; the reader itself has to do with little memory.
#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "harness.h"
#include "limited_memory.h"
#include "logfile/line_stream.h"
#include "logfile/log_reading.h"
#include "places.h"
#include "reference_text.h"
#include "support/reference_lines.h"

using namespace wgr;

static const std::string kPath = std::string(kModelRootDirectory) + "/WgrLog.txt";
static constexpr std::size_t kMemory = 1
                                       << 20;  // bytes, most of them the reader's buffer
static constexpr std::size_t kMostLines = 10000;  // of packed ones, which can be millions
static constexpr std::size_t kMostContent = 1 << 16;  // bytes; a plain log has less
static constexpr double kRate = 0.001;  // samples per second: 3.6 make an hour

// ---- a plain reading ----------------------------------------------------------------

namespace {

enum class Kind {
  kBegin,
  kUpdate,
  kAnswer,
  kCompare,
  kModel,
  kInit,
  kNoModel,
  kReady,
  kOther,
  kOdd
};

struct Line {
  Kind kind;
  int value = 0;  // of an answer: the class; of a comparison: how many templates
};

struct Counts {
  Count host_runs = 0, restarts = 0, no_model = 0, unfinished = 0, samples = 0,
        unanswered = 0, inits = 0, model_changes = 0, compared = 0, compared_empty = 0,
        reported = 0, rejected = 0, too_weak = 0, unreported = 0, odd = 0;
};

}  // namespace

// The number that a text has at `at`, which moves behind it.
static std::optional<int> number_at(const std::string& text, std::size_t& at) {
  const std::size_t first = at;
  if (text[at] == '-') ++at;
  while (text[at] >= '0' && text[at] <= '9') ++at;
  const std::optional<double> value =
      reference::number_of(text.substr(first, at - first));
  if (!value || *value < -2147483648.0 || *value > 2147483647.0) return std::nullopt;
  return static_cast<int>(*value);
}

// The numbers of a text in which they stand where the pattern has a #; a * is any rest.
static std::optional<std::vector<int>> match(const std::string& text,
                                             const char* pattern) {
  std::vector<int> numbers;
  std::size_t at = 0;
  for (; *pattern != '\0' && *pattern != '*'; ++pattern) {
    if (*pattern == '#') {
      const std::optional<int> number = number_at(text, at);
      if (!number) return std::nullopt;
      numbers.push_back(*number);
    } else if (text[at] == *pattern) {
      ++at;
    } else {
      return std::nullopt;
    }
  }
  if (*pattern != '*' && at != text.size()) return std::nullopt;
  return numbers;
}

static const std::pair<const char*, Kind> kPatterns[] = {
    {"update_gesture 115: update_gesture start", Kind::kUpdate},
    {"update_gesture 123: ---gestype---:#", Kind::kAnswer},
    {"predict 336: nTemplate:#, nclasses:#, normalize:#, havegravity:#", Kind::kCompare},
    {"WgrContext 36: WgrConstruct start", Kind::kBegin},
    {"WgrContext 44: WgrConstruct end", Kind::kReady},
    {"init_gesture_handle 68: ---init_gesture_handle success", Kind::kInit},
    {"set_gesture_model 81: ---setmode----hand type:#, mode:#, path:*", Kind::kModel},
    {"AgGes 60: ERROR: load model failed! Path:*", Kind::kNoModel},
    {"set_gesture_model 87: ---set_hand_model success", Kind::kOther},
    {"AgGes 14: AgGes start", Kind::kOther},
    {"AgGes 40: *", Kind::kOther},
    {"AgGes 50: Load model success!", Kind::kOther},
    {"AgGes 70: AgGes end", Kind::kOther},
    {"WHD 623: WHD start", Kind::kOther},
    {"WHD 635: pp is NON NULL", Kind::kOther},
    {"WHD 647: pp is NON NULL", Kind::kOther},
    {"WHD 658: WHD end", Kind::kOther},
};

static Line line_of(const std::string& text, bool whole) {
  if (!whole) return {Kind::kOdd};
  for (const auto& [pattern, kind] : kPatterns) {
    const auto numbers = match(text, pattern);
    if (numbers) return {kind, numbers->empty() ? 0 : numbers->front()};
  }
  return {Kind::kOdd};
}

static std::vector<Line> lines_of(const std::string& content) {
  std::vector<std::string> texts = reference::split_lines(content);
  const bool ended = texts.back().empty();
  if (ended) texts.pop_back();
  std::vector<Line> lines;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    lines.push_back(line_of(texts[i], ended || i + 1 < texts.size()));
  }
  return lines;
}

static void count_answer(const Line& line, bool compared, Counts& counts) {
  if (line.value == 13) {
    ++counts.rejected;
  } else if (line.value != 14 && line.value != 6) {
    ++counts.reported;
  } else if (compared) {
    ++(line.value == 14 ? counts.too_weak : counts.unreported);
  }
}

// Lines of one host run, from its first on.
static void count_host_run(const std::vector<Line>& lines, Counts& counts) {
  const auto has = [&lines](Kind kind) {
    return std::any_of(lines.begin(), lines.end(),
                       [kind](const Line& line) { return line.kind == kind; });
  };
  // Only a line that says something of a host run makes one.
  if (!has(Kind::kBegin) && !has(Kind::kUpdate) && !has(Kind::kAnswer) &&
      !has(Kind::kCompare) && !has(Kind::kModel) && !has(Kind::kInit) &&
      !has(Kind::kNoModel) && !has(Kind::kReady)) {
    return;
  }
  ++counts.host_runs;
  if (has(Kind::kNoModel)) ++counts.no_model;
  // What the log begins with in its middle was ready before.
  if (has(Kind::kBegin) && !has(Kind::kReady) && !has(Kind::kNoModel))
    ++counts.unfinished;
  bool open = false;      // an update without its answer
  bool compared = false;  // since that update
  for (const Line& line : lines) {
    switch (line.kind) {
      case Kind::kUpdate:
        ++counts.samples;
        if (open) ++counts.unanswered;
        open = true;
        compared = false;
        break;
      case Kind::kAnswer:
        if (!open) ++counts.samples;
        count_answer(line, compared, counts);
        open = compared = false;
        break;
      case Kind::kCompare:
        ++counts.compared;
        if (line.value == 0) ++counts.compared_empty;
        compared = true;
        break;
      case Kind::kModel:
        ++counts.model_changes;
        break;
      case Kind::kInit:
        ++counts.inits;
        break;
      default:
        break;
    }
  }
  if (open) ++counts.unanswered;
}

static Counts plain_counts(const std::vector<Line>& lines) {
  Counts counts;
  std::vector<Line> host_run;
  for (const Line& line : lines) {
    if (line.kind == Kind::kOdd) ++counts.odd;
    if (line.kind == Kind::kBegin) {
      const Count before = counts.host_runs;
      count_host_run(host_run, counts);
      if (counts.host_runs > before) ++counts.restarts;
      host_run.clear();
    }
    host_run.push_back(line);
  }
  count_host_run(host_run, counts);
  return counts;
}

// ---- the reader ---------------------------------------------------------------------

namespace {

struct Sums {
  Count host_runs = 0, samples = 0, unanswered = 0, inits = 0, compared = 0, reported = 0;
};

}  // namespace

static void add(const LoggedHostRun& host_run, Sums& sums) {
  ++sums.host_runs;
  sums.samples += host_run.samples;
  sums.unanswered += host_run.unanswered;
  sums.inits += host_run.inits;
  sums.compared += host_run.compared;
  sums.reported += host_run.answers.reported();
}

// All lines into the reading; false when the packed data is broken.
static bool read(LogReading& reading, Sums& sums, std::string& content) {
  const LimitedMemory memory(kMemory);
  bool whole = true;
  try {
    LineStream lines(kPath);
    for (LineStream::Line line; lines.number() < kMostLines && lines.next(line);) {
      reading.add("log", lines.number(), line.text, line.ended, line.cut);
      if (const auto closed = reading.take_closed()) add(*closed, sums);
      require(line.text.size() <= 2 * LineStream::kMostKept + (1 << 18),
              "no line is longer than the buffer");
      if (content.size() + line.text.size() > kMostContent) continue;
      content += line.text;
      if (line.ended) content += '\n';
    }
  } catch (const ByteSourceError&) {
    whole = false;
  }
  reading.finish();
  if (const auto closed = reading.take_closed()) add(*closed, sums);
  return whole;
}

static void require_consistent(const LogTotals& totals, const Sums& sums) {
  require(sums.host_runs == totals.host_runs && sums.samples == totals.samples &&
              sums.unanswered == totals.unanswered && sums.compared == totals.compared &&
              sums.reported == totals.answers.reported(),
          "host runs add up to the totals");
  require(totals.unanswered <= totals.samples, "what is unanswered is a sample");
  require(totals.compared_empty <= totals.compared, "empty models are compared with");
  require(totals.no_model + totals.unfinished <= totals.host_runs,
          "a host run ends in one way");
  require(totals.answers.gestures.size() <= Answers::kMostClasses,
          "few classes are kept");
  require(totals.odd_lines.size() ==
              std::min<Count>(totals.foreign + totals.torn, LogTotals::kMostOddLines),
          "the first odd lines are kept");
  for (const OddLine& odd : totals.odd_lines) {
    require(odd.line >= 1 && odd.line <= totals.lines, "odd lines have numbers");
    require(reference::is_fit_for_terminal(odd.text), "odd lines are fit for a terminal");
  }
}

static void require_hours(const LogTotals& totals) {
  Count samples = 0;
  Answers answers;
  for (const auto& [count, in_hour] : totals.hours) {
    samples += count;
    answers.add(in_hour);
  }
  require(samples + totals.unanswered == totals.samples, "every answer has its hour");
  require(answers.reported() == totals.answers.reported() &&
              answers.rejected == totals.answers.rejected &&
              answers.too_weak == totals.answers.too_weak,
          "hours add up to the totals");
  require(totals.hours.size() <= totals.samples / 3 + 1, "there are few hours");
}

static void require_same(const LogTotals& totals, const Sums& sums,
                         const Counts& counts) {
  require(totals.host_runs == counts.host_runs && totals.restarts == counts.restarts,
          "the same host runs are found");
  require(totals.no_model == counts.no_model && totals.unfinished == counts.unfinished,
          "host runs end alike");
  require(totals.samples == counts.samples && totals.unanswered == counts.unanswered,
          "as many samples are counted");
  require(sums.inits == counts.inits && totals.model_changes == counts.model_changes,
          "as many calls are counted");
  require(totals.compared == counts.compared &&
              totals.compared_empty == counts.compared_empty,
          "as many comparisons are counted");
  const Answers& answers = totals.answers;
  require(answers.reported() == counts.reported && answers.rejected == counts.rejected &&
              answers.too_weak == counts.too_weak &&
              answers.unreported == counts.unreported,
          "answers are counted alike");
  require(totals.foreign + totals.torn == counts.odd, "as many lines are odd");
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(bytes, bytes + size);
  write_whole_file(kPath, text);
  LogReading reading(std::nullopt);
  Sums sums;
  std::string content;
  const bool whole = read(reading, sums, content);
  require_consistent(reading.totals(), sums);

  const bool packed = size >= 2 && bytes[0] == 0x1f && bytes[1] == 0x8b;
  require(whole || packed, "plain logs are read to their end");
  if (packed) return;  // they have no plain reading here
  const std::vector<Line> lines = lines_of(text);
  require(reading.totals().lines == lines.size(), "as many lines are read");
  require(content == text, "lines are handed over whole");
  require_same(reading.totals(), sums, plain_counts(lines));

  LogReading by_hour(kRate);
  Sums same_sums;
  std::string same_content;
  read(by_hour, same_sums, same_content);
  require_same(by_hour.totals(), same_sums, plain_counts(lines));
  require_hours(by_hour.totals());
}

static void prepare() {}

static const Registration registration("log_file", run, prepare);
