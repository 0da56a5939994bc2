// Logs of other devices: what is guessed of them, and the samples that come out.
#include "import/import_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "base/errors.h"
#include "foreign_logs.h"
#include "import/log_files.h"
#include "support/comma_locale.h"
#include "support/files.h"
#include "text/import_text.h"

using namespace wgr;

using ::testing::HasSubstr;

static const Recorded& demo() {
  static const Recorded kSamples =
      read_recording(std::string(WGR_ROOT) + "/recordings/demo.csv");
  return kSamples;
}

static std::vector<LogFile> files_of(const ForeignLog& log) {
  std::vector<LogFile> files;
  for (size_t i = 0; i < log.names.size(); ++i) {
    files.push_back({log.names[i], log.files[i]});
  }
  return files;
}

static ImportedLog imported(const std::string& text, const ImportProfile& given = {},
                            const std::string& name = "log.csv") {
  return import_log({{name, text}}, given);
}

// The fault of a log that cannot be imported.
static ImportErrorFacts fault_in(const std::vector<LogFile>& files,
                                 const ImportProfile& given = {},
                                 std::optional<int> rate = std::nullopt) {
  try {
    import_log(files, given, rate);
  } catch (const ImportError& error) {
    EXPECT_FALSE(sentence_for(error.facts()).empty());
    EXPECT_THAT(error.what(), HasSubstr(fault_name(error.facts().fault)));
    return error.facts();
  }
  ADD_FAILURE() << "imported";
  return {ImportFault::kEmpty};
}

static const GuessedPart* part_of(const LogGuess& guess, LogPart part) {
  for (const GuessedPart& known : guess.parts) {
    if (known.part == part) return &known;
  }
  return nullptr;
}

// A table of readings that rest, in the format of the header's units.
static std::string still(const std::string& header, size_t rows,
                         const std::string& values = "0,0,9.81,1,2,3") {
  std::string text = header + "\n";
  for (size_t i = 0; i < rows; ++i) {
    text += fmt::format("{:.2f},{}\n", 0.02 * static_cast<double>(i), values);
  }
  return text;
}

static constexpr char kPlainHeader[] = "time,ax,ay,az,gx,gy,gz";
static const ImportProfile kPlain = [] {
  ImportProfile profile;
  profile.acc = unit_from(Quantity::kAcc, "m/s2");
  profile.gyro = unit_from(Quantity::kGyro, "deg/s");
  return profile;
}();

TEST(ImportLog, EveryDeviceGivesTheRecordingBackTwice) {
  for (const ForeignLog& log : foreign_logs(demo())) {
    SCOPED_TRACE(log.device);
    const ImportedLog made = import_log(files_of(log), {});
    EXPECT_EQ(made.guess.profile.name, log.profile);
    ASSERT_GE(made.samples.size() + 1, demo().size());
    const size_t skipped = demo().size() - made.samples.size();
    const double shift = made.samples[0].t - demo()[skipped].t;
    for (size_t i = 0; i < made.samples.size(); ++i) {
      const RecordedSample& a = made.samples[i];
      const RecordedSample& b = demo()[i + skipped];
      ASSERT_NEAR(a.t - shift, b.t, 2e-6) << i;
      ASSERT_LT(squared_length(a.acc - b.acc), log.tolerance * log.tolerance) << i;
      ASSERT_LT(squared_length(a.gyro - b.gyro), 100.0 * log.tolerance * log.tolerance)
          << i;
    }
    // The profile that was guessed imports the same.
    const ImportProfile again =
        profile_from(to_json(made.guess.profile), "the same profile");
    const ImportedLog second = import_log(files_of(log), again);
    ASSERT_EQ(second.samples.size(), made.samples.size());
    for (size_t i = 0; i < made.samples.size(); ++i) {
      ASSERT_EQ(made.samples[i].t, second.samples[i].t);
      ASSERT_EQ(made.samples[i].acc.x, second.samples[i].acc.x);
      ASSERT_EQ(made.samples[i].gyro.z, second.samples[i].gyro.z);
    }
  }
}

TEST(ImportLog, ARecordingOfOurOwnStaysTheVerySameDoubles) {
  const std::string text = read_file(std::string(WGR_ROOT) + "/recordings/demo.csv");
  const ImportedLog log = imported(text);
  ASSERT_EQ(log.samples.size(), demo().size());
  for (size_t i = 0; i < demo().size(); ++i) {
    ASSERT_EQ(log.samples[i].t, demo()[i].t);
    ASSERT_EQ(log.samples[i].acc.y, demo()[i].acc.y);
    ASSERT_EQ(log.samples[i].gyro.z, demo()[i].gyro.z);
  }
}

// A double holds 1.7e18 to 256 ns only.
TEST(ImportLog, NanosecondsOfAnEpochLoseNothing) {
  std::string text = std::string(kPlainHeader) + "\n";
  for (int i = 0; i < 400; ++i) {
    text += std::to_string(kLogEpoch + i * 20'000'001LL) + ",0,0,9.81,1,2,3\n";
  }
  const ImportedLog log = imported(text, kPlain);
  EXPECT_EQ(log.origin, std::to_string(kLogEpoch));
  EXPECT_EQ(log.guess.profile.time->word, "ns");
  EXPECT_DOUBLE_EQ(log.samples[399].t, 399 * 20'000'001LL / 1e9);
  EXPECT_DOUBLE_EQ(log.samples[1].t, 0.020000001);
}

TEST(ImportLog, TheUnitOfTimeIsSeenFromTheStep) {
  const struct {
    const char* unit;
    long long step;
  } cases[] = {{"ms", 20}, {"us", 10'000}, {"ns", 5'000'000}};
  for (const auto& c : cases) {
    std::string text = std::string(kPlainHeader) + "\n";
    for (int i = 0; i < 50; ++i) text += std::to_string(i * c.step) + ",0,0,9.81,1,2,3\n";
    EXPECT_EQ(imported(text, kPlain).guess.profile.time->word, c.unit);
  }
}

TEST(ImportLog, DatesAreTimesAndGoOnAtMidnight) {
  std::string text = "datetime;ax;ay;az;gx;gy;gz\n";
  for (int i = 0; i < 100; ++i) {
    const int ms = (59 * 1000 + i * 20) % 60000;
    text += fmt::format("{}:{}:{:02}.{:03};0;0;9.81;1;2;3\n", i < 50 ? "23" : "00",
                        i < 50 ? "59" : "00", ms / 1000, ms % 1000);
  }
  const ImportedLog log = imported(text, kPlain);
  ASSERT_EQ(log.samples.size(), 100u);
  for (size_t i = 0; i < 100; ++i) {
    EXPECT_NEAR(log.samples[i].t, 0.02 * static_cast<double>(i), 1e-9);
  }
  EXPECT_EQ(log.guess.profile.time->word, "date");
}

TEST(ImportLog, UnitsOfTitlesCountMoreThanGuesses) {
  const ImportedLog log = imported(
      still("time (s),acc x (g),acc y (g),acc z (g),gyro x (mdps),gyro y (mdps),gyro z "
            "(mdps)",
            50, "0,0,1,1000,2000,3000"));
  EXPECT_EQ(part_of(log.guess, LogPart::kAccUnit)->why, Evidence::kTitle);
  EXPECT_DOUBLE_EQ(log.samples[0].acc.z, 9.80665);
  EXPECT_DOUBLE_EQ(log.samples[0].gyro.y, 2.0);
}

TEST(ImportLog, ColumnsAreFoundByManyTitles) {
  for (const char* const header :
       {"t,ax,ay,az,gx,gy,gz", "ms,aX,aY,aZ,gX,gY,gZ", "time,acc_x,acc_y,acc_z,wx,wy,wz",
        "Timestamp,AccX,AccY,AccZ,GyroX,GyroY,GyroZ",
        "time,linear_acceleration.x,linear_acceleration.y,linear_acceleration.z,"
        "angular_velocity.x,angular_velocity.y,angular_velocity.z",
        "elapsed (s),X-Accel,Y-Accel,Z-Accel,X-Gyro,Y-Gyro,Z-Gyro",
        "\"time\",\"gFx\",\"gFy\",\"gFz\",\"wx\",\"wy\",\"wz\""}) {
    const ImportedLog log = imported(still(header, 50), kPlain);
    EXPECT_EQ(log.samples.size(), 50u) << header;
    EXPECT_EQ(log.samples[0].acc.z, 9.81) << header;
    EXPECT_EQ(log.samples[0].gyro.x, 1.0) << header;
  }
}

TEST(ImportLog, TheWatchIsPreferredAndTheMagnetometerIsNotTaken) {
  std::string text =
      "time,mag_x,mag_y,mag_z,acc_chest_x,acc_chest_y,acc_chest_z,"
      "acc_wrist_x,acc_wrist_y,acc_wrist_z,gyro_x,gyro_y,gyro_z\n";
  for (int i = 0; i < 50; ++i) {
    text += fmt::format("{:.2f},1,2,3,9.7,0,0,0,0,9.81,1,2,3\n", 0.02 * i);
  }
  const ImportedLog log = imported(text, kPlain);
  EXPECT_EQ(log.samples[0].acc.z, 9.81);
  EXPECT_EQ(log.samples[0].gyro.x, 1.0);
}

TEST(ImportLog, GivenColumnsUnitsAndAxesHold) {
  ImportProfile given;
  given.columns = {{LogColumn::kTime, "7"},  {LogColumn::kAccX, "a"},
                   {LogColumn::kAccY, "B"},  {LogColumn::kAccZ, "3"},
                   {LogColumn::kGyroX, "4"}, {LogColumn::kGyroY, "5"},
                   {LogColumn::kGyroZ, "6"}};
  given.acc = unit_from(Quantity::kAcc, "raw:1000");
  given.gyro = unit_from(Quantity::kGyro, "raw:2");
  given.time = unit_from(Quantity::kTime, "ms");
  given.axes = axes_from("-y,x,z");
  std::string text = "a,b,c,d,e,f,g\n";
  for (int i = 0; i < 10; ++i)
    text += "100,200,970,2,4,6," + std::to_string(20 * i) + "\n";
  const ImportedLog log = imported(text, given);
  EXPECT_NEAR(log.samples[0].acc.x, -0.2 * 9.80665, 1e-12);
  EXPECT_NEAR(log.samples[0].acc.y, 0.1 * 9.80665, 1e-12);
  EXPECT_EQ(log.samples[0].gyro.x, -2.0);
  EXPECT_EQ(log.samples[9].t, 0.18);
}

TEST(ImportLog, LinesThatCannotBeUsedAreCountedAndNamed) {
  std::string text = still(kPlainHeader, 40);
  text += "0.80,,0,9.81,1,2,3\n";                    // line 42: empty
  text += "0.82,0,0,abc,1,2,3\n";                    // 43: no number
  text += std::string(kPlainHeader) + "\n";          // 44: the header again
  text += "\n# a comment\n";                         // no row
  text += "0.84,0,0,1e999,1,2,3\n";                  // 47: no double
  text += "0.86,0,0,nan,1,2,3\n";                    // 48: missing
  text += "0.88," + std::string(70000, '1') + "\n";  // 49: too long
  text += "0.90,0,0,9.8";                            // 50: torn
  const ImportedLog log = imported(text, kPlain);
  EXPECT_EQ(log.samples.size(), 40u);
  EXPECT_EQ(log.rows, 47u);
  const auto dropped = [&](DroppedRow why) {
    return log.dropped[static_cast<size_t>(why)];
  };
  EXPECT_EQ(dropped(DroppedRow::kNoNumber).count, 3u);
  EXPECT_EQ(dropped(DroppedRow::kTooLong).count, 1u);
  EXPECT_EQ(dropped(DroppedRow::kTooLong).first[0], "log.csv:49");
  EXPECT_EQ(dropped(DroppedRow::kNoPartner).count + dropped(DroppedRow::kMissing).count +
                dropped(DroppedRow::kTorn).count,
            3u);
  EXPECT_EQ(dropped(DroppedRow::kNoNumber).first,
            (std::vector<std::string>{"log.csv:43", "log.csv:44", "log.csv:47"}));
}

TEST(ImportLog, CellsOfOneSensorInEachRowAreJoined) {
  std::string text = "t_ms,acc_x,acc_y,acc_z,gyr_x,gyr_y,gyr_z\n";
  for (int i = 0; i < 100; ++i) {
    text += fmt::format("{},0,0,9.81,,,\n{},,,,{},0,0\n", 20 * i, 20 * i + 8, i);
  }
  const ImportedLog log = imported(text, kPlain);
  EXPECT_TRUE(log.joined);
  ASSERT_EQ(log.samples.size(), 99u);  // before the first of the gyroscope there is none
  EXPECT_NEAR(log.samples[0].gyro.x, 0.6, 1e-12);  // 12 ms of 20 after the first
  ImportProfile nearest = kPlain;
  nearest.joining = Joining::kNearest;
  EXPECT_EQ(imported(text, nearest).samples.size(), 100u);
  EXPECT_EQ(imported(text, nearest).samples[5].gyro.x, 5.0);
}

// An hour apart, or out of order, or with a gap.
TEST(ImportLog, ReadingsWithoutAPartnerNearThemAreLeftOut) {
  std::string acc = "time,x,y,z\n";
  std::string gyro = acc;
  for (int i = 0; i < 200; ++i) acc += fmt::format("{:.2f},0,0,9.81\n", 0.02 * i);
  for (int i = 0; i < 200; ++i) {
    if (i > 50 && i < 100) continue;
    gyro += fmt::format("{:.2f},{},0,0\n", 0.02 * i, i);
  }
  const std::vector<LogFile> files = {{"Accelerometer.csv", acc},
                                      {"Gyroscope.csv", gyro}};
  const ImportedLog log = import_log(files, kPlain);
  EXPECT_EQ(log.samples.size(), 151u);
  EXPECT_EQ(log.dropped[static_cast<size_t>(DroppedRow::kNoPartner)].count, 49u);
  std::string later = "time,x,y,z\n";
  for (int i = 0; i < 200; ++i) later += fmt::format("{:.2f},1,0,0\n", 500 + 0.02 * i);
  EXPECT_EQ(
      fault_in({{"Accelerometer.csv", acc}, {"Gyroscope.csv", later}}, kPlain).fault,
      ImportFault::kNoOverlap);
}

TEST(ImportLog, WhatCannotBeImportedHasAFault) {
  const std::string header = std::string(kPlainHeader) + "\n";
  const auto one = [](const std::string& text, const ImportProfile& given = {}) {
    return fault_in({{"log.csv", text}}, given).fault;
  };
  EXPECT_EQ(one(""), ImportFault::kEmpty);
  EXPECT_EQ(one(std::string("\xFF\xFEt\0,\0", 6)), ImportFault::kNotText);
  EXPECT_EQ(one(std::string("a,b\0c,d\n1,2,3", 13)), ImportFault::kNotText);
  EXPECT_EQ(one(header), ImportFault::kNoTable);
  EXPECT_EQ(one("one\ntwo\n"), ImportFault::kNoTable);
  EXPECT_EQ(one(still("time,foo,bar,baz,gx,gy,gz", 20)), ImportFault::kNoAcc);
  EXPECT_EQ(one(still("time,ax,ay,az,foo,bar,baz", 20)), ImportFault::kNoGyro);
  EXPECT_EQ(one(still("foo,ax,ay,az,gx,gy,gz", 20)), ImportFault::kNoTime);
  EXPECT_EQ(one(still("time,linx,liny,linz,gx,gy,gz", 20, "0.1,0,0.2,1,2,3")),
            ImportFault::kLinearAcc);
  EXPECT_EQ(one(still(kPlainHeader, 20, "0.1,0,0.2,1,2,3")), ImportFault::kNoGravity);
  EXPECT_EQ(one(still(kPlainHeader, 20, "0,0,77,1,2,3")), ImportFault::kAccUnit);
  EXPECT_EQ(one(still(kPlainHeader, 20, "0,0,9.8,10000,2,3")), ImportFault::kGyroUnit);
  ImportProfile given = kPlain;
  given.columns[LogColumn::kAccX] = "acel";
  EXPECT_EQ(one(still(kPlainHeader, 20), given), ImportFault::kUnknownColumn);
  given = kPlain;
  given.axes = axes_from("y,x,z");
  EXPECT_EQ(one(still(kPlainHeader, 20), given), ImportFault::kMirrored);
  given = kPlain;
  given.acc_sensor = "lost";
  EXPECT_EQ(one(still(kPlainHeader, 20), given), ImportFault::kUnknownSensor);
  given = kPlain;
  given.name = "androd";
  EXPECT_EQ(one(still(kPlainHeader, 20), given), ImportFault::kUnknownProfile);
}

TEST(ImportLog, ACounterIsNoTime) {
  std::string text = std::string(kPlainHeader) + "\n";
  for (int i = 0; i < 50; ++i) text += std::to_string(i) + ",0,0,9.81,1,2,3\n";
  EXPECT_EQ(fault_in({{"log.csv", text}}, kPlain).fault, ImportFault::kTimeUnit);
  ImportProfile given = kPlain;
  given.rate = 100.0;
  EXPECT_EQ(imported(text, given).samples[49].t, 0.49);
}

TEST(ImportLog, MostLinesHaveToBeUsable) {
  std::string text = still(kPlainHeader, 20);
  for (int i = 0; i < 30; ++i) text += "x,y,z,x,y,z,x\n";
  const ImportErrorFacts facts = fault_in({{"log.csv", text}}, kPlain);
  EXPECT_EQ(facts.fault, ImportFault::kFewRows);
  EXPECT_EQ(facts.line, 22u);
  EXPECT_DOUBLE_EQ(facts.figure, 0.4);
}

TEST(ImportLog, HugeNumbersAreNeitherTimesNorMemory) {
  std::string text = still(kPlainHeader, 40);
  text += "1e18,0,0,9.81,1,2,3\n-1e300,0,0,9.81,1,2,3\n";
  text += "3.00,1e300,1e308,1e308,1,2,3\n";
  const ImportedLog log = imported(text, kPlain);
  EXPECT_GE(log.samples.size(), 40u);
  EXPECT_EQ(fault_in({{"log.csv", text}}, kPlain, 50).fault, ImportFault::kTooSparse);
}

TEST(ImportLog, NumbersAreTheSameInEveryLocale) {
  const CommaLocale locale;
  EXPECT_EQ(imported(still(kPlainHeader, 20), kPlain).samples[0].acc.z, 9.81);
}

TEST(ImportLog, ResamplesOnDemand) {
  const ImportedLog log =
      import_log({{"log.csv", still(kPlainHeader, 101)}}, kPlain, 100);
  EXPECT_EQ(log.samples.size(), 201u);
  EXPECT_NEAR(log.samples[1].t, 0.01, 1e-12);
}

TEST(ImportProfiles, AreReadWithACheckOfEveryField) {
  for (const char* const text :
       {R"({})", R"({"kind":"x","base":"androd"})", R"({"kind":"x","acc":"stones"})",
        R"({"kind":"x","axes":"x,x,z"})", R"({"kind":"x","columns":{"q":"1"}})",
        R"({"kind":"x","sample_rate":0})", R"({"kind":"x","more":1})"}) {
    EXPECT_THROW(profile_from(nlohmann::ordered_json::parse(text), "p.json"), UsageError)
        << text;
  }
}

TEST(ImportProfiles, AxesAreThreeDifferentOnes) {
  EXPECT_EQ(axes_word(*axes_from("-Y, x,+z")), "-y,x,z");
  for (const char* const text : {"", "x", "x,y", "x,y,y", "x,y,z,", "x;y;z", "x,y,-"}) {
    EXPECT_FALSE(axes_from(text)) << text;
  }
}

// ---- ZIP archives -------------------------------------------------------------------

static void put(std::string& to, size_t value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i, value >>= 8) to += static_cast<char>(value & 0xFF);
}

static std::string deflated(const std::string& text) {
  z_stream stream = {};
  EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY),
            Z_OK);
  std::string packed(text.size() + 100, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(packed.size() - stream.avail_out);
  deflateEnd(&stream);
  return packed;
}

static std::string zip_of(const std::vector<LogFile>& files, bool packs) {
  std::string zip;
  std::string directory;
  for (const LogFile& file : files) {
    const std::string text(file.bytes);
    const std::string packed = packs ? deflated(text) : text;
    std::string common;
    put(common, 20, 2);
    put(common, 0, 2);
    put(common, packs ? 8 : 0, 2);
    put(common, 0, 4);
    put(common,
        crc32(0, reinterpret_cast<const Bytef*>(text.data()),
              static_cast<uInt>(text.size())),
        4);
    put(common, packed.size(), 4);
    put(common, text.size(), 4);
    put(common, file.name.size(), 2);
    put(common, 0, 2);
    const size_t offset = zip.size();
    zip += "PK\x03\x04" + common + file.name + packed;
    directory += "PK\x01\x02";
    put(directory, 20, 2);
    directory += common;
    put(directory, 0, 2 + 2 + 2 + 4);
    put(directory, offset, 4);
    directory += file.name;
  }
  std::string end = "PK\x05\x06";
  put(end, 0, 4);
  put(end, files.size(), 2);
  put(end, files.size(), 2);
  put(end, directory.size(), 4);
  put(end, zip.size(), 4);
  put(end, 0, 2);
  return zip + directory + end;
}

TEST(LogFiles, AreTakenOutOfAZipArchive) {
  const ForeignLog log = sensor_logger_log(demo(), false);
  for (const bool packs : {false, true}) {
    std::vector<LogFile> files = files_of(log);
    files.push_back({"photo.jpg", "\xFF\xD8"});
    ReadingLimit limit;
    LogBytes read;
    add_log_file("log.zip", zip_of(files, packs), limit, read);
    ASSERT_EQ(read.names.size(), log.names.size());
    EXPECT_EQ(read.names[1], "log.zip/Accelerometer.csv");
    EXPECT_EQ(read.bytes, log.files);
    EXPECT_EQ(import_log(read.files(), {}).samples.size(), demo().size());
  }
}

TEST(LogFiles, ABrokenZipArchiveIsRefused) {
  const std::string text = still(kPlainHeader, 30);
  const std::string whole = zip_of({{"a.csv", text}}, true);
  const auto read = [](const std::string& bytes, unsigned long long most) {
    ReadingLimit limit{most};
    LogBytes log;
    add_log_file("log.zip", bytes, limit, log);
  };
  EXPECT_NO_THROW(read(whole, 100000));
  EXPECT_THROW(read(whole, 100), RecordingError) << "beyond the limit";
  for (size_t size = 4; size < whole.size(); ++size) {
    EXPECT_THROW(read(whole.substr(0, size), 100000), RecordingError) << size;
  }
  // Not packed, so that the checksum alone shows it.
  std::string changed = zip_of({{"a.csv", text}}, false);
  EXPECT_NO_THROW(read(changed, 100000));
  changed[100] = changed[100] == '0' ? '1' : '0';
  EXPECT_THROW(read(changed, 100000), RecordingError);
  EXPECT_THROW(read(zip_of({{"a.jpg", "x"}}, false), 100000), RecordingError);
}
