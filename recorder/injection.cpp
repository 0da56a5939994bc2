#include "injection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "settings.h"

namespace wgr::recorder {

using namespace wgr::capture;
using namespace wgr::injection;

static constexpr std::uint64_t kLookInterval = 50'000;  // us, for a new injector
static constexpr std::uint64_t kPatience = 10'000'000;  // us, for its next message
static constexpr int kMessagesAtOnce = 16;              // that one call reads
static constexpr int kFirstDescriptor = 10;             // never one of the standard ones
static constexpr int kWaiting = 4;                      // injectors, for their turn

std::uint8_t InjectionEvent::flag() const {
  if (kind == kBegins) return kInjectionBegins;
  return kind == kEnds ? kInjectionEnds : kInjectionBreaks;
}

// ---- sockets --------------------------------------------------------------------------

// Above what a host closes and opens again by number.
void Injection::Socket::take(int opened) {
  fd = opened;
  if (opened >= 0 && opened < kFirstDescriptor) {
    const int moved = fcntl(opened, F_DUPFD_CLOEXEC, kFirstDescriptor);
    if (moved >= 0) {
      ::close(opened);
      fd = moved;
    }
  }
  struct stat about;
  if (fd >= 0 && fstat(fd, &about) == 0) inode = about.st_ino;
}

bool Injection::Socket::is_ours() const {
  struct stat about;
  return fd >= 0 && fstat(fd, &about) == 0 && S_ISSOCK(about.st_mode) &&
         about.st_ino == inode;
}

void Injection::Socket::close() {
  if (is_ours()) ::close(fd);
  fd = -1;
}

// The socket has its mode before it has a name.
static int open_listener(const sockaddr_un& address) {
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  const auto* const name = reinterpret_cast<const sockaddr*>(&address);
  if (fchmod(fd, 0600) == 0 && bind(fd, name, sizeof address) == 0 &&
      chmod(address.sun_path, 0600) == 0 && listen(fd, kWaiting) == 0) {
    return fd;
  }
  const int reason = errno;
  close(fd);
  errno = reason;
  return -1;
}

void Injection::start(const char* folder) {
  static_assert(sizeof path_ == sizeof(sockaddr_un::sun_path));
  const int length = std::snprintf(path_, sizeof path_, "%s/%s%ld", folder, kSocketName,
                                   static_cast<long>(getpid()));
  if (length >= static_cast<int>(sizeof path_)) {
    complain("is too long for a socket's name; nothing can be injected", folder);
    return;
  }
  mkdir(folder, 0700);
  struct stat about;
  // Of an earlier process of this number.
  if (lstat(path_, &about) == 0 && S_ISSOCK(about.st_mode)) unlink(path_);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path_, sizeof path_);
  listener_.take(open_listener(address));
  if (listener_.fd < 0) {
    complain("cannot hold a socket; nothing can be injected", folder);
    return;
  }
  enabled_ = true;
}

void Injection::forget() {
  listener_.close();
  disconnect();
  enabled_ = false;
}

void Injection::stop() {
  if (!is_enabled()) return;
  forget();
  unlink(path_);
}

void Injection::disconnect() {
  peer_.close();
  delete[] samples_;
  samples_ = nullptr;
  count_ = received_ = played_ = handle_ = 0;
  greeted_ = false;
  stage_ = Stage::kIdle;
}

void Injection::send(const std::uint8_t* message, std::size_t size) {
  // What does not fit is lost: the host does not wait for an injector.
  if (peer_.is_ours()) ::send(peer_.fd, message, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

void Injection::refuse(Refusal reason) {
  const std::uint8_t message[kRefusedSize] = {kRefused, reason, 0, 0};
  send(message, sizeof message);
  disconnect();
}

// ---- an injector's messages -----------------------------------------------------------

void Injection::accept_one(std::uint64_t time) {
  if (time < next_look_) return;
  next_look_ = time + kLookInterval;
  if (!listener_.is_ours()) {
    forget();
    return;
  }
  const int fd = accept4(listener_.fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (fd < 0) return;
  peer_.take(fd);
  stage_ = Stage::kGreeting;
  deadline_ = time + kPatience;
  ucred who = {};
  socklen_t size = sizeof who;
  if (getsockopt(peer_.fd, SOL_SOCKET, SO_PEERCRED, &who, &size) != 0 ||
      (who.uid != geteuid() && who.uid != 0)) {
    refuse(kOtherUser);
  }
}

bool Injection::take_begin(const std::uint8_t* message, std::size_t size) {
  if (size != kBeginSize || message[0] != kBegin || message[1] != kProtocolVersion ||
      greeted_) {
    return false;
  }
  greeted_ = true;
  handle_ = get_le<std::uint32_t>(message + 4);
  return true;
}

bool Injection::take_load(const std::uint8_t* message, std::size_t size) {
  if (size != kLoadSize || message[0] != kLoad || samples_ != nullptr) return false;
  count_ = get_le<std::uint32_t>(message + 4);
  if (count_ == 0 || count_ > kMostSamples) return false;
  samples_ = new (std::nothrow) Sample[count_];
  return samples_ != nullptr;
}

bool Injection::take_samples(const std::uint8_t* message, std::size_t size) {
  if (size < kSamplesAt || message[0] != kSamples || samples_ == nullptr) return false;
  const std::size_t count = get_le<std::uint16_t>(message + 2);
  if (count == 0 || count > count_ - received_ ||
      size != kSamplesAt + count * kSampleSize) {
    return false;
  }
  const std::uint8_t* from = message + kSamplesAt;
  const auto number = [&from] {
    const double value = double_of(get_le<std::uint64_t>(from));
    from += sizeof value;
    return value;
  };
  for (std::size_t i = 0; i < count; ++i) {
    Sample& sample = samples_[received_++];
    for (Point3Df* const axes : {&sample.acc, &sample.gyro}) {
      axes->x = number();
      axes->y = number();
      axes->z = number();
    }
  }
  return true;
}

// Reads one message, if there is one that this handle's call has to do with.
bool Injection::read_message(const Target& target, std::uint64_t time) {
  if (stage_ == Stage::kGreeting && greeted_) {
    if (handle_ != 0 && handle_ != target.handle) return false;
    handle_ = target.handle;
    std::uint8_t message[kReadySize] = {kReady};
    put_le(message + 4, handle_);
    put_le(message + 8, static_cast<std::uint32_t>(target.sample_rate));
    send(message, sizeof message);
    stage_ = Stage::kLoading;
  }
  std::uint8_t message[kMostMessage + 1];
  const ssize_t got = recv(peer_.fd, message, sizeof message, MSG_DONTWAIT);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
    if (time > deadline_) refuse(kTooSlow);
    return false;
  }
  if (got <= 0) {
    disconnect();
    return false;
  }
  deadline_ = time + kPatience;
  const auto size = static_cast<std::size_t>(got);
  const bool taken = stage_ == Stage::kGreeting ? take_begin(message, size)
                     : samples_ == nullptr      ? take_load(message, size)
                                                : take_samples(message, size);
  if (!taken) refuse(message[0] == kLoad && count_ != 0 ? kTooMany : kMalformed);
  return taken;
}

void Injection::read_messages(const Target& target, std::uint64_t time) {
  if (!peer_.is_ours()) {
    disconnect();
    return;
  }
  for (int i = 0; i < kMessagesAtOnce && stage_ != Stage::kIdle; ++i) {
    if (samples_ != nullptr && received_ == count_) return;
    if (!read_message(target, time)) return;
  }
}

// ---- playing --------------------------------------------------------------------------

bool Injection::hung_up() const {
  pollfd about = {peer_.fd, POLLRDHUP, 0};
  return !peer_.is_ours() || poll(&about, 1, 0) != 0;
}

InjectionEvent Injection::break_off() {
  const InjectionEvent event = {InjectionEvent::kBreaks, played_};
  disconnect();
  return event;
}

void Injection::confirm_end() {
  std::uint8_t message[kDoneSize] = {kDone};
  put_le(message + 4, played_);
  send(message, sizeof message);
  disconnect();
}

InjectionEvent Injection::replace(const Target& target, std::uint64_t time, Point3Df& acc,
                                  Point3Df& gyro) {
  if (stage_ == Stage::kIdle) accept_one(time);
  if (stage_ == Stage::kGreeting || stage_ == Stage::kLoading) {
    read_messages(target, time);
  }
  InjectionEvent event;
  if (stage_ == Stage::kLoading && samples_ != nullptr && received_ == count_ &&
      target.handle == handle_) {
    stage_ = Stage::kPlaying;
    event = {InjectionEvent::kBegins, count_};
  }
  if (stage_ != Stage::kPlaying || target.handle != handle_) return event;
  if (hung_up()) return break_off();
  if (played_ == count_) return {InjectionEvent::kEnds, played_};
  acc = samples_[played_].acc;
  gyro = samples_[played_].gyro;
  ++played_;
  return event;
}

void Injection::replace_acceleration(std::uint32_t handle, Point3Df& acc) const {
  if (stage_ == Stage::kPlaying && handle == handle_ && played_ > 0) {
    acc = samples_[played_ - 1].acc;
  }
}

void Injection::reported(std::uint32_t handle, int gesture) {
  if (stage_ != Stage::kPlaying || handle != handle_) return;
  std::uint8_t message[kReportSize] = {kReport};
  put_le(message + 4, played_);
  put_le(message + 8, static_cast<std::uint32_t>(gesture));
  send(message, sizeof message);
}

InjectionEvent Injection::handle_ends(std::uint32_t handle) {
  if (stage_ == Stage::kIdle || handle != handle_) return {};
  const bool playing = stage_ == Stage::kPlaying;
  const std::uint32_t played = played_;
  // The last sample's call was the last but one.
  if (playing && played_ == count_) return {InjectionEvent::kEnds, played_};
  refuse(kHandleEnded);
  return playing ? InjectionEvent{InjectionEvent::kBreaks, played} : InjectionEvent{};
}

}  // namespace wgr::recorder
