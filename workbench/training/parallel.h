// Work of many independent parts on all processors.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

namespace wgr {

// Calls each thread's own make_worker()(part) for the parts from 0 to `parts` - 1, handed
// out one by one in this order; `threads` 0 means one for each processor. Which thread
// does a part must not matter.
template <class MakeWorker>
void share_out(size_t parts, unsigned threads, MakeWorker make_worker) {
  if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
  std::atomic<size_t> handed_out = 0;
  const auto work = [&] {
    auto worker = make_worker();
    for (size_t part = handed_out++; part < parts; part = handed_out++) worker(part);
  };
  std::vector<std::thread> helpers;
  for (unsigned i = 1; i < threads && i < parts; ++i) helpers.emplace_back(work);
  work();
  for (std::thread& helper : helpers) helper.join();
}

}  // namespace wgr
