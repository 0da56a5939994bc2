// The state of the recorder in one process: how it begins and ends, what fork() does to
// it, who may use it, and when it records.
#pragma once

#include <pthread.h>
#include <atomic>
#include <cerrno>

#include "control.h"
#include "handles.h"
#include "injection.h"
#include "record_writer.h"

namespace wgr::recorder {

enum class Phase { kNotSetUp, kOff, kOn, kEnded };

inline constexpr std::size_t kMostThreads = 256;  // whose numbers are used again

// Everything; in memory that is never destroyed, for calls may come until the very end.
struct State {
  explicit State(const Settings& given) : settings(given), writer(settings) {}

  const Settings settings;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  RecordWriter writer;
  Handles handles;
  Handle no_handle;  // the null handle
  Control control;
  Injection injection;
  std::uint32_t next_id = 1;
  std::uint64_t next_look = 0;  // at the control file, us
  pid_t parent = 0;             // of a child that records
  bool has_run = false;

  std::uint32_t free_threads[kMostThreads];
  std::size_t free_thread_count = 0;
  std::uint32_t next_thread = 1;
};

// Null until the recorder is set up.
State* state();

// Whether there is anything to do but to pass calls on.
bool is_set_up();

// The time that a thread has the recorder to itself. Leaves errno as it was. A call from
// a signal handler that interrupted the recorder does not get it, and is counted.
class Lock {
 public:
  Lock();
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  bool held() const { return held_; }

 private:
  const int errno_;
  bool held_ = false;
};

// Whether a call that comes now is recorded. With the lock held.
bool begin(std::uint64_t time);

}  // namespace wgr::recorder
