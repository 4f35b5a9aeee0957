// Printers of ASN.1 values to standard output.
#include "quorva/rtPrint.h"

#include <cstdlib>
#include <cstring>

#include "runtime/text/valueText.h"

using quorva::StdoutSink;
namespace text = quorva::text;

namespace {

int printBraceText(const char* name, const text::Bits& bits) {
   const StdoutSink to;
   QUORVA_PRINT_STEP(to.print("%s = { %u, ", name, bits.numbits));
   QUORVA_PRINT_STEP(text::bitDump(to, bits.stored, bits.data));
   QUORVA_PRINT_STEP(text::bitExtension(to, bits));
   return to.print(" }\n");
}

} // namespace

int rtPrintOctStr(const char* name, uint32_t numocts, const uint8_t* data, const char* conn) {
   return text::octStr(StdoutSink(), name, numocts, data, conn);
}

int rtPrintOpenType(const char* name, uint32_t numocts, const uint8_t* data, const char* conn) {
   return text::octStr(StdoutSink(), name, numocts, data, conn);
}

int rtPrintOpenTypeExt(const char* name, const RtxDList* pElemList) {
   return text::openTypes(StdoutSink(), name, pElemList);
}

int rtPrintOpenTypeExtBraceText(const char* name, const RtxDList* pElemList) {
   return text::openTypesBraceText(StdoutSink(), name, pElemList);
}

int rtPrint16BitCharStr(const char* name, const Rtx16BitCharString* value, const char*) {
   return text::wideText(StdoutSink(), name, value->data, value->nchars);
}

int rtPrint32BitCharStr(const char* name, const Rtx32BitCharString* value, const char* conn) {
   return text::wideDump(StdoutSink(), name, value, conn);
}

int rtPrintUnicodeCharStr(const char* name, const Rtx16BitCharString* value) {
   return text::wideText(StdoutSink(), name, value->data, value->nchars);
}

int rtPrintUnivCharStr(const char* name, const Rtx32BitCharString* value) {
   return text::wideText(StdoutSink(), name, value->data, value->nchars);
}

int rtPrintDateTime(const char* name, const RtxDateTime* value) {
   return text::dateTime(StdoutSink(), name, value);
}

int rtPrintOIDValue2(uint32_t numids, const uint32_t* subid) {
   return text::oid(StdoutSink(), nullptr, numids, subid);
}

int rtPrintOIDValue(const RtxOID* value) {
   return text::oid(StdoutSink(), nullptr, value->numids, value->subid);
}

int rtPrintOID2(const char* name, uint32_t numids, const uint32_t* subid) {
   return text::oid(StdoutSink(), name, numids, subid);
}

int rtPrintOID(const char* name, const RtxOID* value) {
   return text::oid(StdoutSink(), name, value->numids, value->subid);
}

int rtPrintOID64Value(const RtxOID64* value) {
   return text::oid(StdoutSink(), nullptr, value->numids, value->subid);
}

int rtPrintOID64(const char* name, const RtxOID64* value) {
   return text::oid(StdoutSink(), name, value->numids, value->subid);
}

int rtPrintOIDStr(const char* name, const char* value) {
   // The copy stays, as the header tells.
   return text::oidStr(
         StdoutSink(), name, value, nullptr, [](void*, const char* arcs) { return strdup(arcs); },
         [](void*, char*) {});
}

int rtBitStringDump(uint32_t numbits, const uint8_t* data) {
   return text::bitDump(StdoutSink(), numbits, data);
}

int rtPrintBitStr(const char* name, uint32_t numbits, const uint8_t* data, const char* conn) {
   return text::bitStr(StdoutSink(), name, text::wholeBits(numbits, data), conn, nullptr, false);
}

int rtPrintBitStrExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                     const uint8_t* extData, const char* conn) {
   return text::bitStr(StdoutSink(), name, text::splitBits(numbits, data, dataSize, extData), conn, nullptr,
                       true);
}

int rtPrintBitStrBin(const char* name, uint32_t numbits, const uint8_t* data, const char* conn) {
   return text::bitStrBin(StdoutSink(), name, text::wholeBits(numbits, data), conn, true);
}

int rtPrintBitStrBraceText(const char* name, uint32_t numbits, const uint8_t* data) {
   return printBraceText(name, text::wholeBits(numbits, data));
}

int rtPrintBitStrBraceTextExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                              const uint8_t* extData) {
   return printBraceText(name, text::splitBits(numbits, data, dataSize, extData));
}

int rtPrintBitStrNamed(const char* name, uint32_t numbits, const uint8_t* data, const char* conn,
                       size_t nameCount, const uint32_t* bitNumbers, const char* const* bitNames) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StdoutSink(), name, text::wholeBits(numbits, data), conn, &names, true);
}

int rtPrintBitStrNamedExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                          const uint8_t* extData, const char* conn, size_t nameCount,
                          const uint32_t* bitNumbers, const char* const* bitNames) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StdoutSink(), name, text::splitBits(numbits, data, dataSize, extData), conn, &names,
                       true);
}
