#include "cluster/apcluster.h"

#include <cstdio>
#include <cstdlib>

#include "cluster/affinity_propagation.h"

using namespace wgr;

// Each is printed with one line break more.
static constexpr char kBadMaxits[] = "\tERROR: maxits must be a positive integer";
static constexpr char kBadConvits[] = "\tERROR: convits must be a positive integer";
static constexpr char kBadPreference[] = "\tERROR: preference must be a positive value";
static constexpr char kBadDampfact[] = "\tERROR: dampfact must be >= 0.5 and < 1";
static constexpr char kLargeDampfact[] = "\tWarning: Large damping factor in use\n";
static constexpr char kLargeRequest[] =
    "\tWarning: Large memory request. Consider activating\n"
    "\the sparse version of APCLUSTER\n";  // the missing t belongs to the text
static constexpr char kNoExemplarText[] = "    Warning: Number of cluster is zeros";
static constexpr char kNotConvergedText[] =
    "    Warning: Algorithm did not converge. The similarities\n"
    "    may contain degeneracies - add noise to the similarities\n"
    "    to remove degeneracies. To monitor the net similarity,\n"
    "    activate plotting. Also, consider increasing maxits and\n"
    "    if necessary dampfact.\n";

static constexpr double kLeastDampfact = 0.5;
static constexpr double kNotableDampfact = 0.9;  // above it, a warning
static constexpr int kNotablePoints = 3000;      // above it, a warning

[[noreturn]] static void end_with(const char* message) {
  std::puts(message);
  std::exit(0);
}

AP::AP(int iterations, int stable_iterations, double multiplier, double damping)
    : maxits(iterations),
      convits(stable_iterations),
      preference(multiplier),
      dampfact(damping) {
  if (maxits < 1) end_with(kBadMaxits);
  if (convits < 1) end_with(kBadConvits);
  if (preference < 0.0) end_with(kBadPreference);
  if (dampfact < kLeastDampfact || dampfact >= 1.0) end_with(kBadDampfact);
  if (dampfact > kNotableDampfact) std::puts(kLargeDampfact);
}

int AP::cluster(float* s, int* idx, int n) {
  if (n > kNotablePoints) std::puts(kLargeRequest);
  const int exemplars =
      affinity_propagation({maxits, convits, preference, dampfact}, s, idx, n);
  if (exemplars == kNotConverged) std::puts(kNotConvergedText);
  if (exemplars == 0 && n > 1) std::puts(kNoExemplarText);
  return exemplars;
}
