// Engines for tests: made with a model of the test's choice, without their printing.
#pragma once

#include <memory>

#include "engine/agGes.h"
#include "support/files.h"
#include "support/motions.h"
#include "support/private_paths.h"

inline std::unique_ptr<AgGes> quiet_engine(int work_mode = 2,
                                           const Gmodel& model = small_model(3, -1e9)) {
  const TempDirectory directory;
  const std::string path = directory.file("model");
  EXPECT_TRUE(model.write(path.c_str()));
  Capture printing;
  return std::make_unique<AgGes>(path.c_str(), work_mode, 50, Point3Df{0, 0, 0}, -1, -1,
                                 -1, 2.0);
}

inline void feed(AgGes& engine, const Stream& stream) {
  for (const Pair& pair : stream) engine.update(pair.acc, pair.gyro);
}

inline void feed_acc(AgGes& engine, const Stream& stream) {
  for (const Pair& pair : stream) engine.update(pair.acc);
}
