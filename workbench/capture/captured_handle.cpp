#include "capture/captured_handle.h"

#include <cmath>
#include <new>
#include <sstream>
#include <stdexcept>

#include "WgrInterface.h"

namespace wgr {

using namespace wgr::capture;

void CapturedHandle::Destroy::operator()(WgrContext* context) const {
  WgrHandle handle = context;
  destroy_gesture_handle(&handle);
}

static WgrContext* context_with(const Gmodel& model) {
  auto classifier = std::make_unique<HGR>(0);
  *classifier->model = model;
  return new WgrContext(std::move(classifier));
}

CapturedHandle::CapturedHandle(const Gmodel& model) : handle_(context_with(model)) {}

CapturedHandle::CapturedHandle(const CaptureRecord& recorded,
                               const std::optional<Gmodel>& model)
    : handle_(context_with(model.value_or(Gmodel()))) {
  const InitArguments& init = recorded.init;
  if ((recorded.flags & kInitialised) != 0) {
    init_gesture_handle(handle(), init.sample_rate, init.gyro_bias, init.min_motion_len,
                        init.history_len, init.static_window, init.hand_window_len);
  }
  if ((recorded.flags & kSensitivitySet) != 0) {
    set_gesture_rec_sensitivity(handle(), recorded.value);
  }
  lose_state();
  model_known_ = model.has_value() && (recorded.flags & kUnknownOrigin) == 0;
  context().ages->motion_strength = recorded.number;
  context().ages->recog_cost_time = recorded.cost_time;
  figures_known_ = !std::isnan(recorded.number) && !std::isnan(recorded.cost_time);
}

void CapturedHandle::use_model(const std::optional<Gmodel>& model) {
  *context().ages->hgr->model = model.value_or(Gmodel());
  model_known_ = model.has_value();
}

void CapturedHandle::lose_state() {
  known_ = figures_known_ = false;
  wearer_lost_ = true;
  samples_ = wearer_samples_ = 0;
}

void CapturedHandle::before_sample() {
  collecting_ = !context().ages->motion_acc.empty();
  // From the first sample on a recognition may have come of what is not known.
  if (!known_) figures_known_ = false;
}

void CapturedHandle::after_sample() {
  const AgGes& engine = *context().ages;
  ++samples_;
  // What ends a recognition before the comparison leaves the figures of the one before.
  const bool compared = collecting_ && engine.motion_acc.empty() &&
                        engine.result.ending >= Ending::kTooWeak;
  if (known_ && compared) figures_known_ = true;
  if (known_ || engine.static_window < 0) return;
  known_ = samples_ >= engine.static_window + 2LL && engine.motion_acc.empty() &&
           !engine.static_history.empty() && engine.static_history.back();
}

void CapturedHandle::after_report() {
  // Also when the state is thought to be known: the report may have been missed here, and
  // with it that everything was emptied.
  context().ages->start_afresh();
  known_ = true;
}

bool CapturedHandle::wearer_known() const {
  return !wearer_lost_ || wearer_samples_ >= context().whd->window_len;
}

std::optional<Gmodel> model_of(const CapturedModel* captured) {
  if (captured == nullptr || captured->content.size() != captured->size) {
    return std::nullopt;
  }
  Gmodel model;
  if ((captured->flags & kModelMissing) != 0) return model;
  std::istringstream text(captured->content);
  try {
    model.read(text);
  } catch (const std::length_error&) {
    return Gmodel();
  } catch (const std::bad_array_new_length&) {
    return Gmodel();
  }
  return model;
}

}  // namespace wgr
