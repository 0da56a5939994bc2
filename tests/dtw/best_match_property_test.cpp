// Prediction against scoring every template, on a great many small random models in which
// many templates are nearly, or exactly, equally good.
#include "dtw/best_match.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "classifier/Gmodel.h"
#include "support/cases.h"
#include "support/random_points.h"
#include "support/reference_similarity.h"
#include "support/same_bits.h"
#include "support/special_values.h"

using namespace wgr;

namespace {

struct Case {
  explicit Case(std::uint64_t seed) : random(seed), awkward(random) {
    const int kind = random.integer(1, 32);
    k = kind == 1 ? 2 : kind % 2;
    // Long enough, now and then, for a comparison to be given up in its middle.
    longest = random.integer(1, 4) == 1 ? 16 : random.integer(1, 6);
    trace = fresh();
    const int count =
        random.integer(1, 8) == 1 ? random.integer(0, 12) : random.integer(1, 5);
    for (int t = 0; t < count; ++t) {
      // In a random place: which one is found first must not matter.
      const auto place = model.templates.begin() + random.integer(0, t);
      model.templates.insert(place, {0, next_template()});
    }
    // A label names its template.
    int label = 0;
    for (auto& entry : model.templates) entry.first = label++;
    model.nTemplate = random.integer(1, 20) == 1 ? random.integer(0, count) : count;
    model.havegravity = k;
  }

  Points fresh() {
    Points points =
        awkward.trace(random.integer(1, 24) == 1 ? 0 : random.integer(1, longest));
    for (int i = 0; i < k; ++i) points.push_back(awkward.gravity());
    return points;
  }

  // The trace, a template that is there already, or a new one; changed in ways that keep
  // its distance or change it a little.
  Points next_template() {
    const int source = random.integer(0, 5);
    Points points;
    if (source == 0) {
      points = trace;
    } else if (source <= 3 && !model.templates.empty()) {
      const int last = static_cast<int>(model.templates.size()) - 1;
      points = model.templates[static_cast<size_t>(random.integer(0, last))].second;
    } else {
      points = fresh();
    }
    if (points.empty()) return points;
    Point3Df& any = points[static_cast<size_t>(
        random.integer(0, static_cast<int>(points.size()) - 1))];
    switch (random.integer(0, 7)) {
      case 0:
        std::reverse(points.begin(), points.end());
        break;
      case 1:
        any = awkward.nudged(any);
        break;
      case 2:
        for (Point3Df& p : points) p = awkward.nudged(p);
        break;
      case 3:
        for (Point3Df& p : points) p = -1.0 * p;
        break;
      case 4:
        for (Point3Df& p : points) p = {p.y, p.z, p.x};
        break;
      case 5:
        points.insert(points.begin(), points.front());
        break;
      default:
        break;
    }
    return points;
  }

  RandomPoints random;
  AwkwardPoints awkward;
  int k;
  int longest;
  Points trace;
  Gmodel model;
};

}  // namespace

TEST(BestMatchProperty, IsTheFirstOfTheBestOfAllTemplates) {
  const std::uint64_t cases = property_cases();
  std::uint64_t ties = 0;
  std::uint64_t without_winner = 0;
  std::uint64_t minus_zero = 0;
  for (std::uint64_t seed = 1; seed <= cases; ++seed) {
    Case c(seed);
    const Match found = best_match(c.trace, c.model.templates,
                                   static_cast<size_t>(c.model.nTemplate), c.k);
    const reference::Prediction expected = reference::predict(c.model, c.trace, 0);
    const int label = found.winner == nullptr ? 14 : found.winner->first;
    ASSERT_TRUE(label == expected.label && same_bits(found.score, expected.score))
        << "seed " << seed << ", k " << c.k << ", " << c.model.nTemplate
        << " templates: template " << label << " at " << found.score << " for "
        << expected.label << " at " << expected.score;

    without_winner += found.winner == nullptr;
    minus_zero += same_bits(found.score, -0.0);
    for (size_t t = static_cast<size_t>(label) + 1;
         found.winner != nullptr && t < static_cast<size_t>(c.model.nTemplate); ++t) {
      if (reference::similarity(c.trace, c.model.templates[t].second, c.k) ==
          static_cast<float>(found.score)) {
        ++ties;
        break;
      }
    }
  }
  if (enough_cases()) {
    EXPECT_GT(ties, cases / 10);
    EXPECT_GT(without_winner, cases / 100);
    EXPECT_GT(minus_zero, cases / 100);
  }
}
