// What can go wrong around a run: descriptors, disks, limits, signals, kinds of file.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>
#include <vector>

#include "disturbed_run.h"

inline constexpr mode_t kOddMode = 0640;  // of the files that are there before

struct Fault {
  std::string name;
  std::function<void(Disturbed&)> arrange;
  int repeated = 1;
  bool essential = false;  // tried with commands that take long, too
};

std::vector<Fault> faults_of_a_run();         // of every command
std::vector<Fault> faults_of_prints();        // of what a command prints
std::vector<Fault> faults_of_files();         // of a command that writes files
std::vector<Fault> faults_of_a_target();      // of one output file, the target
std::vector<Fault> faults_of_a_plain_user();  // likewise, for a user who is not root

// The target is another file that the command has, by link or by name.
Fault same_as(const std::string& other, bool hard);

// The run must not even begin.
void refuse(Disturbed& d);
