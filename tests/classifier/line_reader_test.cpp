#include "classifier/line_reader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace wgr;

using LongLines = LineReader::LongLines;

static std::string repeated(size_t count) { return std::string(count, '7'); }

TEST(LineReader, ParsesEachLineOnItsOwn) {
  std::istringstream file("1 2\n3\n4 5 6\n");
  LineReader lines(file, LongLines::kEndTheFile);
  int a = -1, b = -1, c = -1;
  lines.next() >> a >> b >> c;
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
  EXPECT_EQ(c, -1);  // missing: not taken from the next line

  a = b = -1;
  lines.next() >> a >> b;  // the failure of the line before is forgotten
  EXPECT_EQ(a, 3);
  EXPECT_EQ(b, -1);

  lines.next() >> a;  // the surplus is ignored
  EXPECT_EQ(a, 4);
}

TEST(LineReader, ReadsAnEmptyLineAfterTheEndOfTheFile) {
  for (const LongLines kind : {LongLines::kEndTheFile, LongLines::kReadInFull}) {
    for (const char* text : {"1\n", "1"}) {
      std::istringstream file(text);
      LineReader lines(file, kind);
      int a = -1;
      lines.next() >> a;
      EXPECT_EQ(a, 1);
      for (int i = 0; i < 3; ++i) {
        a = -1;
        lines.next() >> a;
        EXPECT_EQ(a, -1);
      }
    }
  }
}

TEST(LineReader, StoresZeroForATokenThatIsNoNumberAndEndsTheLine) {
  std::istringstream file("1 x 3\n4 5\n");
  LineReader lines(file, LongLines::kEndTheFile);
  double a = -1, b = -1, c = -1;
  lines.next() >> a >> b >> c;
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(c, -1);
  lines.next() >> a >> b;
  EXPECT_EQ(a, 4);
  EXPECT_EQ(b, 5);
}

TEST(LineReader, SkipsBlanksTabsAndCarriageReturns) {
  std::istringstream file(" \t 1\t\t2 \r\n\r\n3\r\n");
  LineReader lines(file, LongLines::kEndTheFile);
  int a = -1, b = -1, c = -1;
  lines.next() >> a >> b >> c;
  EXPECT_EQ(a, 1);
  EXPECT_EQ(b, 2);
  EXPECT_EQ(c, -1);
  lines.next() >> c;
  EXPECT_EQ(c, -1);
  lines.next() >> c;
  EXPECT_EQ(c, 3);
}

TEST(LineReader, TakesALineOf4095Characters) {
  std::istringstream file(repeated(4095) + "\n2\n" + repeated(4095));
  LineReader lines(file, LongLines::kEndTheFile);
  EXPECT_EQ(lines.next().str(), repeated(4095));
  EXPECT_EQ(lines.next().str(), "2");
  EXPECT_EQ(lines.next().str(), repeated(4095));  // without a line break
}

TEST(LineReader, CutsALongerLineAndReadsNothingMore) {
  for (const size_t length : {4096u, 4097u, 10000u}) {
    std::istringstream file("1\n" + repeated(length) + "\n2\n3\n");
    LineReader lines(file, LongLines::kEndTheFile);
    EXPECT_EQ(lines.next().str(), "1");
    EXPECT_EQ(lines.next().str(), repeated(4095)) << length;
    EXPECT_EQ(lines.next().str(), "") << length;
    EXPECT_EQ(lines.next().str(), "") << length;
  }
}

TEST(LineReader, ReadsALongLineInFullWhereAskedTo) {
  std::istringstream file(repeated(4096) + "\n" + repeated(100000) + "\n2\n");
  LineReader lines(file, LongLines::kReadInFull);
  EXPECT_EQ(lines.next().str(), repeated(4096));
  EXPECT_EQ(lines.next().str(), repeated(100000));
  EXPECT_EQ(lines.next().str(), "2");
}
