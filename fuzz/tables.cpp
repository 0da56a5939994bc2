// Tables of any content: labels, annotations, an index, a script, and which models to
// build.
//
// The first byte chooses which; the rest is the file. What is read, and the line that is
// refused, are those of a plain reading; what was read is written and read again.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/errors.h"
#include "base/table.h"
#include "base/text.h"
#include "explanation/expected.h"
#include "harness.h"
#include "places.h"
#include "reference_text.h"
#include "segmentation/annotations.h"
#include "segmentation/recording_set.h"
#include "synthesis/plan.h"

using namespace wgr;

static const std::string kRoot = kModelRootDirectory;
static const std::string kLabels = kRoot + "/labels/labels.csv";
static const std::string kIndex = kRoot + "/index/index.csv";
static const std::string kTable = kRoot + "/table.csv";
static const std::string kAgain = kRoot + "/again.csv";
static const char* const kRecordings[] = {"a.csv", "b/c.csv.gz", "b/\xC3\xA4, 1.csv"};
static constexpr char kLabelsHeader[] = "file,t_start,t_end,label";
static constexpr char kAnnotationsHeader[] = "t_start,t_end,label";
static constexpr int kMostLabel = 1000;
static constexpr double kLargestNumber = 1e9;  // of a label, which is a name beyond it
static constexpr int kTakenLabels[] = {5, 6, 13, 14};
static constexpr double kMostStamp = 1e13;    // s, either side of 0
static constexpr double kMostPlan = 36000.0;  // s
static constexpr double kMostRate = 100000.0;

// ---- what a reader says -------------------------------------------------------------

// What was read, or the message.
template <class T>
struct Answer {
  std::optional<T> read;
  std::string message;
};

template <class Reader>
static auto answer_of(const Reader& reader) -> Answer<decltype(reader())> {
  try {
    return {reader(), ""};
  } catch (const UsageError& error) {
    return {std::nullopt, error.what()};
  }
}

// Requires that the reader refuses a file just when a plain reading does, and names the
// same line; a plain reading's line is 0 when there is no fault, -1 for the whole file.
template <class T>
static void require_verdict(const Answer<T>& answer, const std::string& path, long line) {
  require(answer.read.has_value() == (line == 0), "the same tables are read");
  if (line == 0) return;
  require(answer.message.substr(0, path.size() + 1) == path + ":", "the file is named");
  if (line < 0) return;
  const std::string number = std::to_string(line) + ":";
  require(answer.message.substr(path.size() + 1, number.size()) == number,
          "the same line is refused");
}

static long first_line(const reference::Table& table) {
  return static_cast<long>(table.faulty_line);
}

// ---- rows ---------------------------------------------------------------------------

static void require_rows(const std::string& path, const reference::Table& expected,
                         const std::string& header, const std::string& also) {
  const auto answer = answer_of([&] { return read_table(path, header, also); });
  require_verdict(answer, path, first_line(expected));
  if (!answer.read) return;
  require(answer.read->size() == expected.rows.size(), "as many rows are read");
  for (std::size_t i = 0; i < expected.rows.size(); ++i) {
    const TableRow& row = (*answer.read)[i];
    require(row.line == expected.rows[i].line, "rows know their lines");
    require(row.fields == expected.rows[i].fields, "the same fields are read");
  }
}

// ---- labels -------------------------------------------------------------------------

// The time interval in two fields of a row; nothing when it is none.
static std::optional<std::pair<double, double>> times_in(const reference::Row& row,
                                                         std::size_t first) {
  const std::optional<double> begin = reference::number_of(row.fields[first]);
  const std::optional<double> end = reference::number_of(row.fields[first + 1]);
  if (!begin || !end || !(*begin < *end)) return std::nullopt;
  if (*begin < -kMostStamp || *end > kMostStamp) return std::nullopt;
  return std::make_pair(*begin, *end);
}

// Whether a word may be a label: a number of the range that nothing else is reported by,
// a name, or what says that there is no gesture.
static bool may_be_label(const std::string& word) {
  for (const char* const none : {"", "-1", "background", "negative"}) {
    if (word == none) return true;
  }
  const std::optional<double> number = reference::whole_number_of(word);
  if (!number || std::fabs(*number) > kLargestNumber) return true;
  return *number >= 0.0 && *number <= kMostLabel &&
         std::find(std::begin(kTakenLabels), std::end(kTakenLabels), *number) ==
             std::end(kTakenLabels);
}

struct Annotations {
  std::vector<Annotation> annotations;
  long faulty_line = 0;
};

static Annotations plain_annotations(const reference::Table& table, bool with_files) {
  const std::size_t first = with_files ? 1 : 0;
  Annotations result;
  // Rows are looked at when all have been read.
  result.faulty_line = first_line(table);
  if (result.faulty_line != 0) return result;
  for (const reference::Row& row : table.rows) {
    const auto times = times_in(row, first);
    const std::optional<double> label = reference::whole_number_of(row.fields[first + 2]);
    const bool nameless = with_files && row.fields[0].empty();
    if (nameless || !times || !label || *label < 0 || *label > kMostLabel) {
      result.faulty_line = static_cast<long>(row.line);
      return result;
    }
    result.annotations.push_back({with_files ? row.fields[0] : "", times->first,
                                  times->second, static_cast<int>(*label)});
  }
  return result;
}

static bool same(const Annotation& a, const Annotation& b) {
  return a.file == b.file && a.begin == b.begin && a.end == b.end && a.label == b.label;
}

static void require_same(const std::vector<Annotation>& a,
                         const std::vector<Annotation>& b) {
  require(std::equal(a.begin(), a.end(), b.begin(), b.end(), same),
          "the same annotations are read");
}

// Whether a file that is written to the millisecond holds the time.
static bool is_whole_ms(double t) {
  return reference::number_of(fmt::format("{:.3f}", t)) == t;
}

static void write_and_read_again(const std::vector<Annotation>& annotations) {
  std::vector<Annotation> kept;
  std::copy_if(annotations.begin(), annotations.end(), std::back_inserter(kept),
               [](const Annotation& annotation) {
                 return is_whole_ms(annotation.begin) && is_whole_ms(annotation.end);
               });
  write_whole_file(kAgain, labels_text(kept));
  require_same(read_labels(kAgain), kept);
}

static std::vector<std::string> parts_of(const std::string& path) {
  std::vector<std::string> parts;
  for (const std::filesystem::path& part : std::filesystem::path(path)) {
    parts.push_back(part.string());
  }
  return parts;
}

// With a file in each row, the rows of a recording are those whose file its path ends in.
static bool is_of(const std::string& recording, const std::string& file) {
  std::vector<std::string> tail = parts_of(recording);
  const std::vector<std::string> parts = parts_of(file);
  if (parts.size() > tail.size()) return false;
  tail.erase(tail.begin(), tail.end() - static_cast<long>(parts.size()));
  return tail == parts;
}

static void read_what_is_expected(const std::string& path, const std::string& content) {
  const std::size_t mark = content.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
  const std::string header(kAnnotationsHeader);
  const bool with_files = content.substr(mark, header.size()) != header;
  const Annotations annotations = plain_annotations(
      reference::table_of(content, with_files ? kLabelsHeader : kAnnotationsHeader),
      with_files);
  for (const char* const name : kRecordings) {
    const std::string recording = kRoot + "/" + name;
    std::vector<Annotation> own;
    for (const Annotation& annotation : annotations.annotations) {
      if (!with_files || is_of(recording, annotation.file)) own.push_back(annotation);
    }
    const auto answer = answer_of([&] { return read_expected(path, recording); });
    // A table without a gesture of the recording is refused as a whole.
    const long none_of_it = own.empty() ? -1 : 0;
    require_verdict(answer, path,
                    annotations.faulty_line != 0 ? annotations.faulty_line : none_of_it);
    if (!answer.read) continue;
    require(answer.read->size() == own.size(), "as much is expected");
    for (std::size_t i = 0; i < own.size(); ++i) {
      const Expected& x = (*answer.read)[i];
      require(same({own[i].file, x.begin, x.end, x.label}, own[i]),
              "the same is expected");
    }
  }
}

// ---- sets of recordings -------------------------------------------------------------

// Which of the set's recordings a table names; nothing when it is none of them.
static std::optional<std::string> recording_of(const std::string& file) {
  std::vector<std::string> parts;
  for (const std::string& part : reference::split(file, '/')) {
    if (part == ".." && !parts.empty() && parts.back() != "..") {
      parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
  }
  std::string path;
  for (const std::string& part : parts) path += (path.empty() ? "" : "/") + part;
  // A slash in front or behind makes it another path.
  const std::string last = reference::split(file, '/').back();
  if (file.substr(0, 1) == "/" || last.empty() || last == "." || last == "..") {
    return std::nullopt;
  }
  for (const char* const name : kRecordings) {
    if (path == name) return path;
  }
  return std::nullopt;
}

static const SetEntry& entry_of(const std::vector<SetEntry>& set,
                                const std::string& file) {
  const auto found = std::find_if(set.begin(), set.end(), [&](const SetEntry& entry) {
    return entry.file == recording_of(file);
  });
  require(found != set.end(), "what a table names is in the set");
  return *found;
}

// A number for each label that is not background; none that the library reports for
// something else.
static void require_classes(const std::vector<SetEntry>& set) {
  Classes classes;
  number_labels(set, classes);
  std::set<int> taken;
  std::set<int> numbers;
  std::size_t words = 0;
  for (const auto& [word, number] : classes) {
    require(number >= 0 && number <= kMostLabel, "a class is in range");
    require(!is_background(word), "background is no class");
    require(!is_class_code(number),
            "a class is none that is reported for something else");
    const std::optional<double> own = reference::whole_number_of(word);
    if (own && std::fabs(*own) <= kLargestNumber) {
      require(number == *own, "a number is its own class");
      taken.insert(number);
    } else {
      ++words;
      numbers.insert(number);
    }
  }
  for (const int number : numbers)
    require(taken.count(number) == 0, "a class is of one label");
  require(numbers.size() == words, "each word has a class of its own");
  for (const SetEntry& entry : set) {
    for (const WordedAnnotation& worded : entry.annotations) {
      require(classes.count(worded.word) == (is_background(worded.word) ? 0u : 1u),
              "every gesture has a class");
    }
  }
}

static void read_labels_of_any_content(const reference::Table& table) {
  const Annotations expected = plain_annotations(table, true);
  const auto numbers = answer_of([] { return read_labels(kLabels); });
  require_verdict(numbers, kLabels, expected.faulty_line);
  if (numbers.read) {
    require_same(*numbers.read, expected.annotations);
    write_and_read_again(*numbers.read);
  }

  long faulty_line = 0;
  std::size_t rows = 0;
  for (const reference::Row& row : table.rows) {
    ++rows;
    const std::string& word = row.fields[3];
    if (!row.fields[0].empty() && times_in(row, 1) && !word.empty() &&
        may_be_label(word)) {
      continue;
    }
    faulty_line = static_cast<long>(row.line);
    break;
  }
  if (table.faulty_line != 0) faulty_line = first_line(table);
  const auto words = answer_of([] { return read_worded_labels(kLabels); });
  require_verdict(words, kLabels, faulty_line);
  if (!words.read) return;
  const bool names_others = std::any_of(
      table.rows.begin(), table.rows.end(),
      [](const reference::Row& row) { return !recording_of(row.fields[0]).has_value(); });
  const auto set = answer_of([] { return read_recording_set(kRoot + "/labels"); });
  require_verdict(set, kLabels, names_others ? -1 : 0);
  if (!set.read) return;
  std::size_t annotations = 0;
  for (const SetEntry& entry : *set.read) annotations += entry.annotations.size();
  require(annotations == rows, "every annotation is in the set");
  for (const WordedAnnotation& worded : *words.read) {
    const SetEntry& entry = entry_of(*set.read, worded.annotation.file);
    require(std::any_of(entry.annotations.begin(), entry.annotations.end(),
                        [&](const WordedAnnotation& own) {
                          return own.word == worded.word &&
                                 same(own.annotation, worded.annotation);
                        }),
            "an annotation is with its recording");
  }
  require_classes(*set.read);
}

static void read_index_of_any_content(const reference::Table& table) {
  long faulty_line = 0;
  std::set<std::string> named;
  for (const reference::Row& row : table.rows) {
    const std::optional<std::string> file = recording_of(row.fields[0]);
    const std::optional<double> rate = reference::number_of(row.fields[3]);
    const bool good_rate =
        row.fields[3].empty() || (rate && *rate >= 1.0 && *rate <= kMostRate);
    if (!file) {
      faulty_line = -1;
    } else if (!named.insert(*file).second || !may_be_label(row.fields[1]) ||
               !good_rate) {
      faulty_line = static_cast<long>(row.line);
    }
    if (faulty_line != 0) break;
  }
  if (table.faulty_line != 0) faulty_line = first_line(table);
  const auto set = answer_of([] { return read_recording_set(kRoot + "/index"); });
  require_verdict(set, kIndex, faulty_line);
  if (!set.read) return;
  for (const reference::Row& row : table.rows) {
    const SetEntry& entry = entry_of(*set.read, row.fields[0]);
    require(entry.indexed, "what the index names is indexed");
    require(entry.word == row.fields[1] && entry.subject == row.fields[2],
            "label and subject are those of the index");
    require(entry.rate == reference::number_of(row.fields[3]).value_or(0.0),
            "the rate is that of the index");
  }
  require_classes(*set.read);
}

// ---- scripts ------------------------------------------------------------------------

static const char* const kActivities[] = {"swing", "raise", "twist", "push",   "circle",
                                          "rest",  "walk",  "reach", "fidget", "type"};
static constexpr std::size_t kGestureActivities = 5;

static long plain_plan(const reference::Table& table, Plan& plan) {
  if (table.faulty_line != 0) return first_line(table);
  double t = 0.0;
  for (const reference::Row& row : table.rows) {
    const long line = static_cast<long>(row.line);
    const auto times = times_in(row, 0);
    std::size_t what = 0;
    while (what < std::size(kActivities) && row.fields[2] != kActivities[what]) ++what;
    if (!times || times->first < t || times->second > kMostPlan) return line;
    if (what == std::size(kActivities)) return line;
    if (times->first > t) plan.push_back({t, times->first, Activity::kRest});
    if (what < kGestureActivities) {
      if (plan.empty() || plan.back().what != Activity::kRest) return line;
      if (plan.back().end - plan.back().begin < 1.2) return line;
      if (times->second - times->first < 0.5) return line;
    }
    plan.push_back({times->first, times->second, static_cast<Activity>(what)});
    t = times->second;
  }
  return plan.empty() ? -1 : 0;
}

static bool same_plans(const Plan& a, const Plan& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const PlannedActivity& x, const PlannedActivity& y) {
                      return x.begin == y.begin && x.end == y.end && x.what == y.what;
                    });
}

static void read_script_of_any_content(const reference::Table& table) {
  Plan expected;
  const long faulty_line = plain_plan(table, expected);
  const auto plan = answer_of([] { return read_script(kTable); });
  require_verdict(plan, kTable, faulty_line);
  if (!plan.read) return;
  require(same_plans(*plan.read, expected), "the same plan is read");
  const bool whole =
      std::all_of(expected.begin(), expected.end(), [](const PlannedActivity& activity) {
        return is_whole_ms(activity.begin) && is_whole_ms(activity.end);
      });
  if (!whole) return;
  write_whole_file(kAgain, script_text(expected));
  require(same_plans(read_script(kAgain), expected), "what is written is read back");
}

// ---- the harness --------------------------------------------------------------------

static void run(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return;
  enum Kind { kOfLabels, kOfAnnotations, kOfRecordings, kOfActivities, kOfSlots, kKinds };
  const std::string content(bytes + 1, bytes + size);
  const std::string* path = &kTable;
  std::string header;
  std::string also;
  switch (bytes[0] % kKinds) {
    case kOfLabels:
      header = kLabelsHeader;
      path = &kLabels;
      break;
    case kOfAnnotations:
      header = kAnnotationsHeader;
      break;
    case kOfRecordings:
      header = "file,label,subject,rate_hz";
      also = "notes";
      path = &kIndex;
      break;
    case kOfActivities:
      header = "t_start,t_end,what";
      break;
    case kOfSlots:
      header = "slot,input";
      break;
  }
  write_whole_file(*path, content);
  const reference::Table table = reference::table_of(content, header, also);
  require_rows(*path, table, header, also);
  switch (bytes[0] % kKinds) {
    case kOfLabels:
      read_labels_of_any_content(table);
      read_what_is_expected(kLabels, content);
      break;
    case kOfAnnotations:
      read_what_is_expected(kTable, content);
      break;
    case kOfRecordings:
      read_index_of_any_content(table);
      break;
    case kOfActivities:
      read_script_of_any_content(table);
      break;
  }
}

static void prepare() {
  for (const char* const set : {"/labels/b", "/index/b"}) {
    std::filesystem::create_directories(kRoot + set);
  }
  for (const char* const name : kRecordings) {
    write_whole_file(kRoot + "/labels/" + name, "");
    write_whole_file(kRoot + "/index/" + name, "");
  }
}

static const Registration registration("tables", run, prepare);
