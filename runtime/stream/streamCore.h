/**
 * @file streamCore.h
 * What the stream core, the kinds of streams and the layers share.
 */
#ifndef QUORVA_RUNTIME_STREAM_STREAMCORE_H
#define QUORVA_RUNTIME_STREAM_STREAMCORE_H

#include "quorva/rtxStream.h"
#include "runtime/core/ascii.h"
#include "runtime/core/rtxBuffer.h"

namespace quorva::stream {

/** No mark, no limit. */
inline constexpr size_t allOnes = static_cast<size_t>(-1);

/** Mark limit behind a reset: the mark does not lapse any more. */
inline constexpr size_t noMarkLimit = 0x7FFFFFFF;

inline constexpr uint16_t directions = RTX_STREAM_READ | RTX_STREAM_WRITE;

inline bool readable(const RtxStream* stream) {
   return stream != nullptr && (stream->flags & RTX_STREAM_READ);
}
inline bool writable(const RtxStream* stream) {
   return stream != nullptr && (stream->flags & RTX_STREAM_WRITE);
}

/** One direction, as each stream has. */
inline bool oneDirection(uint16_t flags) {
   return (flags & directions) == RTX_STREAM_READ || (flags & directions) == RTX_STREAM_WRITE;
}

inline void setFlags(RtxStream* stream, unsigned flags) {
   stream->flags = static_cast<uint16_t>(stream->flags | flags);
}
inline void clearFlags(RtxStream* stream, unsigned flags) {
   stream->flags = static_cast<uint16_t>(stream->flags & ~flags);
}

/** Is this the stream that an operation of `kind` in that direction was made for? */
inline bool isOf(const RtxStream* stream, uint32_t kind, uint16_t direction) {
   return stream->kind == kind && (stream->flags & direction) != 0 && stream->extra != nullptr;
}

/** What the record of each layer begins with. */
struct Layer {
   RtxContext* pctxt;
   RtxStream* inner;
};

template <class Record>
Record* recordOf(const RtxStream* stream) {
   return static_cast<Record*>(stream->extra);
}

/** A zeroed record in system memory; null, recorded with RTX_E_NOMEM, if there is none. */
void* newRecord(RtxContext* pctxt, size_t size);

/** Gives the context a closed stream record to attach to: a new one in place of an open stream. */
int makeRoomForStream(RtxContext* pctxt);

/** Takes an operation of the stream below; that of a layer that is none is a failure. */
ptrdiff_t readInner(const Layer* layer, uint8_t* target, size_t maxocts);
int writeInner(const Layer* layer, const uint8_t* octets, size_t numocts);

/** Closes the stream below, and frees its record. */
int closeInner(Layer* layer);

/** Appends octets to the copy that the stream keeps, if any. A failure is recorded and stops nothing. */
void capture(RtxContext* pctxt, const RtxStream* stream, const uint8_t* octets, size_t numocts);

/**
 * Puts a new record above the attached stream, which becomes its inner one. Octets of an input stream that
 * have been loaded and not read yet lie at the start of `bufData` then, `bufByteIndex` is 0 and `bufSize`
 * their number; a memory stream takes its data along. `size` is that of the layer's own record.
 * @return The layer's record, or null with the failure recorded and the old stream attached.
 */
Layer* pushLayer(RtxContext* pctxt, size_t size);

/**
 * Takes the layer off. What it has loaded into `bufData` and nobody has read stays there, as the context
 * buffer of the stream below; without such octets the buffer goes, unless it is to be kept.
 */
void popLayer(RtxContext* pctxt, bool keepBuffer);

/**
 * The same for a layer of its own buffer, `bufData`: kinds 5 and 6. `status` takes the failure. A buffer that
 * the stream has already is kept with its octets.
 */
Layer* pushBufferLayer(RtxContext* pctxt, uint32_t kind, size_t size, int& status);

/* Operations of the output layers of kinds 5 and 6. */
int layerFlush(RtxStream* stream);
int layerWrite(RtxStream* stream, const uint8_t* octets, size_t numocts);

/** Do its operations fill and empty `bufData`? Those of kinds 5 and 6 do. */
inline bool buffersItself(const RtxStream* stream) {
   return stream->kind == RTX_STREAM_KIND_DIRECT_BUF || stream->kind == RTX_STREAM_KIND_CTXT_BUF;
}

/** Such a layer hands everything on when its buffer has gone: to another layer above it, or to the caller. */
inline bool onTop(const RtxStream* stream) {
   return static_cast<const Layer*>(stream->extra)->pctxt->stream == stream && hasContextBuffer(stream);
}

/** Skips in the stream below. */
int skipInner(const Layer* layer, size_t numocts);

/** Moves the octets of the input buffer from `from` on to its start, with the limits of open containers. */
void shiftBuffer(RtxContext* pctxt, size_t from);

/** Brings the capacity of an input buffer up to `need`. `step` is the least growth. */
int growInput(RtxContext* pctxt, size_t need, size_t step);

/** Makes the buffer of an input stream again where rtxMemFree has taken it. */
int ensureBuffer(RtxContext* pctxt);

/** Loads so that `numocts` octets lie at the cursor, if the stream has them. Not a failure if it has not. */
int fillInput(RtxContext* pctxt, size_t numocts);

/** A buffer of the context's own, in system memory. Status recorded. */
int newSystemBuffer(RtxContext* pctxt, size_t size);

/** Frees a buffer of the context's own and clears the cursor. */
void dropBuffer(RtxContext* pctxt);

/* A memory stream keeps its data and position in its own record while `bufData` belongs to somebody else: a
 * layer above it, or its octets where the data is hexadecimal text. */
void stashMemory(RtxStream* stream);
void unstashMemory(RtxStream* stream);
bool memoryStashed(const RtxStream* stream);

/** A direct-buffer stream whose mark a read over `numocts` octets would pass lets go of it. */
void lapseMark(RtxContext* pctxt, size_t numocts);

/* Hexadecimal text. */

/**
 * Where a text of hexadecimal digits had been read to `numocts` octets before `pos`. `at` gives the character
 * at a position; `half` says that the last octet was a digit alone.
 */
template <class At>
size_t hexTextBefore(size_t pos, size_t numocts, bool half, At at) {
   size_t digits = 2 * numocts - (half && numocts != 0 ? 1 : 0);
   while (digits != 0 && pos != 0) digits -= hexDigitValue(at(--pos)) >= 0;
   return pos;
}

/** End of the text, for readers of characters. */
inline constexpr int endOfText = -1;

/**
 * Octets of two digits each, white space between any of them passed over; a last digit alone is the high half
 * of an octet, which `half` then says. `next` gives a character or endOfText, `back` puts the last `n` back.
 * @return The number of octets; RTX_E_BAD_HEX for another character, when no octet stands before it.
 */
template <class Next, class Back>
ptrdiff_t readHexText(uint8_t* target, size_t numocts, bool& half, Next next, Back back) {
   size_t count = 0;
   while (count < numocts) {
      int digits[2] = {endOfText, endOfText};
      size_t taken = 0;
      for (int& digit : digits) {
         do {
            digit = next();
            taken += digit != endOfText;
         } while (isSpace(digit));
         if (digit == endOfText) break;
         if (hexDigitValue(digit) >= 0) continue;
         back(taken); // the octet with it is read again, and refused
         return count != 0 ? static_cast<ptrdiff_t>(count) : RTX_E_BAD_HEX;
      }
      if (digits[0] == endOfText) break;
      half = digits[1] == endOfText;
      const int low = half ? 0 : hexDigitValue(digits[1]);
      target[count++] = static_cast<uint8_t>(hexDigitValue(digits[0]) << 4 | low);
   }
   return static_cast<ptrdiff_t>(count);
}

} // namespace quorva::stream

#endif
