// Decoders of digit strings. The first octets choose sizes; the room for the text is a block of its own, so
// that a write past it is found.
#include "fuzz/fuzz.h"
#include "quorva/rtBCD.h"
#include "quorva/rtPLMNidentity.h"
#include "quorva/rtx3GPP.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxTBCD.h"

#include <string>

using namespace quorva::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 4) return 0;
   const size_t count = data[0];
   const size_t room = size_t{data[1]} * (data[2] & 1 ? 3 : 1);
   const uint8_t choice = data[2] >> 1, head = data[3];
   const size_t length = size - 4;
   const auto octets = blockOf(data + 4, length);
   const std::unique_ptr<char[]> text(new char[room]);
   Context ctx;
   rtxCtxtSetBufPtr(&ctx, octets.get(), length);
   ctx.bufBitsLeft = choice & 0x40 ? 4 : 8;
   switch (choice % 8) {
   case 0:
      if (rtxDecQ825TBCDString(&ctx, count, text.get(), room) == 0)
         need(text[2 * count] == 0 && ctx.bufByteIndex == count);
      break;
   case 1:
      if (rtx3GPPDecMobileIdentityType1(&ctx, count + (choice & 0x20 ? 256u : 0u), head & 8, head >> 4,
                                        text.get(), room) == 0)
         need(std::memchr(text.get(), 0, room) != nullptr);
      break;
   case 2: {
      char mcc[4], mnc[4];
      if (rtx3GPPDec_MCC_MNC(&ctx, mcc, mnc) == 0) {
         // What was read is written to the same octets again.
         uint8_t again[3];
         rtxCtxtSetBufPtr(&ctx, again, sizeof again);
         need(rtx3GPPEnc_MCC_MNC(&ctx, mcc, mnc) == 0);
         need(choice & 0x40 || std::memcmp(again, octets.get(), 3) == 0);
      }
      break;
   }
   case 3:
      if (rtxQ825TBCDToString(length, octets.get(), text.get(), room) == 0)
         need(std::memchr(text.get(), 0, room) != nullptr);
      break;
   case 4: rtTBCDToString(length, octets.get(), text.get(), room); break;
   case 5: rtBCDToString(length, octets.get(), text.get(), room, 0); break;
   case 6:
      if (length < 3) break;
      std::free(rtGetMCCFromPLMNidentity(octets.get()));
      std::free(rtGetMNCFromPLMNidentity(octets.get()));
      std::free(rtGetMNCFromPGWPLMNidentity(octets.get()));
      break;
   default: {
      const std::string digits(reinterpret_cast<char*>(octets.get()), length);
      const std::unique_ptr<uint8_t[]> packed(new uint8_t[room]);
      const int filled = rtStringToBCD(digits.c_str(), packed.get(), room, choice & 0x40);
      need(filled < 0 ? room == 0 : static_cast<size_t>(filled) <= room);
   }
   }
   return 0;
}
