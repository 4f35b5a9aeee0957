// The GSM 7-bit decoder, into a room of its own size; what it gives is encoded again.
#include "quorva/rtx3GPP.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"

#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   const size_t septets = data[0], room = data[1];
   const size_t length = size - 2;
   const std::unique_ptr<uint8_t[]> octets(new uint8_t[length]);
   if (length != 0) std::memcpy(octets.get(), data + 2, length);
   const std::unique_ptr<char[]> text(new char[room + 1]);
   std::memset(text.get(), 0, room + 1);

   RtxContext ctx;
   if (rtInitContext(&ctx) != 0) return 0;
   rtxCtxtSetBufPtr(&ctx, octets.get(), length);
   const int status = rtx3GPPDecGSMCharStr(&ctx, text.get(), room, septets);
   if (status == 0 && ctx.bufByteIndex != (septets * 7 + 7) / 8) std::abort();
   if (text[room] != 0) std::abort();

   rtxErrReset(&ctx);
   const size_t characters = std::strlen(text.get());
   rtxCtxtSetBufPtr(&ctx, nullptr, 16);
   if (rtx3GPPEncGSMCharStr(&ctx, text.get()) != 0 || ctx.bufByteIndex != (characters * 7 + 7) / 8)
      std::abort();
   rtFreeContext(&ctx);
   return 0;
}
