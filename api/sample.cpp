// Records to begin with: samples of a type, and of one message of a form. The engine makes a sample by walking the rows
// with made-up values and every optional element present; here it is cut down to what callers ask for. The record is
// the job's and the session's, as if it had been decoded, and can be encoded.
#include "api/session.h"

// A row without a presence bit has kL3NoBit.
static void clearBit(uint8_t* record, uint16_t bit)
{
  if (bit != kL3NoBit) record[bit >> 3] = static_cast<uint8_t>(record[bit >> 3] & ~(1U << (bit & 7)));
}

// Makes a message lack all elements that have an identifier; their storage stays with the heap.
static void clearOptions(const L3Type& type, uint8_t* message)
{
  for (unsigned i = 0; type.message && i < type.message->count; ++i) {
    clearBit(message, type.message->options[i].mBit);
    clearBit(message, type.message->options[i].groupBit);
  }
}

// Sets the alternatives of choices that header fields select, once these fields have changed with the message.
static void settleTags(const L3Type& type, uint8_t* record)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op != kL3Choice) continue;
    const L3Choice& choice = *static_cast<const L3Choice*>(row->info);
    if (!choice.tagged || choice.from != kL3SelectFields) continue;
    const L3Alternative* chosen = l3FindBySelector(choice, l3JoinFields(choice.fields, choice.fieldCount, record));
    l3Store(record + row->offset, 4, chosen ? chosen->tag : 0);
  }
}

// The message of this name, by the definition (RegReject5G) or by the standard ("Registration reject").
static const L3BodyRow* messageNamed(const L3Body& body, const char* name)
{
  for (const L3BodyRow* row = body.rows; row < body.rows + body.count; ++row)
    if (strcmp(row->name(), name) == 0 || strcmp(row->title(), name) == 0) return row;
  return nullptr;
}

// Puts a sample of the message under the form, whose own sample has another message.
static int putBody(velnor3gpp_Session& session, const L3Type& form, uint8_t* record, const L3BodyRow& message)
{
  void* value = message.type ? l3Sample(&session.ctxt, *message.type) : nullptr;
  if (message.type && !value) return velnor3gpp_report(&session, RTX_E_NO_MEMORY, "", "out of memory");
  l3SetBody(form, record, message, value);
  return 0;
}

// Makes the form's sample one of the named message. Each body loses its message first, so that a form whose rest octets
// belong to some messages only does not keep those of another.
static int putMessage(velnor3gpp_Session& session, const L3Type& form, uint8_t* record, const char* name)
{
  const L3Row* row = bodyOf(form);
  const L3BodyRow* named = row ? messageNamed(*static_cast<const L3Body*>(row->info), name) : nullptr;
  if (!named) return velnor3gpp_report(&session, RTX_E_INVALID_CHOICE, "", "the form has no message of that name");
  for (; row < form.rows + form.rowCount; ++row) {
    if (row->op != kL3Body) continue;
    const L3BodyRow* message = l3MessageIn(*static_cast<const L3Body*>(row->info), named->tag);
    l3Store(record + row->offset, 4, 0); // none, unless this body has the message
    if (!message) continue;
    if (int status = putBody(session, form, record, *message); status < 0) return status;
  }
  settleTags(form, record);
  return 0;
}

// The union of a header's choice as zeros.
static void clearUnion(const L3Choice& choice, uint8_t* record)
{
  if (choice.unionSize) memset(record + choice.unionOffset, 0, choice.unionSize);
}

// Sets numbers to the least that each can be, so that the header of a minimal message says nothing by accident.
static void clearNumbers(const L3Type& type, uint8_t* record)
{
  for (const L3Row* row = type.rows; row < type.rows + type.rowCount; ++row) {
    if (row->op == kL3Record && !l3IsBare(*row->type)) clearNumbers(*row->type, record + row->offset);
    if (row->op > kL3Enumerated) continue;
    l3Store(record + row->offset, row->store, row->flags & kL3Ranged ? l3RangeOf(*row).lo : 0);
  }
}

// A form as small as it can be: no security header, a header of zeros but for what tells the
// message, no optional elements.
static void minimiseForm(const L3Type& form, const L3Row& bodyRow, uint8_t* record)
{
  const L3Body& body = *static_cast<const L3Body*>(bodyRow.info);
  for (const L3BodyRow* message = body.rows; message < body.rows + body.count; ++message) {
    if (message->tag != l3Load(record + bodyRow.offset, 4)) continue;
    uint8_t* value = l3BodyValue(body, *message, record);
    if (value && !message->inlined) clearOptions(*message->type, value);
    for (const L3Row* row = form.rows; row < &bodyRow; ++row) {
      clearBit(record, row->mBit);
      if (row->op == kL3Record && !l3IsBare(*row->type)) clearNumbers(*row->type, record + row->offset);
      if (row->op == kL3Choice) clearUnion(*static_cast<const L3Choice*>(row->info), record);
    }
    l3SetBody(form, record, *message, value);
    return;
  }
}

// A form is made small in its message and its header, another type in its optional elements.
static void minimise(const L3Type& type, uint8_t* record)
{
  clearOptions(type, record);
  if (const L3Row* row = bodyOf(type)) minimiseForm(type, *row, record);
}

// Ends the job that was there. `message` may be null, for the message that the form's sample has.
int velnor3gpp_sample(velnor3gpp_Session* session, const velnor3gpp_Type* type, const char* message, unsigned flags)
{
  if (!session || !type) return RTX_E_NULL_POINTER;
  endJob(*session);
  const L3Facts& known = *factsOf(type);
  const L3Type& own = typeOf(known);
  uint8_t* record = static_cast<uint8_t*>(l3Sample(&session->ctxt, own));
  if (!record) return velnor3gpp_report(session, RTX_E_NO_MEMORY, "", "out of memory");
  if (message)
    if (int status = putMessage(*session, own, record, message); status < 0) return status;
  // Cut down last: a message that was just put in is a full sample as well.
  if (flags & VELNOR3GPP_MINIMAL) minimise(own, record);
  session->known = &known;
  session->record = record;
  tellDirection(*session);
  return 0;
}
