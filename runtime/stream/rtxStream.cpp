// The stream core: reading, writing and skipping through the attached stream and its context buffer.
#include "quorva/rtxStream.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxBuffer.h"
#include "runtime/core/rtxInline.h"

#include <algorithm>
#include <cstring>

using namespace quorva;

namespace {

constexpr size_t allOnes = static_cast<size_t>(-1);

bool readable(const RtxStream* stream) {
   return stream != nullptr && (stream->flags & RTX_STREAM_READ);
}
bool writable(const RtxStream* stream) {
   return stream != nullptr && (stream->flags & RTX_STREAM_WRITE);
}

/** Enters octets that were moved in the stream's books. */
void countMoved(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (stream->kind != RTX_STREAM_KIND_CTXT_BUF) stream->ioBytes += numocts;
   if (stream->capture == nullptr || numocts == 0) return;
   const int status = rtxMemBufAppend(stream->capture, octets, numocts);
   if (status < 0) recordFailure(pctxt, status); // does not stop the move
}

/** Reads from the source until the minimum is met. With a null target the octets are dropped. */
ptrdiff_t readDirect(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts) {
   if (minocts > maxocts) return recordNewFailure(pctxt, RTX_E_BUFFER_FULL);
   uint8_t dropped[512];
   size_t total = 0;
   while (total < minocts) {
      const size_t room = maxocts - total;
      uint8_t* to = target != nullptr ? target + total : dropped;
      const ptrdiff_t got =
            pctxt->stream->read(pctxt->stream, to, target != nullptr ? room : std::min(room, sizeof dropped));
      if (got < 0) return recordFailure(pctxt, static_cast<int>(got));
      if (got == 0) break;
      countMoved(pctxt, to, static_cast<size_t>(got));
      total += static_cast<size_t>(got);
   }
   return static_cast<ptrdiff_t>(total);
}

/** Copies from the context buffer, up to `maxocts`. Returns the number of octets. */
size_t takeBuffered(RtxContext* pctxt, uint8_t* target, size_t maxocts) {
   const size_t run = std::min(maxocts, octetsAtHand(pctxt));
   if (run == 0) return 0;
   if (target != nullptr) copyOctets(target, pctxt->bufData + pctxt->bufByteIndex, run);
   pctxt->bufByteIndex += run;
   return run;
}

/** Lets go of what the context buffer holds: its octets now lie before it. */
void dropBuffered(RtxContext* pctxt) {
   pctxt->stream->bufBase += pctxt->bufSize;
   pctxt->bufMark = allOnes;
   pctxt->bufByteIndex = 0;
   pctxt->bufSize = 0;
}

ptrdiff_t readBuffered(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts) {
   size_t total = takeBuffered(pctxt, target, fitsBuffer(pctxt, minocts) ? minocts : maxocts);
   if (total < minocts) {
      uint8_t* rest = target != nullptr ? target + total : nullptr;
      const size_t wanted = maxocts - total;
      if (wanted <= maxLoad || (pctxt->stream->flags & RTX_STREAM_BUF_MARK)) { // a mark keeps its octets
         const int status = rtxStreamLoadInputBuffer(pctxt, minocts - total);
         if (status < 0) return status;
         total += takeBuffered(pctxt, rest, wanted);
      } else {
         dropBuffered(pctxt);
         const ptrdiff_t got = readDirect(pctxt, rest, minocts - total, wanted);
         if (got < 0) return got;
         pctxt->stream->bufBase += static_cast<size_t>(got);
         total += static_cast<size_t>(got);
      }
   }
   if (pctxt->bufByteIndex != 0) pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex - 1];
   return static_cast<ptrdiff_t>(total);
}

/** Moves the octets from `from` on to the start of the buffer. */
void shiftBuffer(RtxContext* pctxt, size_t from) {
   if (from == 0) return;
   if (pctxt->bufSize > from) std::memmove(pctxt->bufData, pctxt->bufData + from, pctxt->bufSize - from);
   pctxt->bufSize = pctxt->bufSize > from ? pctxt->bufSize - from : 0;
   pctxt->bufByteIndex -= from;
}

/** Brings the capacity of the context buffer up to `need`. */
int growCtxtBuf(RtxContext* pctxt, size_t need, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (need <= stream->ctxtBufSize) return RTX_OK;
   if (!pctxt->bufDynamic) return recordFailure(pctxt, RTX_E_BUFFER_FULL);
   const size_t loaded = pctxt->bufSize;
   const size_t capacity = addSizes(stream->ctxtBufSize, std::max(stream->ctxtBufSize, numocts));
   const int status = resizeBuffer(pctxt, std::max(capacity, need));
   if (status < 0) return status;
   stream->ctxtBufSize = pctxt->bufSize;
   pctxt->bufSize = loaded; // what is valid, in an input buffer
   return RTX_OK;
}

void freeStream(RtxContext* pctxt) {
   rtxMemHeapSysFreePtr(pctxt, pctxt->stream);
   pctxt->stream = nullptr;
}

} // namespace

ptrdiff_t rtxStreamRead2(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts) {
   const RtxStream* stream = pctxt->stream;
   if (!readable(stream) || stream->read == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (maxocts == 0) return 0;
   if (minocts > maxocts) return recordNewFailure(pctxt, RTX_E_BUFFER_FULL);
   return coreBuffers(stream) ? readBuffered(pctxt, target, minocts, maxocts)
                              : readDirect(pctxt, target, minocts, maxocts);
}

ptrdiff_t rtxStreamRead(RtxContext* pctxt, uint8_t* target, size_t numocts) {
   return rtxStreamRead2(pctxt, target, numocts, numocts);
}

int rtxStreamWrite(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream) || stream->write == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (octets == nullptr && pctxt->bufData != nullptr) octets = pctxt->bufData + pctxt->bufByteIndex;
   const int status = stream->write(stream, octets, numocts);
   if (status < 0) return recordFailure(pctxt, status);
   stream->bufBase += static_cast<size_t>(status);
   stream->ioBytes += numocts;
   if (stream->capture != nullptr && numocts != 0) {
      const int appended = rtxMemBufAppend(stream->capture, octets, numocts);
      if (appended < 0) recordFailure(pctxt, appended);
   }
   return status;
}

int rtxStreamFlush(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (coreBuffers(stream) && pctxt->bufData != nullptr) {
      const int status = rtxFlushOutputBuffer(pctxt);
      if (status < 0) return status;
   }
   if (stream->flush == nullptr) return RTX_OK;
   const int status = stream->flush(stream);
   return status < 0 ? recordFailure(pctxt, status) : status;
}

int rtxStreamSkip(RtxContext* pctxt, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (!readable(stream)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (stream->skip == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   const bool buffered = coreBuffers(stream);
   if (buffered) {
      const size_t taken = takeBuffered(pctxt, nullptr, numocts);
      stream->ioBytes += taken;
      numocts -= taken;
      if (numocts == 0) return RTX_OK;
      if (stream->flags & RTX_STREAM_BUF_MARK) { // the octets behind the mark have to be kept
         const ptrdiff_t got = rtxStreamRead(pctxt, nullptr, numocts);
         if (got < 0) return static_cast<int>(got);
         return static_cast<size_t>(got) == numocts ? RTX_OK : recordFailure(pctxt, RTX_E_END_OF_STREAM);
      }
   }
   const int status = stream->skip(stream, numocts);
   if (status < 0) return recordFailure(pctxt, status);
   stream->ioBytes += numocts;
   if (buffered) {
      dropBuffered(pctxt);
      stream->bufBase += numocts;
   }
   return RTX_OK;
}

int rtxStreamGetIOBytes(RtxContext* pctxt, size_t* pcount) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pcount != nullptr) *pcount = pctxt->stream->ioBytes;
   return RTX_OK;
}

void rtxStreamSetCapture(RtxContext* pctxt, RtxMemBuf* capture) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr) return;
   stream->capture = capture;
   // What a memory holds already will not pass through a read.
   const bool inMemory = stream->kind == RTX_STREAM_KIND_MEMORY || stream->kind == RTX_STREAM_KIND_CTXT_BUF;
   if (capture == nullptr || !inMemory || pctxt->bufData == nullptr || pctxt->bufSize == 0) return;
   const int status = rtxMemBufAppend(capture, pctxt->bufData, pctxt->bufSize);
   if (status < 0) recordFailure(pctxt, status);
}

RtxMemBuf* rtxStreamGetCapture(RtxContext* pctxt) {
   return pctxt->stream != nullptr ? pctxt->stream->capture : nullptr;
}

int rtxStreamInitCtxtBuf(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pctxt->bufData != nullptr) {
      rtxErrAddStrParm(pctxt, "context buffer pointer already set");
      return recordFailure(pctxt, RTX_E_CANNOT_DO);
   }
   if (stream->kind == RTX_STREAM_KIND_DIRECT_BUF || stream->kind == RTX_STREAM_KIND_CTXT_BUF) {
      rtxErrAddStrParm(pctxt, "init context buffer on already buffered stream");
      return recordFailure(pctxt, RTX_E_UNSUPPORTED);
   }
   stream->flags |= RTX_STREAM_CTXT_BUF;
   const int status = rtxInitContextBuffer(pctxt, nullptr, 1024);
   if (status < 0) return status;
   if (readable(stream)) {
      pctxt->bufSize = 0;
      stream->inputLimit = allOnes;
   }
   stream->ctxtBufSize = 1024;
   return RTX_OK;
}

int rtxStreamLoadInputBuffer(RtxContext* pctxt, size_t numocts) {
   if (pctxt == nullptr) return RTX_E_BAD_ARGUMENT;
   RtxStream* stream = pctxt->stream;
   if (!readable(stream) || stream->read == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pctxt->bufData == nullptr) {
      const int status = rtxStreamInitCtxtBuf(pctxt);
      if (status < 0) return status;
   }
   if (addSizes(pctxt->bufSize, stream->bufBase) == stream->inputLimit)
      return recordFailure(pctxt, RTX_E_END_OF_DATA);
   size_t need = addSizes(pctxt->bufByteIndex, numocts);
   if (need > stream->ctxtBufSize) {
      if (stream->flags & RTX_STREAM_BUF_MARK) {
         shiftBuffer(pctxt, stream->bufMarkBase); // `bufBase` deliberately stays
         stream->bufMarkBase = 0;
         need = addSizes(pctxt->bufByteIndex, numocts);
      } else {
         stream->bufBase += pctxt->bufByteIndex;
         shiftBuffer(pctxt, pctxt->bufByteIndex);
         pctxt->bufMark = allOnes;
         need = numocts;
      }
      const int status = growCtxtBuf(pctxt, need, numocts);
      if (status < 0) return status;
   }
   if (need > pctxt->bufSize) {
      const ptrdiff_t got = readDirect(pctxt, pctxt->bufData + pctxt->bufSize, need - pctxt->bufSize,
                                       stream->ctxtBufSize - pctxt->bufSize);
      if (got < 0) return static_cast<int>(got);
      pctxt->bufSize += static_cast<size_t>(got);
   }
   if (addSizes(pctxt->bufSize, stream->bufBase) > stream->inputLimit)
      pctxt->bufSize = stream->inputLimit - std::min(stream->inputLimit, stream->bufBase);
   return RTX_OK;
}

int rtxStreamClose(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr) return RTX_OK;
   if (stream->close == nullptr) {
      freeStream(pctxt);
      return RTX_OK;
   }
   const bool output = writable(stream);
   if (!output && !readable(stream)) return recordFailure(pctxt, RTX_E_NOT_INIT);
   int flushed = RTX_OK;
   if (output) {
      if (pctxt->bufData != nullptr && !hot::octetAligned(pctxt)) {
         ++pctxt->bufByteIndex;
         pctxt->bufBitsLeft = 8;
      }
      flushed = rtxStreamFlush(pctxt);
   }
   const int closed = stream->close(stream);
   stream = pctxt->stream; // a layer may have given way to the stream below it
   if (pctxt->bufData != nullptr) {
      if (pctxt->bufDynamic && (pctxt->flags & RTX_CTXT_SYS_BUFFER)) {
         rtxMemHeapSysFreePtr(pctxt, pctxt->bufData);
         pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
      }
      pctxt->bufData = nullptr;
      pctxt->bufByteIndex = 0;
      pctxt->bufSize = 0;
      pctxt->bufBitsLeft = 8;
   }
   if (stream != nullptr) freeStream(pctxt);
   if (flushed < 0) return recordFailure(pctxt, flushed);
   return closed < 0 ? recordFailure(pctxt, closed) : RTX_OK;
}

int rtxStreamRelease(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return RTX_OK;
   if (pctxt->stream->flags & (RTX_STREAM_READ | RTX_STREAM_WRITE))
      rtxStreamClose(pctxt);
   else
      freeStream(pctxt);
   return RTX_OK;
}
