#include "classifier/Gdata.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "classifier/line_reader.h"

using namespace wgr;

static constexpr char kCannotOpen[] = "\nError: Cann't opening file ";
static constexpr char kKindsDiffer[] = "datas don't match!\n";

static constexpr size_t kLinesPerRecord = 4;

// A first triple of this length is a gravity vector (m/s², or raw sensor counts).
static constexpr double kLeastGravitySquared = 25.0;
static constexpr double kMostGravitySquared = 1000000.0;

static constexpr int kKindUnknown = -1;
static constexpr int kKindPlain = 0;
static constexpr int kKindGravity = 1;

// The read that reaches the end of the file counts too: a file whose last line has its
// line break counts one more than it has lines.
static size_t count_reads(std::istream& file) {
  size_t reads = 0;
  std::string line;
  do {
    read_line(file, line);
    ++reads;
  } while (file.good());
  return reads;
}

static bool is_gravity(const Point3Df& g) {
  const double squared = squared_length(g);
  return !(squared < kLeastGravitySquared || squared > kMostGravitySquared);
}

// Reads a record's first line and sizes its trace. The first record of a file decides
// the kind of all.
static void read_head(std::istream& line, Gsample& sample, size_t& count, int& kind) {
  unsigned int n = 0;
  line >> sample.label >> n;
  count = line.fail() ? 0 : n;

  Point3Df triple = {0.0, 0.0, 0.0};
  if (kind == kKindUnknown) {
    line >> triple.x >> triple.y >> triple.z;
    kind = !line.fail() && is_gravity(triple) ? kKindGravity : kKindPlain;
    sample.trace.resize(count + static_cast<size_t>(kind));
    if (kind == kKindGravity) sample.trace.back() = triple;
  } else if (kind == kKindGravity) {
    sample.trace.resize(count + 1);
    Point3Df& gravity = sample.trace.back();
    line >> gravity.x >> gravity.y >> gravity.z;
  } else {
    sample.trace.resize(count);
  }
}

static void tally(std::vector<std::pair<int, int>>& counts, int label, int number) {
  const auto found = std::find_if(counts.begin(), counts.end(),
                                  [label](const auto& c) { return c.first == label; });
  if (found != counts.end()) {
    found->second += number;
  } else {
    counts.emplace_back(label, number);
  }
}

bool Gdata::load(const char* path) {
  std::ifstream file(path);
  if (!file.is_open()) {
    std::printf("%s%s\n", kCannotOpen, path);
    return false;
  }
  load(file);
  return true;
}

void Gdata::load(std::istream& file) {
  samples.resize(count_reads(file) / kLinesPerRecord);
  file.clear();
  file.seekg(0);

  kind = kKindUnknown;
  LineReader lines(file, LineReader::LongLines::kReadInFull);
  for (Gsample& sample : samples) {
    size_t count = 0;
    read_head(lines.next(), sample, count, kind);
    for (double Point3Df::*axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
      std::istringstream& values = lines.next();
      for (size_t i = 0; i < count; ++i) values >> sample.trace[i].*axis;
    }
  }

  for (const Gsample& sample : samples) tally(class_counts, sample.label, 1);
}

void Gdata::add(Gdata* other) {
  if (samples.empty()) {
    kind = other->kind;
  } else if (kind != other->kind) {
    std::fputs(kKindsDiffer, stdout);
    return;
  }
  // By index, up to sizes taken beforehand: `other` may be this set.
  const size_t added = other->samples.size();
  samples.reserve(samples.size() + added);
  for (size_t i = 0; i < added; ++i) samples.push_back(other->samples[i]);

  const size_t labels = other->class_counts.size();
  for (size_t i = 0; i < labels; ++i) {
    const auto [label, number] = other->class_counts[i];
    tally(class_counts, label, number);
  }
}
