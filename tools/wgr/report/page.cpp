// The page's data is one JSON object, deflated and in base64: what the JSON output tells,
// and the series that are drawn. Series are thinned to what a screen can show, and to a
// size that a browser takes in at once; all figures come from the JSON output.
#include "report/page.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

#include "errors.h"
#include "explanation/output.h"
#include "report/page_parts.h"

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
static constexpr double kLargest = 1e9;  // units; what overflows is drawn at the rim

static std::string deflated(const std::string& text, int level) {
  uLongf size = compressBound(static_cast<uLong>(text.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                reinterpret_cast<const Bytef*>(text.data()),
                static_cast<uLong>(text.size()), level) != Z_OK) {
    throw std::bad_alloc();
  }
  packed.resize(size);
  return packed;
}

static std::string base64(const std::string& bytes) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    unsigned value = 0;
    for (size_t k = 0; k < 3; ++k) {
      value <<= 8;
      if (i + k < bytes.size()) value |= static_cast<unsigned char>(bytes[i + k]);
    }
    for (size_t k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : kDigits[(value >> (18 - 6 * k)) & 63];
    }
  }
  return text;
}

// About, and hardly ever less than, what it adds to the page.
static size_t packed_size(const Json& json) {
  return deflated(json.dump(), Z_BEST_SPEED).size() * 4 / 3;
}

// Whole numbers of `unit`, each but the first as its difference to the one before.
static Json series(const std::vector<double>& values, double unit) {
  Json steps = Json::array();
  long long last = 0;
  for (const double value : values) {
    const double scaled = std::isnan(value) ? 0.0 : value / unit;
    const long long whole = std::llround(std::clamp(scaled, -kLargest, kLargest));
    steps.push_back(whole - last);
    last = whole;
  }
  return {{"unit", unit}, {"d", steps}};
}

// The least and the greatest of every `bucket` values, in the order they came in, as the
// values at the bucket's first and middle place.
static std::vector<double> extremes(const std::vector<double>& values, size_t bucket) {
  if (bucket <= 1) return values;
  std::vector<double> kept;
  for (size_t i = 0; i < values.size(); i += bucket) {
    const auto begin = values.begin() + static_cast<std::ptrdiff_t>(i);
    const auto end =
        values.begin() + static_cast<std::ptrdiff_t>(std::min(i + bucket, values.size()));
    const auto [least, greatest] = std::minmax_element(begin, end);
    kept.push_back(*std::min(least, greatest));
    kept.push_back(*std::max(least, greatest));
  }
  return kept;
}

static std::vector<double> times_of_extremes(const std::vector<double>& t,
                                             size_t bucket) {
  if (bucket <= 1) return t;
  std::vector<double> kept;
  for (size_t i = 0; i < t.size(); i += bucket) {
    kept.push_back(t[i]);
    kept.push_back(t[std::min(i + bucket / 2, t.size() - 1)]);
  }
  return kept;
}

// When each sample is drawn: its stamp, or, should the clock ever step back, its place at
// the nominal rate.
static std::vector<double> times(const Explanation& e) {
  std::vector<double> t;
  for (const RecordedSample& sample : e.samples) t.push_back(sample.t);
  if (std::is_sorted(t.begin(), t.end())) return t;
  for (size_t i = 0; i < t.size(); ++i) {
    t[i] = t.front() + static_cast<double>(i) / e.settings.rate;
  }
  return t;
}

using Axis = double Point3Df::*;
static constexpr Axis kAxes[] = {&Point3Df::x, &Point3Df::y, &Point3Df::z};

static Json channels(const Explanation& e, Point3Df RecordedSample::*sensor, double unit,
                     size_t bucket) {
  Json all = Json::array();
  for (const Axis axis : kAxes) {
    std::vector<double> values;
    for (const RecordedSample& sample : e.samples) {
      values.push_back((sample.*sensor).*axis);
    }
    all.push_back(series(extremes(values, bucket), unit));
  }
  return all;
}

static Json stream_json(const Explanation& e, const std::vector<double>& t) {
  Json stream;
  for (size_t bucket = 1;; bucket = bucket == 1 ? 4 : 2 * bucket) {
    stream = {{"bucket", bucket},
              {"t", series(times_of_extremes(t, bucket), kTimeUnit)},
              {"acc", channels(e, &RecordedSample::acc, kAccUnit, bucket)},
              {"gyro", channels(e, &RecordedSample::gyro, kGyroUnit, bucket)}};
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
    while (place + 1 < e.samples.size() && e.samples[place].t != event.t) ++place;
    events.push_back({{"t", t[place]}, {"class", event.gesture}});
  }
  stream["bands"] = bands;
  stream["judgements"] = judgements;
  stream["events"] = events;
  return stream;
}

static size_t bucket_for(size_t count, size_t most) {
  return count <= most ? 1 : (2 * count + most - 1) / most;
}

static Json axes_json(const Points& points, size_t count, size_t bucket, double unit) {
  Json all = Json::array();
  for (const Axis axis : kAxes) {
    std::vector<double> values;
    for (size_t i = 0; i < count; ++i) values.push_back(points[i].*axis);
    all.push_back(series(extremes(values, bucket), unit));
  }
  return all;
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

// Puts `value` where the page has @@name@@.
static void fill(std::string& page, const std::string& name, std::string_view value) {
  const std::string mark = "@@" + name + "@@";
  const size_t at = page.find(mark);
  if (at == std::string::npos) throw std::logic_error("the page has no " + mark);
  page.replace(at, mark.size(), value);
}

void require_page() {
  if (!kUplotScript.empty()) return;
  throw UsageError(
      "-o: this wgr was built without its HTML report, because uPlot could not be had: "
      "install npm and build again where there is a network. Text and --json work.");
}

std::string page_of(const Explanation& e) {
  require_page();
  const std::vector<double> t = times(e);
  const Json data = {{"explanation", as_json(e)},
                     {"normalised", e.model.normalize != 0},
                     {"stream", stream_json(e, t)},
                     {"series", all_motion_series(e, t)}};
  std::string page(kPageHtml);
  fill(page, "data", base64(deflated(data.dump(), Z_DEFAULT_COMPRESSION)));
  fill(page, "page.css", kPageCss);
  fill(page, "page.js", kPageScript);
  fill(page, "uplot.css", kUplotCss);
  fill(page, "uplot.licence", kUplotLicence);
  fill(page, "uplot.js", kUplotScript);
  return page;
}
