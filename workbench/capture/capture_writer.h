// Writes captures that are made of other captures, by the recorder's own coding.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>

#include "capture/capture_reader.h"
#include "capture_format.h"
#include "output/output_files.h"
#include "sample_coder.h"

namespace wgr {

class CaptureWriter {
 public:
  CaptureWriter(OutputFile& file, const CaptureHeader& header);

  // Times may not go back. What is missing before the record, by its gap, is noted; the
  // models that it names are taken from `reader`.
  void write(const CaptureRecord& record, const CaptureReader& reader);
  void finish();

 private:
  struct HandleState {
    recorder::SampleCoder coder;
    std::uint64_t block = 0;
    std::uint64_t last_time = 0;
    std::uint64_t last_interval = 0;
  };

  void need(std::size_t bytes, const CaptureRecord& record);
  void start_block(const CaptureRecord& record);
  void end_block();
  template <class Fill>
  void put(capture::Tag tag, const CaptureRecord& record, const Fill& fill);
  void put_thread(const CaptureRecord& record);
  void put_model(const CaptureRecord& record, const CaptureReader& reader);
  void put_sample(const CaptureRecord& record);
  static void put_body(const CaptureRecord& record, recorder::Bytes& bytes);
  void commit(const recorder::Bytes& record);

  OutputFile& file_;
  std::array<std::uint8_t, capture::kBlockSize> block_ = {};
  std::size_t at_ = capture::kBlockSize;  // no block yet
  std::uint32_t number_ = 0;
  std::uint64_t last_time_ = 0;
  std::uint32_t thread_ = 0;
  std::uint32_t last_sample_ = 0;
  std::map<std::uint32_t, HandleState> handles_;
  std::set<std::uint32_t> models_;  // that are written
};

}  // namespace wgr
