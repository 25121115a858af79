// velnor3gpp completion: scripts for shells, made from the commands and options as they are.
#include "commands.h"
#include "names.h"

namespace {

struct Offer {
  std::vector<std::string> options; // "--jobs", "-j"; none: an input
  std::string purpose;
  std::string taken; // the words that can be the value, or one of the marks below, or "": nothing can be offered
  bool takesValue;
};

struct Topic {
  std::string name, purpose;
  std::vector<Offer> offers;
  std::string inputs; // as `taken`
};

} // namespace

static constexpr char kFiles[] = "@files", kFolders[] = "@folders", kTypes[] = "@types";

// Behind a list of full names: of each the full and the short one, TS24501Msg_RegAccept and RegAccept.
static constexpr char kBothNames[] = " | sed \"p; s/^[^_]*_//\"";

static std::string joined(const std::vector<std::string>& words)
{
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

static std::string takenBy(const OptionText& option)
{
  if (!option.words.empty()) return joined(option.words);
  bool input = option.longNames.empty() && option.shortNames.empty();
  if (input) return option.name == "type" || option.name == "what" ? kTypes : option.name == "part" ? "" : kFiles;
  if (option.name == "--as") return kTypes;
  return option.valueName == "FILE" ? kFiles : option.valueName == "DIR" ? kFolders : "";
}

static std::vector<Topic> topicsOf(const Command& app)
{
  std::vector<Topic> topics;
  for (const CommandText& command : app.commands()) {
    Topic topic{command.name, command.purpose, {}, ""};
    for (const OptionText& option : command.options) {
      std::vector<std::string> names;
      for (const std::string& name : option.longNames) names.push_back("--" + name);
      for (const std::string& name : option.shortNames) names.push_back("-" + name);
      if (names.empty())
        topic.inputs = takenBy(option);
      else
        topic.offers.push_back({names, option.purpose, takenBy(option), option.takesValue});
    }
    topics.push_back(topic);
  }
  return topics;
}

// What can stand behind `before` in a command, in the language that bash and zsh share: sets `offers`.
static void writeCases(const std::vector<Topic>& topics, Output& out)
{
  out.write("  case $command:$before in\n");
  for (const Topic& topic : topics) {
    std::string all;
    for (const Offer& offer : topic.offers) {
      all += (all.empty() ? "" : " ") + joined(offer.options);
      if (!offer.takesValue) continue;
      std::string pattern;
      for (const std::string& option : offer.options)
        pattern += (pattern.empty() ? "" : " | ") + topic.name + ":" + option;
      out.write("    " + pattern + ") offers='" + offer.taken + "' ;;\n");
    }
    out.write("    " + topic.name + ":*)\n      offers='" + topic.inputs +
              "'\n      [[ $word == -* && $before != -- ]] && offers='" + all + "' ;;\n");
  }
  out.write("  esac\n");
}

// Bash takes "=" for a word of its own, unless COMP_WORDBREAKS has been changed. Files are left to readline, which
// knows how to write those with blanks.
static void writeBash(const std::vector<Topic>& topics, Output& out)
{
  out.write(R"(_velnor3gpp()
{
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]} offers= head= i
  COMPREPLY=()
  for ((i = 2; i < COMP_CWORD; i++)); do [[ ${COMP_WORDS[i]} == -- ]] && before=--; done
  if [[ $before == -- && $COMP_CWORD -gt 2 ]]; then :
  elif [[ $word == = ]]; then word=
  elif [[ $before == = ]]; then before=${COMP_WORDS[COMP_CWORD-2]}
  elif [[ $word == --*=* ]]; then before=${word%%=*} head=$before= word=${word#*=}; fi
)");
  writeCases(topics, out);
  std::string names;
  for (const Topic& topic : topics) names += topic.name + " ";
  out.write("  ((COMP_CWORD == 1)) && offers='" + names + "-h --help --version'\n");
  out.write(std::string(R"(  case $offers in
    '') return ;;
    @files) compopt -o default 2>/dev/null; return ;;
    @folders) compopt -o dirnames 2>/dev/null; return ;;
    @types) offers=$("${COMP_WORDS[0]/#\~/$HOME}" list --names 2>/dev/null)") +
            kBothNames + R"() ;;
  esac
  while read -r i; do COMPREPLY+=("$head$i"); done < <(printf '%s\n' $offers |
    awk -v word="$word" 'tolower(substr($0, 1, length(word))) == tolower(word)')
}
complete -F _velnor3gpp velnor3gpp
)");
}

// In single quotes.
static std::string quoted(const std::string& text, const char* quote)
{
  std::string result;
  for (char c : text) result += c == '\'' ? quote : std::string(1, c);
  return "'" + result + "'";
}

static void writeZsh(const std::vector<Topic>& topics, Output& out)
{
  out.write("#compdef velnor3gpp\n_velnor3gpp()\n{\n  if ((CURRENT == 2)); then\n    local -a commands=(\n");
  for (const Topic& topic : topics) out.write("      " + quoted(topic.name + ":" + topic.purpose, "'\\''") + "\n");
  out.write(R"(    )
    [[ $PREFIX == -* ]] && compadd -- -h --help --version || _describe command commands
    return
  fi
  local word=$PREFIX before=$words[CURRENT-1] command=$words[2] offers=
  (( ${words[(i)--]} < CURRENT )) && before=--
  if [[ $before != -- && $word == --*=* ]]; then before=${word%%=*}; compset -P '*='; word=$PREFIX; fi
)");
  writeCases(topics, out);
  out.write(std::string(R"(  case $offers in
    '') return 1 ;;
    @files) _files; return ;;
    @folders) _files -/; return ;;
    @types) offers=$(_call_program types $words[1] list --names)") +
            kBothNames + R"() ;;
  esac
  compadd -M 'm:{a-zA-Z}={A-Za-z}' -- ${=offers}
}
if [[ $funcstack[1] == _velnor3gpp ]]; then _velnor3gpp "$@"; else compdef _velnor3gpp velnor3gpp; fi
)");
}

// What an option or the inputs of a command take.
static std::string fishTaken(const std::string& taken)
{
  if (taken.empty()) return " -f";
  if (taken == kFiles) return " -F";
  return " -f -a '" +
         (taken == kFolders ? "(__fish_complete_directories)"
          : taken == kTypes ? "(__velnor3gpp_types)"
                            : taken) +
         "'";
}

static void writeFish(const std::vector<Topic>& topics, Output& out)
{
  const std::string start = "complete -c velnor3gpp";
  out.write(std::string("function __velnor3gpp_types\n  set -l words (commandline -opc)\n"
                        "  eval $words[1] list --names 2>/dev/null") +
            kBothNames + "\nend\n" + start + " -f\n" + start +
            " -n __fish_use_subcommand -s h -l help -d 'Print the help'\n" + start +
            " -n __fish_use_subcommand -l version -d 'Tell the version'\n");
  for (const Topic& topic : topics) {
    std::string behind = start + " -n '__fish_seen_subcommand_from " + topic.name + "'";
    out.write(start + " -n __fish_use_subcommand -a " + topic.name + " -d " + quoted(topic.purpose, "\\'") + "\n");
    if (!topic.inputs.empty()) out.write(behind + fishTaken(topic.inputs) + "\n");
    for (const Offer& offer : topic.offers) {
      std::string line = behind;
      for (const std::string& option : offer.options)
        line += option[1] == '-' ? " -l " + option.substr(2) : " -s " + option.substr(1);
      if (offer.takesValue) line += " -r" + fishTaken(offer.taken);
      out.write(line + " -d " + quoted(offer.purpose, "\\'") + "\n");
    }
  }
}

static void complete(const std::string& shell, const Command& app, Output& out)
{
  std::vector<Topic> topics = topicsOf(app);
  if (shell == "bash") return writeBash(topics, out);
  if (shell == "zsh") return writeZsh(topics, out);
  writeFish(topics, out);
}

void addCompletion(Command& app, Program& program)
{
  Command command =
      newCommand(app, "completion", "Print the completion of command lines for a shell",
                 {{"velnor3gpp completion bash", "for ~/.local/share/bash-completion/completions/velnor3gpp"},
                  {"velnor3gpp completion zsh", "for a file _velnor3gpp in a directory of $fpath"},
                  {"velnor3gpp completion fish", "for ~/.config/fish/completions/velnor3gpp.fish"}});
  auto shell = std::make_shared<std::string>();
  command.addOption("shell", *shell, "bash, zsh or fish").required().oneOf({"bash", "zsh", "fish"});
  command.callback([&program, shell, &app] { complete(*shell, app, program.out); });
}
