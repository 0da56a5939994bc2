// What is found out about a log, step by step: which columns it has, by titles, names and
// values (guess.cpp), and their units and clock (guess_units.cpp).
#ifndef IMPORT_GUESS_H
#define IMPORT_GUESS_H

#include <optional>
#include <string>
#include <vector>

#include "import/import_log.h"
#include "import/log_views.h"
#include "import/readings.h"

namespace wgr {

inline constexpr double kLeastGravity = 0.4;  // of 1 g: less is none

// Whether most rows of a column have a stamp, and not always the same.
bool has_stamps(const LogFile& file, const TablePlan& table, size_t column, bool date);

// The unit in which accelerations have gravity's length; empty where none has.
std::optional<LogUnit> gravity_unit(const Lengths& lengths);

// What is known so far, and why.
class Guess {
 public:
  Guess(const std::vector<LogFile>& files, const ImportProfile& given)
      : files_(files), given_(given), views_(views_of(files, given)) {}

  LogGuess make();

 private:
  void require_given() const;
  void find_sources();
  void settle_vectors();
  void choose_sources();
  bool lacks_gravity(const Source& source) const;
  int score_of(const Source& source) const;
  const Source* best_gravity() const;
  void choose_profile();
  void take_sign(const NamedProfile& named, Sureness sure, Evidence why);
  std::string name_by_titles(Sureness& sure) const;
  void add_tables();
  void add_table(const Source& source, LogColumn first, const char* word);
  void add_time(TablePlan& table, const LogView& view);
  std::optional<size_t> time_of(const TablePlan& table, const LogView& view) const;
  void guess_clock();
  void guess_time_unit(const TablePlan& table, const std::vector<Stamp>& stamps);
  void guess_acc_unit();
  void guess_gyro_unit();
  bool try_gyro_units(const Lengths& lengths);
  void name_the_rest();
  void complete_columns();
  void add(LogPart part, const std::string& value, Sureness sure, Evidence why,
           double figure = 0.0, const std::string& from = "") {
    result_.parts.push_back({part, value, from, sure, why, figure});
  }
  [[noreturn]] void refuse(ImportFault fault, const std::string& text = "",
                           double figure = 0.0) const {
    ImportErrorFacts facts = {fault, views_.size() == 1 ? *views_[0].name : ""};
    facts.text = text;
    facts.figure = figure;
    facts.others = all_titles(views_);
    throw ImportError(facts);
  }
  const ImportProfile& base() const { return base_->profile; }

  const std::vector<LogFile>& files_;
  const ImportProfile& given_;
  const std::vector<LogView> views_;
  std::vector<Source> sources_;
  std::optional<Source> acc_;
  std::optional<Source> gyro_;
  std::optional<Source> gravity_;
  const NamedProfile* base_ = nullptr;
  LogGuess result_;
};

}  // namespace wgr

#endif  // IMPORT_GUESS_H
