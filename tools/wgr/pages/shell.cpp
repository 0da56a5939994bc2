#include "pages/shell.h"

#include <filesystem>
#include <stdexcept>

#include "base/text.h"
#include "pages/parts.h"

namespace wgr {

using Json = nlohmann::ordered_json;

Json origin_json(const PageOrigin& origin) {
  const auto stamp = [](const std::optional<double>& t) { return t ? Json(*t) : Json(); };
  return {{"version", origin.version},
          {"command", origin.command},
          {"model_sha256", origin.model_sha256},
          {"first_stamp", stamp(origin.first_stamp)},
          {"last_stamp", stamp(origin.last_stamp)}};
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

// Puts `value` where the page has @@name@@.
static void fill(std::string& page, const std::string& name, std::string_view value) {
  const std::string mark = "@@" + name + "@@";
  const size_t at = page.find(mark);
  if (at == std::string::npos) throw std::logic_error("the page has no " + mark);
  page.replace(at, mark.size(), value);
}

static std::string in_elements(const std::string& name, std::string_view first,
                               const std::vector<std::string>& rest) {
  std::string text = fmt::format("<{}>{}</{}>\n", name, first, name);
  for (const std::string& one : rest) {
    text += fmt::format("<{}>{}</{}>\n", name, one, name);
  }
  return text;
}

// Bytes that a script unpacks.
static std::string in_script(const std::string& id, Deflated& bytes) {
  return "<script type=\"application/octet-stream\" id=\"" + id + "\">" +
         base64(bytes.finish()) + "</script>\n";
}

std::string page_of(const PageParts& parts, const std::vector<PackedData>& data) {
  std::string page(kShellHtml);
  fill(page, "title", parts.title);
  fill(page, "styles", in_elements("style", kCommonCss, parts.styles));
  fill(page, "body", parts.body);
  fill(page, "scripts", in_elements("script", kCommonScript, parts.scripts));
  // Last, as they may be large.
  std::string packed;
  for (const PackedData& one : data) packed += in_script(one.id, one.bytes);
  fill(page, "data", packed);
  return page;
}

std::string page_of(const PageParts& parts, const Json& data) {
  Deflated deflated(kPageLevel);
  deflated.add(data);
  return page_of(parts, {{"data", deflated}});
}

std::string name_of_path(const std::string& path) {
  const std::filesystem::path whole = std::filesystem::absolute(path).lexically_normal();
  return whole.has_filename() ? whole.filename() : whole.parent_path().filename();
}

}  // namespace wgr
