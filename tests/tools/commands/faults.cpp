#include "faults.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "support/files.h"

namespace fs = std::filesystem;

static constexpr size_t kPage = 4096;  // bytes, of a disk in memory
static constexpr uid_t kOddOwner = 1234;
static constexpr gid_t kOddGroup = 5678;
static constexpr char kFiller[] = "out/filler";

static void put_old(const Disturbed& d, const std::string& name) {
  fs::create_directories(fs::path(d.path(name)).parent_path());
  write_file(d.path(name), "old " + name + "\n");
  chmod(d.path(name).c_str(), kOddMode);
  // Where that is not allowed it stays its maker's.
  static_cast<void>(chown(d.path(name).c_str(), kOddOwner, kOddGroup) == 0);
}

static void put_all_old(Disturbed& d) {
  for (const std::string name : d.command.outputs) put_old(d, name);
}

static void put_parent_of_target(const Disturbed& d) {
  fs::create_directories(fs::path(d.target_path()).parent_path());
}

static size_t size_of_all(const Usual& usual) {
  size_t pages = 0;
  for (const auto& [name, text] : usual.files) pages += (text.size() + kPage - 1) / kPage;
  return pages * kPage;
}

static size_t size_of_largest(const Usual& usual) {
  size_t most = 0;
  for (const auto& [name, text] : usual.files) most = std::max(most, text.size());
  return most;
}

// Mounts a disk for the outputs with `bytes` to spare beside what is on it by then.
static void fill_disk(Disturbed& d, size_t bytes, bool old) {
  const size_t room =
      bytes / kPage * kPage + (old ? d.command.outputs.size() * kPage : 0);
  mount_disk(d.path("out"), room + kPage);
  d.mounts.push_back(d.path("out"));
  if (old) put_all_old(d);
  write_file(d.path(kFiller), std::string(kPage, 'x'));
}

static void lose_output(Disturbed& d, const Stream& stream) {
  d.run.out = stream;
  if (!d.command.prints) return;
  d.loses = true;
  d.status = 1;
}

void refuse(Disturbed& d) {
  d.loses = true;
  d.status = 2;
}

static void put_device(Disturbed& d, const char* name) {
  d.lonely = true;
  put_parent_of_target(d);
  make_device(d.target_path(), name);
  d.mounts.push_back(d.target_path());
}

static void put_link(Disturbed& d, const std::string& to) {
  put_parent_of_target(d);
  fs::create_symlink(to, d.target_path());
}

// Where a link from the target's folder leads to the case's folder.
static std::string up(const Disturbed& d) {
  const auto depth = std::count(d.target.begin(), d.target.end(), '/');
  std::string way;
  for (auto i = depth; i > 0; --i) way += "../";
  return way;
}

static Fault full_disk(const std::string& name, bool old,
                       const std::function<size_t(size_t)>& room) {
  return {"full_disk_" + name, [=](Disturbed& d) {
            fill_disk(d, room(size_of_all(d.usual)), old);
            d.status = 1;
          }};
}

static Fault limited(const std::string& name,
                     const std::function<size_t(size_t)>& limit) {
  return {"file_size_limit_" + name, [=](Disturbed& d) {
            put_all_old(d);
            const size_t largest = size_of_largest(d.usual);
            d.run.longest_file = std::min(limit(largest), largest - 1);
            d.status = 1;
          }};
}

// At any time, or from the first change that shows.
enum class When { kAny, kOverOld, kMakingNew };

static Fault signalled(int signal, const std::string& name, When when, int repeated) {
  const bool late = when != When::kAny;
  const std::string suffix = when == When::kAny       ? ""
                             : when == When::kOverOld ? "_while_replacing"
                                                      : "_while_making";
  return {name + suffix,
          [=](Disturbed& d) {
            if (when != When::kMakingNew) put_all_old(d);
            d.run.signal = signal;
            const auto most =
                late ? 400.0 : 1.1 * static_cast<double>(d.usual.took.count());
            const double delay = std::uniform_real_distribution<>(0.0, most)(d.random);
            d.run.delay = std::chrono::microseconds(static_cast<long>(delay));
            if (late) d.run.watched = d.path(d.command.outputs.empty() ? "tmp" : "out");
          },
          repeated, signal != SIGHUP};
}

std::vector<Fault> faults_of_a_run() {
  return {
      {"standard_input_closed", [](Disturbed& d) { d.run.in = {Stream::kClosed}; }},
      {"standard_error_closed", [](Disturbed& d) { d.run.err = {Stream::kClosed}; }},
      {"standard_error_without_reader",
       [](Disturbed& d) { d.run.err = {Stream::kWithoutReader}; }},
      {"standard_error_full",
       [](Disturbed& d) {
         d.run.err = {Stream::kFile, "/dev/full"};
       }},
      {"standard_output_closed", [](Disturbed& d) { lose_output(d, {Stream::kClosed}); },
       1, true},
      {"standard_output_without_reader",
       [](Disturbed& d) { lose_output(d, {Stream::kWithoutReader}); }},
      {"standard_output_full",
       [](Disturbed& d) {
         lose_output(d, {Stream::kFile, "/dev/full"});
       },
       1, true},
      {"all_closed",
       [](Disturbed& d) {
         d.run.in = d.run.err = {Stream::kClosed};
         lose_output(d, {Stream::kClosed});
         if (d.command.input != nullptr) d.status = 2;  // nothing to read is seen first
       }},
      {"no_temporary_folder",
       [](Disturbed& d) { d.run.temporary = d.path("tmp/missing"); }, 1, true},
      {"temporary_folder_read_only",
       [](Disturbed& d) {
         mount_read_only(d.path("tmp"));
         d.mounts.push_back(d.path("tmp"));
       }},
      signalled(SIGINT, "SIGINT", When::kAny, 5),
      signalled(SIGTERM, "SIGTERM", When::kAny, 5),
      signalled(SIGHUP, "SIGHUP", When::kAny, 2),
      signalled(SIGKILL, "SIGKILL", When::kAny, 5),
  };
}

std::vector<Fault> faults_of_prints() {
  const auto to_file = [](Disturbed& d) {
    d.run.out = {Stream::kFile, d.path("elsewhere/printed")};
    write_file(d.run.out.path, "");
    d.status = 1;
  };
  return {
      {"printed_to_a_full_disk",
       [=](Disturbed& d) {
         to_file(d);
         d.run.out.path = d.path("out/printed");
         mount_disk(d.path("out"), kPage);
         d.mounts.push_back(d.path("out"));
         write_file(d.path(kFiller), std::string(kPage, 'x'));
         write_file(d.run.out.path, "");
       }},
      {"printed_to_a_limit",
       [=](Disturbed& d) {
         to_file(d);
         d.run.longest_file = 0;
       }},
      {"printed_almost_to_a_limit",
       [=](Disturbed& d) {
         to_file(d);
         d.run.longest_file = d.usual.out.size() - 1;
       }},
  };
}

std::vector<Fault> faults_of_files() {
  const auto read_only = [](Disturbed& d) {
    mount_read_only(d.path("out"));
    d.mounts.push_back(d.path("out"));
    d.status = 2;
  };
  return {
      {"old_files", [](Disturbed& d) { put_all_old(d); }},
      {"odd_neighbours",
       [](Disturbed& d) {
         write_file(d.path("elsewhere/precious"), "precious");
         for (const std::string name : d.command.outputs) {
           put_old(d, name + ".part");
           put_old(d, name + "~");
           fs::create_symlink(d.path("elsewhere/precious"), d.path(name + ".tmp"));
           fs::create_symlink(d.path("elsewhere/precious"), d.path(name + ".part.xml"));
         }
       }},
      full_disk("without_room", false, [](size_t) { return 0; }),
      full_disk("without_room_over_old", true, [](size_t) { return 0; }),
      full_disk("of_a_page", false, [](size_t all) { return all > kPage ? kPage : 0; }),
      full_disk("of_half", false, [](size_t all) { return all / 2; }),
      full_disk("of_half_over_old", true, [](size_t all) { return all / 2; }),
      full_disk("a_page_short", false, [](size_t all) { return all - kPage; }),
      full_disk("a_page_short_over_old", true, [](size_t all) { return all - kPage; }),
      {"no_inodes",
       [](Disturbed& d) {
         mount_disk(d.path("out"), 64 * kPage, 1);
         d.mounts.push_back(d.path("out"));
         d.status = 1;
       }},
      limited("of_0", [](size_t) { return 0; }),
      limited("of_100", [](size_t) { return 100; }),
      limited("of_half", [](size_t most) { return most / 2; }),
      limited("a_byte_short", [](size_t most) { return most - 1; }),
      {"read_only", read_only},
      {"read_only_over_old",
       [=](Disturbed& d) {
         put_all_old(d);
         read_only(d);
       }},
      {"missing_folder", [](Disturbed& d) { fs::remove(d.path("out")); }},
      {"missing_folder_and_a_limit",
       [](Disturbed& d) {
         fs::remove(d.path("out"));
         d.run.longest_file = 0;
         d.status = 1;
       }},
      signalled(SIGINT, "SIGINT", When::kOverOld, 5),
      signalled(SIGINT, "SIGINT", When::kMakingNew, 3),
      signalled(SIGTERM, "SIGTERM", When::kOverOld, 5),
      signalled(SIGKILL, "SIGKILL", When::kOverOld, 5),
      signalled(SIGKILL, "SIGKILL", When::kMakingNew, 3),
  };
}

std::vector<Fault> faults_of_a_target() {
  return {
      {"null", [](Disturbed& d) { put_device(d, "null"); }},
      {"full",
       [](Disturbed& d) {
         put_device(d, "full");
         d.loses = true;
         d.status = 1;
       }},
      {"fifo",
       [](Disturbed& d) {
         put_parent_of_target(d);
         d.lonely = true;
         ASSERT_EQ(mkfifo(d.target_path().c_str(), kOddMode), 0);
         d.run.fifos = {d.target_path()};
       }},
      {"link",
       [](Disturbed& d) {
         put_old(d, "elsewhere/real");
         put_link(d, up(d) + "elsewhere/real");
         d.aliases["elsewhere/real"] = d.target;
       }},
      {"link_to_nothing_yet",
       [](Disturbed& d) {
         put_link(d, up(d) + "elsewhere/new");
         d.aliases["elsewhere/new"] = d.target;
       }},
      {"link_to_null",
       [](Disturbed& d) {
         d.lonely = true;
         make_device(d.path("elsewhere/null"), "null");
         d.mounts.push_back(d.path("elsewhere/null"));
         put_link(d, up(d) + "elsewhere/null");
       }},
      {"link_to_itself",
       [](Disturbed& d) {
         put_link(d, fs::path(d.target).filename());
         refuse(d);
       }},
      {"folder",
       [](Disturbed& d) {
         fs::create_directories(d.target_path());
         refuse(d);
       }},
      {"link_to_standard_output",
       [](Disturbed& d) {
         put_link(d, kOwnOutput);
         d.lonely = true;
         if (d.command.prints) return refuse(d);  // two outputs in one
         d.aliases["-"] = d.target;
       }},
      {"link_to_lost_output",
       [](Disturbed& d) {
         put_link(d, kOwnOutput);
         d.run.out = {Stream::kWithoutReader};
         d.loses = true;
         d.status = d.command.prints ? 2 : 1;
       }},
  };
}

std::vector<Fault> faults_of_a_plain_user() {
  const auto become_plain = [](Disturbed& d) {
    d.run.as_nobody = true;
    if (geteuid() != 0 || !give_to_nobody(d.folder))
      throw CannotTry("only root can be another user");
  };
  return {
      {"write_protected",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
         chmod(d.target_path().c_str(), 0444);
         refuse(d);
       }},
      {"of_another_user",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
         ASSERT_EQ(chown(d.target_path().c_str(), kOddOwner, kOddGroup), 0);
         chmod(d.target_path().c_str(), 0666);
         refuse(d);
       }},
      {"in_a_protected_folder",
       [=](Disturbed& d) {
         put_parent_of_target(d);
         become_plain(d);
         chmod(fs::path(d.target_path()).parent_path().c_str(), 0555);
         refuse(d);
       }},
      {"own",
       [=](Disturbed& d) {
         put_all_old(d);
         become_plain(d);
       }},
  };
}

Fault same_as(const std::string& other, bool hard) {
  return {(hard ? "hard_link_to_" : "link_to_") + other, [=](Disturbed& d) {
            put_parent_of_target(d);
            if (d.is_output(other)) put_old(d, other);
            if (hard) {
              fs::create_hard_link(d.path(other), d.target_path());
            } else {
              put_link(d, up(d) + other);
            }
            refuse(d);
          }};
}
