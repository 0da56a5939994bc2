// Manual pages, in the language of man(7).
#pragma once

#include <string>

#include "manual/command_description.h"

namespace wgr {

// The page of a command; `pages` lists those that it refers to, "wgr" and "wgr-replay".
std::string manual_page(const CommandDescription& command, const std::string& version,
                        const std::vector<std::string>& pages);

// "wgr-replay" of the command `wgr replay`.
std::string page_name(const CommandDescription& command);

}  // namespace wgr
