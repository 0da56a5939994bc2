// A folder of recordings with the tables that say what is in them.
//
// labels.csv annotates recordings (see labels.h). index.csv, with the header
// file,label,subject,rate_hz and perhaps notes and session, names recordings one by one;
// a label there holds for the whole recording when no annotation of it is marked. Files
// are named relative to the folder.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "segmentation/annotations.h"

namespace wgr {

inline constexpr int kHighestLabel = 1000;

inline constexpr char kLeftWrist[] = "left";
inline constexpr char kRightWrist[] = "right";

struct SetEntry {
  std::string file;     // relative to the folder
  std::string path;     // to open it
  std::string subject;  // who; may be empty
  std::string session;  // one sitting of recording; may be empty
  std::string wrist;    // that wears the watch, one of the words above; may be empty
  std::string word;     // the whole recording's label; may be empty
  double rate = 0.0;    // samples per second by the index; 0 when it does not say
  bool indexed = false;
  std::vector<WordedAnnotation> annotations;
};

// Recordings in the order of the alphabet. Throws UsageError for a folder without
// recordings or without tables, and for tables that do not fit it.
std::vector<SetEntry> read_recording_set(const std::string& folder);

// The recordings of a folder, or the one recording that `path` is, without any label:
// whatever moves in them is background.
std::vector<SetEntry> read_background(const std::string& path);

// The numbers of the labels. A whole number is itself; words get the lowest numbers that
// are free and that the interface reports for nothing else, in the order of the alphabet.
using Classes = std::map<std::string, int>;
void number_labels(const std::vector<SetEntry>& set, Classes& classes);

// Whether a file's name is a recording's, or that of a table about them.
bool is_recording(const std::filesystem::path& path);

// Whether a label says that there is no gesture: -1, background, negative.
bool is_background(const std::string& word);

}  // namespace wgr
