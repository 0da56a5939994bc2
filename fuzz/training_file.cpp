// Training data files of any content, loaded, loaded over one another, merged, and
// compared with one another.
//
// The bytes up to the first 255, which is no text, are one file, those behind it another;
// without it both are the same. All of it has its reference implementation to agree with.
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "classifier/HGR.h"
#include "harness.h"
#include "limited_memory.h"
#include "places.h"
#include "support/reference_similarity.h"
#include "support/reference_training_file.h"
#include "support/same_bits.h"

using namespace wgr;

static const std::string kPaths[] = {std::string(kModelRootDirectory) + "/first",
                                     std::string(kModelRootDirectory) + "/second"};
static constexpr std::size_t kMemory = 1 << 18;  // bytes for each step
static constexpr std::size_t kMostPoints = 300;  // that are compared with one another

static void require_same(const Gdata& a, const Gdata& b) {
  require(a.kind == b.kind, "the kind is the same");
  require(a.class_counts == b.class_counts, "labels are counted alike");
  require(a.samples.size() == b.samples.size(), "as many samples are there");
  for (std::size_t i = 0; i < a.samples.size(); ++i) {
    require(a.samples[i].label == b.samples[i].label, "labels are the same");
    require(same_bits(a.samples[i].trace, b.samples[i].trace), "traces are the same");
  }
}

// False when a count asks for more memory than there is; the data is of no use then.
static bool load(Gdata& data, int file) {
  const LimitedMemory memory(kMemory);
  try {
    require(data.load(kPaths[file].c_str()), "a file that opens is loaded");
    return true;
  } catch (const std::length_error&) {
  } catch (const std::bad_alloc&) {
  }
  return false;
}

// All traces with all, as a model builder does.
static void compare_similarities(const Gdata& data) {
  std::vector<Points> traces;
  std::size_t points = 0;
  for (const Gsample& sample : data.samples) {
    traces.push_back(sample.trace);
    points += sample.trace.size();
  }
  if (points > kMostPoints || traces.size() > kMostPoints) return;
  HGR classifier(0);
  const int k = std::max(data.kind, 0);
  const std::unique_ptr<float[]> matrix(classifier.cal_sim_matrix(traces, k));
  const std::vector<float> found(matrix.get(),
                                 matrix.get() + traces.size() * traces.size());
  require(same_bits(found, reference::similarity_matrix(traces, k)),
          "similarities are the same");
}

static void run(const std::uint8_t* bytes, std::size_t size) {
  const std::uint8_t* const end = bytes + size;
  const std::uint8_t* const separator = std::find(bytes, end, std::uint8_t{255});
  const std::string first(bytes, separator);
  const std::string second = separator == end ? first : std::string(separator + 1, end);
  write_whole_file(kPaths[0], first);
  write_whole_file(kPaths[1], second);

  Gdata data;
  if (!load(data, 0)) return;
  Gdata expected;
  reference::load_training(first, expected);
  require_same(data, expected);

  // Into a set that holds samples: those that stay are written over, counts add up.
  Gdata reloaded = data;
  Gdata expected_reloaded = expected;
  if (!load(reloaded, 1)) return;
  reference::load_training(second, expected_reloaded);
  require_same(reloaded, expected_reloaded);

  Gdata other;
  Gdata expected_other;
  require(load(other, 1), "a file that is loaded over another is loaded alone");
  reference::load_training(second, expected_other);
  require_same(other, expected_other);
  data.add(&other);
  reference::merge_training(expected, expected_other);
  require_same(data, expected);
  require_same(other, expected_other);

  data.add(&data);
  reference::merge_training(expected, expected);
  require_same(data, expected);
  compare_similarities(data);

  Gdata empty;
  empty.add(&reloaded);
  Gdata expected_empty;
  reference::merge_training(expected_empty, expected_reloaded);
  require_same(empty, expected_empty);
}

static void prepare() {}

static const Registration registration("training_file", run, prepare);
