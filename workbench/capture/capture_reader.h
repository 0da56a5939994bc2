// Reads a capture record by record; see docs/capture-file.md. Its memory does not grow
// with the capture.
//
// What a power cut leaves is no error: a torn record ends its block, and a damaged block
// is passed over, as a gap that the next record marks. What no recorder writes is
// refused, with its offset in the file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "WgrTypes.h"
#include "capture_format.h"
#include "recording/byte_source.h"

namespace wgr {

// what() reads "FILE: offset N: REASON", or "FILE: REASON".
class CaptureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CaptureHeader {
  std::uint32_t sequence = 0;  // of the segment, in its run
  std::array<std::uint8_t, capture::kRunSize> run = {};
  std::uint64_t real_time = 0;  // us since 1970; 0 when it was removed
  std::uint64_t monotonic = 0;  // us
  std::uint32_t process = 0;
  std::uint32_t parent = 0;
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::string processor;
  std::string label;
};

// Of the fields those that the tag's record has; see docs/capture-file.md.
struct CaptureRecord {
  capture::Tag tag = capture::kNoRecord;  // of a sample always kSample
  std::uint64_t offset = 0;               // in the file
  std::uint64_t time = 0;                 // us, of the monotonic clock
  std::uint64_t real_offset = 0;          // us from that to the time since 1970
  bool gap = false;                       // something is missing before it
  std::uint32_t thread = 0;
  std::uint32_t handle = 0;  // 0: the null handle
  std::uint8_t flags = 0;
  std::uint8_t call = 0;    // of an answer: the call's tag
  std::uint8_t ending = 0;  // kReturned or kThrew
  int value = 0;            // an answer, a gesture, a level
  int wearer = 0;
  int mode = 0;
  std::uint32_t model = 0;
  double number = 0.0;  // an answer; of a kHandle the motion strength
  double cost_time = 0.0;
  Point3Df acc = {0.0, 0.0, 0.0};
  Point3Df gyro = {0.0, 0.0, 0.0};
  capture::InitArguments init;
  int major = 0;
  int minor = 0;
  std::uint64_t count = 0;  // of missed calls, of injected samples
  std::string text;         // of a mark
};

struct CapturedModel {
  std::uint8_t flags = 0;
  std::uint64_t size = 0;  // that it is to have
  std::string content;
};

class CaptureReader {
 public:
  // "-" is standard input. Throws CaptureError for what is no capture.
  explicit CaptureReader(const std::string& path);

  const CaptureHeader& header() const { return header_; }

  // The next record but kModel, kSteps and kThread, which the reader uses itself; false
  // at the end.
  bool next(CaptureRecord& record);

  // By its number, as far as it was read; null when it was not.
  const CapturedModel* model(std::uint32_t number) const;

  std::uint64_t samples() const { return samples_; }
  std::uint64_t sample_bytes() const { return sample_bytes_; }  // of their records
  std::uint64_t damaged_blocks() const { return damaged_; }
  std::uint64_t torn_records() const { return torn_; }
  std::uint64_t first_damage() const { return first_damage_; }  // its offset
  bool ended() const { return ended_; }                         // not by chance: by kEnd

 private:
  class Cursor;
  struct HandleState {
    std::array<capture::Step, capture::kAxes> steps;
    std::array<std::int64_t, capture::kAxes> last = {};
    std::array<int, capture::kAxes> exponents = {};
    std::uint64_t block = 0;
    std::uint64_t last_time = 0;
    std::uint64_t last_interval = 0;
    Point3Df last_acc = {0.0, 0.0, 0.0};
  };

  bool read_block();
  bool next_block();
  void note_damage(std::uint64_t offset);
  void read_header();
  HandleState& state_of(std::uint32_t handle);
  bool parse(CaptureRecord& record);
  void parse_sample(Cursor& cursor, std::uint8_t tag, CaptureRecord& record);
  bool parse_description(Cursor& cursor, capture::Tag tag);
  bool parse_note(Cursor& cursor, CaptureRecord& record);
  void parse_body(Cursor& cursor, CaptureRecord& record);
  static void parse_call(Cursor& cursor, CaptureRecord& record);
  void parse_wearer(Cursor& cursor, CaptureRecord& record);
  void parse_model(Cursor& cursor);
  void parse_steps(Cursor& cursor);
  [[noreturn]] void refuse(std::size_t at, const std::string& reason) const;
  std::uint64_t offset_of(std::size_t at) const;

  const std::string name_;
  std::unique_ptr<ByteSource> bytes_;
  CaptureHeader header_;
  std::array<std::uint8_t, capture::kBlockSize> block_ = {};
  std::size_t block_size_ = 0;     // that was read
  std::uint64_t blocks_read_ = 0;  // so many are in the file up to here
  std::uint64_t number_ = 0;       // of the block
  std::size_t at_ = capture::kBlockSize;
  bool sealed_ = false;
  bool gap_ = false;
  bool unwritten_ = false;  // a block without anything has been seen
  std::uint64_t serial_ = 0;
  std::uint64_t block_begin_ = 0;
  std::uint64_t last_time_ = 0;
  std::uint64_t real_offset_ = 0;
  std::uint32_t thread_ = 0;
  std::uint32_t last_sample_ = 0;
  std::map<std::uint32_t, HandleState> handles_;
  std::map<std::uint32_t, CapturedModel> models_;
  std::uint64_t model_bytes_ = 0;
  std::uint64_t samples_ = 0;
  std::uint64_t sample_bytes_ = 0;
  std::uint64_t damaged_ = 0;
  std::uint64_t torn_ = 0;
  std::uint64_t first_damage_ = 0;
  bool ended_ = false;
};

// Whether the file is a capture, by its first bytes. What is no regular file is none.
bool is_capture(const std::string& path);

}  // namespace wgr
