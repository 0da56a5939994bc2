// What `wgr import` makes of the log of another device or app.
#include <string>
#include <vector>

#include "import/import_log.h"
#include "import/log_files.h"
#include "recording/recording.h"
#include "request.h"
#include "text/import_text.h"

namespace wgr {

// What a dialog offers besides guesses.
Json import_choices_request() {
  Json profiles = Json::array();
  for (const NamedProfile& named : named_profiles()) {
    profiles.push_back({{"name", named.name}, {"source", named.source}});
  }
  return {{"profiles", profiles},
          {"time", unit_words(Quantity::kTime)},
          {"acc", unit_words(Quantity::kAcc)},
          {"gyro", unit_words(Quantity::kGyro)},
          {"columns", column_words()}};
}

static Json titles_of(const LogGuess& guess) {
  Json titles = Json::array();
  for (const TablePlan& table : guess.tables) {
    for (const std::string& title : table.titles) titles.push_back(title);
  }
  return titles;
}

Json import_request(const Json& request) {
  const ImportProfile profile = profile_from(request.at("profile"), "the dialog");
  ReadingLimit limit;
  const LogBytes log =
      read_log_files(request.at("files").get<std::vector<std::string>>(), limit);
  try {
    const ImportedLog imported = import_log(log.files(), profile);
    write_recording(request.at("recording"), imported.samples);
    return {{"device", device_text(imported.guess)},
            {"guess", guess_text(imported.guess)},
            {"done", import_text(imported)},
            {"titles", titles_of(imported.guess)},
            {"profile", to_json(imported.guess.profile)}};
  } catch (const ImportError& error) {
    return {{"fault", sentence_for(error.facts())}, {"titles", error.facts().others}};
  }
}

}  // namespace wgr
