#include "base/text_lines.h"

#include <array>

namespace wgr {

bool next_line(std::istream& file, std::string& line, size_t most) {
  std::array<char, 4096> part;
  line.clear();
  while (line.size() <= most) {
    file.getline(part.data(), part.size());
    const size_t got = static_cast<size_t>(file.gcount());
    if (file.good()) {  // the last of them is the line break
      line.append(part.data(), got - 1);
      return true;
    }
    line.append(part.data(), got);
    if (file.eof() || file.bad()) return !line.empty();
    file.clear();  // the part is full, and the line goes on
  }
  return true;
}

}  // namespace wgr
