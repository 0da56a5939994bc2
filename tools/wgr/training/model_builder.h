// Makes a model from training samples, by the library's own routines.
#pragma once

#include <string>
#include <vector>

#include "classifier/Gdata.h"
#include "classifier/Gmodel.h"

struct BuildOptions {
  size_t most_templates = 6;  // per class
  double false_cost = 3.0;    // of an accepted wrong sample, in refused right ones
};

struct ClassReport {
  int label = 0;
  size_t samples = 0;
  size_t templates = 0;
  std::string chosen_by;  // how the templates were found
  double threshold = 0.0;
  size_t right = 0;     // own samples that are named and accepted
  size_t confused = 0;  // own samples that are named as another class
  size_t refused = 0;   // own samples that are named rightly but refused
};

struct BuildReport {
  std::vector<ClassReport> classes;
  size_t background = 0;           // samples
  size_t background_accepted = 0;  // of them, taken for a gesture
};

// A sample is compared with every template but itself. Labels below 0 are background.
// Gravity is used when the samples have it; traces are normalised. Throws UsageError
// when there is nothing to build a model from.
Gmodel build_model(const Gdata& data, const BuildOptions& options, BuildReport& report);
