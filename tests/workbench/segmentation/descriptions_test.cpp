// The tool's own JSON and tables of labels that cannot be what they are read as.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "base/errors.h"
#include "base/sha256.h"
#include "json/fields.h"
#include "segmentation/provenance.h"
#include "segmentation/recording_set.h"
#include "support/files.h"
#include "tools/run_wgr.h"
#include "training/model_output.h"
#include "workbench/segmentation/sound_description.h"

using namespace wgr;

using nlohmann::ordered_json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// What is said of a description; empty when it is taken.
static std::string said_of(const std::string& text) {
  const TempDirectory directory;
  const std::string path = directory.file("d.json");
  write_file(path, text);
  try {
    const ordered_json json = read_json(path, description_fields(true));
    provenance_from(json, path, 3);
  } catch (const UsageError& error) {
    const std::string what = error.what();
    EXPECT_THAT(what, StartsWith(path + ":"));
    return what.substr(std::min(what.size(), path.size() + 1));
  }
  return "";
}

TEST(Description, ReadsBackWhatWasWritten) {
  EXPECT_EQ(said_of(description().dump()), "");
  const Provenance p = provenance_from(description(), "d", 3);
  EXPECT_EQ(p.rate, 50);
  EXPECT_EQ(p.subjects, (std::vector<std::string>{"ann", "ann", "bob"}));
  EXPECT_EQ(p.classes.at("circle"), 0);
}

TEST(Description, EveryFieldIsCheckedForItsKindAndRange) {
  const struct {
    const char* pointer;
    const char* value;
    const char* said;
  } cases[] = {
      {"/samples_per_second", "1e300",
       " samples_per_second: a whole number from 0 to 100000 is required, not 1e+300"},
      {"/samples_per_second", "-1",
       " samples_per_second: a whole number from 0 to 100000"},
      {"/samples_per_second", "50.5", " samples_per_second: a whole number"},
      {"/samples_per_second", "\"50\"", " is required, not \"50\""},
      {"/samples_per_second", "null", " is required, not null"},
      {"/samples_per_second", "true", " is required, not true"},
      {"/samples_per_second", "[50]", " is required, not a list of 1"},
      {"/samples_per_second", "18446744073709551615", " a whole number from 0 to 100000"},
      {"/gravity", "1", " gravity: true or false is required, not 1"},
      {"/units", "3", " units: an object is required, not 3"},
      {"/units/time", "3",
       " units.time: a text of at most 4096 bytes is required, not 3"},
      {"/engine", "[]", " engine: an object is required, not a list of 0"},
      {"/engine/shortest_motion", "1e300",
       " engine.shortest_motion: a whole number from 0 to 1000000 is required, not "
       "1e+300"},
      {"/engine/static_window", "-2147483649", " engine.static_window: a whole number"},
      {"/engine/strength_threshold", "-0.5",
       " engine.strength_threshold: a number from 0"},
      {"/engine/strength_threshold", "{}", " is required, not an object of 0"},
      {"/background_seconds", "-1", " background_seconds: a number from 0 to 1000000000"},
      {"/background_seconds", "1e300", " background_seconds: a number from 0 to"},
      {"/classes", "[]", " classes: an object is required"},
      {"/classes/circle", "1001", " classes.circle: a whole number from 0 to 1000"},
      {"/classes/circle", "-1", " classes.circle: a whole number from 0 to 1000"},
      {"/classes/circle", "\"0\"", " classes.circle: a whole number from 0 to 1000"},
      {"/verdicts/kept", "1e10", " verdicts.kept: a whole number from 0 to 1000000000"},
      {"/inputs", "{}", " inputs: a list is required, not an object of 0"},
      {"/inputs/0", "3", " inputs[0]: an object is required, not 3"},
      {"/inputs/0/file", "3", " inputs[0].file: a text of at most 4096 bytes"},
      {"/inputs/0/sha256", "\"00\"", " inputs[0].sha256: a text of 64 characters"},
      {"/subjects", "\"ann\"", " subjects: a list is required, not \"ann\""},
      {"/subjects/1", "[\"bob\"]", " subjects[1]: a list of 2 values is required"},
      {"/subjects/1", "[\"bob\",1,2]", " subjects[1]: a list of 2 values is required"},
      {"/subjects/1/0", "1", " subjects[1][0]: a text of at most 4096 bytes"},
      {"/subjects/1/1", "0", " subjects[1][1]: a whole number from 1 to 1000000000"},
      {"/subjects/1/1", "1e300", " subjects[1][1]: a whole number from 1 to 1000000000"},
      {"/subjects/1/1", "40000000", " subjects: are of more examples than the 3 of the"},
      {"/subjects/0/1", "1", " subjects: are of 2 examples, but the training file has 3"},
      {"/training_file_sha256", "7", " training_file_sha256: a text of 64 characters"},
  };
  for (const auto& c : cases) {
    ordered_json json = description();
    json.at(ordered_json::json_pointer(c.pointer)) = ordered_json::parse(c.value);
    EXPECT_THAT(said_of(json.dump()), HasSubstr(c.said)) << c.pointer << " " << c.value;
  }
}

TEST(Description, EveryFieldThatIsMissingOrUnknownIsNamed) {
  for (const char* name :
       {"samples_per_second", "gravity", "engine", "background_seconds", "classes",
        "verdicts", "inputs", "training_file_sha256"}) {
    ordered_json json = description();
    json.erase(name);
    EXPECT_THAT(said_of(json.dump()),
                StartsWith(std::string(" ") + name + ": is missing: "))
        << name;
    json[std::string(name) + "x"] = 1;
    EXPECT_NE(said_of(json.dump()), "");
  }
  ordered_json json = description();
  json["subject"] = 1;
  EXPECT_EQ(said_of(json.dump()),
            " subject: is no field that is known here; did you mean subjects?");
  json = description();
  json.erase("subjects");  // and this may be left out
  EXPECT_EQ(said_of(json.dump()), "");
}

TEST(Description, WhatIsNoJsonIsRefusedWithItsLine) {
  EXPECT_EQ(said_of("{\n\"gravity\": tru\n}"), "2: is not JSON from here on");
  EXPECT_EQ(said_of(""), "1: is not JSON from here on");
  EXPECT_THAT(said_of("[]"), StartsWith(" an object is required, not a list of 0"));
  EXPECT_THAT(said_of("{\"gravity\": 1e999}"), HasSubstr(" a number that is too large"));
  EXPECT_THAT(said_of("{\"gravity\": NaN}"), HasSubstr("is not JSON"));
  EXPECT_EQ(said_of("{\"gravity\": true, \"engine\": {}, \"gravity\": false}"),
            " gravity: stands twice in one object");
  std::string twice = description().dump();
  twice.insert(twice.find("\"static_window\""), "\"shortest_motion\": 2, ");
  EXPECT_EQ(said_of(twice), " shortest_motion: stands twice in one object");
  EXPECT_THAT(said_of(std::string(1000000, '[')),
              HasSubstr("inside more than 16 others"));
  EXPECT_THAT(said_of(std::string((16u << 20) + 1, ' ')), HasSubstr("longer than 16 MB"));
  EXPECT_THAT(said_of("\"\xff\xfe\""), HasSubstr("is not JSON"));
}

TEST(Description, WhatIsNoFileIsRefused) {
  const TempDirectory directory;
  EXPECT_THROW(read_json(directory.path(), description_fields(true)), UsageError);
  EXPECT_THROW(read_json(directory.file("none"), description_fields(true)), UsageError);
}

TEST(Manifest, OfEveryBuildFitsItsTable) {
  BuildReport report;
  report.classes.push_back({3, 10, 2, "by hand", -0.25, 9, 1, 0});
  report.notes = {"a note"};
  Provenance p;
  p.rate = 50;
  for (const bool swept : {true, false}) {
    BuildOptions options;
    if (!swept) options.most_templates = 4;
    if (swept) options.false_positives_per_hour = 1.5;
    ordered_json json = manifest(report, options, p, std::string(64, 'a'));
    EXPECT_NO_THROW(check_json(json, manifest_fields(), "m"));
    json["training_set"]["classes"]["x"] = 1e300;
    EXPECT_THROW(check_json(json, manifest_fields(), "m"), UsageError);
    json = manifest(report, options, p, std::string(64, 'a'));
    json["model_classes"][0]["threshold"] = "low";
    EXPECT_THROW(check_json(json, manifest_fields(), "m"), UsageError);
  }
}

TEST(Manifest, TellsWhetherAModelWasBuiltForAnotherRate) {
  const TempDirectory directory;
  const std::string model = directory.file("m.xml");
  const std::string bytes = "a model";
  write_file(model, bytes);
  const auto built_for = [&](int rate) -> std::optional<std::pair<int, bool>> {
    const auto other = other_rate_of(model, rate);
    if (!other) return std::nullopt;
    return std::pair(other->built_for, other->known);
  };
  EXPECT_EQ(built_for(50), std::nullopt);
  EXPECT_EQ(built_for(100), std::pair(50, false)) << "as the shipped ones";
  Provenance p;
  p.rate = 119;
  p.shortest = 60;
  p.static_window = 24;
  const ordered_json json = manifest({}, {}, p, sha256(bytes));
  write_file(directory.file("m.model.json"), json.dump());
  EXPECT_EQ(built_for(50), std::pair(119, true));
  EXPECT_EQ(built_for(118), std::nullopt) << "near enough";
  EXPECT_EQ(built_for(0), std::nullopt) << "not known";
  EXPECT_EQ(other_rate_of("", 100), std::nullopt) << "of no file";
}

static std::string said_of_set(const std::string& table, const std::string& text) {
  const TempDirectory directory;
  write_file(directory.file("a.csv"), "t,ax,ay,az,gx,gy,gz\n0,0,0,9.8,0,0,0\n");
  write_file(directory.file(table), text);
  try {
    read_recording_set(directory.path());
  } catch (const UsageError& error) {
    const std::string what = error.what();
    EXPECT_THAT(what, StartsWith(directory.file(table) + ":"));
    return what.substr(std::min(what.size(), directory.file(table).size()));
  }
  return "";
}

TEST(Labels, CodesOfTheInterfaceAreRefusedWithTheirLine) {
  for (const std::string code : {"5", "6", "13", "14"}) {
    const std::string said = ":3: the label " + code + " is a code of the interface";
    EXPECT_THAT(said_of_set("labels.csv",
                            "file,t_start,t_end,label\na.csv,0,1,4\n"
                            "a.csv,2,3," +
                                code + "\n"),
                StartsWith(said));
    EXPECT_THAT(said_of_set("index.csv",
                            "file,label,subject,rate_hz\n\na.csv," + code + ",ann,50\n"),
                StartsWith(said));
  }
  for (const std::string good :
       {"0", "4", "7", "12", "15", "1000", "-1", "background", "five", "5th"}) {
    EXPECT_EQ(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0,1," + good + "\n"),
        "")
        << good;
  }
  for (const std::string bad : {"-2", "1001", "-1000000"}) {
    EXPECT_THAT(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0,1," + bad + "\n"),
        HasSubstr("a whole number from 0 to 1000 is required"))
        << bad;
  }
}

TEST(Labels, NumbersOutOfTheirRangeAreRefusedWithTheirLine) {
  for (const std::string bad : {"1e300", "nan", "inf", "0x5", "", "x", "1 "}) {
    EXPECT_THAT(
        said_of_set("labels.csv", "file,t_start,t_end,label\na.csv,0," + bad + ",1\n"),
        StartsWith(":2: field 3: a number from -10000000000000 to "))
        << bad;
  }
  for (const std::string bad : {"1e300", "0.5", "-50", "100001", "nan"}) {
    EXPECT_THAT(
        said_of_set("index.csv", "file,label,subject,rate_hz\na.csv,1,ann," + bad + "\n"),
        StartsWith(":2: field 4: a number from 1 to 100000 is required, not \"" + bad))
        << bad;
  }
}
