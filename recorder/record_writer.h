// Makes records of calls, and describes before them what a reader of the segment has to
// know: the thread, the handle, its model, the steps of its axes. One thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "WgrInterface.h"
#include "bytes.h"
#include "capture_file.h"
#include "handles.h"
#include "models.h"

namespace wgr::recorder {

class RecordWriter {
 public:
  explicit RecordWriter(const Settings& settings) : file_(settings) {}

  CaptureFile& file() { return file_; }
  Models& models() { return models_; }
  std::uint64_t block() const { return block_; }

  // After a failure of the disk nothing is tried for a minute.
  bool is_paused(std::uint64_t time) const { return time < not_before_; }
  void resume() { not_before_ = 0; }

  void start_run(WgVersion version, pid_t parent);
  // Whose records come next.
  void set_thread(std::uint32_t number) { thread_ = number; }

  // Writes a record: the time, then the body, which `fill` writes; false where there is
  // no room for it.
  template <class Fill>
  bool put(capture::Tag tag, std::uint64_t time, const Fill& fill);
  // The same behind the number of its thread.
  template <class Fill>
  bool put_of_thread(capture::Tag tag, std::uint64_t time, const Fill& fill) {
    return note_thread(time) && put(tag, time, fill);
  }
  // The same in a segment that describes the handle.
  template <class Fill>
  bool put_of_handle(capture::Tag tag, Handle& handle, std::uint64_t time,
                     const Fill& fill);
  void put_version(capture::Tag tag, WgVersion version, std::uint64_t time);
  // The model is in this segment when this returns true; 0: there is none.
  bool put_model(std::uint32_t number, std::uint64_t time);
  void put_sample(Handle& handle, const Point3Df& acc, const Point3Df& gyro,
                  std::uint64_t time);

  // A segment describes each handle where it is used first.
  bool note_handle(Handle& handle, std::uint64_t time);
  void note_version(WgVersion version, std::uint64_t time);

 private:
  // At most, of a record but a model's.
  static constexpr std::size_t kShortBytes = 124;

  std::uint8_t* place(std::size_t bytes, std::uint64_t time);
  bool note_thread(std::uint64_t time);
  bool put_thread(std::uint64_t time);
  bool room_for_sample(Handle& handle, std::uint64_t time);
  bool is_described(const Handle& handle) const {
    return handle.id == 0 || handle.segment == file_.segment_serial();
  }
  bool put_handle(Handle& handle, std::uint64_t time);
  bool put_model_part(const LoadedModel& model, std::uint32_t number, std::size_t& offset,
                      std::uint64_t time);

  CaptureFile file_;
  Models models_;
  std::uint64_t not_before_ = 0;  // the disk was full, us
  std::uint32_t thread_ = 0;
  WgVersion noted_version_ = {0, 0};

  // What the reader knows in this block.
  std::uint64_t block_ = 0;
  std::uint64_t last_time_ = 0;
  std::uint32_t last_thread_ = 0;
  std::uint32_t last_sample_id_ = 0;
};

template <class Fill>
bool RecordWriter::put_of_handle(capture::Tag tag, Handle& handle, std::uint64_t time,
                                 const Fill& fill) {
  // The room for it may be in yet another segment.
  do {
    if (!note_handle(handle, time) || !note_thread(time)) return false;
  } while (!is_described(handle));
  return put(tag, time, fill);
}

template <class Fill>
bool RecordWriter::put(capture::Tag tag, std::uint64_t time, const Fill& fill) {
  std::uint8_t* const to = place(kShortBytes, time);
  if (to == nullptr) return false;
  std::uint8_t body[kShortBytes];
  Bytes bytes(body);
  // The block may have been begun a moment after the time was taken.
  bytes.varint(time > last_time_ ? time - last_time_ : 0);
  fill(bytes);
  Bytes record(to);
  record.byte(tag);
  static_assert(kShortBytes < 0x80, "one byte is a varint");
  record.byte(static_cast<std::uint8_t>(bytes.size()));
  record.bytes(body, bytes.size());
  file_.commit(record.size(), record.check());
  last_time_ = std::max(last_time_, time);
  return true;
}

}  // namespace wgr::recorder
