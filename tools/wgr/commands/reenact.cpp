#include "commands/reenact.h"

#include <sys/utsname.h>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/text.h"
#include "capture/reenactment.h"
#include "output/output_plan.h"
#include "output/standard_output.h"
#include "text/capture_text.h"

namespace wgr {

void reenact_capture(const std::string& path, bool json) {
  OutputPlan plan;
  plan.reads("RECORDING", path);
  plan.prints_results();
  plan.check();
  separate_results(LibraryPrints::kNowhere);
  try {
    CaptureReader reader(path);
    utsname here = {};
    uname(&here);
    const ReenactmentTotals totals =
        reenact(reader, reader.header().processor != here.machine);
    const std::string damage = damage_text(reader);
    if (!damage.empty()) warn("{}: {}; what is whole is used", path, damage);
    write_results(json ? reenactment_json(totals)
                       : reenactment_text(totals, shown(path)));
    if (totals.differing > 0) throw EndWithStatus{kExitFindings};
  } catch (const CaptureError& error) {
    throw UsageError(error.what());
  }
}

}  // namespace wgr
