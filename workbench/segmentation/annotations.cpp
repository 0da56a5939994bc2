#include "segmentation/annotations.h"

#include "base/class_codes.h"
#include "base/table.h"
#include "base/text.h"
#include "segmentation/recording_set.h"

namespace wgr {

static constexpr char kHeader[] = "file,t_start,t_end,label";
static constexpr char kSpansHeader[] = "t_start,t_end,label";
static constexpr int kTimeDecimals = 3;
// Seconds of a time stamp, which may count from 1970, and be milliseconds by mistake.
static constexpr NumberRange kStamps = number_from(-1e13, 1e13);
static constexpr NumberRange kLabels = whole_from(0, kHighestLabel);
static constexpr NumberRange kWholeNumbers = whole_from(-1e9, 1e9);

// The span in the two columns from `first` on, and the file from the one before, if
// there is one.
static Annotation span_in(const TableRow& row, size_t first, const std::string& path) {
  if (first > 0 && row.fields[0].empty()) {
    refuse_row(row, path, "the file is empty: name the recording that the span is of");
  }
  const double begin = number_in(row, first, path, kStamps);
  const double end = number_in(row, first + 1, path, kStamps);
  if (!(end > begin)) refuse_row(row, path, "the span ends before it starts");
  return {first > 0 ? row.fields[0] : "", begin, end, 0};
}

// The three columns from `first` on, and the file.
static std::vector<Annotation> read_columns(const std::string& path,
                                            const std::string& header, size_t first) {
  std::vector<Annotation> spans;
  for (const TableRow& row : read_table(path, header)) {
    spans.push_back(span_in(row, first, path));
    spans.back().label = static_cast<int>(number_in(row, first + 2, path, kLabels));
  }
  return spans;
}

void check_label(const TableRow& row, size_t index, const std::string& path) {
  const std::string& word = row.fields[index];
  if (is_background(word)) return;
  if (number_of(word, kWholeNumbers) && !number_of(word, kLabels)) {
    refuse_row(
        row, path,
        fmt::format(
            "the label {}: {} is wanted, or -1 or background for what is no gesture",
            word, kLabels.text()));
  }
  const std::optional<double> label = number_of(word, kLabels);
  if (label && is_class_code(static_cast<int>(*label))) {
    refuse_row(row, path,
               "the label " + word +
                   " is a code of the interface (5, 6, 13 and 14 are), which reports it "
                   "for something else: give the gesture another number or a name");
  }
}

std::vector<WordedAnnotation> read_worded_labels(const std::string& path) {
  std::vector<WordedAnnotation> spans;
  for (const TableRow& row : read_table(path, kHeader)) {
    if (row.fields[3].empty()) refuse_row(row, path, "the label is empty");
    check_label(row, 3, path);
    spans.push_back({span_in(row, 1, path), row.fields[3]});
  }
  return spans;
}

std::vector<Annotation> read_labels(const std::string& path) {
  return read_columns(path, kHeader, 1);
}

std::vector<Annotation> read_spans(const std::string& path) {
  return read_columns(path, kSpansHeader, 0);
}

// The columns that every table of spans has.
static std::string columns_of(const Annotation& span) {
  return fmt::format("{:.{}f},{:.{}f},{}\n", span.begin, kTimeDecimals, span.end,
                     kTimeDecimals, span.label);
}

std::string labels_text(const std::vector<Annotation>& spans) {
  std::string text = std::string(kHeader) + "\n";
  for (const Annotation& span : spans) {
    text += field(span.file) + "," + columns_of(span);
  }
  return text;
}

std::string spans_text(const std::vector<Annotation>& spans) {
  std::string text = std::string(kSpansHeader) + "\n";
  for (const Annotation& span : spans) text += columns_of(span);
  return text;
}

}  // namespace wgr
