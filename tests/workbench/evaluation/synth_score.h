// How well the library does on synthesised streams, through its C interface: what a host
// is reported, compared with what the wrist did.
#pragma once

#include <cstddef>
#include <string>

#include "synthesis/person.h"

using namespace wgr;

struct Score {
  size_t gestures = 0;
  size_t right = 0;      // reported once or more as their class and as no other
  size_t confused = 0;   // reported as another class
  size_t rejected = 0;   // reported as class 5 only
  size_t unnoticed = 0;  // not reported at all
  double distractor_seconds = 0.0;  // of streams without any gesture
  size_t false_positives = 0;       // classes 0 to 4 reported there
  size_t rejected_distractors = 0;  // class 5 reported there
  size_t between_events = 0;        // classes 0 to 4 between gestures in the others
};

struct ScoreOptions {
  int wearer = 0;  // the watch's wrist and model
  int mode = 1;
  Style style = Style::kFree;
  int first_person = 2001;  // nobody of the training set
  int persons = 1;
  int gestures = 4;           // repetitions of each class and person
  double distractors = 60.0;  // s per person
  uint64_t seed = 1;
};

// The models must be at the library's fixed place.
Score score(const ScoreOptions& options);
void add(const Score& more, Score& sum);
