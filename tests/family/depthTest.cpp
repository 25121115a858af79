// A record has an end: no type holds itself, be it by value, in a list or behind a message's pointer, and none is
// deeper than the walks over records go. The descriptors tell what holds what. A type that must hold itself bounds the
// depth in a decoder of its own; there is none.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>
#include <string>

#include "rt3gppsrc/engine/l3Engine.h"

namespace {

using Use = std::function<void(const L3Type&)>;

void usesOf(const L3Row& row, const Use& use)
{
  if (row.type) use(*row.type);
  if (row.op == kL3List) usesOf(static_cast<const L3List*>(row.info)->elem, use);
  if (row.op == kL3Choice) {
    const L3Choice& choice = *static_cast<const L3Choice*>(row.info);
    for (unsigned i = 0; i < choice.count; ++i) usesOf(choice.alternatives[i].row, use);
  }
  if (row.op == kL3Body) {
    const L3Body& body = *static_cast<const L3Body*>(row.info);
    for (unsigned i = 0; i < body.count; ++i)
      if (body.rows[i].type) use(*body.rows[i].type);
  }
}

void usesOf(const L3Type& type, const Use& use)
{
  for (unsigned i = 0; i < type.rowCount; ++i) usesOf(type.rows[i], use);
  for (unsigned i = 0; type.message && i < type.message->count; ++i) usesOf(type.message->options[i], use);
}

// Everything that is reached from a type.
std::set<const L3Type*> heldBy(const L3Type& type)
{
  std::set<const L3Type*> held;
  std::function<void(const L3Type&)> add = [&](const L3Type& used) {
    if (held.insert(&used).second) usesOf(used, add);
  };
  usesOf(type, add);
  return held;
}

TEST(Depth, NoTypeHoldsItself)
{
  for (size_t i = 0; i < l3TypeCount; ++i) {
    const L3Type& type = *l3TypeTable[i].type;
    EXPECT_FALSE(heldBy(type).count(&type)) << type.fullName;
  }
}

// The printer and the sample builder stop at 64 types within types, without a word.
TEST(Depth, NoTypeIsTooDeep)
{
  std::map<const L3Type*, unsigned> depths;
  std::function<unsigned(const L3Type&)> depth = [&](const L3Type& type) {
    if (depths.count(&type)) return depths[&type];
    unsigned deepest = depths[&type] = 0;
    usesOf(type, [&](const L3Type& used) { deepest = std::max(deepest, depth(used)); });
    return depths[&type] = deepest + 1;
  };
  for (size_t i = 0; i < l3TypeCount; ++i) EXPECT_LT(depth(*l3TypeTable[i].type), 32U) << l3TypeTable[i].type->fullName;
}

} // namespace
