#include "model/model_check.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string_view>

#include "errors.h"
#include "table.h"
#include "training/recording_set.h"

static constexpr size_t kLongestLine = 4095;  // characters that the reader takes
static constexpr double kMostCount = 1000000.0;
static constexpr std::string_view kSpaces = " \t\r\f\v";

namespace {

class Checker {
 public:
  explicit Checker(const std::string& path) : path_(path), file_(path, std::ios::binary) {
    if (!file_ || std::filesystem::is_directory(path)) {
      throw UsageError(path + ": cannot be read");
    }
  }

  std::vector<ModelFinding> check();

 private:
  void find(bool fatal, const std::string& words) {
    findings_.push_back({line_, fatal, words});
  }

  // The numbers of the next line; false, with a finding, when there is no such line or
  // something on it is no number.
  bool next(const std::string& what, std::vector<double>& numbers);
  bool next(const std::string& what, std::vector<double>& numbers, size_t count);
  bool whole(double value, double least, const std::string& what);
  bool check_template(size_t index, bool gravity, std::set<int>& with_templates);

  const std::string path_;
  std::ifstream file_;
  size_t line_ = 0;
  std::vector<ModelFinding> findings_;
  std::map<int, size_t> label_lines_;
};

}  // namespace

bool Checker::next(const std::string& what, std::vector<double>& numbers) {
  std::string text;
  ++line_;
  numbers.clear();
  if (!std::getline(file_, text)) {
    find(true, "the file ends before " + what);
    return false;
  }
  if (text.size() > kLongestLine) {
    find(true, std::to_string(text.size()) + " characters: the reader takes " +
                   std::to_string(kLongestLine) + " and nothing behind them");
    return false;
  }
  std::string_view rest = text;
  for (;;) {
    const size_t begin = rest.find_first_not_of(kSpaces);
    if (begin == std::string_view::npos) return true;
    rest.remove_prefix(begin);
    const std::string_view word = rest.substr(0, rest.find_first_of(kSpaces));
    double value = 0.0;
    const auto [stop, error] =
        std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || stop != word.data() + word.size() ||
        !std::isfinite(value)) {
      find(true, "something is not a number, where " + what + " is expected");
      return false;
    }
    numbers.push_back(value);
    rest.remove_prefix(word.size());
  }
}

bool Checker::next(const std::string& what, std::vector<double>& numbers, size_t count) {
  if (!next(what, numbers)) return false;
  if (numbers.size() == count) return true;
  find(true, std::to_string(numbers.size()) + " numbers instead of " +
                 std::to_string(count) + ", where " + what + " is expected");
  return false;
}

bool Checker::whole(double value, double least, const std::string& what) {
  if (value >= least && value <= kMostCount && value == std::floor(value)) return true;
  find(true, what + " makes no sense");
  return false;
}

bool Checker::check_template(size_t index, bool gravity, std::set<int>& with_templates) {
  const std::string name = "template " + std::to_string(index + 1);
  std::vector<double> head;
  if (!next("the head of " + name, head, 2) ||
      !whole(head[0], -kMostCount, "the label of " + name) ||
      !whole(head[1], 0.0, "the number of points of " + name)) {
    return false;
  }
  const int label = static_cast<int>(head[0]);
  const size_t points = static_cast<size_t>(head[1]);
  with_templates.insert(label);
  if (label_lines_.count(label) == 0) {
    find(false, name + " is of class " + std::to_string(label) +
                    ", which is not in the list of classes: it has no threshold");
  }
  if (is_taken(label)) {
    find(false, name + ": the interface uses class " + std::to_string(label) +
                    " for something else");
  }
  if (points < (gravity ? 2u : 1u)) find(false, name + " has no points of motion");

  const size_t head_line = line_;
  double gravity_squared = 0.0;
  for (const char* axis : {"x", "y", "z"}) {
    std::vector<double> values;
    if (!next(name + "'s " + axis, values, points)) return false;
    if (!values.empty()) gravity_squared += values.back() * values.back();
  }
  if (gravity && points > 0 && !(gravity_squared > 0.0)) {
    findings_.push_back({head_line, false,
                         name + ": its gravity point has no length, "
                                "so nothing can be compared with it"});
  }
  return true;
}

std::vector<ModelFinding> Checker::check() {
  std::vector<double> head;
  if (!next("the counts", head)) return findings_;
  if (head.size() != 4) {
    find(true, std::to_string(head.size()) +
                   " numbers instead of 4: classes, templates, normalise, gravity");
    return findings_;
  }
  if (!whole(head[0], 0.0, "the number of classes") ||
      !whole(head[1], 0.0, "the number of templates")) {
    return findings_;
  }
  for (const size_t flag : {2u, 3u}) {
    if (head[flag] != 0.0 && head[flag] != 1.0) find(false, "a flag is not 0 or 1");
  }
  const size_t classes = static_cast<size_t>(head[0]);
  if (classes == 0) find(false, "no class: it recognises nothing");
  if (head[1] == 0.0) find(false, "no template: it recognises nothing");

  std::vector<double> labels;
  if (!next("the list of classes", labels, classes)) return findings_;
  for (const double label : labels) {
    if (!whole(label, -kMostCount, "a label")) return findings_;
    const int number = static_cast<int>(label);
    if (is_taken(number)) {
      find(false, "class " + std::to_string(number) +
                      ": the interface uses this number for something else");
    }
    if (label_lines_.count(number) > 0) {
      find(false, "class " + std::to_string(number) + " is there twice");
    }
    label_lines_[number] = line_;
  }

  std::vector<double> thresholds;
  if (!next("the thresholds", thresholds)) return findings_;
  if (thresholds.empty()) {
    find(true, "0, or 1 and a threshold for each class, is expected");
  } else if (thresholds[0] != 0.0) {
    if (thresholds.size() != classes + 1) {
      find(true, std::to_string(thresholds.size() - 1) + " thresholds for " +
                     std::to_string(classes) + " classes");
    }
    for (size_t c = 1; c < thresholds.size() && c <= labels.size(); ++c) {
      if (thresholds[c] < 0.0) continue;
      find(false, "the threshold of class " +
                      std::to_string(static_cast<int>(labels[c - 1])) +
                      " is not below 0: it refuses everything, for no score is above 0");
    }
  }

  std::set<int> with_templates;
  for (size_t t = 0; t < static_cast<size_t>(head[1]); ++t) {
    if (!check_template(t, head[3] == 1.0, with_templates)) return findings_;
  }
  for (const auto& [label, line] : label_lines_) {
    if (with_templates.count(label) > 0) continue;
    findings_.push_back(
        {line, false, "class " + std::to_string(label) + " has no template"});
  }
  std::string text;
  while (std::getline(file_, text)) {
    ++line_;
    if (text.find_first_not_of(kSpaces) == std::string::npos) continue;
    find(false, "what follows the last template is never read");
    break;
  }
  return findings_;
}

std::vector<ModelFinding> check_model_file(const std::string& path) {
  return Checker(path).check();
}
