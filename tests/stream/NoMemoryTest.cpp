// Any allocation of a stream's life may fail: a status or null, nothing lost, nothing leaked.
#include "quorva/registry.h"
#include "quorva/rtxMemBuf.h"
#include "tests/stream/transports.h"
#include "tests/support/systemMemory.h"

namespace {

using namespace quorva::test;

TEST(StreamsWithoutMemory, EveryAllocationOfEveryTransport) {
   const QuorvaType& type = *quorvaFindType("TS24301IE_UENetworkCapability");
   for (const TransportRow& row : kTransports) {
      SCOPED_TRACE(row.name);
      for (const bool writes : {false, true}) {
         if ((writes ? row.attachWriter : row.attachReader) == nullptr) continue;
         system_memory::failEach(1, [&](auto startFailing) {
            RtxContext context;
            ASSERT_EQ(system_memory::init(&context), 0);
            Ground ground;
            ground.octets = octetsFromHex("04f0f0c040");
            if (!writes) ground.octets.resize(3000, 0x5A);
            startFailing();
            int status = (writes ? row.attachWriter : row.attachReader)(&context, ground);
            if (status >= 0) {
               alignas(16) uint8_t value[4096] = {};
               ASSERT_LE(type.size, sizeof value);
               if (writes) {
                  if (type.encode(&context, value) >= 0) rtxStreamWrite(&context, value, 5);
               } else {
                  if (type.decode(&context, value) >= 0) {
                     EXPECT_EQ(context.bufByteIndex != 0, true);
                  }
                  rtxStreamMark(&context, 4000);
                  rtxStreamRead(&context, nullptr, 2000);
                  rtxStreamReset(&context);
                  rtxStreamBufferedCreate(&context, 0);
                  rtxStreamBufferedPrependReadBuf(&context, value, 700);
                  rtxStreamDirectBufCreate(&context);
                  rtxStreamDirectBufPreRead(&context, 2500);
                  rtxStreamCtxtBufCreate(&context);
               }
            }
            rtxFreeContext(&context);
         });
      }
   }
}

} // namespace
