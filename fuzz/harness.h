// What a fuzz harness is: a name, and a function that takes any bytes at all.
//
// A harness turns the bytes into files, calls and samples, hands these to the library or
// the tool, and requires what must hold of the answers. The same harnesses are driven by
// libFuzzer (libfuzzer.cpp), which looks for inputs, and by replay.cpp, which runs the
// inputs that are kept in corpus/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct Harness {
  using Run = void (*)(const std::uint8_t* bytes, std::size_t size);
  using Prepare = void (*)();

  const char* name;
  Run run;
  Prepare prepare;  // once, before the first run
};

// The harnesses that are linked into this program.
std::vector<Harness>& harnesses();

// One at the end of each harness's source.
struct Registration {
  Registration(const char* name, Harness::Run run, Harness::Prepare prepare) {
    harnesses().push_back({name, run, prepare});
  }
};

// Ends the process by abort(), after a message, when `holds` is false.
void require(bool holds, const char* what);
