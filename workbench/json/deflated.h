// JSON and text for a page, deflated as it comes.
#pragma once

#include <zlib.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/text_sink.h"

namespace wgr {

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

// What the data adds to a page; see Deflated::size_in_page().
size_t packed_size(const nlohmann::ordered_json& data);

}  // namespace wgr
