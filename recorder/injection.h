// Plays samples that another process sends into the host: they take the place of the
// host's own at its own calls of update_gesture(), so that rate, thread and callbacks
// stay the host's.
//
// Everything happens within those calls and without waiting. An injection is played once
// all of its samples have arrived: an injector that is slow holds nothing up. When the
// injector goes away, the host's own samples are used from the next call on.
#pragma once

#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "WgrTypes.h"
#include "capture_format.h"
#include "injection_messages.h"

namespace wgr::recorder {

// What a call brought about.
struct InjectionEvent {
  enum Kind { kNone, kBegins, kEnds, kBreaks };
  Kind kind = kNone;
  std::uint32_t samples = 0;  // to come, or that were played

  std::uint8_t flag() const;  // of a kInjection record
};

class Injection {
 public:
  struct Target {
    std::uint32_t handle;
    int sample_rate;
  };

  // Opens the socket in the folder, which is made where it is missing. Where that fails,
  // standard error says so and nothing can be injected.
  void start(const char* folder);
  void stop();
  // In a child: the socket is the parent's.
  void forget();
  bool is_enabled() const { return enabled_.load(std::memory_order_relaxed); }

  // At a call of update_gesture(): puts the next injected sample in the place of the
  // host's, if there is one.
  InjectionEvent replace(const Target& target, std::uint64_t time, Point3Df& acc,
                         Point3Df& gyro);
  // The same for get_wearer_type(): the acceleration of the sample before.
  void replace_acceleration(std::uint32_t handle, Point3Df& acc) const;
  // The host is called back.
  void reported(std::uint32_t handle, int gesture);
  InjectionEvent handle_ends(std::uint32_t handle);
  // After kEnds: the injector hears of it once it is recorded.
  void confirm_end();

 private:
  enum class Stage { kIdle, kGreeting, kLoading, kPlaying };
  struct Sample {
    Point3Df acc;
    Point3Df gyro;
  };
  // A descriptor, and what it was when it was opened: a host may have closed it.
  struct Socket {
    int fd = -1;
    ino_t inode = 0;

    void take(int opened);
    bool is_ours() const;
    void close();
  };

  void accept_one(std::uint64_t time);
  void read_messages(const Target& target, std::uint64_t time);
  bool read_message(const Target& target, std::uint64_t time);
  bool take_begin(const std::uint8_t* message, std::size_t size);
  bool take_load(const std::uint8_t* message, std::size_t size);
  bool take_samples(const std::uint8_t* message, std::size_t size);
  bool hung_up() const;
  void send(const std::uint8_t* message, std::size_t size);
  void refuse(injection::Refusal reason);
  void disconnect();
  InjectionEvent break_off();

  std::atomic<bool> enabled_ = false;
  Socket listener_;
  Socket peer_;
  Stage stage_ = Stage::kIdle;
  bool greeted_ = false;         // its first message has come
  std::uint64_t next_look_ = 0;  // for an injector, us
  std::uint64_t deadline_ = 0;   // for its next message, us
  std::uint32_t handle_ = 0;     // 0: the one that is fed next
  Sample* samples_ = nullptr;
  std::uint32_t count_ = 0;     // of them
  std::uint32_t received_ = 0;  // so far
  std::uint32_t played_ = 0;
  char path_[108] = "";
};

}  // namespace wgr::recorder
