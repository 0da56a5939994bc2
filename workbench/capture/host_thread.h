// A thread of the recorded host: performs its records in their order, those of a callback
// within it.
//
// It is a thread of this process as well, for a callback may be running on one thread
// while calls are made on others. Of all of them only one runs at a time, so that
// everything happens in the order of the capture.
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "capture/capture_reader.h"

namespace wgr {

// Hands out a thread's records, and waits where there are none yet.
class RecordQueue {
 public:
  // The next record, which stays the next one until pop(); null at the capture's end.
  const CaptureRecord* peek();
  void pop() { ++next_; }

  int depth = 0;  // of callbacks that are being performed

 private:
  friend class HostThread;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<CaptureRecord> records_;
  std::size_t next_ = 0;
  bool waiting_ = false;  // for records
  bool ended_ = false;    // the capture; there are no more
  std::exception_ptr error_;
};

class HostThread {
 public:
  using Perform = std::function<void(RecordQueue&)>;

  explicit HostThread(const Perform& perform);
  // The capture is at its end for it.
  ~HostThread();
  HostThread(const HostThread&) = delete;
  HostThread& operator=(const HostThread&) = delete;

  // Performs the records, and returns when it wants more; throws what it ended with.
  void perform(std::vector<CaptureRecord>& records);
  void finish();

 private:
  RecordQueue queue_;
  std::thread thread_;
};

}  // namespace wgr
