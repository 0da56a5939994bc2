// The recorder in a host: the host notices nothing, whatever happens to the files, and
// what was recorded is made again without a difference.
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <random>
#include <set>
#include <thread>

#include "recorded.h"
#include "running_host.h"
#include "support/private_paths.h"

using namespace wgr;

// What these find depends on chance; where everything takes many times as long, the host
// or the test's own reading is what is looked at, and few rounds show it.
#if defined(WGR_SANITIZED) || defined(WGR_EMULATED)
static constexpr int kKills = 4;
static constexpr int kSizes = 2;
static constexpr const char* kLimits[] = {"5000", "140000"};
#else
static constexpr int kKills = 24;
static constexpr int kSizes = 5;
static constexpr const char* kLimits[] = {"4096", "5000", "131072", "140000", "200000"};
#endif

static constexpr char kSteady[] = "steady 12000";

static const std::string& steady_answers() {
  static const std::string answers = run_host("", kSteady).out;
  return answers;
}

static void expect_same_answers(const HostOutcome& outcome) {
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, steady_answers());
}

static ReenactmentTotals expect_made_again(const std::string& capture) {
  const ReenactmentTotals totals = made_again(capture);
  EXPECT_EQ(totals.differing, 0u) << capture;
  return totals;
}

// A host answers recorded as it does alone, and its one capture is made again.
static ReenactmentTotals expect_recorded(const std::string& words) {
  TempDirectory folder;
  const HostOutcome plain = run_host("", words);
  const HostOutcome recorded = run_host(settings(folder.path()), words);
  EXPECT_EQ(recorded.status, 0);
  EXPECT_EQ(recorded.out, plain.out);
  const auto captures = captures_in(folder.path());
  EXPECT_EQ(captures.size(), 1u);
  const ReenactmentTotals totals = expect_made_again(captures.at(0));
  EXPECT_EQ(totals.not_compared, 0u);
  EXPECT_EQ(totals.handles.size(), 24u);
  return totals;
}

TEST(Recorder, GoldenStreamsAreMadeAgain) {
  const ReenactmentTotals totals = expect_recorded("golden 0 24");
  EXPECT_GT(totals.answers, 20000u);
  EXPECT_GT(totals.callbacks, 20u);
  EXPECT_EQ(totals.unanswered, 0u);
}

// Callbacks query, initialise anew, and feed another handle.
TEST(Recorder, EightThreadsWithThreeHandlesEachAreMadeAgain) {
  const ReenactmentTotals totals = expect_recorded("threads 8 3 400");
  EXPECT_GT(totals.answers, 9600u);
  EXPECT_GT(totals.callbacks, 24u);
}

TEST(Recorder, CapturesAreReadByTheirOwnerAlone) {
  TempDirectory folder;
  const std::string inner = folder.file("captures");
  run_host("umask 0; " + settings(inner), "steady 100");
  const auto captures = captures_in(inner);
  ASSERT_EQ(captures.size(), 1u);
  struct stat about;
  ASSERT_EQ(stat(captures[0].c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777, 0600u);
  ASSERT_EQ(stat(inner.c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777, 0700u);
}

static int kills() {
  const char* const wanted = std::getenv("WGR_KILLS");
  return wanted != nullptr ? std::atoi(wanted) : kKills;
}
static int disk_sizes() {
  const char* const wanted = std::getenv("WGR_DISK_SIZES");
  return wanted != nullptr ? std::atoi(wanted) : kSizes;
}

TEST(Recorder, KilledAtAnyMomentLosesAtMostTheRecordBeingWritten) {
  std::mt19937 random(17);
  for (int round = 0; round < kills(); ++round) {
    TempDirectory folder;
    RunningHost host(folder.path());
    ASSERT_TRUE(host.count()) << "the host does not start";
    // From the first sample on, for a moment of any length.
    const auto wait = std::chrono::microseconds(random() % 20000);
    int status = -1;
    std::thread killer([&] {
      std::this_thread::sleep_for(wait);
      status = host.kill_now();
    });
    while (host.count()) {
    }
    killer.join();
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const auto captures = captures_in(folder.path());
    ASSERT_EQ(captures.size(), 1u);
    const ReenactmentTotals totals = expect_made_again(captures[0]);
    // Each callback feeds its handle once more.
    EXPECT_GE(totals.samples - totals.callbacks, host.number()) << "round " << round;
    EXPECT_LE(totals.samples - totals.callbacks, host.number() + 1) << "round " << round;
  }
}

TEST(Recorder, LimitOnTheSizeOfFilesNeitherSignalsNorChangesAnswers) {
  for (const char* bytes : kLimits) {
    TempDirectory folder;
    // The host limits itself behind what it writes.
    const std::string limit = std::string("RECORDED_HOST_LIMIT=") + bytes + " ";
    expect_same_answers(run_host(limit + settings(folder.path()), kSteady));
    for (const std::string& capture : captures_in(folder.path())) {
      expect_made_again(capture);
    }
  }
}

TEST(Recorder, FullDiskNeitherSignalsNorChangesAnswers) {
  std::mt19937 random(4);
  for (int i = 0; i < disk_sizes(); ++i) {
    TempDirectory folder;
    const auto kilobytes = 4 + random() % 400;
    const std::string options = "size=" + std::to_string(kilobytes) + "k";
    if (mount("tmpfs", folder.path().c_str(), "tmpfs", 0, options.c_str()) != 0) {
      GTEST_SKIP() << "a small disk cannot be mounted here";
    }
    const HostOutcome outcome = run_host(settings(folder.path()), kSteady);
    expect_same_answers(outcome);
    for (const std::string& capture : captures_in(folder.path())) {
      const ReenactmentTotals totals = expect_made_again(capture);
      EXPECT_GT(totals.samples, 0u);
    }
    umount(folder.path().c_str());
  }
}

TEST(Recorder, FolderThatCannotBeWrittenIsDoneWithout) {
  for (const std::string folder : {"/proc/none", "/dev/null/captures", "/sys"}) {
    expect_same_answers(run_host(settings(folder), kSteady));
  }
}

TEST(Recorder, FolderThatVanishesIsDoneWithout) {
  TempDirectory folder;
  const std::string inner = folder.file("captures");
  std::thread remover([inner] {
    for (int i = 0; i < 400 && captures_in(inner).empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::filesystem::remove_all(inner);
  });
  expect_same_answers(run_host(settings(inner), kSteady));
  remover.join();
}

TEST(Recorder, WrongSettingsRecordNothing) {
  TempDirectory folder;
  expect_same_answers(
      run_host(settings(folder.path(), "WGR_RECORDER_MAX_MB=lots"), kSteady));
  EXPECT_TRUE(captures_in(folder.path()).empty());
}

TEST(Recorder, SettingsComeFromAFileToo) {
  TempDirectory folder;
  const std::string file = folder.file("settings");
  write_file(file, "# where\n dir = " + folder.path() + "\nlabel = left wrist\n");
  run_host("WGR_RECORDER_CONFIG=" + file + " ", "steady 100");
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(CaptureReader(captures[0]).header().label, "left wrist");
}

// Segments begin in the middle of everything, and are made again on their own.
TEST(Recorder, RingStaysWithinItsBound) {
  TempDirectory folder;
  const HostOutcome outcome =
      run_host(settings(folder.path(),
                        "WGR_RECORDER_KEEP=ring WGR_RECORDER_MAX_MB=1 "
                        "WGR_RECORDER_SEGMENT_KB=150"),
               "steady 90000");
  EXPECT_EQ(outcome.status, 0);
  const auto captures = captures_in(folder.path());
  ASSERT_GE(captures.size(), 3u);
  std::uint64_t bytes = 0;
  for (const std::string& capture : captures)
    bytes += std::filesystem::file_size(capture);
  EXPECT_LE(bytes, 1000000u);
  EXPECT_GE(bytes, 500000u);
  const ReenactmentTotals totals = expect_made_again(captures[1]);
  EXPECT_GT(totals.answers, 5000u);
  EXPECT_GT(totals.not_compared, 0u);
  EXPECT_LT(totals.not_compared, 100u);
}

// Threads and handles take turns, so that a record often needs a description in front.
TEST(Recorder, EverySegmentDescribesTheHandlesOfItsSamples) {
  TempDirectory folder;
  run_host(settings(folder.path(), "WGR_RECORDER_KEEP=ring WGR_RECORDER_SEGMENT_KB=131"),
           "threads 8 3 800");
  const auto captures = captures_in(folder.path());
  EXPECT_GE(captures.size(), 4u);
  for (const std::string& capture : captures) {
    CaptureReader reader(capture);
    std::set<std::uint32_t> described;
    std::size_t unknown = 0;
    for (CaptureRecord record; reader.next(record);) {
      if (record.tag == capture::kHandle || record.tag == capture::kCreate) {
        described.insert(record.handle);
      }
      if (record.tag == capture::kSample) unknown += 1 - described.count(record.handle);
    }
    EXPECT_EQ(unknown, 0u) << capture;
  }
}

TEST(Recorder, ChildRecordsNothingUnlessItIsToRecord) {
  TempDirectory folder;
  const HostOutcome outcome = run_host(settings(folder.path()), "forks");
  EXPECT_EQ(outcome.out, "4 0\n");
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(expect_made_again(captures[0]).callbacks, 4u);
}

TEST(Recorder, ChildThatRecordsHasAFileOfItsOwn) {
  TempDirectory folder;
  const HostOutcome outcome =
      run_host(settings(folder.path(), "WGR_RECORDER_FORK=own"), "forks");
  EXPECT_EQ(outcome.out, "4 0\n");
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 2u);
  std::uint64_t callbacks = 0;
  int children = 0;
  for (const std::string& capture : captures) {
    callbacks += expect_made_again(capture).callbacks;
    if (CaptureReader(capture).header().parent != 0) ++children;
  }
  EXPECT_EQ(callbacks, 4u + 2u);
  EXPECT_EQ(children, 1);
}

TEST(Recorder, WhatAHostWritesIntoTheVersionIsRecordedAndMadeAgain) {
  TempDirectory folder;
  const HostOutcome outcome = run_host(settings(folder.path()), "version");
  EXPECT_EQ(outcome.out, "0.7\n");
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 1u);
  const ReenactmentTotals totals = expect_made_again(captures[0]);
  EXPECT_EQ(totals.answers, 4u * 2u);
}

// Until the first capture's marks and end are as wanted; half a minute at most. The host
// goes on meanwhile.
template <class Wanted>
static bool comes(RunningHost& host, const std::string& folder, const Wanted& wanted) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < end) {
    for (int i = 0; i < 5000; ++i) host.count();
    const auto captures = captures_in(folder);
    if (captures.empty()) continue;
    std::string marks;
    try {
      CaptureReader reader(captures[0]);
      for (CaptureRecord record; reader.next(record);) {
        if (record.tag == capture::kMark) marks += record.text;
      }
      if (wanted(marks, reader.ended())) return true;
    } catch (const CaptureError&) {
      // It is just being begun.
    }
  }
  return false;
}

TEST(Recorder, ControlFileSwitchesAndMarks) {
  TempDirectory folder;
  const auto order = [&](const std::string& text) {
    std::ofstream(folder.file("control"), std::ios::app) << text << '\n';
  };
  RunningHost host(folder.path(), {{"START", "off"}});
  ASSERT_TRUE(host.count());
  for (int i = 0; i < 1000; ++i) host.count();
  EXPECT_TRUE(captures_in(folder.path()).empty());
  order("on");
  EXPECT_TRUE(comes(host, folder.path(), [](const auto&, bool) { return true; }));
  order("mark on the motorway");
  EXPECT_TRUE(comes(host, folder.path(), [](const std::string& marks, bool) {
    return marks == "on the motorway";
  }));
  order("off");
  EXPECT_TRUE(comes(host, folder.path(), [](const auto&, bool ended) { return ended; }));
  host.kill_now();
  ASSERT_EQ(captures_in(folder.path()).size(), 1u);
  expect_made_again(captures_in(folder.path())[0]);
}

TEST(Recorder, SignalMarksTheMoment) {
  TempDirectory folder;
  RunningHost host(folder.path(), {{"MARK_SIGNAL", std::to_string(SIGUSR2)}});
  ASSERT_TRUE(host.count());
  kill(host.process(), SIGUSR2);
  EXPECT_TRUE(comes(host, folder.path(),
                    [](const std::string& marks, bool) { return marks == "signal"; }));
}

// The sensor lies still for seconds before a gesture and behind it: the segments of its
// second and of those around it stay, the older ones go.
TEST(Recorder, OnlyWhatIsAroundEventsIsKept) {
  TempDirectory folder;
  const HostOutcome outcome = run_host(
      settings(folder.path(),
               "WGR_RECORDER_KEEP=events WGR_RECORDER_BEFORE=1 WGR_RECORDER_AFTER=1"),
      "events");
  EXPECT_EQ(outcome.status, 0);
  std::uint64_t callbacks = 0;
  std::uint64_t samples = 0;
  std::uint32_t first = ~0u;
  for (const std::string& capture : captures_in(folder.path())) {
    const ReenactmentTotals totals = expect_made_again(capture);
    callbacks += totals.callbacks;
    samples += totals.samples;
    first = std::min(first, CaptureReader(capture).header().sequence);
  }
  EXPECT_EQ(callbacks, 1u);
  EXPECT_GE(first, 1u);       // the oldest segments are gone
  EXPECT_LT(samples, 4000u);  // of 7,000
  EXPECT_GT(samples, 1000u);
}

#ifndef WGR_EMULATED
// In a host that knows nothing of the recorder.
TEST(Recorder, PreloadedIntoAPlainHostItRecordsEveryCall) {
  TempDirectory folder;
  const std::string log = folder.file("log");
  const int status =
      std::system((settings(folder.path()) +
                   "LD_PRELOAD=" WGR_RECORDER " " WGR_C_HOST " >" + log + " 2>&1")
                      .c_str());
  EXPECT_EQ(status, 0) << read_file(log);
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 1u);
  const ReenactmentTotals totals = expect_made_again(captures[0]);
  EXPECT_EQ(totals.callbacks, 4u);
  EXPECT_EQ(totals.not_compared, 0u);
}
#endif

// A host that loads the library itself, which preloading would miss.
TEST(Recorder, UnderTheLibrarysNameItPassesCallsOnAndRecordsThem) {
  TempDirectory folder;
  run_host("", "steady 1");  // installs the models
  const std::string library = "WGR_RECORDER_LIBRARY=" WGR_LIBRARY " ";
  const int status = std::system(
      (settings(folder.path()) + library + WGR_LOADING_HOST " " WGR_PROXY " >/dev/null")
          .c_str());
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  const auto captures = captures_in(folder.path());
  ASSERT_EQ(captures.size(), 1u);
  const ReenactmentTotals totals = expect_made_again(captures[0]);
  EXPECT_EQ(totals.samples, 10u);
  EXPECT_EQ(totals.not_compared, 0u);
}
