#include "training/labels.h"

#include "table.h"

static constexpr char kHeader[] = "file,t_start,t_end,label";
static constexpr int kTimeDecimals = 3;
static constexpr double kHighestLabel = 1000.0;

std::vector<LabelledSpan> read_labels(const std::string& path) {
  std::vector<LabelledSpan> spans;
  for (const TableRow& row : read_table(path, kHeader)) {
    const double begin = number_in(row, 1, path);
    const double end = number_in(row, 2, path);
    if (!(end > begin)) refuse_row(row, path, "the span ends before it starts");
    const double label = number_in(row, 3, path);
    if (!(label >= 0.0 && label <= kHighestLabel) ||
        label != static_cast<double>(static_cast<int>(label))) {
      refuse_row(row, path, "the label must be a whole number from 0");
    }
    spans.push_back({row.fields[0], begin, end, static_cast<int>(label)});
  }
  return spans;
}

void write_labels(const std::string& path, const std::vector<LabelledSpan>& spans) {
  std::string text = std::string(kHeader) + "\n";
  for (const LabelledSpan& span : spans) {
    text += span.file + "," + fixed(span.begin, kTimeDecimals) + "," +
            fixed(span.end, kTimeDecimals) + "," + std::to_string(span.label) + "\n";
  }
  write_text(path, text);
}
