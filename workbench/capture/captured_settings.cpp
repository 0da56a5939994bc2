#include "capture/captured_settings.h"

#include "base/errors.h"
#include "base/text.h"
#include "capture/capture_samples.h"
#include "capture/captured_handle.h"

namespace wgr {

static CapturedSettings settings_of(CaptureReader& reader, const std::string& path,
                                    std::optional<unsigned> handle) {
  const auto uses = uses_of(reader);
  const CapturedUse& use = uses.at(choose_handle(path, handle, uses));
  if (use.changes) {
    warn("{}: the host changed its settings on the way; the last ones are used", path);
  }
  CapturedSettings settings;
  if (use.init) {
    settings.rate = use.init->sample_rate;
    settings.gyro_bias = use.init->gyro_bias;
    settings.shortest = use.init->min_motion_len;
  }
  settings.level = use.level;
  if (const std::optional<Gmodel> model = model_of(reader.model(use.model))) {
    settings.model = std::make_shared<const Gmodel>(*model);
  }
  return settings;
}

CapturedSettings captured_settings(const std::string& path,
                                   std::optional<unsigned> handle) {
  try {
    CaptureReader reader(path);
    return settings_of(reader, path, handle);
  } catch (const CaptureError& error) {
    throw UsageError(error.what());
  }
}

}  // namespace wgr
