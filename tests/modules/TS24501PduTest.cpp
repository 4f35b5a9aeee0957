// The 5GS PDUs: security header, tables, payload containers, and what a message leaves open.

#include "quorva/TS24501Msg.h"
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

TEST(Header5GS, Statuses) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
   };
   const Case cases[] = {
         {"plain", "7E 00 5B 01", 0},
         {"plain with other spare bits", "7E F0 5B 01", 0},
         {"a discriminator that is none", "00 00 5B 01", RTX_E_BAD_ENUM},
         {"discriminator 255", "FF 00 5B 01", RTX_E_BAD_CHOICE},
         {"security header type 5", "7E 05 00000000 00 7E005B01", RTX_E_BAD_ENUM},
         {"security header type 14", "7E 0E 00000000 00 7E005B01", RTX_E_BAD_ENUM},
         {"security header type 15", "7E 0F 00000000 00 7E005B01", 0},
         {"security header type 15 with a code", "7E 0F 00000001 00 7E005B01", RTX_E_MAC_MISMATCH},
         {"a code that is not the null algorithm's", "7E 01 00000001 00 7E005B01", RTX_E_MAC_MISMATCH},
         {"a security header inside is not looked at", "7E 01 00000000 00 7E015B01", 0},
         {"nothing", "", RTX_E_END_OF_DATA},
         {"a discriminator alone", "7E", RTX_E_END_OF_DATA},
         {"no message type", "7E 00", RTX_E_END_OF_DATA},
         {"a message without contents", "7E 00 46", 0},
         {"its contents are not looked at", "7E 00 46 AABB", 0},
         {"an unknown mobility message", "7E 00 FF", RTX_E_BAD_CHOICE},
         {"a session message", "2E 05 01 D6 1A", 0},
         {"PDU session identity 16", "2E 10 01 D6 1A", RTX_E_BAD_ENUM},
         {"PDU session identity 255", "2E FF 01 D6 1A", 0},
         {"a mobility message as a session message", "2E 05 01 4F 00", RTX_E_BAD_CHOICE},
         {"a session message with nothing in it", "2E 05 01 DB", 0},
   };
   for (const Case& c : cases) {
      Pdu5GS pdu;
      SecurityState().apply(pdu.context());
      EXPECT_EQ(pdu.decode(c.hex), c.status) << c.what;
   }
}

TEST(Header5GS, AnUnknownTypeIsAmongTheParameters) {
   Pdu5GS pdu;
   EXPECT_EQ(pdu.decode("2E 05 01 4F 00"), RTX_E_BAD_CHOICE);
   EXPECT_EQ(pdu.context().parms(), (std::vector<std::string>{"79"}));
   EXPECT_EQ(rtxErrGetErrorCnt(pdu.context()), 1u);
}

// Without a security state the code can't be computed, which is recorded; nothing can be deciphered, which
// ends the decoding.
TEST(Header5GS, WithoutSecurityState) {
   Pdu5GS pdu;
   EXPECT_EQ(pdu.decode("7E 01 12345678 05 7E005B01"), RTX_E_NO_SECURITY);
   EXPECT_EQ(pdu.record().data.t, 21u);
   EXPECT_EQ(pdu.record().secHdr.msgAuthCode, 0x12345678u);
   EXPECT_EQ(pdu.record().secHdr.seqNumber, 5);
   Pdu5GS ciphered;
   EXPECT_EQ(ciphered.decode("7E 02 12345678 05 7E005B01"), RTX_E_NO_SECURITY);
   EXPECT_EQ(ciphered.record().data.t, 0u);
   EXPECT_EQ(ciphered.record().m.secHdrPresent, 1);
   Pdu5GS plain;
   EXPECT_EQ(plain.decode("7E 00 5B 01"), 0);
}

TEST(Header5GS, AMismatchNamesBothCodes) {
   Pdu5GS pdu;
   SecurityState().apply(pdu.context());
   EXPECT_EQ(pdu.decode("7E 01 00000007 05 7E005B01"), RTX_E_MAC_MISMATCH);
   EXPECT_EQ(pdu.context().parms(), (std::vector<std::string>{"7", "0"}));
   EXPECT_EQ(pdu.record().data.t, 21u);
}

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

TEST(Header5GS, WhatTheEncoderRefuses) {
   const auto encodeWith = [](auto change) {
      Pdu5GS pdu;
      EXPECT_EQ(pdu.decode("7E 00 5B 01"), 0);
      change(pdu.record());
      return pdu.encoded();
   };
   EXPECT_EQ(encodeWith([](auto&) {}), "7e 00 5b 01");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.data.t = 0; }), "status -9");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.data.t = 58; }), "status -9");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.data.u.obj_IdentityRequest5G = nullptr; }), "status -47");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.protoDiscr = TS24501Msg_NAS5GProtoDiscr_maxProtoDiscr; }),
             "status -9");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.protoDiscr = 0; }), "status -4");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.hdrData.u.mm.spare1 = 16; }), "status -16");
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.hdrData.u.mm.secHdrType = 5; }), "status -4");
   EXPECT_EQ(encodeWith([](auto& pdu) {
                pdu.protoDiscr = TS24501Msg_NAS5GProtoDiscr_sessMgmt5G;
                pdu.hdrData.u.sm = {16, 0};
             }),
             "status -4");
   // The message's type is not compared with what is encoded.
   EXPECT_EQ(encodeWith([](auto& pdu) { pdu.msgType = 0x99; }), "7e 00 99 01");
}

// The tables of a session message by itself.
TEST(SessionMessage5GS, Tables) {
   struct Case {
      const char* hex;
      int status;
      uint32_t t;
   };
   for (const Case& c : {Case{"2E 05 01 D6 1A", 0, 16}, Case{"2E 05 01 4F 00", RTX_E_BAD_CHOICE, 0},
                         Case{"2E 05 01 D8 0000", RTX_E_BAD_CHOICE, 0}, Case{"2E FF 01 D6 1A", 0, 16},
                         Case{"2E 10 01 D6 1A", RTX_E_BAD_ENUM, 0}, Case{"7E 05 01 4F 01", 0, 17},
                         Case{"FF 05 01 4F 01", 0, 17}, Case{"7E 05 01 D6 1A", RTX_E_BAD_CHOICE, 0}}) {
      Message message("TS24501Msg_PDU_SM");
      EXPECT_EQ(message.decode(octets(c.hex)), c.status) << c.hex;
      EXPECT_EQ(message.as<TS24501Msg_PDU_SM>().data.t, c.t) << c.hex;
      if (c.status != 0) continue;
      int status = 0;
      EXPECT_EQ(spaced(message.encode(status)), spaced(octets(c.hex)));
      message.as<TS24501Msg_PDU_SM>().pduSessIdent = 16;
      (void)message.encode(status);
      EXPECT_EQ(status, RTX_E_BAD_ENUM);
   }
}

// --- Payload containers

struct Payload {
   const char* what;
   const char* hex;
   const char* arm;
   int status = 0;
};

class Payloads5GS : public testing::TestWithParam<Payload> {};

TEST_P(Payloads5GS, DecodeIntoTheirArmAndEncodeBack) {
   const Payload& c = GetParam();
   Pdu5GS pdu;
   ASSERT_EQ(pdu.decode(c.hex), c.status);
   if (c.status < 0) return;
   bool armMet = false;
   for (const Leaf& leaf : pdu.leaves())
      armMet |= leaf.path.find(std::string(".container.") + c.arm) != std::string::npos;
   EXPECT_TRUE(armMet) << c.arm;
   EXPECT_EQ(pdu.encoded(), spaced(octets(c.hex)));
}

const Payload kPayloads[] = {
      // Uplink: each arm has its length, with an optional element behind.
      {"ul n1sm", "7E 00 67 01 0005 2E0501D61A 1205", "n1sm"},
      {"ul sms, one octet of length", "7E 00 67 02 02 8904 1205", "sms"},
      {"ul lpp", "7E 00 67 03 0002 AABB 1205", "lpp"},
      {"ul sor", "7E 00 67 04 0011 01 00112233445566778899AABBCCDDEEFF 1205", "sor"},
      {"ul ue policy", "7E 00 67 05 0002 AABB 1205", "uePolicy"},
      {"ul ue parameters", "7E 00 67 06 0011 01 00112233445566778899AABBCCDDEEFF 1205", "ueParamUpdate"},
      {"ul location", "7E 00 67 07 0002 AABB 1205", "locSvcs"},
      {"ul user data", "7E 00 67 08 0002 AABB 1205", "cIOTUserData"},
      {"ul service level", "7E 00 67 09 0002 0A01 1205", "svcLvlAAContainer"},
      {"ul events", "7E 00 67 0A 0004 01 01 01 AA 1205", "events"},
      {"ul multiple", "7E 00 67 0F 0009 01 0006 1112 02 05 06 07 1205", "multiple"},
      {"ul type 11", "7E 00 67 0B 0002 AABB", "", RTX_E_BAD_CHOICE},
      {"ul type 12", "7E 00 67 0C 0002 AABB", "", RTX_E_BAD_CHOICE},
      {"ul type 0", "7E 00 67 00 0002 AABB", "", RTX_E_BAD_ENUM},
      {"ul type 13", "7E 00 67 0D 0002 AABB", "", RTX_E_BAD_ENUM},
      // Downlink: three arms without a length.
      {"dl n1sm", "7E 00 68 01 0005 2E0501D61A 1205", "n1sm"},
      {"dl sms", "7E 00 68 02 02 8904 1205", "sms"},
      {"dl sor, a packet to the end", "7E 00 68 04 00 00112233445566778899AABBCCDDEEFF 0001 AABB 1205",
       "sor"},
      {"dl sor, a list with a length",
       "7E 00 68 04 14 00112233445566778899AABBCCDDEEFF 0001 05 00F110 8000 00 1205", "sor"},
      {"dl ue parameters", "7E 00 68 06 00 00112233445566778899AABBCCDDEEFF 0001 04 0002 1234",
       "ueParamUpdate"},
      {"dl events", "7E 00 68 0A 01 01 01 AA", "events"},
      {"dl multiple", "7E 00 68 0F 0009 01 0006 1112 02 05 06 07 1205", "multiple"},
      // Registration: a policy alone.
      {"registration, ue policy", "7E 00 41 79 0001 00 85 7B 0002 AABB", "uePolicy"},
      {"registration, another type", "7E 00 41 79 0001 00 81 7B 0002 AABB", "", RTX_E_BAD_CHOICE},
      {"registration, no type", "7E 00 41 79 0001 00 7B 0002 AABB", "", RTX_E_BAD_CHOICE},
      // Control plane service request.
      {"cpsr sms", "7E 00 4F 00 82 7B 02 8904", "sms"},
      {"cpsr location", "7E 00 4F 00 87 7B 0002 AABB", "locSvcs"},
      {"cpsr user data", "7E 00 4F 00 88 7B 0002 AABB", "cIOTUserData"},
      {"cpsr policy", "7E 00 4F 00 85 7B 0002 AABB", "", RTX_E_BAD_CHOICE},
      {"cpsr no type", "7E 00 4F 00 7B 0002 AABB", "", RTX_E_BAD_CHOICE},
};

INSTANTIATE_TEST_SUITE_P(Table, Payloads5GS, testing::ValuesIn(kPayloads), [](const auto& info) {
   std::string name = info.param.what;
   std::replace_if(
         name.begin(), name.end(), [](unsigned char ch) { return !std::isalnum(ch); }, '_');
   return name;
});

// A type that was decoded before is not looked at once its bit is clear.
TEST(Payloads5GS, AnAbsentTypeCountsAsZero) {
   Pdu5GS pdu;
   ASSERT_EQ(pdu.decode("7E 00 41 79 0001 00 85 7B 0002 AABB"), 0);
   pdu.record().data.u.obj_RegRequest5G->m.containerTypePresent = 0;
   EXPECT_EQ(pdu.encoded(), "status -9");
}

// What a message inside merely reports does not stop the outer one, which reports it at its end.
TEST(Payloads5GS, ReportsOfTheMessageInside) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      int present; // the optional element behind the container
   };
   const Case cases[] = {
         {"an unknown element", "7E 00 68 01 0009 2E0501D2 1A 30 02 AABB 1205", RTX_E_BAD_IEI, 1},
         {"two of them", "7E 00 68 01 000D 2E0501D2 1A 30 02 AABB 40 02 AABB 1205", RTX_E_MULTIPLE, 1},
         {"one inside and one outside", "7E 00 68 01 0009 2E0501D2 1A 30 02 AABB 50 01 AA 1205",
          RTX_E_MULTIPLE, 1},
         {"an unknown message", "7E 00 68 01 0004 2E0501FF 1205", RTX_E_BAD_CHOICE, 0},
         {"a message cut", "7E 00 68 01 0004 2E0501C2 1205", RTX_E_END_OF_DATA, 0},
         {"a session element longer than the container", "7E 00 68 01 0006 2E0501D2 1A 78 0002 1205",
          RTX_E_LENGTH_OVERRUN, 0},
         {"another protocol for SMS", "7E 00 68 02 02 8304 1205", RTX_E_BAD_CHOICE, 0},
   };
   for (const Case& c : cases) {
      Pdu5GS pdu;
      const int status = pdu.decode(c.hex);
      EXPECT_EQ(status, c.status) << c.what;
      ASSERT_EQ(pdu.record().data.t, 11u) << c.what;
      EXPECT_EQ(pdu.record().data.u.obj_DLNASTrans5G->m.pduSessionIdPresent, c.present) << c.what;
   }
}

// --- Open tails

// A container without a length ends the message: no optional element is written behind it, and the flag stays
// set. It strips the optional elements of the next message too, until the caller clears it.
TEST(OpenTails5GS, StripOptionalElements) {
   Pdu5GS pdu;
   ASSERT_EQ(pdu.decode("7E 00 68 04 00 00112233445566778899AABBCCDDEEFF 0001 AABB"), 0);
   auto* transport = pdu.record().data.u.obj_DLNASTrans5G;
   transport->m.pduSessionIdPresent = 1;
   transport->pduSessionId = 5;
   transport->m.group1Present = transport->m.lowerBoundPresent = 1;
   EXPECT_EQ(pdu.encoded(), "7e 00 68 04 00 00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff 00 01 aa bb");
   EXPECT_NE(pdu.context()->flags & RTX_CTXT_RAW_TAIL, 0u);

   // Of these messages only the mandatory part is written.
   for (const char* hex : {"7E 00 42 01 01 5E 01 B6", "7E 00 54 D1", "7E 00 5E 71 0002 AABB",
                           "7E 00 4C 10 0007 F4 0040F100C843 40 02 0004", "7E 00 41 79 0001 00 10 01 07",
                           "7E 00 68 01 0005 2E0501D61A 1205"}) {
      ASSERT_EQ(pdu.decode(hex), 0);
      rtxCtxtClearFlag(pdu.context(), RTX_CTXT_RAW_TAIL);
      EXPECT_EQ(pdu.encoded(), spaced(octets(hex)));
      rtxCtxtSetFlag(pdu.context(), RTX_CTXT_RAW_TAIL);
      const std::string stripped = pdu.encoded();
      // An element with a length in the mandatory part closes what is open.
      const bool closes = octets(hex)[2] == 0x4C || octets(hex)[2] == 0x41 || octets(hex)[2] == 0x42 ||
                          octets(hex)[2] == 0x68;
      EXPECT_EQ(stripped == spaced(octets(hex)), closes) << hex;
      if (!closes) {
         EXPECT_EQ(stripped, spaced(octets(hex)).substr(0, 8)) << hex;
      }
   }
   // Other messages don't ask for the flag.
   ASSERT_EQ(pdu.decode("7E 00 66 50 02 0004"), 0);
   rtxCtxtSetFlag(pdu.context(), RTX_CTXT_RAW_TAIL);
   EXPECT_EQ(pdu.encoded(), "7e 00 66 50 02 00 04");
}

// --- The scan

TEST(Scan5GS, OrderAndUnknownElements) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      const char* again;
   };
   const Case cases[] = {
         {"in order", "7E 00 67 01 0004 2E0501D4 1205 81 2204 01000001 2502 0161", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 12 05 81 22 04 01 00 00 01 25 02 01 61"},
         {"a TV out of order is dropped", "7E 00 67 01 0004 2E0501D4 2502 0161 1205 2401AA", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 25 02 01 61 24 01 aa"},
         {"a TLV out of order is dropped", "7E 00 67 01 0004 2E0501D4 2502 0161 2201 01 24 01 AA", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 25 02 01 61 24 01 aa"},
         {"a group's element sets the group's bit", "7E 00 67 01 0004 2E0501D4 F1", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 f1"},
         {"an unknown element with a low nibble", "7E 00 67 01 0004 2E0501D4 31 01 AA 1205", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 12 05"},
         {"an unknown element of one octet", "7E 00 67 01 0004 2E0501D4 B5 1205", 0,
          "7e 00 67 01 00 04 2e 05 01 d4 12 05"},
   };
   for (const Case& c : cases) {
      Pdu5GS pdu;
      EXPECT_EQ(pdu.decode(c.hex), c.status) << c.what;
      if (c.status == 0) {
         EXPECT_EQ(pdu.encoded(), c.again) << c.what;
      }
   }
}

} // namespace
