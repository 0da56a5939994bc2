// wgr doctor as a program: its text, JSON, status and what it reads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "base/text.h"
#include "diagnosis/agreement.h"
#include "diagnosis/diagnosis.h"
#include "recording/recording.h"
#include "support/cases.h"
#include "support/files.h"
#include "synthesis/performance.h"
#include "tools/run_wgr.h"
#include "workbench/diagnosis/sound_recording.h"

using namespace wgr;

using ::testing::HasSubstr;

// A sound recording; making it is what takes long below valgrind.
static const Recorded& sound() {
  static const Recorded samples = repetition(1);
  return samples;
}

class DoctorCommand : public ::testing::Test {
 protected:
  std::string recording(const Recorded& samples) {
    const std::string path = directory_.file("recording.csv");
    write_recording(path, samples);
    return path;
  }

  TempDirectory directory_;
};

TEST_F(DoctorCommand, EndsWithZeroWhenItFindsNothing) {
  const Outcome outcome = run_wgr("doctor " + recording(sound()));
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("rate      50.00 samples/s"));
  EXPECT_THAT(outcome.out, HasSubstr("pass      init_gesture_handle(h, 50, (Point3Df){"));
  EXPECT_THAT(outcome.out, HasSubstr("\nnothing found\n"));
}

// As `explain` shows them, of a recording in which x and y change together, as they do on
// the left wrist.
TEST_F(DoctorCommand, ShowsWhatTheWristDetectorAnswered) {
  Recorded samples = sound();
  for (size_t i = 100; i < 400; ++i) {
    const double push = i / 6 % 2 == 0 ? 4.0 : -4.0;
    samples[i].acc = samples[i].acc + Point3Df{push, push, 0.0};
  }
  const std::string path = recording(samples);
  const Outcome text = run_wgr("doctor " + path);
  std::istringstream lines(run_wgr("doctor --json " + path).out);
  std::string last;
  for (std::string line; std::getline(lines, line);) last = line;
  const auto wrist = nlohmann::json::parse(last)["wrist"];
  const auto& answers = wrist["answers"];
  EXPECT_GT(answers[0], 250);
  EXPECT_EQ(wrist["worn"], 0);
  EXPECT_EQ(
      answers[0].get<size_t>() + answers[1].get<size_t>() + answers[2].get<size_t>(),
      samples.size());
  const std::string shown =
      fmt::format("left by the wrist detector ({} left : {} right, {} undecided)",
                  answers[0].get<int>(), answers[1].get<int>(), answers[2].get<int>());
  EXPECT_THAT(text.out, HasSubstr("wrist     " + shown));
  EXPECT_THAT(run_wgr("explain --models " WGR_ROOT "/models " + path).out,
              HasSubstr("wrist     " + shown));
}

// What is written is sound, whatever was planted; the findings are of the recording read.
TEST_F(DoctorCommand, WritesTheRecordingRepaired) {
  Recorded samples = sound();
  Recorded planted = samples;
  for (RecordedSample& s : planted) {
    s.gyro = s.gyro / kDegreesPerRadian;
    s.acc = s.acc / 9.80665;
  }
  planted[700].acc.x = 9999.0;
  planted.erase(planted.begin() + 1000, planted.begin() + 1003);
  const std::string out = directory_.file("repaired.csv");
  const Outcome outcome = run_wgr("doctor --repair " + out + " " + recording(planted));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("wgr: wrote " + out + ": "));
  EXPECT_THAT(outcome.err, HasSubstr("gyroscope × 57.29578"));
  EXPECT_THAT(outcome.err, HasSubstr("accelerometer × 9.80665"));
  EXPECT_THAT(outcome.err, HasSubstr("gaps filled in"));
  const Recorded repaired = read_recording(out);
  EXPECT_EQ(repaired.size(), samples.size());
  EXPECT_TRUE(diagnose(repaired, {}).findings.empty());
  EXPECT_NEAR(repaired[100].gyro.y, samples[100].gyro.y, 1e-9);
  EXPECT_NEAR(repaired[100].acc.z, samples[100].acc.z, 1e-9);
  const std::string itself = recording(planted);
  EXPECT_EQ(run_wgr("doctor --repair " + itself + " " + itself).status, 2);
}

TEST_F(DoctorCommand, EndsWithOneWhenItFindsSomething) {
  Recorded samples = sound();
  for (RecordedSample& s : samples) s.gyro = s.gyro / kDegreesPerRadian;
  const std::string path = recording(samples);
  const Outcome text = run_wgr("doctor " + path);
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, HasSubstr("gyro-unit (certain): "));
  EXPECT_THAT(text.out, HasSubstr("\n  do: multiply the angular velocities by 57.29578"));

  const Outcome lines = run_wgr("doctor --json " + path);
  EXPECT_EQ(lines.status, 1);
  std::istringstream in(lines.out);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(nlohmann::json::parse(line)["id"], "gyro-unit");
  std::getline(in, line);
  EXPECT_EQ(nlohmann::json::parse(line)["findings"], 1);
  EXPECT_FALSE(std::getline(in, line));
}

TEST_F(DoctorCommand, PrintsAsJsonWhatItMeasured) {
  const Recorded samples = sound();
  const StreamFacts facts = diagnose(samples, {}).facts;
  ASSERT_TRUE(facts.rate && facts.gravity && facts.bias);
  const auto figures =
      nlohmann::json::parse(run_wgr("doctor --json " + recording(samples)).out);
  EXPECT_EQ(figures["samples"], samples.size());
  EXPECT_NEAR(figures["rate"].get<double>(), *facts.rate, 1e-6);
  EXPECT_NEAR(figures["gravity"].get<double>(), *facts.gravity, 1e-6);
  EXPECT_NEAR(figures["bias"][0].get<double>(), facts.bias->x, 1e-6);
  EXPECT_NEAR(figures["bias"][1].get<double>(), facts.bias->y, 1e-6);
  EXPECT_NEAR(figures["bias"][2].get<double>(), facts.bias->z, 1e-6);
  EXPECT_NEAR(figures["seconds"].get<double>(), facts.seconds, 1e-6);
  EXPECT_EQ(figures["turns"], facts.turns);

  // A sample alone has no rate, and without rest nothing shows gravity and bias.
  const std::string one = run_wgr("doctor --json " + recording({samples[0]})).out;
  const auto of_one = nlohmann::json::parse(one.substr(one.rfind("{\"type\"")));
  for (const char* unknown : {"rate", "gravity", "bias"}) {
    EXPECT_TRUE(of_one[unknown].is_null()) << unknown << ": " << one;
  }
}

TEST_F(DoctorCommand, TakesTheBiasThatItIsGivenForCorrected) {
  Recorded samples = sound();
  for (RecordedSample& s : samples) s.gyro = s.gyro + Point3Df{20.0, 0.0, -10.0};
  const std::string path = recording(samples);
  const Outcome without = run_wgr("doctor " + path);
  EXPECT_EQ(without.status, 1);
  EXPECT_THAT(without.out, HasSubstr("\nbias (certain): "));
  EXPECT_EQ(run_wgr("doctor --bias 20,0,-10 " + path).status, 0);
}

TEST_F(DoctorCommand, EndsWithTwoWhenItCannotRead) {
  EXPECT_EQ(run_wgr("doctor " + directory_.file("missing.csv")).status, 2);
  write_file(directory_.file("bad.csv"), "t,ax,ay,az,gx,gy,gz\n0,1,2\n");
  EXPECT_EQ(run_wgr("doctor " + directory_.file("bad.csv")).status, 2);
  EXPECT_EQ(run_wgr("doctor --bias 1,2 " + recording(sound())).status, 2);
  EXPECT_EQ(run_wgr("doctor").status, 2);
}

TEST_F(DoctorCommand, ReadsNoMoreThanItIsGiven) {
  const std::string path = recording(sound());
  EXPECT_THAT(run_wgr("doctor --seconds 10 " + path).out, HasSubstr("samples   500 in"));
  // Of a live stream a minute is enough, though more would come.
  const Recorded part = sound();
  ASSERT_GT(part.back().t, 61.0);
  const Outcome live = run_command(std::string(WGR_PROGRAM) + " doctor - <" + path);
  EXPECT_THAT(live.out, HasSubstr("samples   3000 in 59.98 s"));
}

TEST_F(DoctorCommand, NamesAxesThatHaveNoValues) {
  std::string text = "t,ax,ay,az,gx,gy,gz\n";
  for (const RecordedSample& s : sound()) {
    std::ostringstream line;
    line << s.t << ',' << s.acc.x << ',' << s.acc.y << ',' << s.acc.z << ',' << s.gyro.x
         << ',' << s.gyro.y << ",\n";
    text += line.str();
  }
  write_file(directory_.file("absent.csv"), text);
  const Outcome outcome = run_wgr("doctor " + directory_.file("absent.csv"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("absent (certain): the axes gz have no value"));
}
