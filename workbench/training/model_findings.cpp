#include "training/model_findings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "training/model_output.h"

namespace wgr {

static constexpr size_t kMostListed = 10;

std::string line_about(const std::string& path, const ModelFinding& finding) {
  const std::string line = finding.line == 0 ? "" : fmt::format(":{}", finding.line);
  return fmt::format("{}{}: {}", path, line, finding.text);
}

// Whether the model has a template with points of motion, behind which gravity may stand.
static bool can_compare(const Gmodel& model) {
  const size_t trailing = model.havegravity != 0 ? 1 : 0;
  return std::any_of(model.templates.begin(), model.templates.end(),
                     [trailing](const auto& t) { return t.second.size() > trailing; });
}

static void require_comparable(const Gmodel& model, const std::string& path) {
  if (can_compare(model)) return;
  const ModelCheck check = check_model_file(path);
  throw UsageError(
      path +
      ": holds no template that a motion can be compared with, so it recognises nothing" +
      (check.findings.empty() ? "" : "; " + line_about(path, check.findings.front())));
}

Gmodel read_model(const std::string& path) {
  const ModelCheck check = check_model_file(path);
  if (!check.loads) {
    // The last finding is why the library cannot load it.
    throw UsageError(line_about(path, check.findings.back()) +
                     ": the library cannot load it");
  }
  std::ifstream file(path);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  Gmodel model;
  model.read(file);
  return model;
}

Gmodel read_useful_model(const std::string& path) {
  Gmodel model = read_model(path);
  require_comparable(model, path);
  const ModelCheck check = check_model_file(path);
  for (size_t i = 0; i < std::min(check.findings.size(), kMostListed); ++i) {
    warn(line_about(path, check.findings[i]));
  }
  if (check.findings.size() > kMostListed) {
    warn("{}: and {} more; wgr model check lists them", path,
         check.findings.size() - kMostListed);
  }
  return model;
}

static std::string why_never(const ClassReport& c) {
  if (c.examples == 1) {
    return "has a single repetition, and nothing says how far others may differ from it: "
           "record more, or leave the class out";
  }
  return "would have the threshold " + plain(c.threshold) +
         ", which no score is above: its repetitions score no better than background or "
         "other classes. Record more of it, leave it out, or accept more "
         "(--false-positives-per-hour, --false-cost)";
}

void require_faultless_model(const Gmodel& model, const BuildReport& report,
                             const std::string& input) {
  for (const ClassReport& c : report.classes) {
    if (c.examples > 1 && c.threshold < 0.0) continue;
    throw UsageError(fmt::format("{}: class {} {}", input, c.label, why_never(c)));
  }
  std::istringstream text(model_text(model));
  const ModelCheck check = check_model(text);
  if (check.findings.empty()) return;
  throw UsageError(fmt::format("{}: the model built from it would be faulty: line {}: {}",
                               input, check.findings.front().line,
                               check.findings.front().text));
}

}  // namespace wgr
