// velnor3gpp manual: the man page velnor3gpp(1) in mdoc, made from the commands and options as they are, so that it
// cannot say anything else than their help. The command is for packagers and stands in no help.
#include <sstream>

#include "commands.h"

static constexpr char kHead[] = R"(.Dd November 22, 2026
.Dt VELNOR3GPP 1
.Os
.Sh NAME
.Nm velnor3gpp
.Nd decode, encode and explain 3GPP layer-3 messages
.Sh SYNOPSIS
.Nm
.Ar command
.Op Ar options
.Op Ar input ...
.Nm
.Op Fl -help | -version
.Sh DESCRIPTION
.Nm
turns 3GPP layer-3 signalling into records and back: 5GS and EPS NAS, mobility
and session management, call control, short messages, radio resource messages.
It verifies and deciphers NAS messages with the keys that it is given.
.Pp
Messages are octets in hexadecimal on the command line, files with a message
a line, or standard input.
Digits may have blanks, colons, commas or hyphens between them, and 0x or \ex
before them; what follows a # is a comment.
A line may begin with the direction (up, down, ul, dl, mo, mt), a channel and
the name of a type.
.Sh COMMANDS
)";

static constexpr char kTail[] = R"(.Sh KEY FILES
Each line is a name and a value:
.Cm integrity-algorithm
and
.Cm ciphering-algorithm
(0 or 2),
.Cm integrity-key
and
.Cm ciphering-key
(32 hexadecimal digits),
.Cm bearer
(0 to 31),
.Cm uplink-count
and
.Cm downlink-count ,
or
.Cm count
for all messages.
Keys are never arguments, since all users can read those.
.Sh ENVIRONMENT
.Bl -tag -width NO_COLOR
.It Ev NO_COLOR
If it is set and not empty, nothing is coloured unless
.Fl -color Cm always
says so.
.It Ev TERM
If it is
.Ql dumb ,
the same holds.
.El
.Sh FILES
.Bl -tag -width Ds
.It Pa velnor3gpp , Pa _velnor3gpp , Pa velnor3gpp.fish
The completion for bash, zsh and fish, which packages install where these shells
look for it.
.El
There is no file of settings.
.Sh EXIT STATUS
.Bl -tag -width 74 -compact
.It 0
Done, whatever the messages hold.
.It 1
A message is bad, and
.Fl -fail-on-error
asked for it.
.It 2
The call, a key file or a record cannot be served.
.It 3
A capture or charging file is damaged.
.It 74
Input or output failed.
A pipe that nobody reads ends the program with this, without a word.
.El
.Sh SEE ALSO
.Xr velnor3gpp-filter 7
)";

// A line of text: what mdoc takes for a request or an escape is shown as it is.
static std::string escaped(const std::string& text)
{
  std::string result;
  for (char c : text) result += c == '\\' ? std::string("\\e") : c == '-' ? "\\-" : std::string(1, c);
  if (!result.empty() && (result[0] == '.' || result[0] == '\'')) result.insert(0, "\\&");
  return result;
}

// Text in short lines of source; whoever shows the page fills its lines anew.
static std::string sourceLines(const std::string& text)
{
  std::istringstream lines(filled(text, 72));
  std::string result;
  for (std::string line; std::getline(lines, line);) result += escaped(line) + "\n";
  return result;
}

static void writeOption(const OptionText& option, Output& out)
{
  std::string flags;
  for (const std::string& name : option.shortNames) flags.append(flags.empty() ? "Fl " : " , Fl ").append(name);
  for (const std::string& name : option.longNames) flags.append(flags.empty() ? "Fl -" : " , Fl -").append(name);
  if (flags.empty())
    out.write(".It Ar " + option.name + "\n");
  else
    out.write(".It " + flags + (option.takesValue ? " Ar " + option.valueName : "") + "\n");
  out.write(sourceLines(option.purpose));
}

// The footer has a line "  # purpose" and a line "  call" for each example.
static void writeExamples(const std::string& footer, Output& out)
{
  std::istringstream in(footer);
  std::string line;
  std::getline(in, line);
  out.write(".Pp\nExamples:\n.Bd -literal\n");
  while (std::getline(in, line)) out.write(escaped(line.substr(2)) + "\n");
  out.write(".Ed\n");
}

static void writeManual(const Command& app, Output& out)
{
  out.write(kHead);
  for (const CommandText& command : app.commands()) {
    out.write(".Ss " + command.name + "\n" + escaped(command.purpose) + ".\n.Bl -tag -width Ds\n");
    for (const OptionText& option : command.options) writeOption(option, out);
    out.write(".El\n");
    writeExamples(command.footer, out);
  }
  out.write(kTail);
}

void addManual(Command& app, Program& program)
{
  Command command = newCommand(app, "manual", "Print the man page", {});
  command.hide(); // in no help
  command.callback([&program, &app] { writeManual(app, program.out); });
}
