// Where the elements of a record stand in the message. The bit trace lists every field that a decoder reads, in the
// order of reading, with its element path; a walk finds each of its nodes there by the same path. As both go forward, a
// search begins where the one before ended. visit.cpp asks when a caller wants positions; nothing is computed
// otherwise. The trace belongs to the session (positionsOf in code.cpp).
#ifndef VELNOR3GPP_API_POSITIONS_H
#define VELNOR3GPP_API_POSITIONS_H

#include "velnor3gpp/rtxSList.h"
#include "velnor3gpp/velnor3gpp.h"

struct Place;

// A path as the decoder pushes it, ended by zero. One that has no room is cut, and its node has no place.
struct PositionPath {
  char chars[1024];
  size_t length;
  bool value; // of a value, not of a container
};

struct Positions {
  const RtxSListNode* first;
  const RtxSListNode* next; // where the search begins
  size_t looks;             // entries that may still be looked at: the work stays linear whatever the message
  PositionPath path;        // of the node that was located last
};

// False if there are none: memory is out, or the record is not that of a decoded message.
bool openPositions(Positions& positions, velnor3gpp_Session& session);
// Gives the node its place, if it has one. The node around it has been located before.
void locate(Positions& positions, Place& place);

#endif
