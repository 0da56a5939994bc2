// How text is laid out: as wide as the terminal, with little colour, and none where
// nobody sees it.
#pragma once

#include <cstddef>
#include <string>

namespace wgr {

struct Layout {
  size_t width = 90;    // columns
  bool colour = false;  // escape sequences are understood

  std::string strong(const std::string& text) const;
};

// For what is written to `descriptor`: a terminal's width, and colour unless NO_COLOR is
// set; otherwise 90 columns without.
Layout layout_for(int descriptor);

// Appends `words` broken into lines that start with `indent`, the first one with `first`
// in its place, which is as wide.
void append_wrapped(std::string& text, const std::string& indent,
                    const std::string& words, const Layout& layout,
                    const std::string& first = "");

}  // namespace wgr
