// The threshold that a score of a class must exceed.
#pragma once

#include <algorithm>
#include <optional>

#include "classifier/Gmodel.h"

namespace wgr {

// None when the model has no thresholds, or does not list the class. Of the same label
// twice the first counts.
inline std::optional<double> threshold_of(const Gmodel& model, int label) {
  const size_t classes =
      std::min({static_cast<size_t>(std::max(model.nclasses, 0)),
                model.class_labels.size(), model.class_thresholds.size()});
  for (size_t c = 0; c < classes; ++c) {
    if (model.class_labels[c] == label) return model.class_thresholds[c];
  }
  return std::nullopt;
}

}  // namespace wgr
