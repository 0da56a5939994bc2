// Who is left out together when templates are compared by cross-validation.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace wgr {

// What is left out when an example is classified.
enum class LeftOut { kSubjects, kSessions, kRepetitions };

// Whose each example is, and in which session it was recorded; empty where not known.
struct ExampleSources {
  std::vector<std::string> subjects;
  std::vector<std::string> sessions;
};

// An example of a class of gestures, or of the background, which is class -1.
struct FoldedExample {
  int label;
  std::string subject;
  std::string session;
};

struct Folds {
  LeftOut by = LeftOut::kRepetitions;
  size_t count = 1;
  std::vector<size_t> of;     // of each example
  std::vector<size_t> group;  // examples of one group never judge each other
  std::vector<int> by_one;    // labels that only one subject, or session, recorded
};

// Divides examples into at most five folds: those of one subject, or else of one session,
// into the same. Without `by` subjects are left out where two are known, otherwise
// sessions where two are, otherwise repetitions in turn. The examples of a class that
// only one subject or session recorded are left out in turn as well. Background whose
// subject is not known, or all of one, is divided in its order, so that neighbours stay
// together. Throws UsageError when `by` asks for what is not known of two at least.
Folds divide_examples(const std::vector<FoldedExample>& examples,
                      std::optional<LeftOut> by);

}  // namespace wgr
