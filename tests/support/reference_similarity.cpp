#include "support/reference_similarity.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace wgr;

namespace reference {

double normalize(Sequence& sequence, int k) {
  const long long c = static_cast<long long>(sequence.size()) - k;
  if (c < 1) return 1.0 / (1.0 / std::sqrt(0.0 / static_cast<double>(c)));
  // With a negative k there are fewer points than are counted.
  const long long points = std::min(c, static_cast<long long>(sequence.size()));
  double s = 0.0;
  for (int i = 0; i < points; ++i) {
    const double x = sequence[i].x;
    const double y = sequence[i].y;
    const double z = sequence[i].z;
    s += x * x + y * y + z * z;
  }
  const double r = std::sqrt(s / static_cast<double>(c));
  const double f = 1.0 / r;
  for (int i = 0; i < points; ++i) {
    sequence[i].x *= f;
    sequence[i].y *= f;
    sequence[i].z *= f;
  }
  return 1.0 / f;
}

static double d(const Point3Df& p, const Point3Df& q) {
  const double y = p.y - q.y;
  const double x = p.x - q.x;
  const double z = p.z - q.z;
  return y * y + x * x + z * z;
}

static Point3Df unit(const Point3Df& g) {
  const double length = std::sqrt(g.y * g.y + g.x * g.x + g.z * g.z);
  const double inverse = 1.0 / length;
  return {g.x * inverse, g.y * inverse, g.z * inverse};
}

float similarity(const Sequence& a, const Sequence& b, int k) {
  if (k < 0) return -std::numeric_limits<float>::infinity();
  const int na = static_cast<int>(a.size()) - k;
  const int nb = static_cast<int>(b.size()) - k;
  if (na < 1 || nb < 1) return -std::numeric_limits<float>::infinity();

  // Cell (i, j) is entry j * na + i.
  std::vector<double> cost(na * nb, 0.0);
  std::vector<int> back(na * nb, 0);

  cost[0] = d(a[0], b[0]);
  for (int i = 1; i <= na - 1; ++i) cost[i] = cost[i - 1] + d(a[i], b[0]);
  for (int j = 1; j <= nb - 1; ++j) cost[j * na] = cost[(j - 1) * na] + d(a[0], b[j]);

  for (int j = 1; j <= nb - 1; ++j) {
    for (int i = 1; i <= na - 1; ++i) {
      const int entry = j * na + i;
      const int up_entry = (j - 1) * na + i;
      const int left_entry = j * na + i - 1;
      const int diagonal_entry = (j - 1) * na + i - 1;
      const double up = cost[up_entry];
      const double left = cost[left_entry];
      const double diagonal = cost[diagonal_entry];

      double taken;
      if (up < left) {
        if (up < diagonal) {
          taken = up;
          back[entry] = up_entry;
        } else {
          taken = diagonal;
          back[entry] = -diagonal_entry;
        }
      } else {
        if (left < diagonal) {
          taken = left;
          back[entry] = left_entry;
        } else {
          taken = diagonal;
          back[entry] = -diagonal_entry;
        }
      }
      cost[entry] = taken + d(a[i], b[j]);
    }
  }

  int length = na + nb - 1;
  int e = na * nb - 1;
  while (e > 0) {
    e = back[e];
    if (e < 0) {
      e = -e;
      length = length - 1;
    }
  }

  const double total = cost[na * nb - 1];
  if (k < 1) return static_cast<float>(-total / static_cast<double>(length));
  const double g2 = d(unit(a[na]), unit(b[nb]));
  return -static_cast<float>(total / static_cast<double>(length) + g2);
}

Prediction predict(const Gmodel& model, Sequence& trace, int reject_flag) {
  const int g = model.havegravity;
  Prediction p = {14, 0.0, -1.7976931348623157e308, reject_flag};

  if (model.normalize == 0) {
    Sequence copy = trace;
    p.strength = normalize(copy, g);
  } else {
    p.strength = normalize(trace, g);
  }

  std::vector<float> score(model.templates.size(), 0.0f);
  for (int t = 0; t < model.nTemplate; ++t)
    score[t] = similarity(trace, model.templates[t].second, g);

  double best = -1.7976931348623157e308;
  int winner = -1;
  for (int t = 0; t < model.nTemplate; ++t) {
    if (static_cast<double>(score[t]) > best) {
      best = static_cast<double>(score[t]);
      winner = t;
    }
  }
  if (winner >= 0) {
    p.score = static_cast<double>(score[winner]);
    p.label = model.templates[winner].first;
  }

  if (model.class_thresholds.empty()) {
    p.reject_flag = 0;
  } else if (winner >= 0) {
    for (int c = 0; c < model.nclasses; ++c) {
      if (model.class_labels[c] != p.label) continue;
      if (p.score <= model.class_thresholds[c]) {
        p.reject_flag = 1;
      } else {
        p.reject_flag = 0;
      }
      break;
    }
  }
  return p;
}

std::vector<float> similarity_matrix(const std::vector<Sequence>& traces, int k) {
  const int n = static_cast<int>(traces.size());
  std::vector<float> matrix(n * n, 0.0f);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      if (i != j) matrix[i * n + j] = similarity(traces[i], traces[j], k);
    }
  }
  return matrix;
}

}  // namespace reference
