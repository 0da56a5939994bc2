// The answer to "it did not react": what was expected, what came, and the one cause that
// counts most, with how sure that is.
//
// Causes are tested in this order, and the first that holds is the principal one:
//
//   1. the host never initialised the handle, or the model has no templates;
//   2. the stream is broken for certain: units, axes, sensors swapped, a wrong rate, ...;
//   3. the model was built for another sample rate, and comparisons went wrong;
//   4. the stream is likely broken so, unless something else helped more when tried;
//   5. what helped most when it was tried: a repair of the stream, another model, a
//      watch turned, another sensitivity, a shorter rest window;
//   6. the stream has lesser faults, and much was missed;
//   7. what became of most of the missed gestures;
//   8. reports that nobody expected.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "diagnosis/diagnosis.h"
#include "explanation/explanation.h"
#include "verdict/trials.h"

namespace wgr {

enum class Blame {
  kNotInitialised,
  kNoTemplates,
  kStream,      // a finding of the examination
  kOtherWrist,  // the watch is on the other one than the model is for
  kModelRate,   // the model was built for another sample rate
  kOtherMode,   // another variant of the model does much better
  kTurnedWatch,
  kTooStrict,  // the sensitivity
  kTooPermissive,
  kRestWindow,  // too long for the pauses between gestures
  kLateStart,   // the recording begins in a gesture
  kGesture,     // how most of the missed gestures ended
  kUnexpected,  // reports that nobody expected
};

// Missed gestures of one class that have one cause.
struct MissedGroup {
  int label;
  Cause cause;
  std::vector<size_t> which;            // of Explanation::expected
  std::optional<double> median_margin;  // decision margin, of those that were compared
};

// Why a report was not expected.
enum class Surplus {
  kBackground,  // no gesture was expected there
  kOtherClass,  // one of another class was
  kRepeated,    // the gesture that was expected there came
};

struct UnexpectedGroup {
  int label;
  Surplus why;
  std::vector<size_t> which;  // of Explanation::motions
  std::optional<double> median_margin;
};

struct Principal {
  Blame blame;
  Sureness sure;
  std::optional<size_t> finding = {};  // of the diagnosis
  std::optional<size_t> trial = {};    // that shows it, or removes it
  std::optional<Cause> cause = {};     // of kGesture
  std::optional<size_t> example = {};  // of kGesture: one of Explanation::expected

  // Whether recording, host or watch are at fault, and not one gesture or another.
  bool is_fault() const {
    return blame != Blame::kGesture && blame != Blame::kUnexpected;
  }
};

struct Verdict {
  size_t expected = 0;
  size_t came = 0;
  size_t reported = 0;                      // as a gesture, expected or not
  std::vector<MissedGroup> missed;          // the largest first
  std::vector<UnexpectedGroup> unexpected;  // only where something was expected; likewise
  Diagnosis diagnosis;
  std::optional<OtherRate> other_rate;        // than the model was built for
  std::array<size_t, 3> wearer_answers = {};  // left, right, undecided
  int worn = 2;                               // by these: 0 left, 1 right, 2 undecided
  std::vector<Trial> trials;                  // as run_trials() gives them, or none
  std::optional<Principal> principal;

  size_t missed_count() const { return expected - came; }
  size_t unexpected_count() const;
  // Whether the wrist detector clearly names another wrist than the model's.
  bool other_wrist_detected(int wearer) const { return worn != 2 && worn != wearer; }
};

// A short name of the cause, such as "gyro-unit" or "other-wrist", the same in text,
// JSON, page and documents.
std::string name_of(const Principal& principal, const Verdict& verdict);
const char* name_of(Surplus why);

// From an explanation whose expected gestures have been found.
Verdict judge(const Explanation& explanation, Diagnosis diagnosis,
              std::vector<Trial> trials);

}  // namespace wgr
