// What the public headers are made of. records.cpp writes the declarations and comments.cpp every word beside them, so
// that a thing is called the same wherever a comment names it; write.cpp puts both together and adds the prototypes,
// whose signatures come from operations.cpp. All functions return text and change nothing.
//
// A header has this form for each type: constants, comment, record. Prototypes follow behind all records.
//
//   /** Sizes of the arrays in TS24501IE_NSSAI. */
//   enum {
//     TS24501IE_NSSAI_contents_capacity = 16, /**< Entries that elem has room for. */
//   };
//   /** NSSAI: TS 24.501, 9.11.3.37. */
//   typedef struct TS24501IE_NSSAI {
//
// `scope` is what the names of constants begin with at some place of a record: the type's full name and the members
// that lead to the place, TS24501IE_NSSAI_contents.
#pragma once

#include "model.h"

namespace l3gen {

// records.cpp. A type and the constants that belong to it.
std::string writeDefinition(const Type& type);
// The constant for the room of the array at this place.
std::string capacityName(const std::string& scope);

// comments.cpp. commented() gives a declaration and its comment: behind it where both fit in a line, else above it.
// commentLines() gives a comment of its own, of as many lines as it takes. `indent` is in columns.
std::string commented(int indent, const std::string& declaration, const std::string& words);
// A comment of as many lines as it takes.
std::string commentLines(int indent, const std::string& words);
// What a reader of any header has to know of all records: who owns what, and what a status of 0 may hide.
std::string fileComment(const Module& module);
std::string typeWords(const Type& type);
std::string enumeratorWords(const std::string& name);
// What stands beside a member of a record, and beside the parts that members are made of: presence bits, the count and
// the entries of a list, the size and the content of a string, the number t and the union u of a choice.
std::string memberWords(const Type& type, const Row& row);
std::string presenceWords(const Type& type, int bit);
std::string entryCountWords(const Often& often, const std::string& scope);
std::string entriesWords(const Type& type, const Row& row);
std::string sizeWords(const What& what, const std::string& scope);
std::string contentWords(const What& what);
std::string tagWords(const Type& type, const What& what, const std::string& scope);
std::string unionWords(const What& what);
std::string alternativeWords(const Type& type, const What& what, const Row& alternative);
// The number t of an alternative or a message, and what stands beside constants.
unsigned tagOf(const What& what, const Row& alternative);
std::string capacityWords(const What& what, const Often& often);
std::string tagConstantsWords(const Type& type, const std::string& member);
std::string tagConstantWords(const Type& type, const What& what, const Row& alternative);
std::string messageTypeWords(const Type& pdu, const What& what, const Row& message);
// What an operation does, and what its status does not say.
std::string decoderWords(const Type& type);
std::string encoderWords(const Type& type);
std::string initialiserWords();

// operations.cpp. The signatures of the exported functions, which the header and the source have in common.
std::string decoderLine(const Type& type);
std::string encoderLine(const Type& type);
std::string printerLine(const Type& type);
std::string initLine(const Type& type);
std::string sampleLine(const Type& type);
std::string setterLine(const Type& type, const Row& body, const Row& row);
// Is there a decoder (an encoder) with the usual signature, which tables of all types can name? Those of texts that
// take a count of octets, and decoders of counted types, have an argument more.
bool hasDecoder(const Type& type);
bool hasEncoder(const Type& type);

} // namespace l3gen
