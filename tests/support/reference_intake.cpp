#include "support/reference_intake.h"

#include <climits>
#include <cstddef>

#include "support/reference_rest.h"

namespace reference {

namespace {
const Point3Df kZero{0, 0, 0};

Point3Df at_or_zero(const std::deque<Point3Df>& queue, long i) {
  if (i < 0 || i >= (long)queue.size()) return kZero;
  return queue[(size_t)i];
}

// As far as an int goes.
int five_times(int rate) {
  if (rate > INT_MAX / 5) return INT_MAX;
  if (rate < INT_MIN / 5) return INT_MIN;
  return rate * 5;
}

template <class Queue>
void drop_oldest(Queue& queue) {
  if (!queue.empty()) queue.pop_front();
}

void drop_newest(std::deque<Point3Df>& queue, int count) {
  for (int i = 0; i < count && !queue.empty(); ++i) queue.pop_back();
}
}  // namespace

void Intake::init(int mode, int rate, Point3Df bias, int min_len, int hist_len,
                  int window) {
  work_mode = mode;
  sample_rate = rate;
  gyro_bias = bias;
  min_motion_len = min_len < 1 ? rate / 2 : min_len;
  history_len = hist_len < 1 ? five_times(rate) : hist_len;
  static_window = window < 1 ? rate / 5 : window;
}

// Half the rest window, rounded toward minus infinity.
int Intake::half_window() const {
  int h = static_window / 2;
  if (static_window % 2 == -1) h -= 1;
  return h;
}

void Intake::handle_transition(bool cur) {
  const long h = half_window();
  const long L = (long)motion_acc.size();
  const long n = (long)acc_history.size();
  if ((long)static_history.size() < h) return;
  if (static_history.size() < 2) return;
  const bool prev = static_history[(size_t)(n - 2)];
  if (cur == prev) return;
  if (cur && L < min_motion_len) {
    long j = 0;
    if (n - L > 1) j = n - L - 1;
    for (long i = j; i <= n - 2; ++i) static_history[(size_t)i] = true;
  } else {
    for (long i = n - h; i <= n - 2; ++i) {
      if (i >= 0) static_history[(size_t)i] = cur;
    }
  }
}

void Intake::update(Point3Df acc, Point3Df gyro) {
  if (work_mode == 1) {
    ++refused;
    return;
  }
  gyro.x = gyro.x - gyro_bias.x;
  gyro.y = gyro.y - gyro_bias.y;
  gyro.z = gyro.z - gyro_bias.z;

  if ((long)acc_history.size() == (long)history_len) {
    drop_oldest(acc_history);
    drop_oldest(gyro_history);
    drop_oldest(static_history);
  }
  acc_history.push_back(acc);
  gyro_history.push_back(gyro);
  const bool cur = is_static(work_mode, static_window, acc_history, gyro_history);
  static_history.push_back(cur);

  const long h = half_window();
  const long n = (long)acc_history.size();
  const long L = (long)motion_acc.size();
  handle_transition(cur);

  if (!cur) {
    if (motion_acc.empty()) {
      for (long i = n - h; i <= n - 2; ++i) {
        motion_acc.push_back(at_or_zero(acc_history, i));
        motion_gyro.push_back(at_or_zero(gyro_history, i));
      }
    }
    motion_acc.push_back(acc);
    motion_gyro.push_back(gyro);
    return;
  }

  if (L >= (long)min_motion_len) {
    drop_newest(motion_acc, (int)h);
    drop_newest(motion_gyro, (int)h);
    ++recognitions;
    recognise(*this);
    recog_cost_time = (double)trace.size() * 1000.0 / (double)sample_rate;
  }
  last_motion_acc = motion_acc;
  motion_acc.clear();
  motion_gyro.clear();
}

void Intake::update(Point3Df acc) {
  if (work_mode == 2 || work_mode == 3) {
    ++refused;
    return;
  }
  if ((long)acc_history.size() == (long)history_len) clear_buf();
  acc_history.push_back(acc);
  const bool cur = is_static(work_mode, static_window, acc_history, gyro_history);
  static_history.push_back(cur);

  const long h = half_window();
  const long n = (long)acc_history.size();
  const long L = (long)motion_acc.size();
  handle_transition(cur);

  if (!cur) {
    if (motion_acc.empty()) {
      for (long i = n - h; i <= n - 2; ++i) {
        motion_acc.push_back(at_or_zero(acc_history, i));
      }
    }
    motion_acc.push_back(acc);
    return;
  }

  if (L >= (long)min_motion_len) {
    drop_newest(motion_acc, (int)h);
    ++recognitions;
    recognise(*this);
  }
  motion_acc.clear();
}

void Intake::clear_buf() {
  const long S = (long)acc_history.size();
  const long N = static_window;
  if (N < 0 || !(S > N)) return;
  for (long i = 0; i <= N - 1; ++i) {
    acc_history[(size_t)i] = acc_history[(size_t)(S - N + i)];
    static_history[(size_t)i] = static_history[(size_t)(S - N + i)];
    if (!gyro_history.empty() && i < (long)gyro_history.size()) {
      gyro_history[(size_t)i] = at_or_zero(gyro_history, S - N + i);
    }
  }
  acc_history.resize((size_t)N, kZero);
  if (!gyro_history.empty()) gyro_history.resize((size_t)N, kZero);
  static_history.resize((size_t)N, false);
}

}  // namespace reference
