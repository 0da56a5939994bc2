#include "text/capture_text.h"

#include <nlohmann/json.hpp>

#include "base/text.h"
#include "json/json_text.h"

namespace wgr {

using namespace wgr::capture;
using Json = nlohmann::ordered_json;

static const char* name_of(std::uint8_t call) {
  switch (call) {
    case kCreate:
      return "create_gesture_handle";
    case kInit:
      return "init_gesture_handle";
    case kSensitivity:
      return "set_gesture_rec_sensitivity";
    case kSetModel:
      return "set_gesture_model";
    case kRegister:
      return "register_gesture_event_cb";
    case kDestroy:
      return "destroy_gesture_handle";
    case kSample:
      return "update_gesture";
    case kWearer:
      return "get_wearer_type";
    case kMovement:
      return "get_movement_status";
    case kCostTime:
      return "get_recog_cost_time";
    case kStrength:
      return "get_motion_strength";
    case kGetVersion:
      return "get_version";
    case kCallback:
      return "the callback";
    default:
      return "a call";
  }
}

std::string with_commas(std::uint64_t count) {
  std::string digits = std::to_string(count);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, ",");
  }
  return digits;
}

static std::string answer_text(double answer) {
  return answer == kNoAnswer ? "not called" : fmt::format("{}", answer);
}

static std::string difference_text(const AnswerDifference& d) {
  return fmt::format("offset {}, {:.3f} s, handle {}: {}: recorded {}, now {}\n",
                     d.offset, d.t, d.handle, name_of(d.call), answer_text(d.recorded),
                     answer_text(d.now));
}

static std::string count_line(std::uint64_t count, const std::string& what) {
  return count == 0 ? "" : fmt::format("{} {}\n", with_commas(count), what);
}

std::string reenactment_text(const ReenactmentTotals& totals, const std::string& name) {
  std::string text = fmt::format(
      "{}: {} samples in {:.1f} s, {} callbacks, {}, {}\n", name,
      with_commas(totals.samples), totals.seconds, with_commas(totals.callbacks),
      counted(totals.handles.size(), "handle"), counted(totals.threads.size(), "thread"));
  for (const AnswerDifference& difference : totals.first) {
    text += difference_text(difference);
  }
  if (totals.differing > totals.first.size()) text += "...\n";
  text += fmt::format("{} of {} answers differ\n", with_commas(totals.differing),
                      with_commas(totals.answers));
  text += count_line(totals.last_bits,
                     "figures differ in the last bits, as another processor's may");
  text += count_line(totals.not_compared,
                     "answers not compared: what they rest on is not in the capture");
  text += count_line(totals.injected, "samples were injected");
  text += count_line(totals.gaps, "gaps");
  text += count_line(totals.missed, "calls that could not be recorded");
  text +=
      count_line(totals.unanswered, "calls had not returned when the recording ended");
  if (totals.ended_without_model) {
    text += "the library ended the host here: it had no default model\n";
  }
  return text;
}

std::string reenactment_json(const ReenactmentTotals& totals) {
  Json differences = Json::array();
  for (const AnswerDifference& d : totals.first) {
    differences.push_back({{"offset", d.offset},
                           {"t", d.t},
                           {"handle", d.handle},
                           {"call", name_of(d.call)},
                           {"recorded", answer_text(d.recorded)},
                           {"now", answer_text(d.now)}});
  }
  const Json line = {{"type", "reenactment"},
                     {"answers", totals.answers},
                     {"differing", totals.differing},
                     {"last_bits", totals.last_bits},
                     {"not_compared", totals.not_compared},
                     {"unanswered", totals.unanswered},
                     {"samples", totals.samples},
                     {"callbacks", totals.callbacks},
                     {"marks", totals.marks},
                     {"injected", totals.injected},
                     {"missed", totals.missed},
                     {"gaps", totals.gaps},
                     {"seconds", totals.seconds},
                     {"handles", totals.handles.size()},
                     {"threads", totals.threads.size()},
                     {"differences", differences}};
  return json_text(line) + "\n";
}

std::string damage_text(const CaptureReader& reader) {
  std::string text;
  if (reader.damaged_blocks() > 0) {
    text = fmt::format("{}, the first at offset {}",
                       counted(reader.damaged_blocks(), "damaged block"),
                       reader.first_damage());
  }
  if (reader.torn_records() > 0) {
    text += (text.empty() ? "" : "; ") + counted(reader.torn_records(), "torn record");
  }
  return text;
}

}  // namespace wgr
