#include "hostrun/kept_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/errors.h"
#include "context/WgrContext.h"
#include "hostrun/fixed_paths.h"

namespace wgr {

KeptLog::KeptLog(OutputFile& file)
    : file_(file),
      pipe_(mkfifo(kLogFile, 0600) == 0 ? open(kLogFile, O_RDWR | O_NONBLOCK | O_CLOEXEC)
                                        : -1) {
  if (pipe_ < 0) throw OutputError(kLogFile, errno);
  WgrContext::set_logging(true);
}

KeptLog::~KeptLog() {
  WgrContext::set_logging(false);
  close(pipe_);
}

void KeptLog::take() {
  std::array<char, 65536> bytes;
  ssize_t got = 0;
  do {
    got = read(pipe_, bytes.data(), bytes.size());
    if (got > 0) file_.write({bytes.data(), static_cast<size_t>(got)});
  } while (got == static_cast<ssize_t>(bytes.size()) || (got < 0 && errno == EINTR));
}

}  // namespace wgr
