#include "text/explanation_sentences.h"

#include <algorithm>

#include "base/class_codes.h"
#include "base/text.h"

namespace wgr {

static constexpr int kScoreDecimals = 4;
static constexpr double kMostly = 0.5;

std::string interval_text(double begin, double end) {
  return fmt::format("{:.3f} s to {:.3f} s", begin, end);
}

static std::string samples(size_t count) { return counted(count, "sample"); }

static std::string lengths(size_t count, const Settings& settings) {
  return fmt::format("{} ({:.2f} s)", samples(count),
                     static_cast<double>(count) / settings.rate);
}

static std::string shortest(const Settings& settings) {
  return fmt::format("the shortest motion is {}", settings.min_motion_len);
}

static std::string score_text(float score) {
  return fmt::format("{:.{}f}", score, kScoreDecimals);
}

static std::string lost_attitude(const MotionExplanation& m) {
  if (!m.lost_at) return "Its numbers overflowed, so nothing could be compared.";
  const std::string where =
      fmt::format("sample {} of {} ({} into the recording)", *m.lost_at + 1, m.kept(),
                  samples(m.first + *m.lost_at));
  if (m.zero_rate && *m.lost_at == 0) {
    return "The attitude is not a number from " + where +
           " on: the rate is exactly zero there, which leaves no axis to turn about.";
  }
  return fmt::format(
      "The attitude is not a number from {} on: up to there the turns cancel out, which "
      "leaves no axis to turn about{}",
      where, m.zero_rate ? " (the rate is exactly zero there)." : ".");
}

static std::string best_text(const MotionExplanation& m) {
  const TemplateScore& best = m.scores.front();
  std::string text = fmt::format("template {} of class {} scores {}", best.index + 1,
                                 best.label, score_text(best.score));
  if (best.threshold) {
    text += fmt::format(", the class requires more than {:.{}f}", *best.threshold,
                        kScoreDecimals);
  }
  return text;
}

static std::string ending_text(Ending ending, const MotionExplanation& m,
                               const Settings& settings) {
  switch (ending) {
    case Ending::kRecognised:
      return fmt::format("Reported as class {}: {}.", m.reported.value_or(0),
                         best_text(m));
    case Ending::kBelowThreshold:
      return "Reported as 5, a strong motion like no gesture: the best, " + best_text(m) +
             ".";
    case Ending::kTooShort:
      return fmt::format("Too short: {} with the pre-roll, {}.",
                         lengths(m.collected, settings), shortest(settings));
    case Ending::kNotANumber:
      return lost_attitude(m);
    case Ending::kStartsFast:
      return fmt::format(
          "It starts fast, as if cut in its middle: {:.3f} m/s at its first step, {:.3f} "
          "m/s is fast; such a motion is dropped whole.",
          m.speed.front(), m.fast_from);
    case Ending::kEndsFast:
      return fmt::format(
          "It ends fast, as if cut in its middle: {:.3f} m/s at its last step, {:.3f} "
          "m/s is fast; such a motion is dropped whole.",
          m.speed.back(), m.fast_from);
    case Ending::kStretchTooShort:
      return fmt::format(
          "Too short once reduced to its active stretch: {} of {} are fast, {}.",
          lengths(m.compared_points(), settings), m.kept(), shortest(settings));
    case Ending::kTooWeak:
      return fmt::format("Too weak: {:.3f} m/s², at least {:.3f} m/s² is required.",
                         m.strength, settings.strength_threshold);
    case Ending::kNoTemplates:
      return "The model has no templates: its file was missing, empty or malformed when "
             "it was loaded.";
    case Ending::kNoScore:
      return fmt::format(
          "None of the {} templates can be compared with it: every score is minus "
          "infinity or not a number, as with templates without points or with a gravity "
          "of length zero.",
          m.compared_templates);
    case Ending::kNeverReported:
      if (m.scores.front().label == kNoGesture) {
        return fmt::format("It is most like {}, a template of background: no gesture.",
                           best_text(m));
      }
      return fmt::format("It is most like {}; but class {} is never reported to a host.",
                         best_text(m), m.scores.front().label);
    default:
      return "";
  }
}

static std::string circumstance_text(Circumstance circumstance,
                                     const MotionExplanation& m,
                                     const Settings& settings) {
  switch (circumstance) {
    case Circumstance::kUnfinished:
      return "The recording ends while the wrist still moves; a motion is judged when "
             "the wrist comes to rest.";
    case Circumstance::kCutByReport:
      return "Its start was lost: after a report all histories start afresh, and for the "
             "next " +
             samples(static_cast<size_t>(std::max(settings.static_window - 1, 0))) +
             " the wrist counts as resting.";
    case Circumstance::kWrongMode:
      return fmt::format(
          "Every one of the {} sample pairs was refused: the engine takes the "
          "accelerometer alone until init_gesture_handle() is called.",
          m.collected);
    default:
      return "";
  }
}

static std::string cause_text(const Cause& cause, const MotionExplanation& m,
                              const Settings& settings) {
  return cause.ending() ? ending_text(*cause.ending(), m, settings)
                        : circumstance_text(cause.circumstance(), m, settings);
}

std::string sentence_for(const MotionExplanation& m, const Settings& settings) {
  std::string text = cause_text(m.cause, m, settings);
  for (const Cause& cause : m.also) {
    if (m.cause == Circumstance::kCutByReport) {
      text += " What is left of it: " + cause_text(cause, m, settings);
    } else if (cause == Ending::kBelowThreshold) {
      text += " It also resembles no gesture: the best, " + best_text(m) + ".";
    } else {
      text += " Besides: " + cause_text(cause, m, settings);
    }
  }
  if (m.after_report && m.cause != Circumstance::kCutByReport) {
    text += " It begins just after a report, so its very start may be missing.";
  } else if (m.at_start && m.cause != Circumstance::kWrongMode) {
    text += " It was under way when the recording begins.";
  }
  return text;
}

static std::string text_of(NoMotion why) {
  const std::string rested = "The wrist counted as resting throughout: ";
  switch (why) {
    case NoMotion::kNoSamples:
      return "The recording has no sample there.";
    case NoMotion::kAfterReport:
      return "It fell into the pause after a report, in which the wrist counts as "
             "resting "
             "until the window is full again.";
    case NoMotion::kAtStart:
      return "It fell into the recording's first samples, in which the wrist counts as "
             "resting until the window is full.";
    case NoMotion::kBothRested:
      return rested + "both sensors reported rest.";
    case NoMotion::kGyroRested:
      return rested +
             "the gyroscope alone reported rest, and one sensor at rest is enough.";
    case NoMotion::kAccRested:
      return rested +
             "the accelerometer alone reported rest, and one sensor at rest is enough.";
  }
  return "";
}

std::string sentence_for(const Expected& x, const Explanation& e) {
  std::string text;
  if (x.no_motion) text = text_of(*x.no_motion);
  if (x.motion) {
    const MotionExplanation& m = e.motions[*x.motion];
    if (x.cause == Circumstance::kSharedMotion) {
      text =
          "The wrist did not rest between two gestures, so they were one motion, which "
          "was "
          "reported once.";
    } else {
      if (x.cause == Circumstance::kOtherClass)
        text = "Another class was found more like it. ";
      text += sentence_for(m, e.settings);
    }
    if (x.much_longer) {
      text += fmt::format(
          " The motion lasted {:.2f} s, far longer than what was expected: there was no "
          "rest around it.",
          m.end - m.begin);
    }
  }
  if (x.no_template) {
    text += fmt::format(" The model has no template of class {}.", x.label);
  }
  return text;
}

static std::string why_acc_not(const RestStretch& rest) {
  const bool outside = rest.gravity_outside > 0;
  const bool scattered = rest.acc_scattered > 0;
  std::string text;
  if (outside) {
    text += fmt::format("its mean of {:.2f} m/s² is outside the band of gravity",
                        rest.mean_gravity);
  }
  if (scattered) text += std::string(outside ? " and " : "") + "it scatters too much";
  return text;
}

static std::string why_gyro_not(const RestStretch& rest) {
  std::string text;
  if (rest.turning > 0) text += "it shows turning";
  if (rest.gyro_scattered > 0) {
    text += std::string(rest.turning > 0 ? " and " : "") + "it scatters too much";
  }
  return text;
}

std::string sentence_for(const RestStretch& rest, const Settings& settings) {
  const auto count = [&rest](Judgement j) { return rest.judged[static_cast<size_t>(j)]; };
  const size_t blind = count(Judgement::kWindowNotFull);
  const size_t acc = count(Judgement::kAccRests);
  const size_t gyro = count(Judgement::kGyroRests);
  const size_t both = count(Judgement::kBothRest);
  const size_t seen = rest.count - blind;
  std::string text;
  if (seen > 0) {
    if (share(both, seen) >= kMostly) {
      text = "both sensors report rest";
    } else if (gyro >= acc) {
      text =
          "the gyroscope reports rest, the accelerometer does not: " + why_acc_not(rest);
    } else {
      text =
          "the accelerometer reports rest, the gyroscope does not: " + why_gyro_not(rest);
    }
    text += fmt::format(" (both {}, gyroscope alone {}, accelerometer alone {})",
                        percent(both, seen), percent(gyro, seen), percent(acc, seen));
  }
  if (blind > 0) {
    text += fmt::format("{}{} count as rest because the window of {} is not full yet",
                        text.empty() ? "" : "; ", samples(blind), settings.static_window);
  }
  return text;
}

}  // namespace wgr
