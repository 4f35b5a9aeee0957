// Reading bits and octets at the cursor.
#include "quorva/rtxBits.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/core/rtxInline.h"

#include <algorithm>
#include <type_traits>

using namespace quorva;

namespace {

template <typename T>
int store(T* pvalue, T value) {
   if (pvalue != nullptr) *pvalue = value;
   return RTX_OK;
}

uint64_t loadBigEndian(const uint8_t* octets) {
   uint64_t word = 0;
   for (int i = 0; i < 8; ++i) word = word << 8 | octets[i];
   return word;
}

/** Reads a right-aligned value. One check of the bounds comes before anything moves. */
template <typename T>
int decodeRight(RtxContext* pctxt, T* pvalue, size_t nbits) {
   if (nbits == 0) return store(pvalue, T{0});
   if (nbits > sizeof(T) * 8) return recordFailure(pctxt, RTX_E_OVERFLOW);
   const auto passed = static_cast<size_t>(8 - pctxt->bufBitsLeft);
   const size_t end = passed + nbits;
   if (end <= 64 && octetsAtHand(pctxt) >= 8) { // the field lies in one word
      const uint64_t word = loadBigEndian(pctxt->bufData + pctxt->bufByteIndex) << passed;
      pctxt->bufByteIndex += end / 8;
      pctxt->bufBitsLeft = static_cast<int16_t>(8 - end % 8);
      return store(pvalue, static_cast<T>(word >> (64 - nbits)));
   }
   const size_t octets = (end + 7) / 8;
   if (octets > octetsAtHand(pctxt)) {
      const int status = rtxCheckInputBuffer(pctxt, octets);
      if (status < 0) return status;
   }
   const uint8_t* data = pctxt->bufData + pctxt->bufByteIndex; // loading may have moved the data
   uint64_t value = *data & (0xFFu >> passed);
   size_t have = 8 - passed;
   if (nbits < have) {
      value >>= have - nbits;
   } else {
      for (; nbits - have >= 8; have += 8) value = value << 8 | *++data;
      if (const size_t rest = nbits - have) value = value << rest | *++data >> (8 - rest);
   }
   pctxt->bufByteIndex += end / 8;
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - end % 8);
   return store(pvalue, static_cast<T>(value));
}

/** Octets that the bit string reader asks for at a time. */
int loadOctets(RtxContext* pctxt, size_t numocts) {
   return rtxCheckInputBuffer(pctxt, std::min(numocts, maxLoad));
}

/** Mask of the high `nbits` of an octet. */
unsigned highMask(size_t nbits) {
   return 0xFF00u >> nbits & 0xFFu;
}

/** The bit string reader for a cursor inside an octet: every octet comes from two. */
int decodeShifted(RtxContext* pctxt, uint8_t* buf, size_t nbits) {
   const auto left = static_cast<unsigned>(pctxt->bufBitsLeft);
   size_t whole = nbits / 8;
   const auto tail = static_cast<unsigned>(nbits % 8);
   if (octetsAtHand(pctxt) < 2) {
      const int status = loadOctets(pctxt, whole + 1);
      if (status < 0) return status;
   }
   while (whole != 0) {
      if (octetsAtHand(pctxt) < 2) {
         const int status = loadOctets(pctxt, whole + 1);
         if (status < 0) return status;
      }
      const size_t run = std::min(whole, octetsAtHand(pctxt) - 1);
      const uint8_t* data = pctxt->bufData + pctxt->bufByteIndex;
      unsigned carried = data[0];
      for (size_t i = 0; i < run; ++i) {
         const unsigned next = data[i + 1];
         buf[i] = static_cast<uint8_t>(carried << (8 - left) | next >> left);
         carried = next;
      }
      buf += run;
      whole -= run;
      pctxt->bufByteIndex += run;
   }
   if (tail == 0) return RTX_OK;
   if (tail > left && octetsAtHand(pctxt) < 2) {
      const int status = rtxCheckInputBuffer(pctxt, 2);
      if (status < 0) return status;
   }
   const uint8_t* data = pctxt->bufData + pctxt->bufByteIndex;
   unsigned last = static_cast<unsigned>(data[0]) << (8 - left);
   if (tail > left) last |= data[1] >> left;
   *buf = static_cast<uint8_t>(last & highMask(tail));
   const unsigned end = 8 - left + tail;
   pctxt->bufByteIndex += end / 8;
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - end % 8);
   return RTX_OK;
}

/** Copies what the buffer holds, up to `numocts` octets. Returns their number. */
size_t takeOctets(RtxContext* pctxt, uint8_t* target, size_t numocts) {
   const size_t run = std::min(numocts, octetsAtHand(pctxt));
   if (run == 0) return 0;
   if (target != nullptr) copyOctets(target, pctxt->bufData + pctxt->bufByteIndex, run);
   pctxt->bufByteIndex += run;
   return run;
}

int decodeAligned(RtxContext* pctxt, uint8_t* buf, size_t nbits) {
   size_t whole = nbits / 8;
   const size_t tail = nbits % 8;
   const size_t taken = takeOctets(pctxt, buf, whole);
   buf += taken;
   whole -= taken;
   if (whole != 0) {
      if (!hot::streamActive(pctxt)) return recordFailure(pctxt, RTX_E_END_OF_DATA);
      if (whole <= maxLoad) {
         const int status = rtxCheckInputBuffer(pctxt, whole);
         if (status < 0) return status;
         takeOctets(pctxt, buf, whole);
         buf += whole;
      } else {
         while (whole != 0) { // past the buffer; the stream counts its position itself
            const ptrdiff_t got = rtxStreamRead(pctxt, buf, whole);
            if (got < 0) return static_cast<int>(got);
            if (got == 0) return recordFailure(pctxt, RTX_E_END_OF_STREAM);
            buf += got;
            whole -= static_cast<size_t>(got);
         }
      }
   }
   if (tail == 0) return RTX_OK;
   if (octetsAtHand(pctxt) == 0) {
      const int status = rtxCheckInputBuffer(pctxt, 1);
      if (status < 0) return status;
   }
   *buf = static_cast<uint8_t>(pctxt->bufData[pctxt->bufByteIndex] & highMask(tail));
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - tail);
   return RTX_OK;
}

/** Reads the octets of an integer, wherever the cursor stands in its octet. */
int readIntegerOctets(RtxContext* pctxt, uint8_t* octets, size_t numocts) {
   return hot::octetAligned(pctxt) ? rtxReadBytes(pctxt, octets, numocts)
                                   : rtxDecBitsToByteArray(pctxt, octets, numocts, numocts * 8);
}

/** Consumes octets that no target can hold, as the reader of fewer would. */
int passIntegerOctets(RtxContext* pctxt, size_t numocts) {
   const int status =
         hot::octetAligned(pctxt) ? rtxReadBytes(pctxt, nullptr, numocts) : rtxSkipBytes(pctxt, numocts);
   return status < 0 ? status : recordFailure(pctxt, RTX_E_OVERFLOW);
}

template <typename T>
int decodeInteger(RtxContext* pctxt, T* pvalue, size_t numocts) {
   // An unsigned number may have one octet more, if that is 0.
   constexpr size_t most = sizeof(T) + (std::is_unsigned_v<T> ? 1 : 0);
   if (numocts > most) return passIntegerOctets(pctxt, numocts);
   uint8_t octets[most] = {};
   const int status = readIntegerOctets(pctxt, octets, numocts);
   if (status < 0) return status;
   if (numocts > sizeof(T) && octets[0] != 0) return recordFailure(pctxt, RTX_E_OVERFLOW);
   uint64_t value = std::is_signed_v<T> && octets[0] >= 0x80 ? ~uint64_t{0} : 0;
   for (size_t i = 0; i < numocts; ++i) value = value << 8 | octets[i];
   return store(pvalue, static_cast<T>(value));
}

/** A read that gave fewer octets than it had to, or failed. */
int shortRead(RtxContext* pctxt, ptrdiff_t got) {
   return got < 0 ? static_cast<int>(got) : recordNewFailure(pctxt, RTX_E_END_OF_STREAM);
}

} // namespace

namespace quorva::hot {

int decBitsSlow(RtxContext* pctxt, uint32_t* pvalue, size_t nbits) {
   return decodeRight(pctxt, pvalue, nbits);
}

int decBitSlow(RtxContext* pctxt, uint8_t* pvalue) {
   return decodeRight(pctxt, pvalue, 1);
}

int decBitsToByteSlow(RtxContext* pctxt, uint8_t* pvalue, size_t nbits) {
   if (nbits > 8) return recordFailure(pctxt, RTX_E_OVERFLOW);
   // With no target this is a move, which a failure does not undo.
   if (pvalue == nullptr) return rtxMoveBitCursor(pctxt, static_cast<int32_t>(nbits));
   return decodeRight(pctxt, pvalue, nbits);
}

} // namespace quorva::hot

int rtxDecBit(RtxContext* pctxt, uint8_t* pvalue) {
   return hot::decBit(pctxt, pvalue);
}

int rtxDecBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits) {
   return hot::decBits(pctxt, pvalue, nbits);
}

int rtxDecBitsToByte(RtxContext* pctxt, uint8_t* pvalue, uint8_t nbits) {
   return hot::decBitsToByte(pctxt, pvalue, nbits);
}

int rtxDecBitsToUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t nbits) {
   return decodeRight(pctxt, pvalue, nbits);
}

int rtxDecBitsToUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t nbits) {
   return decodeRight(pctxt, pvalue, nbits);
}

int rtxDecBitsToSize(RtxContext* pctxt, size_t* pvalue, size_t nbits) {
   return decodeRight(pctxt, pvalue, nbits);
}

int rtxDecBitsToByteArray(RtxContext* pctxt, uint8_t* buf, size_t bufsiz, size_t nbits) {
   if (nbits == 0) return RTX_OK;
   if (buf == nullptr) {
      if (nbits > INT32_MAX) { // more than a move takes
         const int status = rtxSkipBytes(pctxt, nbits / 8);
         if (status < 0) return status;
         nbits %= 8;
      }
      return rtxMoveBitCursor(pctxt, static_cast<int32_t>(nbits));
   }
   if (nbits / 8 + (nbits % 8 != 0) > bufsiz) return recordFailure(pctxt, RTX_E_TOO_SMALL);
   return pctxt->bufBitsLeft == 8 ? decodeAligned(pctxt, buf, nbits) : decodeShifted(pctxt, buf, nbits);
}

int rtxPeekBit(RtxContext* pctxt, uint8_t* pvalue) {
   const int status = hot::decBit(pctxt, pvalue);
   return status < 0 ? status : rtxMoveBitCursor(pctxt, -1);
}

int rtxPeekBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits) {
   size_t pos;
   int status = rtxCtxtMarkBitPos(pctxt, &pos);
   if (status < 0) return recordFailure(pctxt, status);
   status = hot::decBits(pctxt, pvalue, nbits);
   return status < 0 ? status : rtxCtxtResetToBitPos(pctxt, pos);
}

namespace {

int moveInStream(RtxContext* pctxt, int32_t nbits) {
   if (nbits < 0) { // not beyond the buffer
      const size_t back = static_cast<size_t>(-static_cast<int64_t>(nbits));
      const size_t pos = pctxt->bufByteIndex * 8 + 8 - static_cast<size_t>(pctxt->bufBitsLeft);
      if (back > pos) return recordFailure(pctxt, RTX_E_END_OF_DATA);
      pctxt->bufByteIndex = (pos - back) / 8;
      pctxt->bufBitsLeft = static_cast<int16_t>(8 - (pos - back) % 8);
      return RTX_OK;
   }
   if (nbits >= pctxt->bufBitsLeft) {
      if (pctxt->bufBitsLeft < 8) {
         nbits -= pctxt->bufBitsLeft;
         ++pctxt->bufByteIndex;
         pctxt->bufBitsLeft = 8;
      }
      if (nbits >= 8) {
         const int status = rtxStreamSkip(pctxt, static_cast<size_t>(nbits) / 8);
         if (status < 0) return status;
      }
      nbits %= 8;
   }
   if (nbits == 0) return RTX_OK;
   if (octetsAtHand(pctxt) == 0) {
      const int status = rtxCheckInputBuffer(pctxt, 1);
      if (status < 0) return status;
   }
   pctxt->bufBitsLeft = static_cast<int16_t>(pctxt->bufBitsLeft - nbits);
   return RTX_OK;
}

/** A cursor that was moved may stand at the end of the buffer, but not beyond it. */
int checkMoved(RtxContext* pctxt) {
   const bool beyond = pctxt->bufByteIndex > pctxt->bufSize ||
                       (pctxt->bufByteIndex == pctxt->bufSize && pctxt->bufBitsLeft < 8);
   return beyond ? recordFailure(pctxt, RTX_E_END_OF_DATA) : RTX_OK;
}

} // namespace

int rtxMoveBitCursor(RtxContext* pctxt, int32_t nbits) {
   if (hot::streamActive(pctxt)) return moveInStream(pctxt, nbits);
   const size_t pos = pctxt->bufByteIndex * 8 + 8 - static_cast<size_t>(pctxt->bufBitsLeft);
   if (nbits < 0 && static_cast<size_t>(-static_cast<int64_t>(nbits)) > pos)
      return recordFailure(pctxt, RTX_E_END_OF_DATA);
   const size_t target = pos + static_cast<size_t>(static_cast<int64_t>(nbits));
   pctxt->bufByteIndex = target / 8;
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - target % 8);
   return checkMoved(pctxt);
}

int rtxSkipBits(RtxContext* pctxt, uint32_t nbits) {
   return rtxMoveBitCursor(pctxt, static_cast<int32_t>(nbits));
}

int rtxSkipBytes(RtxContext* pctxt, size_t numocts) {
   if (numocts == 0) return RTX_OK;
   if (!hot::streamActive(pctxt)) {
      pctxt->bufByteIndex = addSizes(pctxt->bufByteIndex, numocts);
      return checkMoved(pctxt);
   }
   const int status = rtxStreamSkip(pctxt, numocts);
   if (status < 0) return status;
   // The octet under the cursor has to be there.
   if (!hot::octetAligned(pctxt) && octetsAtHand(pctxt) == 0) return rtxCheckInputBuffer(pctxt, 1);
   return RTX_OK;
}

int rtxReadBytes(RtxContext* pctxt, uint8_t* target, size_t numocts) {
   if (numocts == 0) return RTX_OK;
   const bool stream = hot::streamActive(pctxt);
   const bool fits = fitsBuffer(pctxt, numocts);
   if (!stream && !fits) return recordFailure(pctxt, RTX_E_END_OF_DATA);
   if (stream && (!fits || !hasContextBuffer(pctxt->stream))) {
      if (!fits && pctxt->bufData == nullptr && (pctxt->stream->flags & RTX_STREAM_TEXT_FILTER) == 0 &&
          pctxt->stream->kind != RTX_STREAM_KIND_DIRECT_BUF &&
          pctxt->stream->kind != RTX_STREAM_KIND_CTXT_BUF) {
         const int status = rtxStreamInitCtxtBuf(pctxt); // the first read of a stream
         if (status < 0) return status;
      }
      const ptrdiff_t got = rtxStreamRead(pctxt, target, numocts);
      if (got < 0 || static_cast<size_t>(got) < numocts) return shortRead(pctxt, got);
      if (pctxt->bufByteIndex != 0 && pctxt->bufByteIndex <= pctxt->bufSize)
         pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex - 1];
      return RTX_OK;
   }
   takeOctets(pctxt, target, numocts);
   pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex - 1];
   return RTX_OK;
}

int rtxReadBytesSafe(RtxContext* pctxt, uint8_t* target, size_t targetSize, size_t numocts) {
   return numocts > targetSize ? RTX_E_BUFFER_FULL : rtxReadBytes(pctxt, target, numocts);
}

int rtxReadBytesDynamic(RtxContext* pctxt, uint8_t** ppdata, size_t numocts, uint8_t* pallocated) {
   *pallocated = 0;
   if (!fitsBuffer(pctxt, numocts)) {
      if (!hot::streamActive(pctxt)) return recordFailure(pctxt, RTX_E_END_OF_DATA);
      if (numocts > maxLoad) {
         auto* data = static_cast<uint8_t*>(rtxMemHeapAlloc(pctxt, numocts));
         if (data == nullptr) return recordNoMemory(pctxt);
         const int status = rtxReadBytes(pctxt, data, numocts);
         if (status < 0) {
            rtxMemHeapFreePtr(pctxt, data);
            return status;
         }
         *ppdata = data;
         *pallocated = 1;
         return RTX_OK;
      }
      const int status = rtxCheckInputBuffer(pctxt, numocts);
      if (status < 0) return status;
   }
   *ppdata = pctxt->bufData != nullptr ? pctxt->bufData + pctxt->bufByteIndex : nullptr;
   pctxt->bufByteIndex += numocts;
   return RTX_OK;
}

namespace {

/** Refills the buffer of an active stream so that `numocts` octets are at hand, if they exist. */
int refill(RtxContext* pctxt, size_t numocts) {
   if (octetsAtHand(pctxt) >= numocts || !hot::streamActive(pctxt)) return RTX_OK;
   if (!hasContextBuffer(pctxt->stream) && pctxt->bufData != nullptr) return RTX_OK;
   const int status = rtxStreamLoadInputBuffer(pctxt, numocts);
   return status < 0 ? recordFailure(pctxt, status) : RTX_OK;
}

} // namespace

int rtxPeekByte(RtxContext* pctxt, uint8_t* pvalue) {
   const int status = refill(pctxt, 1);
   if (status < 0) return status;
   if (octetsAtHand(pctxt) == 0) return 0;
   store(pvalue, pctxt->bufData[pctxt->bufByteIndex]);
   return 1;
}

int rtxPeekBytes(RtxContext* pctxt, uint8_t* target, size_t targetSize, size_t numocts, size_t* pgot) {
   const size_t want = std::min(numocts, targetSize);
   store(pgot, size_t{0});
   const int status = refill(pctxt, want);
   if (status < 0) return status;
   const size_t got = std::min(want, octetsAtHand(pctxt));
   if (got != 0 && target != nullptr) copyOctets(target, pctxt->bufData + pctxt->bufByteIndex, got);
   return store(pgot, got);
}

int rtxDecInt8(RtxContext* pctxt, int8_t* pvalue) {
   return pvalue == nullptr ? rtxSkipBytes(pctxt, 1) : decodeInteger(pctxt, pvalue, 1);
}

int rtxDecInt16(RtxContext* pctxt, int16_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}

int rtxDecInt32(RtxContext* pctxt, int32_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}

int rtxDecInt64(RtxContext* pctxt, int64_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}

int rtxDecUInt8(RtxContext* pctxt, uint8_t* pvalue) {
   return decodeInteger(pctxt, pvalue, 1);
}

int rtxDecUInt16(RtxContext* pctxt, uint16_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}

int rtxDecUInt32(RtxContext* pctxt, uint32_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}

int rtxDecUInt64(RtxContext* pctxt, uint64_t* pvalue, size_t numocts) {
   return decodeInteger(pctxt, pvalue, numocts);
}
