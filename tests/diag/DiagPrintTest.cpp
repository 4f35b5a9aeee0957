#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "support/capture.h"
#include "support/systemMemory.h"

namespace {

using quorva_test::Capture;

class DiagPrint : public testing::Test {
protected:
   ~DiagPrint() override { g_DiagEnabled = 0; }

   Capture capture;
   RtxContext* pctxt = &capture.ctxt;
};

TEST_F(DiagPrint, IsOnForTheContextOrForAll) {
   EXPECT_FALSE(rtxSetDiag(pctxt, 1));
   EXPECT_TRUE(rtxDiagEnabled(pctxt));
   EXPECT_FALSE(rtxDiagEnabled(nullptr));
   EXPECT_TRUE(rtxSetDiag(pctxt, 0));
   EXPECT_EQ(0, rtxSetGlobalDiag(1));
   // What was on before may have been on for all.
   EXPECT_TRUE(rtxSetDiag(pctxt, 0));
   EXPECT_TRUE(rtxDiagEnabled(nullptr));
   EXPECT_EQ(1, rtxSetGlobalDiag(0));
   EXPECT_FALSE(rtxDiagTraceLevelEnabled(pctxt, 0));
   EXPECT_FALSE(rtxDiagSetTraceLevel(pctxt, 2));
   EXPECT_TRUE(rtxDiagEnabled(pctxt));
   // Number of levels that pass; none does above 3.
   const unsigned passing[] = {1, 2, 3, 100, 0, 0};
   for (unsigned diagLevel = 0; diagLevel < 6; ++diagLevel) {
      rtxDiagSetTraceLevel(pctxt, static_cast<uint8_t>(diagLevel));
      for (unsigned level = 0; level < 6; ++level)
         EXPECT_EQ(level < passing[diagLevel], rtxDiagTraceLevelEnabled(pctxt, level) != 0)
               << diagLevel << ", " << level;
   }
}

TEST_F(DiagPrint, FiltersByClassLetter) {
   const struct {
      uint8_t level;
      const char* passing;
   } cases[] = {{0, "Ee"}, {1, "EeWw"}, {2, "EeWwIi"}, {3, "EeWwIiDd"}, {7, "EeWwIiDdXx~"}};
   for (const auto& c : cases) {
      rtxDiagSetTraceLevel(pctxt, c.level);
      for (const char letter : std::string("EeWwIiDdXx~")) {
         SCOPED_TRACE(testing::Message() << "level " << int{c.level} << ", class " << letter);
         const std::string format = std::string("~") + letter + " %d";
         const bool passes = std::string(c.passing).find(letter) != std::string::npos;
         // The class stays in the text.
         const std::string text = passes ? std::string("~") + letter + " 5" : "";
         rtxDiagStream(pctxt, format.c_str(), 5);
         EXPECT_EQ(text, capture.take());
         testing::internal::CaptureStdout();
         rtxDiagPrint(pctxt, format.c_str(), 5);
         EXPECT_EQ(text, testing::internal::GetCapturedStdout());
      }
      rtxDiagStream(pctxt, "%s", "~D as an argument");
      EXPECT_EQ("~D as an argument", capture.take());
   }
   rtxDiagSetTraceLevel(pctxt, 3);
   rtxDiagStream(pctxt, "~");
   EXPECT_EQ("", capture.take());
   rtxSetDiag(pctxt, 0);
   rtxDiagStream(pctxt, "~E %d", 5);
   EXPECT_EQ("", capture.take());
}

TEST_F(DiagPrint, NullContextHasTheFourClasses) {
   testing::internal::CaptureStdout();
   rtxDiagPrint(nullptr, "~E off\n");
   rtxSetGlobalDiag(1);
   rtxDiagPrint(nullptr, "~D%d\n", 1);
   rtxDiagPrint(nullptr, "~X%d\n", 2);
   rtxDiagStream(nullptr, "~i%d\n", 3);
   rtxDiagStream(nullptr, "~X%d\n", 4);
   EXPECT_EQ("~D1\n~i3\n", testing::internal::GetCapturedStdout());
}

TEST_F(DiagPrint, PrintsOctetsAndBits) {
   const uint8_t data[] = {0x41, 0xA5};
   const char text[] = "a%d";
   auto printAll = [&] {
      rtxDiagHexDump(pctxt, data, 2);
      rtxDiagPrintChars(pctxt, text, 3);
      rtxDiagStreamHexDump(pctxt, data, 2);
      rtxDiagStreamPrintChars(pctxt, text, 3);
      rtxDiagStreamPrintBits(pctxt, "bits %: ", data, 6, 6);
      rtxDiagStreamPrintBits(pctxt, nullptr, data, 0, 2);
   };
   testing::internal::CaptureStdout();
   printAll();
   EXPECT_EQ("", testing::internal::GetCapturedStdout());
   EXPECT_EQ("", capture.take());
   rtxSetDiag(pctxt, 1);
   testing::internal::CaptureStdout();
   printAll();
   const std::string dump = "41 a5" + std::string(44, ' ') + "A.\n";
   EXPECT_EQ(dump + "a%d\n", testing::internal::GetCapturedStdout());
   EXPECT_EQ(dump + "a%dbits %: 01101001", capture.take());
}

TEST_F(DiagPrint, WorksWithoutMemory) {
   system_memory::reset();
   RtxContext ctxt;
   ASSERT_EQ(0, system_memory::init(&ctxt));
   std::vector<std::string> calls;
   ASSERT_EQ(0, rtxSetPrintStream(&ctxt, quorva_test::noteCallCB, &calls));
   rtxSetDiag(&ctxt, 1);
   system_memory::failNth(1, true);
   rtxDiagStreamPrintChars(&ctxt, "ab", 2);
   EXPECT_EQ((std::vector<std::string>{"a", "b"}), calls);
   EXPECT_EQ(0u, rtxErrGetErrorCnt(&ctxt));
   const uint8_t data[1] = {};
   rtxDiagStreamPrintBits(&ctxt, "bits", data, 0, 8);
   EXPECT_EQ(2u, calls.size());
   EXPECT_EQ(RTX_E_NOMEM, rtxErrGetLastError(&ctxt));
   rtxFreeContext(&ctxt);
   EXPECT_EQ(0u, system_memory::live);
}

} // namespace
