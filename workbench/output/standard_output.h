// Standard output for the tool's results alone, and whether all of them arrived.
//
// The library prints on standard output too. Commands that run it separate their results
// first. What is lost, on a full disk or because the reader is gone, is never silent:
// finish_results() throws.
#pragma once

#include <cstdio>
#include <string_view>

namespace wgr {

enum class LibraryPrints { kToStandardError, kNowhere };

// Before anything else in main(): descriptors 0 to 2 are open, so that no file gets their
// numbers; what was closed can be neither read nor written. A reader that is gone and a
// file at the limit of its size are errors of the call instead of signals.
void prepare_descriptors();

// The stream of the results, and a whole text for it.
std::FILE* results();
void write_results(std::string_view text);

// From now on only results() leads to standard output; what else is printed there goes
// where `prints` says. Calls after the first have no effect.
void separate_results(LibraryPrints prints);

// The descriptor of standard output, also after separate_results().
int results_descriptor();

// Undoes separate_results() for a program that is to run in this one's place.
void join_results();

// Throws OutputError when results have been lost so far: long work can end early.
void require_results();

// Writes what is still buffered; throws OutputError when anything was lost, unless
// require_results() has done so.
void finish_results();

}  // namespace wgr
