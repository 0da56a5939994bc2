#include "manual/completion.h"

namespace wgr {

static std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

static std::vector<std::string> names_of(
    const std::vector<CommandDescription>& commands) {
  std::vector<std::string> names;
  names.reserve(commands.size());
  for (const CommandDescription& command : commands) names.push_back(command.name);
  return names;
}

static std::vector<std::string> names_of(const std::vector<OptionDescription>& options) {
  std::vector<std::string> names;
  for (const OptionDescription& option : options) {
    if (option.positional) continue;
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

// ---- bash ----

// One case of what may stand behind the words "wgr capture cut".
static void add_bash_case(const CommandDescription& command, std::string& cases) {
  cases += "    '" + command.full_name + "')\n";
  std::string values;
  std::string free_values;
  for (const OptionDescription& option : command.options) {
    if (option.positional || option.value.empty()) continue;
    std::string names;
    for (const std::string& name : option.names) {
      names += (names.empty() ? "" : " | ") + name;
    }
    if (option.choices.empty()) {
      free_values += (free_values.empty() ? "" : " | ") + names;
    } else {
      values += "        " + names + ") words='" + joined(option.choices) + "' ;;\n";
    }
  }
  if (!free_values.empty()) values += "        " + free_values + ") words= ;;\n";
  cases += "      options='" + joined(names_of(command.options)) + "'\n";
  cases += "      subcommands='" + joined(names_of(command.subcommands)) + "'\n";
  if (!values.empty()) {
    cases += "      case $previous in\n" + values + "        *) behind_option= ;;\n";
    cases += "      esac ;;\n";
  } else {
    cases += "      behind_option= ;;\n";
  }
  for (const CommandDescription& sub : command.subcommands) add_bash_case(sub, cases);
}

static void add_paths(const CommandDescription& command, std::string& paths) {
  for (const CommandDescription& sub : command.subcommands) {
    paths += (paths.empty() ? "'" : " | '") + sub.full_name + "'";
    add_paths(sub, paths);
  }
}

std::string bash_completion(const CommandDescription& program) {
  std::string cases;
  add_bash_case(program, cases);
  std::string paths;
  add_paths(program, paths);
  // The words of bash split at "="; "--wearer=1" is completed as "--wearer 1".
  return "# Completion of " + program.name + " for bash.\n_" + program.name + R"(()
{
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local path=)" +
         program.name + R"( i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    case "$path ${COMP_WORDS[i]}" in
      )" +
         paths + R"() path="$path ${COMP_WORDS[i]}" ;;
    esac
  done
  if [ "$word" = "=" ]; then
    word=
  elif [ "$previous" = "=" ]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local options= subcommands= words= behind_option=1
  case $path in
)" + cases +
         R"(  esac
  if [ -n "$behind_option" ]; then
    # Without words the shell offers files.
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  elif [ "${word:0:1}" = - ]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  elif [ -n "$subcommands" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$subcommands" -- "$word")
  fi
}
complete -o bashdefault -o default -F _)" +
         program.name + " " + program.name + "\n";
}

// ---- zsh ----

// Within single quotes, in an argument of _arguments, where brackets and colons count.
static std::string for_zsh(const std::string& text) {
  std::string made;
  for (const char c : text) {
    if (c == '\'') {
      made += "'\\''";
    } else if (c == '[' || c == ']' || c == ':' || c == '\\') {
      made += std::string("\\") + c;
    } else {
      made += c;
    }
  }
  return made;
}

static std::string zsh_value(const OptionDescription& option) {
  if (option.value.empty()) return "";
  const std::string action =
      option.choices.empty() ? "_files" : "(" + joined(option.choices) + ")";
  return ":" + for_zsh(option.value) + ":" + action;
}

static std::string zsh_function_name(const CommandDescription& command) {
  std::string name = "_" + command.full_name;
  for (char& c : name) c = c == ' ' ? '_' : c;
  return name;
}

static std::string zsh_arguments(const CommandDescription& command) {
  std::string text;
  for (const OptionDescription& option : command.options) {
    if (option.positional) continue;
    for (const std::string& name : option.names) {
      text += " \\\n    '" + name + "[" + for_zsh(option.text) + "]" + zsh_value(option) +
              "'";
    }
  }
  if (command.subcommands.empty()) text += " \\\n    '*:file:_files'";
  return text;
}

static void add_zsh_function(const CommandDescription& command, std::string& text) {
  for (const CommandDescription& sub : command.subcommands) add_zsh_function(sub, text);
  text += zsh_function_name(command) + "() {\n";
  if (command.subcommands.empty()) {
    text += "  _arguments" + zsh_arguments(command) + "\n}\n\n";
    return;
  }
  text +=
      "  local curcontext=$curcontext state line\n  typeset -A opt_args\n  _arguments "
      "-C" +
      zsh_arguments(command) +
      " \\\n    '1:subcommand:->subcommand' \\\n    '*::"
      "word:->words'\n  case $state in\n    subcommand)\n      local -a subcommands=(\n";
  for (const CommandDescription& sub : command.subcommands) {
    text += "        '" + sub.name + ":" + for_zsh(sub.summary) + "'\n";
  }
  text +=
      "      )\n      _describe subcommand subcommands ;;\n    words)\n      case "
      "$line[1] in\n";
  for (const CommandDescription& sub : command.subcommands) {
    text += "        " + sub.name + ") " + zsh_function_name(sub) + " ;;\n";
  }
  text += "      esac ;;\n  esac\n}\n\n";
}

std::string zsh_completion(const CommandDescription& program) {
  std::string text = "#compdef " + program.name + "\n\n";
  add_zsh_function(program, text);
  return text + "_" + program.name + " \"$@\"\n";
}

}  // namespace wgr
