// The places that the library's paths name, seen from a host: are the models there, and
// how to run with models from somewhere else.
#pragma once

#include <string>
#include <vector>

#include "output/output_plan.h"

namespace CLI {
class App;
}

namespace wgr {

inline constexpr char kInstalledModels[] = "/usr/share/GestureModel";
inline constexpr char kLogFolder[] = "/home/app";
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

// The same, but what is at /home/app, or that nothing is, stays as it is for the others.
[[noreturn]] void run_again_beside_own_home(const std::string& folder,
                                            const std::vector<std::string>& arguments);

// The same with both places empty, to be written to, and gone when the program ends.
[[noreturn]] void run_again_with_own_places(const std::vector<std::string>& arguments);

// What the arguments of such a second run hold besides: the places are its own.
inline constexpr char kInPlace[] = "--in-place";

// Adds it, hidden from the help. Whoever gives it to another run is refused.
void add_in_place_flag(CLI::App& command, bool& in_place);

// What a second run would write there is lost.
void keep_out_of_private_places(OutputPlan& plan);

}  // namespace wgr
