// Affinity propagation: groups points by their similarities, one exemplar a group.
//
// B. J. Frey and D. Dueck, "Clustering by passing messages between data points",
// Science 315 (2007).
#pragma once

#include "base/exact_arithmetic.h"
#include "cluster/vmedian.h"

class AP {
 public:
  // maxits      iterations at most, less one; at least 1
  // convits     iterations over which all decisions must hold; at least 1
  // preference  times the median similarity gives every point's self-similarity; at
  //             least 0; with negative similarities larger values mean fewer clusters
  // dampfact    share of the old message in the new; from 0.5 to below 1
  // Ends the process with exit status 0, after a message, for any other value.
  AP(int maxits, int convits, double preference, double dampfact);

  // Clusters n points. s is n x n, row-major, entry i * n + j the similarity of i to
  // j; its diagonal is overwritten. idx receives the exemplar of each point, on
  // success only. Returns the number of exemplars; 0 when none emerged or n < 2, -1
  // when the iteration did not converge.
  int cluster(float* s, int* idx, int n);

  int maxits;
  int convits;
  double preference;
  double dampfact;
};
