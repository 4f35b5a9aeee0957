// The scan of a non-imperative part: it ends, within the buffer, and is quiet when it succeeds.
#include "fuzz/fuzz.h"
#include "quorva/rtx3GPP.h"
#include "quorva/rtxError.h"

using namespace quorva::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 3) return 0;
   const uint8_t head = data[0];
   const size_t length = size - 3;
   const auto octets = blockOf(data + 3, length);
   Context ctx;
   rtxCtxtSetBufPtr(&ctx, octets.get(), length);
   if (head & 2) rtxCtxtPushContainerBytes(&ctx, data[1]);
   if (head & 4) rtxCtxtSetBitOffset(&ctx, data[2] % 16);
   const int status = rtx3GPPDecL3NonImperative(&ctx, head & 1);
   need((status == 0) == (rtxErrGetErrorCnt(&ctx) == 0));
   return 0;
}
