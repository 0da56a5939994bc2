// wgr-selfcheck: `wgr selfcheck` alone, which needs nothing but the library.
#include <cstdio>
#include <cstring>

#include "golden/selfcheck.h"

int main(int argc, char** argv) {
  const bool record = argc == 2 && std::strcmp(argv[1], "--record") == 0;
  if (argc > 1 && !record) {
    std::fputs("usage: wgr-selfcheck [--record]\n", stderr);
    return 2;
  }
  return self_check(record);
}
