// What all report pages share: one HTML file with its styles, scripts and data in it, so
// that it opens without a network.
#pragma once

#include <zlib.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "text_sink.h"

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

  void add(const char* text) { add(std::string_view(text)); }
  void add(const std::string& text) { add(std::string_view(text)); }
  void add(std::string_view text);
  void add(const nlohmann::ordered_json& json);
  // All of it; nothing is added behind.
  const std::string& finish();
  // Hands out the finished text as it was before.
  void write(const TextSink& sink) const;
  // About, and hardly ever less than, what is deflated so far adds to a page, characters.
  size_t size_in_page() const { return bytes_.size() * 4 / 3; }

 private:
  void deflate_more(std::string_view text, int flush);

  z_stream stream_ = {};
  std::string piece_;  // deflated into
  std::string bytes_;
};

inline constexpr int kPageLevel = Z_DEFAULT_COMPRESSION;

// The shared styles and scripts come first; the data, JSON, stands there in base64.
std::string page_of(const PageParts& parts, Deflated& data);
std::string page_of(const PageParts& parts, const nlohmann::ordered_json& data);

// What the data adds to a page; see Deflated::size_in_page().
size_t packed_size(const nlohmann::ordered_json& data);
