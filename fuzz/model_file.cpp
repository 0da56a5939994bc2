// A model file of any content, and a prediction with what was read from it.
//
// The bytes are the file; behind the first byte 255, which is no text, they are the trace
// that is predicted. Reading and prediction are compared with the reference
// implementation, and what was read is written and read again.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "classifier/HGR.h"
#include "dtw/dtw.h"
#include "harness.h"
#include "input.h"
#include "limited_memory.h"
#include "places.h"
#include "preflight/model_check.h"
#include "support/reference_model_file.h"
#include "support/reference_similarity.h"
#include "support/same_bits.h"

using namespace wgr;

static const std::string kPath = std::string(kModelRootDirectory) + "/fuzzed";
static const std::string kWrittenPath = std::string(kModelRootDirectory) + "/written";
static constexpr std::size_t kMemory = 1 << 18;    // bytes for a model
static constexpr std::size_t kMostCells = 200000;  // of all warping tables together
static constexpr std::size_t kLongestLine = 4095;  // characters that the reader takes
static constexpr std::size_t kLongestTrace = 40;   // points
static constexpr int kFlagBefore = 7;

static Points trace_of(Input input) {
  // A push and a stop, and the direction of gravity.
  if (input.empty()) {
    return {{1, 0, 0}, {2, 0.5, 0}, {1, 0, 0.25}, {-1, 0, 0}, {-2, 0, 0}, {0, 0, 9.8}};
  }
  Points trace;
  while (!input.empty() && trace.size() < kLongestTrace) trace.push_back(input.point());
  return trace;
}

static void require_same(const Gmodel& a, const Gmodel& b) {
  require(a.nclasses == b.nclasses && a.nTemplate == b.nTemplate &&
              a.normalize == b.normalize && a.havegravity == b.havegravity,
          "headers are read alike");
  require(a.class_labels == b.class_labels, "labels are read alike");
  require(same_bits(a.class_thresholds, b.class_thresholds), "thresholds are read alike");
  require(a.templates.size() == b.templates.size(), "as many templates are read");
  for (std::size_t t = 0; t < a.templates.size(); ++t) {
    require(a.templates[t].first == b.templates[t].first, "template labels are the same");
    require(same_bits(a.templates[t].second, b.templates[t].second),
            "templates are the same");
  }
}

enum class Reading { kDone, kImpossibleCount, kNoMemory };

static Reading read(Gmodel& model) {
  const LimitedMemory memory(kMemory);
  try {
    require(model.read(kPath.c_str()), "a file that opens is read");
    return Reading::kDone;
  } catch (const std::length_error&) {
    return Reading::kImpossibleCount;
  } catch (const std::bad_alloc&) {
    return Reading::kNoMemory;
  }
}

static std::size_t warping_cells(const Gmodel& model, std::size_t points) {
  std::size_t cells = 0;
  for (const auto& [label, other] : model.templates) cells += points * other.size();
  return cells;
}

static void compare_predictions(HGR& classifier, const Points& trace) {
  if (warping_cells(*classifier.model, trace.size()) > kMostCells) return;
  Points scaled = trace;
  double strength = 0.0;
  double score = 0.0;
  int flag = kFlagBefore;
  const int label = classifier.predict(scaled, &strength, &score, &flag);

  Points expected_scaled = trace;
  const reference::Prediction expected =
      reference::predict(*classifier.model, expected_scaled, kFlagBefore);
  require(label == expected.label, "the same template wins");
  require(same_bits(strength, expected.strength), "the strength is the same");
  require(same_bits(score, expected.score), "the score is the same");
  require(flag == expected.reject_flag, "the same is rejected");
  require(same_bits(scaled, expected_scaled), "the trace is scaled alike");

  Points again = trace;
  require(classifier.predict(again, nullptr, nullptr, nullptr) == label,
          "outputs may be left out");
}

// A limit changes the way that tables are filled, not the path.
static void compare_limits(const Gmodel& model, const Points& trace) {
  if (trace.empty() || warping_cells(model, trace.size()) > kMostCells) return;
  Dtw warper;
  warper.set_trace(trace.data(), trace.size());
  for (const auto& [label, other] : model.templates) {
    if (other.empty()) continue;
    const WarpingPath all = warper.warp(other.data(), other.size());
    if (!std::isfinite(all.cost)) continue;
    const WarpingPath within = warper.warp(other.data(), other.size(), all.cost);
    require(same_bits(within.cost, all.cost) && within.length == all.length,
            "a path that costs as much as the limit is found");
  }
}

static bool has_long_line(const std::string& text) {
  std::size_t length = 0;
  for (const char c : text) {
    length = c == '\n' ? 0 : length + 1;
    if (length > kLongestLine) return true;
  }
  return false;
}

// What is written is read back to its 6 digits, so writing that again changes nothing.
static void write_and_read_again(const Gmodel& model) {
  require(model.write(kWrittenPath.c_str()), "a model is written");
  const std::string written = read_whole_file(kWrittenPath + ".xml");
  if (has_long_line(written)) return;
  Gmodel back;
  require(back.read(kWrittenPath.c_str()), "what was written is read");
  require(back.class_labels == model.class_labels &&
              back.templates.size() == model.templates.size(),
          "what was written is read in full");
  require(back.write(kWrittenPath.c_str()), "a model is written again");
  require(read_whole_file(kWrittenPath + ".xml") == written,
          "a model written again is the same file");
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  const std::uint8_t* const end = bytes + size;
  const std::uint8_t* const separator = std::find(bytes, end, std::uint8_t{255});
  const std::string text(bytes, separator);
  const std::uint8_t* const trace_begin = separator == end ? end : separator + 1;
  const Points trace =
      trace_of(Input(trace_begin, static_cast<std::size_t>(end - trace_begin)));
  write_whole_file(kPath + ".xml", text);

  const ModelCheck check = check_model_file(kPath + ".xml");
  HGR classifier(0);
  const Reading reading = read(*classifier.model);
  if (reading == Reading::kImpossibleCount) {
    require(!check.loads, "the check sees that a file cannot be read");
  }
  if (reading != Reading::kDone) return;

  Gmodel expected;
  reference::read_model(text, expected);
  require_same(*classifier.model, expected);
  write_and_read_again(*classifier.model);

  compare_predictions(classifier, trace);
  compare_limits(*classifier.model, trace);
  // With a template's own points there are ties at every step.
  if (!expected.templates.empty()) {
    const Points& own = expected.templates[0].second;
    if (own.size() <= kLongestTrace) compare_predictions(classifier, own);
  }
}

static void prepare() {}

static const Registration registration("model_file", run, prepare);
