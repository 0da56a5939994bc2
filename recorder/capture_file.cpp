#include "capture_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/held_signals.h"
#include "folder.h"

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr std::size_t kRoomSize = 32 * kBlockSize;  // that is mapped at a time
static constexpr std::uint64_t kSecond = 1'000'000;        // us
static constexpr std::uint64_t kNoEnd = ~std::uint64_t{0};
static constexpr int kSegmentsInRing = 8;
static constexpr int kSegmentsBefore = 2;  // of what is kept before an event
static constexpr int kAttempts = 8;        // at a name that is not taken

static std::uint64_t microseconds(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * kSecond +
         static_cast<std::uint64_t>(time.tv_nsec / 1000);
}

std::uint64_t monotonic_now() { return microseconds(CLOCK_MONOTONIC); }
Moment now() { return {monotonic_now(), microseconds(CLOCK_REALTIME)}; }

void CaptureFile::start_run(LibraryVersion version, pid_t parent) {
  version_ = version;
  parent_ = parent;
  process_ = getpid();
  sequence_ = 0;
  segment_count_ = 0;
  keep_until_ = 0;
  run_begin_ = now().real / kSecond;
  if (getrandom(run_, sizeof run_, GRND_NONBLOCK) < 0) {
    // Early at boot: time and process distinguish runs as well.
    put_le(run_, now().real);
    put_le(run_ + 8, static_cast<std::uint64_t>(process_));
  }
}

void CaptureFile::path_of(std::uint32_t sequence, char* path) const {
  std::snprintf(path, kPathSize, "%.960s/wgr-%llu-%ld-%06lu%s", settings_.dir,
                static_cast<unsigned long long>(run_begin_), static_cast<long>(process_),
                static_cast<unsigned long>(sequence), kSuffix);
}

// Reserves, then maps. Where reserving fails nothing is changed.
bool CaptureFile::reserve_room(int fd, std::uint64_t begin) {
  char path[kPathSize];
  path_of(sequence_ - 1, path);
  if (!make_space(settings_.dir, kRoomSize, settings_.max_bytes,
                  settings_.keep != Keep::kAll, path)) {
    return false;
  }
  int failed = 0;
  do {
    HeldSignals held;
    failed = posix_fallocate(fd, static_cast<off_t>(begin), kRoomSize);
    if (failed != 0) held.drop();
  } while (failed == EINTR);
  if (failed != 0) return false;
  void* const mapped = mmap(nullptr, kRoomSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                            static_cast<off_t>(begin));
  if (mapped == MAP_FAILED) return false;
  if (room_ != nullptr) munmap(room_, kRoomSize);
  room_ = static_cast<std::uint8_t*>(mapped);
  room_begin_ = begin;
  room_at_ = 0;
  return true;
}

int CaptureFile::create_segment() {
  mkdir(settings_.dir, 0700);
  for (int i = 0; i < kAttempts; ++i) {
    char path[kPathSize];
    path_of(sequence_++, path);
    const int fd =
        open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, 0600);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// The open segment, if it still is the file of that name.
int CaptureFile::reopen_segment() const {
  char path[kPathSize];
  path_of(sequence_ - 1, path);
  const int fd = open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK);
  struct stat about;
  if (fd < 0) return -1;
  if (fstat(fd, &about) == 0 && about.st_dev == device_ && about.st_ino == inode_) {
    return fd;
  }
  ::close(fd);
  return -1;
}

bool CaptureFile::open_segment(std::uint64_t time) {
  const int fd = create_segment();
  if (fd < 0) return false;
  struct stat about;
  const bool known = fstat(fd, &about) == 0;
  if (!known || !reserve_room(fd, 0)) {
    char path[kPathSize];
    path_of(sequence_ - 1, path);
    unlink(path);
    ::close(fd);
    return false;
  }
  ::close(fd);
  device_ = about.st_dev;
  inode_ = about.st_ino;
  const Moment moment = now();
  write_header(moment);
  block_number_ = 1;
  room_at_ = kBlockSize;
  start_block(moment);
  ++segment_serial_;
  remember_segment(time);
  return true;
}

void CaptureFile::write_header(const Moment& moment) {
  std::uint8_t* const header = block();
  put_le(header + kVersionAt, kFormatVersion);
  put_le(header + kBlockSizeAt, static_cast<std::uint16_t>(kBlockSize));
  put_le(header + kSequenceAt, sequence_ - 1);
  std::memcpy(header + kRunAt, run_, kRunSize);
  put_le(header + kRealTimeAt, moment.real);
  put_le(header + kMonotonicAt, moment.monotonic);
  put_le(header + kProcessAt, static_cast<std::uint32_t>(process_));
  put_le(header + kParentAt, static_cast<std::uint32_t>(parent_));
  put_le(header + kMajorAt, static_cast<std::uint32_t>(version_.major));
  put_le(header + kMinorAt, static_cast<std::uint32_t>(version_.minor));
  utsname machine = {};
  if (uname(&machine) == 0) {
    std::memcpy(header + kProcessorAt, machine.machine,
                std::min(std::strlen(machine.machine), kProcessorSize - 1));
  }
  std::memcpy(header + kLabelAt, settings_.label,
              std::min(std::strlen(settings_.label), kLabelSize));
  std::memcpy(header, kMagic, sizeof kMagic);
  put_le(header + kChecksumAt, checksum_.of_block(header));
}

void CaptureFile::start_block(const Moment& moment) {
  put_le(block() + kNumberAt, block_number_);
  put_le(block() + kBlockMonotonicAt, moment.monotonic);
  put_le(block() + kBlockRealTimeAt, moment.real);
  block_begin_ = moment.monotonic;
  at_ = kFirstRecordAt;
  ++block_serial_;
}

void CaptureFile::seal() { put_le(block() + kChecksumAt, checksum_.of_block(block())); }

// How long a segment may last, where the time bounds what is kept.
std::uint64_t CaptureFile::segment_time() const {
  if (settings_.keep == Keep::kEvents) {
    return std::max(settings_.before_us / kSegmentsBefore, kSecond);
  }
  if (settings_.keep == Keep::kRing && settings_.ring_us > 0) {
    return settings_.ring_us / kSegmentsInRing;
  }
  return kNoEnd;
}

bool CaptureFile::segment_is_full(std::uint64_t time) const {
  if (time - segment_begin_ >= segment_time()) return true;
  return settings_.keep != Keep::kAll &&
         room_begin_ + room_at_ + kBlockSize >= settings_.segment_bytes;
}

bool CaptureFile::next_block(std::uint64_t time) {
  if (room_ == nullptr) return open_segment(time);
  if (segment_is_full(time)) {
    close(kNextSegment, time);
    return open_segment(time);
  }
  seal();
  ++block_number_;
  if (room_at_ + kBlockSize < kRoomSize) {
    room_at_ += kBlockSize;
  } else {
    const int fd = reopen_segment();
    if (fd < 0) return false;
    const bool reserved = reserve_room(fd, room_begin_ + kRoomSize);
    ::close(fd);
    if (!reserved) return false;
  }
  start_block(now());
  return true;
}

// A new block, or the recording's end.
bool CaptureFile::start_next_block(std::uint64_t time) {
  if (next_block(time)) return true;
  close(kSwitchedOff, time);
  return false;
}

// The order of the stores is what makes a torn record none.
void CaptureFile::commit(std::size_t size, std::uint8_t check) {
  std::uint8_t* const record = block() + at_;
  std::atomic_thread_fence(std::memory_order_release);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  record[size] = check;
  at_ += size + 1;
}

void CaptureFile::remember_segment(std::uint64_t time) {
  drop_unkept(time);
  if (segment_count_ == kMostSegments) {
    std::copy(segments_.begin() + 1, segments_.end(), segments_.begin());
    --segment_count_;
  }
  segments_[segment_count_++] = {sequence_ - 1, time, kNoEnd, time < keep_until_};
  segment_begin_ = time;
}

void CaptureFile::keep_around(std::uint64_t time) {
  keep_until_ = std::max(keep_until_, time + settings_.after_us);
  for (std::size_t i = 0; i < segment_count_; ++i) {
    Segment& segment = segments_[i];
    if (segment.end == kNoEnd || segment.end + settings_.before_us >= time) {
      segment.keep = true;
    }
  }
}

// Removes the segments that are older than what is asked for.
void CaptureFile::drop_unkept(std::uint64_t time) {
  const bool events = settings_.keep == Keep::kEvents;
  const std::uint64_t kept = events ? settings_.before_us : settings_.ring_us;
  if (settings_.keep == Keep::kAll || kept == 0) return;
  std::size_t left = 0;
  for (std::size_t i = 0; i < segment_count_; ++i) {
    const Segment segment = segments_[i];
    const bool old = segment.end != kNoEnd && segment.end + kept < time;
    if (!old || (events && segment.keep)) {
      segments_[left++] = segment;
      continue;
    }
    char path[kPathSize];
    path_of(segment.sequence, path);
    unlink(path);
  }
  segment_count_ = left;
}

void CaptureFile::close(EndReason reason, std::uint64_t time) {
  if (room_ == nullptr) return;
  if (at_ + kEndBytes <= kChecksumAt) {
    std::uint8_t* const record = block() + at_;
    record[0] = kEnd;
    record[1] = 2;
    record[2] = 0;  // at once
    record[3] = reason;
    commit(4, check_byte(record, 4));
  }
  seal();
  const auto used = static_cast<off_t>(room_begin_ + room_at_ + kBlockSize);
  munmap(room_, kRoomSize);
  room_ = nullptr;
  const int fd = reopen_segment();
  if (fd >= 0) {
    [[maybe_unused]] const int cut = ftruncate(fd, used);
    ::close(fd);
  }
  if (segment_count_ > 0) segments_[segment_count_ - 1].end = time;
}

void CaptureFile::forget() {
  if (room_ != nullptr) munmap(room_, kRoomSize);
  room_ = nullptr;
  segment_count_ = 0;
}

}  // namespace wgr::recorder
