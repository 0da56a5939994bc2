// The page's data is the JSON output and the series that are drawn. Series
// are thinned to what a screen can show, and to a size that a browser takes in at once;
// all figures come from the JSON output.
#include "pages/explain_page.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/errors.h"
#include "base/text.h"
#include "explanation/series.h"
#include "pages/parts.h"
#include "pages/shell.h"
#include "text/explanation_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kGyroUnit = 0.1;  // deg/s

static constexpr size_t kMostForStream = 2'600'000;  // characters of base64

// When each sample is drawn: its stamp, or, should the clock ever step back, its place at
// the nominal rate.
static std::vector<double> times(const Explanation& e, bool stamped) {
  if (stamped) return {e.times.begin(), e.times.end()};
  std::vector<double> t(e.times.size());
  for (size_t i = 0; i < t.size(); ++i) {
    t[i] = nominal_time(e.times.front(), i, e.settings.rate);
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
    stream.clear();  // before the next is made
  }
  Json bands = Json::array();
  for (const MotionExplanation& m : e.motions) {
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
  stream["bands"] = std::move(bands);
  stream["judgements"] = std::move(judgements);
  stream["events"] = std::move(events);
  return stream;
}

void require_page() {
  if (!kUplotScript.empty()) return;
  throw UsageError(
      "--report: this wgr was built without its page, for uPlot was not there: run "
      "scripts/fetch-page, configure and build again. Text and --json work.");
}

std::string explain_page(Explanation& e, const Verdict& verdict) {
  require_page();
  const bool stamped = std::is_sorted(e.times.begin(), e.times.end());
  // {"explanation", "normalised", "stream", "series"}, without ever holding all of it.
  Deflated data(kPageLevel);
  const auto add = [&data](std::string_view text) { data.add(text); };
  add("{\"explanation\":");
  write_json_explanation(e, verdict, false, add);
  add(e.model.normalize != 0 ? ",\"normalised\":true" : ",\"normalised\":false");
  add(",\"stream\":");
  data.add(stream_json(e, times(e, stamped)));
  e.drawn = DrawnStream();
  add(",\"series\":");
  e.drawn_motions.write(stamped, add);
  add("}");
  const std::string uplot =
      fmt::format("\n/*\n{}\n*/\n{}\n", kUplotLicence, kUplotScript);
  return page_of(
      {"wgr explain",
       kExplainHtml,
       {std::string(kUplotCss), std::string(kExplainCss), std::string(kVerdictCss)},
       {uplot, std::string(kFiguresScript), std::string(kStreamScript),
        std::string(kVerdictScript), std::string(kExplainScript)}},
      data);
}

std::string index_page(const Json& recordings) {
  return page_of({"wgr explain", kIndexHtml, {}, {std::string(kIndexScript)}},
                 recordings);
}

}  // namespace wgr
