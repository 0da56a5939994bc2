// wgr model: what is in a gesture model, what is wrong with it, how two differ.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments/values.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "classifier/Gmodel.h"
#include "commands/subcommands.h"
#include "preflight/model_check.h"
#include "training/model_findings.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(check lists what is wrong with each line.

Examples:
  wgr model show models/olvo_model_5_fb/hgr_olvo.xml
  wgr model check models/*/hgr_olvo.xml
  wgr model diff old.xml new.xml

Exit status: 0 done; 1 check found something, or diff a difference; 2 a model or an argument
cannot be used.)";

static constexpr char kSuffix[] = ".xml";
static constexpr double kUsualPoints = 45.0;  // of a motion, for the cost

namespace {

struct OfClass {
  size_t templates = 0;
  size_t points = 0;
  std::optional<double> threshold;
};

}  // namespace

// What has another name is hardly meant, and almost any text reads as an empty model.
static Gmodel named_model(const std::string& path) {
  if (std::filesystem::path(path).extension() != kSuffix) {
    throw UsageError(path + ": a model's name ends in .xml");
  }
  return read_model(path);
}

static std::map<int, OfClass> classes_of(const Gmodel& model) {
  std::map<int, OfClass> classes;
  for (size_t c = 0; c < model.class_labels.size(); ++c) {
    OfClass& entry = classes[model.class_labels[c]];
    if (c < model.class_thresholds.size()) entry.threshold = model.class_thresholds[c];
  }
  const size_t k = static_cast<size_t>(model.havegravity);
  for (const auto& [label, points] : model.templates) {
    ++classes[label].templates;
    classes[label].points += points.size() - std::min(k, points.size());
  }
  return classes;
}

static std::string threshold_text(const OfClass& c) {
  return c.threshold ? fmt::format("{:.4f}", *c.threshold) : "none";
}

static void show(const std::string& path) {
  const Gmodel model = named_model(path);
  size_t points = 0;
  print(stdout, "class  templates  points  threshold\n");
  for (const auto& [label, c] : classes_of(model)) {
    print(stdout, "{:5}  {:9}  {:6}  {:>9}\n", label, c.templates, c.points,
          threshold_text(c));
    points += c.points;
  }
  print(stdout, "{} templates, {} points; traces {}, {} gravity\n",
        model.templates.size(), points,
        model.normalize != 0 ? "scaled to unit strength" : "as they are",
        model.havegravity != 0 ? "with" : "without");
  print(stdout,
        "cost: at most {} cells for each point of a motion, {:.0f} for one of {:.0f} "
        "points\n",
        points, static_cast<double>(points) * kUsualPoints, kUsualPoints);
}

static void check(const std::vector<std::string>& paths) {
  bool good = true;
  for (const std::string& path : paths) {
    if (!std::filesystem::exists(path))
      throw UsageError(path + ": there is no such file");
    const std::vector<ModelFinding> findings = check_model_file(path).findings;
    for (const ModelFinding& finding : findings) {
      print(stdout, "{}\n", shown(line_about(path, finding)));
    }
    if (findings.empty()) print(stdout, "{}: nothing is wrong\n", shown(path));
    good = good && findings.empty();
  }
  std::fflush(stdout);
  if (!good) throw EndWithStatus{kExitFindings};
}

static bool same(const Points& a, const Points& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Point3Df& p, const Point3Df& q) {
                      return p.x == q.x && p.y == q.y && p.z == q.z;
                    });
}

// How many of the templates of a class in `a` are not in `b`.
static size_t missing(const Gmodel& a, const Gmodel& b, int label) {
  size_t count = 0;
  for (const auto& entry : a.templates) {
    if (entry.first != label) continue;
    count += std::none_of(b.templates.begin(), b.templates.end(), [&](const auto& other) {
      return other.first == label && same(other.second, entry.second);
    });
  }
  return count;
}

static std::string lines_about_class(const Gmodel& a, const Gmodel& b, int label) {
  const OfClass before = classes_of(a)[label];
  const OfClass after = classes_of(b)[label];
  std::string text;
  if (threshold_text(before) != threshold_text(after)) {
    text += fmt::format("class {}: threshold {} -> {}\n", label, threshold_text(before),
                        threshold_text(after));
  }
  const size_t gone = missing(a, b, label);
  const size_t come = missing(b, a, label);
  if (gone + come > 0) {
    text += fmt::format("class {}: {} templates gone, {} new, {} now\n", label, gone,
                        come, after.templates);
  }
  return text;
}

static void diff(const std::string& first, const std::string& second) {
  const Gmodel a = named_model(first);
  const Gmodel b = named_model(second);
  const std::map<int, OfClass> in_a = classes_of(a);
  const std::map<int, OfClass> in_b = classes_of(b);
  std::map<int, OfClass> all = in_a;
  all.insert(in_b.begin(), in_b.end());
  std::string text;
  if (a.normalize != b.normalize) text += "one scales traces, the other does not\n";
  if (a.havegravity != b.havegravity) text += "one has gravity, the other does not\n";
  for (const auto& [label, ignored] : all) {
    if (in_a.count(label) > 0 && in_b.count(label) > 0) {
      text += lines_about_class(a, b, label);
    } else {
      text += fmt::format("class {}: only in {}\n", label,
                          shown(in_a.count(label) > 0 ? first : second));
    }
  }
  print(stdout, "{}", text.empty() ? "no difference\n" : text);
  std::fflush(stdout);
  if (!text.empty()) throw EndWithStatus{kExitFindings};
}

void add_model(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("model", "Show, check or compare gesture models.");
  command->require_subcommand(1);
  command->footer(kFooter);
  const auto paths = std::make_shared<std::vector<std::string>>();

  CLI::App* const shown = command->add_subcommand("show", "What is in a model.");
  shown->add_option("MODEL", *paths, "The model")
      ->required()
      ->transform(path_name())
      ->expected(1)
      ->option_text(" ");
  shown->footer("Exit status: 0 done; 2 the model or an argument cannot be used.");
  shown->callback([paths] { show(paths->front()); });

  CLI::App* const checked =
      command->add_subcommand("check", "What is wrong with models.");
  checked->add_option("MODEL", *paths, "The models")
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  checked->footer(
      "Exit status: 0 nothing is wrong; 1 something is; 2 a model or an argument cannot "
      "be "
      "used.");
  checked->callback([paths] { check(*paths); });

  CLI::App* const compared =
      command->add_subcommand("diff", "How the second model differs from the first.");
  compared->add_option("MODELS", *paths, "The two models")
      ->required()
      ->transform(path_name())
      ->expected(2)
      ->option_text(" ");
  compared->footer(
      "Exit status: 0 no difference; 1 some; 2 a model or an argument cannot be used.");
  compared->callback([paths] { diff(paths->front(), paths->back()); });
}

}  // namespace wgr
