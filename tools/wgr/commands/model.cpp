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
#include "base/table.h"
#include "classifier/Gmodel.h"
#include "commands/subcommands.h"
#include "preflight/model_check.h"
#include "training/model_findings.h"

namespace wgr {

static constexpr char kFooter[] =
    R"(check tells what is wrong with each line.

Examples:
  wgr model show models/olvo_model_5_fb/hgr_olvo.xml
  wgr model check models/*/hgr_olvo.xml
  wgr model diff old.xml new.xml

Exit status: 0 done; 1 check found something, or diff a difference; 2 a model or an argument
cannot be used.)";

static constexpr char kSuffix[] = ".xml";     // Gmodel::read appends it
static constexpr double kUsualPoints = 45.0;  // of a motion, for the cost

namespace {

struct OfClass {
  size_t templates = 0;
  size_t points = 0;
  std::optional<double> threshold;
};

}  // namespace

static Gmodel read_model(const std::string& path) {
  if (std::filesystem::path(path).extension() != kSuffix) {
    throw UsageError(path + ": a model's name ends in .xml");
  }
  const ModelCheck check = check_model_file(path);
  if (!check.loads) throw UsageError(line_about(path, check.findings.front()));
  Gmodel model;
  if (!model.read(std::filesystem::path(path).replace_extension("").c_str())) {
    throw UsageError(path + ": cannot be read");
  }
  return model;
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
  return c.threshold ? fixed(*c.threshold, 4) : "none";
}

static void show(const std::string& path) {
  const Gmodel model = read_model(path);
  size_t points = 0;
  std::printf("class  templates  points  threshold\n");
  for (const auto& [label, c] : classes_of(model)) {
    std::printf("%5d  %9zu  %6zu  %9s\n", label, c.templates, c.points,
                threshold_text(c).c_str());
    points += c.points;
  }
  std::printf("%zu templates, %zu points; traces %s, %s gravity\n",
              model.templates.size(), points,
              model.normalize != 0 ? "scaled to unit strength" : "as they are",
              model.havegravity != 0 ? "with" : "without");
  std::printf(
      "cost: at most %zu cells for each point of a motion, %.0f for one of %.0f "
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
      std::printf("%s\n", shown(line_about(path, finding)).c_str());
    }
    if (findings.empty()) std::printf("%s: nothing is wrong\n", shown(path).c_str());
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

static void diff(const std::string& first, const std::string& second) {
  const Gmodel a = read_model(first);
  const Gmodel b = read_model(second);
  bool differ = false;
  const auto say = [&differ](const std::string& text) {
    differ = true;
    std::printf("%s\n", shown(text).c_str());
  };
  if (a.normalize != b.normalize) say("one scales traces, the other does not");
  if (a.havegravity != b.havegravity) say("one has gravity, the other does not");
  std::map<int, OfClass> old_classes = classes_of(a);
  std::map<int, OfClass> new_classes = classes_of(b);
  std::map<int, OfClass> all = old_classes;
  all.insert(new_classes.begin(), new_classes.end());
  for (const auto& [label, ignored] : all) {
    const std::string name = "class " + std::to_string(label);
    if (old_classes.count(label) == 0) {
      say(name + ": only in " + second);
      continue;
    }
    if (new_classes.count(label) == 0) {
      say(name + ": only in " + first);
      continue;
    }
    const std::string before = threshold_text(old_classes[label]);
    const std::string after = threshold_text(new_classes[label]);
    if (before != after) say(name + ": threshold " + before + " -> " + after);
    const size_t gone = missing(a, b, label);
    const size_t come = missing(b, a, label);
    if (gone + come > 0) {
      say(name + ": " + std::to_string(gone) + " templates gone, " +
          std::to_string(come) + " new, " + std::to_string(new_classes[label].templates) +
          " now");
    }
  }
  std::fflush(stdout);
  if (differ) throw EndWithStatus{kExitFindings};
  std::printf("no difference\n");
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
