#include "segmentation/recording_set.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/table.h"
#include "base/text.h"
#include "engine/agGes.h"
#include "recording/clock.h"

namespace wgr {

static constexpr NumberRange kRates = number_from(1, kHighestRate);
static constexpr char kLabels[] = "labels.csv";
static constexpr char kIndex[] = "index.csv";
static constexpr char kIndexHeader[] = "file,label,subject,rate_hz";
static constexpr char kIndexAlso[] = "notes,session,wrist";

bool is_recording(const std::filesystem::path& path) {
  return path.extension() == ".csv" || path.extension() == ".wgrcap" ||
         (path.extension() == ".gz" && path.stem().extension() == ".csv");
}

static std::vector<SetEntry> recordings_in(const std::string& folder) {
  std::set<std::string> files;
  std::error_code failed;
  std::filesystem::recursive_directory_iterator entry(folder, failed);
  for (; !failed && entry != std::filesystem::recursive_directory_iterator();
       entry.increment(failed)) {
    const std::string file = entry->path().lexically_relative(folder);
    if (!is_recording(file) || file == kLabels || file == kIndex) continue;
    std::error_code unknown;  // is said when the file is opened
    if (entry->is_fifo(unknown) || entry->is_character_file(unknown)) {
      throw UsageError(
          fmt::format("{}/{}: is no file: take it out of the folder", folder, file));
    }
    files.insert(file);
  }
  if (failed) throw UsageError(folder + ": " + failed.message());
  if (files.empty())
    throw UsageError(folder + ": holds no recording (.csv, .csv.gz, .wgrcap)");
  std::vector<SetEntry> entries;
  for (const std::string& file : files) {
    SetEntry made;
    made.file = file;
    made.path = folder + "/" + file;
    entries.push_back(made);
  }
  return entries;
}

static SetEntry& entry_of(std::vector<SetEntry>& set, const std::string& file,
                          const std::string& table) {
  // Both sides without "./" and the like.
  const std::string plain = std::filesystem::path(file).lexically_normal();
  const auto found = std::find_if(set.begin(), set.end(),
                                  [&](const SetEntry& e) { return e.file == plain; });
  if (found == set.end()) {
    throw UsageError(fmt::format("{}: names {}, which is not there", table, file));
  }
  return *found;
}

static void read_index(const std::string& path, std::vector<SetEntry>& set) {
  for (const TableRow& row : read_table(path, kIndexHeader, kIndexAlso)) {
    SetEntry& entry = entry_of(set, row.fields[0], path);
    if (entry.indexed) refuse_row(row, path, "names " + entry.file + " once more");
    entry.indexed = true;
    entry.word = row.fields[1];
    check_label(row, 1, path);
    entry.subject = row.fields[2];
    entry.session = row.fields[5];
    entry.wrist = row.fields[6];
    if (!entry.wrist.empty() && entry.wrist != kLeftWrist && entry.wrist != kRightWrist) {
      refuse_row(row, path, "the wrist must be left or right, or empty");
    }
    if (row.fields[3].empty()) continue;
    entry.rate = number_in(row, 3, path, kRates);
  }
}

std::vector<SetEntry> read_recording_set(const std::string& folder) {
  std::vector<SetEntry> set = recordings_in(folder);
  const std::string labels = folder + "/" + kLabels;
  const std::string index = folder + "/" + kIndex;
  const bool has_index = std::filesystem::exists(index);
  const bool has_labels = std::filesystem::exists(labels);
  if (!has_index && !has_labels) {
    throw UsageError(fmt::format(
        "{}: holds neither {} nor {}, so nothing says what its recordings show", folder,
        kLabels, kIndex));
  }
  if (has_index) read_index(index, set);
  if (has_labels) {
    for (WordedAnnotation& worded : read_worded_labels(labels)) {
      entry_of(set, worded.annotation.file, labels)
          .annotations.push_back(std::move(worded));
    }
  }
  return set;
}

std::vector<SetEntry> read_background(const std::string& path) {
  std::vector<SetEntry> set;
  if (!std::filesystem::is_directory(path)) {
    set.emplace_back();
    set.back().file = std::filesystem::path(path).filename();
    set.back().path = path;
    return set;
  }
  set = recordings_in(path);
  const std::string index = path + "/" + kIndex;
  if (std::filesystem::exists(index)) read_index(index, set);
  for (SetEntry& entry : set) entry.word.clear();
  return set;
}

static std::optional<int> as_number(const std::string& word) {
  int label = 0;
  const auto [stop, error] =
      std::from_chars(word.data(), word.data() + word.size(), label);
  const bool whole = error == std::errc() && stop == word.data() + word.size();
  if (!whole || label < 0 || label > kHighestLabel) return std::nullopt;
  return label;
}

bool is_background(const std::string& word) {
  return word.empty() || word == "-1" || word == "background" || word == "negative";
}

void number_labels(const std::vector<SetEntry>& set, Classes& classes) {
  std::set<std::string> words;
  const auto note = [&](const std::string& word) {
    if (!is_background(word) && classes.count(word) == 0) words.insert(word);
  };
  for (const SetEntry& entry : set) {
    if (entry.annotations.empty()) note(entry.word);
    for (const WordedAnnotation& worded : entry.annotations) note(worded.word);
  }
  std::set<int> used;
  for (const auto& [word, label] : classes) used.insert(label);
  for (const std::string& word : words) {
    if (const std::optional<int> label = as_number(word)) {
      classes[word] = *label;
      used.insert(*label);
    }
  }
  int next = 0;
  for (const std::string& word : words) {
    if (classes.count(word) > 0) continue;
    while (used.count(next) > 0 || is_class_code(next)) ++next;
    used.insert(next);
    classes[word] = next;
  }
}

}  // namespace wgr
