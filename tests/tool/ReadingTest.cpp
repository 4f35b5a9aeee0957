// What a reader gets beside the library's text: statuses in words, names of numbers, texts that can't lie.
#include "tool/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using quorva_test::run;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

TEST(Status, ByNumberOrName) {
   for (const char* sought : {"-71", "71", "RTX_E_NO_SECURITY", "no_security"}) {
      const auto result = run(std::string("status ") + sought);
      EXPECT_EQ(result.code, 0) << sought;
      EXPECT_THAT(result.text, StartsWith("RTX_E_NO_SECURITY (-71)\n   A protected message")) << sought;
   }
   EXPECT_THAT(run("status").text,
               HasSubstr("   -67  RTX_E_BAD_IEI           complete           An unknown"));
   EXPECT_EQ(run("status 5").code, 1);
}

} // namespace
