// Printers of bit strings to the print stream.
#include <cstdlib>
#include <cstring>

#include "quorva/rtPrintToStream.h"
#include "quorva/rtxCharStr.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "runtime/text/valueText.h"

namespace text = quorva::text;
using quorva::StreamSink;

namespace {

using quorva::partialOctetText;

constexpr uint32_t octetsPerLine = 16;
// 16 octets with blanks between take 47 characters; 8 of a partial octet may follow.
constexpr size_t lineSize = 81;
// From here on a value takes lines of its own.
constexpr uint32_t firstLongBits = 64;

// The lines of a bit string; they go with the object.
class BitLines {
public:
   explicit BitLines(RtxContext* pctxt) { rtxSListInitEx(pctxt, &list_); }
   ~BitLines() { rtxSListFreeAll(&list_); }
   BitLines(const BitLines&) = delete;
   BitLines& operator=(const BitLines&) = delete;

   RtxSList* list() { return &list_; }
   const char* first() const { return list_.head ? static_cast<const char*>(list_.head->data) : ""; }

   template <typename Print>
   int forEach(Print print) const {
      for (const RtxSListNode* node = list_.head; node; node = node->next)
         QUORVA_PRINT_STEP(print(static_cast<const char*>(node->data)));
      return 0;
   }

private:
   RtxSList list_;
};

// Collects items, closes lines.
class LineWriter {
public:
   LineWriter(RtxContext* pctxt, RtxSList* list) : pctxt_(pctxt), list_(list) { line_[0] = '\0'; }

   void add(const char* item) {
      if (line_[0]) rtxStrcat(line_, sizeof(line_), " ");
      rtxStrcat(line_, sizeof(line_), item);
   }

   int close() {
      // Without a context the list is one of system memory.
      auto* copy = static_cast<char*>(pctxt_ ? rtxMemHeapAlloc(pctxt_, lineSize) : malloc(lineSize));
      if (!copy) return RTX_E_NOMEM;
      memcpy(copy, line_, sizeof(line_));
      if (!rtxSListAppend(list_, copy)) {
         pctxt_ ? rtxMemHeapFreePtr(pctxt_, copy) : free(copy);
         return RTX_E_NOMEM;
      }
      line_[0] = '\0';
      return RTX_OK;
   }

private:
   RtxContext* pctxt_;
   RtxSList* list_;
   char line_[lineSize];
};

int printBraceText(RtxContext* pctxt, const char* name, const text::Bits& bits) {
   const uint32_t numbits = bits.numbits;
   const uint8_t* extData = bits.extData;
   if (numbits == 0) return rtxPrintToStream(pctxt, "%s = { 0 }\n", name);
   BitLines lines(pctxt);
   const int status = rtBitStringDumpToList(pctxt, bits.stored, bits.data, lines.list());
   if (numbits < firstLongBits) {
      if (status != RTX_OK) return status;
      return extData ? rtxPrintToStream(pctxt, "%s = { %u, %s, 0x%x }\n", name, numbits, lines.first(),
                                        *extData)
                     : rtxPrintToStream(pctxt, "%s = { %u, %s }\n", name, numbits, lines.first());
   }
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s = { %u,\n", name, numbits));
   if (status != RTX_OK) return status;
   QUORVA_PRINT_STEP(lines.forEach([&](const char* line) {
      QUORVA_PRINT_STEP(rtxPrintToStreamIndent(pctxt));
      return rtxPrintToStream(pctxt, "   %s\n", line);
   }));
   if (extData) {
      QUORVA_PRINT_STEP(rtxPrintToStreamIndent(pctxt));
      QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "   0x%x\n", *extData));
   }
   QUORVA_PRINT_STEP(rtxPrintToStreamIndent(pctxt));
   return rtxPrintToStream(pctxt, "}\n");
}

int printDotText(RtxContext* pctxt, const char* name, const text::Bits& bits, const char* conn) {
   const uint32_t numbits = bits.numbits;
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%snumbits = %u\n", name, conn, numbits));
   if (numbits == 0) return rtxPrintToStream(pctxt, "%s%sdata = NULL\n", name, conn);
   BitLines lines(pctxt);
   QUORVA_PRINT_STEP(rtBitStringDumpToList(pctxt, bits.stored, bits.data, lines.list()));
   if (numbits < firstLongBits) return rtxPrintToStream(pctxt, "%s%sdata = %s\n", name, conn, lines.first());
   QUORVA_PRINT_STEP(rtxPrintToStream(pctxt, "%s%sdata =\n", name, conn));
   return lines.forEach([&](const char* line) { return rtxPrintToStream(pctxt, "%s\n", line); });
}

} // namespace

int rtBitStringDumpToList(RtxContext* pctxt, uint32_t numbits, const uint8_t* data, RtxSList* list) {
   if (numbits == 0 || !data) return RTX_OK;
   const uint32_t whole = numbits / 8;
   LineWriter line(pctxt, list);
   for (uint32_t i = 0; i < whole; ++i) {
      char digits[3];
      rtxByteToHexChar(data[i], digits, sizeof(digits));
      line.add(digits);
      if ((i + 1) % octetsPerLine == 0 && i + 1 < whole) QUORVA_PRINT_STEP(line.close());
   }
   if (numbits % 8 != 0) {
      char bits[9];
      partialOctetText(data[whole], numbits % 8, bits);
      // A full line takes the partial octet as a 17th item, but one of 15 octets does not.
      if (whole % octetsPerLine == 15) QUORVA_PRINT_STEP(line.close());
      line.add(bits);
   }
   return line.close();
}

int rtBitStringDumpNamed(RtxContext* pctxt, uint32_t numbits, const uint8_t* data, size_t nameCount,
                         const uint32_t* bitNumbers, const char* const* bitNames) {
   return text::namedBitDump(StreamSink(pctxt), numbits, data, {nameCount, bitNumbers, bitNames});
}

int rtPrintToStreamBitStr(RtxContext* pctxt, const char* name, uint32_t numbits, const uint8_t* data,
                          const char* conn) {
   return printDotText(pctxt, name, text::wholeBits(numbits, data), conn);
}

int rtPrintToStreamBitStrExt(RtxContext* pctxt, const char* name, uint32_t numbits, const uint8_t* data,
                             size_t dataSize, const uint8_t* extData, const char* conn) {
   QUORVA_PRINT_STEP(printDotText(pctxt, name, text::splitBits(numbits, data, dataSize, extData), conn));
   return extData ? rtxPrintToStream(pctxt, "%s%sextdata = 0x%x\n", name, conn, *extData) : 0;
}

int rtPrintToStreamBitStrBraceText(RtxContext* pctxt, const char* name, uint32_t numbits,
                                   const uint8_t* data) {
   return printBraceText(pctxt, name, text::wholeBits(numbits, data));
}

int rtPrintToStreamBitStrBraceTextExt(RtxContext* pctxt, const char* name, uint32_t numbits,
                                      const uint8_t* data, size_t dataSize, const uint8_t* extData) {
   return printBraceText(pctxt, name, text::splitBits(numbits, data, dataSize, extData));
}

int rtPrintToStreamBitStrBin(RtxContext* pctxt, const char* name, uint32_t numbits, const uint8_t* data,
                             const char* conn) {
   return text::bitStrBin(StreamSink(pctxt), name, text::wholeBits(numbits, data), conn, false);
}

int rtPrintToStreamBitStrNamed(RtxContext* pctxt, const char* name, uint32_t numbits, const uint8_t* data,
                               const char* conn, size_t nameCount, const uint32_t* bitNumbers,
                               const char* const* bitNames) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StreamSink(pctxt), name, text::wholeBits(numbits, data), conn, &names, true);
}

int rtPrintToStreamBitStrNamedExt(RtxContext* pctxt, const char* name, uint32_t numbits, const uint8_t* data,
                                  size_t dataSize, const uint8_t* extData, const char* conn, size_t nameCount,
                                  const uint32_t* bitNumbers, const char* const* bitNames) {
   const text::BitNames names = {nameCount, bitNumbers, bitNames};
   return text::bitStr(StreamSink(pctxt), name, text::splitBits(numbits, data, dataSize, extData), conn,
                       &names, true);
}
