#include <cstdio>
#include <exception>
#include <functional>
#include <map>

#include "base/errors.h"
#include "golden/selfcheck.h"
#include "json/json_text.h"
#include "request.h"

namespace wgr {

void put_file(const std::string& path, const std::string& bytes) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) throw OutputError(path, errno);
  const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (std::fclose(file) != 0 || !whole) throw OutputError(path, 0);
}

Json selfcheck_request() {
  const SelfCheck check = self_check();
  Json differences = Json::array();
  for (const StreamDifference& d : check.differences) {
    differences.push_back({{"stream", d.stream}, {"what", d.what}});
  }
  return {{"streams", check.streams},
          {"recognitions", check.recognitions},
          {"differing", check.differing},
          {"differences", differences},
          {"largest_difference", check.largest},
          {"largest_score_difference", check.largest_score}};
}

static Json answer_to(const Json& request) {
  static const std::map<std::string, std::function<Json(const Json&)>> kRequests = {
      {"version", [](const Json&) { return Json("wgr " WGR_VERSION); }},
      {"explain", explain_request},
      {"import choices", [](const Json&) { return import_choices_request(); }},
      {"import", import_request},
      {"judge", judge_request},
      {"build", build_request},
      {"live", live_request},
      {"motion", [](const Json&) { return motion_request(); }},
      {"selfcheck", [](const Json&) { return selfcheck_request(); }},
  };
  return kRequests.at(request.at("do").get<std::string>())(request);
}

}  // namespace wgr

// The answer to a request, {"answer"} or {"error"} with a sentence for people; valid
// until the next call.
extern "C" const char* studio_request(const char* text) {
  static std::string answer;
  try {
    answer = wgr::json_text({{"answer", wgr::answer_to(wgr::Json::parse(text))}});
  } catch (const std::exception& error) {
    answer = wgr::json_text({{"error", error.what()}});
  }
  return answer.c_str();
}
