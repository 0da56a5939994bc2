// Chooses what a host is to set, with the model that goes with it.
//
// Every choice of rest window and of the shortest and weakest motion segments the same
// recordings anew. Compared is, by the cross-validation of the model that is built from
// each, how many of all annotated repetitions are kept, classified right and accepted,
// less the cost of background that is accepted; the first of equally good ones wins, and
// the settings that were given come first.
#pragma once

#include <memory>
#include <vector>

#include "segmentation/segmented_set.h"
#include "training/model_builder.h"

namespace wgr {

// The settings that were given, then others of those that were not.
std::vector<HostSettings> settings_to_try(const HostSettings& given, int rate);

struct TriedSettings {
  HostSettings host;
  size_t repetitions = 0;          // annotated
  size_t kept = 0;                 // of these, examples of the model
  size_t accepted = 0;             // of these, classified right and accepted
  size_t background_accepted = 0;  // examples
  double gain = 0.0;
  bool chosen = false;
};

// The best of them, by `gain`.
size_t choose_settings(const std::vector<TriedSettings>& tried);

// One set, segmented with different settings. Where a set holds no gesture at all, it has
// no builder.
class SegmentedAlternatives {
 public:
  // Throws as ModelBuilder does when no set holds any gesture.
  SegmentedAlternatives(std::vector<SegmentedSet> sets, unsigned threads);

  size_t count() const { return sets_.size(); }
  const SegmentedSet& set(size_t i) const { return sets_[i]; }
  const ModelBuilder& builder(size_t i) const { return *builders_[i]; }

  // What the model of the examples that are taken, of one alternative, makes of them;
  // background is of so many hours. `repetitions`: how many annotations are taken.
  TriedSettings try_one(size_t i, const std::vector<bool>& taken, size_t repetitions,
                        const BuildOptions& options) const;

 private:
  std::vector<SegmentedSet> sets_;
  std::vector<std::unique_ptr<ModelBuilder>> builders_;
};

// The alternative that is best for all examples, and what each was found to be.
size_t choose_alternative(const SegmentedAlternatives& sets, const BuildOptions& options,
                          std::vector<TriedSettings>& tried);

// The table of what was tried, a line each.
std::string text_of(const std::vector<TriedSettings>& tried);

}  // namespace wgr
