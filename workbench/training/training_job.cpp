#include "training/training_job.h"

#include <algorithm>

namespace wgr {

template <class IsOut>
static TrainingJob without(const TrainingJob& job, IsOut is_out) {
  TrainingJob rest = job;
  const auto remove = [&](std::vector<size_t>& examples) {
    examples.erase(std::remove_if(examples.begin(), examples.end(), is_out),
                   examples.end());
  };
  for (std::vector<size_t>& own : rest.own) remove(own);
  remove(rest.background);
  return rest;
}

TrainingJob without_fold(const TrainingJob& job, size_t fold) {
  return without(job, [&](size_t i) { return job.fold[i] == fold; });
}

TrainingJob only_fold(const TrainingJob& job, size_t fold) {
  return without(job, [&](size_t i) { return job.fold[i] != fold; });
}

bool is_background(const TrainingJob& job, const Judged& judged) {
  return judged.label == static_cast<int>(job.classes.size());
}

}  // namespace wgr
