#include "training/training_job.h"

#include <algorithm>

namespace wgr {

TrainingJob without_fold(const TrainingJob& job, size_t fold) {
  TrainingJob rest = job;
  const auto out = [&](size_t i) { return job.fold[i] == fold; };
  for (std::vector<size_t>& own : rest.own) {
    own.erase(std::remove_if(own.begin(), own.end(), out), own.end());
  }
  rest.background.erase(
      std::remove_if(rest.background.begin(), rest.background.end(), out),
      rest.background.end());
  return rest;
}

bool is_background(const TrainingJob& job, const Judged& judged) {
  return judged.label == static_cast<int>(job.classes.size());
}

}  // namespace wgr
