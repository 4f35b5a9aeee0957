// Texts and printers on any octets: hexadecimal text, UTF-8, dumps, bit strings, the bit trace.
#include "fuzz/fuzz.h"
#include "quorva/rtPrintToStream.h"
#include "quorva/rtPrintToString.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"

#include <vector>

using namespace quorva::fuzz;

namespace {

void hexText(const char* text, size_t size) {
   const int count = rtxHexCharsToBinCount(text, size);
   std::vector<uint8_t> out(count > 0 ? static_cast<size_t>(count) : 0);
   need(rtxHexCharsToBin(text, size, out.data(), out.size()) == count);
   if (count > 0) need(rtxHexCharsToBin(text, size, out.data(), out.size() - 1) == RTX_E_TOO_SMALL);
}

void utf8(const uint8_t* data, size_t size) {
   while (size > 0) {
      size_t used = size;
      const int32_t codePoint = rtxUTF8DecodeChar(nullptr, data, &used);
      if (codePoint < 0) used = 1;
      need(used >= 1 && used <= size);
      uint8_t out[6];
      // Overlong forms come back shorter.
      if (codePoint >= 0) {
         const int nocts = rtxUTF8EncodeChar(static_cast<uint32_t>(codePoint), out, sizeof(out));
         need(nocts >= 1 && static_cast<size_t>(nocts) <= used);
      }
      data += used;
      size -= used;
   }
}

void dumps(RtxContext* pctxt, const uint8_t* data, size_t size, size_t groupSize) {
   rtxHexDumpToStreamEx(pctxt, data, size, groupSize);
   std::vector<char> room(size + 1);
   const int length = rtxHexDumpToStringEx(data, size, room.data(), 0, room.size(), groupSize);
   need(length < static_cast<int>(room.size()) && memchr(room.data(), 0, room.size()));
}

void bitStrings(RtxContext* pctxt, const uint8_t* data, size_t size, uint32_t numbits) {
   if (numbits > 8 * size) numbits = static_cast<uint32_t>(8 * size);
   const size_t stored = size / 2;
   const uint32_t number = 3;
   const char* const name = "three";
   rtPrintToStreamBitStr(pctxt, "n", numbits, data, ".");
   rtPrintToStreamBitStrBraceTextExt(pctxt, "n", numbits, data, stored, size ? data : nullptr);
   rtPrintToStreamBitStrNamedExt(pctxt, "n", numbits, data, stored, data + stored, ".", 1, &number, &name);
}

// Texts of any size: never past the end, and always with a NUL.
void texts(const uint8_t* data, size_t size, size_t room) {
   const auto numbits = static_cast<uint32_t>(8 * size);
   const auto numocts = static_cast<uint32_t>(size);
   const uint32_t number = 3;
   const char* const name = "three";
   std::vector<char> text(room);
   char* const b = text.data();
   int statuses = rtPrintToStringOctStr("n", numocts, data, ".", b, room);
   statuses |= rtPrintToStringHexStr("n", size, data, b, room);
   statuses |= rtPrintToStringBitStrExt("n", numbits, data, size / 2, data, ".", b, room);
   statuses |= rtPrintToStringBitStrNamedExt("n", numbits, data, size / 2, data + size / 2, ".", 1, &number,
                                             &name, b, room);
   statuses |= rtPrintToStringTBCDStr("n", size, data, b, room);
   need(statuses == 0 || statuses == -1);
   need(room == 0 || memchr(b, 0, room));
   rtBitStrToString(numbits, data, b, room);
   rtOctStrToString(numocts, data, b, room);
   need(room == 0 || b[room - 1] == 0);
}

// Each octet steers one step of a codec.
void trace(RtxContext* pctxt, const uint8_t* data, size_t size) {
   std::vector<uint8_t> message(data, data + size);
   rtxCtxtSetBufPtr(pctxt, message.data(), message.size());
   RtxDiagBitFieldList list;
   rtxDiagBitFieldListInit(pctxt, &list);
   rtxCtxtPushElemName(pctxt, "m");
   for (size_t i = 0; i < size; ++i) {
      const uint8_t step = data[i];
      switch (step & 7) {
      case 0: rtxDiagInsBitFieldLen(&list); break;
      case 1: rtxDiagSetBitFldOffset(&list); break;
      case 2: rtxDiagBitFldAppendNamePart(&list, "p"); break;
      case 3: rtxCtxtSetBitOffset(pctxt, step * size_t{4}); break;
      case 4: rtxDiagBitTracePrint(&list, "x"); break;
      case 5: rtxDiagSetBitFldCount(&list); break;
      default:
         rtxDiagNewBitField(&list, "INTEGER");
         rtxDecBits(pctxt, nullptr, step >> 3);
         rtxDiagSetBitFldCount(&list);
      }
   }
   rtxDiagBitTracePrint(&list, nullptr);
   rtxDiagBitTracePrintHTML("/dev/null", &list, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   Context ctxt;
   char text[512];
   RtxPrintToStringBuffer buffer = {text, sizeof(text), 0};
   rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &buffer);
   const uint8_t argument = data[0];
   hexText(reinterpret_cast<const char*>(data + 1), size - 1);
   utf8(data + 1, size - 1);
   dumps(&ctxt, data + 1, size - 1, argument % 20);
   bitStrings(&ctxt, data + 1, size - 1, argument * 7u);
   texts(data + 1, size - 1, argument * size_t{argument} / 8);
   trace(&ctxt, data + 1, size - 1);
   return 0;
}
