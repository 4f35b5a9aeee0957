// Connected sockets as streams.
#include "socketTest.h"

#include "quorva/rtxBits.h"
#include "quorva/rtxStream.h"
#include "support/context.h"
#include "support/systemMemory.h"

#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <vector>

using namespace quorva::test;

namespace {

/** All that comes until the peer closes. */
std::string receiveAll(RtxSocket socket) {
   std::string all;
   uint8_t octets[1000];
   for (int got; (got = rtxSocketRecv(socket, octets, sizeof octets)) != 0;) {
      if (got < 0) return "status " + std::to_string(got);
      all.append(octets, octets + got);
   }
   return all;
}

bool sendInPieces(RtxSocket socket, const std::string& text, size_t piece) {
   const auto* octets = reinterpret_cast<const uint8_t*>(text.data());
   for (size_t at = 0; at < text.size(); at += piece) {
      if (rtxSocketSend(socket, octets + at, std::min(piece, text.size() - at)) != 0) return false;
      sleepMs(1);
   }
   return true;
}

TEST_F(SocketTest, AWriterConnectsAndSends) {
   Peer peer([](RtxSocket socket) { return receiveAll(socket) == "octets\xA0"; });
   TestContext c;
   ASSERT_EQ(rtxStreamSocketCreateWriter(c, "localhost", peer.listener.port), 0);
   EXPECT_EQ(c->stream->kind, 2u);
   EXPECT_EQ(c->stream->flags, RTX_STREAM_WRITE | RTX_STREAM_CTXT_BUF);
   EXPECT_EQ(rtxStreamSocketCreateWriter(c, "localhost", peer.listener.port), RTX_E_STREAM_ATTACHED);
   EXPECT_EQ(rtxStreamWrite(c, reinterpret_cast<const uint8_t*>("octets"), 6), 0);
   EXPECT_EQ(rtxStreamFlush(c), 0);
   EXPECT_EQ(rtxEncBits(c, 5, 3), 0);
   EXPECT_EQ(rtxStreamClose(c), 0); // which writes the octet begun
}

TEST_F(SocketTest, AWriterThatFailsLeavesNothing) {
   Owned bound;
   ASSERT_EQ(rtxSocketCreate(bound.slot()) | rtxSocketBind(bound, loopback, 0), 0);
   TestContext c;
   EXPECT_EQ(rtxStreamSocketCreateWriter(c, loopbackHost, portOf(bound)), RTX_E_CONN_REFUSED);
   EXPECT_EQ(rtxErrGetStatus(c), RTX_E_CONN_REFUSED);
   EXPECT_EQ(c->stream, nullptr);
   rtxErrReset(c);
   EXPECT_EQ(c.cleared(rtxStreamSocketCreateWriter(c, "no..host", 1)), RTX_E_HOST_NOT_FOUND);
   EXPECT_EQ(c.cleared(rtxStreamSocketAttach(c, RTX_SOCKET_INVALID, RTX_STREAM_READ)), RTX_E_SOCKET);
   EXPECT_EQ(rtxStreamSocketAttach(c, bound, RTX_STREAM_READ | RTX_STREAM_WRITE), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(c.cleared(rtxStreamSocketAttach(c, bound, 0)), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxStreamSocketSetOwnership(c, true), RTX_E_NOT_INIT);
   EXPECT_EQ(rtxStreamSocketSetReadTimeout(c, 1), RTX_E_NOT_INIT);
   EXPECT_EQ(c->stream, nullptr);
}

TEST_F(SocketTest, NoMemoryLeavesTheSocketToTheCaller) {
   Listener listener(200); // nobody accepts
   system_memory::failEach(4, [&](auto begin) {
      RtxContext c;
      ASSERT_EQ(system_memory::init(&c), 0);
      begin();
      Packets pair;
      for (const unsigned direction : {RTX_STREAM_READ, RTX_STREAM_WRITE}) {
         uint8_t octets[8] = {};
         int status =
               rtxStreamSocketAttach(&c, pair.ours, static_cast<uint16_t>(direction | RTX_STREAM_HEX_TEXT));
         if (status == 0) {
            EXPECT_EQ(rtxStreamSocketSetOwnership(&c, false), 0);
            if (direction == RTX_STREAM_READ) {
               pair.send(std::string("0102030405060708"));
               status = static_cast<int>(rtxStreamRead(&c, octets, 8));
            } else {
               status = rtxStreamWrite(&c, octets, 8);
            }
         }
         EXPECT_TRUE(status >= 0 || rtxErrGetLastError(&c) == RTX_E_NOMEM) << status;
         rtxStreamClose(&c);
         EXPECT_EQ(c.stream, nullptr);
         EXPECT_EQ(c.bufData, nullptr);
      }
      const int status = rtxStreamSocketCreateWriter(&c, loopbackHost, listener.port);
      EXPECT_TRUE(status == 0 || rtxErrGetLastError(&c) == RTX_E_NOMEM) << status;
      rtFreeContext(&c);
   });
}

TEST_F(SocketTest, AttachingPutsAStreamInPlaceOfAnOpenOne) {
   Packets first, second;
   TestContext c;
   uint8_t octets[4];
   first.attach(c, RTX_STREAM_READ);
   second.attach(c, RTX_STREAM_READ);
   EXPECT_EQ(rtxSocketRecv(first.theirs, octets, 4), 0) << "the first is closed";
   second.send(std::string("abcd"));
   EXPECT_EQ(rtxStreamRead(c, octets, 4), 4);
   c->stream->kind = RTX_STREAM_KIND_FILE;
   EXPECT_EQ(rtxStreamSocketSetOwnership(c, false), RTX_E_NOT_INIT) << "another kind's record";
   EXPECT_EQ(c->stream->read(c->stream, octets, 1), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(c->stream->close(c->stream), RTX_E_BAD_ARGUMENT);
   c->stream->kind = RTX_STREAM_KIND_SOCKET;
   c->stream->flags ^= RTX_STREAM_READ | RTX_STREAM_WRITE;
   EXPECT_EQ(c->stream->read(c->stream, octets, 1), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(c->stream->mark(c->stream, 1), RTX_E_BAD_ARGUMENT);
}

// The peer dribbles and closes its direction; our own stays open.
TEST_F(SocketTest, ADribblingPeerIsReadToItsEnd) {
   std::string sent;
   for (int i = 0; i < 3000; ++i) sent += static_cast<char>(i * 7);
   Peer peer([&](RtxSocket socket) {
      return sendInPieces(socket, sent, 97) && shutdown(socket, SHUT_WR) == 0 &&
             receiveAll(socket) == "thanks";
   });
   Connected connected(peer.listener);
   TestContext in, out;
   ASSERT_EQ(rtxStreamSocketAttach(in, connected, RTX_STREAM_READ), 0);
   ASSERT_EQ(rtxStreamSocketSetOwnership(in, false), 0);
   uint8_t octets[4000];
   EXPECT_EQ(rtxStreamRead(in, octets, 700), 700);
   EXPECT_EQ(rtxStreamSkip(in, 300), 0);
   EXPECT_EQ(rtxStreamRead(in, octets + 1000, 3000), 2000);
   EXPECT_EQ(memcmp(octets, sent.data(), 700), 0);
   EXPECT_EQ(memcmp(octets + 1000, sent.data() + 1000, 2000), 0);
   EXPECT_EQ(rtxStreamRead(in, octets, 1), 0);
   EXPECT_EQ(rtxStreamSkip(in, 1000), 0) << "deliberately no failure";
   EXPECT_EQ(rtxStreamClose(in), 0);
   ASSERT_EQ(rtxStreamSocketAttach(out, connected.take(), RTX_STREAM_WRITE), 0);
   EXPECT_EQ(rtxStreamWrite(out, reinterpret_cast<const uint8_t*>("thanks"), 6), 0);
}

TEST_F(SocketTest, AResetEndsBothDirections) {
   Peer peer([](RtxSocket socket) { return resetConnection(socket); });
   TestContext in, out;
   Connected connected(peer.listener);
   ASSERT_EQ(rtxStreamSocketAttach(in, connected, RTX_STREAM_READ), 0);
   ASSERT_EQ(rtxStreamSocketSetOwnership(in, false), 0);
   ASSERT_EQ(rtxStreamSocketAttach(out, connected.take(), RTX_STREAM_WRITE), 0);
   uint8_t octets[4] = {};
   EXPECT_EQ(rtxStreamRead(in, octets, 4), RTX_E_CONN_RESET);
   EXPECT_EQ(rtxErrGetStatus(in), RTX_E_CONN_RESET);
   EXPECT_EQ(rtxStreamWrite(out, octets, 4), RTX_E_SOCKET);
   EXPECT_EQ(rtxStreamWrite(out, octets, size_t{1} << 31), RTX_E_MULTIPLE);
   EXPECT_EQ(rtxErrGetLastError(out), RTX_E_OVERFLOW);
}

// The time-out passes and is not reported; waiting costs no time of the processor.
TEST_F(SocketTest, ASilentPeerIsWaitedForWithoutALimit) {
   for (const bool timed : {false, true}) {
      const int silence = timed ? 1200 : 200;
      Peer peer([=](RtxSocket socket) {
         sleepMs(silence);
         return sendInPieces(socket, "late", 4);
      });
      Connected connected(peer.listener);
      TestContext c;
      rtxSocketSetBlocking(connected, timed); // the other receive tells at once that there is nothing
      ASSERT_EQ(rtxStreamSocketAttach(c, connected.take(), RTX_STREAM_READ), 0);
      ASSERT_EQ(rtxStreamSocketSetReadTimeout(c, timed), 0);
      uint8_t octets[4];
      const clock_t before = std::clock();
      EXPECT_EQ(rtxStreamRead(c, octets, 4), 4);
      EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
      EXPECT_EQ(rtxErrGetStatus(c), 0);
   }
}

TEST_F(SocketTest, ClosingGivesThePeerTimeAndKeepsToOwnership) {
   Packets owned, kept;
   TestContext c, other;
   owned.attach(c, RTX_STREAM_WRITE);
   ASSERT_EQ(rtxStreamSocketAttach(other, kept.ours, RTX_STREAM_WRITE), 0);
   ASSERT_EQ(rtxStreamSocketSetOwnership(other, false), 0);
   EXPECT_EQ(rtxStreamClose(other), 0);
   EXPECT_GE(fcntl(kept.ours, F_GETFD), 0);
   const auto start = Clock::now();
   {
      Interruptions signals;
      EXPECT_EQ(rtxStreamSocketClose(c), 0);
   }
   EXPECT_GE(secondsSince(start), 2.0);
   uint8_t octet;
   EXPECT_EQ(rtxSocketRecv(owned.theirs, &octet, 1), 0);
}

// Pieces end where they like; white space alone is not the end, and a last digit alone is an octet.
TEST_F(SocketTest, ReadsHexTextInPieces) {
   const struct {
      std::vector<std::string> pieces;
      std::string octets;
      int last; // what the read behind them gives
   } rows[] = {
         {{"0aFF"}, "0aff", 0},
         {{"0", "aF", "F"}, "0aff", 0},
         {{" \n", "\t", "01 ", " ", "02"}, "0102", 0},
         {{"ABC"}, "ab0c", 0},
         {{"A", "B", "C"}, "ab0c", 0},
         {{"A B", " C"}, "0a0b0c", 0},
         {{"A", " B", ","}, "0a0b", 0},
         {{"0", "x1", "F,0x", "2", "0"}, "1f20", 0},
         {{"0x1F 0X2"}, "1f02", 0},
         {{"01", "0g"}, "01", RTX_E_BAD_HEX},
         {{"01", "0x02"}, "01", RTX_E_BAD_HEX}, // as in one piece: no prefix inside a token
         {{"0x", "0x02"}, "", RTX_E_BAD_HEX},
         {{}, "", 0},
   };
   for (const auto& row : rows)
      for (const size_t atMost : {size_t{1}, size_t{2}, size_t{100}}) {
         Packets pair;
         TestContext c;
         std::string all;
         RtxStream* stream = pair.attach(c, RTX_STREAM_READ | RTX_STREAM_HEX_TEXT);
         for (const std::string& piece : row.pieces) {
            all += piece;
            if (atMost > 2) pair.send(piece);
         }
         // A packet is taken whole or cut: small reads get a character each.
         if (atMost <= 2)
            for (const char ch : all) pair.send(std::string(1, ch));
         pair.theirs.close();
         Octets octets(atMost), got;
         ptrdiff_t count;
         while ((count = stream->read(stream, octets.data(), atMost)) > 0)
            got.insert(got.end(), octets.begin(), octets.begin() + count);
         EXPECT_EQ(hexFromOctets(got), row.octets) << all << ", " << atMost;
         EXPECT_EQ(count, row.last) << all << ", " << atMost;
      }
}

TEST_F(SocketTest, WritesHexText) {
   Packets pair;
   TestContext c;
   RtxStream* stream = pair.attach(c, RTX_STREAM_WRITE | RTX_STREAM_HEX_TEXT);
   const uint8_t octets[] = {0x01, 0xAB, 0xFF};
   EXPECT_EQ(rtxStreamWrite(c, octets, 3), 0);
   EXPECT_EQ(rtxStreamWrite(c, octets + 1, 1), 0);
   EXPECT_EQ(stream->write(stream, octets, size_t{1} << 30), RTX_E_OVERFLOW);
   EXPECT_EQ(rtxStreamClose(c), 0);
   EXPECT_EQ(receiveAll(pair.theirs), "01abffab");
}

TEST_F(SocketTest, MarksWhatTheContextBufferHolds) {
   Packets pair, bare;
   TestContext c;
   RtxStream* stream = pair.attach(c, RTX_STREAM_READ);
   const auto reset = [&] { return stream->reset(stream); };
   uint32_t value = 0;
   pair.send(std::string(900, '\x5A'));
   EXPECT_EQ(reset(), RTX_E_BAD_ARGUMENT) << "no mark";
   EXPECT_EQ(rtxDecBits(c, &value, 13), 0);
   EXPECT_EQ(stream->mark(stream, 3), 0);
   EXPECT_EQ(rtxDecBits(c, &value, 24), 0);
   rtxCtxtSetFlag(c, RTX_CTXT_UPLINK);
   EXPECT_EQ(reset(), 0);
   EXPECT_EQ(rtxCtxtGetBitOffset(c), 13u);
   EXPECT_EQ(c->flags & RTX_CTXT_UPLINK, 0u);
   EXPECT_NE(c->flags & RTX_CTXT_SYS_BUFFER, 0u);
   EXPECT_EQ(stream->markLimit, 0u);
   EXPECT_EQ(reset(), RTX_E_BAD_ARGUMENT) << "the mark is used up";
   EXPECT_EQ(stream->mark(stream, 3), 0);
   EXPECT_EQ(rtxDecBits(c, &value, 32), 0);
   EXPECT_EQ(reset(), RTX_E_BAD_ARGUMENT) << "beyond the limit";
   EXPECT_EQ(stream->mark(stream, 5000), 0);
   pair.send(std::string(900, '\x5B'));
   uint8_t octets[1200];
   EXPECT_EQ(rtxReadBytes(c, octets, 1200), 0);
   EXPECT_EQ(reset(), RTX_E_BAD_ARGUMENT) << "its octets have left the buffer";

   TestContext direct;
   uint8_t buffer[8];
   rtxCtxtSetBufPtr(direct, buffer, sizeof buffer); // so the stream gets no context buffer
   stream = bare.attach(direct, RTX_STREAM_READ);
   EXPECT_EQ(stream->mark(stream, 10), RTX_E_UNSUPPORTED);
   EXPECT_EQ(direct.parms(), std::vector<std::string>{"stream mark/reset"});
   EXPECT_EQ(stream->reset(stream), RTX_E_UNSUPPORTED);
}

} // namespace
