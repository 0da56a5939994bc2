#include "base/foreign_text.h"

#include <fmt/core.h>
#include <utf8cpp/utf8.h>

#include <optional>
#include "base/text.h"

namespace wgr {

static constexpr size_t kLongestQuote = 40;  // bytes of the input in a message

namespace {

// The character at a text's start: its code, or none where the text is not UTF-8, and the
// bytes it takes, at least one.
struct Character {
  std::optional<char32_t> code;
  std::string_view bytes;
};

}  // namespace

static Character first_of(std::string_view text) {
  const char* const end = text.data() + text.size();
  const char* next = text.data();
  try {
    const char32_t code = utf8::next(next, end);
    return {code, text.substr(0, static_cast<size_t>(next - text.data()))};
  } catch (const utf8::exception&) {
    return {std::nullopt, text.substr(0, 1)};
  }
}

// Whether a terminal does something else with it than to print it.
static bool is_control(char32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x200e ||
         code == 0x200f ||                      // marks of the direction of writing
         (code >= 0x2028 && code <= 0x202e) ||  // line separators, embeddings, overrides
         (code >= 0x2066 && code <= 0x2069) ||  // isolates
         code == 0x61c || code == 0xfeff;
}

bool is_utf8(std::string_view text) { return utf8::is_valid(text.begin(), text.end()); }

std::string shown(std::string_view text) {
  std::string fit;
  while (!text.empty()) {
    const Character one = first_of(text);
    if (one.code && !is_control(*one.code)) {
      fit += one.bytes;
    } else {
      for (const char c : one.bytes) {
        fit += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
      }
    }
    text.remove_prefix(one.bytes.size());
  }
  return fit;
}

// As many whole characters as fit into `most` bytes.
static std::string_view beginning(std::string_view text, size_t most) {
  size_t length = 0;
  while (length < text.size()) {
    const size_t next = first_of(text.substr(length)).bytes.size();
    if (length + next > most) break;
    length += next;
  }
  return text.substr(0, length);
}

std::string shortened(std::string_view text, size_t most) {
  return shown(beginning(text, most)) + (text.size() > most ? "..." : "");
}

std::string quoted(std::string_view text) {
  return '"' + shown(beginning(text, kLongestQuote)) +
         (text.size() > kLongestQuote ? "\"..." : "\"");
}

}  // namespace wgr
