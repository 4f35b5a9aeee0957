// What encoders of radio resource messages, TS 44.018, go by.

#include "quorva/TS44018Msg.h"
#include "quorva/rtxBits.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

// The last bit of the first half octet decides, whatever the presence bits say.
TEST(RadioMessages, ImmediateAssignmentGoesByItsFirstOctet) {
   Message message("TS44018Msg_ImmediateAssignment");
   ASSERT_EQ(message.decode(octets("00 48A1BC 7F1234 05 00")), 0);
   auto& record = message.as<TS44018Msg_ImmediateAssignment>();
   EXPECT_EQ(record.m.channelDescrPresent, 1);
   EXPECT_EQ(record.m.packetChannelDescrPresent, 0);
   record.m = {};
   int status = 0;
   EXPECT_EQ(spaced(message.encode(status)), "00 48 a1 bc 7f 12 34 05 00");
   EXPECT_EQ(status, 0);
   // Of all messages this one alone asks to begin at the start of an octet.
   TestContext context;
   context.encode(64);
   ASSERT_EQ(rtxEncBits(context, 0, 4), 0);
   EXPECT_EQ(NASEnc_TS44018Msg_ImmediateAssignment(context, &record), RTX_E_NOT_ALIGNED);
}

} // namespace
