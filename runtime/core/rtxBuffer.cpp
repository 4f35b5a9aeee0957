// The octet buffer of a context: making it, room and growth, cursor and marks.
#include "runtime/core/rtxBuffer.h"

#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"

#include <algorithm>

using namespace quorva;

namespace quorva {

namespace hot {

size_t streamBitOffset(const RtxContext* pctxt) {
   return (pctxt->stream->bufBase + pctxt->bufByteIndex) * 8 + 8 - static_cast<size_t>(pctxt->bufBitsLeft);
}

int refuseSetBitOffset(RtxContext* pctxt) {
   rtxErrAddStrParm(pctxt, "set bit offset in stream");
   return recordFailure(pctxt, RTX_E_UNSUPPORTED);
}

} // namespace hot

int resizeBuffer(RtxContext* pctxt, size_t size) {
   if (size > static_cast<size_t>(PTRDIFF_MAX)) return recordFailure(pctxt, RTX_E_NOMEM);
   void* data = pctxt->flags & RTX_CTXT_SYS_BUFFER ? rtxMemHeapSysRealloc(pctxt, pctxt->bufData, size)
                                                   : rtxMemHeapRealloc(pctxt, pctxt->bufData, size);
   if (data == nullptr) return recordFailure(pctxt, RTX_E_NOMEM);
   pctxt->bufData = static_cast<uint8_t*>(data);
   pctxt->bufSize = size;
   return RTX_OK;
}

int writeThrough(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   const size_t base = pctxt->stream != nullptr ? pctxt->stream->bufBase : 0;
   const int status = rtxStreamWrite(pctxt, octets, numocts);
   if (status >= 0) pctxt->stream->bufBase = base + numocts;
   return status;
}

} // namespace quorva

/**
 * Another buffer takes the place of the stream's context buffer: what that has gathered is written out, what
 * it has loaded has been read. A buffer of the caller's is none of the stream's, which would fill it beyond
 * its end, or write out what the caller has in it.
 */
[[gnu::noinline]] static int leaveContextBuffer(RtxContext* pctxt, const uint8_t* data) {
   RtxStream* stream = pctxt->stream;
   if (stream->flags & RTX_STREAM_READ) {
      stream->bufBase += pctxt->bufSize;
   } else if (hot::streamActive(pctxt)) {
      pctxt->bufByteIndex += !hot::octetAligned(pctxt);
      pctxt->bufBitsLeft = 8;
      const int status = rtxFlushOutputBuffer(pctxt);
      if (status < 0) return status;
   }
   const unsigned gone = RTX_STREAM_BUF_MARK | (data != nullptr ? RTX_STREAM_CTXT_BUF : 0);
   stream->flags = static_cast<uint16_t>(stream->flags & ~gone);
   stream->ctxtBufSize = 0;
   pctxt->bufMark = static_cast<size_t>(-1);
   return RTX_OK;
}

int rtxInitContextBuffer(RtxContext* pctxt, uint8_t* data, size_t size) {
   if (rtxCheckContext(pctxt) != RTX_OK) // without a heap there is no place for a record
      return pctxt->memHeap != nullptr ? recordNewFailure(pctxt, RTX_E_NOT_INIT) : RTX_E_NOT_INIT;
   if (pctxt->stream != nullptr && pctxt->bufData != nullptr && hasContextBuffer(pctxt->stream)) {
      const int left = leaveContextBuffer(pctxt, data);
      if (left < 0) return left;
   }
   if (pctxt->bufData != nullptr && pctxt->bufDynamic && (pctxt->flags & RTX_CTXT_SYS_BUFFER)) {
      rtxMemHeapSysFreePtr(pctxt, pctxt->bufData);
      pctxt->bufData = nullptr;
      pctxt->bufSize = 0;
   }
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
   int status = RTX_OK;
   if (data != nullptr) {
      pctxt->bufData = data;
      pctxt->bufSize = size;
      pctxt->bufDynamic = 0;
   } else {
      if (size == 0) size = 1024;
      if (pctxt->stream == nullptr || hasContextBuffer(pctxt->stream)) {
         if (pctxt->stream == nullptr) {
            pctxt->bufData = static_cast<uint8_t*>(rtxMemAllocArray2(pctxt, size, 1, 0));
         } else {
            pctxt->bufData = static_cast<uint8_t*>(rtxMemHeapSysAllocZ(pctxt, size)); // input is read from it
            pctxt->flags |= RTX_CTXT_SYS_BUFFER;
            pctxt->stream->ctxtBufSize = pctxt->bufData != nullptr ? size : 0;
         }
         pctxt->bufSize = pctxt->bufData != nullptr ? size : 0;
         pctxt->bufDynamic = 1;
         if (pctxt->bufData == nullptr) status = recordFailure(pctxt, RTX_E_NOMEM);
      } else if (pctxt->bufData == nullptr) {
         // Nothing is allocated, so there is no room, but there may be.
         pctxt->bufSize = 0;
         pctxt->bufDynamic = 1;
      } // else a buffer of the stream's stays, with its size and its owner
   }
   pctxt->bufByteIndex = 0;
   pctxt->bufBitsLeft = 8;
   return status;
}

[[gnu::noinline]] static int setBuffer(RtxContext* pctxt, uint8_t* data, size_t size) {
   const int status = rtxInitContextBuffer(pctxt, data, size);
   if (status < 0) return status;
   if (RtxStream* stream = pctxt->stream) { // which has no part in a new buffer either
      stream->flags = static_cast<uint16_t>(stream->flags & ~(RTX_STREAM_CTXT_BUF | RTX_STREAM_BUF_MARK));
      stream->ctxtBufSize = 0;
   }
   pctxt->flags |= RTX_CTXT_BUFFER_MODE;
   pctxt->state = 0;
   return status;
}

int rtxCtxtSetBufPtr(RtxContext* pctxt, uint8_t* data, size_t size) {
   // The octets of the caller in a context without a buffer of its own, or a stream that may have one.
   if (data != nullptr && pctxt->magic == RTX_CTXT_MAGIC && (pctxt->flags & RTX_CTXT_SYS_BUFFER) == 0 &&
       pctxt->stream == nullptr) [[likely]] {
      pctxt->bufData = data;
      pctxt->bufSize = size;
      pctxt->bufDynamic = 0;
      pctxt->bufByteIndex = 0;
      pctxt->bufBitsLeft = 8;
      pctxt->flags |= RTX_CTXT_BUFFER_MODE;
      pctxt->state = 0;
      return RTX_OK;
   }
   return setBuffer(pctxt, data, size);
}

int rtxCheckBuffer(RtxContext* pctxt, size_t numocts) {
   if (fitsBuffer(pctxt, addSizes(numocts, !hot::octetAligned(pctxt)))) return RTX_OK;
   if (hot::streamActive(pctxt) && rtxStreamFlush(pctxt) >= 0 && fitsBuffer(pctxt, numocts)) return RTX_OK;
   if (hot::streamActive(pctxt) && (pctxt->stream->flags & RTX_STREAM_READ))
      return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (!pctxt->bufDynamic) return recordNewFailure(pctxt, RTX_E_BUFFER_FULL);
   // Grows faster than rtxExpandOutputBuffer; the cursor may stand beyond the end.
   size_t size = addSizes(addSizes(pctxt->bufSize, pctxt->bufSize), std::max(pctxt->bufSize, numocts));
   size = std::max(size, addSizes(pctxt->bufByteIndex, addSizes(numocts, 1)));
   return resizeBuffer(pctxt, size);
}

int rtxCheckOutputBuffer(RtxContext* pctxt, size_t numocts) {
   const size_t want = addSizes(numocts, !hot::octetAligned(pctxt));
   return fitsBuffer(pctxt, want) ? RTX_OK : rtxExpandOutputBuffer(pctxt, want);
}

int rtxExpandOutputBuffer(RtxContext* pctxt, size_t numocts) {
   if (hot::streamActive(pctxt)) {
      RtxStream* stream = pctxt->stream;
      // The buffer of an input stream has the size of what is in it.
      if (stream->flags & RTX_STREAM_READ) return recordFailure(pctxt, RTX_E_NOT_INIT);
      size_t need = addSizes(pctxt->bufByteIndex, numocts);
      if (stream->kind != RTX_STREAM_KIND_MEMORY) {
         if ((stream->flags & RTX_STREAM_TEXT_FILTER) == 0) {
            stream->flags |= RTX_STREAM_CTXT_BUF;
            if (pctxt->bufData == nullptr) {
               const int status = rtxInitContextBuffer(pctxt, nullptr, 1024);
               if (status < 0) return status;
               need = numocts;
            }
         }
         if ((stream->flags & RTX_STREAM_BUF_MARK) == 0) { // a mark needs what is in the buffer
            const int status = rtxFlushOutputBuffer(pctxt);
            if (status < 0) return status;
            need = numocts;
         }
      }
      if (need <= pctxt->bufSize) return RTX_OK;
   }
   if (!pctxt->bufDynamic) return recordNewFailure(pctxt, RTX_E_BUFFER_FULL);
   // What a stream gathers outlives a reset of the heap.
   if (pctxt->stream != nullptr && pctxt->bufData == nullptr) pctxt->flags |= RTX_CTXT_SYS_BUFFER;
   const size_t size = addSizes(pctxt->bufSize, std::max(pctxt->bufSize, numocts));
   // The cursor may have been set beyond the end.
   return resizeBuffer(pctxt, std::max(size, addSizes(pctxt->bufByteIndex, numocts)));
}

int rtxIsOutputBufferFlushable(const RtxContext* pctxt) {
   return hot::streamActive(pctxt) && pctxt->stream->kind != RTX_STREAM_KIND_MEMORY &&
          (pctxt->stream->flags & RTX_STREAM_BUF_MARK) == 0;
}

int rtxFlushOutputBuffer(RtxContext* pctxt) {
   // A cursor that was set beyond the end has no octets there.
   const size_t numocts = std::min(pctxt->bufByteIndex, pctxt->bufSize);
   if (numocts == 0) return RTX_OK;
   const int status = writeThrough(pctxt, pctxt->bufData, numocts);
   if (status < 0) return status;
   if (!hot::octetAligned(pctxt) && pctxt->bufByteIndex < pctxt->bufSize)
      pctxt->bufData[0] = pctxt->bufData[pctxt->bufByteIndex];
   pctxt->bufByteIndex = 0;
   return status;
}

/** Can input be loaded into a buffer? One that is not there yet is made, but for a text, which has none. */
static bool loadable(const RtxContext* pctxt) {
   const RtxStream* stream = pctxt->stream;
   if (hasContextBuffer(stream)) return true;
   return pctxt->bufData == nullptr && (stream->flags & RTX_STREAM_TEXT_FILTER) == 0 &&
          (stream->flags & RTX_STREAM_READ) != 0;
}

int rtxCheckInputBuffer(RtxContext* pctxt, size_t numocts) {
   if (fitsBuffer(pctxt, numocts)) return RTX_OK;
   int failure = RTX_E_END_OF_DATA;
   if (hot::streamActive(pctxt) && loadable(pctxt)) {
      const int status = rtxStreamLoadInputBuffer(pctxt, numocts);
      if (status < 0) return recordFailure(pctxt, status);
      failure = RTX_E_END_OF_STREAM;
   }
   return fitsBuffer(pctxt, numocts) ? RTX_OK : recordFailure(pctxt, failure);
}

size_t rtxCtxtGetBitOffset(const RtxContext* pctxt) {
   return hot::bitOffset(pctxt);
}

int rtxCtxtSetBitOffset(RtxContext* pctxt, size_t offset) {
   return hot::setBitOffset(pctxt, offset);
}

int rtxCtxtMarkBitPos(RtxContext* pctxt, size_t* ppos) {
   const size_t base = hot::streamActive(pctxt) ? pctxt->stream->bufBase : 0;
   if (addSizes(base, pctxt->bufByteIndex) > static_cast<size_t>(-1) / 8) {
      *ppos = 0;
      return RTX_E_OVERFLOW;
   }
   *ppos = hot::bitOffset(pctxt);
   return RTX_OK;
}

int rtxCtxtResetToBitPos(RtxContext* pctxt, size_t pos) {
   return hot::setBitOffset(pctxt, pos);
}

namespace {

/** Does the context buffer hold the marks? It does where there are no positions, where these count characters
 * of a text, and behind a mark that a layer above, which has given way, made there. */
bool marksInBuffer(const RtxStream* stream) {
   return coreBuffers(stream) && (stream->getPos == nullptr || stream->setPos == nullptr ||
                                  (stream->flags & (RTX_STREAM_HEX_TEXT | RTX_STREAM_BUF_MARK)) != 0);
}

int refuse(RtxContext* pctxt, const char* what) {
   rtxErrAddStrParm(pctxt, what);
   return recordFailure(pctxt, RTX_E_UNSUPPORTED);
}

int setStreamPos(RtxContext* pctxt, size_t pos) {
   RtxStream* stream = pctxt->stream;
   if (stream->setPos == nullptr) return refuse(pctxt, "stream set position");
   const int status = stream->setPos(stream, pos);
   return status < 0 ? recordFailure(pctxt, status) : status;
}

} // namespace

int rtxMarkPos(RtxContext* pctxt, size_t* ppos) {
   if (!hot::streamActive(pctxt)) {
      *ppos = pctxt->bufByteIndex;
      return RTX_OK;
   }
   RtxStream* stream = pctxt->stream;
   if (marksInBuffer(stream)) {
      if (stream->flags & RTX_STREAM_BUF_MARK) {
         *ppos = pctxt->bufByteIndex - stream->bufMarkBase;
      } else {
         stream->bufMarkBase = pctxt->bufByteIndex;
         stream->flags |= RTX_STREAM_BUF_MARK;
         *ppos = 0;
      }
      return RTX_OK;
   }
   if (stream->getPos == nullptr) return refuse(pctxt, "stream get position");
   const int status = stream->getPos(stream, ppos);
   return status < 0 ? recordFailure(pctxt, status) : status;
}

int rtxResetToPos(RtxContext* pctxt, size_t pos) {
   if (!hot::streamActive(pctxt)) {
      pctxt->bufByteIndex = pos;
      return RTX_OK;
   }
   RtxStream* stream = pctxt->stream;
   if (!coreBuffers(stream)) return setStreamPos(pctxt, pos);
   const bool text = (stream->flags & RTX_STREAM_HEX_TEXT) != 0;
   const bool beforeBuffer = text && stream->setPos != nullptr && (stream->flags & RTX_STREAM_BUF_MARK) == 0;
   if (!marksInBuffer(stream) || beforeBuffer) {
      if (!text && stream->bufBase < pos && pos - stream->bufBase <= pctxt->bufSize) {
         pctxt->bufByteIndex = pos - stream->bufBase;
         return RTX_OK;
      }
      const int status = setStreamPos(pctxt, pos);
      if (status < 0) return status;
      pctxt->bufByteIndex = 0; // so that the next read loads anew
      pctxt->bufSize = 0;
      return status;
   }
   if ((stream->flags & RTX_STREAM_BUF_MARK) == 0) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (pos == 0) stream->flags = static_cast<uint16_t>(stream->flags & ~RTX_STREAM_BUF_MARK);
   pctxt->bufByteIndex = pos + stream->bufMarkBase;
   return RTX_OK;
}

size_t rtxCtxtGetIOByteCount(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return pctxt->bufByteIndex;
   size_t count = 0;
   rtxStreamGetIOBytes(pctxt, &count);
   return count;
}
