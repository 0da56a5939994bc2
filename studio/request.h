// What the page asks of the WebAssembly, by name: JSON in, JSON out; recordings, models
// and pages are files of its file system in memory.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "hostrun/host_run.h"

namespace wgr {

using Json = nlohmann::ordered_json;

// Explains a recording: {"recording", "wearer", "mode", "model"?, "sensitivity"?,
// "restWindow"?, "rate"?, "expect"?, "tries"?, "page"?, "json"?}. Writes the page and the
// JSON of wgr explain where "page" and "json" say so; "tries" is false where what would
// have helped is not to be tried.
Json explain_request(const Json& request);

// What logs can be taken for: {"profiles", "time", "acc", "gyro", "columns"}.
Json import_choices_request();
// Makes a recording of a log: {"files", "profile", "recording"}, the profile as wgr
// import saves it, with what is not to be guessed. {"fault", "titles"} for a log that
// needs more.
Json import_request(const Json& request);

// Starts a stream that is explained as it comes: as above, without the files.
Json live_request(const Json& request);
// The motion that the newest sample ended, or null.
Json motion_request();

// What is to be said of a repetition among all that are there: {"folder", "file"}, of
// recordings with an index; {"good", "said"}.
Json judge_request(const Json& request);
// Builds the model of a folder of recordings: {"folder", "background"?}. Writes
// taught.xml, its manifest, its report, and the page of wgr build.
Json build_request(const Json& request);

// Checks golden streams.
Json selfcheck_request();

// The host that a request is about, with its model.
HostRunOptions host_of(const Json& request);

// A field of a request, or the other value where it is missing or null.
template <class Value>
Value given(const Json& request, const char* name, Value otherwise) {
  const auto found = request.find(name);
  if (found == request.end() || found->is_null()) return otherwise;
  return found->template get<Value>();
}

// A whole file of the file system in memory.
void put_file(const std::string& path, const std::string& bytes);

}  // namespace wgr
