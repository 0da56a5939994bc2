#include "context/WgrContext.h"

#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/class_codes.h"
#include "context/WgrLog.h"

using namespace wgr;

const char c_GmodelPath[kWearers * kModes][100] = {
    "/usr/share/GestureModel/olvo_model_5_ow/hgr_olvo",
    "/usr/share/GestureModel/olvo_model_5_fb/hgr_olvo",
    "/usr/share/GestureModel/olvo_model_5_mix/hgr_olvo",
    "/usr/share/GestureModel/olvo_model_5r_ow/hgr_olvo",
    "/usr/share/GestureModel/olvo_model_5r_fb/hgr_olvo",
    "/usr/share/GestureModel/olvo_model_5r_mix/hgr_olvo",
};

static constexpr int kDefaultRate = 50;           // samples per second
static constexpr int kDefaultHandWindow = 50;     // samples
static constexpr double kDefaultThreshold = 2.0;  // m/s²
static constexpr int kUseDefault = -1;            // a length the engine chooses itself

static constexpr int kWearerUndecided = 2;
static constexpr int kWearerResults[kWearers] = {0, 1};

static std::unique_ptr<WHD> new_detector() {
  return std::make_unique<WHD>(kDefaultRate, kDefaultHandWindow, nullptr);
}

// `model` is its path, or a classifier that has it.
template <class Model>
static AgGes* new_engine(Model model) {
  return new AgGes(std::move(model), kAccOnly, kDefaultRate, {0.0, 0.0, 0.0}, kUseDefault,
                   kUseDefault, kUseDefault, kDefaultThreshold);
}

WgrContext::WgrContext() {
  WgrLogAt(kLogContextStart);
  auto detector = new_detector();
  ages = new_engine(c_GmodelPath[kDefaultModel]);
  whd = detector.release();
  WgrLogAt(kLogContextEnd);
}

WgrContext::WgrContext(std::unique_ptr<HGR> classifier) {
  WgrLogAt(kLogContextStart);
  auto detector = new_detector();
  ages = new_engine(std::move(classifier));
  whd = detector.release();
  WgrLogAt(kLogContextEnd);
}

WgrContext::~WgrContext() {
  delete whd;
  delete ages;
}

int WgrContext::init_gesture_handle(int sample_rate, Point3Df gyro_bias,
                                    int min_motion_len, int history_len,
                                    int static_window, int hand_window_len) {
  whd->init(sample_rate, hand_window_len);
  ages->init(kAccAndGyro, sample_rate, gyro_bias, min_motion_len, history_len,
             static_window, kDefaultThreshold);
  WgrLogAt(kLogInitDone);
  return 0;
}

// A classifier with the model at `path`, or with the empty model when there is none.
static HGR* load_classifier(const char* path) {
  auto classifier = std::make_unique<HGR>(0);
  try {
    classifier->model->read(path);
  } catch (const std::length_error&) {
    // Counts that no model has: drop the half-read record.
    *classifier->model = Gmodel();
  } catch (const std::bad_array_new_length&) {
    // The file does not hold what it announces, so memory is not the cause.
    *classifier->model = Gmodel();
  }
  return classifier.release();
}

int WgrContext::set_gesture_model(WgWatchWearer wearer, WgWorkMode mode) {
  if (wearer < 0 || wearer >= kWearers || mode < 0 || mode >= kModes) return 1;
  const char* path = c_GmodelPath[kModes * wearer + mode];
  WgrLogAt(kLogSetModel, static_cast<int>(wearer), static_cast<int>(mode), path);
  if (ages->hgr != nullptr) {
    HGR* fresh = load_classifier(path);
    delete ages->hgr;
    ages->hgr = fresh;
  }
  WgrLogAt(kLogSetModelDone);
  return 0;
}

void WgrContext::set_logging(bool on) { wgr::set_logging(on); }

int WgrContext::update_handtype(Point3Df acc) {
  const int wrist = whd->update(acc);
  return wrist == 0 || wrist == 1 ? kWearerResults[wrist] : kWearerUndecided;
}

namespace {

// The duration of a report. At its end the engine starts afresh, however the callback
// ends: a gesture is reported once.
class Report {
 public:
  Report(AgGes& engine, bool& reporting) : engine_(engine), reporting_(reporting) {
    reporting_ = true;
  }
  ~Report() {
    engine_.start_afresh();
    reporting_ = false;
  }
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;

 private:
  AgGes& engine_;
  bool& reporting_;
};

}  // namespace

// The engine's class after one more sample pair.
int WgrContext::take_in(Point3Df acc, Point3Df gyro) {
  HeldSignals held;  // ends before the callback runs
  WgrLogAt(held, kLogUpdateStart);
  ages->update(acc, gyro);
  WgrLogAt(held, kLogGestureType, ages->gesture_class);
  return ages->gesture_class;
}

int WgrContext::update_gesture(Point3Df acc, Point3Df gyro) {
  if (reporting_) return kNothingReported;
  const std::optional<int> gesture = report_of(take_in(acc, gyro));
  if (!gesture) return kNothingReported;
  const Report report(*ages, reporting_);
  if (event_cb != nullptr) event_cb(this, *gesture, user_data);
  return *gesture;
}
