// Sends samples to a running host that was started with injection enabled; see
// docs/flight-recorder.md.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "recording/recording.h"

namespace wgr {

// A host that cannot be injected into; what() is a whole message.
class NoInjectionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An injection that did not come to its end.
class InjectionBrokenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The socket of a process. Throws NoInjectionError where it has none.
std::string injection_socket_of(pid_t process);

class Injector {
 public:
  struct Target {
    std::uint32_t handle;  // of the host, in the order of their creation
    int sample_rate;       // samples per second
  };
  // What the host has done.
  struct Progress {
    bool done;             // all is played; else the callback was called
    std::uint32_t played;  // samples
    int gesture;
  };

  // Connects; throws NoInjectionError for what is no socket of a recorder of this user,
  // or, with a process, of another process. `wait`: how long the host may make no call,
  // s.
  Injector(const std::string& path, pid_t process, double wait);
  ~Injector();
  Injector(const Injector&) = delete;
  Injector& operator=(const Injector&) = delete;

  // Waits for the host to feed the handle; 0: whichever it feeds next.
  Target begin(std::uint32_t handle);
  // Sends all samples, of which there are injection::kMostSamples at most; the host plays
  // them from then on.
  void send(const std::vector<RecordedSample>& samples, const Target& target);
  Progress next();

 private:
  void send_message(const std::vector<std::uint8_t>& message);
  std::vector<std::uint8_t> receive();
  void set_patience(double seconds) const;

  const std::string path_;
  const double wait_;
  int fd_ = -1;
};

}  // namespace wgr
