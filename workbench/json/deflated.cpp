#include "json/deflated.h"

#include <new>
#include <stdexcept>

#include "json/json_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr size_t kPiece = size_t{1} << 16;  // bytes

Deflated::Deflated(int level) : piece_(kPiece, '\0') {
  if (deflateInit(&stream_, level) != Z_OK) throw std::bad_alloc();
}

Deflated::~Deflated() { deflateEnd(&stream_); }

void Deflated::deflate_more(std::string_view text, int flush) {
  // What is deflated from is not written to.
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream_.avail_in = static_cast<uInt>(text.size());
  do {
    stream_.next_out = reinterpret_cast<Bytef*>(piece_.data());
    stream_.avail_out = static_cast<uInt>(kPiece);
    deflate(&stream_, flush);
    bytes_.append(piece_, 0, kPiece - stream_.avail_out);
  } while (stream_.avail_out == 0);
}

void Deflated::add(std::string_view text) { deflate_more(text, Z_NO_FLUSH); }

// As json_text() writes it, part by part.
void Deflated::add(const Json& json) {
  if (!json.is_structured()) return add(json_text(json));
  add(json.is_object() ? "{" : "[");
  bool first = true;
  for (const auto& [key, value] : json.items()) {
    if (!first) add(",");
    if (json.is_object()) add(json_text(Json(key)) + ":");
    add(value);
    first = false;
  }
  add(json.is_object() ? "}" : "]");
}

const std::string& Deflated::finish() {
  deflate_more("", Z_FINISH);
  return bytes_;
}

void Deflated::write(const TextSink& sink) const {
  z_stream stream = {};
  if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes_.data()));
  stream.avail_in = static_cast<uInt>(bytes_.size());
  std::string piece(kPiece, '\0');
  int result = Z_OK;
  while (result == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = static_cast<uInt>(kPiece);
    result = inflate(&stream, Z_NO_FLUSH);
    sink(std::string_view(piece).substr(0, kPiece - stream.avail_out));
  }
  inflateEnd(&stream);
  if (result == Z_MEM_ERROR) throw std::bad_alloc();
  if (result != Z_STREAM_END) throw std::logic_error("a deflated text has no end");
}

size_t packed_size(const Json& data) {
  Deflated packed(Z_BEST_SPEED);
  packed.add(data);
  packed.finish();
  return packed.size_in_page();
}

}  // namespace wgr
