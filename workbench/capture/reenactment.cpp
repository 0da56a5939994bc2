#include "capture/reenactment.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>

#include "WgrInterface.h"
#include "base/class_codes.h"
#include "capture/captured_handle.h"
#include "capture/host_thread.h"

namespace wgr {

using namespace wgr::capture;

static constexpr std::size_t kMostFirst = 20;     // differences that are kept
static constexpr std::size_t kMostThreads = 500;  // of a host
static constexpr std::size_t kMostHandles = 10000;
static constexpr std::size_t kMostAtOnce = 4096;  // records that are handed to a thread
static constexpr int kDeepest = 100;              // callbacks within callbacks
static constexpr double kLastBits = 1e-12;        // of a figure
static constexpr double kSecond = 1e6;            // us

namespace {

// What a recorded callback threw.
struct HostException {};

class Reenactment {
 public:
  Reenactment(CaptureReader& reader, bool other_processor)
      : reader_(reader), other_processor_(other_processor) {}

  ReenactmentTotals run();

 private:
  // What the callback finds when it is called.
  struct Calling {
    Reenactment* self;
    std::uint32_t handle;
  };

  void take(const CaptureRecord& record);
  void hand_over();
  void lose_all();
  void perform_all(RecordQueue& queue);
  void perform(const CaptureRecord& record, RecordQueue& queue);
  void create(const CaptureRecord& record, RecordQueue& queue);
  void adopt(const CaptureRecord& record);
  void init(const CaptureRecord& record, RecordQueue& queue);
  void set_model(const CaptureRecord& record, RecordQueue& queue);
  void register_callback(const CaptureRecord& record, RecordQueue& queue);
  void destroy(const CaptureRecord& record, RecordQueue& queue);
  void sample(const CaptureRecord& record, RecordQueue& queue);
  void sample_answer(const CaptureRecord& record, RecordQueue& queue, int now,
                     bool threw);
  void query(const CaptureRecord& record);
  void wearer(const CaptureRecord& record);
  void perform_callback(RecordQueue& queue);
  static void on_gesture(void* handle, int gesture, void* user_data);
  void called_back(std::uint32_t id, int gesture);

  CapturedHandle* find(std::uint32_t id);
  void remove(const CaptureRecord& record);
  void compare(const CaptureRecord& record, std::uint8_t call, double recorded,
               double now, bool known);
  void compare_answer(std::uint8_t call, std::uint32_t id, RecordQueue& queue, int now);

  CaptureReader& reader_;
  const bool other_processor_;
  ReenactmentTotals totals_;
  std::map<std::uint32_t, CapturedHandle> handles_;
  std::map<std::uint32_t, std::unique_ptr<Calling>> callings_;
  std::vector<CaptureRecord> run_;  // of one thread, not performed yet
  RecordQueue* queue_ = nullptr;    // of the thread that makes a call
  // Last: its threads end before what they use.
  std::map<std::uint32_t, std::unique_ptr<HostThread>> threads_;
};

}  // namespace

// ---- records to threads ---------------------------------------------------------------

ReenactmentTotals Reenactment::run() {
  CaptureRecord record;
  while (reader_.next(record)) {
    // A model is used where its record stands: before the reader has gone on.
    const bool alone = record.tag == kCreate || record.tag == kSetModel ||
                       record.tag == kHandle || record.gap;
    if (!run_.empty() &&
        (record.thread != run_.front().thread || alone || run_.size() == kMostAtOnce)) {
      hand_over();
    }
    take(record);
    if (alone) hand_over();
  }
  hand_over();
  threads_.clear();  // one by one: what they still have to do is done alone
  return totals_;
}

void Reenactment::take(const CaptureRecord& record) {
  const double t =
      static_cast<double>(record.time - reader_.header().monotonic) / kSecond;
  totals_.seconds = std::max(totals_.seconds, t);
  if (record.gap) {
    ++totals_.gaps;
    lose_all();
  }
  switch (record.tag) {
    case kMark:
      ++totals_.marks;
      return;
    case kMissed:
      totals_.missed += record.count;
      lose_all();
      return;
    case kInjection:
      if (record.flags != kInjectionBegins) totals_.injected += record.count;
      return;
    case kEnd:
      return;
    default:
      run_.push_back(record);
  }
}

void Reenactment::hand_over() {
  if (run_.empty()) return;
  const std::uint32_t number = run_.front().thread;
  std::unique_ptr<HostThread>& thread = threads_[number];
  if (!thread) {
    if (threads_.size() > kMostThreads) {
      throw CaptureError("the capture has more than " + std::to_string(kMostThreads) +
                         " threads, which no re-enactment can have");
    }
    totals_.threads.insert(number);
    thread =
        std::make_unique<HostThread>([this](RecordQueue& queue) { perform_all(queue); });
  }
  thread->perform(run_);
}

void Reenactment::lose_all() {
  hand_over();
  for (auto& [id, handle] : handles_) {
    handle.lose_state();
  }
}

void Reenactment::perform_all(RecordQueue& queue) {
  while (const CaptureRecord* const next = queue.peek()) {
    const CaptureRecord record = *next;
    queue.pop();
    // Ends of what began before the capture did.
    if (record.tag == kAnswer || record.tag == kCallback || record.tag == kCallbackEnd) {
      ++totals_.not_compared;
      if (record.tag == kAnswer && record.call == kSample) {
        CapturedHandle* const handle = find(record.handle);
        if (handle != nullptr) handle->after_report();
      }
      continue;
    }
    perform(record, queue);
  }
}

// ---- comparing ------------------------------------------------------------------------

CapturedHandle* Reenactment::find(std::uint32_t id) {
  const auto found = handles_.find(id);
  return found == handles_.end() ? nullptr : &found->second;
}

// Makes way for a handle of that number.
void Reenactment::remove(const CaptureRecord& record) {
  const auto found = handles_.find(record.handle);
  if (found == handles_.end()) return;
  if (found->second.calls > 0) {
    throw CaptureError("offset " + std::to_string(record.offset) + ": handle " +
                       std::to_string(record.handle) +
                       " is destroyed in its own callback, which no host may do");
  }
  handles_.erase(found);
  callings_.erase(record.handle);
}

void Reenactment::compare(const CaptureRecord& record, std::uint8_t call, double recorded,
                          double now, bool known) {
  if (!known) {
    ++totals_.not_compared;
    return;
  }
  ++totals_.answers;
  const bool both_nan = std::isnan(recorded) && std::isnan(now);
  if (both_nan || bits_of(recorded) == bits_of(now)) return;
  const bool figure = call == kStrength || call == kCostTime;
  if (other_processor_ && figure &&
      std::fabs(recorded - now) <= kLastBits * std::fabs(recorded)) {
    ++totals_.last_bits;
    return;
  }
  ++totals_.differing;
  if (totals_.first.size() == kMostFirst) return;
  const double t =
      static_cast<double>(record.time - reader_.header().monotonic) / kSecond;
  totals_.first.push_back({record.offset, t, record.handle, call, recorded, now});
}

// The answer that has a record of its own.
void Reenactment::compare_answer(std::uint8_t call, std::uint32_t id, RecordQueue& queue,
                                 int now) {
  const CaptureRecord* const next = queue.peek();
  if (next == nullptr || next->tag != kAnswer || next->call != call ||
      next->handle != id) {
    ++totals_.unanswered;
    return;
  }
  compare(*next, call, next->value, now, next->ending == kReturned);
  queue.pop();
}

// ---- calls ----------------------------------------------------------------------------

void Reenactment::perform(const CaptureRecord& record, RecordQueue& queue) {
  queue_ = &queue;
  if (record.handle != 0) totals_.handles.insert(record.handle);
  switch (record.tag) {
    case kHandle:
      return adopt(record);
    case kCreate:
      return create(record, queue);
    case kInit:
      return init(record, queue);
    case kSetModel:
      return set_model(record, queue);
    case kRegister:
      return register_callback(record, queue);
    case kDestroy:
      return destroy(record, queue);
    case kSample:
      return sample(record, queue);
    case kWearer:
      return wearer(record);
    case kSensitivity:
      if (CapturedHandle* const handle = find(record.handle)) {
        set_gesture_rec_sensitivity(handle->handle(), record.value);
      }
      return compare_answer(kSensitivity, record.handle, queue, 0);
    case kVersionSet:
      WearableVersion = {record.major, record.minor};
      return;
    case kGetVersion: {
      const WgVersion now = get_version();
      WearableVersion = {record.major, record.minor};
      compare(record, kGetVersion, record.major, now.major, true);
      return compare(record, kGetVersion, record.minor, now.minor, true);
    }
    default:
      return query(record);
  }
}

void Reenactment::create(const CaptureRecord& record, RecordQueue& queue) {
  const CapturedModel* const captured = reader_.model(record.model);
  const std::optional<Gmodel> model = model_of(captured);
  if (captured != nullptr && (captured->flags & kModelMissing) != 0) {
    totals_.ended_without_model = true;
    return;
  }
  if (handles_.size() >= kMostHandles) {
    throw CaptureError("the capture has more than " + std::to_string(kMostHandles) +
                       " handles at a time, which no re-enactment can have");
  }
  remove(record);
  const auto made =
      handles_.emplace(record.handle, CapturedHandle(model.value_or(Gmodel()))).first;
  if (!model) made->second.use_model(model);
  compare_answer(kCreate, record.handle, queue, 1);
}

// A handle that was there before the segment, or before a gap.
void Reenactment::adopt(const CaptureRecord& record) {
  CapturedHandle* const known = find(record.handle);
  if (known != nullptr && (known->is_known() || known->calls > 0)) return;
  remove(record);
  if (handles_.size() >= kMostHandles) return;
  const auto made =
      handles_
          .emplace(record.handle,
                   CapturedHandle(record, model_of(reader_.model(record.model))))
          .first;
  if ((record.flags & kRegistered) == 0) return;
  auto& calling = callings_[record.handle];
  calling.reset(new Calling{this, record.handle});
  register_gesture_event_cb(made->second.handle(), on_gesture, calling.get());
}

void Reenactment::init(const CaptureRecord& record, RecordQueue& queue) {
  CapturedHandle* const handle = find(record.handle);
  const InitArguments& i = record.init;
  if (record.handle != 0 && handle == nullptr) return query(record);
  const int now = init_gesture_handle(handle == nullptr ? nullptr : handle->handle(),
                                      i.sample_rate, i.gyro_bias, i.min_motion_len,
                                      i.history_len, i.static_window, i.hand_window_len);
  compare_answer(kInit, record.handle, queue, now);
}

void Reenactment::set_model(const CaptureRecord& record, RecordQueue& queue) {
  CapturedHandle* const handle = find(record.handle);
  if (record.handle != 0 && handle == nullptr) return query(record);
  const int now = set_gesture_model(handle == nullptr ? nullptr : handle->handle(),
                                    static_cast<WgWatchWearer>(record.wearer),
                                    static_cast<WgWorkMode>(record.mode));
  // Whatever is installed here, the model is the captured one.
  if (handle != nullptr && now == 0) {
    handle->use_model(model_of(reader_.model(record.model)));
  }
  compare_answer(kSetModel, record.handle, queue, now);
}

void Reenactment::register_callback(const CaptureRecord& record, RecordQueue& queue) {
  CapturedHandle* const handle = find(record.handle);
  if (record.handle != 0 && handle == nullptr) return query(record);
  int now = 0;
  if (record.flags == 0 || handle == nullptr) {
    now = register_gesture_event_cb(handle == nullptr ? nullptr : handle->handle(),
                                    record.flags == 0 ? nullptr : on_gesture, nullptr);
  } else {
    auto& calling = callings_[record.handle];
    calling.reset(new Calling{this, record.handle});
    now = register_gesture_event_cb(handle->handle(), on_gesture, calling.get());
  }
  compare_answer(kRegister, record.handle, queue, now);
}

void Reenactment::destroy(const CaptureRecord& record, RecordQueue& queue) {
  CapturedHandle* const handle = find(record.handle);
  int now = 0;
  if (handle != nullptr) {
    remove(record);
  } else {
    WgrHandle none = nullptr;
    now = destroy_gesture_handle(record.flags == 0 ? nullptr : &none);
  }
  compare_answer(kDestroy, record.handle, queue, now);
}

void Reenactment::sample(const CaptureRecord& record, RecordQueue& queue) {
  ++totals_.samples;
  CapturedHandle* const handle = find(record.handle);
  if (record.handle != 0 && handle == nullptr) return query(record);
  int now = 0;
  bool threw = false;
  if (handle != nullptr && handle->calls++ == 0) handle->before_sample();
  try {
    now = update_gesture(handle == nullptr ? nullptr : handle->handle(), record.acc,
                         record.gyro);
  } catch (const HostException&) {
    threw = true;
  }
  if (handle != nullptr) --handle->calls;
  queue_ = &queue;
  sample_answer(record, queue, now, threw);
}

// The usual answer is not recorded; the next record of the thread shows it.
void Reenactment::sample_answer(const CaptureRecord& record, RecordQueue& queue, int now,
                                bool threw) {
  const CaptureRecord* next = queue.peek();
  const bool known_before = [&] {
    const CapturedHandle* const handle = find(record.handle);
    return record.handle == 0 || (handle != nullptr && handle->is_known());
  }();
  if (next != nullptr && next->tag == kCallback && next->handle == record.handle) {
    // The host was called back, and now is not.
    compare(*next, kCallback, next->value, kNoAnswer, known_before);
    // What it feeds the handle itself was not taken in, and shows no rest.
    CapturedHandle* const reporting = find(record.handle);
    if (reporting != nullptr) ++reporting->calls;
    try {
      perform_callback(queue);
    } catch (const HostException&) {
      // There is no call now that it could leave.
    }
    if (reporting != nullptr) --reporting->calls;
    next = queue.peek();
  }
  CapturedHandle* const handle = find(record.handle);
  // In its own callback nothing is taken in.
  if (handle != nullptr && handle->calls == 0) handle->after_sample();
  if (next == nullptr) {
    ++totals_.unanswered;
    return;
  }
  const int usual = record.handle == 0 ? 0 : kNothingReported;
  if (next->tag != kAnswer || next->call != kSample || next->handle != record.handle) {
    compare(record, kSample, usual, now, known_before);
    return;
  }
  if (next->ending == kThrew) {
    // Out of the callback; or the memory ran out, which it does not here.
    if (!threw && handle != nullptr) handle->lose_state();
    compare(*next, kSample, 1, threw ? 1 : 0, threw && known_before);
  } else {
    compare(*next, kSample, next->value, now, known_before);
  }
  queue.pop();
  if (handle != nullptr) handle->after_report();
}

void Reenactment::wearer(const CaptureRecord& record) {
  CapturedHandle* const handle = find(record.handle);
  if (record.handle != 0 && handle == nullptr) return query(record);
  const int now =
      get_wearer_type(handle == nullptr ? nullptr : handle->handle(), record.acc);
  if (handle != nullptr) handle->count_wearer();
  compare(record, kWearer, record.value, now,
          record.ending == kReturned && (handle == nullptr || handle->wearer_known()));
}

void Reenactment::query(const CaptureRecord& record) {
  CapturedHandle* const handle = find(record.handle);
  const WgrHandle h = handle == nullptr ? nullptr : handle->handle();
  const bool there = record.handle == 0 || handle != nullptr;
  const bool known = there && (handle == nullptr || handle->is_known());
  const bool figures = there && (handle == nullptr || handle->figures_known());
  switch (record.tag) {
    case kMovement:
      return compare(record, kMovement, record.value, get_movement_status(h), known);
    case kCostTime:
      return compare(record, kCostTime, record.number, get_recog_cost_time(h), figures);
    case kStrength:
      return compare(record, kStrength, record.number, get_motion_strength(h), figures);
    default:
      // A call on a handle that the capture does not describe.
      ++totals_.not_compared;
  }
}

// ---- callbacks ------------------------------------------------------------------------

// Performs a recorded callback, which comes next, to its end.
void Reenactment::perform_callback(RecordQueue& queue) {
  ++totals_.callbacks;
  queue.pop();
  if (queue.depth == kDeepest) {
    throw CaptureError("more than " + std::to_string(kDeepest) +
                       " callbacks within callbacks, which no re-enactment can have");
  }
  struct Deeper {
    explicit Deeper(int& to) : depth(to) { ++depth; }
    ~Deeper() { --depth; }
    int& depth;
  } const deeper(queue.depth);
  while (const CaptureRecord* const next = queue.peek()) {
    const CaptureRecord record = *next;
    queue.pop();
    if (record.tag == kCallbackEnd) {
      if (record.ending == kThrew) throw HostException();
      return;
    }
    if (record.tag == kAnswer || record.tag == kCallback) {
      ++totals_.not_compared;
      continue;
    }
    perform(record, queue);
  }
}

void Reenactment::on_gesture(void*, int gesture, void* user_data) {
  const Calling calling = *static_cast<const Calling*>(user_data);
  calling.self->called_back(calling.handle, gesture);
}

void Reenactment::called_back(std::uint32_t id, int gesture) {
  RecordQueue& queue = *queue_;
  CapturedHandle* const handle = find(id);
  const bool known = handle != nullptr && handle->is_known();
  if (known) handle->recognised();
  const CaptureRecord* const next = queue.peek();
  if (next == nullptr) return;
  if (next->tag != kCallback || next->handle != id) {
    // The answer of the call shows that there was no report.
    return;
  }
  compare(*next, kCallback, next->value, gesture, known);
  perform_callback(queue);
}

ReenactmentTotals reenact(CaptureReader& reader, bool other_processor) {
  struct PutBack {
    const WgVersion version = WearableVersion;
    ~PutBack() { WearableVersion = version; }
  } const put_back;
  WearableVersion = {reader.header().major, reader.header().minor};
  return Reenactment(reader, other_processor).run();
}

}  // namespace wgr
