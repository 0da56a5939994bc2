#include "recording/byte_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace wgr {

static constexpr char kStandardInput[] = "-";
static constexpr unsigned char kGzipMagic[] = {0x1f, 0x8b};
static constexpr int kGzipOnly = 16;  // added to the window bits

static std::string error_text(const char* what) {
  return std::string(what) + ": " + std::strerror(errno);
}

ByteSource::ByteSource(const std::string& path)
    : fd_(path == kStandardInput ? STDIN_FILENO
                                 : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (fd_ < 0) throw ByteSourceError(error_text("cannot be opened"));
}

ByteSource::~ByteSource() {
  if (format_ == Format::kGzip) inflateEnd(&unpacker_);
  if (fd_ != STDIN_FILENO) close(fd_);
}

size_t ByteSource::read(char* bytes, size_t size) {
  if (format_ == Format::kUnknown) detect_format();
  return format_ == Format::kGzip ? read_gzip(bytes, size) : read_plain(bytes, size);
}

// Adds what has arrived behind the bytes that are there.
void ByteSource::fill() {
  if (begin_ == end_) begin_ = end_ = 0;
  ssize_t got = 0;
  do {
    got = ::read(fd_, buffer_.data() + end_, buffer_.size() - end_);
  } while (got < 0 && errno == EINTR);
  if (got < 0) throw ByteSourceError(error_text("cannot be read"));
  ended_ = got == 0;
  end_ += static_cast<size_t>(got);
}

void ByteSource::detect_format() {
  while (!ended_ && end_ < sizeof kGzipMagic) fill();
  if (end_ < sizeof kGzipMagic ||
      std::memcmp(buffer_.data(), kGzipMagic, sizeof kGzipMagic) != 0) {
    format_ = Format::kPlain;
    return;
  }
  if (inflateInit2(&unpacker_, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
  format_ = Format::kGzip;
  inside_member_ = true;
}

size_t ByteSource::read_plain(char* bytes, size_t size) {
  if (begin_ == end_ && !ended_) fill();
  const size_t count = std::min(size, end_ - begin_);
  std::memcpy(bytes, buffer_.data() + begin_, count);
  begin_ += count;
  return count;
}

size_t ByteSource::read_gzip(char* bytes, size_t size) {
  unpacker_.next_out = reinterpret_cast<Bytef*>(bytes);
  unpacker_.avail_out = static_cast<uInt>(size);
  while (unpacker_.avail_out == size) {
    if (begin_ == end_ && !ended_) fill();
    if (begin_ == end_) return 0;
    if (!inside_member_) {
      inflateReset(&unpacker_);
      inside_member_ = true;
    }
    unpacker_.next_in = reinterpret_cast<Bytef*>(buffer_.data() + begin_);
    unpacker_.avail_in = static_cast<uInt>(end_ - begin_);
    const int status = inflate(&unpacker_, Z_NO_FLUSH);
    begin_ = end_ - unpacker_.avail_in;
    if (status == Z_MEM_ERROR) throw std::bad_alloc();
    if (status == Z_STREAM_END) {
      inside_member_ = false;
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
      throw ByteSourceError("the gzip data is broken");
    }
  }
  return size - unpacker_.avail_out;
}

}  // namespace wgr
