#include "synthesis/wrist_motion.h"

#include <algorithm>

#include "synthesis/trigonometry.h"

namespace wgr {

static constexpr double kTurn = 6.283185307179586;
static constexpr double kLongestFade = 0.6;  // s
static constexpr double kFadeShare = 0.25;   // of a short wave

double smooth_step(double share) {
  if (share <= 0.0) return 0.0;
  if (share >= 1.0) return 1.0;
  return share * share * share * (10.0 + share * (6.0 * share - 15.0));
}

static double value(const Piece& piece, double t) {
  const double length = piece.end - piece.begin;
  const double share = (t - piece.begin) / length;
  if (share <= 0.0) return 0.0;
  if (share >= 1.0) return piece.shape == Shape::kStep ? piece.amount : 0.0;
  switch (piece.shape) {
    case Shape::kStep:
      return piece.amount * smooth_step(share);
    case Shape::kBump: {
      const double arch = 4.0 * share * (1.0 - share);
      return piece.amount * (arch * arch * arch);
    }
    case Shape::kSine:
      return piece.amount * sine(kTurn * piece.cycles * smooth_step(share));
    case Shape::kCosine:
      return piece.amount * 0.5 *
             (1.0 - cosine(kTurn * piece.cycles * smooth_step(share)));
    case Shape::kWave: {
      const double fade = std::min(kLongestFade, kFadeShare * length);
      const double envelope =
          smooth_step((t - piece.begin) / fade) * smooth_step((piece.end - t) / fade);
      return piece.amount * envelope * sine(kTurn * piece.cycles * share + piece.phase);
    }
  }
  return 0.0;
}

Placement WristMotion::at(double t) const {
  Placement placement = settled_;
  for (const Piece& piece : pieces_) {
    if (piece.begin > t) break;
    placement[piece.channel] += value(piece, t);
  }
  return placement;
}

void WristMotion::forget_before(double t) {
  const auto over = [&](const Piece& piece) {
    if (piece.end > t) return false;
    if (piece.shape == Shape::kStep) settled_[piece.channel] += piece.amount;
    return true;
  };
  pieces_.erase(std::remove_if(pieces_.begin(), pieces_.end(), over), pieces_.end());
}

void WristMotion::sort() {
  std::stable_sort(pieces_.begin(), pieces_.end(),
                   [](const Piece& a, const Piece& b) { return a.begin < b.begin; });
}

}  // namespace wgr
