#include "settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "base/held_signals.h"

namespace wgr::recorder {

static constexpr char kDefaultFile[] = "/etc/wgr-recorder.conf";
static constexpr char kFileVariable[] = "WGR_RECORDER_CONFIG";
static constexpr char kPrefix[] = "WGR_RECORDER_";
static constexpr std::size_t kMostText = 8192;  // of the file
static constexpr std::uint64_t kMega = 1'000'000;
static constexpr std::uint64_t kSecond = 1'000'000;  // us
static constexpr std::uint64_t kMinute = 60 * kSecond;
static constexpr std::uint64_t kLeastMegabytes = 1;
static constexpr std::uint64_t kMostMegabytes = 1'000'000;
static constexpr std::uint64_t kMostMinutes = 1'000'000;
static constexpr std::uint64_t kMostSignal = 64;
static constexpr const char* kNames[] = {
    "dir",    "library", "label", "keep", "max_mb",      "segment_kb", "minutes",
    "before", "after",   "start", "fork", "mark_signal", "inject"};

void complain(std::string_view what, std::string_view about) {
  HeldSignals held;
  static constexpr std::string_view kName = "wgr-recorder: ";
  const auto part = [](std::string_view text) {
    return iovec{const_cast<char*>(text.data()), text.size()};
  };
  const iovec parts[] = {part(kName), part(about), part(": "), part(what), part("\n")};
  if (writev(STDERR_FILENO, parts, 5) < 0) held.drop();
}

static std::string_view trimmed(std::string_view text) {
  const auto is_space = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

static bool take_path(std::string_view value, char* to) {
  if (value.empty() || value.front() != '/' || value.size() >= kPathSize) return false;
  std::memcpy(to, value.data(), value.size());
  to[value.size()] = '\0';
  return true;
}

static bool take_label(std::string_view value, char* to) {
  if (value.size() > kMostLabel) return false;
  std::memcpy(to, value.data(), value.size());
  to[value.size()] = '\0';
  return true;
}

// A whole number of `least` to `most` units.
template <class Number>
static bool take_number(std::string_view value, std::uint64_t least, std::uint64_t most,
                        std::uint64_t unit, Number& to) {
  std::uint64_t number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || stop != end || number < least || number > most)
    return false;
  to = static_cast<Number>(number * unit);
  return true;
}

static bool take_choice(std::string_view value, std::string_view no, std::string_view yes,
                        bool& to) {
  if (value != no && value != yes) return false;
  to = value == yes;
  return true;
}

static bool take_keep(std::string_view value, Keep& to) {
  if (value == "all") to = Keep::kAll;
  if (value == "ring") to = Keep::kRing;
  if (value == "events") to = Keep::kEvents;
  return value == "all" || value == "ring" || value == "events";
}

bool apply(Settings& s, std::string_view name, std::string_view value) {
  if (name == "dir") return take_path(value, s.dir);
  if (name == "library") return take_path(value, s.library);
  if (name == "label") return take_label(value, s.label);
  if (name == "keep") return take_keep(value, s.keep);
  if (name == "max_mb") {
    return take_number(value, kLeastMegabytes, kMostMegabytes, kMega, s.max_bytes);
  }
  if (name == "segment_kb") {
    return take_number(value, 64, kMostMegabytes, 1000, s.segment_bytes);
  }
  if (name == "minutes") return take_number(value, 0, kMostMinutes, kMinute, s.ring_us);
  if (name == "before") return take_number(value, 1, 86400, kSecond, s.before_us);
  if (name == "after") return take_number(value, 1, 86400, kSecond, s.after_us);
  if (name == "start") return take_choice(value, "off", "on", s.start);
  if (name == "fork") return take_choice(value, "none", "own", s.child_records);
  if (name == "mark_signal") return take_number(value, 0, kMostSignal, 1, s.mark_signal);
  if (name == "inject") return take_path(value, s.inject);
  return false;
}

// Lines NAME = VALUE, empty ones, and comments from # on.
static bool apply_text(Settings& settings, std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty() || line.front() == '#') continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos ||
        !apply(settings, trimmed(line.substr(0, equals)),
               trimmed(line.substr(equals + 1)))) {
      complain("no setting, or a value that it cannot have; nothing is recorded", line);
      return false;
    }
  }
  return true;
}

static bool apply_file(Settings& settings) {
  const char* const named = secure_getenv(kFileVariable);
  const char* const path = named != nullptr ? named : kDefaultFile;
  const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) {
    if (named != nullptr) complain("cannot be read; nothing is recorded", path);
    return named == nullptr;
  }
  char text[kMostText];
  const ssize_t size = read(fd, text, sizeof text);
  close(fd);
  if (size < 0 || size == static_cast<ssize_t>(sizeof text)) {
    complain("cannot be read, or is too long; nothing is recorded", path);
    return false;
  }
  return apply_text(settings, {text, static_cast<std::size_t>(size)});
}

static bool apply_environment(Settings& settings) {
  for (const char* const name : kNames) {
    char variable[64];
    std::size_t length = sizeof kPrefix - 1;
    std::memcpy(variable, kPrefix, length);
    for (const char* c = name; *c != '\0'; ++c) {
      variable[length++] = *c == '_' ? '_' : static_cast<char>(*c - 'a' + 'A');
    }
    variable[length] = '\0';
    const char* const value = secure_getenv(variable);
    if (value == nullptr || apply(settings, name, trimmed(value))) continue;
    complain("a value that it cannot have; nothing is recorded", variable);
    return false;
  }
  return true;
}

Settings read_settings() {
  Settings settings;
  const bool usable = apply_file(settings) && apply_environment(settings);
  if (!usable) settings.dir[0] = settings.inject[0] = '\0';
  if (settings.segment_bytes == 0) settings.segment_bytes = settings.max_bytes / 8;
  return settings;
}

}  // namespace wgr::recorder
