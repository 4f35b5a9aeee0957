// Printers of ASN.1 values; those of bit strings have a file of their own.
#include "quorva/rtPrintToStream.h"

#include <cinttypes>
#include <initializer_list>

#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/text/textSteps.h"

namespace {

// The dump of a wide text takes its units as they lie in memory.
template <typename Text>
int printWideDump(RtxContext* pctxt, const char* name, const Text* value, const char* conn) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%snchars = %u\n", name, conn, value->nchars));
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%sdata = \n", name, conn));
   const size_t unitSize = sizeof(*value->data);
   rtxHexDumpToStreamEx(pctxt, reinterpret_cast<const uint8_t*>(value->data), unitSize * value->nchars,
                        unitSize);
   return 0;
}

template <typename Text>
int printWideText(RtxContext* pctxt, const char* name, const Text* value) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = '", name));
   QUORVA_PRINT_STEP(quorva::printUnits(pctxt, value->data, value->nchars));
   return rtxPrintToStream(pctxt, "'\n");
}

} // namespace

int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, uint32_t numocts, const uint8_t* data,
                          const char* conn) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%snumocts = %u\n", name, conn, numocts));
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%sdata = \n", name, conn));
   rtxHexDumpToStream(pctxt, data, numocts);
   return 0;
}

int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, uint32_t numocts, const uint8_t* data,
                            const char* conn) {
   return rtPrintToStreamOctStr(pctxt, name, numocts, data, conn);
}

int rtPrintToStreamOpenTypeExt(RtxContext* pctxt, const char* name, const RtxDList* pElemList) {
   for (const RtxDListNode* node = pElemList ? pElemList->head : nullptr; node; node = node->next) {
      if (const auto* value = static_cast<const RtxDynOctStr*>(node->data))
         QUORVA_PRINT_STEP(rtPrintToStreamOpenType(pctxt, name, value->numocts, value->data, "."));
   }
   return 0;
}

int rtPrintToStreamOpenTypeExtBraceText(RtxContext* pctxt, const char* name, const RtxDList* pElemList) {
   for (const RtxDListNode* node = pElemList ? pElemList->head : nullptr; node; node = node->next) {
      const auto* value = static_cast<const RtxDynOctStr*>(node->data);
      if (!value) continue;
      QUORVA_PRINT_STEP(rtxPrintToStreamIndent(pctxt));
      QUORVA_PRINT_STEP(rtxPrintToStreamHexStr(pctxt, name, value->numocts, value->data));
   }
   return 0;
}

int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name, const Rtx16BitCharString* value,
                                const char* conn) {
   return printWideDump(pctxt, name, value, conn);
}

int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name, const Rtx32BitCharString* value,
                                const char* conn) {
   return printWideDump(pctxt, name, value, conn);
}

int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const Rtx16BitCharString* value) {
   return printWideText(pctxt, name, value);
}

int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name, const Rtx32BitCharString* value) {
   return printWideText(pctxt, name, value);
}

int rtPrintToStreamText(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i)
      if (quorva::isPrintable(data[i])) QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%c", data[i]));
   return rtxPrintToStream(pctxt, "\n");
}

int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i)
      QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, i > 0 ? ".%d" : "%d", data[i]));
   return rtxPrintToStream(pctxt, "\n");
}

int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   // Each octet goes out without a leading zero.
   for (size_t i = 0; data && i < numocts; ++i)
      QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, i % 2 == 1 && i + 1 < numocts ? "%x:" : "%x", data[i]));
   return rtxPrintToStream(pctxt, "\n");
}

int rtPrintToStreamTBCDStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   for (size_t i = 0; data && i < numocts; ++i) {
      for (const unsigned digit : {data[i] & 15u, static_cast<unsigned>(data[i] >> 4)})
         if (digit != 15) QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s", quorva::tbcdDigitText(digit)));
   }
   return rtxPrintToStream(pctxt, "\n");
}

int rtPrintToStreamOIDValue2(RtxContext* pctxt, uint32_t numids, const uint32_t* subid) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "{ "));
   // Signed: an arc from 2^31 on shows as a negative number.
   for (uint32_t i = 0; subid && i < numids; ++i)
      QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%d ", static_cast<int32_t>(subid[i])));
   return rtxPrintToStream(pctxt, "}\n");
}

int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtxOID* value) {
   return rtPrintToStreamOIDValue2(pctxt, value->numids, value->subid);
}

int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, uint32_t numids, const uint32_t* subid) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   return rtPrintToStreamOIDValue2(pctxt, numids, subid);
}

int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtxOID* value) {
   return rtPrintToStreamOID2(pctxt, name, value->numids, value->subid);
}

int rtPrintToStreamOID64Value(RtxContext* pctxt, const RtxOID64* value) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "{ "));
   for (uint32_t i = 0; i < value->numids; ++i)
      QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%" PRId64 " ", static_cast<int64_t>(value->subid[i])));
   return rtxPrintToStream(pctxt, "}\n");
}

int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtxOID64* value) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   return rtPrintToStreamOID64Value(pctxt, value);
}

int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* value) {
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = ", name));
   if (!value) return rtxPrintToStream(pctxt, "(null)\n");
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "{ "));
   char* arcs = rtxUTF8Strdup(pctxt, value);
   if (!arcs) return RTX_E_NOMEM;
   for (char* c = arcs; *c; ++c)
      if (*c == '.') *c = ' ';
   const int status = rtxPrintToStream(pctxt, "%s }\n", arcs);
   rtxMemHeapFreePtr(pctxt, arcs);
   return status;
}
