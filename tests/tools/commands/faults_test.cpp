// Every subcommand with every output while something goes wrong.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "disturbed_run.h"
#include "fault_commands.h"
#include "fault_run.h"
#include "faults.h"
#include "support/cases.h"
#include "support/files.h"
#include "support/private_paths.h"

namespace fs = std::filesystem;

// How many cases go untried: where a step takes longer, one of some is tried.
static size_t every() { return property_cases() >= 1'000'000 ? 1 : 48; }

namespace {

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

static std::string words_of(const std::vector<std::string>& words) {
  std::string text = "wgr";
  for (const std::string& word : words) text += " " + word;
  return text;
}

static std::vector<std::string> split(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

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
    const Written written = judge_files(d, before, tree_of(folder));
    tally.left += written.left;
    judge_end(d, result, written);
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
