// An HTML report that needs no network: how a model classified examples. For wgr build
// each is compared with all templates but itself, for wgr eval the library replayed them.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "classifier/Gmodel.h"
#include "evaluation/evaluation.h"
#include "evaluation/example_map.h"
#include "pages/shell.h"
#include "segmentation/provenance.h"

namespace wgr {

struct Exemplar {
  std::string name;
  int label;
  Points trace;  // as it is compared, the gravity last if the model has it
};

struct Likeness {
  size_t exemplar;
  double score;
};

// The stream around a motion.
struct StreamExcerpt {
  double begin = 0.0;         // s, of its first sample
  double motion_begin = 0.0;  // s
  double motion_end = 0.0;    // s
  std::vector<RecordedSample> samples;
};

struct PageExample {
  std::string name;                 // where it is from
  std::string subject;              // whose; may be empty
  int label;                        // below 0: background
  std::string outcome;              // the class that was reported, or one of kOutcome...
  std::string why;                  // in words; may be empty
  Points trace;                     // as it is compared; empty when it never got so far
  std::optional<Likeness> best;     // of all exemplars
  std::optional<Likeness> own;      // of those of its class
  std::optional<double> threshold;  // that the best score was compared with
  StreamExcerpt stream;             // of a false positive; may be empty
};

struct PageClass {
  int label;
  std::vector<double> thresholds;  // one for each model, ascending
  std::string note;                // how its templates were found; may be empty
};

// What a model is to reach before it counts as ready.
struct PageAims {
  double accuracy = 0.95;
  double false_positives_per_hour = 1.0;
};

struct PageBackground {
  double hours = 0.0;
  size_t reports = 0;  // false positives in them
};

struct PageData {
  PageOrigin origin;
  std::string title;
  std::vector<std::string> facts;  // sentences
  Provenance provenance;           // names of classes, and the rate
  Gmodel model;                    // whose cost is shown
  std::string cost_note;           // may be empty
  std::vector<PageClass> classes;
  std::vector<Exemplar> exemplars;
  std::vector<PageExample> examples;
  std::map<int, size_t> reports;  // of each class, where not of the examples alone
  // What was measured besides.
  std::vector<std::pair<std::string, std::string>> measured;  // name, value with unit
  std::vector<std::pair<std::string, size_t>> misses;         // cause, examples
  std::vector<double> latencies;                              // s
  nlohmann::ordered_json folds = nlohmann::ordered_json::array();  // rows of a table
  nlohmann::ordered_json kinds = nlohmann::ordered_json::array();  // that were tried
  std::string judged_by;  // "leaving subjects out", of these kinds
  PageAims aims;
  PageBackground background;
  std::vector<std::string> caveats;  // sentences, as the terminal has them
  LearningCurve curve;
  ExampleMap map;                     // the exemplars, then the examples
  nlohmann::ordered_json comparison;  // with another evaluation; null: none
};

// Fills `best` and `own` of an example from the exemplars at the places that it met, in
// their order, by the classifier's similarity with k trailing points.
void find_likeness(const std::vector<Exemplar>& exemplars, const std::vector<size_t>& met,
                   int k, PageExample& example);

// Places the exemplars and the examples on a map, by the classifier's similarity with k
// trailing points.
void draw_map(int k, PageData& page_data);

// The same data give the same bytes.
std::string model_page(const PageData& page_data);

}  // namespace wgr
