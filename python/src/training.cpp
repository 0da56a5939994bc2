// From recordings to models: synthesised, segmented, compared, built, evaluated.
#include <algorithm>
#include <limits>

#include "base/class_codes.h"
#include "base/errors.h"
#include "bindings.h"
#include "classifier/HGR.h"
#include "cluster/affinity_propagation.h"
#include "dtw/similarity_matrix.h"
#include "evaluation/evaluation.h"
#include "json/json_text.h"
#include "segmentation/segmented_set.h"
#include "segmentation/segmenter.h"
#include "synthesis/performance.h"
#include "text/build_text.h"
#include "text/evaluation_text.h"
#include "text/set_text.h"
#include "training/model_builder.h"
#include "training/model_findings.h"
#include "training/model_output.h"
#include "training/similarities.h"
#include "training/training_file.h"

namespace wgr::python {

using Interval = std::tuple<double, double, int>;

static py::tuple synthesise(int seed, int person, bool calm, int gestures,
                            double distractors, int wearer, int rate,
                            const std::string& script) {
  Performance made = watched([=] {
    PerformanceOptions options;
    options.wearer = wearer;
    options.rate = rate;
    const std::optional<Plan> plan =
        script.empty() ? std::nullopt : std::optional(read_script(script));
    return perform_for(seed, person, calm ? Style::kCalm : Style::kFree,
                       plan ? &*plan : nullptr, {gestures, distractors}, options);
  });
  std::vector<Interval> gestures_made;
  for (const PlannedActivity& activity : made.plan) {
    if (const std::optional<int> label = label_of(activity.what)) {
      gestures_made.emplace_back(activity.begin, activity.end, *label);
    }
  }
  return py::make_tuple(table_of(std::move(made.samples)), gestures_made);
}

static py::list segment(const Table& samples, int rate,
                        const std::vector<Interval>& annotated,
                        const SegmentationOptions& options) {
  const std::vector<Motion> motions =
      watched([all = samples_of(samples), annotated, rate, options] {
        std::vector<Annotation> annotations;
        for (const auto& [begin, end, label] : annotated) {
          annotations.push_back({"", begin, end, label});
        }
        Segmenter segmenter(rate, options.host, options.gravity);
        return segment_recording(all, annotations, segmenter);
      });
  py::list made;
  for (const Motion& motion : motions) {
    const bool kept = motion.verdict == Verdict::kKept;
    made.append(py::make_tuple(motion.begin, motion.end,
                               kVerdictNames[static_cast<size_t>(motion.verdict)],
                               kept ? py::object(py::int_(motion.label)) : py::none(),
                               kept ? py::object(array_of(motion.trace)) : py::none()));
  }
  return made;
}

// A segmented folder, and what a training file made of it holds.
struct TrainingSet {
  SegmentedSet set;
  Gdata data;
};

static std::shared_ptr<TrainingSet> segment_folder(
    const std::string& folder, const std::vector<std::string>& background,
    const SegmentationOptions& options, bool attitude) {
  return watched([=] {
    SegmentationOptions chosen = options;
    chosen.attitude = attitude;
    std::vector<SetEntry> null_class;
    for (const std::string& path : background) {
      for (SetEntry& entry : read_background(path)) {
        null_class.push_back(std::move(entry));
      }
    }
    const auto entries =
        folder.empty() ? std::vector<SetEntry>() : read_recording_set(folder);
    auto made = std::make_shared<TrainingSet>();
    made->set = segment_set(entries, null_class, chosen);
    made->data = parse_training_text(
        training_text(kept_motions(made->set), made->set.provenance.gravity));
    return made;
  });
}

static Gdata data_of(const std::vector<Table>& traces, const std::vector<int>& labels,
                     bool gravity) {
  Gdata data;
  data.kind = gravity ? 1 : 0;
  for (size_t i = 0; i < traces.size(); ++i) {
    data.samples.push_back({labels.at(i), points_of(traces[i])});
  }
  return data;
}

static std::vector<Points> all_points_of(const std::vector<Table>& traces) {
  std::vector<Points> all;
  all.reserve(traces.size());
  for (const Table& trace : traces) all.push_back(points_of(trace));
  return all;
}

// An array over the scores themselves: a copy would be as large again.
static py::array_t<float> array_over(const std::shared_ptr<Similarities>& matrix,
                                     size_t traces) {
  using Owner = std::shared_ptr<Similarities>;
  const py::capsule owner(new Owner(matrix),
                          [](void* held) { delete static_cast<Owner*>(held); });
  const auto n = static_cast<py::ssize_t>(traces);
  return py::array_t<float>({n, n}, matrix->rows().data(), owner);
}

static py::array_t<float> similarities(const std::vector<Table>& traces, int k,
                                       bool normalise, unsigned threads,
                                       const std::optional<py::function>& progress) {
  const auto advance = std::make_shared<Advance>();
  const auto report = [&] {
    if (!progress) return;
    const py::gil_scoped_acquire lock;
    (*progress)(advance->share());
  };
  const auto matrix = watched(
      [all = all_points_of(traces), k, normalise, threads, advance]() mutable {
        if (normalise) {
          HGR classifier(0);
          for (Points& trace : all) classifier.normalize(trace, k);
        }
        return std::make_shared<Similarities>(all, all.size(), k, threads, true,
                                              advance.get());
      },
      report);
  if (progress) (*progress)(1.0);
  return array_over(matrix, traces.size());
}

namespace {

// Of the matrix of all traces, what the traces from `first` on have in it.
struct Strip {
  std::vector<float> down;    // (traces, columns): all traces, with these as templates
  std::vector<float> across;  // (columns, first): these, with those before as templates
};

}  // namespace

static Strip strip_of(std::vector<Points> traces, size_t first, int k, bool normalise) {
  constexpr float kUnlike = -std::numeric_limits<float>::infinity();
  const size_t columns = traces.size() - first;
  Strip made = {std::vector<float>(traces.size() * columns, kUnlike),
                std::vector<float>(columns * first, kUnlike)};
  HGR classifier(0);
  std::vector<size_t> order;
  size_t begin = 0;
  for (size_t i = 0; i < traces.size(); ++i) {
    if (normalise) classifier.normalize(traces[i], k);
    if (i == first) begin = order.size();
    if (i >= first) made.down[i * columns + (i - first)] = 0.0f;
    if (motion_points(traces[i], k) > 0) order.push_back(i);
  }
  BatchedDtw lanes;
  const auto put = [&](size_t i, size_t j, float score) {
    if (j >= first) {
      made.down[i * columns + (j - first)] = score;
    } else {
      made.across[(i - first) * first + j] = score;
    }
  };
  for (; begin < order.size(); begin += BatchedDtw::width()) {
    const size_t end = std::min(begin + BatchedDtw::width(), order.size());
    score_group(traces, k, order, begin, end, lanes, put);
  }
  return made;
}

static py::tuple similarity_strip(const std::vector<Table>& traces, size_t first, int k,
                                  bool normalise) {
  const Strip strip = watched([all = all_points_of(traces), first, k, normalise] {
    return strip_of(all, first, k, normalise);
  });
  const auto before = static_cast<py::ssize_t>(first);
  const auto rows = static_cast<py::ssize_t>(traces.size());
  return py::make_tuple(py::array_t<float>({rows, rows - before}, strip.down.data()),
                        py::array_t<float>({rows - before, before}, strip.across.data()));
}

// The exemplar of each point; empty when clustering did not converge.
static std::vector<int> cluster(
    const py::array_t<float, py::array::c_style | py::array::forcecast>& matrix,
    int most_iterations, int stable_iterations, double preference, double damping) {
  const auto n = static_cast<size_t>(matrix.shape(0));
  return watched([copy = std::vector<float>(matrix.data(), matrix.data() + n * n), n,
                  most_iterations, stable_iterations, preference, damping]() mutable {
    std::vector<int> exemplars(n, -1);
    if (affinity_propagation({most_iterations, stable_iterations, preference, damping},
                             copy.data(), exemplars.data(), static_cast<int>(n)) < 1) {
      exemplars.clear();
    }
    return exemplars;
  });
}

namespace {

struct Built {
  std::shared_ptr<Gmodel> model;  // as whoever reads its file gets it
  std::string report;
  std::string fault;  // what keeps it from a watch; empty: nothing
};

}  // namespace

static py::tuple build(const std::vector<Table>& traces, const std::vector<int>& labels,
                       bool gravity, const std::vector<std::string>& subjects,
                       const std::vector<std::string>& sessions,
                       const BuildOptions& options) {
  const ExampleSources sources = {subjects, sessions};
  const Built built =
      watched([data = data_of(traces, labels, gravity), sources, options] {
        BuildReport report;
        const Gmodel model = build_model(data, options, report, sources);
        Provenance provenance;
        provenance.gravity = data.kind == 1;
        Built made = {std::make_shared<Gmodel>(as_read_back(model)),
                      report_text(report, options, provenance), ""};
        try {
          require_faultless_model(model, report, "the examples");
        } catch (const UsageError& error) {
          made.fault = error.what();
        }
        return made;
      });
  return py::make_tuple(built.model, built.report, built.fault);
}

static py::tuple predict(const std::shared_ptr<Gmodel>& model,
                         const std::vector<Table>& traces) {
  struct Answers {
    std::vector<int> labels;
    std::vector<double> scores;
    std::vector<bool> accepted;
  };
  const Answers all = watched([model, points = all_points_of(traces)]() mutable {
    HGR classifier(0);
    *classifier.model = *model;
    Answers made;
    for (Points& trace : points) {
      double score = 0.0;
      int rejected = 0;
      made.labels.push_back(classifier.predict(trace, nullptr, &score, &rejected));
      made.scores.push_back(score);
      made.accepted.push_back(rejected == 0 && made.labels.back() != kNoGesture);
    }
    return made;
  });
  return py::make_tuple(all.labels, all.scores, all.accepted);
}

static std::string evaluated(const std::shared_ptr<TrainingSet>& set,
                             const std::shared_ptr<Gmodel>& model,
                             const std::string& leave_out, int folds,
                             const BuildOptions& build_options) {
  return watched([=] {
    EvaluationOptions options;
    if (model) options.model = *model;
    options.folds = folds;
    options.build = build_options;
    if (leave_out == "subject") options.leave_out = LeaveOut::kSubject;
    if (leave_out == "repetition") options.leave_out = LeaveOut::kRepetition;
    if (leave_out == "session") options.leave_out = LeaveOut::kSession;
    const Evaluation result = evaluate(set->set, options);
    return json_text(to_json(result, set->set.provenance));
  });
}

static py::tuple examples_of(const TrainingSet& set) {
  py::list traces;
  std::vector<int> labels;
  for (const Gsample& sample : set.data.samples) {
    traces.append(array_of(sample.trace));
    labels.push_back(sample.label);
  }
  const Provenance& from = set.set.provenance;
  return py::make_tuple(traces, labels, from.subjects, from.sessions);
}

static void add_options(py::module_& module) {
  py::enum_<TemplateKind>(module, "TemplateKind")
      .value("exemplars", TemplateKind::kExemplars)
      .value("averages", TemplateKind::kAverages)
      .value("smoothed", TemplateKind::kSmoothed)
      .value("adapted", TemplateKind::kAdapted);
  py::enum_<LeftOut>(module, "LeftOut")
      .value("subject", LeftOut::kSubjects)
      .value("session", LeftOut::kSessions)
      .value("repetition", LeftOut::kRepetitions);
  py::class_<BuildOptions>(module, "BuildOptions")
      .def(py::init<>())
      .def_readwrite("templates", &BuildOptions::most_templates)
      .def_readwrite("false_cost", &BuildOptions::false_cost)
      .def_readwrite("tolerance", &BuildOptions::tolerance)
      .def_readwrite("share", &BuildOptions::most_share)
      .def_readwrite("kind", &BuildOptions::kind)
      .def_readwrite("background_templates", &BuildOptions::background_templates)
      .def_readwrite("judge_by", &BuildOptions::judge_by)
      .def_readwrite("false_positives_per_hour", &BuildOptions::false_positives_per_hour)
      .def_readwrite("background_hours", &BuildOptions::background_hours)
      .def_readwrite("threads", &BuildOptions::threads);
  py::class_<SegmentationOptions>(module, "SegmentationOptions")
      .def(py::init<>())
      .def_readwrite("rate", &SegmentationOptions::rate)
      .def_property(
          "shortest", [](const SegmentationOptions& o) { return o.host.shortest; },
          [](SegmentationOptions& o, int shortest) { o.host.shortest = shortest; })
      .def_property(
          "static_window",
          [](const SegmentationOptions& o) { return o.host.static_window; },
          [](SegmentationOptions& o, int window) { o.host.static_window = window; })
      .def_property(
          "sensitivity", [](const SegmentationOptions& o) { return o.host.sensitivity; },
          [](SegmentationOptions& o, std::optional<int> level) {
            o.host.sensitivity = level;
          })
      .def_readwrite("gravity", &SegmentationOptions::gravity)
      .def_readwrite("whole_annotations", &SegmentationOptions::whole_annotations);
  py::class_<TrainingSet, std::shared_ptr<TrainingSet>>(module, "TrainingSet")
      .def_property_readonly("examples", &examples_of)
      .def_property_readonly("summary",
                             [](const TrainingSet& t) { return summary_of(t.set); })
      .def_property_readonly("rate",
                             [](const TrainingSet& t) { return t.set.provenance.rate; })
      .def_property_readonly(
          "gravity", [](const TrainingSet& t) { return t.set.provenance.gravity; })
      .def_property_readonly(
          "classes", [](const TrainingSet& t) { return t.set.provenance.classes; })
      .def_property_readonly("host_settings",
                             [](const TrainingSet& t) {
                               const auto host = host_settings_of(t.set.provenance);
                               return py::make_tuple(host.shortest, host.static_window,
                                                     host.sensitivity);
                             })
      .def_property_readonly("background_seconds", [](const TrainingSet& t) {
        return t.set.provenance.background_seconds;
      });
}

void add_training(py::module_& module) {
  add_options(module);
  module.def("synthesise", synthesise, py::arg("seed"), py::arg("person"),
             py::arg("calm"), py::arg("gestures"), py::arg("distractors"),
             py::arg("wearer"), py::arg("rate"), py::arg("script"));
  module.def("segment", segment, py::arg("samples"), py::arg("rate"),
             py::arg("annotated"), py::arg("options"));
  module.def("segment_folder", segment_folder, py::arg("folder"), py::arg("background"),
             py::arg("options"), py::arg("attitude"));
  module.def("similarities", similarities, py::arg("traces"), py::arg("k"),
             py::arg("normalise"), py::arg("threads"), py::arg("progress") = py::none());
  module.def("similarity_strip", similarity_strip, py::arg("traces"), py::arg("first"),
             py::arg("k"), py::arg("normalise"));
  module.def("cluster", cluster, py::arg("matrix"), py::arg("most_iterations"),
             py::arg("stable_iterations"), py::arg("preference"), py::arg("damping"));
  module.def("build", build, py::arg("traces"), py::arg("labels"), py::arg("gravity"),
             py::arg("subjects"), py::arg("sessions"), py::arg("options"));
  module.def("predict", predict, py::arg("model"), py::arg("traces"));
  module.def("evaluate", evaluated, py::arg("training_set"), py::arg("model"),
             py::arg("leave_out"), py::arg("folds"), py::arg("options"));
  module.def("is_class_code", is_class_code, py::arg("label"));
}

}  // namespace wgr::python
