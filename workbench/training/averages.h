// Templates that are the average of several examples, each warped onto it.
//
// F. Petitjean, A. Ketterlin and P. Gançarski, "A global averaging method for dynamic
// time warping, with applications to clustering", Pattern Recognition 44 (2011): every
// point of the average becomes the mean of all points that the warping paths align to it,
// and again with the new paths. Paths and costs are the classifier's own, and an example
// weighs as its score does: by the reciprocal of its path's length. An average is less
// strong than the examples where they differ, and stays so: scaled to unit strength, it
// would be further from all of them.
#pragma once

#include <cstddef>
#include <vector>

#include "base/points.h"
#include "training/exemplars.h"

namespace wgr {

// A template that represents `examples` of those it was made from.
struct Cluster {
  Points trace;
  size_t around = 0;  // index of the example that the cluster started from
  size_t examples = 0;
};

// One round of averaging: the start with every point replaced as above, and, of traces
// with k = 1 trailing points, with the mean of the gravity directions as the last. Points
// are as many as the start's. `members` is not empty; all have motion points.
Points average_onto(const std::vector<const Points*>& members, const Points& start,
                    int k);

// k-means: at most `count` averages, each of the traces that score best with it, from the
// `count` traces that are picked one by one (see pick_one_by_one()). Averages that no
// trace is nearest to are left out. `matrix` holds the traces' similarities. Of averages
// that score alike the first counts.
std::vector<Cluster> cluster_averages(const std::vector<const Points*>& traces,
                                      const ClassMatrix& matrix, size_t count, int k);

// The number of the average that scores best with the trace, of equals the first. There
// is one at least, and the trace has motion points.
size_t nearest_average(const Points& trace, const std::vector<Cluster>& clusters, int k);

// Each point a quarter of both neighbours and half of itself; those at the ends are their
// own neighbours. Trailing points stay.
Points smoothed(const Points& trace, int k);

}  // namespace wgr
