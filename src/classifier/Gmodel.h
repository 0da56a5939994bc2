// A gesture model: labelled templates, per-class thresholds, and their file.
#pragma once

#include <iosfwd>
#include <utility>
#include <vector>

#include "base/points.h"

namespace wgr {

// Of classes, of templates and of the points of one. A model has a few hundred; files
// that announce more than this are no models, and would take the host's memory.
inline constexpr int kMostEntries = 10000000;

}  // namespace wgr

class Gmodel {
 public:
  // Writes path + ".xml". Numbers get 6 significant digits, so what is read back
  // equals the model to that precision only. Returns false when the file cannot be
  // opened, true otherwise.
  bool write(const char* path) const;

  // The same text to a stream, whose state says whether it took all.
  void write(std::ostream& file) const;

  // Fills the record from path + ".xml". Returns false, with the record unchanged,
  // when the file cannot be opened; true otherwise, whatever the file holds: the
  // content is not checked. Throws std::length_error for counts that are negative or
  // above wgr::kMostEntries, std::bad_array_new_length for counts beyond file and memory,
  // and std::bad_alloc where memory runs out. The record is then partly overwritten.
  bool read(const char* path);

  // The same from a stream that can be read twice.
  void read(std::istream& file);

  int nclasses = 0;
  int nTemplate = 0;
  int normalize = 0;    // 1: traces are scaled to unit root mean square first
  int havegravity = 0;  // trailing gravity points of every trace: 0 or 1
  std::vector<int> class_labels;
  // Least similarity that is accepted, per class, in the order of `class_labels`;
  // empty: everything is accepted. Similarities are never above zero.
  std::vector<double> class_thresholds;
  std::vector<std::pair<int, std::vector<Point3Df>>> templates;  // label, trace
};
