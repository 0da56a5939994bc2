// Files that belong together: all of them are there in the end, or none.
//
// What is written goes to temporary files first. commit() moves them to their names, with
// the mode and the owner of what was there before. A process that ends earlier leaves
// everything as it was. Devices, FIFOs and standard output cannot wait: what is for them
// goes straight into them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace wgr {

class OutputFile {
 public:
  virtual ~OutputFile() = default;

  // May be called repeatedly. Throws OutputError when not all can be written.
  virtual void write(std::string_view bytes) = 0;
};

class OutputFiles {
 public:
  OutputFiles();
  ~OutputFiles();
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  // Missing folders are made with the file. Throws UsageError for a path that cannot be
  // written (see find_target()), OutputError when the machine fails.
  OutputFile& open(const std::string& path);

  // The same with all that the file is to hold.
  void write(const std::string& path, std::string_view bytes);

  // Takes the file away, if there is one, when the others are put in their places.
  void remove(const std::string& path);

  // Once, at the end. Throws OutputError, and then no file has changed.
  void commit();

 private:
  class Part;
  class StraightPart;
  class FilePart;
  class RemovedPart;

  std::vector<std::unique_ptr<Part>> parts_;
};

// One file alone.
void write_output(const std::string& path, std::string_view bytes);

}  // namespace wgr
