// A definition that contradicts itself is refused with its file and line, never half generated and never a crash.
#include <gtest/gtest.h>

#include <random>
#include <regex>

#include "generator.h"

struct Refused {
  const char* definition; // behind the module line, so its first line is 2
  const char* words;
};

static const Refused kRefused[] = {
    // names and values
    {"type A bits 8 [1]\ntype A bits 8 [1]\n", "3: 'A' is defined twice"},
    {"element A [1]\n  M x bits 8\n  M x bits 8\n", "4: 'x' twice in one record"},
    {"element A [1]\n  M a-b bits 8\n  M a_b bits 8\n", "4: 'a_b' twice in one record"},
    {"enum A bits 2 [1]\n  x = 1\n  y = 1\n", "4: a name or value twice: 'y'"},
    {"enum A bits 2 [1]\n  x = 4\n", "3: value 4 does not fit in 2 bits"},
    {"type A-B bits 8 [1]\n", "2: a hyphen in a type's name: 'A-B'"},
    {"element A [1]\n  M x\"y bits 8\n", "3: not a name: 'x\"y'"},
    {"element A [1]\n  M x B\n", "3: an unknown type 'B'"},
    {"choice A bits 2 [1]\n  | 0 x bits 6\n  | 1 x bits 6\n", "4: 'x' twice in one choice"},
    {"choice A bits 2 [1]\n  | 0..2 x bits 6\n  | 2 y bits 6\n", "4: a selector value twice"},
    {"choice A bits 2 [1]\n  | else x bits 6\n  | else y bits 6\n", "4: 'else' twice in one choice"},
    // lines that cannot be read
    {"element A\n  M x bits 8\n", "2: a block needs its clause in brackets at the end"},
    {"  M x bits 8\n", "2: a row without a block"},
    {"table A [1]\n", "2: an unknown block 'table'"},
    {"element A [1]\n  maybe x bits 8\n", "3: an unknown first column 'maybe'"},
    {"element A [1]\n  M x bits 65\n", "3: a width of 65 bits is outside 1 to 64"},
    {"element A [1]\n  M x bits 010x\n", "3: not a number: '010x'"},
    {"element A [1]\n  M x bits 8 often\n", "3: not understood: 'often'"},
    {"element A [1]\n  M x bits 8 !odd\n", "3: an unknown quirk word '!odd'"},
    {"element A [1]\n  M x bits 8 in 9..1\n", "3: a range that begins above its end: '9..1'"},
    {"element A [1]\n  if =1 x bits 8\n", "3: a condition without a field: '=1'"},
    {"type A octets 1 by hand X form TV y [1]\n", "2: not a number: 'y'"},
    // codes
    {"choice A code [1]\n  | 0 x bits 6\n  | 01 y bits 6\n", "4: a code that begins another: '01'"},
    {"choice A code [1]\n  | 01 x bits 6\n  | 0 y bits 6\n", "4: a code that begins another: '0'"},
    {"choice A code [1]\n  | 0 x bits 6\n  | H y bits 6\n", "4: a bit that is both plain and L/H: 'H'"},
    {"choice A code [1]\n  | 2 x bits 6\n", "3: a code is up to 16 of 0, 1, L and H: '2'"},
    {"choice A code [1]\n  | else x bits 6\n", "3: an alternative without a code"},
    {"element A [1]\n  M x unary 2\n", "3: 'unary' counts 0, 1, L or H"},
    {"element A [1]\n  M n bits 4\n  M x bitstring by n +1 max 15\n", "4: 'n' counts up to 16 bits"},
    {"enum A L/H [1]\n  x = 1\n", "2: an L/H enumeration names 0 and 1"},
    // fields
    {"element A [1]\n  if y x bits 8\n  M y bits 8\n", "3: 'y' comes later"},
    {"element A [1]\n  M x octets by y\n", "3: 'y' is no element of this record"},
    {"element A [1]\n  M y octets 2\n  M x octets by y\n", "4: 'y' is no number"},
    {"element A [1]\n  M x choice by y\n  | 0 z bits 8\n  M y bits 8\n", "3: 'y' comes later"},
    // what does not fit
    {"element A [1]\n  M x bits 4 in 0..16\n", "3: 0 to 16 does not fit in 4 bits"},
    {"element A [1]\n  M x octets 4\n  M y octets 4 while-room 0..300\n",
     "4: an inline list holds at most 255 entries; add heap"},
    {"type A octets length 8 in 1..256 [1]\n", "2: 1 to 256 does not fit in 8 bits"},
    {"element A length 8 by hand X form TLV-E [1]\n  M x bits 8\n", "2: form TLV-E contradicts a length of 8 bits"},
    {"element A decode by hand X direct by hand [1]\n  M x bits 8\n",
     "2: direct coders by hand are for hand-coded elements"},
    {"element A form TLV [1]\n  M x bits 8\n", "2: a form is for hand-coded elements"},
    {"message A [1]\n  0x1- x bits 8\n", "3: a half-octet IEI needs an element of 4 bits"},
    {"message A [1]\n  0x11 x bits 4\n", "3: an IEI of 8 bits needs whole octets, not 4 bits"},
    {"message A 0x07 [1]\npdu P [1]\n  M d bits 8\n  M x body by d\n  | 0x08 a A 1\n",
     "6: 'a' has the message type 0x07"},
    {"pdu P [1]\n  M d bits 8\n  M x body by d\n  | 7 a - 1\n  | 7 b - 2\n", "6: a message type twice in one body"},
    {"pdu P [1]\n  M d bits 8\n  M x body by d\n  | 7 a - 1\n  | 8 b - 1\n", "6: the number 1 twice in one body"},
    // places
    {"element A [1]\n  0x11 x bits 8\n", "3: an IEI outside a message"},
    {"message A [1]\n  0x11 x bits 8\n  M y bits 8\n", "4: a row behind the optional elements"},
    {"element A [1]\n  M x bits 7\n  more y bits 7\n", "4: a 'more' row needs an 'ext' row before it"},
    {"element A [1]\n  M x bits 8\n  | 1 y bits 8\n", "4: an alternative without a choice"},
    {"element A [1]\n  M x choice bits 2\n", "3: a choice without alternatives"},
    {"element A [1]\n  M x chars 4\n", "3: 'chars' is for hand-coded elements"},
    {"element A [1]\n  M x bits 8\n  release 5\n  M y bits 8\n", "4: a release group outside a length"},
    {"element A [1]\n  tail\n  M x bits 8\n", "3: a tail ends an element"},
    {"pdu A [1]\n  M x bits 8\n", "2: a pdu ends with its body"},
    {"part A [1]\n  M x bits 8\n", "2: nothing uses the part 'A'"},
    {"element A [1]\n  M x B\nelement B [1]\n  M x A\n", "2: 'A' holds itself"},
    {"type A B [1]\ntype B A [1]\n", "2: 'A' is defined by itself"},
    {"type A U_B [1]\ntype C bits 8 [1]\nmodule U file U spec \"TS 1\"\ntype B T_C [1]\n",
     "5: modules 'U' and 'T' need each other"},
};

static const std::string kModule = "module T file T spec \"TS 00.001\"\n";

TEST(Refusal, TellsFileLineAndReason)
{
  for (const Refused& refused : kRefused) {
    Folder folder;
    Outcome outcome = generateText(folder, kModule + refused.definition);
    EXPECT_EQ(outcome.exit, 1) << refused.definition;
    EXPECT_NE(outcome.words.find(std::string("case.l3:") + refused.words + "\n"), std::string::npos)
        << refused.definition << outcome.words;
    EXPECT_FALSE(fs::exists(folder.path / "out")) << "half generated: " << refused.definition;
  }
}

// A person who repairs a file sees all its faults at once, in the order of the lines.
TEST(Refusal, TellsAllAtOnce)
{
  Folder folder;
  Outcome outcome = generateText(folder, kModule + "element A [1]\n  M x bits 0\n  M y bits 8 !odd\n  M z bits 8\n"
                                                   "element B\n  M x bits 8\nelement C [1]\n  M x\n");
  EXPECT_EQ(outcome.words, "case.l3:3: a width of 0 bits is outside 1 to 64\n"
                           "case.l3:4: an unknown quirk word '!odd'\n"
                           "case.l3:6: a block needs its clause in brackets at the end\n"
                           "case.l3:9: expected what the element is at the end of the line\n");
}

// Swaps, drops and doubles words and octets of a sound file.
static std::string damage(std::string text, std::mt19937& random)
{
  auto below = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  static const std::string odd = std::string("[]|!=.,&-0x\"'\n\t #", 16) + std::string(1, '\0') + "\xFF";
  for (size_t i = 1 + below(3); i > 0; --i) {
    size_t at = below(text.size()), length = below(12);
    switch (below(4)) {
      case 0:
        text.erase(at, length);
        break;
      case 1:
        text.insert(below(text.size()), text.substr(at, 2 * length));
        break;
      case 2:
        text[at] = odd[below(odd.size())];
        break;
      default:
        text.insert(at, std::to_string(random()));
        break;
    }
  }
  return text;
}

TEST(Refusal, SurvivesDamage)
{
  const std::string sound = readAll(VELNOR_TEST_DATA "/forms.l3");
  ASSERT_FALSE(sound.empty());
  const std::regex lines("(case\\.l3:[0-9]+: [^\\n]+\\n)+");
  std::mt19937 random(20);
  int refusals = 0;
  for (int i = 0; i < 150; ++i) {
    Folder folder;
    Outcome outcome = generateText(folder, damage(sound, random));
    ASSERT_TRUE(outcome.exit == 0 || outcome.exit == 1) << i << readAll(folder.path / "case.l3");
    refusals += outcome.exit;
    ASSERT_TRUE(outcome.exit == 0 || std::regex_match(outcome.words, lines)) << outcome.words;
  }
  EXPECT_GT(refusals, 30);
}
