// The gesture engine: finds the motions in the stream and classifies them.
//
// Accelerations are m/s² with gravity in them, angular velocities deg/s. The engine does
// not check its arguments; operations return nothing and leave their results in fields.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

#include "WgrTypes.h"
#include "base/class_codes.h"
#include "classifier/HGR.h"
#include "engine/WHD.h"
#include "engine/recognition.h"
#include "engine/rotation.h"

namespace wgr {

// Of the working directory that is put back, characters, terminator included.
inline constexpr std::size_t kPathSize = 256;

}  // namespace wgr

class AgGes {
 public:
  // Loads the model at model_path (+ ".xml"), with "/usr/share/" as the process's
  // working directory meanwhile. Ends the process with exit status 0, after messages
  // to log and standard output, when it cannot be loaded. A length below 1 means its
  // default: sample_rate / 2, sample_rate * 5 and sample_rate / 5.
  AgGes(const char* model_path, int work_mode, int sample_rate, Point3Df gyro_bias,
        int min_motion_len, int history_len, int static_window,
        double strength_threshold);

  // The same with an existing classifier: nothing is read.
  AgGes(std::unique_ptr<HGR> classifier, int work_mode, int sample_rate,
        Point3Df gyro_bias, int min_motion_len, int history_len, int static_window,
        double strength_threshold);
  ~AgGes();
  AgGes(const AgGes&) = delete;
  AgGes& operator=(const AgGes&) = delete;

  // Sets the parameters, as the constructor does, and nothing else.
  void init(int work_mode, int sample_rate, Point3Df gyro_bias, int min_motion_len,
            int history_len, int static_window, double strength_threshold);

  // Sets how short and how weak a motion may be, by one of the interface's levels at the
  // sample rate in force; see sensitivity.h.
  void set_sensitivity(int level);

  // Forgets everything collected, and the class of the last motion; its strength,
  // duration and gravity stay.
  void start_afresh();

  // Takes one sample of both sensors, gyro with its bias still in it. A motion that
  // this sample ends is recognised at once. Refused, with a message on standard
  // output, in mode 1.
  void update(Point3Df acc, Point3Df gyro);

  // The same from the accelerometer alone. Refused in modes 2 and 3.
  void update(Point3Df acc);

  // Shortens the histories to their newest static_window entries.
  void clear_buf();

  // Whether the wrist is at rest over the newest static_window samples. With both
  // sensors it moves only while both show motion.
  bool is_static();

  // Recognises the collected motion: sets result, gesture_class and, with both sensors,
  // motion_strength.
  void run();

  // What a recognition depends on besides the motion and the classifier.
  wgr::RecognitionParameters parameters() const {
    return {work_mode, sample_rate, min_motion_len, strength_threshold};
  }

  // Step one: motion_acc and motion_gyro to trace and gravity.
  void acc_correct();

  // Step two: trace to its active stretch, trace_velocity and trace_position.
  void trace_reconstruction();

  // See rotation.h and orientation.h; R is 3x3, row-major.
  void cal_rotation_matrix(Point3Df w, double* R);
  void cal_rotation_theta(const double* R, Point3Df& w);
  void cal_first_rot_matrix(double* R);

  int work_mode;              // 1: accelerometer only, 2: accelerometer and gyroscope
  int sample_rate;            // samples per second
  int static_window;          // samples of the rest test; half of it is the padding
  int min_motion_len;         // shortest motion that is recognised, samples
  int history_len;            // capacity of the histories, samples
  double strength_threshold;  // least motion strength accepted, m/s²
  Point3Df gyro_bias;         // deg/s
  Point3Df gravity = {0.0, 0.0, 0.0};    // of the last motion, in its mean frame, m/s²
  Point3Df aux_point = {0.0, 0.0, 0.0};  // unused
  std::deque<Point3Df> motion_acc;       // the motion being collected, m/s²
  std::deque<Point3Df> motion_gyro;      // in step with it, bias taken off, deg/s
  std::deque<Point3Df> last_motion_acc;  // motion_acc when a motion was last closed
  std::vector<Point3Df> trace;           // the last motion without gravity, m/s²
  std::vector<Point3Df> trace_velocity;  // of the active stretch, m/s
  std::vector<Point3Df> trace_position;  // of the active stretch, m
  std::vector<Point3Df> aux_points_a;    // unused
  std::vector<Point3Df> aux_points_b;    // unused
  std::deque<Point3Df> acc_history;      // newest samples, m/s²
  std::deque<Point3Df> gyro_history;     // in step with it, bias taken off, deg/s
  std::deque<bool> static_history;       // in step with it; true: at rest
  int gesture_class = wgr::kNoGesture;   // of the last recognition
  double motion_strength = 0.0;          // of the last two-sensor recognition, m/s²
  double recog_cost_time = 0.0;          // duration of the last trace, ms
  HGR* hgr = nullptr;                    // owned
  wgr::RecognitionResult result;         // of the last motion
  // Of later recognitions, to explain them; none by default.
  wgr::Intermediates* intermediates = nullptr;

 private:
  // What the two intakes share; see intake.cpp.
  int padding() const;
  bool mark_newest();
  template <class... Intakes>
  bool collect(const Intakes&... intakes);
};
