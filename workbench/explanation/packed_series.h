// Numbers as a page holds them by the million: bytes that deflate well and that a script
// reads at once.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace wgr {

// A whole number: seven bits a byte, the lowest first, the top bit set where more follow.
void append_whole(std::string& bytes, unsigned long long value);

// How many values there are, three times, plus the order of differences; then whole
// multiples of `unit`, or their first or second differences, whichever are smaller, each
// twice its size, less one below zero. What is not a number is written as 0.
void append_series(std::string& bytes, const std::vector<double>& values, double unit);

// A text behind its length, so that a script can skip it.
void append_block(std::string& bytes, const std::string& block);

}  // namespace wgr
