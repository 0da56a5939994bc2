// Searches the exemplars of all classes: for 24 preferences of affinity propagation, and
// grown by examples that were misclassified.
//
// Compared are sets of templates, one set a preference, by the share of examples whose
// nearest template is of their class, leaving out the templates of the example's own
// group. Of the sets within the tolerance of the best the smallest is chosen, of equally
// small ones the most accurate, then the one of the least preference.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "training/exemplars.h"
#include "training/similarities.h"

namespace wgr {

struct SweepStep {
  double preference = 0.0;
  size_t templates = 0;
  double accuracy = 0.0;     // share of examples that others classify right
  bool in_question = false;  // no class has too many templates
  bool chosen = false;
  bool grown = false;  // by templates for examples that were misclassified
};

struct ExemplarSearch {
  const Similarities& similarities;
  std::vector<std::vector<size_t>> own;  // examples of each class
  std::vector<size_t> group;  // of every example; those of one group never judge another
  std::optional<size_t> most_templates;  // a class; without it the sweep
  double tolerance;                      // share of examples
  double most_share;                     // of a class's examples that may be templates
};

struct ClassTemplate {
  size_t example;
  size_t class_index;
};

struct FoundExemplars {
  std::vector<ClassTemplate> templates;
  std::vector<std::string> how;  // of each class, in words
  std::vector<SweepStep> sweep;  // empty with most_templates
};

// Examples of a class that are clustered, at most: more would cost minutes and gain
// nothing.
inline constexpr size_t kMostClustered = 200;

// Of the examples that many, evenly, or all.
std::vector<size_t> thinned_out(const std::vector<size_t>& own);

FoundExemplars find_exemplars(const ExemplarSearch& search);

// The similarities of some examples with each other.
ClassMatrix matrix_of(const Similarities& all, const std::vector<size_t>& own);

// Templates that a class of so many examples may have.
size_t most_of(size_t examples, double most_share);

}  // namespace wgr
