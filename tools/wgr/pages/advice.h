// What the page of a model says first: whether the model is ready, why or why not, what
// is to be kept in mind, and what to do next.
#pragma once

#include <nlohmann/json.hpp>

#include "pages/model_page.h"

namespace wgr {

// {"ready", "headline", "reasons": [{"good", "text"}], "caveats": [text], "next":
// [{"text", "label", "outcome"}], "subjects": [{"name", "right", "examples", "least"}]}.
// Those of `next` that are about two classes name them, to be looked up among the
// examples.
nlohmann::ordered_json advice_json(const PageData& page_data);

}  // namespace wgr
