// What ends a command: main turns each into one line and an exit code.
#ifndef VELNOR3GPP_PROGRAM_FAULTS_H
#define VELNOR3GPP_PROGRAM_FAULTS_H

#include <stdexcept>

// What the user can mend: what is wrong, where, and how to mend it, in one line. Text behind a line feed is shown below
// as it stands (a caret under the fault).
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A container of messages whose framing is broken: nothing behind the fault can be found.
struct DamageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reading failed: no permission, a disk that gives no answer.
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

#endif
