#include "reference_text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "support/reference_lines.h"

static constexpr std::size_t kLongestLine = 4096;  // characters, without a CR
static constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

namespace reference {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> pieces(1);
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

std::optional<double> number_of(const std::string& text) {
  std::size_t i = text.substr(0, 1) == "-" ? 1 : 0;
  const auto digits = [&text, &i] {
    const std::size_t first = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
    return i - first;
  };
  std::size_t mantissa = digits();
  if (i < text.size() && text[i] == '.') {
    ++i;
    mantissa += digits();
  }
  if (mantissa == 0) return std::nullopt;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    if (digits() == 0) return std::nullopt;
  }
  if (i != text.size()) return std::nullopt;
  const double value = std::strtod(text.c_str(), nullptr);
  // So small that nothing is left of it, but not written as zero.
  if (value == 0.0 && text.find_first_of("123456789") < text.find_first_of("eE")) {
    return std::nullopt;
  }
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<double> whole_number_of(const std::string& text) {
  const std::string digits = text.substr(text.substr(0, 1) == "-" ? 1 : 0);
  const bool whole =
      !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
  return whole ? number_of(text) : std::nullopt;
}

// The character's bytes, by its number.
static std::string encoded(std::uint32_t c) {
  const auto tail = [c](int shift) {
    return static_cast<char>(0x80 | (c >> shift & 63));
  };
  if (c < 0x80) return {static_cast<char>(c)};
  if (c < 0x800) return {static_cast<char>(0xc0 | c >> 6), tail(0)};
  if (c < 0x10000) return {static_cast<char>(0xe0 | c >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xf0 | c >> 18), tail(12), tail(6), tail(0)};
}

// The numbers of the characters; nothing when one is not in its only form.
static std::optional<std::vector<std::uint32_t>> decoded(const std::string& text) {
  std::vector<std::uint32_t> characters;
  // The number that the bytes from `first` on spell, whatever the form, must have these
  // bytes for its own.
  for (std::size_t first = 0; first < text.size();) {
    const auto byte = static_cast<unsigned char>(text[first]);
    int more = byte < 0x80 ? 0 : byte < 0xe0 ? 1 : byte < 0xf0 ? 2 : 3;
    std::uint32_t c = more == 0 ? byte : byte & (0x3f >> more);
    for (std::size_t i = first + 1; more > 0 && i < text.size(); ++i, --more) {
      c = c << 6 | (static_cast<unsigned char>(text[i]) & 0x3f);
    }
    const bool exists = c < 0xd800 || (c > 0xdfff && c < 0x110000);
    const std::string bytes = encoded(c);
    if (!exists || text.compare(first, bytes.size(), bytes) != 0) return std::nullopt;
    characters.push_back(c);
    first += bytes.size();
  }
  return characters;
}

bool is_utf8(const std::string& text) { return decoded(text).has_value(); }

bool is_fit_for_terminal(const std::string& text) {
  const auto characters = decoded(text);
  return characters && std::none_of(characters->begin(), characters->end(), [](auto c) {
           return c < 0x20 || (c >= 0x7f && c < 0xa0) || (c >= 0x202a && c <= 0x202e) ||
                  (c >= 0x2066 && c <= 0x2069);
         });
}

// A quote begins or ends a stretch in which commas are text; within one, two quotes are
// one that is text.
static std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields(1);
  const std::vector<std::string> stretches = split(line, '"');
  for (std::size_t i = 0; i < stretches.size(); ++i) {
    const bool quoted = i % 2 == 1;
    const bool pair =
        !quoted && i > 0 && i + 1 < stretches.size() && stretches[i].empty();
    if (quoted) {
      fields.back() += stretches[i];
    } else if (pair) {
      fields.back() += '"';
    } else {
      const std::vector<std::string> pieces = split(stretches[i], ',');
      fields.back() += pieces.front();
      fields.insert(fields.end(), pieces.begin() + 1, pieces.end());
    }
  }
  return fields;
}

Table table_of(const std::string& content, const std::string& header,
               const std::string& also) {
  const std::string longer = header + "," + also;
  std::vector<std::string> lines = reference::split_lines(content);
  if (lines.back().empty()) lines.pop_back();
  Table table;
  if (lines.empty()) table.faulty_line = 1;  // not even the first
  std::size_t columns = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string line = lines[i];
    if (!line.empty() && line.back() == '\r') line.pop_back();
    Row row = {i + 1, fields_of(line)};
    bool good = line.size() <= kLongestLine && is_utf8(line);
    if (i == 0) {
      if (line.substr(0, 3) == kByteOrderMark) line = line.substr(3);
      good = good && (line == header || (!also.empty() && line == longer));
      columns = split(line, ',').size();
    } else if (!line.empty()) {
      good = good && row.fields.size() == columns;
    }
    if (!good) {
      table.faulty_line = row.line;
      return table;
    }
    if (i == 0 || line.empty()) continue;
    if (!also.empty()) row.fields.resize(split(longer, ',').size());
    table.rows.push_back(row);
  }
  return table;
}

}  // namespace reference
