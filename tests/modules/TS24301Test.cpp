// EPS elements and messages at their edges, and the security steps of the EPS PDU. What is odd on purpose
// says so; a test that fails here for being odd has found someone's improvement.

#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxStream.h"
#include "quorva/TS24301IE.h"
#include "quorva/TS24301Msg.h"
#include "tests/frame/frameTest.h"
#include "tests/modules/messages.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace quorva::test;

namespace {

// State behind the decoder of a type; the record starts from its initialiser.
template <class Record>
std::string decodedAs(const std::string& hex, int (*decode)(RtxContext*, Record*), Record& record,
                      std::string* trace = nullptr) {
   return decoded(
         hex,
         [&](RtxContext* ctxt) {
            record = {};
            return decode(ctxt, &record);
         },
         trace);
}

template <class Record>
std::string decodedAs(const std::string& hex, int (*decode)(RtxContext*, Record*)) {
   Record record;
   return decodedAs(hex, decode, record);
}

template <class Record>
std::string encodedAs(int (*encode)(RtxContext*, Record*), const Record& record,
                      std::string* trace = nullptr) {
   return encoded(
         [&](RtxContext* ctxt) {
            Record copy = record;
            return encode(ctxt, &copy);
         },
         512, trace);
}

std::string repeated(const std::string& hex, size_t times) {
   std::string all;
   while (times-- > 0) all += hex;
   return all;
}

// --- Elements

// A length out of its bounds fails ahead of the container, with the name of the length on the stack.
TEST(EpsElements, LengthsAreTestedAheadOfTheContents) {
   struct Case {
      const char* what;
      std::string (*decode)(const std::string&);
      std::vector<unsigned> passing; // lengths that get past the test, of those up to `tried`
      unsigned tried;
   };
#define CASE(type, ...)                                                                                      \
   {                                                                                                         \
#type, [](const std::string& hex) { return decodedAs(hex, NASDec_TS24301IE_##type); }, __VA_ARGS__     \
   }
   const Case cases[] = {
         CASE(EPSQualityOfService, {1, 5, 9, 13}, 40),
         CASE(EPSBearerContextStatus, {2}, 6),
         CASE(HdrCompressConfigStat, {2}, 6),
         CASE(APNAggMaxBitRate, {2, 3, 4, 5, 6}, 12),
         CASE(PDNAddress, {5, 6, 7, 8, 9, 10, 11, 12, 13}, 20),
         CASE(EPSNetworkFeatureSupport, {1, 2, 3}, 8),
         CASE(UESecurityCapability, {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}, 20),
   };
#undef CASE
   for (const Case& c : cases) {
      for (unsigned length = 0; length <= c.tried; ++length) {
         const auto octet = static_cast<uint8_t>(length);
         const std::string state = c.decode(hexFromOctets(&octet, 1) + repeated("01", 64));
         const bool refused = state == std::string("-16 @1.0 names=") + c.what + ".length level=1";
         EXPECT_EQ(!refused, std::count(c.passing.begin(), c.passing.end(), length) == 1)
               << c.what << " of length " << length << ": " << state;
      }
   }
}

TEST(EpsElements, MobileIdentityEncoder) {
   TS24301IE_EPSMobileIdentity record;
   asn1Init_TS24301IE_EPSMobileIdentity(&record);
   EXPECT_EQ(record.filler, 15);
   record.oddEvenInd = 1;
   record.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
   std::strcpy(record.content.u.imsi, "262021234567890");
   std::string trace;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSMobileIdentity, record, &trace), "082926202143658709");
   EXPECT_EQ(trace.substr(0, trace.find(" BOOLEAN")),
             "EPSMobileIdentity.length INTEGER 8; EPSMobileIdentity.imsi[0] INTEGER 4; "
             "EPSMobileIdentity.oddEvenInd");
   record.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imei;
   std::strcpy(record.content.u.imei, "12345678");
   record.oddEvenInd = 0;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSMobileIdentity, record), "0513325476f8");
   // The filler of a temporary identity is 15, whatever the record has.
   record = {};
   record.filler = 3;
   record.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_guti;
   record.content.u.guti = {{"001", "01"}, {0, 2}, 1, {0xC3, 1, 0x73, 0x2F}};
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSMobileIdentity, record), "0bf600f110000201c301732f");
   record.typeOfIdent = TS24301IE_EPSMobileIdentity_typeOfIdent_imsi;
   record.content.u.imsi[0] = 0; // what stands behind is no digit
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSMobileIdentity, record), "01f1");
   // Any other selector fails at the first nibble, behind the length's place.
   record.typeOfIdent = 2;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSMobileIdentity, record),
             "-9 @1.0 names=EPSMobileIdentity errors=-9 wrote 00");
}

TEST(EpsElements, TrackingAreaLists) {
   TS24301IE_TrackingAreaIdentListItem item{};
   // The encoder writes the count that the record has and the entries that the array has.
   item.numElements = 7;
   item.elements.u.partTrkIdentList0.mcc_mnc = {"001", "01"};
   item.elements.u.partTrkIdentList0.tacs.n = 1;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_TrackingAreaIdentListItem, item), "0700f1100000");
   item.elements.u.partTrkIdentList0.tacs.n = 33;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_TrackingAreaIdentListItem, item).substr(0, 4), "-16 ");
   item.typeOfList = 3;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_TrackingAreaIdentListItem, item).substr(0, 4), "-16 ");

   TS24301IE_TrackingAreaIdentList list{};
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_TrackingAreaIdentList, list).substr(0, 4), "-16 ");
   list.idents.n = 17;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_TrackingAreaIdentList, list).substr(0, 4), "-16 ");
}

// Counted strings are tested by the decoder alone.
TEST(EpsElements, CountedStrings) {
   TS24301IE_NASMessageContainer container{};
   container.numocts = 1;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_NASMessageContainer, container), "0100");
   TS24301IE_AuthRespParam response{};
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_AuthRespParam, response), "00");
}

TEST(EpsElements, Repetitions) {
   TS24301IE_EPSQualityOfService qos{};
   qos.qci = 9;
   qos.bitRates.n = 3;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSQualityOfService, qos), "0109") << "the presence bit decides";
   qos.m.bitRatesPresent = 1;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSQualityOfService, qos), "0d09" + repeated("00000000", 3));
   qos.bitRates.n = 4;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_EPSQualityOfService, qos),
             "-16 @2.0 names=EPSQualityOfService.bitRates level=1 wrote 0009")
         << "ahead of the loop";
   TS24301IE_PDNAddress address{};
   address.pdnTypeValue = TS24301IE_PDNTypeValue_ipv4;
   address.pdnAddrInfo.numocts = 3;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_PDNAddress, address).substr(0, 4), "-16 ") << "length 4";
   address.pdnAddrInfo.numocts = 4;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_PDNAddress, address), "050100000000");
}

// The count of the record becomes the length; nothing is back-patched.
TEST(EpsElements, UserIdentityAndRemoteContext) {
   uint8_t digits[] = {0x21, 0x43};
   TS24301IE_UserIdentity identity{};
   identity.userDigit1 = 5;
   identity.userType1 = TS24301IE_UserIdentityType_imsi;
   identity.userDigits.numocts = 2;
   identity.userDigits.data = digits;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_UserIdentity, identity), "03522143");
   // The bits ahead of the type of address are the presence bits of the port ranges.
   std::string trace;
   TS24301IE_RemoteUECtxt context;
   decodedAs("0E 01 0152 11 C0A800011388 AABBCCDD", NASDec_TS24301IE_RemoteUECtxt, context, &trace);
   const std::string bits = "RemoteUECtxt.upri4 optional bit 1; RemoteUECtxt.tpri4 optional bit 1; ";
   EXPECT_NE(trace.find(bits), std::string::npos) << trace;
   TestContext other;
   const std::string octets = "0e01015211c0a800011388aabbccdd";
   ASSERT_EQ(NASDec_TS24301IE_RemoteUECtxt(other.decode(octetsOf(octets)), &context), 0);
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_RemoteUECtxt, context, &trace), octets);
   EXPECT_NE(trace.find(bits), std::string::npos) << trace;
   // Presence bits from before do not count, and without theirs no identities are written.
   EXPECT_EQ(NASDec_TS24301IE_RemoteUECtxt(other.decode(octetsOf("02 00 00")), &context), 0);
   EXPECT_EQ(context.m.udpPortRangePresent, 0);
   EXPECT_EQ(context.m.userIdentsPresent, 1);
   context.m.userIdentsPresent = 0;
   context.numUserIdents = 1;
   EXPECT_EQ(encodedAs(NASEnc_TS24301IE_RemoteUECtxt, context), "020100");
}

// Values by value: bounds and sets are tested ahead of the write, by some types in the encoder alone.
TEST(EpsElements, NumbersAndEnumerations) {
   const auto statusOf = [](int (*encode)(RtxContext*, uint32_t), uint32_t value) {
      TestContext context;
      return encode(context.encode(), value);
   };
   EXPECT_EQ(statusOf(NASEnc_TS24301IE_EMMCause, 4), RTX_E_BAD_ENUM);
   EXPECT_EQ(statusOf(NASEnc_TS24301IE_EMMCause, 255), 0) << "a name that bounds is a value as well";
   EXPECT_EQ(statusOf(NASEnc_TS24301IE_AddnUpdateResult_value, 3), 0);
   EXPECT_EQ(statusOf(NASEnc_TS24301IE_AddnUpdateResult_value, 4), RTX_E_BAD_ENUM);
   EXPECT_EQ(statusOf(NASEnc_TS24301IE_EPSMobileIdentity_typeOfIdent, 2), RTX_E_BAD_ENUM);
   TestContext context;
   EXPECT_EQ(NASEnc_TS24301IE_ServiceType(context.encode(), 16), RTX_E_CONSTRAINT);
   EXPECT_EQ(NASEnc_TS24301IE_LinkedEPSBearerIdent(context.encode(), 16), RTX_E_CONSTRAINT);
   EXPECT_EQ(NASEnc_TS24301IE_LinkedEPSBearerIdent(context.encode(), 15), 0);
}

// --- The PDU without security

// The nibble ahead of the discriminator, read anew for it.
TEST(EpsPdu, OptionsByDiscriminator) {
   TS24301Msg_PDU pdu;
   decodedAs("07 44 11", NASDec_TS24301Msg_PDU, pdu);
   EXPECT_EQ(pdu.l3HdrOpts.t, 4u);
   EXPECT_EQ(pdu.l3HdrOpts.u.secHdr, 0);
   decodedAs("62 01 C2", NASDec_TS24301Msg_PDU, pdu);
   EXPECT_EQ(pdu.l3HdrOpts.t, 3u);
   EXPECT_EQ(pdu.l3HdrOpts.u.epsBearerIdent, 6u);
   EXPECT_EQ(pdu.pti.u.value, 1);
   decodedAs("B9 01", NASDec_TS24301Msg_PDU, pdu);
   EXPECT_EQ(pdu.l3HdrOpts.t, 2u);
   EXPECT_EQ(pdu.l3HdrOpts.u.transId.flag, 1);
   EXPECT_EQ(pdu.l3HdrOpts.u.transId.value, 3);
   // A security header from before does not count.
   TestContext context;
   pdu.m.secHdrPresent = 1;
   EXPECT_EQ(NASDec_TS24301Msg_PDU(context.decode(octetsOf("07 46")), &pdu), 0);
   EXPECT_EQ(pdu.m.secHdrPresent, 0);
   decodedAs("B5 01", NASDec_TS24301Msg_PDU, pdu);
   EXPECT_EQ(pdu.l3HdrOpts.t, 1u);
   EXPECT_EQ(pdu.l3HdrOpts.u.skipInd, 11);
}

TEST(EpsPdu, EncoderGoesByTheSelector) {
   TS24301Msg_PDU pdu;
   asn1Init_TS24301Msg_PDU(&pdu);
   TS24301Msg_AttachReject reject;
   asn1Init_TS24301Msg_AttachReject(&reject);
   reject.emmCause = TS24301IE_EMMCause_plmnNotAllowed;
   asn1SetTC_TS24301Msg_PDU_obj_AttachReject(nullptr, &pdu, &reject);
   pdu.l3HdrOpts.t = 4;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "07440b");
   pdu.msgType = 0x99;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "07990b") << "the type is not compared with it";
   // A transaction identity is there for one discriminator only.
   pdu.protoDiscr = TS24007L3_ProtoDiscr_epsSessMgmt;
   pdu.pti.u.value = 0x55;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "0255990b");
   for (const uint32_t selector : {0u, 58u, 1000u}) {
      pdu.data.t = selector;
      EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu),
                "-9 @3.0 names=PDU.data level=1 errors=-9 wrote 025599");
   }
   // A security header counts only with its own discriminator and a type.
   asn1SetTC_TS24301Msg_PDU_obj_AttachReject(nullptr, &pdu, &reject);
   pdu.m.secHdrPresent = 1;
   pdu.secHdr = {TS24007L3_SecHdrType_noSec, 7, 0, 0};
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "07440b");
   pdu.secHdr = {TS24007L3_SecHdrType_integProt, 2, 0, 0};
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "07440b");
}

TEST(EpsPdu, MessageOfSessionManagementByItself) {
   TS24301Msg_PDU_SM inner;
   decodedAs("52 07 E8 6F", NASDec_TS24301Msg_PDU_SM, inner);
   EXPECT_EQ(inner.data.u.obj_ESMStatus, 111u) << "a message that is a number stands in the union itself";
   inner.data.t = 25;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU_SM, inner),
             "-9 @3.0 names=PDU-SM.data level=1 errors=-9 wrote 5207e8");
}

// No octet tells the forms of a detach request apart: the direction of the context does.
TEST(EpsPdu, DirectionOfDetachRequest) {
   for (const bool uplink : {false, true}) {
      Message message("TS24301Msg_PDU");
      if (uplink) rtxCtxtSetFlag(message.context(), RTX_CTXT_UPLINK);
      EXPECT_EQ(message.decode(octetsOf("07 45 02 53 02")), uplink ? RTX_E_BAD_ENUM : 0)
            << "an identity of type 2, or a cause";
      auto* request = message.as<TS24301Msg_PDU>().data.u.obj_DetachRequest;
      EXPECT_EQ(request->t, uplink ? 1u : 2u);
      if (!uplink) {
         EXPECT_EQ(request->u.ueTerm.emmCause, 2u);
      }
      // The encoder does not ask for it.
      if (uplink) rtxCtxtClearFlag(message.context(), RTX_CTXT_UPLINK);
      request->t = 3;
      EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_DetachRequest, *request).substr(0, 3), "-9 ");
   }
}

// --- The PDU with security

const SecurityState kKeys = {Octets(16, 0x1F), Octets(16, 0xC5), 2, 2, 0x00000107, 0, 0};
const SecurityState kNull = {{}, {}, 0, 0, 0, 0, 0};

// An attach reject under a security header.
TS24301Msg_PDU* attachReject(Message& message, uint32_t headerType) {
   EXPECT_EQ(message.decode(octetsOf("07 44 0B")), 0);
   auto& pdu = message.as<TS24301Msg_PDU>();
   pdu.m.secHdrPresent = 1;
   pdu.secHdr = {headerType, 7, 0xAAAAAAAA, 9};
   return &pdu;
}

std::string protectedBy(const SecurityState& keys, uint32_t headerType, TS24301Msg_PDU* result = nullptr) {
   Message message("TS24301Msg_PDU");
   keys.apply(message.context());
   TS24301Msg_PDU* pdu = attachReject(message, headerType);
   int status = 0;
   const std::string octets = hexFromOctets(message.encode(status));
   if (result != nullptr) *result = *pdu;
   return status < 0 ? "status " + std::to_string(status) : octets;
}

// Which types of header have a code and which are enciphered, in both directions of coding.
TEST(EpsSecurity, HeaderTypes) {
   for (uint32_t type = 1; type <= 5; ++type) {
      SCOPED_TRACE("type " + std::to_string(type));
      const bool enciphered = type == 2 || type == 4;
      TS24301Msg_PDU pdu;
      const std::string hex = protectedBy(kKeys, type, &pdu);
      ASSERT_EQ(hex.size(), 18u) << hex;
      EXPECT_EQ(hex.substr(0, 2), std::to_string(type) + "7");
      EXPECT_EQ(hex.substr(2, 8), as::hexNumber(pdu.secHdr.msgAuthCode, 8).substr(2))
            << "the record has it too";
      EXPECT_NE(pdu.secHdr.msgAuthCode, 0xAAAAAAAA);
      EXPECT_EQ(hex.substr(12) != "07440b", enciphered);

      Octets octets = octetsFromHex(hex);
      // The code covers what is sent: it is the one of the enciphered octets.
      Message check("TS24301Msg_PDU");
      kKeys.apply(check.context());
      uint32_t mac = 0;
      ASSERT_EQ(rtx3gppComputeMAC(check.context(), octets.data() + 5, octets.size() - 5, &mac), 0);
      EXPECT_EQ(mac, pdu.secHdr.msgAuthCode);

      Message message("TS24301Msg_PDU");
      kKeys.apply(message.context());
      EXPECT_EQ(message.decode(octets), 0);
      EXPECT_EQ(hexFromOctets(message.context()->bufData + 6, 3), "07440b") << "deciphered in place";

      // A wrong code is reported with both codes and the message is there. Type 5 is a header and no more:
      // neither code nor cipher.
      octets[1] ^= 0x80;
      EXPECT_EQ(message.decode(octets), type == 5 ? 0 : RTX_E_MAC_MISMATCH);
      EXPECT_EQ(message.as<TS24301Msg_PDU>().data.u.obj_AttachReject->emmCause, 11u);
      if (type != 5) {
         EXPECT_EQ(message.context().parms(),
                   (std::vector<std::string>{std::to_string(mac ^ 0x80000000), std::to_string(mac)}));
      }
      // The code is over all that the buffer holds, and a second error makes many of one.
      octets[1] ^= 0x80;
      octets.push_back(0xA1);
      EXPECT_EQ(message.decode(octets), type == 5 ? 0 : RTX_E_MAC_MISMATCH);
      octets[7] = 0x99;
      EXPECT_LT(message.decode(octets), 0);
   }
}

TEST(EpsSecurity, WithoutASecurityState) {
   // What is computed by the null algorithms is 0.
   EXPECT_EQ(protectedBy(kNull, 2), "27000000000907440b");
   Message message("TS24301Msg_PDU");
   TS24301Msg_PDU* pdu = attachReject(message, 1);
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, *pdu).substr(0, 4), "-71 ");
}

// The positions of the header are counted from where the message begins.
TEST(EpsSecurity, MessageInTheMiddleOfABuffer) {
   const Octets alone = octetsFromHex(protectedBy(kKeys, 2));
   Message message("TS24301Msg_PDU");
   kKeys.apply(message.context());
   TS24301Msg_PDU* pdu = attachReject(message, 2);
   TestContext& context = message.context();
   context.encode(64);
   context->bufByteIndex = 3;
   ASSERT_EQ(NASEnc_TS24301Msg_PDU(context, pdu), 0);
   EXPECT_EQ(context.written(), "eeeeee" + hexFromOctets(alone));
   context.decode(octetsFromHex("555555" + hexFromOctets(alone)));
   context->bufByteIndex = 3;
   EXPECT_EQ(NASDec_TS24301Msg_PDU(context, pdu), 0);
   EXPECT_EQ(pdu->data.u.obj_AttachReject->emmCause, 11u);
}

// A message on a stream needs a buffer that holds it whole. One that can't grow to that is told so, and
// neither is a code passed over, nor anything of the message written.
TEST(EpsSecurity, BufferOfAStreamTooSmallForTheMessage) {
   static Octets source;
   uint8_t buffer[8];
   const auto attach = [&buffer](TestContext& context, uint16_t direction, RtxStream& stream) {
      context->flags &= ~RTX_CTXT_BUFFER_MODE;
      context->stream = &stream;
      context->bufData = buffer;
      stream.kind = RTX_STREAM_KIND_FILE;
      stream.flags = static_cast<uint16_t>(direction | RTX_STREAM_CTXT_BUF);
      stream.inputLimit = SIZE_MAX;
      stream.ctxtBufSize = sizeof buffer;
      stream.read = [](RtxStream*, uint8_t* target, size_t count) {
         count = std::min(count, source.size());
         std::copy_n(source.begin(), count, target);
         source.erase(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(count));
         return static_cast<ptrdiff_t>(count);
      };
      stream.write = [](RtxStream*, const uint8_t*, size_t) { return 0; };
   };
   Message message("TS24301Msg_PDU");
   TestContext& context = message.context();
   kKeys.apply(context);
   TS24301Msg_PDU* pdu = attachReject(message, 1);
   RtxStream in{}, out{};
   source = octetsOf("5555555555 17 AAAAAAAA 09 07 44 0B");
   attach(context, RTX_STREAM_READ, in);
   context->bufByteIndex = context->bufSize = 0;
   uint8_t before[5];
   EXPECT_EQ(rtxReadBytes(context, before, sizeof before), 0);
   EXPECT_EQ(state(context, NASDec_TS24301Msg_PDU(context, pdu)), "-1 @0.0 errors=-1");
   EXPECT_EQ(octetsOf("17 AA AA"), Octets(buffer, buffer + 3)); // what had been loaded stays
   rtxErrReset(context);

   pdu = attachReject(message, 2);
   attach(context, RTX_STREAM_WRITE, out);
   context->bufByteIndex = 5;
   context->bufSize = sizeof buffer;
   EXPECT_EQ(state(context, NASEnc_TS24301Msg_PDU(context, pdu)),
             "-1 @5.0 names=PDU.secHdr.msgAuthCode level=2 errors=-1");
   context->stream = nullptr;
}

// The look ahead is not traced. The short form stays so to its end and beyond, as nothing switches the trace
// on again, and the names are left as they are.
TEST(EpsSecurity, TraceOfTheLookAhead) {
   std::string trace;
   TS24301Msg_PDU pdu;
   decodedAs("57 AAAAAAAA 09 07 46", NASDec_TS24301Msg_PDU, pdu, &trace);
   EXPECT_EQ(trace, "PDU.secHdr.secHdrType ENUMERATED 4; PDU.secHdr.protoDiscr INTEGER 4; "
                    "PDU.secHdr.msgAuthCode INTEGER 32; PDU.secHdr.seqNumber INTEGER 8; "
                    "PDU.l3HdrOpts.skipInd INTEGER 4; PDU.protoDiscr ENUMERATED 4; PDU.msgType INTEGER 8");
   decodedAs("C7 06 0000", NASDec_TS24301Msg_PDU, pdu, &trace);
   EXPECT_EQ(trace, "");
   for (const bool shortForm : {false, true}) {
      FormContext context(Form::Full);
      context.decode(octetsOf(shortForm ? "C7 06 0000" : "07 46"));
      context.attach();
      kNull.apply(context);
      EXPECT_EQ(NASDec_TS24301Msg_PDU(context, &pdu), 0);
      EXPECT_EQ(context->bitFields->disabledCount, shortForm ? 1 : 0);
   }
}

TEST(EpsSecurity, ServiceRequest) {
   // From 12 on it is one, whatever the discriminator; the record says what such a message is.
   for (const char* hex : {"C7 06", "D7 06", "E2 06", "F5 06"}) {
      Message message("TS24301Msg_PDU");
      kKeys.apply(message.context());
      Octets octets = octetsOf(hex);
      uint32_t mac = 0;
      ASSERT_EQ(rtx3gppComputeMAC(message.context(), octets.data(), 2, &mac), 0);
      octets.push_back(static_cast<uint8_t>(mac >> 8));
      octets.push_back(static_cast<uint8_t>(mac));
      EXPECT_EQ(message.decode(octets), 0) << hex;
      const auto& pdu = message.as<TS24301Msg_PDU>();
      EXPECT_EQ(pdu.m.secHdrPresent, 1);
      EXPECT_EQ(pdu.secHdr.secHdrType, 12u);
      EXPECT_EQ(pdu.secHdr.protoDiscr, 7);
      EXPECT_EQ(pdu.secHdr.msgAuthCode, 0u);
      EXPECT_EQ(pdu.secHdr.seqNumber, 0);
      EXPECT_EQ(pdu.l3HdrOpts.t, 1u);
      EXPECT_EQ(pdu.l3HdrOpts.u.skipInd, 0);
      EXPECT_EQ(pdu.protoDiscr, 7u);
      EXPECT_EQ(pdu.msgType, 0);
      ASSERT_EQ(pdu.data.t, 23u) << hex;
      const auto& request = *pdu.data.u.obj_ServiceRequest;
      EXPECT_EQ(request.secHdr, octets[0] >> 4) << "the message itself keeps its octet";
      EXPECT_EQ(request.protoDiscr, octets[0] & 15u);
      EXPECT_EQ(request.ksiAndSequenceNumber.seqNo, 6);

      octets[3] ^= 1;
      EXPECT_EQ(message.decode(octets), RTX_E_MAC_MISMATCH) << hex;
      EXPECT_EQ(message.context().parms(),
                (std::vector<std::string>{std::to_string((mac & 0xFFFF) ^ 1), std::to_string(mac & 0xFFFF)}));
      // The short form writes its code into the record.
      int status = 0;
      octets[3] ^= 1;
      EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(octets));
      EXPECT_EQ(message.as<TS24301Msg_PDU>().data.u.obj_ServiceRequest->shortMAC[1], octets[3]);
   }
   TS24301Msg_PDU pdu;
   asn1Init_TS24301Msg_PDU(&pdu);
   pdu.m.secHdrPresent = 1;
   pdu.secHdr = {TS24007L3_SecHdrType_secHdrForSvcReq, 7, 0, 0};
   pdu.data.t = 10;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "-9 @0.0 names=PDU errors=-9 wrote ");
   TS24301Msg_ServiceRequest request{12, 7, {0, 6}, {}};
   request.shortMAC[0] = 0xAB;
   pdu.data.t = 23;
   pdu.data.u.obj_ServiceRequest = &request;
   EXPECT_EQ(encodedAs(NASEnc_TS24301Msg_PDU, pdu), "-71 @4.0 errors=-71 wrote c706ab00");
}

} // namespace
