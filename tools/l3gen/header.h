// What the public headers are made of: records.cpp writes the declarations, comments.cpp every word beside them, so
// that a thing is called the same wherever a comment names it.
#pragma once

#include "model.h"

namespace l3gen {

// records.cpp
// A type and the constants that belong to it.
std::string writeDefinition(const Type& type);
std::string capacityName(const std::string& scope);

// comments.cpp
// A declaration and its comment: behind it where both fit in a line, else above it.
std::string commented(int indent, const std::string& declaration, const std::string& words);
// A comment of as many lines as it takes.
std::string commentLines(int indent, const std::string& words);
std::string fileComment(const Module& module);
std::string typeWords(const Type& type);
std::string enumeratorWords(const std::string& name);
// A member of a record, and the parts of which members are made. `scope` is what the names of their constants begin
// with.
std::string memberWords(const Type& type, const Row& row);
std::string presenceWords(const Type& type, int bit);
std::string entryCountWords(const Often& often, const std::string& scope);
std::string entriesWords(const Type& type, const Row& row);
std::string sizeWords(const What& what, const std::string& scope);
std::string contentWords(const What& what);
std::string tagWords(const Type& type, const What& what, const std::string& scope);
std::string unionWords(const What& what);
std::string alternativeWords(const Type& type, const What& what, const Row& alternative);
// Constants.
unsigned tagOf(const What& what, const Row& alternative);
std::string capacityWords(const What& what, const Often& often);
std::string tagConstantsWords(const Type& type, const std::string& member);
std::string tagConstantWords(const Type& type, const What& what, const Row& alternative);
std::string messageTypeWords(const Type& pdu, const What& what, const Row& message);
// What an operation does and returns.
std::string decoderWords(const Type& type);
std::string encoderWords(const Type& type);
std::string initialiserWords();

// operations.cpp: the signatures of the exported functions.
std::string decoderLine(const Type& type);
std::string encoderLine(const Type& type);
std::string printerLine(const Type& type);
std::string initLine(const Type& type);
std::string sampleLine(const Type& type);
std::string setterLine(const Type& type, const Row& body, const Row& row);
// Are there such as take a pointer to the value and no more?
bool hasDecoder(const Type& type);
bool hasEncoder(const Type& type);

} // namespace l3gen
