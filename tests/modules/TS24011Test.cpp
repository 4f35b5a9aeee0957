// A PDU of the short message control protocol, TS 24.011, without memory.

#include "quorva/TS24011Msg.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;

namespace {

TEST(ControlPdu, NoMemoryForTheRecord) {
   system_memory::reset();
   RtxContext context;
   ASSERT_EQ(system_memory::init(&context), 0);
   TS24011Msg_CP_PDU pdu;
   asn1Init_TS24011Msg_CP_PDU(&pdu);
   // A message without a record leaves spare nodes for the names, and then there is room for no record.
   Octets acknowledgement = octets("89 04"), data = octets("89 01 01 11");
   rtxCtxtSetBufPtr(&context, acknowledgement.data(), acknowledgement.size());
   ASSERT_EQ(NASDec_TS24011Msg_CP_PDU(&context, &pdu), 0);
   system_memory::failHook = [] { return true; };
   while (rtxMemHeapAlloc(&context, sizeof(TS24011Msg_CPDATA)) != nullptr) {}
   rtxCtxtSetBufPtr(&context, data.data(), data.size());
   EXPECT_EQ(NASDec_TS24011Msg_CP_PDU(&context, &pdu), RTX_E_NOMEM);
   EXPECT_EQ(rtxErrGetErrorCnt(&context), 0u); // returned directly
   ASSERT_EQ(context.elemNames.count, 2u);     // ahead of the member's name
   EXPECT_STREQ(static_cast<const char*>(context.elemNames.tail->data), "data");
   rtFreeContext(&context);
   system_memory::failHook = nullptr;
}

} // namespace
