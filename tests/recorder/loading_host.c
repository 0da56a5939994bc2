/*
 * A host that loads the library by dlopen(): its path is the argument. Ends with 0 when
 * every answer was right.
 */
#include <dlfcn.h>
#include <stddef.h>
#include <string.h>

#include "WgrInterface.h"

/* ISO C has no conversion from an object's address to a function's. */
static void* library;
#define TAKE(function)                                \
  do {                                                \
    void* found = dlsym(library, #function);          \
    if (found == NULL) return 3;                      \
    memcpy(&function##_, &found, sizeof function##_); \
  } while (0)

int main(int argc, char** argv) {
  WgrHandle (*create_gesture_handle_)(void);
  int (*init_gesture_handle_)(WgrHandle, int, Point3Df, int, int, int, int);
  int (*update_gesture_)(WgrHandle, Point3Df, Point3Df);
  WgVersion (*get_version_)(void);
  const Point3Df zero = {0.0, 0.0, 0.0};
  const Point3Df rest = {0.0, 0.0, 10.0};

  library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  if (library == NULL) return 2;
  TAKE(create_gesture_handle);
  TAKE(init_gesture_handle);
  TAKE(update_gesture);
  TAKE(get_version);
  WgVersion* version = dlsym(library, "WearableVersion");
  if (version == NULL || version->minor != 1 || get_version_().minor != 1) return 4;
  version->minor = 5;
  if (get_version_().minor != 5) return 5;

  WgrHandle h = create_gesture_handle_();
  if (h == NULL || init_gesture_handle_(h, 50, zero, -1, -1, -1, 50) != 0) return 6;
  for (int i = 0; i < 10; ++i) {
    if (update_gesture_(h, rest, zero) != 6) return 7;
  }
  return 0;
}
