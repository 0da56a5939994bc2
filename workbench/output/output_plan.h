// All that a subcommand is going to read and write, compared before any work: nothing
// that is read may be overwritten, and no two outputs may be one file.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "output/target.h"

namespace wgr {

class OutputPlan {
 public:
  // `name` is what the user calls it: an option, or words. Files are compared by device
  // and inode, wherever links lead. What is not there, or empty, is passed over; "-" is
  // standard input. A folder means the files in it that `counts` is true for, those that
  // are there and those that would be.
  using Counts = bool (*)(const std::filesystem::path& file);
  void reads(const std::string& name, const std::string& path);
  void reads_folder(const std::string& name, const std::string& folder, Counts counts);

  // An output; none when `path` is empty. "-" is standard output. Throws UsageError when
  // it cannot be written.
  void writes(const std::string& name, const std::string& path);

  // The results of the subcommand, on standard output.
  void prints_results();

  // What is written below this folder is lost: the run has it to itself.
  void loses(const std::string& folder);

  // Throws UsageError naming both sides of a collision.
  void check() const;

 private:
  struct Input {
    std::string name;
    std::string path;
    Target target;  // of the kinds, only kResults is of use: standard input
  };
  struct Folder {
    std::string name;
    std::string path;  // all links followed
    Counts counts;
  };
  struct Output {
    std::string name;
    Target target;
    std::string path;  // all links followed
  };

  void check_inputs(const Output& output) const;
  void check_folders(const Output& output) const;

  std::vector<Input> inputs_;
  std::vector<Folder> folders_;
  std::vector<Output> outputs_;
  std::vector<std::string> lost_;  // all links followed
};

}  // namespace wgr
