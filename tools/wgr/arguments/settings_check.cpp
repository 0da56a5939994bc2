#include "arguments/settings_check.h"

#include <cmath>

#include "arguments/values.h"
#include "base/text.h"
#include "engine/sensitivity.h"
#include "segmentation/model_rate.h"

namespace wgr {

static constexpr double kStrength = 2.0;       // m/s², after init_gesture_handle()
static constexpr double kLongestMotion = 1e6;  // samples
static constexpr int kStrictest = 3;           // level of the sensitivity
static constexpr int kMotionsPerSecond = 2;    // of the library's own shortest motion
static constexpr int kWindowsPerSecond = 5;    // of its rest window

namespace {

// Settings in the library's numbers.
struct InForce {
  int shortest;
  int window;
  double strength;
};

}  // namespace

static InForce in_force(const HostSettings& host, int rate) {
  InForce found = {
      host.shortest >= 1 ? host.shortest : rate / kMotionsPerSecond,
      host.static_window >= 1 ? host.static_window : rate / kWindowsPerSecond, kStrength};
  if (host.sensitivity) {
    const Sensitivity by_level = sensitivity_of(*host.sensitivity, rate);
    found.shortest = by_level.min_motion_len;
    found.strength = by_level.strength_threshold;
  }
  return found;
}

std::string difference(const Provenance& built_from, const HostSettings& given) {
  if (built_from.rate == 0 || built_from.static_window == 0) return "";
  const InForce model = in_force(host_settings_of(built_from), built_from.rate);
  const InForce host = in_force(given, built_from.rate);
  std::string text;
  const auto add = [&](bool differs, const std::string& what) {
    if (differs) text += (text.empty() ? "" : ", ") + what;
  };
  add(host.window != model.window,
      fmt::format("a rest window of {}, not {}", model.window, host.window));
  add(host.shortest != model.shortest,
      fmt::format("motions of {} samples and more, not {}", model.shortest,
                  host.shortest));
  add(std::fabs(host.strength - model.strength) > 1e-9,
      fmt::format("a strength of {:.2f} m/s², not {:.2f}", model.strength,
                  host.strength));
  return text;
}

void add_host_settings(CLI::App& command, int& shortest, int& static_window,
                       std::optional<int>& sensitivity) {
  CLI::Option* const length =
      command
          .add_option("--min-length", shortest,
                      "Shortest motion, in samples; otherwise half a second")
          ->transform(within(whole_from(2, 10000)))
          ->option_text("N");
  command
      .add_option("--static-window", static_window,
                  "Length of the rest test, in samples; otherwise a\nfifth of a second")
      ->transform(within(whole_from(2, 10000)))
      ->option_text("N");
  command
      .add_option("--sensitivity", sensitivity,
                  "1 permissive to 3 strict, -N for motions of N samples and more")
      ->transform(within(whole_from(-kLongestMotion, kStrictest)))
      ->option_text("LEVEL")
      ->excludes(length);
}

void take_settings(const Provenance& built_from, const std::string& model,
                   HostSettings& given) {
  const std::string differs = difference(built_from, given);
  if (differs.empty()) return;
  if (given == HostSettings()) {
    given = host_settings_of(built_from);
    warn("{}: with the settings that the model was built for: {}", model,
         settings_text(given));
    return;
  }
  warn(
      "{}: the model was built for {}: its figures hold for these alone; leave the "
      "options out, or build a model with them",
      model, differs);
}

std::string rate_difference(const std::optional<Provenance>& built_from, int rate) {
  const auto other = other_rate(built_from ? built_from->rate : 0, rate);
  if (!other) return "";
  const std::string model =
      other->known ? fmt::format("the model was built for {} samples/s, not {}",
                                 other->built_for, rate)
                   : fmt::format(
                         "no manifest beside the model says for which sample rate it was "
                         "built (the shipped ones: {}), and here are {} samples/s",
                         other->built_for, rate);
  return fmt::format(
      "{}: it may recognise little at another rate; build one for {} (wgr build "
      "--sample-rate {})",
      model, rate, rate);
}

void warn_of_rate(const std::optional<Provenance>& built_from, const std::string& model,
                  int rate) {
  const std::string differs = rate_difference(built_from, rate);
  if (!differs.empty()) warn("{}: {}", model, differs);
}

}  // namespace wgr
