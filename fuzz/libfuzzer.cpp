// Drives the one harness of the program by libFuzzer.
#include "harness.h"
#include "places.h"

extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  prepare_places();
  require(harnesses().size() == 1, "a program of libFuzzer has one harness");
  harnesses().front().prepare();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  harnesses().front().run(bytes, size);
  return 0;
}
