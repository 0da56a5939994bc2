// The library's diagnostic log, of a run that has the log's place to itself.
#pragma once

#include "output/output_files.h"

namespace wgr {

// Lets the library log while it lives, and passes the log on to a file, line by line and
// without loss: a disk that is full or a limit on sizes is an error of that file, while
// the library itself would drop the line silently.
class KeptLog {
 public:
  // Before a handle is made.
  explicit KeptLog(OutputFile& file);
  ~KeptLog();
  KeptLog(const KeptLog&) = delete;
  KeptLog& operator=(const KeptLog&) = delete;

  // What has been logged since. To be called after each call of the library: no more than
  // 4096 bytes may wait.
  void take();

 private:
  OutputFile& file_;
  int pipe_;
};

}  // namespace wgr
