#include "pages/advice.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "base/text.h"
#include "evaluation/confidence.h"
#include "pages/shares.h"

namespace wgr {

using Json = nlohmann::ordered_json;

// Repetitions of a class of which even all may be right without showing that more than
// 80 % are: 0.8^14 is below 5 %.
static constexpr size_t kFewRepetitions = 14;
static constexpr size_t kMostListed = 3;    // pairs, people
static constexpr size_t kFewForPerson = 5;  // repetitions that say something of a person
static constexpr size_t kFewPeople = 3;
static constexpr double kMoreHelps = 0.01;  // gain of accuracy by the last third

namespace {

struct Count {
  size_t right = 0;
  size_t all = 0;
};

struct Pair {
  int label;
  std::string outcome;
  size_t count;
};

struct Counts {
  Count repetitions;
  std::map<int, Count> classes;
  std::map<int, std::set<std::string>> subjects_of;  // of each class
  std::map<std::string, Count> subjects;
  std::vector<Pair> pairs;  // misclassified; the most frequent first
};

struct ReadyReasons {
  Json list = Json::array();
  bool all_good = true;

  void add(bool good, const std::string& text) {
    list.push_back({{"good", good}, {"text", text}});
    all_good = all_good && good;
  }
};

}  // namespace

static void add(Count& count, bool right) {
  ++count.all;
  count.right += right ? 1 : 0;
}

static Counts counts_of(const PageData& page_data) {
  Counts counts;
  std::map<std::pair<int, std::string>, size_t> pairs;
  for (const PageExample& example : page_data.examples) {
    if (example.label < 0) continue;
    const bool right = example.outcome == std::to_string(example.label);
    add(counts.repetitions, right);
    add(counts.classes[example.label], right);
    if (!example.subject.empty()) {
      add(counts.subjects[example.subject], right);
      counts.subjects_of[example.label].insert(example.subject);
    }
    const bool named =
        example.outcome != kOutcomeRejected && example.outcome != kOutcomeNotDetected;
    if (named && !right) ++pairs[{example.label, example.outcome}];
  }
  for (const auto& [pair, count] : pairs) {
    counts.pairs.push_back({pair.first, pair.second, count});
  }
  std::stable_sort(counts.pairs.begin(), counts.pairs.end(),
                   [](const Pair& a, const Pair& b) { return a.count > b.count; });
  return counts;
}

static std::string name_of(const PageData& page_data, int label) {
  const std::string name = class_name(label, page_data.provenance);
  return name.empty() ? fmt::format("class {}", label)
                      : fmt::format("class {} {}", label, name);
}

static void judge_accuracy(const PageData& page_data, const Count& count,
                           ReadyReasons& reasons) {
  const double aim = page_data.aims.accuracy;
  if (count.all == 0) return reasons.add(false, "No repetition of a gesture was tried.");
  const double least = least_share(count.right, count.all);
  const bool reached = share(count.right, count.all) >= aim;
  const std::string text = fmt::format(
      "{} of {} are reported as their class: with 95 % confidence no less than {} of "
      "all; "
      "{} is aimed at",
      percent(count.right, count.all), counted(count.all, "repetition"), percent(least),
      percent(aim));
  if (least >= aim) return reasons.add(true, text + ".");
  reasons.add(false, text + (reached ? ", and so few repetitions cannot show it." : "."));
}

static void judge_false_positives(const PageData& page_data, ReadyReasons& reasons) {
  const double hours = page_data.background.hours;
  const size_t seen = page_data.background.reports;
  const double aim = page_data.aims.false_positives_per_hour;
  if (!(hours > 0.0)) {
    return reasons.add(
        false,
        "There is no background: how often everyday movement is reported as "
        "a gesture is not known.");
  }
  const double most = most_expected(seen) / hours;
  const std::string text = fmt::format(
      "{} in {:.2f} h of background: with 95 % confidence no more than {:.1f} an hour; "
      "{:g} "
      "is aimed at",
      counted(seen, "false positive"), hours, most, aim);
  if (most <= aim) return reasons.add(true, text + ".");
  const bool reached = static_cast<double>(seen) <= aim * hours;
  reasons.add(false,
              text + (reached ? ", and so little background cannot show it." : "."));
}

// Classes that cannot be as good as all are to be.
static void judge_classes(const PageData& page_data, const Counts& counts,
                          ReadyReasons& reasons) {
  const double aim = page_data.aims.accuracy;
  for (const auto& [label, count] : counts.classes) {
    const double most = most_share(count.right, count.all);
    if (most >= aim) continue;
    reasons.add(false, fmt::format("Of {}, {} of {} are reported as such: with 95 % "
                                   "confidence no more than {}.",
                                   name_of(page_data, label), count.right, count.all,
                                   percent(most)));
  }
}

static Json step(const std::string& text) {
  return {{"text", text}, {"label", nullptr}, {"outcome", nullptr}};
}

static void advise_on_pairs(const PageData& page_data, const Counts& counts, Json& next) {
  for (size_t i = 0; i < std::min(counts.pairs.size(), kMostListed); ++i) {
    const Pair& pair = counts.pairs[i];
    Json json = step(fmt::format(
        "{} is classified as {} in {} of {}: make the two differ more, or record more "
        "of both.",
        name_of(page_data, pair.label), name_of(page_data, std::stoi(pair.outcome)),
        pair.count, counts.classes.at(pair.label).all));
    json["label"] = pair.label;
    json["outcome"] = pair.outcome;
    next.push_back(json);
  }
}

static void advise_on_people(const PageData& page_data, const Counts& counts,
                             Json& next) {
  std::vector<std::pair<double, std::string>> worst;
  for (const auto& [name, count] : counts.subjects) {
    const double right = share(count.right, count.all);
    if (count.all < kFewForPerson || right >= page_data.aims.accuracy) continue;
    worst.emplace_back(right, name);
  }
  std::sort(worst.begin(), worst.end());
  for (size_t i = 0; i < std::min(worst.size(), kMostListed); ++i) {
    const Count& count = counts.subjects.at(worst[i].second);
    next.push_back(step(fmt::format(
        "Of subject {}, {} of {} are right, with 95 % confidence no less than {} of all: "
        "check these recordings (wgr doctor, wgr explain), then record more people who "
        "move in this way.",
        worst[i].second, count.right, count.all,
        percent(least_share(count.right, count.all)))));
  }
}

// "class 1 tap (6), class 2 (4)": those of which there are few repetitions.
static std::string few_recorded(const PageData& page_data, const Counts& counts) {
  std::string few;
  for (const auto& [label, count] : counts.classes) {
    if (count.all >= kFewRepetitions) continue;
    few += fmt::format("{}{} ({})", few.empty() ? "" : ", ", name_of(page_data, label),
                       count.all);
  }
  return few;
}

static void advise_on_recordings(const PageData& page_data, const Counts& counts,
                                 Json& next) {
  const std::string few = few_recorded(page_data, counts);
  if (!few.empty()) {
    next.push_back(step(fmt::format(
        "Record more of {}: only {} repetitions of a class, all right, show that "
        "more than 80 % of all are.",
        few, kFewRepetitions)));
  }
  for (const auto& [label, subjects] : counts.subjects_of) {
    if (subjects.size() > 1 || counts.subjects.size() == 1) continue;
    next.push_back(step(
        fmt::format("Record {} by more people: all its repetitions are of subject {}.",
                    name_of(page_data, label), *subjects.begin())));
  }
  if (!counts.subjects.empty() && counts.subjects.size() < kFewPeople) {
    next.push_back(step(fmt::format(
        "Record more people: {} cannot represent all who will wear the watch.",
        counts.subjects.size() == 1 ? "one person" : "two people")));
  }
}

static void advise_on_background(const PageData& page_data, Json& next) {
  const double aim = page_data.aims.false_positives_per_hour;
  const double hours = page_data.background.hours;
  const size_t seen = page_data.background.reports;
  const double wanted = most_expected(seen) / aim;
  if (static_cast<double>(seen) > aim * hours && hours > 0.0) {
    next.push_back(
        step(fmt::format("Everyday movement is reported {:.2f} times an hour: build with "
                         "--false-positives-per-hour {:g} and with more background like "
                         "the reported one.",
                         static_cast<double>(seen) / hours, aim)));
  } else if (wanted > hours) {
    next.push_back(
        step(fmt::format("Record {:.1f} h more of background: no more false positives in "
                         "{:.1f} h together "
                         "would show, with 95 % confidence, no more than {:g} an hour.",
                         wanted - hours, wanted, aim)));
  }
}

static void advise_on_growth(const LearningCurve& curve, Json& next) {
  if (curve.points.size() < 2) return;
  const CurvePoint& last = curve.points.back();
  const CurvePoint& before = curve.points[2 * (curve.points.size() - 1) / 3];
  const char* const what =
      curve.by == LeftOut::kSubjects ? "people" : "repetitions of each class";
  const double gain = last.accuracy - before.accuracy;
  const Json bounds = share_json(last.accuracy, curve.examples);
  next.push_back(step(fmt::format(
      "From {:.0f} to {:.0f} {} the accuracy went from {} to {} (with 95 % confidence {} "
      "to {}): more {}.",
      before.templates_from, last.templates_from, what, percent(before.accuracy),
      percent(last.accuracy), percent(bounds["least"].get<double>()),
      percent(bounds["most"].get<double>()),
      gain >= kMoreHelps ? "of them would help" : "of them would hardly help")));
}

static Json subjects_json(const Counts& counts) {
  Json subjects = Json::array();
  for (const auto& [name, count] : counts.subjects) {
    subjects.push_back({{"name", name},
                        {"right", count.right},
                        {"examples", count.all},
                        {"least", least_share(count.right, count.all)}});
  }
  return subjects;
}

Json advice_json(const PageData& page_data) {
  const Counts counts = counts_of(page_data);
  ReadyReasons reasons;
  judge_accuracy(page_data, counts.repetitions, reasons);
  judge_false_positives(page_data, reasons);
  judge_classes(page_data, counts, reasons);
  Json next = Json::array();
  advise_on_pairs(page_data, counts, next);
  advise_on_people(page_data, counts, next);
  advise_on_recordings(page_data, counts, next);
  advise_on_background(page_data, next);
  advise_on_growth(page_data.curve, next);
  return {{"ready", reasons.all_good},
          {"headline", reasons.all_good ? "Ready" : "Not ready"},
          {"reasons", reasons.list},
          {"caveats", page_data.caveats},
          {"next", next},
          {"subjects", subjects_json(counts)}};
}

}  // namespace wgr
