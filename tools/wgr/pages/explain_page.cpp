#include "pages/explain_page.h"

#include <string_view>

#include "json/json_text.h"
#include "pages/explain_page_data.h"
#include "pages/parts.h"
#include "pages/shell.h"

namespace wgr {

using Json = nlohmann::ordered_json;

std::string explain_page(Explanation& e, const Verdict& verdict,
                         const PageOrigin& origin) {
  Json json = explain_json(e, verdict);
  json["origin"] = origin_json(origin);
  json["origin"]["first_stamp"] = e.times.empty() ? 0.0 : e.times.front();
  Deflated data(kPageLevel);
  data.add(json);
  json.clear();
  Deflated samples(kPageLevel);
  write_explain_samples(e, [&samples](std::string_view bytes) { samples.add(bytes); });
  Deflated details(kPageLevel);
  write_explain_details(e, [&details](std::string_view bytes) { details.add(bytes); });
  return page_of({"wgr explain",
                  kExplainHtml,
                  {std::string(kExplainCss), std::string(kVerdictCss)},
                  {std::string(kFiguresScript), std::string(kSamplesScript),
                   std::string(kLanesScript), std::string(kTimelineScript),
                   std::string(kDetailsScript), std::string(kListScript),
                   std::string(kVerdictScript), std::string(kExplainScript)}},
                 {{"data", data}, {"samples", samples}, {"traces", details}});
}

std::string index_page(const Json& recordings, const PageOrigin& origin) {
  Json data = recordings;
  data["origin"] = origin_json(origin);
  return page_of({"wgr explain", kIndexHtml, {}, {std::string(kIndexScript)}}, data);
}

}  // namespace wgr
