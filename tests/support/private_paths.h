// Stops a test program that would touch the machine's own /home or /usr/share.
//
// The library's paths are fixed, so tests that reach them run under
// scripts/private-paths. Including this header is enough: without the launcher no test
// of the program runs, and it fails.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

class PrivatePaths : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_NE(std::getenv("WGR_PRIVATE_PATHS"), nullptr)
        << "This program writes /home/app and /usr/share/GestureModel. Run it as\n"
        << "  scripts/private-paths PROGRAM [ARGS...]\n"
        << "which gives it empty ones of its own.";
  }
};

inline ::testing::Environment* const private_paths =
    ::testing::AddGlobalTestEnvironment(new PrivatePaths);
