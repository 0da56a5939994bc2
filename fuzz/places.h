// The library's fixed places, private to this process (scripts/private-paths), made fit
// for a hundred thousand runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr char kModelRootDirectory[] = "/usr/share/GestureModel";
inline constexpr char kLogFile[] = "/home/app/WgrLog.txt";

// Ends the process unless the places are private. Sends standard output nowhere.
void prepare_places();

enum class LogTo {
  kNowhere,     // a link to what is not there: the file does not open
  kNullDevice,  // opened and written, and kept nowhere
  kFile,        // a new, empty file
};
void set_log(LogTo where);

// The whole file at once, replaced if it is there.
void write_whole_file(const std::string& path, const void* bytes, std::size_t size);
inline void write_whole_file(const std::string& path, const std::string& content) {
  write_whole_file(path, content.data(), content.size());
}

// The whole content; empty when there is no such file.
std::string read_whole_file(const std::string& path);
