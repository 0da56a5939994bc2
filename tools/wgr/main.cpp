// wgr, the command line tool: makes recordings and models, and replays recordings.
#include <cstdio>
#include <exception>
#include <string>

#include "recording/recording.h"
#include "subcommands.h"

static constexpr char kFooter[] =
    "Examples:\n"
    "  wgr replay --models models recordings/demo.csv.gz\n"
    "  wgr replay --help\n"
    "\n"
    "Exit status: 0 done, 1 the machine failed, 2 something given cannot be used.";

static int complain(const std::exception& error, int status) {
  std::fprintf(stderr, "wgr: %s\n", error.what());
  return status;
}

int main(int argc, char** argv) {
  CLI::App wgr("Wrist gestures from recordings of motion.", "wgr");
  wgr.footer(kFooter);
  wgr.set_version_flag("--version", std::string("wgr ") + WGR_VERSION);
  wgr.require_subcommand(0, 1);
  add_replay(wgr);
  add_explain(wgr);
  add_synth(wgr);
  add_cut(wgr);
  add_build(wgr);
  add_eval(wgr);
  add_model(wgr);
  add_doctor(wgr);
  add_preflight(wgr);
  add_log(wgr);
  add_selfcheck(wgr);

  try {
    wgr.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return wgr.exit(error) == 0 ? kExitOk : kExitBadInput;
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
    std::fputs(wgr.help().c_str(), stderr);
    return kExitBadInput;
  }
  return kExitOk;
}
