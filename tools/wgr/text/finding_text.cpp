#include "text/finding_text.h"

#include <algorithm>

#include "base/numbers.h"
#include "base/table.h"
#include "base/text.h"

namespace wgr {

static constexpr double kMiddleOfGravityBand = 10.1;  // m/s²

// The whole number to pass for a measured rate.
static int rate_to_pass(double rate) { return std::max(1, nearest_int(rate)); }

static FindingText short_text(const Finding& f) {
  if (f.count > 0) {
    return {fmt::format("{} too few to say anything",
                        counted(f.count, "sample is", "samples are")),
            "record a minute"};
  }
  return {
      fmt::format("only {:.1f} s: rest, bias and axes can hardly be judged", f.value),
      "record a minute: lay the watch down for a few seconds, turn it about all axes, "
      "gesture"};
}

static FindingText rate_text(const Finding& f) {
  if (f.other == 0.0) {
    return {fmt::format("the sample rate is {:.2f}, which is not near a whole number",
                        f.value),
            "resample, or set the sensor to a rate that is a whole number",
            "init_gesture_handle() takes whole samples per second"};
  }
  const int right = rate_to_pass(f.value);
  return {
      fmt::format("the sample rate is {:.2f}, not the {:.0f} that the library is given",
                  f.value, f.other),
      "pass the true rate: speeds, lengths and turns all follow from it",
      fmt::format("init_gesture_handle(h, {}, ...); --sample-rate {}", right, right)};
}

// What is counted, and when it was first seen.
static std::string tallied(const Occurrences& tally, const std::string& what) {
  return fmt::format("{} {}, the first at {:.3f} s", tally.count, what, tally.first);
}

static FindingText step_text(const Finding& f) {
  switch (f.id) {
    case FindingId::kGap:
      return {tallied(f.occurrences,
                      fmt::format("gaps in the samples, the longest of {:.3f} s",
                                  f.occurrences.most)),
              "find where samples are lost; fill short gaps in before update_gesture(), "
              "or the "
              "motion around them is compared too short"};
    case FindingId::kRepeated:
      return {tallied(f.occurrences, "stamps repeat the one before"),
              "drop samples that were delivered twice; give bunches stamps of their own"};
    default:
      return {tallied(f.occurrences, "time stamps are earlier than the one before"),
              "sort the samples by time before update_gesture()"};
  }
}

static FindingText time_text(const Finding& f) {
  switch (f.id) {
    case FindingId::kStamps:
      return {"the time stamps never go forward",
              "stamp each sample with the time it was taken at, in seconds",
              "--sample-rate HZ gives the other subcommands what the stamps do not"};
    case FindingId::kStampsUnit:
      return {fmt::format("consecutive time stamps are {:.0f} s apart: they are in {}",
                          f.value, f.about),
              "write the time in seconds"};
    case FindingId::kRate:
      return rate_text(f);
    case FindingId::kModelRate:
      return {fmt::format("the stream has {:.1f} samples/s, and the model was built from "
                          "{:.0f}",
                          f.value, f.other),
              "build a model for this rate, or sample at the model's",
              fmt::format("wgr build --sample-rate {}", rate_to_pass(f.value))};
    case FindingId::kJitter:
      return {fmt::format("the time from sample to sample varies by {:.0f} % of its mean "
                          "(standard deviation)",
                          100.0 * f.value),
              "stamp the samples where they are taken, or resample them to an even rate: "
              "the library assumes equal steps"};
    default:
      return step_text(f);
  }
}

static FindingText spike_text(const Finding& f) {
  const bool acc = f.id == FindingId::kAccSpike;
  const Occurrences& all = f.occurrences;
  return {
      fmt::format("larger than any value that the {} can measure: {}, up to {:.2f} {}, "
                  "the first at {:.3f} s (line {})",
                  acc ? "accelerometer" : "gyroscope", counted(all.count, "sample"),
                  all.most, acc ? "m/s²" : "deg/s", all.first, all.first_line),
      "look for errors of the transfer and error codes of the driver, and replace such "
      "a sample by the one before it: it turns rest into motion"};
}

static FindingText clipping_text(const Finding& f) {
  return {fmt::format("{}: {} at the end of the range, {:.2f} {}", f.about,
                      counted(f.count, "sample is", "samples are"), f.value,
                      f.id == FindingId::kAccClipping ? "g" : "deg/s"),
          "set the sensor to a wider range; what is cut off is lost to the comparison"};
}

static std::string as_text(const Point3Df& p) {
  return fmt::format("{:.2f},{:.2f},{:.2f}", p.x, p.y, p.z);
}

static FindingText bias_text(const Finding& f) {
  const std::string bias = as_text(f.bias);
  return {
      "at rest the gyroscope shows " + as_text(f.left) + " deg/s that are not subtracted",
      "pass the bias; a second of it turns a motion by as many degrees",
      fmt::format("init_gesture_handle(h, rate, (Point3Df){{{}}}, ...); --bias={}", bias,
                  bias)};
}

static FindingText noise_text(const Finding& f) {
  if (f.id == FindingId::kAccNoise) {
    return {fmt::format("at its quietest the accelerometer's axes vary by {:.2f} m/s²",
                        f.value),
            "switch the sensor's low-pass filter on: from about 0.27 on it never reports "
            "rest"};
  }
  return {
      fmt::format("at its quietest the gyroscope's axes vary by {:.1f} deg/s", f.value),
      "switch the sensor's low-pass filter on: from about 6 on it never reports rest"};
}

// Whose axis it is stands in its name, as in "ax, az".
static const char* sensor_of(const std::string& axes) {
  return axes.front() == 'a' ? "accelerometer" : "gyroscope";
}

static FindingText value_text(const Finding& f) {
  switch (f.id) {
    case FindingId::kAbsent:
      return {"the axes " + f.about + " have no value in some samples; they read as 0",
              "the library needs all three axes of both sensors"};
    case FindingId::kStuck:
      return {f.about + (f.about.find(',') == std::string::npos ? " never changes"
                                                                : " never change"),
              fmt::format("look at the driver of the {}: is the axis switched on, is the "
                          "field filled in?",
                          sensor_of(f.about))};
    case FindingId::kHeld:
      return {fmt::format("the {} repeats its last value in {:.0f} % of the samples",
                          f.about, 100.0 * f.value),
              "it is read more often than it measures: pass pairs at the slower sensor's "
              "rate, or raise its own"};
    default:
      return {
          tallied(f.occurrences, "samples have a rate of exactly zero on all axes"),
          "one at the start of a motion makes the whole motion not-a-number, and no "
          "gesture: pass a bias that no sample equals",
          "init_gesture_handle(h, rate, (Point3Df){1e-3, 0, 0}, ...); --bias=1e-3,0,0"};
  }
}

static FindingText gravity_text(const Finding& f) {
  switch (f.id) {
    case FindingId::kSwappedSensors:
      return {fmt::format("the gyroscope's axes show gravity ({:.2f} long whenever it is "
                          "quiet), the accelerometer's do not",
                          f.value),
              "pass the accelerometer first and the gyroscope second",
              "update_gesture(h, acc, gyro)"};
    case FindingId::kNoGravity:
      return {fmt::format("at its quietest the acceleration is {:.2f} long, which is "
                          "gravity in no unit",
                          f.value),
              "pass the accelerometer's samples with gravity in them, not linear "
              "acceleration, in m/s²; the rest test and the trace need gravity"};
    case FindingId::kAccUnit:
      return {fmt::format("at rest the acceleration is {:.3f} long: it is in {}, not in "
                          "m/s²",
                          f.value, f.about),
              fmt::format("multiply it by {:.{}f}", f.other, f.other < 1.0 ? 8 : 5)};
    case FindingId::kGravityBand:
      return {
          fmt::format("at its quietest the acceleration is {:.2f} m/s² long, outside "
                      "9.90 to 10.49: the accelerometer can hardly report rest and "
                      "the gyroscope must decide alone",
                      f.value),
          fmt::format("nothing, when the gyroscope rests well; otherwise, and for the "
                      "accelerometer alone, multiply the acceleration by about {:.3f}",
                      kMiddleOfGravityBand / f.value)};
    default:
      return {fmt::format("by the library's rule the wrist rests in {:.0f} % of the "
                          "samples; the longest motion lasts {:.1f} s",
                          100.0 * f.value, f.other),
              "the library looks for a gesture when a motion ends: fix what keeps the "
              "sensors from resting, or hold the hand still before and after a gesture"};
  }
}

static FindingText axes_text(const Finding& f) {
  const Agreement& agreement = f.agreement;
  const std::string gyro = as_text(agreement.gyro, 'g');
  const std::string of_gyro = "the gyroscope's axes are taken as " + gyro;
  std::string what = fmt::format(
      "gravity turns as the gyroscope predicts (to {:.1f} instead of {:.1f} degrees, in "
      "{} turns) only when ",
      agreement.best_error, agreement.error, agreement.turns);
  std::string remedy = "pass the gyroscope as " + gyro;
  const std::optional<AxisMap> alternative = acc_alternative(agreement.gyro);
  const std::string acc = alternative ? as_text(*alternative, 'a') : "";
  if (!alternative) {
    what += of_gyro;
  } else if (changes(*alternative) < changes(agreement.gyro)) {
    what += fmt::format("the accelerometer's axes are taken as {}, or {}", acc, of_gyro);
    remedy = "pass the accelerometer as " + acc;
  } else {
    what += fmt::format("{}, or the accelerometer's as {}", of_gyro, acc);
  }
  return {what, remedy + ": an axis that moved is swapped, one with a minus sign flipped",
          "update_gesture(h, acc, gyro)"};
}

static FindingText turn_text(const Finding& f) {
  if (f.id == FindingId::kAxes) return axes_text(f);
  if (f.id == FindingId::kTurnScale) {
    return {
        fmt::format("gravity turns {:.2f} times as far as angular velocities and time "
                    "stamps predict",
                    f.agreement.factor),
        "check the time stamps, and whether the gyroscope's range is the one that its "
        "values are scaled for"};
  }
  if (f.agreement.turns == 0) {
    return {fmt::format("while the wrist is shaken it turns by no more than {:.1f}: that "
                        "may be rad/s",
                        f.value),
            "multiply the angular velocities by 57.29578 if they are in rad/s"};
  }
  return {
      fmt::format("gravity turns by {:.0f} degrees where the gyroscope shows almost no "
                  "turn; the two agree (to {:.1f} degrees) if its values are rad/s",
                  f.agreement.angle, f.agreement.best_error),
      "multiply the angular velocities by 57.29578: the library expects deg/s"};
}

static FindingText whole_stream_text(const Finding& f) {
  switch (f.id) {
    case FindingId::kShort:
      return short_text(f);
    case FindingId::kStamps:
    case FindingId::kStampsUnit:
    case FindingId::kRate:
    case FindingId::kJitter:
    case FindingId::kGap:
    case FindingId::kRepeated:
    case FindingId::kOrder:
    case FindingId::kModelRate:
      return time_text(f);
    case FindingId::kAbsent:
    case FindingId::kStuck:
    case FindingId::kHeld:
    case FindingId::kZeroRate:
      return value_text(f);
    case FindingId::kAccSpike:
    case FindingId::kGyroSpike:
      return spike_text(f);
    case FindingId::kAccClipping:
    case FindingId::kGyroClipping:
      return clipping_text(f);
    case FindingId::kBias:
      return bias_text(f);
    case FindingId::kAccNoise:
    case FindingId::kGyroNoise:
      return noise_text(f);
    case FindingId::kGyroUnit:
    case FindingId::kTurnScale:
    case FindingId::kAxes:
      return turn_text(f);
    default:
      return gravity_text(f);
  }
}

FindingText finding_text(const Finding& finding) {
  FindingText text = whole_stream_text(finding);
  const FoundIn& in = finding.in;
  if (in.parts < in.all) {
    text.what += fmt::format(
        "; so in {} of {} parts of the recording, the first from {:.0f} to {:.0f} s",
        in.parts, in.all, in.begin, in.end);
  }
  return text;
}

}  // namespace wgr
