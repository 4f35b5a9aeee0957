// The GSM 7-bit decoder, into a room of its own size; what it gives is encoded again.
#include "fuzz/fuzz.h"
#include "quorva/rtx3GPP.h"
#include "quorva/rtxError.h"

using namespace quorva::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2) return 0;
   const size_t septets = data[0], room = data[1];
   const size_t length = size - 2;
   const auto octets = blockOf(data + 2, length);
   const std::unique_ptr<char[]> text(new char[room + 1]);
   std::memset(text.get(), 0, room + 1);
   Context ctx;
   rtxCtxtSetBufPtr(&ctx, octets.get(), length);
   const int status = rtx3GPPDecGSMCharStr(&ctx, text.get(), room, septets);
   need(status != 0 || ctx.bufByteIndex == (septets * 7 + 7) / 8);
   need(text[room] == 0);

   rtxErrReset(&ctx);
   const size_t characters = std::strlen(text.get());
   rtxCtxtSetBufPtr(&ctx, nullptr, 16);
   need(rtx3GPPEncGSMCharStr(&ctx, text.get()) == 0 && ctx.bufByteIndex == (characters * 7 + 7) / 8);
   return 0;
}
