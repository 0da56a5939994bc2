#include "text/remedies.h"

#include <algorithm>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"

namespace wgr {

static constexpr char kScaleAcc[] = "acc.x *= FACTOR; acc.y *= FACTOR; acc.z *= FACTOR;";
static constexpr char kScaleGyro[] =
    "gyro.x *= FACTOR; gyro.y *= FACTOR; gyro.z *= FACTOR;";
static constexpr char kInit[] = "init_gesture_handle(h, RATE, BIAS, -1, -1, -1, 50);";
static constexpr char kZeroBias[] =
    "init_gesture_handle(h, RATE, (Point3Df){1e-3, 0, 0}, -1, -1, -1, 50);";
static constexpr char kModel[] = "set_gesture_model(h, WEARER, MODE);";
static constexpr char kLevel[] = "set_gesture_rec_sensitivity(h, LEVEL);";
static constexpr char kWindow[] =
    "init_gesture_handle(h, RATE, BIAS, -1, -1, WINDOW, 50);";

static const std::vector<Remedy>& host_remedies() {
  static const std::vector<Remedy> all = {
      {"wrong-mode", "The host never called init_gesture_handle().",
       "call init_gesture_handle() before the first sample", kInit},
      {"no-templates", "The model is empty.",
       "install the model that set_gesture_model() names: its file is missing or "
       "malformed",
       ""},
      {"other-wrist",
       "The model is for the other wrist than the one that wears the watch.",
       "choose the model of the wrist that wears the watch", kModel},
      {"model-rate", "The model is for BUILT samples/s, and here are RATE.",
       "build a model for RATE samples/s, or pass BUILT samples a second",
       "wgr build set --sample-rate RATE -o model.xml"},
      {"other-mode", "Another variant of the model does much better.",
       "choose that variant, if it is the one for how the gestures are made", kModel},
      {"turned-watch", "The watch is worn turned on the wrist.",
       "turn the axes of both sensors into the watch's frame before update_gesture()",
       "acc = (Point3Df){AXES}; gyro likewise"},
      {"too-strict", "The sensitivity is too strict for these gestures.",
       "set a more permissive sensitivity", kLevel},
      {"too-permissive", "The sensitivity is too permissive.",
       "set a stricter sensitivity", kLevel},
      {"rest-window", "The pauses between the gestures are shorter than the rest window.",
       "rest longer between gestures, or pass a shorter rest window", kWindow},
      {"late-start", "The recording begins in the middle of a gesture.",
       "start the recording a second before the first gesture", ""},
      {"unexpected", "Motions that are no gestures were reported.",
       "raise the thresholds: build the model again with this recording as background",
       ""}};
  return all;
}

static const std::vector<Remedy>& stream_remedies() {
  static const std::vector<Remedy> all = {
      {"gyro-unit", "The gyroscope delivers rad/s; the library expects deg/s.",
       "convert the angular velocities before update_gesture()", kScaleGyro},
      {"acc-unit", "The accelerometer delivers UNIT; the library expects m/s².",
       "convert the accelerations before update_gesture()", kScaleAcc},
      {"swapped-sensors", "Accelerometer and gyroscope are swapped.",
       "pass the accelerometer first and the gyroscope second",
       "update_gesture(h, acc, gyro);"},
      {"axes", "Axes of one sensor are swapped or have the wrong sign.",
       "swap or negate the axes before update_gesture()", "SENSOR = (Point3Df){AXES};"},
      {"rate", "The sample rate is not the one that the host passes to the library.",
       "pass the true sample rate, in whole samples per second", kInit},
      {"no-gravity", "The accelerometer shows no gravity; the library needs it.",
       "pass the accelerometer's samples with gravity in them, not linear acceleration",
       ""},
      {"stuck", "An axis is stuck at one value.",
       "check the sensor's driver: is the axis switched on, is the field filled in?", ""},
      {"absent", "Some axes have no values.",
       "record and pass all three axes of both sensors", ""},
      {"turn-scale",
       "The gyroscope's values are scaled wrongly, or the stamps are wrong.",
       "scale for the range that is set, and compare the stamps with a clock",
       kScaleGyro},
      {"zero-rate", "The gyroscope reads exactly zero when it turns slowly.",
       "do not round or clamp angular velocities, or pass a bias that no sample equals",
       kZeroBias},
      {"bias", "The gyroscope's bias is not subtracted.",
       "measure the bias at rest and pass it", kInit},
      {"gap", "Samples are missing.",
       "find where they are lost; fill short gaps in before update_gesture()", ""},
      {"order", "Samples are in the wrong order.",
       "sort the samples by time before update_gesture()", ""},
      {"repeated", "Samples are repeated.",
       "drop repeated samples; give samples that arrive in bunches their own time stamps",
       ""},
      {"jitter", "The samples are taken at uneven times.",
       "stamp the samples where they are taken, and resample them to an even rate", ""},
      {"acc-spike", "The accelerometer has single values beyond what it can measure.",
       "replace such a sample by the one before it", ""},
      {"gyro-spike", "The gyroscope has single values beyond what it can measure.",
       "replace such a sample by the one before it", ""},
      {"acc-clipping", "The accelerometer's range is too small for these gestures.",
       "set the accelerometer to a wider range", ""},
      {"gyro-clipping", "The gyroscope's range is too small for these gestures.",
       "set the gyroscope to a wider range", ""},
      {"held", "One sensor repeats its last value.",
       "raise its rate, or pass pairs at the slower sensor's rate", ""},
      {"acc-noise", "The accelerometer is too noisy to report rest.",
       "switch its low-pass filter on", ""},
      {"gyro-noise", "The gyroscope is too noisy to report rest.",
       "switch its low-pass filter on", ""},
      {"no-rest", "The wrist never rests.",
       "hold the hand still before and after a gesture; fix what keeps the sensors from "
       "resting",
       ""}};
  return all;
}

static const std::vector<Remedy>& gesture_remedies() {
  static const std::vector<Remedy> all = {
      {"at-rest", "The wrist counted as resting; one sensor at rest is enough.",
       "if both sensors rested, make the gesture larger; if the gyroscope alone did, "
       "look for rad/s and for a dead or clipped axis",
       ""},
      {"too-short", "The motions are shorter than the shortest motion.",
       "make the gesture slower, or allow shorter motions", kLevel},
      {"stretch-too-short", "Too little of the motions is fast.",
       "make the gesture slower, or allow shorter motions", kLevel},
      {"not-a-number", "The motions start with a turn that has no axis.",
       "do not round or clamp angular velocities, or pass a bias that no sample equals",
       kZeroBias},
      {"starts-fast", "The motions start fast, as if their beginning were missing.",
       "rest before the gesture; look for missing samples", ""},
      {"ends-fast", "The motions end fast, as if their end were missing.",
       "rest after the gesture; look for missing samples", ""},
      {"cut-by-report", "The gestures follow a report too closely.",
       "leave a rest window, 0.2 s, between gestures", ""},
      {"too-weak", "The gestures are weaker than the least strength.",
       "make them stronger, or accept weaker motions", kLevel},
      {"rejected", "The motions resemble no gesture of the model.",
       "compare one with the best template: a gesture made differently needs a model "
       "built with it",
       ""},
      {"no-score", "No template can be compared with the motions.",
       "build the model again: templates without points, or with a gravity of length "
       "zero",
       ""},
      {"never-reported",
       "The best template is of background (14), or its label is 6: neither is reported.",
       "build the model again with these examples, or with fewer templates of "
       "background; "
       "use no label 6",
       ""},
      {"unfinished", "The recording ends before the wrist comes to rest.",
       "record a second more", ""},
      {"other-class", "Another class was more similar.",
       "compare the two classes in the scores; build the model again with these examples",
       ""},
      {"shared-motion", "The wrist did not rest between two gestures.",
       "rest between gestures", ""},
      {"no-samples", "The recording has no samples there.", "compare the clocks", ""}};
  return all;
}

const std::vector<Remedy>& remedies() {
  static const std::vector<Remedy> all = [] {
    std::vector<Remedy> made = host_remedies();
    made.insert(made.end(), stream_remedies().begin(), stream_remedies().end());
    made.insert(made.end(), gesture_remedies().begin(), gesture_remedies().end());
    return made;
  }();
  return all;
}

const Remedy* remedy_for(const std::string& cause) {
  const auto& all = remedies();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Remedy& r) { return cause == r.cause; });
  return found == all.end() ? nullptr : &*found;
}

static void replace(std::string& text, const std::string& word, const std::string& by) {
  for (size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += by.size()) {
    text.replace(at, word.size(), by);
  }
}

static std::string point(const Point3Df& p) {
  return fmt::format("(Point3Df){{{:.2f}, {:.2f}, {:.2f}}}", p.x, p.y, p.z);
}

// As "acc.y, -acc.x, acc.z".
static std::string axes_of(const AxisMap& map, const std::string& sensor) {
  std::string text;
  for (size_t i = 0; i < 3; ++i) {
    if (i > 0) text += ", ";
    if (map.sign[i] < 0) text += '-';
    text += sensor + "." + "xyz"[map.axis[i]];
  }
  return text;
}

namespace {

// The values of the words in capitals.
struct Values {
  double factor = 1.0;
  AxisMap axes = {};
  std::string sensor = "acc";
  int rate;
  Point3Df bias;
  int wearer;
  int mode;
  int level = 1;
  int window;
  int built_for = 0;
  std::string unit = "another unit";
};

}  // namespace

static void take_repair(const Repair& repair, Values& values) {
  values.factor = repair.factor;
  values.axes = repair.axes;
  if (repair.kind == RepairKind::kGyroAxes) values.sensor = "gyro";
  if (repair.kind == RepairKind::kBias) values.bias = repair.bias;
  if (repair.kind == RepairKind::kRate || repair.kind == RepairKind::kEvenRate) {
    values.rate = nearest_int(repair.factor);
  }
}

static void take_trial(const Circumstances& with, Values& values) {
  if (with.change == Change::kOtherModel) {
    values.wearer = with.model.wearer;
    values.mode = with.model.mode;
  }
  if (with.change == Change::kMirror) values.wearer = 1 - values.wearer;
  if (with.change == Change::kSensitivity) values.level = with.sensitivity;
  if (with.change == Change::kMounting) values.axes = with.mounting;
  if (with.change == Change::kRestWindow) values.window = with.rest_window;
}

std::string filled(const std::string& text, const Verdict& v, const Settings& settings) {
  Values values;
  values.rate = settings.rate;
  values.bias = settings.gyro_bias;
  values.wearer = settings.wearer;
  values.mode = settings.mode;
  values.window = settings.static_window;
  if (v.other_rate) values.built_for = v.other_rate->built_for;
  if (v.principal && v.principal->finding) {
    const Finding& finding = v.diagnosis.findings[*v.principal->finding];
    if (!finding.about.empty()) values.unit = finding.about;
    if (finding.repair) take_repair(*finding.repair, values);
  }
  if (v.principal && v.principal->trial) {
    take_trial(v.trials[*v.principal->trial].with, values);
  }
  static constexpr const char* kWearerNames[] = {"WG_WEARER_LEFT", "WG_WEARER_RIGHT"};
  static constexpr const char* kModeNames[] = {"WG_MODE_OW", "WG_MODE_FB", "WG_MODE_MIX"};
  std::string made = text;
  replace(made, "FACTOR", fmt::format("{:.7g}", values.factor));
  replace(made, "AXES", axes_of(values.axes, values.sensor));
  replace(made, "SENSOR", values.sensor);
  replace(made, "BUILT", std::to_string(values.built_for));
  replace(made, "RATE", std::to_string(values.rate));
  replace(made, "BIAS", point(values.bias));
  replace(made, "WEARER", kWearerNames[values.wearer]);
  replace(made, "MODE)", std::string(kModeNames[values.mode]) + ")");
  replace(made, "LEVEL", std::to_string(values.level));
  replace(made, "WINDOW", std::to_string(values.window));
  replace(made, "UNIT", values.unit);
  return made;
}

}  // namespace wgr
