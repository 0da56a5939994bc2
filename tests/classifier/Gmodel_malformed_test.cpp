// Model files that are not as they are meant to be. Nothing is checked; what each makes
// of the record is fixed all the same.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "classifier/Gmodel.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "support/same_bits.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MalformedModelTest : public ::testing::Test {
 protected:
  // Reads `content` into `model`; what memory makes of it is the same.
  void read(const std::string& content) {
    std::istringstream memory(content);
    Gmodel other = model;
    other.read(memory);
    write_file(path + ".xml", content);
    EXPECT_TRUE(model.read(path.c_str()));
    EXPECT_EQ(other.nclasses, model.nclasses);
    EXPECT_EQ(other.nTemplate, model.nTemplate);
    EXPECT_EQ(other.normalize, model.normalize);
    EXPECT_EQ(other.havegravity, model.havegravity);
    EXPECT_EQ(other.class_labels, model.class_labels);
    EXPECT_EQ(other.class_thresholds, model.class_thresholds);
    ASSERT_EQ(other.templates.size(), model.templates.size());
    for (size_t t = 0; t < model.templates.size(); ++t) {
      EXPECT_EQ(other.templates[t].first, model.templates[t].first);
      EXPECT_TRUE(same_bits(other.templates[t].second, model.templates[t].second));
    }
  }

  const Points& points(size_t t) const { return model.templates.at(t).second; }

  TempDirectory directory;
  const std::string path = directory.file("hgr");
  Gmodel model;
};

TEST_F(MalformedModelTest, AMissingTemplateIsEmpty) {
  read("1 2 0 0\n3 \n0 \n3 1\n1 \n2 \n3 \n");
  ASSERT_EQ(model.templates.size(), 2u);
  EXPECT_EQ(model.nTemplate, 2);
  EXPECT_TRUE(same_bits(points(0), Points{{1, 2, 3}}));
  EXPECT_EQ(model.templates[1].first, 0);
  EXPECT_THAT(points(1), IsEmpty());
}

// The label stays as the resize left it, the count is 0.
TEST_F(MalformedModelTest, AMissingTemplateKeepsAnEarlierLabelButNoPoints) {
  model.templates = {{7, {{1, 1, 1}}}, {8, {{1, 1, 1}, {2, 2, 2}}}};
  read("1 2 0 0\n3 \n0 \n3 1\n1 \n2 \n3 \n");
  EXPECT_EQ(model.templates[0].first, 3);
  EXPECT_EQ(model.templates[1].first, 8);
  EXPECT_THAT(points(1), IsEmpty());
}

TEST_F(MalformedModelTest, ALabelWithoutACountHasNoPoints) {
  read("0 2 0 0\n\n0 \n3 1\n1\n2\n3\n5\n\n\n\n");
  EXPECT_EQ(points(0).size(), 1u);
  EXPECT_EQ(model.templates[1].first, 5);
  EXPECT_THAT(points(1), IsEmpty());
}

TEST_F(MalformedModelTest, AnEmptyFileLeavesTheHeaderAsItWas) {
  model.nclasses = 2;
  model.nTemplate = 1;
  model.normalize = 1;
  model.havegravity = 1;
  model.class_thresholds = {0.5, 0.5};
  read("");
  EXPECT_EQ(model.nclasses, 2);
  EXPECT_EQ(model.nTemplate, 1);
  EXPECT_EQ(model.normalize, 1);
  EXPECT_EQ(model.havegravity, 1);
  EXPECT_THAT(model.class_labels, ElementsAre(0, 0));
  EXPECT_THAT(model.class_thresholds, IsEmpty());  // a missing presence flag is 0
  ASSERT_EQ(model.templates.size(), 1u);
  EXPECT_THAT(points(0), IsEmpty());
}

TEST_F(MalformedModelTest, AShortHeaderLeavesTheOtherFieldsAsTheyWere) {
  model.normalize = 1;
  model.havegravity = 1;
  read("1 0\n4\n0\n");
  EXPECT_EQ(model.nclasses, 1);
  EXPECT_EQ(model.normalize, 1);
  EXPECT_EQ(model.havegravity, 1);
  EXPECT_THAT(model.class_labels, ElementsAre(4));
}

TEST_F(MalformedModelTest, AWordInTheHeaderIsZeroAndEndsIt) {
  model.normalize = 1;
  model.havegravity = 1;
  read("1 two 0 0\n4\n0\n");
  EXPECT_EQ(model.nclasses, 1);
  EXPECT_EQ(model.nTemplate, 0);
  EXPECT_EQ(model.normalize, 1);
  EXPECT_EQ(model.havegravity, 1);
}

TEST_F(MalformedModelTest, MissingLabelsAndThresholdsAreZeroOrAsTheyWere) {
  model.class_labels = {9, 9};
  read("3 0 0 0\n4\n1 -0.5\n");
  EXPECT_THAT(model.class_labels, ElementsAre(4, 9, 0));
  EXPECT_THAT(model.class_thresholds, ElementsAre(-0.5, 0.0, 0.0));
}

TEST_F(MalformedModelTest, AnyPresenceFlagButZeroMeansThresholds) {
  for (const char* flag : {"1", "2", "-1"}) {
    read("1 0 0 0\n4\n" + std::string(flag) + " -3\n");
    EXPECT_THAT(model.class_thresholds, ElementsAre(-3.0)) << flag;
  }
  for (const char* flag : {"0 -3", "", "x -3"}) {
    read("1 0 0 0\n4\n" + std::string(flag) + "\n");
    EXPECT_THAT(model.class_thresholds, IsEmpty()) << flag;
  }
}

TEST_F(MalformedModelTest, ValuesNeverRunOverIntoTheNextLine) {
  read("0 1 0 0\n\n0 \n3 3\n1 2 \n10 20 30 40 50 \n100 \n");
  EXPECT_TRUE(same_bits(points(0), Points{{1, 10, 100}, {2, 20, 0}, {0, 30, 0}}));
}

TEST_F(MalformedModelTest, AWordAmongTheValuesIsZeroAndEndsTheLine) {
  read("0 1 0 0\n\n0 \n3 3\n1 x 3\n4 5 6\n7,5 8 9\n");
  EXPECT_TRUE(same_bits(points(0), Points{{1, 4, 7}, {0, 5, 0}, {0, 6, 0}}));
}

TEST_F(MalformedModelTest, ReadsFixedAndExponentNotationAndCarriageReturns) {
  read("1 1 0 0\r\n 4\r\n1\t-1e0\r\n3 2\r\n1e2 +2.50\r\n-3E-1 .5\r\n5. 0006\r\n");
  EXPECT_THAT(model.class_labels, ElementsAre(4));
  EXPECT_THAT(model.class_thresholds, ElementsAre(-1.0));
  EXPECT_TRUE(same_bits(points(0), Points{{100, -0.3, 5}, {2.5, 0.5, 6}}));
}

TEST_F(MalformedModelTest, ALastLineNeedsNoLineBreak) {
  read("0 1 0 0\n\n0 \n3 1\n1\n2\n3");
  EXPECT_TRUE(same_bits(points(0), Points{{1, 2, 3}}));
}

// "1 " 2046 times, then a last value of one digit more or less: 4095 characters fit.
TEST_F(MalformedModelTest, ALineOf4095CharactersIsReadAndAllAfterIt) {
  std::string line;
  for (int i = 0; i < 2046; ++i) line += "1 ";
  line += "123";
  ASSERT_EQ(line.size(), 4095u);
  read("0 2 0 0\n\n0 \n3 2047\n" + line + "\n" + line + "\n" + line + "\n5 1\n7\n8\n9\n");
  ASSERT_EQ(points(0).size(), 2047u);
  EXPECT_TRUE(same_bits(points(0)[2045], {1, 1, 1}));
  EXPECT_TRUE(same_bits(points(0)[2046], {123, 123, 123}));
  EXPECT_EQ(model.templates[1].first, 5);
  EXPECT_TRUE(same_bits(points(1), Points{{7, 8, 9}}));
}

TEST_F(MalformedModelTest, ALongerLineIsCutAndEndsTheFile) {
  std::string line;
  for (int i = 0; i < 2046; ++i) line += "1 ";
  line += "1234";  // its fourth digit is character 4096
  ASSERT_EQ(line.size(), 4096u);
  read("0 2 0 0\n\n0 \n3 2047\n" + line + "\n" + line + "\n" + line + "\n5 1\n7\n8\n9\n");
  ASSERT_EQ(points(0).size(), 2047u);
  EXPECT_TRUE(same_bits(points(0)[0], {1, 0, 0}));
  EXPECT_TRUE(same_bits(points(0)[2046], {123, 0, 0}));
  ASSERT_EQ(model.templates.size(), 2u);
  EXPECT_EQ(model.templates[1].first, 0);
  EXPECT_THAT(points(1), IsEmpty());
}

// 315 points of 13 characters a value, the longest the writer makes, come back.
TEST_F(MalformedModelTest, ATemplateOf315PointsComesBackWhole) {
  model.nTemplate = 1;
  model.templates = {{3, Points(315, Point3Df{-1.23456e-10, -6.54321e+20, 1})}};
  ASSERT_TRUE(model.write(path.c_str()));
  Gmodel back;
  ASSERT_TRUE(back.read(path.c_str()));
  EXPECT_TRUE(same_bits(back.templates.at(0).second, points(0)));
}

TEST_F(MalformedModelTest, ANegativeCountThrows) {
  for (const char* content : {
           "-1 0 0 0\n\n0\n",             // classes
           "0 -1 0 0\n\n0\n",             // templates
           "0 1 0 0\n\n0\n3 -1\n\n\n\n",  // points
           "-2147483648 0 0 0\n\n0\n",    //
       }) {
    write_file(path + ".xml", content);
    Gmodel fresh;
    EXPECT_THROW(fresh.read(path.c_str()), std::length_error) << content;
    std::istringstream memory(content);
    EXPECT_THROW(fresh.read(memory), std::length_error) << content;
  }
}

TEST_F(MalformedModelTest, ADirectoryOfTheNameReadsAsNothingOrNotAtAll) {
  std::filesystem::create_directory(path + ".xml");
  model.read(path.c_str());
  EXPECT_EQ(model.nclasses, 0);
  EXPECT_THAT(model.templates, IsEmpty());
}
