#include "support/reference_clustering.h"

#include <algorithm>

namespace reference {

using Matrix = std::vector<float>;

float lower_median(std::vector<float> values) {
  std::sort(values.begin(), values.end());
  return values[(values.size() - 1) / 2];
}

std::vector<float> off_diagonal(const std::vector<float>& s, int n) {
  std::vector<float> values;
  for (int row = 0; row < n; ++row) {
    for (int column = 0; column < n; ++column) {
      if (row != column) values.push_back(s[row * n + column]);
    }
  }
  return values;
}

// Largest entry of each row and its column, the first of equals.
static void row_maxima(const Matrix& m, int n, std::vector<float>& value,
                       std::vector<int>& column) {
  value.assign(n, 0.0f);
  column.assign(n, 0);
  for (int i = 0; i < n; ++i) {
    value[i] = m[i * n];
    column[i] = 0;
    for (int j = 1; j < n; ++j) {
      if (m[i * n + j] > value[i]) {
        value[i] = m[i * n + j];
        column[i] = j;
      }
    }
  }
}

static void damp(Matrix& now, const Matrix& previous, double lambda) {
  for (size_t e = 0; e < now.size(); ++e) {
    const float difference = previous[e] - now[e];
    const double product = static_cast<double>(difference) * lambda;
    const double sum = static_cast<double>(now[e]) + product;
    now[e] = static_cast<float>(sum);
  }
}

Clustering propagate(const std::vector<float>& s, int n, int maxits, int convits,
                     double dampfact) {
  Clustering answer = {0, {}, "", 0, false};
  Matrix r(n * n, 0.0f);
  Matrix a(n * n, 0.0f);
  std::vector<int> history(n * convits, 0);  // n rows, convits columns
  std::vector<float> y, y2;
  std::vector<int> c, c2;

  for (int iteration = 0;; ++iteration) {
    answer.iterations = iteration + 1;

    // Responsibilities.
    const Matrix r_before = r;
    Matrix as(n * n);
    for (int e = 0; e < n * n; ++e) as[e] = a[e] + s[e];
    row_maxima(as, n, y, c);
    for (int i = 0; i < n; ++i) as[i * n + c[i]] = -3.4028235e+38f;
    row_maxima(as, n, y2, c2);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) r[i * n + j] = s[i * n + j] - y[i];
    }
    for (int i = 0; i < n; ++i) r[i * n + c[i]] = s[i * n + c[i]] - y2[i];
    damp(r, r_before, dampfact);

    // Availabilities.
    const Matrix a_before = a;
    Matrix rp = r;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        if (i != j && !(rp[i * n + j] > 0.0f)) rp[i * n + j] = 0.0f;
      }
    }
    for (int j = 0; j < n; ++j) {
      float sum = 0.0f;
      for (int i = 0; i < n; ++i) sum = sum + rp[i * n + j];
      for (int i = 0; i < n; ++i) a[i * n + j] = sum - rp[i * n + j];
    }
    std::vector<float> diagonal(n);
    for (int i = 0; i < n; ++i) diagonal[i] = a[i * n + i];
    for (int e = 0; e < n * n; ++e) {
      if (a[e] >= 0.0f) a[e] = 0.0f;
    }
    for (int i = 0; i < n; ++i) a[i * n + i] = diagonal[i];
    damp(a, a_before, dampfact);

    // Decisions.
    int exemplars = 0;
    for (int i = 0; i < n; ++i) {
      const float evidence = a[i * n + i] + r[i * n + i];
      const int decision = evidence > 0.0f ? 1 : 0;
      exemplars += decision;
      history[i * convits + iteration % convits] = decision;
    }
    if (iteration < maxits && iteration < convits) continue;

    bool converged = true;
    for (int i = 0; i < n; ++i) {
      int sum = 0;
      for (int h = 0; h < convits; ++h) sum += history[i * convits + h];
      if (sum != convits && sum != 0) converged = false;
    }
    if (converged && exemplars > 0) break;
    if (iteration == maxits) {
      if (converged) break;
      answer.result = -1;
      answer.printed =
          "    Warning: Algorithm did not converge. The similarities\n"
          "    may contain degeneracies - add noise to the similarities\n"
          "    to remove degeneracies. To monitor the net similarity,\n"
          "    activate plotting. Also, consider increasing maxits and\n"
          "    if necessary dampfact.\n"
          "\n";
      return answer;
    }
  }

  Matrix sum(n * n);
  for (int e = 0; e < n * n; ++e) sum[e] = a[e] + r[e];
  for (int i = 0; i < n; ++i) {
    if (sum[i * n + i] > 0.0f) ++answer.result;
  }
  if (answer.result == 0) {
    answer.printed = "    Warning: Number of cluster is zeros\n";
    return answer;
  }
  row_maxima(sum, n, y, answer.idx);
  for (const int chosen : answer.idx) {
    if (!(sum[chosen * n + chosen] > 0.0f)) answer.odd_choice = true;
  }
  return answer;
}

}  // namespace reference
