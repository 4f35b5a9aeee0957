// What the encoders of the radio resource messages refuse, TS 44.018.

#include "quorva/TS44018Msg.h"
#include "quorva/rtxBits.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

// Decodes octets, changes the record, and tells how its encoding ends.
template <class Record>
std::string refusalOf(const std::string& type, const std::string& hex, void (*change)(Record&)) {
   Message message("TS44018Msg_" + type);
   EXPECT_EQ(message.decode(octets(hex)), 0) << hex;
   change(message.as<Record>());
   int status = 0;
   message.encode(status);
   std::string names;
   for (const RtxDListNode* node = message.context()->elemNames.head; node != nullptr; node = node->next)
      names += (names.empty() ? "" : ".") + std::string(static_cast<const char*>(node->data));
   return std::to_string(status) + " " + names;
}

TEST(RadioMessages, EncodersRefuse) {
   using L2 = TS44018Msg_L2_PSEUDO_LEN_PDU;
   using Paging = TS44018Msg_PagingRequestType2;
   using Report = TS44018Msg_Enhanced_Measurement_report;
   const std::string block = "09 06 00 2B";
   const auto l2 = [&](void (*change)(L2&)) { return refusalOf<L2>("L2_PSEUDO_LEN_PDU", block, change); };
   EXPECT_EQ(l2([](L2& pdu) { pdu.data.t = 37; }), "-9 L2-PSEUDO-LEN-PDU.data");
   EXPECT_EQ(l2([](L2& pdu) { pdu.data.t = 0; }), "-9 L2-PSEUDO-LEN-PDU.data");
   EXPECT_EQ(l2([](L2& pdu) { pdu.restOctets.t = 37; }), "-9 L2-PSEUDO-LEN-PDU.restOctets");
   EXPECT_EQ(l2([](L2& pdu) { pdu.restOctets.t = 0; }), "-9 L2-PSEUDO-LEN-PDU.restOctets");
   EXPECT_EQ(l2([](L2& pdu) { pdu.restOctets.u.obj_SystemInformationType13 = nullptr; }),
             "-47 L2-PSEUDO-LEN-PDU.restOctets.u.obj_SystemInformationType13");
   EXPECT_EQ(l2([](L2& pdu) { pdu.l2PseudoLen.fixed_bits = 0; }),
             "-16 L2-PSEUDO-LEN-PDU.l2PseudoLen.fixed-bits");
   // The pseudo length has 6 bits.
   EXPECT_EQ(refusalOf<L2>("L2_PSEUDO_LEN_PDU", "31 06 1C 62F224 1234 4740 790000 2B",
                           [](L2& pdu) {
                              auto& message = *pdu.data.u.obj_SystemInformationType4;
                              message.m.cbchMobileAllocationPresent = 1;
                              message.cbchMobileAllocation.mac.numbits = 8 * 50;
                           }),
             "-16 L2-PSEUDO-LEN-PDU");
   for (const uint32_t t : {0u, 14u}) {
      Message message("TS44018Msg_RR_Short_PD_PDU");
      ASSERT_EQ(message.decode(octets("08 2B")), 0);
      message.as<TS44018Msg_RR_Short_PD_PDU>().data.t = t;
      int status = 0;
      message.encode(status);
      EXPECT_EQ(status, RTX_E_BAD_CHOICE);
   }
   EXPECT_EQ(refusalOf<Paging>("PagingRequestType2", "00 11223344 55667788",
                               [](Paging& paging) { paging.mobileIdentity2.t = 1; }),
             "-9 PagingRequestType2.mobileIdentity2");
   EXPECT_EQ(refusalOf<Report>("Enhanced_Measurement_report", "02 C2",
                               [](Report& report) { report.m.component_8Present = 1; }),
             "-16 Enhanced-Measurement-report");
}

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
