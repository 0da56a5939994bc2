// What the files of the module share.
//
// Samples cross as a table of float64, (n, 7) in C order: t in s, accelerations in m/s²,
// angular velocities in deg/s; points as (n, 3). Every call that may be long runs without
// the interpreter's lock, and sees Ctrl-C.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/caught_warnings.h"
#include "base/points.h"
#include "classifier/Gmodel.h"
#include "recording/recording.h"

namespace py = pybind11;

namespace wgr::python {

using Table = py::array_t<double, py::array::c_style>;
inline constexpr py::ssize_t kColumns = 7;  // of samples
static_assert(sizeof(RecordedSample) == kColumns * sizeof(double));
static_assert(sizeof(Point3Df) == 3 * sizeof(double));

// Gives Ctrl-C its turn: raises what the signal's handler raises.
void check_signals();

// What was warned of, as Python's warnings.
void emit(const CaughtWarnings& caught);

// Runs `work` without the interpreter's lock.
template <class Work>
auto released(Work work) {
  CaughtWarnings caught;
  auto result = [&] {
    const CatchingInto catching(caught);
    const py::gil_scoped_release release;
    return work();
  }();
  emit(caught);
  return result;
}

// The same for work that sees no signals itself. After Ctrl-C the call returns at once;
// what it left undone runs on to its end with its own copy of the input, and is dropped.
// meanwhile() is called now and then until the work has ended, without the lock.
template <class Work, class Meanwhile>
auto watched(Work work, Meanwhile meanwhile) {
  struct Done {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<decltype(work())> result;
    std::exception_ptr error;
    CaughtWarnings caught;
    bool ended = false;
  };
  constexpr std::chrono::milliseconds kBetweenChecks(50);
  const auto done = std::make_shared<Done>();
  auto run = [done, work = std::move(work)]() mutable {
    const CatchingInto caught(done->caught);
    try {
      done->result.emplace(work());
    } catch (...) {
      done->error = std::current_exception();
    }
    const std::lock_guard<std::mutex> lock(done->mutex);
    done->ended = true;
    done->changed.notify_all();
  };
  {
    const py::gil_scoped_release release;
    std::thread(std::move(run)).detach();
    std::unique_lock<std::mutex> lock(done->mutex);
    while (!done->changed.wait_for(lock, kBetweenChecks, [&] { return done->ended; })) {
      check_signals();
      meanwhile();
    }
  }
  if (done->error) std::rethrow_exception(done->error);
  emit(done->caught);
  return std::move(*done->result);
}

template <class Work>
auto watched(Work work) {
  return watched(std::move(work), [] {});
}

// The samples of a table, which must live as long.
class TableSource : public SampleSource {
 public:
  // Throws std::invalid_argument for another shape.
  explicit TableSource(const Table& samples);

  bool next(RecordedSample& sample) override {
    if (at_ == count_) return false;
    if (at_ % kSamplesBetweenChecks == 0) check_signals();
    std::memcpy(&sample, data_ + at_ * kColumns, sizeof sample);
    ++at_;
    return true;
  }

 private:
  static constexpr size_t kSamplesBetweenChecks = 1 << 16;  // some 10 ms of work

  const double* data_;
  size_t count_;
  size_t at_ = 0;
};

// Without a copy: the table owns the samples.
Table table_of(std::vector<RecordedSample> samples);
std::vector<RecordedSample> samples_of(const Table& samples);

Table array_of(const Points& points);
Points points_of(const Table& points);

Point3Df point_of(const std::vector<double>& xyz);

void add_recordings(py::module_& module);
void add_runs(py::module_& module);
void add_models(py::module_& module);
void add_training(py::module_& module);

}  // namespace wgr::python
