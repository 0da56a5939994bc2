// What all report pages share: one HTML file with its styles, scripts and data in it, so
// that it opens without a network.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

struct PageParts {
  std::string_view title;  // until the script has one
  std::string_view body;
  std::vector<std::string> styles;
  std::vector<std::string> scripts;
};

// The shared styles and scripts come first; the data is deflated and in base64.
std::string page_of(const PageParts& parts, const nlohmann::ordered_json& data);

// About, and hardly ever less than, what the data adds to a page, characters.
size_t packed_size(const nlohmann::ordered_json& data);
