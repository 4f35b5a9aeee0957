// The PDU of TS 24.008, the scan with codeset shifts and twin elements, and what single messages do on their
// own.

#include "quorva/TS24008Msg.h"
#include "quorva/rtxDiag.h"
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

   /** Every field is recorded, and the frame takes its long ways. */
   void trace() {
      ASSERT_EQ(rtxDiagBitFieldListInit(context(), &list_), 0);
      context()->bitFields = &list_;
   }

   /** The fields since trace(): name, kind, bits. */
   std::vector<std::string> traced() {
      std::vector<std::string> all;
      for (const RtxSListNode* node = list_.fieldList.head; node != nullptr; node = node->next) {
         const auto* field = static_cast<const RtxDiagBitField*>(node->data);
         all.push_back(std::string(field->elemName) + " " + field->nameSuffix + " " +
                       std::to_string(field->bitCount));
      }
      return all;
   }

   size_t bitsUsed() { return rtxCtxtGetBitOffset(context()); }
   bool clean() { return context()->errList.count == 0; }

   /** Elements of the message in the order of print, with blanks between. */
   std::string elements() const {
      std::string all, last;
      for (const Leaf& leaf : leaves()) {
         if (leaf.path.compare(0, 9, "data.obj_") != 0) continue;
         const size_t begin = leaf.path.find('.', 5);
         if (begin == std::string::npos) continue;
         const size_t end = std::min(leaf.path.find_first_of(".[", begin + 1), leaf.path.size());
         const std::string name = leaf.path.substr(begin + 1, end - begin - 1);
         if (name != last) all += (all.empty() ? "" : " ") + name;
         last = name;
      }
      return all;
   }

   std::string leaf(std::string_view pattern) const {
      for (const Leaf& one : leaves())
         if (matches(one.path, pattern)) return one.value;
      return "none";
   }

private:
   RtxDiagBitFieldList list_;
};

// Header

struct Header {
   const char* hex;
   uint32_t t;
   int flag, value, sequence; // sequence -1: not there
};

TEST(TS24008Header, FormsOfTheFirstOctets) {
   const Header cases[] = {
         {"05 52 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10", 2, -1, -1, 1},
         {"05 12 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10", 2, -1, -1, -1},
         {"05 D1", 1, -1, -1, 3},
         {"03 8F", 28, 0, 0, 2},
         {"E3 0F", 28, 1, 6, -1},
         {"F3 09 0F", 28, 1, 9, -1},
         {"73 07 31", 55, 0, 7, -1},
         {"73 7F F1", 55, 0, 127, 3},
         {"08 14", 69, -1, -1, -1}, // the type is the whole octet in the two others
         {"9A 47", 95, 1, 1, -1},
   };
   for (const Header& one : cases) {
      SCOPED_TRACE(one.hex);
      Pdu pdu;
      ASSERT_EQ(pdu.decode(one.hex), 0);
      EXPECT_EQ(pdu->data.t, one.t);
      EXPECT_EQ(pdu->m.sendSeqNumPresent, one.sequence >= 0);
      if (one.sequence >= 0) {
         EXPECT_EQ(pdu->sendSeqNum, one.sequence);
      }
      if (one.value >= 0) {
         EXPECT_EQ(pdu->l3HdrOpts.u.transId.flag, one.flag);
         EXPECT_EQ(pdu->l3HdrOpts.u.transId.value, one.value);
      } else {
         EXPECT_EQ(pdu->l3HdrOpts.u.skipInd, 0);
      }
      EXPECT_EQ(pdu.encode(), spaced(octets(one.hex)));
   }
}

// The extension bit ahead of a long identifier is passed over: the flag is that of the nibble.
TEST(TS24008Header, ExtensionBitIsNotRead) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("73 89 31"), 0);
   EXPECT_EQ(pdu->l3HdrOpts.u.transId.flag, 0);
   EXPECT_EQ(pdu->l3HdrOpts.u.transId.value, 9);
   EXPECT_EQ(pdu.encode(), "73 09 31");
   ASSERT_EQ(pdu.decode("FA 05 46 24"), 0);
   EXPECT_EQ(pdu->l3HdrOpts.u.transId.flag, 1);
   EXPECT_EQ(pdu->l3HdrOpts.u.transId.value, 5);
   EXPECT_EQ(pdu->data.t, 94u);
}

// The decoder reads a skip indicator whatever the protocol, and takes it apart later.
TEST(TS24008Header, Trace) {
   Pdu pdu;
   pdu.trace();
   ASSERT_EQ(pdu.decode("F3 89 8F"), 0);
   EXPECT_EQ(pdu.traced(), (std::vector<std::string>{"PDU.l3HdrOpts.skipInd INTEGER 4",
                                                     "PDU.protoDiscr ENUMERATED 4", "PDU.transId flag 1",
                                                     "PDU.transId INTEGER 7", "PDU.msgType INTEGER 8"}));
   pdu.trace();
   EXPECT_EQ(pdu.encode(), "f3 09 8f");
   EXPECT_EQ(pdu.traced(),
             (std::vector<std::string>{"PDU.l3HdrOpts.transId.flag BOOLEAN 1",
                                       "PDU.l3HdrOpts.transId.value INTEGER 3", "PDU.protoDiscr ENUMERATED 4",
                                       "PDU.transId.value INTEGER 8", "PDU.msgType INTEGER 8"}));
}

// The nibble and the octet behind it ask for different discriminators.
TEST(TS24008Header, LongIdentifierOfEachProtocol) {
   const struct {
      uint32_t protocol;
      uint8_t msgType;
      uint32_t t;
      const char* hex;
   } cases[] = {
         {TS24007L3_ProtoDiscr_callCtrl, 15, 28, "f3 09 0f"},
         {TS24007L3_ProtoDiscr_sessMgmt, 85, 98, "fa 55 65"},
         {TS24007L3_ProtoDiscr_mobMgmt, 17, 1, "15 09 11"},
         {TS24007L3_ProtoDiscr_gprsMobMgmt, 20, 69, "18 14"},
   };
   for (const auto& one : cases) {
      Pdu pdu;
      pdu->protoDiscr = one.protocol;
      pdu->msgType = one.msgType;
      pdu->data.t = one.t;
      pdu->data.u.obj_SMStatus = 0x65;
      pdu->l3HdrOpts.u.transId.flag = 1;
      pdu->l3HdrOpts.u.transId.value = 9;
      EXPECT_EQ(pdu.encode(), one.hex);
   }
   // What an identifier left in a record does not come out of a message without one.
   Pdu pdu;
   ASSERT_EQ(pdu.decode("F3 09 0F"), 0);
   ASSERT_EQ(pdu.decode("05 11"), 0);
   EXPECT_EQ(pdu.encode(), "05 11");
}

TEST(TS24008Header, SequenceNumberWithoutItsBitStaysOut) {
   Pdu pdu;
   asn1SetTC_TS24008Msg_PDU_obj_MMNull(pdu.context(), &*pdu);
   pdu->sendSeqNum = 2;
   EXPECT_EQ(pdu.encode(), "05 30");
   pdu->m.sendSeqNumPresent = 1;
   EXPECT_EQ(pdu.encode(), "05 b0");
   asn1SetTC_TS24008Msg_PDU_obj_AuthAndCiphReject(pdu.context(), &*pdu);
   EXPECT_EQ(pdu.encode(), "08 14"); // the protocol has none
}

TEST(TS24008Header, Refused) {
   const struct {
      const char* hex;
      int status;
      std::vector<std::string> parms;
   } cases[] = {
         {"0B 3B", RTX_E_BAD_CHOICE, {}}, // a protocol without messages here
         {"06 3B", RTX_E_BAD_CHOICE, {}},     {"03 0A", RTX_E_BAD_CHOICE, {"10"}},
         {"05 7F", RTX_E_BAD_CHOICE, {"63"}}, // without the sequence number
         {"08 41", RTX_E_BAD_CHOICE, {"65"}}, // a type of session management alone
         {"0A 01", RTX_E_BAD_CHOICE, {"1"}},  {"0D 11", RTX_E_BAD_ENUM, {}},
         {"05", RTX_E_END_OF_DATA, {}},       {"F3", RTX_E_END_OF_DATA, {}},
         {"F3 89", RTX_E_END_OF_DATA, {}},
   };
   for (const auto& one : cases) {
      SCOPED_TRACE(one.hex);
      Pdu pdu;
      EXPECT_EQ(pdu.decode(one.hex), one.status);
      EXPECT_EQ(pdu.context().parms(), one.parms);
      EXPECT_EQ(pdu.context()->errList.count, 1u);
      EXPECT_NE(pdu.context()->elemNames.count, 0u); // the names stay pushed
   }
}

TEST(TS24008Header, EncoderRefuses) {
   Pdu pdu;
   asn1SetTC_TS24008Msg_PDU_obj_MMNull(pdu.context(), &*pdu);
   pdu->l3HdrOpts.u.skipInd = 16;
   EXPECT_EQ(pdu.encode(), "status -16");
   EXPECT_TRUE(pdu.clean()); // the failure is the caller's to log
   pdu->l3HdrOpts.u.skipInd = 0;
   rtxCtxtPopAllContainers(pdu.context());
   for (const uint32_t selector : {0u, 104u, 257u}) {
      Pdu other;
      asn1SetTC_TS24008Msg_PDU_obj_MMNull(other.context(), &*other);
      other->data.t = selector;
      EXPECT_EQ(other.encode(), "status -9");
      EXPECT_TRUE(other.clean());
      EXPECT_EQ(other.context()->elemNames.count, 0u);
   }
   pdu->protoDiscr = 13;
   EXPECT_EQ(pdu.encode(), "status -4");
}

// Dispatch

// The selector leads to the codec, the type goes on the wire, and nobody compares the two.
TEST(TS24008Dispatch, SelectorAndTypeAreNotCompared) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("05 18 01"), 0);
   EXPECT_EQ(pdu->data.t, 12u);
   pdu->msgType = 25;
   EXPECT_EQ(pdu.encode(), "05 19 01");
   pdu->msgType = 24;
   pdu->data.t = 1;
   EXPECT_EQ(pdu.encode(), "05 18");
}

TEST(TS24008Dispatch, HeaderAloneIgnoresWhatFollows) {
   for (const char* hex : {"05 11", "05 21", "05 23", "05 1B", "05 30", "03 0F", "03 18", "03 19", "03 1C",
                           "03 1D", "03 34", "03 31", "03 32", "08 11", "08 14"}) {
      SCOPED_TRACE(hex);
      Pdu pdu;
      EXPECT_EQ(pdu.decode(std::string(hex) + " 10 FF"), 0);
      EXPECT_EQ(pdu.context().used(), 2u);
      EXPECT_EQ(pdu.elements(), "");
   }
}

// Messages that are one element have no codec of their own, and no scan behind it.
TEST(TS24008Dispatch, MessagesThatAreOneElement) {
   for (const char* name : {"HoldReject", "RetrieveReject", "StartDTMFReject", "Notify", "CC_Establishment",
                            "GMMStatus", "SMStatus", "AuthenticationReject", "MMNull", "StopDTMF"})
      EXPECT_EQ(quorvaFindType((std::string("TS24008Msg_") + name).c_str()), nullptr) << name;
   const struct {
      const char *hex, *member;
   } cases[] = {
         {"03 1A 02 E0 BF", "obj_HoldReject"},
         {"03 1E 02 E0 BF", "obj_RetrieveReject"},
         {"03 37 02 E0 BF", "obj_StartDTMFReject"},
         {"03 04 03 04 01 A0", "obj_CC_Establishment"},
         {"08 20 6F", "obj_GMMStatus"},
         {"0A 55 65", "obj_SMStatus"},
   };
   for (const auto& one : cases) {
      SCOPED_TRACE(one.hex);
      Pdu pdu;
      ASSERT_EQ(pdu.decode(std::string(one.hex) + " 09 01 00"), 0);
      EXPECT_EQ(pdu.context().used(), octets(one.hex).size());
      EXPECT_EQ(pdu.leaves().back().path.substr(0, 5 + std::strlen(one.member)),
                std::string("data.") + one.member);
      EXPECT_EQ(pdu.encode(), spaced(octets(one.hex)));
   }
}

TEST(TS24008Dispatch, ValuesInTheUnionItselfTakeNoMemory) {
   for (const char* hex : {"05 29 06", "05 31 60", "08 20 6F", "0A 55 65"}) {
      TestContext context;
      TS24008Msg_PDU pdu;
      EXPECT_EQ(decode(context, hex, NASDec_TS24008Msg_PDU, &pdu), 0);
      EXPECT_TRUE(rtxMemHeapIsEmpty(context)) << hex;
      EXPECT_EQ(encode(context, NASEnc_TS24008Msg_PDU, &pdu), spaced(octets(hex)));
   }
   TestContext context;
   TS24008Msg_PDU pdu;
   ASSERT_EQ(decode(context, "05 29 06", NASDec_TS24008Msg_PDU, &pdu), 0);
   EXPECT_EQ(pdu.data.u.obj_Abort.rejectCause, TS24008IE_RejectCauseValue_illegalME);
   ASSERT_EQ(decode(context, "0A 55 65", NASDec_TS24008Msg_PDU, &pdu), 0);
   EXPECT_EQ(pdu.data.u.obj_SMStatus, 0x65);
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

// A failure inside a message is logged at each level; what a message merely reports stops nothing.
TEST(TS24008Dispatch, FailuresAndReports) {
   Pdu failing;
   EXPECT_EQ(failing.decode("05 29 00"), RTX_E_BAD_ENUM);
   EXPECT_FALSE(failing.clean());
   EXPECT_NE(failing.context()->elemNames.count, 0u);

   const struct {
      const char* hex;
      int status;
      const char* elements;
   } cases[] = {
         {"05 04 0D 30 01 00 36 01 21", RTX_E_BAD_IEI, "rejectCause t3246Value"},
         {"05 04 0D 30 01 00 40 01 00 36 01 21", RTX_E_MULTIPLE, "rejectCause t3246Value"},
         {"05 04 0D 31 01 00 36 01 21", 0, "rejectCause t3246Value"},
         // Messages that take the codec of another hand its report on.
         {"03 36 30 01 00 2C 35", RTX_E_BAD_IEI, "keypadFacility"},
         {"0A 4C 1A 30 01 00 37 01 21", RTX_E_BAD_IEI, "smCause t3396Value"},
         {"0A 4F 1A 30 01 00 37 01 21", RTX_E_BAD_IEI, "smCause t3396Value"},
   };
   for (const auto& one : cases) {
      SCOPED_TRACE(one.hex);
      Pdu pdu;
      EXPECT_EQ(pdu.decode(one.hex), one.status);
      EXPECT_EQ(pdu.elements(), one.elements);
      EXPECT_EQ(pdu.context()->elemNames.count, 0u);
      EXPECT_EQ(pdu.context().used(), octets(one.hex).size());
      EXPECT_EQ(pdu.context()->errList.count, one.status == 0 ? 0u : one.status == RTX_E_MULTIPLE ? 2u : 1u);
   }
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

// Scan

struct ScanCase {
   const char* hex;
   int status;
   const char* elements;
   const char* why;
   unsigned halfOctets = 0; // not read in the last octet
};

const ScanCase kScans[] = {
      // Twins are filled by arrival.
      {"03 08 D1 04 01 A0 04 01 A1 2D 01 01", 0, "repeatInd bearerCap1 bearerCap2 streamId", "a pair"},
      {"03 08 D1 04 01 A0 04 01 A1 04 01 A2 2D 01 01", 0, "repeatInd bearerCap1 bearerCap2 streamId",
       "a third is skipped by its length"},
      {"03 08 04 01 A0 04 01 A1", 0, "bearerCap1 bearerCap2", "without a repeat indicator"},
      {"03 08 04 01 A0 08 02 E0 90 04 01 A1 2D 01 01", 0, "bearerCap1 cause streamId",
       "the second is too late behind another element"},
      {"03 08 08 02 E0 90 04 01 A1 2D 01 01", 0, "cause streamId", "and so is the first"},
      {"03 2D 08 02 E0 90 08 02 E0 9F 08 02 E0 91 7F 01 00", 0, "cause secondCause ssVersion", "causes"},
      {"03 2D 08 02 E0 90 7F 01 00", 0, "cause ssVersion", "one cause"},
      {"03 05 7C 01 88 7C 01 89 7C 01 8A 7D 02 91 81 7D 02 91 82 7D 02 91 83 A3", 0,
       "lowLayerCompat1 lowLayerCompat2 highLayerCompat1 highLayerCompat2 redial", "compatibilities"},

      // The repeat indicators of Setup.
      {"03 05 D1", 0, "bcRepeatInd", "ahead of all"},
      {"03 05 04 01 A0 D1", 0, "bearerCapability1 llcRepeatInd", "behind a bearer capability"},
      {"03 05 75 03 80 50 11 D1", 0, "redirectingPartySubaddress llcRepeatInd", "behind the last party"},
      {"03 05 D1 D2 D4", 0, "bcRepeatInd llcRepeatInd hlcRepeatInd", "one after the other"},
      {"03 05 7C 01 88 D1", 0, "lowLayerCompat1 hlcRepeatInd", "behind the first lower layer"},
      {"03 05 7C 01 88 7C 01 89 D1", 0, "lowLayerCompat1 lowLayerCompat2 hlcRepeatInd", "behind the second"},
      {"03 05 D1 D2 D4 D1", 0, "bcRepeatInd llcRepeatInd hlcRepeatInd",
       "a fourth is out of order, and its value is left unread", 1},
      {"03 05 7D 02 91 81 D1", 0, "highLayerCompat1", "out of order behind the higher layer", 1},

      // Shifts.
      {"03 01 1E 02 E0 88", 0, "progressInd", "no shift"},
      {"03 01 95 1E 02 E0 88 7F 01 00", 0, "", "behind a locking shift all is skipped"},
      {"03 01 1C 03 A1 01 00 95 1E 02 E0 88", 0, "facility", "what stood ahead stays"},
      {"03 01 9D 1E 02 E0 88", 0, "progressInd", "a non-locking shift changes nothing"},
      {"03 01 90 1E 02 E0 88", 0, "progressInd", "nor does a shift to codeset 0"},
      {"03 01 95 90 1E 02 E0 88", 0, "", "there is no way back"},
      {"03 01 95 97 1E 02 E0 88", 0, "", "only on"},
      {"03 01 30 01 00", RTX_E_BAD_IEI, "", "unknown, with a clear low nibble"},
      {"03 01 91 30 01 00", 0, "", "the same in another codeset"},
      {"03 01 95 A1 1E 02 E0 88", 0, "", "an octet above 7F is one octet there too"},
      {"03 08 95 D0 2F AA B0", 0, "",
       "a half-octet IEI is taken apart before the codeset hides it; its length lies across octets", 1},
      {"0A 47 95 27 01 80", 0, "", "session management"},
      {"0A 47 27 01 80 95 7B 00 00 00", 0, "protocolConfigOptions",
       "a length of 16 bits is not known as such: its first octet is a length of 0, the others are unknown"},
      {"0A 47 7B 00 01 80 7B 00 01 80", RTX_E_BAD_IEI, "extProtoConfigOptions",
       "repeated, nothing of it is skipped: its length is an unknown element"},
      {"05 02 02 F8 10 04 04 95 17 05 F4 12 34 56 78", 0, "locAreaIdent mobileIdentity",
       "mobility management has no shifts: an unknown element of one octet"},
      {"08 21 95 46 80", 0, "localTimeZone", "nor has GPRS mobility management"},
      {"0A 46 24 91 27 01 80", 0, "smCause tearDownIndicator protocolConfigOptions",
       "where 9- is an element it is no shift"},
      {"0A 46 24 95 27 01 80", 0, "smCause tearDownIndicator protocolConfigOptions", "whatever its value"},

      // Out of order.
      {"05 02 02 F8 10 04 04 A2 A1 35 01 41", 0, "locAreaIdent ctsPermission per_MS_T3212",
       "an element that is its IEI alone"},
      {"03 02 83 1E 02 E0 88 2F 01 01", 0, "priorityGranted netCallCtrlCap", "TLV behind a half octet"},
      {"03 05 5C 02 A1 21 34 01 34 02 A3", 0, "callingPartyNumber redial", "TV: its octet is skipped"},
      {"0A 49 33 02 01 02 27 01 80 7B 00 01 80", 0, "nbifomContainer extProtoConfigOptions", "TLV"},
      // An 8-bit IEI with the value of a half-octet one finds the same element.
      {"03 02 08 31 2F 01 01", RTX_E_END_OF_DATA, nullptr,
       "08 is taken for 8-, its value is the next nibble"},
};

void checkScan(const ScanCase& one, bool traced) {
   SCOPED_TRACE(std::string(one.hex) + ": " + one.why + (traced ? ", traced" : ""));
   Pdu pdu;
   if (traced) pdu.trace();
   EXPECT_EQ(pdu.decode(one.hex), one.status);
   if (one.elements == nullptr) return;
   EXPECT_EQ(pdu.elements(), one.elements);
   EXPECT_EQ(pdu.bitsUsed(), octets(one.hex).size() * 8 - one.halfOctets * 4);
   EXPECT_EQ(pdu.clean(), one.status == 0);
}

TEST(TS24008Scan, TwinsAndShifts) {
   for (const ScanCase& one : kScans) {
      checkScan(one, false);
      checkScan(one, true); // the long form of the scan
   }
}

TEST(TS24008Scan, TwinsKeepTheirValues) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("03 08 D1 04 01 A0 04 01 A1 04 01 A2"), 0);
   EXPECT_EQ(pdu.leaf("bearerCap1.octet3.infoXferCap"), "speech");
   EXPECT_EQ(pdu.leaf("bearerCap2.octet3.infoXferCap"), "digital");
   EXPECT_EQ(pdu.encode(), "03 08 d1 04 01 a0 04 01 a1");
}

// Behind the mandatory part of a message without optional ones.
TEST(TS24008Scan, NothingImperativeMayFollow) {
   for (const char* hex : {"05 29 06", "05 25 1B", "05 01 30 05 F4 09 80 AD 8A", "05 18 01", "05 31 60",
                           "05 1A 02 F8 01 2F 46 05 F4 08 43 E8 BC", "08 06 01", "08 15 02",
                           "08 16 08 9A 78 56 34 12 90 78 56", "03 0B 01 03 A1 01 00"}) {
      SCOPED_TRACE(hex);
      const std::string message = hex;
      Pdu pdu;
      EXPECT_EQ(pdu.decode(message + " 29 01 00 95"), 0);
      EXPECT_EQ(pdu.context().used(), octets(message).size() + 4);
      EXPECT_EQ(Pdu().decode(message + " 09 01 00"), RTX_E_UNSUPPORTED);
      // Recall alone knows shifts, and then no element behind one is imperative.
      EXPECT_EQ(Pdu().decode(message + " 95 09 01 00"),
                message.substr(0, 5) == "03 0B" ? 0 : RTX_E_UNSUPPORTED);
   }
}

// Single messages

TEST(TS24008Messages, HalfOctetsInTheOrderOfTheStandard) {
   Pdu pdu;
   ASSERT_EQ(pdu.decode("08 12 14 32"), 0);
   const TS24008Msg_AuthAndCiphRequest& request = *pdu->data.u.obj_AuthAndCiphRequest;
   EXPECT_EQ(request.imeisvRequest.value, 1);
   EXPECT_EQ(request.cipheringAlgorithm.value, 4);
   EXPECT_EQ(request.acRefNumber, 3);
   EXPECT_EQ(request.forceToStandby.value, 2);
   ASSERT_EQ(pdu.decode("08 05 2B"), 0);
   EXPECT_EQ(pdu->data.u.obj_DetachRequest->forceToStandby.value, 2);
   EXPECT_EQ(pdu->data.u.obj_DetachRequest->detachType.powerOff, 1);
   EXPECT_EQ(pdu->data.u.obj_DetachRequest->detachType.detachTypeValue, 3);
   ASSERT_EQ(pdu.decode("08 10 05 F4 FF C8 56 60 02 F8 10 04 05 01 E1"), 0);
   EXPECT_EQ(pdu->data.u.obj_P_TMSIReallocCmd->spare, 14);
   EXPECT_EQ(pdu->data.u.obj_P_TMSIReallocCmd->forceToStandby.value, 1);
   // In the record and in print the other one comes first.
   EXPECT_EQ(pdu.elements(), "allocatedPTMSI routingAreaIdent forceToStandby spare");
}

TEST(TS24008Messages, DetachAcceptHasItsElementFromTheNetworkAlone) {
   for (const bool uplink : {false, true}) {
      Pdu pdu;
      if (uplink) rtxCtxtSetFlag(pdu.context(), RTX_CTXT_UPLINK);
      ASSERT_EQ(pdu.decode("08 06"), 0);
      EXPECT_EQ(pdu->data.u.obj_DetachAccept->m.forceToStandbyPresent, 0);
      EXPECT_EQ(pdu.encode(), "08 06");
      // A first octet that is an unknown element from the mobile station, and a value from the network.
      ASSERT_EQ(pdu.decode("08 06 81"), 0);
      EXPECT_EQ(pdu->data.u.obj_DetachAccept->m.forceToStandbyPresent, !uplink);
      EXPECT_EQ(pdu.encode(), uplink ? "08 06" : "08 06 01");
   }
}

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

TEST(TS24008Messages, Print) {
   const struct {
      const char *hex, *text;
   } cases[] = {
         {"F3 89 8F",
          "PDU {\n   l3HdrOpts {\n      transId {\n         flag = true\n         value = 9\n      }\n   }\n"
          "   protoDiscr = callCtrl\n   sendSeqNum = 2\n   msgType = 15\n   data {\n"
          "      obj_ConnectAck = <null>\n   }\n}\n"},
         {"05 29 06",
          "PDU {\n   l3HdrOpts {\n      skipInd = 0\n   }\n   protoDiscr = mobMgmt\n   msgType = 41\n"
          "   data {\n      obj_Abort {\n         rejectCause = illegalME\n      }\n   }\n}\n"},
         {"0A 55 65",
          "PDU {\n   l3HdrOpts {\n      transId {\n         flag = false\n         value = 0\n      }\n   }\n"
          "   protoDiscr = sessMgmt\n   msgType = 85\n   data {\n      obj_SMStatus = 101\n   }\n}\n"},
         {"03 10 02 04 00 A0",
          "PDU {\n   l3HdrOpts {\n      transId {\n         flag = false\n         value = 0\n      }\n"
          "   }\n   protoDiscr = callCtrl\n   msgType = 16\n   data {\n      obj_UserInfo {\n"
          "         userUser {\n            length = 2\n            uupd = 4\n"
          "            uuInfo = 0x\n         }\n         moreData = <null>\n      }\n   }\n}\n"},
   };
   for (const auto& one : cases) {
      Pdu pdu;
      ASSERT_EQ(pdu.decode(one.hex), 0);
      quorva_test::Capture capture;
      EXPECT_EQ(asn1PrtToStrm_TS24008Msg_PDU(&capture.ctxt, "PDU", &*pdu), 0);
      EXPECT_EQ(capture.take(), one.text);
      if (one.hex == cases[0].hex) {
         pdu->data.t = 104; // no such message
         asn1PrtToStrm_TS24008Msg_PDU(&capture.ctxt, "PDU", &*pdu);
         EXPECT_NE(capture.take().find("   data {\n   }\n"), std::string::npos);
      }
   }
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
