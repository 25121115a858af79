// velnor3gpp completion: scripts for shells, made from the commands and options as they are.
#include "commands.h"
#include "names.h"

namespace {

struct Offer {
  std::string option, purpose;
  bool takesFile; // or nothing
  bool takesValue;
};

struct Topic {
  std::string name, purpose;
  std::vector<Offer> offers;
};

// What an option takes when that is one of a few words.
struct Values {
  const char *option, *words;
};

} // namespace

static constexpr Values kValues[] = {
    {"--dir", "up down"},
    {"--direction", "up down"},
    {"--channel", "bcch ccch dcch sacch short"},
    {"--color", "auto always never"},
    {"--use", "form message element"},
    {"--in", "tsv hex ndjson len16"},
    {"--flush", "line block"},
};

// Names of types, full and short: TS24501Msg_RegAccept, RegAccept. The program lists them itself; in all three shells
// this is what a command prints, behind a $ in two of them.
static const std::string kTypes = "(velnor3gpp list --names | sed \"p; s/^[^_]*_//\")";

static std::vector<Topic> topicsOf(const Command& app)
{
  std::vector<Topic> topics;
  for (const CommandText& command : app.commands()) {
    Topic topic{command.name, command.purpose, {}};
    for (const OptionText& option : command.options)
      for (const std::string& name : option.longNames)
        topic.offers.push_back({"--" + name, option.purpose, option.valueName == "FILE", option.takesValue});
    topics.push_back(topic);
  }
  return topics;
}

static std::string words(const Topic& topic)
{
  std::string text;
  for (const Offer& offer : topic.offers) text += (text.empty() ? "" : " ") + offer.option;
  return text;
}

// Types stand where --as, explain, template and schema take them.
static void writeBash(const std::vector<Topic>& topics, Output& out)
{
  std::string names;
  for (const Topic& topic : topics) names += (names.empty() ? "" : " ") + topic.name;
  out.write("_velnor3gpp()\n{\n"
            "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} offers=\n"
            "  COMPREPLY=()\n"
            "  if ((COMP_CWORD == 1)); then\n"
            "    COMPREPLY=($(compgen -W '" +
            names +
            " --help --version' -- \"$word\"))\n    return\n  fi\n"
            "  case ${COMP_WORDS[1]}:$before in\n"
            "    *:--as | explain:explain | template:template | schema:schema) offers=$" +
            kTypes + " ;;\n    completion:completion) offers='bash zsh fish' ;;\n");
  for (const Values& values : kValues)
    out.write(std::string("    *:") + values.option + ") offers='" + values.words + "' ;;\n");
  for (const Topic& topic : topics)
    out.write("    " + topic.name + ":*) [[ $word == -* ]] && offers='" + words(topic) + "' ;;\n");
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

static void writeZsh(const std::vector<Topic>& topics, Output& out)
{
  out.write("#compdef velnor3gpp\n_velnor3gpp()\n{\n  if ((CURRENT == 2)); then\n    local -a commands=(\n");
  for (const Topic& topic : topics) out.write("      '" + topic.name + ":" + plain(topic.purpose) + "'\n");
  out.write("    )\n    _describe command commands\n    return\n  fi\n"
            "  case $words[CURRENT-1] in\n"
            "    --as | explain | template | schema) compadd -- ${(f)\"$" +
            kTypes + "\"}; return ;;\n    completion) compadd bash zsh fish; return ;;\n");
  for (const Values& values : kValues)
    out.write(std::string("    ") + values.option + ") compadd " + values.words + "; return ;;\n");
  out.write("  esac\n  case $words[2] in\n");
  for (const Topic& topic : topics)
    out.write("    " + topic.name + ") [[ $PREFIX == -* ]] && compadd -- " + words(topic) + " || _files ;;\n");
  out.write("  esac\n}\ncompdef _velnor3gpp velnor3gpp\n");
}

static void writeFish(const std::vector<Topic>& topics, Output& out)
{
  const std::string types = "'" + kTypes + "'";
  for (const Topic& topic : topics)
    out.write("complete -c velnor3gpp -n __fish_use_subcommand -f -a " + topic.name + " -d '" + plain(topic.purpose) +
              "'\n");
  for (const Topic& topic : topics)
    for (const Offer& offer : topic.offers) {
      std::string line = "complete -c velnor3gpp -n '__fish_seen_subcommand_from " + topic.name + "' -l " +
                         offer.option.substr(2) + " -d '" + plain(offer.purpose) + "'";
      std::string taken = offer.option == "--as" ? types : "";
      for (const Values& values : kValues)
        if (offer.option == values.option) taken = std::string("'") + values.words + "'";
      line += offer.takesFile ? " -r" : !taken.empty() ? " -x -a " + taken : offer.takesValue ? " -x" : "";
      out.write(line + "\n");
    }
  out.write("complete -c velnor3gpp -n '__fish_seen_subcommand_from explain template schema' -f -a " + types + "\n" +
            "complete -c velnor3gpp -n '__fish_seen_subcommand_from completion' -f -a 'bash zsh fish'\n");
}

static void complete(const std::string& shell, const Command& app, Output& out)
{
  std::vector<Topic> topics = topicsOf(app);
  if (shell == "bash") return writeBash(topics, out);
  if (shell == "zsh") return writeZsh(topics, out);
  if (shell == "fish") return writeFish(topics, out);
  throw UsageError("no completion for '" + shell + "'; there is one for bash, zsh and fish");
}

void addCompletion(Command& app, Program& program)
{
  Command command =
      newCommand(app, "completion", "Print the completion of command lines for a shell",
                 {{"velnor3gpp completion bash", "for ~/.local/share/bash-completion/completions/velnor3gpp"},
                  {"velnor3gpp completion zsh", "for a file _velnor3gpp in a directory of $fpath"},
                  {"velnor3gpp completion fish", "for ~/.config/fish/completions/velnor3gpp.fish"}});
  auto shell = std::make_shared<std::string>();
  command.addOption("shell", *shell, "bash, zsh or fish").required();
  command.callback([&program, shell, &app] { complete(*shell, app, program.out); });
}
