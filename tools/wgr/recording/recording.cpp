#include "recording/recording.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "recording/byte_source.h"

static constexpr std::string_view kHeader = "t,ax,ay,az,gx,gy,gz";
static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
static constexpr std::string_view kAxisNames[] = {"ax", "ay", "az", "gx", "gy", "gz"};
static constexpr size_t kFields = 7;
static constexpr size_t kLongestLine = 4096;  // characters; a sample has far fewer
static constexpr size_t kLongestQuote = 40;   // characters of the input in a message

// What a line holds, fit for a message: short, and nothing that upsets a terminal.
static std::string quoted(std::string_view text) {
  std::string quote = "\"";
  for (const char c : text.substr(0, kLongestQuote)) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
      quote += c;
    } else {
      constexpr char kDigits[] = "0123456789abcdef";
      quote += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  quote += text.size() > kLongestQuote ? "\"..." : "\"";
  return quote;
}

struct RecordingReader::Source {
  explicit Source(const std::string& path)
      : name(path == "-" ? "standard input" : path), bytes(open(path)) {}

  std::unique_ptr<ByteSource> open(const std::string& path) const {
    try {
      return std::make_unique<ByteSource>(path);
    } catch (const ByteSourceError& error) {
      throw RecordingError(name + ": " + error.what());
    }
  }

  [[noreturn]] void refuse(const std::string& reason) const {
    throw RecordingError(name + ":" + std::to_string(line) + ": " + reason);
  }

  // The next line without its end; false when there is none.
  bool next_line(std::string_view& text);
  double number(std::string_view field, std::string_view what) const;
  double axis(std::string_view field, size_t index);

  const std::string name;
  const std::unique_ptr<ByteSource> bytes;
  size_t line = 0;
  std::array<size_t, std::size(kAxisNames)> absent = {};
  size_t begin = 0;  // of the characters in `buffer` that are not used yet
  size_t end = 0;
  std::array<char, 4 * kLongestLine> buffer;
};

bool RecordingReader::Source::next_line(std::string_view& text) {
  size_t searched = 0;
  ++line;
  for (;;) {
    const char* const first = buffer.data() + begin;
    const void* const found = std::memchr(first + searched, '\n', end - begin - searched);
    size_t length = end - begin;
    bool complete = found != nullptr;
    if (complete) length = static_cast<size_t>(static_cast<const char*>(found) - first);
    if (length > kLongestLine) {
      refuse("longer than " + std::to_string(kLongestLine) + " characters");
    }
    if (!complete) {
      searched = length;
      std::memmove(buffer.data(), first, length);
      begin = 0;
      end = length;
      try {
        const size_t got = bytes->read(buffer.data() + end, buffer.size() - end);
        end += got;
        if (got > 0) continue;
      } catch (const ByteSourceError& error) {
        refuse(error.what());
      }
      if (length == 0) {
        --line;
        return false;
      }
    }
    text = std::string_view(buffer.data() + begin, length);
    begin += length + (complete ? 1 : 0);
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

RecordingReader::RecordingReader(const std::string& path)
    : source_(std::make_unique<Source>(path)) {
  std::string_view header;
  if (!source_->next_line(header)) {
    source_->line = 1;
    source_->refuse("empty; a recording starts with the line " + std::string(kHeader));
  }
  if (header.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    header.remove_prefix(kByteOrderMark.size());
  }
  if (header != kHeader) {
    source_->refuse("a recording starts with the line " + std::string(kHeader) +
                    ", not with " + quoted(header));
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
  return parse_next(sample);
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

bool RecordingReader::parse_next(RecordedSample& sample) {
  std::string_view text;
  if (!source_->next_line(text)) return false;

  const size_t count = 1 + static_cast<size_t>(std::count(text.begin(), text.end(), ','));
  if (count != kFields) {
    source_->refuse(std::to_string(count) + (count == 1 ? " field" : " fields") +
                    " instead of " + std::to_string(kFields) + ": " + quoted(text));
  }
  std::array<std::string_view, kFields> fields;
  for (std::string_view& field : fields) {
    field = text.substr(0, text.find(','));
    text.remove_prefix(std::min(field.size() + 1, text.size()));
  }
  if (fields[0].empty()) source_->refuse("the time is empty");
  sample.t = source_->number(fields[0], "t");
  sample.acc = {source_->axis(fields[1], 0), source_->axis(fields[2], 1),
                source_->axis(fields[3], 2)};
  sample.gyro = {source_->axis(fields[4], 3), source_->axis(fields[5], 4),
                 source_->axis(fields[6], 5)};
  return true;
}

size_t RecordingReader::line() const { return source_->line; }

size_t RecordingReader::absent_fields() const {
  size_t sum = 0;
  for (const size_t count : source_->absent) sum += count;
  return sum;
}

std::string RecordingReader::absent_axes() const {
  std::string names;
  for (size_t i = 0; i < source_->absent.size(); ++i) {
    if (source_->absent[i] == 0) continue;
    if (!names.empty()) names += ", ";
    names += kAxisNames[i];
  }
  return names;
}

std::vector<RecordedSample> read_recording(const std::string& path) {
  RecordingReader reader(path);
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

void write_recording(const std::string& path,
                     const std::vector<RecordedSample>& samples) {
  const auto fail = [&path](const std::string& reason) {
    throw RecordingError((path == "-" ? "standard output" : path) + ": " + reason);
  };
  for (size_t i = 0; i < samples.size(); ++i) {
    if (!is_finite(samples[i])) {
      fail("sample " + std::to_string(i + 1) + " is not finite; nothing was written");
    }
  }

  // "T" passes the bytes through as they are. A gzip header gets neither a name nor a
  // time, so it is the same for the same samples.
  const char* const mode = ends_in_gz(path) ? "wb9" : "wbT";
  errno = 0;
  const gzFile file =
      path == "-" ? gzdopen(dup(STDOUT_FILENO), mode) : gzopen(path.c_str(), mode);
  if (file == nullptr) fail(std::string("cannot be written: ") + std::strerror(errno));

  std::string text = std::string(kHeader) + '\n';
  bool written = true;
  for (const RecordedSample& sample : samples) {
    append_line(text, sample);
    if (text.size() < (size_t{1} << 16)) continue;
    written =
        written && gzwrite(file, text.data(), static_cast<unsigned>(text.size())) > 0;
    text.clear();
  }
  if (!text.empty()) {
    written =
        written && gzwrite(file, text.data(), static_cast<unsigned>(text.size())) > 0;
  }
  const bool closed = gzclose(file) == Z_OK;
  if (!written || !closed) {
    fail(std::string("cannot be written in full: ") + std::strerror(errno));
  }
}
