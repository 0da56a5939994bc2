#include "arguments/reading_limit.h"

#include "arguments/values.h"

namespace wgr {

static constexpr unsigned long long kMega = 1'000'000;

void add_max_size(CLI::App& command, ReadingLimit& limit) {
  command
      .add_option_function<unsigned>(
          "--max-size", [&limit](unsigned megabytes) { limit.most = megabytes * kMega; },
          "Limit for recordings, which are kept in memory: MB,\nunpacked")
      ->transform(within(whole_from(1, 1'000'000)))
      ->option_text("MB (1000)");
}

}  // namespace wgr
