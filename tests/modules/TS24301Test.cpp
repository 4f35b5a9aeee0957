// The security steps of the EPS PDU. What is odd on purpose says so; a test that fails here for being odd has
// found someone's improvement. Elements and messages: tests/vectors/cases-*.txt.

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

// The trace of the decoder.
std::string traceAs(const std::string& hex) {
   std::string trace;
   TS24301Msg_PDU pdu;
   decoded(
         hex, [&](RtxContext* ctxt) { return NASDec_TS24301Msg_PDU(ctxt, &(pdu = {})); }, &trace);
   return trace;
}

std::string encodedAs(const TS24301Msg_PDU& record) {
   return encoded([&](RtxContext* ctxt) {
      TS24301Msg_PDU copy = record;
      return NASEnc_TS24301Msg_PDU(ctxt, &copy);
   });
}

TEST(RemoteUECtxt, PresenceBitsFromBeforeDoNotCount) {
   TestContext context;
   TS24301IE_RemoteUECtxt record{};
   record.m.udpPortRangePresent = 1;
   EXPECT_EQ(NASDec_TS24301IE_RemoteUECtxt(context.decode(octetsOf("02 00 00")), &record), 0);
   EXPECT_EQ(record.m.udpPortRangePresent, 0);
   EXPECT_EQ(record.m.userIdentsPresent, 1);
}

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
   EXPECT_EQ(encodedAs(*pdu).substr(0, 4), "-71 ");
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
   EXPECT_EQ(traceAs("57 AAAAAAAA 09 07 46"),
             "PDU.secHdr.secHdrType ENUMERATED 4; PDU.secHdr.protoDiscr INTEGER 4; "
             "PDU.secHdr.msgAuthCode INTEGER 32; PDU.secHdr.seqNumber INTEGER 8; "
             "PDU.l3HdrOpts.skipInd INTEGER 4; PDU.protoDiscr ENUMERATED 4; PDU.msgType INTEGER 8");
   EXPECT_EQ(traceAs("C7 06 0000"), "");
   for (const bool shortForm : {false, true}) {
      FormContext context(Form::Full);
      context.decode(octetsOf(shortForm ? "C7 06 0000" : "07 46"));
      context.attach();
      kNull.apply(context);
      TS24301Msg_PDU pdu;
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
   EXPECT_EQ(encodedAs(pdu), "-9 @0.0 names=PDU errors=-9 wrote ");
   TS24301Msg_ServiceRequest request{12, 7, {0, 6}, {}};
   request.shortMAC[0] = 0xAB;
   pdu.data.t = 23;
   pdu.data.u.obj_ServiceRequest = &request;
   EXPECT_EQ(encodedAs(pdu), "-71 @4.0 errors=-71 wrote c706ab00");
}

} // namespace
