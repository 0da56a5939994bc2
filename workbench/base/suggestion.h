// Guesses what a misspelt name was meant to be.
#pragma once

#include <string>
#include <vector>

namespace wgr {

// How many characters must be put in, left out, replaced or swapped with their neighbour
// to make one text of the other.
size_t edit_distance(const std::string& a, const std::string& b);

// The candidate that is most like `word`, the first of equals; empty when none is near.
std::string most_like(const std::string& word,
                      const std::vector<std::string>& candidates);

// "; did you mean CANDIDATE?", or nothing.
std::string did_you_mean(const std::string& word,
                         const std::vector<std::string>& candidates);

}  // namespace wgr
