#include "text/replay_report.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "json/json_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr const char* kWearerNames[] = {"left", "right", "undecided"};
static constexpr double kRateTolerance = 0.02;  // of the rate; beyond, a note is printed

// How many times faster than the sensors the run was.
static double real_time_factor(const Totals& totals) {
  return totals.elapsed_seconds > 0.0 ? totals.seconds() / totals.elapsed_seconds : 0.0;
}

void TextReport::start() {
  print(out_, "    t (s)  class  strength (m/s²)  duration (ms)\n");
  std::fflush(out_);
}

void TextReport::event(const GestureEvent& event) {
  print(out_, "{:9.3f}  {:5}  {:15.2f}  {:13.0f}\n", event.t, event.gesture,
        event.strength, event.duration_ms);
  std::fflush(out_);
}

static std::string clock_text(const Totals& totals) {
  const Clock& clock = totals.clock;
  std::string text;
  const auto add = [&text](const std::string& part) {
    text += text.empty() ? part : ", " + part;
  };
  char number[64];
  if (clock.gaps() > 0) {
    std::snprintf(number, sizeof number, " (longest %.3f s)", clock.longest_gap());
    add(counted(clock.gaps(), "gap") + number);
  }
  if (clock.backward() > 0) {
    add(counted(clock.backward(), "step back", "steps back"));
  }
  if (clock.repeats() > 0) {
    add(counted(clock.repeats(), "repeated time"));
  }
  const std::optional<double> observed = clock.observed_rate();
  if (observed && std::fabs(*observed - totals.rate) > kRateTolerance * totals.rate) {
    std::snprintf(number, sizeof number, "%.1f samples/s by the time stamps", *observed);
    add(number);
  }
  return text.empty() ? "regular" : text;
}

void TextReport::summary(const Totals& totals) {
  print(out_, "\nsamples   {} ({:.1f} s at {} samples/s)\n", totals.samples,
        totals.seconds(), totals.rate);
  print(out_, "at rest   {}\n", percent(totals.samples_at_rest, totals.samples));

  size_t sum = 0;
  std::string classes;
  for (const auto& [gesture, count] : totals.events) {
    sum += count;
    classes +=
        fmt::format("{}class {} x {}", classes.empty() ? ": " : ", ", gesture, count);
  }
  print(out_, "events    {}{}\n", sum, classes);
  print(out_, "wearer    {} (answers: {} left, {} right, {} undecided)\n",
        kWearerNames[totals.wearer()], totals.wearer_answers[0], totals.wearer_answers[1],
        totals.wearer_answers[2]);
  print(out_, "clock     {}\n", clock_text(totals));
  if (totals.absent_fields > 0) {
    print(out_, "absent    {}: {}\n", totals.absent_axes,
          counted(totals.absent_fields, "empty field") + " read as 0");
  }
  print(out_, "speed     {:.0f} x real time\n", real_time_factor(totals));
  std::fflush(out_);
}

static void write_line(const Json& object, std::FILE* out) {
  print(out, "{}\n", json_text(object));
  std::fflush(out);
}

void JsonReport::event(const GestureEvent& event) {
  write_line({{"type", "event"},
              {"t", event.t},
              {"class", event.gesture},
              {"strength", event.strength},
              {"duration_ms", event.duration_ms}},
             out_);
}

Json summary_json(const Totals& totals) {
  Json events = Json::object();
  for (const auto& [gesture, count] : totals.events) {
    events[std::to_string(gesture)] = count;
  }
  const std::optional<double> observed = totals.clock.observed_rate();
  return {{"type", "summary"},
          {"samples", totals.samples},
          {"seconds", totals.seconds()},
          {"rate", totals.rate},
          {"rest_share", share(totals.samples_at_rest, totals.samples)},
          {"events", events},
          {"wearer", kWearerNames[totals.wearer()]},
          {"wearer_answers",
           {{"left", totals.wearer_answers[0]},
            {"right", totals.wearer_answers[1]},
            {"undecided", totals.wearer_answers[2]}}},
          {"clock",
           {{"gaps", totals.clock.gaps()},
            {"longest_gap", totals.clock.longest_gap()},
            {"steps_back", totals.clock.backward()},
            {"repeated_times", totals.clock.repeats()},
            {"observed_rate", observed ? Json(*observed) : Json(nullptr)}}},
          {"absent_fields", totals.absent_fields},
          {"real_time_factor", real_time_factor(totals)}};
}

void JsonReport::summary(const Totals& totals) { write_line(summary_json(totals), out_); }

}  // namespace wgr
