// The six models at their fixed paths, each with a class of its own: model i names
// every motion 20 + i. For programs that run with private paths.
#pragma once

#include <filesystem>

#include "context/WgrContext.h"
#include "support/files.h"
#include "support/motions.h"
#include "support/private_paths.h"

inline constexpr int kFirstInstalledLabel = 20;
inline constexpr int kDefaultLabel = kFirstInstalledLabel + 1;  // of the default model

inline void install_model(int index, const Gmodel& model) {
  const std::filesystem::path path = c_GmodelPath[index];
  std::filesystem::create_directories(path.parent_path());
  ASSERT_TRUE(model.write(path.c_str())) << path;
}

inline void install_all_models() {
  for (int i = 0; i < wgr::kWearers * wgr::kModes; ++i) {
    install_model(i, small_model(kFirstInstalledLabel + i, -1e9));
  }
}
