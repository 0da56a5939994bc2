// The way in by LD_PRELOAD: the library is whatever comes behind the recorder.
#include <dlfcn.h>

#include "real_library.h"

namespace wgr::recorder {

void* real_symbol(const char* name) { return dlsym(RTLD_NEXT, name); }

void pass_version_on() {}

}  // namespace wgr::recorder
