#include "training/similarities.h"

#include <algorithm>
#include <limits>

#include "base/progress.h"
#include "base/text.h"
#include "dtw/similarity_matrix.h"
#include "training/parallel.h"

namespace wgr {

static constexpr float kUnlike = -std::numeric_limits<float>::infinity();

namespace {

// The traces that can be compared: first those that are no templates, then the templates
// from `columns_begin` on, short ones before long ones.
struct Line {
  std::vector<size_t> order;
  size_t columns_begin;
};

}  // namespace

static Line line_up(const std::vector<Points>& traces, size_t columns, int k) {
  Line line;
  for (size_t i = columns; i < traces.size(); ++i) {
    if (motion_points(traces[i], k) > 0) line.order.push_back(i);
  }
  line.columns_begin = line.order.size();
  for (size_t i = 0; i < columns; ++i) {
    if (motion_points(traces[i], k) > 0) line.order.push_back(i);
  }
  std::sort(line.order.begin() + static_cast<std::ptrdiff_t>(line.columns_begin),
            line.order.end(), [&](size_t a, size_t b) {
              return motion_points(traces[a], k) < motion_points(traces[b], k);
            });
  return line;
}

Similarities::Similarities(const std::vector<Points>& traces, size_t columns, int k,
                           unsigned threads, bool quiet, Advance* advance)
    : columns_(columns), scores_(traces.size() * columns, kUnlike) {
  for (size_t i = 0; i < columns; ++i) scores_[i * columns + i] = 0.0f;
  const Line line = line_up(traces, columns, k);
  const size_t width = BatchedDtw::width();
  const size_t groups = (line.order.size() - line.columns_begin + width - 1) / width;
  const auto end_of = [&](size_t group) {
    return std::min(line.columns_begin + (group + 1) * width, line.order.size());
  };
  // A group is compared with all before it: so it costs as much as there are.
  size_t all = 0;
  for (size_t group = 0; group < groups; ++group) all += end_of(group);
  Progress progress(fmt::format("comparing {} examples", traces.size()), all);
  if (advance != nullptr) advance->all = all;

  // Groups are handed out one by one, the costly ones first: which thread scores a group
  // changes nothing in it.
  share_out(groups, threads, [&] {
    return [&, lanes = BatchedDtw()](size_t part) mutable {
      const size_t group = groups - 1 - part;
      const size_t first = line.columns_begin + group * width;
      const size_t end = end_of(group);
      const auto put = [&](size_t i, size_t j, float score) {
        if (j < columns) scores_[i * columns + j] = score;
      };
      score_group(traces, k, line.order, first, end, lanes, put);
      if (!quiet) progress.add(end);
      if (advance != nullptr) advance->done += end;
    };
  });
}

}  // namespace wgr
