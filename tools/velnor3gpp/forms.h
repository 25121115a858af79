// Which of the forms that octets can belong to fits them best, and what comes back of them.
#ifndef VELNOR3GPP_PROGRAM_FORMS_H
#define VELNOR3GPP_PROGRAM_FORMS_H

#include <cstdint>
#include <vector>

#include "velnor3gpp/velnor3gpp.h"

inline constexpr char kPseudoLengthForm[] = "TS44018Msg_L2_PSEUDO_LEN_PDU";

// Is it the form of that full name? Null is none.
bool isForm(const velnor3gpp_Type* type, const char* name);
// The forms that the octets can belong to, the likeliest first.
std::vector<const velnor3gpp_Type*> formsOf(const std::vector<uint8_t>& octets, velnor3gpp_Direction direction,
                                            velnor3gpp_Channel channel);
// The form, of one or more, that fits best: octets come back, then octets are passed over. Where there are several, the
// octets are decoded as each, and the session holds no message of use afterwards. Only radio resource messages have
// more than one form, and those are not protected: trying takes no counts.
const velnor3gpp_Type* bestForm(velnor3gpp_Session* session, const std::vector<const velnor3gpp_Type*>& forms,
                                velnor3gpp_Direction direction, const std::vector<uint8_t>& octets);
// Was no element kept that nobody can read? Padding behind a message is none.
bool isAllRead(velnor3gpp_Session* session);
// Fills what was encoded up to the size of the block that it came in, with padding; only forms of blocks.
void fillBlock(const velnor3gpp_Type* type, size_t size, std::vector<uint8_t>& octets);
// Encodes the session's record, with padding to the size of the block that it came in. Returns the status.
int encodeAgain(velnor3gpp_Session* session, std::vector<uint8_t>& octets);

#endif
