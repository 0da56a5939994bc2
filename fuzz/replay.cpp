// Runs every input that is kept in the corpora through its harness, without libFuzzer.
//
//   fuzz_replay CORPUS [HARNESS [FILE...]]
//
// All harnesses, or one, over the files in CORPUS/HARNESS, or over those that are named.
// Prints each name on standard error before its run, so that the last one is to blame.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"
#include "places.h"

static std::vector<std::string> files_in(const std::string& directory) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

static void run_files(const Harness& harness, const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    std::fprintf(stderr, "%s %s\n", harness.name, file.c_str());
    const std::string content = read_whole_file(file);
    harness.run(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  }
}

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    std::fputs("usage: fuzz_replay CORPUS [HARNESS [FILE...]]\n", stderr);
    return 2;
  }
  prepare_places();
  size_t runs = 0;
  for (const Harness& harness : harnesses()) {
    if (arguments.size() > 1 && arguments[1] != harness.name) continue;
    const std::vector<std::string> files =
        arguments.size() > 2
            ? std::vector<std::string>(arguments.begin() + 2, arguments.end())
            : files_in(arguments[0] + "/" + harness.name);
    require(!files.empty(), "every harness has inputs");
    harness.prepare();
    run_files(harness, files);
    runs += files.size();
  }
  require(runs > 0, "there is a harness of that name");
  std::fprintf(stderr, "%zu inputs\n", runs);
  return 0;
}
