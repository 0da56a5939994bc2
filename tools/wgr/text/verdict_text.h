// The verdict in words.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "text/layout.h"
#include "verdict/verdict.h"

namespace wgr {

// What happened, and why: "0 of 11 gestures were recognised. The gyroscope delivers
// rad/s; the library expects deg/s."
std::string headline_for(const Verdict& verdict, const Settings& settings);

// What shows the principal cause. None has none.
std::string evidence_for(const Verdict& verdict, const Explanation& explanation);

// What to do about it, and the line of code; either may be empty.
std::string action_for(const Verdict& verdict, const Settings& settings);
std::string code_for(const Verdict& verdict, const Settings& settings);

// What comes with the remedy; empty where it was not tried, or changed nothing.
std::string effect_for(const Verdict& verdict);

// What a trial changed, as "gyroscope x 57.29578".
std::string name_of(const Trial& trial);

// What a repair changes, likewise.
std::string repair_text(const Repair& repair);

// Each finding: what it is and how sure, what to do, and by which call.
std::string findings_text(const std::vector<Finding>& findings);

// The trials that are worth a line: the best of each kind, and the one without a change.
std::vector<size_t> shown_trials(const Verdict& verdict);

// What stands above them: without expected gestures nothing can be said to help.
std::string trials_heading(const Verdict& verdict);

// The wrist that the detector's answers left, right and undecided name, with their
// counts.
std::string detected_wrist_text(const std::array<size_t, 3>& answers);

// What the examination found, and which wrist wears the watch.
std::string stream_text(const Verdict& verdict);
std::string wrist_text(const Verdict& verdict, const Settings& settings);

// All of it, for a terminal.
std::string verdict_text(const Verdict& verdict, const Explanation& explanation,
                         const Layout& layout);

// What was missed and what was not expected, in groups; with `whole` every one.
std::string groups_text(const Verdict& verdict, const Explanation& explanation,
                        bool whole, const Layout& layout);

}  // namespace wgr
