#include "base/foreign_text.h"

#include <algorithm>

namespace wgr {

static constexpr size_t kLongestQuote = 40;  // bytes of the input in a message

// How many bytes the UTF-8 character at the text's start takes; 0 when it is none.
static size_t character(std::string_view text) {
  const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
  if (text.empty()) return 0;
  const unsigned char first = byte(0);
  size_t length = 0;
  if (first < 0x80) return 1;
  if (first >= 0xc2 && first < 0xe0) length = 2;
  if (first >= 0xe0 && first < 0xf0) length = 3;
  if (first >= 0xf0 && first < 0xf5) length = 4;
  if (length == 0 || text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
  }
  // Longer forms than needed, halves of pairs, and what lies behind the last character.
  if ((first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) > 0x9f) ||
      (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) > 0x8f)) {
    return 0;
  }
  return length;
}

// The code point of a character that is UTF-8.
static unsigned code_of(std::string_view character) {
  const unsigned char first = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return first;
  unsigned code = first & (0x7fu >> character.size());
  for (const char c : character.substr(1)) {
    code = code << 6 | (static_cast<unsigned char>(c) & 0x3fu);
  }
  return code;
}

// Whether a terminal does something else with it than to print it.
static bool is_control(unsigned code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x200e ||
         code == 0x200f ||                      // marks of the direction of writing
         (code >= 0x2028 && code <= 0x202e) ||  // line separators, embeddings, overrides
         (code >= 0x2066 && code <= 0x2069) ||  // isolates
         code == 0x61c || code == 0xfeff;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = character(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string shown(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string fit;
  while (!text.empty()) {
    const size_t length = std::max<size_t>(character(text), 1);
    const std::string_view one = text.substr(0, length);
    if (character(text) > 0 && !is_control(code_of(one))) {
      fit += one;
    } else {
      for (const char c : one) {
        const unsigned char byte = static_cast<unsigned char>(c);
        fit += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
      }
    }
    text.remove_prefix(length);
  }
  return fit;
}

// As many whole characters as fit into `most` bytes.
static std::string_view beginning(std::string_view text, size_t most) {
  if (text.size() <= most) return text;
  size_t length = 0;
  for (;;) {
    const size_t next = std::max<size_t>(character(text.substr(length)), 1);
    if (length + next > most) return text.substr(0, length);
    length += next;
  }
}

std::string shortened(std::string_view text, size_t most) {
  return shown(beginning(text, most)) + (text.size() > most ? "..." : "");
}

std::string quoted(std::string_view text) {
  return '"' + shown(beginning(text, kLongestQuote)) +
         (text.size() > kLongestQuote ? "\"..." : "\"");
}

}  // namespace wgr
