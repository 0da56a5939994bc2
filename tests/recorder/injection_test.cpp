// Samples that another process plays into a running host.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <chrono>
#include <fstream>
#include <random>
#include <thread>

#include "injection_messages.h"
#include "recorded.h"
#include "recording/recording.h"
#include "running_host.h"
#include "support/cases.h"
#include "support/private_paths.h"
#include "tools/run_wgr.h"

using namespace wgr;
namespace inj = wgr::injection;

template <class Condition>
static bool comes_true(const Condition& condition) {
  for (int i = 0; i < 3000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// A socket has its name a moment before it takes connections.
static bool listens(const std::string& path) {
  std::ifstream sockets("/proc/net/unix");
  for (std::string line; std::getline(sockets, line);) {
    const bool accepts = line.find(" 00010000 ") != std::string::npos;
    if (accepts && line.find(' ' + path) != std::string::npos) return true;
  }
  return false;
}

namespace {

// A host that is open for injection, and the injections of its capture.
class InjectionTest : public ::testing::Test {
 protected:
  InjectionTest() : host_(captures(), {{"INJECT", folder_.file("open")}}, false) {}

  void SetUp() override {
    ASSERT_TRUE(comes_true([&] { return listens(socket()); }));
  }

  std::string file(const std::string& name) const { return folder_.file(name); }
  std::string captures() const { return folder_.file("captures"); }
  std::string socket() const {
    return folder_.file("open/") + inj::kSocketName + std::to_string(host_.process());
  }
  std::string capture() const { return captures_in(captures()).at(0); }

  Outcome inject(const std::string& arguments) const {
    return run_wgr("inject --socket " + socket() + " " + arguments);
  }
  // Ends the host; its capture is made again.
  ReenactmentTotals end() {
    host_.kill_now();
    const ReenactmentTotals totals = made_again(capture());
    EXPECT_EQ(totals.differing, 0u);
    return totals;
  }

  TempDirectory folder_;
  RunningHost host_;
};

// An injector that says what a test wants.
class RawInjector {
 public:
  explicit RawInjector(const std::string& path)
      : fd_(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    connected_ = connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    const timeval patience = {30, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }
  ~RawInjector() { close(fd_); }
  RawInjector(const RawInjector&) = delete;
  RawInjector& operator=(const RawInjector&) = delete;

  bool connected() const { return connected_; }
  void send(const std::string& message) const {
    EXPECT_EQ(::send(fd_, message.data(), message.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(message.size()));
  }
  // The first byte of the next message; 0 when the recorder has closed the connection.
  int answer() {
    std::uint8_t message[256];
    const ssize_t got = recv(fd_, message, sizeof message, 0);
    reason_ = got == inj::kRefusedSize ? message[1] : 0;
    return got > 0 ? message[0] : got == 0 ? 0 : -1;
  }

  int reason() const { return reason_; }  // of a refusal

 private:
  int fd_;
  int reason_ = 0;
  bool connected_ = false;
};

}  // namespace

static std::string number(std::uint32_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> (8 * i) & 0xFF);
  }
  return text;
}
static std::string begin_message(int version = inj::kProtocolVersion) {
  return number(inj::kBegin, 1) + number(static_cast<std::uint32_t>(version), 3) +
         number(0, 4);
}
static std::string load_message(std::uint32_t count) {
  return number(inj::kLoad, 4) + number(count, 4);
}
static std::string samples_message(std::uint32_t count) {
  return number(inj::kSamples, 2) + number(count, 2) +
         std::string(count * inj::kSampleSize, '\0');
}

static RecordedSample odd_sample(int i) {
  return {i / 50.0, {i / 7.0, -i / 3.0, 9.0}, {i * 1e-3, 0.1 * i, -1.0 / (i + 1)}};
}

TEST_F(InjectionTest, SamplesTakeThePlaceOfTheHostsOwnBitForBit) {
  std::vector<RecordedSample> samples;
  for (int i = 0; i < 1000; ++i) samples.push_back(odd_sample(i));
  write_recording(file("odd.csv"), samples);
  const Outcome outcome = inject("--json " + file("odd.csv"));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("\"samples\":1000"), std::string::npos) << outcome.out;
  EXPECT_EQ(end().injected, 1000u);

  CaptureReader reader(capture());
  std::size_t at = samples.size();  // none is due
  bool begun = false;
  int own = 0;
  int callbacks = 0;  // of the host that are running; it feeds its own samples there
  for (CaptureRecord record; reader.next(record);) {
    if (record.tag == capture::kInjection) {
      begun = record.flags == capture::kInjectionBegins;
      if (begun) at = 0;
      EXPECT_NE(record.flags, capture::kInjectionBreaks);
      EXPECT_EQ(record.count, 1000u);
    }
    if (record.tag == capture::kCallback) ++callbacks;
    if (record.tag == capture::kCallbackEnd) --callbacks;
    if (record.tag != capture::kSample || callbacks > 0) continue;
    if (!begun || at >= samples.size()) {
      ++own;
      continue;
    }
    EXPECT_EQ(record.acc.x, samples[at].acc.x);
    EXPECT_EQ(record.gyro.z, samples[at].gyro.z);
    ++at;
  }
  EXPECT_EQ(at, samples.size());
  EXPECT_GT(own, 100);
}

TEST_F(InjectionTest, SocketIsItsOwnersAlone) {
  struct stat about;
  ASSERT_EQ(stat(socket().c_str(), &about), 0);
  EXPECT_EQ(about.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
  ASSERT_EQ(stat(file("open").c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777, 0700u);
}

TEST_F(InjectionTest, HostIsFoundByItsProcess) {
  const Outcome outcome =
      run_wgr("inject --gesture 2 --pid " + std::to_string(host_.process()));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("300 samples in 6.0 s into handle 1: "), std::string::npos)
      << outcome.out;
}

TEST_F(InjectionTest, HostileMessagesAreRefusedAndTheHostGoesOn) {
  const std::string load = load_message(10);
  const std::vector<std::vector<std::string>> dialogues = {
      {""},
      {"x"},
      {begin_message(2)},
      {begin_message() + "x"},
      {load},
      {begin_message(), begin_message()},
      {begin_message(), load_message(0)},
      {begin_message(), load_message(inj::kMostSamples + 1)},
      {begin_message(), load_message(0xFFFFFFFF)},
      {begin_message(), samples_message(1)},
      {begin_message(), load, samples_message(11)},
      {begin_message(), load, samples_message(0)},
      {begin_message(), load, samples_message(5).substr(0, 100)},
      {begin_message(), load, samples_message(5) + "x"},
      {begin_message(), load, std::string(100000, 'x')}};
  for (std::size_t i = 0; i < dialogues.size(); ++i) {
    RawInjector injector(socket());
    ASSERT_TRUE(injector.connected());
    for (const std::string& message : dialogues[i]) injector.send(message);
    int answer = injector.answer();
    if (answer == inj::kReady) answer = injector.answer();
    // An empty message looks like the injector's end.
    EXPECT_EQ(answer, dialogues[i][0].empty() ? 0 : +inj::kRefused) << "dialogue " << i;
    EXPECT_NE(injector.reason(), +inj::kTooSlow) << "dialogue " << i;
    EXPECT_LE(injector.answer(), 0) << "dialogue " << i;
  }
  EXPECT_EQ(inject("--gesture 0").status, 0);
  EXPECT_EQ(end().injected, 300u);
}

TEST_F(InjectionTest, RandomMessagesAreRefused) {
  std::mt19937 random(17);
  for (int i = 0; i < affordable(40); ++i) {
    RawInjector injector(socket());
    if (i % 2 == 0) injector.send(begin_message());
    if (i % 4 == 0)
      injector.send(load_message(static_cast<std::uint32_t>(1 + random() % 100)));
    std::string noise(1 + random() % 600, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    injector.send(noise);
    int answer = injector.answer();
    while (answer == inj::kReady) answer = injector.answer();
    EXPECT_EQ(answer, +inj::kRefused);
    EXPECT_EQ(injector.reason(), +inj::kMalformed);
  }
  EXPECT_EQ(end().injected, 0u);
}

// What it has sent is not played to the end.
TEST_F(InjectionTest, HostUsesItsOwnSamplesAgainWhenTheInjectorIsGone) {
  {
    RawInjector injector(socket());
    injector.send(begin_message());
    ASSERT_EQ(injector.answer(), +inj::kReady);
    injector.send(load_message(10));
    injector.send(samples_message(9));
  }
  EXPECT_EQ(inject("--gesture 1").status, 0);
  EXPECT_EQ(end().injected, 300u);
}

// All of it has arrived, and nobody waits for it any more.
TEST_F(InjectionTest, NothingIsPlayedForAnInjectorThatIsGone) {
  kill(host_.process(), SIGSTOP);
  {
    RawInjector injector(socket());
    for (const std::string& message :
         {begin_message(), load_message(100), samples_message(100)}) {
      injector.send(message);
    }
  }
  kill(host_.process(), SIGCONT);
  EXPECT_EQ(inject("--gesture 1").status, 0);
  EXPECT_EQ(end().injected, 300u);
  CaptureReader reader(capture());
  int broken = 0;
  for (CaptureRecord record; reader.next(record);) {
    if (record.tag == capture::kInjection && record.flags == capture::kInjectionBreaks) {
      EXPECT_EQ(record.count, 0u);
      ++broken;
    }
  }
  EXPECT_EQ(broken, 1);
}

// How many sockets have the name: one that listens, and one for each connection.
static int sockets_of(const std::string& name) {
  std::ifstream table("/proc/net/unix");
  int count = 0;
  for (std::string line; std::getline(table, line);) {
    count += line.find(name) != std::string::npos ? 1 : 0;
  }
  return count;
}

TEST_F(InjectionTest, HostThatEndsIsReported) {
  const std::string socket_was = socket();
  ASSERT_EQ(sockets_of(socket_was), 1);
  std::thread killer([&] {
    EXPECT_TRUE(comes_true([&] { return sockets_of(socket_was) > 1; }));
    // It has connected: time to begin, which it need not take.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    host_.kill_now();
  });
  // Of another process: it is never fed.
  const Outcome outcome = inject("--host-handle 7 --gesture 1");
  killer.join();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("the host has ended"), std::string::npos) << outcome.err;
  EXPECT_EQ(run_wgr("inject --gesture 1 --socket " + socket_was).status, 2);
}

TEST(Injection, IsRefusedByAHostThatDoesNotAllowIt) {
  TempDirectory folder;
  RunningHost host(folder.path(), {}, false);
  ASSERT_TRUE(comes_true([&] { return !captures_in(folder.path()).empty(); }));
  const Outcome outcome =
      run_wgr("inject --gesture 2 --pid " + std::to_string(host.process()));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("WGR_RECORDER_INJECT"), std::string::npos) << outcome.err;
}

TEST(Injection, WorksWithoutARecording) {
  TempDirectory folder;
  RunningHost host("", {{"INJECT", folder.path()}}, false);
  const std::string socket =
      folder.file(inj::kSocketName + std::to_string(host.process()));
  ASSERT_TRUE(comes_true([&] { return listens(socket); }));
  const Outcome outcome = run_wgr("inject --gesture 2 --socket " + socket);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("into handle 1: "), std::string::npos) << outcome.out;
  EXPECT_TRUE(captures_in(folder.path()).empty());
}
