#include "import/zip_archive.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>
#include <vector>

namespace wgr {

// Of APPNOTE.TXT 6.3.
static constexpr std::string_view kLocalHeader = "PK\x03\x04";
static constexpr std::string_view kDirectoryEnd = "PK\x05\x06";
static constexpr size_t kDirectoryEntry = 0x02014b50;  // its first four bytes
static constexpr size_t kLocalHeaderSize = 30;
static constexpr size_t kDirectoryEntrySize = 46;
static constexpr size_t kDirectoryEndSize = 22;
static constexpr size_t kLongestComment = 65535;
static constexpr unsigned kEncrypted = 1;  // a flag
static constexpr unsigned kStored = 0;     // methods
static constexpr unsigned kDeflated = 8;
static constexpr size_t kPiece = 65536;

bool is_zip(std::string_view bytes) {
  return bytes.substr(0, kLocalHeader.size()) == kLocalHeader;
}

namespace {

struct Entry {
  std::string file;
  unsigned flags;
  unsigned method;
  std::uint32_t crc;
  size_t packed;  // bytes
  size_t offset;  // of the local header
};

class Archive {
 public:
  Archive(const std::string& name, std::string_view bytes) : name_(name), bytes_(bytes) {}

  std::vector<Entry> entries() const;
  std::string unpack(const Entry& entry, ReadingLimit& limit) const;

 private:
  [[noreturn]] void refuse(const std::string& reason) const {
    throw RecordingError(name_ + ": " + reason + ": unpack it, and give its folder");
  }
  [[noreturn]] void refuse_cut() const { refuse("the ZIP archive is cut"); }
  // A number of so many bytes, the lowest first.
  size_t number(size_t at, size_t count) const {
    if (at > bytes_.size() || bytes_.size() - at < count) refuse_cut();
    size_t value = 0;
    for (size_t i = count; i-- > 0;) {
      value = (value << 8) | static_cast<unsigned char>(bytes_[at + i]);
    }
    return value;
  }
  std::string_view part(size_t at, size_t size) const {
    if (at > bytes_.size() || bytes_.size() - at < size) refuse_cut();
    return bytes_.substr(at, size);
  }
  size_t directory_end() const;
  std::string inflated(std::string_view packed, const std::string& file,
                       ReadingLimit& limit) const;

  const std::string& name_;
  const std::string_view bytes_;
};

// Of zlib, without a header: ZIP has its own.
struct Unpacker {
  Unpacker() {
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
  }
  ~Unpacker() { inflateEnd(&stream); }
  Unpacker(const Unpacker&) = delete;
  Unpacker& operator=(const Unpacker&) = delete;

  z_stream stream = {};
};

}  // namespace

// It is the last in the file, but for a comment.
size_t Archive::directory_end() const {
  const size_t least =
      bytes_.size() - std::min(bytes_.size(), kDirectoryEndSize + kLongestComment);
  const size_t found = bytes_.rfind(kDirectoryEnd);
  if (found == std::string_view::npos || found < least) refuse_cut();
  part(found, kDirectoryEndSize);
  return found;
}

std::vector<Entry> Archive::entries() const {
  const size_t end = directory_end();
  const size_t count = number(end + 10, 2);
  size_t at = number(end + 16, 4);
  std::vector<Entry> entries;
  for (size_t i = 0; i < count; ++i) {
    if (number(at, 4) != kDirectoryEntry) refuse("the ZIP archive's list is broken");
    const size_t name_size = number(at + 28, 2);
    entries.push_back({std::string(part(at + kDirectoryEntrySize, name_size)),
                       static_cast<unsigned>(number(at + 8, 2)),
                       static_cast<unsigned>(number(at + 10, 2)),
                       static_cast<std::uint32_t>(number(at + 16, 4)), number(at + 20, 4),
                       number(at + 42, 4)});
    at += kDirectoryEntrySize + name_size + number(at + 30, 2) + number(at + 32, 2);
  }
  return entries;
}

std::string Archive::inflated(std::string_view packed, const std::string& file,
                              ReadingLimit& limit) const {
  Unpacker unpacker;
  z_stream& stream = unpacker.stream;
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  std::string bytes;
  std::array<char, kPiece> piece;
  int status = Z_OK;
  while (status == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = static_cast<uInt>(piece.size());
    status = inflate(&stream, Z_NO_FLUSH);
    if (status == Z_MEM_ERROR) throw std::bad_alloc();
    const size_t got = piece.size() - stream.avail_out;
    limit.add(got, name_ + ": ");
    bytes.append(piece.data(), got);
  }
  if (status != Z_STREAM_END) refuse("the ZIP archive's " + file + " is broken");
  return bytes;
}

std::string Archive::unpack(const Entry& entry, ReadingLimit& limit) const {
  if ((entry.flags & kEncrypted) != 0) {
    refuse("the ZIP archive's " + entry.file + " is encrypted");
  }
  const size_t at = entry.offset;
  const size_t begin = at + kLocalHeaderSize + number(at + 26, 2) + number(at + 28, 2);
  const std::string_view packed = part(begin, entry.packed);
  std::string bytes;
  if (entry.method == kStored) {
    limit.add(packed.size(), name_ + ": ");
    bytes = std::string(packed);
  } else if (entry.method == kDeflated) {
    bytes = inflated(packed, entry.file, limit);
  } else {
    refuse("the ZIP archive's " + entry.file + " is packed in a way that is not known");
  }
  const auto crc = crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  if (crc != entry.crc) refuse("the ZIP archive's " + entry.file + " is broken");
  return bytes;
}

void unpack_zip(
    const std::string& name, std::string_view bytes, ReadingLimit& limit,
    const std::function<bool(const std::string& file)>& wanted,
    const std::function<void(const std::string& file, std::string bytes)>& take) {
  const Archive archive(name, bytes);
  for (const Entry& entry : archive.entries()) {
    if (wanted(entry.file)) take(entry.file, archive.unpack(entry, limit));
  }
}

}  // namespace wgr
