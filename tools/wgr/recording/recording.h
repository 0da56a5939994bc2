// Recordings of motion: CSV with the header t,ax,ay,az,gx,gy,gz, plain or gzip.
//
// Times in s, accelerations in m/s² with gravity in them, rates in deg/s, one sample a
// line. Numbers are read and written the same in every locale.
#pragma once

#include <cstddef>
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

// A recording that cannot be opened or a line that is no sample; what() reads
// "FILE:LINE: REASON".
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a recording sample by sample, so that a live stream is seen as it comes.
class RecordingReader {
 public:
  // "-" is standard input. Throws RecordingError when the file cannot be opened or its
  // header is not a recording's.
  explicit RecordingReader(const std::string& path);
  ~RecordingReader();

  // The next sample; false at the end. Throws RecordingError at a malformed line. An
  // empty field, an axis that the sensor does not have, reads as 0 and is counted.
  bool next(RecordedSample& sample);

  size_t line() const;           // number of the line last read, from 1
  size_t absent_fields() const;  // empty fields so far

 private:
  struct Source;
  std::unique_ptr<Source> source_;
};

// A whole recording at once.
std::vector<RecordedSample> read_recording(const std::string& path);

// Writes a recording; gzip when the path ends in ".gz". The same samples give the same
// bytes. Throws RecordingError when it cannot be written.
void write_recording(const std::string& path, const std::vector<RecordedSample>& samples);
