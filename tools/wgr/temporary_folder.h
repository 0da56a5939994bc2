// A folder for what is written only to be read again at once.
#pragma once

#include <string>

#include "hold_signals.h"

// Gone with all that is in it when this goes. Until then the signals that end a program
// wait, so that none leaves it behind: not for long work. Throws std::runtime_error when
// it cannot be made.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  const HoldSignals hold_;
  std::string path_;
};
