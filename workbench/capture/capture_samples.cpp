#include "capture/capture_samples.h"

#include <cmath>

namespace wgr {

using namespace wgr::capture;

static constexpr double kSecond = 1e6;  // us
static constexpr std::size_t kMostListed = 10;

void count_use(const CaptureRecord& record, CapturedUse& use) {
  switch (record.tag) {
    case kSample:
      ++use.samples;
      break;
    case kCreate:
      use.model = record.model;
      break;
    case kCallback:
      ++use.reports;
      break;
    case kHandle:
      if ((record.flags & kInitialised) != 0) use.init = record.init;
      if ((record.flags & kSensitivitySet) != 0) use.level = record.value;
      use.model = record.model;
      break;
    case kInit:
      use.changes = use.changes || use.samples > 0;
      use.init = record.init;
      use.level.reset();
      break;
    case kSensitivity:
      use.level = record.value;
      break;
    case kSetModel:
      if (record.model == 0) break;
      use.changes = use.changes || use.samples > 0;
      use.model = record.model;
      break;
    default:
      break;
  }
}

std::map<std::uint32_t, CapturedUse> uses_of(CaptureReader& reader) {
  std::map<std::uint32_t, CapturedUse> uses;
  CaptureRecord record;
  while (reader.next(record)) {
    if (record.handle != 0) count_use(record, uses[record.handle]);
  }
  return uses;
}

std::uint32_t choose_handle(const std::string& path, std::optional<std::uint32_t> given,
                            const std::map<std::uint32_t, CapturedUse>& uses) {
  std::string list;
  std::size_t with_samples = 0;
  std::uint32_t only = 0;
  for (const auto& [id, use] : uses) {
    if (use.samples == 0) continue;
    only = id;
    if (++with_samples > kMostListed) continue;
    list += (list.empty() ? "" : ", ") + std::to_string(id) + " (" +
            std::to_string(use.samples) + " samples)";
  }
  if (with_samples > kMostListed) list += ", ...";
  if (with_samples == 0) throw CaptureError(path + ": the capture holds no sample");
  if (given) {
    const auto found = uses.find(*given);
    if (found != uses.end() && found->second.samples > 0) return *given;
    throw CaptureError(path + ": handle " + std::to_string(*given) +
                       " has no samples in the capture; these have: " + list);
  }
  if (with_samples == 1) return only;
  throw CaptureError(path + ": the capture holds " + std::to_string(with_samples) +
                     " handles: choose one by --handle: " + list);
}

static std::uint32_t chosen_handle(const std::string& path,
                                   std::optional<std::uint32_t> given) {
  CaptureReader reader(path);
  return choose_handle(path, given, uses_of(reader));
}

CaptureSamples::CaptureSamples(const std::string& path,
                               std::optional<std::uint32_t> handle)
    : path_(path), handle_(chosen_handle(path, handle)), reader_(path) {}

static bool is_finite(const Point3Df& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

bool CaptureSamples::next(CapturedSample& sample) {
  CaptureRecord record;
  while (reader_.next(record)) {
    if (record.tag != kSample || record.handle != handle_) continue;
    ++count_;
    if (!is_finite(record.acc) || !is_finite(record.gyro)) {
      throw CaptureError(path_ + ": offset " + std::to_string(record.offset) +
                         ": sample " + std::to_string(count_) +
                         " is not finite, which no recording can hold");
    }
    sample.t = static_cast<double>(record.time - reader_.header().monotonic) / kSecond;
    sample.acc = record.acc;
    sample.gyro = record.gyro;
    return true;
  }
  return false;
}

}  // namespace wgr
