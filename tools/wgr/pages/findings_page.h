// The HTML reports of wgr doctor and wgr log: what was found first, then tables.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "pages/shell.h"

namespace wgr {

struct PageTable {
  std::string heading;
  std::string note;  // may be empty
  std::vector<std::string> heads;
  std::vector<std::vector<std::string>> rows;
  bool bars = false;  // the second column is drawn as well
};

struct FindingsPage {
  PageOrigin origin;
  std::string title;
  std::vector<std::string> facts;  // sentences
  std::string headline;
  bool good = true;
  nlohmann::ordered_json findings = nlohmann::ordered_json::array();  // finding_json()
  std::vector<PageTable> tables;
};

// The same data give the same bytes.
std::string findings_page(const FindingsPage& page);

}  // namespace wgr
