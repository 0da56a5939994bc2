#include "segmentation/annotations.h"

#include "base/class_codes.h"
#include "base/table.h"
#include "base/text.h"
#include "segmentation/recording_set.h"

namespace wgr {

static constexpr char kHeader[] = "file,t_start,t_end,label";
static constexpr char kAnnotationsHeader[] = "t_start,t_end,label";
static constexpr int kTimeDecimals = 3;
// Seconds of a time stamp, which may count from 1970, and be milliseconds by mistake.
static constexpr NumberRange kStamps = number_from(-1e13, 1e13);
static constexpr NumberRange kLabels = whole_from(0, kHighestLabel);
static constexpr NumberRange kWholeNumbers = whole_from(-1e9, 1e9);

// The annotation in the two columns from `first` on, and the file from the one before, if
// there is one.
static Annotation annotation_in(const TableRow& row, size_t first,
                                const std::string& path) {
  if (first > 0 && row.fields[0].empty()) {
    refuse_row(row, path,
               "the file is empty: name the recording that the annotation is of");
  }
  const double begin = number_in(row, first, path, kStamps);
  const double end = number_in(row, first + 1, path, kStamps);
  if (!(end > begin)) refuse_row(row, path, "the interval ends before it starts");
  return {first > 0 ? row.fields[0] : "", begin, end, 0};
}

// The three columns from `first` on, and the file.
static std::vector<Annotation> read_columns(const std::string& path,
                                            const std::string& header, size_t first) {
  std::vector<Annotation> annotations;
  for (const TableRow& row : read_table(path, header)) {
    annotations.push_back(annotation_in(row, first, path));
    annotations.back().label = static_cast<int>(number_in(row, first + 2, path, kLabels));
  }
  return annotations;
}

void check_label(const TableRow& row, size_t index, const std::string& path) {
  const std::string& word = row.fields[index];
  if (is_background(word)) return;
  if (number_of(word, kWholeNumbers) && !number_of(word, kLabels)) {
    refuse_row(
        row, path,
        fmt::format(
            "the label {}: {} is required, or -1 or background for what is no gesture",
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
  std::vector<WordedAnnotation> annotations;
  for (const TableRow& row : read_table(path, kHeader)) {
    if (row.fields[3].empty()) refuse_row(row, path, "the label is empty");
    check_label(row, 3, path);
    annotations.push_back({annotation_in(row, 1, path), row.fields[3]});
  }
  return annotations;
}

std::vector<Annotation> read_labels(const std::string& path) {
  return read_columns(path, kHeader, 1);
}

std::vector<Annotation> read_annotations(const std::string& path) {
  return read_columns(path, kAnnotationsHeader, 0);
}

// The columns that every table of annotations has.
static std::string columns_of(const Annotation& annotation) {
  return fmt::format("{:.{}f},{:.{}f},{}\n", annotation.begin, kTimeDecimals,
                     annotation.end, kTimeDecimals, annotation.label);
}

std::string labels_text(const std::vector<Annotation>& annotations) {
  std::string text = std::string(kHeader) + "\n";
  for (const Annotation& annotation : annotations) {
    text += field(annotation.file) + "," + columns_of(annotation);
  }
  return text;
}

std::string annotations_text(const std::vector<Annotation>& annotations) {
  std::string text = std::string(kAnnotationsHeader) + "\n";
  for (const Annotation& annotation : annotations) text += columns_of(annotation);
  return text;
}

}  // namespace wgr
