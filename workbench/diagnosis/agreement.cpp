#include "diagnosis/agreement.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/rotation.h"

namespace wgr {

// Errors that count as equal, when a simpler explanation may win: a share and a rest.
static constexpr double kNearlyAsGood = 1.35;
static constexpr double kNearlyAsGoodDegrees = 1.0;

// Factors that are tried where the axes are right.
static constexpr double kFactorStep = 1.08;
static constexpr int kFactorSteps = 24;  // to either side, up to about 6

Point3Df mapped(const AxisMap& map, const Point3Df& p) {
  const double from[] = {p.x, p.y, p.z};
  double to[3];
  for (size_t i = 0; i < 3; ++i) {
    to[i] = map.sign[i] * from[static_cast<size_t>(map.axis[i])];
  }
  return {to[0], to[1], to[2]};
}

int changes(const AxisMap& map) {
  int count = 0;
  for (size_t i = 0; i < 3; ++i) {
    if (map.axis[i] != static_cast<int>(i)) ++count;
    if (map.sign[i] < 0) ++count;
  }
  return count;
}

bool is_identity(const AxisMap& map) { return changes(map) == 0; }

int determinant(const AxisMap& map) {
  int moved = 0;
  int sign = 1;
  for (size_t i = 0; i < 3; ++i) {
    if (map.axis[i] != static_cast<int>(i)) ++moved;
    sign *= map.sign[i];
  }
  return moved == 2 ? -sign : sign;  // two moved axes are a swap, three a cycle
}

AxisMap inverse(const AxisMap& map) {
  AxisMap back;
  for (size_t i = 0; i < 3; ++i) {
    back.axis[static_cast<size_t>(map.axis[i])] = static_cast<int>(i);
    back.sign[static_cast<size_t>(map.axis[i])] = map.sign[i];
  }
  return back;
}

AxisMap negated(const AxisMap& map) {
  AxisMap other = map;
  for (int& sign : other.sign) sign = -sign;
  return other;
}

std::optional<AxisMap> acc_alternative(const AxisMap& gyro) {
  if (determinant(gyro) != 1) return std::nullopt;
  const AxisMap acc = inverse(gyro);
  const AxisMap other = negated(acc);
  return changes(other) < changes(acc) ? other : acc;
}

std::string as_text(const AxisMap& map, char letter) {
  std::string text = "(";
  for (size_t i = 0; i < 3; ++i) {
    if (i > 0) text += ", ";
    if (map.sign[i] < 0) text += '-';
    text += letter;
    text += "xyz"[map.axis[i]];
  }
  return text + ")";
}

static double angle_between(const Point3Df& a, const Point3Df& b) {
  const double scale = std::sqrt(squared_length(a) * squared_length(b));
  const double cosine = (a.x * b.x + a.y * b.y + a.z * b.z) / scale;
  return std::acos(std::clamp(cosine, -1.0, 1.0)) * kDegreesPerRadian;
}

// How far off the predicted gravity is, deg.
static double error_of(const Turn& turn, const AxisMap& map, double factor) {
  Point3Df gravity = turn.before;
  for (size_t i = 0; i < turn.rates.size(); ++i) {
    // Seen from the watch the world turns the other way.
    const double scale = -factor * turn.steps[i] / kDegreesPerRadian;
    double R[9];
    rotation_matrix(scale * mapped(map, turn.rates[i]), R);
    gravity = rotate(R, gravity);
  }
  return angle_between(gravity, turn.after);
}

static double mean_error(const std::vector<Turn>& turns, const AxisMap& map,
                         double factor) {
  double sum = 0.0;
  for (const Turn& turn : turns) sum += error_of(turn, map, factor);
  return sum / static_cast<double>(turns.size());
}

std::vector<AxisMap> all_axis_maps() {
  std::vector<AxisMap> maps;
  std::array<int, 3> order = {0, 1, 2};
  do {
    for (int signs = 0; signs < 8; ++signs) {
      AxisMap map;
      map.axis = order;
      for (size_t i = 0; i < 3; ++i) map.sign[i] = (signs >> i) & 1 ? -1 : 1;
      maps.push_back(map);
    }
  } while (std::next_permutation(order.begin(), order.end()));
  return maps;
}

namespace {

struct Explanation {
  AxisMap gyro;
  double factor;
  double error;  // deg
};

}  // namespace

// The changes that a person made by mistake: of the accelerometer's axes where these are
// fewer. Turning all three signs of the accelerometer changes nothing, see above.
static int mistakes(const Explanation& e) {
  int count = changes(e.gyro);
  if (determinant(e.gyro) == 1) count = std::min(count, changes(negated(e.gyro)));
  if (e.factor != 1.0) ++count;
  if (e.factor != 1.0 && e.factor != kDegreesPerRadian) count += 2;
  return count;
}

Agreement compare_sensors(const std::vector<Turn>& turns) {
  Agreement result;
  result.turns = turns.size();
  if (turns.empty()) return result;
  for (const Turn& turn : turns) result.angle += angle_between(turn.before, turn.after);
  result.angle /= static_cast<double>(turns.size());

  std::vector<Explanation> all;
  const auto consider = [&](const AxisMap& map, double factor) {
    all.push_back({map, factor, mean_error(turns, map, factor)});
  };
  for (const AxisMap& map : all_axis_maps()) {
    for (const double factor : {1.0, kDegreesPerRadian}) consider(map, factor);
  }
  for (int step = 1; step <= kFactorSteps; ++step) {
    consider(AxisMap(), std::pow(kFactorStep, step));
    consider(AxisMap(), std::pow(kFactorStep, -step));
  }
  result.error = mean_error(turns, AxisMap(), 1.0);

  const auto least = std::min_element(
      all.begin(), all.end(),
      [](const Explanation& a, const Explanation& b) { return a.error < b.error; });
  const double good_enough = least->error * kNearlyAsGood + kNearlyAsGoodDegrees;
  // Of those that are nearly as good the simplest, and of these the best.
  const Explanation* chosen = nullptr;
  for (const Explanation& e : all) {
    if (e.error > good_enough) continue;
    if (chosen == nullptr || std::make_pair(mistakes(e), e.error) <
                                 std::make_pair(mistakes(*chosen), chosen->error)) {
      chosen = &e;
    }
  }
  for (const Explanation& e : all) {
    if (e.error > good_enough || &e == chosen) continue;
    // Factors beside the chosen one are the same explanation.
    const bool scaled = is_identity(e.gyro) && is_identity(chosen->gyro);
    if (!scaled && mistakes(e) <= mistakes(*chosen) + 1) result.alone = false;
  }
  result.gyro = chosen->gyro;
  result.factor = chosen->factor;
  result.best_error = chosen->error;
  return result;
}

}  // namespace wgr
