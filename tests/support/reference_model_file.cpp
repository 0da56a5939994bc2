#include "support/reference_model_file.h"

#include <stdexcept>

#include "support/reference_lines.h"

using namespace wgr;

namespace reference {

namespace {
const size_t kMostCharacters = 4095;

// A line that is too long is cut, and nothing behind it is read. A zero byte ends what is
// read of its line.
std::vector<std::string> bounded_lines(const std::string& text) {
  std::vector<std::string> read;
  for (std::string line : split_lines(text)) {
    const bool too_long = line.size() > kMostCharacters;
    if (too_long) line = line.substr(0, kMostCharacters);
    read.push_back(line.substr(0, line.find('\0')));
    if (too_long) break;
  }
  return read;
}

size_t checked(int count) {
  if (count < 0) throw std::length_error("a negative count");
  return (size_t)count;
}
}  // namespace

void read_model(const std::string& text, Gmodel& model) {
  Lines lines(bounded_lines(text));
  std::istringstream header = lines.next();
  header >> model.nclasses;
  header >> model.nTemplate;
  header >> model.normalize;
  header >> model.havegravity;

  model.class_labels.resize(checked(model.nclasses), 0);
  std::istringstream labels = lines.next();
  for (int c = 0; c < model.nclasses; ++c) labels >> model.class_labels[(size_t)c];

  std::istringstream thresholds = lines.next();
  int present = 0;
  thresholds >> present;
  if (present == 0) {
    model.class_thresholds.clear();
  } else {
    model.class_thresholds.resize((size_t)model.nclasses, 0.0);
    for (int c = 0; c < model.nclasses; ++c) {
      thresholds >> model.class_thresholds[(size_t)c];
    }
  }

  model.templates.resize(checked(model.nTemplate));
  for (int t = 0; t < model.nTemplate; ++t) {
    auto& entry = model.templates[(size_t)t];
    int n = 0;
    std::istringstream head = lines.next();
    head >> entry.first;
    head >> n;
    entry.second.resize(checked(n), Point3Df{0, 0, 0});
    std::istringstream x = lines.next();
    for (int i = 0; i < n; ++i) x >> entry.second[(size_t)i].x;
    std::istringstream y = lines.next();
    for (int i = 0; i < n; ++i) y >> entry.second[(size_t)i].y;
    std::istringstream z = lines.next();
    for (int i = 0; i < n; ++i) z >> entry.second[(size_t)i].z;
  }
}

}  // namespace reference
