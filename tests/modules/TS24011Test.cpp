// Elements, messages and PDUs of the short message control and relay protocols, TS 24.011.

#include "quorva/TS24011Msg.h"
#include "tests/modules/codecs.h"
#include "tests/modules/messages.h"
#include "tests/support/systemMemory.h"

using namespace quorva::test;

namespace {

std::string repeated(const char* octet, size_t count) {
   std::string hex;
   while (count-- > 0) hex += octet;
   return hex;
}

struct Decoded {
   const char* what;
   const char* type;
   std::string hex;
   int status;
   size_t used; // octets passed, with the failure too
};

TEST(SmsElements, EndWithTheirStatus) {
   const Decoded cases[] = {
         {"249 octets", "TS24011IE_CPUserData", "F9" + repeated("11", 249), 0, 250},
         {"250 octets, read before they are refused", "TS24011IE_CPUserData", "FA" + repeated("11", 250),
          RTX_E_CONSTRAINT, 251},
         {"no octets", "TS24011IE_CPUserData", "00", 0, 1},
         {"a count beyond the data", "TS24011IE_CPUserData", "02 11", RTX_E_END_OF_DATA, 2},
         {"233 octets", "TS24011IE_RPUserData", "E9" + repeated("11", 233), 0, 234},
         {"234 octets", "TS24011IE_RPUserData", "EA" + repeated("11", 234), RTX_E_CONSTRAINT, 235},
         {"no number", "TS24011IE_RPAddress", "01 91", 0, 2},
         {"20 digits", "TS24011IE_RPAddress", "0B 91" + repeated("21", 10), 0, 12},
         {"a length of 12", "TS24011IE_RPAddress", "0C 91" + repeated("21", 11), RTX_E_CONSTRAINT, 1},
         {"a length of 0", "TS24011IE_RPAddress", "00 91", RTX_E_LENGTH_OVERRUN, 2},
         {"the ext bit is not looked at", "TS24011IE_RPAddress", "02 11 21", 0, 3},
         {"a cause", "TS24011IE_RPCauseElem", "01 60", 0, 2},
         {"with its diagnostic", "TS24011IE_RPCauseElem", "02 15 81", 0, 3},
         {"a length of 3", "TS24011IE_RPCauseElem", "03 15 81 82", RTX_E_CONSTRAINT, 1},
         {"a length of 0", "TS24011IE_RPCauseElem", "00 15", RTX_E_CONSTRAINT, 1},
         {"an unknown element behind the message", "TS24011Msg_CPDATA", "01 11 30 01 AA", 0, 5},
         {"one that must be understood", "TS24011Msg_CPDATA", "01 11 03 01 AA", RTX_E_UNSUPPORTED, 4},
         {"an error with a cause of three octets", "TS24011Msg_RP_ERROR", "03 15 81 82", RTX_E_CONSTRAINT, 1},
         {"an element unknown to an acknowledgement", "TS24011Msg_RP_ACK", "41 01 11 30 01 AA", RTX_E_BAD_IEI,
          6},
         {"and one that may be unknown", "TS24011Msg_RP_ACK", "41 01 11 31 01 AA", 0, 6},
         {"user data twice", "TS24011Msg_RP_ACK", "41 01 11 41 01 22", 0, 6},
   };
   for (const Decoded& c : cases) {
      Message message(c.type);
      const int status = message.decode(octets(c.hex));
      EXPECT_EQ(status, c.status) << c.type << ": " << c.what;
      EXPECT_EQ(message.context().used(), c.used) << c.type << ": " << c.what;
   }
}

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

TEST(ControlPdu, Statuses) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      uint32_t t;
      std::vector<std::string> parms;
   };
   const Case cases[] = {
         {"data", "89 01 02 11 22", 0, 1, {}},
         {"acknowledgement", "09 04", 0, 2, {}},
         {"what follows one is not looked at", "09 04 AA", 0, 2, {}},
         {"error", "D9 10 51", 0, 3, {}},
         {"another protocol", "83 01 02 11 22", RTX_E_BAD_CHOICE, 0, {}},
         {"another protocol, at once", "83", RTX_E_BAD_CHOICE, 0, {}},
         {"no protocol", "8D 01 02 11 22", RTX_E_BAD_ENUM, 0, {}},
         {"another type", "89 02", RTX_E_BAD_CHOICE, 0, {"2"}},
         {"no type", "89", RTX_E_END_OF_DATA, 0, {}},
         {"data cut", "89 01 02 11", RTX_E_END_OF_DATA, 1, {}},
         {"more data than there may be, not there", "89 01 FA", RTX_E_END_OF_DATA, 1, {}},
   };
   for (const Case& c : cases) {
      Message message("TS24011Msg_CP_PDU");
      EXPECT_EQ(message.decode(octets(c.hex)), c.status) << c.what;
      EXPECT_EQ(message.as<TS24011Msg_CP_PDU>().data.t, c.t) << c.what;
      EXPECT_EQ(message.context().parms(), c.parms) << c.what;
   }
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
   ASSERT_EQ(rtxInitContextExt(&context, system_memory::alloc, system_memory::realloc, system_memory::free),
             0);
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

TEST(RelayPdu, ArmsByTheMessageType) {
   struct Case {
      const char* what;
      const char* hex;
      int status;
      const char* arm;
   };
   const Case cases[] = {
         {"data to the network", "00 02 00 02 91 21 02 AABB", 0, "dataToNet"},
         {"its origin is a length alone", "00 02 05 02 91 21 02 AABB", 0, "dataToNet"},
         {"data to the station", "01 02 02 91 21 00 02 AABB", 0, "dataToMS"},
         {"acknowledgement to the network", "02 02 41 01 AA", 0, "ackToNet"},
         {"acknowledgement to the station", "03 02", 0, "ackToMS"},
         {"error to the network", "04 02 01 15", 0, "errorToNet"},
         {"error to the station", "05 02 02 15 81 41 01 AA", 0, "errorToMS"},
         {"memory available", "06 02", 0, "smma"},
         {"spare bits are kept", "FE 02", 0, "smma"},
         {"type 7", "07 02", RTX_E_BAD_CHOICE, ""},
         {"a report of the message inside", "03 02 30 01 AA", RTX_E_BAD_IEI, "ackToMS"},
         {"a failure of the message inside", "04 02 03 15 81 82", RTX_E_CONSTRAINT, ""},
   };
   for (const Case& c : cases) {
      Message message("TS24011Msg_RP_PDU");
      ASSERT_EQ(message.decode(octets(c.hex)), c.status) << c.what;
      const bool wentOn = c.status == 0 || c.status == RTX_E_BAD_IEI;
      EXPECT_EQ(message.context()->elemNames.count == 0, wentOn) << c.what;
      if (c.status != 0) continue;
      bool met = false;
      for (const Leaf& leaf : message.leaves())
         met |= leaf.path.substr(0, 9 + std::strlen(c.arm)) == std::string("infoElem.") + c.arm;
      EXPECT_TRUE(met) << c.what;
      int status = 0;
      EXPECT_EQ(spaced(message.encode(status)), spaced(octets(c.hex))) << c.what;
   }
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
