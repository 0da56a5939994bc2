#include "classifier/Gmodel.h"

#include <algorithm>
#include <fstream>
#include <locale>
#include <new>
#include <stdexcept>
#include <string>

#include "classifier/line_reader.h"

using namespace wgr;

static constexpr char kSuffix[] = ".xml";  // despite the name the content is no markup

using Axis = double Point3Df::*;
static constexpr Axis kAxes[] = {&Point3Df::x, &Point3Df::y, &Point3Df::z};

// How many of `size` entries a count means.
static size_t bounded(int count, size_t size) {
  return count < 0 ? 0 : std::min(static_cast<size_t>(count), size);
}

bool Gmodel::write(const char* path) const {
  std::ofstream file(std::string(path) + kSuffix, std::ios::trunc);
  if (!file.is_open()) return false;
  write(file);
  return true;
}

void Gmodel::write(std::ostream& file) const {
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
}

namespace {

// The counts of a file, as sizes, and what they announce in all.
class Counts {
 public:
  size_t follow(int count) {
    if (count < 0 || count > kMostEntries) throw std::length_error("Gmodel::read");
    announced_ += static_cast<size_t>(count);
    return static_cast<size_t>(count);
  }
  size_t announced() const { return announced_; }

 private:
  size_t announced_ = 0;
};

}  // namespace

// Values after one that cannot be read count as missing, so each line is left there: a
// count may be far larger than what its line holds.
static void read_record(std::istream& file, Gmodel& model, Counts& counts) {
  LineReader lines(file, LineReader::LongLines::kEndTheFile);

  lines.next() >> model.nclasses >> model.nTemplate >> model.normalize >>
      model.havegravity;

  model.class_labels.resize(counts.follow(model.nclasses));
  std::istringstream& labels = lines.next();
  for (int& label : model.class_labels) {
    if (!(labels >> label)) break;
  }

  std::istringstream& thresholds = lines.next();
  int have_thresholds = 0;
  thresholds >> have_thresholds;
  model.class_thresholds.resize(have_thresholds == 0 ? 0 : model.class_labels.size());
  for (double& threshold : model.class_thresholds) {
    if (!(thresholds >> threshold)) break;
  }

  model.templates.resize(counts.follow(model.nTemplate));
  for (auto& [label, points] : model.templates) {
    int count = 0;
    lines.next() >> label >> count;
    points.resize(counts.follow(count));
    for (const Axis axis : kAxes) {
      std::istringstream& values = lines.next();
      for (Point3Df& p : points) {
        if (!(values >> p.*axis)) break;
      }
    }
  }
}

// Whether a file has room for so many numbers.
static bool can_hold(std::istream& file, size_t numbers) {
  file.clear();
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  return size >= 0 && numbers <= static_cast<size_t>(size);
}

bool Gmodel::read(const char* path) {
  std::ifstream file(std::string(path) + kSuffix);
  if (!file.is_open()) return false;
  read(file);
  return true;
}

void Gmodel::read(std::istream& file) {
  Counts counts;
  try {
    read_record(file, *this, counts);
  } catch (const std::bad_alloc&) {
    // The memory is short, or the file announces far more than it holds.
    if (can_hold(file, counts.announced())) throw;
    throw std::bad_array_new_length();
  }
}
