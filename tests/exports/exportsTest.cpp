// Guards what a stranger links against and includes: the exported names, headers that stand alone in C99 and C++, and
// enumerations that answer as their enumerators say.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fnmatch.h>

#include <cstdio>
#include <map>
#include <regex>
#include <set>

#include "tests/fileText.h"
#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace fs = std::filesystem;

namespace {

std::string saidBy(const std::string& command)
{
  return outputOf(command + " 2>&1");
}

// Everything in the text that the pattern matches, by group.
std::vector<std::smatch> matches(const std::string& text, const std::string& pattern)
{
  const std::regex regex(pattern);
  return {std::sregex_iterator(text.begin(), text.end(), regex), std::sregex_iterator()};
}

std::vector<std::smatch> matches(std::string&&, const std::string&) = delete; // they point into the text

// Without their version, which has a symbol of its own (A).
std::set<std::string> exportedNames(const std::string& library = VELNOR_LIBRARY)
{
  std::set<std::string> names;
  std::istringstream lines(saidBy(VELNOR_NM " -D --defined-only " + library));
  for (std::string address, kind, name; lines >> address >> kind >> name;)
    if (kind != "A") names.insert(name.substr(0, name.find('@')));
  return names;
}

const char* const kLibraries[] = {VELNOR_LIBRARY,
#ifdef VELNOR_JSON_LIBRARY
                                  VELNOR_JSON_LIBRARY
#endif
};

std::vector<fs::path> headers()
{
  std::vector<fs::path> found;
  for (const char* root : {VELNOR_INCLUDE, VELNOR_GENERATED_INCLUDE})
    for (const auto& entry : fs::directory_iterator(fs::path(root) / "velnor3gpp"))
      if (entry.path().extension() == ".h") found.push_back(entry.path());
  return found;
}

std::string compile(const std::string& compiler, const std::string& options, const fs::path& header)
{
  std::string source = "#include <velnor3gpp/" + header.filename().string() + ">\nint used;\n";
  return saidBy("printf '" + source + "' | " + compiler + " " + options +
                " -Wall -pedantic -Werror -fsyntax-only -I" VELNOR_INCLUDE " -I" VELNOR_GENERATED_INCLUDE " -");
}

TEST(Exports, OnlyNamesOfTheKnownFamiliesAreVisible)
{
  std::string script = fileText(VELNOR_EXPORTS);
  script = script.substr(script.find("global:") + 7, script.find("local:") - script.find("global:") - 7);
  auto patterns = matches(script, "[A-Za-z0-9_*]+");
  ASSERT_GT(patterns.size(), 10U);
  for (const std::string& name : exportedNames())
    EXPECT_TRUE(std::any_of(patterns.begin(), patterns.end(), [&name](const std::smatch& pattern) {
      return fnmatch(pattern.str().c_str(), name.c_str(), 0) == 0;
    })) << name;
#ifdef VELNOR_JSON_LIBRARY
  for (const std::string& name : exportedNames(VELNOR_JSON_LIBRARY))
    EXPECT_TRUE(name.starts_with("velnor3gpp_")) << name;
#endif
}

// Libraries that a C program loads: nothing of C++, and nothing of the system that nobody decided on.
TEST(Exports, NothingIsImportedWithoutAReason)
{
  std::set<std::string> known;
  std::istringstream lines(std::regex_replace(fileText(VELNOR_TEST_DATA "/imports.txt"), std::regex("#[^\n]*"), ""));
  for (std::string name; lines >> name;) known.insert(name);
  size_t imported = 0;
  for (const char* library : kLibraries) {
    const std::string names = saidBy(VELNOR_NM " -D --undefined-only " + std::string(library));
    for (auto& name : matches(names, "[Uw] (\\S+)")) {
      const std::string plain = std::regex_replace(name.str(1), std::regex("^_+|(64)?_*(_chk)?@.*|_+$"), "");
      if (plain.starts_with("rtx") || plain.starts_with("velnor3gpp_")) continue; // of the first library
      EXPECT_TRUE(known.count(plain)) << name.str(1) << " of " << library;
      ++imported;
    }
  }
  EXPECT_GT(imported, 20U);
}

// One version for all names, so that a program that was linked with another version of the library is told so.
TEST(Exports, EveryNameHasTheVersionOfTheLibrary)
{
  for (const char* library : kLibraries) {
    const std::string names = saidBy(VELNOR_NM " -D --defined-only " + std::string(library));
    std::set<std::string> versions;
    for (auto& name : matches(names, " [A-Z] \\w+(@@\\w+[.0-9]*)?\n")) versions.insert(name.str(1));
    versions.erase(""); // the version itself
    ASSERT_EQ(versions.size(), 1U) << library;
    const std::string number = versions.begin()->substr(versions.begin()->rfind('_') + 1);
    EXPECT_NE(std::string(library).find(".so." + number + "."), std::string::npos) << library;
  }
}

// The table of all types has a relocation for each operation of each type: a quarter of what loading relocates. Only
// programs that take the library as objects look types up in it.
TEST(Exports, NoTableOfAllTypesIsLoaded)
{
  std::string symbols = saidBy(VELNOR_NM " " VELNOR_LIBRARY);
  if (symbols.find("l3Sample") == std::string::npos) GTEST_SKIP() << "the library is stripped";
  EXPECT_EQ(symbols.find("l3TypeTable"), std::string::npos);
}

// Libraries find each other beside themselves. With the path of the build within, two builds had different hashes.
TEST(Exports, ThePlaceOfTheBuildIsNotInWhatIsLinked)
{
  for (const char* library : kLibraries) {
    std::string tags = saidBy(VELNOR_READELF " -d " + std::string(library));
    ASSERT_NE(tags.find("SONAME"), std::string::npos) << tags;
    for (const std::smatch& path : matches(tags, R"((RUNPATH|RPATH)\).*\[(.*)\])"))
      EXPECT_EQ(path[2].str().rfind("$ORIGIN", 0), 0u) << library << ": " << path[2];
  }
}

// How many decoders, encoders, printers, initialisers, sample builders and setters each finished module exports.
TEST(Exports, ModulesHaveTheirNumberOfOperations)
{
  const char* kKinds[] = {"NASDec_", "NASEnc_", "asn1PrtToStrm_", "asn1Init_", "asn1Test_", "asn1SetTC_"};
  const std::map<std::string, std::vector<int>> kNumbers = {
      {"TS24007L3", {7, 7, 7, 2, 7, 0}},           {"TS24008IE", {247, 247, 248, 128, 218, 0}},
      {"TS24011IE", {8, 8, 8, 7, 7, 0}},           {"TS24011Msg", {9, 9, 9, 9, 9, 3}},
      {"TS24301IE", {111, 114, 114, 64, 101, 0}},  {"TS24301Msg", {61, 61, 61, 55, 59, 81}},
      {"TS24501IE", {316, 319, 319, 226, 269, 0}}, {"TS24501Msg", {61, 61, 61, 55, 61, 77}},
      {"TS24008Msg", {82, 82, 82, 80, 82, 103}},   {"TS44018Msg", {219, 219, 219, 164, 123, 142}},
      {"TS44060IE", {69, 69, 69, 55, 30, 0}}};
  std::set<std::string> names = exportedNames();
  for (auto& [module, numbers] : kNumbers)
    for (size_t kind = 0; kind < numbers.size(); ++kind) {
      std::string start = kKinds[kind] + module + "_";
      auto first = names.lower_bound(start);
      auto end = std::find_if(first, names.end(), [&](const std::string& name) { return !name.starts_with(start); });
      EXPECT_EQ(std::distance(first, end), numbers[kind]) << start;
    }
}

// Functions and data that a header declares VELNOR_API.
TEST(Exports, EveryDeclaredOperationIsThere)
{
  std::set<std::string> names = exportedNames();
  size_t declared = 0;
  for (const fs::path& header : headers()) {
    std::string text =
        std::regex_replace(fileText(header), std::regex("/\\*[^*]*\\*+([^/*][^*]*\\*+)*/|\n#[^\n]*"), "\n");
    for (auto& name : matches(text, "VELNOR_API[^;(\\[]*?([A-Za-z_][A-Za-z_0-9]*)\\s*[(;\\[]")) {
      ++declared;
      EXPECT_TRUE(names.count(name[1])) << name[1] << " of " << header;
    }
  }
  EXPECT_GT(declared, 300U);
}

TEST(Exports, EveryHeaderStandsAlone)
{
  for (const fs::path& header : headers()) {
    EXPECT_EQ(compile(VELNOR_CC, "-std=c99 -x c", header), "") << header;
    EXPECT_EQ(compile(VELNOR_CXX, "-std=c++20 -x c++", header), "") << header;
  }
}

// The examples that the documents show first do what they say; the blocks themselves are held by tools/site/blocks.py.
TEST(Exports, TheExamplesOfTheReadmeWork)
{
  std::string text = saidBy(VELNOR_EXAMPLES "/decode");
  EXPECT_NE(text.find("obj_IdentityRequest5G"), std::string::npos) << text;
  // Seventeen slices come, and the array ends behind sixteen.
  EXPECT_EQ(saidBy(VELNOR_EXAMPLES "/loop"),
            "message type 41: slices 1 2, 2 in all\n"
            "refused: status -70\n"
            "message type 41: slices 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16, 17 in all\n"
            "refused: a length leads behind the end\n"
            "refused: status -2\n");
}

// Examples that show every function of the small interface say what they said.
TEST(Exports, TheExamplesOfTheSmallInterfaceWork)
{
  EXPECT_EQ(saidBy(VELNOR_EXAMPLES "/session"), fileText(VELNOR_TEST_DATA "/session.txt"));
#ifdef VELNOR_JSON_LIBRARY
  EXPECT_EQ(saidBy(VELNOR_EXAMPLES "/json"), fileText(VELNOR_TEST_DATA "/json.txt"));
#endif
  std::string shown = fileText(VELNOR_ROOT "/examples/session.c") + fileText(VELNOR_ROOT "/examples/json.c");
  for (const char* header : {"/include/velnor3gpp/velnor3gpp.h", "/json/include/velnor3gpp/velnor3gppJson.h"}) {
    const std::string text = fileText(VELNOR_ROOT + std::string(header));
    for (auto& name : matches(text, "VELNOR_API[^;(]*?(velnor3gpp_\\w+)\\("))
      EXPECT_NE(shown.find(name.str(1) + "("), std::string::npos) << name.str(1) << " stands in no example";
  }
}

struct Enumeration {
  const char* (*toString)(int32_t);
  int (*toEnum)(RtxContext*, const char*, int32_t*);
  int (*toEnum2)(RtxContext*, const char*, size_t, int32_t*);

  // What a name answers, through the library's two operations; they must agree.
  int32_t valueOf(RtxContext* ctxt, const char* name) const
  {
    int32_t value = -1, other = -1;
    std::string longer = std::string(name) + "x";
    EXPECT_EQ(toEnum(ctxt, name, &value), toEnum2(ctxt, longer.c_str(), longer.size() - 1, &other)) << name;
    EXPECT_EQ(value, other) << name;
    return value;
  }
};

void check(const Enumeration& asked, const std::map<int32_t, std::string>& names)
{
  RtxContext ctxt;
  ASSERT_EQ(rtxInitContext(&ctxt), 0);
  for (auto& [value, name] : names) {
    std::string told = asked.toString(value), inC = told;
    EXPECT_EQ(asked.valueOf(&ctxt, told.c_str()), value) << told;
    std::replace(inC.begin(), inC.end(), '-', '_');
    EXPECT_TRUE(inC == name || inC + "_" == name) << told << " is not " << name; // a keyword has one behind it
    for (int32_t beside : {value - 1, value + 1})
      EXPECT_TRUE(names.count(beside) || asked.toString(beside) == std::string("_UNKNOWN_")) << beside;
  }
  EXPECT_EQ(rtxErrGetLastError(&ctxt), 0);
  EXPECT_EQ(asked.valueOf(&ctxt, "no such name"), -1);
  EXPECT_EQ(rtxErrGetLastError(&ctxt), RTX_E_ENUM_VALUE);
  EXPECT_STREQ(static_cast<RtxErrInfo*>(ctxt.errInfo.tail->data)->parms[0], "no such name"); // and not what follows it
  int32_t value = -1;
  EXPECT_EQ(asked.toEnum(&ctxt, nullptr, &value), RTX_E_ENUM_VALUE);
  EXPECT_STREQ(asked.toString(INT32_MIN), "_UNKNOWN_");
  rtxFreeContext(&ctxt);
}

// Every enumeration of every header, as the enumerators of the header tell.
TEST(Exports, EnumerationsAnswerAsTheirEnumeratorsSay)
{
  void* library = dlopen(VELNOR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(library) << dlerror();
  unsigned checked = 0;
  for (const fs::path& file : headers()) {
    std::string header = fileText(file);
    for (auto& found : matches(header, "typedef enum \\{([^}]*)\\} (\\w+);")) {
      std::string type = found[2], enumerators = found[1];
      auto function = [&](const char* name) { return dlsym(library, (type + name).c_str()); };
      Enumeration asked;
      asked.toString = reinterpret_cast<decltype(asked.toString)>(function("_ToString"));
      asked.toEnum = reinterpret_cast<decltype(asked.toEnum)>(function("_ToEnum"));
      asked.toEnum2 = reinterpret_cast<decltype(asked.toEnum2)>(function("_ToEnum2"));
      if (!asked.toString) continue; // of the run-time
      ASSERT_TRUE(asked.toEnum && asked.toEnum2) << type;
      std::map<int32_t, std::string> names;
      for (auto& enumerator : matches(enumerators, type + "_(\\w+) = (-?\\w+)"))
        if (enumerator[1] != "any32") names[int32_t(std::stoll(enumerator[2], nullptr, 0))] = enumerator[1];
      SCOPED_TRACE(type);
      check(asked, names);
      ++checked;
    }
  }
  EXPECT_EQ(checked, 107U);
  dlclose(library);
}

} // namespace
