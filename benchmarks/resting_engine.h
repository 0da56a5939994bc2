// An engine with a small model, and resting samples to feed it.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "engine/agGes.h"
#include "support/random_points.h"

struct RestingSample {
  Point3Df acc;
  Point3Df gyro;
};

inline constexpr int kRestingSamples = 1000;

// At rest and warm: its histories are full and slide.
class RestingEngine {
 public:
  RestingEngine() {
    RandomPoints random(5);
    for (int i = 0; i < kRestingSamples; ++i) {
      samples_.push_back({{0.05 * random.gaussian(), 0.05 * random.gaussian(), 10.0},
                          {random.gaussian(), random.gaussian(), random.gaussian()}});
    }
    const auto model = std::filesystem::temp_directory_path() / "wgr-benchmark-model";
    Gmodel().write(model.c_str());
    const Point3Df no_bias = {0.0, 0.0, 0.0};
    engine_ = std::make_unique<AgGes>(model.c_str(), wgr::kAccAndGyro, 50, no_bias, -1,
                                      -1, -1, 2.0);
    std::filesystem::remove(model.string() + ".xml");
    feed();
  }

  // All samples, once.
  void feed() {
    for (const RestingSample& sample : samples_) engine_->update(sample.acc, sample.gyro);
  }

  bool at_rest() const { return engine_->motion_acc.empty(); }

 private:
  std::vector<RestingSample> samples_;
  std::unique_ptr<AgGes> engine_;
};
