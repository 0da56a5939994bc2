#include "preflight/model_check.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>

#include "base/class_codes.h"
#include "base/points.h"
#include "classifier/Gmodel.h"

namespace wgr {

static constexpr std::streamsize kLongestLine = 4095;  // characters that the reader takes
static constexpr size_t kMostFindings = 100;           // then the file is something else
// The root mean square of a template of a model that normalises: averages of examples are
// weaker than these, templates moved apart may be stronger; those in m/s² are far
// stronger.
static constexpr double kLeastRms = 0.25;
static constexpr double kMostRms = 1.5;

namespace {

struct Header {
  int classes = 0;
  int templates = 0;
  int normalize = 0;
  int gravity = 0;
};

class Checker {
 public:
  explicit Checker(std::istream& file) : file_(file) {
    values_.imbue(std::locale::classic());
    values_.exceptions(std::ios::badbit);  // where memory runs out
  }

  ModelCheck check();

 private:
  bool full() const { return check_.findings.size() >= kMostFindings; }
  void keep(size_t line, const std::string& text);
  void find(size_t line, const std::string& text) {
    if (!full()) keep(line, text);
  }
  void find(const std::string& text) { find(line_, text); }

  bool next_line(const std::string& what);
  template <class T>
  std::vector<T> values(size_t wanted, const std::string& what);
  bool in_range(int count, const std::string& what);
  void check_flag(int flag, const char* name);
  void check_header();
  void check_labels();
  void check_thresholds();
  void check_template(int number);
  void check_trace(int number, size_t line, const Points& points);
  void check_end();

  std::istream& file_;
  std::istringstream values_;  // of the line that was read last
  size_t line_ = 0;
  bool too_long_ = false;       // that line, for the library's reader
  bool reader_goes_on_ = true;  // no line before it was
  Header header_;
  std::vector<int> labels_;
  std::vector<char> has_template_;  // whether, in step with the labels
  ModelCheck check_;
};

// After all findings up to that line: a later finding may belong before others.
void Checker::keep(size_t line, const std::string& text) {
  std::vector<ModelFinding>& findings = check_.findings;
  auto at = findings.end();
  while (at != findings.begin() && (at - 1)->line > line) --at;
  findings.insert(at, {line, text});
}

// Goes to the next line; false, with a finding, where the file has none. Of a line that
// is too long it keeps what the reader takes.
bool Checker::next_line(const std::string& what) {
  ++line_;
  reader_goes_on_ = reader_goes_on_ && !too_long_;
  char text[kLongestLine + 1] = {};
  file_.getline(text, sizeof text);
  std::streamsize size = file_.gcount();
  too_long_ = file_.fail() && size == kLongestLine;
  if (file_.fail() && !too_long_) {
    find("the file ends where " + what + " should be: it was cut off");
    return false;
  }
  if (too_long_) {
    file_.clear();
    file_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    size += file_.gcount() - (file_.eof() ? 0 : 1);
  }
  if (file_.eof()) find("the last line has no end: the file was cut off");
  if (too_long_) {
    find("the line has " + std::to_string(size) + " characters; those after " +
         std::to_string(kLongestLine) + " and all later lines are lost");
  }
  values_.clear();
  values_.str(text);
  return true;
}

// The line's values as the library extracts them. It leaves out those that cannot be
// read; too few or too many are a finding.
template <class T>
std::vector<T> Checker::values(size_t wanted, const std::string& what) {
  std::vector<T> read;
  T value = 0;
  while (read.size() < wanted && values_ >> value) {
    read.push_back(value);
    value = 0;
  }
  if (read.size() < wanted) {
    const bool out_of_range = value != 0;  // the stream then stores the nearest number
    values_.clear();
    std::string token;
    if (out_of_range || values_ >> token) {
      find(what + ": value " + std::to_string(read.size() + 1) + " is not a number it " +
           "can hold; those after it count as 0");
      if (out_of_range) read.push_back(value);
    } else {
      find(what + ": " + std::to_string(read.size()) + " values instead of " +
           std::to_string(wanted) + "; the rest count as 0");
    }
  } else if (values_ >> std::ws;
             values_.peek() != std::istringstream::traits_type::eof()) {
    find(what + ": more than " + std::to_string(wanted) +
         (wanted == 1 ? " value" : " values") + "; the surplus is ignored");
  }
  return read;
}

// Whether a count can be followed any further.
bool Checker::in_range(int count, const std::string& what) {
  if (count >= 0 && count <= kMostEntries) return true;
  const std::string text = what + ": " + std::to_string(count) +
                           (count < 0 ? " is negative: the model is refused"
                                      : " is more than any model has: it is refused");
  if (reader_goes_on_) {
    check_.loads = false;
    keep(line_, text);  // however much was found before
  } else {
    find(text);
  }
  return false;
}

void Checker::check_flag(int flag, const char* name) {
  if (flag != 0 && flag != 1) {
    find(std::string(name) + ": " + std::to_string(flag) + " is neither 0 nor 1");
  }
}

void Checker::check_header() {
  if (!next_line("the header")) return;
  std::vector<int> counts = values<int>(4, "the header");
  counts.resize(4);
  header_ = {counts[0], counts[1], counts[2], counts[3]};
  check_flag(header_.normalize, "normalize");
  check_flag(header_.gravity, "havegravity");
  if (header_.classes == 0 || header_.templates == 0) {
    find("no classes or no templates: nothing can be recognised");
  }
}

void Checker::check_labels() {
  if (!next_line("the class labels")) return;
  labels_ = values<int>(static_cast<size_t>(header_.classes), "the class labels");
  has_template_.assign(labels_.size(), 0);
  for (size_t i = 0; i < labels_.size(); ++i) {
    if (is_class_code(labels_[i])) {
      find("the label " + std::to_string(labels_[i]) +
           " is a code of the interface (5, 6, 13 and 14 are): use another");
    }
    const auto here = labels_.begin() + static_cast<std::ptrdiff_t>(i);
    if (std::find(labels_.begin(), here, labels_[i]) != here) {
      find("the label " + std::to_string(labels_[i]) +
           " stands twice; only its first threshold counts");
    }
  }
}

void Checker::check_thresholds() {
  if (!next_line("the thresholds")) return;
  int present = 0;
  if (!(values_ >> present)) {
    find("the thresholds: the line must start with 0 or 1");
    return;
  }
  check_flag(present, "the thresholds' flag");
  const size_t wanted = present == 0 ? 0 : static_cast<size_t>(header_.classes);
  const std::vector<double> thresholds = values<double>(wanted, "the thresholds");
  for (size_t i = 0; i < thresholds.size() && i < labels_.size(); ++i) {
    if (thresholds[i] < 0.0) continue;
    find("the threshold of label " + std::to_string(labels_[i]) +
         " is not below 0, as every score is: nothing is ever accepted");
  }
}

void Checker::check_trace(int number, size_t line, const Points& points) {
  const std::string name = "template " + std::to_string(number + 1);
  const size_t trailing = header_.gravity == 1 ? 1 : 0;
  if (points.size() <= trailing) return;
  const size_t moving = points.size() - trailing;
  if (trailing == 1 && squared_length(points.back()) == 0.0) {
    find(line, name + ": its gravity, the last point, has no length: it never wins");
  }
  if (header_.normalize != 1) return;
  double sum = 0.0;
  for (size_t i = 0; i < moving; ++i) sum += squared_length(points[i]);
  const double rms = std::sqrt(sum / static_cast<double>(moving));
  if (rms >= kLeastRms && rms <= kMostRms) return;
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << name << ": its root mean square is " << rms
       << " instead of about 1, though the model normalises";
  find(line, text.str());
}

void Checker::check_template(int number) {
  const std::string name = "template " + std::to_string(number + 1);
  if (!next_line(name)) return;
  const size_t head = line_;
  std::vector<int> about = values<int>(2, name + ", its label and number of points");
  about.resize(2);
  const auto label = std::find(labels_.begin(), labels_.end(), about[0]);
  if (label != labels_.end()) {
    has_template_[static_cast<size_t>(label - labels_.begin())] = 1;
  } else if (about[0] != kNoGesture) {  // background, which needs no threshold
    find(name + ": its label " + std::to_string(about[0]) +
         " is not in the list of classes");
  }
  if (!in_range(about[1], name + ", its number of points")) {
    file_.setstate(std::ios::failbit);
    return;
  }
  const size_t count = static_cast<size_t>(about[1]);
  if (count <= (header_.gravity == 1 ? 1u : 0u)) {
    find(name + ": it has no points of motion and never wins");
  }

  static constexpr std::array<double Point3Df::*, 3> kAxes = {&Point3Df::x, &Point3Df::y,
                                                              &Point3Df::z};
  static constexpr std::array<const char*, 3> kNames = {", its x", ", its y", ", its z"};
  Points points;
  size_t complete = std::numeric_limits<size_t>::max();
  for (size_t axis = 0; axis < kAxes.size(); ++axis) {
    if (!next_line(name + kNames[axis])) return;
    const std::vector<double> along = values<double>(count, name + kNames[axis]);
    points.resize(std::max(points.size(), along.size()));
    for (size_t i = 0; i < along.size(); ++i) points[i].*kAxes[axis] = along[i];
    complete = std::min(complete, along.size());
  }
  // A trace with holes gets no other finding.
  if (complete == count) check_trace(number, head, points);
}

void Checker::check_end() {
  if (file_.peek() != std::istream::traits_type::eof()) {
    find(line_ + 1, "more lines than the header announces; they are ignored");
  }
}

ModelCheck Checker::check() {
  check_header();
  if (!in_range(header_.classes, "the number of classes")) return check_;
  if (!in_range(header_.templates, "the number of templates")) return check_;
  check_labels();
  const size_t labels_line = line_;
  check_thresholds();
  // To the end, even when nothing more is reported: the reader may refuse the last
  // template.
  for (int i = 0; i < header_.templates && file_; ++i) check_template(i);
  if (!file_) return check_;
  for (size_t i = 0; i < labels_.size(); ++i) {
    if (has_template_[i] != 0) continue;
    find(labels_line,
         "no template has the label " + std::to_string(labels_[i]) + ": it never wins");
  }
  check_end();
  return check_;
}

}  // namespace

static ModelCheck unusable(const std::string& reason) {
  return {false, {{0, "cannot be read: " + reason}}};
}

ModelCheck check_model_file(const std::string& path) {
  // A pipe would keep the reader waiting, and a directory reads as an empty model.
  struct stat about;
  if (stat(path.c_str(), &about) != 0) return unusable(std::strerror(errno));
  if (!S_ISREG(about.st_mode)) return unusable("it is not a regular file");
  std::ifstream file(path);
  if (!file.is_open()) return unusable(std::strerror(errno));
  return check_model(file);
}

ModelCheck check_model(std::istream& text) { return Checker(text).check(); }

}  // namespace wgr
