// Printers of values to the end of a text.
#include "quorva/rtPrintToString.h"

#include <cstdlib>
#include <cstring>

#include "quorva/rtxCharStr.h"
#include "runtime/text/valueText.h"

using quorva::StringSink;
namespace text = quorva::text;

namespace {

int printBraceText(const StringSink& to, const char* name, const text::Bits& bits) {
   QUORVA_PRINT_STEP(to.print("%s = { %u, ", name, bits.numbits));
   QUORVA_PRINT_STEP(text::bitDump(to, bits.stored, bits.data));
   if (bits.extData) QUORVA_PRINT_STEP(to.print(", 0x%x", *bits.extData));
   return to.print(" }\n");
}

} // namespace

int rtPrintToString(const char* text, char* buffer, size_t bufsize) {
   return rtxStrcat(buffer, bufsize, text) ? 0 : -1;
}

int rtPrintToStringIndent(char* buffer, size_t bufsize) {
   return StringSink(buffer, bufsize).indent();
}

void rtPrintToStringResetIndent(void) {
   quorva::stringIndent = 0;
}

void rtPrintToStringIncrIndent(void) {
   quorva::increaseIndent(quorva::stringIndent);
}

void rtPrintToStringDecrIndent(void) {
   quorva::decreaseIndent(quorva::stringIndent);
}

int rtPrintToStringOpenBrace(const char* name, char* buffer, size_t bufsize) {
   QUORVA_PRINT_STEP(text::openBrace(StringSink(buffer, bufsize), name));
   rtPrintToStringIncrIndent();
   return 0;
}

int rtPrintToStringCloseBrace(char* buffer, size_t bufsize) {
   rtPrintToStringDecrIndent();
   return text::closeBrace(StringSink(buffer, bufsize));
}

int rtPrintToStringBoolean(const char* name, uint8_t value, char* buffer, size_t bufsize) {
   return text::boolean(StringSink(buffer, bufsize), name, value != 0);
}

int rtPrintToStringInteger(const char* name, int32_t value, char* buffer, size_t bufsize) {
   return text::int32(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringUnsigned(const char* name, uint32_t value, char* buffer, size_t bufsize) {
   return text::uint32(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringInt64(const char* name, int64_t value, char* buffer, size_t bufsize) {
   return text::int64(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringUInt64(const char* name, uint64_t value, char* buffer, size_t bufsize) {
   return text::uint64(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringReal(const char* name, double value, char* buffer, size_t bufsize) {
   return text::real(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringCharStr(const char* name, const char* value, char* buffer, size_t bufsize) {
   return text::charStr(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringUTF8Str(const char* name, const char* value, char* buffer, size_t bufsize) {
   return text::charStr(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringHexStr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                          size_t bufsize) {
   return text::hexStr(StringSink(buffer, bufsize), name, numocts, data);
}

int rtPrintToStringOctStr(const char* name, uint32_t numocts, const uint8_t* data, const char* conn,
                          char* buffer, size_t bufsize) {
   return text::octStr(StringSink(buffer, bufsize), name, numocts, data, conn);
}

int rtPrintToStringOpenType(const char* name, uint32_t numocts, const uint8_t* data, const char* conn,
                            char* buffer, size_t bufsize) {
   return text::octStr(StringSink(buffer, bufsize), name, numocts, data, conn);
}

int rtPrintToStringOpenTypeExt(const char* name, const RtxDList* pElemList, char* buffer, size_t bufsize) {
   return text::openTypes(StringSink(buffer, bufsize), name, pElemList);
}

int rtPrintToStringOpenTypeExtBraceText(const char* name, const RtxDList* pElemList, char* buffer,
                                        size_t bufsize) {
   return text::openTypesBraceText(StringSink(buffer, bufsize), name, pElemList);
}

int rtPrintToString16BitCharStr(const char* name, const Rtx16BitCharString* value, const char* conn,
                                char* buffer, size_t bufsize) {
   return text::wideDump(StringSink(buffer, bufsize), name, value, conn);
}

int rtPrintToString32BitCharStr(const char* name, const Rtx32BitCharString* value, const char* conn,
                                char* buffer, size_t bufsize) {
   return text::wideDump(StringSink(buffer, bufsize), name, value, conn);
}

int rtPrintToStringUnicodeCharStr(const char* name, const Rtx16BitCharString* value, char* buffer,
                                  size_t bufsize) {
   return text::wideText(StringSink(buffer, bufsize), name, value->data, value->nchars);
}

int rtPrintToStringUnivCharStr(const char* name, const Rtx32BitCharString* value, char* buffer,
                               size_t bufsize) {
   return text::wideText(StringSink(buffer, bufsize), name, value->data, value->nchars);
}

int rtPrintToStringText(const char* name, size_t numocts, const uint8_t* data, char* buffer, size_t bufsize) {
   return text::visibleText(StringSink(buffer, bufsize), name, numocts, data);
}

int rtPrintToStringIpv4Addr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                            size_t bufsize) {
   return text::ipv4(StringSink(buffer, bufsize), name, numocts, data);
}

int rtPrintToStringIpv6Addr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                            size_t bufsize) {
   return text::ipv6(StringSink(buffer, bufsize), name, numocts, data);
}

int rtPrintToStringTBCDStr(const char* name, size_t numocts, const uint8_t* data, char* buffer,
                           size_t bufsize) {
   return text::tbcd(StringSink(buffer, bufsize), name, numocts, data, "\n");
}

int rtPrintToStringDateTime(const char* name, const RtxDateTime* value, char* buffer, size_t bufsize) {
   return text::dateTime(StringSink(buffer, bufsize), name, value);
}

int rtPrintToStringOIDValue2(uint32_t numids, const uint32_t* subid, char* buffer, size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), nullptr, numids, subid);
}

int rtPrintToStringOIDValue(const RtxOID* value, char* buffer, size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), nullptr, value->numids, value->subid);
}

int rtPrintToStringOID2(const char* name, uint32_t numids, const uint32_t* subid, char* buffer,
                        size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), name, numids, subid);
}

int rtPrintToStringOID(const char* name, const RtxOID* value, char* buffer, size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), name, value->numids, value->subid);
}

int rtPrintToStringOID64Value(const RtxOID64* value, char* buffer, size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), nullptr, value->numids, value->subid);
}

int rtPrintToStringOID64(const char* name, const RtxOID64* value, char* buffer, size_t bufsize) {
   return text::oid(StringSink(buffer, bufsize), name, value->numids, value->subid);
}

int rtPrintToStringOIDStr(const char* name, const char* value, char* buffer, size_t bufsize) {
   return text::oidStr(
         StringSink(buffer, bufsize), name, value, nullptr,
         [](void*, const char* arcs) { return strdup(arcs); }, [](void*, char* arcs) { free(arcs); });
}

int rtBitStringDumpToString(uint32_t numbits, const uint8_t* data, char* buffer, size_t bufsize) {
   return text::bitDump(StringSink(buffer, bufsize), numbits, data);
}

int rtBitStringDumpNamedToString(uint32_t numbits, const uint8_t* data, size_t nameCount,
                                 const uint32_t* bitNumbers, const char* const* bitNames, char* buffer,
                                 size_t bufsize) {
   return text::namedBitDump(StringSink(buffer, bufsize), numbits, data, {nameCount, bitNumbers, bitNames});
}

int rtPrintToStringBitStr(const char* name, uint32_t numbits, const uint8_t* data, const char* conn,
                          char* buffer, size_t bufsize) {
   return text::bitStr(StringSink(buffer, bufsize), name, text::wholeBits(numbits, data), conn, nullptr,
                       false);
}

int rtPrintToStringBitStrExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                             const uint8_t* extData, const char* conn, char* buffer, size_t bufsize) {
   const StringSink to(buffer, bufsize);
   const text::Bits bits = text::splitBits(numbits, data, dataSize, nullptr);
   QUORVA_PRINT_STEP(text::bitStr(to, name, bits, conn, nullptr, false));
   return extData ? to.print("%s%sextdata = 0x%x\n", name, conn, *extData) : 0;
}

int rtPrintToStringBitStrBin(const char* name, uint32_t numbits, const uint8_t* data, const char* conn,
                             char* buffer, size_t bufsize) {
   return text::bitStrBin(StringSink(buffer, bufsize), name, text::wholeBits(numbits, data), conn, false);
}

int rtPrintToStringBitStrBraceText(const char* name, uint32_t numbits, const uint8_t* data, char* buffer,
                                   size_t bufsize) {
   return printBraceText(StringSink(buffer, bufsize), name, text::wholeBits(numbits, data));
}

int rtPrintToStringBitStrBraceTextExt(const char* name, uint32_t numbits, const uint8_t* data,
                                      size_t dataSize, const uint8_t* extData, char* buffer, size_t bufsize) {
   return printBraceText(StringSink(buffer, bufsize), name,
                         text::splitBits(numbits, data, dataSize, extData));
}

int rtPrintToStringBitStrNamed(const char* name, uint32_t numbits, const uint8_t* data, const char* conn,
                               size_t nameCount, const uint32_t* bitNumbers, const char* const* bitNames,
                               char* buffer, size_t bufsize) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StringSink(buffer, bufsize), name, text::wholeBits(numbits, data), conn, &names, true);
}

int rtPrintToStringBitStrNamedExt(const char* name, uint32_t numbits, const uint8_t* data, size_t dataSize,
                                  const uint8_t* extData, const char* conn, size_t nameCount,
                                  const uint32_t* bitNumbers, const char* const* bitNames, char* buffer,
                                  size_t bufsize) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StringSink(buffer, bufsize), name, text::splitBits(numbits, data, dataSize, extData),
                       conn, &names, true);
}
