// Compares what was expected of a recording with what was recognised.
#pragma once

#include <string>
#include <vector>

#include "explanation/explanation.h"
#include "explanation/matching.h"

namespace wgr {

// The expected gestures of `recording` in a table with the header t_start,t_end,label, or
// file,t_start,t_end,label, of which the rows are taken whose file the recording is.
// Throws UsageError for what is no such table, and where no row is taken.
std::vector<Expected> read_expected(const std::string& path,
                                    const std::string& recording);

// Whether a table names its recordings, and this one among them.
bool names_recording(const std::string& path, const std::string& recording);

// Throws UsageError for an expected gesture that lies outside the recording, which has
// been explained; `path` is the table's.
void require_in_recording(const Explanation& explanation, const std::string& path);

// The motions and the expected gestures, as they are matched.
std::vector<JudgedMotion> judged_motions(const Explanation& explanation);
std::vector<ExpectedGesture> expected_gestures(const Explanation& explanation);

// Fills in what became of each of `explanation.expected`.
void find_expected(Explanation& explanation);

}  // namespace wgr
