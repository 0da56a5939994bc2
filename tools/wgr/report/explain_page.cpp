// The page's data is what the JSON output tells, and the series that are drawn. Series
// are thinned to what a screen can show, and to a size that a browser takes in at once;
// all figures come from the JSON output.
#include "report/explain_page.h"

#include <algorithm>
#include <vector>

#include "errors.h"
#include "explanation/output.h"
#include "json_text.h"
#include "report/parts.h"
#include "report/series.h"
#include "report/shell.h"

using Json = nlohmann::ordered_json;

// How fine a series is drawn.
static constexpr double kTimeUnit = 0.001;   // s
static constexpr double kAccUnit = 0.01;     // m/s²
static constexpr double kGyroUnit = 0.1;     // deg/s
static constexpr double kSpeedUnit = 0.001;  // m/s
static constexpr double kShapeUnit = 0.01;   // of the strength

// How large the page's parts may get, characters of base64.
static constexpr size_t kMostForStream = 2'600'000;
static constexpr size_t kMostForMotions = 1'500'000;
static constexpr size_t kPointsPerMotion = 400;  // at first; halved until it fits

// When each sample is drawn: its stamp, or, should the clock ever step back, its place at
// the nominal rate.
static std::vector<double> times(const Explanation& e) {
  std::vector<double> t(e.times.begin(), e.times.end());
  if (std::is_sorted(t.begin(), t.end())) return t;
  for (size_t i = 0; i < t.size(); ++i) {
    t[i] = t.front() + static_cast<double>(i) / e.settings.rate;
  }
  return t;
}

// Three channels from `first` on.
static Json channels(const DrawnStream& drawn, size_t first, double unit, size_t bucket) {
  Json all = Json::array();
  for (size_t c = first; c < first + 3; ++c) {
    all.push_back(series(drawn.values(c, bucket), unit));
  }
  return all;
}

static Json stream_json(const Explanation& e, const std::vector<double>& t) {
  Json stream;
  for (size_t bucket = e.drawn.finest();; bucket = bucket == 1 ? 4 : 2 * bucket) {
    stream = {{"bucket", bucket},
              {"t", series(times_of_extremes(t, bucket), kTimeUnit)},
              {"acc", channels(e.drawn, 0, kAccUnit, bucket)},
              {"gyro", channels(e.drawn, 3, kGyroUnit, bucket)}};
    if (packed_size(stream) <= kMostForStream) break;
  }
  Json bands = Json::array();
  for (const MotionAccount& m : e.motions) {
    bands.push_back({{"begin", t[m.first]},
                     {"end", t[m.first + std::max<size_t>(m.kept(), 1) - 1]},
                     {"cause", name_of(m.cause)}});
  }
  Json judgements = Json::array();
  for (size_t i = 0; i < e.judgements.size(); ++i) {
    if (i > 0 && e.judgements[i] == e.judgements[i - 1]) continue;
    judgements.push_back({t[i], static_cast<int>(e.judgements[i])});
  }
  Json events = Json::array();
  size_t place = 0;
  for (const GestureEvent& event : e.events) {
    while (place + 1 < e.times.size() && e.times[place] != event.t) ++place;
    events.push_back({{"t", t[place]}, {"class", event.gesture}});
  }
  stream["bands"] = bands;
  stream["judgements"] = judgements;
  stream["events"] = events;
  return stream;
}

// The best template along the warping path: for every point of the motion the mean of the
// template's points that are laid upon it.
static Points laid_over(const MotionAccount& m, const Points& best, size_t count) {
  Points laid(count, {0.0, 0.0, 0.0});
  std::vector<double> pairs(count, 0.0);
  for (const auto& [i, j] : m.path.pairs) {
    laid[i] = laid[i] + best[j];
    pairs[i] += 1.0;
  }
  for (size_t i = 0; i < count; ++i) laid[i] = laid[i] / pairs[i];
  return laid;
}

static Json motion_series(const Explanation& e, const MotionAccount& m,
                          const std::vector<double>& t, size_t most) {
  if (m.corrected.empty()) return nullptr;
  const auto begin = t.begin() + static_cast<std::ptrdiff_t>(m.first);
  const std::vector<double> own(begin,
                                begin + static_cast<std::ptrdiff_t>(m.corrected.size()));
  const size_t bucket = bucket_for(own.size(), most);
  Json json = {{"t", series(times_of_extremes(own, bucket), kTimeUnit)},
               {"active", nullptr}};
  if (!m.lost_at) {
    json["corrected"] = axes_json(m.corrected, own.size(), bucket, kAccUnit);
  }
  if (m.compared_points() > 0) {
    // With a step's state goes the acceleration one sample before its start.
    json["active"] = {own[m.active.begin - 1], own[m.active.end - 2]};
  }
  if (!m.speed.empty() && !m.lost_at) {
    const std::vector<double> steps(own.begin() + 1, own.end());
    json["speed_t"] = series(times_of_extremes(steps, bucket), kTimeUnit);
    json["speed"] = series(extremes(m.speed, bucket), kSpeedUnit);
  }
  if (!m.path.pairs.empty()) {
    const size_t count = m.path.pairs.back().first + 1;
    const auto first = own.begin() + static_cast<std::ptrdiff_t>(m.active.begin - 1);
    const std::vector<double> compared_t(first,
                                         first + static_cast<std::ptrdiff_t>(count));
    const Points& best = e.model.templates[m.scores.front().index].second;
    const size_t thin = bucket_for(count, most);
    json["compared_t"] = series(times_of_extremes(compared_t, thin), kTimeUnit);
    json["compared"] = axes_json(m.compared, count, thin, kShapeUnit);
    json["template"] = axes_json(laid_over(m, best, count), count, thin, kShapeUnit);
  }
  return json;
}

static Json all_motion_series(const Explanation& e, const std::vector<double>& t) {
  for (size_t most = kPointsPerMotion;; most /= 2) {
    Json all = Json::array();
    for (const MotionAccount& m : e.motions) all.push_back(motion_series(e, m, t, most));
    if (most <= 4 || packed_size(all) <= kMostForMotions) return all;
  }
}

void require_page() {
  if (!kUplotScript.empty()) return;
  throw UsageError(
      "-o: this wgr was built without its page, for uPlot was not there: run "
      "scripts/fetch-page, configure and build again. Text and --json work.");
}

std::string explain_page(const Explanation& e) {
  require_page();
  const std::vector<double> t = times(e);
  // {"explanation", "normalised", "stream", "series"}, without ever holding all of it.
  Deflated data(kPageLevel);
  const auto add = [&data](std::string_view text) { data.add(text); };
  add("{\"explanation\":");
  write_json_account(e, false, add);
  add(e.model.normalize != 0 ? ",\"normalised\":true" : ",\"normalised\":false");
  add(",\"stream\":");
  add(json_text(stream_json(e, t)));
  add(",\"series\":");
  add(json_text(all_motion_series(e, t)));
  add("}");
  const std::string uplot =
      "\n/*\n" + std::string(kUplotLicence) + "\n*/\n" + std::string(kUplotScript) + "\n";
  return page_of({"wgr explain",
                  kExplainHtml,
                  {std::string(kUplotCss), std::string(kExplainCss)},
                  {uplot, std::string(kFiguresScript), std::string(kStreamScript),
                   std::string(kExplainScript)}},
                 data);
}
