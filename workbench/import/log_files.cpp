#include "import/log_files.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

#include "recording/byte_source.h"

namespace wgr {

namespace fs = std::filesystem;

static constexpr size_t kPiece = 65536;

std::vector<LogFile> LogBytes::files() const {
  std::vector<LogFile> files;
  for (size_t i = 0; i < names.size(); ++i) files.push_back({names[i], bytes[i]});
  return files;
}

static void read_file(const std::string& path, ReadingLimit& limit, LogBytes& to) {
  const std::string name = path == "-" ? "standard input" : path;
  std::string bytes;
  try {
    ByteSource source(path);
    std::array<char, kPiece> piece;
    while (const size_t got = source.read(piece.data(), piece.size())) {
      limit.add(got, name + ": ");
      bytes.append(piece.data(), got);
    }
  } catch (const ByteSourceError& error) {
    throw RecordingError(name + ": " + error.what());
  }
  to.names.push_back(name);
  to.bytes.push_back(std::move(bytes));
}

static void read_folder(const std::string& path, ReadingLimit& limit, LogBytes& to) {
  static const std::set<std::string> kTables = {".csv", ".tsv", ".txt"};
  std::vector<std::string> paths;
  for (const auto& entry : fs::directory_iterator(path)) {
    std::string name = entry.path().filename().string();
    if (name.size() > 3 && name.compare(name.size() - 3, 3, ".gz") == 0) {
      name.erase(name.size() - 3);
    }
    if (entry.is_regular_file() &&
        kTables.count(fs::path(name).extension().string()) > 0) {
      paths.push_back(entry.path().string());
    }
  }
  if (paths.empty()) {
    throw RecordingError(path + ": holds no .csv, .tsv or .txt: give the log's files");
  }
  std::sort(paths.begin(), paths.end());
  for (const std::string& file : paths) read_file(file, limit, to);
}

LogBytes read_log_files(const std::vector<std::string>& paths, ReadingLimit& limit) {
  LogBytes log;
  for (const std::string& path : paths) {
    if (path != "-" && fs::is_directory(path)) {
      read_folder(path, limit, log);
    } else {
      read_file(path, limit, log);
    }
  }
  return log;
}

}  // namespace wgr
