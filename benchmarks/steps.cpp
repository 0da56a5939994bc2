// Does one kind of work a given number of times, for scripts/count-instructions: the
// instructions of two runs differ by those of the work alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "classifier/HGR.h"
#include "context/WgrLog.h"
#include "dtw/best_match.h"
#include "dtw/similarity.h"
#include "resting_engine.h"
#include "support/motions.h"
#include "support/reference_similarity.h"
#include "traces.h"

using namespace wgr;

static constexpr int kPoints = 50;
static constexpr int kTracePoints = 60;
static constexpr int kTemplates = 20;
static constexpr int kMatrixTraces = 4;
static constexpr char kModel[] = "models/olvo_model_5_mix/hgr_olvo";
static constexpr int kRate = 50;  // samples/s
static constexpr Point3Df kNoBias = {0.0, 0.0, 0.0};

static int usage() {
  std::fputs(
      "usage: steps WORK TIMES\n"
      "WORK: similarity, reference_similarity, predict, reference_predict, matrix, rest, "
      "motion, log, two_log_lines\n"
      "Run it in the project's root: motion takes one of the models there.\n",
      stderr);
  return 2;
}

int main(int argc, char** argv) {
  if (argc != 3) return usage();
  const int times = std::atoi(argv[2]);

  RandomPoints random(1);
  const Points a = noise(random, kPoints);
  const Points b = noise(random, kPoints);
  Points trace = gesture(random, 3, kTracePoints);
  Gmodel model;
  model.havegravity = 1;
  model.templates = templates(random, kTemplates);
  model.nTemplate = kTemplates;
  std::vector<Points> traces;
  for (int i = 0; i < kMatrixTraces; ++i) traces.push_back(any_gesture(random, kPoints));
  HGR classifier(0);
  std::unique_ptr<RestingEngine> engine;
  if (std::strcmp(argv[1], "rest") == 0) engine = std::make_unique<RestingEngine>();

  const std::string model_path = std::filesystem::absolute(kModel).string();
  AgGes motion_engine(model_path.c_str(), kAccAndGyro, kRate, kNoBias, -1, -1, -1, 2.0);
  const Stream motion = rest(2 * kSettle) + gesture(30, 20.0);

  const std::map<std::string, std::function<double()>> works = {
      {"similarity", [&] { return static_cast<double>(dtw_similarity(a, b, 1)); }},
      {"reference_similarity",
       [&] { return static_cast<double>(reference::similarity(a, b, 1)); }},
      {"predict",
       [&] { return best_match(trace, model.templates, kTemplates, 1).score; }},
      {"reference_predict", [&] { return reference::predict(model, trace, 0).score; }},
      {"matrix",
       [&] {
         const std::unique_ptr<float[]> matrix(classifier.cal_sim_matrix(traces, 1));
         return static_cast<double>(matrix[1]);
       }},
      {"rest", [&] { return engine->feed(), 0.0; }},
      {"motion",
       [&] {
         for (const Pair& pair : motion) motion_engine.update(pair.acc, pair.gyro);
         return static_cast<double>(motion_engine.trace.size());
       }},
      {"log", [&] { return WgrLogAt(kLogGestureType, 14), 0.0; }},
      {"two_log_lines",
       [&] {
         HeldSignals held;
         WgrLogAt(held, kLogUpdateStart);
         WgrLogAt(held, kLogGestureType, 14);
         return 0.0;
       }},
  };
  const auto work = works.find(argv[1]);
  if (work == works.end()) return usage();
  double sum = 0.0;
  for (int i = 0; i < times; ++i) sum += work->second();
  std::fprintf(stderr, "%g\n", sum);  // or the work could be left out
  return 0;
}
