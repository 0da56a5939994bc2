// Recordings and models for the tests of wgr explain.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "context/WgrContext.h"
#include "explanation/explanation.h"
#include "hostrun/fixed_paths.h"
#include "recording/recording.h"
#include "support/files.h"
#include "support/installed_models.h"
#include "support/motions.h"
#include "support/private_paths.h"

using namespace wgr;

inline constexpr int kRate = 50;  // samples per second
inline constexpr int kClass = 3;

inline std::vector<RecordedSample> recorded(const Stream& stream) {
  std::vector<RecordedSample> samples;
  for (const Pair& pair : stream) {
    samples.push_back({static_cast<double>(samples.size()) / kRate, pair.acc, pair.gyro});
  }
  return samples;
}

// The model that every host run starts with and, unless another is given, uses.
inline void install_default_model(const Gmodel& model) { install_model(1, model); }

inline Explanation explained(const std::string& path, const HostRunOptions& options) {
  Explanation explanation;
  explanation.recording = path;
  explanation.keep_traces = true;
  RecordingReader reader(path);
  Capture quiet;
  explain(options, reader, explanation);
  return explanation;
}

inline Explanation explained(const Stream& stream,
                             const HostRunOptions& options = HostRunOptions()) {
  const TempDirectory directory;
  const std::string path = directory.file("recording.csv");
  write_recording(path, recorded(stream));
  return explained(path, options);
}

// A second of rest, a gesture of 40 samples, more rest. The gesture is closed, and
// reported, at sample 99, the last one of the first three parts.
inline Stream one_gesture(double strength = 6.0) {
  return rest(50) + gesture(20, strength);
}

// A hand that is shaken along x, with a sign for every sample, while it turns to and fro;
// then ten samples of rest.
inline Stream shaking(const std::vector<int>& signs, int samples) {
  Stream stream;
  for (int i = 0; i < samples; ++i) {
    const double push = 20.0 * signs[static_cast<size_t>(i) % signs.size()];
    stream.push_back({{push, 0.0, 10.0}, {0.5, 0.25, i % 2 == 0 ? 200.0 : -200.0}});
  }
  return stream + rest(kSettle);
}

inline std::vector<Cause> every_cause() {
  std::vector<Cause> causes;
  for (size_t i = 0; i < kEndings; ++i) causes.emplace_back(static_cast<Ending>(i));
  for (size_t i = 0; i < kCircumstances; ++i) {
    causes.emplace_back(static_cast<Circumstance>(i));
  }
  return causes;
}
