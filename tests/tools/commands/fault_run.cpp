#include "fault_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/child.h"

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

static constexpr std::chrono::minutes kMostTime{10};  // a busy machine is no hang
static constexpr uid_t kNobody = 65534;
static constexpr int kFirstSpare = 20;  // descriptors that no program looks at

[[noreturn]] static void give_up(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

Tree tree_of(const std::string& folder) {
  Tree tree;
  for (auto at = std::filesystem::recursive_directory_iterator(folder);
       at != std::filesystem::recursive_directory_iterator(); ++at) {
    const std::string path = at->path();
    Entry entry = {};
    if (lstat(path.c_str(), &entry.about) != 0) give_up(path);
    if (S_ISREG(entry.about.st_mode)) {
      std::ifstream file(path, std::ios::binary);
      entry.content.assign(std::istreambuf_iterator<char>(file), {});
    } else if (S_ISLNK(entry.about.st_mode)) {
      entry.content = std::filesystem::read_symlink(path);
    }
    tree[path.substr(folder.size() + 1)] = entry;
  }
  return tree;
}

namespace {

// A descriptor that the program takes over, and the end of it that stays here.
struct Ends {
  int there = -1;
  int here = -1;
};

// One that is read here, into `text`, until nobody can write any more.
struct Taken {
  int fd;
  std::string* text;
};

}  // namespace

static int spare(int fd) {
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, kFirstSpare);
  close(fd);
  return moved;
}

static Ends open_ends(const Stream& stream, bool input) {
  Ends ends;
  if (stream.kind == Stream::kFile || (input && stream.kind == Stream::kUsual)) {
    const std::string path = stream.kind == Stream::kFile ? stream.path : "/dev/null";
    ends.there =
        open(path.c_str(), input ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (ends.there < 0) give_up(path);
    ends.there = spare(ends.there);
  } else if (stream.kind != Stream::kClosed) {
    std::array<int, 2> both;
    if (pipe(both.data()) != 0) give_up("pipe");
    ends.here = spare(both[0]);
    ends.there = spare(both[1]);
  }
  return ends;
}

[[noreturn]] static void become(const std::string& folder, const std::string& program,
                                const Run& run, const std::array<Ends, 3>& ends,
                                int alive) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) {
    std::signal(signal, SIG_DFL);
  }
  for (int fd = 0; fd < 3; ++fd) {
    const int there = ends[static_cast<size_t>(fd)].there;
    there < 0 ? close(fd) : dup2(there, fd);
  }
  fcntl(alive, F_SETFD, 0);
  setenv("TMPDIR", run.temporary.c_str(), 1);
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  if (run.longest_file) {
    const rlimit limit = {*run.longest_file, *run.longest_file};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  if (run.as_nobody && (setgid(kNobody) != 0 || setuid(kNobody) != 0))
    _exit(kChildCannot);
  std::vector<char*> words = {const_cast<char*>(program.c_str())};
  for (const std::string& word : run.words)
    words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  if (chdir(folder.c_str()) == 0) execv(program.c_str(), words.data());
  _exit(kChildCannot);
}

// Reads what there is; whether more can come.
static bool take(const Taken& taken) {
  std::array<char, 65536> bytes;
  const ssize_t got = read(taken.fd, bytes.data(), bytes.size());
  if (got > 0) taken.text->append(bytes.data(), static_cast<size_t>(got));
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

// Reads until the end of `alive` and sends the signal when its time has come. Whether the
// program ended in time.
static bool attend(pid_t child, const Run& run, int alive, int watch,
                   const std::vector<Taken>& taken) {
  const Clock::time_point start = Clock::now();
  const Clock::time_point never = start + 2 * kMostTime;
  Clock::time_point due = run.signal != 0 && watch < 0 ? start + run.delay : never;
  std::vector<pollfd> polled = {{alive, POLLIN, 0}, {watch, POLLIN, 0}};
  for (const Taken& one : taken) polled.push_back({one.fd, POLLIN, 0});
  for (;;) {
    const Clock::time_point now = Clock::now();
    if (now > start + kMostTime) return false;
    if (now >= due) {
      kill(child, run.signal);
      due = never;
    }
    const auto wait = std::min(due, start + kMostTime) - now;
    const auto nanoseconds = std::max<int64_t>(0, std::chrono::nanoseconds(wait).count());
    const timespec most = {static_cast<time_t>(nanoseconds / 1'000'000'000),
                           static_cast<long>(nanoseconds % 1'000'000'000)};
    if (ppoll(polled.data(), polled.size(), &most, nullptr) <= 0) continue;
    if (polled[1].revents != 0) {
      due = Clock::now() + run.delay;
      polled[1].fd = -1;
    }
    for (size_t i = 0; i < taken.size(); ++i) {
      if (polled[i + 2].revents != 0 && !take(taken[i])) polled[i + 2].fd = -1;
    }
    if (polled[0].revents != 0) return true;
  }
}

static int watch_for_changes(const std::string& folder) {
  const int watch = spare(inotify_init1(IN_CLOEXEC));
  const uint32_t changes = IN_CREATE | IN_MODIFY | IN_MOVED_TO | IN_CLOSE_WRITE;
  if (inotify_add_watch(watch, folder.c_str(), changes) < 0) give_up(folder);
  return watch;
}

RunResult run_in(const std::string& folder, const std::string& program, const Run& run) {
  RunResult result;
  const std::array<Ends, 3> ends = {open_ends(run.in, true), open_ends(run.out, false),
                                    open_ends(run.err, false)};
  std::array<int, 2> alive;
  if (pipe(alive.data()) != 0) give_up("pipe");
  alive = {spare(alive[0]), spare(alive[1])};
  std::vector<Taken> taken;
  if (run.out.kind == Stream::kUsual) taken.push_back({ends[1].here, &result.out});
  if (run.err.kind == Stream::kUsual) taken.push_back({ends[2].here, &result.err});
  for (const std::string& fifo : run.fifos) {
    const int fd = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) give_up(fifo);
    taken.push_back({spare(fd), &result.fifos[fifo]});
  }
  const int watch = run.watched.empty() ? -1 : watch_for_changes(run.watched);
  if (run.out.kind == Stream::kWithoutReader) close(ends[1].here);
  if (run.err.kind == Stream::kWithoutReader) close(ends[2].here);

  const Clock::time_point start = Clock::now();
  const pid_t child = fork();
  if (child < 0) give_up("fork");
  if (child == 0) become(folder, program, run, ends, alive[1]);
  for (const Ends& end : ends) {
    if (end.there >= 0) close(end.there);
  }
  close(alive[1]);
  result.hung = !attend(child, run, alive[0], watch, taken);
  if (result.hung) kill(child, SIGKILL);
  int status = 0;
  if (waitpid(child, &status, 0) != child) give_up("waitpid");
  result.took = std::chrono::duration_cast<microseconds>(Clock::now() - start);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  // The rest of what it wrote; of a FIFO, where a reader without writers never waits.
  for (const Taken& one : taken) {
    fcntl(one.fd, F_SETFL, O_NONBLOCK);
    for (size_t before = ~size_t{0}; before != one.text->size();) {
      before = one.text->size();
      take(one);
    }
    close(one.fd);
  }
  close(alive[0]);
  if (watch >= 0) close(watch);
  return result;
}

static bool write_map(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  return static_cast<bool>(file);
}

// In a user namespace a process must be root to mount.
static bool become_root_of_a_namespace() {
  const std::string uid = std::to_string(geteuid());
  const std::string gid = std::to_string(getegid());
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         write_map("/proc/self/setgroups", "deny") &&
         write_map("/proc/self/uid_map", "0 " + uid + " 1") &&
         write_map("/proc/self/gid_map", "0 " + gid + " 1");
}

static bool own_mounts = false;

bool may_mount() {
  own_mounts = (unshare(CLONE_NEWNS) == 0 || become_root_of_a_namespace()) &&
               mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
  return own_mounts;
}

static void mount_here(const char* source, const std::string& folder, const char* type,
                       unsigned long flags, const char* options) {
  if (!own_mounts || mount(source, folder.c_str(), type, flags, options) != 0) {
    throw CannotTry("nothing can be mounted here");
  }
}

void mount_disk(const std::string& folder, size_t bytes, size_t files) {
  std::string options = "mode=755";
  if (bytes > 0) options += ",size=" + std::to_string(bytes);
  if (files > 0) options += ",nr_inodes=" + std::to_string(files);
  mount_here("tmpfs", folder, "tmpfs", 0, options.c_str());
}

void mount_read_only(const std::string& folder) {
  mount_here(folder.c_str(), folder, "none", MS_BIND, nullptr);
  mount_here("none", folder, "none", MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr);
}

void unmount(const std::string& folder) { umount2(folder.c_str(), MNT_DETACH); }

bool give_to_nobody(const std::string& folder) {
  if (lchown(folder.c_str(), kNobody, kNobody) != 0) return false;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (lchown(entry.path().c_str(), kNobody, kNobody) != 0) return false;
  }
  return true;
}

void make_device(const std::string& path, const std::string& name) {
  const std::string usual = "/dev/" + name;
  struct stat about;
  if (stat(usual.c_str(), &about) != 0) give_up(usual);
  if (mknod(path.c_str(), S_IFCHR | 0666, about.st_rdev) == 0) {
    // Where devices do not count, it can be made and not opened.
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd >= 0) {
      close(fd);
      return;
    }
    ::unlink(path.c_str());
  }
  std::ofstream(path).close();
  mount_here(usual.c_str(), path, nullptr, MS_BIND, nullptr);
}
