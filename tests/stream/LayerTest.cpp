// The layers: what each adds, what it takes over from the stream below, and what it gives back.
#include "quorva/rtxBits.h"
#include "tests/stream/base64Data.h"
#include "tests/stream/transports.h"

#include <gtest/gtest.h>

namespace {

using namespace quorva::test;

/** The next octets of the stream as hex. */
std::string next(RtxContext* pctxt, size_t count) {
   Octets target(count);
   const int status = rtxReadBytes(pctxt, target.data(), count);
   return status < 0 ? "status " + std::to_string(status) : hexFromOctets(target);
}

std::string hexOf(size_t from, size_t count) {
   return hexFromOctets(numbered(from + count).data() + from, count);
}

// Put on and taken off in the middle of anything, a layer neither loses an octet nor gives one twice.
TEST(Layers, ComeAndGoWithoutALoss) {
   using Create = int (*)(RtxContext*);
   using Release = int (*)(RtxContext*);
   const struct {
      Create create;
      Release release;
   } layers[] = {{rows::buffered, rtxStreamBufferedRelease},
                 {rtxStreamCtxtBufCreate, rtxStreamCtxtBufFree},
                 {rtxStreamDirectBufCreate, nullptr}};
   for (const TransportRow& row : kTransports) {
      if (row.attachReader == nullptr) continue;
      for (const auto& layer : layers) {
         SCOPED_TRACE(std::string(row.name) + ", layer " + std::to_string(&layer - layers));
         Ground ground;
         TestContext context;
         ground.octets = numbered(4000);
         ground.chunk = 70;
         ASSERT_EQ(row.attachReader(context, ground), 0);
         if (!takesAnyTarget(context)) continue;
         EXPECT_EQ(next(context, 10), hexOf(0, 10));
         ASSERT_EQ(layer.create(context), 0);
         EXPECT_EQ(next(context, 10), hexOf(10, 10));
         ASSERT_EQ(rtxSkipBytes(context, 5), 0);
         EXPECT_EQ(next(context, 1500), hexOf(25, 1500));
         EXPECT_EQ(next(context, 3), hexOf(1525, 3));
         if (layer.release != nullptr) {
            ASSERT_EQ(layer.release(context), 0);
         }
         EXPECT_EQ(next(context, 10), hexOf(1528, 10));
         EXPECT_EQ(next(context, 2462), hexOf(1538, 2462));
         uint8_t more;
         EXPECT_LE(context.cleared(rtxStreamRead(context, &more, 1)), 0); // the end, in the layer's words
         EXPECT_EQ(rtxStreamClose(context), 0);
         if (HasFailure()) return;
      }
   }
}

// A position goes back to its octet, whatever the transport counts in.
TEST(Transports, PositionsAreThoseOfOctets) {
   for (const TransportRow& row : kTransports) {
      SCOPED_TRACE(row.name);
      for (const size_t before : {0u, 20u, 1500u}) {
         Ground ground;
         TestContext context;
         ground.octets = numbered(3000);
         ASSERT_EQ(row.attachReader(context, ground), 0);
         rtxPeekByte(context, nullptr); // a text needs a buffer to be read by pieces
         ASSERT_TRUE(before == 0 || next(context, before) == hexOf(0, before));
         size_t pos;
         if (rtxMarkPos(context, &pos) < 0) continue;
         ASSERT_EQ(next(context, 40), hexOf(before, 40));
         ASSERT_EQ(context.cleared(rtxResetToPos(context, pos)), 0);
         EXPECT_EQ(next(context, 4), hexOf(before, 4)) << before;
      }
   }
}

// Behind rtxCtxtSetBufPtr the context's buffer is none of the stream's: nothing is loaded into it or written
// out of it, and what was on its way out has gone.
TEST(Transports, ABufferOfTheCallersIsLeftAlone) {
   const Octets own(1200, 0xAA);
   for (const TransportRow& row : kTransports) {
      for (const bool reads : {true, false}) {
         SCOPED_TRACE(std::string(row.name) + (reads ? ", read" : ", written"));
         if (!reads && row.attachWriter == nullptr) continue;
         Ground ground;
         TestContext context;
         if (reads) ground.octets = numbered(2500);
         ASSERT_EQ(reads ? row.attachReader(context, ground) : row.attachWriter(context, ground), 0);
         Octets octets = {1, 2}, buffer = own, target(100);
         if (reads)
            rtxPeekByte(context, nullptr); // so that the stream has its buffer
         else
            ASSERT_EQ(rtxWriteBytes(context, octets.data(), 2), 0);
         ASSERT_EQ(rtxCtxtSetBufPtr(context, buffer.data(), 4), 0);
         context->bufByteIndex = 3;
         if (reads) {
            rtxStreamLoadInputBuffer(context, 60);
            rtxErrReset(context);
            EXPECT_GE(rtxStreamRead(context, target.data(), 60), RTX_E_TOO_SMALL); // of a base64 text
            rtxStreamSkip(context, 8);
            rtxStreamDirectBufPreRead(context, 60);
            EXPECT_EQ(rtxCtxtSetBufPtr(context, nullptr, 16), 0);
            rtxStreamRead(context, target.data(), 60);
         } else {
            const int status = rtxStreamWrite(context, own.data(), 600);
            octets.insert(octets.end(), own.begin(), own.begin() + 600);
            if (context->stream->kind == RTX_STREAM_KIND_MEMORY)
               EXPECT_EQ(status, RTX_E_BUFFER_FULL); // the buffer is its data
            else
               EXPECT_EQ(row.written(context, ground), octets);
         }
         EXPECT_EQ(buffer, own);
      }
   }
}

TEST(Buffered, PutsBackMarksAndGivesWay) {
   Ground ground;
   TestContext context;
   ground.octets = numbered(2000);
   ground.chunk = 5;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
   const RtxStream* inner = context->stream;
   ASSERT_EQ(rows::bufferedOnce(context), 0);
   EXPECT_EQ(rtxStreamBufferedPrependReadBuf(context, nullptr, 0), 0);
   uint8_t few[3] = {0xA1, 0xA2, 0xA3};
   EXPECT_EQ(rtxStreamBufferedPrependReadBuf(context, few, 3), 0);
   EXPECT_EQ(rtxStreamBufferedPrependReadBuf(context, few, 1), 0);
   uint8_t target[2000];
   ASSERT_EQ(rtxStreamMark(context, 100), 0);
   EXPECT_EQ(rtxStreamReadDirect(context, target, 10), 4); // what is there, and no more
   EXPECT_EQ(hexFromOctets(target, 4), "a1a1a2a3");
   EXPECT_EQ(rtxStreamRead(context, target, 6), 6);
   EXPECT_NE(context->stream, inner); // a mark stands
   ASSERT_EQ(rtxStreamReset(context), 0);
   EXPECT_EQ(rtxStreamRead(context, target, 10), 10);
   EXPECT_EQ(hexFromOctets(target, 10), "a1a1a2a3" + hexOf(0, 6));
   EXPECT_EQ(rtxStreamRead(context, target, 4), 4); // to the end of what was read ahead
   EXPECT_EQ(context->stream, inner);
   EXPECT_EQ(context.cleared(rtxStreamBufferedRelease(context)), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(rtxStreamRead(context, target, 5), 5);
   EXPECT_EQ(hexFromOctets(target, 5), hexOf(10, 5));
   ASSERT_EQ(rows::buffered(context), 0);
   ASSERT_EQ(rtxStreamMark(context, 100), 0);
   EXPECT_EQ(rtxStreamRead(context, target, 101), 101); // beyond the limit the mark lapses
   EXPECT_EQ(context.cleared(rtxStreamReset(context)), RTX_E_UNSUPPORTED);
   ASSERT_EQ(rtxStreamBufferedSetPreReadBuf(context, few, 3), 0);
   EXPECT_EQ(rtxStreamReadDirect(context, target, 10), 3);
   ASSERT_EQ(rtxStreamBufferedSetPreReadBuf(context, few, 3), 0);
   ASSERT_EQ(rtxStreamBufferedSetPreReadBuf(context, nullptr, 0), 0); // emptied
   ground.failure = RTX_E_FILE_READ;
   EXPECT_EQ(rtxStreamRead(context, target, 1), RTX_E_END_OF_DATA); // whatever the failure is
}

// Two marks in one buffer, which is shifted for the sake of the one that rtxMarkPos made.
TEST(Buffered, KeepsItsMarkBesideOneInTheBuffer) {
   for (const bool ownFirst : {true, false}) {
      SCOPED_TRACE(ownFirst);
      Ground ground;
      TestContext context;
      ground.octets = numbered(4000);
      ground.chunk = 300;
      ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
      ASSERT_EQ(rows::buffered(context), 0);
      ASSERT_EQ(rtxStreamInitCtxtBuf(context), 0);
      size_t pos = SIZE_MAX;
      EXPECT_EQ(next(context, 10), hexOf(0, 10));
      ASSERT_EQ(ownFirst ? rtxStreamMark(context, 5000) : rtxMarkPos(context, &pos), 0);
      EXPECT_EQ(next(context, 20), hexOf(10, 20));
      ASSERT_EQ(ownFirst ? rtxMarkPos(context, &pos) : rtxStreamMark(context, 5000), 0);
      EXPECT_EQ(pos, 0u);
      for (size_t at = 30; at < 1230; at += 100) EXPECT_EQ(next(context, 100), hexOf(at, 100));
      EXPECT_EQ(context->stream->bufMarkBase, 0u); // it was shifted
      const size_t own = ownFirst ? 10 : 30, inBuffer = ownFirst ? 30 : 10;
      if (!ownFirst) {
         ASSERT_EQ(rtxStreamReset(context), 0);
         EXPECT_EQ(next(context, 5), hexOf(own, 5));
         ASSERT_EQ(rtxResetToPos(context, pos), 0);
         EXPECT_EQ(next(context, 5), hexOf(inBuffer, 5));
         continue;
      }
      // The octets of the mark have left the buffer, and those of the other one go with the reset.
      ASSERT_EQ(rtxStreamReset(context), 0);
      EXPECT_EQ(rtxCtxtGetBitOffset(context), 8 * own);
      EXPECT_EQ(next(context, 1500), hexOf(own, 1500));
      EXPECT_EQ(rtxResetToPos(context, pos), RTX_E_BAD_ARGUMENT);
   }
}

TEST(Buffered, ARefusedResetLosesNothing) {
   Ground ground;
   TestContext context;
   ground.octets = numbered(4000);
   ground.chunk = 300;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
   ASSERT_EQ(rows::buffered(context), 0);
   ASSERT_EQ(rtxStreamInitCtxtBuf(context), 0);
   EXPECT_EQ(next(context, 10), hexOf(0, 10));
   ASSERT_EQ(rtxStreamMark(context, 100), 0);
   EXPECT_EQ(next(context, 2500), hexOf(10, 2500));
   EXPECT_EQ(next(context, 5), hexOf(2510, 5));
   ASSERT_LT(context->bufByteIndex, context->bufSize);
   EXPECT_EQ(context.cleared(rtxStreamReset(context)), RTX_E_UNSUPPORTED); // the mark has lapsed
   EXPECT_EQ(next(context, 500), hexOf(2515, 500));
}

TEST(Buffered, OutputCannotBe) {
   Ground ground;
   TestContext context;
   ASSERT_EQ(rows::writeFile(context, ground), 0);
   ASSERT_EQ(rtxWriteBytes(context, numbered(3).data(), 3), 0);
   EXPECT_EQ(rtxStreamBufferedCreate(context, 0), RTX_E_BAD_ARGUMENT);
   ASSERT_NE(context->stream, nullptr); // a record without a kind is left
   EXPECT_EQ(context->stream->kind, 0u);
   EXPECT_FALSE(rtxStreamIsOpened(context));
   EXPECT_EQ(hexFromOctets(ground.file->all()), "000102"); // what was gathered is not lost with the old one
}

TEST(CtxtBuf, LoadsAtOnceAndEndsWithItsOwnStatus) {
   Ground ground;
   TestContext context;
   ground.octets = numbered(1500);
   ground.chunk = 100;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
   ASSERT_EQ(rtxStreamCtxtBufCreate(context), 0);
   EXPECT_EQ(context->bufSize, 1024u);
   EXPECT_EQ(ground.pos, 1024u);
   EXPECT_EQ(rtxStreamMark(context, 1), RTX_E_NO_MARK);
   EXPECT_EQ(context.cleared(rtxStreamReset(context)), RTX_E_NO_MARK);
   EXPECT_EQ(rtxStreamCtxtBufCheck(context), 0); // no second one
   EXPECT_EQ(context.cleared(rtxStreamInitCtxtBuf(context)), RTX_E_CANNOT_DO);
   uint32_t value;
   ASSERT_EQ(rtxSkipBytes(context, 1020), 0);
   ASSERT_EQ(rtxDecBits(context, &value, 32), 0);
   ASSERT_EQ(rtxDecBits(context, &value, 32), 0);
   EXPECT_EQ(rtxCtxtGetBitOffset(context), 1028u * 8);
   EXPECT_EQ(next(context, 1000), "status -2"); // not -17
   rtxErrReset(context);
   uint8_t octets[10];
   rtxCtxtSetBufPtr(context, octets, sizeof octets);
   EXPECT_EQ(rtxStreamCtxtBufCheck(context), RTX_E_NOT_INIT); // the stream is out of use
}

// A small buffer of the caller's can't hold what the layer takes for granted.
TEST(CtxtBuf, ReplacesATooSmallBuffer) {
   for (int (*create)(RtxContext*) : {rtxStreamCtxtBufCreate, rtxStreamDirectBufCreate}) {
      Ground ground;
      TestContext context;
      ground.octets = numbered(3000);
      ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_READ), 0);
      auto small = std::make_unique<uint8_t[]>(16);
      ASSERT_EQ(rtxInitContextBuffer(context, small.get(), 16), 0);
      ASSERT_EQ(create(context), 0);
      EXPECT_NE(context->bufData, small.get());
      EXPECT_EQ(next(context, 1200), hexOf(0, 1200));
      EXPECT_EQ(next(context, 100), hexOf(1200, 100));
   }
}

// Octets of the buffer go down once: neither lost, nor doubled, whether written by bits or by octets.
TEST(OutputLayers, EachOctetOnce) {
   for (int (*create)(RtxContext*) : {rtxStreamCtxtBufCreate, rtxStreamDirectBufCreate}) {
      Ground ground;
      TestContext context;
      ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_WRITE), 0);
      ASSERT_EQ(create(context), 0);
      const Octets octets = numbered(3000);
      Octets expected;
      for (size_t at = 0; at < 3000; at += 100) {
         ASSERT_EQ(rtxEncBits(context, 0xABC, 12), 0);
         ASSERT_EQ(rtxEncBits(context, 0xD, 4), 0);
         ASSERT_EQ(rtxStreamWrite(context, octets.data() + at, at == 1000 ? 1500 : 100), 0);
         expected.insert(expected.end(), {0xAB, 0xCD});
         expected.insert(expected.end(), octets.begin() + static_cast<ptrdiff_t>(at),
                         octets.begin() + static_cast<ptrdiff_t>(at + (at == 1000 ? 1500 : 100)));
         if (at % 700 == 0) {
            ASSERT_EQ(rtxStreamFlush(context), 0);
         }
      }
      // Written into the buffer by the caller himself.
      ASSERT_EQ(rtxCheckOutputBuffer(context, 4), 0);
      std::memcpy(context->bufData + context->bufByteIndex, "self", 4);
      ASSERT_EQ(rtxStreamWrite(context, nullptr, 4), 0);
      expected.insert(expected.end(), {'s', 'e', 'l', 'f'});
      ASSERT_EQ(rtxEncBits(context, 1, 1), 0); // completed by the close
      expected.push_back(0x80);
      EXPECT_EQ(rtxStreamClose(context), 0);
      EXPECT_EQ(hexFromOctets(ground.octets), hexFromOctets(expected));
   }
   Ground ground;
   TestContext context;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_WRITE), 0);
   ASSERT_EQ(rtxStreamCtxtBufCreate(context), 0);
   ASSERT_EQ(rtxEncBits(context, 7, 8), 0);
   ASSERT_EQ(rtxStreamCtxtBufFree(context), 0); // writes out what was gathered
   EXPECT_EQ(hexFromOctets(ground.octets), "07");
   ground.failure = RTX_E_FILE_WRITE;
   ASSERT_EQ(rtxStreamDirectBufCreate(context), 0);
   ASSERT_EQ(rtxEncBits(context, 7, 8), 0);
   EXPECT_EQ(rtxStreamClose(context), RTX_E_FILE_WRITE);
}

TEST(DirectBuf, AheadMarksAndPositions) {
   Ground ground;
   TestContext context;
   ASSERT_EQ(rows::readFile(context, ground, numbered(5000)), 0);
   ASSERT_EQ(rtxStreamDirectBufCheck(context), 0);
   EXPECT_EQ(rtxStreamDirectBufCheck(context), 0);
   ASSERT_EQ(rtxStreamDirectBufPreRead(context, 3000), 0);
   EXPECT_EQ(hexFromOctets(context->bufData + context->bufByteIndex, 3000), hexOf(0, 3000));
   size_t pos = 0;
   ASSERT_EQ(rtxSkipBytes(context, 1000), 0);
   ASSERT_EQ(rtxStreamGetPos(context, &pos), 0);
   EXPECT_EQ(pos, 1000u);
   ASSERT_EQ(rtxStreamMark(context, 3000), 0);
   context->flags |= RTX_CTXT_UPLINK;
   EXPECT_EQ(next(context, 2900), hexOf(1000, 2900));
   ASSERT_EQ(rtxStreamReset(context), 0);
   EXPECT_FALSE(context->flags & RTX_CTXT_UPLINK); // with the context's flags
   EXPECT_EQ(rtxCtxtGetBitOffset(context), 1000u * 8);
   EXPECT_EQ(next(context, 3500), hexOf(1000, 3500));
   EXPECT_EQ(context.cleared(rtxStreamReset(context)), RTX_E_BAD_ARGUMENT); // beyond its limit
   ASSERT_EQ(rtxStreamSetPos(context, 100), 0);                             // back beyond the buffer
   EXPECT_EQ(next(context, 5), hexOf(100, 5));
   EXPECT_EQ(context.cleared(rtxStreamDirectBufPreRead(context, 5000)), RTX_E_END_OF_DATA);
   EXPECT_EQ(next(context, 10), hexOf(105, 10)); // what is there stays
   ASSERT_EQ(rtxStreamSetPos(context, 9000), 0); // no bound
   EXPECT_EQ(next(context, 1), "status -2");
   rtxErrReset(context);
   Octets octets = numbered(10);
   ASSERT_EQ(rtxStreamMemoryCreateReader(context, octets.data(), octets.size()), 0);
   EXPECT_EQ(rtxStreamDirectBufPreRead(context, 10), 0); // in place
   EXPECT_EQ(context->bufData, octets.data());
   EXPECT_EQ(rtxStreamDirectBufPreRead(context, 11), RTX_E_END_OF_DATA);
}

/** A base64 layer over a text in memory; what a read of `room` octets gives, or its status. */
std::string decodeText(const std::string& text, size_t room = 4096, bool* certificate = nullptr) {
   Ground ground;
   TestContext context;
   EXPECT_EQ(rows::readMemory(context, ground, Octets(text.begin(), text.end())), 0);
   EXPECT_EQ(rtxStreamBase64TextAttach(context), 0);
   Octets target(room);
   const ptrdiff_t got = rtxStreamReadDirect(context, target.data(), room);
   // The layer's record: context, inner stream, the flag.
   if (certificate != nullptr)
      *certificate = static_cast<const uint8_t*>(context->stream->extra)[2 * sizeof(void*)] != 0;
   return got < 0 ? "status " + std::to_string(got) : hexFromOctets(target.data(), static_cast<size_t>(got));
}

TEST(Base64, Texts) {
   Octets octets(200);
   for (size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<uint8_t>(7 * i + 3);
   const struct {
      std::string text, octets;
   } cases[] = {// RFC 4648, section 10
                {"Zg==", "66"},
                {"Zm8=", "666f"},
                {"Zm9v", "666f6f"},
                {"Zm9vYg==", "666f6f62"},
                {"Zm9vYmE=", "666f6f6261"},
                {"Zm9vYmFy", "666f6f626172"},
                {kCoreutilsText, hexFromOctets(octets)},
                {kOpensslText, hexFromOctets(octets)},
                {kCertificate, kCertificateOctets},
                {"Z m\n9\tv ", "666f6f"},
                {"Zg==Zm8=", "66666f"}, // a text of several writes
                {"Z===", "status -31"},
                {"=Zm9", "status -31"},
                {"Zm9v====", "status -31"},
                {"Zg=x", "status -31"},
                {"Zm9$", "status -31"},
                {"Zm9\x80", "status -31"},
                {"Zm!v", "status -31"},
                {"-----BEGIN CERTIFICATE-----\nZm9v\n-----BEGIN CERTIFICATE-----\n", "status -31"},
                {"-----END CERTIFICATE-----", "status -31"},
                {"-----BEGIN CERT", "status -31"},
                {"Zm-9v", "status -31"}};
   for (const auto& test : cases) EXPECT_EQ(decodeText(test.text), test.octets) << test.text;
   bool certificate = false;
   decodeText(kCertificate, 4096, &certificate);
   EXPECT_TRUE(certificate);
   decodeText("-----BEGIN CERTIFICATE-----\nZm9v\n", 4096, &certificate);
   EXPECT_FALSE(certificate);
}

TEST(Base64, ATargetTooSmallLosesNothing) {
   EXPECT_EQ(decodeText("Zm9vYmFy", 6), "666f6f626172");
   EXPECT_EQ(decodeText("Zm9vYmFy", 3), "status -13");
   Ground ground;
   TestContext context;
   const std::string text = "Zm9vYmFyIQ==";
   ASSERT_EQ(rows::readMemory(context, ground, Octets(text.begin(), text.end())), 0);
   ASSERT_EQ(rtxStreamBase64TextAttach(context), 0);
   uint8_t target[8];
   for (const size_t room : {4u, 1u, 3u, 5u, 6u}) {
      EXPECT_EQ(rtxStreamReadDirect(context, target, room), RTX_E_TOO_SMALL) << room;
      rtxErrReset(context);
   }
   EXPECT_EQ(rtxStreamReadDirect(context, target, 8), 7);
   EXPECT_EQ(std::string(target, target + 7), "foobar!");
}

TEST(Base64, WritesEachCallAsATextOfItsOwn) {
   Ground ground;
   TestContext context;
   ASSERT_EQ(attachDribble(context, ground, RTX_STREAM_WRITE), 0);
   ASSERT_EQ(rtxStreamBase64TextAttach(context), 0);
   for (const char* text : {"foobar", "f", "fo"})
      ASSERT_EQ(rtxStreamWrite(context, reinterpret_cast<const uint8_t*>(text), std::strlen(text)), 0);
   EXPECT_EQ(std::string(ground.octets.begin(), ground.octets.end()), "Zm9vYmFyZg==Zm8=");
   EXPECT_EQ(ground.calls, 4); // four characters each
   ground.failure = RTX_E_FILE_WRITE;
   EXPECT_EQ(rtxStreamWrite(context, numbered(3).data(), 3), RTX_E_FILE_WRITE);
}

// Characters that the file's buffer held when the layer came are part of the text; skips count characters.
TEST(Base64, InTheMiddleOfAFile) {
   Ground ground;
   TestContext context;
   const std::string text = "head:AAAAZm9vYmFy";
   ASSERT_EQ(rows::readFile(context, ground, Octets(text.begin(), text.end())), 0);
   EXPECT_EQ(next(context, 5), "686561643a");
   ASSERT_EQ(rtxStreamBase64TextAttach(context), 0);
   EXPECT_FALSE(rtxStreamMarkSupported(context));
   ASSERT_EQ(rtxStreamSkip(context, 4), 0);
   uint32_t value;
   ASSERT_EQ(rtxDecBits(context, &value, 16), 0);
   EXPECT_EQ(value, 0x666Fu);
   EXPECT_EQ(next(context, 4), "6f626172");
}

} // namespace
