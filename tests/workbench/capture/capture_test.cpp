// What is written into a capture is read from it to the last bit; what is damaged is
// passed over, what no recorder writes is refused; and the program's commands on
// captures.
#include <cmath>
#include <limits>
#include <random>

#include "capture/capture_editing.h"
#include "capture/capture_writer.h"
#include "recorded.h"
#include "support/private_paths.h"
#include "support/same_bits.h"
#include "tools/run_wgr.h"

using namespace wgr;

static CaptureRecord sample_at(std::uint64_t time, const Point3Df& acc,
                               const Point3Df& gyro) {
  CaptureRecord record;
  record.tag = capture::kSample;
  record.handle = 1;
  record.time = time;
  record.acc = acc;
  record.gyro = gyro;
  return record;
}

// A capture of these samples alone, 20 ms apart but for some jitter.
static void write_samples(const std::string& path,
                          const std::vector<CaptureRecord>& all) {
  const std::string empty = path + ".empty";
  {
    OutputFiles files;
    CaptureWriter(files.open(empty), CaptureHeader()).finish();
    files.commit();
  }
  const CaptureReader no_models(empty);
  OutputFiles files;
  CaptureWriter writer(files.open(path), CaptureHeader());
  for (const CaptureRecord& record : all) writer.write(record, no_models);
  writer.finish();
  files.commit();
}

template <class Value>
static std::vector<CaptureRecord> samples_of(int count, const Value& value) {
  std::mt19937 random(1);
  std::vector<CaptureRecord> all;
  std::uint64_t time = 1000;
  for (int i = 0; i < count; ++i) {
    time += 19900 + random() % 200;
    double v[6];
    for (int axis = 0; axis < 6; ++axis) v[axis] = value(axis, random);
    all.push_back(sample_at(time, {v[0], v[1], v[2]}, {v[3], v[4], v[5]}));
  }
  return all;
}

// Writes the samples and reads them again; the bytes of one.
static double bytes_each(const std::vector<CaptureRecord>& all) {
  TempDirectory folder;
  const std::string path = folder.file("made.wgrcap");
  write_samples(path, all);
  CaptureReader reader(path);
  size_t read = 0;
  for (CaptureRecord record; reader.next(record); ++read) {
    if (read >= all.size()) break;
    EXPECT_EQ(record.time, all[read].time);
    // Of a not-a-number every bit, too.
    for (const auto& [a, b] :
         {std::pair(record.acc, all[read].acc), std::pair(record.gyro, all[read].gyro)}) {
      EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << "sample " << read;
    }
  }
  EXPECT_EQ(read, all.size());
  return static_cast<double>(std::filesystem::file_size(path)) /
         static_cast<double>(all.size());
}

// A wrist's motion in a sensor's numbers: rests and movements of up to some thousands.
static int walk(int axis, std::mt19937& random) {
  static int at[6];
  static int speed[6];
  const int limit = random() % 50 == 0 ? 700 : 40;
  speed[axis] += static_cast<int>(random() % (2 * limit + 1)) - limit;
  speed[axis] = speed[axis] * 9 / 10;
  at[axis] = (at[axis] + speed[axis]) * 99 / 100;
  return at[axis] + static_cast<int>(random() % 9) - 4;
}

TEST(Capture, QuantisedSamplesTakeNoMoreThanTwentyBytes) {
  const auto decimals = [](int axis, std::mt19937& r) { return walk(axis, r) / 10000.0; };
  const auto scaled = [](int axis, std::mt19937& r) {
    return walk(axis, r) * (axis < 3 ? 9.80665 / 4096 : 0.0609756097560976);
  };
  const auto floats = [](int axis, std::mt19937& r) {
    const float step = axis < 3 ? 0.00239420166f : 0.0609756112f;
    return static_cast<double>(static_cast<float>(walk(axis, r)) * step);
  };
  const auto grid = [](int axis, std::mt19937& r) { return walk(axis, r) / 4096.0; };
  const auto parsed = [](int axis, std::mt19937& r) {
    return static_cast<double>(static_cast<float>(walk(axis, r) / 1000.0));
  };
  EXPECT_LE(bytes_each(samples_of(20000, decimals)), 20.0);
  EXPECT_LE(bytes_each(samples_of(20000, scaled)), 20.0);
  EXPECT_LE(bytes_each(samples_of(20000, floats)), 20.0);
  EXPECT_LE(bytes_each(samples_of(20000, grid)), 20.0);
  EXPECT_LE(bytes_each(samples_of(20000, parsed)), 20.0);
}

TEST(Capture, ArbitraryDoublesTakeNoMoreThanFortyEightBytes) {
  std::normal_distribution<double> normal;
  const double bytes = bytes_each(samples_of(20000, [&](int axis, std::mt19937& random) {
    return (axis == 2 ? 9.81 : 0.0) + (axis < 3 ? 1.0 : 60.0) * normal(random);
  }));
  EXPECT_LE(bytes, 48.0);
}

TEST(Capture, SpecialValuesAreReadToTheLastBit) {
  const double values[] = {0.0,
                           -0.0,
                           std::numeric_limits<double>::quiet_NaN(),
                           -std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           5e-324,
                           -1.7e308,
                           1e-300,
                           4.25,
                           0.1,
                           1e15 + 0.5};
  bytes_each(samples_of(3000, [&](int, std::mt19937& random) {
    return values[random() % std::size(values)];
  }));
}

namespace {

// A capture of the recorded host, made once for the tests that damage or use it.
class RecordedCapture : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempDirectory;
    run_host(settings(folder_->path(), "WGR_RECORDER_LABEL=mine"), "golden 1 4");
    const auto captures = captures_in(folder_->path());
    ASSERT_EQ(captures.size(), 1u);
    path_ = new std::string(captures[0]);
  }
  static void TearDownTestSuite() {
    delete folder_;
    delete path_;
  }

  static const std::string& path() { return *path_; }
  std::string made(const std::string& name) const { return own_.file(name); }

  // The records that can be read of these bytes, by their number; with a refusal, -1.
  long read(const std::string& bytes) const {
    write_file(made("damaged.wgrcap"), bytes);
    long count = 0;
    try {
      CaptureReader reader(made("damaged.wgrcap"));
      for (CaptureRecord record; reader.next(record);) ++count;
    } catch (const CaptureError& error) {
      refusal_ = error.what();
      return -1;
    }
    return count;
  }

  mutable std::string refusal_;

 private:
  static TempDirectory* folder_;
  static std::string* path_;
  TempDirectory own_;
};
TempDirectory* RecordedCapture::folder_ = nullptr;
std::string* RecordedCapture::path_ = nullptr;

}  // namespace

TEST_F(RecordedCapture, WhateverItIsCutToItsBeginningIsRead) {
  const std::string whole = read_file(path());
  const long all = read(whole);
  long before = 0;
  for (size_t size = capture::kBlockSize; size < whole.size(); size += 15013) {
    const long count = read(whole.substr(0, size));
    EXPECT_GE(count, before) << "cut to " << size;
    EXPECT_LE(count, all);
    before = count;
    EXPECT_EQ(made_again(made("damaged.wgrcap")).differing, 0u) << "cut to " << size;
  }
}

// A block that reached the disk in part, as after a power cut.
TEST_F(RecordedCapture, DamagedBlockIsAGapAndWhatIsAroundItIsUsed) {
  const std::string whole = read_file(path());
  std::string bytes = whole;
  const size_t block = (whole.size() / capture::kBlockSize / 2) * capture::kBlockSize;
  std::fill_n(bytes.begin() + static_cast<long>(block) + 2000, 100, '\0');
  const long count = read(bytes);
  EXPECT_GT(count, 0);
  EXPECT_LT(count, read(whole));
  write_file(made("damaged.wgrcap"), bytes);
  const ReenactmentTotals totals = made_again(made("damaged.wgrcap"));
  EXPECT_EQ(totals.gaps, 1u);
  EXPECT_EQ(totals.differing, 0u);
  EXPECT_GT(totals.not_compared, 0u);
}

TEST_F(RecordedCapture, WhatNoRecorderWritesIsRefusedWithItsOffset) {
  const capture::Checksum checksum;
  std::string bytes = read_file(path());
  auto* const block = reinterpret_cast<std::uint8_t*>(bytes.data()) + capture::kBlockSize;
  // A record that is longer than its block, in a block whose checksum fits.
  block[capture::kFirstRecordAt] = capture::kInit;
  block[capture::kFirstRecordAt + 1] = 0xFF;
  block[capture::kFirstRecordAt + 2] = 0x7F;
  capture::put_le(block + capture::kChecksumAt, checksum.of_block(block));
  EXPECT_EQ(read(bytes), -1);
  EXPECT_NE(refusal_.find("offset 4116: "), std::string::npos) << refusal_;
}

TEST_F(RecordedCapture, OtherVersionsAndOtherFilesAreRefused) {
  std::string bytes = read_file(path());
  EXPECT_EQ(read("t,ax,ay,az,gx,gy,gz\n"), -1);
  EXPECT_EQ(read(""), -1);
  EXPECT_EQ(read(bytes.substr(0, 100)), -1);
  bytes[capture::kVersionAt] = 9;
  EXPECT_EQ(read(bytes), -1);
  EXPECT_NE(refusal_.find("offset 8: the capture's format is version 9"),
            std::string::npos)
      << refusal_;
}

TEST_F(RecordedCapture, AnyByteMayBeWrongWithoutHarm) {
  const std::string whole = read_file(path());
  std::mt19937 random(3);
  for (int i = 0; i < 25; ++i) {
    std::string bytes = whole;
    const size_t at = random() % bytes.size();
    bytes[at] = static_cast<char>(random());
    if (read(bytes) < 0) continue;
    try {
      made_again(made("damaged.wgrcap"));
    } catch (const CaptureError&) {
    }
  }
}

TEST_F(RecordedCapture, ReplayComparesEveryAnswer) {
  const Outcome replay = run_wgr("replay " + path());
  EXPECT_EQ(replay.status, 0) << replay.err;
  EXPECT_NE(replay.out.find("\n0 of "), std::string::npos) << replay.out;
  EXPECT_NE(replay.out.find(" answers differ\n"), std::string::npos);
}

// An answer that the library does not give is found, with its place.
TEST_F(RecordedCapture, ReplayFindsAnAnswerThatDiffers) {
  CaptureReader reader(path());
  OutputFiles files;
  CaptureWriter writer(files.open(made("lie.wgrcap")), reader.header());
  int strengths = 0;
  for (CaptureRecord record; reader.next(record);) {
    if (record.tag == capture::kStrength && record.number > 0.0 && strengths++ == 0) {
      record.number = std::nextafter(record.number, 0.0);
    }
    writer.write(record, reader);
  }
  writer.finish();
  files.commit();
  ASSERT_GT(strengths, 0);
  const Outcome replay = run_wgr("replay " + made("lie.wgrcap"));
  EXPECT_EQ(replay.status, 1);
  EXPECT_NE(replay.out.find("\n1 of "), std::string::npos) << replay.out;
  EXPECT_NE(replay.out.find("get_motion_strength: recorded "), std::string::npos);
}

TEST_F(RecordedCapture, InfoCutMarkAndConvert) {
  const Outcome info = run_wgr("capture info " + path());
  EXPECT_EQ(info.status, 0) << info.err;
  EXPECT_NE(info.out.find("label     mine\n"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("damage    none\n"), std::string::npos);

  const Outcome unchosen = run_wgr("capture csv " + path() + " -o " + made("a.csv"));
  EXPECT_EQ(unchosen.status, 2);
  EXPECT_NE(unchosen.err.find("holds 3 handles: choose one by --handle: 1 ("),
            std::string::npos)
      << unchosen.err;
  const Outcome csv =
      run_wgr("capture csv --handle 2 " + path() + " -o " + made("a.csv"));
  EXPECT_EQ(csv.status, 0) << csv.err;
  EXPECT_NE(read_file(made("a.csv")).find("t,ax,ay,az,gx,gy,gz\n"), std::string::npos);

  const std::string cut = made("cut.wgrcap");
  ASSERT_EQ(run_wgr("capture cut --handle 3 " + path() + " -o " + cut).status, 0);
  const Outcome replay = run_wgr("replay " + cut);
  EXPECT_EQ(replay.status, 0) << replay.out;
  EXPECT_NE(replay.out.find(", 1 handle, "), std::string::npos) << replay.out;
  EXPECT_EQ(run_wgr("capture mark " + cut).out, "");

  const Outcome behind =
      run_wgr("capture cut --from 3600 " + path() + " -o " + made("behind.wgrcap"));
  EXPECT_EQ(behind.status, 2);
  EXPECT_NE(behind.err.find(" s: --from must be less"), std::string::npos) << behind.err;
  EXPECT_FALSE(std::filesystem::exists(made("behind.wgrcap")));
}

// Cut in the middle, what is before has to be told of.
TEST_F(RecordedCapture, PartFromTheMiddleIsMadeAgain) {
  CaptureReader reader(path());
  std::vector<std::uint64_t> times;
  for (CaptureRecord record; reader.next(record);) {
    if (record.tag == capture::kSample && record.handle == 2)
      times.push_back(record.time);
  }
  ASSERT_GT(times.size(), 100u);
  const double middle =
      static_cast<double>(times[times.size() / 2] - reader.header().monotonic) / 1e6;
  const std::string cut = made("cut.wgrcap");
  ASSERT_EQ(run_wgr("capture cut --from " + std::to_string(middle) + " " + path() +
                    " -o " + cut)
                .status,
            0);
  const ReenactmentTotals totals = made_again(cut);
  EXPECT_EQ(totals.differing, 0u);
  EXPECT_GT(totals.answers, 100u);
  EXPECT_GT(totals.not_compared, 0u);
}

TEST_F(RecordedCapture, AnonymousCaptureHoldsNeitherClockNorNames) {
  const std::string anonymous = made("anonymous.wgrcap");
  ASSERT_EQ(run_wgr("capture anonymise " + path() + " -o " + anonymous).status, 0);
  CaptureReader reader(anonymous);
  EXPECT_EQ(reader.header().real_time, 0u);
  EXPECT_EQ(reader.header().monotonic, 0u);
  EXPECT_EQ(reader.header().process, 0u);
  EXPECT_EQ(reader.header().label, "");
  for (CaptureRecord record; reader.next(record);) EXPECT_EQ(record.real_offset, 0u);
  EXPECT_EQ(made_again(anonymous).differing, 0u);
  EXPECT_EQ(made_again(anonymous).answers, made_again(path()).answers);
}

TEST_F(RecordedCapture, RepairedCaptureHoldsWhatIsWhole) {
  std::string bytes = read_file(path());
  bytes.resize(bytes.size() - 5000);
  write_file(made("torn.wgrcap"), bytes);
  const Outcome repair =
      run_wgr("capture repair " + made("torn.wgrcap") + " -o " + made("whole.wgrcap"));
  EXPECT_EQ(repair.status, 0) << repair.err;
  EXPECT_EQ(made_again(made("whole.wgrcap")).answers,
            made_again(made("torn.wgrcap")).answers);
}

// The host's model, rate and sensitivity are the capture's own.
TEST_F(RecordedCapture, ExplainAndDoctorReadOneHandle) {
  const Outcome explain = run_wgr("explain --handle 2 " + path());
  EXPECT_EQ(explain.status, 0) << explain.err;
  EXPECT_NE(explain.out, "");
  EXPECT_LT(run_wgr("doctor --handle 2 " + path()).status, 2);
  const Outcome replay = run_wgr("replay --handle 2 " + path());
  EXPECT_EQ(replay.status, 0) << replay.err;
  EXPECT_NE(replay.out.find("at 100 samples/s"), std::string::npos) << replay.out;
  // And so it is where no model is installed.
  for (const auto& slot :
       std::filesystem::directory_iterator("/usr/share/GestureModel")) {
    std::filesystem::remove_all(slot);
  }
  const Outcome bare = run_wgr("explain --handle 2 " + path());
  EXPECT_EQ(bare.status, 0) << bare.err;
  EXPECT_EQ(bare.out, explain.out);
}
