#include "capture/capture_editing.h"

#include <limits>
#include <map>
#include <set>

#include "capture/capture_reader.h"
#include "capture/capture_writer.h"

namespace wgr {

using namespace wgr::capture;

static constexpr double kSecond = 1e6;  // us

// Takes a record into what describes its handle at the beginning of a segment.
static void follow(const CaptureRecord& record, CaptureRecord& handle) {
  const auto set = [&handle](std::uint8_t flag) {
    handle.flags = static_cast<std::uint8_t>(handle.flags | flag);
  };
  switch (record.tag) {
    case kHandle:
      handle = record;
      break;
    case kCreate:
      handle = CaptureRecord();
      handle.model = record.model;
      break;
    case kInit:
      handle.init = record.init;
      handle.flags = static_cast<std::uint8_t>(handle.flags & ~kSensitivitySet);
      set(kInitialised);
      break;
    case kSensitivity:
      handle.value = record.value;
      set(kSensitivitySet);
      break;
    case kSetModel:
      if (record.model != 0) handle.model = record.model;
      break;
    case kRegister:
      if (record.flags != 0) set(kRegistered);
      break;
    default:
      break;
  }
  // The last recognition's figures are not known.
  handle.number = handle.cost_time = std::numeric_limits<double>::quiet_NaN();
}

static bool is_of_handle(const CaptureRecord& record) {
  return record.handle != 0 && record.tag != kHandle && record.tag != kCreate;
}

static void make_anonymous(CaptureRecord& record, std::uint64_t start) {
  record.time -= start;
  record.real_offset = 0;
  record.text.clear();
}

static CaptureHeader anonymous(CaptureHeader header) {
  header.run.fill(0);
  header.real_time = header.monotonic = 0;
  header.process = header.parent = 0;
  header.label.clear();
  return header;
}

std::optional<double> edit_capture(const std::string& path, const CaptureEdit& edit,
                                   OutputFile& file) {
  CaptureReader reader(path);
  const CaptureHeader& header = reader.header();
  CaptureWriter writer(file, edit.anonymous ? anonymous(header) : header);
  std::map<std::uint32_t, CaptureRecord> left_out;  // handles not described yet
  bool gap = false;
  double lasted = 0.0;
  CaptureRecord record;
  while (reader.next(record)) {
    const double t = static_cast<double>(record.time - header.monotonic) / kSecond;
    gap = gap || record.gap;
    lasted = t;
    if (t > edit.end) break;
    if (edit.handle && record.handle != 0 && record.handle != *edit.handle) continue;
    if (t < edit.begin) {
      if (record.tag == kDestroy) left_out.erase(record.handle);
      if (record.handle != 0 && record.tag != kDestroy) {
        follow(record, left_out[record.handle]);
      }
      continue;
    }
    if (edit.anonymous) make_anonymous(record, header.monotonic);
    record.gap = gap && (edit.begin <= 0.0 || record.gap);
    gap = false;
    const auto described = left_out.find(record.handle);
    if (is_of_handle(record) && described != left_out.end()) {
      CaptureRecord first = described->second;
      first.tag = kHandle;
      first.handle = record.handle;
      first.time = record.time;
      first.real_offset = record.real_offset;
      first.thread = record.thread;
      writer.write(first, reader);
    }
    if (record.handle != 0) left_out.erase(record.handle);
    writer.write(record, reader);
  }
  writer.finish();
  return lasted < edit.begin ? std::optional<double>(lasted) : std::nullopt;
}

}  // namespace wgr
