#include "output/output_plan.h"

#include <sys/stat.h>
#include <unistd.h>

#include "base/errors.h"

namespace wgr {

namespace fs = std::filesystem;

static constexpr char kStandardInput[] = "-";
static constexpr char kNameAnother[] = ": name another file";

void OutputPlan::reads(const std::string& name, const std::string& path) {
  Input input = {name, path, {}};
  input.target.kind = Target::Kind::kReplaced;
  const bool there = path == kStandardInput
                         ? fstat(STDIN_FILENO, &input.target.about) == 0
                         : !path.empty() && stat(path.c_str(), &input.target.about) == 0;
  if (there) inputs_.push_back(std::move(input));
}

void OutputPlan::reads_folder(const std::string& name, const std::string& folder,
                              Counts counts) {
  if (folder.empty()) return;
  std::error_code failed;
  const fs::path path = fs::canonical(folder, failed);
  if (failed) return;
  folders_.push_back({name, path, counts});
  fs::recursive_directory_iterator entry(path, failed);
  for (; !failed && entry != fs::recursive_directory_iterator();
       entry.increment(failed)) {
    if (counts(entry->path())) reads(name, entry->path());
  }
}

// The path with all links followed, of a file or what will be one.
static std::string real_path(const Target& target) {
  std::error_code ignored;
  return fs::canonical(target.folder, ignored) / target.rest;
}

void OutputPlan::writes(const std::string& name, const std::string& path) {
  if (path.empty()) return;
  try {
    const Target target = find_target(path);
    outputs_.push_back({name, target, real_path(target)});
  } catch (const UsageError& error) {
    throw UsageError(name + " " + error.what());
  }
}

void OutputPlan::prints_results() {
  outputs_.push_back({"the results", find_target(kStandardOutput), ""});
}

void OutputPlan::loses(const std::string& folder) {
  std::error_code missing;
  const fs::path path = fs::canonical(folder, missing);
  lost_.push_back(missing ? folder : path.string());
}

static bool is_below(const std::string& path, const std::string& folder) {
  const std::string begin = folder == "/" ? folder : folder + "/";
  return path.compare(0, begin.size(), begin) == 0;
}

void OutputPlan::check_inputs(const Output& output) const {
  for (const Input& input : inputs_) {
    if (!is_same(output.target, input.target)) continue;
    throw UsageError(output.name + " " + output.target.given + ": would overwrite " +
                     input.name + " " + input.path + kNameAnother);
  }
}

void OutputPlan::check_folders(const Output& output) const {
  const std::string& path = output.path;
  for (const Folder& folder : folders_) {
    if (!is_below(path, folder.path) || !folder.counts(path)) continue;
    throw UsageError(output.name + " " + output.target.given +
                     ": would be read as a part of " + folder.name + " " + folder.path +
                     ": name a file elsewhere");
  }
  for (const std::string& folder : lost_) {
    if (!is_below(path, folder)) continue;
    throw UsageError(output.name + " " + output.target.given + ": would be lost, for " +
                     folder + " is private to this run: name a file elsewhere");
  }
}

void OutputPlan::check() const {
  for (size_t i = 0; i < outputs_.size(); ++i) {
    const Output& output = outputs_[i];
    check_inputs(output);
    if (output.target.is_file()) check_folders(output);
    for (size_t j = 0; j < i; ++j) {
      const Output& other = outputs_[j];
      if (is_same(output.target, other.target)) {
        throw UsageError(other.name + " and " + output.name + " would both go to " +
                         (output.target.given == kStandardOutput ? "standard output"
                                                                 : output.target.given) +
                         ": name a file of its own for each");
      }
    }
  }
  // A file that is also to be a folder for another.
  for (const Output& output : outputs_) {
    if (output.target.kind != Target::Kind::kNew) continue;
    for (const Output& other : outputs_) {
      if (!other.target.is_file() || !is_below(other.path, output.path)) continue;
      throw UsageError(other.name + " " + other.target.given + ": cannot lie below " +
                       output.name + " " + output.target.given + ", a file");
    }
  }
}

}  // namespace wgr
