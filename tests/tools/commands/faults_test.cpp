// Every subcommand with every output while something goes wrong: nothing may be lost
// without a word, changed that was only to be read, half written, or left behind.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <regex>
#include <set>

#include "fault_commands.h"
#include "fault_run.h"
#include "support/cases.h"
#include "support/files.h"
#include "support/private_paths.h"

namespace fs = std::filesystem;

static constexpr size_t kPage = 4096;     // bytes, of a disk in memory
static constexpr mode_t kOddMode = 0640;  // of the files that are there before
static constexpr uid_t kOddOwner = 1234;
static constexpr gid_t kOddGroup = 5678;
static constexpr char kFiller[] = "out/filler";
static constexpr char kOwnOutput[] = "/proc/self/fd/1";

// How many cases go untried: where a step takes longer, one of some is tried.
static size_t every() { return property_cases() >= 1'000'000 ? 1 : 48; }

// ---- One disturbed run ----------------------------------------------------------------

namespace {

// What a command does undisturbed.
struct Usual {
  int status = 0;
  std::string out;
  std::map<std::string, std::string> files;  // by the path in the case's folder
  std::chrono::microseconds took;
};

class Disturbed {
 public:
  Disturbed(const FaultCommand& its_command, const Usual& its_usual,
            const std::string& its_target, const std::string& its_folder)
      : command(its_command), usual(its_usual), target(its_target), folder(its_folder) {}
  Disturbed(const Disturbed&) = delete;
  Disturbed& operator=(const Disturbed&) = delete;
  ~Disturbed() {
    for (const std::string& mounted : mounts) unmount(mounted);
  }

  std::string path(const std::string& name) const { return folder + "/" + name; }
  std::string target_path() const { return path(target); }
  bool is_output(const std::string& name) const {
    return std::find(command.outputs.begin(), command.outputs.end(), name) !=
           command.outputs.end();
  }

  const FaultCommand& command;
  const Usual& usual;
  const std::string target;  // the output that is in question; may be empty
  const std::string folder;  // with in, out, tmp and elsewhere
  Run run;
  std::vector<std::string> mounts;
  std::optional<int> status;  // that it must end with; otherwise as the loss says
  bool loses = false;         // an output leads where nothing is kept
  bool lonely = false;        // the target is no file, so that nothing goes beside it
  // Files that are an output by another name.
  std::map<std::string, std::string> aliases;
  std::mt19937 random;
};

struct Fault {
  std::string name;
  std::function<void(Disturbed&)> arrange;
  int repeated = 1;
  bool essential = false;  // tried with commands that take long, too
};

// What was met, over all cases.
struct Tally {
  size_t cases = 0;
  size_t runs = 0;
  size_t kills = 0;
  size_t left = 0;  // temporary files, by SIGKILL
  std::map<std::string, size_t> skipped;
};

}  // namespace

static Tally tally;

// A speed differs from run to run.
static std::string without_speed(const std::string& text) {
  static const std::regex kSpeed("speed     .*\n|\"real_time_factor\":[^,}]*");
  return std::regex_replace(text, kSpeed, "");
}

static std::string words_of(const std::vector<std::string>& words) {
  std::string text = "wgr";
  for (const std::string& word : words) text += " " + word;
  return text;
}

static std::vector<std::string> split(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
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

// The states of all files that a command writes: how many are complete, and how many not.
struct Written {
  size_t complete = 0;
  size_t others = 0;
  bool made_folder = false;
};

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
      ++tally.left;
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

static Written judge_files(const Disturbed& d, const Tree& before, const Tree& after) {
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

static void judge_end(const Disturbed& d, const RunResult& result,
                      const Written& written) {
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

// ---- The faults -----------------------------------------------------------------------

static void put_old(const Disturbed& d, const std::string& name) {
  fs::create_directories(fs::path(d.path(name)).parent_path());
  write_file(d.path(name), "old " + name + "\n");
  chmod(d.path(name).c_str(), kOddMode);
  // Where that is not allowed it stays its maker's.
  static_cast<void>(chown(d.path(name).c_str(), kOddOwner, kOddGroup) == 0);
}

static void put_all_old(Disturbed& d) {
  for (const std::string name : d.command.outputs) put_old(d, name);
}

static void put_parent_of_target(const Disturbed& d) {
  fs::create_directories(fs::path(d.target_path()).parent_path());
}

static size_t size_of_all(const Usual& usual) {
  size_t pages = 0;
  for (const auto& [name, text] : usual.files) pages += (text.size() + kPage - 1) / kPage;
  return pages * kPage;
}

static size_t size_of_largest(const Usual& usual) {
  size_t most = 0;
  for (const auto& [name, text] : usual.files) most = std::max(most, text.size());
  return most;
}

// Mounts a disk for the outputs with `bytes` to spare beside what is on it by then.
static void fill_disk(Disturbed& d, size_t bytes, bool old) {
  const size_t room =
      bytes / kPage * kPage + (old ? d.command.outputs.size() * kPage : 0);
  mount_disk(d.path("out"), room + kPage);
  d.mounts.push_back(d.path("out"));
  if (old) put_all_old(d);
  write_file(d.path(kFiller), std::string(kPage, 'x'));
}

static void lose_output(Disturbed& d, const Stream& stream) {
  d.run.out = stream;
  if (!d.command.prints) return;
  d.loses = true;
  d.status = 1;
}

// It must not even begin.
static void refuse(Disturbed& d) {
  d.loses = true;
  d.status = 2;
}

static void put_device(Disturbed& d, const char* name) {
  d.lonely = true;
  put_parent_of_target(d);
  make_device(d.target_path(), name);
  d.mounts.push_back(d.target_path());
}

static void put_link(Disturbed& d, const std::string& to) {
  put_parent_of_target(d);
  fs::create_symlink(to, d.target_path());
}

// Where a link from the target's folder leads to the case's folder.
static std::string up(const Disturbed& d) {
  const auto depth = std::count(d.target.begin(), d.target.end(), '/');
  std::string way;
  for (auto i = depth; i > 0; --i) way += "../";
  return way;
}

static Fault full_disk(const std::string& name, bool old,
                       const std::function<size_t(size_t)>& room) {
  return {"full_disk_" + name, [=](Disturbed& d) {
            fill_disk(d, room(size_of_all(d.usual)), old);
            d.status = 1;
          }};
}

static Fault limited(const std::string& name,
                     const std::function<size_t(size_t)>& limit) {
  return {"file_size_limit_" + name, [=](Disturbed& d) {
            put_all_old(d);
            const size_t largest = size_of_largest(d.usual);
            d.run.longest_file = std::min(limit(largest), largest - 1);
            d.status = 1;
          }};
}

// At any time, or from the first change that shows.
enum class When { kAny, kOverOld, kMakingNew };

static Fault signalled(int signal, const std::string& name, When when, int repeated) {
  const bool late = when != When::kAny;
  const std::string suffix = when == When::kAny       ? ""
                             : when == When::kOverOld ? "_while_replacing"
                                                      : "_while_making";
  return {name + suffix,
          [=](Disturbed& d) {
            if (when != When::kMakingNew) put_all_old(d);
            d.run.signal = signal;
            const auto most =
                late ? 400.0 : 1.1 * static_cast<double>(d.usual.took.count());
            const double delay = std::uniform_real_distribution<>(0.0, most)(d.random);
            d.run.delay = std::chrono::microseconds(static_cast<long>(delay));
            if (late) d.run.watched = d.path(d.command.outputs.empty() ? "tmp" : "out");
          },
          repeated, signal != SIGHUP};
}

// Of every command.
static std::vector<Fault> faults_of_a_run() {
  return {
      {"standard_input_closed", [](Disturbed& d) { d.run.in = {Stream::kClosed}; }},
      {"standard_error_closed", [](Disturbed& d) { d.run.err = {Stream::kClosed}; }},
      {"standard_error_without_reader",
       [](Disturbed& d) { d.run.err = {Stream::kWithoutReader}; }},
      {"standard_error_full",
       [](Disturbed& d) {
         d.run.err = {Stream::kFile, "/dev/full"};
       }},
      {"standard_output_closed", [](Disturbed& d) { lose_output(d, {Stream::kClosed}); },
       1, true},
      {"standard_output_without_reader",
       [](Disturbed& d) { lose_output(d, {Stream::kWithoutReader}); }},
      {"standard_output_full",
       [](Disturbed& d) {
         lose_output(d, {Stream::kFile, "/dev/full"});
       },
       1, true},
      {"all_closed",
       [](Disturbed& d) {
         d.run.in = d.run.err = {Stream::kClosed};
         lose_output(d, {Stream::kClosed});
         if (d.command.input != nullptr) d.status = 2;  // nothing to read is seen first
       }},
      {"no_temporary_folder",
       [](Disturbed& d) { d.run.temporary = d.path("tmp/missing"); }, 1, true},
      {"temporary_folder_read_only",
       [](Disturbed& d) {
         mount_read_only(d.path("tmp"));
         d.mounts.push_back(d.path("tmp"));
       }},
      signalled(SIGINT, "SIGINT", When::kAny, 5),
      signalled(SIGTERM, "SIGTERM", When::kAny, 5),
      signalled(SIGHUP, "SIGHUP", When::kAny, 2),
      signalled(SIGKILL, "SIGKILL", When::kAny, 5),
  };
}

// Of what a command prints.
static std::vector<Fault> faults_of_prints() {
  const auto to_file = [](Disturbed& d) {
    d.run.out = {Stream::kFile, d.path("elsewhere/printed")};
    write_file(d.run.out.path, "");
    d.status = 1;
  };
  return {
      {"printed_to_a_full_disk",
       [=](Disturbed& d) {
         to_file(d);
         d.run.out.path = d.path("out/printed");
         mount_disk(d.path("out"), kPage);
         d.mounts.push_back(d.path("out"));
         write_file(d.path(kFiller), std::string(kPage, 'x'));
         write_file(d.run.out.path, "");
       }},
      {"printed_to_a_limit",
       [=](Disturbed& d) {
         to_file(d);
         d.run.longest_file = 0;
       }},
      {"printed_almost_to_a_limit",
       [=](Disturbed& d) {
         to_file(d);
         d.run.longest_file = d.usual.out.size() - 1;
       }},
  };
}

// Of a command that writes files.
static std::vector<Fault> faults_of_files() {
  const auto read_only = [](Disturbed& d) {
    mount_read_only(d.path("out"));
    d.mounts.push_back(d.path("out"));
    d.status = 2;
  };
  return {
      {"old_files", [](Disturbed& d) { put_all_old(d); }},
      {"odd_neighbours",
       [](Disturbed& d) {
         write_file(d.path("elsewhere/precious"), "precious");
         for (const std::string name : d.command.outputs) {
           put_old(d, name + ".part");
           put_old(d, name + "~");
           fs::create_symlink(d.path("elsewhere/precious"), d.path(name + ".tmp"));
           fs::create_symlink(d.path("elsewhere/precious"), d.path(name + ".part.xml"));
         }
       }},
      full_disk("without_room", false, [](size_t) { return 0; }),
      full_disk("without_room_over_old", true, [](size_t) { return 0; }),
      full_disk("of_a_page", false, [](size_t all) { return all > kPage ? kPage : 0; }),
      full_disk("of_half", false, [](size_t all) { return all / 2; }),
      full_disk("of_half_over_old", true, [](size_t all) { return all / 2; }),
      full_disk("a_page_short", false, [](size_t all) { return all - kPage; }),
      full_disk("a_page_short_over_old", true, [](size_t all) { return all - kPage; }),
      {"no_inodes",
       [](Disturbed& d) {
         mount_disk(d.path("out"), 64 * kPage, 1);
         d.mounts.push_back(d.path("out"));
         d.status = 1;
       }},
      limited("of_0", [](size_t) { return 0; }),
      limited("of_100", [](size_t) { return 100; }),
      limited("of_half", [](size_t most) { return most / 2; }),
      limited("a_byte_short", [](size_t most) { return most - 1; }),
      {"read_only", read_only},
      {"read_only_over_old",
       [=](Disturbed& d) {
         put_all_old(d);
         read_only(d);
       }},
      {"missing_folder", [](Disturbed& d) { fs::remove(d.path("out")); }},
      {"missing_folder_and_a_limit",
       [](Disturbed& d) {
         fs::remove(d.path("out"));
         d.run.longest_file = 0;
         d.status = 1;
       }},
      signalled(SIGINT, "SIGINT", When::kOverOld, 5),
      signalled(SIGINT, "SIGINT", When::kMakingNew, 3),
      signalled(SIGTERM, "SIGTERM", When::kOverOld, 5),
      signalled(SIGKILL, "SIGKILL", When::kOverOld, 5),
      signalled(SIGKILL, "SIGKILL", When::kMakingNew, 3),
  };
}

// Of one output file, the target.
static std::vector<Fault> faults_of_a_target() {
  return {
      {"null", [](Disturbed& d) { put_device(d, "null"); }},
      {"full",
       [](Disturbed& d) {
         put_device(d, "full");
         d.loses = true;
         d.status = 1;
       }},
      {"fifo",
       [](Disturbed& d) {
         put_parent_of_target(d);
         d.lonely = true;
         ASSERT_EQ(mkfifo(d.target_path().c_str(), kOddMode), 0);
         d.run.fifos = {d.target_path()};
       }},
      {"link",
       [](Disturbed& d) {
         put_old(d, "elsewhere/real");
         put_link(d, up(d) + "elsewhere/real");
         d.aliases["elsewhere/real"] = d.target;
       }},
      {"link_to_nothing_yet",
       [](Disturbed& d) {
         put_link(d, up(d) + "elsewhere/new");
         d.aliases["elsewhere/new"] = d.target;
       }},
      {"link_to_null",
       [](Disturbed& d) {
         d.lonely = true;
         make_device(d.path("elsewhere/null"), "null");
         d.mounts.push_back(d.path("elsewhere/null"));
         put_link(d, up(d) + "elsewhere/null");
       }},
      {"link_to_itself",
       [](Disturbed& d) {
         put_link(d, fs::path(d.target).filename());
         refuse(d);
       }},
      {"folder",
       [](Disturbed& d) {
         fs::create_directories(d.target_path());
         refuse(d);
       }},
      {"link_to_standard_output",
       [](Disturbed& d) {
         put_link(d, kOwnOutput);
         d.lonely = true;
         if (d.command.prints) return refuse(d);  // two outputs in one
         d.aliases["-"] = d.target;
       }},
      {"link_to_lost_output",
       [](Disturbed& d) {
         put_link(d, kOwnOutput);
         d.run.out = {Stream::kWithoutReader};
         d.loses = true;
         d.status = d.command.prints ? 2 : 1;
       }},
  };
}

// Of an output file, the target, for a user who is not root.
static std::vector<Fault> faults_of_a_plain_user() {
  const auto become_plain = [](Disturbed& d) {
    d.run.as_nobody = true;
    if (geteuid() != 0 || !give_to_nobody(d.folder))
      throw CannotTry("only root can be another user");
  };
  return {
      {"write_protected",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
         chmod(d.target_path().c_str(), 0444);
         refuse(d);
       }},
      {"of_another_user",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
         ASSERT_EQ(chown(d.target_path().c_str(), kOddOwner, kOddGroup), 0);
         chmod(d.target_path().c_str(), 0666);
         refuse(d);
       }},
      {"in_a_protected_folder",
       [=](Disturbed& d) {
         put_parent_of_target(d);
         become_plain(d);
         chmod(fs::path(d.target_path()).parent_path().c_str(), 0555);
         refuse(d);
       }},
      {"own",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
       }},
  };
}

// The target is another file that the command has, by link or by name.
static Fault same_as(const std::string& other, bool hard) {
  return {(hard ? "hard_link_to_" : "link_to_") + other, [=](Disturbed& d) {
            put_parent_of_target(d);
            if (d.is_output(other)) put_old(d, other);
            if (hard) {
              fs::create_hard_link(d.path(other), d.target_path());
            } else {
              put_link(d, up(d) + other);
            }
            refuse(d);
          }};
}

// ---- The table ------------------------------------------------------------------------

namespace {

struct Case {
  std::string name;
  const FaultCommand* command;
  Fault fault;
  std::string target;

  // Or each would be shown byte by byte.
  friend void PrintTo(const Case& one, std::ostream* out) { *out << one.command->words; }
};

}  // namespace

static void add(std::vector<Case>& cases, const FaultCommand& command, const Fault& fault,
                const std::string& target = "") {
  std::string name = std::string(command.name) + "__" + fault.name;
  if (!target.empty()) name += "__" + target;
  for (char& c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  }
  cases.push_back({name, &command, fault, target});
}

static void add_targets(std::vector<Case>& cases, const FaultCommand& command) {
  for (size_t i = 0; i < command.outputs.size(); ++i) {
    const std::string target = command.outputs[i];
    for (const Fault& fault : faults_of_a_target()) add(cases, command, fault, target);
    const std::string words = command.words;
    const bool launched = words.find("--models") != std::string::npos &&
                          words.find("--log") != std::string::npos;
    if (i == 0 && !launched) {
      for (const Fault& fault : faults_of_a_plain_user())
        add(cases, command, fault, target);
    }
    std::vector<const char*> others = command.inputs;
    if (command.outputs.size() > 1) {
      others.push_back(command.outputs[(i + 1) % command.outputs.size()]);
    }
    for (const char* other : others) {
      for (const bool hard : {false, true}) {
        add(cases, command, same_as(other, hard), target);
      }
    }
  }
}

static std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (const FaultCommand& command : fault_commands()) {
    for (const Fault& fault : faults_of_a_run()) {
      if (!command.slow) {
        add(cases, command, fault);
      } else if (fault.essential) {
        add(cases, command, {fault.name, fault.arrange, 1, true});
      }
    }
    if (command.prints && !command.slow) {
      for (const Fault& fault : faults_of_prints()) add(cases, command, fault);
    }
    if (command.outputs.empty()) continue;
    for (const Fault& fault : faults_of_files()) add(cases, command, fault);
    add_targets(cases, command);
  }
  return cases;
}

static std::vector<Case> chosen_cases() {
  std::vector<Case> chosen;
  const std::vector<Case> all = all_cases();
  for (size_t i = 0; i < all.size(); i += every()) chosen.push_back(all[i]);
  return chosen;
}

namespace {

// The inputs, made once, and what was met, printed at the end.
class Ground : public ::testing::Environment {
 public:
  void SetUp() override {
    root_.emplace();
    mounts_ = may_mount();
    if (mounts_) mount_disk(root_->path(), 0);
    for (const auto& entry : fs::directory_iterator(kInstalled)) fs::remove_all(entry);
    fs::copy(kModels, kInstalled, fs::copy_options::recursive);
    fs::create_directory(inputs());
    ASSERT_TRUE(make_inputs(WGR_PROGRAM, kModels, inputs()));
    // Some of what is read is not everybody's.
    chmod((inputs() + "/g.txt").c_str(), kOddMode);
  }
  void TearDown() override {
    std::printf(
        "%zu of %zu cases in %zu runs; %zu temporary files left by %zu SIGKILLs\n",
        tally.cases, all_cases().size(), tally.runs, tally.left, tally.kills);
    for (const auto& [why, count] : tally.skipped) {
      std::printf("skipped %zu: %s\n", count, why.c_str());
    }
    if (mounts_) unmount(root_->path());
    root_.reset();
  }
  std::string inputs() const { return root_->file("inputs"); }

  // A new folder with the inputs in it.
  std::string folder() {
    const std::string path = root_->file("case" + std::to_string(++made_));
    for (const char* name : {"/out", "/tmp", "/elsewhere"}) {
      fs::create_directories(path + name);
    }
    fs::copy(inputs(), path + "/in", fs::copy_options::recursive);
    clear_log();
    return path;
  }

 private:
  static constexpr char kInstalled[] = "/usr/share/GestureModel";
  static constexpr char kModels[] = WGR_ROOT "/models";
  std::optional<TempDirectory> root_;
  bool mounts_ = false;
  int made_ = 0;
};

}  // namespace

static Ground* const ground = new Ground;
static ::testing::Environment* const the_ground =
    ::testing::AddGlobalTestEnvironment(ground);

static Run usual_run(const std::string& folder, const char* words, const char* input) {
  Run run;
  run.words = split(words);
  run.temporary = folder + "/tmp";
  if (input != nullptr) run.in = {Stream::kFile, folder + "/" + input};
  return run;
}

static Usual measure(const FaultCommand& command) {
  const std::string folder = ground->folder();
  const Run run = usual_run(folder, command.words, command.input);
  const Tree before = tree_of(folder);
  const RunResult result = run_in(folder, WGR_PROGRAM, run);
  if (result.err.find(" built without its page") != std::string::npos) {
    throw CannotTry("the program was built without the page of an explanation");
  }
  EXPECT_EQ(result.signal, 0) << command.words;
  EXPECT_LT(result.status, 2) << command.words << "\n" << result.err;
  Usual usual = {result.status, without_speed(result.out), {}, result.took};
  std::set<std::string> expected(command.outputs.begin(), command.outputs.end());
  for (const auto& [name, entry] : tree_of(folder)) {
    if (before.count(name) > 0 || !S_ISREG(entry.about.st_mode)) continue;
    usual.files[name] = entry.content;
    EXPECT_EQ(expected.erase(name), 1u)
        << command.words << ": writes " << name << ", too";
  }
  for (const std::string& missing : expected) {
    ADD_FAILURE() << command.words << ": does not write " << missing;
    usual.files[missing] = "";
  }
  EXPECT_EQ(usual.out.empty(), !command.prints) << command.words;
  fs::remove_all(folder);
  return usual;
}

static const Usual& usual_of(const FaultCommand& command) {
  static std::map<std::string, Usual> known;
  const auto found = known.find(command.name);
  if (found != known.end()) return found->second;
  return known[command.name] = measure(command);
}

// What the user would need to see it again.
static std::string account(const std::string& what, const Run& run,
                           const RunResult& result) {
  std::string text = what + "\n  " + words_of(run.words) + "\n  ended with status " +
                     std::to_string(result.status) + ", signal " +
                     std::to_string(result.signal) + (result.hung ? ", and hung" : "");
  if (run.signal != 0) {
    text += "; " + std::string(strsignal(run.signal)) + " after " +
            std::to_string(run.delay.count()) + " us" +
            (run.watched.empty() ? "" : " from the first change");
  }
  return text + "\n  standard error: " + result.err;
}

static void try_once(const FaultCommand& command, const Fault& fault,
                     const std::string& target, unsigned seed) {
  const Usual& usual = usual_of(command);
  const std::string folder = ground->folder();
  {
    Disturbed d(command, usual, target, folder);
    d.run = usual_run(folder, command.words, command.input);
    d.random.seed(seed);
    fault.arrange(d);
    if (::testing::Test::HasFatalFailure() || ::testing::Test::IsSkipped()) return;
    const Tree before = tree_of(folder);
    const RunResult result = run_in(folder, WGR_PROGRAM, d.run);
    ++tally.runs;
    if (result.signal == SIGKILL) ++tally.kills;
    SCOPED_TRACE(account(fault.name + " " + target, d.run, result));
    EXPECT_FALSE(result.hung);
    judge_end(d, result, judge_files(d, before, tree_of(folder)));
  }
  fs::remove_all(folder);
}

static void try_all(const Case& one) {
  ++tally.cases;
  std::seed_seq named(one.name.begin(), one.name.end());
  std::mt19937 random(named);
  try {
    for (int i = 0; i < one.fault.repeated && !::testing::Test::HasFailure(); ++i) {
      try_once(*one.command, one.fault, one.target, static_cast<unsigned>(random()));
    }
  } catch (const CannotTry& reason) {
    ++tally.skipped[reason.what()];
    GTEST_SKIP() << reason.what();
  }
}

// ---- The tests ------------------------------------------------------------------------

class Faults : public ::testing::TestWithParam<Case> {};

TEST_P(Faults, LoseNothingSilently) { try_all(GetParam()); }

INSTANTIATE_TEST_SUITE_P(, Faults, ::testing::ValuesIn(chosen_cases()),
                         [](const auto& tested) { return tested.param.name; });

class OneFile : public ::testing::TestWithParam<SameFile> {};

TEST_P(OneFile, ForTwoThingsIsRefused) {
  FaultCommand command = {};
  command.name = "same";
  command.words = GetParam().words;
  Usual usual;
  const std::string folder = ground->folder();
  Disturbed d(command, usual, "", folder);
  d.run = usual_run(folder, command.words, nullptr);
  refuse(d);
  const Tree before = tree_of(folder);
  const RunResult result = run_in(folder, WGR_PROGRAM, d.run);
  ++tally.runs;
  SCOPED_TRACE(account("one file", d.run, result));
  judge_end(d, result, judge_files(d, before, tree_of(folder)));
  fs::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(, OneFile, ::testing::ValuesIn(same_files()),
                         [](const auto& tested) { return tested.param.name; });
