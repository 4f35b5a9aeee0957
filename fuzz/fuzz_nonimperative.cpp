// The scan of a non-imperative part: it ends, within the buffer, and is quiet when it succeeds.
#include "quorva/rtx3GPP.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"

#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 3) return 0;
   const uint8_t head = data[0];
   const size_t length = size - 3;
   const std::unique_ptr<uint8_t[]> octets(new uint8_t[length]);
   if (length != 0) std::memcpy(octets.get(), data + 3, length);

   RtxContext ctx;
   if (rtInitContext(&ctx) != 0) return 0;
   rtxCtxtSetBufPtr(&ctx, octets.get(), length);
   if (head & 2) rtxCtxtPushContainerBytes(&ctx, data[1]);
   if (head & 4) rtxCtxtSetBitOffset(&ctx, data[2] % 16);
   const int status = rtx3GPPDecL3NonImperative(&ctx, head & 1);
   if ((status == 0) != (rtxErrGetErrorCnt(&ctx) == 0)) std::abort();
   rtFreeContext(&ctx);
   return 0;
}
