// The mandatory elements of a message where elements are kept (RTX_FLAG_KEEP_ELEMENTS): one that cannot be read does
// not end the message if it tells where it ends, and one that has raised a doubt is compared with what an encoder makes
// of it. The optional elements are in l3DecodeMessage.cpp, and what both call is in l3Kept.h.
#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Kept.h"

// The bits of an element that always has the same number of them, or 0. It is asked for elements that may be kept where
// they cannot be read, so a plain number or flag gives 0: it fails only where its bits are not there.
static size_t fixedBits(const L3Row& row)
{
  if (row.op == kL3Enumerated) return row.bits;
  if (row.op != kL3Record || (row.type->hand && row.type->hand->decode)) return 0;
  size_t all = 0;
  for (const L3Row* part = row.type->rows; part < row.type->rows + row.type->rowCount; ++part) {
    bool number = part->op == kL3UInt || part->op == kL3Bool;
    size_t bits = number ? part->bits : fixedBits(*part);
    if (!bits || part->lead != kL3NoLead || part->given != kL3GivenAlways || part->room) return 0;
    all += bits;
  }
  return all;
}

// Decodes a mandatory element of a message or, if it cannot be read, keeps it, as long as its own length or its size
// tells what lies behind it. A cause of one octet that nobody has defined then does not end the message: 62 00 C7 00.
static int decOrKeep(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running,
                     const L3End& end)
{
  size_t start = l3BitPos(call.pctxt), left = l3BitsBefore(call, end), octets = 0;
  unsigned bits = l3LeadingLength(row);
  // A length tells the end only where it begins at an octet, with no bit in front that says whether it is there.
  bool framed = bits && row.lead == kL3NoLead && start % 8 == 0 && l3SeeLength(call, bits, left, octets);
  size_t all = framed ? octets * 8 : fixedBits(row);
  if (!framed && row.lead == kL3NoLead) framed = all && all <= left;
  L3Probe probe;
  L3Probed probed = framed ? l3ProbeMember(call, type, row, record, probe) : kL3NotTold;
  if (probed == kL3NoMemory) return l3Fail(call, type.module->decoder, RTX_E_NO_MEMORY, row.line);
  if (probed == kL3Read) return 0;
  if (probed == kL3NotTold) return l3DecMember(call, type, row, record, running);
  // The probe may have left pointers and counts of what it read.
  l3InitMember(row, record);
  call.doubtful = false;
  L3KeptFacts facts = {record, &row, start, 0, 0, kL3KeptInstead, kL3KeptUnreadable, probe.status, probe.path};
  return l3Keep(call, type, row.line, facts, start + all);
}

// Can the element be kept if it cannot be read? It is asked first because most elements cannot: a number fails only
// where its bits are not there.
static bool canBeKept(const L3Row& row)
{
  if (row.op == kL3Record) return row.type->flags & kL3Framed;
  return row.op == kL3Enumerated || row.op == kL3Octets || row.op == kL3Choice || row.op == kL3TextType;
}

int l3DecMemberKeeping(L3Call& call, const L3Type& type, const L3Row& row, uint8_t* record, int& running,
                       const L3End& end)
{
  L3Doubt doubt(call);
  size_t start = l3BitPos(call.pctxt);
  int status =
      canBeKept(row) ? decOrKeep(call, type, row, record, running, end) : l3DecMember(call, type, row, record, running);
  return status < 0 || !call.doubtful ? status : l3KeepUnusual(call, type, row, record, start);
}
