// A description of a training file that is as it should be.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "segmentation/provenance.h"

namespace wgr {

inline nlohmann::ordered_json description() {
  Provenance p;
  p.rate = 50;
  p.shortest = 25;
  p.static_window = 10;
  p.strength_threshold = 2.0;
  p.background_seconds = 12.5;
  p.classes = {{"circle", 0}, {"1", 1}};
  p.verdicts = {{"kept", 3}};
  p.inputs = {{"a.csv", std::string(64, '0')}};
  p.subjects = {"ann", "ann", "bob"};
  nlohmann::ordered_json json = to_json(p);
  json["training_file_sha256"] = std::string(64, 'f');
  return json;
}

}  // namespace wgr
