// From a complaint to a cause on the sample service, by the commands of the flight
// recorder's guide.
#include <filesystem>

#include "support/private_paths.h"
#include "support/text.h"
#include "tools/run_wgr.h"

static const std::string kDemo = WGR_ROOT "/recordings/demo.csv";

namespace {

class Service : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::copy(WGR_ROOT "/models", "/usr/share/GestureModel",
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
  }

  std::string captures() const { return folder_.file("captures"); }
  std::string made(const std::string& name) const { return folder_.file(name); }

  Outcome serve(const std::string& before, const std::string& arguments) const {
    return run_command("WGR_RECORDER_CONFIG=/dev/null " + before + " " WGR_SERVICE " " +
                       arguments);
  }
  std::string capture() const {
    for (const auto& entry : std::filesystem::directory_iterator(captures())) {
      return entry.path();
    }
    ADD_FAILURE() << "no capture";
    return "";
  }

 private:
  TempDirectory folder_;
};

}  // namespace

TEST_F(Service, ReportsWhatReplayReportsWithTheRecorderAndWithout) {
  const Outcome alone = serve("", kDemo);
  const Outcome recorded = serve("WGR_RECORDER_DIR=" + captures(), kDemo);
  EXPECT_EQ(alone.status, 0) << alone.err;
  EXPECT_EQ(recorded.status, 0);
  EXPECT_EQ(recorded.err, alone.err);
  EXPECT_EQ(recorded.out, alone.out);
  const size_t gestures = count_of(alone.err, ": gesture ");
  EXPECT_GT(gestures, 0u);
  const Outcome replay = run_wgr("replay --sample-rate 50 --json " + kDemo);
  EXPECT_EQ(count_of(replay.out, "\"type\":\"event\""), gestures) << replay.out;
}

TEST_F(Service, LeadsFromAComplaintToACauseInFiveCommands) {
  ASSERT_EQ(serve("WGR_RECORDER_DIR=" + captures(), kDemo).status, 0);
  EXPECT_EQ(run_wgr("capture mark " + capture()).status, 0);
  const std::string cut = made("it.wgrcap");
  const Outcome cutting =
      run_wgr("capture cut --from 0 --to 60 " + capture() + " -o " + cut);
  EXPECT_EQ(cutting.status, 0) << cutting.err;
  const Outcome replay = run_wgr("replay " + cut);
  EXPECT_EQ(replay.status, 0) << replay.out;
  EXPECT_NE(replay.out.find("\n0 of "), std::string::npos) << replay.out;

  // The same motions, by the same figures, as of the recording itself.
  const Outcome explain = run_wgr("explain " + cut);
  EXPECT_EQ(explain.status, 0) << explain.err;
  const Outcome recording = run_wgr("explain --sample-rate 50 " + kDemo);
  EXPECT_EQ(count_of(explain.out, "class"), count_of(recording.out, "class"));
  EXPECT_LE(run_wgr("doctor " + cut).status, 1);
}

#ifndef WGR_EMULATED
// The recorder is in front of the library already.
TEST_F(Service, IsTestedWithAnInjectedGesture) {
  const Outcome outcome = run_command(
      "WGR_RECORDER_CONFIG=/dev/null WGR_RECORDER= GESTURES=2 WGR=" WGR_PROGRAM
      " " WGR_ROOT "/examples/gesture_test.sh " WGR_SERVICE);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "gesture 2: reported\n");
}
#endif

TEST_F(Service, RefusesWhatIsNoSample) {
  write_file(made("bad.csv"), "t,ax,ay,az,gx,gy,gz\n0,1,2\n");
  const Outcome outcome = serve("", made("bad.csv"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("bad.csv:2: no sample\n"), std::string::npos) << outcome.err;
  EXPECT_EQ(serve("", "a b c").status, 2);
}
