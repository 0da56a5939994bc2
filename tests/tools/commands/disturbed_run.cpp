#include "disturbed_run.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "support/files.h"

namespace fs = std::filesystem;

std::string without_speed(const std::string& text) {
  static const std::regex kSpeed("speed     .*\n|\"real_time_factor\":[^,}]*");
  return std::regex_replace(text, kSpeed, "");
}

// The file that a command writes, or one of the folders that it makes for it.
static bool belongs(const Disturbed& d, const std::string& name, const Entry& entry) {
  if (d.is_output(name) || d.aliases.count(name) > 0) return true;
  return S_ISDIR(entry.about.st_mode) &&
         std::any_of(d.command.outputs.begin(), d.command.outputs.end(),
                     [&](const std::string& output) {
                       return output.compare(0, name.size() + 1, name + "/") == 0;
                     });
}

static bool is_temporary(const std::string& name) {
  return name.compare(0, 4, "tmp/") == 0 || fs::path(name).filename().string()[0] == '.';
}

static void expect_same_kind(const std::string& name, const Entry& was, const Entry& is) {
  EXPECT_EQ(is.about.st_mode, was.about.st_mode) << name << ": another kind or mode";
  EXPECT_EQ(is.about.st_uid, was.about.st_uid) << name << ": another owner";
  EXPECT_EQ(is.about.st_gid, was.about.st_gid) << name << ": another group";
  EXPECT_EQ(is.about.st_rdev, was.about.st_rdev) << name << ": another device";
}

// Whether a link leads to the standard output of whoever follows it: a pipe to the
// command, and a file to this test where it prints into one.
static bool is_own_output(const fs::path& path) {
  return fs::is_symlink(path) && fs::read_symlink(path) == kOwnOutput;
}

// What an output, or "-", holds when all goes well: what is no file gives no name to
// those that would name it.
static std::string usual_content(const Disturbed& d, const std::string& output) {
  const std::string& usual = output == "-" ? d.usual.out : d.usual.files.at(output);
  const fs::path recording = d.target_path();
  if (d.command.naming == nullptr || d.command.naming != output ||
      d.target != d.command.outputs.front() || !fs::exists(recording) ||
      (fs::is_regular_file(recording) && !is_own_output(recording))) {
    return usual;
  }
  std::istringstream lines(usual);
  std::string nameless;
  for (std::string line; std::getline(lines, line);) {
    nameless += line.substr(line.find(',') + 1) + "\n";
  }
  return nameless;
}

static void judge_entry(const Disturbed& d, const std::string& name, const Entry* was,
                        const Entry* is, Written& written) {
  if (is == nullptr) {
    ADD_FAILURE() << name << " is gone";
    return;
  }
  if (was == nullptr && !belongs(d, name, *is)) {
    if (d.run.signal == SIGKILL && is_temporary(name)) {
      ++written.left;
    } else {
      ADD_FAILURE() << name << " is left behind";
    }
    return;
  }
  if (was != nullptr) expect_same_kind(name, *was, *is);
  if (d.path(name) == d.run.out.path) return;  // what is printed may end anywhere
  const bool output = d.is_output(name) || d.aliases.count(name) > 0;
  if (!output || !S_ISREG(is->about.st_mode)) {
    written.made_folder |= was == nullptr;
    if (was == nullptr) return;
    EXPECT_EQ(is->about.st_ino, was->about.st_ino) << name << " was replaced";
    EXPECT_TRUE(is->content == was->content) << name << " was changed";
    return;
  }
  const auto alias = d.aliases.find(name);
  const std::string& meant = alias == d.aliases.end() ? name : alias->second;
  const std::string usual = usual_content(d, meant);
  if (is->content == usual) {
    ++written.complete;
  } else {
    ++written.others;
    EXPECT_TRUE(was != nullptr && is->content == was->content)
        << name << " is half written: " << is->content.size() << " of " << usual.size()
        << " bytes";
  }
}

// The report beside a model, and the like.
static bool goes_beside(const std::string& name, const std::string& target) {
  const std::string stem = fs::path(target).replace_extension().string() + ".";
  return name != target && name.compare(0, stem.size(), stem) == 0;
}

Written judge_files(const Disturbed& d, const Tree& before, const Tree& after) {
  Written written;
  std::set<std::string> names;
  for (const auto& [name, ignored] : before) names.insert(name);
  for (const auto& [name, ignored] : after) names.insert(name);
  for (const std::string& name : names) {
    const auto was = before.find(name);
    const auto is = after.find(name);
    judge_entry(d, name, was == before.end() ? nullptr : &was->second,
                is == after.end() ? nullptr : &is->second, written);
  }
  for (const std::string name : d.command.outputs) {
    if (after.count(name) == 0 && !(d.lonely && goes_beside(name, d.target))) {
      ++written.others;
    }
  }
  for (const auto& [name, ignored] : d.aliases) {
    if (name != "-" && after.count(name) == 0) ++written.others;
  }
  return written;
}

// Whether all that was printed, and what went through FIFOs, arrived.
static bool arrived(const Disturbed& d, const RunResult& result) {
  if (d.loses) return false;
  std::string out = result.out;
  if (d.run.out.kind == Stream::kFile && fs::is_regular_file(d.run.out.path)) {
    out = read_file(d.run.out.path);
  }
  const bool seen =
      d.run.out.kind == Stream::kUsual || fs::is_regular_file(d.run.out.path);
  if (seen && d.aliases.count("-") == 0 && without_speed(out) != usual_content(d, "-"))
    return false;
  if (d.aliases.count("-") > 0 && seen && out != d.usual.files.at(d.aliases.at("-"))) {
    return false;
  }
  return std::all_of(result.fifos.begin(), result.fifos.end(), [&](const auto& fifo) {
    return fifo.second == d.usual.files.at(d.target);
  });
}

static bool says_why(const Disturbed& d, const RunResult& result) {
  return d.run.err.kind != Stream::kUsual || result.err.compare(0, 5, "wgr: ") == 0 ||
         result.err.find("\nwgr: ") != std::string::npos;
}

void judge_end(const Disturbed& d, const RunResult& result, const Written& written) {
  const bool lost = written.others > 0 || !arrived(d, result);
  const bool torn = written.others > 0 && written.complete > 0;
  if (result.signal != 0) {
    EXPECT_EQ(result.signal, d.run.signal) << "it crashed";
    if (d.run.signal != SIGKILL) {
      EXPECT_FALSE(torn) << "some files are new, and some are not";
      EXPECT_FALSE(written.made_folder && written.complete == 0) << "a folder is left";
    }
    return;
  }
  if (d.status) {
    EXPECT_EQ(result.status, *d.status);
  }
  if (result.status == d.usual.status) {
    EXPECT_FALSE(lost && result.status == 0) << "it says that all went well";
    EXPECT_TRUE(!lost || says_why(d, result)) << "it does not say what was lost";
    return;
  }
  EXPECT_TRUE(result.status == 1 || result.status == 2) << "of another meaning";
  EXPECT_TRUE(says_why(d, result)) << "it does not say why";
  // Files do not need a reader of the results: explain --report page | head.
  const bool printing_failed = written.others == 0 && !arrived(d, result);
  if (printing_failed) return;
  EXPECT_EQ(written.complete, 0u) << "it failed, and wrote some files all the same";
  EXPECT_FALSE(written.made_folder) << "it failed, and left a folder";
}
