#include "import/log_files.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

#include "import/zip_archive.h"
#include "recording/byte_source.h"

namespace wgr {

namespace fs = std::filesystem;

static constexpr size_t kPiece = 65536;

std::vector<LogFile> LogBytes::files() const {
  std::vector<LogFile> files;
  for (size_t i = 0; i < names.size(); ++i) files.push_back({names[i], bytes[i]});
  return files;
}

bool is_log_name(const std::string& name) {
  static const std::set<std::string> kTables = {".csv", ".tsv", ".txt"};
  std::string plain_name = name;
  if (plain_name.size() > 3 && plain_name.compare(plain_name.size() - 3, 3, ".gz") == 0) {
    plain_name.erase(plain_name.size() - 3);
  }
  const fs::path path(plain_name);
  // macOS puts files of its own, "._NAME", beside those of an archive.
  return kTables.count(path.extension().string()) > 0 &&
         path.filename().string().rfind("._", 0) != 0;
}

void add_log_file(const std::string& name, std::string bytes, ReadingLimit& limit,
                  LogBytes& to) {
  const auto take = [&](const std::string& file, std::string unpacked) {
    to.names.push_back(file);
    to.bytes.push_back(std::move(unpacked));
  };
  if (!is_zip(bytes)) return take(name, std::move(bytes));
  const size_t before = to.names.size();
  unpack_zip(name, bytes, limit, is_log_name,
             [&](const std::string& file, std::string unpacked) {
               take(name + "/" + file, std::move(unpacked));
             });
  if (to.names.size() > before) return;
  throw RecordingError(name + ": holds no .csv, .tsv or .txt: give the log's files");
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
  add_log_file(name, std::move(bytes), limit, to);
}

static void read_folder(const std::string& path, ReadingLimit& limit, LogBytes& to) {
  std::vector<std::string> paths;
  for (const auto& entry : fs::directory_iterator(path)) {
    if (entry.is_regular_file() && is_log_name(entry.path().filename().string())) {
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
