#include "manual/manual_pages.h"

#include <algorithm>
#include <sstream>

namespace wgr {

// A line's beginning and a backslash mean something to man(7), and so does a hyphen,
// which it would print as a dash that cannot be copied.
static std::string escaped(const std::string& text) {
  std::string made;
  for (const char c : text) {
    if (c == '\\') {
      made += "\\e";
    } else if (c == '-') {
      made += "\\-";
    } else if (c == '\'' || c == '~' || c == '^' || c == '`') {
      made += c == '\'' ? "\\(aq" : c == '~' ? "\\(ti" : c == '^' ? "\\(ha" : "\\(ga";
    } else {
      made += c;
    }
  }
  return made.compare(0, 1, ".") == 0 ? "\\&" + made : made;
}

static std::string bold(const std::string& text) {
  return "\\fB" + escaped(text) + "\\fR";
}
static std::string italic(const std::string& text) {
  return "\\fI" + escaped(text) + "\\fR";
}

static std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// Paragraphs of a footer: lines between empty ones.
static std::vector<std::vector<std::string>> paragraphs_of(const std::string& text) {
  std::vector<std::vector<std::string>> paragraphs(1);
  for (const std::string& line : lines_of(text)) {
    if (line.empty()) {
      if (!paragraphs.back().empty()) paragraphs.emplace_back();
    } else {
      paragraphs.back().push_back(line);
    }
  }
  if (paragraphs.back().empty()) paragraphs.pop_back();
  return paragraphs;
}

static bool begins(const std::string& text, const std::string& with) {
  return text.compare(0, with.size(), with) == 0;
}

// One paragraph; indented lines stay lines.
static std::string paragraph(const std::vector<std::string>& lines) {
  std::string text = ".PP\n";
  bool filled = true;
  for (const std::string& line : lines) {
    const bool indented = begins(line, "  ");
    if (indented == filled) {
      const char* const first = text == ".PP\n" ? "" : ".PP\n";
      text += indented ? std::string(first) + ".nf\n" : ".fi\n";
    }
    filled = !indented;
    text += escaped(line) + "\n";
  }
  return text + (filled ? "" : ".fi\n");
}

static std::string option_entry(const OptionDescription& option) {
  std::string head;
  for (const std::string& name : option.names) {
    head += (head.empty() ? "" : ", ") + (option.positional ? italic(name) : bold(name));
  }
  if (!option.value.empty()) head += " " + italic(option.value);
  std::string text = option.text;
  if (!option.default_value.empty()) text += " (default: " + option.default_value + ")";
  return ".TP\n" + head + "\n" + escaped(text) + "\n";
}

static std::string option_entries(const CommandDescription& command) {
  std::string text;
  for (const bool positional : {true, false}) {
    for (const OptionDescription& option : command.options) {
      if (option.positional == positional) text += option_entry(option);
    }
  }
  return text;
}

static std::string synopsis(const CommandDescription& command) {
  std::string text = bold(command.full_name);
  if (!command.options.empty()) text += " [" + italic("OPTIONS") + "]";
  for (const OptionDescription& option : command.options) {
    if (!option.positional) continue;
    const std::string name = italic(option.names.front()) + (option.many ? "..." : "");
    text += option.required ? " " + name : " [" + name + "]";
  }
  if (!command.subcommands.empty()) text += " " + italic("SUBCOMMAND");
  return text + "\n";
}

// "replay" of the program has a page of its own, "cut" of capture a part of its page.
static std::string subcommand_entries(const CommandDescription& command) {
  std::string text;
  const bool own_pages = command.name == command.full_name;
  for (const CommandDescription& sub : command.subcommands) {
    if (own_pages) {
      text += ".TP\n\\fB" + escaped(page_name(sub)) + "\\fR(1)\n" + escaped(sub.summary) +
              "\n";
    } else {
      text += ".SS " + escaped(sub.name) + "\n" + synopsis(sub) + ".PP\n" +
              escaped(sub.summary) + "\n";
      for (const std::vector<std::string>& lines : paragraphs_of(sub.footer)) {
        text += paragraph(lines);
      }
      text += option_entries(sub);
    }
  }
  return text;
}

struct FooterParts {
  std::string description;
  std::string examples;
  std::string exit_status;
};

static FooterParts parts_of_footer(const std::string& footer) {
  FooterParts parts;
  for (std::vector<std::string> lines : paragraphs_of(footer)) {
    if (begins(lines.front(), "Examples:")) {
      lines.erase(lines.begin());
      parts.examples += paragraph(lines);
    } else if (begins(lines.front(), "Exit status:")) {
      lines.front().erase(0, std::string("Exit status: ").size());
      parts.exit_status += paragraph(lines);
    } else {
      parts.description += paragraph(lines);
    }
  }
  return parts;
}

static std::string section(const std::string& title, const std::string& text) {
  if (text.empty()) return "";
  // A heading begins a paragraph itself.
  return ".SH " + title + "\n" + (begins(text, ".PP\n") ? text.substr(4) : text);
}

std::string page_name(const CommandDescription& command) {
  std::string name = command.full_name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string manual_page(const CommandDescription& command, const Edition& edition,
                        const std::vector<std::string>& pages) {
  const std::string name = page_name(command);
  std::string summary = command.summary;
  if (!summary.empty() && summary.back() == '.') summary.pop_back();
  const FooterParts footer = parts_of_footer(command.footer);
  std::string others;
  for (const std::string& page : pages) {
    if (page == name) continue;
    others += (others.empty() ? "" : ",\n") + ("\\fB" + escaped(page)) + "\\fR(1)";
  }
  return ".TH " + name + " 1 \"" + edition.date + "\" \"wgr " + edition.version +
         "\" \"User Commands\"\n" +
         section("NAME", escaped(name) + " \\- " + escaped(summary) + "\n") +
         section("SYNOPSIS", synopsis(command)) +
         section("DESCRIPTION",
                 ".PP\n" + escaped(command.summary) + "\n" + footer.description) +
         section("OPTIONS", option_entries(command)) +
         section("SUBCOMMANDS", subcommand_entries(command)) +
         section("EXAMPLES", footer.examples) +
         section("EXIT STATUS", footer.exit_status) +
         section("SEE ALSO", others.empty() ? "" : others + "\n");
}

}  // namespace wgr
