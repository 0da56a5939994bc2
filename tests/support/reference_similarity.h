// Scaling, similarity and prediction at their slowest and plainest, to compare with:
// whole tables, back pointers kept as entry numbers, and the path walked back.
#pragma once

#include <vector>

#include "WgrTypes.h"
#include "classifier/Gmodel.h"

namespace reference {

using Sequence = std::vector<Point3Df>;

double normalize(Sequence& sequence, int k);

float similarity(const Sequence& a, const Sequence& b, int k);

struct Prediction {
  int label;
  double strength;
  double score;
  int reject_flag;
};

// `reject_flag` is the flag's value before the call. Scales the trace when the model
// normalises.
Prediction predict(const Gmodel& model, Sequence& trace, int reject_flag);

std::vector<float> similarity_matrix(const std::vector<Sequence>& traces, int k);

}  // namespace reference
