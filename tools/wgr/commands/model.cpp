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
#include "base/class_codes.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "classifier/Gmodel.h"
#include "commands/subcommands.h"
#include "json/json_text.h"
#include "output/output_plan.h"
#include "preflight/model_check.h"
#include "training/model_findings.h"

namespace wgr {

using Json = nlohmann::ordered_json;

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

struct ModelFiles {
  std::vector<std::string> paths;
  bool json = false;
};

struct OfClass {
  size_t templates = 0;
  size_t points = 0;
  std::optional<double> threshold;
};

}  // namespace

// What is printed must not go into a model that is read.
static void check_files(const std::vector<std::string>& paths) {
  OutputPlan plan;
  for (const std::string& path : paths) plan.reads("MODEL", path);
  plan.prints_results();
  plan.check();
}

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

static Json or_null(const std::optional<double>& value) {
  return value ? Json(*value) : Json();
}

static void show_text(const Gmodel& model, size_t points) {
  print(stdout, "class  templates  points  threshold\n");
  for (const auto& [label, c] : classes_of(model)) {
    print(stdout, "{:5}  {:9}  {:6}  {:>9}\n", label, c.templates, c.points,
          threshold_text(c));
  }
  if (classes_of(model).count(kNoGesture) > 0) {
    print(stdout, "{} is background: what is nearest to it is never reported\n",
          kNoGesture);
  }
  print(stdout, "{}, {}; traces {}, {} gravity\n",
        counted(model.templates.size(), "template"), counted(points, "point"),
        model.normalize != 0 ? "scaled to unit strength" : "as they are",
        model.havegravity != 0 ? "with" : "without");
  print(stdout,
        "cost: at most {} cells for each point of a motion, {:.0f} for one of {:.0f} "
        "points\n",
        points, static_cast<double>(points) * kUsualPoints, kUsualPoints);
}

static void show_json(const std::string& path, const Gmodel& model, size_t points) {
  Json json = {{"type", "model"},
               {"file", path},
               {"templates", model.templates.size()},
               {"points", points},
               {"normalised", model.normalize != 0},
               {"gravity", model.havegravity != 0},
               {"classes", Json::array()}};
  for (const auto& [label, c] : classes_of(model)) {
    json["classes"].push_back({{"label", label},
                               {"templates", c.templates},
                               {"points", c.points},
                               {"threshold", or_null(c.threshold)}});
  }
  print(stdout, "{}\n", json_text(json));
}

static void show(const std::string& path, bool json) {
  const Gmodel model = named_model(path);
  size_t points = 0;
  for (const auto& [label, c] : classes_of(model)) points += c.points;
  if (json) {
    show_json(path, model, points);
  } else {
    show_text(model, points);
  }
}

static void print_finding(const std::string& path, const ModelFinding& finding,
                          bool json) {
  if (!json) return print(stdout, "{}\n", shown(line_about(path, finding)));
  const Json line = {{"type", "finding"},
                     {"file", path},
                     {"line", finding.line == 0 ? Json() : Json(finding.line)},
                     {"text", finding.text}};
  print(stdout, "{}\n", json_text(line));
}

static void check(const std::vector<std::string>& paths, bool json) {
  size_t count = 0;
  for (const std::string& path : paths) {
    if (!std::filesystem::exists(path))
      throw UsageError(path + ": there is no such file");
    const std::vector<ModelFinding> findings = check_model_file(path).findings;
    for (const ModelFinding& finding : findings) print_finding(path, finding, json);
    if (findings.empty() && !json) print(stdout, "{}: nothing is wrong\n", shown(path));
    count += findings.size();
  }
  if (json) {
    const Json line = {
        {"type", "summary"}, {"models", paths.size()}, {"findings", count}};
    print(stdout, "{}\n", json_text(line));
  }
  std::fflush(stdout);
  if (count > 0) throw EndWithStatus{kExitFindings};
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

namespace {

// How a class differs; without one of the two, the other model alone has it.
struct ClassDifference {
  int label;
  std::optional<OfClass> before, after;
  size_t gone = 0;  // templates of the first model alone
  size_t come = 0;  // and of the second

  bool threshold() const { return threshold_text(*before) != threshold_text(*after); }
  bool any() const { return !before || !after || threshold() || gone + come > 0; }
};

}  // namespace

static std::vector<ClassDifference> differences(const Gmodel& a, const Gmodel& b) {
  std::map<int, ClassDifference> all;
  for (const auto& [label, c] : classes_of(a)) all[label].before = c;
  for (const auto& [label, c] : classes_of(b)) all[label].after = c;
  std::vector<ClassDifference> found;
  for (auto& [label, d] : all) {
    d.label = label;
    d.gone = missing(a, b, label);
    d.come = missing(b, a, label);
    if (d.any()) found.push_back(d);
  }
  return found;
}

static std::string text_of(const ClassDifference& d, const std::string& first,
                           const std::string& second) {
  if (!d.before || !d.after) {
    return fmt::format("class {}: only in {}\n", d.label,
                       shown(d.before ? first : second));
  }
  std::string text;
  if (d.threshold()) {
    text += fmt::format("class {}: threshold {} -> {}\n", d.label,
                        threshold_text(*d.before), threshold_text(*d.after));
  }
  if (d.gone + d.come > 0) {
    text += fmt::format("class {}: {} gone, {} new, {} now\n", d.label,
                        counted(d.gone, "template"), d.come, d.after->templates);
  }
  return text;
}

static Json json_of(const ClassDifference& d) {
  const auto of_class = [](const std::optional<OfClass>& c) {
    return c ? Json{{"templates", c->templates}, {"threshold", or_null(c->threshold)}}
             : Json();
  };
  return {{"label", d.label},
          {"before", of_class(d.before)},
          {"after", of_class(d.after)},
          {"templates_gone", d.gone},
          {"templates_new", d.come}};
}

static void diff(const std::string& first, const std::string& second, bool json) {
  const Gmodel a = named_model(first);
  const Gmodel b = named_model(second);
  const bool scaling = a.normalize != b.normalize;
  const bool gravity = a.havegravity != b.havegravity;
  const std::vector<ClassDifference> classes = differences(a, b);
  const bool any = scaling || gravity || !classes.empty();
  if (json) {
    Json line = {{"type", "difference"},
                 {"differs", any},
                 {"scaling_differs", scaling},
                 {"gravity_differs", gravity},
                 {"classes", Json::array()}};
    for (const ClassDifference& d : classes) line["classes"].push_back(json_of(d));
    print(stdout, "{}\n", json_text(line));
  } else {
    if (scaling) print(stdout, "one scales traces, the other does not\n");
    if (gravity) print(stdout, "one has gravity, the other does not\n");
    for (const ClassDifference& d : classes) {
      print(stdout, "{}", text_of(d, first, second));
    }
    if (!any) print(stdout, "no difference\n");
  }
  std::fflush(stdout);
  if (any) throw EndWithStatus{kExitFindings};
}

static CLI::App* add_below(CLI::App& model, const char* name, const char* what,
                           const char* models, ModelFiles& given) {
  CLI::App* const command = model.add_subcommand(name, what);
  command->add_option(models, given.paths)
      ->required()
      ->transform(path_name())
      ->option_text(" ");
  command->add_flag("--json", given.json, "Print JSON lines");
  return command;
}

void add_model(CLI::App& wgr) {
  CLI::App* const command =
      wgr.add_subcommand("model", "Show, check or compare gesture models.");
  command->require_subcommand(1);
  command->footer(kFooter);
  const auto given = std::make_shared<ModelFiles>();

  CLI::App* const shown =
      add_below(*command, "show", "Show what is in a model.", "MODEL", *given);
  shown->get_option("MODEL")->description("The model")->expected(1);
  shown->footer("Exit status: 0 done; 2 the model or an argument cannot be used.");
  shown->callback([given] {
    check_files(given->paths);
    show(given->paths.front(), given->json);
  });

  CLI::App* const checked = add_below(
      *command, "check", "Check models and list their faults.", "MODEL", *given);
  checked->get_option("MODEL")->description("The models");
  checked->footer(
      "Exit status: 0 nothing is wrong; 1 something is; 2 a model or an argument cannot "
      "be used.");
  checked->callback([given] {
    check_files(given->paths);
    check(given->paths, given->json);
  });

  CLI::App* const compared =
      add_below(*command, "diff", "Show how the second model differs from the first.",
                "MODELS", *given);
  compared->get_option("MODELS")->description("The two models")->expected(2);
  compared->footer(
      "Exit status: 0 no difference; 1 some; 2 a model or an argument cannot be used.");
  compared->callback([given] {
    check_files(given->paths);
    diff(given->paths.front(), given->paths.back(), given->json);
  });
}

}  // namespace wgr
