// A share of what was counted, with the bounds that so many show.
#pragma once

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "base/text.h"
#include "evaluation/confidence.h"

namespace wgr {

inline nlohmann::ordered_json share_json(size_t part, size_t whole) {
  return {{"part", part},
          {"whole", whole},
          {"least", least_share(part, whole)},
          {"most", most_share(part, whole)}};
}

// Of a share that was not counted here.
inline nlohmann::ordered_json share_json(double share, size_t whole) {
  return share_json(static_cast<size_t>(std::lround(share * static_cast<double>(whole))),
                    whole);
}

inline std::string share_text(size_t part, size_t whole) {
  return fmt::format("{} of {}, no less than {} with 95 % confidence",
                     percent(part, whole), whole, percent(least_share(part, whole)));
}

}  // namespace wgr
