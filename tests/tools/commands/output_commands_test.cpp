// What the subcommands do to files: nothing that is read or that belongs to somebody else
// is lost, and nothing is lost with status 0.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "support/devices.h"
#include "support/files.h"
#include "tools/run_wgr.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = std::filesystem;

static const std::string kModels = std::string(WGR_ROOT) + "/models";
static const std::string kModel = kModels + "/olvo_model_5_fb/hgr_olvo.xml";

// One set, one recording and one training file for all tests; each works on a copy.
class Commands : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    shared_ = new TempDirectory;
    const std::string set = shared_->file("set");
    for (const std::string& made :
         {run_wgr("synth --training " + set + " --persons 2 --gestures 2 --distractors 4")
              .err,
          run_wgr("segment " + set + " -o " + shared_->file("g.txt")).err,
          run_wgr("synth --gestures 1 --distractors 0 -o " + shared_->file("walk.csv"))
              .err}) {
      ASSERT_THAT(made, ::testing::Not(HasSubstr("wgr:")));
    }
  }
  static void TearDownTestSuite() { delete shared_; }

  void SetUp() override {
    fs::copy(shared_->path(), directory_.path(), fs::copy_options::recursive);
  }

  // "@" stands for the test's folder.
  std::string placed(const std::string& text) const {
    std::string made;
    for (const char c : text) made += c == '@' ? directory_.path() : std::string(1, c);
    return made;
  }
  Outcome run(const std::string& arguments, const std::string& before = "") const {
    return run_wgr(placed(arguments), "/dev/null", before);
  }
  std::string file(const std::string& name) const { return directory_.file(name); }

  // Every file's bytes, by name.
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(directory_.path())) {
      all[entry.path()] = entry.is_regular_file() ? read_file(entry.path()) : "";
    }
    return all;
  }

  static TempDirectory* shared_;
  TempDirectory directory_;
};

TempDirectory* Commands::shared_ = nullptr;

// Each with everything that it can write, at "@/x.xml", "@/y" and "@/z".
static const char* const kWriters[] = {
    "explain --models MODELS @/walk.csv --report @/x.xml",
    "replay --models MODELS @/walk.csv --log @/x.xml",
    "segment @/set -o @/x.xml",
    "build @/g.txt -o @/x.xml --report @/y",
    "eval @/set --model MODEL --report @/x.xml",
    "synth --gestures 1 --distractors 0 -o @/x.xml --labels @/y --plan @/z",
};

static std::string with_models(std::string command) {
  const size_t models = command.find("MODELS");
  if (models != std::string::npos) return command.replace(models, 6, kModels);
  const size_t model = command.find("MODEL");
  return model == std::string::npos ? command : command.replace(model, 5, kModel);
}

TEST_F(Commands, WriteIntoDevicesAndLeaveThemDevices) {
  for (const char* writer : kWriters) {
    for (const char* name : {"x.xml", "y", "z"}) {
      fs::remove(file(name));
      make_device(file(name), kNullDevice);
    }
    const auto before = contents();
    const Outcome outcome = run(with_models(writer));
    EXPECT_EQ(outcome.status, 0) << writer << outcome.err;
    for (const char* name : {"x.xml", "y", "z"}) {
      EXPECT_TRUE(fs::is_character_file(file(name))) << writer << " " << name;
    }
    EXPECT_EQ(contents(), before) << writer;
  }
}

TEST_F(Commands, WriteThroughLinksAndKeepTheMode) {
  for (const char* writer : kWriters) {
    fs::create_directories(file("elsewhere"));
    for (const std::string name : {"x.xml", "y", "z"}) {
      fs::remove(file(name));
      write_file(file("elsewhere/" + name), "before");
      chmod(file("elsewhere/" + name).c_str(), 0604);
      fs::create_symlink("elsewhere/" + name, file(name));
    }
    const Outcome outcome = run(with_models(writer));
    EXPECT_EQ(outcome.status, 0) << writer << outcome.err;
    for (const std::string name : {"x.xml", "y", "z"}) {
      if (std::string(writer).find("@/" + name) == std::string::npos) continue;
      struct stat about = {};
      stat(file(name).c_str(), &about);
      EXPECT_EQ(about.st_mode & 07777, 0604u) << writer;
      EXPECT_TRUE(fs::is_symlink(file(name))) << writer;
      EXPECT_NE(read_file(file("elsewhere/" + name)), "before") << writer;
    }
  }
}

TEST_F(Commands, RefuseToOverwriteWhatTheyRead) {
  ASSERT_EQ(run("build @/g.txt -o @/g.xml").status, 0);
  write_file(file("slots.csv"), "slot,input\none,g.txt\none,g.txt\n");
  const struct {
    const char* command;
    const char* message;
  } cases[] = {
      {"replay --models MODELS --log @/walk.csv @/walk.csv",
       ": would overwrite RECORDING "},
      {"explain --models MODELS @/walk.csv --report @/walk.csv", "--report"},
      {"explain --models MODELS --expect @/set/labels.csv @/walk.csv "
       "--report @/set/labels.csv",
       "--expect"},
      {"explain --models MODELS @/walk.csv --report -", "standard output"},
      {"replay --models MODELS @/walk.csv --log /home/app/log", "would be lost"},
      {"segment @/set -o @/set/labels.csv", "FOLDER"},
      {"segment @/set -o @/set/p001_free.csv", "FOLDER"},
      {"segment @/set --background @/walk.csv -o @/walk.csv", "--background"},
      {"build @/g.txt -o @/g.txt", "INPUT"},
      {"build @/g.txt -o @/g.training.json", "the description of INPUT"},
      {"build @/g.txt -o @/m.xml --report @/m.xml", "--report"},
      {"build @/g.txt -o @/m.xml --report @/m.model.json", "the manifest"},
      {"build @/g.txt -o @/m.xml --report @/g.txt", "--report"},
      {"build --slots @/slots.csv -o @/models", "both go to"},
      {"eval @/set --model @/g.xml --report @/g.xml", "--model"},
      {"eval @/set --model @/g.xml --report @/g.model.json", "the manifest of --model"},
      {"eval @/set --model @/g.xml --report @/set/index.csv", "FOLDER"},
      {"synth -o @/y --labels @/y", "--labels"},
      {"synth -o - --labels -", "--labels"},
      {"synth --script @/s.csv -o @/s.csv", "--script"},
      {"synth --training @/set --labels @/y", "--training"},
  };
  write_file(file("s.csv"), "t_start,t_end,what\n0,5,rest\n");
  const auto before = contents();
  for (const auto& c : cases) {
    const Outcome outcome = run(with_models(c.command));
    EXPECT_EQ(outcome.status, 2) << c.command << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(c.message)) << c.command;
    EXPECT_EQ(contents(), before) << c.command;
  }
}

TEST_F(Commands, PrintNothingIntoWhatTheyRead) {
  fs::copy(kModels, file("models"), fs::copy_options::recursive);
  fs::copy(kModel, file("m.xml"));
  write_file(file("log"), "WgrContext 36: WgrConstruct start\n");
  write_file(file("s.csv"), "t_start,t_end,what\n0,5,rest\n");
  const struct {
    const char* command;
    const char* input;
  } cases[] = {
      {"doctor @/walk.csv", "@/walk.csv"},
      {"doctor --model @/m.xml @/walk.csv", "@/m.xml"},
      {"replay --models MODELS @/walk.csv", "@/walk.csv"},
      {"explain --models @/models @/walk.csv", "@/models/olvo_model_5_ow/hgr_olvo.xml"},
      {"log --json @/log", "@/log"},
      {"segment @/set -o -", "@/set/p001_free.csv"},
      {"build @/g.txt -o -", "@/g.txt"},
      {"eval @/set --model @/m.xml", "@/set/labels.csv"},
      {"model show @/m.xml", "@/m.xml"},
      {"model check MODEL @/m.xml", "@/m.xml"},
      {"model diff @/m.xml MODEL", "@/m.xml"},
      {"synth --script @/s.csv -o -", "@/s.csv"},
      {"preflight --models @/models", "@/models/olvo_model_5_fb/hgr_olvo.xml"},
  };
  const auto before = contents();
  for (const auto& c : cases) {
    const Outcome outcome = run(with_models(c.command) + " >>" + c.input);
    EXPECT_EQ(outcome.status, 2) << c.command << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(" -: would overwrite ")) << c.command;
    ASSERT_TRUE(contents() == before) << c.command;
  }
}

TEST_F(Commands, GiveSideFilesNamesThatNeverMeet) {
  const std::string description = read_file(file("g.training.json"));
  for (int time = 0; time < 2; ++time) {
    ASSERT_EQ(run("build @/g.txt -o @/g.xml").status, 0) << time;
    EXPECT_EQ(read_file(file("g.training.json")), description);
    EXPECT_TRUE(fs::exists(file("g.model.json")));
    EXPECT_TRUE(fs::exists(file("g.report.txt")));
  }
  EXPECT_EQ(run("segment @/set -o @/x.json").status, 0);
  EXPECT_EQ(read_file(file("x.json")), read_file(file("g.txt")));
  EXPECT_EQ(run("build @/x.json -o @/m.xml").status, 0);
  EXPECT_EQ(read_file(file("m.xml")), read_file(file("g.xml")));
}

// The library could not open it.
TEST_F(Commands, RefuseAModelThatIsNotNamedXmlBeforeAnyWork) {
  const auto before = contents();
  for (const std::string name : {"m", "m.dat", "m.xml.gz"}) {
    const Outcome outcome = run("build @/g.txt -o @/" + name);
    EXPECT_EQ(outcome.status, 2) << name;
    EXPECT_THAT(outcome.err,
                HasSubstr("wgr: -o " + file(name) + ": the library opens no"));
    EXPECT_THAT(outcome.err, Not(HasSubstr("comparing"))) << name;
  }
  EXPECT_EQ(contents(), before);
}

TEST_F(Commands, AModelAloneLeavesNoManifestOfAnother) {
  ASSERT_EQ(run("build @/g.txt -o @/g.xml").status, 0);
  ASSERT_EQ(run("build @/g.txt -o @/g.xml --templates 1 --model-only").status, 0);
  EXPECT_FALSE(fs::exists(file("g.model.json")));
  EXPECT_FALSE(fs::exists(file("g.report.txt")));
}

// Every size is too large for one of the files; ulimit counts blocks of 512 bytes.
TEST_F(Commands, WriteAllOrNothingAtALimitOnSizes) {
  for (const char* name : {"x.xml", "y", "z"}) write_file(file(name), "before");
  const auto before = contents();
  for (const char* writer : kWriters) {
    const std::string command = with_models(writer);
    for (const int blocks : {0, 1, 8}) {
      const Outcome outcome = run(command, "ulimit -f " + std::to_string(blocks) + ";");
      if (outcome.status == 0) continue;  // all of it was small enough
      EXPECT_EQ(outcome.status, 1) << command << outcome.err;
      EXPECT_EQ(contents(), before) << command;
    }
  }
}

TEST_F(Commands, WriteNothingWhenOneOfSeveralFails) {
  ASSERT_EQ(run("build @/g.txt -o @/g.xml").status, 0);
  make_device(file("full"), kFullDevice);
  const auto before = contents();
  for (const char* writer :
       {"build @/g.txt -o @/g.xml --templates 1 --report @/full",
        "synth --gestures 1 --distractors 0 -o @/new.csv --labels @/full",
        "synth --gestures 1 --distractors 0 -o @/full --labels @/new.csv"}) {
    const Outcome outcome = run(writer);
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("/full: cannot be written in full"));
    EXPECT_EQ(contents(), before) << writer;
  }
}

TEST_F(Commands, EndWithStatusOneWhenTheirResultsAreLost) {
  ASSERT_EQ(run("replay --models " + kModels + " --log @/log @/walk.csv").status, 0);
  for (const std::string command :
       {"doctor @/walk.csv", "doctor --json @/walk.csv", "log @/log", "log --json @/log",
        "preflight", "preflight --models MODELS", "model show MODEL", "model check MODEL",
        "model diff MODEL MODEL", "selfcheck", "segment @/set -o -", "build @/g.txt -o -",
        "synth --gestures 1 --distractors 0 -o -", "replay --models MODELS @/walk.csv",
        "explain --models MODELS @/walk.csv", "eval @/set --model MODEL", "--help",
        "--version", "build --help"}) {
    for (const char* lost : {" >/dev/full", " >&-"}) {
      // A run of it is long, and its results are written as the others' are.
      if (command == "selfcheck" && lost != std::string(" >&-")) continue;
      const Outcome outcome = run(with_models(with_models(command)) + lost);
      EXPECT_EQ(outcome.status, 1) << command << lost << outcome.err;
      EXPECT_THAT(outcome.err, HasSubstr("standard output: cannot be written"))
          << command;
    }
  }
}

TEST_F(Commands, WriteTheirFilesThoughNobodyReadsTheResults) {
  const std::string command = placed(std::string(WGR_PROGRAM) + " explain --models " +
                                     kModels + " @/walk.csv --report @/page");
  const Outcome outcome = run_command("{ sleep 0.2; " + command + "; echo $? >" +
                                      file("status") + "; } | true");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(read_file(file("status")), "1\n");
  EXPECT_THAT(outcome.err, HasSubstr("Broken pipe"));
  EXPECT_THAT(read_file(file("page")), HasSubstr("</html>"));
}

TEST_F(Commands, TakeADashForStandardOutput) {
  EXPECT_EQ(run("segment @/set -o -").out, read_file(file("g.txt")));
  ASSERT_EQ(run("build @/g.txt -o @/g.xml").status, 0);
  EXPECT_EQ(run("build @/g.txt -o -").out, read_file(file("g.xml")));
  EXPECT_EQ(run("build @/g.txt -o /dev/stdout").out, read_file(file("g.xml")));
  EXPECT_THAT(run("build @/g.txt -o @/g.xml --report -").out, HasSubstr("</html>"));
  ASSERT_EQ(run("synth -o @/s.csv --labels @/s.labels").status, 0);
  EXPECT_EQ(run("synth -o - --labels @/t").out, read_file(file("s.csv")));
  EXPECT_THAT(run("synth -o @/s.csv --labels -").out, HasSubstr("s.csv,"));
}

TEST_F(Commands, NeedNoTemporaryFolder) {
  for (const std::string command :
       {"segment @/set -o @/x.xml", "build @/g.txt -o @/x.xml", "build @/set -o @/x.xml",
        "eval @/set --model MODEL", "explain --models MODELS @/walk.csv"}) {
    const Outcome outcome = run(with_models(command), "TMPDIR=/dev/null; export TMPDIR;");
    EXPECT_EQ(outcome.status, 0) << command << outcome.err;
  }
}

// The log has been opened, and samples of a stream that goes on have been taken in.
TEST_F(Commands, LeaveNothingWhenTheyAreKilled) {
  const auto before = contents();
  const Outcome outcome =
      run_command(placed("{ head -n 200 @/walk.csv; sleep 0.8; } | timeout -s KILL 0.5 " +
                         std::string(WGR_PROGRAM) + " replay --sample-rate 50 --models " +
                         kModels + " --log @/kept -"));
  EXPECT_NE(outcome.status, 0);
  EXPECT_EQ(contents(), before) << outcome.err;
}

TEST_F(Commands, MakeMissingFoldersForEveryOutput) {
  for (const std::string writer : kWriters) {
    std::string deep = with_models(writer);
    for (const char* name : {"@/x.xml", "@/y", "@/z"}) {
      const size_t at = deep.find(name);
      if (at != std::string::npos) deep.replace(at, 2, "@/new/folder/");
    }
    const Outcome outcome = run(deep);
    EXPECT_EQ(outcome.status, 0) << deep << outcome.err;
    EXPECT_TRUE(fs::exists(file("new/folder/x.xml"))) << deep;
    fs::remove_all(file("new"));
  }
}

// The library leaves the working directory while it loads a model, and does not find back
// where its path is long.
TEST_F(Commands, WriteRelativeToAnyWorkingDirectory) {
  const std::string deep = file(std::string(200, 'd') + "/" + std::string(200, 'e'));
  fs::create_directories(deep);
  const Outcome outcome = run("explain --models " + kModels + " @/walk.csv --report page",
                              "cd '" + deep + "';");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(fs::exists(deep + "/page"));
}
