// Where the elements of a record stand in the message. The bit trace lists every field that a decoder reads, in the
// order of reading, with its element path; a walk finds each of its nodes there by the same path. As both go forward, a
// search begins where the one before ended. visit.cpp asks when a caller wants positions; nothing is computed
// otherwise. The trace belongs to the session (positionsOf in code.cpp).
#ifndef VELNOR3GPP_API_POSITIONS_H
#define VELNOR3GPP_API_POSITIONS_H

#include "velnor3gpp/rtxSList.h"
#include "velnor3gpp/velnor3gpp.h"

struct Positions {
  const RtxSListNode* first;
  const RtxSListNode* next; // where the search begins
  size_t looks;             // entries that may still be looked at: the work stays linear whatever the message
};

using PushedName = const char*(const velnor3gpp_Node* node);

// False if there are none: memory is out, or the record is not that of a decoded message.
bool openPositions(Positions& positions, velnor3gpp_Session& session);
// Gives the node its place, if it has one. `pushed` tells the name that the decoder has for a node.
void locate(Positions& positions, velnor3gpp_Node* node, PushedName* pushed);
// The name that the decoder pushes for a node of the walk.
const char* pushedName(const velnor3gpp_Node* node);

#endif
