// What the tool's own JSON files hold, as tables: read with a check of every field, so
// that nothing wrong, missing, twice there or beyond its range gets any further.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "base/numbers.h"

namespace wgr {

struct JsonField {
  enum class Kind {
    kTruth,   // true or false
    kNumber,  // in `range`
    kText,    // as many bytes as `range` says
    kObject,  // with the fields `inside`, and no others
    kMap,     // of any names to what is `inside`
    kList,    // of what is `inside`
    kRow,     // a list with one entry for each field `inside`
  };

  std::string name;
  Kind kind;
  NumberRange range = {0, 0};
  std::vector<JsonField> inside = {};
  bool optional = false;
};

JsonField truth_field(const std::string& name);
JsonField number_field(const std::string& name, const NumberRange& range);
JsonField text_field(const std::string& name);
JsonField sha256_field(const std::string& name);
JsonField object_field(const std::string& name, std::vector<JsonField> inside);
JsonField map_field(const std::string& name, JsonField of);
JsonField list_field(const std::string& name, JsonField of);
JsonField row_field(const std::string& name, std::vector<JsonField> of);
JsonField optional(JsonField field);

// The JSON of a file, checked against a table, whose own name does not count. Throws
// UsageError, with the file and where in it, for anything else; a file of more than 16 MB
// or with values inside more than 16 others is refused unread.
nlohmann::ordered_json read_json(const std::string& path, const JsonField& fields);

// The same without a check of its fields.
nlohmann::ordered_json parse_json_file(const std::string& path);

// The check alone. `where` begins the message: a file.
void check_json(const nlohmann::ordered_json& json, const JsonField& fields,
                const std::string& where);

}  // namespace wgr
