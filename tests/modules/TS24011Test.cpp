// Elements, messages and PDUs of the short message control and relay protocols, TS 24.011.

#include "quorva/TS24011Msg.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;

namespace {

TEST(SmsElements, AnAddressWithoutANumber) {
   TestContext context;
   TS24011IE_RPAddress record;
   record.number = "123";
   EXPECT_EQ(decode(context, "01 91", NASDec_TS24011IE_RPAddress, &record), 0);
   EXPECT_STREQ(record.number, "");
   // The ext bit comes out as 1 whatever it was.
   EXPECT_EQ(decode(context, "02 11 21", NASDec_TS24011IE_RPAddress, &record), 0);
   EXPECT_EQ(encode(context, NASEnc_TS24011IE_RPAddress, &record), "02 91 21");
   // Too long a number is found behind the writing.
   record.number = "123456789012345678901";
   EXPECT_EQ(encode(context, NASEnc_TS24011IE_RPAddress, &record), "status -16");
   EXPECT_EQ(context.used(), 13u);
}

// The transaction identifier stays a skip indicator, and is written back as one.
TEST(ControlPdu, LeavesTheTransactionIdentifierAlone) {
   Message message("TS24011Msg_CP_PDU");
   ASSERT_EQ(message.decode(octets("D9 10 51")), 0);
   auto& pdu = message.as<TS24011Msg_CP_PDU>();
   EXPECT_EQ(pdu.l3HdrOpts.t, 1u);
   EXPECT_EQ(pdu.l3HdrOpts.u.skipInd, 13);
   pdu.l3HdrOpts.t = 2;
   pdu.l3HdrOpts.u.transId = {1, 3};
   int status = 0;
   EXPECT_EQ(spaced(message.encode(status)), "b9 10 51");
   pdu.data.t = 4;
   message.encode(status);
   EXPECT_EQ(status, RTX_E_BAD_CHOICE);
   pdu.data.t = 0;
   message.encode(status);
   EXPECT_EQ(status, RTX_E_BAD_CHOICE);
}

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

TEST(RelayPdu, EncoderRefusesOtherMessageTypes) {
   Message message("TS24011Msg_RP_PDU");
   ASSERT_EQ(message.decode(octets("06 02")), 0);
   message.as<TS24011Msg_RP_PDU>().header.rpMsgType = 7;
   int status = 0;
   message.encode(status);
   EXPECT_EQ(status, RTX_E_BAD_CHOICE);
   message.as<TS24011Msg_RP_PDU>().header.rpMsgType = 8;
   message.encode(status);
   EXPECT_EQ(status, RTX_E_CONSTRAINT);
}

} // namespace
