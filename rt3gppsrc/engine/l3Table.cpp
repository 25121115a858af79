// The lines of rows by their names, for error records of coders by hand, and the setters of message bodies. Both search
// the rows of a type; neither stands on the way of a decoding that goes well.
#include <cstring>

#include "rt3gppsrc/engine/l3Decode.h"
#include "rt3gppsrc/engine/l3Encode.h"
#include "rt3gppsrc/engine/l3Engine.h"
#include "rt3gppsrc/engine/l3Record.h"

// Has the row this name?
static bool isCalled(const L3Row& row, const char* name)
{
  return row.name && strcmp(row.name, name) == 0;
}

// A row has no names of its parts, so only this type's rows and the alternatives of its choices are searched.
uint16_t l3LineOf(const L3Type& type, const char* name)
{
  for (const L3Row* row = type.rows; name && row < type.rows + type.rowCount; ++row) {
    if (isCalled(*row, name)) return row->line;
    if (row->op != kL3Choice) continue;
    const L3Choice& choice = *static_cast<const L3Choice*>(row->info);
    for (unsigned i = 0; i < choice.count; ++i)
      if (isCalled(choice.alternatives[i].row, name)) return choice.alternatives[i].row.line;
  }
  return type.line;
}

// A trial reports nothing, so that the search can be spared.
static uint16_t lineFor(const L3Call& call, const L3Type& type, const char* name)
{
  return call.onTrial() ? type.line : l3LineOf(type, name);
}

// A coder by hand names the element it was at; the line is that of the row.
int l3DecFailed(L3Call& call, const L3Type& type, const char* name, int status)
{
  return l3Fail(call, type.module->decoder, status, lineFor(call, type, name));
}

int l3EncFailed(L3Call& call, const L3Type& type, const char* name, int status)
{
  return l3Fail(call, type.module->encoder, status, lineFor(call, type, name));
}

// The row of a form whose messages include this one. A form can have two bodies of the same message, each with rows of
// its own, so the address of the message's row decides and not its type.
static const L3Row* findBodyRow(const L3Type& pdu, const L3BodyRow& message)
{
  for (const L3Row* row = pdu.rows; row < pdu.rows + pdu.rowCount; ++row) {
    if (row->op != kL3Body) continue;
    const L3Body& body = *static_cast<const L3Body*>(row->info);
    if (&message >= body.rows && &message < body.rows + body.count) return row;
  }
  return nullptr;
}

void l3SetBodyOf(const L3Type& pdu, void* record, unsigned row, unsigned message, void* value)
{
  l3SetBody(pdu, record, static_cast<const L3Body*>(pdu.rows[row].info)->rows[message], value);
}

// The header fields decide on the wire what the message is, so they are set with it. A form with one legal
// discriminator has it in the body's description, others in each message's row.
void l3SetBody(const L3Type& pdu, void* record, const L3BodyRow& row, void* message)
{
  const L3Row* bodyRow = findBodyRow(pdu, row);
  if (!bodyRow) return;
  const L3Body& body = *static_cast<const L3Body*>(bodyRow->info);
  uint8_t* octets = static_cast<uint8_t*>(record);
  const L3Field& discriminator = body.discriminator;
  if (discriminator.store) l3Store(octets + discriminator.offset, discriminator.store, body.discriminatorOf(row));
  l3Store(octets + body.msgType.offset, body.msgType.store, row.msgType);
  l3Store(octets + bodyRow->offset, 4, row.tag);
  if (row.inlined)
    memcpy(octets + body.pointerOffset, message, row.type->size);
  else if (row.type)
    l3StorePointer(octets + body.pointerOffset, message);
}
