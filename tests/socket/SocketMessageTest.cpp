// Messages that arrive in pieces of any size decode as from a buffer.
#include "socketTest.h"

#include "quorva/registry.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "support/capture.h"
#include "support/vectors.h"

#include <netinet/tcp.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

using namespace quorva::test;

namespace {

/** What a decoder leaves behind. */
struct Outcome {
   int status = 0;
   size_t bits = 0; /**< Cursor, from the start of the message. */
   size_t errors = 0;
   std::string text;

   bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
   return out << outcome.status << " at bit " << outcome.bits << ", " << outcome.errors << " errors\n"
              << outcome.text;
}

Outcome decode(quorva_test::Capture& c, const QuorvaType& type, const Vector& vector) {
   if (vector.direction == "ul")
      rtxCtxtSetFlag(&c.ctxt, RTX_CTXT_UPLINK);
   else
      rtxCtxtClearFlag(&c.ctxt, RTX_CTXT_UPLINK);
   const size_t start = rtxCtxtGetBitOffset(&c.ctxt);
   void* value = rtxMemHeapAllocZ(&c.ctxt, type.size);
   type.init(value);
   Outcome outcome;
   outcome.status = type.decode(&c.ctxt, value);
   outcome.bits = rtxCtxtGetBitOffset(&c.ctxt) - start;
   outcome.errors = rtxErrGetErrorCnt(&c.ctxt);
   // What lies behind a failure is not set. These two go on to the end.
   if (outcome.status == 0 || outcome.status == RTX_E_NO_SECURITY || outcome.status == RTX_E_MAC_MISMATCH)
      type.print(&c.ctxt, "PDU", value);
   outcome.text = c.take();
   rtxMemReset(&c.ctxt);
   return outcome;
}

struct Module {
   const char* file;
   const char* type;
};

std::ostream& operator<<(std::ostream& out, const Module& module) {
   return out << module.file;
}

class MessageStreamTest : public SocketTest, public testing::WithParamInterface<Module> {
protected:
   MessageStreamTest() {
      for (const Vector& vector : vectors) {
         quorva_test::Capture c;
         Octets octets = vector.octets;
         rtxCtxtSetBufPtr(&c.ctxt, octets.data(), octets.size());
         expected.push_back(decode(c, type, vector));
      }
   }

   const std::vector<Vector> vectors =
         loadVectors(std::string(QUORVA_TEST_DATA "/vectors/") + GetParam().file);
   const QuorvaType& type = *quorvaFindType(GetParam().type);
   std::vector<Outcome> expected; /**< From a buffer. */
};

constexpr size_t pieces[] = {1, 2, 7, 1024};

// The end of the connection is the message's.
TEST_P(MessageStreamTest, AConnectionIsAMessage) {
   for (const size_t piece : pieces)
      for (size_t i = 0; i < vectors.size(); ++i) {
         const Octets& octets = vectors[i].octets;
         Packets pair;
         for (size_t at = 0; at < octets.size(); at += piece)
            pair.send(std::span(octets).subspan(at, std::min(piece, octets.size() - at)));
         pair.theirs.close();
         quorva_test::Capture c;
         pair.attach(&c.ctxt, RTX_STREAM_READ);
         EXPECT_EQ(decode(c, type, vectors[i]), expected[i]) << vectors[i].name << " by " << piece;
      }
}

// All messages on one connection, each behind its length. What a decoder leaves of a frame is passed over.
TEST_P(MessageStreamTest, AFrameIsAMessage) {
   for (const size_t piece : pieces) {
      Peer peer([&](RtxSocket socket) {
         Octets all;
         for (const Vector& vector : vectors) {
            all.push_back(static_cast<uint8_t>(vector.octets.size() >> 8));
            all.push_back(static_cast<uint8_t>(vector.octets.size()));
            all.insert(all.end(), vector.octets.begin(), vector.octets.end());
         }
         const int on = 1; // each send goes out by itself
         setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
         for (size_t at = 0; at < all.size(); at += piece)
            if (rtxSocketSend(socket, all.data() + at, std::min(piece, all.size() - at)) != 0) return false;
         return true;
      });
      Connected connected(peer.listener);
      quorva_test::Capture c;
      ASSERT_EQ(rtxStreamSocketAttach(&c.ctxt, connected.take(), RTX_STREAM_READ), 0);
      size_t end = 0;
      for (size_t i = 0; i < vectors.size(); ++i) {
         uint32_t length = 0;
         c.ctxt.stream->inputLimit = end + 2;
         ASSERT_EQ(rtxDecBits(&c.ctxt, &length, 16), 0);
         end += 2 + length;
         c.ctxt.stream->inputLimit = end;
         EXPECT_EQ(decode(c, type, vectors[i]), expected[i]) << vectors[i].name << " by " << piece;
         c.ctxt.bufByteIndex += c.ctxt.bufBitsLeft != 8;
         c.ctxt.bufBitsLeft = 8;
         const size_t at = rtxCtxtGetBitOffset(&c.ctxt) / 8;
         ASSERT_LE(at, end);
         ASSERT_EQ(rtxStreamSkip(&c.ctxt, end - at), 0);
      }
   }
}

// A message goes out when it is whole, in one send; one that fails leaves nothing.
TEST_P(MessageStreamTest, AMessageIsSentWhole) {
   quorva_test::Capture buffered, streamed;
   uint8_t buffer[512];
   void* empty = rtxMemHeapAllocZ(&buffered.ctxt, type.size);
   type.init(empty); // which holds no message
   rtxCtxtSetBufPtr(&buffered.ctxt, buffer, sizeof buffer);
   const int refused = type.encode(&buffered.ctxt, empty);
   EXPECT_TRUE(refused < 0 || GetParam().type == std::string("TS24011Msg_RP_PDU"));
   rtxErrReset(&buffered.ctxt);
   rtxCtxtSetBufPtr(&buffered.ctxt, buffer, sizeof buffer);
   ASSERT_EQ(type.encode(&buffered.ctxt, type.sample(&buffered.ctxt)), 0);
   Packets pair;
   pair.attach(&streamed.ctxt, RTX_STREAM_WRITE);
   if (refused < 0) {
      EXPECT_EQ(type.encode(&streamed.ctxt, empty), refused);
   }
   rtxErrReset(&streamed.ctxt);
   EXPECT_EQ(type.encode(&streamed.ctxt, type.sample(&streamed.ctxt)), 0);
   EXPECT_EQ(rtxStreamClose(&streamed.ctxt), 0);
   uint8_t got[512];
   const int count = rtxSocketRecv(pair.theirs, got, sizeof got);
   ASSERT_GE(count, 0);
   EXPECT_EQ(hexFromOctets(got, static_cast<size_t>(count)),
             hexFromOctets(buffer, buffered.ctxt.bufByteIndex));
   EXPECT_EQ(rtxSocketRecv(pair.theirs, got, sizeof got), 0);
}

INSTANTIATE_TEST_SUITE_P(Nas, MessageStreamTest,
                         testing::Values(Module{"eps.txt", "TS24301Msg_PDU"},
                                         Module{"5gs.txt", "TS24501Msg_PDU"},
                                         Module{"ts24008.txt", "TS24008Msg_PDU"},
                                         Module{"ts24011.txt", "TS24011Msg_RP_PDU"}),
                         [](const auto& info) { return std::string(info.param.type); });

} // namespace
