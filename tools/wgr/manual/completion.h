// What makes shells complete the words of a command line.
#pragma once

#include <string>

#include "manual/command_description.h"

namespace wgr {

std::string bash_completion(const CommandDescription& program);
std::string zsh_completion(const CommandDescription& program);

}  // namespace wgr
