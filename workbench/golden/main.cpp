// wgr-selfcheck: `wgr selfcheck` alone, which needs nothing but the library.
#include <cstdio>
#include <cstring>
#include <exception>

#include "base/errors.h"
#include "context/WgrContext.h"
#include "golden/selfcheck.h"
#include "output/standard_output.h"

using namespace wgr;

int main(int argc, char** argv) {
  prepare_descriptors();
  WgrContext::set_logging(false);  // /home/app/WgrLog.txt is a host's
  const bool record = argc == 2 && std::strcmp(argv[1], "--record") == 0;
  if (argc > 1 && !record) {
    std::fputs("usage: wgr-selfcheck [--record]\n", stderr);
    return kExitBadInput;
  }
  try {
    int status = kExitOk;
    if (record) {
      print_golden_record();
    } else {
      status = print_self_check(self_check());
    }
    finish_results();
    return status;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "wgr-selfcheck: %s\n", error.what());
    return kExitFailure;
  }
}
