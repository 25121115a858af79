// What ends a command: main turns each into one line and an exit code.
#ifndef VELNOR3GPP_PROGRAM_FAULTS_H
#define VELNOR3GPP_PROGRAM_FAULTS_H

#include <stdexcept>
#include <string>
#include <utility>

// What the user can mend: what is wrong, where, and how to mend it, in one line. Lines that are shown below it as they
// stand (a caret under the fault) end with a line feed each.
struct UsageError : std::runtime_error {
  std::string below;
  explicit UsageError(const std::string& text, std::string shownBelow = "")
      : std::runtime_error(text), below(std::move(shownBelow))
  {
  }
};

// An input of a form that nobody here reads. It spoils no other input.
struct FormError : UsageError {
  using UsageError::UsageError;
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
