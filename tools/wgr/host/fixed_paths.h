// The places that the library's paths name, seen from a host: are the models there, and
// how to run with models from somewhere else.
#pragma once

#include <string>
#include <vector>

inline constexpr char kInstalledModels[] = "/usr/share/GestureModel";
inline constexpr char kLogFile[] = "/home/app/WgrLog.txt";

// The model of the default every handle starts with.
inline constexpr int kDefaultWearer = 0;
inline constexpr int kDefaultMode = 1;

// The file of one of the six models in a folder of models.
std::string model_file(const std::string& folder, int wearer, int mode);

// Throws UsageError, with what to do, unless the folder holds the model that every
// handle starts with, without which the library ends the process, and the chosen one.
void require_models(const std::string& folder, int wearer, int mode);

// Runs this program again with `arguments` (without the program's name) and the folder
// of models at kInstalledModels, for it alone. Does not return; throws UsageError when
// the launcher cannot be found or run.
[[noreturn]] void run_again_with_models(const std::string& folder,
                                        const std::vector<std::string>& arguments);

// The same with both places empty, to be written to, and gone when the program ends.
[[noreturn]] void run_again_with_own_places(const std::vector<std::string>& arguments);
