// Which gesture is where in which recording: labels.csv.
//
// CSV with the header file,t_start,t_end,label: the recording's path, relative to the
// table's folder, an annotation in s, and the gesture's label, a whole number from 0.
#pragma once

#include <string>
#include <vector>

#include "base/table.h"

namespace wgr {

struct Annotation {
  std::string file;
  double begin;  // s
  double end;    // s
  int label;
};

// Throws UsageError with file and line for what is no such table.
std::vector<Annotation> read_labels(const std::string& path);

// The same with labels of any kind, as they are written; `label` is 0. Numbers that
// cannot be a gesture's are refused.
struct WordedAnnotation {
  Annotation annotation;
  std::string word;
};
std::vector<WordedAnnotation> read_worded_labels(const std::string& path);

// Refuses a field that is a number, but none that a gesture can have. Words are fine.
void check_label(const TableRow& row, size_t index, const std::string& path);

// The annotations of a table of one recording, t_start,t_end,label: they have no file.
std::vector<Annotation> read_annotations(const std::string& path);

// The tables that read_labels() and read_annotations() read.
std::string labels_text(const std::vector<Annotation>& annotations);
std::string annotations_text(const std::vector<Annotation>& annotations);

}  // namespace wgr
