// Model files as they are meant to be: written, read, and the same afterwards.
#include "classifier/Gmodel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

#include "support/comma_locale.h"
#include "support/files.h"
#include "support/private_paths.h"
#include "support/same_bits.h"

using namespace wgr;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static constexpr char kExampleFile[] =
    "2 1 0 1\n"
    "3 5 \n"
    "1 0.8 0.75 \n"
    "3 2\n"
    "0.1 0.2 \n"
    "-1.5 2 \n"
    "9.81 9.79 \n";

static Gmodel example() {
  Gmodel model;
  model.nclasses = 2;
  model.nTemplate = 1;
  model.havegravity = 1;
  model.class_labels = {3, 5};
  model.class_thresholds = {0.8, 0.75};
  model.templates = {{3, {{0.1, -1.5, 9.81}, {0.2, 2, 9.79}}}};
  return model;
}

static void expect_equal(const Gmodel& a, const Gmodel& b) {
  EXPECT_EQ(a.nclasses, b.nclasses);
  EXPECT_EQ(a.nTemplate, b.nTemplate);
  EXPECT_EQ(a.normalize, b.normalize);
  EXPECT_EQ(a.havegravity, b.havegravity);
  EXPECT_EQ(a.class_labels, b.class_labels);
  EXPECT_TRUE(same_bits(a.class_thresholds, b.class_thresholds));
  ASSERT_EQ(a.templates.size(), b.templates.size());
  for (size_t t = 0; t < a.templates.size(); ++t) {
    EXPECT_EQ(a.templates[t].first, b.templates[t].first) << "template " << t;
    EXPECT_TRUE(same_bits(a.templates[t].second, b.templates[t].second))
        << "template " << t;
  }
}

class GmodelTest : public ::testing::Test {
 protected:
  // The file that `model` is written as.
  std::string written(const Gmodel& model) {
    EXPECT_TRUE(model.write(path.c_str()));
    return read_file(path + ".xml");
  }

  Gmodel reread(const Gmodel& model) {
    EXPECT_TRUE(model.write(path.c_str()));
    Gmodel copy;
    EXPECT_TRUE(copy.read(path.c_str()));
    return copy;
  }

  TempDirectory directory;
  const std::string path = directory.file("hgr");
};

TEST_F(GmodelTest, StartsEmpty) {
  const Gmodel model;
  EXPECT_EQ(model.nclasses, 0);
  EXPECT_EQ(model.nTemplate, 0);
  EXPECT_EQ(model.normalize, 0);
  EXPECT_EQ(model.havegravity, 0);
}

TEST_F(GmodelTest, WritesTheExampleByteForByte) {
  EXPECT_EQ(written(example()), kExampleFile);
  EXPECT_FALSE(std::filesystem::exists(path));  // the suffix is always added
}

TEST_F(GmodelTest, ReadsTheExample) {
  write_file(path + ".xml", kExampleFile);
  Gmodel model;
  model.normalize = 9;
  EXPECT_TRUE(model.read(path.c_str()));
  expect_equal(model, example());
}

TEST_F(GmodelTest, AddsTheSuffixToAPathThatHasOne) {
  EXPECT_TRUE(example().write((path + ".xml").c_str()));
  EXPECT_EQ(read_file(path + ".xml.xml"), kExampleFile);
}

TEST_F(GmodelTest, WritesEverythingOverALongerFile) {
  write_file(path + ".xml", std::string(5000, '8') + "\n");
  EXPECT_EQ(written(example()), kExampleFile);
}

TEST_F(GmodelTest, WritesASingleZeroForNoThresholds) {
  Gmodel model = example();
  model.class_thresholds.clear();
  model.nTemplate = 0;
  EXPECT_EQ(written(model), "2 0 0 1\n3 5 \n0 \n");
  EXPECT_THAT(reread(model).class_thresholds, IsEmpty());
}

TEST_F(GmodelTest, WritesAnEmptyLineForNoClasses) {
  EXPECT_EQ(written(Gmodel()), "0 0 0 0\n\n0 \n");
  expect_equal(reread(Gmodel()), Gmodel());
}

TEST_F(GmodelTest, WritesThreeEmptyLinesForATemplateWithoutPoints) {
  Gmodel model;
  model.nTemplate = 2;
  model.templates = {{7, {}}, {-8, {{1, 2, 3}}}};
  EXPECT_EQ(written(model), "0 2 0 0\n\n0 \n7 0\n\n\n\n-8 1\n1 \n2 \n3 \n");
  expect_equal(reread(model), model);
}

TEST_F(GmodelTest, WritesNumbersWithSixDigits) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0.123456789, "0.123457"},
      {-12.34567, "-12.3457"},
      {1e-7, "1e-07"},
      {0.0001, "0.0001"},
      {0.00001, "1e-05"},
      {123456.0, "123456"},
      {1234567.0, "1.23457e+06"},
      {-0.0, "-0"},
      {100.0, "100"},
      {1e100, "1e+100"},
      {0.1 + 0.2, "0.3"},
      {2.5, "2.5"},
  };
  for (const auto& c : cases) {
    Gmodel model;
    model.nTemplate = 1;
    model.templates = {{1, {{c.value, 0, 0}}}};
    const std::string text = c.text;
    EXPECT_EQ(written(model), "0 1 0 0\n\n0 \n1 1\n" + text + " \n0 \n0 \n");
    const double back = reread(model).templates[0].second[0].x;
    EXPECT_TRUE(same_bits(back, std::stod(text))) << text << " came back as " << back;
  }
}

TEST_F(GmodelTest, WritesTheLargestNumbers) {
  Gmodel model = example();
  model.class_labels = {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
  model.normalize = -1;
  model.havegravity = 1000000;
  EXPECT_THAT(written(model),
              ::testing::StartsWith("2 1 -1 1000000\n2147483647 -2147483648 \n"));
  expect_equal(reread(model), model);
}

// The counts rule what is written, as far as the arrays go.
TEST_F(GmodelTest, WritesNoMoreThanTheCountsAndTheArraysHold) {
  Gmodel model = example();
  model.nclasses = 1;
  model.templates.push_back({5, {{1, 2, 3}}});
  EXPECT_EQ(written(model), "1 1 0 1\n3 \n1 0.8 \n3 2\n0.1 0.2 \n-1.5 2 \n9.81 9.79 \n");

  model = example();
  model.nclasses = 3;
  model.nTemplate = 2;
  EXPECT_EQ(written(model),
            "3 2 0 1\n3 5 \n1 0.8 0.75 \n3 2\n0.1 0.2 \n-1.5 2 \n9.81 9.79 \n");

  model.nclasses = -1;
  model.nTemplate = -1;
  EXPECT_EQ(written(model), "-1 -1 0 1\n\n1 \n");
}

TEST_F(GmodelTest, KeepsAModelAsItWasWhenItsFileCannotBeRead) {
  Gmodel model = example();
  EXPECT_FALSE(model.read(directory.file("missing").c_str()));
  expect_equal(model, example());
  // There is a file of the bare name, but none with the suffix.
  write_file(path, "0 0 0 0\n\n0 \n");
  EXPECT_FALSE(model.read(path.c_str()));
  expect_equal(model, example());
}

TEST_F(GmodelTest, SaysWhenItCannotWrite) {
  EXPECT_FALSE(example().write(directory.file("missing/hgr").c_str()));
  std::filesystem::create_directory(path + ".xml");
  EXPECT_FALSE(example().write(path.c_str()));
}

TEST_F(GmodelTest, ReplacesAllThatWasLoadedBefore) {
  Gmodel model;
  model.nTemplate = 3;
  model.nclasses = 3;
  model.class_labels = {7, 8, 9};
  model.class_thresholds = {-1, -2, -3};
  const Points long_trace(5, Point3Df{4, 4, 4});
  model.templates = {{7, long_trace}, {8, long_trace}, {9, long_trace}};
  write_file(path + ".xml", kExampleFile);
  EXPECT_TRUE(model.read(path.c_str()));
  expect_equal(model, example());
}

TEST_F(GmodelTest, NeitherLogsNorPrints) {
  clear_log();
  Capture out(STDOUT_FILENO);
  Capture err(STDERR_FILENO);
  reread(example());
  Gmodel().read("missing");
  Gmodel().write("/missing/hgr");
  EXPECT_EQ(err.finish(), "");
  EXPECT_EQ(out.finish(), "");
  EXPECT_FALSE(std::filesystem::exists(kLogPath));
}

TEST_F(GmodelTest, WritesAndReadsTheSameInAnyLocale) {
  Gmodel model = example();
  model.class_labels = {1234567, 5};
  model.templates[0].second[0].x = 123456.0;
  const CommaLocale comma;
  std::ostringstream host;
  host << 1234.5;
  ASSERT_EQ(host.str(), "1.234,5") << "the locale under test is not in force";

  EXPECT_EQ(written(model),
            "2 1 0 1\n1234567 5 \n1 0.8 0.75 \n3 2\n123456 0.2 \n-1.5 2 \n9.81 9.79 \n");
  expect_equal(reread(model), model);
}
