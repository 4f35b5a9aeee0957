// Writing bits and octets at the cursor.
#include "quorva/rtxBits.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/core/rtxInline.h"

#include <algorithm>
#include <bit>

using namespace quorva;

namespace {

/** Sees to it that the current octet and the `more` ones behind it can be written. */
int makeRoom(RtxContext* pctxt, size_t more) {
   return octetsAtHand(pctxt) > more ? RTX_OK : rtxCheckOutputBuffer(pctxt, more + 1);
}

/** A memory stream has no transport: what moves in its buffer has been written. */
void countMoved(RtxContext* pctxt, size_t numocts) {
   if (activeMemoryStream(pctxt)) pctxt->stream->ioBytes += numocts;
}

/** Puts the cursor `nbits` behind the start of the current octet. */
void advanceFromOctet(RtxContext* pctxt, size_t nbits) {
   pctxt->bufByteIndex += nbits / 8;
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - nbits % 8);
}

/** Writes the low `nbits`, 1 to 64, of a value. With `merge` the bits behind the field stay, else they are
 * cleared. */
int encodeRight(RtxContext* pctxt, uint64_t value, size_t nbits, bool merge) {
   const auto passed = static_cast<size_t>(8 - pctxt->bufBitsLeft);
   const size_t end = passed + nbits;
   const int status = makeRoom(pctxt, (end - 1) / 8);
   if (status < 0) return status;
   uint8_t* octet = pctxt->bufData + pctxt->bufByteIndex; // making room may have moved the data
   unsigned kept = passed != 0 ? *octet & (0xFF00u >> passed & 0xFFu) : 0;
   for (size_t have = 8 - passed, rest = nbits;; have = 8, kept = 0, ++octet) {
      if (rest >= have) {
         rest -= have;
         *octet = static_cast<uint8_t>(kept | (value >> rest & (0xFFu >> (8 - have))));
         if (rest == 0) break;
      } else {
         const size_t behind = have - rest;
         const unsigned field = static_cast<unsigned>(value & (0xFFu >> (8 - rest))) << behind;
         if (merge) kept |= *octet & (0xFFu >> (8 - behind));
         *octet = static_cast<uint8_t>(kept | field);
         break;
      }
   }
   countMoved(pctxt, end / 8);
   advanceFromOctet(pctxt, end);
   return RTX_OK;
}

/** Octets that the aligned writer hands to the stream past the buffer; the rest goes to the buffer. */
int writeLongRun(RtxContext* pctxt, const uint8_t*& octets, size_t& nbits) {
   const size_t more = (nbits - 1) / 8;
   if (octetsAtHand(pctxt) > more) return RTX_OK;
   if (!rtxIsOutputBufferFlushable(pctxt)) return makeRoom(pctxt, more);
   int status = pctxt->bufByteIndex != 0 ? rtxFlushOutputBuffer(pctxt) : rtxCheckOutputBuffer(pctxt, 1);
   if (status < 0) return status;
   if (octetsAtHand(pctxt) > more) return RTX_OK;
   status = writeThrough(pctxt, octets, more);
   if (status < 0) return status;
   octets += more;
   nbits -= more * 8;
   return makeRoom(pctxt, 0);
}

int encodeAligned(RtxContext* pctxt, const uint8_t* octets, size_t nbits) {
   const int status = writeLongRun(pctxt, octets, nbits);
   if (status < 0) return status;
   const size_t whole = nbits / 8;
   uint8_t* target = pctxt->bufData + pctxt->bufByteIndex;
   copyOctets(target, octets, whole);
   advanceFromOctet(pctxt, nbits);
   if (pctxt->bufBitsLeft < 8)
      target[whole] = static_cast<uint8_t>(octets[whole] & 0xFFu << pctxt->bufBitsLeft);
   countMoved(pctxt, whole);
   return RTX_OK;
}

/** The writer of a bit string for a cursor inside an octet: every source octet goes to two. */
int encodeShifted(RtxContext* pctxt, const uint8_t* octets, size_t nbits) {
   const auto left = static_cast<unsigned>(pctxt->bufBitsLeft);
   const size_t end = 8 - left + nbits;
   const size_t more = (end - 1) / 8;
   const auto newLeft = static_cast<int16_t>(8 - end % 8);
   const unsigned lastMask = 0xFFu << (newLeft % 8) & 0xFFu;
   const bool flushable = rtxIsOutputBufferFlushable(pctxt) != 0;
   int status = makeRoom(pctxt, flushable ? 0 : more);
   if (status < 0) return status;
   uint8_t& current = pctxt->bufData[pctxt->bufByteIndex];
   if (more == 0) {
      current = static_cast<uint8_t>(current | (octets[0] >> (8 - left) & lastMask));
      countMoved(pctxt, end / 8);
      advanceFromOctet(pctxt, end);
      return RTX_OK;
   }
   current = static_cast<uint8_t>(current | octets[0] >> (8 - left));
   ++pctxt->bufByteIndex;
   pctxt->bufBitsLeft = 8; // nothing of an octet has to move when the buffer is written out below
   for (size_t rest = more - 1; rest != 0;) {
      if (octetsAtHand(pctxt) == 0 && (status = makeRoom(pctxt, 0)) < 0) return status;
      const size_t run = std::min(rest, octetsAtHand(pctxt));
      uint8_t* target = pctxt->bufData + pctxt->bufByteIndex;
      for (size_t i = 0; i < run; ++i)
         target[i] = static_cast<uint8_t>(octets[i] << left | octets[i + 1] >> (8 - left));
      octets += run;
      rest -= run;
      pctxt->bufByteIndex += run;
   }
   if ((status = makeRoom(pctxt, 0)) < 0) return status;
   unsigned last = static_cast<unsigned>(octets[0]) << left;
   if (left > static_cast<unsigned>(newLeft % 8)) last |= octets[1] >> (8 - left);
   pctxt->bufData[pctxt->bufByteIndex] = static_cast<uint8_t>(last & lastMask);
   pctxt->bufByteIndex += newLeft == 8;
   pctxt->bufBitsLeft = newLeft;
   countMoved(pctxt, end / 8);
   return RTX_OK;
}

/** Appends octets for which there is room. */
void appendOctets(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   if (numocts == 0) return;
   copyOctets(pctxt->bufData + pctxt->bufByteIndex, octets, numocts);
   pctxt->bufByteIndex += numocts;
}

int writeToBuffer(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   if (!fitsBuffer(pctxt, numocts)) {
      const int status = rtxCheckOutputBuffer(pctxt, numocts);
      if (status < 0) return status;
   }
   appendOctets(pctxt, octets, numocts);
   return RTX_OK;
}

/** Through the context buffer of a stream. */
int writeBuffered(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   if (!fitsBuffer(pctxt, numocts)) {
      const size_t room = octetsAtHand(pctxt);
      appendOctets(pctxt, octets, room);
      octets += room;
      numocts -= room;
      const int status = rtxCheckOutputBuffer(pctxt, pctxt->bufSize != 0 ? pctxt->bufSize : 1);
      if (status < 0) return status;
      if (!fitsBuffer(pctxt, numocts) && pctxt->bufByteIndex == 0)
         return writeThrough(pctxt, octets, numocts);
   }
   return writeToBuffer(pctxt, octets, numocts); // a mark keeps the buffer, which has to grow then
}

int writeUnbuffered(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   if (pctxt->bufData != nullptr) {
      if (!hot::octetAligned(pctxt)) ++pctxt->bufByteIndex;
      pctxt->bufBitsLeft = 8;
      const int status = rtxFlushOutputBuffer(pctxt);
      if (status < 0) return status;
   }
   return writeThrough(pctxt, octets, numocts);
}

} // namespace

namespace quorva::hot {

int encBitsSlow(RtxContext* pctxt, uint32_t value, size_t nbits) {
   if (nbits > 32) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   return nbits == 0 ? RTX_OK : encodeRight(pctxt, value, nbits, false);
}

int encBitSlow(RtxContext* pctxt, bool value) {
   const int status = makeRoom(pctxt, 0);
   return status < 0 ? status : encBit(pctxt, value);
}

} // namespace quorva::hot

int rtxEncBit(RtxContext* pctxt, uint8_t value) {
   return hot::encBit(pctxt, value != 0);
}

int rtxEncBits(RtxContext* pctxt, uint32_t value, size_t nbits) {
   return hot::encBits(pctxt, value, nbits);
}

int rtxEncBitsFromSize(RtxContext* pctxt, size_t value, size_t nbits) {
   if (nbits > 64) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   return nbits == 0 ? RTX_OK : encodeRight(pctxt, value, nbits, false);
}

int rtxMergeBits(RtxContext* pctxt, uint32_t value, int nbits) {
   if (nbits < 0 || nbits > 32) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   return nbits == 0 ? RTX_OK : encodeRight(pctxt, value, static_cast<size_t>(nbits), true);
}

int rtxEncBitsPattern(RtxContext* pctxt, uint8_t pattern, size_t nbits) {
   // The word starts in phase with the cursor, and 32 bits leave the phase as it is.
   uint32_t word = std::rotl(pattern * 0x01010101u, 8 - pctxt->bufBitsLeft);
   for (; nbits >= 32; nbits -= 32) {
      const int status = hot::encBits(pctxt, word, 32);
      if (status < 0) return status;
   }
   return hot::encBits(pctxt, std::rotl(word, static_cast<int>(nbits)), nbits);
}

int rtxEncBitsFromByteArray(RtxContext* pctxt, const uint8_t* octets, size_t nbits) {
   if (nbits == 0) return RTX_OK;
   if (octets == nullptr) [[unlikely]]
      return recordFailure(pctxt, RTX_E_NULL);
   return pctxt->bufBitsLeft == 8 ? encodeAligned(pctxt, octets, nbits) : encodeShifted(pctxt, octets, nbits);
}

int rtxCopyBits(RtxContext* pctxt, const uint8_t* octets, size_t nbits, size_t startBit) {
   if (nbits == 0) return RTX_OK;
   if (octets == nullptr) return recordFailure(pctxt, RTX_E_NULL);
   octets += startBit / 8;
   if (const size_t passed = startBit % 8) {
      const size_t have = 8 - passed;
      const size_t first = std::min(have, nbits);
      const int status = hot::encBits(pctxt, static_cast<uint32_t>(*octets) >> (have - first), first);
      if (status < 0) return status;
      ++octets;
      nbits -= first;
   }
   return rtxEncBitsFromByteArray(pctxt, octets, nbits);
}

int rtxWriteBytes(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   if (numocts == 0) return RTX_OK;
   if (octets == nullptr) [[unlikely]]
      return recordFailure(pctxt, RTX_E_NULL);
   int status;
   if (!hot::streamActive(pctxt)) {
      status = writeToBuffer(pctxt, octets, numocts);
   } else if (hasContextBuffer(pctxt->stream)) {
      status = writeBuffered(pctxt, octets, numocts);
   } else if (pctxt->stream->kind == RTX_STREAM_KIND_MEMORY &&
              (pctxt->stream->flags & RTX_STREAM_HEX_TEXT) != 0) {
      status = rtxStreamWrite(pctxt, octets, numocts); // the buffer holds text
   } else if (pctxt->stream->kind == RTX_STREAM_KIND_MEMORY) {
      status = writeToBuffer(pctxt, octets, numocts);
      if (status >= 0) countMoved(pctxt, numocts);
   } else {
      status = writeUnbuffered(pctxt, octets, numocts);
   }
   if (status >= 0) pctxt->lastChar = octets[numocts - 1];
   return status;
}

int rtxEncUInt32(RtxContext* pctxt, uint32_t value, size_t numocts) {
   if (numocts != 1 && numocts != 2 && numocts != 4) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const bool direct = pctxt->stream == nullptr && hot::octetAligned(pctxt) && fitsBuffer(pctxt, numocts);
   uint8_t local[4];
   uint8_t* octets = direct ? pctxt->bufData + pctxt->bufByteIndex : local;
   for (size_t i = 0; i < numocts; ++i) octets[i] = static_cast<uint8_t>(value >> 8 * (numocts - 1 - i));
   if (direct) {
      pctxt->bufByteIndex += numocts;
      pctxt->lastChar = static_cast<uint8_t>(value);
      return RTX_OK;
   }
   return hot::octetAligned(pctxt) ? rtxWriteBytes(pctxt, octets, numocts)
                                   : rtxEncBitsFromByteArray(pctxt, octets, numocts * 8);
}
