#include "classifier/Gmodel.h"

#include <algorithm>
#include <fstream>
#include <locale>
#include <string>

#include "classifier/line_reader.h"

static constexpr char kSuffix[] = ".xml";  // despite the name the content is no markup

using Axis = double Point3Df::*;
static constexpr Axis kAxes[] = {&Point3Df::x, &Point3Df::y, &Point3Df::z};

// How many of `size` entries a count asks for.
static size_t bounded(int count, size_t size) {
  return count < 0 ? 0 : std::min(static_cast<size_t>(count), size);
}

bool Gmodel::write(const char* path) const {
  std::ofstream file(std::string(path) + kSuffix, std::ios::trunc);
  if (!file.is_open()) return false;
  file.imbue(std::locale::classic());

  file << nclasses << ' ' << nTemplate << ' ' << normalize << ' ' << havegravity << '\n';

  for (size_t i = 0; i < bounded(nclasses, class_labels.size()); ++i)
    file << class_labels[i] << ' ';
  file << '\n';

  file << (class_thresholds.empty() ? 0 : 1) << ' ';
  for (size_t i = 0; i < bounded(nclasses, class_thresholds.size()); ++i)
    file << class_thresholds[i] << ' ';
  file << '\n';

  for (size_t t = 0; t < bounded(nTemplate, templates.size()); ++t) {
    const auto& [label, points] = templates[t];
    file << label << ' ' << points.size() << '\n';
    for (const Axis axis : kAxes) {
      for (const Point3Df& p : points) file << p.*axis << ' ';
      file << '\n';
    }
  }
  return true;
}

// A negative count becomes a size that no array can have, and resize() throws.
static size_t as_size(int count) { return static_cast<size_t>(count); }

bool Gmodel::read(const char* path) {
  std::ifstream file(std::string(path) + kSuffix);
  if (!file.is_open()) return false;
  LineReader lines(file, LineReader::LongLines::kEndTheFile);

  lines.next() >> nclasses >> nTemplate >> normalize >> havegravity;

  class_labels.resize(as_size(nclasses));
  std::istringstream& labels = lines.next();
  for (int& label : class_labels) labels >> label;

  std::istringstream& thresholds = lines.next();
  int have_thresholds = 0;
  thresholds >> have_thresholds;
  class_thresholds.resize(have_thresholds == 0 ? 0 : as_size(nclasses));
  for (double& threshold : class_thresholds) thresholds >> threshold;

  templates.resize(as_size(nTemplate));
  for (auto& [label, points] : templates) {
    int count = 0;
    lines.next() >> label >> count;
    points.resize(as_size(count));
    for (const Axis axis : kAxes) {
      std::istringstream& values = lines.next();
      for (Point3Df& p : points) values >> p.*axis;
    }
  }
  return true;
}
