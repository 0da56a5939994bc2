// Runs a host over a recording from its first sample to its last.
#pragma once

#include <functional>

#include "hostrun/host_run.h"
#include "hostrun/totals.h"
#include "recording/recording.h"

namespace wgr {

// What happened to one sample; `event` is null when it completed no gesture.
struct Step {
  const RecordedSample& sample;
  bool at_rest;
  int wearer;
  const GestureEvent* event;
};

// Feeds every sample to the host, counts into `totals`, and shows each step to the
// observer. A RecordingError leaves with `totals` up to date.
void run_host(HostRun& host_run, SampleSource& samples, Totals& totals,
              const std::function<void(const Step&)>& observe);

// The same with one sample.
void feed_host(HostRun& host_run, const RecordedSample& sample, Totals& totals,
               const std::function<void(const Step&)>& observe);

}  // namespace wgr
