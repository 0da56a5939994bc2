#include "text/verdict_text.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"
#include "text/explanation_sentences.h"
#include "text/finding_text.h"
#include "text/remedies.h"

namespace wgr {

static constexpr size_t kShownOfGroup = 3;

static const Remedy* remedy_of(const Verdict& v) {
  return v.principal ? remedy_for(name_of(*v.principal, v)) : nullptr;
}

static std::string of(size_t part, size_t whole) {
  return fmt::format("{} of {}", part, whole);
}

static std::string counts_sentence(const Verdict& v) {
  if (v.expected == 0) {
    return v.reported == 0   ? "No gesture was reported."
           : v.reported == 1 ? "1 gesture was reported."
                             : fmt::format("{} gestures were reported.", v.reported);
  }
  std::string text = of(v.came, v.expected) +
                     (v.expected == 1 ? " gesture was" : " gestures were") +
                     " recognised.";
  const size_t more = v.unexpected_count();
  if (more > 0) {
    text += more == 1 ? " 1 report was not expected."
                      : fmt::format(" {} reports were not expected.", more);
  }
  return text;
}

std::string headline_for(const Verdict& v, const Settings& settings) {
  std::string text = counts_sentence(v);
  if (const Remedy* const remedy = remedy_of(v)) {
    const bool harmless = v.expected > 0 && v.missed_count() + v.unexpected_count() == 0;
    text += (harmless ? " Even so: " : " ") + filled(remedy->headline, v, settings);
  }
  return text;
}

static const char* wrist_name(int wearer) {
  static constexpr const char* kNames[] = {"left", "right", "undecided"};
  return kNames[wearer];
}

static std::string votes(const std::array<size_t, 3>& answers) {
  return fmt::format("{} left : {} right, {} undecided", answers[0], answers[1],
                     answers[2]);
}

static std::string tried_evidence(const Verdict& v, const Settings& settings) {
  const Trial& base = v.trials.front();
  const Trial& tried = v.trials[*v.principal->trial];
  std::string text;
  if (tried.came > base.came) {
    text = fmt::format("{} are recognised with {}, {} without",
                       of(tried.came, v.expected), name_of(tried), base.came);
  } else {
    text = fmt::format("{} with {}, {} without",
                       counted(tried.unexpected, "unexpected report"), name_of(tried),
                       base.unexpected);
  }
  if (v.principal->blame == Blame::kOtherWrist) {
    text += v.other_wrist_detected(settings.wearer)
                ? fmt::format("; the wrist detector says {} as well ({})",
                              wrist_name(v.worn), votes(v.wearer_answers))
                : fmt::format("; the wrist detector says {} ({})", wrist_name(v.worn),
                              votes(v.wearer_answers));
  }
  return text;
}

std::string evidence_for(const Verdict& v, const Explanation& e) {
  if (!v.principal) return "";
  const Principal& p = *v.principal;
  if (p.finding) return finding_text(v.diagnosis.findings[*p.finding]).what;
  switch (p.blame) {
    case Blame::kNotInitialised:
      return "every sample pair was rejected: the engine takes the accelerometer alone";
    case Blame::kNoTemplates:
      return "it has no templates";
    case Blame::kModelRate:
      return v.other_rate->known
                 ? "the model's manifest says so"
                 : "no manifest beside the model says so, but the shipped models are";
    case Blame::kLateStart:
      return "the wrist moves already when the recording begins";
    case Blame::kGesture:
      return fmt::format("at {:.3f} s: {}", e.expected[*p.example].begin,
                         sentence_for(e.expected[*p.example], e));
    case Blame::kUnexpected:
      return fmt::format("{} where none was expected",
                         counted(v.unexpected_count(), "report"));
    default:
      return p.trial ? tried_evidence(v, e.settings) : "";
  }
}

std::string action_for(const Verdict& v, const Settings& settings) {
  const Remedy* const remedy = remedy_of(v);
  return remedy == nullptr ? "" : filled(remedy->action, v, settings);
}

std::string code_for(const Verdict& v, const Settings& settings) {
  const Remedy* const remedy = remedy_of(v);
  return remedy == nullptr ? "" : filled(remedy->code, v, settings);
}

std::string effect_for(const Verdict& v) {
  if (!v.principal || !v.principal->trial || v.expected == 0) return "";
  const Trial& base = v.trials.front();
  const Trial& tried = v.trials[*v.principal->trial];
  if (gain_of(tried, base) <= 0) return "";
  std::string text = fmt::format("With {}, {} recognised in this recording (tried)",
                                 name_of(tried), of(tried.came, v.expected));
  if (tried.unexpected != base.unexpected) {
    text += fmt::format(", with {} instead of {}",
                        counted(tried.unexpected, "unexpected report"), base.unexpected);
  }
  return text + ".";
}

std::string repair_text(const Repair& r) {
  switch (r.kind) {
    case RepairKind::kTimeUnit:
      return fmt::format("stamps × {:.7g}", r.factor);
    case RepairKind::kSort:
      return "samples sorted by time";
    case RepairKind::kDropRepeats:
      return "repeated samples dropped";
    case RepairKind::kSwapSensors:
      return "the sensors the other way round";
    case RepairKind::kAccUnit:
      return fmt::format("accelerometer × {:.7g}", r.factor);
    case RepairKind::kAccSpikes:
      return "spikes of the accelerometer replaced";
    case RepairKind::kGyroSpikes:
      return "spikes of the gyroscope replaced";
    case RepairKind::kGyroUnit:
      return fmt::format("gyroscope × {:.7g}", r.factor);
    case RepairKind::kAccAxes:
      return "accelerometer as " + as_text(r.axes, 'a');
    case RepairKind::kGyroAxes:
      return "gyroscope as " + as_text(r.axes, 'g');
    case RepairKind::kZeroRates:
      return "no sample of the gyroscope at exactly zero";
    case RepairKind::kFillGaps:
      return "short gaps filled in";
    case RepairKind::kEvenRate:
      return fmt::format("samples at an even {} a second", nearest_int(r.factor));
    case RepairKind::kRate:
      return fmt::format("a sample rate of {}", nearest_int(r.factor));
    case RepairKind::kBias:
      return fmt::format("a bias of {:.2f}, {:.2f}, {:.2f} deg/s", r.bias.x, r.bias.y,
                         r.bias.z);
  }
  return "";
}

static std::string level_name(int level) {
  if (level < 0)
    return fmt::format("sensitivity {}, motions of {} samples", level, -level);
  static constexpr const char* kNames[] = {"usual", "permissive", "medium", "strict"};
  return fmt::format("sensitivity {}, {}", level, kNames[std::min(level, 3)]);
}

std::string name_of(const Trial& trial) {
  const Circumstances& with = trial.with;
  switch (with.change) {
    case Change::kNone:
      return "as it is";
    case Change::kInitialise:
      return "init_gesture_handle()";
    case Change::kRepair:
      return repair_text(with.repairs.front());
    case Change::kAllRepairs:
      return "all repairs of the stream";
    case Change::kOtherModel:
      return fmt::format("the {} wrist's model, --wearer {} --mode {}",
                         wrist_name(with.model.wearer), with.model.wearer,
                         with.model.mode);
    case Change::kMirror:
      return "the other wrist";
    case Change::kSensitivity:
      return level_name(with.sensitivity);
    case Change::kMounting:
      return "the axes turned, " + as_text(with.mounting, 'a') + ", gyroscope likewise";
    case Change::kRestWindow:
      return fmt::format("a rest window of {} samples", with.rest_window);
  }
  return "";
}

std::vector<size_t> shown_trials(const Verdict& v) {
  std::vector<size_t> shown;
  if (v.trials.empty()) return shown;
  // A change of the model counts as another wrist or another mode.
  std::set<std::pair<Change, int>> seen;
  bool base_shown = false;
  for (size_t i = 1; i < v.trials.size(); ++i) {
    const Circumstances& with = v.trials[i].with;
    const bool repair = with.change == Change::kRepair;
    const int kind = repair ? static_cast<int>(with.finding) : with.model.wearer;
    if (!seen.emplace(with.change, kind).second) continue;
    if (!base_shown && gain_of(v.trials[i], v.trials.front()) <= 0) {
      shown.push_back(0);
      base_shown = true;
    }
    shown.push_back(i);
  }
  if (!base_shown) shown.push_back(0);
  return shown;
}

std::string stream_text(const Verdict& v) {
  std::string text;
  for (const Finding& finding : v.diagnosis.findings) {
    text += (text.empty() ? "" : ", ") + std::string(name_of(finding.id));
    text += fmt::format(" ({})", sureness_name(finding.sure));
  }
  return text.empty() ? "nothing found" : text;
}

std::string detected_wrist_text(const std::array<size_t, 3>& answers) {
  return fmt::format("{} by the wrist detector ({})", wrist_name(clear_wearer(answers)),
                     votes(answers));
}

std::string wrist_text(const Verdict& v, const Settings& settings) {
  return fmt::format("{}, {} by --wearer", detected_wrist_text(v.wearer_answers),
                     wrist_name(settings.wearer));
}

std::string trials_heading(const Verdict& v) {
  if (v.expected == 0) return "under other circumstances, each tried on this recording";
  const bool helped = std::any_of(
      v.trials.begin(), v.trials.end(),
      [&](const Trial& trial) { return gain_of(trial, v.trials.front()) > 0; });
  return helped ? "what would have helped, each tried on this recording"
                : "nothing that was tried on this recording would have helped";
}

static void append_trials(std::string& text, const Verdict& v) {
  // Where nothing went wrong nothing had to be helped.
  if (v.trials.size() < 2 || (v.expected > 0 && !v.principal)) return;
  text += "\n" + trials_heading(v) + "\n";
  if (v.principal && !v.principal->trial) {
    text += "  not to be tried on a recording: see \"do\" above\n";
  }
  for (const size_t i : shown_trials(v)) {
    const Trial& trial = v.trials[i];
    const std::string came = v.expected > 0
                                 ? fmt::format("{:>3} of {} recognised, {} not expected",
                                               trial.came, v.expected, trial.unexpected)
                                 : fmt::format("{:>3} reported", trial.reported);
    text += fmt::format("  {}  {}\n", came, name_of(trial));
  }
}

std::string verdict_text(const Verdict& v, const Explanation& e, const Layout& layout) {
  std::string headline;
  append_wrapped(headline, "", headline_for(v, e.settings), layout);
  headline.pop_back();
  std::string text = layout.strong(headline) + "\n";
  const std::string indent(12, ' ');
  const auto line = [&](const std::string& name, const std::string& words) {
    if (words.empty()) return;
    append_wrapped(text, indent, words, layout, fmt::format("  {:<10}", name));
  };
  if (v.principal) {
    line(sureness_name(v.principal->sure), evidence_for(v, e));
    line("do", action_for(v, e.settings));
    // To be copied: never broken.
    const std::string code = code_for(v, e.settings);
    if (!code.empty()) text += indent + layout.strong(code) + "\n";
    line("then", effect_for(v));
  }
  line("stream", stream_text(v));
  line("wrist", wrist_text(v, e.settings));
  append_trials(text, v);
  return text;
}

static std::string margin_text(const std::optional<double>& margin) {
  return margin ? fmt::format(", median decision margin {:.4f}", *margin) : "";
}

static void append_more(std::string& text, size_t hidden, const char* only) {
  if (hidden > 0) text += fmt::format("    and {} more: --only {}\n", hidden, only);
}

static void append_missed(std::string& text, const MissedGroup& group,
                          const Explanation& e, bool whole, const Layout& layout,
                          std::string& said) {
  text += fmt::format("  class {}, {}: {}{}\n", group.label, name_of(group.cause),
                      group.which.size(), margin_text(group.median_margin));
  const size_t shown =
      whole ? group.which.size() : std::min(group.which.size(), kShownOfGroup);
  for (size_t i = 0; i < shown; ++i) {
    const Expected& x = e.expected[group.which[i]];
    text += fmt::format("    {}{}\n", interval_text(x.begin, x.end),
                        x.motion ? fmt::format(", motion {}", *x.motion + 1) : "");
    const std::string sentence = sentence_for(x, e);
    const bool news = whole || i == 0;
    if (news && sentence != said) append_wrapped(text, "      ", sentence, layout);
    if (news) said = sentence;
  }
  append_more(text, group.which.size() - shown, "missed");
}

static void append_unexpected(std::string& text, const UnexpectedGroup& group,
                              const Explanation& e, bool whole) {
  text += fmt::format("  class {}, {}: {}{}\n", group.label, name_of(group.why),
                      group.which.size(), margin_text(group.median_margin));
  const size_t shown =
      whole ? group.which.size() : std::min(group.which.size(), kShownOfGroup);
  for (size_t i = 0; i < shown; ++i) {
    const MotionExplanation& m = e.motions[group.which[i]];
    text += fmt::format("    {}, motion {}\n", interval_text(m.begin, m.end),
                        group.which[i] + 1);
  }
  append_more(text, group.which.size() - shown, "unexpected");
}

std::string groups_text(const Verdict& v, const Explanation& e, bool whole,
                        const Layout& layout) {
  std::string text;
  std::string said;  // the sentence before, which needs no repeating
  if (!v.missed.empty()) text += fmt::format("\nmissed: {}\n", v.missed_count());
  for (const MissedGroup& group : v.missed) {
    append_missed(text, group, e, whole, layout, said);
  }
  if (!v.unexpected.empty()) {
    text += fmt::format("\nreported but not expected: {}\n", v.unexpected_count());
  }
  for (const UnexpectedGroup& group : v.unexpected) {
    append_unexpected(text, group, e, whole);
  }
  return text;
}

std::string findings_text(const std::vector<Finding>& findings) {
  if (findings.empty()) return "nothing found\n";
  std::string text;
  for (const Finding& finding : findings) {
    const FindingText said = finding_text(finding);
    text += fmt::format("{} ({}): {}\n  do: {}\n", name_of(finding.id),
                        sureness_name(finding.sure), said.what, said.remedy);
    if (!said.call.empty()) text += "  by: " + said.call + '\n';
  }
  return text;
}

}  // namespace wgr
