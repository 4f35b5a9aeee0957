// The buffered layer: marks for a source that has none, and octets that a caller puts back.
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <cstring>

using namespace quorva;
using namespace quorva::stream;

namespace {

/** Growth of the buffer. */
constexpr size_t step = 512;

struct Buffered : Layer {
   uint8_t* preReadBuf; // system memory
   size_t preReadIndex;
   size_t preReadEnd;
   size_t preReadMark; // all ones: none
   size_t preReadSize; // capacity
   uint32_t cacheOptions;
   size_t markBase; // position of the mark; `bufMarkBase` may be in use by rtxMarkPos

   size_t left() const { return preReadEnd - preReadIndex; }
   bool marked() const { return preReadMark != allOnes; }
};

Buffered* bufferedOf(const RtxStream* stream) {
   return recordOf<Buffered>(stream);
}

bool isReader(const RtxStream* stream) {
   return isOf(stream, RTX_STREAM_KIND_BUFFERED, RTX_STREAM_READ);
}

/** Brings the capacity up to `need`. RTX_E_NOMEM, not recorded. */
int grow(Buffered* layer, size_t need) {
   if (need <= layer->preReadSize) return RTX_OK;
   const size_t size = addSizes(need, step - 1) / step * step;
   if (size > static_cast<size_t>(PTRDIFF_MAX)) return RTX_E_NOMEM;
   auto* data = static_cast<uint8_t*>(rtxMemHeapSysRealloc(layer->pctxt, layer->preReadBuf, size));
   if (data == nullptr) return RTX_E_NOMEM;
   layer->preReadBuf = data;
   layer->preReadSize = size;
   return RTX_OK;
}

/** Puts octets in front of what is unread. A mark stays with its octet. */
int prepend(Buffered* layer, const uint8_t* octets, size_t numocts) {
   const bool keepsBefore = layer->marked() && layer->preReadMark < layer->preReadIndex;
   if (keepsBefore || numocts > layer->preReadIndex) {
      const size_t free = keepsBefore ? 0 : layer->preReadIndex;
      const size_t more = numocts - free;
      const int status = grow(layer, addSizes(layer->preReadEnd, more));
      if (status < 0) return status;
      uint8_t* unread = layer->preReadBuf + layer->preReadIndex;
      std::memmove(unread + more, unread, layer->left());
      layer->preReadEnd += more;
      layer->preReadIndex += more;
      if (layer->marked() && !keepsBefore) layer->preReadMark += more;
   }
   layer->preReadIndex -= numocts;
   std::memcpy(layer->preReadBuf + layer->preReadIndex, octets, numocts);
   return RTX_OK;
}

/** Takes back what has gone to a context buffer ahead of the cursor. The last of it still stands before the
 * index. */
int unload(RtxStream* stream, Buffered* layer) {
   RtxContext* pctxt = layer->pctxt;
   if (!hasContextBuffer(stream)) return RTX_OK;
   const size_t unread = octetsAtHand(pctxt);
   if (unread == 0) return RTX_OK;
   const size_t there = std::min(unread, layer->preReadIndex);
   layer->preReadIndex -= there;
   if (unread > there) {
      const int status = prepend(layer, pctxt->bufData + pctxt->bufByteIndex, unread - there);
      if (status < 0) {
         layer->preReadIndex += there;
         return status;
      }
   }
   pctxt->bufSize = pctxt->bufByteIndex;
   return RTX_OK;
}

/** How far a read may go from the mark. A context buffer reads ahead of the reader. */
size_t markReach(const RtxStream* stream) {
   return addSizes(stream->markLimit, hasContextBuffer(stream) ? stream->ctxtBufSize : 0);
}

/** Moves the octets from `from` on to the start of the buffer. */
void shift(RtxStream* stream, Buffered* layer, size_t from) {
   if (from == 0) return;
   std::memmove(layer->preReadBuf, layer->preReadBuf + from, layer->preReadEnd - from);
   layer->preReadIndex -= from;
   layer->preReadEnd -= from;
   if (layer->marked()) layer->preReadMark -= from;
   if (hasContextBuffer(stream)) return; // whose loads count
   stream->bufBase += from;
   if (layer->marked()) stream->bufMarkBase = layer->markBase = stream->bufBase;
}

/** The layer gives way to the stream below it; in the middle of a read that fills the context buffer this
 * stays. */
void release(RtxContext* pctxt, bool keepBuffer) {
   RtxStream* stream = pctxt->stream;
   Buffered* layer = bufferedOf(stream);
   if (!hasContextBuffer(stream)) stream->bufBase += layer->preReadIndex;
   rtxMemHeapSysFreePtr(pctxt, layer->preReadBuf);
   popLayer(pctxt, keepBuffer);
}

/** Reads once more, with room for `numocts` octets at the index. */
int fetch(RtxStream* stream, Buffered* layer, size_t numocts) {
   const size_t first = std::min(layer->preReadIndex, layer->preReadMark);
   if (addSizes(layer->preReadIndex, numocts) >= layer->preReadSize) {
      const int status = grow(layer, addSizes(layer->preReadIndex - first, numocts));
      if (status < 0) return status;
   }
   shift(stream, layer, first);
   const ptrdiff_t got =
         readInner(layer, layer->preReadBuf + layer->preReadEnd, layer->preReadSize - layer->preReadEnd);
   if (got < 0) return RTX_E_END_OF_DATA; // whatever it is
   layer->preReadEnd += static_cast<size_t>(got);
   return RTX_OK;
}

ptrdiff_t cacheRead(RtxStream* stream, uint8_t* target, size_t maxocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   if (maxocts == 0) return 0;
   Buffered* layer = bufferedOf(stream);
   if (layer->marked() && addSizes(layer->preReadIndex - std::min(layer->preReadMark, layer->preReadIndex),
                                   maxocts) > markReach(stream))
      layer->preReadMark = allOnes;
   if (layer->left() == 0) {
      const int status = fetch(stream, layer, maxocts);
      if (status < 0) return status;
   }
   const size_t run = std::min(maxocts, layer->left());
   if (run != 0) {
      if (target != nullptr) std::memcpy(target, layer->preReadBuf + layer->preReadIndex, run);
      layer->preReadIndex += run;
   }
   if ((layer->cacheOptions & RTX_STREAM_BUFFERED_AUTO_RELEASE) && layer->left() == 0 && !layer->marked() &&
       layer->pctxt->stream == stream)
      release(layer->pctxt, hasContextBuffer(stream));
   return static_cast<ptrdiff_t>(run);
}

int cacheSkip(RtxStream* stream, size_t numocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   Buffered* layer = bufferedOf(stream);
   if (layer->marked()) { // what is skipped may be wanted again
      const uint32_t options = layer->cacheOptions;
      layer->cacheOptions = 0; // the layer stays for the skip
      ptrdiff_t got = 1;
      for (; numocts != 0 && got > 0; numocts -= got > 0 ? static_cast<size_t>(got) : 0)
         got = cacheRead(stream, nullptr, std::min(numocts, step));
      layer->cacheOptions = options;
      if (got < 0) return static_cast<int>(got);
      return got == 0 ? RTX_E_END_OF_STREAM : RTX_OK;
   }
   const size_t run = std::min(numocts, layer->left());
   if (run < numocts) {
      RtxStream* inner = layer->inner;
      if (inner->skip == nullptr) return RTX_E_NOT_INIT;
      const int status = inner->skip(inner, numocts - run);
      if (status < 0) return status;
      if (!hasContextBuffer(stream)) stream->bufBase += numocts - run;
   }
   layer->preReadIndex += run;
   return RTX_OK;
}

int cacheMark(RtxStream* stream, size_t limit) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   Buffered* layer = bufferedOf(stream);
   const int status = unload(stream, layer); // so that a reset finds it
   if (status < 0) return status;
   layer->markBase = stream->bufBase + (hasContextBuffer(stream) ? layer->pctxt->bufByteIndex : 0);
   if ((stream->flags & RTX_STREAM_BUF_MARK) == 0) stream->bufMarkBase = layer->markBase;
   layer->preReadMark = layer->preReadIndex;
   stream->markLimit = limit;
   return RTX_OK;
}

int cacheReset(RtxStream* stream) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   Buffered* layer = bufferedOf(stream);
   if (layer->marked() &&
       layer->preReadIndex - std::min(layer->preReadMark, layer->preReadIndex) <= markReach(stream)) {
      layer->preReadIndex = layer->preReadMark;
      stream->bufBase = layer->markBase;
      layer->preReadMark = allOnes;
      stream->markLimit = 0;
      return RTX_OK;
   }
   RtxStream* inner = layer->inner;
   if (inner->reset == nullptr) return RTX_E_UNSUPPORTED;
   const int status = inner->reset(inner);
   if (status < 0) return status;
   layer->preReadIndex = layer->preReadEnd = 0; // octets from before the inner stream's mark, or behind it
   if ((layer->cacheOptions & RTX_STREAM_BUFFERED_AUTO_RELEASE) && layer->pctxt->stream == stream)
      release(layer->pctxt, false);
   return RTX_OK;
}

int cacheClose(RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_BUFFERED || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   Buffered* layer = bufferedOf(stream);
   const int status = closeInner(layer);
   rtxMemHeapSysFreePtr(layer->pctxt, layer->preReadBuf);
   rtxMemHeapSysFreePtr(layer->pctxt, layer);
   stream->extra = nullptr;
   return status;
}

/** The buffered layer on top of the context's streams, or null with the failure recorded. */
Buffered* topLayer(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (stream != nullptr && isReader(stream)) return bufferedOf(stream);
   recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   return nullptr;
}

} // namespace

int rtxStreamBufferedCreate(RtxContext* pctxt, uint32_t options) {
   if (pctxt->stream == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (!readable(pctxt->stream)) { // callers see an empty record in place of the old stream
      const int status = rtxStreamInit(pctxt);
      return recordFailure(pctxt, status < 0 ? status : RTX_E_BAD_ARGUMENT);
   }
   auto* layer = static_cast<Buffered*>(pushLayer(pctxt, sizeof(Buffered)));
   if (layer == nullptr) return rtxErrGetLastError(pctxt);
   RtxStream* stream = pctxt->stream;
   stream->kind = RTX_STREAM_KIND_BUFFERED;
   stream->flags = RTX_STREAM_READ;
   stream->read = cacheRead;
   stream->skip = cacheSkip;
   stream->mark = cacheMark;
   stream->reset = cacheReset;
   stream->close = cacheClose;
   layer->cacheOptions = options;
   layer->preReadMark = allOnes;
   // A context buffer goes on in front of the layer, with the octets in it.
   if (hasContextBuffer(layer->inner)) {
      setFlags(stream, RTX_STREAM_CTXT_BUF);
      clearFlags(layer->inner, RTX_STREAM_CTXT_BUF);
   }
   return RTX_OK;
}

int rtxStreamBufferedRelease(RtxContext* pctxt) {
   Buffered* layer = topLayer(pctxt);
   if (layer == nullptr) return RTX_E_BAD_ARGUMENT;
   if (layer->left() != 0) {
      // What nobody has read goes to the context buffer, and stays with the stream below.
      if (pctxt->bufData == nullptr) {
         const int status = rtxStreamInitCtxtBuf(pctxt);
         if (status < 0) return status;
      }
      if (octetsAtHand(pctxt) == 0) {
         pctxt->stream->bufBase += pctxt->bufByteIndex;
         shiftBuffer(pctxt, pctxt->bufByteIndex);
      }
      const int status = growInput(pctxt, addSizes(pctxt->bufSize, layer->left()), layer->left());
      if (status < 0) return status;
      std::memcpy(pctxt->bufData + pctxt->bufSize, layer->preReadBuf + layer->preReadIndex, layer->left());
      pctxt->bufSize += layer->left();
   }
   release(pctxt, false);
   return RTX_OK;
}

int rtxStreamBufferedSetPreReadBuf(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   Buffered* layer = topLayer(pctxt);
   if (layer == nullptr) return RTX_E_BAD_ARGUMENT;
   if (numocts == 0) {
      rtxMemHeapSysFreePtr(pctxt, layer->preReadBuf);
      layer->preReadBuf = nullptr;
      layer->preReadSize = 0;
   } else {
      if (octets == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
      const int status = grow(layer, numocts);
      if (status < 0) return recordFailure(pctxt, status);
      std::memmove(layer->preReadBuf, octets, numocts);
   }
   layer->preReadIndex = 0;
   layer->preReadEnd = numocts;
   layer->preReadMark = allOnes;
   return RTX_OK;
}

int rtxStreamBufferedPrependReadBuf(RtxContext* pctxt, const uint8_t* octets, size_t numocts) {
   Buffered* layer = topLayer(pctxt);
   if (layer == nullptr) return RTX_E_BAD_ARGUMENT;
   if (numocts == 0) return RTX_OK;
   if (octets == nullptr) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   int status = unload(pctxt->stream, layer); // which follows the new octets
   if (status >= 0) status = prepend(layer, octets, numocts);
   return status < 0 ? recordFailure(pctxt, status) : status;
}
