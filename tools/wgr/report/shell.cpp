#include "report/shell.h"

#include <zlib.h>

#include <new>
#include <stdexcept>

#include "json_text.h"
#include "report/parts.h"

using Json = nlohmann::ordered_json;

static std::string deflated(const std::string& text, int level) {
  uLongf size = compressBound(static_cast<uLong>(text.size()));
  std::string packed(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                reinterpret_cast<const Bytef*>(text.data()),
                static_cast<uLong>(text.size()), level) != Z_OK) {
    throw std::bad_alloc();
  }
  packed.resize(size);
  return packed;
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
  return deflated(json_text(data), Z_BEST_SPEED).size() * 4 / 3;
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

std::string page_of(const PageParts& parts, const Json& data) {
  std::string page(kShellHtml);
  fill(page, "title", parts.title);
  fill(page, "styles", in_elements("style", kCommonCss, parts.styles));
  fill(page, "body", parts.body);
  fill(page, "data", base64(deflated(json_text(data), Z_DEFAULT_COMPRESSION)));
  fill(page, "scripts", in_elements("script", kCommonScript, parts.scripts));
  return page;
}
