// A handle of a capture, made again, and what is known of its state.
//
// A capture may begin when the handle is already in use, or have a gap. The state then is
// not known at first; it is as soon as nothing of the past bears on it: the wrist rests
// and the rest window has filled with known samples, or a report has emptied everything.
#pragma once

#include <memory>
#include <optional>

#include "capture/capture_reader.h"
#include "classifier/Gmodel.h"
#include "context/WgrContext.h"

namespace wgr {

class CapturedHandle {
 public:
  // As it was made by create_gesture_handle().
  explicit CapturedHandle(const Gmodel& model);
  // As a kHandle record describes it.
  CapturedHandle(const CaptureRecord& recorded, const std::optional<Gmodel>& model);

  WgrHandle handle() const { return handle_.get(); }
  WgrContext& context() const { return *handle_; }
  void use_model(const std::optional<Gmodel>& model);

  // Something is missing: the state is not known any more.
  void lose_state();

  // Around update_gesture(); `reported`: it reported a gesture when it was recorded.
  void before_sample();
  void after_sample();
  void after_report();
  // A motion was recognised from a state that is known.
  void recognised() { figures_known_ = true; }

  bool is_known() const { return known_ && model_known_; }
  bool figures_known() const { return figures_known_ && model_known_; }
  bool wearer_known() const;

  // While update_gesture() is called with it: it has to stay.
  int calls = 0;

  void count_wearer() { ++wearer_samples_; }

 private:
  struct Destroy {
    void operator()(WgrContext* context) const;
  };

  std::unique_ptr<WgrContext, Destroy> handle_;
  bool known_ = true;
  bool figures_known_ = true;  // the last recognition's
  bool model_known_ = true;
  bool wearer_lost_ = false;
  bool collecting_ = false;  // before the sample
  long long samples_ = 0;    // since the state was lost
  long long wearer_samples_ = 0;
};

// A model's content as the library loads it; nothing when it is not all there. What the
// library would not take leaves the empty model.
std::optional<Gmodel> model_of(const CapturedModel* model);

}  // namespace wgr
