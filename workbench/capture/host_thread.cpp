#include "capture/host_thread.h"

namespace wgr {

const CaptureRecord* RecordQueue::peek() {
  if (next_ < records_.size()) return &records_[next_];
  std::unique_lock<std::mutex> lock(mutex_);
  records_.clear();
  next_ = 0;
  if (ended_) return nullptr;
  waiting_ = true;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !records_.empty() || ended_; });
  waiting_ = false;
  return records_.empty() ? nullptr : records_.data();
}

HostThread::HostThread(const Perform& perform)
    : thread_([this, perform] {
        try {
          perform(queue_);
        } catch (...) {
          queue_.error_ = std::current_exception();
        }
        const std::lock_guard<std::mutex> lock(queue_.mutex_);
        queue_.ended_ = queue_.waiting_ = true;
        queue_.changed_.notify_all();
      }) {}

HostThread::~HostThread() {
  finish();
  thread_.join();
}

void HostThread::perform(std::vector<CaptureRecord>& records) {
  std::unique_lock<std::mutex> lock(queue_.mutex_);
  const auto is_waiting = [this] { return queue_.waiting_; };
  queue_.changed_.wait(lock, is_waiting);
  if (!queue_.ended_) {
    queue_.records_.swap(records);
    queue_.waiting_ = false;
    queue_.changed_.notify_all();
    queue_.changed_.wait(lock, is_waiting);
  }
  records.clear();
  if (queue_.error_) std::rethrow_exception(std::exchange(queue_.error_, nullptr));
}

void HostThread::finish() {
  std::unique_lock<std::mutex> lock(queue_.mutex_);
  queue_.changed_.wait(lock, [this] { return queue_.waiting_; });
  queue_.ended_ = true;
  queue_.changed_.notify_all();
}

}  // namespace wgr
