// How many random cases a property test compares with the reference implementation.
//
// A million; a twentieth of that under a sanitizer. WGR_CASES in the environment says
// otherwise: fewer where every step is slow (valgrind, emulation), more for a long run.
// Every case has a seed of its own, its number, so a failure is found again alone.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

inline std::uint64_t property_cases() {
#if defined(WGR_SANITIZED)
  constexpr std::uint64_t kUsual = 50'000;
#else
  constexpr std::uint64_t kUsual = 1'000'000;
#endif
  const char* const wanted = std::getenv("WGR_CASES");
  if (wanted == nullptr || *wanted == '\0') return kUsual;
  char* end = nullptr;
  const std::uint64_t cases = std::strtoull(wanted, &end, 10);
  if (*end != '\0' || cases == 0) {
    throw std::invalid_argument("WGR_CASES must be a number of cases above 0, not \"" +
                                std::string(wanted) + "\"");
  }
  return cases;
}

// A test that counts how often something rare was met can expect so only of a full run.
inline bool enough_cases() { return property_cases() >= 50'000; }

// Of what a test has when a step takes its usual time, as much as it can afford: a
// quarter where a step takes fifty times as long (valgrind).
inline int affordable(int usual) { return property_cases() < 2'000 ? usual / 4 : usual; }

// Where every step takes ten times as long or more (valgrind, emulation), tests leave out
// lengths and repetitions that reach no other code.
inline bool slow_here() { return property_cases() < 20'000; }
