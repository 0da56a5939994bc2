// Child processes that try what must not happen to the test program itself.
#pragma once

#include <linux/capability.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

inline constexpr unsigned kChildSeconds = 60;  // then the child is ended: it hangs
inline constexpr int kChildCannot = 99;        // the machine forbids what a child needs

// Runs `body` in a child and returns what it returned, 0 to 255; minus the signal that
// ended it. Leaks are not looked for in the child. A body that calls exit() itself lets a
// library that counts what is reached write its counts.
inline int in_child(const std::function<int()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(kChildSeconds);
    const int status = body();
    std::fflush(nullptr);
    _exit(status);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return kChildCannot;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// For a child: an empty directory becomes its whole file system, so that /home/app and
// /usr/share are missing. Open files stay open.
inline bool enter_empty_root(const std::string& empty_directory) {
  if (chroot(empty_directory.c_str()) != 0 &&
      (unshare(CLONE_NEWUSER) != 0 || chroot(empty_directory.c_str()) != 0)) {
    return false;
  }
  return chdir("/") == 0;
}

// For a child: file modes hold for it even when it is root's.
inline bool drop_capabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[2] = {};
  return syscall(SYS_capset, &header, none) == 0;
}
