// Files that are read and written at the same time: the one would spoil the other.
#ifndef VELNOR3GPP_PROGRAM_SAME_FILE_H
#define VELNOR3GPP_PROGRAM_SAME_FILE_H

#include <string>
#include <vector>

// Are both one file, under whatever names? "-" is standard input's.
bool isSameFile(const std::string& target, const std::string& input);
// Throws UsageError if a file to be read, or to be written beside standard output, is the file that standard output
// goes to: a command would read what it writes, without end.
void refuseOutput(const std::string& file);
// Throws UsageError if a file to be written, "-" for none, is one of the inputs or the key file, under whatever name.
// Without inputs, standard input is read.
void refuseInput(const std::string& target, std::vector<std::string> inputs, const std::string& keyFile);

#endif
