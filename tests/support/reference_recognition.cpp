#include "support/reference_recognition.h"

#include "support/reference_reconstruction.h"
#include "support/reference_rotation.h"

using namespace wgr;

namespace reference {

void run(Intake& intake, HGR& classifier, double strength_threshold) {
  correct(intake.work_mode, intake.sample_rate, intake.motion_acc, intake.motion_gyro,
          intake.trace, intake.gravity);
  if (intake.work_mode == 1) {
    if (intake.trace.empty() || (long)intake.trace.size() < intake.min_motion_len) {
      intake.gesture_class = 14;
      return;
    }
    intake.gesture_class = classifier.predict(intake.trace, nullptr, nullptr, nullptr);
    return;
  }
  if (intake.work_mode == 2) {
    if (intake.trace.empty()) {
      intake.gesture_class = 14;
      return;
    }
    reconstruct(intake.sample_rate, intake.trace, intake.trace_velocity,
                intake.trace_position);
    std::vector<Point3Df> copy = intake.trace;
    if (copy.empty() || (long)copy.size() < intake.min_motion_len) {
      intake.gesture_class = 14;
      return;
    }
    copy.push_back(intake.gravity);
    int reject_flag = 0;
    intake.gesture_class =
        classifier.predict(copy, &intake.motion_strength, nullptr, &reject_flag);
    if (intake.motion_strength < strength_threshold) {
      intake.gesture_class = 14;
    } else if (reject_flag != 0) {
      intake.gesture_class = 13;
    }
  }
}

}  // namespace reference
