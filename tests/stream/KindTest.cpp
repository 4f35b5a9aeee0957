// Memory and file streams: positions, marks, texts, captures, real files.
#include "quorva/rtxBits.h"
#include "quorva/rtxMemBuf.h"
#include "tests/stream/transports.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace quorva::test;

/** A path in the directory of temporary files, gone with the object. */
struct Path {
   explicit Path(const char* name)
         : text(testing::TempDir() + "quorva_" + std::to_string(getpid()) + "_" + name) {}
   ~Path() { unlink(text.c_str()); }
   Path(const Path&) = delete;
   Path& operator=(const Path&) = delete;
   operator const char*() const { return text.c_str(); }
   std::string text;
};

std::vector<std::string> parmsAfter(TestContext& context, int status, int expected) {
   EXPECT_EQ(status, expected);
   std::vector<std::string> parms = context.parms();
   rtxErrReset(context);
   return parms;
}
using Parms = std::vector<std::string>;

TEST(Streams, Arguments) {
   TestContext context;
   uint8_t octets[4] = {1, 2, 3, 4};
   Path path("arguments");
   { std::ofstream(path.text) << "kept"; }
   const auto refused = [&](int status) {
      EXPECT_EQ(status, RTX_E_BAD_ARGUMENT);
      EXPECT_EQ(context->stream, nullptr);
      rtxErrReset(context);
   };
   for (const auto flags : std::initializer_list<uint16_t>{0, 3, 4}) {
      refused(rtxStreamMemoryCreate(context, flags));
      refused(rtxStreamMemoryAttach(context, octets, 4, flags));
      refused(rtxStreamFileAttach(context, stdin, flags));
      refused(rtxStreamFileOpen(context, path, flags)); // and nothing has been truncated
   }
   struct stat status {};
   EXPECT_EQ(stat(path, &status), 0);
   EXPECT_EQ(status.st_size, 4);
   refused(rtxStreamMemoryCreateReader(context, nullptr, 4));
   refused(rtxStreamMemoryCreateReader(context, octets, 0));
   refused(rtxStreamFileAttach(context, nullptr, RTX_STREAM_READ));
   refused(rtxStreamFileCreateReader(context, nullptr));
   size_t pos;
   for (const int call :
        {rtxStreamMark(context, 1), rtxStreamReset(context), rtxStreamGetPos(context, &pos),
         rtxStreamSetPos(context, 0), rtxStreamBufferedCreate(context, 0), rtxStreamBufferedRelease(context),
         rtxStreamCtxtBufCreate(context), rtxStreamCtxtBufFree(context), rtxStreamDirectBufCreate(context)})
      EXPECT_EQ(call, RTX_E_BAD_ARGUMENT);
   rtxErrReset(context);
   for (const int call :
        {rtxStreamCtxtBufCheck(context), rtxStreamDirectBufCheck(context), rtxStreamHexTextAttach(context),
         rtxStreamBase64TextAttach(context), rtxStreamMemoryResetWriter(context)})
      EXPECT_EQ(call, RTX_E_NOT_INIT);
   EXPECT_FALSE(rtxStreamIsOpened(context) || rtxStreamIsReadable(context) || rtxStreamIsWritable(context) ||
                rtxStreamMarkSupported(context));
   EXPECT_EQ(rtxStreamRemoveCtxtBuf(context), 0);
   EXPECT_EQ(rtxStreamMemoryGetBuffer(context, &pos), nullptr);
}

TEST(Streams, AttachingClosesAnOpenOne) {
   TestContext context;
   Path path("closed");
   ASSERT_EQ(rtxStreamFileCreateWriter(context, path), 0);
   ASSERT_EQ(rtxWriteBytes(context, numbered(10).data(), 10), 0);
   uint8_t octets[4] = {1, 2, 3, 4};
   ASSERT_EQ(rtxStreamMemoryCreateReader(context, octets, 4), 0); // what was gathered is written first
   ASSERT_EQ(rtxStreamFileCreateReader(context, path), 0);
   Octets target(10);
   EXPECT_EQ(rtxStreamRead(context, target.data(), 10), 10);
   EXPECT_EQ(target, numbered(10));
   EXPECT_EQ(rtxStreamInit(context), 0);
   EXPECT_FALSE(rtxStreamIsOpened(context));
   EXPECT_EQ(rtxStreamRelease(context), 0);
}

TEST(MemoryStream, ReadsWithoutACopy) {
   TestContext context;
   Octets octets = numbered(10);
   ASSERT_EQ(rtxStreamMemoryCreateReader(context, octets.data(), octets.size()), 0);
   EXPECT_EQ(context->bufData, octets.data());
   EXPECT_TRUE(rtxStreamIsReadable(context) && rtxStreamMarkSupported(context));
   uint8_t target[10];
   EXPECT_EQ(rtxStreamRead(context, target, 0), 0);
   EXPECT_EQ(context.cleared(rtxStreamRead2(context, target, 10, 5)), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxStreamMark(context, 3), 0);
   EXPECT_EQ(rtxStreamRead(context, target, 5), 5);
   EXPECT_EQ(context.cleared(rtxStreamSkip(context, 6)), RTX_E_BUFFER_FULL); // over the end: the index stays
   EXPECT_EQ(context->bufByteIndex, 5u);
   EXPECT_EQ(rtxStreamSkip(context, 5), 0);
   EXPECT_EQ(context.cleared(rtxStreamSkip(context, 1)), RTX_E_END_OF_DATA); // at the end
   EXPECT_EQ(rtxStreamRead(context, target, 1), 0);
   EXPECT_EQ(rtxStreamReset(context), 0); // whatever the limit
   EXPECT_EQ(context->bufByteIndex, 0u);
   EXPECT_EQ(context->stream->markLimit, 0x7FFFFFFFu);
   EXPECT_TRUE(context->stream->flags & RTX_STREAM_MARK_SET);
   EXPECT_EQ(rtxStreamSetPos(context, 1000), 0); // no check of bounds, but no read beyond them either
   EXPECT_EQ(rtxStreamRead(context, target, 1), 0);
   size_t count = 0;
   EXPECT_EQ(rtxStreamGetPos(context, &count), 0);
   EXPECT_EQ(count, 1000u);
   EXPECT_EQ(context.cleared(rtxStreamWrite(context, target, 1)), RTX_E_NOT_INIT);
   ASSERT_EQ(rtxStreamMemoryCreate(context, RTX_STREAM_READ), 0); // nothing to read
   EXPECT_EQ(rtxStreamRead(context, target, 1), 0);
   EXPECT_EQ(parmsAfter(context, rtxStreamReset(context), RTX_E_UNSUPPORTED), Parms{"stream mark/reset"});
   ASSERT_EQ(rtxStreamMemoryCreateReader(context, octets.data(), octets.size()), 0);
   EXPECT_EQ(rtxStreamReset(context), RTX_E_BAD_ARGUMENT); // no mark
}

TEST(MemoryStream, Writes) {
   TestContext context;
   uint8_t few[4];
   ASSERT_EQ(rtxStreamMemoryCreateWriter(context, few, sizeof few), 0);
   EXPECT_EQ(parmsAfter(context, rtxStreamMark(context, 1), RTX_E_UNSUPPORTED), Parms{"stream mark/reset"});
   size_t pos;
   EXPECT_EQ(parmsAfter(context, rtxStreamGetPos(context, &pos), RTX_E_UNSUPPORTED),
             Parms{"stream get position"});
   EXPECT_EQ(parmsAfter(context, rtxStreamSetPos(context, 0), RTX_E_UNSUPPORTED),
             Parms{"stream set position"});
   EXPECT_EQ(context.cleared(rtxStreamRead(context, few, 0)), RTX_E_NOT_INIT); // 0 on an input stream
   EXPECT_EQ(rtxStreamWrite(context, numbered(4).data(), 4), 0);
   EXPECT_EQ(context.cleared(rtxStreamWrite(context, few, 1)), RTX_E_BUFFER_FULL);
   EXPECT_EQ(rtxStreamMemoryResetWriter(context), 0);
   EXPECT_EQ(rtxEncBits(context, 0xABC, 12), 0);
   EXPECT_EQ(rtxStreamMemoryGetBuffer(context, &pos), few);
   EXPECT_EQ(pos, 2u); // with the octet that has been begun
   for (const bool text : {false, true}) {
      ASSERT_EQ(rtxStreamMemoryCreateWriter(context, nullptr, 0), 0);
      EXPECT_EQ(context->bufSize, 512u);
      if (text) {
         ASSERT_EQ(rtxStreamHexTextAttach(context), 0);
      }
      const Octets octets = numbered(3000);
      EXPECT_EQ(rtxStreamWrite(context, octets.data(), octets.size()), 0);
      const uint8_t* data = rtxStreamMemoryGetBuffer(context, &pos);
      const std::string hex = hexFromOctets(octets);
      EXPECT_EQ(Octets(data, data + pos), text ? Octets(hex.begin(), hex.end()) : octets);
   }
}

// One copy of each octet, however it is moved; nothing of a buffer that is only room.
TEST(Capture, OneCopyAnOctet) {
   for (const TransportRow& row : kTransports) {
      SCOPED_TRACE(row.name);
      const Octets octets = numbered(3000);
      RtxMemBuf copy;
      int32_t length = 0;
      if (row.attachReader != nullptr) {
         Ground ground;
         TestContext context;
         ground.octets = octets;
         rtxMemBufInit(context, &copy, 0);
         ASSERT_EQ(row.attachReader(context, ground), 0);
         if (!takesAnyTarget(context)) continue;
         rtxStreamSetCapture(context, &copy);
         EXPECT_EQ(rtxStreamGetCapture(context), &copy);
         Octets target(octets.size());
         for (size_t at = 0, run; at < octets.size(); at += run) {
            run = std::min<size_t>(at < 200 ? 7 : 1500, octets.size() - at);
            ASSERT_EQ(rtxReadBytes(context, target.data() + at, run), 0);
         }
         EXPECT_EQ(target, octets);
         const uint8_t* data = rtxMemBufGetData(&copy, &length);
         EXPECT_EQ(Octets(data, data + length), octets);
         rtxStreamClose(context);
         rtxMemBufFree(&copy);
      }
      if (row.attachWriter != nullptr) {
         Ground ground;
         TestContext context;
         rtxMemBufInit(context, &copy, 0);
         ASSERT_EQ(row.attachWriter(context, ground), 0);
         rtxStreamSetCapture(context, &copy);
         EXPECT_EQ(rtxMemBufGetData(&copy, &length), nullptr);
         ASSERT_EQ(rtxStreamWrite(context, octets.data(), 300), 0);
         ASSERT_EQ(rtxStreamWrite(context, octets.data() + 300, 1500), 0);
         ASSERT_EQ(rtxStreamFlush(context), 0);
         const uint8_t* data = rtxMemBufGetData(&copy, &length);
         EXPECT_EQ(hexFromOctets(data, static_cast<size_t>(length)), hexFromOctets(octets.data(), 1800));
         EXPECT_EQ(hexFromOctets(row.written(context, ground)), hexFromOctets(octets.data(), 1800));
         rtxMemBufFree(&copy);
         rtxStreamSetCapture(context, nullptr);
      }
   }
}

TEST(HexText, DigitsWhiteSpaceAndTheRest) {
   const struct {
      const char* text;
      ptrdiff_t status; // of a read that asks for all
      const char* octets;
   } cases[] = {{"0a1B", 2, "0a1b"},
                {" 0 a\n1\tb \r\f\v", 2, "0a1b"},
                {"0a1", 2, "0a10"},
                {"", 0, ""},
                {" \n", 0, ""},
                {"0a1g", RTX_E_BAD_HEX, "0a"},
                {"zz", RTX_E_BAD_HEX, ""},
                {"0a 0x", RTX_E_BAD_HEX, "0a"}};
   for (const auto& test : cases) {
      for (const bool inFile : {false, true}) {
         SCOPED_TRACE(std::string(test.text) + (inFile ? ", file" : ", memory"));
         Octets text(test.text, test.text + std::strlen(test.text));
         if (text.empty() && !inFile) continue;
         Ground ground;
         TestContext context;
         ASSERT_EQ(inFile ? rows::readFile(context, ground, text) : rows::readMemory(context, ground, text),
                   0);
         ASSERT_EQ(rtxStreamHexTextAttach(context), 0);
         uint8_t target[8];
         // What stands ahead of a bad character is there, and the next read meets it.
         const Octets good = octetsFromHex(test.octets);
         if (!good.empty()) {
            ASSERT_EQ(rtxStreamRead(context, target, good.size()), static_cast<ptrdiff_t>(good.size()));
            EXPECT_EQ(Octets(target, target + good.size()), good);
         }
         EXPECT_EQ(rtxStreamRead(context, target, 4), std::min<ptrdiff_t>(test.status, 0));
         rtxErrReset(context);
      }
   }
}

TEST(FileStream, MarksPositionsAndTheEnd) {
   for (const bool text : {false, true}) {
      Ground ground;
      TestContext context;
      const Octets octets = numbered(5000);
      ASSERT_EQ(rows::readFile(context, ground, text ? hexText(octets) : octets), 0);
      if (text) {
         ASSERT_EQ(rtxStreamHexTextAttach(context), 0);
      }
      EXPECT_TRUE(context->stream->flags & RTX_STREAM_MARK_SET);
      EXPECT_EQ(context.cleared(rtxStreamReset(context)), RTX_E_BAD_ARGUMENT); // no mark yet
      uint32_t value;
      for (int i = 0; i < 450; ++i) ASSERT_EQ(rtxDecBits(context, &value, 24), 0);
      EXPECT_EQ(rtxCtxtGetBitOffset(context), 1350u * 8); // from the start of the file
      EXPECT_GT(context->stream->bufBase, 0u);
      size_t pos = 0;
      ASSERT_EQ(rtxStreamGetPos(context, &pos), 0);
      ASSERT_EQ(rtxStreamMark(context, 10), 0);
      ASSERT_EQ(rtxSkipBytes(context, 3000), 0); // the marked octet has left the buffer
      ASSERT_EQ(rtxDecBits(context, &value, 8), 0);
      EXPECT_EQ(value, octets[4350]);
      ASSERT_EQ(rtxStreamReset(context), 0);
      EXPECT_EQ(rtxCtxtGetBitOffset(context), 1350u * 8);
      ASSERT_EQ(rtxDecBits(context, &value, 8), 0);
      EXPECT_EQ(value, octets[1350]);
      ASSERT_EQ(rtxStreamSetPos(context, pos), 0);
      ASSERT_EQ(rtxDecBits(context, &value, 8), 0);
      EXPECT_EQ(value, octets[1350]);
      ASSERT_EQ(rtxSkipBytes(context, octets.size() - 1351), 0); // to the end
      EXPECT_EQ(context.cleared(rtxStreamSkip(context, 1)), RTX_E_END_OF_STREAM);
      EXPECT_EQ(context.cleared(rtxDecBits(context, &value, 1)), RTX_E_END_OF_STREAM);
      EXPECT_EQ(context.cleared(rtxStreamSetPos(context, SIZE_MAX)), RTX_E_OVERFLOW);
      EXPECT_EQ(rtxStreamSkip(context, SIZE_MAX), RTX_E_OVERFLOW);
      EXPECT_EQ(rtxStreamClose(context), 0);
      EXPECT_EQ(ftello(ground.file->file) >= 0, true); // the file is the caller's
   }
}

TEST(FileStream, WhatIsNoFile) {
   TestContext context;
   uint8_t octet;
   EXPECT_EQ(rtxStreamFileCreateReader(context, "/nonexistent/file"), RTX_E_CANNOT_DO);
   EXPECT_EQ(context->stream, nullptr);
   rtxErrReset(context);
   EXPECT_EQ(context.cleared(rtxStreamFileCreateWriter(context, "/")), RTX_E_CANNOT_DO);
   ASSERT_EQ(rtxStreamFileCreateReader(context, "/"), 0); // a directory opens, and can't be read
   EXPECT_EQ(context.cleared(rtxStreamRead(context, &octet, 1)), RTX_E_FILE_READ);
   ASSERT_EQ(rtxStreamFileCreateWriter(context, "/dev/full"), 0);
   const Octets octets = numbered(100);
   EXPECT_EQ(rtxWriteBytes(context, octets.data(), octets.size()), 0); // gathered
   EXPECT_EQ(context.cleared(rtxStreamFlush(context)), RTX_E_FILE_WRITE);
   EXPECT_EQ(context.cleared(rtxStreamWrite(context, numbered(1 << 17).data(), 1 << 17)), RTX_E_FILE_WRITE);
   ASSERT_EQ(rtxStreamFileCreateWriter(context, "/dev/full"), 0);
   EXPECT_EQ(rtxWriteBytes(context, octets.data(), octets.size()), 0);
   EXPECT_EQ(rtxStreamClose(context), RTX_E_FILE_WRITE);
   EXPECT_EQ(context->stream, nullptr);
}

TEST(FileStream, SparseBeyondFourGiB) {
   Path path("sparse");
   constexpr off_t far = off_t{5} << 30;
   const int descriptor = open(path, O_CREAT | O_RDWR, 0600);
   ASSERT_GE(descriptor, 0);
   ASSERT_EQ(pwrite(descriptor, "far", 3, far), 3);
   TestContext context;
   ASSERT_EQ(rtxStreamFileCreateReader(context, path), 0);
   uint32_t value = 1;
   ASSERT_EQ(rtxDecBits(context, &value, 8), 0);
   EXPECT_EQ(value, 0u);
   ASSERT_EQ(rtxStreamSkip(context, far - 1), 0);
   ASSERT_EQ(rtxDecBits(context, &value, 24), 0);
   EXPECT_EQ(value, 0x666172u);
   size_t pos = 0;
   ASSERT_EQ(rtxStreamGetPos(context, &pos), 0);
   EXPECT_EQ(pos, static_cast<size_t>(far) + 3);
   EXPECT_EQ(rtxCtxtGetBitOffset(context), pos * 8);
   ASSERT_EQ(rtxStreamSetPos(context, pos - 2), 0);
   ASSERT_EQ(ftruncate(descriptor, far + 2), 0); // while it is open
   ASSERT_EQ(rtxDecBits(context, &value, 8), 0);
   EXPECT_EQ(value, uint32_t{'a'});
   EXPECT_EQ(rtxDecBits(context, &value, 8), RTX_E_END_OF_STREAM);
   close(descriptor);
}

TEST(FileStream, APipeHasNoPositions) {
   Ground ground;
   TestContext context;
   ground.octets = numbered(3000);
   ASSERT_EQ(rows::readPipe(context, ground), 0);
   size_t pos;
   EXPECT_EQ(rtxStreamGetPos(context, &pos), RTX_E_FILE_READ);
   EXPECT_EQ(rtxStreamSetPos(context, 0), RTX_E_FILE_READ);
   EXPECT_EQ(rtxStreamMark(context, 5), RTX_E_FILE_READ);
   EXPECT_EQ(context.cleared(rtxStreamSkip(context, 1)), RTX_E_FILE_READ); // nothing is loaded yet
   EXPECT_EQ(rtxStreamRead(context, nullptr, 2000), 2000);
   uint32_t value;
   EXPECT_EQ(rtxDecBits(context, &value, 8), 0);
   EXPECT_EQ(value, ground.octets[2000]);
   EXPECT_EQ(rtxCtxtGetBitOffset(context), 2001u * 8);
}

// What an application had in the context is not the file's.
TEST(FileStream, TakesNothingOfABufferBefore) {
   Ground ground;
   TestContext context;
   context.decode(numbered(20));
   uint32_t value;
   ASSERT_EQ(rtxDecBits(context, &value, 32), 0);
   ASSERT_EQ(rows::writeFile(context, ground), 0);
   ASSERT_EQ(rtxEncBits(context, 0xABCD, 16), 0);
   ASSERT_EQ(rtxStreamFlush(context), 0);
   EXPECT_EQ(hexFromOctets(rows::inFile(context, ground)), "abcd");
   EXPECT_EQ(rtxStreamRemoveCtxtBuf(context), 0);
   EXPECT_EQ(context->bufData, nullptr);
   ASSERT_EQ(rtxEncBits(context, 0xEF, 8), 0); // which makes one again
}

} // namespace
