// Numbers as people write them, and what was probably meant by a word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/suggestion.h"
#include "tools/run_wgr.h"

using namespace wgr;

using Words = std::vector<std::string>;

TEST(Suggestion, CountsWhatMustBeChanged) {
  const struct {
    const char* a;
    const char* b;
    size_t distance;
  } cases[] = {
      {"", "", 0},
      {"", "abc", 3},
      {"abc", "", 3},
      {"rate", "rate", 0},
      {"rate", "rat", 1},
      {"rate", "rates", 1},
      {"rate", "mate", 1},
      {"replay", "replya", 1},  // neighbours swapped
      {"ca", "abc", 3},         // a swap with something put between is not one
      {"kitten", "sitting", 3},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(edit_distance(c.a, c.b), c.distance) << c.a << " " << c.b;
    EXPECT_EQ(edit_distance(c.b, c.a), c.distance) << c.b << " " << c.a;
  }
}

TEST(Suggestion, IsTheNearestCandidateOrNone) {
  const Words candidates = {"--sample-rate", "--mode", "--models"};
  EXPECT_EQ(most_like("--sample-rat", candidates), "--sample-rate");
  EXPECT_EQ(most_like("--model", candidates), "--mode");  // the first of equals
  EXPECT_EQ(most_like("--modesl", candidates), "--models");
  EXPECT_EQ(most_like("--quux", candidates), "");
  EXPECT_EQ(most_like(std::string(100000, '-'), candidates), "");
  EXPECT_EQ(did_you_mean("--sample-rat", candidates), "; did you mean --sample-rate?");
  EXPECT_EQ(did_you_mean("", candidates), "");
}

TEST(Numbers, AreReadWholeAndInTheirRangeAlone) {
  const NumberRange share = number_from(0, 1);
  EXPECT_EQ(number_of("0.25", share), 0.25);
  EXPECT_EQ(number_of("-0", share), 0.0);
  EXPECT_EQ(number_of("1.0000001", share), std::nullopt);
  EXPECT_EQ(number_of("0.25 ", share), std::nullopt);
  EXPECT_EQ(number_of("1e-400", share), std::nullopt);
  EXPECT_EQ(number_of("0", number_above(0, 1)), std::nullopt);
  EXPECT_EQ(number_of("5e-324", number_above(0, 1)), 5e-324);
  EXPECT_EQ(number_of("1.0", whole_from(0, 1)), std::nullopt);
  EXPECT_FALSE(whole_from(0, 10).holds(2.5));
  EXPECT_TRUE(whole_from(0, 10).holds(2.0));
}

TEST(Numbers, AreSaidWithoutAnExponentAndNotTooLong) {
  EXPECT_EQ(whole_from(1, 100000).text(), "a whole number from 1 to 100000");
  EXPECT_EQ(number_above(0, 0.5).text(), "a number above 0 and up to 0.5");
  EXPECT_EQ(wanted(number_from(0, 1), ""),
            "a number from 0 to 1 is required, not nothing");
}

TEST(Numbers, NearestIntIsAnIntForEveryDouble) {
  EXPECT_EQ(nearest_int(2.5), 3);
  EXPECT_EQ(nearest_int(-2.4), -2);
  EXPECT_EQ(nearest_int(1e300), 2147483647);
  EXPECT_EQ(nearest_int(-1e300), -2147483647 - 1);
  EXPECT_EQ(nearest_int(2147483646.6), 2147483647);
  EXPECT_EQ(nearest_int(std::nan("")), 0);
}
