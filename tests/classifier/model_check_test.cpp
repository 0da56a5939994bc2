#include "classifier/model_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "classifier/Gmodel.h"
#include "support/comma_locale.h"
#include "support/files.h"

using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

static std::string told(const ModelCheck& check) {
  std::string text;
  for (const ModelFinding& finding : check.findings) {
    text += std::to_string(finding.line) + ": " + finding.text + "\n";
  }
  return text;
}

TEST_F(ModelChecking, ASoundFileHasNoFindings) {
  const ModelCheck result = check(joined(sound()));
  EXPECT_EQ(told(result), "");
  EXPECT_TRUE(result.loads);
}

TEST_F(ModelChecking, AHostsLocaleChangesNothing) {
  const CommaLocale comma;
  EXPECT_EQ(told(check(joined(sound()))), "");
}

TEST_F(ModelChecking, LinesThatEndInCarriageReturnsAreFine) {
  std::string text;
  for (const std::string& line : sound()) text += line + "\r\n";
  EXPECT_EQ(told(check(text)), "");
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
  EXPECT_EQ(told(check_model_file(path_)), "");
}

TEST_F(ModelChecking, EachFaultIsNamedOnceWithItsLine) {
  const struct {
    size_t line;
    const char* text;
    const char* finding;
  } cases[] = {
      {1, "2 2 1", "1: the header: 3 values instead of 4"},
      {1, "2 2 2 1", "1: normalize: 2 is neither 0 nor 1"},
      {1, "2 2 1 1 9", "1: the header: more than 4 values"},
      {2, "5 7 ", "2: the label 5 is a code of the interface"},
      {2, "3 6 ", "2: the label 6 is a code of the interface"},
      {2, "13 7 ", "2: the label 13 is a code of the interface"},
      {2, "3 14 ", "2: the label 14 is a code of the interface"},
      {2, "3 7 8 ", "2: the class labels: more than 2 values"},
      {2, "3 x ", "2: the class labels: value 2 is not a number"},
      {3, "1 0 -0.25 ", "3: the threshold of label 3 is not below 0"},
      {3, "1 -0.5 0.25 ", "3: the threshold of label 7 is not below 0"},
      {3, "1 -0.5 ", "3: the thresholds: 1 values instead of 2"},
      {3, "2 -0.5 -0.25 ", "3: the thresholds' flag: 2 is neither 0 nor 1"},
      {3, "", "3: the thresholds: the line must start with 0 or 1"},
      {3, "0 -0.5 ", "3: the thresholds: more than 0 values"},
      {3, "1 nan -0.25", "3: the thresholds: value 1 is not a number"},
      {5, "1 0 ", "5: template 1, its x: 2 values instead of 3"},
      {6, "0 0.6 0 1 ", "6: template 1, its y: more than 3 values"},
      {7, "0 0.8 1e999 ", "7: template 1, its z: value 3 is not a number"},
      {7, "0 0.8 0 ", "4: template 1: its gravity, the last point, has no length"},
      {5, "2 0 0 ", "4: template 1: its root mean square is 1.58114 instead of 1"},
  };
  for (const auto& c : cases) {
    const ModelCheck result = with(c.line, c.text);
    EXPECT_THAT(told(result), HasSubstr(c.finding)) << c.text;
    EXPECT_TRUE(result.loads) << c.text;
    // One that is wrong in the first two lines has more to it further down.
    if (c.line > 2) {
      EXPECT_EQ(result.findings.size(), 1u) << c.text << "\n" << told(result);
    }
  }
}

TEST_F(ModelChecking, RoundingToSixDigitsIsNoFault) {
  EXPECT_EQ(told(with(5, "1.00001 0 0 ")), "");
  EXPECT_NE(told(with(5, "1.01 0 0 ")), "");
}

TEST_F(ModelChecking, OnlyNormalisingModelsNeedUnitTraces) {
  std::vector<std::string> lines = sound();
  lines[0] = "2 2 0 1";
  lines[4] = "20 0 0 ";
  EXPECT_EQ(told(check(joined(lines))), "");
}

TEST_F(ModelChecking, AClassWithoutATemplateAndATemplateWithoutAClassAreFaults) {
  EXPECT_EQ(told(with(8, "3 2")), "2: no template has the label 7: it never wins\n");
  EXPECT_EQ(told(with(8, "9 2")),
            "2: no template has the label 7: it never wins\n"
            "8: template 2: its label 9 is not in the list of classes\n");
  EXPECT_EQ(told(with(2, "3 3 ")),
            "2: the label 3 stands twice; only its first threshold counts\n"
            "2: no template has the label 3: it never wins\n"
            "8: template 2: its label 7 is not in the list of classes\n");
}

TEST_F(ModelChecking, ATemplateNeedsAPointThatIsNotItsGravity) {
  std::vector<std::string> lines = sound();
  lines.resize(7);
  lines.insert(lines.end(), {"7 1", "0 ", "0 ", "10 "});
  EXPECT_EQ(told(check(joined(lines))),
            "8: template 2: it has no points of motion and never wins\n");
  lines.resize(7);
  lines.insert(lines.end(), {"7 0", "", "", ""});
  EXPECT_EQ(told(check(joined(lines))),
            "8: template 2: it has no points of motion and never wins\n");
}

TEST_F(ModelChecking, EveryTruncationIsFound) {
  const std::string whole = joined(sound());
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(check(whole.substr(0, size)).findings.empty()) << size << " bytes";
  }
}

TEST_F(ModelChecking, LinesBehindTheLastTemplateAreFound) {
  EXPECT_EQ(told(check(joined(sound()) + "8 2\n0 1 \n")),
            "12: more lines than the header announces; they are ignored\n");
}

TEST_F(ModelChecking, ALineMayHave4095CharactersAndNoMore) {
  const std::string blanks(4095 - 6, ' ');
  EXPECT_EQ(told(with(5, "1 0 0 " + blanks)), "");
  EXPECT_THAT(told(with(5, "1 0 0  " + blanks)),
              HasSubstr("5: the line has 4096 characters"));
}

TEST_F(ModelChecking, CountsThatTheReaderCannotFollowKeepAModelFromLoading) {
  for (const char* header :
       {"-1 2 1 1", "2 -2 1 1", "2 99999999 1 1", "9999999999 2 1 1"}) {
    const ModelCheck result = with(1, header);
    EXPECT_FALSE(result.loads) << header;
    EXPECT_FALSE(result.findings.empty()) << header;
  }
  const ModelCheck points = with(8, "7 -2");
  EXPECT_FALSE(points.loads);
  EXPECT_EQ(points.findings.back().line, 8u);
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
  EXPECT_EQ(told(missing), "0: cannot be read: No such file or directory\n");
  EXPECT_FALSE(missing.loads);
  EXPECT_EQ(told(check_model_file(directory_.path())),
            "0: cannot be read: it is not a regular file\n");
}

TEST_F(ModelChecking, AnotherKindOfFileIsNotComplainedAboutWithoutEnd) {
  std::ostringstream other;
  other << "1000000 1000000 1 1\n\n\n";
  for (int i = 0; i < 5000; ++i) other << "<a/>\n";
  EXPECT_LE(check(other.str()).findings.size(), 100u);
}
