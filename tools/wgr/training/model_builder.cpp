#include "training/model_builder.h"

#include <algorithm>
#include <limits>

#include "classifier/HGR.h"
#include "errors.h"
#include "training/exemplars.h"
#include "training/thresholds.h"

namespace {

struct Template {
  size_t sample;
  int label;
};

struct Naming {
  size_t class_index;  // of the template that is most similar
  double score;
};

}  // namespace

static std::vector<int> labels_of(const Gdata& data) {
  std::vector<int> labels;
  for (const auto& [label, count] : data.class_counts) {
    if (label >= 0 && count > 0) labels.push_back(label);
  }
  std::sort(labels.begin(), labels.end());
  return labels;
}

static size_t index_of(const std::vector<int>& labels, int label) {
  return static_cast<size_t>(std::find(labels.begin(), labels.end(), label) -
                             labels.begin());
}

static Naming name(size_t sample, const std::vector<Points>& traces,
                   const std::vector<Template>& templates, const std::vector<int>& labels,
                   int k) {
  HGR classifier(0);
  Naming best = {labels.size(), std::numeric_limits<double>::lowest()};
  for (const Template& t : templates) {
    if (t.sample == sample) continue;
    const double score = classifier.cal_simlarity(traces[sample], traces[t.sample], k);
    if (score > best.score) best = {index_of(labels, t.label), score};
  }
  return best;
}

Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report) {
  Gmodel model;
  model.normalize = 1;
  model.havegravity = data.kind == 1 ? 1 : 0;
  const int k = model.havegravity;
  model.class_labels = labels_of(data);
  model.nclasses = static_cast<int>(model.class_labels.size());
  if (model.class_labels.empty()) throw UsageError("there is no sample of any gesture");

  HGR scaler(1);
  std::vector<Points> traces;
  for (const Gsample& sample : data.samples) {
    traces.push_back(sample.trace);
    scaler.normalize(traces.back(), k);
  }

  std::vector<Template> templates;
  report = BuildReport();
  for (const int label : model.class_labels) {
    std::vector<size_t> own;
    std::vector<Points> own_traces;
    for (size_t i = 0; i < traces.size(); ++i) {
      if (data.samples[i].label != label) continue;
      own.push_back(i);
      own_traces.push_back(traces[i]);
    }
    const Exemplars exemplars = choose_exemplars(own_traces, k, options.most_templates);
    for (const size_t i : exemplars.chosen) templates.push_back({own[i], label});
    ClassReport entry;
    entry.label = label;
    entry.samples = own.size();
    entry.templates = exemplars.chosen.size();
    entry.chosen_by = exemplars.how;
    report.classes.push_back(entry);
  }

  std::vector<Naming> namings;
  const size_t classes = model.class_labels.size();
  std::vector<std::vector<double>> right(classes);
  std::vector<std::vector<double>> wrong(classes);
  for (size_t i = 0; i < traces.size(); ++i) {
    namings.push_back(name(i, traces, templates, model.class_labels, k));
    const size_t named = namings.back().class_index;
    if (named == classes) continue;
    const bool is_right = model.class_labels[named] == data.samples[i].label;
    (is_right ? right : wrong)[named].push_back(namings.back().score);
  }
  for (size_t c = 0; c < classes; ++c) {
    report.classes[c].threshold =
        choose_threshold(right[c], wrong[c], options.false_cost);
    model.class_thresholds.push_back(report.classes[c].threshold);
  }

  for (size_t i = 0; i < traces.size(); ++i) {
    const auto [named, score] = namings[i];
    const bool accepted = named < classes && score > model.class_thresholds[named];
    const int label = data.samples[i].label;
    if (label < 0) {
      ++report.background;
      if (accepted) ++report.background_accepted;
      continue;
    }
    const size_t own = index_of(model.class_labels, label);
    ClassReport& entry = report.classes[own];
    if (named != own) {
      ++entry.confused;
    } else {
      ++(accepted ? entry.right : entry.refused);
    }
  }
  for (const Template& t : templates) {
    model.templates.emplace_back(t.label, traces[t.sample]);
  }
  model.nTemplate = static_cast<int>(model.templates.size());
  return model;
}
