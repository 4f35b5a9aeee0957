// Printers of ASN.1 values to the print stream; those of bit strings have a file of their own.
#include "quorva/rtPrintToStream.h"

#include <cstdlib>
#include <cstring>

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"
#include "runtime/text/escapeText.h"
#include "runtime/text/valueText.h"

using quorva::StreamSink;
namespace text = quorva::text;

int rtPrintToStreamOctStr(RtxContext* pctxt, const char* name, uint32_t numocts, const uint8_t* data,
                          const char* conn) {
   return text::octStr(StreamSink(pctxt), name, numocts, data, conn);
}

int rtPrintToStreamOpenType(RtxContext* pctxt, const char* name, uint32_t numocts, const uint8_t* data,
                            const char* conn) {
   return text::octStr(StreamSink(pctxt), name, numocts, data, conn);
}

int rtPrintToStreamOpenTypeExt(RtxContext* pctxt, const char* name, const RtxDList* pElemList) {
   return text::openTypes(StreamSink(pctxt), name, pElemList);
}

int rtPrintToStreamOpenTypeExtBraceText(RtxContext* pctxt, const char* name, const RtxDList* pElemList) {
   return text::openTypesBraceText(StreamSink(pctxt), name, pElemList);
}

int rtPrintToStream16BitCharStr(RtxContext* pctxt, const char* name, const Rtx16BitCharString* value,
                                const char* conn) {
   return text::wideDump(StreamSink(pctxt), name, value, conn);
}

int rtPrintToStream32BitCharStr(RtxContext* pctxt, const char* name, const Rtx32BitCharString* value,
                                const char* conn) {
   return text::wideDump(StreamSink(pctxt), name, value, conn);
}

int rtPrintToStreamUnicodeCharStr(RtxContext* pctxt, const char* name, const Rtx16BitCharString* value) {
   return text::wideText(StreamSink(pctxt), name, value->data, value->nchars, quorva::escapes(pctxt));
}

int rtPrintToStreamUnivCharStr(RtxContext* pctxt, const char* name, const Rtx32BitCharString* value) {
   return text::wideText(StreamSink(pctxt), name, value->data, value->nchars, quorva::escapes(pctxt));
}

int rtPrintToStreamText(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::visibleText(StreamSink(pctxt), name, numocts, data);
}

int rtPrintToStreamIpv4Addr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::ipv4(StreamSink(pctxt), name, numocts, data);
}

int rtPrintToStreamIpv6Addr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::ipv6(StreamSink(pctxt), name, numocts, data);
}

int rtPrintToStreamTBCDStr(RtxContext* pctxt, const char* name, size_t numocts, const uint8_t* data) {
   return text::tbcd(StreamSink(pctxt), name, numocts, data, "\n");
}

int rtPrintToStreamDateTime(RtxContext* pctxt, const char* name, const RtxDateTime* value) {
   return text::dateTime(StreamSink(pctxt), name, value);
}

int rtPrintToStreamOIDValue2(RtxContext* pctxt, uint32_t numids, const uint32_t* subid) {
   return text::oid(StreamSink(pctxt), nullptr, numids, subid);
}

int rtPrintToStreamOIDValue(RtxContext* pctxt, const RtxOID* value) {
   return text::oid(StreamSink(pctxt), nullptr, value->numids, value->subid);
}

int rtPrintToStreamOID2(RtxContext* pctxt, const char* name, uint32_t numids, const uint32_t* subid) {
   return text::oid(StreamSink(pctxt), name, numids, subid);
}

int rtPrintToStreamOID(RtxContext* pctxt, const char* name, const RtxOID* value) {
   return text::oid(StreamSink(pctxt), name, value->numids, value->subid);
}

int rtPrintToStreamOID64Value(RtxContext* pctxt, const RtxOID64* value) {
   return text::oid(StreamSink(pctxt), nullptr, value->numids, value->subid);
}

int rtPrintToStreamOID64(RtxContext* pctxt, const char* name, const RtxOID64* value) {
   return text::oid(StreamSink(pctxt), name, value->numids, value->subid);
}

int rtPrintToStreamOIDStr(RtxContext* pctxt, const char* name, const char* value) {
   // Without a context there is no heap, but printing goes on.
   return text::oidStr(
         StreamSink(pctxt), name, value, pctxt,
         [](void* owner, const char* arcs) {
            return owner ? rtxUTF8Strdup(static_cast<RtxContext*>(owner), arcs) : strdup(arcs);
         },
         [](void* owner, char* arcs) {
            owner ? rtxMemHeapFreePtr(static_cast<RtxContext*>(owner), arcs) : free(arcs);
         });
}
