// Texts for people, put together from fmt's patterns.
//
// Numbers are the same in every locale, and a `{:.3f}` the nearest such decimal.
#pragma once

#include <fmt/core.h>

#include <cstdio>
#include <string>

namespace wgr {

// As printf() does: what is lost shows in the stream's state, which main() looks at.
template <class... Parts>
void print(std::FILE* to, fmt::format_string<Parts...> pattern, Parts&&... parts) {
  const std::string text = fmt::format(pattern, std::forward<Parts>(parts)...);
  std::fwrite(text.data(), 1, text.size(), to);
}

// A line on standard error: "wgr: ", and the text made fit for a terminal.
void warn(const std::string& text);
template <class... Parts>
void warn(fmt::format_string<Parts...> pattern, Parts&&... parts) {
  warn(fmt::format(pattern, std::forward<Parts>(parts)...));
}

// "1 gap", "2 gaps"; without `many` the plural ends in s.
std::string counted(size_t count, const std::string& one, const std::string& many = "");

double share(size_t part, size_t whole);  // 0 of none
std::string percent(double share);        // "12.5 %"
std::string percent(size_t part, size_t whole);

}  // namespace wgr
