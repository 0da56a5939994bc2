// Recorded training samples, and the text file they come from.
#pragma once

#include <iosfwd>
#include <utility>
#include <vector>

#include "base/points.h"

struct Gsample {
  int label = 0;
  std::vector<Point3Df> trace;  // in time order; a set with gravity adds one point
};

class Gdata {
 public:
  // Replaces `samples` by the file's and adds their labels to `class_counts`, which
  // is not emptied first. Returns false, with a message on standard output, when the file
  // cannot be opened; true otherwise, whatever the file holds.
  bool load(const char* path);

  // The same from a stream that can be read twice.
  void load(std::istream& file);

  // Appends the samples and counts of `other`, which may be this set. Sets of
  // different kinds are not merged; standard output gets a message.
  void add(Gdata* other);

  int kind = -1;  // 1: every trace ends in a gravity vector; 0: none; -1: no sample
  std::vector<Gsample> samples;
  std::vector<std::pair<int, int>> class_counts;  // label, number of samples
};
