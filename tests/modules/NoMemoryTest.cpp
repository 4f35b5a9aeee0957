// Memory that fails: the n-th allocation alone, and all from the n-th on, in decoding, printing and tracing.

#include "modules/records.h"
#include "quorva/rtxDiag.h"
#include "support/systemMemory.h"

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

// What has been printed goes into a sum: two records with the same one hold the same values.
size_t g_printed;
int sumText(void*, const char* format, va_list arguments) {
   char text[256];
   const int length = std::vsnprintf(text, sizeof text, format, arguments);
   g_printed = g_printed * 31 + std::hash<std::string>()(text);
   return length;
}

// One life of a context: every piece of its heap is a system allocation of its own.
struct Life {
   int status = 0;       // of the decoder
   bool starved = false; // an allocation failed while it ran
   size_t printed = 0;
};

Life decodeOnce(const QuorvaType& type, const std::vector<uint8_t>& octets, bool traced) {
   Life life;
   RtxContext ctxt;
   if (system_memory::init(&ctxt) != 0) {
      life.status = RTX_E_NOMEM;
      return life;
   }
   rtxMemHeapSetFlags(&ctxt, RTX_MH_RAW_ONLY);
   std::vector<uint8_t> input = octets;
   RtxDiagBitFieldList trace;
   if (traced) {
      rtxDiagBitFieldListInit(&ctxt, &trace);
      ctxt.bitFields = &trace;
   }
   Room place(type, 0x00);
   rtxCtxtSetBufPtr(&ctxt, input.data(), input.size());
   const unsigned before = system_memory::failures;
   life.status = type.decode(&ctxt, place.get());
   life.starved = system_memory::failures != before;
   g_printed = 0;
   if (life.status >= 0) type.print(&ctxt, "value", place.get());
   life.printed = g_printed;
   if (traced) rtxDiagBitTracePrint(&trace, nullptr);
   rtxMemHeapCheck(&ctxt, __FILE__, __LINE__);
   ctxt.bitFields = nullptr;
   rtxFreeContext(&ctxt);
   return life;
}

void starveEach(const QuorvaType& type, const std::vector<uint8_t>& octets, bool traced) {
   system_memory::reset();
   const Life whole = decodeOnce(type, octets, traced);
   const size_t total = system_memory::calls;
   ASSERT_EQ(system_memory::live, 0u);
   for (bool onwards : {false, true}) {
      for (size_t n = 1; n <= total; ++n) {
         system_memory::reset();
         system_memory::failAt = n;
         system_memory::failFromThere = onwards;
         const Life life = decodeOnce(type, octets, traced);
         // A field that the trace has no memory for is dropped in silence; a value that is missing is not. An
         // element that its short form had no memory for gets a second chance in full.
         if (life.starved && !traced && (onwards || life.printed != whole.printed)) {
            ASSERT_LT(life.status, 0) << "allocation " << n << " of " << total;
         }
         ASSERT_EQ(system_memory::live, 0u) << "allocation " << n << " of " << total;
      }
   }
}

// Registering a print stream of the context's own would be one more allocation.
void starve(const QuorvaType& type, const std::vector<uint8_t>& octets, bool traced) {
   const RtxPrintStream before = g_PrintStream;
   rtxSetGlobalPrintStream(sumText, nullptr);
   starveEach(type, octets, traced);
   g_PrintStream = before;
}

TEST(NoMemory, FailsCleanlyInEveryDecoder) {
   for (auto* type : allTypes()) {
      if (!type->sample || !type->encode || !type->decode || !type->print) continue;
      SCOPED_TRACE(type->name);
      Capture capture(kTextRoom);
      const Coded coded = encode(capture.ctxt, *type, type->sample(&capture.ctxt));
      if (coded.status < 0) continue;
      starve(*type, coded.octets, false);
      if (HasFatalFailure()) return;
   }
}

// With a trace each field allocates: a few types stand for all.
TEST(NoMemory, FailsCleanlyUnderATrace) {
   for (const char* name :
        {"TS24301Msg_AttachReject", "TS24301IE_TrackingAreaIdentList", "TS24008IE_BearerCapability",
         "TS24501IE_NSSAI", "TS24301IE_UENetworkCapability", "TS24008IE_MobileIdentity"}) {
      SCOPED_TRACE(name);
      const QuorvaType* type = quorvaFindType(name);
      ASSERT_NE(type, nullptr);
      Capture capture(kTextRoom);
      const Coded coded = encode(capture.ctxt, *type, type->sample(&capture.ctxt));
      ASSERT_GE(coded.status, 0);
      starve(*type, coded.octets, true);
      if (HasFatalFailure()) return;
   }
}

} // namespace
