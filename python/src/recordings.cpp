// Recordings and captures: read, written, and what their stamps and stream say.
#include <filesystem>

#include "base/errors.h"
#include "bindings.h"
#include "capture/capture_reader.h"
#include "capture/captured_settings.h"
#include "diagnosis/diagnosis.h"
#include "hostrun/host_wrist.h"
#include "import/import_log.h"
#include "import/log_files.h"
#include "json/json_text.h"
#include "recording/clock.h"
#include "recording/resample.h"
#include "text/diagnosis_json.h"
#include "text/import_text.h"

namespace wgr::python {

namespace {

struct ReadRecording {
  std::vector<RecordedSample> samples;
  std::string absent_axes;
};

}  // namespace

static py::tuple read(const std::string& path, std::optional<unsigned> handle,
                      unsigned long long most) {
  ReadRecording made = released([&] {
    constexpr size_t kLinesBetweenChecks = 1 << 15;
    ReadingLimit limit;
    limit.most = most;
    RecordingReader reader(path, &limit, handle);
    ReadRecording all;
    for (RecordedSample sample; reader.next(sample);) {
      all.samples.push_back(sample);
      if (all.samples.size() % kLinesBetweenChecks == 0) check_signals();
    }
    all.absent_axes = reader.absent_axes();
    return all;
  });
  return py::make_tuple(table_of(std::move(made.samples)), made.absent_axes);
}

// The log of another device: a profile is a name, a file or, where `as_json`, its JSON.
static ImportProfile profile_of(const std::string& given, bool as_json) {
  if (as_json) return profile_from(nlohmann::ordered_json::parse(given), "profile");
  if (std::filesystem::is_regular_file(given)) return read_profile(given);
  ImportProfile profile;
  profile.name = given;
  return profile;
}

static py::tuple import(const std::vector<std::string>& paths, const std::string& given,
                        bool as_json, std::optional<int> rate, unsigned long long most) {
  ImportedLog log = watched([=] {
    ReadingLimit limit;
    limit.most = most;
    const ImportProfile profile = profile_of(given, as_json);
    const LogBytes bytes = read_log_files(paths, limit);
    try {
      return import_log(bytes.files(), profile, rate);
    } catch (const ImportError& error) {
      throw UsageError(sentence_for(error.facts()));
    }
  });
  const std::string said = guess_text(log.guess) + import_text(log);
  return py::make_tuple(table_of(std::move(log.samples)), said,
                        json_text(to_json(log.guess.profile)));
}

static bool write(const std::string& path, const Table& samples) {
  return released([&] {
    write_recording(path, samples_of(samples));
    return true;
  });
}

static py::dict captured(const std::string& path, std::optional<unsigned> handle) {
  const CapturedSettings settings =
      released([&] { return captured_settings(path, handle); });
  py::dict all;
  all["rate"] = settings.rate;
  all["gyro_bias"] = py::none();
  if (settings.gyro_bias) {
    all["gyro_bias"] = py::make_tuple(settings.gyro_bias->x, settings.gyro_bias->y,
                                      settings.gyro_bias->z);
  }
  all["shortest"] = settings.shortest;
  all["sensitivity"] = settings.level;
  all["model"] = py::none();
  if (settings.model) all["model"] = std::make_shared<Gmodel>(*settings.model);
  return all;
}

static std::optional<int> rate_of(const Table& samples) {
  TableSource source(samples);
  std::deque<RecordedSample> first;
  for (RecordedSample sample; first.size() < kSamplesForRate && source.next(sample);) {
    first.push_back(sample);
  }
  return estimate_rate(first);
}

static std::string diagnosed(const Table& samples, std::optional<int> rate,
                             const std::vector<double>& gyro_bias,
                             const std::string& absent_axes) {
  DiagnosisOptions options;
  options.rate = rate;
  options.gyro_bias = point_of(gyro_bias);
  options.absent_axes = absent_axes;
  return released([&] {
    StreamDiagnosis stream(options);
    stream.set_absent_axes(absent_axes);
    TableSource source(samples);
    HostWrist wrist;
    for (RecordedSample sample; source.next(sample);) {
      stream.add(sample);
      wrist.ask(sample.acc);
    }
    const Diagnosis diagnosis = stream.finish();
    nlohmann::ordered_json all = summary_json(diagnosis, wrist.answers());
    all["findings"] = nlohmann::ordered_json::array();
    for (const Finding& f : diagnosis.findings)
      all["findings"].push_back(finding_json(f));
    return json_text(all);
  });
}

static Table resampled(const Table& samples, int rate) {
  return table_of(released([&] { return resample(samples_of(samples), rate); }));
}

void add_recordings(py::module_& module) {
  module.attr("assumed_rate") = kAssumedRate;
  module.def("read_recording", read, py::arg("path"), py::arg("handle"),
             py::arg("most_bytes"));
  module.def("import_log", import, py::arg("paths"), py::arg("profile"),
             py::arg("as_json"), py::arg("rate"), py::arg("most_bytes"));
  module.def("write_recording", write, py::arg("path"), py::arg("samples"));
  module.def("is_capture", is_capture, py::arg("path"));
  module.def("captured_settings", captured, py::arg("path"), py::arg("handle"));
  module.def("estimate_rate", rate_of, py::arg("samples"));
  module.def("diagnose", diagnosed, py::arg("samples"), py::arg("rate"),
             py::arg("gyro_bias"), py::arg("absent_axes"));
  module.def("resample", resampled, py::arg("samples"), py::arg("rate"));
}

}  // namespace wgr::python
