// The stream core: reading, writing, skipping, marks and positions of the attached stream.
#include "quorva/rtxStream.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>

using namespace quorva;
using namespace quorva::stream;

namespace {

/** Has the copy of what a read hands over been taken already, where it was loaded or when the copy began? */
bool captured(const RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_MEMORY) return buffersItself(stream);
   return !memoryStashed(stream) && (stream->flags & RTX_STREAM_HEX_TEXT) == 0;
}

/** Enters octets that were moved in the books of the stream, which an operation may have put in another's
 * place. */
void countMoved(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (stream->kind != RTX_STREAM_KIND_CTXT_BUF) stream->ioBytes += numocts;
   if (!captured(stream)) capture(pctxt, stream, octets, numocts);
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

/** Has all been loaded that the limit allows? */
bool atLimit(const RtxContext* pctxt) {
   return addSizes(pctxt->bufSize, pctxt->stream->bufBase) >= pctxt->stream->inputLimit;
}

/** Lets go of what the context buffer holds: its octets now lie before it. */
void dropBuffered(RtxContext* pctxt) {
   pctxt->stream->bufBase += pctxt->bufSize;
   pctxt->bufMark = allOnes;
   pctxt->bufByteIndex = 0;
   pctxt->bufSize = 0;
}

/** Past the buffer, straight into the target. */
ptrdiff_t readPastBuffer(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts) {
   dropBuffered(pctxt);
   RtxStream* stream = pctxt->stream;
   const size_t most = std::min(maxocts, stream->inputLimit - std::min(stream->inputLimit, stream->bufBase));
   const ptrdiff_t got = readDirect(pctxt, target, std::min(minocts, most), most);
   if (got > 0) pctxt->stream->bufBase += static_cast<size_t>(got);
   return got;
}

ptrdiff_t readBuffered(RtxContext* pctxt, uint8_t* target, size_t minocts, size_t maxocts) {
   size_t total = takeBuffered(pctxt, target, fitsBuffer(pctxt, minocts) ? minocts : maxocts);
   while (total < minocts) {
      uint8_t* rest = target != nullptr ? target + total : nullptr;
      const size_t wanted = maxocts - total;
      // A mark keeps its octets, and a text gives octets by groups that a target need not fit.
      const bool keeps = (pctxt->stream->flags & (RTX_STREAM_BUF_MARK | RTX_STREAM_TEXT_FILTER)) != 0;
      if (wanted > maxLoad && !keeps) {
         const ptrdiff_t got = readPastBuffer(pctxt, rest, minocts - total, wanted);
         if (got < 0) return got;
         total += static_cast<size_t>(got);
         break;
      }
      const int status = rtxStreamLoadInputBuffer(pctxt, std::min(minocts - total, maxLoad));
      if (status < 0) return status;
      const size_t taken = takeBuffered(pctxt, rest, wanted);
      total += taken;
      if (taken == 0 || !keeps || atLimit(pctxt)) break;
   }
   if (pctxt->bufByteIndex != 0 && pctxt->bufByteIndex <= pctxt->bufSize)
      pctxt->lastChar = pctxt->bufData[pctxt->bufByteIndex - 1];
   return static_cast<ptrdiff_t>(total);
}

void freeStream(RtxContext* pctxt) {
   rtxMemHeapSysFreePtr(pctxt, pctxt->stream);
   pctxt->stream = nullptr;
}

int refuse(RtxContext* pctxt, const char* what) {
   rtxErrAddStrParm(pctxt, what);
   return recordFailure(pctxt, RTX_E_UNSUPPORTED);
}

/** Is there a stream that can be marked? The failure is recorded. */
int checkMarks(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   return rtxStreamMarkSupported(pctxt) ? RTX_OK : refuse(pctxt, "stream mark/reset");
}

int recorded(RtxContext* pctxt, int status) {
   return status < 0 ? recordFailure(pctxt, status) : status;
}

} // namespace

int rtxStreamInit(RtxContext* pctxt) {
   if (pctxt->stream != nullptr) rtxStreamRelease(pctxt);
   pctxt->stream = static_cast<RtxStream*>(newRecord(pctxt, sizeof(RtxStream)));
   if (pctxt->stream == nullptr) return RTX_E_NOMEM;
   pctxt->flags &= ~RTX_CTXT_BUFFER_MODE;
   return RTX_OK;
}

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

ptrdiff_t rtxStreamReadDirect(RtxContext* pctxt, uint8_t* target, size_t numocts) {
   const RtxStream* stream = pctxt->stream;
   if (!readable(stream) || stream->read == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   const ptrdiff_t got = stream->read(pctxt->stream, target, numocts);
   if (got < 0) return recordFailure(pctxt, static_cast<int>(got));
   if (got > 0) countMoved(pctxt, target, static_cast<size_t>(got));
   return got;
}

int rtxStreamWrite(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream) || stream->write == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (octets == nullptr && pctxt->bufData != nullptr) octets = pctxt->bufData + pctxt->bufByteIndex;
   // The layers of these kinds gather, and count what goes on; others are done with the octets, and may have
   // moved the buffer that they lay in.
   const bool gathers = buffersItself(stream);
   const size_t copied = stream->capture != nullptr ? stream->capture->usedCount : 0;
   if (!gathers) capture(pctxt, stream, octets, numocts);
   const int status = stream->write(stream, octets, numocts);
   if (status < 0) {
      if (!gathers && stream->capture != nullptr) stream->capture->usedCount = copied; // none has moved
      return recordFailure(pctxt, status);
   }
   stream->bufBase += static_cast<size_t>(status);
   if (!gathers) stream->ioBytes += numocts;
   return status;
}

int rtxStreamFlush(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (coreBuffers(stream) && pctxt->bufData != nullptr) {
      const int status = rtxFlushOutputBuffer(pctxt);
      if (status < 0) return status;
   }
   return stream->flush == nullptr ? RTX_OK : recorded(pctxt, stream->flush(stream));
}

int rtxStreamSkip(RtxContext* pctxt, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   if (!readable(stream)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (stream->skip == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (numocts == 0) return RTX_OK;
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
   pctxt->stream->ioBytes += numocts; // the skip may have put another stream in its place
   if (buffered) {
      dropBuffered(pctxt);
      pctxt->stream->bufBase += numocts;
   }
   return RTX_OK;
}

int rtxStreamGetIOBytes(RtxContext* pctxt, size_t* pcount) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pcount != nullptr) *pcount = pctxt->stream->ioBytes;
   return RTX_OK;
}

int rtxStreamMark(RtxContext* pctxt, size_t limit) {
   int status = checkMarks(pctxt);
   if (status < 0) return status;
   RtxStream* stream = pctxt->stream;
   if (stream->pendingPos != 0) {
      status = stream->reset(stream);
      if (status >= 0 && stream->skip != nullptr) status = stream->skip(stream, stream->pendingPos);
      if (status < 0) return recordFailure(pctxt, status);
   }
   if (coreBuffers(stream)) pctxt->bufMark = pctxt->bufByteIndex;
   status = stream->mark(stream, limit);
   if (status < 0) return recordFailure(pctxt, status);
   setFlags(stream, RTX_STREAM_MARK_SET);
   stream->pendingPos = 0;
   return RTX_OK;
}

int rtxStreamReset(RtxContext* pctxt) {
   int status = checkMarks(pctxt);
   if (status < 0) return status;
   RtxStream* stream = pctxt->stream;
   clearFlags(stream, RTX_STREAM_MARK_SET);
   const size_t index = pctxt->bufByteIndex, size = pctxt->bufSize;
   const bool buffered = coreBuffers(stream);
   if (buffered) {
      if (pctxt->bufMark <= pctxt->bufSize) { // all ones once it has left the buffer
         pctxt->bufByteIndex = pctxt->bufMark;
         return RTX_OK;
      }
      pctxt->bufByteIndex = 0;
      pctxt->bufSize = 0;
   }
   status = stream->reset(stream);
   if (status < 0) {
      if (buffered) { // it stays where it is, and what is unread would not come again
         pctxt->bufByteIndex = index;
         pctxt->bufSize = size;
      }
      return recordFailure(pctxt, status);
   }
   stream = pctxt->stream; // a layer may have given way
   stream->pendingPos = 0;
   if (buffered) clearFlags(stream, RTX_STREAM_BUF_MARK); // its octets have gone with the buffer's
   return RTX_OK;
}

int rtxStreamMarkSupported(const RtxContext* pctxt) {
   return pctxt->stream != nullptr && pctxt->stream->mark != nullptr && pctxt->stream->reset != nullptr;
}

int rtxStreamIsOpened(const RtxContext* pctxt) {
   return pctxt->stream != nullptr && (pctxt->stream->flags & directions) != 0;
}

int rtxStreamIsReadable(const RtxContext* pctxt) {
   return readable(pctxt->stream);
}

int rtxStreamIsWritable(const RtxContext* pctxt) {
   return writable(pctxt->stream);
}

int rtxiStreamGetPos(RtxContext* pctxt, RtxStream* stream, size_t* ppos) {
   if (stream == nullptr || ppos == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (stream->getPos == nullptr) return refuse(pctxt, "stream get position");
   if (stream->pendingPos != 0) {
      *ppos = stream->pendingPos;
      return RTX_OK;
   }
   return recorded(pctxt, stream->getPos(stream, ppos));
}

int rtxiStreamSetPos(RtxContext* pctxt, RtxStream* stream, size_t pos) {
   if (stream == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (stream->setPos == nullptr) return refuse(pctxt, "stream set position");
   if (stream->pendingPos != 0) {
      stream->pendingPos = pos;
      return RTX_OK;
   }
   return recorded(pctxt, stream->setPos(stream, pos));
}

int rtxStreamGetPos(RtxContext* pctxt, size_t* ppos) {
   return rtxiStreamGetPos(pctxt, pctxt->stream, ppos);
}

int rtxStreamSetPos(RtxContext* pctxt, size_t pos) {
   return rtxiStreamSetPos(pctxt, pctxt->stream, pos);
}

void rtxStreamSetCapture(RtxContext* pctxt, RtxMemBuf* buffer) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr) return;
   stream->capture = buffer;
   // What a memory or a layer holds already will not pass through a read again. A writer's buffer is room.
   if (!readable(stream) || !captured(stream) || pctxt->bufData == nullptr) return;
   const size_t from = stream->kind == RTX_STREAM_KIND_DIRECT_BUF ? pctxt->bufByteIndex : 0;
   if (from < pctxt->bufSize) capture(pctxt, stream, pctxt->bufData + from, pctxt->bufSize - from);
}

RtxMemBuf* rtxStreamGetCapture(const RtxContext* pctxt) {
   return pctxt->stream != nullptr ? pctxt->stream->capture : nullptr;
}

int rtxStreamInitCtxtBuf(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pctxt->bufData != nullptr) {
      rtxErrAddStrParm(pctxt, "context buffer pointer already set");
      return recordFailure(pctxt, RTX_E_CANNOT_DO);
   }
   if (buffersItself(stream)) return refuse(pctxt, "init context buffer on already buffered stream");
   setFlags(stream, RTX_STREAM_CTXT_BUF);
   const int status = rtxInitContextBuffer(pctxt, nullptr, 1024);
   if (status < 0) return status;
   if (readable(stream)) {
      pctxt->bufSize = 0;
      pctxt->bufMark = allOnes;
      stream->inputLimit = allOnes;
   }
   stream->ctxtBufSize = 1024;
   return RTX_OK;
}

int rtxStreamRemoveCtxtBuf(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr || !hasContextBuffer(stream)) return RTX_OK;
   clearFlags(stream, RTX_STREAM_CTXT_BUF);
   if (!pctxt->bufDynamic) return RTX_OK;
   dropBuffer(pctxt);
   stream->ctxtBufSize = 0;
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
   // A layer may have given way to the stream below it, which it has closed.
   if (pctxt->bufData != nullptr) dropBuffer(pctxt);
   if (pctxt->stream != nullptr) freeStream(pctxt);
   if (flushed < 0) return recordFailure(pctxt, flushed);
   return closed < 0 ? recordFailure(pctxt, closed) : RTX_OK;
}

int rtxStreamRelease(RtxContext* pctxt) {
   if (pctxt->stream == nullptr) return RTX_OK;
   if (rtxStreamIsOpened(pctxt)) {
      rtxStreamClose(pctxt);
      return RTX_OK;
   }
   // A layer above a record that neither reads nor writes still has that record.
   RtxStream* stream = pctxt->stream;
   const bool layer = buffersItself(stream) || (stream->flags & RTX_STREAM_TEXT_FILTER) != 0;
   if (hasContextBuffer(stream)) dropBuffer(pctxt);
   if (layer && stream->extra != nullptr && stream->close != nullptr) stream->close(stream);
   if (pctxt->stream != nullptr) freeStream(pctxt);
   return RTX_OK;
}
