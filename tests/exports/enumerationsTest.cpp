// Every enumeration of every header answers by value and by name, as its enumerators say.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "velnor3gpp/rtxContext.h"
#include "velnor3gpp/rtxError.h"
#include "velnor3gpp/rtxStatus.h"

namespace {

using ToString = const char* (*)(int32_t);
using ToEnum = int (*)(RtxContext*, const char*, int32_t*);
using ToEnum2 = int (*)(RtxContext*, const char*, size_t, int32_t*);

class Enumerations : public testing::Test {
protected:
  void* library = dlopen(VELNOR_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  RtxContext ctxt;

  void SetUp() override
  {
    ASSERT_TRUE(library) << dlerror();
    ASSERT_EQ(rtxInitContext(&ctxt), 0);
  }
  void TearDown() override
  {
    rtxFreeContext(&ctxt);
    dlclose(library);
  }

  template <class Function> Function function(const std::string& name)
  {
    return reinterpret_cast<Function>(dlsym(library, name.c_str()));
  }

  void checkName(const std::string& name, int32_t expected)
  {
    int32_t value = -1;
    std::string longer = name + "x";
    EXPECT_EQ(toEnum(&ctxt, name.c_str(), &value), 0) << name;
    EXPECT_EQ(value, expected) << name;
    value = -1;
    EXPECT_EQ(toEnum2(&ctxt, longer.c_str(), name.size(), &value), 0) << name;
    EXPECT_EQ(value, expected) << name;
  }

  void checkUnknown(const char* name)
  {
    int32_t value = -1;
    rtxErrReset(&ctxt);
    EXPECT_EQ(toEnum(&ctxt, name, &value), RTX_E_ENUM_VALUE);
    EXPECT_EQ(rtxErrGetLastError(&ctxt), RTX_E_ENUM_VALUE);
    EXPECT_EQ(value, -1);
  }

  // In C a hyphen is an underscore, and a keyword has one behind it.
  static std::string inC(std::string name)
  {
    for (char& c : name)
      if (c == '-') c = '_';
    return name;
  }

  void check(const std::string& type, const std::string& enumerators)
  {
    SCOPED_TRACE(type);
    std::map<int32_t, std::string> names;
    std::regex enumerator(type + "_(\\w+) = (-?\\w+)");
    for (std::sregex_iterator it(enumerators.begin(), enumerators.end(), enumerator), end; it != end; ++it)
      if ((*it)[1] != "any32") names[int32_t(std::stoll((*it)[2], nullptr, 0))] = (*it)[1];
    for (auto& [value, name] : names) {
      std::string told = toString(value);
      EXPECT_TRUE(inC(told) == name || inC(told) + "_" == name) << told << " is not " << name;
      checkName(told, value);
      for (int32_t beside : {value - 1, value + 1})
        if (!names.count(beside)) {
          EXPECT_STREQ(toString(beside), "_UNKNOWN_") << beside;
        }
    }
    EXPECT_STREQ(toString(INT32_MIN), "_UNKNOWN_");
    checkUnknown("no such name");
    checkUnknown(nullptr);
  }

  ToString toString;
  ToEnum toEnum;
  ToEnum2 toEnum2;
};

TEST_F(Enumerations, AnswerAsTheirEnumeratorsSay)
{
  unsigned checked = 0;
  std::regex enumeration("typedef enum \\{([^}]*)\\} (\\w+);");
  for (auto& file : std::filesystem::directory_iterator(VELNOR_GENERATED_INCLUDE "/velnor3gpp")) {
    std::stringstream text;
    text << std::ifstream(file.path()).rdbuf();
    std::string header = text.str();
    for (std::sregex_iterator it(header.begin(), header.end(), enumeration), end; it != end; ++it) {
      std::string type = (*it)[2];
      toString = function<ToString>(type + "_ToString");
      toEnum = function<ToEnum>(type + "_ToEnum");
      toEnum2 = function<ToEnum2>(type + "_ToEnum2");
      ASSERT_TRUE(toString && toEnum && toEnum2) << type;
      check(type, (*it)[1]);
      ++checked;
    }
  }
  EXPECT_EQ(checked, 107U);
}

} // namespace
