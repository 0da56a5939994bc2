// Whole files, the log, and what is printed on standard output.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline const std::string kLogDirectory = "/home/app";
inline const std::string kLogPath = "/home/app/WgrLog.txt";

inline void write_file(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  ASSERT_TRUE(file.good()) << "cannot write " << path;
}

// The whole content; fails the test, and is empty, when there is no such file.
inline std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << "cannot read " << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The log so far; empty when nothing was logged.
inline std::string read_log() {
  return std::filesystem::exists(kLogPath) ? read_file(kLogPath) : std::string();
}

// Empties the log's directory. The directory itself stays: it is a mount.
inline void clear_log() {
  for (const auto& entry : std::filesystem::directory_iterator(kLogDirectory))
    std::filesystem::remove_all(entry.path());
}

// A directory of its own for one test, removed with all that is in it.
class TempDirectory {
 public:
  TempDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "wgr-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Takes what the process prints on a descriptor, standard output unless given
// otherwise, from construction until finish().
class Capture {
 public:
  explicit Capture(int descriptor = STDOUT_FILENO)
      : descriptor_(descriptor), saved_(dup(descriptor)), file_(std::tmpfile()) {
    std::fflush(nullptr);
    if (saved_ < 0 || file_ == nullptr) std::abort();
    dup2(fileno(file_), descriptor_);
  }
  ~Capture() { finish(); }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  std::string finish() {
    std::string text;
    if (file_ == nullptr) return text;
    std::fflush(nullptr);
    dup2(saved_, descriptor_);
    close(saved_);
    std::rewind(file_);
    for (int c; (c = std::fgetc(file_)) != EOF;) text.push_back(static_cast<char>(c));
    std::fclose(file_);
    file_ = nullptr;
    return text;
  }

 private:
  const int descriptor_;
  const int saved_;
  std::FILE* file_;
};
