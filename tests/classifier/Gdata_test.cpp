#include "classifier/Gdata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/comma_locale.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "support/same_bits.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

static const std::string kTwoRecords =
    "3 2 0.0 9.8 0.0\n"
    "1 2\n"
    "3 4\n"
    "5 6\n"
    "5 2 0.0 0.0 -9.7\n"
    "-0.25 3e2\n"
    "7 8\n"
    "9 10\n";

class GdataTest : public ::testing::Test {
 protected:
  void load(const std::string& content) { load_into(data, content); }

  void load_into(Gdata& set, const std::string& content) {
    write_file(path, content);
    Capture capture;
    const bool loaded = set.load(path.c_str());
    EXPECT_EQ(capture.finish(), "");
    EXPECT_TRUE(loaded);
  }

  // What adding prints.
  std::string add(Gdata& to, Gdata* other) {
    Capture capture;
    to.add(other);
    return capture.finish();
  }

  int label(size_t r) const { return data.samples.at(r).label; }
  const Points& trace(size_t r) const { return data.samples.at(r).trace; }

  TempDirectory directory;
  const std::string path = directory.file("train.txt");
  Gdata data;
};

TEST_F(GdataTest, StartsEmptyAndOfNoKind) {
  EXPECT_EQ(data.kind, -1);
  EXPECT_THAT(data.samples, IsEmpty());
  EXPECT_THAT(data.class_counts, IsEmpty());
}

TEST_F(GdataTest, ARecordThatNamesNoLabelHasLabelZero) {
  load("\n\n\n\n");
  ASSERT_EQ(data.samples.size(), 1u);
  EXPECT_EQ(label(0), 0);
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(0, 1)));
}

TEST_F(GdataTest, LoadsRecordsWithTheirGravityVectors) {
  load(kTwoRecords);
  EXPECT_EQ(data.kind, 1);
  ASSERT_EQ(data.samples.size(), 2u);
  EXPECT_EQ(label(0), 3);
  EXPECT_TRUE(same_bits(trace(0), Points{{1, 3, 5}, {2, 4, 6}, {0, 9.8, 0}}));
  EXPECT_EQ(label(1), 5);
  EXPECT_TRUE(same_bits(trace(1), Points{{-0.25, 7, 9}, {300, 8, 10}, {0, 0, -9.7}}));
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 1), Pair(5, 1)));
}

// Squared length 9. The later record's triple counts for nothing then.
TEST_F(GdataTest, LoadsRecordsWithoutGravityWhenTheFirstTripleIsTooShort) {
  std::string content = kTwoRecords;
  content.replace(8, 3, "3.0");
  load(content);
  EXPECT_EQ(data.kind, 0);
  EXPECT_TRUE(same_bits(trace(0), Points{{1, 3, 5}, {2, 4, 6}}));
  EXPECT_TRUE(same_bits(trace(1), Points{{-0.25, 7, 9}, {300, 8, 10}}));
}

TEST_F(GdataTest, TakesAFirstTripleFrom5To1000AsGravity) {
  const struct {
    const char* triple;
    int kind;
  } cases[] = {
      {"5 0 0", 1},
      {"0 -5 0", 1},
      {"3 0 4", 1},
      {"4.999999 0 0", 0},
      {"0 0 5.000001", 1},
      {"0 0 1000", 1},
      {"600 -800 0", 1},
      {"0 1000.0001 0", 0},
      {"0 999.9999 0", 1},
      {"0 0 0", 0},
      {"-1e200 0 0", 0},
      // No triple, or not all of it readable.
      {"", 0},
      {"9.8", 0},
      {"0 9.8", 0},
      {"0 9.8 x", 0},
      {"x 9.8 9.8", 0},
      {"9.8 9.8 -", 0},
  };
  for (const auto& c : cases) {
    Gdata fresh;
    load_into(fresh, "3 1 " + std::string(c.triple) + "\n1\n2\n3\n");
    EXPECT_EQ(fresh.kind, c.kind) << '"' << c.triple << '"';
    ASSERT_EQ(fresh.samples.size(), 1u);
    EXPECT_EQ(fresh.samples[0].trace.size(), c.kind == 1 ? 2u : 1u) << c.triple;
    EXPECT_TRUE(same_bits(fresh.samples[0].trace[0], {1, 2, 3})) << c.triple;
  }
}

// An absent triple is out of range whatever an earlier load left behind.
TEST_F(GdataTest, DecidesTheKindAnewForEachLoad) {
  load("3 0 0 9.8 0\n\n\n\n");
  EXPECT_EQ(data.kind, 1);
  load("3 0\n\n\n\n");
  EXPECT_EQ(data.kind, 0);
  EXPECT_THAT(trace(0), IsEmpty());
  load("3 0 0 9.8 0\n\n\n\n");
  EXPECT_EQ(data.kind, 1);
  EXPECT_TRUE(same_bits(trace(0), Points{{0, 9.8, 0}}));
}

TEST_F(GdataTest, ReadsLaterTriplesWithoutTestingTheirLength) {
  load(
      "3 1 0 9.8 0\n1\n2\n3\n4 1 0 0.5 0\n1\n2\n3\n4 1 5000 0 0\n1\n2\n3\n4 "
      "1\n1\n2\n3\n");
  ASSERT_EQ(data.samples.size(), 4u);
  EXPECT_TRUE(same_bits(trace(1).back(), {0, 0.5, 0}));
  EXPECT_TRUE(same_bits(trace(2).back(), {5000, 0, 0}));
  EXPECT_TRUE(same_bits(trace(3), Points{{1, 2, 3}, {0, 0, 0}}));
}

TEST_F(GdataTest, CountsLabelsInTheOrderOfTheirFirstAppearance) {
  std::string content;
  for (const char* label : {"9", "2", "9", "-4", "2", "9"})
    content += std::string(label) + " 0\n\n\n\n";
  load(content);
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(9, 3), Pair(2, 2), Pair(-4, 1)));
}

TEST_F(GdataTest, LoadingTwiceReplacesTheSamplesAndDoublesTheCounts) {
  load(kTwoRecords);
  load(kTwoRecords);
  ASSERT_EQ(data.samples.size(), 2u);
  EXPECT_TRUE(same_bits(trace(0), Points{{1, 3, 5}, {2, 4, 6}, {0, 9.8, 0}}));
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 2), Pair(5, 2)));
}

TEST_F(GdataTest, LoadingAShorterFileDropsTheSurplusSamples) {
  load(kTwoRecords);
  load("7 1\n1\n2\n3\n");
  ASSERT_EQ(data.samples.size(), 1u);
  EXPECT_EQ(label(0), 7);
  EXPECT_TRUE(same_bits(trace(0), Points{{1, 2, 3}}));
}

TEST_F(GdataTest, AnEmptyFileHoldsNoSamplesOfNoKind) {
  for (const char* content : {"", "\n", "1 1\n2\n"}) {
    Gdata fresh;
    fresh.kind = 1;
    load_into(fresh, content);
    EXPECT_EQ(fresh.kind, -1) << '"' << content << '"';
    EXPECT_THAT(fresh.samples, IsEmpty()) << '"' << content << '"';
    EXPECT_THAT(fresh.class_counts, IsEmpty()) << '"' << content << '"';
  }
}

// The read that meets the end counts as a line.
TEST_F(GdataTest, CountsRecordsFromTheNumberOfLines) {
  const struct {
    int lines;
    bool last_break;
    size_t records;
  } cases[] = {{3, false, 0}, {3, true, 1}, {4, false, 1}, {4, true, 1},
               {5, true, 1},  {6, true, 1}, {7, true, 2},  {7, false, 1},
               {8, false, 2}, {8, true, 2}, {11, true, 3}};
  for (const auto& c : cases) {
    std::string content;
    for (int i = 0; i < c.lines; ++i) content += i % 4 == 0 ? "1 1\n" : "5\n";
    if (!c.last_break) content.pop_back();
    Gdata fresh;
    load_into(fresh, content);
    EXPECT_EQ(fresh.samples.size(), c.records)
        << c.lines << " lines, last one " << (c.last_break ? "with" : "without")
        << " its line break";
  }
}

TEST_F(GdataTest, ARecordWithoutItsLastLineHasZerosForZ) {
  load("3 1\n1\n2\n3\n4 1\n1\n2\n");
  ASSERT_EQ(data.samples.size(), 2u);
  EXPECT_TRUE(same_bits(trace(1), Points{{1, 2, 0}}));
}

// The element is there from the load before, and keeps what is not read anew.
TEST_F(GdataTest, MissingValuesKeepWhatTheElementHeld) {
  load("3 2\n1 2\n3 4\n5 6\n");
  load("3 3\n10\n30 x 50\n50 60 70 80 90\n");
  EXPECT_TRUE(same_bits(trace(0), Points{{10, 30, 50}, {2, 0, 60}, {0, 0, 70}}));
}

TEST_F(GdataTest, ARecordWithoutAReadableCountHasNoValues) {
  for (const char* head : {"7", "7 x", "7 x 0 9.8 0"}) {
    load(std::string(head) + "\n1 2 3\n4\n5\n8 1\n1\n2\n3\n");
    EXPECT_EQ(data.kind, 0) << head;
    EXPECT_EQ(label(0), 7) << head;
    EXPECT_THAT(trace(0), IsEmpty()) << head;
    EXPECT_TRUE(same_bits(trace(1), Points{{1, 2, 3}})) << head;
  }
  load("x 3 0 9.8 0\n1 2 3\n4\n5\n");
  EXPECT_EQ(label(0), 0);
  EXPECT_THAT(trace(0), IsEmpty());
}

// In a set with gravity such a record still has its gravity point.
TEST_F(GdataTest, ALaterRecordWithoutACountKeepsOnlyItsGravityPoint) {
  load("3 1 0 9.8 0\n1\n2\n3\n\n1\n2\n3\n");
  EXPECT_EQ(trace(1).size(), 1u);
}

TEST_F(GdataTest, SkipsAnyWhiteSpaceBetweenValues) {
  load("  3\t2   0 9.8\t0\r\n\t1  2\r\n3 4 \r\n 5 6\r\n");
  EXPECT_TRUE(same_bits(trace(0), Points{{1, 3, 5}, {2, 4, 6}, {0, 9.8, 0}}));
}

TEST_F(GdataTest, ReadsLongLinesInFull) {
  for (const int count : {2047, 2048, 2049, 50000}) {  // 4094, 4096, ... characters
    std::string line;
    for (int i = 0; i < count - 1; ++i) line += "1 ";
    line += "7 ";
    Gdata fresh;
    load_into(fresh, "3 " + std::to_string(count) + "\n" + line + "\n" + line + "\n" +
                         line + "\n4 1\n1\n2\n3\n");
    ASSERT_EQ(fresh.samples.size(), 2u) << count;
    ASSERT_EQ(fresh.samples[0].trace.size(), static_cast<size_t>(count));
    EXPECT_TRUE(same_bits(fresh.samples[0].trace.back(), {7, 7, 7})) << count;
    EXPECT_TRUE(same_bits(fresh.samples[1].trace, Points{{1, 2, 3}})) << count;
  }
}

TEST_F(GdataTest, ReadsTheSameInAnyLocale) {
  const CommaLocale comma;
  load("3000 1 0.0 9.8 0.0\n1.5\n2.25\n1234567\n");
  EXPECT_EQ(label(0), 3000);
  EXPECT_TRUE(same_bits(trace(0), Points{{1.5, 2.25, 1234567}, {0, 9.8, 0}}));
}

TEST_F(GdataTest, SaysWhichFileItCannotOpenAndKeepsItsSamples) {
  load(kTwoRecords);
  const std::string missing = directory.file("100%s missing");
  Capture capture;
  const bool loaded = data.load(missing.c_str());
  EXPECT_EQ(capture.finish(), "\nError: Cann't opening file " + missing + "\n");
  EXPECT_FALSE(loaded);
  EXPECT_EQ(data.kind, 1);
  EXPECT_EQ(data.samples.size(), 2u);
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 1), Pair(5, 1)));
}

TEST_F(GdataTest, AddsSamplesBehindItsOwnAndMergesTheCounts) {
  load(kTwoRecords);
  Gdata other;
  load_into(other, "5 1 0 0 9.9\n1\n2\n3\n8 1 0 0 9.9\n4\n5\n6\n5 0 0 0 9\n\n\n\n");
  EXPECT_EQ(add(data, &other), "");
  ASSERT_EQ(data.samples.size(), 5u);
  EXPECT_EQ(label(1), 5);
  EXPECT_EQ(label(2), 5);
  EXPECT_TRUE(same_bits(trace(2), Points{{1, 2, 3}, {0, 0, 9.9}}));
  EXPECT_EQ(label(3), 8);
  EXPECT_TRUE(same_bits(trace(3), Points{{4, 5, 6}, {0, 0, 9.9}}));
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 1), Pair(5, 3), Pair(8, 1)));
  // The other is as it was.
  EXPECT_EQ(other.samples.size(), 3u);
  EXPECT_THAT(other.class_counts, ElementsAre(Pair(5, 2), Pair(8, 1)));
}

TEST_F(GdataTest, DoesNotMergeSetsOfDifferentKinds) {
  Gdata plain;
  load_into(plain, "5 1\n1\n2\n3\n");
  load(kTwoRecords);
  for (const auto& [to, other] : {std::pair(&plain, &data), {&data, &plain}}) {
    EXPECT_EQ(add(*to, other), "datas don't match!\n");
    EXPECT_EQ(plain.kind, 0);
    EXPECT_EQ(plain.samples.size(), 1u);
    EXPECT_THAT(plain.class_counts, ElementsAre(Pair(5, 1)));
    EXPECT_EQ(data.kind, 1);
    EXPECT_EQ(data.samples.size(), 2u);
    EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 1), Pair(5, 1)));
  }
}

TEST_F(GdataTest, AnEmptySetTakesTheKindOfWhatIsAdded) {
  load(kTwoRecords);
  for (const int before : {-1, 0, 1}) {
    Gdata empty;
    empty.kind = before;
    EXPECT_EQ(add(empty, &data), "");
    EXPECT_EQ(empty.kind, 1);
    ASSERT_EQ(empty.samples.size(), 2u);
    EXPECT_TRUE(same_bits(empty.samples[1].trace, trace(1)));
    EXPECT_EQ(empty.class_counts, data.class_counts);
  }
}

// An empty set has a kind too, and it differs.
TEST_F(GdataTest, DoesNotAddAnEmptySetOfAnotherKind) {
  load(kTwoRecords);
  Gdata empty;
  load_into(empty, "");
  EXPECT_EQ(add(data, &empty), "datas don't match!\n");
  EXPECT_EQ(data.samples.size(), 2u);
}

// Samples gone, counts kept: the counts are added to all the same.
TEST_F(GdataTest, AddsToCountsThatOutlivedTheirSamples) {
  load(kTwoRecords);
  load("");
  EXPECT_EQ(data.kind, -1);
  Gdata other;
  load_into(other, "3 0\n\n\n\n");
  EXPECT_EQ(add(data, &other), "");
  EXPECT_EQ(data.kind, 0);
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 2), Pair(5, 1)));
}

TEST_F(GdataTest, DoublesOnceWhenAddedToItself) {
  load(kTwoRecords);
  EXPECT_EQ(add(data, &data), "");
  ASSERT_EQ(data.samples.size(), 4u);
  for (size_t r = 0; r < 2; ++r) {
    EXPECT_EQ(label(r + 2), label(r));
    EXPECT_TRUE(same_bits(trace(r + 2), trace(r)));
  }
  EXPECT_THAT(data.class_counts, ElementsAre(Pair(3, 2), Pair(5, 2)));
}

TEST_F(GdataTest, NeverLogs) {
  clear_log();
  load(kTwoRecords);
  add(data, &data);
  EXPECT_FALSE(std::filesystem::exists(kLogPath));
}
