#include "training/labels.h"

#include "table.h"

static constexpr char kHeader[] = "file,t_start,t_end,label";
static constexpr char kSpansHeader[] = "t_start,t_end,label";
static constexpr int kTimeDecimals = 3;
static constexpr double kHighestLabel = 1000.0;

// The span in the two columns from `first` on, and the file from the one before, if
// there is one.
static LabelledSpan span_in(const TableRow& row, size_t first, const std::string& path) {
  const double begin = number_in(row, first, path);
  const double end = number_in(row, first + 1, path);
  if (!(end > begin)) refuse_row(row, path, "the span ends before it starts");
  return {first > 0 ? row.fields[0] : "", begin, end, 0};
}

// The three columns from `first` on, and the file.
static std::vector<LabelledSpan> read_columns(const std::string& path,
                                              const std::string& header, size_t first) {
  std::vector<LabelledSpan> spans;
  for (const TableRow& row : read_table(path, header)) {
    spans.push_back(span_in(row, first, path));
    const double label = number_in(row, first + 2, path);
    if (!(label >= 0.0 && label <= kHighestLabel) ||
        label != static_cast<double>(static_cast<int>(label))) {
      refuse_row(row, path, "the label must be a whole number from 0");
    }
    spans.back().label = static_cast<int>(label);
  }
  return spans;
}

std::vector<WordedSpan> read_worded_labels(const std::string& path) {
  std::vector<WordedSpan> spans;
  for (const TableRow& row : read_table(path, kHeader)) {
    if (row.fields[3].empty()) refuse_row(row, path, "the label is empty");
    spans.push_back({span_in(row, 1, path), row.fields[3]});
  }
  return spans;
}

std::vector<LabelledSpan> read_labels(const std::string& path) {
  return read_columns(path, kHeader, 1);
}

std::vector<LabelledSpan> read_spans(const std::string& path) {
  return read_columns(path, kSpansHeader, 0);
}

std::string labels_text(const std::vector<LabelledSpan>& spans) {
  std::string text = std::string(kHeader) + "\n";
  for (const LabelledSpan& span : spans) {
    text += field(span.file) + "," + fixed(span.begin, kTimeDecimals) + "," +
            fixed(span.end, kTimeDecimals) + "," + std::to_string(span.label) + "\n";
  }
  return text;
}
