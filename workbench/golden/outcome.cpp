#include "golden/outcome.h"

#include <cstring>
#include <memory>

#include "WgrInterface.h"
#include "classifier/HGR.h"
#include "cluster/apcluster.h"
#include "context/WgrContext.h"
#include "engine/agGes.h"
#include "engine/reconstruction.h"

namespace wgr {

const char* const kGoldenStageNames[kExactStages] = {
    "stream",         "intake",     "hand",      "accelerometer",
    "reconstruction", "prediction", "clustering"};

static constexpr int kCorrectionOnly = 3;  // an engine mode that cuts but never reports
static constexpr double kStrength = 2.0;   // m/s²
static constexpr size_t kLeastPoints = 8;  // of a trace that is looked at on its own

namespace {

// FNV-1a over numbers, least significant byte first.
class Digest {
 public:
  void add(uint64_t value) {
    for (int i = 0; i < 8; ++i) {
      hash_ = (hash_ ^ (value >> (8 * i) & 0xFF)) * 0x100000001B3u;
    }
  }
  void add(double value) {
    uint64_t bits = 0;
    // NaNs differ in sign and payload between processors, and mean the same.
    if (value == value)
      std::memcpy(&bits, &value, sizeof bits);
    else
      bits = 0x7FF8000000000000u;
    add(bits);
  }
  void add(int value) { add(static_cast<uint64_t>(static_cast<int64_t>(value))); }
  template <class Points>
  void add_all(const Points& points) {
    add(static_cast<uint64_t>(points.size()));
    for (const Point3Df& p : points) {
      add(p.x);
      add(p.y);
      add(p.z);
    }
  }
  uint64_t value() const { return hash_; }

 private:
  uint64_t hash_ = 0xCBF29CE484222325u;
};

}  // namespace

static std::unique_ptr<AgGes> engine_for(const GoldenStream& stream, int work_mode,
                                         int model) {
  auto classifier = std::make_unique<HGR>(0);
  *classifier->model = golden_model(model);
  return std::make_unique<AgGes>(std::move(classifier), work_mode, stream.rate,
                                 stream.bias, -1, -1, -1, kStrength);
}

static void digest_intake(const GoldenStream& stream, Digest& digest,
                          std::vector<std::vector<Point3Df>>& motions) {
  const auto engine = engine_for(stream, kCorrectionOnly, 0);
  size_t collected = 0;
  for (size_t i = 0; i < stream.acc.size(); ++i) {
    engine->update(stream.acc[i], stream.gyro[i]);
    digest.add(engine->static_history.back() ? 1 : 0);
    if (collected > 0 && engine->motion_acc.empty()) {
      digest.add_all(engine->last_motion_acc);
      const auto& motion = engine->last_motion_acc;
      if (motion.size() >= kLeastPoints)
        motions.emplace_back(motion.begin(), motion.end());
    }
    collected = engine->motion_acc.size();
  }
  for (const bool at_rest : engine->static_history) digest.add(at_rest ? 1 : 0);
  digest.add_all(engine->acc_history);
  digest.add_all(engine->gyro_history);
  digest.add_all(engine->motion_acc);
  digest.add_all(engine->motion_gyro);
}

static void digest_hand(const GoldenStream& stream, Digest& digest) {
  Hparams params;
  params.count = 2;
  params.lags = {stream.rate / 5, stream.rate / 2};
  params.thr_x = {0.0, 3.0};
  params.thr_y = {12.0, 3.0};
  params.thr_gyro = {400.0, 50.0};
  WHD one(stream.rate, stream.rate, nullptr);
  WHD both(stream.rate, 2 * stream.rate, &params);
  for (size_t i = 0; i < stream.acc.size(); ++i) {
    digest.add(one.update(stream.acc[i]));
    digest.add(both.update(stream.acc[i], stream.gyro[i]));
  }
}

static void digest_accelerometer(const GoldenStream& stream, Digest& digest) {
  const auto engine = engine_for(stream, kAccOnly, 3);
  for (const Point3Df& acc : stream.acc) {
    engine->update(acc);
    digest.add(engine->gesture_class);
    digest.add(engine->static_history.back() ? 1 : 0);
  }
  digest.add_all(engine->trace);
  digest.add_all(engine->acc_history);
  digest.add_all(engine->motion_acc);
}

// The motions less their mean, without turning them: the later stages on given traces.
static void digest_given_traces(const GoldenStream& stream,
                                std::vector<std::vector<Point3Df>> motions,
                                GoldenOutcome& outcome) {
  Digest reconstruction;
  Digest prediction;
  Digest clustering;
  HGR classifier(0);
  *classifier.model = golden_model(stream.model);
  std::vector<std::vector<Point3Df>> traces;
  for (std::vector<Point3Df>& motion : motions) {
    Point3Df sum = {0, 0, 0};
    for (const Point3Df& p : motion) sum = sum + p;
    const Point3Df mean = sum / static_cast<double>(motion.size());
    for (Point3Df& p : motion) p = p - mean;
    std::vector<Point3Df> active = motion;
    std::vector<Point3Df> velocity;
    std::vector<Point3Df> position;
    reconstruct(active, stream.rate, velocity, position);
    reconstruction.add_all(active);
    reconstruction.add_all(velocity);
    reconstruction.add_all(position);

    motion.push_back(mean);
    double strength = 0.0;
    double score = 0.0;
    int rejected = 0;
    prediction.add(classifier.predict(motion, &strength, &score, &rejected));
    prediction.add(strength);
    prediction.add(score);
    prediction.add(rejected);
    traces.push_back(motion);
  }
  for (size_t i = 0; i < 8; ++i)
    traces.push_back(classifier.model->templates[2 * i].second);
  const std::unique_ptr<float[]> matrix(classifier.cal_sim_matrix(traces, 1));
  const size_t n = traces.size();
  for (size_t i = 0; i < n * n; ++i) clustering.add(static_cast<double>(matrix[i]));
  std::vector<int> exemplars(n, -1);
  AP clusters(500, 50, 1.0, 0.8);
  clustering.add(clusters.cluster(matrix.get(), exemplars.data(), static_cast<int>(n)));
  for (const int exemplar : exemplars) clustering.add(exemplar);
  outcome.digests[kStageReconstruction] = reconstruction.value();
  outcome.digests[kStagePrediction] = prediction.value();
  outcome.digests[kStageClustering] = clustering.value();
}

// Score of the motion that was run last, also of a stretch too short to be compared.
static double score_of(AgGes& engine) {
  if (engine.result.compared()) return engine.result.score;
  if (engine.trace.empty()) return 0.0;
  std::vector<Point3Df> compared = engine.trace;
  compared.push_back(engine.gravity);
  double score = 0.0;
  engine.hgr->predict(compared, nullptr, &score, nullptr);
  return score;
}

static int next_model(int model) { return (model + 1) % (kGoldenModels - 1); }

static void recognise(const GoldenStream& stream,
                      std::vector<GoldenRecognition>& recognitions) {
  const auto engine = engine_for(stream, kAccAndGyro, stream.model);
  engine->set_sensitivity(stream.level);
  bool collecting = false;
  for (size_t i = 0; i < stream.acc.size(); ++i) {
    if (i == stream.switch_at) {
      *engine->hgr->model = golden_model(next_model(stream.model));
    }
    engine->update(stream.acc[i], stream.gyro[i]);
    if (collecting && engine->motion_acc.empty() &&
        engine->result.ending != Ending::kTooShort) {
      const Point3Df last = engine->trace_position.empty()
                                ? Point3Df{0, 0, 0}
                                : engine->trace_position.back();
      recognitions.push_back({static_cast<int>(i), engine->gesture_class,
                              static_cast<int>(engine->trace.size()),
                              engine->recog_cost_time, engine->motion_strength,
                              score_of(*engine), engine->gravity, last});
    }
    if (report_of(engine->gesture_class)) engine->start_afresh();
    collecting = !engine->motion_acc.empty();
  }
}

static void count_event(void*, int, void* events) { ++*static_cast<int*>(events); }

static std::string interface_difference(const GoldenStream& stream,
                                        const std::vector<GoldenRecognition>& expected) {
  WgrHandle handle = new WgrContext(std::make_unique<HGR>(0));
  init_gesture_handle(handle, stream.rate, stream.bias, 0, 0, 0, stream.rate);
  set_gesture_rec_sensitivity(handle, stream.level);
  int called = 0;
  register_gesture_event_cb(handle, count_event, &called);
  Gmodel& model = *static_cast<WgrContext*>(handle)->ages->hgr->model;
  model = golden_model(stream.model);

  std::vector<const GoldenRecognition*> events;
  for (const GoldenRecognition& r : expected) {
    if (r.gesture != kNoGesture) events.push_back(&r);
  }
  std::string difference;
  size_t seen = 0;
  for (size_t i = 0; i < stream.acc.size() && difference.empty(); ++i) {
    if (i == stream.switch_at) model = golden_model(next_model(stream.model));
    const int answer = update_gesture(handle, stream.acc[i], stream.gyro[i]);
    const bool due = seen < events.size() && events[seen]->sample == static_cast<int>(i);
    const int wanted =
        due ? report_of(events[seen]->gesture).value_or(-1) : kNothingReported;
    if (due) ++seen;
    if (answer != wanted || called != static_cast<int>(seen) ||
        (due && (get_motion_strength(handle) != events[seen - 1]->strength ||
                 get_recog_cost_time(handle) != events[seen - 1]->cost_time))) {
      difference = "sample " + std::to_string(i) + ": update_gesture answers " +
                   std::to_string(answer) + ", the engine " + std::to_string(wanted);
    }
  }
  destroy_gesture_handle(&handle);
  return difference;
}

GoldenOutcome golden_outcome(int index) {
  const GoldenStream stream = golden_stream(index);
  GoldenOutcome outcome = {};
  Digest samples;
  samples.add_all(stream.acc);
  samples.add_all(stream.gyro);
  outcome.digests[kStageStream] = samples.value();

  std::vector<std::vector<Point3Df>> motions;
  Digest intake;
  digest_intake(stream, intake, motions);
  outcome.digests[kStageIntake] = intake.value();
  Digest hand;
  digest_hand(stream, hand);
  outcome.digests[kStageHand] = hand.value();
  Digest accelerometer;
  digest_accelerometer(stream, accelerometer);
  outcome.digests[kStageAccelerometer] = accelerometer.value();
  digest_given_traces(stream, std::move(motions), outcome);

  recognise(stream, outcome.recognitions);
  outcome.interface_difference = interface_difference(stream, outcome.recognitions);
  return outcome;
}

}  // namespace wgr
