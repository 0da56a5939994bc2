// wgr._wgr: the library and the workbench for Python. What users see is python/wgr/*.py.
#include <filesystem>

#include "base/errors.h"
#include "bindings.h"
#include "context/WgrContext.h"

namespace wgr::python {

static py::object errors(const char* name) {
  return py::module_::import("wgr._errors").attr(name);
}

void check_signals() {
  const py::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

void emit(const CaughtWarnings& caught) {
  for (const std::string& text : caught) {
    errors("warn")(text);
  }
}

TableSource::TableSource(const Table& samples)
    : data_(samples.data()), count_(static_cast<size_t>(samples.shape(0))) {
  if (samples.ndim() != 2 || samples.shape(1) != kColumns) {
    throw std::invalid_argument("samples: a table (n, 7) is required");
  }
}

// An array that owns the vector whose numbers it shows.
template <class Item>
static Table owning(std::vector<Item> items, py::ssize_t columns) {
  auto kept = std::make_unique<std::vector<Item>>(std::move(items));
  const auto rows = static_cast<py::ssize_t>(kept->size());
  const auto* const data = reinterpret_cast<const double*>(kept->data());
  const py::capsule owner(
      kept.get(), [](void* vector) { delete static_cast<std::vector<Item>*>(vector); });
  kept.release();  // NOLINT(bugprone-unused-return-value): the capsule's
  return Table({rows, columns}, data, owner);
}

Table table_of(std::vector<RecordedSample> samples) {
  return owning(std::move(samples), kColumns);
}

std::vector<RecordedSample> samples_of(const Table& samples) {
  TableSource source(samples);
  std::vector<RecordedSample> all;
  all.reserve(static_cast<size_t>(samples.shape(0)));
  for (RecordedSample sample; source.next(sample);) all.push_back(sample);
  return all;
}

Table array_of(const Points& points) { return owning(points, 3); }

Points points_of(const Table& points) {
  if (points.ndim() != 2 || points.shape(1) != 3) {
    throw std::invalid_argument("points: an array (n, 3) is required");
  }
  Points all(static_cast<size_t>(points.shape(0)));
  if (!all.empty()) std::memcpy(all.data(), points.data(), all.size() * sizeof all[0]);
  return all;
}

Point3Df point_of(const std::vector<double>& xyz) {
  if (xyz.size() != 3)
    throw std::invalid_argument("three numbers, x, y, z, are required");
  return {xyz[0], xyz[1], xyz[2]};
}

static void raise(const char* type, const std::string& message) {
  PyErr_SetString(errors(type).ptr(), message.c_str());
}

static void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const UsageError& error) {
    raise("InputError", error.what());
  } catch (const RecordingError& error) {
    raise("RecordingError", error.what());
  } catch (const OutputError& error) {
    raise("OutputError", error.what());
  } catch (const std::filesystem::filesystem_error& error) {
    raise("InputError", error.path1().string() + ": " + error.code().message());
  }
}

}  // namespace wgr::python

// What the library prints of a clustering that did not converge; its answer says so, too.
extern "C" int __wrap_puts(const char* /*text*/) { return 0; }  // NOLINT

PYBIND11_MODULE(_wgr, module) {
  using namespace wgr::python;
  WgrContext::set_logging(false);  // /home/app/WgrLog.txt is a host's
  py::register_exception_translator(translate);
  module.attr("version") = WGR_VERSION;
  add_recordings(module);
  add_runs(module);
  add_models(module);
  add_training(module);
}
