#include "classifier/HGR.h"

#include <algorithm>
#include <memory>

#include "base/class_codes.h"
#include "classifier/class_threshold.h"
#include "context/WgrLog.h"
#include "dtw/best_match.h"
#include "dtw/similarity.h"
#include "dtw/similarity_matrix.h"

using namespace wgr;

HGR::HGR(int n) : model(new Gmodel()) { model->normalize = n > 0 ? 1 : 0; }

HGR::~HGR() { delete model; }

double HGR::normalize(std::vector<Point3Df>& trace, int k) {
  return scale_to_unit_rms(trace, k);
}

float HGR::cal_simlarity(const std::vector<Point3Df>& a, const std::vector<Point3Df>& b,
                         int k) {
  return dtw_similarity(a, b, k);
}

// The root mean square of the trace; scales it only for a model that compares shapes.
static double measure_strength(const Gmodel& model, Points& trace) {
  if (model.normalize != 0) return scale_to_unit_rms(trace, model.havegravity);
  Points copy = trace;
  return scale_to_unit_rms(copy, model.havegravity);
}

// Whether the score fails the threshold of its class; `otherwise` when the class has
// none of its own. A score must exceed its threshold.
static int fails_threshold(const Gmodel& model, int label, double score, int otherwise) {
  if (model.class_thresholds.empty()) return 0;
  const std::optional<double> threshold = threshold_of(model, label);
  if (threshold) return score <= *threshold ? 1 : 0;
  return otherwise;
}

int HGR::predict(std::vector<Point3Df>& trace, double* strength, double* score,
                 int* reject_flag) {
  const double measured = measure_strength(*model, trace);
  if (strength != nullptr) *strength = measured;

  WgrLogAt(kLogPredict, model->nTemplate, model->nclasses, model->normalize,
           model->havegravity);

  const Match best =
      best_match(trace, model->templates,
                 static_cast<size_t>(std::max(model->nTemplate, 0)), model->havegravity);
  if (score != nullptr) *score = best.score;
  if (best.winner == nullptr) {
    if (reject_flag != nullptr && model->class_thresholds.empty()) *reject_flag = 0;
    return kNoGesture;
  }
  if (reject_flag != nullptr) {
    *reject_flag = fails_threshold(*model, best.winner->first, best.score, *reject_flag);
  }
  return best.winner->first;
}

float* HGR::cal_sim_matrix(const std::vector<std::vector<Point3Df>>& traces, int k) {
  std::unique_ptr<float[]> matrix(new float[traces.size() * traces.size()]);
  similarity_matrix(traces, k, matrix.get());
  return matrix.release();
}
