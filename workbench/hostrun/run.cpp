#include "hostrun/run.h"

namespace wgr {

static void count(const Step& step, Totals& totals) {
  ++totals.samples;
  if (step.at_rest) ++totals.samples_at_rest;
  ++totals.wearer_answers[static_cast<size_t>(step.wearer)];
  if (step.event != nullptr) ++totals.events[step.event->gesture];
  totals.clock.add(step.sample.t);
}

void feed_host(HostRun& host_run, const RecordedSample& sample, Totals& totals,
               const std::function<void(const Step&)>& observe) {
  const std::optional<GestureEvent> event = host_run.feed(sample);
  const Step step = {sample, host_run.at_rest(), host_run.ask_wearer(sample),
                     event ? &*event : nullptr};
  count(step, totals);
  observe(step);
}

void run_host(HostRun& host_run, SampleSource& samples, Totals& totals,
              const std::function<void(const Step&)>& observe) {
  for (RecordedSample sample; samples.next(sample);) {
    feed_host(host_run, sample, totals, observe);
  }
}

}  // namespace wgr
