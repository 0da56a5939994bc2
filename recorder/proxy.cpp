// The way in under the library's own name, for hosts that load it by dlopen(): the
// library is where the settings say.
#include <dlfcn.h>

#include "real_library.h"
#include "settings.h"

namespace {

// WearableVersion has the library's contents before a host can look at it. A process that
// loads the proxy and calls nothing is not recorded.
struct Version {
  Version();
  WgVersion* real = nullptr;
  WgVersion passed_on = {0, 0};
};

}  // namespace

WgVersion WearableVersion = {0, 0};

namespace wgr::recorder {

static void* open_real() {
  const Settings settings = read_settings();
  const char* const path =
      settings.library[0] != '\0' ? settings.library : WGR_REAL_LIBRARY;
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) complain("cannot be loaded: set library to its path", path);
  return library;
}

void* real_symbol(const char* name) {
  static void* const library = open_real();
  return library == nullptr ? nullptr : dlsym(library, name);
}

}  // namespace wgr::recorder

Version::Version()
    : real(static_cast<WgVersion*>(wgr::recorder::real_symbol("WearableVersion"))) {
  if (real != nullptr) WearableVersion = passed_on = *real;
}

static Version& version() {
  static Version the_version;
  return the_version;
}

__attribute__((constructor)) static void take_version() { version(); }

namespace wgr::recorder {

void pass_version_on() {
  Version& v = version();
  const bool written = WearableVersion.major != v.passed_on.major ||
                       WearableVersion.minor != v.passed_on.minor;
  if (v.real != nullptr && written) *v.real = v.passed_on = WearableVersion;
}

}  // namespace wgr::recorder
