// Every call of the system by which the library reads and writes files fails once: a line
// of the log is dropped as a whole or not at all, and what is read ends where it must.
#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>
#include <vector>

#include "WgrInterface.h"
#include "classifier/Gdata.h"
#include "context/WgrLog.h"
#include "support/child.h"
#include "support/failing_calls.h"
#include "support/installed_models.h"
#include "support/same_bits.h"

using namespace wgr;

namespace fs = std::filesystem;

static size_t open_files() {
  const auto files = fs::directory_iterator("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

static std::vector<std::string> log_lines() {
  std::istringstream log(read_log());
  std::vector<std::string> lines;
  for (std::string line; std::getline(log, line);) lines.push_back(line);
  return lines;
}

class StarvedOfFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    install_all_models();
    clear_log();
  }
  void TearDown() override {
    fail_call(Call::kOpen, 0, 0);
    clear_log();
  }
};

// A short life of a handle, in which the n-th call of a kind fails; its log, line by
// line.
static std::vector<std::string> live(Call call, long n, int error) {
  clear_log();
  const Capture printing;
  fail_call(call, n, error);
  WgrHandle h = create_gesture_handle();
  init_gesture_handle(h, 50, {0, 0, 0}, -1, -1, -1, 50);
  set_gesture_model(h, WG_WEARER_RIGHT, WG_MODE_OW);
  for (const Pair& pair : rest(2)) update_gesture(h, pair.acc, pair.gyro);
  destroy_gesture_handle(&h);
  fail_call(call, 0, 0);
  return log_lines();
}

TEST_F(StarvedOfFiles, ALineWhoseCallFailsIsDroppedWholeOrWrittenAllTheSame) {
  const std::vector<std::string> all = live(Call::kOpen, 0, 0);
  ASSERT_EQ(all.size(), 9u + 1 + 2 + 4);
  const struct {
    Call call;
    int error;
    bool dropped;
  } cases[] = {
      {Call::kOpen, ENOENT, true},  {Call::kOpen, EMFILE, true},
      {Call::kOpen, ENOSPC, true},  {Call::kOpen, EINTR, false},
      {Call::kWrite, ENOSPC, true}, {Call::kWrite, EIO, true},
      {Call::kWrite, EAGAIN, true}, {Call::kWrite, kShort, true},
      {Call::kWrite, EINTR, false}, {Call::kClose, EIO, false},
      {Call::kClose, EINTR, false},
  };
  for (const auto& c : cases) {
    for (size_t line = 0; line < all.size(); ++line) {
      const size_t files = open_files();
      std::vector<std::string> expected = all;
      if (c.dropped) expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(line));
      EXPECT_EQ(live(c.call, static_cast<long>(line + 1), c.error), expected)
          << "call " << static_cast<int>(c.call) << ", error " << c.error << ", line "
          << line + 1;
      EXPECT_EQ(open_files(), files);
    }
  }
}

// What others wrote in the meantime stays.
TEST_F(StarvedOfFiles, ATornLineIsTakenOffAgainAndNothingElse) {
  write_file(kLogPath, "theirs, without a line break");
  fail_call(Call::kWrite, 1, kShort);
  WgrLogAt(kLogUpdateStart);
  EXPECT_EQ(read_log(), "theirs, without a line break");
  WgrLogAt(kLogGestureType, 6);
  EXPECT_EQ(read_log(),
            "theirs, without a line breakupdate_gesture 123: ---gestype---:6\n");
}

TEST_F(StarvedOfFiles, AWorkingDirectoryThatCannotBeFoundOrEnteredDoesNotStopTheLoading) {
  const fs::path here = fs::current_path();
  const std::vector<std::string> all = live(Call::kGetcwd, 0, 0);
  const struct {
    Call call;
    long n;
    const char* logged;  // while the model loads
    bool restored;
  } cases[] = {{Call::kGetcwd, 1, "AgGes 40: /usr/share", false},
               {Call::kGetcwd, 2, "AgGes 40: ", true},
               {Call::kChdir, 1, nullptr, true},
               {Call::kChdir, 2, "AgGes 40: /usr/share", false}};
  for (const auto& c : cases) {
    std::vector<std::string> expected = all;
    ASSERT_EQ(expected[5], "AgGes 40: /usr/share");
    expected[5] = c.logged != nullptr ? c.logged : "AgGes 40: " + here.string();
    EXPECT_EQ(live(c.call, c.n, EACCES), expected);
    EXPECT_EQ(fs::current_path(), c.restored ? here : "/usr/share");
    fs::current_path(here);
  }
}

TEST_F(StarvedOfFiles, ADefaultModelThatCannotBeOpenedEndsTheProcess) {
  const Capture printing;
  EXPECT_EQ(in_child([] {
              live(Call::kOpenStream, 1, EMFILE);
              return 1;
            }),
            0);
  EXPECT_EQ(log_lines().back(), std::string("AgGes 60: ERROR: load model failed! Path:") +
                                    c_GmodelPath[kDefaultModel]);
}

TEST_F(StarvedOfFiles, AnotherModelThatCannotBeOpenedIsEmptyUntilItCanBe) {
  const Capture printing;
  WgrContext context;
  fail_call(Call::kOpenStream, 1, EMFILE);
  EXPECT_EQ(context.set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW), 0);
  EXPECT_TRUE(context.ages->hgr->model->templates.empty());
  EXPECT_EQ(context.set_gesture_model(WG_WEARER_LEFT, WG_MODE_OW), 0);
  EXPECT_EQ(context.ages->hgr->model->templates.size(), 1u);
}

// ---- the readers ---------------------------------------------------------------------

static Gmodel large_model() {
  Gmodel model = small_model(3, -0.5);
  for (int t = 0; t < 40; ++t) {
    model.templates.push_back({3, Points(20, Point3Df{0.25 * t, -1.5, 9.75})});
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  return model;
}

static bool same(const Gmodel& a, const Gmodel& b) {
  bool same = a.nclasses == b.nclasses && a.class_labels == b.class_labels &&
              a.class_thresholds == b.class_thresholds &&
              a.templates.size() == b.templates.size();
  for (size_t t = 0; same && t < a.templates.size(); ++t) {
    same = a.templates[t].first == b.templates[t].first &&
           same_elements(a.templates[t].second, b.templates[t].second);
  }
  return same;
}

TEST_F(StarvedOfFiles, AModelIsReadWholeThroughInterruptedAndShortReads) {
  const TempDirectory directory;
  const std::string path = directory.file("model");
  const Gmodel written = large_model();
  ASSERT_TRUE(written.write(path.c_str()));
  const size_t files = open_files();
  Gmodel whole;
  fail_call(Call::kRead, 0, 0);
  ASSERT_TRUE(whole.read(path.c_str()));
  const long reads = calls(Call::kRead);
  ASSERT_GT(reads, 1);
  EXPECT_TRUE(same(whole, written));
  for (long n = 1; n <= reads; ++n) {
    for (const int error : {EINTR, kShort}) {
      Gmodel model;
      fail_call(Call::kRead, n, error);
      EXPECT_TRUE(model.read(path.c_str()));
      EXPECT_TRUE(same(model, written)) << "read " << n << ", error " << error;
    }
    Gmodel cut;  // where the disk fails, the file has ended
    fail_call(Call::kRead, n, EIO);
    EXPECT_TRUE(cut.read(path.c_str())) << n;
    EXPECT_LE(cut.templates.size(), written.templates.size());
    EXPECT_FALSE(same(cut, written)) << n;
  }
  for (const int error : {EIO, EINTR}) {
    Gmodel model;
    fail_call(Call::kCloseStream, 1, error);
    EXPECT_TRUE(model.read(path.c_str()));
    EXPECT_TRUE(same(model, written));
  }
  EXPECT_EQ(open_files(), files);
}

static std::string training_records(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += std::to_string(i % 5) + " 3 0 9.75 0\n0.25 1 2\n3 4 5\n6 7 8\n";
  }
  return text;
}

TEST_F(StarvedOfFiles, TrainingDataIsReadWholeThroughInterruptedAndShortReads) {
  const TempDirectory directory;
  const std::string path = directory.file("data");
  write_file(path, training_records(500));
  const size_t files = open_files();
  fail_call(Call::kRead, 0, 0);
  Gdata whole;
  ASSERT_TRUE(whole.load(path.c_str()));
  ASSERT_EQ(whole.samples.size(), 500u);
  const long reads = calls(Call::kRead);
  ASSERT_GT(reads, 3);
  for (long n = 1; n <= reads; ++n) {
    for (const int error : {EINTR, kShort}) {
      fail_call(Call::kRead, n, error);
      Gdata data;
      EXPECT_TRUE(data.load(path.c_str()));
      ASSERT_EQ(data.samples.size(), 500u) << "read " << n << ", error " << error;
      for (const Gsample& sample : data.samples) {
        EXPECT_TRUE(same_elements(sample.trace, whole.samples[0].trace));
      }
    }
    fail_call(Call::kRead, n, EIO);
    Gdata cut;
    EXPECT_TRUE(cut.load(path.c_str())) << n;
    EXPECT_LE(cut.samples.size(), 500u);
  }
  fail_call(Call::kOpenStream, 1, EMFILE);
  Capture printing;
  EXPECT_FALSE(Gdata().load(path.c_str()));
  EXPECT_EQ(printing.finish(), "\nError: Cann't opening file " + path + "\n");
  EXPECT_EQ(open_files(), files);
}
