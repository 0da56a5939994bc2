#include "dtw/similarity_matrix.h"

namespace wgr {

void similarity_matrix(const std::vector<Points>& traces, int k, float* matrix) {
  const size_t n = traces.size();
  const auto put = [&](size_t i, size_t j, float score) { matrix[i * n + j] = score; };

  std::vector<size_t> moving;
  for (size_t i = 0; i < n; ++i) {
    put(i, i, 0.0f);
    if (motion_points(traces[i], k) > 0) {
      moving.push_back(i);
      continue;
    }
    for (size_t j = 0; j < n; ++j) {
      if (j == i) continue;
      put(i, j, dtw_similarity(traces[i], traces[j], k));
      put(j, i, dtw_similarity(traces[j], traces[i], k));
    }
  }
  // Traces that are compared at once should be of like length.
  std::sort(moving.begin(), moving.end(), [&](size_t a, size_t b) {
    return motion_points(traces[a], k) < motion_points(traces[b], k);
  });

  BatchedDtw lanes;
  const size_t width = BatchedDtw::width();
  for (size_t first = 0; first < moving.size(); first += width) {
    const size_t end = std::min(first + width, moving.size());
    score_group(traces, k, moving, first, end, lanes, put);
  }
}

}  // namespace wgr
