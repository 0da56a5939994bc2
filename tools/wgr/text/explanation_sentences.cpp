#include "text/explanation_sentences.h"

#include <algorithm>
#include <cmath>

#include "base/table.h"

namespace wgr {

static constexpr int kScoreDecimals = 4;
static constexpr size_t kMostlyPercent = 50;

std::string span_text(double begin, double end) {
  return fixed(begin, 3) + " s to " + fixed(end, 3) + " s";
}

static std::string samples(size_t count) {
  return std::to_string(count) + (count == 1 ? " sample" : " samples");
}

static std::string lengths(size_t count, const Settings& settings) {
  return samples(count) + " (" + fixed(static_cast<double>(count) / settings.rate, 2) +
         " s)";
}

static std::string shortest(const Settings& settings) {
  return "the shortest motion is " + std::to_string(settings.min_motion_len);
}

static std::string score_text(float score) {
  return fixed(static_cast<double>(score), kScoreDecimals);
}

static std::string lost_attitude(const MotionAccount& m) {
  if (!m.lost_at) return "Its numbers overflowed, so nothing could be compared.";
  const std::string where = "sample " + std::to_string(*m.lost_at + 1) + " of " +
                            std::to_string(m.kept()) + " (" +
                            samples(m.first + *m.lost_at) + " into the recording)";
  if (m.zero_rate && *m.lost_at == 0) {
    return "The attitude is not a number from " + where +
           " on: the rate is exactly zero there, which leaves no axis to turn about.";
  }
  return "The attitude is not a number from " + where +
         " on: up to there the turns cancel out, which leaves no axis to turn about" +
         (m.zero_rate ? " (the rate is exactly zero there)." : ".");
}

static std::string best_text(const MotionAccount& m) {
  const TemplateScore& best = m.scores.front();
  std::string text = "template " + std::to_string(best.index + 1) + " of class " +
                     std::to_string(best.label) + " scores " + score_text(best.score);
  if (best.threshold) {
    text += ", the class asks for more than " + fixed(*best.threshold, kScoreDecimals);
  }
  return text;
}

static std::string ending_text(Ending ending, const MotionAccount& m,
                               const Settings& settings) {
  switch (ending) {
    case Ending::kRecognised:
      return "Reported as class " + std::to_string(m.reported.value_or(0)) + ": " +
             best_text(m) + ".";
    case Ending::kBelowThreshold:
      return "Reported as 5, a strong motion like no gesture: the best, " + best_text(m) +
             ".";
    case Ending::kTooShort:
      return "Too short: " + lengths(m.collected, settings) + " with the pre-roll, " +
             shortest(settings) + ".";
    case Ending::kNotANumber:
      return lost_attitude(m);
    case Ending::kStartsFast:
      return "It starts fast, as if cut in its middle: " + fixed(m.speed.front(), 3) +
             " m/s at its first step, " + fixed(m.fast_from, 3) +
             " m/s is fast; such a motion is dropped whole.";
    case Ending::kEndsFast:
      return "It ends fast, as if cut in its middle: " + fixed(m.speed.back(), 3) +
             " m/s at its last step, " + fixed(m.fast_from, 3) +
             " m/s is fast; such a motion is dropped whole.";
    case Ending::kStretchTooShort:
      return "Too short once cut to its active stretch: " +
             lengths(m.compared_points(), settings) + " of " + std::to_string(m.kept()) +
             " are fast, " + shortest(settings) + ".";
    case Ending::kTooWeak:
      return "Too weak: " + fixed(m.strength, 3) + " m/s², at least " +
             fixed(settings.strength_threshold, 3) + " m/s² is asked for.";
    case Ending::kNoTemplates:
      return "The model has no templates: its file was missing, empty or malformed when "
             "it was loaded.";
    case Ending::kNoScore:
      return "None of the " + std::to_string(m.compared_templates) +
             " templates can be compared with it: every score is minus infinity or not a "
             "number, as with templates without points or with a gravity of length zero.";
    case Ending::kNeverReported:
      return "It is most like " + best_text(m) + "; but a host is never told of class " +
             std::to_string(m.scores.front().label) + ".";
    default:
      return "";
  }
}

static std::string circumstance_text(Circumstance circumstance, const MotionAccount& m,
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
      return "Every one of the " + std::to_string(m.collected) +
             " sample pairs was refused: the engine takes the accelerometer alone until "
             "init_gesture_handle() is called.";
    default:
      return "";
  }
}

static std::string cause_text(const Cause& cause, const MotionAccount& m,
                              const Settings& settings) {
  return cause.ending() ? ending_text(*cause.ending(), m, settings)
                        : circumstance_text(cause.circumstance(), m, settings);
}

std::string sentence_for(const MotionAccount& m, const Settings& settings) {
  std::string text = cause_text(m.cause, m, settings);
  for (const Cause& cause : m.also) {
    if (m.cause == Circumstance::kCutByReport) {
      text += " What is left of it: " + cause_text(cause, m, settings);
    } else if (cause == Ending::kBelowThreshold) {
      text += " However strong, it is like no gesture: the best, " + best_text(m) + ".";
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
  const std::string rested = "The wrist counted as resting all the while: ";
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
      return rested + "both sensors said so.";
    case NoMotion::kGyroRested:
      return rested + "the gyroscope alone said so, and one sensor at rest is enough.";
    case NoMotion::kAccRested:
      return rested +
             "the accelerometer alone said so, and one sensor at rest is enough.";
  }
  return "";
}

std::string sentence_for(const Expected& x, const Explanation& e) {
  std::string text;
  if (x.no_motion) text = text_of(*x.no_motion);
  if (x.motion) {
    const MotionAccount& m = e.motions[*x.motion];
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
      text += " The motion lasted " + fixed(m.end - m.begin, 2) +
              " s, far longer than what was expected: there was no rest around it.";
    }
  }
  if (x.no_template) {
    text += " The model has no template of class " + std::to_string(x.label) + ".";
  }
  return text;
}

static size_t percent(size_t part, size_t whole) {
  return whole == 0 ? 0 : (100 * part + whole / 2) / whole;
}

static std::string why_acc_not(const RestStretch& rest) {
  const bool outside = rest.gravity_outside > 0;
  const bool scattered = rest.acc_scattered > 0;
  std::string text;
  if (outside) {
    text += "its mean of " + fixed(rest.mean_gravity, 2) +
            " m/s² is outside the band of gravity";
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
    if (percent(both, seen) >= kMostlyPercent) {
      text = "both sensors say so";
    } else if (gyro >= acc) {
      text = "the gyroscope says so, the accelerometer does not: " + why_acc_not(rest);
    } else {
      text = "the accelerometer says so, the gyroscope does not: " + why_gyro_not(rest);
    }
    text += " (both " + std::to_string(percent(both, seen)) + " %, gyroscope alone " +
            std::to_string(percent(gyro, seen)) + " %, accelerometer alone " +
            std::to_string(percent(acc, seen)) + " %)";
  }
  if (blind > 0) {
    text += (text.empty() ? "" : "; ") + samples(blind) +
            " count as rest because the window of " +
            std::to_string(settings.static_window) + " is not full yet";
  }
  return text;
}

}  // namespace wgr
