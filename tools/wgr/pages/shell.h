// What all report pages share: one HTML file with its styles, scripts and data in it, so
// that it opens without a network.
#pragma once

#include <zlib.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json/deflated.h"

namespace wgr {

struct PageParts {
  std::string_view title;  // until the script has one
  std::string_view body;
  std::vector<std::string> styles;
  std::vector<std::string> scripts;
};

// What a page's footer says of how it was made: nothing of when, so that the same
// command over the same files gives the same bytes.
struct PageOrigin {
  std::string version;
  std::string command;       // may be empty
  std::string model_sha256;  // likewise
  // Of what was recorded, s; stamps of the epoch are a date.
  std::optional<double> first_stamp = {};
  std::optional<double> last_stamp = {};
};

nlohmann::ordered_json origin_json(const PageOrigin& origin);

inline constexpr int kPageLevel = Z_DEFAULT_COMPRESSION;

// What a page's scripts unpack, by the id of its element.
struct PackedData {
  std::string id;
  Deflated& bytes;
};

// The shared styles and scripts come first; the data stands there in base64, each in an
// element of its own, so that a script can unpack late what it does not need at once. The
// one that is called "data" is JSON.
std::string page_of(const PageParts& parts, const std::vector<PackedData>& data);
std::string page_of(const PageParts& parts, const nlohmann::ordered_json& data);

// What a title calls a file or a folder: its name, without the way to it.
std::string name_of_path(const std::string& path);

}  // namespace wgr
