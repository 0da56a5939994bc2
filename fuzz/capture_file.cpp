// Captures of any content, as `wgr` reads them and makes their calls again.
//
// Each block's checksum and each record's check byte can be put right first, so that what
// is behind them is reached. What is read is written and read again.
#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "capture/capture_reader.h"
#include "capture/capture_writer.h"
#include "capture/reenactment.h"
#include "harness.h"
#include "output/output_files.h"
#include "places.h"

using namespace wgr;
using namespace wgr::capture;

static const std::string kPath = std::string(kModelRootDirectory) + "/fuzzed.wgrcap";
static const std::string kWritten = std::string(kModelRootDirectory) + "/written.wgrcap";
static constexpr std::size_t kMostSamples = 20000;  // that are made again

static bool same_bits(const Point3Df& a, const Point3Df& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

// The header that every capture has, in front of blocks of the input's bytes: the first
// byte of each part says how long its block is filled, and records get their check bytes
// where they end within it.
static std::string as_capture(const std::uint8_t* bytes, std::size_t size) {
  const Checksum checksum;
  std::string text(kBlockSize, '\0');
  auto* block = reinterpret_cast<std::uint8_t*>(text.data());
  std::memcpy(block, kMagic, sizeof kMagic);
  put_le(block + kVersionAt, kFormatVersion);
  put_le(block + kBlockSizeAt, static_cast<std::uint16_t>(kBlockSize));
  put_le(block + kChecksumAt, checksum.of_block(block));
  std::uint32_t number = 0;
  while (size > 0) {
    std::vector<std::uint8_t> made(kBlockSize);
    put_le(made.data() + kNumberAt, ++number);
    const bool sealed = (bytes[0] & 1) != 0;
    ++bytes;
    --size;
    std::size_t at = kFirstRecordAt;
    // A length, and so many bytes of a record.
    while (size > 0 && bytes[0] != 0) {
      const std::size_t length = std::min<std::size_t>(bytes[0], size - 1);
      if (length == 0 || at + length + 1 >= kChecksumAt) break;
      std::memcpy(made.data() + at, bytes + 1, length);
      made[at + length] = check_byte(made.data() + at, length);
      at += length + 1;
      bytes += length + 1;
      size -= length + 1;
    }
    if (size > 0) {
      ++bytes;
      --size;
    }
    if (sealed) put_le(made.data() + kChecksumAt, checksum.of_block(made.data()));
    text.append(made.begin(), made.end());
  }
  return text;
}

static void read_and_write() {
  std::vector<CaptureRecord> all;
  {
    CaptureReader reader(kPath);
    OutputFiles files;
    CaptureWriter writer(files.open(kWritten), reader.header());
    std::uint64_t offset = 0;
    std::uint64_t time = 0;
    for (CaptureRecord record; reader.next(record);) {
      require(record.offset > offset, "records follow one another");
      offset = record.offset;
      // Of times that go back the writer makes others.
      if (record.time < time) return;
      time = record.time;
      writer.write(record, reader);
      all.push_back(record);
    }
    writer.finish();
    files.commit();
  }
  CaptureReader again(kWritten);
  CaptureRecord record;
  for (const CaptureRecord& before : all) {
    if (before.gap)
      require(again.next(record) && record.tag == kMissed, "a gap is noted");
    require(again.next(record), "as many records are read again");
    require(record.tag == before.tag && record.handle == before.handle &&
                record.thread == before.thread && record.time == before.time &&
                record.value == before.value && record.model == before.model &&
                same_bits(record.acc, before.acc) && same_bits(record.gyro, before.gyro),
            "what is written is read again");
  }
  require(!again.next(record), "no more records are read again");
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return;
  const bool raw = (bytes[0] & 1) != 0;
  write_whole_file(kPath, raw ? std::string(bytes + 1, bytes + size)
                              : as_capture(bytes + 1, size - 1));
  try {
    read_and_write();
    CaptureReader reader(kPath);
    std::size_t samples = 0;
    for (CaptureRecord record; reader.next(record);) samples += record.tag == kSample;
    if (samples > kMostSamples) return;
    CaptureReader again(kPath);
    const ReenactmentTotals totals = reenact(again, false);
    require(totals.differing <= totals.answers, "no more differ than were compared");
  } catch (const CaptureError& error) {
    require(*error.what() != '\0', "a refusal has a reason");
  } catch (const std::bad_alloc&) {
    // A model that announces more than the memory has.
  }
}

static void prepare() {}

static const Registration registration("capture_file", run, prepare);
