// velnor3gpp completion: scripts for shells, made from the commands and options as they are.
#include "commands.h"
#include "names.h"

namespace {

struct Offer {
  std::string option, purpose;
  bool takesFile; // or nothing
  bool takesValue;
};

struct Command {
  std::string name, purpose;
  std::vector<Offer> offers;
};

} // namespace

static std::vector<Command> commandsOf(const CLI::App& app)
{
  std::vector<Command> commands;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
    Command command{sub->get_name(), sub->get_description(), {}};
    for (const CLI::Option* option : sub->get_options())
      for (const std::string& name : option->get_lnames())
        command.offers.push_back({"--" + name, option->get_description(), option->get_type_name() == "FILE",
                                  option->get_expected_max() > 0 && option->get_type_size() > 0});
    commands.push_back(command);
  }
  return commands;
}

static std::string words(const Command& command)
{
  std::string text;
  for (const Offer& offer : command.offers) text += (text.empty() ? "" : " ") + offer.option;
  return text;
}

// Types stand where --as, explain, template and schema take them; the program lists them itself.
static void writeBash(const std::vector<Command>& commands, Output& out)
{
  std::string names;
  for (const Command& command : commands) names += (names.empty() ? "" : " ") + command.name;
  out.write("_velnor3gpp()\n{\n"
            "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} offers=\n"
            "  COMPREPLY=()\n"
            "  if ((COMP_CWORD == 1)); then\n"
            "    COMPREPLY=($(compgen -W '" +
            names +
            " --help --version' -- \"$word\"))\n    return\n  fi\n"
            "  case ${COMP_WORDS[1]}:$before in\n"
            "    *:--as | explain:explain | template:template | schema:schema) offers=$(velnor3gpp list --names) ;;\n"
            "    *:--dir | *:--direction) offers='up down' ;;\n"
            "    *:--channel) offers='bcch ccch dcch sacch short' ;;\n"
            "    *:--color) offers='auto always never' ;;\n"
            "    completion:completion) offers='bash zsh fish' ;;\n");
  for (const Command& command : commands)
    out.write("    " + command.name + ":*) [[ $word == -* ]] && offers='" + words(command) + "' ;;\n");
  out.write("  esac\n"
            "  if [[ $offers ]]; then COMPREPLY=($(compgen -W \"$offers\" -- \"$word\"))\n"
            "  else COMPREPLY=($(compgen -f -- \"$word\")); fi\n"
            "}\ncomplete -o filenames -F _velnor3gpp velnor3gpp\n");
}

// In single quotes; what would end them, or a specification of zsh, goes.
static std::string plain(const std::string& text)
{
  std::string result;
  for (char c : text) result += c == '\'' || c == '[' || c == ']' || c == ':' ? ' ' : c;
  return result;
}

static void writeZsh(const std::vector<Command>& commands, Output& out)
{
  out.write("#compdef velnor3gpp\n_velnor3gpp()\n{\n  if ((CURRENT == 2)); then\n    local -a commands=(\n");
  for (const Command& command : commands) out.write("      '" + command.name + ":" + plain(command.purpose) + "'\n");
  out.write("    )\n    _describe command commands\n    return\n  fi\n"
            "  case $words[CURRENT-1] in\n"
            "    --as | explain | template | schema) compadd -- ${(f)\"$(velnor3gpp list --names)\"}; return ;;\n"
            "    --dir | --direction) compadd up down; return ;;\n"
            "    --channel) compadd bcch ccch dcch sacch short; return ;;\n"
            "    --color) compadd auto always never; return ;;\n"
            "    completion) compadd bash zsh fish; return ;;\n  esac\n  case $words[2] in\n");
  for (const Command& command : commands)
    out.write("    " + command.name + ") [[ $PREFIX == -* ]] && compadd -- " + words(command) + " || _files ;;\n");
  out.write("  esac\n}\ncompdef _velnor3gpp velnor3gpp\n");
}

static void writeFish(const std::vector<Command>& commands, Output& out)
{
  for (const Command& command : commands)
    out.write("complete -c velnor3gpp -n __fish_use_subcommand -f -a " + command.name + " -d '" +
              plain(command.purpose) + "'\n");
  for (const Command& command : commands)
    for (const Offer& offer : command.offers) {
      std::string line = "complete -c velnor3gpp -n '__fish_seen_subcommand_from " + command.name + "' -l " +
                         offer.option.substr(2) + " -d '" + plain(offer.purpose) + "'";
      if (offer.takesFile)
        line += " -r";
      else if (offer.option == "--as")
        line += " -x -a '(velnor3gpp list --names)'";
      else if (offer.takesValue)
        line += " -x";
      out.write(line + "\n");
    }
}

static void complete(const std::string& shell, const CLI::App& app, Output& out)
{
  std::vector<Command> commands = commandsOf(app);
  if (shell == "bash") return writeBash(commands, out);
  if (shell == "zsh") return writeZsh(commands, out);
  if (shell == "fish") return writeFish(commands, out);
  throw UsageError("no completion for '" + shell + "'; there is one for bash, zsh and fish");
}

void addCompletion(CLI::App& app, Program& program)
{
  CLI::App* command =
      newCommand(app, "completion", "Print the completion of command lines for a shell",
                 {{"velnor3gpp completion bash", "for ~/.local/share/bash-completion/completions/velnor3gpp"},
                  {"velnor3gpp completion zsh", "for a file _velnor3gpp in a directory of $fpath"},
                  {"velnor3gpp completion fish", "for ~/.config/fish/completions/velnor3gpp.fish"}});
  auto shell = std::make_shared<std::string>();
  command->add_option("shell", *shell, "bash, zsh or fish")->required();
  command->callback([&program, shell, &app] { complete(*shell, app, program.out); });
}
