// The context-buffer layer: `bufData` in front of a stream, filled and emptied by the layer.
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <cstring>

using namespace quorva;
using namespace quorva::stream;

namespace {

bool isOfKind(const RtxStream* stream, uint16_t direction) {
   return isOf(stream, RTX_STREAM_KIND_CTXT_BUF, direction);
}

Layer* layerOf(const RtxStream* stream) {
   return recordOf<Layer>(stream);
}

/** Reads until the count is met or the inner stream ends. */
ptrdiff_t readData(RtxStream* stream, uint8_t* octets, size_t numocts) {
   Layer* layer = layerOf(stream);
   size_t total = 0;
   while (total < numocts) {
      const ptrdiff_t got = readInner(layer, octets + total, numocts - total);
      if (got < 0) {
         if (total == 0) return got;
         break; // the next read meets it again
      }
      if (got == 0) break;
      capture(layer->pctxt, stream, octets + total, static_cast<size_t>(got));
      total += static_cast<size_t>(got);
   }
   stream->ioBytes += total;
   return static_cast<ptrdiff_t>(total);
}

/** How many of `numocts` octets behind the buffer lie ahead of the limit. */
size_t aheadOfLimit(const RtxStream* stream, size_t loaded, size_t numocts) {
   const size_t base = addSizes(stream->bufBase, loaded);
   return std::min(numocts, stream->inputLimit - std::min(stream->inputLimit, base));
}

/** With a null target the octets are loaded, and stay at the cursor. */
ptrdiff_t ctxtbufRead(RtxStream* stream, uint8_t* target, size_t numocts) {
   if (!isOfKind(stream, RTX_STREAM_READ)) return RTX_E_BAD_ARGUMENT;
   if (!onTop(stream) && target != nullptr) return readInner(layerOf(stream), target, numocts);
   RtxContext* pctxt = layerOf(stream)->pctxt;
   if (pctxt->bufBitsLeft == 0) {
      ++pctxt->bufByteIndex;
      pctxt->bufBitsLeft = 8;
   }
   if (target == nullptr) {
      const int status = fillInput(pctxt, numocts);
      return status < 0 ? status : static_cast<ptrdiff_t>(std::min(numocts, octetsAtHand(pctxt)));
   }
   const size_t kept = std::min(numocts, octetsAtHand(pctxt));
   if (kept != 0) std::memcpy(target, pctxt->bufData + pctxt->bufByteIndex, kept);
   pctxt->bufByteIndex += kept;
   if (kept == numocts) return static_cast<ptrdiff_t>(numocts);
   // The buffer is used up.
   if (const int status = ensureBuffer(pctxt); status < 0) return status;
   const size_t wanted = numocts - kept;
   stream->bufBase += pctxt->bufByteIndex;
   pctxt->bufByteIndex = pctxt->bufSize = 0;
   if (wanted < stream->ctxtBufSize) {
      const ptrdiff_t got = readData(stream, pctxt->bufData, aheadOfLimit(stream, 0, stream->ctxtBufSize));
      if (got < 0) return got;
      pctxt->bufSize = static_cast<size_t>(got);
      const size_t run = std::min(wanted, pctxt->bufSize);
      if (run != 0) std::memcpy(target + kept, pctxt->bufData, run);
      pctxt->bufByteIndex = run;
      if (run == wanted) return static_cast<ptrdiff_t>(numocts);
   } else {
      const ptrdiff_t got = readData(stream, target + kept, aheadOfLimit(stream, 0, wanted));
      if (got < 0) return got;
      stream->bufBase += static_cast<size_t>(got);
      if (static_cast<size_t>(got) == wanted) return static_cast<ptrdiff_t>(numocts);
   }
   return RTX_E_END_OF_DATA;
}

int ctxtbufSkip(RtxStream* stream, size_t numocts) {
   if (!isOfKind(stream, RTX_STREAM_READ)) return RTX_E_BAD_ARGUMENT;
   Layer* layer = layerOf(stream);
   if (!onTop(stream)) return skipInner(layer, numocts);
   RtxContext* pctxt = layer->pctxt;
   const size_t run = std::min(numocts, octetsAtHand(pctxt));
   if (run < numocts) {
      const int status = skipInner(layer, numocts - run);
      if (status < 0) return status;
      stream->bufBase += pctxt->bufSize + numocts - run;
      pctxt->bufByteIndex = pctxt->bufSize = 0;
      pctxt->bufMark = allOnes;
      return RTX_OK;
   }
   pctxt->bufByteIndex += run;
   return RTX_OK;
}

int ctxtbufMark(RtxStream*, size_t) {
   return RTX_E_NO_MARK;
}

int ctxtbufReset(RtxStream*) {
   return RTX_E_NO_MARK;
}

int ctxtbufClose(RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_CTXT_BUF || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   Layer* layer = layerOf(stream);
   RtxContext* pctxt = layer->pctxt;
   const bool neither = (stream->flags & directions) == 0;
   const int flushed = writable(stream) && stream->flush != nullptr ? stream->flush(stream) : RTX_OK;
   const int closed = closeInner(layer);
   rtxMemHeapSysFreePtr(pctxt, layer);
   stream->extra = nullptr;
   if (neither) return RTX_E_NOT_INIT;
   return flushed < 0 ? flushed : closed;
}

} // namespace

namespace quorva::stream {

/** Writes to the inner stream, and enters that in the books of the layer. */
static int passDown(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   Layer* layer = layerOf(stream);
   const int status = writeInner(layer, octets, numocts);
   if (status < 0) return status;
   stream->ioBytes += numocts;
   capture(layer->pctxt, stream, octets, numocts);
   return RTX_OK;
}

int layerFlush(RtxStream* stream) {
   if (!writable(stream) || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   Layer* layer = layerOf(stream);
   RtxContext* pctxt = layer->pctxt;
   const size_t numocts = std::min(pctxt->bufByteIndex, pctxt->bufSize); // the cursor may be beyond
   if (onTop(stream) && pctxt->bufData != nullptr && numocts != 0) {
      if (stream->write == nullptr) return RTX_E_NOT_INIT;
      const int status = passDown(stream, pctxt->bufData, numocts);
      if (status < 0) return status;
      stream->bufBase += numocts;
      // An octet that is not complete yet stays.
      if (pctxt->bufBitsLeft != 8 && pctxt->bufByteIndex < pctxt->bufSize)
         pctxt->bufData[0] = pctxt->bufData[pctxt->bufByteIndex];
      pctxt->bufByteIndex = 0;
   }
   RtxStream* inner = layer->inner;
   return inner->flush != nullptr ? inner->flush(inner) : RTX_OK;
}

int layerWrite(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (!writable(stream) || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   Layer* layer = layerOf(stream);
   RtxContext* pctxt = layer->pctxt;
   if (!onTop(stream)) return passDown(stream, octets, numocts);
   uint8_t* data = pctxt->bufData;
   if (data != nullptr && octets == data + pctxt->bufByteIndex && fitsBuffer(pctxt, numocts)) {
      pctxt->bufByteIndex += numocts; // the caller has written into the buffer himself
      return RTX_OK;
   }
   // What has been gathered is on its way out: who hands it over clears the index.
   if (data != nullptr && octets == data) return passDown(stream, octets, numocts);
   if (!fitsBuffer(pctxt, numocts)) {
      if (const size_t gathered = std::min(pctxt->bufByteIndex, pctxt->bufSize); gathered != 0) {
         const int status = passDown(stream, data, gathered);
         if (status < 0) return status;
         stream->bufBase += gathered;
         pctxt->bufByteIndex = 0;
      }
      if (data == nullptr || numocts >= pctxt->bufSize) {
         const int status = passDown(stream, octets, numocts);
         if (status >= 0) stream->bufBase += numocts;
         return status;
      }
   }
   copyOctets(data + pctxt->bufByteIndex, octets, numocts);
   pctxt->bufByteIndex += numocts;
   return RTX_OK;
}

Layer* pushBufferLayer(RtxContext* pctxt, uint32_t kind, size_t size, int& status) {
   if (pctxt->stream == nullptr) {
      status = recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
      return nullptr;
   }
   Layer* layer = pushLayer(pctxt, size);
   if (layer == nullptr) {
      status = rtxErrGetLastError(pctxt);
      return nullptr;
   }
   RtxStream* stream = pctxt->stream;
   RtxStream* inner = layer->inner;
   const bool took = hasContextBuffer(inner) && pctxt->bufData != nullptr; // with the octets in it
   if (!took) {
      // A buffer of the caller's is kept if it is large enough for what the layer takes for granted.
      stream->ctxtBufSize = pctxt->bufSize;
      pctxt->bufByteIndex = 0;
      if (pctxt->bufData == nullptr || pctxt->bufSize < 1024) {
         if (pctxt->bufData != nullptr) dropBuffer(pctxt);
         status = newSystemBuffer(pctxt, 1024);
         if (status < 0) {
            popLayer(pctxt, false);
            return nullptr;
         }
         stream->ctxtBufSize = 1024;
      }
      if (readable(stream)) pctxt->bufSize = 0;
   } else if (writable(stream)) {
      stream->ctxtBufSize = pctxt->bufSize;
   }
   clearFlags(inner, RTX_STREAM_CTXT_BUF);
   stream->kind = kind;
   stream->capture = inner->capture;
   stream->flags = inner->flags;
   clearFlags(stream, RTX_STREAM_HEX_TEXT); // below, where it is converted
   setFlags(stream, RTX_STREAM_CTXT_BUF);
   return layer;
}

} // namespace quorva::stream

int rtxStreamCtxtBufCreate(RtxContext* pctxt) {
   int status = RTX_OK;
   Layer* layer = pushBufferLayer(pctxt, RTX_STREAM_KIND_CTXT_BUF, sizeof(Layer), status);
   if (layer == nullptr) return status;
   RtxStream* stream = pctxt->stream;
   stream->close = ctxtbufClose;
   if (writable(stream)) {
      stream->write = layerWrite;
      stream->flush = layerFlush;
      return RTX_OK;
   }
   stream->read = ctxtbufRead;
   stream->reset = ctxtbufReset;
   stream->skip = ctxtbufSkip;
   stream->mark = ctxtbufMark;
   if (!readable(stream) || pctxt->bufSize >= stream->ctxtBufSize) return RTX_OK;
   const ptrdiff_t got =
         readData(stream, pctxt->bufData + pctxt->bufSize, stream->ctxtBufSize - pctxt->bufSize);
   if (got < 0) return recordFailure(pctxt, static_cast<int>(got));
   pctxt->bufSize += static_cast<size_t>(got);
   return RTX_OK;
}

int rtxStreamCtxtBufCheck(RtxContext* pctxt) {
   if (!hot::streamActive(pctxt)) return recordFailure(pctxt, RTX_E_NOT_INIT);
   const uint32_t kind = pctxt->stream->kind;
   return kind == RTX_STREAM_KIND_CTXT_BUF || kind == 7 ? RTX_OK : rtxStreamCtxtBufCreate(pctxt);
}

int rtxStreamCtxtBufFree(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream == nullptr || stream->kind != RTX_STREAM_KIND_CTXT_BUF || stream->extra == nullptr)
      return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   int status = (stream->flags & directions) == 0 ? RTX_E_NOT_INIT : RTX_OK;
   if (writable(stream)) status = stream->flush(stream);
   popLayer(pctxt, false);
   return status < 0 ? recordFailure(pctxt, status) : RTX_OK;
}
