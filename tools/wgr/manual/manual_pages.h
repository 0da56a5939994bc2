// Manual pages, in the language of man(7).
#pragma once

#include <string>

#include "manual/command_description.h"

namespace wgr {

struct Edition {
  std::string version;  // "0.1"
  std::string date;     // of the version, "2026-11-23"
};

// The page of a command; `pages` lists those that it refers to, "wgr" and "wgr-replay".
std::string manual_page(const CommandDescription& command, const Edition& edition,
                        const std::vector<std::string>& pages);

// "wgr-replay" of the command `wgr replay`.
std::string page_name(const CommandDescription& command);

}  // namespace wgr
