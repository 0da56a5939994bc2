#include "verdict/trials.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "base/numbers.h"
#include "context/WgrContext.h"
#include "engine/recognition.h"

namespace wgr {

static constexpr int kSensitivities[] = {1, 0, 2, 3};  // permissive to strict
static constexpr int kShortestPart = 5;  // of a second, the shortest motion that is tried
static constexpr int kLeastRestWindow = 5;  // samples
static constexpr int kMostRestWindow = 20;

// The other wrist sees these axes the other way round.
static constexpr AxisMap kMirrorAcc = {{0, 1, 2}, {-1, 1, 1}};
static constexpr AxisMap kMirrorGyro = {{0, 1, 2}, {1, -1, -1}};

std::vector<AxisMap> mountings() {
  std::vector<AxisMap> turned;
  for (const AxisMap& map : all_axis_maps()) {
    if (determinant(map) == 1 && !is_identity(map)) turned.push_back(map);
  }
  std::stable_sort(turned.begin(), turned.end(), [](const AxisMap& a, const AxisMap& b) {
    return changes(a) < changes(b);
  });
  return turned;
}

static void add_repairs(const Diagnosis& diagnosis, std::vector<Circumstances>& all) {
  Circumstances every;
  every.change = Change::kAllRepairs;
  for (size_t i = 0; i < diagnosis.findings.size(); ++i) {
    const auto& repair = diagnosis.findings[i].repair;
    if (!repair) continue;
    Circumstances one;
    one.change = Change::kRepair;
    one.finding = i;
    one.repairs = {*repair};
    all.push_back(one);
    every.repairs.push_back(*repair);
  }
  order_repairs(every.repairs);
  if (every.repairs.size() > 1) all.push_back(every);
}

static void add_models(const TrialInput& input, std::vector<Circumstances>& all) {
  // The simplest first: the other wrist, then another mode, then both.
  std::vector<ModelChoice> models = input.models;
  const auto differences = [&](const ModelChoice& choice) {
    return (choice.wearer != input.host.wearer ? 1 : 0) +
           (choice.mode != input.host.mode ? 2 : 0);
  };
  std::stable_sort(models.begin(), models.end(),
                   [&](const ModelChoice& a, const ModelChoice& b) {
                     return differences(a) < differences(b);
                   });
  for (const ModelChoice& choice : models) {
    if (choice.wearer == input.host.wearer && choice.mode == input.host.mode) continue;
    Circumstances other;
    other.change = Change::kOtherModel;
    other.model = choice;
    all.push_back(other);
  }
  Circumstances mirror;
  mirror.change = Change::kMirror;
  if (input.own_model) all.push_back(mirror);
}

std::vector<Circumstances> circumstances(const TrialInput& input,
                                         const Diagnosis& diagnosis) {
  std::vector<Circumstances> all(1);
  if (!input.host.initialise) {
    // Every sample is refused, whatever else is done.
    Circumstances initialised;
    initialised.change = Change::kInitialise;
    all.push_back(initialised);
    return all;
  }
  add_repairs(diagnosis, all);
  add_models(input, all);
  std::vector<int> levels(std::begin(kSensitivities), std::end(kSensitivities));
  levels.push_back(-std::max(1, input.host.rate / kShortestPart));
  for (const int level : levels) {
    if (input.host.sensitivity && level == *input.host.sensitivity) continue;
    Circumstances other;
    other.change = Change::kSensitivity;
    other.sensitivity = level;
    all.push_back(other);
  }
  for (const AxisMap& map : mountings()) {
    Circumstances turned;
    turned.change = Change::kMounting;
    turned.mounting = map;
    all.push_back(turned);
  }
  for (int window = kLeastRestWindow; window <= kMostRestWindow; ++window) {
    if (window == input.rest_window) continue;
    Circumstances other;
    other.change = Change::kRestWindow;
    other.rest_window = window;
    all.push_back(other);
  }
  return all;
}

static HostRunOptions host_for(const TrialInput& input, const Circumstances& with) {
  HostRunOptions host = input.host;
  for (const Repair& repair : with.repairs) {
    if (repair.kind == RepairKind::kRate || repair.kind == RepairKind::kEvenRate) {
      host.rate = std::max(1, nearest_int(repair.factor));
    }
    if (repair.kind == RepairKind::kBias) host.gyro_bias = repair.bias;
  }
  if (with.change == Change::kOtherModel) host.model = with.model.model;
  if (with.change == Change::kInitialise) host.initialise = true;
  if (with.change == Change::kSensitivity) host.sensitivity = with.sensitivity;
  if (with.change == Change::kRestWindow) host.rest_window = with.rest_window;
  return host;
}

static void map_samples(const AxisMap& acc, const AxisMap& gyro,
                        std::vector<RecordedSample>& samples) {
  for (RecordedSample& sample : samples) {
    sample.acc = mapped(acc, sample.acc);
    sample.gyro = mapped(gyro, sample.gyro);
  }
}

// The samples as they would have been; `made` is there to hold them.
static const std::vector<RecordedSample>& samples_for(const TrialInput& input,
                                                      const Circumstances& with,
                                                      std::vector<RecordedSample>& made) {
  const bool turned = with.change == Change::kMounting;
  if (!turned && with.change != Change::kMirror && with.repairs.empty()) {
    return input.samples;
  }
  made = input.samples;
  for (const Repair& repair : with.repairs) apply(repair, made);
  if (turned) map_samples(with.mounting, with.mounting, made);
  if (with.change == Change::kMirror) map_samples(kMirrorAcc, kMirrorGyro, made);
  return made;
}

// What a host makes of the samples: the motions as an explanation lists them.
static std::vector<JudgedMotion> replay(const HostRunOptions& options,
                                        const std::vector<RecordedSample>& samples) {
  HostRun host(options);
  const AgGes& engine = *static_cast<WgrContext*>(host.handle())->ages;
  std::vector<JudgedMotion> motions;
  size_t before = 0;  // samples of the motion being collected
  for (size_t i = 0; i < samples.size(); ++i) {
    const std::optional<GestureEvent> event = host.feed(samples[i]);
    const size_t collecting = engine.motion_acc.size();
    if (before > 0 && collecting == 0) {
      size_t kept = before;
      if (is_long_enough(before, engine.min_motion_len)) {
        const int padding = std::max(engine.static_window >> 1, 0);
        kept -= std::min(static_cast<size_t>(padding), before);
      }
      const size_t first = i - before;
      const bool recognised = event && engine.result.ending == Ending::kRecognised;
      motions.push_back({samples[first].t,
                         samples[first + std::max<size_t>(kept, 1) - 1].t,
                         recognised ? std::optional(event->gesture) : std::nullopt});
    }
    before = collecting;
  }
  return motions;
}

static Trial try_with(const TrialInput& input, const Circumstances& with) {
  std::vector<RecordedSample> made;
  const auto motions = replay(host_for(input, with), samples_for(input, with, made));
  // Expected gestures are in the recording's own time.
  std::vector<ExpectedGesture> expected = input.expected;
  for (const Repair& repair : with.repairs) {
    if (repair.kind != RepairKind::kTimeUnit) continue;
    for (ExpectedGesture& x : expected) {
      x.begin *= repair.factor;
      x.end *= repair.factor;
    }
  }
  const auto matched = match_gestures(motions, expected);
  Trial trial;
  trial.with = with;
  for (const MatchedGesture& gesture : matched) {
    trial.came += gesture.match == Match::kCame ? 1 : 0;
  }
  for (const JudgedMotion& motion : motions) trial.reported += motion.label ? 1 : 0;
  trial.unexpected = unexpected_reports(motions, matched).size();
  return trial;
}

long gain_of(const Trial& trial, const Trial& base) {
  const auto balance = [](const Trial& t) {
    return static_cast<long>(t.came) - static_cast<long>(t.unexpected);
  };
  return balance(trial) - balance(base);
}

std::vector<Trial> run_trials(const TrialInput& input, const Diagnosis& diagnosis,
                              const std::function<void()>& done) {
  const std::vector<Circumstances> all = circumstances(input, diagnosis);
  std::vector<Trial> trials(all.size());
  std::atomic<size_t> handed_out = 0;
  std::mutex mutex;
  std::exception_ptr failure;
  const auto work = [&] {
    try {
      for (size_t i = handed_out++; i < all.size(); i = handed_out++) {
        trials[i] = try_with(input, all[i]);
        if (done) done();
      }
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex);
      failure = std::current_exception();
    }
  };
  std::vector<std::thread> helpers;
  const unsigned processors = std::max(1u, std::thread::hardware_concurrency());
  helpers.reserve(processors);
  try {
    while (helpers.size() + 1 < processors) helpers.emplace_back(work);
  } catch (const std::system_error&) {
    // Fewer do it as well.
  }
  work();
  for (std::thread& helper : helpers) helper.join();
  if (failure) std::rethrow_exception(failure);
  const Trial base = trials.front();
  std::stable_sort(trials.begin() + 1, trials.end(), [&](const Trial& a, const Trial& b) {
    return std::make_pair(gain_of(a, base), a.came) >
           std::make_pair(gain_of(b, base), b.came);
  });
  return trials;
}

}  // namespace wgr
