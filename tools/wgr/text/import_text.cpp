#include "text/import_text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>

#include "base/foreign_text.h"
#include "base/suggestion.h"
#include "base/text.h"
#include "import/log_files.h"
#include "json/json_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr unsigned long long kMostForHint = 100'000'000;  // bytes
static constexpr size_t kMostTitles = 600;  // bytes of them in a message

static std::string list_of(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + text;
  return shortened(list, kMostTitles);
}

static std::string titles_text(const ImportErrorFacts& facts) {
  return facts.others.empty() ? "its columns have no titles"
                              : "its columns are " + list_of(facts.others);
}

// The table of all sentences; {0} is the text, {1} the figure, {2} the titles.
static const char* pattern_for(ImportFault fault) {
  static const std::map<ImportFault, const char*> kPatterns = {
      {ImportFault::kEmpty, "is empty: give a log with a line for each reading"},
      {ImportFault::kNotText,
       "is no text in ASCII or UTF-8: export the log as CSV, in UTF-8"},
      {ImportFault::kNoTable,
       "has no line with three numbers or more: export the log as CSV"},
      {ImportFault::kUnknownColumn, "has no column {0}: {2}"},
      {ImportFault::kNoTime,
       "no column of time stamps was found: name it with --columns time=TITLE, or give "
       "--sample-rate HZ for a log without stamps; {2}"},
      {ImportFault::kNoAcc,
       "no accelerations along x, y and z were found: name them with --columns "
       "ax=TITLE,ay=TITLE,az=TITLE; {2}"},
      {ImportFault::kNoGyro,
       "no angular velocities about x, y and z were found, and the library needs them: "
       "record the gyroscope too and give its file as well, or name its columns with "
       "--columns gx=TITLE,gy=TITLE,gz=TITLE; {2}"},
      {ImportFault::kLinearAcc,
       "the accelerations {0} are without gravity (linear), and the library needs them "
       "with it: give the log of the acceleration with gravity, or of gravity as well"},
      {ImportFault::kNoGravity,
       "the accelerations {0} are about {1:.2f} m/s² long, so gravity is not in them, "
       "and the library needs it: give the log of the acceleration with gravity "
       "(TotalAcceleration.csv of Sensor Logger), or of gravity as well; or, if the unit "
       "is wrong, --units acc=UNIT"},
      {ImportFault::kTimeUnit,
       "the stamps {0} go forward by {1:g}, which is the period of no sensor in s, ms, "
       "us "
       "or ns: a counter, perhaps; give --units time=UNIT, or --sample-rate HZ to go "
       "without stamps"},
      {ImportFault::kAccUnit,
       "the accelerations {0} are about {1:g} long, which is gravity in no unit: give "
       "--units acc=UNIT, such as acc=raw:COUNTS with the counts of 1 g"},
      {ImportFault::kGyroUnit,
       "the angular velocities {0} go up to {1:g}: give --units gyro=UNIT, such as "
       "gyro=raw:COUNTS with the counts of 1 deg/s"},
      {ImportFault::kUnknownSensor, "no row is of the sensor {0}"},
      {ImportFault::kNoRows,
       "no line could be used; the first that could not is {0}: give --columns and "
       "--units, or see wgr import --help"},
      {ImportFault::kFewRows,
       "only {1:.0f} % of the lines could be used; the first that could not is {0}: give "
       "--columns and --units, or see wgr import --help"},
      {ImportFault::kNoOverlap,
       "the sensors have no time in common: give files of one and the same recording"},
      {ImportFault::kTooSparse,
       "resampling would make {1:.3g} samples: the stamps have gaps that are far too "
       "long; see --units time=UNIT, or leave --resample out"},
      {ImportFault::kMirrored,
       "--axes {0} is a mirror image, which no wrist wears: swap or turn one axis more; "
       "--acc-axes and --gyro-axes are for one sensor alone"},
      {ImportFault::kUnknownProfile, "{0} is no profile"},
  };
  return kPatterns.at(fault);
}

std::string sentence_for(const ImportErrorFacts& facts) {
  std::string where = facts.file;
  if (!where.empty() && facts.line > 0) where += ":" + std::to_string(facts.line);
  if (!where.empty()) where += ": ";
  const std::string text = facts.text.empty() ? "" : wgr::quoted(facts.text);
  const double figure =
      facts.fault == ImportFault::kFewRows ? 100.0 * facts.figure : facts.figure;
  const std::string titles = titles_text(facts);
  std::string sentence =
      where + fmt::format(fmt::runtime(pattern_for(facts.fault)), text, figure, titles);
  if (facts.fault == ImportFault::kUnknownColumn ||
      facts.fault == ImportFault::kUnknownProfile) {
    sentence += did_you_mean(facts.text, facts.others);
  }
  return sentence;
}

static std::string device_of(const std::string& name) {
  static const std::map<std::string, const char*> kDevices = {
      {"wgr", "a recording of wgr"},
      {"android", "an Android log"},
      {"ios", "an iOS log"},
      {"phyphox", "a phyphox export"},
      {"sensor-logger", "a log of Sensor Logger"},
      {"sensor-logger-ios", "a log of Sensor Logger on iOS"},
      {"arduino", "an Arduino log"}};
  const auto found = kDevices.find(name);
  return found == kDevices.end() ? "a log of an IMU" : found->second;
}

std::string device_text(const LogGuess& guess) {
  const ImportProfile& profile = guess.profile;
  const std::string time = profile.rate ? fmt::format("{:g} samples/s", *profile.rate)
                                        : "time in " + profile.time->word;
  return fmt::format("{}: {}, accelerations in {}, angular velocities in {}",
                     device_of(profile.name), time, profile.acc->word,
                     profile.gyro->word);
}

std::string import_hint(const std::string& path) {
  std::error_code failed;
  if (!std::filesystem::is_regular_file(path, failed)) return "";  // read up, or gone
  try {
    ReadingLimit limit{kMostForHint};
    const LogBytes log = read_log_files({path}, limit);
    const LogGuess guess = guess_profile(log.files(), ImportProfile());
    return fmt::format(
        "; it looks like {}: wgr import {} -o OUT.csv makes a recording of it",
        device_text(guess), path);
  } catch (const ImportError& error) {
    const ImportFault fault = error.facts().fault;
    if (fault == ImportFault::kNoTable || fault == ImportFault::kNotText ||
        fault == ImportFault::kEmpty) {
      return "";
    }
    return "; wgr import reads logs of other devices, but of this one says: " +
           sentence_for(error.facts());
  } catch (const RecordingError&) {
    return "";  // too large to be examined
  }
}

static std::string reason_for(const GuessedPart& part) {
  switch (part.why) {
    case Evidence::kGiven:
      return "given";
    case Evidence::kProfile:
      return "the profile says so";
    case Evidence::kTitle:
      return "by the titles";
    case Evidence::kFileName:
      return "by the file's name";
    case Evidence::kStep:
      return fmt::format("by the stamps' step, {:.4g} s", part.figure);
    case Evidence::kGravity:
      return fmt::format("gravity is {:.4g} long", part.figure);
    case Evidence::kTurns:
      return fmt::format("gravity turns as the gyroscope predicts, to {:.1f} degrees",
                         part.figure);
    case Evidence::kRange:
      return fmt::format("by the fastest turns, {:.4g}", part.figure);
    case Evidence::kPosition:
      return "by the position";
    case Evidence::kContent:
      return "by the content";
    case Evidence::kAssumed:
      break;
  }
  return "assumed: nothing says otherwise";
}

static std::string subject_of(const GuessedPart& part) {
  switch (part.part) {
    case LogPart::kProfile:
      return "the log is " + device_of(part.value) + " (" + part.value + ")";
    case LogPart::kFile: {
      static const std::map<std::string, const char*> kSensors = {
          {"acc", "accelerations"},
          {"gyro", "angular velocities"},
          {"gravity", "gravity"}};
      return fmt::format("{} from {}", kSensors.at(part.value), shown(part.from));
    }
    case LogPart::kTable: {
      const std::string separator = part.value == "\t"  ? "tabs"
                                    : part.value == " " ? "blanks"
                                                        : "\"" + part.value + "\"";
      return fmt::format("{} is separated by {}", shown(part.from), separator);
    }
    case LogPart::kColumn:
      return fmt::format("{} is column {}", part.value, wgr::quoted(part.from));
    case LogPart::kTimeUnit:
      return "time in " + part.value;
    case LogPart::kAccUnit:
      return "accelerations in " + part.value;
    case LogPart::kGyroUnit:
      return "angular velocities in " + part.value;
    case LogPart::kAccAxes:
      return "axes of the accelerometer taken as " + part.value;
    case LogPart::kGyroAxes:
      return "axes of the gyroscope taken as " + part.value;
    case LogPart::kBothAxes:
      return "axes of the watch taken as " + part.value;
    case LogPart::kGravity:
      return part.value == "in" ? "gravity is in the accelerations"
                                : "gravity is added to the accelerations";
  }
  return "";
}

// The columns of a sensor follow its part.
static std::string columns_text(const std::vector<GuessedPart>& parts, size_t sensor) {
  std::string text;
  for (size_t i = sensor + 1; i < parts.size(); ++i) {
    if (parts[i].part != LogPart::kColumn || parts[i].value == "time") break;
    text += fmt::format("{} {} {}", text.empty() ? ":" : ",", parts[i].value,
                        wgr::quoted(parts[i].from));
  }
  return text;
}

std::string guess_text(const LogGuess& guess) {
  std::vector<std::string> lines;
  for (size_t i = 0; i < guess.parts.size(); ++i) {
    const GuessedPart& part = guess.parts[i];
    if (part.part == LogPart::kColumn && part.value != "time") continue;
    const std::string columns =
        part.part == LogPart::kFile ? columns_text(guess.parts, i) : "";
    const std::string line = fmt::format("{}{} ({}: {})\n", subject_of(part), columns,
                                         sureness_name(part.sure), reason_for(part));
    if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(line);
  }
  std::string text;
  for (const std::string& line : lines) text += line;
  return text;
}

static const char* dropped_text(size_t why) {
  static constexpr std::array<const char*, kDroppedRows> kTexts = {
      "with an empty cell", "with a cell that is no number", "too long to be a reading",
      "torn at the end", "without a reading of the other sensor near it"};
  return kTexts.at(why);
}

static std::string dropped_lines(const ImportedLog& log) {
  std::string text;
  for (size_t i = 0; i < kDroppedRows; ++i) {
    const DroppedRows& rows = log.dropped[i];
    if (rows.count == 0) continue;
    text += fmt::format("dropped   {} {}", counted(rows.count, "line"), dropped_text(i));
    if (!rows.first.empty()) {
      text += ": " + shown(list_of(rows.first)) +
              (rows.count > rows.first.size() ? ", ..." : "");
    }
    text += '\n';
  }
  return text;
}

std::string import_text(const ImportedLog& log) {
  std::string text = fmt::format("read      {}\n", counted(log.rows, "line"));
  text += dropped_lines(log);
  if (log.joined) {
    const bool nearest = log.guess.profile.joining == Joining::kNearest;
    text += fmt::format(
        "joined    {} of the gyroscope onto the {} of the accelerometer, {}\n",
        counted(log.gyro_readings, "reading"), counted(log.acc_readings, "reading"),
        nearest ? "the nearest to each" : "by linear interpolation");
  }
  if (log.out_of_order > 0) {
    text += fmt::format("sorted    {} by time\n", counted(log.out_of_order, "reading"));
  }
  if (!log.origin.empty()) {
    text += fmt::format("clock     {} in the log is 0 s\n", shown(log.origin));
  }
  text += fmt::format("converted {} to m/s², {} to deg/s\n", log.guess.profile.acc->word,
                      log.guess.profile.gyro->word);
  if (log.resampled) text += fmt::format("resampled to {} samples/s\n", *log.resampled);
  return text;
}

static Json part_json(const GuessedPart& part) {
  return {{"type", "part"},
          {"part", part_name(part.part)},
          {"value", part.value},
          {"from", part.from},
          {"sure", sureness_name(part.sure)},
          {"why", evidence_name(part.why)},
          {"figure", part.figure}};
}

std::string import_json(const ImportedLog& log) {
  static constexpr std::array<const char*, kDroppedRows> kNames = {
      "missing", "no_number", "too_long", "torn", "no_partner"};
  std::string text;
  for (const GuessedPart& part : log.guess.parts) {
    text += json_text(part_json(part)) + '\n';
  }
  Json dropped = Json::object();
  Json first = Json::array();
  for (size_t i = 0; i < kDroppedRows; ++i) {
    dropped[kNames.at(i)] = log.dropped[i].count;
    for (const std::string& place : log.dropped[i].first) first.push_back(place);
  }
  const Json line = {{"type", "import"},
                     {"lines", log.rows},
                     {"samples", log.samples.size()},
                     {"dropped", dropped},
                     {"dropped_first", first},
                     {"joined", log.joined},
                     {"acc_readings", log.acc_readings},
                     {"gyro_readings", log.gyro_readings},
                     {"out_of_order", log.out_of_order},
                     {"origin", log.origin},
                     {"resampled", log.resampled ? Json(*log.resampled) : Json()},
                     {"profile", to_json(log.guess.profile)}};
  return text + json_text(line) + '\n';
}

}  // namespace wgr
