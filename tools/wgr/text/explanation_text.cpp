#include "text/explanation_text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "json/json_text.h"
#include "text/explanation_sentences.h"
#include "text/verdict_json.h"
#include "text/verdict_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static size_t templates_in(const Gmodel& model) { return model.templates.size(); }

static std::string header(const Explanation& e) {
  const Settings& s = e.settings;
  std::string text = fmt::format("{}: {} samples at {} samples/s\n", shown(e.recording),
                                 e.times.size(), s.rate);
  text += fmt::format(
      "shortest motion {} samples, rest window {} samples, least strength {:.2f} m/s²\n",
      s.min_motion_len, s.static_window, s.strength_threshold);
  text += fmt::format("model {}: {}, {}\n", shown(e.model_file),
                      counted(templates_in(e.model), "template"),
                      counted(e.model.class_labels.size(), "class", "classes"));
  return text;
}

static void append_scores(std::string& text, const MotionExplanation& m) {
  if (m.scores.empty()) return;
  text += "    template  class    score  threshold  decision margin\n";
  for (size_t i = 0; i < std::min(kTemplatesShown, m.scores.size()); ++i) {
    const TemplateScore& score = m.scores[i];
    const auto margin = score.decision_margin();
    text += fmt::format(
        "{:12}{:7}{:9.4f}{:>11}{:>17}\n", score.index + 1, score.label, score.score,
        score.threshold ? fmt::format("{:.4f}", *score.threshold) : "none",
        margin ? fmt::format("{:.4f}", *margin) : "");
  }
}

static std::string flag(bool yes) { return yes ? "yes" : "no"; }

static void append_motion(std::string& text, size_t number, const MotionExplanation& m,
                          const Settings& settings, const Layout& layout) {
  text += fmt::format(
      "\nmotion {}  {}  {}{}\n", number, interval_text(m.begin, m.end), name_of(m.cause),
      m.reported ? fmt::format("  class {}", *m.reported) : std::string());
  append_wrapped(text, "  ", sentence_for(m, settings), layout);
  if (m.cause == Circumstance::kWrongMode) return;
  text += fmt::format(
      "    collected {} samples, {} of them pre-roll; {} trimmed; judged at {:.3f} s\n",
      m.collected, m.preroll, m.trimmed, m.judged);
  if (!m.ran) return;
  text += fmt::format(
      "    starts fast: {}, ends fast: {}, fast from {:.3f} m/s; active stretch {} "
      "samples ({:.0f} ms)\n",
      flag(m.starts_fast), flag(m.ends_fast), m.fast_from, m.compared_points(),
      m.duration_ms);
  if (!m.predicted) return;
  text += fmt::format("    strength {:.3f} m/s² of at least {:.3f}\n", m.strength,
                      settings.strength_threshold);
  append_scores(text, m);
}

static void append_rest(std::string& text, const RestStretch& rest, const Explanation& e,
                        const Layout& layout) {
  append_wrapped(
      text, "  ",
      interval_text(rest.begin, rest.end) + ": " + sentence_for(rest, e.settings),
      layout);
}

static void append_reports(std::string& text, const Explanation& e) {
  const auto is_report = [](const MotionExplanation& m) {
    return m.reported.has_value();
  };
  if (std::any_of(e.motions.begin(), e.motions.end(), is_report)) text += "\nreported\n";
  for (size_t i = 0; i < e.motions.size(); ++i) {
    const MotionExplanation& m = e.motions[i];
    if (!m.reported) continue;
    text += fmt::format("  class {}, {}, motion {}\n", *m.reported,
                        interval_text(m.begin, m.end), i + 1);
  }
}

// "12 motions: 3 reported, 9 too-short"
static std::string motions_line(const Explanation& e) {
  if (e.motions.empty()) return "\nno motion\n";
  std::vector<std::pair<std::string, size_t>> counts;
  for (const MotionExplanation& m : e.motions) {
    const std::string name = name_of(m.cause);
    const auto same = std::find_if(counts.begin(), counts.end(),
                                   [&](const auto& c) { return c.first == name; });
    if (same == counts.end()) {
      counts.emplace_back(name, 1);
    } else {
      ++same->second;
    }
  }
  std::stable_sort(counts.begin(), counts.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text = "\n" + counted(e.motions.size(), "motion") + ":";
  for (const auto& [name, count] : counts) {
    text += fmt::format("{}{} {}", text.back() == ':' ? " " : ", ", count, name);
  }
  return text + " (--all for each)\n";
}

std::vector<std::string> selectable() {
  std::vector<std::string> names = {"missed", "unexpected"};
  for (size_t i = 0; i < kEndings; ++i) {
    const Ending ending = static_cast<Ending>(i);
    // No host can choose the mode that classifies nothing.
    if (ending != Ending::kCorrectedOnly) names.emplace_back(name_of(ending));
  }
  for (size_t i = 0; i < kCircumstances; ++i) {
    names.emplace_back(name_of(static_cast<Circumstance>(i)));
  }
  return names;
}

static bool is_unexpected(const Verdict& v, size_t motion) {
  return std::any_of(v.unexpected.begin(), v.unexpected.end(), [&](const auto& group) {
    return std::find(group.which.begin(), group.which.end(), motion) != group.which.end();
  });
}

static bool is_selected(const Explanation& e, const Verdict& v, const TextSelection& s,
                        size_t i) {
  const MotionExplanation& m = e.motions[i];
  if (s.motion && *s.motion != i + 1) return false;
  if (s.at && !(m.begin <= *s.at && *s.at <= m.judged)) return false;
  if (s.only.empty()) return true;
  return s.only == "unexpected" ? is_unexpected(v, i) : s.only == name_of(m.cause);
}

static void append_missed(std::string& text, const Explanation& e, const Layout& layout) {
  for (const Expected& x : e.expected) {
    if (x.cause == Ending::kRecognised) continue;
    text += fmt::format("class {} at {}  {}{}\n", x.label, interval_text(x.begin, x.end),
                        name_of(x.cause),
                        x.motion ? fmt::format(", motion {}", *x.motion + 1) : "");
    append_wrapped(text, "  ", sentence_for(x, e), layout);
  }
}

static void write_part(const Explanation& e, const Verdict& v, const TextSelection& s,
                       const Layout& layout, const TextSink& sink) {
  if (s.motion && (*s.motion == 0 || *s.motion > e.motions.size())) {
    throw UsageError(fmt::format("--motion {}: there {} {}, counted from 1", *s.motion,
                                 e.motions.size() == 1 ? "is" : "are",
                                 counted(e.motions.size(), "motion")));
  }
  std::string text;
  if (s.only == "missed") append_missed(text, e, layout);
  for (size_t i = 0; s.only != "missed" && i < e.motions.size(); ++i) {
    if (is_selected(e, v, s, i))
      append_motion(text, i + 1, e.motions[i], e.settings, layout);
  }
  for (const RestStretch& rest : e.rests) {
    if (s.at && rest.begin <= *s.at && *s.at <= rest.end) {
      text += "\nat rest\n";
      append_rest(text, rest, e, layout);
    }
  }
  sink(text.empty() ? "nothing of that kind\n" : text);
}

void write_text_explanation(const Explanation& e, const Verdict& v,
                            const TextSelection& selection, const Layout& layout,
                            const TextSink& sink) {
  if (selection.is_part()) return write_part(e, v, selection, layout, sink);
  std::string text =
      verdict_text(v, e, layout) + groups_text(v, e, selection.all, layout);
  if (e.expected.empty() && !selection.all) append_reports(text, e);
  if (!selection.all || e.motions.empty()) text += motions_line(e);
  text += "\n" + header(e);
  const auto flush = [&] {
    sink(text);
    text.clear();
  };
  for (size_t i = 0; selection.all && i < e.motions.size(); ++i) {
    append_motion(text, i + 1, e.motions[i], e.settings, layout);
    flush();
  }
  if (selection.all && !e.rests.empty()) text += "\nat rest\n";
  for (const RestStretch& rest : e.rests) {
    if (!selection.all) break;
    append_rest(text, rest, e, layout);
    flush();
  }
  flush();
}

static Json number(double value) { return std::isfinite(value) ? Json(value) : Json(); }

template <class T>
static Json optional_json(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

static Json vector_json(const Point3Df& p) {
  return Json::array({number(p.x), number(p.y), number(p.z)});
}

static Json scores_json(const MotionExplanation& m) {
  Json scores = Json::array();
  for (size_t i = 0; i < std::min(kTemplatesShown, m.scores.size()); ++i) {
    const TemplateScore& s = m.scores[i];
    scores.push_back({{"template", s.index + 1},
                      {"class", s.label},
                      {"score", number(static_cast<double>(s.score))},
                      {"threshold", optional_json(s.threshold)},
                      {"decision_margin",
                       s.decision_margin() ? number(*s.decision_margin()) : Json()}});
  }
  return scores;
}

static Json motion_json(const MotionExplanation& m, const Settings& settings) {
  Json also = Json::array();
  for (const Cause& cause : m.also) also.push_back(name_of(cause));
  return {{"begin", m.begin},
          {"end", m.end},
          {"judged", m.judged},
          {"cause", name_of(m.cause)},
          {"also", also},
          {"sentence", sentence_for(m, settings)},
          {"reported", optional_json(m.reported)},
          {"engine_class", m.engine_class},
          {"first_sample", m.first},
          {"collected", m.collected},
          {"preroll", m.preroll},
          {"trimmed", m.trimmed},
          {"after_report", m.after_report},
          {"at_start", m.at_start},
          {"lost_at", optional_json(m.lost_at)},
          {"starts_fast", m.starts_fast},
          {"ends_fast", m.ends_fast},
          {"fast_from", number(m.fast_from)},
          {"active_samples", m.compared_points()},
          {"duration_ms", m.duration_ms},
          {"gravity", vector_json(m.gravity)},
          {"strength", m.predicted ? number(m.strength) : Json()},
          {"best_templates", scores_json(m)}};
}

static Json rest_json(const RestStretch& r, const Settings& settings) {
  const auto count = [&r](Judgement j) { return r.judged[static_cast<size_t>(j)]; };
  return {{"begin", r.begin},
          {"end", r.end},
          {"sentence", sentence_for(r, settings)},
          {"samples", r.count},
          {"window_not_full", count(Judgement::kWindowNotFull)},
          {"accelerometer_alone", count(Judgement::kAccRests)},
          {"gyroscope_alone", count(Judgement::kGyroRests)},
          {"both", count(Judgement::kBothRest)},
          {"mean_gravity", number(r.mean_gravity)}};
}

static Json expected_json(const Explanation& e) {
  Json all = Json::array();
  for (const Expected& x : e.expected) {
    all.push_back({{"begin", x.begin},
                   {"end", x.end},
                   {"class", x.label},
                   {"recognised", x.cause == Ending::kRecognised},
                   {"cause", name_of(x.cause)},
                   {"motion", x.motion ? Json(*x.motion + 1) : Json()},
                   {"sentence", sentence_for(x, e)}});
  }
  return all;
}

static Json events_json(const Explanation& e) {
  Json all = Json::array();
  for (const GestureEvent& event : e.events) {
    all.push_back({{"t", event.t},
                   {"class", event.gesture},
                   {"strength", event.strength},
                   {"duration_ms", event.duration_ms}});
  }
  return all;
}

// Everything but the motions and the rests, which may be many.
Json explanation_head(const Explanation& e, const Verdict& v) {
  const Settings& s = e.settings;
  return {{"type", "explanation"},
          {"recording", e.recording},
          {"samples", e.times.size()},
          {"settings",
           {{"rate", s.rate},
            {"shortest_motion", s.min_motion_len},
            {"rest_window", s.static_window},
            {"history", s.history_len},
            {"least_strength", s.strength_threshold},
            {"gyro_bias", vector_json(s.gyro_bias)},
            {"wearer", s.wearer},
            {"mode", s.mode}}},
          {"model",
           {{"file", e.model_file},
            {"templates", templates_in(e.model)},
            {"classes", e.model.class_labels}}},
          {"verdict", verdict_json(v, e)},
          {"events", events_json(e)},
          {"expected", expected_json(e)}};
}

// A member after others: an array of what `item` makes of each of `items`.
template <class Items, class ToJson>
static void write_array(const char* name, const Items& items, ToJson item, bool indent,
                        const TextSink& sink) {
  sink(std::string(indent ? ",\n \"" : ",\"") + name + (indent ? "\": [" : "\":["));
  bool first = true;
  for (const auto& one : items) {
    std::string text = std::string(first ? "" : ",") + (indent ? "\n" : "") +
                       json_text(item(one), indent ? 1 : -1);
    for (size_t at = 0; indent && (at = text.find('\n', at)) != std::string::npos;
         at += 3) {
      text.insert(at + 1, "  ");
    }
    sink(text);
    first = false;
  }
  sink(first || !indent ? "]" : "\n ]");
}

void write_json_explanation(const Explanation& e, const Verdict& v, bool indent,
                            const TextSink& sink) {
  const std::string_view end = indent ? "\n}" : "}";
  const std::string head = json_text(explanation_head(e, v), indent ? 1 : -1);
  sink(std::string_view(head).substr(0, head.size() - end.size()));
  const auto motion = [&e](const MotionExplanation& m) {
    return motion_json(m, e.settings);
  };
  const auto rest = [&e](const RestStretch& r) { return rest_json(r, e.settings); };
  write_array("motions", e.motions, motion, indent, sink);
  write_array("rests", e.rests, rest, indent, sink);
  sink(end);
  if (indent) sink("\n");
}

}  // namespace wgr
