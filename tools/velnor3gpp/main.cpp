// The command line of velnor3gpp: reads options, calls a command, turns faults into one line and an exit code.
#include <unistd.h>

#include <csignal>
#include <new>

#include "commands.h"
#include "interrupt.h"
#include "velnor3gpp/velnor3gpp.h"

// Every command, in the order of the help.
static constexpr void (*kCommands[])(Command& app, Program& program) = {
    addDecode, addEncode, addRoundtrip, addTrace,   addFilter,     addCapture, addCdr,    addTemplate,
    addSchema, addRedact, addList,      addExplain, addCompletion, addVersion, addManual,
};

static int fail(Output& out, int code, const std::string& text, const std::string& below = "")
{
  try {
    out.flush();
  } catch (const OutputError& error) {
    if (!error.quiet) complain(error.what());
    code = kExitIo;
  }
  complain(text, below);
  return code;
}

static int runProgram(Output& out, int argc, char** argv)
{
  CommandLine line("velnor3gpp", "Decodes 3GPP layer-3 messages: records, bit traces, NAS security.",
                   velnor3gpp_version(),
                   {{"velnor3gpp decode 7e005b01", "what a message says"},
                    {"velnor3gpp template RegAccept | velnor3gpp encode", "the octets of a message of one's own"},
                    {"velnor3gpp explain 0x77", "what an octet, a status or a type is"}});
  Command app = line.top();
  Program program{out};
  beforeWaiting([&] { out.flush(); });
  for (auto add : kCommands) add(app, program);
  int code = line.run(program, argc, argv);
  out.flush();
  return code;
}

// What went wrong, on standard error. Behind a fault of the output nothing can be written to it any more.
int main(int argc, char** argv)
{
  holdDescriptors();
  signal(SIGPIPE, SIG_IGN); // writing then fails with EPIPE
  signal(SIGXFSZ, SIG_IGN); // and beyond a limit of the file size with EFBIG
  Output out(STDOUT_FILENO, "standard output");
  try {
    return runProgram(out, argc, argv);
  } catch (const OutputError& error) {
    if (error.quiet) return kExitIo;
    return fail(out, kExitIo, error.what());
  } catch (const InputError& error) {
    return fail(out, kExitIo, error.what());
  } catch (const DamageError& error) {
    return fail(out, kExitDamaged, error.what());
  } catch (const UsageError& error) {
    return fail(out, kExitUsage, error.what(), error.below);
  } catch (const std::bad_alloc&) {
    return fail(out, kExitUsage, "out of memory");
  }
}
