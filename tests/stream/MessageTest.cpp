// A message on a stream is the message in a buffer, however few octets a read gives.
#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501Msg.h"
#include "tests/stream/transports.h"

#include <gtest/gtest.h>

namespace {

using namespace quorva::test;

constexpr size_t kChunks[] = {1, 2, 7, 1024};

constexpr struct {
   const char* file;
   const char* type;
} kFiles[] = {{"eps.txt", "TS24301Msg_PDU"},
              {"5gs.txt", "TS24501Msg_PDU"},
              {"ts24008.txt", "TS24008Msg_PDU"},
              {"ts24011.txt", "TS24011Msg_RP_PDU"}};

const uint8_t kKey[16] = {0x2B, 0xD6, 0x45, 0x9F, 0x82, 0xC5, 0xB3, 0x00,
                          0x95, 0x2C, 0x49, 0x10, 0x48, 0x81, 0xFF, 0x48};

/** A context that prints into a text, and has keys. */
class Side {
public:
   explicit Side(bool keys) : room_(1 << 16) {
      text_ = {room_.data(), room_.size(), 0};
      rtxSetPrintStream(context, rtxPrintStreamToStringCB, &text_);
      if (keys) {
         EXPECT_EQ(rtx3gppSecInitialize(context), 0);
         EXPECT_EQ(rtx3gppAssignAlgorithmKeys(context, kKey, kKey, 2, 2), 0);
      }
   }

   struct Outcome {
      int status;
      size_t bits; // the cursor
      size_t errors;
      std::string text;
      bool operator==(const Outcome&) const = default;
   };

   /** Status, cursor and text of one decoding. */
   Outcome decode(const QuorvaType& type) {
      void* value = rtxMemHeapAllocZ(context, type.size != 0 ? type.size : 1);
      if (type.init != nullptr) type.init(value);
      const size_t from = rtxCtxtGetBitOffset(context);
      const int status = type.decode(context, value);
      Outcome outcome{status, rtxCtxtGetBitOffset(context) - from, rtxErrGetErrorCnt(context), ""};
      text_.used = 0;
      // What a decoder that stopped has not reached is not defined.
      if (status >= 0 || status == RTX_E_BAD_IEI || status == RTX_E_MAC_MISMATCH)
         type.print(context, "it", value);
      outcome.text.assign(room_.data(), text_.used);
      rtxErrReset(context);
      return outcome;
   }

   TestContext context;

private:
   std::vector<char> room_;
   RtxPrintToStringBuffer text_;
};

std::ostream& operator<<(std::ostream& out, const Side::Outcome& outcome) {
   return out << "status " << outcome.status << ", " << outcome.bits << " bits, " << outcome.errors
              << " errors\n"
              << outcome.text;
}

void closeStream(Side& side) {
   EXPECT_EQ(rtxStreamClose(side.context), 0);
   rtxErrReset(side.context);
}

/** Decodes from every transport what `expected` says of the buffer. */
void fromAll(const QuorvaType& type, const Octets& octets, bool keys, const std::string& what) {
   Side buffer(keys);
   buffer.context.decode(octets);
   Side::Outcome expected = buffer.decode(type);
   expected.bits = std::min(expected.bits, 8 * octets.size()); // a stream does not go beyond the message
   for (const TransportRow& row : kTransports) {
      if (row.attachReader == nullptr) continue;
      for (const size_t chunk : kChunks) {
         SCOPED_TRACE(what + ", " + row.name + ", " + std::to_string(chunk) + " a read");
         Ground ground;
         ground.octets = octets;
         ground.chunk = chunk;
         Side side(keys);
         ASSERT_EQ(row.attachReader(side.context, ground), 0);
         EXPECT_EQ(side.decode(type), expected);
         closeStream(side);
         if (!row.dribbles || testing::Test::HasFailure()) break;
      }
      if (testing::Test::HasFailure()) return;
   }
}

TEST(MessageOnStream, EveryVectorAsFromABuffer) {
   for (const auto& file : kFiles) {
      const QuorvaType& type = *quorvaFindType(file.type);
      for (const Vector& vector : loadVectors(std::string(QUORVA_TEST_DATA "/vectors/") + file.file)) {
         fromAll(type, vector.octets, vector.octets.size() % 2 == 0, vector.name);
         if (HasFailure()) return;
      }
   }
   // The look ahead passes half an octet that is not there.
   fromAll(*quorvaFindType("TS24501Msg_PDU"), {0x7E}, false, "the first octet alone");
}

/** What the sample of a type encodes to in a buffer; empty where it does not. */
Octets encodeInBuffer(const QuorvaType& type, int& status) {
   TestContext context;
   context.encode(4096);
   void* value = type.sample(context);
   status = type.encode(context, value);
   return octetsFromHex(context.written());
}

TEST(MessageOnStream, EverySampleBothWays) {
   size_t count = 0, encoded = 0;
   const QuorvaType* types = quorvaTypes(&count);
   for (const QuorvaType* type = types; type != types + count; ++type) {
      if (type->sample == nullptr || type->encode == nullptr) continue;
      SCOPED_TRACE(type->name);
      int expected = 0;
      const Octets octets = encodeInBuffer(*type, expected);
      if (expected < 0) continue;
      for (const TransportRow& row : kTransports) {
         if (row.attachWriter == nullptr) continue;
         SCOPED_TRACE(row.name);
         Ground ground;
         TestContext context;
         ASSERT_EQ(row.attachWriter(context, ground), 0);
         ASSERT_EQ(type->encode(context, type->sample(context)), expected);
         Octets written = row.written(context, ground);
         // Bits behind the last octet wait for those that follow.
         if (written.size() + 1 == octets.size() && context->bufBitsLeft != 8)
            written.push_back(context->bufData[context->bufByteIndex]);
         EXPECT_EQ(hexFromOctets(written), hexFromOctets(octets));
         EXPECT_EQ(rtxStreamClose(context), 0);
         if (HasFailure()) return;
      }
      ++encoded;
      if (type->decode == nullptr || octets.empty()) continue;
      Ground ground;
      Side buffer(false), side(false);
      buffer.context.decode(octets);
      ground.octets = octets;
      ground.chunk = 1;
      ASSERT_EQ(attachDribble(side.context, ground, RTX_STREAM_READ), 0);
      EXPECT_EQ(side.decode(*type), buffer.decode(*type));
      if (HasFailure()) return;
   }
   EXPECT_GT(encoded, 800u);
}

// Integrity and ciphering reach over the whole message, not over the part of it that happens to be loaded.
TEST(MessageOnStream, ProtectedBothWays) {
   const QuorvaType& type = *quorvaFindType("TS24301Msg_PDU");
   const auto protectedPdu = [&](Side& side) {
      side.context.decode(
            octetsFromHex("075206905ada1e7da557ada1e72650e21ee5e3104bfb73f6b4558000b1903ab88a27237f"));
      auto* pdu = static_cast<TS24301Msg_PDU*>(rtxMemHeapAllocZ(side.context, sizeof(TS24301Msg_PDU)));
      EXPECT_EQ(NASDec_TS24301Msg_PDU(side.context, pdu), 0);
      pdu->m.secHdrPresent = 1;
      pdu->secHdr = {TS24007L3_SecHdrType_integProtAndCipher, TS24007L3_ProtoDiscr_epsMobMgmt, 0, 5};
      return pdu;
   };
   Side buffer(true);
   TS24301Msg_PDU* pdu = protectedPdu(buffer);
   buffer.context.encode();
   ASSERT_GE(NASEnc_TS24301Msg_PDU(buffer.context, pdu), 0);
   const std::string expected = buffer.context.written();
   for (const TransportRow& row : kTransports) {
      if (row.attachWriter == nullptr) continue;
      SCOPED_TRACE(row.name);
      Ground ground;
      Side side(true);
      pdu = protectedPdu(side);
      ASSERT_EQ(row.attachWriter(side.context, ground), 0);
      EXPECT_GE(NASEnc_TS24301Msg_PDU(side.context, pdu), 0);
      EXPECT_EQ(hexFromOctets(row.written(side.context, ground)), expected);
   }
   fromAll(type, octetsFromHex(expected), true, "protected");
   Side reader(true);
   reader.context.decode(octetsFromHex(expected));
   EXPECT_EQ(reader.decode(type).status, 0); // the code is right
}

TEST(MessageOnStream, FailingEncoderLeavesNothing) {
   // Each fails behind octets that stand already.
   int (*const encoders[])(RtxContext*) = {
         [](RtxContext* pctxt) {
            TS24301Msg_PDU pdu{};
            pdu.l3HdrOpts.t = 4;
            pdu.protoDiscr = TS24007L3_ProtoDiscr_epsMobMgmt;
            pdu.data.t = 999;
            return NASEnc_TS24301Msg_PDU(pctxt, &pdu);
         },
         [](RtxContext* pctxt) {
            auto* request = asn1Test_TS24501Msg_RegRequest(pctxt);
            request->mobileId.t = 77;
            return NASEnc_TS24501Msg_RegRequest(pctxt, request);
         },
         [](RtxContext* pctxt) {
            auto* nssai = asn1Test_TS24501IE_NSSAI(pctxt);
            nssai->contents.n = 17;
            return NASEnc_TS24501IE_NSSAI(pctxt, nssai);
         },
   };
   for (const TransportRow& row : kTransports) {
      if (row.attachWriter == nullptr) continue;
      for (const auto& encode : encoders) {
         SCOPED_TRACE(std::string(row.name) + ", encoder " + std::to_string(&encode - encoders));
         Ground ground;
         TestContext context;
         ASSERT_EQ(row.attachWriter(context, ground), 0);
         ASSERT_EQ(rtxWriteBytes(context, reinterpret_cast<const uint8_t*>("abc"), 3), 0);
         EXPECT_LT(encode(context), 0);
         ASSERT_EQ(rtxWriteBytes(context, reinterpret_cast<const uint8_t*>("def"), 3), 0);
         rtxStreamFlush(context);
         const Octets written = row.written(context, ground);
         EXPECT_EQ(std::string(written.begin(), written.end()), "abcdef");
      }
   }
}

TEST(MessageOnStream, WritesInOnePieceOrReportsThatItCouldNot) {
   const QuorvaType& type = *quorvaFindType("TS24501Msg_RegRequest");
   Ground ground;
   TestContext context;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_WRITE), 0);
   void* sample = type.sample(context);
   ASSERT_EQ(type.encode(context, sample), 0);
   EXPECT_EQ(ground.calls, 1);
   const Octets once = ground.octets;
   ground.failure = RTX_E_FILE_WRITE;
   EXPECT_EQ(type.encode(context, sample), RTX_E_FILE_WRITE);
   ground.failure = 0;
   rtxErrReset(context);
   ASSERT_EQ(type.encode(context, sample), 0);
   EXPECT_EQ(ground.octets.size(), 2 * once.size()); // the one that failed is gone
   uint8_t few[4];
   ASSERT_EQ(rtxStreamMemoryCreateWriter(context, few, sizeof few), 0);
   EXPECT_EQ(type.encode(context, sample), RTX_E_BUFFER_FULL);
   size_t used = 1;
   EXPECT_EQ(rtxStreamMemoryGetBuffer(context, &used), few);
   EXPECT_EQ(used, 0u);
}

// Frames on a stream: the caller says where each ends, and nothing behind is touched, or lost.
TEST(MessageOnStream, FramesByTheLimit) {
   const std::vector<Vector> vectors = loadVectors(QUORVA_TEST_DATA "/vectors/eps.txt");
   const QuorvaType& type = *quorvaFindType("TS24301Msg_PDU");
   Octets frames;
   for (const Vector& vector : vectors) {
      frames.push_back(static_cast<uint8_t>(vector.octets.size()));
      frames.insert(frames.end(), vector.octets.begin(), vector.octets.end());
   }
   for (const TransportRow& row : kTransports) {
      if (row.attachReader == nullptr || std::strcmp(row.name, "pipe") == 0) continue;
      for (const bool ahead : {false, true}) { // are octets beyond the limit loaded already?
         SCOPED_TRACE(std::string(row.name) + (ahead ? ", loaded ahead" : ""));
         Ground ground;
         ground.octets = frames;
         ground.chunk = 7;
         Side side(false);
         ASSERT_EQ(row.attachReader(side.context, ground), 0);
         if (!takesAnyTarget(side.context)) break;
         for (const Vector& vector : vectors) {
            const auto position = [&] { return rtxCtxtGetBitOffset(side.context) / 8; };
            if (!ahead) side.context->stream->inputLimit = position() + 1;
            uint8_t size = 0;
            ASSERT_EQ(rtxReadBytes(side.context, &size, 1), 0) << vector.name;
            ASSERT_EQ(size, static_cast<uint8_t>(vector.octets.size())) << vector.name;
            const size_t end = position() + vector.octets.size();
            side.context->stream->inputLimit = end;
            Side buffer(false);
            buffer.context.decode(vector.octets);
            Side::Outcome expected = buffer.decode(type);
            expected.bits = std::min(expected.bits, 8 * vector.octets.size());
            ASSERT_EQ(side.decode(type), expected) << vector.name;
            // What the decoder left is still the frame's.
            side.context->stream->inputLimit = ahead ? SIZE_MAX : end;
            if (const size_t rest = end - position(); rest != 0 && position() < end) {
               Octets dropped(rest);
               ASSERT_EQ(rtxReadBytes(side.context, dropped.data(), rest), 0) << vector.name;
            }
            side.context->bufBitsLeft = 8;
            if (position() != end) break; // a decoder that passed its octets, as from a buffer
         }
      }
      if (HasFailure()) return;
   }
}

TEST(MessageOnStream, LaterMessagesOfATraceCountFromTheStart) {
   const QuorvaType& type = *quorvaFindType("TS24007L3_Header");
   Octets octets(3000, 0x07);
   Ground ground;
   Side side(false);
   ground.octets = octets;
   ASSERT_EQ(attachDribble(side.context, ground, RTX_STREAM_READ), 0);
   Octets target(2000);
   ASSERT_EQ(rtxReadBytes(side.context, target.data(), target.size()), 0);
   RtxDiagBitFieldList list;
   rtxDiagBitFieldListInit(side.context, &list);
   side.context->bitFields = &list;
   EXPECT_EQ(side.decode(type).status, 0);
   ASSERT_NE(list.fieldList.head, nullptr);
   EXPECT_EQ(static_cast<RtxDiagBitField*>(list.fieldList.head->data)->bitOffset, 16000u);
   side.context->bitFields = nullptr;
}

TEST(MessageOnStream, TheWrongWay) {
   const QuorvaType& type = *quorvaFindType("TS24007L3_Header");
   Ground ground;
   TestContext context;
   void* value = type.sample(context);
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_WRITE), 0);
   EXPECT_EQ(type.decode(context, value), RTX_E_NOT_INIT);
   rtxErrReset(context);
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
   EXPECT_EQ(type.encode(context, value), RTX_E_NOT_INIT);
   rtxErrReset(context);
   ground.failure = RTX_E_FILE_READ;
   EXPECT_EQ(type.decode(context, value), RTX_E_FILE_READ);
   EXPECT_EQ(rtxCtxtSetBitOffset(context, 0), RTX_E_MULTIPLE); // not on a stream, as ever
}

} // namespace
