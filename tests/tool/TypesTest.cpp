// quorva types, sample and explain.

#include "tool/program.h"

#include "quorva/registry.h"
#include "quorva/rtxContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace quorva_test;
using testing::HasSubstr;
using testing::StartsWith;

static long lineCount(const std::string& text) {
   return std::count(text.begin(), text.end(), '\n');
}

TEST(Types, ListsAllAndByPattern) {
   size_t count = 0;
   quorvaTypes(&count);
   EXPECT_EQ(lineCount(run("types").text), static_cast<long>(count));
   EXPECT_EQ(run("types '*4301Msg_PDU'").text, "TS24301Msg_PDU\n");
   EXPECT_THAT(run("types uenetworkcap").text, HasSubstr("TS24301IE_UENetworkCapability\n"));
   const Result none = run("types nothingOfTheKind");
   EXPECT_EQ(none.code, 1);
   EXPECT_EQ(none.text, "quorva: no type matches 'nothingOfTheKind'\n");
}

TEST(Types, ASampleDecodesToItsOwnText) {
   for (const std::string type :
        {"TS24301IE_UENetworkCapability", "TS24501IE_NSSAI", "TS24301Msg_AttachReject", "TS24007L3_Header",
         "TS24008IE_BearerCapability", "TS44018IE_Neighbour_Cell_Description", "TS44018IE_SI13_Rest_Octets",
         "TS44018Msg_L2_PSEUDO_LEN_PDU"}) {
      SCOPED_TRACE(type);
      const Result sample = run("sample " + type);
      ASSERT_EQ(sample.code, 0) << sample.text;
      const size_t end = sample.text.find('\n');
      const Result decoded =
            run("decode --default-mode --type " + type + " '" + sample.text.substr(0, end) + "'");
      EXPECT_EQ(decoded.code, 0);
      EXPECT_EQ(decoded.text, sample.text.substr(end + 1));
   }
}

TEST(Types, Explains) {
   const Result result = run("explain TS24301Msg_AttachReject");
   EXPECT_EQ(result.code, 0);
   EXPECT_EQ(result.text, quorvaExplain("TS24301Msg_AttachReject"));
   EXPECT_THAT(result.text, HasSubstr("esmMsgCont"));
}

TEST(Types, RefusesUnknownNames) {
   for (const char* command : {"sample", "explain", "decode --type"}) {
      SCOPED_TRACE(command);
      const Result result = run(std::string(command) + " TS24301IE_Nothing 00");
      EXPECT_NE(result.code, 0);
   }
   const Result result = run("explain TS24301IE_Nothing");
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.text, "quorva: 'TS24301IE_Nothing' is no type; see: quorva types\n");
}

TEST(Types, TellsItsVersionAndHelp) {
   const Result version = run("--version");
   EXPECT_EQ(version.code, 0);
   EXPECT_EQ(version.text, std::string(rtxGetLibInfo()) + "\n");
   for (const char* command :
        {"--help", "decode --help", "types --help", "sample --help", "explain --help"}) {
      const Result help = run(command);
      EXPECT_EQ(help.code, 0);
      EXPECT_THAT(help.text, HasSubstr("Usage: quorva"));
   }
}
