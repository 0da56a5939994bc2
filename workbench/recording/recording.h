// Recordings of motion: CSV with the header t,ax,ay,az,gx,gy,gz, plain or gzip; or what
// the flight recorder captured of one handle.
//
// Times in s, accelerations in m/s² with gravity in them, rates in deg/s, one sample a
// line. Numbers are read and written the same in every locale, and a number that is
// written is read back as the very same double.
#pragma once

#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "WgrTypes.h"
#include "output/output_files.h"

namespace wgr {

class CaptureSamples;

struct RecordedSample {
  double t;       // s
  Point3Df acc;   // m/s²
  Point3Df gyro;  // deg/s
};

// Samples one by one, wherever they come from.
class SampleSource {
 public:
  virtual ~SampleSource() = default;

  // The next sample; false at the end.
  virtual bool next(RecordedSample& sample) = 0;
};

// A recording that cannot be opened or read, or a line that is no sample;
// what() reads "FILE:LINE: REASON", or "FILE: REASON" when no line is to blame.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A text that starts otherwise than recordings do: the log of another device, perhaps.
class ForeignRecordingError : public RecordingError {
 public:
  ForeignRecordingError(const std::string& what, std::string path)
      : RecordingError(what), path_(std::move(path)) {}
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// How much may be read of the recordings that a command keeps in memory, so that a small
// gzip file of a huge recording does not take all of it. Counted over all its readers.
struct ReadingLimit {
  unsigned long long most = 1'000'000'000;  // bytes, unpacked
  unsigned long long read = 0;              // so far

  // Throws RecordingError when that is too much; `place` is where.
  void add(size_t bytes, const std::string& place);
};

// Reads a recording sample by sample, so that a live stream is seen as it comes. Its
// memory does not grow with the recording.
//
// Whether a recording is compressed is seen from its content. Lines may end in CR LF,
// the last one in nothing, and the file may start with a UTF-8 byte order mark.
//
// A writer that was stopped, as by a power cut, leaves a torn end: a last line without
// its line break that is no whole sample, perhaps of zero bytes, or gzip data without its
// end. What came before counts; the torn line is left out, and standard error gets a
// message. A last line without its break whose last field is empty is whole only if a
// line before left that field empty, too; one of gzip data without its end is never.
class RecordingReader : public SampleSource {
 public:
  // "-" is standard input. Throws RecordingError when the file cannot be opened or its
  // header is not a recording's.
  // The limit, where there is one, outlives the reader.
  // `handle`: of a capture; otherwise the only one that it holds.
  explicit RecordingReader(const std::string& path, ReadingLimit* limit = nullptr,
                           std::optional<unsigned> handle = std::nullopt);
  ~RecordingReader() override;

  // The next sample; false at the end. Throws RecordingError at a malformed line: not
  // seven fields, or a field that is no finite number; and at the limit. An empty field,
  // an axis that the sensor does not have, reads as 0 and is counted; the time may not be
  // empty.
  bool next(RecordedSample& sample) override;

  // Up to `count` samples from here on, without using them: next() returns them as if
  // they had not been read, and throws at a malformed line after them in its turn.
  const std::deque<RecordedSample>& read_ahead(size_t count);

  size_t line() const;              // number of the line last read, from 1; or sample
  size_t absent_fields() const;     // empty fields so far
  std::string absent_axes() const;  // the axes they belong to, as "gx, gy"; may be ""

 private:
  struct Source;
  bool parse_next(RecordedSample& sample);
  bool next_captured(RecordedSample& sample);
  void read_header();
  bool parse_last(std::string_view text, RecordedSample& sample);

  std::unique_ptr<Source> source_;           // of CSV
  std::unique_ptr<CaptureSamples> capture_;  // otherwise
  ReadingLimit* const limit_;
  std::deque<RecordedSample> ahead_;
  std::exception_ptr error_behind_;  // what stopped reading ahead
  bool at_end_ = false;
  std::string note_;  // about a torn end; empty once it is said
};

// A whole recording at once.
std::vector<RecordedSample> read_recording(const std::string& path,
                                           ReadingLimit* limit = nullptr);

// Writes a recording, alone or with what belongs to it; gzip when the path ends in ".gz".
// The same samples give the same bytes. Throws RecordingError when a number is not
// finite, which no reader would take, and what OutputFiles throws.
void write_recording(const std::string& path, const std::vector<RecordedSample>& samples);
void write_recording(const std::string& path, const std::vector<RecordedSample>& samples,
                     OutputFiles& files);

}  // namespace wgr
