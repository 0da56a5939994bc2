#include "base/suggestion.h"

#include <algorithm>

namespace wgr {

static constexpr size_t kLongestWord = 64;  // no name is nearly as long

// Optimal string alignment: of the rows of the table of prefixes, three are kept.
size_t edit_distance(const std::string& a, const std::string& b) {
  std::vector<size_t> before(b.size() + 1);
  std::vector<size_t> last(b.size() + 1);
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    before.swap(last);
    last.swap(row);
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
  }
  return row[b.size()];
}

std::string most_like(const std::string& word,
                      const std::vector<std::string>& candidates) {
  if (word.size() > kLongestWord) return "";
  std::string best;
  // A third of the word may be wrong, and of a short one a single character.
  size_t least = std::max<size_t>(1, word.size() / 3) + 1;
  for (const std::string& candidate : candidates) {
    const size_t distance = edit_distance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    best = candidate;
  }
  return best;
}

std::string did_you_mean(const std::string& word,
                         const std::vector<std::string>& candidates) {
  const std::string best = most_like(word, candidates);
  return best.empty() ? "" : "; did you mean " + best + "?";
}

}  // namespace wgr
