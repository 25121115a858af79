// velnor3gpp version
#include "commands.h"
#include "velnor3gpp/velnor3gpp.h"

void addVersion(Command& app, Program& program)
{
  Command command = newCommand(app, "version", "Tell the version and how many types there are",
                               {{"velnor3gpp version", "for a report"},
                                {"velnor3gpp version --json", "for a program"},
                                {"velnor3gpp --version", "the first line alone"}});
  auto json = std::make_shared<bool>(false);
  command.addFlag("--json", *json, "as one object of JSON");
  command.callback([&program, json] {
    const char* version = velnor3gpp_version();
    size_t types = velnor3gpp_typeCount();
    if (*json)
      program.out.print("{\"version\":\"%s\",\"types\":%zu}\n", version, types);
    else
      program.out.print("velnor3gpp %s\n%zu types\n", version, types);
  });
}
