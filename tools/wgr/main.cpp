// wgr, the command line tool: makes recordings and models, and replays recordings.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "recording/recording.h"
#include "subcommands.h"

static int complain(const std::exception& error, int status) {
  std::fprintf(stderr, "wgr: %s\n", error.what());
  return status;
}

int main(int argc, char** argv) {
  CLI::App wgr;
  add_all(wgr);

  try {
    parse_and_run(wgr, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
  } catch (const CLI::Success& asked) {
    return wgr.exit(asked);
  } catch (const EndWithStatus& end) {
    return end.status;
  } catch (const UsageError& error) {
    return complain(error, kExitBadInput);
  } catch (const RecordingError& error) {
    return complain(error, kExitBadInput);
  } catch (const std::exception& error) {
    return complain(error, kExitFailure);
  }
  if (wgr.get_subcommands().empty()) {
    std::fprintf(stderr, "wgr: a subcommand is wanted\n\n%s", wgr.help().c_str());
    return kExitBadInput;
  }
  return kExitOk;
}
