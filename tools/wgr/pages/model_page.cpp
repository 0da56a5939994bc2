#include "pages/model_page.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "base/class_codes.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "explanation/series.h"
#include "pages/advice.h"
#include "pages/parts.h"
#include "pages/shares.h"
#include "text/evaluation_text.h"
#include "training/model_output.h"
#include "training/similarities.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kShapeUnit = 0.01;        // how fine a trace is drawn
static constexpr double kUsualPoints = 45.0;      // of a motion, for the cost
static constexpr size_t kPointsPerExample = 400;  // at first; halved until all fit
static constexpr size_t kLeastPoints = 8;
static constexpr size_t kMostForTraces = 3'500'000;  // characters of base64
static constexpr int kBackgroundRow = -1;
static constexpr size_t kMostLandmarks = 300;  // of a map
static constexpr double kMapUnit = 0.001;      // of its width
static constexpr double kStreamUnit = 0.1;     // m/s², deg/s
// What a table cell of a comparison costs a 32-bit ARM processor (docs/performance.md),
// and what an old one does in a second.
static constexpr double kInstructionsPerCell = 35.0;
static constexpr double kInstructionsPerSecond = 1e9;

void find_likeness(const std::vector<Exemplar>& exemplars, const std::vector<size_t>& met,
                   int k, PageExample& example) {
  HGR classifier(0);
  // The first of equals, as in the classifier.
  const auto better = [](const std::optional<Likeness>& old, double score) {
    return old ? score > old->score : std::isfinite(score);
  };
  for (const size_t place : met) {
    const double score = static_cast<double>(
        classifier.cal_simlarity(example.trace, exemplars[place].trace, k));
    if (better(example.best, score)) example.best = Likeness{place, score};
    if (exemplars[place].label != example.label) continue;
    if (better(example.own, score)) example.own = Likeness{place, score};
  }
}

void draw_map(int k, PageData& page_data) {
  // Landmarks first, for the similarities have columns of the first traces alone.
  const std::vector<Exemplar>& exemplars = page_data.exemplars;
  const std::vector<size_t> landmarks = evenly_chosen(exemplars.size(), kMostLandmarks);
  std::vector<size_t> order = landmarks;
  const size_t all = exemplars.size() + page_data.examples.size();
  for (size_t i = 0; i < all; ++i) {
    if (!std::binary_search(landmarks.begin(), landmarks.end(), i)) order.push_back(i);
  }
  std::vector<size_t> place(all);
  std::vector<Points> traces;
  for (size_t i = 0; i < all; ++i) {
    place[order[i]] = i;
    traces.push_back(order[i] < exemplars.size()
                         ? exemplars[order[i]].trace
                         : page_data.examples[order[i] - exemplars.size()].trace);
  }
  const Similarities similarities(traces, landmarks.size(), k, 0, true);
  page_data.map = map_examples(all, landmarks, [&](size_t i, size_t j) {
    return static_cast<double>(similarities(place[i], place[j]));
  });
}

using Counts = std::map<int, std::map<std::string, size_t>>;

// How often a class was reported, rightly or not.
static size_t reports_of(const std::string& label, const Counts& counts) {
  size_t sum = 0;
  for (const auto& [other, outcomes] : counts) {
    const auto found = outcomes.find(label);
    if (found != outcomes.end()) sum += found->second;
  }
  return sum;
}

static Json row_json(const PageData& page_data, int label, Counts& counts,
                     const std::vector<std::string>& columns) {
  std::map<std::string, size_t>& row = counts[label];
  Json json = {{"label", label},
               {"counts", Json::array()},
               {"recall", nullptr},
               {"precision", nullptr}};
  size_t all = 0;
  for (const std::string& column : columns) {
    json["counts"].push_back(row[column]);
    all += row[column];
  }
  if (label < 0) return json;
  const std::string own = std::to_string(label);
  json["recall"] = share_json(row[own], all);
  const auto given = page_data.reports.find(label);
  const size_t reports =
      given != page_data.reports.end() ? given->second : reports_of(own, counts);
  if (reports > 0) json["precision"] = share_json(row[own], reports);
  return json;
}

// What was reported for which examples; background is one row, the last.
static Json matrix_json(const PageData& page_data) {
  Counts counts;
  std::set<std::string> outcomes;
  for (const PageClass& c : page_data.classes) outcomes.insert(std::to_string(c.label));
  for (const PageExample& example : page_data.examples) {
    ++counts[std::max(example.label, kBackgroundRow)][example.outcome];
    outcomes.insert(example.outcome);
    if (example.label >= 0) outcomes.insert(std::to_string(example.label));
  }
  const std::vector<std::string> columns = outcome_columns(outcomes);
  std::vector<int> labels;
  for (const auto& [label, row] : counts) {
    if (label >= 0) labels.push_back(label);
  }
  if (counts.count(kBackgroundRow) > 0) labels.push_back(kBackgroundRow);
  Json rows = Json::array();
  for (const int label : labels)
    rows.push_back(row_json(page_data, label, counts, columns));
  return {{"columns", columns}, {"rows", rows}};
}

// How the gestures, and the background, came out: the most frequent first.
static Json outcomes_json(const PageData& page_data) {
  std::map<std::string, std::pair<size_t, bool>> found[2];  // count, whether good
  size_t all[2] = {};
  for (const PageExample& example : page_data.examples) {
    const bool background = example.label < 0;
    const bool named =
        example.outcome != kOutcomeRejected && example.outcome != kOutcomeNotDetected;
    const bool good =
        background ? !named : example.outcome == std::to_string(example.label);
    const std::string what =
        background ? good ? "background kept out" : "background classified as a gesture"
        : good     ? "right"
        : named    ? "misclassified"
                   : example.outcome;
    ++all[background];
    auto& [count, is_good] = found[background][what];
    ++count;
    is_good = good;
  }
  std::vector<std::pair<size_t, Json>> sorted;
  for (const bool background : {false, true}) {
    for (const auto& [what, one] : found[background]) {
      sorted.emplace_back(one.first,
                          Json{{"what", what},
                               {"good", one.second},
                               {"share", share_json(one.first, all[background])}});
    }
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  Json outcomes = Json::array();
  for (const auto& entry : sorted) outcomes.push_back(entry.second);
  return outcomes;
}

// How many points a trace has, however few are drawn: they give its duration.
static size_t points_of(const Points& trace, size_t k) {
  return trace.size() - std::min(k, trace.size());
}

static Json trace_json(const Points& trace, size_t k, size_t most) {
  const size_t count = points_of(trace, k);
  if (count == 0) return nullptr;
  return axes_json(trace, count, bucket_for(count, most), kShapeUnit);
}

static Json excerpt_json(const StreamExcerpt& excerpt, int rate, size_t most) {
  const size_t count = excerpt.samples.size();
  if (count == 0) return nullptr;
  Points acc;
  Points gyro;
  for (const RecordedSample& sample : excerpt.samples) {
    acc.push_back(sample.acc);
    gyro.push_back(sample.gyro);
  }
  const size_t bucket = bucket_for(count, most);
  return {{"begin", excerpt.begin},
          {"end", excerpt.begin + static_cast<double>(count - 1) / std::max(rate, 1)},
          {"motion", {excerpt.motion_begin, excerpt.motion_end}},
          {"acc", axes_json(acc, count, bucket, kStreamUnit)},
          {"gyro", axes_json(gyro, count, bucket, kStreamUnit)}};
}

static Json examples_json(const PageData& page_data, size_t k, size_t most) {
  Json all = Json::array();
  for (const PageExample& example : page_data.examples) {
    Json json = {
        {"name", example.name},
        {"label", example.label},
        {"outcome", example.outcome},
        {"why", example.why},
        {"nearest_class", nullptr},
        {"score", nullptr},
        {"threshold", nullptr},
        {"nearest", nullptr},
        {"own", nullptr},
        {"own_score", nullptr},
        {"points", points_of(example.trace, k)},
        {"trace", trace_json(example.trace, k, most)},
        {"stream", excerpt_json(example.stream, page_data.provenance.rate, most)}};
    if (example.best) {
      json["nearest_class"] = page_data.exemplars[example.best->exemplar].label;
      json["score"] = example.best->score;
      json["nearest"] = example.best->exemplar;
    }
    if (example.threshold) json["threshold"] = *example.threshold;
    if (example.own) {
      json["own"] = example.own->exemplar;
      json["own_score"] = example.own->score;
    }
    all.push_back(std::move(json));
  }
  return all;
}

static Json exemplars_json(const PageData& page_data, size_t k, size_t most) {
  Json all = Json::array();
  for (const Exemplar& e : page_data.exemplars) {
    all.push_back({{"name", e.name},
                   {"label", e.label},
                   {"points", points_of(e.trace, k)},
                   {"trace", trace_json(e.trace, k, most)}});
  }
  return all;
}

static constexpr size_t kBytesPerPoint = 3 * sizeof(double);

// Of a motion of the usual size, at most.
static double recognition_ms(size_t points) {
  const double cells = kUsualPoints * static_cast<double>(points);
  return cells * kInstructionsPerCell / kInstructionsPerSecond * 1000.0;
}

static Json cost_json(const PageData& page_data, size_t k) {
  std::map<int, std::pair<size_t, size_t>> of;  // templates, points
  size_t points = 0;
  for (const auto& [label, trace] : page_data.model.templates) {
    const size_t count = points_of(trace, k);
    ++of[label].first;
    of[label].second += count;
    points += count;
  }
  Json classes = Json::array();
  for (const auto& [label, figures] : of) {
    classes.push_back(
        {{"label", label},
         {"templates", figures.first},
         {"points", figures.second},
         {"milliseconds", recognition_ms(figures.second)},
         {"memory", kBytesPerPoint * (figures.second + k * figures.first)}});
  }
  return {{"usual_points", kUsualPoints},
          {"templates", page_data.model.templates.size()},
          {"points", points},
          {"milliseconds", recognition_ms(points)},
          {"memory", kBytesPerPoint * (points + k * page_data.model.templates.size())},
          {"file", model_text(page_data.model).size()},
          {"classes", classes},
          {"note", page_data.cost_note},
          {"kinds", page_data.kinds},
          {"judged_by", page_data.judged_by}};
}

static Json classes_json(const PageData& page_data) {
  Json classes = Json::array();
  for (const PageClass& c : page_data.classes) {
    classes.push_back(
        {{"label", c.label},
         {"name", c.label == kNoGesture ? "of background"
                                        : class_name(c.label, page_data.provenance)},
         {"thresholds", c.thresholds},
         {"note", c.note}});
  }
  return classes;
}

static Json measured_json(const PageData& page_data) {
  Json facts = Json::array();
  for (const auto& [name, value] : page_data.measured) facts.push_back({name, value});
  Json misses = Json::array();
  for (const auto& [cause, count] : page_data.misses) misses.push_back({cause, count});
  return {{"facts", facts},
          {"misses", misses},
          {"latencies", page_data.latencies},
          {"folds", page_data.folds}};
}

static Json curve_json(const LearningCurve& curve) {
  Json points = Json::array();
  for (const CurvePoint& point : curve.points) {
    points.push_back({{"from", point.templates_from},
                      {"right", share_json(point.accuracy, curve.examples)}});
  }
  return {{"people", curve.by == LeftOut::kSubjects}, {"points", points}};
}

// Places in thousandths of the greatest distance from the middle.
static Json map_json(const ExampleMap& map) {
  double most = 0.0;
  for (const auto& point : map.points) {
    if (point) most = std::max({most, std::fabs(point->x), std::fabs(point->y)});
  }
  Json points = Json::array();
  for (const auto& point : map.points) {
    const auto whole = [most](double v) { return std::lround(v / most / kMapUnit); };
    points.push_back(point && most > 0.0 ? Json{whole(point->x), whole(point->y)}
                                         : Json(nullptr));
  }
  return {{"held", map.held}, {"points", points}};
}

std::string model_page(const PageData& page_data) {
  const size_t k = static_cast<size_t>(std::max(page_data.model.havegravity, 0));
  Json data = {{"origin", origin_json(page_data.origin)},
               {"title", page_data.title},
               {"facts", page_data.facts},
               {"rate", page_data.provenance.rate},
               {"normalised", page_data.model.normalize != 0},
               {"classes", classes_json(page_data)},
               {"advice", advice_json(page_data)},
               {"comparison", page_data.comparison},
               {"map", map_json(page_data.map)},
               {"curve", curve_json(page_data.curve)},
               {"outcomes", outcomes_json(page_data)},
               {"matrix", matrix_json(page_data)},
               {"measured", measured_json(page_data)},
               {"cost", cost_json(page_data, k)}};
  for (size_t most = kPointsPerExample;; most /= 2) {
    data["examples"] = examples_json(page_data, k, most);
    data["exemplars"] = exemplars_json(page_data, k, most);
    if (most <= kLeastPoints || packed_size(data) <= kMostForTraces) break;
  }
  return page_of({"wgr",
                  kModelHtml,
                  {std::string(kVerdictCss), std::string(kModelCss)},
                  {std::string(kFiguresScript), std::string(kClassesScript),
                   std::string(kAdviceScript), std::string(kModelScript)}},
                 data);
}

}  // namespace wgr
