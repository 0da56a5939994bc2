#include "pages/findings_page.h"

#include "pages/parts.h"

namespace wgr {

using Json = nlohmann::ordered_json;

std::string findings_page(const FindingsPage& page) {
  Json tables = Json::array();
  for (const PageTable& table : page.tables) {
    tables.push_back({{"heading", table.heading},
                      {"note", table.note},
                      {"heads", table.heads},
                      {"rows", table.rows},
                      {"bars", table.bars}});
  }
  const Json data = {{"title", page.title},
                     {"facts", page.facts},
                     {"headline", page.headline},
                     {"good", page.good},
                     {"findings", page.findings},
                     {"tables", tables},
                     {"origin", origin_json(page.origin)}};
  return page_of({"wgr",
                  kFindingsHtml,
                  {std::string(kVerdictCss), std::string(kFindingsCss)},
                  {std::string(kFindingsScript)}},
                 data);
}

}  // namespace wgr
