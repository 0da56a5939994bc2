// Templates moved to where they part the classes.
//
// Generalised learning vector quantisation: A. Sato and K. Yamada, "Generalized learning
// vector quantization", Advances in Neural Information Processing Systems 8 (1996); with
// warping, B. Jain and D. Schultz, "Asymmetric learning vector quantization for efficient
// nearest neighbor classification in dynamic time warping spaces", Pattern Recognition 76
// (2018). For an example x with the distances d+ to the nearest template of its class and
// d- to the nearest of another, the cost is f(mu), mu = (d+ - d-) / (d+ + d-); a step
// against its gradient draws the first template to x, along their warping path,
//   w+ <- w+ + rate * f'(mu) * d- / (d+ + d-)^2 * (x - w+)
// and pushes the second away with d+ in the place of d-.
#pragma once

#include <vector>

#include "base/points.h"

namespace wgr {

struct LabelledTrace {
  size_t class_index;
  const Points* trace;
};

struct MovedTemplate {
  size_t class_index;
  Points* trace;
};

// Goes through the examples in their order, several times, in ever smaller steps: longer
// ones for examples of small classes, to twice as long, and shorter ones for those of
// large. Distances are the classifier's scores. Without templates of two classes, or
// where an example scores alike everything, nothing moves.
void adapt_templates(const std::vector<LabelledTrace>& examples,
                     const std::vector<MovedTemplate>& templates, int k);

// One step for one example: the factors of a template's move towards it, f'(mu) d- / (d+
// + d-)^2, and of the other's away from it.
struct StepFactors {
  double own = 0.0;
  double other = 0.0;
};
StepFactors step_factors(double own_distance, double other_distance);

// Moves a template's points towards those of the example that their path lays upon them,
// by `rate` of each difference; away for a negative rate. Gravity moves as a direction.
void move_towards(const Points& example, double rate, int k, Points& moved);

}  // namespace wgr
