// What the soak measures with: memory, descriptors, processor time, and the log's lines.
#pragma once

#include <sys/types.h>

#include <cstddef>

// Pages of this process that are in memory, bytes; 0 where the system does not say.
long resident_memory();

// Bytes that this process has from malloc() and has not put back.
long allocated_memory();

// Descriptors of this process.
int open_descriptors();

// Processor time of this process, seconds.
double processor_time();

// Lines by what they say. Every whole line of the log is one of these.
struct LogLines {
  long starts = 0;   // update_gesture 115
  long classes = 0;  // update_gesture 123
  long predictions = 0;
  long others = 0;  // of making handles and of changing models
  long torn = 0;    // anything else
};

// Another process that renames the log away again and again while this one writes it,
// counts the lines of what it has put aside, and removes that. A file is counted a number
// of renames later, when no line can be on its way to it any more.
class Rotation {
 public:
  Rotation();
  ~Rotation();
  Rotation(const Rotation&) = delete;
  Rotation& operator=(const Rotation&) = delete;

  // Ends the process, after the writing has ended: all lines of all files.
  LogLines finish(long& files);

 private:
  pid_t process_;
  int stop_;     // write end: closed to make it end
  int results_;  // read end
};
