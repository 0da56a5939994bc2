// The template classifier: finds the template that a motion resembles most.
#pragma once

#include <vector>

#include "base/points.h"
#include "classifier/Gdata.h"
#include "classifier/Gmodel.h"

class HGR {
 public:
  // Starts with an empty model that normalises when n > 0.
  explicit HGR(int n);
  ~HGR();
  HGR(const HGR&) = delete;
  HGR& operator=(const HGR&) = delete;

  // Scales all but the last k points to unit root-mean-square length. Returns the
  // root mean square they had: NaN when there are none, -0.0 when size < k.
  double normalize(std::vector<Point3Df>& trace, int k);

  // How alike two traces are, by dynamic time warping: minus the mean squared
  // distance along the best path, so 0 at best. With k >= 1 the first of the k
  // trailing points is a gravity vector, and the squared distance of the two
  // directions (0 to 4) is taken off. Minus infinity when a trace has no points
  // before the trailing ones, or k is negative.
  float cal_simlarity(const std::vector<Point3Df>& a, const std::vector<Point3Df>& b,
                      int k);

  // Returns the label of the template most similar to `trace`, the first of equals;
  // kNoGesture when no template is similar at all. A normalising model leaves the
  // trace scaled. Outputs may be null:
  // strength     root mean square of the trace as given
  // score        the best similarity; the most negative double when there is none
  // reject_flag  1 when the score does not exceed its class's threshold, else 0;
  //              left alone when the label has no threshold
  int predict(std::vector<Point3Df>& trace, double* strength, double* score,
              int* reject_flag);

  // All similarities of n traces, n x n, row-major: entry i * n + j is the similarity
  // of traces i and j, in this order; the diagonal is 0. The caller frees it with
  // delete[].
  float* cal_sim_matrix(const std::vector<std::vector<Point3Df>>& traces, int k);

  Gmodel* model;  // owned
};
