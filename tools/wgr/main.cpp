// wgr, the command line tool: makes recordings and models, and replays recordings.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "arguments/command_line.h"
#include "base/text.h"
#include "commands/subcommands.h"
#include "context/WgrContext.h"
#include "output/standard_output.h"
#include "recording/recording.h"
#include "text/import_text.h"

using namespace wgr;

static int complain(const std::exception& error, int status) {
  warn(std::string(error.what()));
  return status;
}

// A path that cannot even be looked up: links in a circle, a name that is too long.
static int complain_of_path(const std::filesystem::filesystem_error& error) {
  return complain(UsageError(error.path1().string() + ": " + error.code().message()),
                  kExitBadInput);
}

static int run(int argc, char** argv) {
  CLI::App wgr;
  add_all(wgr);

  try {
    parse_and_run(wgr, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
  } catch (const CLI::Success& asked) {
    std::ostringstream help;
    wgr.exit(asked, help);
    write_results(help.str());
    return kExitOk;
  } catch (const EndWithStatus& end) {
    return end.status;
  } catch (const UsageError& error) {
    return complain(error, kExitBadInput);
  } catch (const ForeignRecordingError& error) {
    return complain(UsageError(error.what() + import_hint(error.path())), kExitBadInput);
  } catch (const RecordingError& error) {
    return complain(error, kExitBadInput);
  } catch (const std::filesystem::filesystem_error& error) {
    return complain_of_path(error);
  } catch (const std::exception& error) {
    return complain(error, kExitFailure);
  }
  if (wgr.get_subcommands().empty()) {
    warn("a subcommand is required");
    print(stderr, "\n{}", wgr.help());
    return kExitBadInput;
  }
  return kExitOk;
}

int main(int argc, char** argv) {
  prepare_descriptors();
  WgrContext::set_logging(false);  // /home/app/WgrLog.txt is a host's
  const int status = run(argc, argv);
  try {
    finish_results();
  } catch (const OutputError& error) {
    return complain(error, kExitFailure);
  }
  return status;
}
