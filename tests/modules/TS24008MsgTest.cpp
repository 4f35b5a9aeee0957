// The PDU of TS 24.008, and what single messages do on their own. Decoders and the scan:
// tests/vectors/cases-ts24008.txt.

#include "quorva/TS24008Msg.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;

namespace {

class Pdu : public Message {
public:
   Pdu() : Message("TS24008Msg_PDU") {}
   TS24008Msg_PDU& operator*() { return as<TS24008Msg_PDU>(); }
   TS24008Msg_PDU* operator->() { return &as<TS24008Msg_PDU>(); }

   int decode(const std::string& hex) { return Message::decode(octets(hex)); }
   std::string encode() { return quorva::test::encode(context(), NASEnc_TS24008Msg_PDU, &**this); }
};

// What an identifier left in a record does not come out of a message without one.
TEST(TS24008Header, AnIdentifierFromBeforeStaysOut) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("F3 09 0F"), 0);
   ASSERT_EQ(pdu.decode("05 11"), 0);
   EXPECT_EQ(pdu.encode(), "05 11");
}

// Messages that are one element have no codec of their own.
TEST(TS24008Dispatch, MessagesThatAreOneElement) {
   for (const char* name : {"HoldReject", "RetrieveReject", "StartDTMFReject", "Notify", "CC_Establishment",
                            "GMMStatus", "SMStatus", "AuthenticationReject", "MMNull", "StopDTMF"})
      EXPECT_EQ(quorvaFindType((std::string("TS24008Msg_") + name).c_str()), nullptr) << name;
}

TEST(TS24008Dispatch, ValuesInTheUnionItselfTakeNoMemory) {
   for (const char* hex : {"05 29 06", "05 31 60", "08 20 6F", "0A 55 65"}) {
      TestContext context;
      TS24008Msg_PDU pdu;
      EXPECT_EQ(decode(context, hex, NASDec_TS24008Msg_PDU, &pdu), 0);
      EXPECT_TRUE(rtxMemHeapIsEmpty(context)) << hex;
      EXPECT_EQ(encode(context, NASEnc_TS24008Msg_PDU, &pdu), spaced(octets(hex)));
   }
}

TEST(TS24008Dispatch, SelectorsAndInitialiser) {
   TS24008Msg_PDU pdu;
   std::memset(&pdu, 0xA5, sizeof pdu);
   asn1Init_TS24008Msg_PDU(&pdu);
   EXPECT_EQ(pdu.m.sendSeqNumPresent, 0);
   EXPECT_EQ(pdu.l3HdrOpts.u.transId.flag, 0);
   EXPECT_EQ(pdu.l3HdrOpts.u.transId.value, 0);
   EXPECT_EQ(pdu.protoDiscr, 0xA5A5A5A5u); // not among what it clears
   EXPECT_EQ(pdu.data.t, 0u);
   EXPECT_EQ(pdu.data.u.obj_Setup, nullptr);

   TS24008Msg_IdentityRequest request;
   asn1SetTC_TS24008Msg_PDU_obj_IdentityRequest(nullptr, &pdu, &request);
   EXPECT_EQ(pdu.protoDiscr, 5u);
   EXPECT_EQ(pdu.msgType, 24);
   EXPECT_EQ(pdu.data.t, 12u);
   EXPECT_EQ(pdu.data.u.obj_IdentityRequest, &request);
   asn1SetTC_TS24008Msg_PDU_obj_AuthenticationReject(nullptr, &pdu);
   EXPECT_EQ(pdu.msgType, 17);
   EXPECT_EQ(pdu.data.t, 1u);
   EXPECT_EQ(pdu.data.u.obj_IdentityRequest, &request); // no contents, so the pointer stays
   static_assert(sizeof(TS24008Msg_Setup::m) == 5);
   static_assert(sizeof(TS24008Msg_AttachAccept::m) == 3);
}

TEST(TS24008Dispatch, NoMemoryForTheRecord) {
   system_memory::reset();
   RtxContext context;
   ASSERT_EQ(system_memory::init(&context), 0);
   Octets message = octets("03 05 A3");
   ASSERT_EQ(rtxCtxtSetBufPtr(&context, message.data(), message.size()), 0);
   // Room for names is left, but not for the record.
   void* last = rtxMemHeapAlloc(&context, 512);
   system_memory::failHook = [] { return true; };
   while (void* piece = rtxMemHeapAlloc(&context, 512)) last = piece;
   ASSERT_NE(last, nullptr);
   rtxMemHeapFreePtr(&context, last);
   static_assert(sizeof(TS24008Msg_Setup) > 1024);
   TS24008Msg_PDU pdu;
   EXPECT_EQ(NASDec_TS24008Msg_PDU(&context, &pdu), RTX_E_NOMEM);
   EXPECT_EQ(context.errList.count, 0u);   // given back as it is
   EXPECT_EQ(context.elemNames.count, 2u); // ahead of the message's own name
   system_memory::failHook = nullptr;
   rtFreeContext(&context);
   EXPECT_EQ(system_memory::live, 0u);
}

// The names of messages that take another's codec stand in errors all the same.
TEST(TS24008Dispatch, MessagesThatTakeAnothersCodec) {
   TestContext context;
   TS24008Msg_StartDTMFAck ack;
   EXPECT_EQ(decode(context, "2C", NASDec_TS24008Msg_StartDTMFAck, &ack), RTX_E_END_OF_DATA);
   EXPECT_EQ(decode(context, "2C 35", NASDec_TS24008Msg_StartDTMF, &ack), 0);
   EXPECT_EQ(encode(context, NASEnc_TS24008Msg_StartDTMFAck, &ack), "2c 35");
   static_assert(std::is_same_v<TS24008Msg_StartDTMFAck, TS24008Msg_StartDTMF>);
   static_assert(std::is_same_v<TS24008Msg_ModifyPDPCtxtRej, TS24008Msg_ActivatePDPCtxtReject>);
   static_assert(std::is_same_v<TS24008Msg_ActivateSecondaryPDPCtxtRej, TS24008Msg_ActivatePDPCtxtReject>);
}

// Single messages

// A message cut behind its mandatory part ends well, one cut within an element does not.
TEST(TS24008Messages, CutAnywhere) {
   const Octets whole =
         octets("08 01 03 E5 E0 04 01 0A 00 05 F4 FF FA 01 F7 00 F1 10 40 00 10 04 11 E5 83 00 19 01 02 03 "
                "17 05 91 33 01 2A D1");
   const std::set<size_t> ends = {26, 30, 32, 33, 36, 37};
   for (size_t size = 2; size <= whole.size(); ++size) {
      Pdu pdu;
      const int status =
            pdu.Message::decode(Octets(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
      EXPECT_EQ(status, ends.count(size) != 0 ? 0 : RTX_E_END_OF_DATA) << size;
   }
}

TEST(TS24008Messages, PrintOfASelectorWithoutAMessage) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("F3 89 8F"), 0);
   pdu->data.t = 104;
   quorva_test::Capture capture;
   asn1PrtToStrm_TS24008Msg_PDU(&capture.ctxt, "PDU", &*pdu);
   EXPECT_EQ(
         capture.take(),
         "PDU {\n   l3HdrOpts {\n      transId {\n         flag = true\n         value = 9\n      }\n   }\n"
         "   protoDiscr = callCtrl\n   sendSeqNum = 2\n   msgType = 15\n   data {\n   }\n}\n");
}

// The heap of a context that hands out memory which somebody else has used.
void* usedMemory(size_t nbytes) {
   void* memory = std::malloc(nbytes);
   if (memory != nullptr) std::memset(memory, 0xA5, nbytes);
   return memory;
}

// The decoder of an empty traffic flow template leaves its record as it was: what the message's record has
// there must not be memory of old.
TEST(SessionMessages, AnEmptyTemplateHoldsNoOldMemory) {
   RtxContext context;
   ASSERT_EQ(rtxInitContextExt(&context, usedMemory, std::realloc, std::free), 0);
   uint8_t octets[] = {0x0A, 0x4A, 0x31, 0x00};
   TS24008Msg_PDU pdu;
   asn1Init_TS24008Msg_PDU(&pdu);
   rtxCtxtSetBufPtr(&context, octets, sizeof octets);
   ASSERT_EQ(NASDec_TS24008Msg_PDU(&context, &pdu), 0);
   const auto* message = pdu.data.u.obj_ModifyPDPCtxtRqstMSToNet;
   EXPECT_EQ(message->m.newTFTPresent, 1);
   EXPECT_EQ(message->newTFT.length, 0);
   EXPECT_EQ(message->newTFT.octet1.tftOperationCode, 0u);
   EXPECT_EQ(message->newTFT.octet1.eBit, 0);
   EXPECT_EQ(message->newTFT.octet1.numPacketFilters, 0);
   EXPECT_EQ(message->newTFT.paramList.n, 0u);
   rtFreeContext(&context);
}

} // namespace
