#include <gtest/gtest.h>
#include <stdio_ext.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "quorva/rtxError.h"
#include "quorva/rtxPrintToStream.h"
#include "support/capture.h"
#include "support/systemMemory.h"

namespace {

using quorva_test::Capture;
using quorva_test::noteCallCB;
using Calls = std::vector<std::string>;

int print(RtxContext* pctxt, const char* fmt, ...) {
   va_list args;
   va_start(args, fmt);
   const int status = rtxDiagToStream(pctxt, fmt, args);
   va_end(args);
   return status;
}

// Without the process-wide registration before and after.
class PrintStream : public testing::Test {
protected:
   PrintStream() { rtxPrintToStreamResetIndent(nullptr); }
   ~PrintStream() override {
      g_PrintStream = {nullptr, nullptr};
      rtxPrintToStreamResetIndent(nullptr);
   }
};

TEST_F(PrintStream, TakesTheContextBeforeTheProcess) {
   Capture capture;
   Calls global;
   // What a callback returns never comes out.
   ASSERT_EQ(0, rtxSetGlobalPrintStream(noteCallCB, &global));
   EXPECT_EQ(0, rtxPrintToStream(&capture.ctxt, "%d", 1));
   EXPECT_EQ(0, print(&capture.ctxt, "%d", 2));
   EXPECT_EQ("12", capture.take());
   EXPECT_TRUE(global.empty());

   EXPECT_EQ(0, rtxPrintToStream(nullptr, "%d", 3));
   EXPECT_EQ(0, rtxPrintStreamRelease(&capture.ctxt));
   EXPECT_EQ(0, print(&capture.ctxt, "%d", 4));
   EXPECT_EQ(0, rtxPrintStreamRelease(&capture.ctxt));
   EXPECT_EQ((Calls{"3", "4"}), global);
   EXPECT_EQ("", capture.take());
}

TEST_F(PrintStream, FallsBackToFlushedStandardOutput) {
   testing::internal::CaptureStdout();
   static char buffer[256];
   fflush(stdout);
   setvbuf(stdout, buffer, _IOFBF, sizeof(buffer));
   rtxPrintToStream(nullptr, "a%s", "b");
   // Were it not flushed, this text would still be there.
   EXPECT_EQ(0u, __fpending(stdout));
   va_list none = {};
   rtxPrintStreamToStdoutCB(nullptr, "cd", none);
   EXPECT_EQ(2u, __fpending(stdout));
   rtxSetGlobalPrintStream(rtxPrintStreamToFileCB, stdout);
   rtxPrintToStream(nullptr, "%d-%d", 1, 2);
   fflush(stdout);
   setvbuf(stdout, nullptr, _IOLBF, 0);
   EXPECT_EQ("abcd1-2", testing::internal::GetCapturedStdout());
}

TEST_F(PrintStream, RefusesANullCallback) {
   Capture capture;
   RtxPrintStream* before = capture.ctxt.printStream;
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxSetPrintStream(&capture.ctxt, nullptr, nullptr));
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxErrGetLastError(&capture.ctxt));
   EXPECT_EQ(before, capture.ctxt.printStream);
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxSetGlobalPrintStream(nullptr, &capture));
   EXPECT_EQ(nullptr, g_PrintStream.pUserData);
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxPrintStreamRelease(nullptr));
   EXPECT_EQ(RTX_E_BAD_ARGUMENT, rtxSetPrintStream(nullptr, noteCallCB, nullptr));
}

TEST_F(PrintStream, RegistrationIsSystemMemoryOfTheContext) {
   system_memory::reset();
   RtxContext ctxt;
   ASSERT_EQ(0, system_memory::init(&ctxt));
   const size_t before = system_memory::live;
   Calls calls;
   ctxt.indent = 6;
   ASSERT_EQ(0, rtxSetPrintStream(&ctxt, noteCallCB, &calls));
   EXPECT_EQ(0, ctxt.indent);
   // A second registration takes the place of the first.
   ASSERT_EQ(0, rtxSetPrintStream(&ctxt, noteCallCB, &calls));
   EXPECT_EQ(before + 1, system_memory::live);

   system_memory::failNth(1, true);
   EXPECT_EQ(RTX_E_NOMEM, rtxSetPrintStream(&ctxt, noteCallCB, &calls));
   EXPECT_EQ(RTX_E_NOMEM, rtxErrGetLastError(&ctxt));
   EXPECT_EQ(nullptr, ctxt.printStream);
   system_memory::failAt = 0;
   rtxErrReset(&ctxt);
   ASSERT_EQ(0, rtxSetPrintStream(&ctxt, noteCallCB, &calls));
   rtxFreeContext(&ctxt);
   EXPECT_EQ(0u, system_memory::live);
}

TEST_F(PrintStream, TextBufferIsCut) {
   char memory[16] = "xxxxxxxxxxxxxxx";
   RtxPrintToStringBuffer text = {memory, 8, 0};
   rtxSetGlobalPrintStream(rtxPrintStreamToStringCB, &text);
   rtxPrintToStream(nullptr, "%s", "abc");
   EXPECT_EQ(3u, text.used);
   rtxPrintToStream(nullptr, "%s", "defghijklmnopqrst");
   EXPECT_EQ(7u, text.used);
   EXPECT_STREQ("abcdefg", memory);
   rtxPrintToStream(nullptr, "%s", "h");
   EXPECT_STREQ("abcdefg", memory);
   EXPECT_EQ('x', memory[8]);

   va_list none = {};
   text = {memory, 8, 0};
   EXPECT_EQ(2, rtxPrintStreamToStringCB(&text, "ab", none));
   EXPECT_EQ(5, rtxPrintStreamToStringCB(&text, "cdefgh", none));
   text = {memory, 4, 4};
   EXPECT_EQ(4, rtxPrintStreamToStringCB(&text, "ab", none));
   EXPECT_STREQ("abcdefg", memory);
   text = {nullptr, 0, 0};
   EXPECT_EQ(0, rtxPrintStreamToStringCB(&text, "ab", none));
}

TEST_F(PrintStream, IndentsByThreeBlanksOneByOne) {
   Capture capture;
   Calls calls;
   rtxSetPrintStream(&capture.ctxt, noteCallCB, &calls);
   rtxSetGlobalPrintStream(noteCallCB, &calls);
   // Without a context the indent is that of the process.
   for (RtxContext* pctxt : {&capture.ctxt, static_cast<RtxContext*>(nullptr)}) {
      calls.clear();
      rtxPrintToStreamOpenBrace(pctxt, "a");
      EXPECT_EQ(pctxt != nullptr ? 3 : 0, capture.ctxt.indent);
      rtxPrintToStreamOpenBrace(pctxt, "b");
      rtxPrintToStreamCloseBrace(pctxt);
      rtxPrintToStreamCloseBrace(pctxt);
      EXPECT_EQ((Calls{"a {\n", " ", " ", " ", "b {\n", " ", " ", " ", "}\n", "}\n"}), calls);
      // At the margin it stays there.
      calls.clear();
      rtxPrintToStreamDecrIndent(pctxt);
      rtxPrintToStreamCloseBrace(pctxt);
      EXPECT_EQ(Calls{"}\n"}, calls);
      rtxPrintToStreamIncrIndent(pctxt);
      rtxPrintToStreamResetIndent(pctxt);
      rtxPrintToStreamIndent(pctxt);
      EXPECT_EQ(1u, calls.size());
      EXPECT_EQ(0, capture.ctxt.indent);
   }
}

TEST_F(PrintStream, PrintsAFileAsTemplate) {
   Capture capture;
   const std::string name = testing::TempDir() + "quorva_template";
   const std::string longLine(2000, 'x');
   std::ofstream(name) << "100%% sure\nsecond\n" << longLine;
   EXPECT_EQ(0, rtxPrintToStreamFile(&capture.ctxt, name.c_str()));
   EXPECT_EQ("100% sure\nsecond\n" + longLine, capture.take());
   remove(name.c_str());
   EXPECT_EQ(RTX_E_FILE_NOT_FOUND, rtxPrintToStreamFile(&capture.ctxt, name.c_str()));
   EXPECT_EQ(RTX_E_FILE_NOT_FOUND, rtxPrintToStreamFile(&capture.ctxt, nullptr));
}

} // namespace
