#include "support/reference_training_file.h"

#include "support/reference_lines.h"

using namespace wgr;

namespace reference {

namespace {
void count_label(Gdata& data, int label, int number) {
  for (auto& entry : data.class_counts) {
    if (entry.first == label) {
      entry.second += number;
      return;
    }
  }
  data.class_counts.push_back({label, number});
}

bool is_gravity(double x, double y, double z) {
  const double squared = y * y + x * x + z * z;
  if (squared < 25.0) return false;
  if (squared > 1000000.0) return false;
  return true;
}

void read_record(Lines& lines, Gdata& data, Gsample& sample) {
  std::istringstream head = lines.next();
  unsigned int n = 0;
  head >> sample.label;
  head >> n;
  if (head.fail()) n = 0;

  if (data.kind == -1) {
    double gx = 0.0, gy = 0.0, gz = 0.0;
    head >> gx >> gy >> gz;
    const bool have_three = !head.fail();
    if (have_three && is_gravity(gx, gy, gz)) {
      data.kind = 1;
      sample.trace.resize((size_t)n + 1, Point3Df{0, 0, 0});
      sample.trace[n] = Point3Df{gx, gy, gz};
    } else {
      data.kind = 0;
      sample.trace.resize(n, Point3Df{0, 0, 0});
    }
  } else if (data.kind == 0) {
    sample.trace.resize(n, Point3Df{0, 0, 0});
  } else {
    sample.trace.resize((size_t)n + 1, Point3Df{0, 0, 0});
    head >> sample.trace[n].x >> sample.trace[n].y >> sample.trace[n].z;
  }

  std::istringstream x = lines.next();
  for (unsigned int i = 0; i < n; ++i) x >> sample.trace[i].x;
  std::istringstream y = lines.next();
  for (unsigned int i = 0; i < n; ++i) y >> sample.trace[i].y;
  std::istringstream z = lines.next();
  for (unsigned int i = 0; i < n; ++i) z >> sample.trace[i].z;
}
}  // namespace

void load_training(const std::string& text, Gdata& data) {
  // A last line with its line break counts as one more, as does an empty file.
  const std::vector<std::string> lines = split_lines(text);
  data.samples.resize(lines.size() / 4);
  data.kind = -1;
  Lines read(lines);
  for (Gsample& sample : data.samples) read_record(read, data, sample);
  for (const Gsample& sample : data.samples) count_label(data, sample.label, 1);
}

bool merge_training(Gdata& data, const Gdata& other) {
  if (data.samples.empty()) {
    data.kind = other.kind;
  } else if (data.kind != other.kind) {
    return false;
  }
  const Gdata added = other;
  for (const Gsample& sample : added.samples) data.samples.push_back(sample);
  for (const auto& entry : added.class_counts) {
    count_label(data, entry.first, entry.second);
  }
  return true;
}

}  // namespace reference
