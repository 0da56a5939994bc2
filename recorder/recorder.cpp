#include "recorder.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>

#include "base/class_codes.h"
#include "capture_file.h"
#include "control.h"
#include "models.h"
#include "real_library.h"

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr std::size_t kSampleBytes = 24 + SampleCoder::kMostBytes;  // at most
static constexpr std::size_t kShortBytes = 124;  // at most, of a record but a model's
static constexpr std::size_t kMoreBytes = 2 * kShortBytes;  // a thread and steps
static constexpr std::size_t kModelHead = 48;               // before a model's bytes
static constexpr std::size_t kLeastPart = 256;       // of a model, behind other records
static constexpr std::uint64_t kRetry = 60'000'000;  // us, after the disk was full
static constexpr std::size_t kMostOrders = 2048;     // characters read at once
static constexpr std::size_t kMostMark = 80;         // characters of a mark's text
static constexpr std::size_t kMostThreads = 256;     // whose numbers are used again

namespace {

enum class State { kNotSetUp, kOff, kOn, kEnded };

// Everything; in memory that is never destroyed, for calls may come until the very end.
struct All {
  explicit All(const Settings& given) : settings(given), file(settings) {}

  const Settings settings;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  CaptureFile file;
  Handles handles;
  Handle no_handle;  // the null handle
  Models models;
  Control control;
  std::uint32_t next_id = 1;
  std::uint64_t next_look = 0;   // at the control file, us
  std::uint64_t not_before = 0;  // the disk was full, us
  pid_t parent = 0;              // of a child that records
  bool has_run = false;
  WgVersion noted_version = {0, 0};

  // What the reader knows in this block.
  std::uint64_t block = 0;
  std::uint64_t last_time = 0;
  std::uint32_t last_thread = 0;
  std::uint32_t last_sample_id = 0;

  std::uint32_t free_threads[kMostThreads];
  std::size_t free_thread_count = 0;
  std::uint32_t next_thread = 1;
};

}  // namespace

static std::atomic<State> state = State::kNotSetUp;
static All* all = nullptr;
static std::atomic<unsigned> missed = 0;       // calls from within the recorder
static volatile std::sig_atomic_t marked = 0;  // by the signal
static pthread_key_t thread_key;
alignas(All) static unsigned char memory[sizeof(All)];

// Its place is fixed when the library is loaded: no memory is taken at the first use.
#define WGR_THREAD_LOCAL static thread_local __attribute__((tls_model("initial-exec")))
WGR_THREAD_LOCAL bool inside = false;  // a signal handler's call came in the middle
WGR_THREAD_LOCAL std::uint32_t thread_number = 0;
WGR_THREAD_LOCAL std::uint64_t create_segment = 0;  // that holds the creating

namespace {

// The time that a thread has the recorder to itself. Leaves errno as it was.
class Lock {
 public:
  Lock() : errno_(errno) {
    if (inside) {
      ++missed;
      return;
    }
    inside = held_ = true;
    pthread_mutex_lock(&all->mutex);
  }
  ~Lock() {
    if (held_) {
      pthread_mutex_unlock(&all->mutex);
      inside = false;
    }
    errno = errno_;
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  bool held() const { return held_; }

 private:
  const int errno_;
  bool held_ = false;
};

}  // namespace

// ---- the life of the recorder ---------------------------------------------------------

static void on_mark_signal(int) { marked = marked + 1; }

static void before_fork() {
  if (!inside) pthread_mutex_lock(&all->mutex);
}
static void after_fork() {
  if (!inside) pthread_mutex_unlock(&all->mutex);
}

static void in_child() {
  all->mutex = PTHREAD_MUTEX_INITIALIZER;
  if (state == State::kEnded) return;
  all->file.forget();
  all->has_run = false;
  all->not_before = 0;
  all->parent = getppid();
  all->next_look = 0;
  if (!all->settings.child_records) state = State::kEnded;
}

static void free_thread(void*) {
  Lock lock;
  if (!lock.held() || all->free_thread_count == kMostThreads) return;
  all->free_threads[all->free_thread_count++] = thread_number;
}

static void take_mark_signal(int number) {
  struct sigaction before = {};
  if (sigaction(number, nullptr, &before) != 0 || (before.sa_flags & SA_SIGINFO) != 0 ||
      before.sa_handler != SIG_DFL) {
    complain("is the host's already; it marks nothing", "mark_signal");
    return;
  }
  struct sigaction action = {};
  action.sa_handler = on_mark_signal;
  action.sa_flags = SA_RESTART;
  sigaction(number, &action, nullptr);
}

static bool set_up() {
  const int errno_before = errno;
  const Settings settings = read_settings();
  if (settings.dir[0] != '\0') {
    all = new (memory) All(settings);
    pthread_mutexattr_t kind;
    pthread_mutexattr_init(&kind);
    // A thread of high priority does not wait for one of low priority.
    pthread_mutexattr_setprotocol(&kind, PTHREAD_PRIO_INHERIT);
    pthread_mutex_init(&all->mutex, &kind);
    pthread_mutexattr_destroy(&kind);
    pthread_atfork(before_fork, after_fork, in_child);
    pthread_key_create(&thread_key, free_thread);
    all->control.start(settings.dir);
    if (settings.mark_signal != 0) take_mark_signal(settings.mark_signal);
    state = settings.start ? State::kOn : State::kOff;
  }
  errno = errno_before;
  return true;
}

bool is_set_up() {
  static const bool done = set_up();
  (void)done;
  const State now_is = state.load(std::memory_order_relaxed);
  return now_is == State::kOn || now_is == State::kOff;
}

// The process ends in an orderly way.
__attribute__((destructor)) static void end() {
  if (all == nullptr) return;
  Lock lock;
  if (!lock.held() || state == State::kEnded) return;
  state = State::kEnded;
  all->file.close(kHostEnds, monotonic_now());
}

// ---- records --------------------------------------------------------------------------

static std::uint32_t this_thread() {
  if (thread_number != 0) return thread_number;
  thread_number = all->free_thread_count > 0 ? all->free_threads[--all->free_thread_count]
                                             : all->next_thread++;
  pthread_setspecific(thread_key, all);
  return thread_number;
}

// Room for so many bytes in a block, with what a reader knows of a new one; null when
// there is none: recording pauses.
static std::uint8_t* place(std::size_t bytes, std::uint64_t time) {
  std::uint8_t* const to = all->file.place_for(bytes, time);
  if (to == nullptr) {
    all->not_before = time + kRetry;
    return nullptr;
  }
  if (all->block != all->file.block_serial()) {
    all->block = all->file.block_serial();
    all->last_time = all->file.block_begin();
    all->last_thread = 0;
    all->last_sample_id = 0;
  }
  return to;
}

// Writes a record whose body, but for the time, `fill` makes. There is room.
template <class Fill>
static bool put(Tag tag, std::uint64_t time, const Fill& fill) {
  std::uint8_t* const to = place(kShortBytes, time);
  if (to == nullptr) return false;
  std::uint8_t body[kShortBytes];
  Bytes bytes(body);
  // The block may have been begun a moment after the time was taken.
  bytes.varint(time > all->last_time ? time - all->last_time : 0);
  fill(bytes);
  Bytes record(to);
  record.byte(tag);
  record.varint(bytes.size());
  record.bytes(body, bytes.size());
  all->file.commit(record.size());
  all->last_time = std::max(all->last_time, time);
  return true;
}

// One part of a model's content, as large as the block has room for.
static bool put_model_part(std::uint32_t number, std::size_t& offset,
                           std::uint64_t time) {
  const LoadedModel& model = all->models.at(number);
  std::uint8_t* const to = place(kModelHead + kLeastPart, time);
  if (to == nullptr) return false;
  const std::size_t part = std::min(model.size - offset, all->file.left() - kModelHead);
  std::uint8_t head[kModelHead];
  Bytes bytes(head);
  bytes.varint(time > all->last_time ? time - all->last_time : 0);
  bytes.varint(number);
  bytes.byte(model.flags);
  bytes.varint(model.size);
  bytes.varint(offset);
  Bytes record(to);
  record.byte(kModel);
  record.varint(bytes.size() + part);
  record.bytes(head, bytes.size());
  if (part > 0) record.bytes(model.bytes + offset, part);
  all->file.commit(record.size());
  all->last_time = std::max(all->last_time, time);
  offset += part;
  return true;
}

// The model is in this segment when this returns true, unless the segment has changed.
static bool put_model(std::uint32_t number, std::uint64_t time) {
  if (number == 0 || place(kLeastPart, time) == nullptr) return number == 0;
  LoadedModel& model = all->models.at(number);
  if (model.segment == all->file.segment_serial()) return true;
  const std::uint64_t segment = all->file.segment_serial();
  std::size_t offset = 0;
  do {
    if (!put_model_part(number, offset, time)) return false;
  } while (offset < model.size);
  model.segment = segment;
  return true;
}

static void put_init(Bytes& bytes, const InitArguments& a) {
  bytes.signed_varint(a.sample_rate);
  bytes.number(a.gyro_bias.x);
  bytes.number(a.gyro_bias.y);
  bytes.number(a.gyro_bias.z);
  bytes.signed_varint(a.min_motion_len);
  bytes.signed_varint(a.history_len);
  bytes.signed_varint(a.static_window);
  bytes.signed_varint(a.hand_window_len);
}

// What the reader has to know of a handle that was there before the segment. Its figures
// are asked by the thread that uses the handle, as is allowed.
static bool put_handle(Handle& handle, std::uint64_t time) {
  const double strength_now = real_library().strength(handle.pointer);
  const double cost_now = real_library().cost_time(handle.pointer);
  return put(kHandle, time, [&](Bytes& bytes) {
    bytes.varint(handle.id);
    bytes.byte(handle.flags);
    put_init(bytes, handle.init);
    bytes.signed_varint(handle.level);
    bytes.varint(handle.model);
    bytes.number(strength_now);
    bytes.number(cost_now);
  });
}

// The thread's number where it has changed. There is room.
static bool put_thread(std::uint64_t time) {
  const std::uint32_t number = this_thread();
  if (number == all->last_thread) return true;
  if (!put(kThread, time, [&](Bytes& bytes) { bytes.varint(number); })) return false;
  all->last_thread = number;
  return true;
}

// Room for a call's record, behind the number of its thread.
static bool note_thread(std::uint64_t time) {
  return place(2 * kShortBytes, time) != nullptr && put_thread(time);
}

// A segment describes each handle where it is used first.
static bool note_handle(Handle& handle, std::uint64_t time) {
  if (handle.id == 0) return true;
  for (;;) {
    if (place(kShortBytes, time) == nullptr) return false;
    const std::uint64_t segment = all->file.segment_serial();
    if (handle.segment == segment) return true;
    if ((handle.flags & kUnknownOrigin) == 0 && !put_model(handle.model, time)) {
      return false;
    }
    if (!note_thread(time) || !put_handle(handle, time)) return false;
    if (all->file.segment_serial() == segment) handle.segment = segment;
  }
}

static void note_version(WgVersion version, std::uint64_t time) {
  if (version.major == all->noted_version.major &&
      version.minor == all->noted_version.minor) {
    return;
  }
  all->noted_version = version;
  if (!note_thread(time)) return;
  put(kVersionSet, time, [&](Bytes& bytes) {
    bytes.signed_varint(version.major);
    bytes.signed_varint(version.minor);
  });
}

static void mark(std::string_view text, std::uint64_t time) {
  text = text.substr(0, kMostMark);
  all->file.keep_around(time);
  put(kMark, time, [&](Bytes& bytes) { bytes.bytes(text.data(), text.size()); });
}

// ---- orders ---------------------------------------------------------------------------

static void obey(std::string_view order, std::uint64_t time) {
  if (order == "on" && state == State::kOff) {
    state = State::kOn;
    all->not_before = 0;
  } else if (order == "off" && state == State::kOn) {
    state = State::kOff;
    all->file.close(kSwitchedOff, time);
  } else if (order == "mark" && state == State::kOn) {
    mark("", time);
  } else if (order.substr(0, 5) == "mark " && state == State::kOn) {
    mark(order.substr(5), time);
  }
}

static void look_for_orders(std::uint64_t time) {
  if (time >= all->next_look) {
    all->next_look = time + kControlInterval;
    char text[kMostOrders];
    std::string_view orders = all->control.read_new(all->settings.dir, text, sizeof text);
    while (!orders.empty()) {
      const std::size_t end_of_line = std::min(orders.find('\n'), orders.size());
      obey(orders.substr(0, end_of_line), time);
      orders.remove_prefix(std::min(end_of_line + 1, orders.size()));
    }
  }
  for (; marked != 0 && state == State::kOn; marked = marked - 1) mark("signal", time);
}

// Whether a call that comes now is recorded.
static bool begin(std::uint64_t time) {
  if (!all->has_run) {
    all->has_run = true;
    const WgVersion version_now = real_library().version();
    all->noted_version = version_now;
    all->file.start_run({version_now.major, version_now.minor}, all->parent);
  }
  look_for_orders(time);
  if (state != State::kOn || time < all->not_before) return false;
  if (missed.load(std::memory_order_relaxed) != 0) {
    const unsigned count = missed.exchange(0);
    put(kMissed, time, [&](Bytes& bytes) { bytes.varint(count); });
  }
  return true;
}

// ---- calls ----------------------------------------------------------------------------

// The handle of a pointer; one that nobody saw being made is taken note of here. Null
// when there is no memory for that.
static Handle* handle_of(WgrHandle h) {
  if (h == nullptr) return &all->no_handle;
  Handle* handle = all->handles.find(h);
  if (handle != nullptr) return handle;
  handle = all->handles.add(h, all->next_id);
  if (handle == nullptr) return nullptr;
  ++all->next_id;
  handle->flags = kUnknownOrigin;
  return handle;
}

static void put_sample(Handle& handle, const Point3Df& acc, const Point3Df& gyro,
                       std::uint64_t time) {
  // What comes before a sample stands in the same block, or the sample could not be read.
  const bool more = handle.block != all->block || handle.coder.steps_changed() ||
                    thread_number != all->last_thread;
  if (place(kSampleBytes + (more ? kMoreBytes : 0), time) == nullptr ||
      !put_thread(time)) {
    return;
  }
  if (handle.block != all->block) {
    handle.block = all->block;
    handle.coder.start_block();
    handle.last_time = all->file.block_begin();
    handle.last_interval = 0;
  }
  if (handle.coder.steps_changed()) {
    put(kSteps, time, [&](Bytes& bytes) {
      bytes.varint(handle.id);
      handle.coder.write_steps(bytes);
    });
  }
  std::uint8_t* const to = place(kSampleBytes, time);
  if (to == nullptr) return;
  time = std::max(time, all->last_time);
  const bool same = handle.id == all->last_sample_id && handle.id != 0;
  Bytes record(to);
  record.byte(kSample);
  if (!same) record.varint(handle.id);
  record.signed_varint(
      static_cast<std::int64_t>(time - handle.last_time - handle.last_interval));
  *to = sample_tag(handle.coder.write(acc, gyro, record), same);
  all->file.commit(record.size());
  handle.last_interval = time - handle.last_time;
  handle.last_time = all->last_time = time;
  handle.last_acc = acc;
  all->last_sample_id = handle.id;
}

// Writes a call's record; returns the handle's number.
template <class Fill>
static std::uint32_t put_call(Tag tag, WgrHandle h, const Fill& fill) {
  Lock lock;
  if (!lock.held()) return 0;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return 0;
  Handle* const handle = handle_of(h);
  if (handle == nullptr || !note_handle(*handle, time) || !note_thread(time)) {
    return handle == nullptr ? 0 : handle->id;
  }
  put(tag, time, [&](Bytes& bytes) {
    bytes.varint(handle->id);
    fill(bytes, *handle);
  });
  return handle->id;
}

static void put_answer(std::uint8_t call, std::uint32_t id, std::uint8_t ending,
                       int value, std::uint64_t time) {
  if (!note_thread(time)) return;
  put(kAnswer, time, [&](Bytes& bytes) {
    bytes.varint(id);
    bytes.byte(call);
    bytes.byte(ending);
    bytes.signed_varint(value);
  });
}

void sample(WgrHandle h, const Point3Df& acc, const Point3Df& gyro) {
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return;
  Handle* const handle = handle_of(h);
  if (handle != nullptr && note_handle(*handle, time))
    put_sample(*handle, acc, gyro, time);
}

void sample_answer(WgrHandle h, std::uint8_t ending, int value) {
  const int usual = h == nullptr ? 0 : kNothingReported;
  if (ending == kReturned && value == usual) return;
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return;
  const Handle* const handle = handle_of(h);
  if (handle != nullptr) put_answer(kSample, handle->id, ending, value, time);
}

void answer(std::uint8_t call, std::uint32_t id, std::uint8_t ending, int value) {
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (begin(time)) put_answer(call, id, ending, value, time);
}

std::uint32_t before_create() {
  Lock lock;
  if (!lock.held()) return 0;
  const std::uint32_t id = all->next_id++;
  create_segment = 0;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return id;
  const std::uint32_t model = all->models.load_default();
  note_version(real_library().version(), time);
  // The second time for the case that the model filled the segment.
  if (!put_model(model, time) || !put_model(model, time) || !note_thread(time)) return id;
  const bool written = put(kCreate, time, [&](Bytes& bytes) {
    bytes.varint(id);
    bytes.varint(model);
  });
  if (written) create_segment = all->file.segment_serial();
  return id;
}

void created(WgrHandle h, std::uint32_t id) {
  Lock lock;
  if (!lock.held() || h == nullptr || id == 0) return;
  Handle* const handle = all->handles.add(h, id);
  if (handle == nullptr) return;
  handle->model = all->models.load_default();
  handle->segment = create_segment;
}

std::uint32_t before_init(WgrHandle h, const InitArguments& arguments) {
  return put_call(kInit, h, [&](Bytes& bytes, Handle&) { put_init(bytes, arguments); });
}

void initialised(WgrHandle h, const InitArguments& arguments) {
  Lock lock;
  Handle* const handle = lock.held() && h != nullptr ? handle_of(h) : nullptr;
  if (handle == nullptr) return;
  handle->init = arguments;
  handle->flags =
      static_cast<std::uint8_t>((handle->flags | kInitialised) & ~kSensitivitySet);
}

std::uint32_t before_sensitivity(WgrHandle h, int level) {
  return put_call(kSensitivity, h,
                  [&](Bytes& bytes, Handle&) { bytes.signed_varint(level); });
}

void sensitivity_set(WgrHandle h, int level) {
  Lock lock;
  Handle* const handle = lock.held() && h != nullptr ? handle_of(h) : nullptr;
  if (handle == nullptr) return;
  handle->level = level;
  handle->flags = static_cast<std::uint8_t>(handle->flags | kSensitivitySet);
}

std::uint32_t before_set_model(WgrHandle h, int wearer, int mode) {
  std::uint32_t model = 0;
  {
    Lock lock;
    if (!lock.held()) return 0;
    const std::uint64_t time = monotonic_now();
    if (begin(time) && h != nullptr) {
      model = all->models.load(wearer, mode);
      put_model(model, time);
      put_model(model, time);
    }
  }
  return put_call(kSetModel, h, [&](Bytes& bytes, Handle&) {
    bytes.signed_varint(wearer);
    bytes.signed_varint(mode);
    bytes.varint(model);
  });
}

void model_set(WgrHandle h, int wearer, int mode) {
  Lock lock;
  Handle* const handle = lock.held() && h != nullptr ? handle_of(h) : nullptr;
  if (handle == nullptr) return;
  const std::uint32_t model = all->models.load(wearer, mode);
  if (model != 0) handle->model = model;
}

std::uint32_t before_register(WgrHandle h, WgGestureEventCb cb) {
  return put_call(kRegister, h,
                  [&](Bytes& bytes, Handle&) { bytes.byte(cb == nullptr ? 0 : 1); });
}

Handle* registered(WgrHandle h, WgGestureEventCb cb, void* user_data) {
  Lock lock;
  Handle* const handle = lock.held() && h != nullptr ? handle_of(h) : nullptr;
  if (handle == nullptr) return nullptr;
  handle->callback = cb;
  handle->user_data = user_data;
  handle->flags = static_cast<std::uint8_t>(handle->flags | kRegistered);
  return handle;
}

std::uint32_t before_destroy(const WgrHandle* ph) {
  const WgrHandle h = ph == nullptr ? nullptr : *ph;
  const std::uint32_t id = put_call(
      kDestroy, h, [&](Bytes& bytes, Handle&) { bytes.byte(ph == nullptr ? 0 : 1); });
  // Another thread may be given the same pointer as soon as this one is free.
  Lock lock;
  if (lock.held() && h != nullptr) all->handles.remove(h);
  return id;
}

void wearer(WgrHandle h, const Point3Df& acc, std::uint8_t ending, int value) {
  put_call(kWearer, h, [&](Bytes& bytes, Handle& handle) {
    const bool same = handle.block == all->block &&
                      bits_of(acc.x) == bits_of(handle.last_acc.x) &&
                      bits_of(acc.y) == bits_of(handle.last_acc.y) &&
                      bits_of(acc.z) == bits_of(handle.last_acc.z);
    bytes.byte(static_cast<std::uint8_t>((same ? kSameAsSample : 0) |
                                         (ending == kThrew ? kWearerThrew : 0)));
    bytes.signed_varint(value);
    if (same) return;
    bytes.number(acc.x);
    bytes.number(acc.y);
    bytes.number(acc.z);
  });
}

void movement(WgrHandle h, int value) {
  put_call(kMovement, h, [&](Bytes& bytes, Handle&) { bytes.signed_varint(value); });
}

void cost_time(WgrHandle h, double value) {
  put_call(kCostTime, h, [&](Bytes& bytes, Handle&) { bytes.number(value); });
}

void strength(WgrHandle h, double value) {
  put_call(kStrength, h, [&](Bytes& bytes, Handle&) { bytes.number(value); });
}

void version(WgVersion value) {
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return;
  note_version(value, time);
  if (!note_thread(time)) return;
  put(kGetVersion, time, [&](Bytes& bytes) {
    bytes.signed_varint(value.major);
    bytes.signed_varint(value.minor);
  });
}

void callback(WgrHandle h, int gesture) {
  put_call(kCallback, h, [&](Bytes& bytes, Handle&) { bytes.signed_varint(gesture); });
  Lock lock;
  if (lock.held() && state == State::kOn) all->file.keep_around(monotonic_now());
}

void callback_end(std::uint8_t ending) {
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (!begin(time) || !note_thread(time)) return;
  put(kCallbackEnd, time, [&](Bytes& bytes) { bytes.byte(ending); });
}

}  // namespace wgr::recorder
