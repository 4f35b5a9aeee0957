// Every way of a text to the end of its print stream: those that are written past the callback leave what the
// calls would leave.

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "modules/records.h"
#include "quorva/modules.h"
#include "quorva/registry.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxMemHeap.h"

using namespace quorva::test;
using quorva_test::Capture;

namespace {

using Print = std::function<void(RtxContext*)>;

// The callback of an application, which gets every call.
int append(void* user, const char* format, va_list arguments) {
   char text[4096];
   const int length = vsnprintf(text, sizeof text, format, arguments);
   static_cast<std::string*>(user)->append(text);
   return length;
}

std::string byCalls(RtxContext* ctxt, const Print& print) {
   std::string text;
   rtxSetPrintStream(ctxt, append, &text);
   print(ctxt);
   return text;
}

// Into a buffer of that size, behind 3 octets; all of it.
std::string intoBuffer(RtxContext* ctxt, const Print& print, size_t size) {
   std::string memory(size + 2, '#');
   RtxPrintToStringBuffer text = {memory.data(), size, 3};
   rtxSetPrintStream(ctxt, rtxPrintStreamToStringCB, &text);
   print(ctxt);
   if (text.used > 3) {
      EXPECT_EQ(memory.find(char{0}), text.used);
   }
   return memory;
}

std::string intoFile(RtxContext* ctxt, const Print& print) {
   char* data = nullptr;
   size_t size = 0;
   FILE* file = open_memstream(&data, &size);
   rtxSetPrintStream(ctxt, rtxPrintStreamToFileCB, file);
   print(ctxt);
   EXPECT_EQ(fclose(file), 0);
   std::string text(data, size);
   free(data);
   return text;
}

void compareWays(RtxContext* ctxt, const Print& print, const char* what) {
   const std::string text = byCalls(ctxt, print);
   EXPECT_EQ(intoFile(ctxt, print), text) << what;
   for (const size_t room : {text.size() + 1, text.size(), text.size() / 2, size_t{2}, size_t{1}}) {
      const size_t size = 3 + room;
      std::string memory = "###" + text.substr(0, room - 1);
      // Text of no octets leaves not even its NUL.
      if (!text.empty()) memory += '\0';
      memory.resize(size + 2, '#');
      EXPECT_EQ(intoBuffer(ctxt, print, size), memory) << what << ", room " << room;
   }
   EXPECT_EQ(intoBuffer(ctxt, print, 3), "#####") << what;
}

TEST(PrintWays, LeaveTheSameOctetsOfEverySample) {
   size_t count = 0;
   const QuorvaType* types = quorvaTypes(&count);
   for (size_t i = 0; i < count; ++i) {
      if (types[i].sample == nullptr || types[i].print == nullptr) continue;
      Capture capture;
      const void* value = types[i].sample(&capture.ctxt);
      const Print print = [&](RtxContext* ctxt) { types[i].print(ctxt, "value", value); };
      compareWays(&capture.ctxt, print, types[i].name);
      // Without a context the text goes to the stream of the process.
      std::string text;
      rtxSetGlobalPrintStream(append, &text);
      print(nullptr);
      g_PrintStream = {nullptr, nullptr};
      EXPECT_EQ(text, byCalls(&capture.ctxt, print)) << types[i].name;
   }
}

TEST(PrintWays, LeaveTheSameOctetsOfNamesAndLongValues) {
   TS24301IE_NASMessageContainer container = {};
   container.numocts = 251;
   for (uint8_t i = 0; i < 251; ++i) container.data[i] = i;
   const TS24301IE_ServiceType service = 1;
   const TS24008IE_TFTParamId open = 77;
   const std::string longName(600, 'n');
   for (const char* name : {"a%%b", longName.c_str(), ""}) {
      Capture capture;
      const auto compare = [&](const Print& print) { compareWays(&capture.ctxt, print, name); };
      compare([&](RtxContext* ctxt) { asn1PrtToStrm_TS24301IE_NASMessageContainer(ctxt, name, &container); });
      compare([&](RtxContext* ctxt) { asn1PrtToStrm_TS24301IE_ServiceType(ctxt, name, service); });
      compare([&](RtxContext* ctxt) { asn1PrtToStrm_TS24008IE_TFTParamId(ctxt, name, open); });
   }
}

TEST(PrintWays, LeaveTheSameOctetsOfAListing) {
   Capture capture;
   RtxContext* ctxt = &capture.ctxt;
   uint8_t octets[] = {0x7E, 0x00, 0x5B, 0x01};
   auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(ctxt, sizeof(RtxDiagBitFieldList)));
   ASSERT_EQ(rtxDiagBitFieldListInit(ctxt, list), 0);
   ctxt->bitFields = list;
   TS24501Msg_PDU pdu;
   asn1Init_TS24501Msg_PDU(&pdu);
   rtxCtxtSetBufPtr(ctxt, octets, sizeof octets);
   ASSERT_EQ(NASDec_TS24501Msg_PDU(ctxt, &pdu), 0);
   const RtxDiagBitFieldList fresh = *list;
   compareWays(
         ctxt,
         [&](RtxContext*) {
            *list = fresh;
            rtxDiagBitTracePrint(list, "PDU");
         },
         "listing");
}

// What a crash between two lines must not lose.
TEST(PrintWays, FlushStandardOutputLineByLine) {
   g_PrintStream = {nullptr, nullptr};
   RtxContext ctxt;
   rtInitContext(&ctxt);
   // A record that can't be read: the process ends at it.
   TS24501Msg_PDU pdu = {};
   pdu.protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
   pdu.data.t = 21;
   pdu.data.u.obj_IdentityRequest5G = reinterpret_cast<TS24501Msg_IdentityRequest*>(16);
   testing::internal::CaptureStdout();
   fflush(stdout);
   const int child = fork();
   if (child == 0) {
      signal(SIGSEGV, [](int) { _exit(3); });
      asn1PrtToStrm_TS24501Msg_PDU(&ctxt, "PDU", &pdu);
      _exit(0);
   }
   int status = 0;
   waitpid(child, &status, 0);
   EXPECT_EQ(WEXITSTATUS(status), 3);
   EXPECT_TRUE(
         testing::internal::GetCapturedStdout().ends_with("   data {\n      obj_IdentityRequest5G {\n"));
   rtFreeContext(&ctxt);
}

} // namespace
