#include "recorder_state.h"

#include <unistd.h>

#include <csignal>
#include <new>

#include "real_library.h"

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr std::size_t kMostOrders = 2048;  // characters read at once
static constexpr std::size_t kMostMark = 80;      // characters of a mark's text

static std::atomic<Phase> phase = Phase::kNotSetUp;
static State* all = nullptr;
static std::atomic<unsigned> missed = 0;       // calls from within the recorder
static volatile std::sig_atomic_t marked = 0;  // by the signal
static pthread_key_t thread_key;
alignas(State) static unsigned char memory[sizeof(State)];

// Its place is fixed when the library is loaded: no memory is taken at the first use.
#define WGR_THREAD_LOCAL static thread_local __attribute__((tls_model("initial-exec")))
WGR_THREAD_LOCAL bool inside = false;  // a signal handler's call came in the middle
WGR_THREAD_LOCAL std::uint32_t thread_number = 0;

State* state() { return all; }

Lock::Lock() : errno_(errno) {
  if (inside) {
    ++missed;
    return;
  }
  inside = held_ = true;
  pthread_mutex_lock(&all->mutex);
}

Lock::~Lock() {
  if (held_) {
    pthread_mutex_unlock(&all->mutex);
    inside = false;
  }
  errno = errno_;
}

// ---- threads and processes ------------------------------------------------------------

static void on_mark_signal(int) { marked = marked + 1; }

static void before_fork() {
  if (!inside) pthread_mutex_lock(&all->mutex);
}
static void after_fork() {
  if (!inside) pthread_mutex_unlock(&all->mutex);
}

static void in_child() {
  all->mutex = PTHREAD_MUTEX_INITIALIZER;
  if (phase == Phase::kEnded) return;
  all->injection.forget();
  all->writer.file().forget();
  all->writer.resume();
  all->has_run = false;
  all->parent = getppid();
  all->next_look = 0;
  if (!all->settings.child_records) phase = Phase::kEnded;
}

static std::uint32_t this_thread() {
  if (thread_number != 0) return thread_number;
  thread_number = all->free_thread_count > 0 ? all->free_threads[--all->free_thread_count]
                                             : all->next_thread++;
  pthread_setspecific(thread_key, all);
  return thread_number;
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

static void set_up_mutex(pthread_mutex_t& mutex) {
  pthread_mutexattr_t kind;
  pthread_mutexattr_init(&kind);
  // A thread of high priority does not wait for one of low priority.
  pthread_mutexattr_setprotocol(&kind, PTHREAD_PRIO_INHERIT);
  pthread_mutex_init(&mutex, &kind);
  pthread_mutexattr_destroy(&kind);
}

static bool set_up() {
  const int errno_before = errno;
  const Settings settings = read_settings();
  const bool records = settings.dir[0] != '\0';
  if (records || settings.inject[0] != '\0') {
    all = new (memory) State(settings);
    set_up_mutex(all->mutex);
    pthread_atfork(before_fork, after_fork, in_child);
    pthread_key_create(&thread_key, free_thread);
    if (records) all->control.start(settings.dir);
    if (records && settings.mark_signal != 0) take_mark_signal(settings.mark_signal);
    if (settings.inject[0] != '\0') all->injection.start(settings.inject);
    phase = records && settings.start ? Phase::kOn : Phase::kOff;
  }
  errno = errno_before;
  return true;
}

bool is_set_up() {
  static const bool done = set_up();
  (void)done;
  const Phase now_is = phase.load(std::memory_order_relaxed);
  return now_is == Phase::kOn || now_is == Phase::kOff;
}

// The process ends in an orderly way.
__attribute__((destructor)) static void end() {
  if (all == nullptr) return;
  Lock lock;
  if (!lock.held() || phase == Phase::kEnded) return;
  phase = Phase::kEnded;
  all->injection.stop();
  all->writer.file().close(kHostEnds, monotonic_now());
}

// ---- orders ---------------------------------------------------------------------------

static void mark(std::string_view text, std::uint64_t time) {
  text = text.substr(0, kMostMark);
  all->writer.file().keep_around(time);
  all->writer.put(kMark, time,
                  [&](Bytes& bytes) { bytes.bytes(text.data(), text.size()); });
}

static void obey(std::string_view order, std::uint64_t time) {
  if (order == "on" && phase == Phase::kOff) {
    phase = Phase::kOn;
    all->writer.resume();
  } else if (order == "off" && phase == Phase::kOn) {
    phase = Phase::kOff;
    all->writer.file().close(kSwitchedOff, time);
  } else if (order == "mark" && phase == Phase::kOn) {
    mark("", time);
  } else if (order.substr(0, 5) == "mark " && phase == Phase::kOn) {
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
  for (; marked != 0 && phase == Phase::kOn; marked = marked - 1) mark("signal", time);
}

bool begin(std::uint64_t time) {
  if (all->settings.dir[0] == '\0') return false;
  if (!all->has_run) {
    all->has_run = true;
    all->writer.start_run(real_library().version(), all->parent);
  }
  all->writer.set_thread(this_thread());
  look_for_orders(time);
  if (phase != Phase::kOn || all->writer.is_paused(time)) return false;
  if (missed.load(std::memory_order_relaxed) != 0) {
    const unsigned count = missed.exchange(0);
    all->writer.put(kMissed, time, [&](Bytes& bytes) { bytes.varint(count); });
  }
  return true;
}

}  // namespace wgr::recorder
