// Tables: what they may hold, and that what is written is read back.
#include "base/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <sstream>
#include <string>

#include "base/errors.h"
#include "base/text_lines.h"
#include "explanation/expected.h"
#include "segmentation/annotations.h"
#include "segmentation/recording_set.h"
#include "support/files.h"
#include "training/training_file.h"

using namespace wgr;

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
  const std::vector<Annotation> annotations = {{"a,b.csv", 0, 1, 2},
                                               {"\"c\" \"\".csv", 1, 2, 0}};
  write_file(path, labels_text(annotations));
  const std::vector<Annotation> again = read_labels(path);
  ASSERT_EQ(again.size(), annotations.size());
  for (size_t i = 0; i < annotations.size(); ++i)
    EXPECT_EQ(again[i].file, annotations[i].file);
}

TEST(Table, AnnotationsOfOneRecordingNameNone) {
  TempDirectory directory;
  const std::string path = directory.file("own.csv");
  write_file(path, "t_start,t_end,label\n0.5,1.25,2\n");
  const std::vector<Annotation> read = read_annotations(path);
  ASSERT_EQ(read.size(), 1u);
  EXPECT_EQ(read[0].file, "");
  EXPECT_EQ(read[0].begin, 0.5);
  EXPECT_EQ(read[0].end, 1.25);
  EXPECT_EQ(read[0].label, 2);
}

// They would be two rows, or a table that its reader refuses.
TEST(Table, NamesThatNoFieldHoldsAreRefused) {
  EXPECT_THROW(field("a\nb.csv"), UsageError);
  EXPECT_THROW(field("\xff.csv"), UsageError);
  EXPECT_EQ(field("\xC3\xA4.csv"), "\xC3\xA4.csv");
}

TEST(Table, ExpectedAnnotationsMayHaveAByteOrderMark) {
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

TEST(Table, TheRowBehindTheMostIsRefused) {
  TempDirectory directory;
  const std::string path = directory.file("table.csv");
  write_file(path, "a,b\n1,2\n\n3,4\n5,6\n");
  EXPECT_EQ(read_table(path, "a,b", "", 3).size(), 3u);
  try {
    read_table(path, "a,b", "", 2);
    ADD_FAILURE() << "accepted";
  } catch (const UsageError& error) {
    EXPECT_EQ(error.what(), path + ":5: more than 2 rows");
  }
}

// It would be the end of every recording's path.
TEST(Table, AnEmptyNameOfARecordingIsRefused) {
  EXPECT_THAT(refusal("file,t_start,t_end,label\na.csv,1,2,3\n,1,2,3\n"),
              HasSubstr("labels.csv:3: the file is empty: name the recording"));
  TempDirectory directory;
  const std::string path = directory.file("expected.csv");
  write_file(path, "file,t_start,t_end,label\n,1,2,3\n");
  EXPECT_THROW(read_expected(path, "a.csv"), UsageError);
  EXPECT_THROW(read_worded_labels(path), UsageError);
}

// ---- lines ---------------------------------------------------------------------------

TEST(TextLines, AreWholeWhateverTheirLength) {
  // Around the size of the parts that they are read in.
  for (size_t length = 4090; length < 4100; ++length) {
    const std::string text(length, 'a');
    std::istringstream file(text + "\n\n" + text);
    std::string line;
    ASSERT_TRUE(next_line(file, line, 10000));
    EXPECT_EQ(line, text);
    ASSERT_TRUE(next_line(file, line, 10000));
    EXPECT_EQ(line, "");
    ASSERT_TRUE(next_line(file, line, 10000));
    EXPECT_EQ(line, text);
    EXPECT_FALSE(next_line(file, line, 10000));
  }
}

TEST(TextLines, HoldZerosToo) {
  const std::string text("a\0b", 3);
  std::istringstream file(text + "\n");
  std::string line;
  ASSERT_TRUE(next_line(file, line, 10));
  EXPECT_EQ(line, text);
  EXPECT_FALSE(next_line(file, line, 10));
}

static std::string message_of(void (*read)()) {
  try {
    read();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(TextLines, OfATableHaveUpTo4096Characters) {
  const TempDirectory directory;
  const std::string labels = directory.file("labels.csv");
  const std::string row = ",1,2,3";
  const auto write_row = [&](size_t length) {
    write_file(labels, "file,t_start,t_end,label\n" +
                           std::string(length - row.size(), 'a') + row + "\n");
  };
  write_row(4096);
  EXPECT_EQ(read_labels(labels).size(), 1u);
  write_row(4097);
  EXPECT_THROW(read_labels(labels), UsageError);
}

// Without a column of files the first field is no file.
TEST(Annotations, WithoutAFileAreNotSaidToLackOne) {
  const TempDirectory directory;
  const std::string table = directory.file("expected.csv");
  write_file(table, "t_start,t_end,label\n,1,2\n");
  EXPECT_THAT([&] { read_expected(table, "a.csv"); },
              ::testing::ThrowsMessage<UsageError>(HasSubstr(":2: field 1: a number")));
}

// They would fill the memory.
TEST(TextLines, FilesWithoutALineBreakAreRefused) {
  EXPECT_EQ(message_of([] { read_labels("/dev/zero"); }),
            "/dev/zero:1: longer than 4096 characters");
  EXPECT_EQ(message_of([] { read_expected("/dev/zero", "a.csv"); }),
            "/dev/zero:1: longer than 4096 characters");
  EXPECT_EQ(message_of([] { read_training_file("/dev/zero"); }),
            "/dev/zero:1: longer than 33554432 characters");
}

// A FIFO would be waited for without an end.
TEST(RecordingSet, AFifoAmongTheRecordingsIsRefused) {
  TempDirectory directory;
  write_file(directory.file("labels.csv"), "file,t_start,t_end,label\n");
  ASSERT_EQ(mkfifo(directory.file("b.csv").c_str(), 0600), 0);
  try {
    read_recording_set(directory.path());
    ADD_FAILURE() << "accepted";
  } catch (const UsageError& error) {
    EXPECT_THAT(error.what(), HasSubstr("b.csv: is no file"));
  }
}
