#include "training/similarities.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "classifier/HGR.h"
#include "progress.h"

// Rows are handed out one by one: which thread computes a row changes nothing in it.
static void fill_rows(const std::vector<Points>& traces, size_t columns, int k,
                      std::atomic<size_t>& next, float* scores, Progress* progress) {
  HGR classifier(0);
  for (size_t row = next++; row < traces.size(); row = next++) {
    for (size_t j = 0; j < columns; ++j) {
      scores[row * columns + j] =
          row == j ? 0.0f : classifier.cal_simlarity(traces[row], traces[j], k);
    }
    if (progress != nullptr) progress->add(1);
  }
}

Similarities::Similarities(const std::vector<Points>& traces, size_t columns, int k,
                           unsigned threads, bool quiet)
    : columns_(columns), scores_(traces.size() * columns) {
  Progress progress("comparing " + std::to_string(traces.size()) + " samples",
                    traces.size());
  Progress* const shown = quiet ? nullptr : &progress;
  if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
  std::atomic<size_t> next = 0;
  std::vector<std::thread> helpers;
  for (unsigned i = 1; i < threads; ++i) {
    helpers.emplace_back(
        [&] { fill_rows(traces, columns, k, next, scores_.data(), shown); });
  }
  fill_rows(traces, columns, k, next, scores_.data(), shown);
  for (std::thread& helper : helpers) helper.join();
}
