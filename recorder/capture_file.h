// The files of one process: memory-mapped segments that grow block by block.
//
// Room is reserved on the disk before it is mapped, so that a full disk is an error of
// the reservation and never a signal at a store. No descriptor stays open: a host that
// closes all of its descriptors does not close one of the recorder's, and the recorder
// never uses one of the host's by mistake.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "capture_format.h"
#include "settings.h"

namespace wgr::recorder {

struct Moment {
  std::uint64_t monotonic;  // us
  std::uint64_t real;       // us since 1970
};
Moment now();
std::uint64_t monotonic_now();

struct LibraryVersion {
  int major;
  int minor;
};

class CaptureFile {
 public:
  explicit CaptureFile(const Settings& settings) : settings_(settings) {}
  CaptureFile(const CaptureFile&) = delete;
  CaptureFile& operator=(const CaptureFile&) = delete;

  // Begins a run of its own; nothing is written before the first record.
  void start_run(LibraryVersion version, pid_t parent);
  bool is_open() const { return room_ != nullptr; }

  // Where a record of so many bytes goes: in the block that is being filled, or the next
  // one, perhaps of another segment. Null when there is no room to be had: the recording
  // is at its end.
  std::uint8_t* place_for(std::size_t bytes, std::uint64_t time) {
    const bool fits = room_ != nullptr && at_ + bytes + kEndBytes <= capture::kChecksumAt;
    return fits || start_next_block(time) ? block() + at_ : nullptr;
  }
  // What is left of the block for records; the end of a segment always has room.
  std::size_t left() const { return capture::kChecksumAt - kEndBytes - at_; }

  // The record of `size` bytes in that place is complete but for its check byte.
  void commit(std::size_t size, std::uint8_t check);

  // Counts up with each block and with each segment.
  std::uint64_t block_serial() const { return block_serial_; }
  std::uint64_t segment_serial() const { return segment_serial_; }
  std::uint64_t block_begin() const { return block_begin_; }  // us

  // Keeps what is around this moment, where only that is kept.
  void keep_around(std::uint64_t time);

  // Ends the segment: it is cut to what was written.
  void close(capture::EndReason reason, std::uint64_t time);

  // In a child: the files are the parent's.
  void forget();

 private:
  struct Segment {
    std::uint32_t sequence;
    std::uint64_t begin;  // us
    std::uint64_t end;
    bool keep;
  };
  static constexpr std::size_t kMostSegments = 512;  // that are remembered
  static constexpr std::size_t kEndBytes = 8;

  bool open_segment(std::uint64_t time);
  int create_segment();
  int reopen_segment() const;
  bool reserve_room(int fd, std::uint64_t begin);
  bool next_block(std::uint64_t time);
  bool start_next_block(std::uint64_t time);
  bool segment_is_full(std::uint64_t time) const;
  std::uint64_t segment_time() const;
  void start_block(const Moment& moment);
  void seal();
  void write_header(const Moment& moment);
  void remember_segment(std::uint64_t time);
  void drop_unkept(std::uint64_t time);
  void path_of(std::uint32_t sequence, char* path) const;
  std::uint8_t* block() const { return room_ + room_at_; }

  const Settings& settings_;
  const capture::Checksum checksum_;
  LibraryVersion version_ = {0, 0};
  pid_t process_ = 0;
  pid_t parent_ = 0;
  std::uint64_t run_begin_ = 0;  // s since 1970; in the files' names
  std::uint8_t run_[capture::kRunSize] = {};
  std::uint32_t sequence_ = 0;  // of the next segment

  dev_t device_ = 0;  // of the open segment
  ino_t inode_ = 0;
  std::uint8_t* room_ = nullptr;
  std::uint64_t room_begin_ = 0;  // in the file
  std::size_t room_at_ = 0;       // of the block, in the room
  std::size_t at_ = 0;            // of the next record, in the block
  std::uint32_t block_number_ = 0;
  std::uint64_t block_serial_ = 0;
  std::uint64_t segment_serial_ = 0;
  std::uint64_t block_begin_ = 0;
  std::uint64_t segment_begin_ = 0;
  std::uint64_t keep_until_ = 0;
  std::array<Segment, kMostSegments> segments_ = {};  // the oldest first
  std::size_t segment_count_ = 0;
};

}  // namespace wgr::recorder
