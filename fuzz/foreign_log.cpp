// Logs of other devices, of any content: what is guessed, and what comes of it.
//
// The first byte chooses a profile, the second what else is given; the rest are up to
// three files with a record separator (0x1E) between them, each of which may be a ZIP
// archive. Whatever they hold, samples are finite and as many as can be, the profile that
// was guessed imports the same again, and what is refused has a sentence.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "harness.h"
#include "import/import_log.h"
#include "import/log_files.h"
#include "support/same_bits.h"
#include "text/import_text.h"

using namespace wgr;

static constexpr char kBetweenFiles = '\x1e';
static constexpr unsigned long long kMostBytes = 1'000'000;
static constexpr std::size_t kMostFiles = 3;
static constexpr int kRate = 50;
static const char* const kNames[kMostFiles] = {"Accelerometer.csv", "Gyroscope.csv",
                                               "Gravity.csv"};

static LogBytes files_in(const std::string& text) {
  LogBytes log;
  ReadingLimit limit{kMostBytes};
  std::size_t begin = 0;
  const bool alone = text.find(kBetweenFiles) == std::string::npos;
  for (std::size_t i = 0; i < kMostFiles && begin <= text.size(); ++i) {
    const std::size_t end = std::min(text.find(kBetweenFiles, begin), text.size());
    add_log_file(alone ? "log.csv" : kNames[i], text.substr(begin, end - begin), limit,
                 log);
    begin = end + 1;
  }
  return log;
}

static ImportProfile given_by(std::uint8_t name, std::uint8_t more) {
  ImportProfile given;
  const auto& named = named_profiles();
  if (name % (named.size() + 1) > 0)
    given.name = named[name % (named.size() + 1) - 1].name;
  if ((more & 1) != 0) given.rate = kRate;
  if ((more & 2) != 0) given.joining = Joining::kNearest;
  if ((more & 4) != 0) given.acc = unit_from(Quantity::kAcc, "m/s2");
  if ((more & 8) != 0) given.gyro = unit_from(Quantity::kGyro, "deg/s");
  if ((more & 16) != 0) given.time = unit_from(Quantity::kTime, "ms");
  if ((more & 32) != 0) given.axes = axes_from("-y,x,z");
  return given;
}

static void require_sound(const ImportedLog& log) {
  require(!log.samples.empty(), "an import has samples");
  for (const RecordedSample& sample : log.samples) {
    for (const double value : {sample.t, sample.acc.x, sample.acc.y, sample.acc.z,
                               sample.gyro.x, sample.gyro.y, sample.gyro.z}) {
      require(std::isfinite(value), "samples are finite");
    }
  }
  require(log.resampled || log.samples.size() <= log.rows, "no sample without a line");
  require(log.acc_readings <= log.rows && log.gyro_readings <= log.rows,
          "no reading without a line");
  for (const DroppedRows& dropped : log.dropped) {
    require(dropped.first.size() <= dropped.count,
            "no more lines are named than dropped");
  }
  require(!guess_text(log.guess).empty() && !import_text(log).empty() &&
              !import_json(log).empty(),
          "an import has a report");
}

// One table alone: the same titles of several belong to different sensors.
static void require_again(const std::vector<LogFile>& files, const ImportedLog& log) {
  if (files.size() > 1) return;
  const ImportProfile profile = profile_from(to_json(log.guess.profile), "guessed");
  const ImportedLog again = import_log(files, profile);
  require(again.samples.size() == log.samples.size(), "as many samples come again");
  for (std::size_t i = 0; i < log.samples.size(); ++i) {
    const RecordedSample& a = log.samples[i];
    const RecordedSample& b = again.samples[i];
    require(same_bits(a.t, b.t) && same_bits(a.acc, b.acc) && same_bits(a.gyro, b.gyro),
            "the same samples come again");
  }
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) return;
  const ImportProfile given = given_by(bytes[0], bytes[1]);
  try {
    const LogBytes log = files_in(std::string(bytes + 2, bytes + size));
    const std::vector<LogFile> files = log.files();
    try {
      const ImportedLog made = import_log(files, given);
      require_sound(made);
      require_again(files, made);
      require_sound(import_log(files, given, kRate));
    } catch (const ImportError& error) {
      require(!sentence_for(error.facts()).empty(), "a fault has a sentence");
    }
  } catch (const RecordingError&) {
    // A ZIP archive that is broken, or too large.
  }
}

static void prepare() {}

static const Registration registration("foreign_log", run, prepare);
