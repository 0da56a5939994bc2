#include "recording/recording.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "base/errors.h"
#include "support/files.h"
#include "support/random_points.h"

using namespace wgr;

using ::testing::HasSubstr;

static constexpr char kHeader[] = "t,ax,ay,az,gx,gy,gz\n";

// Ends with a header and two samples; the second misses its gyroscope.
static const std::string kTwoSamples =
    std::string(kHeader) + "0,1,-2.5,9.75,0.125,-0,1e2\n0.02,1,2,3,,,\n";

static std::string gzip(const std::string& content) {
  TempDirectory directory;
  const std::string path = directory.file("packed");
  const gzFile file = gzopen(path.c_str(), "wb");
  EXPECT_EQ(gzwrite(file, content.data(), static_cast<unsigned>(content.size())),
            static_cast<int>(content.size()));
  EXPECT_EQ(gzclose(file), Z_OK);
  return read_file(path);
}

static std::vector<double> values_of(const std::vector<RecordedSample>& samples) {
  std::vector<double> values;
  for (const RecordedSample& s : samples) {
    values.insert(values.end(),
                  {s.t, s.acc.x, s.acc.y, s.acc.z, s.gyro.x, s.gyro.y, s.gyro.z});
  }
  return values;
}

static void expect_same_bits(const std::vector<RecordedSample>& a,
                             const std::vector<RecordedSample>& b) {
  const std::vector<double> x = values_of(a);
  const std::vector<double> y = values_of(b);
  ASSERT_EQ(x.size(), y.size());
  EXPECT_EQ(std::memcmp(x.data(), y.data(), x.size() * sizeof(double)), 0);
}

static std::vector<RecordedSample> read_text(const std::string& content) {
  TempDirectory directory;
  const std::string path = directory.file("recording");
  write_file(path, content);
  return read_recording(path);
}

// What reading says of the content, without the file's path; "" when it says nothing.
static std::string complaint(const std::string& content) {
  TempDirectory directory;
  const std::string path = directory.file("recording");
  write_file(path, content);
  try {
    read_recording(path);
  } catch (const RecordingError& error) {
    const std::string text = error.what();
    EXPECT_EQ(text.substr(0, path.size()), path);
    return text.substr(path.size());
  }
  return "";
}

// Every kind of finite double: any exponent, subnormal ones and -0 among them.
static std::vector<RecordedSample> odd_samples() {
  RandomPoints random(7);
  const auto any = [&random] {
    return std::ldexp(random.gaussian(), random.integer(-1070, 1020));
  };
  std::vector<RecordedSample> samples;
  for (int i = 0; i < 2000; ++i) {
    RecordedSample s = {};
    for (double* field :
         {&s.t, &s.acc.x, &s.acc.y, &s.acc.z, &s.gyro.x, &s.gyro.y, &s.gyro.z}) {
      *field = any();
    }
    samples.push_back(s);
  }
  samples[0].acc = {-0.0, std::numeric_limits<double>::denorm_min(),
                    std::numeric_limits<double>::max()};
  samples[1].acc = {0.1, 1.0 / 3.0, -std::numeric_limits<double>::min()};
  return samples;
}

TEST(Recording, WhatIsWrittenIsReadBackBitForBit) {
  TempDirectory directory;
  const std::vector<RecordedSample> samples = odd_samples();
  for (const char* name : {"plain.csv", "packed.csv.gz"}) {
    const std::string path = directory.file(name);
    write_recording(path, samples);
    expect_same_bits(read_recording(path), samples);
  }
}

TEST(Recording, OnlyAPathEndingInGzIsPacked) {
  TempDirectory directory;
  const std::vector<RecordedSample> samples = {{0.5, {1, 2, 3}, {4, 5, 6.25}}};
  write_recording(directory.file("a.csv"), samples);
  EXPECT_EQ(read_file(directory.file("a.csv")),
            std::string(kHeader) + "0.5,1,2,3,4,5,6.25\n");
  write_recording(directory.file("a.csv.gz"), samples);
  EXPECT_EQ(read_file(directory.file("a.csv.gz")).substr(0, 2), "\x1f\x8b");
}

TEST(Recording, TheSameSamplesGiveTheSameBytesUnderAnyName) {
  TempDirectory directory;
  write_recording(directory.file("a.csv.gz"), odd_samples());
  write_recording(directory.file("another name.gz"), odd_samples());
  EXPECT_EQ(read_file(directory.file("a.csv.gz")),
            read_file(directory.file("another name.gz")));
}

TEST(Recording, ASampleThatIsNotFiniteIsNotWritten) {
  TempDirectory directory;
  const std::string path = directory.file("a.csv");
  const std::vector<RecordedSample> samples = {{0, {0, 0, 0}, {0, 0, 0}},
                                               {0, {0, 0, 0}, {0, 0, std::nan("")}}};
  try {
    write_recording(path, samples);
    FAIL() << "written";
  } catch (const RecordingError& error) {
    EXPECT_EQ(error.what(), path + ": sample 2 is not finite; nothing was written");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Recording, AFileThatCannotBeWrittenIsNamed) {
  EXPECT_THAT([] { write_recording("/dev/null/a.csv", {}); },
              ::testing::ThrowsMessage<UsageError>(
                  "/dev/null/a.csv: cannot be written: Not a directory"));
  EXPECT_THAT([] { write_recording("/dev/full", odd_samples()); },
              ::testing::ThrowsMessage<OutputError>(
                  HasSubstr("/dev/full: cannot be written in full")));
}

TEST(Recording, FieldsAreTimeAccelerationRate) {
  const std::vector<RecordedSample> samples = read_text(kTwoSamples);
  expect_same_bits(samples, {{0.0, {1.0, -2.5, 9.75}, {0.125, -0.0, 100.0}},
                             {0.02, {1.0, 2.0, 3.0}, {0.0, 0.0, 0.0}}});
}

TEST(Recording, WindowsAndUnixFilesReadTheSame) {
  const std::string unix_text = kTwoSamples + "0.04,1,2,3,4,5,6\n";
  const std::vector<RecordedSample> samples = read_text(unix_text);
  std::string windows = "\xEF\xBB\xBF" + unix_text;
  for (size_t at = 0; (at = windows.find('\n', at)) != std::string::npos; at += 2) {
    windows.replace(at, 1, "\r\n");
  }
  expect_same_bits(read_text(windows), samples);
  // Without the last line's end, and packed whatever the name.
  expect_same_bits(read_text(windows.substr(0, windows.size() - 2)), samples);
  expect_same_bits(read_text(unix_text.substr(0, unix_text.size() - 1)), samples);
  expect_same_bits(read_text(gzip(windows)), samples);
}

TEST(Recording, APackedFileMayHaveSeveralMembers) {
  const std::string packed =
      gzip(kTwoSamples.substr(0, 25)) + gzip("") + gzip(kTwoSamples.substr(25));
  expect_same_bits(read_text(packed), read_text(kTwoSamples));
}

TEST(Recording, AbsentAxesAreCountedAndNamed) {
  TempDirectory directory;
  const std::string path = directory.file("a.csv");
  write_file(path, std::string(kHeader) + "0,1,2,3,4,5,6\n1,,2,3,,,\n2,,2,3,4,5,6\n");
  RecordingReader reader(path);
  RecordedSample sample;
  ASSERT_TRUE(reader.next(sample));
  EXPECT_EQ(reader.absent_fields(), 0u);
  EXPECT_EQ(reader.absent_axes(), "");
  ASSERT_TRUE(reader.next(sample));
  ASSERT_TRUE(reader.next(sample));
  EXPECT_FALSE(reader.next(sample));
  EXPECT_EQ(reader.absent_fields(), 5u);
  EXPECT_EQ(reader.absent_axes(), "ax, gx, gy, gz");
  EXPECT_EQ(reader.line(), 4u);
}

TEST(Recording, ReadingAheadUsesNothing) {
  TempDirectory directory;
  const std::string path = directory.file("a.csv");
  write_file(path, kTwoSamples + "broken\n");
  for (const size_t ahead : {0u, 1u, 2u, 100u}) {
    RecordingReader reader(path);
    EXPECT_EQ(reader.read_ahead(ahead).size(), std::min<size_t>(ahead, 2));
    RecordedSample sample;
    ASSERT_TRUE(reader.next(sample));
    EXPECT_EQ(sample.t, 0.0);
    ASSERT_TRUE(reader.next(sample));
    EXPECT_EQ(sample.t, 0.02);
    // Reported when it is its turn, and again.
    EXPECT_THROW(reader.next(sample), RecordingError) << ahead;
  }
}

TEST(Recording, AMalformedLineIsNamedWithItsReason) {
  const struct {
    const char* line;
    const char* reason;
  } cases[] = {
      {"", "1 field instead of 7: \"\""},
      {"1,2", "2 fields instead of 7: \"1,2\""},
      {"1,2,3,4,5,6", "6 fields instead of 7: \"1,2,3,4,5,6\""},
      {"1,2,3,4,5,6,7,", "8 fields instead of 7: \"1,2,3,4,5,6,7,\""},
      {",2,3,4,5,6,7", "the time is empty"},
      {"x,2,3,4,5,6,7", "t is not a number: \"x\""},
      {"1,2,3,4 ,5,6,7", "az is not a number: \"4 \""},
      {"1,2,3,4, 5,6,7", "gx is not a number: \" 5\""},
      {"1,+2,3,4,5,6,7", "ax is not a number: \"+2\""},
      {"1,2,3,4,5,6,0x7", "gz is not a number: \"0x7\""},
      {"1,2,nan,4,5,6,7", "ay is not a number: \"nan\""},
      {"1,2,3,4,5,-inf,7", "gy is not a number: \"-inf\""},
      {"1e999,2,3,4,5,6,7", "t is out of range: \"1e999\""},
      {"1,2,3,4,5,6,7\xff\x1b", "gz is not a number: \"7\\xff\\x1b\""},
  };
  for (const auto& c : cases) {
    const std::string content = kTwoSamples + c.line + "\n3,2,3,4,5,6,7\n";
    EXPECT_EQ(complaint(content), std::string(":4: ") + c.reason);
    EXPECT_EQ(complaint(gzip(content)), std::string(":4: ") + c.reason);
  }
}

TEST(Recording, OnlyItsHeaderMakesARecording) {
  const std::string wanted = "a recording starts with the line t,ax,ay,az,gx,gy,gz";
  EXPECT_EQ(complaint(""), ":1: empty; " + wanted);
  EXPECT_EQ(complaint(gzip("")), ":1: empty; " + wanted);
  EXPECT_EQ(complaint("\n"), ":1: " + wanted + ", not with \"\"");
  EXPECT_EQ(complaint("0,1,2,3,4,5,6\n"),
            ":1: " + wanted + ", not with \"0,1,2,3,4,5,6\"");
  EXPECT_EQ(complaint("\x1f"), ":1: " + wanted + ", not with \"\\x1f\"");
  EXPECT_EQ(complaint(kHeader), "") << "a recording of no samples";
  EXPECT_EQ(read_text(kHeader).size(), 0u);
}

TEST(Recording, ALineLongerThanAnySampleIsRefusedWithoutReadingOn) {
  const std::string zeros(4096 - 13, '0');
  EXPECT_EQ(complaint(kTwoSamples + zeros + "1,2,3,4,5,6,7\n"), "");
  EXPECT_EQ(complaint(kTwoSamples + zeros + "01,2,3,4,5,6,7\n"),
            ":4: longer than 4096 characters");
  EXPECT_EQ(complaint(std::string(1 << 20, '\0')), ":1: longer than 4096 characters");
}

namespace {

// What was read of a recording, and what standard error said of its end.
struct Reading {
  std::vector<RecordedSample> samples;
  std::string said;  // without the file's path
};

}  // namespace

static Reading reading_of(const std::string& content) {
  TempDirectory directory;
  const std::string path = directory.file("recording");
  write_file(path, content);
  Capture said(STDERR_FILENO);
  Reading reading;
  reading.samples = read_recording(path);
  reading.said = said.finish();
  const size_t at = reading.said.find(path);
  if (at != std::string::npos) reading.said.erase(at, path.size());
  return reading;
}

// Wherever a power cut ends the third line, the two samples before it are read.
TEST(Recording, ATornLastLineIsLeftOutAndSaid) {
  const std::string last = "0.04,1,2,3,4,5,-6.25";
  const std::vector<RecordedSample> two = read_text(kTwoSamples);
  const std::string before =
      kTwoSamples.substr(0, kTwoSamples.find("0.02")) + "0.02,1,2,3,0,0,0\n";
  for (size_t length = 1; length < last.size(); ++length) {
    const std::string torn = last.substr(0, length);
    const Reading reading = reading_of(before + torn);
    // A cut within the last number leaves one that nobody can distinguish from a whole
    // one.
    const bool whole = length >= last.find("-6") + 2;
    ASSERT_EQ(reading.samples.size(), whole ? 3u : 2u) << torn;
    expect_same_bits({reading.samples[0], reading.samples[1]}, two);
    EXPECT_EQ(reading.said, whole ? ""
                                  : "wgr: :4: the last line is torn and left out (\"" +
                                        torn + "\"); what came before is used\n");
  }
}

TEST(Recording, AnEmptyLastFieldIsTornUnlessALineBeforeHasOneToo) {
  const std::string last = "0.04,1,2,3,4,5,";
  EXPECT_EQ(read_text(std::string(kHeader) + "0,1,2,3,4,5,6\n" + last).size(), 1u);
  EXPECT_EQ(read_text(std::string(kHeader) + "0,1,2,3,4,5,\n" + last).size(), 2u);
}

// A line that is left out leaves no trace in the count of empty fields either.
TEST(Recording, ATornLineCountsNoEmptyFields) {
  TempDirectory directory;
  const std::string path = directory.file("a.csv");
  write_file(path, std::string(kHeader) + "0,1,2,3,4,5,6\n1,,2,3,4,5,-");
  RecordingReader reader(path);
  RecordedSample sample;
  Capture quiet(STDERR_FILENO);
  ASSERT_TRUE(reader.next(sample));
  EXPECT_FALSE(reader.next(sample));
  EXPECT_FALSE(reader.next(sample));
  EXPECT_EQ(reader.absent_fields(), 0u);
}

TEST(Recording, ATornEndIsSaidOnceAndWhenItIsReached) {
  TempDirectory directory;
  const std::string path = directory.file("a.csv");
  write_file(path, kTwoSamples + "0.0");
  RecordingReader reader(path);
  Capture ahead(STDERR_FILENO);
  EXPECT_EQ(reader.read_ahead(100).size(), 2u);
  EXPECT_EQ(ahead.finish(), "");
  Capture behind(STDERR_FILENO);
  RecordedSample sample;
  for (int i = 0; i < 5; ++i) reader.next(sample);
  EXPECT_EQ(behind.finish(), "wgr: " + path + ":4: the last line is torn and left out " +
                                 "(\"0.0\"); what came before is used\n");
}

// Blocks that a file system has given to a file and not yet written read as zeros.
TEST(Recording, ZeroBytesAtTheEndAreATornLine) {
  for (const size_t zeros : {1u, 4096u, 100000u}) {
    const Reading reading = reading_of(kTwoSamples + "0.04,1" + std::string(zeros, '\0'));
    EXPECT_EQ(reading.samples.size(), 2u) << zeros;
    EXPECT_THAT(reading.said,
                HasSubstr(":4: the last line is torn and left out (\"0.04,1"));
  }
  const std::string behind = std::string(100000, '\0') + "\n0.04,1,2,3,4,5,6\n";
  EXPECT_EQ(complaint(kTwoSamples + behind), ":4: longer than 4096 characters");
}

TEST(Recording, PackedDataWithoutItsEndIsUsedUpToItsLastWholeLine) {
  // Noise does not pack, so half of the bytes is half of the lines.
  TempDirectory directory;
  const std::string path = directory.file("a.gz");
  const std::vector<RecordedSample> samples = odd_samples();
  write_recording(path, samples);
  const std::string packed = read_file(path);
  for (const size_t length : {packed.size() / 2, packed.size() - 9, packed.size() - 1}) {
    const Reading reading = reading_of(packed.substr(0, length));
    ASSERT_GE(reading.samples.size(), length / 2 < packed.size() / 3 ? 500u : 1990u);
    expect_same_bits(reading.samples,
                     {samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(
                                                             reading.samples.size())});
    EXPECT_THAT(reading.said, HasSubstr(": the gzip data ends too early; "));
    EXPECT_THAT(reading.said, HasSubstr("what came before is used\n"));
  }
  // Nothing is known of a last line without its break in such a file.
  const std::string whole = gzip(kTwoSamples + "0.04,1,2,3,4,5,6");
  EXPECT_EQ(reading_of(whole).samples.size(), 3u);
  EXPECT_EQ(reading_of(whole.substr(0, whole.size() - 1)).samples.size(), 2u);
  EXPECT_EQ(complaint(packed.substr(0, 5)), ":1: the gzip data ends too early");
}

TEST(Recording, BrokenPackingIsNamed) {
  TempDirectory directory;
  const std::string path = directory.file("a.gz");
  write_recording(path, odd_samples());
  std::string damaged = read_file(path);
  damaged[damaged.size() - 6] ^= 1;  // in the checksum behind the data
  EXPECT_THAT(complaint(damaged), HasSubstr(": the gzip data is broken"));
}

TEST(Recording, NoMoreIsReadThanTheLimitAllows) {
  TempDirectory directory;
  const std::string path = directory.file("a.gz");
  write_file(path, gzip(kTwoSamples));
  ReadingLimit enough = {2 * kTwoSamples.size()};
  // All recordings that are kept count together.
  EXPECT_EQ(read_recording(path, &enough).size(), 2u);
  EXPECT_EQ(read_recording(path, &enough).size(), 2u);
  EXPECT_THAT([&] { read_recording(path, &enough); },
              ::testing::ThrowsMessage<RecordingError>(
                  HasSubstr(path + ":1: more than 0 MB of recordings, unpacked, ")));
}

TEST(Recording, AFileThatCannotBeReadIsNamed) {
  EXPECT_THAT([] { read_recording("/no/such/file"); },
              ::testing::ThrowsMessage<RecordingError>(
                  "/no/such/file: cannot be opened: No such file or directory"));
  EXPECT_THAT(
      [] { read_recording("/tmp"); },
      ::testing::ThrowsMessage<RecordingError>("/tmp:1: cannot be read: Is a directory"));
}
