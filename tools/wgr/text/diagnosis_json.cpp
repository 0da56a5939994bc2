#include "text/diagnosis_json.h"

#include "hostrun/totals.h"
#include "text/finding_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static Json or_null(const std::optional<double>& value) {
  return value ? Json(*value) : Json();
}

Json finding_json(const Finding& finding) {
  const FindingText text = finding_text(finding);
  return {{"type", "finding"},
          {"id", name_of(finding.id)},
          {"sure", sureness_name(finding.sure)},
          {"what", text.what},
          {"remedy", text.remedy},
          {"call", text.call}};
}

Json summary_json(const Diagnosis& diagnosis,
                  const std::array<size_t, 3>& wrist_answers) {
  const StreamFacts& facts = diagnosis.facts;
  Json bias;
  if (facts.bias) bias = {facts.bias->x, facts.bias->y, facts.bias->z};
  return {{"type", "summary"},
          {"findings", diagnosis.findings.size()},
          {"samples", facts.samples},
          {"seconds", facts.seconds},
          {"rate", or_null(facts.rate)},
          {"jitter", facts.jitter},
          {"gravity", or_null(facts.gravity)},
          {"bias", bias},
          {"acc_noise", facts.acc_noise},
          {"gyro_noise", facts.gyro_noise},
          {"rest_share", facts.rest_share},
          {"acc_rest_share", facts.acc_rest_share},
          {"gyro_rest_share", facts.gyro_rest_share},
          {"longest_motion", facts.longest_motion},
          {"turns", facts.turns},
          {"turn_error", facts.turn_error},
          {"wrist", {{"answers", wrist_answers}, {"worn", clear_wearer(wrist_answers)}}}};
}

}  // namespace wgr
