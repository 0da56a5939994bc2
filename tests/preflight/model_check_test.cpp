#include "preflight/model_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "classifier/Gmodel.h"
#include "support/comma_locale.h"
#include "support/files.h"

using namespace wgr;

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Two classes, thresholds, unit traces, gravity: nothing to complain about.
static const char* const kSound[] = {
    "2 2 1 1",                                             //
    "3 7 ",                                                //
    "1 -0.5 -0.25 ",                                       //
    "3 3",           "1 0 0 ", "0 0.6 0 ", "0 0.8 9.81 ",  //
    "7 2",           "0 0 ",   "-1 0 ",    "0 10 ",
};

static std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

static std::vector<std::string> sound() { return {std::begin(kSound), std::end(kSound)}; }

class ModelChecking : public ::testing::Test {
 protected:
  ModelCheck check(const std::string& text) {
    write_file(path_, text);
    return check_model_file(path_);
  }

  // The sound file with line `number` (from 1) replaced.
  ModelCheck with(size_t number, const std::string& line) {
    std::vector<std::string> lines = sound();
    lines.at(number - 1) = line;
    return check(joined(lines));
  }

  TempDirectory directory_;
  const std::string path_ = directory_.file("model.xml");
};

static std::string listed(const ModelCheck& check) {
  std::string text;
  for (const ModelFinding& finding : check.findings) {
    text += std::to_string(finding.line) + ": " + finding.text + "\n";
  }
  return text;
}

TEST_F(ModelChecking, ASoundFileHasNoFindings) {
  const ModelCheck result = check(joined(sound()));
  EXPECT_EQ(listed(result), "");
  EXPECT_TRUE(result.loads);
}

TEST_F(ModelChecking, AHostsLocaleChangesNothing) {
  const CommaLocale comma;
  EXPECT_EQ(listed(check(joined(sound()))), "");
}

TEST_F(ModelChecking, LinesThatEndInCarriageReturnsAreFine) {
  std::string text;
  for (const std::string& line : sound()) text += line + "\r\n";
  EXPECT_EQ(listed(check(text)), "");
}

TEST_F(ModelChecking, WhatTheLibraryWritesIsSound) {
  Gmodel model;
  model.nclasses = 1;
  model.class_labels = {2};
  model.havegravity = 1;
  model.normalize = 1;
  const double third = 0.57735026918962576;  // a unit vector's share
  model.templates = {{2, {{third, third, -third}, {-third, third, third}, {1, 2, 9.3}}}};
  model.nTemplate = 1;
  ASSERT_TRUE(model.write(directory_.file("model").c_str()));
  EXPECT_EQ(listed(check_model_file(path_)), "");
}

// What is most like a template of background is never reported; it needs no threshold.
TEST_F(ModelChecking, TemplatesOfBackgroundAreListedAmongNoClasses) {
  EXPECT_EQ(listed(with(8, "14 2 ")), "2: no template has the label 7: it never wins\n");
  EXPECT_THAT(listed(with(8, "6 2 ")), HasSubstr("its label 6 is not in the list"));
}

// What a finding says of values, after it has named them.
#define THE_REST "; the rest count as 0"
#define THE_SURPLUS "; the surplus is ignored"
#define NO_NUMBER " is not a number it can hold; those after it count as 0"
#define A_CODE " is a code of the interface (5, 6, 13 and 14 are): use another"
#define TOO_HIGH " is not below 0, as every score is: nothing is ever accepted"

TEST_F(ModelChecking, EachFaultIsNamedOnceWithItsLine) {
  const struct {
    size_t line;
    const char* text;
    const char* finding;
  } cases[] = {
      {1, "2 2 1", "1: the header: 3 values instead of 4" THE_REST},
      {1, "2 2 2 1", "1: normalize: 2 is neither 0 nor 1"},
      {1, "2 2 1 2", "1: havegravity: 2 is neither 0 nor 1"},
      {1, "2 2 1 1 9", "1: the header: more than 4 values" THE_SURPLUS},
      {1, "0 2 1 1", "1: no classes or no templates: nothing can be recognised"},
      {1, "2 0 1 1", "1: no classes or no templates: nothing can be recognised"},
      {1, "1 2 1 1", "2: the class labels: more than 1 value" THE_SURPLUS},
      {2, "5 7 ", "2: the label 5" A_CODE},
      {2, "3 6 ", "2: the label 6" A_CODE},
      {2, "13 7 ", "2: the label 13" A_CODE},
      {2, "3 14 ", "2: the label 14" A_CODE},
      {2, "3 7 8 ", "2: the class labels: more than 2 values" THE_SURPLUS},
      {2, "3 x ", "2: the class labels: value 2" NO_NUMBER},
      {3, "1 0 -0.25 ", "3: the threshold of label 3" TOO_HIGH},
      {3, "1 -0.5 0.25 ", "3: the threshold of label 7" TOO_HIGH},
      {3, "1 -0.5 ", "3: the thresholds: 1 values instead of 2" THE_REST},
      {3, "2 -0.5 -0.25 ", "3: the thresholds' flag: 2 is neither 0 nor 1"},
      {3, "", "3: the thresholds: the line must start with 0 or 1"},
      {3, "0 -0.5 ", "3: the thresholds: more than 0 values" THE_SURPLUS},
      {3, "1 nan -0.25", "3: the thresholds: value 1" NO_NUMBER},
      {4, "3 3 9",
       "4: template 1, its label and number of points: more than 2 values" THE_SURPLUS},
      {5, "1 0 ", "5: template 1, its x: 2 values instead of 3" THE_REST},
      {5, "", "5: template 1, its x: 0 values instead of 3" THE_REST},
      {6, "0 0.6 0 1 ", "6: template 1, its y: more than 3 values" THE_SURPLUS},
      {7, "0 0.8 1e999 ", "7: template 1, its z: value 3" NO_NUMBER},
      {7, "0 0.8 0 ",
       "4: template 1: its gravity, the last point, has no length: it never wins"},
      {5, "2 0 0 ",
       "4: template 1: its root mean square is 1.58114 instead of about 1, though the "
       "model normalises"},
  };
  for (const auto& c : cases) {
    const ModelCheck result = with(c.line, c.text);
    EXPECT_THAT("\n" + listed(result), HasSubstr("\n" + std::string(c.finding) + "\n"))
        << c.text;
    EXPECT_TRUE(result.loads) << c.text;
    // One that is wrong in the first two lines has more to it further down.
    if (c.line > 2) {
      EXPECT_EQ(result.findings.size(), 1u) << c.text << "\n" << listed(result);
    }
  }
}

// Not in that of their discovery; two of one line in the order in which they stand there.
TEST_F(ModelChecking, FindingsAreInTheOrderOfTheirLines) {
  EXPECT_EQ(listed(with(7, "0 0.8 0 1 ")),
            "4: template 1: its gravity, the last point, has no length: it never wins\n"
            "7: template 1, its z: more than 3 values; the surplus is ignored\n");
  EXPECT_THAT(listed(with(1, "2 2 3 2")),
              StartsWith("1: normalize: 3 is neither 0 nor 1\n"
                         "1: havegravity: 2 is neither"));
}

// Averages are weaker than their examples, and templates moved apart may be stronger.
TEST_F(ModelChecking, TemplatesMayBeAQuarterToOneAndAHalfTimesAsStrongAsMotions) {
  // The root mean square of 1.87 and 1 is 1.4995, that of 1.88 and 1 is 1.5057.
  EXPECT_EQ(listed(with(5, "1.87 0 0 ")), "");
  EXPECT_NE(listed(with(5, "1.88 0 0 ")), "");
  // That of 0.3 and 0.19 is 0.2511, that of 0.3 and 0.18 is 0.2474.
  std::vector<std::string> lines = sound();
  lines[4] = "0.3 0 0 ";
  lines[6] = "0 0 1 ";
  lines[5] = "0 0.19 0 ";
  EXPECT_EQ(listed(check(joined(lines))), "");
  lines[5] = "0 0.18 0 ";
  EXPECT_NE(listed(check(joined(lines))), "");
}

TEST_F(ModelChecking, OnlyNormalisingModelsNeedUnitTraces) {
  std::vector<std::string> lines = sound();
  lines[0] = "2 2 0 1";
  lines[4] = "20 0 0 ";
  EXPECT_EQ(listed(check(joined(lines))), "");
}

TEST_F(ModelChecking, AClassWithoutATemplateAndATemplateWithoutAClassAreFaults) {
  EXPECT_EQ(listed(with(8, "3 2")), "2: no template has the label 7: it never wins\n");
  EXPECT_EQ(listed(with(8, "9 2")),
            "2: no template has the label 7: it never wins\n"
            "8: template 2: its label 9 is not in the list of classes\n");
  EXPECT_EQ(listed(with(2, "3 3 ")),
            "2: the label 3 stands twice; only its first threshold counts\n"
            "2: no template has the label 3: it never wins\n"
            "8: template 2: its label 7 is not in the list of classes\n");
}

TEST_F(ModelChecking, ATemplateNeedsAPointThatIsNotItsGravity) {
  std::vector<std::string> lines = sound();
  lines.resize(7);
  lines.insert(lines.end(), {"7 1", "0 ", "0 ", "10 "});
  EXPECT_EQ(listed(check(joined(lines))),
            "8: template 2: it has no points of motion and never wins\n");
  lines.resize(7);
  lines.insert(lines.end(), {"7 0", "", "", ""});
  EXPECT_EQ(listed(check(joined(lines))),
            "8: template 2: it has no points of motion and never wins\n");
}

TEST_F(ModelChecking, EveryTruncationIsFound) {
  const std::string whole = joined(sound());
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(check(whole.substr(0, size)).findings.empty()) << size << " bytes";
  }
}

TEST_F(ModelChecking, TheFirstLineThatIsMissingIsNamed) {
  const char* const names[] = {
      "the class labels",  "the thresholds",    "template 1", "template 1, its x",
      "template 1, its y", "template 1, its z", "template 2", "template 2, its x",
      "template 2, its y", "template 2, its z",
  };
  for (size_t kept = 1; kept < 11; ++kept) {
    std::vector<std::string> lines = sound();
    lines.resize(kept);
    const ModelCheck result = check(joined(lines));
    const std::string expected = std::to_string(kept + 1) + ": the file ends where " +
                                 names[kept - 1] + " should be: it was cut off\n";
    EXPECT_THAT("\n" + listed(result), HasSubstr("\n" + expected));
    EXPECT_TRUE(result.loads) << kept;
  }
  // Of classes whose templates are missing with the rest nothing is said.
  std::vector<std::string> lines = sound();
  lines.resize(7);
  EXPECT_EQ(listed(check(joined(lines))),
            "8: the file ends where template 2 should be: it was cut off\n");
  EXPECT_THAT(
      listed(check("")),
      StartsWith("1: the file ends where the header should be: it was cut off\n"));
}

TEST_F(ModelChecking, ALastLineWithoutItsEndIsFound) {
  std::string text = joined(sound());
  text.pop_back();
  EXPECT_EQ(listed(check(text)), "11: the last line has no end: the file was cut off\n");
}

TEST_F(ModelChecking, LinesBehindTheLastTemplateAreFound) {
  EXPECT_EQ(listed(check(joined(sound()) + "8 2\n0 1 \n")),
            "12: more lines than the header announces; they are ignored\n");
}

TEST_F(ModelChecking, ALineMayHave4095CharactersAndNoMore) {
  const std::string blanks(4095 - 6, ' ');
  EXPECT_EQ(listed(with(5, "1 0 0 " + blanks)), "");
  EXPECT_THAT(listed(with(5, "1 0 0  " + blanks)),
              HasSubstr("5: the line has 4096 characters; those after 4095 and all later "
                        "lines are lost\n"));
}

TEST_F(ModelChecking, CountsThatTheReaderCannotFollowKeepAModelFromLoading) {
  for (const char* header :
       {"-1 2 1 1", "2 -2 1 1", "2 99999999 1 1", "9999999999 2 1 1"}) {
    const ModelCheck result = with(1, header);
    EXPECT_FALSE(result.loads) << header;
    EXPECT_FALSE(result.findings.empty()) << header;
  }
  EXPECT_EQ(listed(with(1, "-1 2 1 1")),
            "1: the number of classes: -1 is negative: the model is refused\n");
  EXPECT_EQ(listed(with(1, "2 10000001 1 1")),
            "1: the number of templates: 10000001 is more than any model has: it is "
            "refused\n");
  const ModelCheck points = with(8, "7 -2");
  EXPECT_FALSE(points.loads);
  EXPECT_EQ(
      listed(points),
      "8: template 2, its number of points: -2 is negative: the model is refused\n");
}

TEST_F(ModelChecking, TenMillionOfAnythingIsNotTooMany) {
  EXPECT_TRUE(with(1, "10000000 2 1 1").loads);
  EXPECT_TRUE(with(1, "2 10000000 1 1").loads);
  EXPECT_TRUE(with(8, "7 10000000").loads);
  EXPECT_FALSE(with(8, "7 10000001").loads);
}

// What is not loaded is refused by the reader, and the other way round.
TEST_F(ModelChecking, AgreesWithTheReaderAboutWhatLoads) {
  const std::pair<size_t, const char*> changes[] = {
      {1, "-1 2 1 1"}, {1, "2 -2 1 1"}, {8, "7 -2"}, {8, "x -2"},
      {1, ""},         {4, "3 x"},      {2, "a"},    {1, "2 2 x -1"}};
  for (const auto& [line, text] : changes) {
    const bool loads = with(line, text).loads;
    Gmodel model;
    bool read = true;
    try {
      read = model.read(directory_.file("model").c_str());
    } catch (const std::exception&) {
      read = false;
    }
    EXPECT_EQ(loads, read) << text;
  }
}

// Behind a line that is too long the reader sees empty lines, and no count.
TEST_F(ModelChecking, ANegativeCountThatTheReaderNeverSeesDoesNotKeepItFromLoading) {
  std::vector<std::string> lines = sound();
  lines[4] += std::string(5000, ' ');
  lines[7] = "7 -2";
  EXPECT_TRUE(check(joined(lines)).loads);
}

TEST_F(ModelChecking, WhatIsNoRegularFileIsNotRead) {
  const ModelCheck missing = check_model_file(directory_.file("missing.xml"));
  EXPECT_EQ(listed(missing), "0: cannot be read: No such file or directory\n");
  EXPECT_FALSE(missing.loads);
  EXPECT_EQ(listed(check_model_file(directory_.path())),
            "0: cannot be read: it is not a regular file\n");
}

TEST_F(ModelChecking, AnotherKindOfFileIsNotComplainedAboutWithoutEnd) {
  std::ostringstream other;
  other << "1000000 1000000 1 1\n\n\n";
  for (int i = 0; i < 5000; ++i) other << "<a/>\n";
  EXPECT_EQ(check(other.str()).findings.size(), 100u);
}

// The reader does not stop at the hundredth fault.
TEST_F(ModelChecking, ACountThatIsRefusedBehindAHundredFaultsIsReported) {
  std::string text = "1 151 0 0\n3 \n0 \n";
  for (int t = 0; t < 150; ++t) text += "4 0\n\n\n\n";  // of no class
  const std::string refused = text + "3 -1\n\n\n\n";
  EXPECT_TRUE(check(text + "3 1\n1 \n2 \n3 \n").loads);
  const ModelCheck result = check(refused);
  EXPECT_FALSE(result.loads);
  EXPECT_EQ(result.findings.size(), 101u);
  EXPECT_EQ(result.findings.back().line, 604u);
  EXPECT_THAT(result.findings.back().text, HasSubstr("the model is refused"));
  Gmodel model;
  EXPECT_THROW(model.read(directory_.file("model").c_str()), std::length_error);
}
