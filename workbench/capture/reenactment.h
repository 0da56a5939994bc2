// Makes every call of a capture again on the library of this program, and compares every
// answer, callback and query.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "capture/capture_reader.h"

namespace wgr {

struct AnswerDifference {
  std::uint64_t offset;  // of the record, in the file
  double t;              // s since the capture's start
  std::uint32_t handle;
  std::uint8_t call;  // the tag of its record; kCallback for a report
  double recorded;    // an answer; kNoAnswer for a report that did not come
  double now;
};
inline constexpr double kNoAnswer = -1e300;

struct ReenactmentTotals {
  std::uint64_t answers = 0;    // that were compared
  std::uint64_t differing = 0;  // of them
  std::uint64_t last_bits = 0;  // not counted as differing: another processor's rounding
  std::uint64_t not_compared = 0;  // what they rest on is not in the capture
  std::uint64_t unanswered = 0;    // calls that had not ended when the recording did
  std::uint64_t samples = 0;
  std::uint64_t callbacks = 0;
  std::uint64_t marks = 0;
  std::uint64_t missed = 0;  // calls that could not be recorded
  std::uint64_t gaps = 0;
  std::uint64_t injected = 0;  // of the samples
  double seconds = 0.0;
  std::set<std::uint32_t> handles;
  std::set<std::uint32_t> threads;
  std::vector<AnswerDifference> first;  // of the differing ones
  bool ended_without_model = false;     // the library ended the host, or would have
};

// `other_processor`: figures may differ in the last bits.
ReenactmentTotals reenact(CaptureReader& reader, bool other_processor);

}  // namespace wgr
