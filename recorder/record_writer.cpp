#include "record_writer.h"

#include "real_library.h"

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr std::size_t kSampleBytes = 24 + SampleCoder::kMostBytes;  // at most
static constexpr std::size_t kModelHead = 48;        // before a model's bytes
static constexpr std::size_t kLeastPart = 256;       // of a model, behind other records
static constexpr std::uint64_t kRetry = 60'000'000;  // us, after the disk was full
static constexpr int kAttempts = 2;                  // at a model and its segment

void RecordWriter::start_run(WgVersion version, pid_t parent) {
  noted_version_ = version;
  not_before_ = 0;
  file_.start_run({version.major, version.minor}, parent);
}

// Room for so many bytes in a block, with what a reader knows of a new one; null when
// there is none: recording pauses.
std::uint8_t* RecordWriter::place(std::size_t bytes, std::uint64_t time) {
  std::uint8_t* const to = file_.place_for(bytes, time);
  if (to == nullptr) {
    not_before_ = time + kRetry;
    return nullptr;
  }
  if (block_ != file_.block_serial()) {
    block_ = file_.block_serial();
    last_time_ = file_.block_begin();
    last_thread_ = 0;
    last_sample_id_ = 0;
  }
  return to;
}

void RecordWriter::put_version(Tag tag, WgVersion version, std::uint64_t time) {
  put_of_thread(tag, time, [&](Bytes& bytes) {
    bytes.signed_varint(version.major);
    bytes.signed_varint(version.minor);
  });
}

// One part of a model's content, as large as the block has room for.
bool RecordWriter::put_model_part(const LoadedModel& model, std::uint32_t number,
                                  std::size_t& offset, std::uint64_t time) {
  std::uint8_t* const to = place(kModelHead + kLeastPart, time);
  if (to == nullptr) return false;
  const std::size_t part = std::min(model.size - offset, file_.left() - kModelHead);
  std::uint8_t head[kModelHead];
  Bytes bytes(head);
  bytes.varint(time > last_time_ ? time - last_time_ : 0);
  bytes.varint(number);
  bytes.byte(model.flags);
  bytes.varint(model.size);
  bytes.varint(offset);
  Bytes record(to);
  record.byte(kModel);
  record.varint(bytes.size() + part);
  record.bytes(head, bytes.size());
  if (part > 0) record.bytes(model.bytes + offset, part);
  file_.commit(record.size(), record.check());
  last_time_ = std::max(last_time_, time);
  offset += part;
  return true;
}

// A model that fills its segment is written once more, into the next one: what names it
// stands behind it.
bool RecordWriter::put_model(std::uint32_t number, std::uint64_t time) {
  if (number == 0) return true;
  LoadedModel& model = models_.at(number);
  for (int i = 0; i < kAttempts; ++i) {
    if (place(kLeastPart, time) == nullptr) return false;
    const std::uint64_t segment = file_.segment_serial();
    if (model.segment == segment) return true;
    std::size_t offset = 0;
    do {
      if (!put_model_part(model, number, offset, time)) return false;
    } while (offset < model.size);
    model.segment = segment;
  }
  return true;
}

// What the reader has to know of a handle that was there before the segment. Its figures
// are asked by the thread that uses the handle, as is allowed.
bool RecordWriter::put_handle(Handle& handle, std::uint64_t time) {
  const double strength_now = real_library().strength(handle.pointer);
  const double cost_now = real_library().cost_time(handle.pointer);
  return put(kHandle, time, [&](Bytes& bytes) {
    bytes.varint(handle.id);
    bytes.byte(handle.flags);
    bytes.init(handle.init);
    bytes.signed_varint(handle.level);
    bytes.varint(handle.model);
    bytes.number(strength_now);
    bytes.number(cost_now);
  });
}

// The thread's number where it has changed. There is room.
bool RecordWriter::put_thread(std::uint64_t time) {
  if (thread_ == last_thread_) return true;
  if (!put(kThread, time, [&](Bytes& bytes) { bytes.varint(thread_); })) return false;
  last_thread_ = thread_;
  return true;
}

// Room for a call's record, behind the number of its thread.
bool RecordWriter::note_thread(std::uint64_t time) {
  return place(2 * kShortBytes, time) != nullptr && put_thread(time);
}

bool RecordWriter::note_handle(Handle& handle, std::uint64_t time) {
  if (handle.id == 0) return true;
  for (;;) {
    if (place(kShortBytes, time) == nullptr) return false;
    const std::uint64_t segment = file_.segment_serial();
    if (handle.segment == segment) return true;
    if ((handle.flags & kUnknownOrigin) == 0 && !put_model(handle.model, time)) {
      return false;
    }
    if (!note_thread(time) || !put_handle(handle, time)) return false;
    if (file_.segment_serial() == segment) handle.segment = segment;
  }
}

void RecordWriter::note_version(WgVersion version, std::uint64_t time) {
  if (version.major == noted_version_.major && version.minor == noted_version_.minor) {
    return;
  }
  noted_version_ = version;
  put_version(kVersionSet, version, time);
}

// Room in a segment that describes the handle. What comes before a sample stands in the
// same block, or the sample could not be read.
bool RecordWriter::room_for_sample(Handle& handle, std::uint64_t time) {
  do {
    if (!note_handle(handle, time)) return false;
    const bool more =
        handle.block != block_ || handle.coder.steps_changed() || thread_ != last_thread_;
    const std::size_t bytes = kSampleBytes + (more ? 2 * kShortBytes : 0);
    if (place(bytes, time) == nullptr) return false;
  } while (!is_described(handle));
  return true;
}

void RecordWriter::put_sample(Handle& handle, const Point3Df& acc, const Point3Df& gyro,
                              std::uint64_t time) {
  if (!room_for_sample(handle, time) || !put_thread(time)) return;
  if (handle.block != block_) {
    handle.block = block_;
    handle.coder.start_block();
    handle.last_time = file_.block_begin();
    handle.last_interval = 0;
  }
  if (handle.coder.steps_changed()) {
    put(kSteps, time, [&](Bytes& steps) {
      steps.varint(handle.id);
      handle.coder.write_steps(steps);
    });
  }
  std::uint8_t* const to = place(kSampleBytes, time);
  if (to == nullptr) return;
  time = std::max(time, last_time_);
  const bool same = handle.id == last_sample_id_ && handle.id != 0;
  const SampleCoder::Counted sample = handle.coder.count(acc, gyro);
  Bytes record(to);
  record.byte(sample_tag(sample.wide, same));
  if (!same) record.varint(handle.id);
  record.signed_varint(
      static_cast<std::int64_t>(time - handle.last_time - handle.last_interval));
  handle.coder.write(sample, record);
  file_.commit(record.size(), record.check());
  handle.last_interval = time - handle.last_time;
  handle.last_time = last_time_ = time;
  handle.last_acc = acc;
  last_sample_id_ = handle.id;
}

}  // namespace wgr::recorder
