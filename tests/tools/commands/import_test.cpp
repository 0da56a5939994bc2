// wgr import as a program: logs of other devices in, recordings out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/files.h"
#include "tools/run_wgr.h"
#include "workbench/import/foreign_logs.h"

using namespace wgr;

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

static const std::string kDemo = std::string(WGR_ROOT) + "/recordings/demo.csv";

// The class of each event.
static std::string events_of(const std::string& recording) {
  const Outcome outcome =
      run_wgr("replay --json --models " + std::string(WGR_ROOT) + "/models " + recording);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::string classes;
  static const std::string kClass = "\"class\":";
  for (size_t at = outcome.out.find(kClass); at != std::string::npos;
       at = outcome.out.find(kClass, at + 1)) {
    classes += outcome.out.substr(at + kClass.size(), 1);
  }
  return classes;
}

class ImportCommand : public ::testing::Test {
 protected:
  // The files of a log, for a command line.
  std::string written(const ForeignLog& log) const {
    const std::string folder = directory_.file(log.device);
    std::filesystem::create_directories(folder);
    std::string words;
    for (size_t i = 0; i < log.names.size(); ++i) {
      write_file(folder + "/" + log.names[i], log.files[i]);
      words += " '" + folder + "/" + log.names[i] + "'";
    }
    return words;
  }

  TempDirectory directory_;
  const std::string out_ = directory_.file("out.csv");
};

TEST_F(ImportCommand, EveryDevicesLogGivesTheEventsOfTheRecording) {
  const std::string expected = events_of(kDemo);
  ASSERT_EQ(expected, "01234310421");
  for (const ForeignLog& log : foreign_logs(read_recording(kDemo))) {
    const Outcome outcome = run_wgr("import" + written(log) + " -o " + out_);
    EXPECT_EQ(outcome.status, 0) << log.device << outcome.err;
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("(" + log.profile + ")"), HasSubstr("nothing found\n")))
        << log.device;
    EXPECT_EQ(events_of(out_), expected) << log.device;
  }
}

TEST_F(ImportCommand, SaysWhatItDidAndWritesNothingWhenDry) {
  const ForeignLog log = rows_log(read_recording(kDemo), true);
  const Outcome dry = run_wgr("import --dry-run" + written(log));
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_THAT(
      dry.out,
      AllOf(HasSubstr("accelerations from ACC: x \"x\", y \"y\", z \"z\" (likely: by the "
                      "content)\n"),
            HasSubstr("time in us (likely: by the stamps' step, 0.02 s)\n"),
            HasSubstr("angular velocities in rad/s (certain: gravity turns as the "
                      "gyroscope predicts"),
            HasSubstr("joined    3100 readings of the gyroscope onto the 3100 readings"),
            HasSubstr("dropped   1 line without a reading of the other sensor")));
  const Outcome json = run_wgr("import --dry-run --json" + written(log));
  EXPECT_THAT(json.out,
              AllOf(HasSubstr("{\"type\":\"part\",\"part\":\"acc-unit\",\"value\":"
                              "\"m/s2\""),
                    HasSubstr("\"joined\":true,")));
  EXPECT_FALSE(std::filesystem::exists(out_));
  EXPECT_EQ(run_wgr("import" + written(log)).status, 2) << "neither -o nor --dry-run";
}

TEST_F(ImportCommand, AProfileIsSavedAndUsedAgain) {
  const std::string log = written(arduino_log(read_recording(kDemo)));
  const std::string profile = directory_.file("board.json");
  ASSERT_EQ(
      run_wgr("import --axes=-y,x,z --save-profile " + profile + log + " -o " + out_)
          .status,
      0);
  const std::string again = directory_.file("again.csv");
  ASSERT_EQ(run_wgr("import --profile " + profile + log + " -o " + again).status, 0);
  EXPECT_EQ(read_file(out_), read_file(again));
  EXPECT_THAT(read_file(profile), HasSubstr("\"axes\": \"-y,x,z\""));
}

TEST_F(ImportCommand, ReadsFoldersGzipAndStandardInput) {
  const ForeignLog log = sensor_logger_log(read_recording(kDemo), false);
  written(log);
  const std::string folder = directory_.file(log.device);
  ASSERT_EQ(run_wgr("import " + folder + " -o " + out_).status, 0);
  const std::string whole = read_file(out_);
  ASSERT_EQ(run_command("gzip " + folder + "/Gyroscope.csv").status, 0);
  ASSERT_EQ(run_wgr("import " + folder + " -o -").out, whole);
  const std::string watch = directory_.file("watch.csv");
  write_file(watch, android_log(read_recording(kDemo)).files[0]);
  EXPECT_EQ(run_wgr("import - -o " + out_, watch).status, 0);
  std::filesystem::create_directory(directory_.file("empty"));
  EXPECT_THAT(run_wgr("import " + directory_.file("empty") + " -o " + out_).err,
              HasSubstr("holds no .csv, .tsv or .txt"));
}

TEST_F(ImportCommand, OtherSubcommandsSayThatItReadsTheLog) {
  const std::string watch = directory_.file("watch.csv");
  write_file(watch, android_log(read_recording(kDemo)).files[0]);
  for (const char* const command : {"replay", "explain", "doctor"}) {
    const Outcome outcome =
        run_wgr(command + (" --models " + std::string(WGR_ROOT)) + "/models " + watch);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(
        outcome.err,
        HasSubstr("it looks like an Android log: time in ns, accelerations in m/s2, "
                  "angular velocities in rad/s: wgr import " +
                  watch + " -o OUT.csv"))
        << command;
  }
  write_file(watch, "Dear diary,\n");
  EXPECT_THAT(run_wgr("doctor " + watch).err, Not(HasSubstr("wgr import")));
}

TEST_F(ImportCommand, RefusesWithFileLineAndWhatToDo) {
  const std::string log = directory_.file("log.csv");
  write_file(log,
             "time,ax,ay,az,gx,gy,gz\n0,0,0,9.8,x,2,3\n1,0,0,9.8,1\n2,0,0,9.8,1,y,3\n"
             "3,0,0,9.8,1,2,3\n");
  const struct {
    std::string words;
    std::string said;
  } cases[] = {
      {"--units time=s,acc=m/s2,gyro=deg/s " + log,
       log + ":2: only 25 % of the lines could be used; the first that could not is "
             "\"0,0,0,9.8,x,2,3\""},
      {"--columns ax=acx " + log, "did you mean ax?"},
      {"--columns axx=1 " + log, "did you mean ax?"},
      {"--units acc=stones " + log, "one of m/s2, g, mg, raw:COUNTS is required"},
      {"--profile androd " + log, "did you mean android?"},
      {"--axes x,x,z " + log, "three axes such as -y,x,z are required"},
      {"--axes=-x,y,z " + log, "is a mirror image"},
      {"/nowhere.csv", "cannot be opened"},
      {"", "IN: a log is required"}};
  for (const auto& c : cases) {
    const Outcome outcome = run_wgr("import -o " + out_ + " " + c.words);
    EXPECT_EQ(outcome.status, 2) << c.words;
    EXPECT_THAT(outcome.err, HasSubstr(c.said)) << c.words;
    EXPECT_FALSE(std::filesystem::exists(out_));
  }
}
