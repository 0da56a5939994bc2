// What all report pages share: one HTML file with its styles, scripts and data in it, so
// that it opens without a network.
#pragma once

#include <zlib.h>

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

// A text that is deflated piece by piece.
class Deflated {
 public:
  explicit Deflated(int level);
  ~Deflated();
  Deflated(const Deflated&) = delete;
  Deflated& operator=(const Deflated&) = delete;

  void add(std::string_view text);
  // All of it; nothing is added behind.
  const std::string& finish();

 private:
  void deflate_more(std::string_view text, int flush);

  z_stream stream_ = {};
  std::string bytes_;
};

inline constexpr int kPageLevel = Z_DEFAULT_COMPRESSION;

// The shared styles and scripts come first; the data, JSON, stands there in base64.
std::string page_of(const PageParts& parts, Deflated& data);
std::string page_of(const PageParts& parts, const nlohmann::ordered_json& data);

// About, and hardly ever less than, what the data adds to a page, characters.
size_t packed_size(const nlohmann::ordered_json& data);
