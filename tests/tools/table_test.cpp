// Tables: what they may hold, and that what is written is read back.
#include "table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "errors.h"
#include "explanation/expected.h"
#include "support/files.h"
#include "training/labels.h"

using ::testing::HasSubstr;

static std::string refusal(const std::string& content) {
  TempDirectory directory;
  const std::string path = directory.file("labels.csv");
  write_file(path, content);
  try {
    read_labels(path);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

// Cut off to nothing, a table would say that there are no gestures.
TEST(Table, AnEmptyFileIsNoTable) {
  EXPECT_THAT(refusal(""), HasSubstr("labels.csv:1: the file is empty"));
  EXPECT_EQ(refusal("file,t_start,t_end,label\n"), "");
}

TEST(Table, NamesWithCommasAndQuotesAreReadBackAsTheyWere) {
  TempDirectory directory;
  const std::string path = directory.file("labels.csv");
  const std::vector<LabelledSpan> spans = {{"a,b.csv", 0, 1, 2},
                                           {"\"c\" \"\".csv", 1, 2, 0}};
  write_file(path, labels_text(spans));
  const std::vector<LabelledSpan> again = read_labels(path);
  ASSERT_EQ(again.size(), spans.size());
  for (size_t i = 0; i < spans.size(); ++i) EXPECT_EQ(again[i].file, spans[i].file);
}

// They would be two rows, or a table that its reader refuses.
TEST(Table, NamesThatNoFieldHoldsAreRefused) {
  EXPECT_THROW(field("a\nb.csv"), UsageError);
  EXPECT_THROW(field("\xff.csv"), UsageError);
  EXPECT_EQ(field("\xC3\xA4.csv"), "\xC3\xA4.csv");
}

TEST(Table, ExpectedSpansMayHaveAByteOrderMark) {
  TempDirectory directory;
  const std::string path = directory.file("expected.csv");
  for (const char* const header : {"t_start,t_end,label", "file,t_start,t_end,label"}) {
    const std::string file = *header == 'f' ? "a.csv," : "";
    for (const char* const mark : {"", "\xEF\xBB\xBF"}) {
      write_file(path, std::string(mark) + header + "\n" + file + "1,2,3\n");
      EXPECT_EQ(read_expected(path, "a.csv").size(), 1u) << mark << header;
    }
  }
}
