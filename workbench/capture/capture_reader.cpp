#include "capture/capture_reader.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace wgr {

using namespace wgr::capture;

static constexpr std::uint32_t kMostModel = 1000;           // a model's number
static constexpr std::uint64_t kMostModelBytes = 64000000;  // of all models
static constexpr int kMostVarint = 10;                      // bytes
static constexpr int kBitsInByte = 7;                       // of a varint

static const Checksum& checksum() {
  static const Checksum sums;
  return sums;
}

// Reads what is between a record's first and its last byte.
class CaptureReader::Cursor {
 public:
  Cursor(const CaptureReader& reader, std::size_t at, std::size_t end)
      : reader_(reader), at_(at), end_(end) {}

  std::size_t at() const { return at_; }
  std::size_t left() const { return end_ - at_; }
  const std::uint8_t* bytes(std::size_t count) {
    if (left() < count) reader_.refuse(at_, "the record is too short");
    const std::uint8_t* const from = reader_.block_.data() + at_;
    at_ += count;
    return from;
  }
  std::uint8_t byte() { return *bytes(1); }
  std::uint64_t varint() {
    std::uint64_t value = 0;
    for (int i = 0; i < kMostVarint; ++i) {
      const std::uint8_t part = byte();
      value |= static_cast<std::uint64_t>(part & 0x7F) << (kBitsInByte * i);
      if ((part & 0x80) == 0) return value;
    }
    reader_.refuse(at_, "a number has too many bytes");
  }
  std::uint32_t number32() {
    const std::uint64_t value = varint();
    if (value > 0xFFFFFFFFu) reader_.refuse(at_, "a number is too large");
    return static_cast<std::uint32_t>(value);
  }
  std::int64_t signed_varint() { return from_zigzag(varint()); }
  int integer() {
    const std::int64_t value = signed_varint();
    if (value != static_cast<std::int32_t>(value)) {
      reader_.refuse(at_, "a number is too large");
    }
    return static_cast<int>(value);
  }
  std::string rest() {
    const std::size_t size = left();
    return std::string(reinterpret_cast<const char*>(bytes(size)), size);
  }
  double real() { return double_of(get_le<std::uint64_t>(bytes(8))); }
  Point3Df point() {
    const double x = real();
    const double y = real();
    return {x, y, real()};
  }

 private:
  const CaptureReader& reader_;
  std::size_t at_;
  const std::size_t end_;
};

void CaptureReader::refuse(std::size_t at, const std::string& reason) const {
  throw CaptureError(name_ + ": offset " + std::to_string(offset_of(at)) + ": " + reason);
}

std::uint64_t CaptureReader::offset_of(std::size_t at) const {
  return (blocks_read_ - 1) * kBlockSize + at;
}

CaptureReader::CaptureReader(const std::string& path)
    : name_(path == "-" ? "standard input" : path) {
  try {
    bytes_ = std::make_unique<ByteSource>(path);
  } catch (const ByteSourceError& error) {
    throw CaptureError(name_ + ": " + error.what());
  }
  read_header();
}

// The next block into memory; false when there is none. What is missing of the last one
// reads as zeros.
bool CaptureReader::read_block() {
  block_size_ = 0;
  try {
    while (block_size_ < kBlockSize) {
      const size_t got = bytes_->read(
          reinterpret_cast<char*>(block_.data()) + block_size_, kBlockSize - block_size_);
      if (got == 0) break;
      block_size_ += got;
    }
  } catch (const ByteSourceError& error) {
    throw CaptureError(name_ + ": " + error.what());
  }
  std::fill(block_.begin() + static_cast<std::ptrdiff_t>(block_size_), block_.end(),
            std::uint8_t{0});
  if (block_size_ == 0) return false;
  ++blocks_read_;
  return true;
}

static std::string text_at(const std::uint8_t* from, std::size_t most) {
  const auto* const text = reinterpret_cast<const char*>(from);
  return std::string(text, strnlen(text, most));
}

void CaptureReader::read_header() {
  const bool any = read_block();
  blocks_read_ = 1;
  if (!any || std::memcmp(block_.data(), kMagic, sizeof kMagic) != 0) {
    throw CaptureError(name_ + ": is no capture: it does not start as one");
  }
  const auto version = get_le<std::uint16_t>(block_.data() + kVersionAt);
  if (version != kFormatVersion) {
    refuse(kVersionAt, "the capture's format is version " + std::to_string(version) +
                           "; this program reads version " +
                           std::to_string(kFormatVersion));
  }
  if (get_le<std::uint32_t>(block_.data() + kChecksumAt) !=
      checksum().of_block(block_.data())) {
    refuse(kChecksumAt, "the header is damaged: its checksum does not fit");
  }
  if (get_le<std::uint16_t>(block_.data() + kBlockSizeAt) != kBlockSize) {
    refuse(kBlockSizeAt, "the blocks have a size that is not supported");
  }
  header_.sequence = get_le<std::uint32_t>(block_.data() + kSequenceAt);
  std::memcpy(header_.run.data(), block_.data() + kRunAt, kRunSize);
  header_.real_time = get_le<std::uint64_t>(block_.data() + kRealTimeAt);
  header_.monotonic = get_le<std::uint64_t>(block_.data() + kMonotonicAt);
  header_.process = get_le<std::uint32_t>(block_.data() + kProcessAt);
  header_.parent = get_le<std::uint32_t>(block_.data() + kParentAt);
  header_.major =
      static_cast<std::int32_t>(get_le<std::uint32_t>(block_.data() + kMajorAt));
  header_.minor =
      static_cast<std::int32_t>(get_le<std::uint32_t>(block_.data() + kMinorAt));
  header_.processor = text_at(block_.data() + kProcessorAt, kProcessorSize);
  header_.label = text_at(block_.data() + kLabelAt, kLabelSize);
}

void CaptureReader::note_damage(std::uint64_t offset) {
  if (damaged_++ == 0) first_damage_ = offset;
  gap_ = true;
}

// The next block that can be used; false when there is none.
bool CaptureReader::next_block() {
  while (read_block()) {
    const auto sum = get_le<std::uint32_t>(block_.data() + kChecksumAt);
    const std::uint64_t number = get_le<std::uint32_t>(block_.data() + kNumberAt);
    if (number == 0 && sum == 0 && block_[kFirstRecordAt] == kNoRecord) {
      unwritten_ =
          true;  // room that was reserved; or a block that never reached the disk
      continue;
    }
    const bool sealed = sum != 0;
    if ((sealed && sum != checksum().of_block(block_.data())) || number <= number_) {
      note_damage(offset_of(0));
      continue;
    }
    // A block is sealed before the next one is begun.
    const bool unsealed_before = number_ > 0 && !sealed_;
    if (unwritten_ || unsealed_before || number != number_ + 1) gap_ = true;
    sealed_ = sealed;
    unwritten_ = false;
    number_ = number;
    ++serial_;
    at_ = kFirstRecordAt;
    last_time_ = block_begin_ = get_le<std::uint64_t>(block_.data() + kBlockMonotonicAt);
    const auto real = get_le<std::uint64_t>(block_.data() + kBlockRealTimeAt);
    real_offset_ = real == 0 ? 0 : real - last_time_;
    thread_ = 0;
    last_sample_ = 0;
    return true;
  }
  return false;
}

const CapturedModel* CaptureReader::model(std::uint32_t number) const {
  const auto found = models_.find(number);
  return found == models_.end() ? nullptr : &found->second;
}

CaptureReader::HandleState& CaptureReader::state_of(std::uint32_t handle) {
  HandleState& state = handles_[handle];
  if (state.block == serial_) return state;
  const Point3Df last_acc = state.last_acc;
  state = HandleState();
  state.last_acc = last_acc;
  state.block = serial_;
  state.last_time = block_begin_;
  state.exponents.fill(kFirstExponent);
  return state;
}

bool CaptureReader::next(CaptureRecord& record) {
  for (;;) {
    if (at_ >= kChecksumAt || block_[at_] == kNoRecord) {
      if (!next_block()) return false;
      continue;
    }
    if (parse(record)) return true;
  }
}

// Reads one record; false when it was one for the reader itself, or torn.
bool CaptureReader::parse(CaptureRecord& record) {
  const std::size_t begin = at_;
  const std::uint8_t tag = block_[begin];
  record = CaptureRecord();
  std::size_t end = 0;
  try {
    Cursor cursor(*this, begin + 1, kChecksumAt);
    if (tag < kThread) {
      parse_sample(cursor, tag, record);
      end = cursor.at();
    } else {
      const std::uint64_t length = cursor.varint();
      if (length >= cursor.left()) refuse(begin, "the record leaves its block");
      end = cursor.at() + static_cast<std::size_t>(length);
    }
    if (end >= kChecksumAt) refuse(begin, "the record leaves its block");
  } catch (const CaptureError&) {
    if (sealed_) throw;
    end = kChecksumAt;
  }
  if (end == kChecksumAt ||
      check_byte(block_.data() + begin, end - begin) != block_[end]) {
    if (sealed_) refuse(begin, "the record's check byte does not fit");
    ++torn_;
    gap_ = true;
    at_ = kChecksumAt;
    return false;
  }
  at_ = end + 1;
  record.offset = offset_of(begin);
  record.real_offset = real_offset_;
  if (tag < kThread) {
    ++samples_;
    sample_bytes_ += end + 1 - begin;
  } else {
    Cursor length(*this, begin + 1, end);
    length.varint();
    Cursor body(*this, length.at(), end);
    const std::uint64_t later = body.varint();
    if (later > ~last_time_) refuse(begin, "the time is out of range");
    last_time_ += later;
    record.tag = static_cast<Tag>(tag);
    record.time = last_time_;
    parse_body(body, record);
  }
  record.thread = thread_;
  if (record.tag == kNoRecord) return false;
  record.gap = gap_;
  gap_ = false;
  return true;
}

// A value that is not in steps.
static double wide_value(std::uint8_t first, const std::uint8_t* rest, int& kept) {
  const unsigned below = first >> 4 & 7;
  std::uint64_t bits = 0;
  if (below == kWholeValue) {
    bits = get_le<std::uint64_t>(rest);
  } else {
    const int exponent = kept + kHighestAbove - static_cast<int>(below);
    bits = static_cast<std::uint64_t>(first >> 7) << 63 |
           static_cast<std::uint64_t>(exponent & kExponentMask) << kFractionBits |
           static_cast<std::uint64_t>(first & 0x0F) << 48;
    for (int i = 0; i < 6; ++i) bits |= static_cast<std::uint64_t>(rest[i]) << (8 * i);
  }
  kept = next_exponent(kept, static_cast<int>(bits >> kFractionBits) & kExponentMask);
  return double_of(bits);
}

void CaptureReader::parse_sample(Cursor& cursor, std::uint8_t tag,
                                 CaptureRecord& record) {
  if (tag > kWideSampleOf) refuse(cursor.at() - 1, "a record of an unknown kind");
  const bool named = tag % 2 == 0;
  record.tag = kSample;
  record.handle = named ? cursor.number32() : last_sample_;
  HandleState& state = state_of(record.handle);
  const auto interval =
      state.last_interval + static_cast<std::uint64_t>(cursor.signed_varint());
  record.time = state.last_time + interval;
  std::uint8_t wide = 0;
  if (tag == kWideSample || tag == kWideSampleOf) wide = kAllAxes;
  if (tag == kMixedSample || tag == kMixedSampleOf) wide = cursor.byte();
  double values[kAxes];
  for (std::size_t i = 0; i < kAxes; ++i) {
    if ((wide >> i & 1) != 0) {
      const std::uint8_t first = cursor.byte();
      const bool whole = (first >> 4 & 7) == kWholeValue;
      values[i] = wide_value(first, cursor.bytes(whole ? 8 : 6), state.exponents[i]);
      continue;
    }
    // Of unsigned numbers, which wrap around whatever a file holds.
    state.last[i] = static_cast<std::int64_t>(
        static_cast<std::uint64_t>(state.last[i]) +
        static_cast<std::uint64_t>(from_zigzag(cursor.varint())));
    values[i] = from_steps(state.steps[i], state.last[i]);
  }
  state.last_interval = interval;
  state.last_time = last_time_ = record.time;
  last_sample_ = record.handle;
  record.acc = {values[0], values[1], values[2]};
  record.gyro = {values[3], values[4], values[5]};
  state.last_acc = record.acc;
}

void CaptureReader::parse_model(Cursor& cursor) {
  const std::size_t at = cursor.at();
  const std::uint32_t number = cursor.number32();
  const std::uint8_t flags = cursor.byte();
  const std::uint64_t size = cursor.varint();
  const std::uint64_t offset = cursor.varint();
  const std::size_t part = cursor.left();
  if (number == 0 || number > kMostModel) refuse(at, "a model has an impossible number");
  if (offset == 0) models_[number] = {flags, size, std::string()};
  CapturedModel& model = models_[number];
  if (model.content.size() != offset || part > size - std::min(size, offset)) {
    if (gap_ || number_ > 1) return;  // its beginning was lost
    refuse(at, "a model's part does not fit behind the one before");
  }
  model_bytes_ += part;
  if (model_bytes_ > kMostModelBytes) refuse(at, "there is too much of models");
  model.content.append(reinterpret_cast<const char*>(cursor.bytes(part)), part);
}

void CaptureReader::parse_steps(Cursor& cursor) {
  HandleState& state = state_of(cursor.number32());
  for (std::size_t i = 0; i < kAxes; ++i) {
    Step step;
    step.form = cursor.byte();
    if (step.form >= kForms) refuse(cursor.at() - 1, "an axis has unknown steps");
    if (step.form != kNoSteps) step.value = cursor.real();
    state.steps[i] = step;
    state.last[i] = 0;
  }
}

void CaptureReader::parse_wearer(Cursor& cursor, CaptureRecord& record) {
  record.handle = cursor.number32();
  record.flags = cursor.byte();
  record.ending = (record.flags & kWearerThrew) != 0 ? kThrew : kReturned;
  record.value = cursor.integer();
  record.acc = (record.flags & kSameAsSample) != 0 ? state_of(record.handle).last_acc
                                                   : cursor.point();
}

static InitArguments init_of(const Point3Df& bias, const int (&numbers)[5]) {
  return {numbers[0], bias, numbers[1], numbers[2], numbers[3], numbers[4]};
}

// The records that a call is recorded by when it starts.
void CaptureReader::parse_call(Cursor& cursor, CaptureRecord& record) {
  record.handle = cursor.number32();
  const auto read_init = [&] {
    const int rate = cursor.integer();
    const Point3Df bias = cursor.point();
    const int motion = cursor.integer();
    const int history = cursor.integer();
    const int window = cursor.integer();
    record.init = init_of(bias, {rate, motion, history, window, cursor.integer()});
  };
  switch (record.tag) {
    case kHandle:
      record.flags = cursor.byte();
      read_init();
      record.value = cursor.integer();
      record.model = cursor.number32();
      record.number = cursor.real();
      record.cost_time = cursor.real();
      break;
    case kCreate:
      record.model = cursor.number32();
      break;
    case kInit:
      read_init();
      break;
    case kSensitivity:
      record.value = cursor.integer();
      break;
    case kSetModel:
      record.wearer = cursor.integer();
      record.mode = cursor.integer();
      record.model = cursor.number32();
      break;
    default:
      record.flags = cursor.byte();
      break;
  }
}

// What the reader itself uses; false for other records.
bool CaptureReader::parse_description(Cursor& cursor, Tag tag) {
  switch (tag) {
    case kThread:
      thread_ = cursor.number32();
      return true;
    case kModel:
      parse_model(cursor);
      return true;
    case kSteps:
      parse_steps(cursor);
      return true;
    default:
      return false;
  }
}

// What is no call of a handle's function; false for other records.
bool CaptureReader::parse_note(Cursor& cursor, CaptureRecord& record) {
  switch (record.tag) {
    case kVersionSet:
    case kGetVersion:
      record.major = cursor.integer();
      record.minor = cursor.integer();
      return true;
    case kMark:
      record.text = cursor.rest();
      return true;
    case kEnd:
      record.value = cursor.byte();
      ended_ = true;
      return true;
    case kMissed:
      record.count = cursor.varint();
      return true;
    case kCallbackEnd:
      record.ending = cursor.byte();
      return true;
    case kInjection:
      record.handle = cursor.number32();
      record.flags = cursor.byte();
      record.count = cursor.varint();
      return true;
    default:
      return false;
  }
}

void CaptureReader::parse_body(Cursor& cursor, CaptureRecord& record) {
  if (parse_note(cursor, record)) return;
  switch (record.tag) {
    case kHandle:
    case kCreate:
    case kInit:
    case kSensitivity:
    case kSetModel:
    case kRegister:
    case kDestroy:
      parse_call(cursor, record);
      return;
    case kCallback:
    case kMovement:
      record.handle = cursor.number32();
      record.value = cursor.integer();
      return;
    case kAnswer:
      record.handle = cursor.number32();
      record.call = cursor.byte();
      record.ending = cursor.byte();
      record.value = cursor.integer();
      return;
    case kWearer:
      parse_wearer(cursor, record);
      return;
    case kCostTime:
    case kStrength:
      record.handle = cursor.number32();
      record.number = cursor.real();
      return;
    default:
      // Descriptions; a later format's records are passed over.
      parse_description(cursor, record.tag);
      record.tag = kNoRecord;
  }
}

bool is_capture(const std::string& path) {
  struct stat about;
  if (stat(path.c_str(), &about) != 0 || !S_ISREG(about.st_mode)) return false;
  try {
    ByteSource bytes(path);
    char first[sizeof kMagic] = {};
    std::size_t size = 0;
    while (size < sizeof first) {
      const std::size_t got = bytes.read(first + size, sizeof first - size);
      if (got == 0) return false;
      size += got;
    }
    return std::memcmp(first, kMagic, sizeof kMagic) == 0;
  } catch (const ByteSourceError&) {
    return false;
  }
}

}  // namespace wgr
