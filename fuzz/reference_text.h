// Slow, obvious readings of what text files hold: what the tool's readers are compared
// with.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace reference {

// The pieces between commas.
std::vector<std::string> split(const std::string& text, char separator);

// Digits with a point and an exponent, or nothing: neither blanks, nor a plus, nor names.
std::optional<double> number_of(const std::string& text);

// Digits, perhaps behind a minus, or nothing; exact below 2^53, and near it above.
std::optional<double> whole_number_of(const std::string& text);

// Whether the text is made of whole characters, each in its shortest form.
bool is_utf8(const std::string& text);

// Whether the text is UTF-8 in which no character moves a cursor, sets a colour or turns
// the direction of writing.
bool is_fit_for_terminal(const std::string& text);

struct Row {
  std::size_t line;  // from 1
  std::vector<std::string> fields;
};

// A table up to its first fault in form.
struct Table {
  std::vector<Row> rows;
  std::size_t faulty_line = 0;  // from 1; 0 when there is none
};

// What a file with this content holds, when its first line has to be `header`, or that
// and `also`.
Table table_of(const std::string& content, const std::string& header,
               const std::string& also = "");

}  // namespace reference
