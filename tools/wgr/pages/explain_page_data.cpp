#include "pages/explain_page_data.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "explanation/packed_series.h"
#include "explanation/series.h"
#include "json/deflated.h"
#include "text/explanation_sentences.h"
#include "text/explanation_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr size_t kMostForStream = 2'000'000;  // characters of base64
static constexpr size_t kMostGaps = 20'000;          // that are drawn, the longest
static constexpr double kGapPeriods = 1.75;          // as the clock counts gaps
static constexpr double kStrengthUnit = 0.001;       // m/s²
static constexpr double kSpeedUnit = 0.001;          // m/s
static constexpr double kScoreDigits = 1e4;

struct DrawnUnits {
  double acc;   // m/s²
  double gyro;  // deg/s
};
static constexpr DrawnUnits kFineUnits = {kAccUnit, 0.1};
static constexpr DrawnUnits kCoarseUnits = {kDrawnAccUnit, kDrawnGyroUnit};
static constexpr double kUnitOfUnits = 0.001;

// ---- JSON ----------------------------------------------------------------------------

static double rounded(double value) {
  return std::round(value * kScoreDigits) / kScoreDigits;
}

// [template, score] each; the thresholds stand with the classes.
static Json scores_json(const MotionExplanation& m, std::map<int, double>& thresholds) {
  Json scores = Json::array();
  for (size_t i = 0; i < std::min(kTemplatesShown, m.scores.size()); ++i) {
    const TemplateScore& s = m.scores[i];
    const double score = static_cast<double>(s.score);
    scores.push_back({s.index + 1, std::isfinite(score) ? Json(rounded(score)) : Json()});
    if (s.threshold) thresholds[s.label] = *s.threshold;
  }
  return scores;
}

namespace {

// Texts that recur, each once: a day has tens of thousands of sentences, and few that
// differ.
class Texts {
 public:
  size_t number_of(const std::string& text) {
    const auto [at, is_new] = numbers_.emplace(text, numbers_.size());
    if (is_new) all_.push_back(text);
    return at->second;
  }
  const Json& all() const { return all_; }

 private:
  std::map<std::string, size_t> numbers_;
  Json all_ = Json::array();
};

}  // namespace

static Json motions_json(const Explanation& e, Texts& texts) {
  Json causes = Json::array();
  Json sentences = Json::array();
  Json also = Json::object();
  Json scores = Json::object();
  std::map<int, double> thresholds;
  for (size_t i = 0; i < e.motions.size(); ++i) {
    const MotionExplanation& m = e.motions[i];
    causes.push_back(texts.number_of(name_of(m.cause)));
    sentences.push_back(texts.number_of(sentence_for(m, e.settings)));
    for (const Cause& cause : m.also) also[std::to_string(i)].push_back(name_of(cause));
    if (!m.scores.empty()) scores[std::to_string(i)] = scores_json(m, thresholds);
  }
  Json limits = Json::object();
  for (const auto& [label, limit] : thresholds) limits[std::to_string(label)] = limit;
  Json classes = Json::array();  // of the templates
  for (const auto& [label, trace] : e.model.templates) classes.push_back(label);
  return {{"causes", causes}, {"sentences", sentences}, {"also", also},
          {"scores", scores}, {"classes", classes},     {"thresholds", limits}};
}

Json explain_json(const Explanation& e, const Verdict& verdict) {
  Texts texts;
  Json motions = motions_json(e, texts);
  Json rests = Json::array();
  for (const RestStretch& rest : e.rests) {
    rests.push_back(texts.number_of(sentence_for(rest, e.settings)));
  }
  Json head = explanation_head(e, verdict);
  head.erase("events");  // they are among the samples
  return {{"explanation", std::move(head)},
          {"normalised", e.model.normalize != 0},
          {"texts", texts.all()},
          {"motions", std::move(motions)},
          {"rests", std::move(rests)}};
}

// ---- bytes ---------------------------------------------------------------------------

namespace {

// Writes series of one explanation.
class Series {
 public:
  Series(const Explanation& e, const TextSink& sink)
      : e_(e), sink_(sink), origin_(e.times.empty() ? 0.0 : e.times.front()) {}

  void number(size_t value) {
    std::string bytes;
    append_whole(bytes, value);
    sink_(bytes);
  }
  void values(const std::vector<double>& values, double unit) {
    std::string bytes;
    append_series(bytes, values, unit);
    sink_(bytes);
  }
  // One value for each of `items`.
  template <class Items, class Value>
  void column(const Items& items, double unit, Value value) {
    std::vector<double> all;
    for (const auto& item : items) all.push_back(static_cast<double>(value(item)));
    values(all, unit);
  }
  // Stamps, in ms from the recording's first.
  template <class Items, class Value>
  void times(const Items& items, Value value) {
    column(items, kTimeUnit, [&](const auto& item) { return value(item) - origin_; });
  }

  void stream();
  std::string stream(size_t bucket, const DrawnUnits& units) const;
  void gaps(bool stamped);
  void judgements();
  void motions();
  void templates();

 private:
  const Explanation& e_;
  const TextSink& sink_;
  const double origin_;
};

}  // namespace

// All samples as finely as they come, or, where that is too much, more coarsely, and the
// least and greatest of a bucket's.
void Series::stream() {
  for (size_t bucket = e_.drawn.finest();;) {
    for (const DrawnUnits& units : {kFineUnits, kCoarseUnits}) {
      if (bucket > 1 && units.acc == kFineUnits.acc) continue;
      const std::string bytes = stream(bucket, units);
      Deflated packed(Z_BEST_SPEED);
      packed.add(bytes);
      packed.finish();
      if (packed.size_in_page() <= kMostForStream) return sink_(bytes);
    }
    bucket = bucket == 1 ? 4 : 2 * bucket;
  }
}

std::string Series::stream(size_t bucket, const DrawnUnits& units) const {
  std::string bytes;
  append_whole(bytes, bucket);
  append_whole(bytes, static_cast<size_t>(std::lround(units.acc / kUnitOfUnits)));
  append_whole(bytes, static_cast<size_t>(std::lround(units.gyro / kUnitOfUnits)));
  std::vector<double> firsts;
  for (size_t i = 0; i < e_.times.size(); i += bucket) {
    firsts.push_back(e_.times[i] - origin_);
  }
  append_series(bytes, firsts, kTimeUnit);
  for (size_t c = 0; c < DrawnStream::kChannels; ++c) {
    append_series(bytes, e_.drawn.values(c, bucket),
                  c < DrawnStream::kChannels / 2 ? units.acc : units.gyro);
  }
  return bytes;
}

// From the last sample before to the first behind.
void Series::gaps(bool stamped) {
  std::vector<std::pair<double, double>> gaps;
  for (size_t i = 1; stamped && i < e_.times.size(); ++i) {
    if ((e_.times[i] - e_.times[i - 1]) * e_.settings.rate <= kGapPeriods) continue;
    gaps.emplace_back(e_.times[i - 1], e_.times[i]);
  }
  number(gaps.size());
  if (gaps.size() > kMostGaps) {
    const auto longer = [](const auto& a, const auto& b) {
      return a.second - a.first > b.second - b.first;
    };
    std::stable_sort(gaps.begin(), gaps.end(), longer);
    gaps.resize(kMostGaps);
    std::sort(gaps.begin(), gaps.end());
  }
  times(gaps, [](const auto& gap) { return gap.first; });
  times(gaps, [](const auto& gap) { return gap.second; });
}

// The first sample of each run of one judgement, and which.
void Series::judgements() {
  std::vector<size_t> firsts;
  for (size_t i = 0; i < e_.judgements.size(); ++i) {
    if (i == 0 || e_.judgements[i] != e_.judgements[i - 1]) firsts.push_back(i);
  }
  column(firsts, 1.0, [](size_t first) { return first; });
  times(firsts, [this](size_t first) { return e_.times[first]; });
  column(firsts, 1.0,
         [this](size_t first) { return static_cast<int>(e_.judgements[first]); });
}

void Series::motions() {
  using Motion = const MotionExplanation&;
  times(e_.motions, [](Motion m) { return m.begin; });
  times(e_.motions, [](Motion m) { return m.end; });
  times(e_.motions, [](Motion m) { return m.judged; });
  column(e_.motions, 1.0, [](Motion m) { return m.first; });
  column(e_.motions, 1.0, [](Motion m) { return m.collected; });
  column(e_.motions, 1.0, [](Motion m) { return m.preroll; });
  column(e_.motions, 1.0, [](Motion m) { return m.trimmed; });
  column(e_.motions, 1.0, [](Motion m) { return m.compared_points(); });
  column(e_.motions, 1.0, [](Motion m) { return m.duration_ms; });
  column(e_.motions, 1.0, [](Motion m) { return m.reported ? *m.reported + 1 : 0; });
  column(e_.motions, 1.0, [](Motion m) { return m.lost_at ? *m.lost_at + 1 : 0; });
  column(e_.motions, 1.0,
         [](Motion m) { return (m.starts_fast ? 1 : 0) + (m.ends_fast ? 2 : 0); });
  column(e_.motions, kStrengthUnit, [](Motion m) { return m.strength; });
  column(e_.motions, 1.0, [](Motion m) { return m.predicted ? 1 : 0; });
  column(e_.motions, kSpeedUnit, [](Motion m) { return m.fast_from; });
}

void Series::templates() {
  number(e_.model.templates.size());
  for (const auto& [label, trace] : e_.model.templates) {
    for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
      column(trace, kAccUnit, [axis](const Point3Df& p) { return p.*axis; });
    }
  }
}

void write_explain_samples(const Explanation& e, const TextSink& sink) {
  // Should the clock ever step back, samples are drawn at their place at the nominal
  // rate.
  const bool stamped = std::is_sorted(e.times.begin(), e.times.end());
  Series series(e, sink);
  series.number(stamped ? 1 : 0);
  series.number(e.times.size());
  series.stream();
  series.gaps(stamped);
  series.judgements();
  series.times(e.events, [](const GestureEvent& event) { return event.t; });
  series.column(e.events, 1.0, [](const GestureEvent& event) { return event.gesture; });
  series.motions();
  series.templates();
}

void write_explain_details(Explanation& e, const TextSink& sink) {
  const std::string& stretches = e.drawn.stretches();
  std::string count;
  append_whole(count, e.drawn.count_stretches());
  sink(count);
  sink(stretches);
  e.drawn = DrawnStream();
  e.drawn_motions.write(sink);
}

}  // namespace wgr
