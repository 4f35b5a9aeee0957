// The 5GS PDUs: security header, tables, payload containers, and what a message leaves open.

#include "quorva/TS24301Msg.h"
#include "quorva/TS24501Msg.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

class Pdu5GS : public Message {
public:
   Pdu5GS() : Message("TS24501Msg_PDU") {}
   TS24501Msg_PDU& record() { return as<TS24501Msg_PDU>(); }
   int decode(const std::string& hex) { return Message::decode(octets(hex)); }
   /** What is encoded, or "status <n>". */
   std::string encoded() {
      int status = 0;
      const Octets output = encode(status);
      return status < 0 ? "status " + std::to_string(status) : spaced(output);
   }
};

// --- Header and tables

TEST(Header5GS, WhatTheEncoderProtects) {
   const SecurityState state = {Octets(16, 1), Octets(16, 2), 2, 2, 7, 1, 0};
   const auto encodeWith = [&state](auto change) {
      Pdu5GS pdu;
      EXPECT_EQ(pdu.decode("7E 00 5B 01"), 0);
      state.apply(pdu.context());
      pdu.record().m.secHdrPresent = 1;
      pdu.record().secHdr = {TS24501Msg_NAS5GProtoDiscr_mobMgmt5G, 0, 2, 0xAAAAAAAA, 7};
      change(pdu.record());
      return pdu.encoded() + " code " + std::to_string(pdu.record().secHdr.msgAuthCode != 0xAAAAAAAA);
   };
   const std::string plain = "7e 00 5b 01 code 0";
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.m.secHdrPresent = 0; }), plain);
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.secHdr.secHdrType = 0; }), plain);
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.secHdr.protoDiscr = TS24501Msg_NAS5GProtoDiscr_sessMgmt5G; }),
             plain);
   // Enciphered first, the code over what is enciphered; the code goes into the record too.
   for (const uint32_t type : {1u, 2u, 3u, 4u, 15u}) {
      Pdu5GS pdu;
      EXPECT_EQ(pdu.decode("7E 00 5B 01"), 0);
      state.apply(pdu.context());
      pdu.record().m.secHdrPresent = 1;
      pdu.record().secHdr = {TS24501Msg_NAS5GProtoDiscr_mobMgmt5G, 0, type, 0xAAAAAAAA, 7};
      int status = 0;
      Octets output = pdu.encode(status);
      ASSERT_EQ(output.size(), 11u);
      EXPECT_EQ(hexFromOctets(output.data() + 7, 4) == "7e005b01", type != 2 && type != 4) << type;
      uint32_t mac = 0;
      EXPECT_EQ(rtx3gppComputeMAC(pdu.context(), output.data() + 6, 5, &mac), 0);
      EXPECT_EQ(pdu.record().secHdr.msgAuthCode, mac);
      EXPECT_EQ(as::hexNumber(mac, 8), "0x" + hexFromOctets(output.data() + 2, 4));
      Pdu5GS again;
      state.apply(again.context());
      EXPECT_EQ(static_cast<Message&>(again).decode(output), 0) << type;
      EXPECT_EQ(again.record().data.t, 21u);
   }
}

// The type of the security header can be asked for whether there is one or not.
TEST(Header5GS, APlainMessageHasTheTypeOfNone) {
   const auto decoded = [](const char* name, const char* hex) {
      const QuorvaType& type = *quorvaFindType(name);
      return quorva::test::decoded(hex, [&](RtxContext* ctxt) {
         std::vector<uint64_t> record(type.size / 8 + 1, 0xA5A5A5A5A5A5A5A5);
         SecurityState().apply(ctxt);
         const int status = type.decode(ctxt, record.data());
         const auto* eps = reinterpret_cast<const TS24301Msg_PDU*>(record.data());
         const auto* mobile = reinterpret_cast<const TS24501Msg_PDU*>(record.data());
         const bool isEps = std::string(name) == "TS24301Msg_PDU";
         EXPECT_EQ(isEps ? eps->m.secHdrPresent : mobile->m.secHdrPresent, 0) << hex;
         EXPECT_EQ(isEps ? eps->secHdr.secHdrType : mobile->secHdr.secHdrType, 0u) << hex;
         return status;
      });
   };
   EXPECT_EQ(decoded("TS24501Msg_PDU", "7E005B01"), "0 @4.0");
   EXPECT_EQ(decoded("TS24501Msg_PDU", "2E0501D61A"), "0 @5.0");
   EXPECT_EQ(decoded("TS24301Msg_PDU", "075501"), "0 @3.0");
   EXPECT_EQ(decoded("TS24301Msg_PDU", "5201D9"), "0 @3.0");
   EXPECT_EQ(decoded("TS24301Msg_PDU", "02"), "-2 @1.0 names=PDU.pti.value level=2 errors=-2");
}

} // namespace
