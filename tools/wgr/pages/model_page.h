// How takes came out that were held against a model's templates, as one HTML page that
// needs no network: of wgr build, where a sample meets all templates but itself, and of
// wgr eval, where the library was played the takes.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "classifier/Gmodel.h"
#include "evaluation/evaluation.h"
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

struct AccountedTake {
  std::string name;              // where it is from
  int label;                     // below 0: background
  std::string outcome;           // the class that was reported, or kRefused or kNothing
  std::string why;               // in words; may be empty
  Points trace;                  // as it is compared; empty when it never got so far
  std::optional<Likeness> best;  // of all exemplars
  std::optional<Likeness> own;   // of those of its class
  std::optional<double> threshold;  // that the best score was held against
};

struct ClassAccount {
  int label;
  std::vector<double> thresholds;  // one for each model, ascending
  std::string note;                // how its templates were found; may be empty
};

struct ModelAccount {
  std::string title;
  std::vector<std::string> facts;  // sentences
  Provenance provenance;           // names of classes, and the rate
  Gmodel model;                    // that the cost is told of
  std::string cost_note;           // may be empty
  std::vector<ClassAccount> classes;
  std::vector<Exemplar> exemplars;
  std::vector<AccountedTake> takes;
  std::map<int, double> precision;  // where it is not that of the takes
  // What was measured besides.
  std::vector<std::pair<std::string, std::string>> measured;  // name, value with unit
  std::vector<std::pair<std::string, size_t>> misses;         // cause, takes
  std::vector<double> latencies;                              // s
  nlohmann::ordered_json folds = nlohmann::ordered_json::array();  // rows of a table
  nlohmann::ordered_json sweep = nlohmann::ordered_json::array();  // sets of templates
};

// Fills `best` and `own` of a take from the exemplars at the places that it met, in their
// order, by the classifier's similarity with k trailing points.
void find_likeness(const std::vector<Exemplar>& exemplars, const std::vector<size_t>& met,
                   int k, AccountedTake& take);

// The same account gives the same bytes.
std::string model_page(const ModelAccount& account);

// What a title calls a file or a folder: its name, without the way to it.
std::string name_of_path(const std::string& path);

}  // namespace wgr
