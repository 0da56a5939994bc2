#include "capture/capture_writer.h"

#include <algorithm>
#include <cstring>

namespace wgr {

using namespace wgr::capture;
using recorder::Bytes;
using recorder::SampleCoder;

static constexpr std::size_t kMostRecord = 1024;  // bytes; of any but a model's
static constexpr std::size_t kMostSample = 24 + SampleCoder::kMostBytes;
static constexpr std::size_t kSteps6 = 40 + kAxes * 9;  // and a thread before a sample
static constexpr std::size_t kModelHead = 48;
static constexpr std::size_t kLeastPart = 256;  // of a model

static const Checksum& checksum() {
  static const Checksum sums;
  return sums;
}

CaptureWriter::CaptureWriter(OutputFile& file, const CaptureHeader& header)
    : file_(file) {
  std::uint8_t* const to = block_.data();
  std::memcpy(to, kMagic, sizeof kMagic);
  put_le(to + kVersionAt, kFormatVersion);
  put_le(to + kBlockSizeAt, static_cast<std::uint16_t>(kBlockSize));
  put_le(to + kSequenceAt, header.sequence);
  std::copy(header.run.begin(), header.run.end(), block_.begin() + kRunAt);
  put_le(to + kRealTimeAt, header.real_time);
  put_le(to + kMonotonicAt, header.monotonic);
  put_le(to + kProcessAt, header.process);
  put_le(to + kParentAt, header.parent);
  put_le(to + kMajorAt, static_cast<std::uint32_t>(header.major));
  put_le(to + kMinorAt, static_cast<std::uint32_t>(header.minor));
  header.processor.copy(reinterpret_cast<char*>(to) + kProcessorAt, kProcessorSize);
  header.label.copy(reinterpret_cast<char*>(to) + kLabelAt, kLabelSize);
  end_block();
}

void CaptureWriter::end_block() {
  put_le(block_.data() + kChecksumAt, checksum().of_block(block_.data()));
  file_.write({reinterpret_cast<const char*>(block_.data()), block_.size()});
  block_.fill(0);
  at_ = kBlockSize;
}

void CaptureWriter::start_block(const CaptureRecord& record) {
  put_le(block_.data() + kNumberAt, ++number_);
  put_le(block_.data() + kBlockMonotonicAt, record.time);
  const std::uint64_t real =
      record.real_offset == 0 ? 0 : record.time + record.real_offset;
  put_le(block_.data() + kBlockRealTimeAt, real);
  at_ = kFirstRecordAt;
  last_time_ = record.time;
  thread_ = last_sample_ = 0;
}

// Room in a block for so many bytes.
void CaptureWriter::need(std::size_t bytes, const CaptureRecord& record) {
  if (at_ + bytes <= kChecksumAt) return;
  if (at_ < kBlockSize) end_block();
  start_block(record);
}

void CaptureWriter::commit(const Bytes& record) {
  block_[at_ + record.size()] = record.check();
  at_ += record.size() + 1;
}

template <class Fill>
void CaptureWriter::put(Tag tag, const CaptureRecord& record, const Fill& fill) {
  std::uint8_t body[kMostRecord];
  Bytes bytes(body);
  bytes.varint(record.time - last_time_);
  fill(bytes);
  Bytes to(block_.data() + at_);
  to.byte(tag);
  to.varint(bytes.size());
  to.bytes(body, bytes.size());
  commit(to);
  last_time_ = record.time;
}

void CaptureWriter::put_thread(const CaptureRecord& record) {
  if (record.thread == thread_) return;
  put(kThread, record, [&](Bytes& bytes) { bytes.varint(record.thread); });
  thread_ = record.thread;
}

void CaptureWriter::put_model(const CaptureRecord& record, const CaptureReader& reader) {
  const CapturedModel* const model = reader.model(record.model);
  if (model == nullptr || !models_.insert(record.model).second) return;
  std::size_t offset = 0;
  do {
    need(kModelHead + kLeastPart, record);
    const std::size_t part =
        std::min(model->content.size() - offset, kChecksumAt - at_ - kModelHead);
    std::uint8_t head[kModelHead];
    Bytes bytes(head);
    bytes.varint(record.time - last_time_);
    bytes.varint(record.model);
    bytes.byte(model->flags);
    bytes.varint(model->size);
    bytes.varint(offset);
    Bytes to(block_.data() + at_);
    to.byte(kModel);
    to.varint(bytes.size() + part);
    to.bytes(head, bytes.size());
    to.bytes(model->content.data() + offset, part);
    commit(to);
    last_time_ = record.time;
    offset += part;
  } while (offset < model->content.size());
}

void CaptureWriter::put_sample(const CaptureRecord& record) {
  HandleState& state = handles_[record.handle];
  const bool more =
      state.block != number_ || state.coder.steps_changed() || record.thread != thread_;
  need(kMostSample + (more ? kSteps6 : 0), record);
  put_thread(record);
  if (state.block != number_) {
    state.block = number_;
    state.coder.start_block();
    state.last_time = get_le<std::uint64_t>(block_.data() + kBlockMonotonicAt);
    state.last_interval = 0;
  }
  if (state.coder.steps_changed()) {
    put(kSteps, record, [&](Bytes& bytes) {
      bytes.varint(record.handle);
      state.coder.write_steps(bytes);
    });
  }
  const bool same = record.handle == last_sample_ && record.handle != 0;
  const SampleCoder::Counted sample = state.coder.count(record.acc, record.gyro);
  Bytes to(block_.data() + at_);
  to.byte(sample_tag(sample.wide, same));
  if (!same) to.varint(record.handle);
  to.signed_varint(
      static_cast<std::int64_t>(record.time - state.last_time - state.last_interval));
  state.coder.write(sample, to);
  commit(to);
  state.last_interval = record.time - state.last_time;
  state.last_time = last_time_ = record.time;
  last_sample_ = record.handle;
}

// What is known of a handle that was there before.
static void put_handle(const CaptureRecord& record, Bytes& bytes) {
  bytes.byte(record.flags);
  bytes.init(record.init);
  bytes.signed_varint(record.value);
  bytes.varint(record.model);
  bytes.number(record.number);
  bytes.number(record.cost_time);
}

// The body of what belongs to no handle; false for other records.
static bool put_note(const CaptureRecord& record, Bytes& bytes) {
  switch (record.tag) {
    case kVersionSet:
    case kGetVersion:
      bytes.signed_varint(record.major);
      bytes.signed_varint(record.minor);
      return true;
    case kMark:
      bytes.bytes(record.text.data(), std::min(record.text.size(), kMostRecord / 2));
      return true;
    case kEnd:
      bytes.byte(static_cast<std::uint8_t>(record.value));
      return true;
    case kMissed:
      bytes.varint(record.count);
      return true;
    case kCallbackEnd:
      bytes.byte(record.ending);
      return true;
    default:
      return false;
  }
}

void CaptureWriter::put_body(const CaptureRecord& record, Bytes& bytes) {
  if (put_note(record, bytes)) return;
  bytes.varint(record.handle);
  switch (record.tag) {
    case kAnswer:
      bytes.byte(record.call);
      bytes.byte(record.ending);
      bytes.signed_varint(record.value);
      break;
    case kHandle:
      put_handle(record, bytes);
      break;
    case kCreate:
      bytes.varint(record.model);
      break;
    case kInit:
      bytes.init(record.init);
      break;
    case kSetModel:
      bytes.signed_varint(record.wearer);
      bytes.signed_varint(record.mode);
      bytes.varint(record.model);
      break;
    case kWearer:
      bytes.byte(static_cast<std::uint8_t>(record.flags & ~kSameAsSample));
      bytes.signed_varint(record.value);
      bytes.number(record.acc.x);
      bytes.number(record.acc.y);
      bytes.number(record.acc.z);
      break;
    case kInjection:
      bytes.byte(record.flags);
      bytes.varint(record.count);
      break;
    case kCostTime:
    case kStrength:
      bytes.number(record.number);
      break;
    case kRegister:
    case kDestroy:
      bytes.byte(record.flags);
      break;
    default:  // an answer, a gesture, a level
      bytes.signed_varint(record.value);
      break;
  }
}

void CaptureWriter::write(const CaptureRecord& given, const CaptureReader& reader) {
  CaptureRecord record = given;
  // A damaged capture's times may go back.
  record.time = std::max(record.time, last_time_);
  if (record.gap) {
    need(kMostRecord, record);
    put(kMissed, record, [](Bytes& bytes) { bytes.varint(0); });
  }
  put_model(record, reader);
  if (record.tag == kSample) {
    put_sample(record);
    return;
  }
  need(kMostRecord, record);
  put_thread(record);
  put(record.tag, record, [&](Bytes& bytes) { put_body(record, bytes); });
}

void CaptureWriter::finish() {
  if (at_ < kBlockSize) end_block();
}

}  // namespace wgr
