#include "recording/recording.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

#include "base/foreign_text.h"
#include "base/text.h"
#include "capture/capture_samples.h"
#include "recording/byte_source.h"

namespace wgr {

static constexpr std::string_view kHeader = "t,ax,ay,az,gx,gy,gz";
static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
static constexpr std::string_view kAxisNames[] = {"ax", "ay", "az", "gx", "gy", "gz"};
static constexpr size_t kFields = 7;
static constexpr size_t kLongestLine = 4096;       // characters; a sample has far fewer
static constexpr size_t kChunk = size_t{1} << 16;  // bytes that are written at once
static constexpr int kGzipFormat = 16;             // added to the window bits
static constexpr int kUsualMemory = 8;             // zlib's own default
static constexpr char kCutOff[] = "the gzip data ends too early";
static constexpr unsigned long long kMega = 1'000'000;

void ReadingLimit::add(size_t bytes, const std::string& place) {
  read += bytes;
  if (read <= most) return;
  throw RecordingError(
      place + "more than " + std::to_string(most / kMega) +
      " MB of recordings, unpacked, would be kept in memory: give --max-size MB to allow "
      "more, or fewer and shorter recordings");
}

struct RecordingReader::Source {
  Source(const std::string& path, ReadingLimit* reading_limit)
      : name(path == "-" ? "standard input" : path),
        bytes(open(path)),
        limit(reading_limit) {}

  std::unique_ptr<ByteSource> open(const std::string& path) const {
    try {
      return std::make_unique<ByteSource>(path);
    } catch (const ByteSourceError& error) {
      throw RecordingError(name + ": " + error.what());
    }
  }

  std::string place() const { return name + ":" + std::to_string(line) + ": "; }
  [[noreturn]] void refuse(const std::string& reason) const {
    throw RecordingError(place() + reason);
  }

  // The next line without its end; false when there is none.
  bool next_line(std::string_view& text);
  bool fill();
  bool only_zeros_follow(size_t first);
  void parse(std::string_view text, RecordedSample& sample);
  double number(std::string_view field, std::string_view what) const;
  double axis(std::string_view field, size_t index);

  const std::string name;
  const std::unique_ptr<ByteSource> bytes;
  ReadingLimit* const limit;
  size_t line = 0;
  bool ended = true;  // the line last read, by a line break
  std::array<size_t, std::size(kAxisNames)> absent = {};
  size_t begin = 0;  // of the characters in `buffer` that are not used yet
  size_t end = 0;
  std::array<char, 4 * kLongestLine> buffer;
};

// Adds bytes behind those that are not used yet; false at the end.
bool RecordingReader::Source::fill() {
  std::memmove(buffer.data(), buffer.data() + begin, end - begin);
  end -= begin;
  begin = 0;
  size_t got = 0;
  try {
    got = bytes->read(buffer.data() + end, buffer.size() - end);
  } catch (const ByteSourceError& error) {
    refuse(error.what());
  }
  end += got;
  if (limit != nullptr) limit->add(got, place());
  return got > 0;
}

// Whether nothing but zero bytes is there from `first` on, behind `begin`, to the file's
// end: what a file system leaves of a block that was never written.
bool RecordingReader::Source::only_zeros_follow(size_t first) {
  const auto is_zero = [](char c) { return c == '\0'; };
  const auto from = [this](size_t at) {
    return buffer.begin() + static_cast<std::ptrdiff_t>(at);
  };
  do {
    if (!std::all_of(from(begin + first), from(end), is_zero)) return false;
    end = begin + first;
  } while (fill());
  return true;
}

bool RecordingReader::Source::next_line(std::string_view& text) {
  size_t searched = 0;
  ++line;
  for (;;) {
    const char* const first = buffer.data() + begin;
    const void* const found = std::memchr(first + searched, '\n', end - begin - searched);
    ended = found != nullptr;
    size_t length = end - begin;
    if (ended) length = static_cast<size_t>(static_cast<const char*>(found) - first);
    if (length > kLongestLine) {
      const bool torn = !ended && line > 1 && only_zeros_follow(kLongestLine);
      if (!torn) refuse("longer than " + std::to_string(kLongestLine) + " characters");
      length = kLongestLine;
    } else if (!ended) {
      searched = length;
      if (fill()) continue;
      if (length == 0) {
        --line;
        return false;
      }
    }
    text = std::string_view(buffer.data() + begin, length);
    begin += length + (ended ? 1 : 0);
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    return true;
  }
}

double RecordingReader::Source::number(std::string_view field,
                                       std::string_view what) const {
  double value = 0.0;
  const char* const end_of_field = field.data() + field.size();
  const auto [stop, error] = std::from_chars(field.data(), end_of_field, value);
  if (error == std::errc::result_out_of_range) {
    refuse(std::string(what) + " is out of range: " + quoted(field));
  }
  if (error != std::errc() || stop != end_of_field || !std::isfinite(value)) {
    refuse(std::string(what) + " is not a number: " + quoted(field));
  }
  return value;
}

double RecordingReader::Source::axis(std::string_view field, size_t index) {
  if (!field.empty()) return number(field, kAxisNames[index]);
  ++absent[index];
  return 0.0;
}

void RecordingReader::Source::parse(std::string_view text, RecordedSample& sample) {
  const size_t count = 1 + static_cast<size_t>(std::count(text.begin(), text.end(), ','));
  if (count != kFields) {
    refuse(std::to_string(count) + (count == 1 ? " field" : " fields") + " instead of " +
           std::to_string(kFields) + ": " + quoted(text));
  }
  std::array<std::string_view, kFields> fields;
  for (std::string_view& field : fields) {
    field = text.substr(0, text.find(','));
    text.remove_prefix(std::min(field.size() + 1, text.size()));
  }
  if (fields[0].empty()) refuse("the time is empty");
  sample.t = number(fields[0], "t");
  sample.acc = {axis(fields[1], 0), axis(fields[2], 1), axis(fields[3], 2)};
  sample.gyro = {axis(fields[4], 3), axis(fields[5], 4), axis(fields[6], 5)};
}

RecordingReader::RecordingReader(const std::string& path, ReadingLimit* limit,
                                 std::optional<unsigned> handle)
    : limit_(limit) {
  if (is_capture(path)) {
    try {
      capture_ = std::make_unique<CaptureSamples>(path, handle);
    } catch (const CaptureError& error) {
      throw RecordingError(error.what());
    }
    return;
  }
  if (handle) throw RecordingError(path + ": is no capture, so --handle chooses nothing");
  source_ = std::make_unique<Source>(path, limit);
  read_header();
}

void RecordingReader::read_header() {
  std::string_view header;
  if (!source_->next_line(header)) {
    source_->line = 1;
    if (source_->bytes->cut_off()) source_->refuse(kCutOff);
    source_->refuse("empty; a recording starts with the line " + std::string(kHeader));
  }
  if (header.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    header.remove_prefix(kByteOrderMark.size());
  }
  if (header != kHeader) {
    if (!source_->ended && source_->bytes->cut_off()) source_->refuse(kCutOff);
    throw ForeignRecordingError(source_->place() + "a recording starts with the line " +
                                    std::string(kHeader) + ", not with " + quoted(header),
                                source_->name);
  }
}

RecordingReader::~RecordingReader() = default;

bool RecordingReader::next(RecordedSample& sample) {
  if (!ahead_.empty()) {
    sample = ahead_.front();
    ahead_.pop_front();
    return true;
  }
  if (error_behind_) std::rethrow_exception(error_behind_);
  if (parse_next(sample)) return true;
  // Reported when the end is used, not when reading ahead finds it.
  if (!note_.empty()) warn(note_);
  note_.clear();
  return false;
}

const std::deque<RecordedSample>& RecordingReader::read_ahead(size_t count) {
  try {
    RecordedSample sample;
    while (!error_behind_ && ahead_.size() < count && parse_next(sample)) {
      ahead_.push_back(sample);
    }
  } catch (const RecordingError&) {
    error_behind_ = std::current_exception();
  }
  return ahead_;
}

bool RecordingReader::next_captured(RecordedSample& sample) {
  try {
    CapturedSample captured;
    at_end_ = !capture_->next(captured);
    if (at_end_) return false;
    sample = {captured.t, captured.acc, captured.gyro};
  } catch (const CaptureError& error) {
    throw RecordingError(error.what());
  }
  if (limit_ != nullptr) limit_->add(sizeof sample, "");
  return true;
}

bool RecordingReader::parse_next(RecordedSample& sample) {
  if (at_end_) return false;
  if (capture_) return next_captured(sample);
  std::string_view text;
  if (source_->next_line(text)) {
    if (!source_->ended) return parse_last(text, sample);
    source_->parse(text, sample);
    return true;
  }
  at_end_ = true;
  if (source_->bytes->cut_off()) {
    note_ = source_->place() + std::string(kCutOff) + "; what came before is used";
  }
  return false;
}

// A line without its end: false when it is torn.
bool RecordingReader::parse_last(std::string_view text, RecordedSample& sample) {
  at_end_ = true;
  const bool cut_off = source_->bytes->cut_off();
  const auto absent = source_->absent;
  if (!cut_off) {
    try {
      source_->parse(text, sample);
      if (text.back() != ',' || absent.back() > 0) return true;
    } catch (const RecordingError&) {
      // The reason is of no use: the rest of the line is missing.
    }
  }
  source_->absent = absent;
  while (!text.empty() && text.back() == '\0') text.remove_suffix(1);
  note_ = source_->place() + (cut_off ? std::string(kCutOff) + "; " : "") +
          "the last line is torn and left out (" + quoted(text) +
          "); what came before is used";
  return false;
}

size_t RecordingReader::line() const {
  return source_ ? source_->line : static_cast<size_t>(capture_->count());
}

size_t RecordingReader::absent_fields() const {
  size_t sum = 0;
  if (!source_) return sum;
  for (const size_t count : source_->absent) sum += count;
  return sum;
}

std::string RecordingReader::absent_axes() const {
  std::string names;
  if (!source_) return names;
  for (size_t i = 0; i < source_->absent.size(); ++i) {
    if (source_->absent[i] == 0) continue;
    if (!names.empty()) names += ", ";
    names += kAxisNames[i];
  }
  return names;
}

std::vector<RecordedSample> read_recording(const std::string& path, ReadingLimit* limit) {
  RecordingReader reader(path, limit);
  std::vector<RecordedSample> samples;
  for (RecordedSample sample; reader.next(sample);) samples.push_back(sample);
  return samples;
}

// The shortest digits that read back as the same double.
static void append_number(std::string& text, double value) {
  char digits[32];
  const auto [stop, error] = std::to_chars(digits, digits + sizeof digits, value);
  text.append(digits, stop);
}

static void append_line(std::string& text, const RecordedSample& s) {
  append_number(text, s.t);
  for (const double value : {s.acc.x, s.acc.y, s.acc.z, s.gyro.x, s.gyro.y, s.gyro.z}) {
    text += ',';
    append_number(text, value);
  }
  text += '\n';
}

static bool is_finite(const RecordedSample& s) {
  for (const double value :
       {s.t, s.acc.x, s.acc.y, s.acc.z, s.gyro.x, s.gyro.y, s.gyro.z}) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

static bool ends_in_gz(std::string_view path) {
  constexpr std::string_view kSuffix = ".gz";
  return path.size() > kSuffix.size() &&
         path.substr(path.size() - kSuffix.size()) == kSuffix;
}

namespace {

// Writes to a file, packed when the file is to be gzip. Its header holds neither a name
// nor a time.
class Packer {
 public:
  Packer(OutputFile& file, bool packs) : file_(file), packs_(packs) {
    if (packs &&
        deflateInit2(&stream_, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzipFormat,
                     kUsualMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw std::bad_alloc();
    }
  }
  ~Packer() {
    if (packs_) deflateEnd(&stream_);
  }
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;

  void write(std::string& text, bool last) {
    if (!packs_) {
      file_.write(text);
      return;
    }
    stream_.next_in = reinterpret_cast<Bytef*>(text.data());
    stream_.avail_in = static_cast<uInt>(text.size());
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(packed_.data());
      stream_.avail_out = static_cast<uInt>(packed_.size());
      deflate(&stream_, last ? Z_FINISH : Z_NO_FLUSH);
      file_.write({packed_.data(), packed_.size() - stream_.avail_out});
    } while (stream_.avail_out == 0);
  }

 private:
  OutputFile& file_;
  const bool packs_;
  z_stream stream_ = {};
  std::array<char, kChunk> packed_;
};

}  // namespace

void write_recording(const std::string& path, const std::vector<RecordedSample>& samples,
                     OutputFiles& files) {
  for (size_t i = 0; i < samples.size(); ++i) {
    if (is_finite(samples[i])) continue;
    throw RecordingError(path + ": sample " + std::to_string(i + 1) +
                         " is not finite; nothing was written");
  }
  Packer packer(files.open(path), ends_in_gz(path));
  std::string text = std::string(kHeader) + '\n';
  for (const RecordedSample& sample : samples) {
    append_line(text, sample);
    if (text.size() < kChunk) continue;
    packer.write(text, false);
    text.clear();
  }
  packer.write(text, true);
}

void write_recording(const std::string& path,
                     const std::vector<RecordedSample>& samples) {
  OutputFiles files;
  write_recording(path, samples, files);
  files.commit();
}

}  // namespace wgr
