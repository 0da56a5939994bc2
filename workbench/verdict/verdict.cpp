#include "verdict/verdict.h"

#include <algorithm>
#include <map>
#include <utility>

#include "diagnosis/measures.h"
#include "explanation/expected.h"
#include "hostrun/totals.h"

namespace wgr {

// Findings with which next to nothing is recognised, the worst first.
static constexpr FindingId kBreaking[] = {
    FindingId::kSwappedSensors, FindingId::kAccUnit, FindingId::kGyroUnit,
    FindingId::kNoGravity,      FindingId::kStuck,   FindingId::kAbsent,
    FindingId::kAxes,           FindingId::kRate,    FindingId::kTurnScale};

// Findings that cost some gestures, or none. What keeps the wrist from being seen at rest
// comes before that it never rests.
static constexpr FindingId kLesser[] = {
    FindingId::kZeroRate, FindingId::kGap,         FindingId::kOrder,
    FindingId::kRepeated, FindingId::kAccSpike,    FindingId::kGyroSpike,
    FindingId::kAccNoise, FindingId::kGyroNoise,   FindingId::kBias,
    FindingId::kNoRest,   FindingId::kAccClipping, FindingId::kGyroClipping,
    FindingId::kHeld,     FindingId::kJitter};

// A gain by chance is smaller: gestures, and a share of the missed ones.
static constexpr long kLeastGain = 2;
static constexpr size_t kMissedPerGain = 2;
static constexpr size_t kExpectedPerMissed = 4;  // much is missed from here on
static constexpr size_t kFewestUnexpected = 2;

// What occurs more rarely cannot have cost many gestures: seconds, and of a gap its part
// of the recording.
static constexpr double kSecondsPerOccurrence = 60.0;
static constexpr double kPartOfGap = 10.0;

size_t Verdict::unexpected_count() const {
  size_t count = 0;
  for (const UnexpectedGroup& group : unexpected) count += group.which.size();
  return count;
}

const char* name_of(Surplus why) {
  static constexpr const char* kNames[] = {"background", "other-class", "repeated"};
  return kNames[static_cast<size_t>(why)];
}

std::string name_of(const Principal& principal, const Verdict& verdict) {
  switch (principal.blame) {
    case Blame::kNotInitialised:
      return name_of(Cause(Circumstance::kWrongMode));
    case Blame::kNoTemplates:
      return name_of(Cause(Ending::kNoTemplates));
    case Blame::kStream:
      return name_of(verdict.diagnosis.findings[*principal.finding].id);
    case Blame::kOtherWrist:
      return "other-wrist";
    case Blame::kModelRate:
      return "model-rate";
    case Blame::kOtherMode:
      return "other-mode";
    case Blame::kTurnedWatch:
      return "turned-watch";
    case Blame::kTooStrict:
      return "too-strict";
    case Blame::kTooPermissive:
      return "too-permissive";
    case Blame::kRestWindow:
      return "rest-window";
    case Blame::kLateStart:
      return "late-start";
    case Blame::kGesture:
      return name_of(*principal.cause);
    case Blame::kUnexpected:
      return "unexpected";
  }
  return "";
}

// ---- groups --------------------------------------------------------------------------

static std::optional<double> margin_of(const MotionExplanation& motion) {
  if (motion.scores.empty()) return std::nullopt;
  return motion.scores.front().decision_margin();
}

// Of the motions that were compared.
static std::optional<double> median_margin(const Explanation& e,
                                           const std::vector<size_t>& motions) {
  std::vector<double> margins;
  for (const size_t i : motions) {
    if (const auto margin = margin_of(e.motions[i])) margins.push_back(*margin);
  }
  if (margins.empty()) return std::nullopt;
  return median(std::move(margins));
}

template <class Group>
static void largest_first(std::vector<Group>& groups) {
  std::stable_sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) {
    return a.which.size() > b.which.size();
  });
}

static std::vector<MissedGroup> missed_groups(const Explanation& e) {
  std::vector<MissedGroup> groups;
  for (size_t i = 0; i < e.expected.size(); ++i) {
    const Expected& x = e.expected[i];
    if (x.cause == Ending::kRecognised) continue;
    auto same = std::find_if(groups.begin(), groups.end(), [&](const MissedGroup& g) {
      return g.label == x.label && g.cause == x.cause;
    });
    if (same == groups.end()) {
      groups.push_back({x.label, x.cause, {}, {}});
      same = groups.end() - 1;
    }
    same->which.push_back(i);
  }
  for (MissedGroup& group : groups) {
    std::vector<size_t> motions;
    for (const size_t i : group.which) {
      if (e.expected[i].motion) motions.push_back(*e.expected[i].motion);
    }
    group.median_margin = median_margin(e, motions);
  }
  largest_first(groups);
  return groups;
}

static Surplus surplus_of(const Explanation& e, const MotionExplanation& m) {
  Surplus why = Surplus::kBackground;
  for (const Expected& x : e.expected) {
    if (std::min(m.end, x.end) <= std::max(m.begin, x.begin)) continue;
    if (x.label == *m.reported) return Surplus::kRepeated;
    why = Surplus::kOtherClass;
  }
  return why;
}

static std::vector<UnexpectedGroup> unexpected_groups(const Explanation& e) {
  std::vector<UnexpectedGroup> groups;
  const auto judged = judged_motions(e);
  const auto matched = match_gestures(judged, expected_gestures(e));
  for (const size_t i : unexpected_reports(judged, matched)) {
    const Surplus why = surplus_of(e, e.motions[i]);
    const int label = *judged[i].label;
    auto same = std::find_if(groups.begin(), groups.end(), [&](const UnexpectedGroup& g) {
      return g.label == label && g.why == why;
    });
    if (same == groups.end()) {
      groups.push_back({label, why, {}, {}});
      same = groups.end() - 1;
    }
    same->which.push_back(i);
  }
  for (UnexpectedGroup& group : groups) {
    group.median_margin = median_margin(e, group.which);
  }
  largest_first(groups);
  return groups;
}

// ---- the principal cause -------------------------------------------------------------

namespace {

// Tests the causes that the header lists, one by one.
class Search {
 public:
  Search(const Explanation& e, const Verdict& v) : e_(e), v_(v) {}
  std::optional<Principal> find() const;

 private:
  using Found = std::optional<Principal>;

  Found host() const;
  Found broken_stream(Sureness least) const;
  Found model_rate() const;
  Found what_helped() const;
  Found lesser_faults() const;
  Found missed() const;
  Found surplus() const;

  Found helped(size_t trial) const;
  Found helped_by_repair(size_t trial) const;
  Found helped_by_sensitivity(size_t trial) const;
  std::optional<size_t> trial_of(size_t finding) const;
  std::optional<size_t> finding_of(FindingId id, Sureness least) const;
  long gain(size_t trial) const { return gain_of(v_.trials[trial], v_.trials.front()); }
  long best_gain() const { return v_.trials.size() > 1 ? gain(1) : 0; }
  bool is_clear(long gained) const;
  size_t missed_by(std::initializer_list<Cause> causes) const;
  std::optional<size_t> usual_example(Cause& cause) const;

  const Explanation& e_;
  const Verdict& v_;
};

}  // namespace

// More than chance gives with so many trials.
bool Search::is_clear(long gained) const {
  const size_t wrong = v_.missed_count() + v_.unexpected_count();
  const long half = static_cast<long>((wrong + kMissedPerGain - 1) / kMissedPerGain);
  return gained >= std::max(kLeastGain, half);
}

std::optional<size_t> Search::finding_of(FindingId id, Sureness least) const {
  const auto& findings = v_.diagnosis.findings;
  for (size_t i = 0; i < findings.size(); ++i) {
    if (findings[i].id == id && findings[i].sure >= least) return i;
  }
  return std::nullopt;
}

// The best trial with the finding's repair in it.
std::optional<size_t> Search::trial_of(size_t finding) const {
  for (size_t i = 1; i < v_.trials.size(); ++i) {
    const Circumstances& with = v_.trials[i].with;
    const bool alone = with.change == Change::kRepair && with.finding == finding;
    if (alone || with.change == Change::kAllRepairs) return i;
  }
  return std::nullopt;
}

size_t Search::missed_by(std::initializer_list<Cause> causes) const {
  return static_cast<size_t>(
      std::count_if(e_.expected.begin(), e_.expected.end(), [&](const Expected& x) {
        return std::find(causes.begin(), causes.end(), x.cause) != causes.end();
      }));
}

std::optional<Principal> Search::host() const {
  const bool refused = std::any_of(
      e_.motions.begin(), e_.motions.end(),
      [](const MotionExplanation& m) { return m.cause == Circumstance::kWrongMode; });
  const std::optional<size_t> tried =
      v_.trials.size() > 1 ? std::optional<size_t>(1) : std::nullopt;
  if (refused) return Principal{Blame::kNotInitialised, Sureness::kCertain, {}, tried};
  if (e_.model.templates.empty()) {
    return Principal{Blame::kNoTemplates, Sureness::kCertain};
  }
  return std::nullopt;
}

std::optional<Principal> Search::broken_stream(Sureness least) const {
  for (const FindingId id : kBreaking) {
    const auto finding = finding_of(id, least);
    if (!finding) continue;
    const Sureness sure = v_.diagnosis.findings[*finding].sure;
    const auto trial = trial_of(*finding);
    // What is only likely gives way to what was clearly seen to help more.
    const bool outdone =
        best_gain() > (trial ? gain(*trial) : 0) && is_clear(best_gain());
    if (sure < Sureness::kCertain && outdone) continue;
    return Principal{Blame::kStream, sure, finding, trial};
  }
  return std::nullopt;
}

// Many gestures are recognised at another rate as well: it is blamed where a comparison
// with the templates went wrong, or where nothing was expected and all were rejected.
std::optional<Principal> Search::model_rate() const {
  const auto rejected = [](const MotionExplanation& m) {
    return m.cause == Ending::kBelowThreshold;
  };
  const bool silent = v_.expected == 0 && v_.reported == 0 &&
                      std::any_of(e_.motions.begin(), e_.motions.end(), rejected);
  const bool misjudged =
      missed_by({Ending::kBelowThreshold, Circumstance::kOtherClass}) > 0;
  if (!v_.other_rate || !(silent || misjudged || v_.unexpected_count() > 0)) {
    return std::nullopt;
  }
  return Principal{Blame::kModelRate,
                   v_.other_rate->known ? Sureness::kCertain : Sureness::kLikely};
}

std::optional<Principal> Search::helped_by_repair(size_t trial) const {
  const Circumstances& with = v_.trials[trial].with;
  if (with.change == Change::kRepair) {
    return Principal{Blame::kStream, v_.diagnosis.findings[with.finding].sure,
                     with.finding, trial};
  }
  for (size_t i = 0; i < v_.diagnosis.findings.size(); ++i) {
    const Finding& finding = v_.diagnosis.findings[i];
    if (finding.repair) return Principal{Blame::kStream, finding.sure, i, trial};
  }
  return std::nullopt;
}

// Whether gestures are held to more than a host that sets no sensitivity holds them to;
// otherwise it is they that are short or weak.
static bool is_strict(const Settings& settings) {
  constexpr double kDefaultStrength = 2.0;  // m/s²
  return settings.min_motion_len > settings.rate / 2 ||
         settings.strength_threshold > kDefaultStrength;
}

std::optional<Principal> Search::helped_by_sensitivity(size_t trial) const {
  const Trial& base = v_.trials.front();
  const Trial& tried = v_.trials[trial];
  if (tried.came > base.came) {
    // It must be length or strength that they were missed by.
    const size_t stopped =
        missed_by({Ending::kTooWeak, Ending::kTooShort, Ending::kStretchTooShort});
    if (tried.came - base.came > stopped) return std::nullopt;
    if (!is_strict(e_.settings)) return std::nullopt;
    return Principal{Blame::kTooStrict, Sureness::kCertain, {}, trial};
  }
  if (!is_clear(gain(trial))) return std::nullopt;
  return Principal{Blame::kTooPermissive, Sureness::kLikely, {}, trial};
}

std::optional<Principal> Search::helped(size_t trial) const {
  const Circumstances& with = v_.trials[trial].with;
  const bool clear = is_clear(gain(trial));
  switch (with.change) {
    case Change::kRepair:
    case Change::kAllRepairs:
      return helped_by_repair(trial);
    case Change::kSensitivity:
      return helped_by_sensitivity(trial);
    case Change::kOtherModel:
    case Change::kMirror: {
      if (!clear) return std::nullopt;
      const bool other_wrist =
          with.change == Change::kMirror || with.model.wearer != e_.settings.wearer;
      if (!other_wrist) return Principal{Blame::kOtherMode, Sureness::kLikely, {}, trial};
      const bool detected = v_.other_wrist_detected(e_.settings.wearer);
      return Principal{Blame::kOtherWrist,
                       detected ? Sureness::kCertain : Sureness::kLikely,
                       {},
                       trial};
    }
    case Change::kMounting:
      if (!clear) return std::nullopt;
      return Principal{Blame::kTurnedWatch, Sureness::kLikely, {}, trial};
    case Change::kRestWindow:
      if (!clear) return std::nullopt;
      return Principal{Blame::kRestWindow, Sureness::kPossible, {}, trial};
    default:
      return std::nullopt;
  }
}

// The trials that gained as much as the best, the simplest change first.
std::optional<Principal> Search::what_helped() const {
  const long most = best_gain();
  for (size_t i = 1; most > 0 && i < v_.trials.size() && gain(i) == most; ++i) {
    if (const auto found = helped(i)) return found;
  }
  return std::nullopt;
}

// One of the missed gestures that have the most frequent cause, whatever their class.
std::optional<size_t> Search::usual_example(Cause& cause) const {
  size_t most = 0;
  std::optional<size_t> example;
  for (const MissedGroup& group : v_.missed) {
    const size_t count = missed_by({group.cause});
    if (count <= most) continue;
    most = count;
    cause = group.cause;
    example = group.which.front();
  }
  return example;
}

// Decided by a length, a strength or a speed, not by a likeness.
static bool is_measured(const Cause& cause) {
  return cause != Ending::kBelowThreshold && cause != Circumstance::kOtherClass;
}

// Whether what is found now and then is found often enough to cost gestures.
static bool is_frequent(const Finding& finding, double seconds) {
  const Occurrences& seen = finding.occurrences;
  if (seen.count == 0) return true;  // it lasts
  const bool long_gap =
      finding.id == FindingId::kGap && seen.most * kPartOfGap >= seconds;
  return long_gap || static_cast<double>(seen.count) * kSecondsPerOccurrence >= seconds;
}

std::optional<Principal> Search::lesser_faults() const {
  const size_t missed = v_.missed_count();
  const bool much = missed > 0 && missed * kExpectedPerMissed >= v_.expected;
  // A few gestures that were measured to be too weak or short are no fault of the stream.
  Cause cause = Ending::kRecognised;
  if (!much && usual_example(cause) && is_measured(cause)) return std::nullopt;
  for (const FindingId id : kLesser) {
    // That gestures are missed makes it likely that they never ended.
    const Sureness suspected =
        id == FindingId::kNoRest ? Sureness::kPossible : Sureness::kLikely;
    const auto finding = finding_of(id, much ? suspected : Sureness::kCertain);
    if (!finding) continue;
    const double seconds = v_.diagnosis.facts.seconds;
    if (!is_frequent(v_.diagnosis.findings[*finding], seconds)) continue;
    const Sureness sure = missed > 0 ? Sureness::kLikely : Sureness::kCertain;
    return Principal{Blame::kStream, sure, finding, trial_of(*finding)};
  }
  return std::nullopt;
}

std::optional<Principal> Search::missed() const {
  Cause cause = Ending::kRecognised;
  const auto example = usual_example(cause);
  if (!example) return std::nullopt;
  const Expected& x = e_.expected[*example];
  const bool at_start =
      x.no_motion == NoMotion::kAtStart || (x.motion && e_.motions[*x.motion].at_start);
  if (at_start && v_.missed_count() == 1) {
    return Principal{Blame::kLateStart, Sureness::kCertain};
  }
  Principal found = {Blame::kGesture,
                     is_measured(cause) ? Sureness::kCertain : Sureness::kPossible};
  if (best_gain() > 0) found.trial = 1;
  found.cause = cause;
  found.example = example;
  return found;
}

std::optional<Principal> Search::surplus() const {
  if (v_.unexpected_count() < kFewestUnexpected) return std::nullopt;
  return Principal{Blame::kUnexpected, Sureness::kCertain};
}

std::optional<Principal> Search::find() const {
  if (const auto found = host()) return found;
  if (const auto found = broken_stream(Sureness::kCertain)) return found;
  if (const auto found = model_rate()) return found;
  if (const auto found = broken_stream(Sureness::kLikely)) return found;
  if (const auto found = what_helped()) return found;
  if (const auto found = lesser_faults()) return found;
  if (const auto found = missed()) return found;
  return surplus();
}

Verdict judge(const Explanation& explanation, Diagnosis diagnosis,
              std::vector<Trial> trials) {
  Verdict verdict;
  verdict.expected = explanation.expected.size();
  verdict.came = static_cast<size_t>(
      std::count_if(explanation.expected.begin(), explanation.expected.end(),
                    [](const Expected& x) { return x.cause == Ending::kRecognised; }));
  for (const MotionExplanation& m : explanation.motions) {
    verdict.reported += m.cause == Ending::kRecognised ? 1 : 0;
  }
  verdict.missed = missed_groups(explanation);
  if (!explanation.expected.empty()) verdict.unexpected = unexpected_groups(explanation);
  verdict.diagnosis = std::move(diagnosis);
  verdict.other_rate = explanation.other_rate;
  verdict.wearer_answers = explanation.wearer_answers;
  verdict.worn = clear_wearer(explanation.wearer_answers);
  verdict.trials = std::move(trials);
  verdict.principal = Search(explanation, verdict).find();
  return verdict;
}

}  // namespace wgr
