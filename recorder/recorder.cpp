#include "recorder.h"

#include "base/class_codes.h"
#include "real_library.h"
#include "recorder_state.h"

namespace wgr::recorder {

using namespace wgr::capture;

// The segment that holds the creating of this thread's newest handle.
static thread_local std::uint64_t create_segment
    __attribute__((tls_model("initial-exec"))) = 0;

// The handle of a pointer; one whose creation was not seen is registered here. Null
// when there is no memory for that.
static Handle* handle_of(WgrHandle h) {
  State& all = *state();
  if (h == nullptr) return &all.no_handle;
  Handle* handle = all.handles.find(h);
  if (handle != nullptr) return handle;
  handle = all.handles.add(h, all.next_id);
  if (handle == nullptr) return nullptr;
  ++all.next_id;
  handle->flags = kUnknownOrigin;
  return handle;
}

// Writes a call's record; returns the handle's number.
template <class Fill>
static std::uint32_t put_call(Tag tag, WgrHandle h, const Fill& fill) {
  Lock lock;
  if (!lock.held()) return 0;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return 0;
  Handle* const handle = handle_of(h);
  if (handle == nullptr) return 0;
  state()->writer.put_of_handle(tag, *handle, time, [&](Bytes& bytes) {
    bytes.varint(handle->id);
    fill(bytes, *handle);
  });
  return handle->id;
}

static void put_answer(std::uint8_t call, std::uint32_t id, std::uint8_t ending,
                       int value, std::uint64_t time) {
  state()->writer.put_of_thread(kAnswer, time, [&](Bytes& bytes) {
    bytes.varint(id);
    bytes.byte(call);
    bytes.byte(ending);
    bytes.signed_varint(value);
  });
}

// ---- injection ------------------------------------------------------------------------

// Records what an injection has come to, where calls are recorded.
static void note_injection(std::uint32_t id, const InjectionEvent& event, bool records,
                           std::uint64_t time) {
  if (event.kind == InjectionEvent::kNone) return;
  if (records) {
    state()->writer.put_of_thread(kInjection, time, [&](Bytes& bytes) {
      bytes.varint(id);
      bytes.byte(event.flag());
      bytes.varint(event.samples);
    });
  }
  if (event.kind == InjectionEvent::kEnds) state()->injection.confirm_end();
}

// In the host's callback no sample is taken in, and none is used up.
static InjectionEvent inject(const Handle& handle, Point3Df& acc, Point3Df& gyro,
                             std::uint64_t time) {
  if (handle.id == 0 || handle.callbacks > 0) return {};
  return state()->injection.replace({handle.id, handle.init.sample_rate}, time, acc,
                                    gyro);
}

void replace_acceleration(WgrHandle h, Point3Df& acc) {
  if (!state()->injection.is_enabled()) return;
  Lock lock;
  const Handle* const handle = lock.held() ? state()->handles.find(h) : nullptr;
  if (handle != nullptr) state()->injection.replace_acceleration(handle->id, acc);
}

// ---- samples --------------------------------------------------------------------------

void sample(WgrHandle h, Point3Df& acc, Point3Df& gyro) {
  Lock lock;
  if (!lock.held()) return;
  State& all = *state();
  const std::uint64_t time = monotonic_now();
  bool records = begin(time);
  if (!records && !all.injection.is_enabled()) return;
  Handle* const handle = handle_of(h);
  if (handle == nullptr) return;
  if (all.injection.is_enabled()) {
    records = records && all.writer.note_handle(*handle, time);
    const InjectionEvent event = inject(*handle, acc, gyro, time);
    note_injection(handle->id, event, records, time);
  }
  if (records) all.writer.put_sample(*handle, acc, gyro, time);
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

// ---- handles --------------------------------------------------------------------------

std::uint32_t before_create() {
  Lock lock;
  if (!lock.held()) return 0;
  State& all = *state();
  const std::uint32_t id = all.next_id++;
  create_segment = 0;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return id;
  const std::uint32_t model = all.writer.models().load_default();
  all.writer.note_version(real_library().version(), time);
  if (!all.writer.put_model(model, time)) return id;
  const bool written = all.writer.put_of_thread(kCreate, time, [&](Bytes& bytes) {
    bytes.varint(id);
    bytes.varint(model);
  });
  if (written) create_segment = all.writer.file().segment_serial();
  return id;
}

void created(WgrHandle h, std::uint32_t id) {
  Lock lock;
  if (!lock.held() || h == nullptr || id == 0) return;
  Handle* const handle = state()->handles.add(h, id);
  if (handle == nullptr) return;
  handle->model = state()->writer.models().load_default();
  handle->segment = create_segment;
}

// What a call has changed in a handle, where it is known.
template <class Change>
static Handle* change(WgrHandle h, const Change& apply_to) {
  Lock lock;
  Handle* const handle = lock.held() && h != nullptr ? handle_of(h) : nullptr;
  if (handle != nullptr) apply_to(*handle);
  return handle;
}

std::uint32_t before_init(WgrHandle h, const InitArguments& arguments) {
  return put_call(kInit, h, [&](Bytes& bytes, Handle&) { bytes.init(arguments); });
}

void initialised(WgrHandle h, const InitArguments& arguments) {
  change(h, [&](Handle& handle) {
    handle.init = arguments;
    handle.flags =
        static_cast<std::uint8_t>((handle.flags | kInitialised) & ~kSensitivitySet);
  });
}

std::uint32_t before_sensitivity(WgrHandle h, int level) {
  return put_call(kSensitivity, h,
                  [&](Bytes& bytes, Handle&) { bytes.signed_varint(level); });
}

void sensitivity_set(WgrHandle h, int level) {
  change(h, [&](Handle& handle) {
    handle.level = level;
    handle.flags = static_cast<std::uint8_t>(handle.flags | kSensitivitySet);
  });
}

std::uint32_t before_set_model(WgrHandle h, int wearer, int mode) {
  std::uint32_t model = 0;
  {
    Lock lock;
    if (!lock.held()) return 0;
    const std::uint64_t time = monotonic_now();
    if (begin(time) && h != nullptr) {
      model = state()->writer.models().load(wearer, mode);
      state()->writer.put_model(model, time);
    }
  }
  return put_call(kSetModel, h, [&](Bytes& bytes, Handle&) {
    bytes.signed_varint(wearer);
    bytes.signed_varint(mode);
    bytes.varint(model);
  });
}

void model_set(WgrHandle h, int wearer, int mode) {
  change(h, [&](Handle& handle) {
    const std::uint32_t model = state()->writer.models().load(wearer, mode);
    if (model != 0) handle.model = model;
  });
}

std::uint32_t before_register(WgrHandle h, WgGestureEventCb cb) {
  return put_call(kRegister, h,
                  [&](Bytes& bytes, Handle&) { bytes.byte(cb == nullptr ? 0 : 1); });
}

Handle* registered(WgrHandle h, WgGestureEventCb cb, void* user_data) {
  return change(h, [&](Handle& handle) {
    handle.callback = cb;
    handle.user_data = user_data;
    handle.flags = static_cast<std::uint8_t>(handle.flags | kRegistered);
  });
}

static void end_injection_of(WgrHandle h) {
  Lock lock;
  const Handle* const handle = lock.held() ? state()->handles.find(h) : nullptr;
  if (handle == nullptr) return;
  const InjectionEvent event = state()->injection.handle_ends(handle->id);
  const std::uint64_t time = monotonic_now();
  note_injection(handle->id, event, begin(time), time);
}

std::uint32_t before_destroy(const WgrHandle* ph) {
  const WgrHandle h = ph == nullptr ? nullptr : *ph;
  if (h != nullptr && state()->injection.is_enabled()) end_injection_of(h);
  const std::uint32_t id = put_call(
      kDestroy, h, [&](Bytes& bytes, Handle&) { bytes.byte(ph == nullptr ? 0 : 1); });
  // Another thread may be given the same pointer as soon as this one is free.
  Lock lock;
  if (lock.held() && h != nullptr) state()->handles.remove(h);
  return id;
}

// ---- queries --------------------------------------------------------------------------

void wearer(WgrHandle h, const Point3Df& acc, std::uint8_t ending, int value) {
  put_call(kWearer, h, [&](Bytes& bytes, Handle& handle) {
    const bool same = handle.block == state()->writer.block() &&
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
  state()->writer.note_version(value, time);
  state()->writer.put_version(kGetVersion, value, time);
}

// ---- callbacks ------------------------------------------------------------------------

void callback(WgrHandle h, int gesture) {
  put_call(kCallback, h, [&](Bytes& bytes, Handle&) { bytes.signed_varint(gesture); });
  Lock lock;
  if (!lock.held()) return;
  const std::uint64_t time = monotonic_now();
  if (begin(time)) state()->writer.file().keep_around(time);
  Handle* const handle = state()->handles.find(h);
  if (handle == nullptr) return;
  ++handle->callbacks;
  state()->injection.reported(handle->id, gesture);
}

void callback_end(WgrHandle h, std::uint8_t ending) {
  Lock lock;
  if (!lock.held()) return;
  Handle* const handle = state()->handles.find(h);
  if (handle != nullptr && handle->callbacks > 0) --handle->callbacks;
  const std::uint64_t time = monotonic_now();
  if (!begin(time)) return;
  state()->writer.put_of_thread(kCallbackEnd, time,
                                [&](Bytes& bytes) { bytes.byte(ending); });
}

}  // namespace wgr::recorder
