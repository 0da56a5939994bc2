// Recordings of any content, plain or packed, as `wgr` reads them.
//
// Samples, the line of the first fault, and the count of empty fields are compared with
// a plain reading of the same text; what was read is written and read again.
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "harness.h"
#include "places.h"
#include "recording/clock.h"
#include "recording/recording.h"
#include "reference_text.h"
#include "support/reference_lines.h"
#include "support/same_bits.h"

using namespace wgr;

static const std::string kPath = std::string(kModelRootDirectory) + "/recording.csv";
static const std::string kPackedPath = kPath + ".gz";
static constexpr std::size_t kLongestLine = 4096;  // characters, a CR among them
static constexpr std::size_t kFields = 7;

namespace {

// What a recording holds, up to its first fault.
struct Content {
  std::vector<RecordedSample> samples;
  std::size_t absent = 0;
  bool last_axis_absent = false;  // in any sample
  std::size_t faulty_line = 0;    // from 1; 0 when there is none
};

}  // namespace

static bool add_sample(const std::string& line, Content& content) {
  const std::vector<std::string> fields = reference::split(line, ',');
  if (fields.size() != kFields || fields[0].empty()) return false;
  double values[kFields];
  for (std::size_t i = 0; i < kFields; ++i) {
    if (fields[i].empty()) {
      ++content.absent;
      content.last_axis_absent = content.last_axis_absent || i + 1 == kFields;
      values[i] = 0.0;
      continue;
    }
    const std::optional<double> value = reference::number_of(fields[i]);
    if (!value) return false;
    values[i] = *value;
  }
  content.samples.push_back(
      {values[0], {values[1], values[2], values[3]}, {values[4], values[5], values[6]}});
  return true;
}

// Whether a last line without its break is left out: all lines above it are in `content`.
static bool is_torn(const std::string& line, const Content& content) {
  const std::size_t kept = std::min(line.size(), kLongestLine);
  if (line.find_first_not_of('\0', kept) != std::string::npos) return false;
  Content with = content;
  std::string text = line;
  if (text.back() == '\r') text.pop_back();
  if (line.size() > kLongestLine || !add_sample(text, with)) return true;
  return text.back() == ',' && !content.last_axis_absent;
}

static Content plain_reading(const std::string& text) {
  std::vector<std::string> lines = reference::split_lines(text);
  const bool unended = !lines.back().empty();
  if (lines.back().empty()) lines.pop_back();
  Content content;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string line = lines[i];
    if (i > 0 && unended && i + 1 == lines.size() && is_torn(line, content)) break;
    bool good = line.size() <= kLongestLine;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (i == 0) {
      if (line.substr(0, 3) == "\xEF\xBB\xBF") line = line.substr(3);
      good = good && line == "t,ax,ay,az,gx,gy,gz";
    } else {
      good = good && add_sample(line, content);
    }
    if (!good) {
      content.faulty_line = i + 1;
      return content;
    }
  }
  if (lines.empty()) content.faulty_line = 1;
  return content;
}

// Reads on from a reader, looking `ahead` samples ahead before each one.
static Content read(const std::string& path, std::size_t ahead) {
  Content content;
  try {
    RecordingReader reader(path);
    try {
      for (RecordedSample sample;;) {
        if (ahead > 0) reader.read_ahead(ahead);
        if (!reader.next(sample)) break;
        content.samples.push_back(sample);
      }
    } catch (const RecordingError&) {
      content.faulty_line = reader.line();
    }
    content.absent = reader.absent_fields();
    require((content.absent > 0) == !reader.absent_axes().empty(),
            "axes are named when fields are absent");
  } catch (const RecordingError&) {
    content.faulty_line = 1;
  }
  return content;
}

static bool same(const std::vector<RecordedSample>& a,
                 const std::vector<RecordedSample>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!same_bits(a[i].t, b[i].t) || !same_bits(a[i].acc, b[i].acc) ||
        !same_bits(a[i].gyro, b[i].gyro)) {
      return false;
    }
  }
  return true;
}

static void require_same(const Content& a, const Content& b) {
  require(same(a.samples, b.samples), "the same samples are read");
  require(a.faulty_line == b.faulty_line, "the same line is refused");
  // In a line that is refused, fields before the fault may have been counted.
  if (a.faulty_line == 0) require(a.absent == b.absent, "as many fields are absent");
}

static void write_and_read_again(const std::vector<RecordedSample>& samples) {
  for (const std::string& path : {kPath, kPackedPath}) {
    write_recording(path, samples);
    require(same(read_recording(path), samples), "what is written is read back");
  }
}

static void read_the_clock(const std::vector<RecordedSample>& samples) {
  const std::optional<int> rate = estimate_rate({samples.begin(), samples.end()});
  if (rate) require(*rate >= 1 && *rate <= kHighestRate, "a rate is in range");
  Clock clock(rate.value_or(50));
  for (const RecordedSample& sample : samples) clock.add(sample.t);
  require(clock.gaps() + clock.repeats() + clock.backward() <= samples.size(),
          "a step is one thing only");
  require((clock.gaps() > 0) == (clock.longest_gap() > 0.0), "gaps have a length");
  clock.observed_rate();
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(bytes, bytes + size);
  write_whole_file(kPath, text);
  const Content content = read(kPath, 0);
  require_same(read(kPath, 1), content);
  require_same(read(kPath, 5), content);
  // Packed files have no plain reading here.
  const bool packed = size >= 2 && bytes[0] == 0x1f && bytes[1] == 0x8b;
  if (!packed) require_same(plain_reading(text), content);
  read_the_clock(content.samples);
  write_and_read_again(content.samples);
}

static void prepare() {}

static const Registration registration("recording_file", run, prepare);
