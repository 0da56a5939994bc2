#include "explanation/expected.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/errors.h"
#include "base/text.h"
#include "base/text_lines.h"
#include "segmentation/annotations.h"

namespace wgr {

static constexpr char kAnnotationsHeader[] = "t_start,t_end,label";
static constexpr size_t kByteOrderMark = 3;  // bytes that may stand before the header
static constexpr double kMuchLonger = 2.0;   // motion, in lengths of what was expected

// Whether the path ends in all parts of `file`.
static bool is_file(const std::filesystem::path& path,
                    const std::filesystem::path& file) {
  const std::vector<std::filesystem::path> parts(path.begin(), path.end());
  const std::vector<std::filesystem::path> tail(file.begin(), file.end());
  return tail.size() <= parts.size() &&
         std::equal(tail.rbegin(), tail.rend(), parts.rbegin());
}

static bool has_files(const std::string& path) {
  std::ifstream file(path);
  std::string header;
  next_line(file, header, kByteOrderMark + sizeof kAnnotationsHeader);
  return header.find(kAnnotationsHeader) > kByteOrderMark;
}

// "demo.csv, walk.csv and 3 others"
static std::string names_of(const std::vector<Annotation>& annotations) {
  constexpr size_t kNamed = 3;
  std::set<std::string> names;
  for (const Annotation& annotation : annotations) names.insert(annotation.file);
  std::string text;
  size_t named = 0;
  for (const std::string& name : names) {
    if (named++ == kNamed) break;
    text += (text.empty() ? "" : ", ") + name;
  }
  if (names.size() > kNamed) {
    text += " and " + counted(names.size() - kNamed, "other");
  }
  return text;
}

std::vector<Expected> read_expected(const std::string& path,
                                    const std::string& recording) {
  const bool with_files = has_files(path);
  const std::vector<Annotation> annotations =
      with_files ? read_labels(path) : read_annotations(path);
  if (annotations.empty()) {
    throw UsageError(path +
                     ": names no gesture: leave --expect out, or write one "
                     "line a gesture");
  }
  std::vector<Expected> expected;
  for (const Annotation& annotation : annotations) {
    if (with_files && !is_file(recording, annotation.file)) continue;
    expected.push_back(
        {annotation.begin, annotation.end, annotation.label, Ending::kRecognised});
  }
  if (expected.empty()) {
    throw UsageError(
        path + ": no line is for " + recording + ", but for " + names_of(annotations) +
        ": give that recording, or a table with the header " + kAnnotationsHeader);
  }
  return expected;
}

bool names_recording(const std::string& path, const std::string& recording) {
  if (!has_files(path)) return false;
  const std::vector<Annotation> all = read_labels(path);
  return std::any_of(all.begin(), all.end(), [&](const Annotation& annotation) {
    return is_file(recording, annotation.file);
  });
}

void require_in_recording(const Explanation& e, const std::string& path) {
  if (e.times.empty()) {
    throw UsageError(path + ": gestures are expected, but " + e.recording +
                     " holds no sample");
  }
  const auto [first, last] = std::minmax_element(e.times.begin(), e.times.end());
  for (const Expected& x : e.expected) {
    if (x.end >= *first && x.begin <= *last) continue;
    throw UsageError(fmt::format(
        "{}: the gesture from {:.3f} to {:.3f} s, class {}, is outside {}, which goes "
        "from "
        "{:.3f} to {:.3f} s: is it another recording's table, or in another unit?",
        path, x.begin, x.end, x.label, e.recording, *first, *last));
  }
}

static bool has_class(const Gmodel& model, int label) {
  return std::any_of(model.templates.begin(), model.templates.end(),
                     [label](const auto& entry) { return entry.first == label; });
}

// No motion was there at all: why the wrist counted as resting.
static void explain_rest(const Explanation& e, Expected& x) {
  RestStretch seen;
  for (size_t i = 0; i < e.times.size(); ++i) {
    if (e.times[i] < x.begin || e.times[i] > x.end) continue;
    ++seen.count;
    ++seen.judged[static_cast<size_t>(e.judgements[i])];
  }
  const auto count = [&seen](Judgement j) { return seen.judged[static_cast<size_t>(j)]; };
  const auto set = [&x](Cause cause, NoMotion why) {
    x.cause = cause;
    x.no_motion = why;
  };
  if (seen.count == 0) return set(Circumstance::kNoSamples, NoMotion::kNoSamples);
  const size_t blind = count(Judgement::kWindowNotFull);
  if (2 * blind >= seen.count) {
    const bool after_report =
        std::any_of(e.events.begin(), e.events.end(),
                    [&x](const GestureEvent& event) { return event.t <= x.end; });
    return after_report ? set(Circumstance::kCutByReport, NoMotion::kAfterReport)
                        : set(Circumstance::kAtRest, NoMotion::kAtStart);
  }
  const size_t gyro = count(Judgement::kGyroRests);
  const size_t acc = count(Judgement::kAccRests);
  set(Circumstance::kAtRest, count(Judgement::kBothRest) >= gyro + acc
                                 ? NoMotion::kBothRested
                             : gyro >= acc ? NoMotion::kGyroRested
                                           : NoMotion::kAccRested);
}

static void explain_motion(const Explanation& e, Match match, Expected& x) {
  const MotionExplanation& m = e.motions[*x.motion];
  x.cause = m.cause;
  if (match == Match::kOtherClass) x.cause = Circumstance::kOtherClass;
  if (match == Match::kSharedMotion) x.cause = Circumstance::kSharedMotion;
  x.much_longer =
      x.cause != Ending::kRecognised && m.end - m.begin > kMuchLonger * (x.end - x.begin);
}

std::vector<JudgedMotion> judged_motions(const Explanation& e) {
  std::vector<JudgedMotion> judged;
  for (const MotionExplanation& m : e.motions) {
    const bool recognised = m.cause == Ending::kRecognised;
    judged.push_back({m.begin, m.end, recognised ? m.reported : std::nullopt});
  }
  return judged;
}

std::vector<ExpectedGesture> expected_gestures(const Explanation& e) {
  std::vector<ExpectedGesture> gestures;
  for (const Expected& x : e.expected) gestures.push_back({x.begin, x.end, x.label});
  return gestures;
}

void find_expected(Explanation& e) {
  const auto matched = match_gestures(judged_motions(e), expected_gestures(e));
  for (size_t i = 0; i < e.expected.size(); ++i) {
    Expected& x = e.expected[i];
    x.motion = matched[i].motion;
    if (x.motion) {
      explain_motion(e, matched[i].match, x);
    } else {
      explain_rest(e, x);
    }
    x.no_template = x.cause != Ending::kRecognised && !has_class(e.model, x.label);
  }
}

}  // namespace wgr
