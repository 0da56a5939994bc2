// The bytes of a file or of standard input, unpacked when they are gzip.
//
// A read hands over what has arrived instead of waiting until a buffer is full, which is
// what a live stream needs and zlib's own file functions do not do.
#pragma once

#include <zlib.h>

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace wgr {

// The file cannot be opened or read, or its gzip data is broken; what() is the reason.
class ByteSourceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ByteSource {
 public:
  // "-" is standard input.
  explicit ByteSource(const std::string& path);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // Stores 1 to `size` bytes and returns how many; 0 at the end.
  size_t read(char* bytes, size_t size);

  // Whether the end was met within gzip data: what was read is right, but not all there
  // was, as after a power cut.
  bool cut_off() const { return ended_ && begin_ == end_ && inside_member_; }

 private:
  enum class Format { kUnknown, kPlain, kGzip };

  void fill();
  void detect_format();
  size_t read_plain(char* bytes, size_t size);
  size_t read_gzip(char* bytes, size_t size);

  int fd_;
  Format format_ = Format::kUnknown;
  z_stream unpacker_ = {};
  bool inside_member_ = false;  // a gzip file is one or more members, each with an end
  bool ended_ = false;          // of the file itself
  size_t begin_ = 0;            // of the bytes in `buffer_` that are not used yet
  size_t end_ = 0;
  std::array<char, 65536> buffer_;  // as they are in the file
};

}  // namespace wgr
