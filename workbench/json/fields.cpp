#include "json/fields.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "base/errors.h"
#include "base/foreign_text.h"
#include "base/suggestion.h"
#include "base/text.h"

namespace wgr {

using Json = nlohmann::ordered_json;
using Kind = JsonField::Kind;

static constexpr size_t kMostBytes = 16u << 20;
static constexpr int kDeepest = 16;
static constexpr double kLongestText = 4096;
static constexpr double kSha256Digits = 64;
static constexpr size_t kLongestQuote = 60;

JsonField truth_field(const std::string& name) { return {name, Kind::kTruth}; }
JsonField number_field(const std::string& name, const NumberRange& range) {
  return {name, Kind::kNumber, range};
}
JsonField text_field(const std::string& name) {
  return {name, Kind::kText, {0, kLongestText}};
}
JsonField sha256_field(const std::string& name) {
  return {name, Kind::kText, {kSha256Digits, kSha256Digits}};
}
JsonField object_field(const std::string& name, std::vector<JsonField> inside) {
  return {name, Kind::kObject, {0, 0}, std::move(inside)};
}
JsonField map_field(const std::string& name, JsonField of) {
  return {name, Kind::kMap, {0, 0}, {std::move(of)}};
}
JsonField list_field(const std::string& name, JsonField of) {
  return {name, Kind::kList, {0, 0}, {std::move(of)}};
}
JsonField row_field(const std::string& name, std::vector<JsonField> of) {
  return {name, Kind::kRow, {0, 0}, std::move(of)};
}
JsonField optional(JsonField field) {
  field.optional = true;
  return field;
}

static std::string wanted_of(const JsonField& field) {
  switch (field.kind) {
    case Kind::kTruth:
      return "true or false";
    case Kind::kNumber:
      return field.range.text();
    case Kind::kText:
      return field.range.least == field.range.most
                 ? "a text of " + plain(field.range.most) + " characters"
                 : "a text of at most " + plain(field.range.most) + " bytes";
    case Kind::kList:
      return "a list";
    case Kind::kRow:
      return fmt::format("a list of {} values", field.inside.size());
    case Kind::kObject:
    case Kind::kMap:
      break;
  }
  return "an object";
}

static bool fits(const Json& json, const JsonField& field) {
  switch (field.kind) {
    case Kind::kTruth:
      return json.is_boolean();
    case Kind::kNumber:
      return json.is_number() && field.range.holds(json.get<double>());
    case Kind::kText:
      return json.is_string() && field.range.holds(static_cast<double>(
                                     json.get_ref<const std::string&>().size()));
    case Kind::kList:
      return json.is_array();
    case Kind::kRow:
      return json.is_array() && json.size() == field.inside.size();
    case Kind::kObject:
    case Kind::kMap:
      break;
  }
  return json.is_object();
}

namespace {

// Walks down the values; `path` leads from the file to the current value.
class Check {
 public:
  explicit Check(std::string file) : file_(std::move(file)) {}

  void value(const Json& json, const JsonField& field, const std::string& path) const {
    if (!fits(json, field)) {
      const std::string dumped =
          json.is_structured()
              ? fmt::format("{}{}", json.is_array() ? "a list of " : "an object of ",
                            json.size())
              : shortened(json.dump(-1, ' ', false, Json::error_handler_t::replace),
                          kLongestQuote);
      refuse(path, wanted_of(field) + " is required, not " + dumped);
    }
    if (field.kind == Kind::kObject) object(json, field, path);
    if (field.kind == Kind::kMap) {
      for (const auto& [name, entry] : json.items()) {
        value(entry, field.inside[0], below(path, name));
      }
    }
    for (size_t i = 0; i < json.size() && json.is_array(); ++i) {
      const JsonField& of = field.inside[field.kind == Kind::kRow ? i : 0];
      value(json[i], of, fmt::format("{}[{}]", path, i));
    }
  }

 private:
  void object(const Json& json, const JsonField& field, const std::string& path) const {
    std::vector<std::string> names;
    for (const JsonField& inside : field.inside) {
      names.push_back(inside.name);
      const auto found = json.find(inside.name);
      if (found != json.end()) {
        value(*found, inside, below(path, inside.name));
      } else if (!inside.optional) {
        refuse(below(path, inside.name),
               "is missing: " + wanted_of(inside) + " is required");
      }
    }
    for (const auto& [name, ignored] : json.items()) {
      if (std::find(names.begin(), names.end(), name) != names.end()) continue;
      refuse(below(path, name),
             "is no field that is known here" + did_you_mean(name, names));
    }
  }

  static std::string below(const std::string& path, const std::string& name) {
    return (path.empty() ? "" : path + ".") + shortened(name, kLongestQuote);
  }

  [[noreturn]] void refuse(const std::string& path, const std::string& reason) const {
    throw UsageError(
        fmt::format("{}: {}{}", file_, path.empty() ? "" : path + ": ", reason));
  }

  const std::string file_;
};

}  // namespace

void check_json(const Json& json, const JsonField& fields, const std::string& where) {
  Check(where).value(json, fields, "");
}

static std::string bytes_of(const std::string& path) {
  std::error_code failed;
  if (!std::filesystem::is_regular_file(path, failed)) {
    throw UsageError(path + ": cannot be read: " +
                     (failed ? failed.message() : "it is not a regular file"));
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": cannot be read: " + std::strerror(errno));
  std::string bytes;
  std::array<char, 65536> part;
  do {
    file.read(part.data(), part.size());
    bytes.append(part.data(), static_cast<size_t>(file.gcount()));
  } while (file && bytes.size() <= kMostBytes);
  if (file.bad()) throw UsageError(path + ": cannot be read to its end");
  if (bytes.size() > kMostBytes) {
    throw UsageError(
        fmt::format("{}: is longer than {} MB, which no file of this kind is", path,
                    kMostBytes >> 20));
  }
  return bytes;
}

// "FILE:LINE" of a byte, from 1.
static std::string line_of(const std::string& path, const std::string& bytes,
                           size_t byte) {
  const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(
                                       std::min(byte > 0 ? byte - 1 : 0, bytes.size()));
  return fmt::format("{}:{}", path, 1 + std::count(bytes.begin(), end, '\n'));
}

Json parse_json_file(const std::string& path) {
  const std::string bytes = bytes_of(path);
  // The names in each object that is open: the parser would keep one of two silently.
  std::vector<std::set<std::string>> names;
  const auto watch = [&](int depth, Json::parse_event_t event, Json& parsed) {
    if (depth > kDeepest) {
      throw UsageError(
          fmt::format("{}: holds values inside more than {} others", path, kDeepest));
    }
    if (event == Json::parse_event_t::object_start) names.emplace_back();
    if (event == Json::parse_event_t::object_end) names.pop_back();
    if (event == Json::parse_event_t::key) {
      const std::string& name = parsed.get_ref<const std::string&>();
      if (!names.back().insert(name).second) {
        throw UsageError(fmt::format("{}: {}: stands twice in one object", path,
                                     shortened(name, kLongestQuote)));
      }
    }
    return true;
  };
  try {
    return Json::parse(bytes, watch);
  } catch (const Json::parse_error& error) {
    throw UsageError(line_of(path, bytes, error.byte) + ": is not JSON from here on");
  } catch (const Json::exception&) {
    throw UsageError(path + ": holds a number that is too large");
  }
}

Json read_json(const std::string& path, const JsonField& fields) {
  const Json json = parse_json_file(path);
  check_json(json, fields, path);
  return json;
}

}  // namespace wgr
