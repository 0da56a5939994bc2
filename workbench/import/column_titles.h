// What the titles of columns, and the names of files and sensors, mean: the words that
// makers of logs use for sensors, axes, times and units.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace wgr {

enum class Meaning {
  kNothing,    // that is of use here
  kAcc,        // accelerations, with gravity in them or not
  kTotalAcc,   // with gravity in them
  kLinearAcc,  // without
  kGravity,
  kGyro,
  kVector,  // an axis of a sensor that is not named
  kTime,
  kSensor  // names of sensors
};

struct TitleMeaning {
  Meaning meaning = Meaning::kNothing;
  int axis = -1;      // 0, 1, 2; -1: none
  std::string unit;   // as written; may be empty
  std::string group;  // the same for the axes of one sensor
  int rank = 0;       // above 0: rather this than another one of the meaning
};

TitleMeaning meaning_of(const std::string& title);

// Of the name of a file or a sensor: a sensor, or nothing.
TitleMeaning meaning_of_name(const std::string& name);

// The three columns of one sensor.
struct Triple {
  Meaning meaning;
  std::array<size_t, 3> columns;  // from 0
  std::string unit;               // that its titles name
  std::string title;              // of the first
  int rank = 0;
};

std::vector<Triple> triples_of(const std::vector<std::string>& titles);

// The columns with time stamps, or with names of sensors, the best ones first.
std::vector<size_t> columns_of(const std::vector<std::string>& titles, Meaning meaning);

}  // namespace wgr
