/**
 * @file transports.h
 * The table of ways that octets take to a decoder and from an encoder. Tests that hold for all of them run
 * over it; a new kind of stream is a row.
 */
#ifndef QUORVA_TESTS_STREAM_TRANSPORTS_H
#define QUORVA_TESTS_STREAM_TRANSPORTS_H

#include "quorva/rtxMemHeap.h"
#include "tests/support/context.h"
#include "tests/support/transport.h"

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

namespace quorva::test {

inline Octets numbered(size_t count) {
   Octets octets(count);
   for (size_t i = 0; i < count; ++i) octets[i] = static_cast<uint8_t>(i % 251);
   return octets;
}

/** A file without a name. */
struct TemporaryFile {
   TemporaryFile() : file(tmpfile()) {
      if (file == nullptr) throw std::runtime_error("no temporary file");
   }
   ~TemporaryFile() { fclose(file); }
   TemporaryFile(const TemporaryFile&) = delete;
   TemporaryFile& operator=(const TemporaryFile&) = delete;

   void put(const Octets& octets) {
      fwrite(octets.data(), 1, octets.size(), file);
      rewind(file);
   }
   Octets all() {
      Octets octets(static_cast<size_t>(ftello(file)));
      rewind(file);
      octets.resize(fread(octets.data(), 1, octets.size(), file));
      return octets;
   }
   FILE* file;
};

/** What a stream under test stands on. */
struct Ground : Transport {
   std::unique_ptr<TemporaryFile> file;
   int descriptors[2] = {-1, -1};
   std::shared_ptr<void> more; ///< for a row's own needs

   Ground() = default;
   ~Ground() {
      for (const int descriptor : descriptors)
         if (descriptor >= 0) close(descriptor);
   }
   Ground(const Ground&) = delete;
   Ground& operator=(const Ground&) = delete;
};

inline int attachDribble(RtxContext* pctxt, Ground& ground, uint16_t flags) {
   return attach(pctxt, ground, flags, false, 99) != nullptr ? 0 : RTX_E_NOMEM;
}

inline Octets hexText(const Octets& octets) {
   const std::string hex = hexFromOctets(octets);
   Octets text;
   for (size_t i = 0; i < hex.size(); ++i) {
      if (i % 14 == 5) text.push_back(i % 28 == 5 ? '\n' : ' ');
      text.push_back(static_cast<uint8_t>(hex[i]));
   }
   return text;
}
inline Octets octetsOfHexText(const Octets& text) {
   std::string hex(text.begin(), text.end());
   hex.erase(std::remove_if(hex.begin(), hex.end(), [](char ch) { return ch == ' ' || ch == '\n'; }),
             hex.end());
   return octetsFromHex(hex);
}

constexpr char base64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline Octets base64Text(const Octets& octets) {
   Octets text;
   for (size_t i = 0; i < octets.size(); i += 3) {
      const size_t run = std::min<size_t>(3, octets.size() - i);
      unsigned group = 0;
      for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < run ? octets[i + k] : 0u);
      for (size_t k = 0; k < 4; ++k)
         text.push_back(static_cast<uint8_t>(k <= run ? base64Alphabet[group >> (18 - 6 * k) & 63] : '='));
      if (i % 48 == 45) text.push_back('\n');
   }
   return text;
}
inline Octets octetsOfBase64Text(const Octets& text) {
   Octets octets;
   unsigned group = 0, count = 0;
   for (const uint8_t ch : text) {
      if (ch == '\n') continue;
      if (ch == '=') {
         if (count == 2 || count == 3) octets.push_back(static_cast<uint8_t>(group >> (count == 2 ? 4 : 10)));
         if (count == 3) octets.push_back(static_cast<uint8_t>(group >> 2));
         count = 0;
         continue;
      }
      group = group << 6 | static_cast<unsigned>(std::strchr(base64Alphabet, ch) - base64Alphabet);
      if (++count % 4 == 0) {
         for (const int shift : {16, 8, 0}) octets.push_back(static_cast<uint8_t>(group >> shift));
         count = group = 0;
      }
   }
   return octets;
}

/** A row of the table. */
struct TransportRow {
   const char* name;
   bool dribbles;                                     ///< obeys `chunk`
   int (*attachReader)(RtxContext* pctxt, Ground& g); ///< over `octets`; null: the row does not read
   int (*attachWriter)(RtxContext* pctxt, Ground& g); ///< null: the row does not write
   Octets (*written)(RtxContext* pctxt, Ground& g);   ///< what has gone out, before the stream is closed
};

/** A base64 text without a buffer of octets in front gives whole texts only. */
inline bool takesAnyTarget(RtxContext* pctxt) {
   return (pctxt->stream->flags & (RTX_STREAM_TEXT_FILTER | RTX_STREAM_CTXT_BUF)) != RTX_STREAM_TEXT_FILTER;
}

namespace rows {

inline int readFile(RtxContext* pctxt, Ground& g, const Octets& octets) {
   g.file = std::make_unique<TemporaryFile>();
   g.file->put(octets);
   return rtxStreamFileAttach(pctxt, g.file->file, RTX_STREAM_READ);
}
inline int writeFile(RtxContext* pctxt, Ground& g) {
   g.file = std::make_unique<TemporaryFile>();
   return rtxStreamFileAttach(pctxt, g.file->file, RTX_STREAM_WRITE);
}
inline Octets inFile(RtxContext*, Ground& g) {
   return g.file->all();
}
/** The octets have to fit the pipe. */
inline int readPipe(RtxContext* pctxt, Ground& g) {
   if (pipe(g.descriptors) != 0) return RTX_E_CANNOT_DO;
   const ssize_t put = write(g.descriptors[1], g.octets.data(), g.octets.size());
   close(g.descriptors[1]);
   FILE* file = fdopen(g.descriptors[0], "rb");
   g.descriptors[0] = g.descriptors[1] = -1;
   if (put != static_cast<ssize_t>(g.octets.size()) || file == nullptr) return RTX_E_CANNOT_DO;
   g.more = std::shared_ptr<void>(file, [](void* it) { fclose(static_cast<FILE*>(it)); });
   return rtxStreamFileAttach(pctxt, file, RTX_STREAM_READ);
}
inline int readMemory(RtxContext* pctxt, Ground& g, const Octets& octets) {
   g.octets = octets; // what a memory stream reads is deciphered in place
   return rtxStreamMemoryCreateReader(pctxt, g.octets.data(), g.octets.size());
}
inline int writeMemory(RtxContext* pctxt, Ground&) {
   return rtxStreamMemoryCreateWriter(pctxt, nullptr, 3);
}
inline Octets inMemory(RtxContext* pctxt, Ground&) {
   size_t count = 0;
   const uint8_t* octets = rtxStreamMemoryGetBuffer(pctxt, &count);
   return octets == nullptr ? Octets{} : Octets(octets, octets + count);
}
inline int readDribble(RtxContext* pctxt, Ground& g) {
   return attachDribble(pctxt, g, RTX_STREAM_READ);
}
inline int writeDribble(RtxContext* pctxt, Ground& g) {
   return attachDribble(pctxt, g, RTX_STREAM_WRITE);
}
inline Octets inGround(RtxContext* pctxt, Ground& g) {
   rtxStreamFlush(pctxt);
   return g.octets;
}
/** A layer above a row's stream. */
inline int above(int status, RtxContext* pctxt, int (*layer)(RtxContext*)) {
   return status < 0 ? status : layer(pctxt);
}
inline int buffered(RtxContext* pctxt) {
   return rtxStreamBufferedCreate(pctxt, 0);
}
inline int bufferedOnce(RtxContext* pctxt) {
   return rtxStreamBufferedCreate(pctxt, RTX_STREAM_BUFFERED_AUTO_RELEASE);
}

} // namespace rows

#define ROW_READ(...) [](RtxContext* c, Ground& g) -> int { return __VA_ARGS__; }
#define ROW_WRITTEN(...) [](RtxContext* c, Ground& g) -> Octets { return __VA_ARGS__; }

inline const TransportRow kTransports[] = {
      {"memory", false, ROW_READ(rows::readMemory(c, g, Octets(g.octets))), rows::writeMemory,
       rows::inMemory},
      {"memory of hex text", false,
       ROW_READ(rows::above(rows::readMemory(c, g, hexText(g.octets)), c, rtxStreamHexTextAttach)),
       ROW_READ(rows::above(rows::writeMemory(c, g), c, rtxStreamHexTextAttach)),
       ROW_WRITTEN(octetsOfHexText(rows::inMemory(c, g)))},
      {"file", false, ROW_READ(rows::readFile(c, g, g.octets)), rows::writeFile, rows::inFile},
      {"file of hex text", false,
       ROW_READ(rows::above(rows::readFile(c, g, hexText(g.octets)), c, rtxStreamHexTextAttach)),
       ROW_READ(rows::above(rows::writeFile(c, g), c, rtxStreamHexTextAttach)),
       ROW_WRITTEN(octetsOfHexText(rows::inFile(c, g)))},
      {"pipe", false, rows::readPipe, nullptr, nullptr},
      {"stream of one's own", true, rows::readDribble, rows::writeDribble, rows::inGround},
      {"buffered", true, ROW_READ(rows::above(rows::readDribble(c, g), c, rows::buffered)), nullptr, nullptr},
      {"buffered, giving way", true, ROW_READ(rows::above(rows::readDribble(c, g), c, rows::bufferedOnce)),
       nullptr, nullptr},
      {"buffered memory", false,
       ROW_READ(rows::above(rows::readMemory(c, g, Octets(g.octets)), c, rows::bufferedOnce)), nullptr,
       nullptr},
      {"context buffer", true, ROW_READ(rows::above(rows::readDribble(c, g), c, rtxStreamCtxtBufCreate)),
       ROW_READ(rows::above(rows::writeDribble(c, g), c, rtxStreamCtxtBufCreate)), rows::inGround},
      {"context buffer of a file", false,
       ROW_READ(rows::above(rows::readFile(c, g, g.octets), c, rtxStreamCtxtBufCreate)), nullptr, nullptr},
      {"direct buffer", true, ROW_READ(rows::above(rows::readDribble(c, g), c, rtxStreamDirectBufCreate)),
       ROW_READ(rows::above(rows::writeDribble(c, g), c, rtxStreamDirectBufCreate)), rows::inGround},
      {"direct buffer of memory", false,
       ROW_READ(rows::above(rows::readMemory(c, g, Octets(g.octets)), c, rtxStreamDirectBufCreate)),
       ROW_READ(rows::above(rows::writeMemory(c, g), c, rtxStreamDirectBufCreate)), rows::inMemory},
      {"base64", true,
       ROW_READ((g.octets = base64Text(g.octets),
                 rows::above(rows::readDribble(c, g), c, rtxStreamBase64TextAttach))),
       ROW_READ(rows::above(rows::writeDribble(c, g), c, rtxStreamBase64TextAttach)),
       ROW_WRITTEN(octetsOfBase64Text(rows::inGround(c, g)))},
      {"base64 in memory", false,
       ROW_READ(rows::above(rows::readMemory(c, g, base64Text(g.octets)), c, rtxStreamBase64TextAttach)),
       nullptr, nullptr},
      {"base64 in a file", false,
       ROW_READ(rows::above(rows::readFile(c, g, base64Text(g.octets)), c, rtxStreamBase64TextAttach)),
       ROW_READ(rows::above(rows::writeFile(c, g), c, rtxStreamBase64TextAttach)),
       ROW_WRITTEN(octetsOfBase64Text(rows::inFile(c, g)))},
      {"buffered base64", true,
       ROW_READ((g.octets = base64Text(g.octets),
                 rows::above(rows::above(rows::readDribble(c, g), c, rtxStreamBase64TextAttach), c,
                             rows::buffered))),
       nullptr, nullptr},
};

#undef ROW_READ
#undef ROW_WRITTEN

} // namespace quorva::test

#endif
