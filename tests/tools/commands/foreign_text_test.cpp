// Whatever bytes file names, labels and lines hold: messages show them without harm, JSON
// stays JSON, and a small file of a huge recording takes no more memory than is allowed.
#include "base/foreign_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/files.h"
#include "tools/run_wgr.h"
#include "training/model_output.h"

using namespace wgr;

using ::testing::HasSubstr;
using ::testing::Not;

static const std::string kModels = std::string(WGR_ROOT) + "/models";
static const std::string kModel = kModels + "/olvo_model_5_fb/hgr_olvo.xml";
static const std::string kDemo = std::string(WGR_ROOT) + "/recordings/demo.csv";

TEST(ForeignText, ShowsWhatIsPrintableAsItIs) {
  for (const char* text : {"", "walk 1.csv", "Grüße", "円", "😀", "back\\slash", "ÿ"}) {
    EXPECT_EQ(shown(text), text);
    EXPECT_TRUE(is_utf8(text));
  }
}

TEST(ForeignText, ShowsControlsAndWhatIsNotUtf8AsBytes) {
  const struct {
    std::string text;
    const char* shown;
    bool utf8;
  } cases[] = {
      {"\x1b[31mred", "\\x1b[31mred", true},
      {"a\nb\tc\r", "a\\x0ab\\x09c\\x0d", true},
      {"\x7f", "\\x7f", true},
      {std::string("\0", 1), "\\x00", true},
      {"\xc2\x9b"
       "31m",
       "\\xc2\\x9b31m", true},                              // a control in two bytes
      {"\xe2\x80\xae", "\\xe2\\x80\\xae", true},            // writes to the left
      {"\xe2\x81\xa6x", "\\xe2\\x81\\xa6x", true},          // isolates
      {"\xff", "\\xff", false},                             // of no character
      {"\xc3", "\\xc3", false},                             // half of one
      {"\xc3(", "\\xc3(", false},                           // and what follows it
      {"\xc0\xaf", "\\xc0\\xaf", false},                    // longer than needed
      {"\xe0\x9f\xbf", "\\xe0\\x9f\\xbf", false},           // likewise
      {"\xed\xa0\x80", "\\xed\\xa0\\x80", false},           // half of a pair
      {"\xf0\x8f\xbf\xbf", "\\xf0\\x8f\\xbf\\xbf", false},  // longer than needed
      {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80", false},  // behind the last one
  };
  for (const auto& c : cases) {
    EXPECT_EQ(shown(c.text), c.shown);
    EXPECT_EQ(is_utf8(c.text), c.utf8) << c.shown;
  }
}

TEST(ForeignText, IsShortenedByWholeCharacters) {
  EXPECT_EQ(shortened("abcdef", 6), "abcdef");
  EXPECT_EQ(shortened("abcdef", 5), "abcde...");
  EXPECT_EQ(shortened("aüb", 2), "a...");
  EXPECT_EQ(shortened("aüb", 3), "aü...");
  EXPECT_EQ(shortened("\xff\xff\xff", 2), "\\xff\\xff...");
  EXPECT_EQ(wgr::quoted(std::string(40, 'a')), '"' + std::string(40, 'a') + '"');
  EXPECT_EQ(wgr::quoted(std::string(41, 'a')), '"' + std::string(40, 'a') + "\"...");
}

// Nothing of what was printed does anything but stand on the terminal.
static void expect_harmless(const Outcome& outcome, const std::string& of) {
  for (const std::string& text : {outcome.out, outcome.err}) {
    EXPECT_TRUE(is_utf8(text)) << of;
    EXPECT_EQ(text.find('\x1b'), std::string::npos) << of << "\n" << shown(text);
  }
}

TEST(ForeignText, OddFileNamesAreReadAndShownByAllSubcommands) {
  const TempDirectory directory;
  const std::string folder = directory.file("set \xff\x1b[31m");
  const std::string recording = folder + "/odd \xfe\x1b[2J.csv";
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(kDemo, recording);
  const std::string odd = "'" + recording + "'";
  write_file(folder + "/index.csv", "file,label,subject,rate_hz\n");
  write_file(folder + "/log.txt",
             "update_gesture 123: ---gestype---:14\nno line of it \x1b[31m\xff\n");
  const std::string shown_name = "odd \\xfe\\x1b[2J.csv";

  const std::string models = " --models " + kModels + " ";
  for (const std::string& command : std::vector<std::string>{
           "replay" + models + odd, "explain" + models + odd, "doctor " + odd,
           "eval --background " + odd + " --model " + kModel,
           "eval '" + folder + "' --model " + kModel, "log '" + folder + "/log.txt'"}) {
    const Outcome outcome = run_wgr(command);
    EXPECT_EQ(outcome.status, 0) << shown(command) << shown(outcome.err);
    expect_harmless(outcome, command);
  }
  EXPECT_THAT(run_wgr("explain" + models + odd).out, HasSubstr(shown_name + ": "));
  for (const std::string& command : std::vector<std::string>{
           "replay --json" + models + odd, "explain --json" + models + odd,
           "doctor --json " + odd, "log --json '" + folder + "/log.txt'"}) {
    const Outcome outcome = run_wgr(command);
    EXPECT_EQ(outcome.status, 0) << shown(command) << shown(outcome.err);
    expect_harmless(outcome, command);
    const size_t last = outcome.out.rfind("\n{\"type\"");
    EXPECT_TRUE(
        nlohmann::json::accept(outcome.out.substr(last == std::string::npos ? 0 : last)))
        << command;
  }
  // And refused: a missing file, a wrong first line, a model that is none.
  write_file(recording, "\x1b[31m\xff,odd\n");
  for (const std::string& command : std::vector<std::string>{
           "replay" + models + odd, "doctor '" + folder + "/\xfd\x1b[1m'",
           "segment '" + folder + "' -o " + directory.file("o"), "model check " + odd,
           "model show " + odd, "build " + odd + " -o " + directory.file("m.xml")}) {
    const Outcome outcome = run_wgr(command);
    EXPECT_NE(outcome.status, 0) << shown(command);
    expect_harmless(outcome, command);
    EXPECT_THAT(outcome.out + outcome.err, HasSubstr("\\x1b"));
  }
}

TEST(ForeignText, LabelsAndSubjectsAreShownWithoutTheirControls) {
  const TempDirectory directory;
  const std::string set = directory.file("set");
  std::filesystem::create_directory(set);
  for (const char* name : {"a", "b"}) {
    ASSERT_EQ(run_wgr("synth --gestures 4 --distractors 0 --person 2 --seed " +
                      std::string(name == std::string("a") ? "1" : "2") + " -o " + set +
                      "/" + name + ".csv --labels " + directory.file(name))
                  .status,
              0);
  }
  std::string labels = "file,t_start,t_end,label\n";
  for (const char* name : {"a", "b"}) {
    const std::string table = read_file(directory.file(name));
    std::string rows = table.substr(table.find('\n') + 1);
    for (size_t at = 0; (at = rows.find('\n', at)) != std::string::npos; at += 6) {
      rows.insert(at, "\x1b[31m");
    }
    labels += rows;
  }
  write_file(set + "/labels.csv", labels);
  write_file(set + "/index.csv",
             "file,label,subject,rate_hz\na.csv,,p\x1b[1m,50\nb.csv,,q\x1b[1m,50\n");
  const std::string model = directory.file("m.xml");
  for (const std::string& command : std::vector<std::string>{
           "segment " + set + " -o " + directory.file("set.txt"),
           "build " + directory.file("set.txt") + " -o " + model,
           "eval " + set + " --model " + model, "eval " + set + " --leave-out subject",
           "eval --json " + set + " --leave-out subject"}) {
    const Outcome outcome = run_wgr(command);
    EXPECT_EQ(outcome.status, 0) << command << shown(outcome.err);
    expect_harmless(outcome, command);
    EXPECT_THAT(
        outcome.out + outcome.err,
        HasSubstr(command.find("--json") < command.size() ? "\\u001b[31m" : "\\x1b["));
  }
}

TEST(ForeignText, AManifestOfAnotherModelIsNamedWithoutItsControls) {
  const TempDirectory directory;
  const std::string model = directory.file("odd\x1b[2J.xml");
  write_file(model, read_file(kModel));
  nlohmann::ordered_json other = manifest({}, {}, {}, std::string(64, '0'));
  write_file(manifest_path(model), other.dump());
  const Outcome outcome =
      run_wgr("eval --background " + kDemo + " --model '" + model + "'");
  EXPECT_EQ(outcome.status, 0) << shown(outcome.err);
  EXPECT_THAT(outcome.err, HasSubstr("odd\\x1b[2J.model.json: describes another model"));
  expect_harmless(outcome, "eval");
}

// Zeros of a recording's fields pack a thousandfold.
TEST(ForeignText, RecordingsThatAreKeptInMemoryHaveALimit) {
  const TempDirectory directory;
  const std::string set = directory.file("set");
  std::filesystem::create_directory(set);
  const std::string recording = set + "/a.csv";
  std::string text = "t,ax,ay,az,gx,gy,gz\n";
  const std::string zeros(200, '0');
  for (int i = 0; i < 5000; ++i) {
    text += std::to_string(i / 50.0) + ",0,0,10,0.5,0.25," + zeros + "\n";
  }
  const gzFile file = gzopen(recording.c_str(), "wb9");
  ASSERT_GT(gzwrite(file, text.data(), static_cast<unsigned>(text.size())), 0);
  ASSERT_EQ(gzclose(file), Z_OK);
  ASSERT_LT(std::filesystem::file_size(recording), 50000u);
  ASSERT_GT(text.size(), 1'000'000u);
  const std::string models = " --models " + kModels + " ";
  const std::string says =
      ": more than 1 MB of recordings, unpacked, would be kept in memory: give "
      "--max-size "
      "MB to allow more";
  for (const std::string& command :
       std::vector<std::string>{"explain" + models + recording,
                                "eval --background " + set + " --model " + kModel}) {
    const Outcome kept = run_wgr(command + " --max-size 1");
    EXPECT_EQ(kept.status, 2) << command;
    EXPECT_THAT(kept.err, HasSubstr(says));
    EXPECT_EQ(run_wgr(command + " --max-size 2").status, 0) << command;
    EXPECT_EQ(run_wgr(command).status, 0) << command;
  }
  for (const std::string command : {"replay", "doctor", "log"}) {
    EXPECT_EQ(run_wgr(command + " --max-size 1 " + recording).status, 2)
        << command << " reads without a limit";
  }
}
