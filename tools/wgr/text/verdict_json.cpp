#include "text/verdict_json.h"

#include <algorithm>
#include <cmath>

#include "text/finding_text.h"
#include "text/remedies.h"
#include "text/verdict_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static Json or_null(const std::optional<double>& value) {
  return value && std::isfinite(*value) ? Json(*value) : Json();
}

// Counted from 1, as people count.
static Json numbers(const std::vector<size_t>& which) {
  Json all = Json::array();
  for (const size_t i : which) all.push_back(i + 1);
  return all;
}

static std::string action_of(const std::string& cause) {
  const Remedy* const remedy = remedy_for(cause);
  return remedy == nullptr ? "" : remedy->action;
}

static Json missed_json(const Verdict& v) {
  Json all = Json::array();
  for (const MissedGroup& group : v.missed) {
    all.push_back({{"class", group.label},
                   {"cause", name_of(group.cause)},
                   {"count", group.which.size()},
                   {"median_decision_margin", or_null(group.median_margin)},
                   {"do", action_of(name_of(group.cause))},
                   {"expected", numbers(group.which)}});
  }
  return all;
}

static Json unexpected_json(const Verdict& v) {
  Json all = Json::array();
  for (const UnexpectedGroup& group : v.unexpected) {
    all.push_back({{"class", group.label},
                   {"cause", name_of(group.why)},
                   {"count", group.which.size()},
                   {"median_decision_margin", or_null(group.median_margin)},
                   {"motions", numbers(group.which)}});
  }
  return all;
}

static Json stream_json(const Verdict& v) {
  Json findings = Json::array();
  for (const Finding& finding : v.diagnosis.findings) {
    const FindingText text = finding_text(finding);
    findings.push_back({{"id", name_of(finding.id)},
                        {"sure", sureness_name(finding.sure)},
                        {"what", text.what},
                        {"do", text.remedy},
                        {"call", text.call}});
  }
  return findings;
}

static Json trials_json(const Verdict& v) {
  Json all = Json::array();
  const std::vector<size_t> shown = shown_trials(v);
  for (size_t i = 0; i < v.trials.size(); ++i) {
    const Trial& trial = v.trials[i];
    const auto place = std::find(shown.begin(), shown.end(), i);
    all.push_back(
        {{"change", name_of(trial)},
         {"recognised", trial.came},
         {"reported", trial.reported},
         {"unexpected", trial.unexpected},
         {"gain", gain_of(trial, v.trials.front())},
         {"line", place == shown.end() ? Json() : Json(place - shown.begin())}});
  }
  return all;
}

static Json principal_json(const Verdict& v, const Explanation& e) {
  if (!v.principal) return nullptr;
  return {{"cause", name_of(*v.principal, v)},
          {"sure", sureness_name(v.principal->sure)},
          {"is_fault", v.principal->is_fault()},
          {"evidence", evidence_for(v, e)},
          {"do", action_for(v, e.settings)},
          {"code", code_for(v, e.settings)},
          {"effect", effect_for(v)},
          {"tried", v.principal->trial.has_value()}};
}

Json verdict_json(const Verdict& v, const Explanation& e) {
  return {{"headline", headline_for(v, e.settings)},
          {"expected", v.expected},
          {"recognised", v.came},
          {"reported", v.reported},
          {"unexpected", v.unexpected_count()},
          {"principal", principal_json(v, e)},
          {"missed_groups", missed_json(v)},
          {"unexpected_groups", unexpected_json(v)},
          {"stream", stream_json(v)},
          {"wrist",
           {{"answers", v.wearer_answers},
            {"worn", v.worn},
            {"wearer", e.settings.wearer},
            {"text", wrist_text(v, e.settings)}}},
          {"trials_heading", trials_heading(v)},
          {"trials", trials_json(v)}};
}

}  // namespace wgr
