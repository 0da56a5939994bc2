// Recordings of motion: CSV with the header t,ax,ay,az,gx,gy,gz, plain or gzip.
//
// Times in s, accelerations in m/s² with gravity in them, rates in deg/s, one sample a
// line. Numbers are read and written the same in every locale, and a number that is
// written is read back as the very same double.
#pragma once

#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "WgrTypes.h"

struct RecordedSample {
  double t;       // s
  Point3Df acc;   // m/s²
  Point3Df gyro;  // deg/s
};

// A recording that cannot be opened, read or written, or a line that is no sample;
// what() reads "FILE:LINE: REASON", or "FILE: REASON" when no line is to blame.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a recording sample by sample, so that a live stream is seen as it comes.
//
// Whether a recording is compressed is seen from its content. Lines may end in CR LF,
// the last one in nothing, and the file may start with a UTF-8 byte order mark.
class RecordingReader {
 public:
  // "-" is standard input. Throws RecordingError when the file cannot be opened or its
  // header is not a recording's.
  explicit RecordingReader(const std::string& path);
  ~RecordingReader();

  // The next sample; false at the end. Throws RecordingError at a malformed line: not
  // seven fields, or a field that is no finite number. An empty field, an axis that
  // the sensor does not have, reads as 0 and is counted; the time may not be empty.
  bool next(RecordedSample& sample);

  // Up to `count` samples from here on, without using them: next() hands them out as if
  // they had not been seen, and throws at a malformed line behind them in its turn.
  const std::deque<RecordedSample>& read_ahead(size_t count);

  size_t line() const;              // number of the line last read, from 1
  size_t absent_fields() const;     // empty fields so far
  std::string absent_axes() const;  // the axes they belong to, as "gx, gy"; may be ""

 private:
  struct Source;
  bool parse_next(RecordedSample& sample);

  std::unique_ptr<Source> source_;
  std::deque<RecordedSample> ahead_;
  std::exception_ptr error_behind_;  // what stopped reading ahead
};

// A whole recording at once.
std::vector<RecordedSample> read_recording(const std::string& path);

// Writes a recording; gzip when the path ends in ".gz"; to standard output when it is
// "-". The same samples give the same bytes. Throws RecordingError when it cannot be
// written, or when a number is not finite, which no reader would take.
void write_recording(const std::string& path, const std::vector<RecordedSample>& samples);
