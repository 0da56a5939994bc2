#include "capture/injector.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>

#include "capture_format.h"
#include "injection_messages.h"

namespace wgr {

using namespace wgr::injection;
using capture::get_le;
using capture::put_le;

std::string injection_socket_of(pid_t process) {
  const std::string number = std::to_string(process);
  std::ifstream sockets("/proc/" + number + "/net/unix");
  if (!sockets) throw NoInjectionError("there is no process " + number);
  const std::string ending = std::string("/") + kSocketName + number;
  for (std::string line; std::getline(sockets, line);) {
    const std::size_t path = line.find('/');
    if (path == std::string::npos || line.size() < ending.size()) continue;
    if (line.compare(line.size() - ending.size(), ending.size(), ending) == 0) {
      return line.substr(path);
    }
  }
  throw NoInjectionError("process " + number +
                         " accepts no samples: start it with the recorder, with "
                         "WGR_RECORDER_INJECT=FOLDER or the setting inject");
}

static std::string reason_of(std::uint8_t refusal) {
  switch (refusal) {
    case kOtherUser:
      return "it belongs to another user";
    case kTooMany:
      return "it has no memory for so many samples";
    case kTooSlow:
      return "the samples came too slowly";
    case kHandleEnded:
      return "the host destroyed the handle";
    default:
      return "it does not understand this program: the versions differ";
  }
}

Injector::Injector(const std::string& path, pid_t process, double wait)
    : path_(path), wait_(wait) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    throw NoInjectionError(path + ": is too long for a socket's name");
  }
  path.copy(address.sun_path, path.size());
  fd_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  set_patience(wait_);
  ucred host = {};
  socklen_t size = sizeof host;
  std::string wrong;
  if (fd_ < 0 ||
      connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    wrong = std::strerror(errno);
  } else if (getsockopt(fd_, SOL_SOCKET, SO_PEERCRED, &host, &size) != 0 ||
             (host.uid != geteuid() && geteuid() != 0)) {
    wrong = "the socket is another user's";
  } else if (process != 0 && host.pid != process) {
    wrong = "the socket is another process's: " + std::to_string(host.pid);
  }
  if (wrong.empty()) return;
  if (fd_ >= 0) close(fd_);
  throw NoInjectionError(path + ": no host can be reached: " + wrong);
}

Injector::~Injector() { close(fd_); }

void Injector::set_patience(double seconds) const {
  timeval time = {};
  time.tv_sec = static_cast<time_t>(seconds);
  time.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
  for (const int what : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    setsockopt(fd_, SOL_SOCKET, what, &time, sizeof time);
  }
}

void Injector::send_message(const std::vector<std::uint8_t>& message) {
  if (::send(fd_, message.data(), message.size(), MSG_NOSIGNAL) >= 0) return;
  // A recorder that refuses says why before it goes.
  if (errno == EPIPE || errno == ECONNRESET) receive();
  throw InjectionBrokenError(path_ +
                             ": the host takes no samples: " + std::strerror(errno));
}

std::vector<std::uint8_t> Injector::receive() {
  std::vector<std::uint8_t> message(kMostMessage);
  const ssize_t got = recv(fd_, message.data(), message.size(), 0);
  if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
    throw InjectionBrokenError(path_ +
                               ": the host made no call of update_gesture() for " +
                               std::to_string(static_cast<int>(wait_)) + " s");
  }
  if (got <= 0) throw InjectionBrokenError(path_ + ": the host has ended");
  message.resize(static_cast<std::size_t>(got));
  if (message.size() == kRefusedSize && message[0] == kRefused) {
    throw InjectionBrokenError(path_ +
                               ": the recorder refused: " + reason_of(message[1]));
  }
  return message;
}

Injector::Target Injector::begin(std::uint32_t handle) {
  std::vector<std::uint8_t> message = {kBegin, kProtocolVersion};
  message.resize(kBeginSize);
  put_le(message.data() + 4, handle);
  send_message(message);
  const std::vector<std::uint8_t> answer = receive();
  if (answer.size() != kReadySize || answer[0] != kReady) {
    throw NoInjectionError(path_ + ": this is no recorder's socket");
  }
  return {get_le<std::uint32_t>(answer.data() + 4),
          static_cast<int>(get_le<std::uint32_t>(answer.data() + 8))};
}

void Injector::send(const std::vector<RecordedSample>& samples, const Target& target) {
  std::vector<std::uint8_t> message = {kLoad};
  message.resize(kLoadSize);
  put_le(message.data() + 4, static_cast<std::uint32_t>(samples.size()));
  send_message(message);
  for (std::size_t i = 0; i < samples.size(); i += kSamplesInMessage) {
    const std::size_t count = std::min(kSamplesInMessage, samples.size() - i);
    message.assign(kSamplesAt + count * kSampleSize, 0);
    message[0] = kSamples;
    put_le(message.data() + 2, static_cast<std::uint16_t>(count));
    std::uint8_t* to = message.data() + kSamplesAt;
    for (std::size_t k = i; k < i + count; ++k) {
      for (const Point3Df& axes : {samples[k].acc, samples[k].gyro}) {
        for (const double value : {axes.x, axes.y, axes.z}) {
          put_le(to, capture::bits_of(value));
          to += sizeof value;
        }
      }
    }
    send_message(message);
  }
  const double duration = static_cast<double>(samples.size()) / target.sample_rate;
  set_patience(duration + wait_);
}

Injector::Progress Injector::next() {
  const std::vector<std::uint8_t> answer = receive();
  if (answer.size() == kReportSize && answer[0] == kReport) {
    return {false, get_le<std::uint32_t>(answer.data() + 4),
            static_cast<int>(get_le<std::uint32_t>(answer.data() + 8))};
  }
  if (answer.size() == kDoneSize && answer[0] == kDone) {
    return {true, get_le<std::uint32_t>(answer.data() + 4), 0};
  }
  throw NoInjectionError(path_ + ": this is no recorder's socket");
}

}  // namespace wgr
