// A prediction for a motion of 60 points, without its log line: on a model as builders
// make them, and on one that gives nothing away beforehand.
#include "against_reference.h"
#include "dtw/best_match.h"
#include "support/reference_similarity.h"
#include "traces.h"

using namespace wgr;

static constexpr int kTraces = 16;
static constexpr int kTracePoints = 60;

namespace {

struct Task {
  Points trace;
  Gmodel model;
};

}  // namespace

static void predict_all(benchmark::State& state, const std::vector<Task>& tasks) {
  compare(
      state, static_cast<double>(tasks.size()),
      [&] {
        for (const Task& task : tasks) {
          Points trace = task.trace;
          benchmark::DoNotOptimize(reference::predict(task.model, trace, 0));
        }
      },
      [&] {
        for (const Task& task : tasks) {
          const Templates& templates = task.model.templates;
          benchmark::DoNotOptimize(
              best_match(task.trace, templates, templates.size(), 1));
        }
      });
}

template <class MakeTemplates>
static std::vector<Task> tasks(const MakeTemplates& make_templates) {
  RandomPoints random(2);
  std::vector<Task> all(kTraces);
  for (Task& task : all) {
    task.trace = any_gesture(random, kTracePoints);
    task.model.havegravity = 1;
    task.model.templates = make_templates(random, task.trace);
    task.model.nTemplate = static_cast<int>(task.model.templates.size());
  }
  return all;
}

static void predict(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  predict_all(state, tasks([&](RandomPoints& random, const Points&) {
                return templates(random, count);
              }));
}
BENCHMARK(predict)->Arg(20)->Arg(100)->Arg(200)->UseManualTime()->Iterations(11);

static void predict_without_giving_up(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  predict_all(state, tasks([&](RandomPoints& random, const Points& trace) {
                return deceptive_templates(random, trace, count);
              }));
}
BENCHMARK(predict_without_giving_up)
    ->Arg(20)
    ->Arg(100)
    ->Arg(200)
    ->UseManualTime()
    ->Iterations(11);
