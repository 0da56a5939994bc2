// Runs of a host: over a recording, sample by sample, and explained.
#include <chrono>
#include <memory>

#include "base/sha256.h"
#include "bindings.h"
#include "explanation/expected.h"
#include "explanation/explanation.h"
#include "hostrun/host_run.h"
#include "hostrun/run.h"
#include "json/json_text.h"
#include "pages/explain_page.h"
#include "text/explanation_text.h"
#include "text/replay_report.h"
#include "text/verdict_text.h"
#include "training/model_output.h"
#include "verdict/examiner.h"

namespace wgr::python {

static HostRunOptions options_of(const std::shared_ptr<Gmodel>& model, int rate,
                                 const std::vector<double>& gyro_bias,
                                 std::optional<int> sensitivity, int wearer, int mode,
                                 int shortest, int rest_window, bool initialise) {
  HostRunOptions options;
  options.model = model;
  options.rate = rate;
  options.gyro_bias = point_of(gyro_bias);
  options.sensitivity = sensitivity;
  options.wearer = wearer;
  options.mode = mode;
  options.shortest = shortest;
  options.rest_window = rest_window;
  options.initialise = initialise;
  return options;
}

static py::tuple as_tuple(const GestureEvent& event) {
  return py::make_tuple(event.t, event.gesture, event.strength, event.duration_ms);
}

// The events, and the summary as JSON.
static py::tuple replay(const Table& samples, const HostRunOptions& options) {
  std::vector<GestureEvent> events;
  const std::string summary = released([&] {
    HostRun host(options);
    Totals totals(options.rate);
    TableSource source(samples);
    const auto start = std::chrono::steady_clock::now();
    run_host(host, source, totals, [&](const Step& step) {
      if (step.event != nullptr) events.push_back(*step.event);
    });
    totals.elapsed_seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return json_text(summary_json(totals));
  });
  py::list all;
  for (const GestureEvent& event : events) all.append(as_tuple(event));
  return py::make_tuple(all, summary);
}

namespace {

// One host that is fed from Python.
class Host {
 public:
  explicit Host(const HostRunOptions& options) : run_(options) {}

  py::object feed(double t, const std::vector<double>& acc,
                  const std::vector<double>& gyro) {
    const auto event = run_.feed({t, point_of(acc), point_of(gyro)});
    if (!event) return py::none();
    return as_tuple(*event);
  }
  bool at_rest() const { return run_.at_rest(); }

 private:
  HostRun run_;
};

struct ExplainOptions {
  HostRunOptions host;
  std::optional<int> rate;  // as it was given
  std::string recording;
  std::string model_file;
  std::string absent_axes;
  std::string expected_file;
  std::vector<std::tuple<double, double, int>> expected;
  std::vector<std::tuple<int, int, std::shared_ptr<Gmodel>>> models;
  bool own_model = false;
  bool try_changes = false;
  bool all_samples = false;  // of long recordings, too
  bool draw = true;
};

class Explained {
 public:
  Explained(const Table& samples, const ExplainOptions& options) {
    explanation_.recording = options.recording;
    explanation_.model_file = options.model_file;
    explanation_.other_rate = other_rate_of(options.model_file, options.host.rate);
    explanation_.for_page = options.draw;
    explanation_.keep_traces = options.draw;
    for (const auto& [begin, end, label] : options.expected) {
      explanation_.expected.push_back({begin, end, label, Ending::kRecognised});
    }
    Examiner examiner(examiner_options(options));
    TableSource source(samples);
    explain(options.host, source, explanation_,
            [&](const RecordedSample& sample) { examiner.add(sample); });
    if (!options.expected.empty()) {
      require_in_recording(explanation_, options.expected_file);
    }
    find_expected(explanation_);
    verdict_ = examiner.judge(explanation_, options.host, options.absent_axes);
  }

  std::string json() const {
    std::string text;
    write_json_explanation(explanation_, verdict_, false,
                           [&text](std::string_view part) { text += part; });
    return text;
  }

  std::string text(bool all) const {
    TextSelection selection;
    selection.all = all;
    std::string text;
    write_text_explanation(explanation_, verdict_, selection, Layout(),
                           [&text](std::string_view part) { text += part; });
    return text;
  }

  // Once: it uses up what was kept to be drawn.
  std::string page(const std::string& made_by, const std::string& model_sha256) {
    return released([&] {
      return explain_page(explanation_, verdict_,
                          {std::string("wgr ") + WGR_VERSION, made_by, model_sha256});
    });
  }

  // What the classifier compared, and the template that it resembles most.
  py::dict traces(size_t motion) const {
    const MotionExplanation& m = explanation_.motions.at(motion);
    py::dict all;
    all["corrected"] = array_of(m.corrected);
    all["speed"] =
        py::array_t<double>(static_cast<py::ssize_t>(m.speed.size()), m.speed.data());
    all["compared"] = array_of(m.compared);
    all["template"] = py::none();
    if (!m.scores.empty()) {
      all["template"] =
          array_of(explanation_.model.templates[m.scores.front().index].second);
    }
    return all;
  }

 private:
  static ExaminerOptions examiner_options(const ExplainOptions& given) {
    // Five hours and a half at 100 samples/s, about 110 MB.
    constexpr size_t kMostUnasked = 2'000'000;
    ExaminerOptions options;
    options.diagnosis.rate = given.rate;
    options.diagnosis.gyro_bias = given.host.gyro_bias;
    options.try_changes = given.try_changes;
    if (!given.all_samples) options.most_samples = kMostUnasked;
    options.own_model = given.own_model;
    if (!options.try_changes) return options;
    for (const auto& [wearer, mode, model] : given.models) {
      options.models.push_back({wearer, mode, model});
    }
    return options;
  }

  Explanation explanation_;
  Verdict verdict_;
};

}  // namespace

static std::vector<std::tuple<double, double, int>> expected_in(
    const std::string& path, const std::string& recording) {
  std::vector<std::tuple<double, double, int>> all;
  for (const Expected& e : read_expected(path, recording)) {
    all.emplace_back(e.begin, e.end, e.label);
  }
  return all;
}

static void add_explanations(py::module_& module) {
  module.def("read_expected", expected_in, py::arg("path"), py::arg("recording"));
  module.def("sha256_of_file", sha256_of_file, py::arg("path"));
  py::class_<ExplainOptions>(module, "ExplainOptions")
      .def(py::init<>())
      .def_readwrite("host", &ExplainOptions::host)
      .def_readwrite("rate", &ExplainOptions::rate)
      .def_readwrite("recording", &ExplainOptions::recording)
      .def_readwrite("model_file", &ExplainOptions::model_file)
      .def_readwrite("absent_axes", &ExplainOptions::absent_axes)
      .def_readwrite("expected_file", &ExplainOptions::expected_file)
      .def_readwrite("expected", &ExplainOptions::expected)
      .def_readwrite("models", &ExplainOptions::models)
      .def_readwrite("own_model", &ExplainOptions::own_model)
      .def_readwrite("try_changes", &ExplainOptions::try_changes)
      .def_readwrite("all_samples", &ExplainOptions::all_samples)
      .def_readwrite("draw", &ExplainOptions::draw);
  py::class_<Explained>(module, "Explained")
      .def(py::init([](const Table& samples, const ExplainOptions& options) {
             return released(
                 [&] { return std::make_unique<Explained>(samples, options); });
           }),
           py::arg("samples"), py::arg("options"))
      .def("json", &Explained::json)
      .def("text", &Explained::text, py::arg("all"))
      .def("page", &Explained::page, py::arg("made_by"), py::arg("model_sha256"))
      .def("traces", &Explained::traces, py::arg("motion"));
}

void add_runs(py::module_& module) {
  py::class_<HostRunOptions>(module, "HostOptions")
      .def(py::init(&options_of), py::kw_only(), py::arg("model"), py::arg("rate"),
           py::arg("gyro_bias"), py::arg("sensitivity"), py::arg("wearer"),
           py::arg("mode"), py::arg("shortest"), py::arg("rest_window"),
           py::arg("initialise"));
  module.def("replay", replay, py::arg("samples"), py::arg("options"));
  py::class_<Host>(module, "Host")
      .def(py::init<const HostRunOptions&>(), py::arg("options"))
      .def("feed", &Host::feed, py::arg("t"), py::arg("acc"), py::arg("gyro"))
      .def_property_readonly("at_rest", &Host::at_rest);
  add_explanations(module);
}

}  // namespace wgr::python
