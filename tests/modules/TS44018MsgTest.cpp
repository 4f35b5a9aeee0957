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

// The flag of an open tail that an earlier message left strips some messages of their optional elements.
TEST(RadioMessages, StaleOpenTailStripsOptionalElements) {
   const struct {
      const char *type, *mandatory, *optional;
      bool stripped;
   } cases[] = {{"AssignmentCommand", "48 a1 bc 05", " 63 01", true},
                {"ChannelModeModify", "48 a1 bc 21", " 6d 41", true},
                {"HandoverCommand", "12 34 48 a1 bc 05 0a", " 63 21", true},
                // The length of its mandatory element clears the flag.
                {"DtmAssignmentCommand", "05 48 a1 bc 06 53 8c a1 aa 98 e8", " 11 21", false},
                {"ChannelRelease", "00", " 83", false}};
   for (const auto& c : cases) {
      SCOPED_TRACE(c.type);
      Message message(std::string("TS44018Msg_") + c.type);
      const std::string all = std::string(c.mandatory) + c.optional;
      ASSERT_EQ(message.decode(octets(all)), 0);
      int status = 0;
      EXPECT_EQ(spaced(message.encode(status)), all);
      rtxCtxtSetFlag(message.context(), RTX_CTXT_RAW_TAIL);
      EXPECT_EQ(spaced(message.encode(status)), c.stripped ? c.mandatory : all);
   }
}

} // namespace
