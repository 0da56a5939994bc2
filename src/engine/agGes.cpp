#include "engine/agGes.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>

#include "base/printing.h"
#include "context/WgrLog.h"
#include "engine/orientation.h"
#include "engine/reconstruction.h"
#include "engine/sensitivity.h"

using namespace wgr;

static constexpr char kModelRoot[] = "/usr/share/";  // working directory of the loading

// Lengths that the caller leaves to the engine, as parts of a second.
static constexpr int kMotionsPerSecond = 2;
static constexpr long long kHistorySeconds = 5;
static constexpr int kWindowsPerSecond = 5;

namespace {

// Restores the working directory when it is destroyed, if it was found at the start.
class KeptWorkingDirectory {
 public:
  KeptWorkingDirectory() : known_(getcwd(path_, sizeof path_) != nullptr) {}
  ~KeptWorkingDirectory() {
    // Nothing can be done about a directory that is gone by now.
    [[maybe_unused]] const int returned = known_ ? chdir(path_) : 0;
  }
  KeptWorkingDirectory(const KeptWorkingDirectory&) = delete;
  KeptWorkingDirectory& operator=(const KeptWorkingDirectory&) = delete;

  const char* path() const { return known_ ? path_ : ""; }

 private:
  char path_[kPathSize] = {};
  bool known_;
};

// Moves an engine's fields into a recognition and back, as far as it got, also when
// memory runs out.
class LentFields {
 public:
  explicit LentFields(AgGes& engine) : engine_(engine) {
    made.gravity = engine.gravity;
    made.result.strength = engine.motion_strength;
    swap_points();
  }
  ~LentFields() {
    swap_points();
    engine_.gravity = made.gravity;
    engine_.motion_strength = made.result.strength;
  }
  LentFields(const LentFields&) = delete;
  LentFields& operator=(const LentFields&) = delete;

  Recognition made;

 private:
  void swap_points() {
    made.trace.swap(engine_.trace);
    made.velocity.swap(engine_.trace_velocity);
    made.position.swap(engine_.trace_position);
  }

  AgGes& engine_;
};

}  // namespace

static void log_working_directory() {
  char path[kPathSize] = {};
  WgrLogAt(kLogEngineCwd, getcwd(path, sizeof path) != nullptr ? path : "");
}

// A host without its default model must not go on; exit status and messages are the
// contract.
[[noreturn]] static void end_without_model(const char* model_path) {
  WgrLogAt(kLogModelFailed, model_path);
  print("Error: can't load file \"%s\"\n", model_path);
  std::exit(0);
}

// A file whose counts no model has counts as missing.
static bool read_model(Gmodel& model, const char* model_path) {
  try {
    return model.read(model_path);
  } catch (const std::length_error&) {
    return false;
  }
}

// A classifier with the model at `model_path`; does not return without it.
static std::unique_ptr<HGR> load_classifier(const char* model_path) {
  print("Load file \"%s\"...\n", model_path);
  const KeptWorkingDirectory before;
  print("-current path: %s\n", before.path());
  // Model paths are absolute, so loading goes on where this fails.
  [[maybe_unused]] const int entered = chdir(kModelRoot);
  log_working_directory();
  print("current path: %s\n", before.path());

  auto classifier = std::make_unique<HGR>(0);
  if (!read_model(*classifier->model, model_path)) end_without_model(model_path);
  print("    OK\n\n");
  WgrLogAt(kLogModelLoaded);
  return classifier;
}

static int length_or(int length, long long otherwise) {
  if (length >= 1) return length;
  return static_cast<int>(std::clamp<long long>(
      otherwise, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

AgGes::AgGes(const char* model_path, int mode, int rate, Point3Df bias, int motion_len,
             int history, int window, double threshold) {
  WgrLogAt(kLogEngineStart);
  init(mode, rate, bias, motion_len, history, window, threshold);
  hgr = load_classifier(model_path).release();
  WgrLogAt(kLogEngineEnd);
}

AgGes::AgGes(std::unique_ptr<HGR> classifier, int mode, int rate, Point3Df bias,
             int motion_len, int history, int window, double threshold)
    : hgr(classifier.release()) {
  init(mode, rate, bias, motion_len, history, window, threshold);
}

AgGes::~AgGes() { delete hgr; }

void AgGes::init(int mode, int rate, Point3Df bias, int motion_len, int history,
                 int window, double threshold) {
  work_mode = mode;
  sample_rate = rate;
  gyro_bias = bias;
  min_motion_len = length_or(motion_len, rate / kMotionsPerSecond);
  history_len = length_or(history, rate * kHistorySeconds);
  static_window = length_or(window, rate / kWindowsPerSecond);
  strength_threshold = threshold;
}

void AgGes::set_sensitivity(int level) {
  const Sensitivity chosen = sensitivity_of(level, sample_rate);
  min_motion_len = chosen.min_motion_len;
  strength_threshold = chosen.strength_threshold;
}

void AgGes::start_afresh() {
  gesture_class = kNoGesture;
  for (Samples* samples :
       {&motion_acc, &motion_gyro, &last_motion_acc, &acc_history, &gyro_history}) {
    samples->clear();
  }
  for (Points* points :
       {&trace, &trace_velocity, &trace_position, &aux_points_a, &aux_points_b}) {
    points->clear();
  }
  static_history.clear();
}

void AgGes::cal_rotation_matrix(Point3Df w, double* R) { rotation_matrix(w, R); }

void AgGes::cal_rotation_theta(const double* R, Point3Df& w) { w = rotation_vector(R); }

void AgGes::cal_first_rot_matrix(double* R) {
  mean_attitude_inverse(motion_gyro, sample_rate, R);
}

void AgGes::acc_correct() {
  gravity = correct(motion_acc, motion_gyro, work_mode, sample_rate, trace);
}

void AgGes::trace_reconstruction() {
  reconstruct(trace, sample_rate, trace_velocity, trace_position);
}

void AgGes::run() {
  LentFields lent(*this);
  recognise(motion_acc, motion_gyro, parameters(), *hgr, lent.made, intermediates);
  result = lent.made.result;
  if (result.ending != Ending::kCorrectedOnly) gesture_class = result.gesture_class;
}
