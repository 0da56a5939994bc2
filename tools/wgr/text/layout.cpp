#include "text/layout.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace wgr {

static constexpr size_t kNarrowest = 40;  // columns
static constexpr size_t kWidest = 120;    // beyond that lines are hard to read

std::string Layout::strong(const std::string& text) const {
  return colour ? "\033[1m" + text + "\033[0m" : text;
}

Layout layout_for(int descriptor) {
  Layout layout;
  if (isatty(descriptor) == 0) return layout;
  const char* const no_colour = std::getenv("NO_COLOR");
  layout.colour = no_colour == nullptr || *no_colour == '\0';
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    layout.width = std::clamp<size_t>(size.ws_col, kNarrowest, kWidest);
  }
  return layout;
}

void append_wrapped(std::string& text, const std::string& indent,
                    const std::string& words, const Layout& layout,
                    const std::string& first) {
  size_t column = 0;
  const std::string* before = first.empty() ? &indent : &first;
  for (size_t begin = 0; begin < words.size();) {
    const size_t end = std::min(words.find(' ', begin), words.size());
    if (column > 0 && column + 1 + (end - begin) > layout.width) {
      text += '\n';
      column = 0;
    }
    text += column == 0 ? *before : " ";
    if (column == 0) before = &indent;
    column = (column == 0 ? indent.size() : column + 1) + (end - begin);
    text.append(words, begin, end - begin);
    begin = end + 1;
  }
  text += '\n';
}

}  // namespace wgr
