#include "report/shell.h"

#include <new>
#include <stdexcept>

#include "json_text.h"
#include "report/parts.h"

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

static std::string base64(const std::string& bytes) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    unsigned value = 0;
    for (size_t k = 0; k < 3; ++k) {
      value <<= 8;
      if (i + k < bytes.size()) value |= static_cast<unsigned char>(bytes[i + k]);
    }
    for (size_t k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : kDigits[(value >> (18 - 6 * k)) & 63];
    }
  }
  return text;
}

size_t packed_size(const Json& data) {
  Deflated packed(Z_BEST_SPEED);
  packed.add(data);
  packed.finish();
  return packed.size_in_page();
}

// Puts `value` where the page has @@name@@.
static void fill(std::string& page, const std::string& name, std::string_view value) {
  const std::string mark = "@@" + name + "@@";
  const size_t at = page.find(mark);
  if (at == std::string::npos) throw std::logic_error("the page has no " + mark);
  page.replace(at, mark.size(), value);
}

static std::string in_elements(const std::string& name, std::string_view first,
                               const std::vector<std::string>& rest) {
  std::string text = "<" + name + ">" + std::string(first) + "</" + name + ">\n";
  for (const std::string& one : rest) {
    text += "<" + name + ">" + one + "</" + name + ">\n";
  }
  return text;
}

std::string page_of(const PageParts& parts, Deflated& data) {
  std::string page(kShellHtml);
  fill(page, "title", parts.title);
  fill(page, "styles", in_elements("style", kCommonCss, parts.styles));
  fill(page, "body", parts.body);
  fill(page, "scripts", in_elements("script", kCommonScript, parts.scripts));
  fill(page, "data", base64(data.finish()));  // last, as it may be large
  return page;
}

std::string page_of(const PageParts& parts, const Json& data) {
  Deflated deflated(kPageLevel);
  deflated.add(data);
  return page_of(parts, deflated);
}
