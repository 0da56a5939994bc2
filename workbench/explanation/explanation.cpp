#include "explanation/explanation.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "base/text.h"
#include "context/WgrContext.h"
#include "engine/rest.h"

namespace wgr {

namespace {

// When gestures were expected.
class ExpectedTimes {
 public:
  explicit ExpectedTimes(const std::vector<Expected>& expected) {
    std::vector<std::pair<double, double>> all;
    for (const Expected& x : expected) all.emplace_back(x.begin, x.end);
    std::sort(all.begin(), all.end());
    for (const auto& [begin, end] : all) {
      if (!merged_.empty() && begin <= merged_.back().second) {
        merged_.back().second = std::max(merged_.back().second, end);
      } else {
        merged_.emplace_back(begin, end);
      }
    }
  }

  bool overlap(double begin, double end) const {
    const auto next = std::lower_bound(
        merged_.begin(), merged_.end(), begin,
        [](const std::pair<double, double>& one, double t) { return one.second < t; });
    return next != merged_.end() && next->first <= end;
  }

 private:
  std::vector<std::pair<double, double>> merged_;  // disjoint, in order; s
};

}  // namespace

// Looks at the engine after every sample of the host's.
class Explainer::Watcher {
 public:
  Watcher(const HostRun& host_run, Explanation& explanation)
      : engine_(*static_cast<WgrContext*>(host_run.handle())->ages),
        e_(explanation),
        expected_(explanation.expected) {
    engine_.intermediates = &intermediates_;
  }
  ~Watcher() { engine_.intermediates = nullptr; }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  void before() {
    collecting_before_ = engine_.motion_acc.size();
    intermediates_ = Intermediates();
  }
  void after(const Step& step);
  void finish();

 private:
  size_t newest() const { return e_.times.size() - 1; }
  void forget();
  Judgement judge(RestStretch& figures) const;
  void note_rest(Judgement judgement, const RestStretch& figures);
  void close_motion();
  void keep(MotionExplanation explained);
  void place(MotionExplanation& explained) const;
  [[noreturn]] void disagree(const std::string& what) const;

  AgGes& engine_;
  Intermediates intermediates_;  // of a motion that the next sample ends
  Explanation& e_;
  const ExpectedTimes expected_;
  // The newest samples: of the motion being collected, and of the window at least.
  Samples acc_;
  Samples rates_;  // with the bias off
  size_t collecting_before_ = 0;
  size_t preroll_ = 0;
  size_t afresh_ = 0;          // the sample with which the histories start
  bool report_ended_ = false;  // they start there because of a report
};

void Explainer::Watcher::disagree(const std::string& what) const {
  throw std::logic_error(
      fmt::format("{}: at {:.3f} s the explanation's {} is not the library's; please "
                  "report this recording",
                  e_.recording, e_.times.back(), what));
}

// The newest sample, from its window; why a sensor did not report rest goes to `figures`.
Judgement Explainer::Watcher::judge(RestStretch& figures) const {
  const size_t since = e_.times.size() - afresh_;
  const size_t held = std::min(since, static_cast<size_t>(engine_.history_len));
  const size_t window = static_cast<size_t>(engine_.static_window);
  if (engine_.static_window < 0 || held < window) return Judgement::kWindowNotFull;

  const size_t end = acc_.size();
  const WindowStats acc = window_stats(acc_, end - window, end);
  const WindowStats gyro = window_stats(rates_, end - window, end);
  const bool acc_rests = acc_at_rest(acc);
  const bool gyro_rests = gyro_at_rest(gyro);
  figures.mean_gravity = std::sqrt(acc.mean_squared);
  // One of the two figures at a time, beside one that rests without doubt.
  constexpr double kSurelyGravity = 100.0;  // (m/s²)²
  figures.gravity_outside = acc_at_rest({acc.mean_squared, 0.0}) ? 0 : 1;
  figures.acc_scattered = acc_at_rest({kSurelyGravity, acc.spread}) ? 0 : 1;
  figures.turning = gyro_at_rest({gyro.mean_squared, 0.0}) ? 0 : 1;
  figures.gyro_scattered = gyro_at_rest({0.0, gyro.spread}) ? 0 : 1;
  if (acc_rests && gyro_rests) return Judgement::kBothRest;
  if (acc_rests) return Judgement::kAccRests;
  return gyro_rests ? Judgement::kGyroRests : Judgement::kMotion;
}

void Explainer::Watcher::note_rest(Judgement judgement, const RestStretch& figures) {
  if (judgement == Judgement::kMotion) return;
  const bool goes_on =
      !e_.rests.empty() && e_.rests.back().first + e_.rests.back().count == newest();
  if (!goes_on) {
    e_.rests.emplace_back();
    e_.rests.back().first = newest();
    e_.rests.back().begin = e_.times.back();
  }
  RestStretch& rest = e_.rests.back();
  ++rest.count;
  rest.end = e_.times.back();
  ++rest.judged[static_cast<size_t>(judgement)];
  rest.gravity_outside += figures.gravity_outside;
  rest.acc_scattered += figures.acc_scattered;
  rest.turning += figures.turning;
  rest.gyro_scattered += figures.gyro_scattered;
  if (judgement != Judgement::kWindowNotFull) {
    const double seen = static_cast<double>(
        rest.count - rest.judged[static_cast<size_t>(Judgement::kWindowNotFull)]);
    rest.mean_gravity += (figures.mean_gravity - rest.mean_gravity) / seen;
  }
}

void Explainer::Watcher::after(const Step& step) {
  e_.times.push_back(step.sample.t);
  if (e_.for_page) {
    e_.drawn.add(step.sample, expected_.overlap(step.sample.t, step.sample.t));
  }
  acc_.push_back(step.sample.acc);
  rates_.push_back(step.sample.gyro - engine_.gyro_bias);
  if (step.event != nullptr) e_.events.push_back(*step.event);
  if (engine_.work_mode == kAccOnly) {
    e_.judgements.push_back(Judgement::kWindowNotFull);
    forget();
    return;
  }

  RestStretch figures;
  const Judgement judgement = judge(figures);
  e_.judgements.push_back(judgement);
  if ((judgement != Judgement::kMotion) != step.at_rest) disagree("judgement of rest");
  note_rest(judgement, figures);

  const size_t collecting = engine_.motion_acc.size();
  if (collecting_before_ == 0 && collecting > 0) preroll_ = collecting - 1;
  if (collecting_before_ > 0 && collecting == 0) close_motion();
  if (step.event != nullptr) {
    afresh_ = e_.times.size();
    report_ended_ = true;
  }
  forget();
}

// Drops samples that neither the motion being collected nor the next window needs.
void Explainer::Watcher::forget() {
  const size_t window = static_cast<size_t>(std::max(engine_.static_window, 0));
  const size_t needed = std::max(engine_.motion_acc.size(), window);
  while (acc_.size() > needed) {
    acc_.pop_front();
    rates_.pop_front();
  }
  e_.drawn.forget(needed);
}

void Explainer::Watcher::place(MotionExplanation& explained) const {
  const size_t kept = std::max<size_t>(explained.kept(), 1);
  explained.preroll = preroll_;
  explained.begin = e_.times[explained.first];
  explained.end = e_.times[explained.first + kept - 1];
  explained.judged = e_.times.back();
  // The first sample that a full window judged: no window judged what was before it.
  const size_t first_judged = afresh_ + static_cast<size_t>(engine_.static_window) - 1;
  if (explained.first + explained.preroll == first_judged) {
    explained.after_report = report_ended_;
    explained.at_start = !report_ended_;
  }
}

void Explainer::Watcher::close_motion() {
  const size_t first = newest() - collecting_before_;
  // The newest sample ended the motion and is none of it.
  const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(acc_.size()) - 1;
  const std::ptrdiff_t begin = end - static_cast<std::ptrdiff_t>(collecting_before_);
  MotionExplanation explained = explanation_of(
      engine_, std::move(intermediates_),
      Samples(acc_.begin() + begin, acc_.begin() + end),
      Samples(rates_.begin() + begin, rates_.begin() + end), first, collecting_before_);
  place(explained);
  explained.reported = report_of(explained.engine_class);
  const bool lost_its_start = explained.cause == Ending::kStartsFast ||
                              explained.cause == Ending::kTooShort ||
                              explained.cause == Ending::kStretchTooShort;
  if (explained.after_report && lost_its_start) {
    explained.also.insert(explained.also.begin(), explained.cause);
    explained.cause = Circumstance::kCutByReport;
  }
  keep(std::move(explained));
}

void Explainer::Watcher::keep(MotionExplanation explained) {
  if (e_.for_page) {
    // Every sample of these is drawn, however long the recording is.
    const bool matters = explained.cause == Ending::kRecognised ||
                         explained.cause == Ending::kBelowThreshold ||
                         expected_.overlap(explained.begin, explained.end);
    if (matters) e_.drawn.keep_whole(explained.first, explained.collected);
    e_.drawn_motions.add(explained, matters);
  }
  if (!e_.keep_traces) explained.drop_traces(kTemplatesShown);
  e_.motions.push_back(std::move(explained));
}

void Explainer::Watcher::finish() {
  if (e_.times.empty()) return;
  const size_t collecting = engine_.motion_acc.size();
  if (engine_.work_mode == kAccOnly) {
    MotionExplanation explained;
    explained.collected = e_.times.size();
    explained.begin = e_.times.front();
    explained.end = explained.judged = e_.times.back();
    explained.engine_class = engine_.gesture_class;
    explained.cause = Circumstance::kWrongMode;
    keep(std::move(explained));
  } else if (collecting > 0) {
    MotionExplanation explained;
    explained.first = e_.times.size() - collecting;
    explained.collected = collecting;
    explained.engine_class = engine_.gesture_class;
    explained.cause = Circumstance::kUnfinished;
    place(explained);
    keep(std::move(explained));
  }
}

Explainer::Explainer(const HostRunOptions& options, Explanation& explanation)
    : host_run_(options),
      totals_(static_cast<WgrContext*>(host_run_.handle())->ages->sample_rate),
      watcher_(std::make_unique<Watcher>(host_run_, explanation)),
      explanation_(explanation) {
  const AgGes& engine = *static_cast<WgrContext*>(host_run_.handle())->ages;
  explanation.settings = {engine.sample_rate,
                          engine.min_motion_len,
                          engine.static_window,
                          engine.history_len,
                          engine.strength_threshold,
                          engine.gyro_bias,
                          options.wearer,
                          options.mode};
  explanation.model = *engine.hgr->model;
}

Explainer::~Explainer() = default;

void Explainer::feed(const RecordedSample& sample) {
  watcher_->before();
  feed_host(host_run_, sample, totals_,
            [this](const Step& step) { watcher_->after(step); });
}

size_t Explainer::collecting() const {
  return static_cast<WgrContext*>(host_run_.handle())->ages->motion_acc.size();
}

void Explainer::finish() {
  watcher_->finish();
  explanation_.wearer_answers = totals_.wearer_answers;
}
void explain(const HostRunOptions& options, SampleSource& samples,
             Explanation& explanation,
             const std::function<void(const RecordedSample&)>& observe) {
  Explainer explainer(options, explanation);
  std::exception_ptr malformed;
  try {
    for (RecordedSample sample; samples.next(sample);) {
      explainer.feed(sample);
      if (observe) observe(sample);
    }
  } catch (const RecordingError&) {
    malformed = std::current_exception();
  }
  explainer.finish();
  if (malformed) std::rethrow_exception(malformed);
}

}  // namespace wgr
