// Loading of input buffers, and what the layers have in common.
#include "runtime/stream/streamCore.h"

#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"

#include <algorithm>
#include <cstring>

using namespace quorva;
using namespace quorva::stream;

namespace quorva::stream {

void* newRecord(RtxContext* pctxt, size_t size) {
   void* record = rtxMemHeapSysAllocZ(pctxt, size);
   if (record == nullptr) recordNoMemory(pctxt);
   return record;
}

int makeRoomForStream(RtxContext* pctxt) {
   if (pctxt->stream == nullptr || rtxStreamIsOpened(pctxt)) return rtxStreamInit(pctxt);
   pctxt->flags &= ~RTX_CTXT_BUFFER_MODE;
   return RTX_OK;
}

ptrdiff_t readInner(const Layer* layer, uint8_t* target, size_t maxocts) {
   RtxStream* inner = layer->inner;
   return readable(inner) && inner->read != nullptr ? inner->read(inner, target, maxocts) : RTX_E_NOT_INIT;
}

int writeInner(const Layer* layer, const uint8_t* octets, size_t numocts) {
   RtxStream* inner = layer->inner;
   if (!writable(inner) || inner->write == nullptr) return RTX_E_NOT_INIT;
   return inner->write(inner, octets, numocts);
}

int skipInner(const Layer* layer, size_t numocts) {
   RtxStream* inner = layer->inner;
   return inner->skip != nullptr ? inner->skip(inner, numocts) : RTX_E_NOT_INIT;
}

int closeInner(Layer* layer) {
   RtxStream* inner = layer->inner;
   if (inner == nullptr) return RTX_OK;
   const int status = inner->close != nullptr ? inner->close(inner) : RTX_OK;
   rtxMemHeapSysFreePtr(layer->pctxt, inner);
   layer->inner = nullptr;
   return status;
}

void capture(RtxContext* pctxt, const RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (stream->capture == nullptr || octets == nullptr || numocts == 0) return;
   const int status = rtxMemBufAppend(stream->capture, octets, numocts);
   if (status < 0) recordFailure(pctxt, status);
}

int newSystemBuffer(RtxContext* pctxt, size_t size) {
   auto* data = static_cast<uint8_t*>(rtxMemHeapSysAlloc(pctxt, size));
   if (data == nullptr) return recordNoMemory(pctxt);
   pctxt->bufData = data;
   pctxt->bufSize = size;
   pctxt->bufDynamic = 1;
   pctxt->flags |= RTX_CTXT_SYS_BUFFER;
   pctxt->bufByteIndex = 0;
   pctxt->bufBitsLeft = 8;
   return RTX_OK;
}

void dropBuffer(RtxContext* pctxt) {
   if (pctxt->bufData != nullptr && pctxt->bufDynamic && (pctxt->flags & RTX_CTXT_SYS_BUFFER))
      rtxMemHeapSysFreePtr(pctxt, pctxt->bufData);
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
   pctxt->bufData = nullptr;
   pctxt->bufByteIndex = 0;
   pctxt->bufSize = 0;
   pctxt->bufBitsLeft = 8;
}

void shiftBuffer(RtxContext* pctxt, size_t from) {
   if (from == 0) return;
   if (pctxt->bufSize > from) std::memmove(pctxt->bufData, pctxt->bufData + from, pctxt->bufSize - from);
   pctxt->bufSize = pctxt->bufSize > from ? pctxt->bufSize - from : 0;
   pctxt->bufByteIndex -= std::min(from, pctxt->bufByteIndex);
   // Open containers end at an index.
   for (RtxDListNode* node = pctxt->containers.dlist.head; node != nullptr; node = node->next) {
      auto* limit = static_cast<hot::RtxContainer*>(node->data);
      limit->byteIndex -= std::min(from, limit->byteIndex);
   }
}

int growInput(RtxContext* pctxt, size_t need, size_t step) {
   RtxStream* stream = pctxt->stream;
   if (need <= stream->ctxtBufSize) return RTX_OK;
   if (!pctxt->bufDynamic) return recordFailure(pctxt, RTX_E_BUFFER_FULL);
   const size_t loaded = pctxt->bufSize;
   const size_t capacity = addSizes(stream->ctxtBufSize, std::max(stream->ctxtBufSize, step));
   const int status = resizeBuffer(pctxt, std::max(capacity, need));
   if (status < 0) return status;
   stream->ctxtBufSize = pctxt->bufSize;
   pctxt->bufSize = loaded; // what is valid, in an input buffer
   return RTX_OK;
}

namespace {

/** Drops what lies before the cursor, or before a mark that needs it, and makes room behind. */
int makeRoom(RtxContext* pctxt, size_t numocts) {
   RtxStream* stream = pctxt->stream;
   const bool direct = stream->kind == RTX_STREAM_KIND_DIRECT_BUF;
   if ((stream->flags & RTX_STREAM_BUF_MARK) && !buffersItself(stream)) {
      const size_t from = stream->bufMarkBase;
      shiftBuffer(pctxt, from); // `bufBase` stays
      stream->bufMarkBase = 0;
      // The stream's own mark moves with its octet, or has left the buffer.
      if (pctxt->bufMark != allOnes) pctxt->bufMark = pctxt->bufMark < from ? allOnes : pctxt->bufMark - from;
   } else if (direct && pctxt->bufMark != allOnes && pctxt->bufMark <= pctxt->bufByteIndex) {
      stream->bufBase += pctxt->bufMark;
      stream->bufMarkBase = stream->bufBase;
      shiftBuffer(pctxt, pctxt->bufMark);
      pctxt->bufMark = 0;
   } else {
      const size_t from = std::min(pctxt->bufByteIndex, pctxt->bufSize);
      stream->bufBase += from;
      shiftBuffer(pctxt, from);
      pctxt->bufMark = allOnes;
   }
   return growInput(pctxt, addSizes(pctxt->bufByteIndex, numocts), numocts);
}

/** One read into the room of the buffer, which may put another stream in the place of this one. */
ptrdiff_t readInto(RtxContext* pctxt, uint8_t* to, size_t room) {
   RtxStream* stream = pctxt->stream;
   if (!buffersItself(stream)) return rtxStreamReadDirect(pctxt, to, room);
   const ptrdiff_t got = readInner(recordOf<Layer>(stream), to, room);
   if (got < 0) return recordFailure(pctxt, static_cast<int>(got));
   capture(pctxt, stream, to, static_cast<size_t>(got));
   if (stream->kind == RTX_STREAM_KIND_CTXT_BUF) stream->ioBytes += static_cast<size_t>(got);
   return got;
}

} // namespace

namespace {

/** Reads over what lies between the buffer's end and a cursor beyond it. */
int catchUp(RtxContext* pctxt) {
   while (pctxt->bufByteIndex > pctxt->bufSize) {
      RtxStream* stream = pctxt->stream;
      if (pctxt->bufMark < pctxt->bufSize || (stream->flags & RTX_STREAM_BUF_MARK))
         return RTX_OK; // it is kept
      stream->bufBase += pctxt->bufSize;
      if (pctxt->bufMark != allOnes) {
         pctxt->bufMark -= pctxt->bufSize;
         stream->bufMarkBase = stream->bufBase;
      }
      const size_t ahead = pctxt->bufByteIndex - pctxt->bufSize;
      shiftBuffer(pctxt, pctxt->bufSize);
      pctxt->bufSize = 0;
      const ptrdiff_t got = readInto(pctxt, pctxt->bufData, std::min(ahead, stream->ctxtBufSize));
      if (got <= 0) return static_cast<int>(got);
      pctxt->bufSize = static_cast<size_t>(got);
   }
   return RTX_OK;
}

} // namespace

int ensureBuffer(RtxContext* pctxt) {
   if (pctxt->bufData != nullptr) return RTX_OK;
   RtxStream* stream = pctxt->stream;
   const size_t size = std::max<size_t>(stream->ctxtBufSize, 1024);
   const int status = newSystemBuffer(pctxt, size);
   if (status < 0) return status;
   stream->ctxtBufSize = size;
   pctxt->bufSize = 0;
   return RTX_OK;
}

int fillInput(RtxContext* pctxt, size_t numocts) {
   if (const int status = ensureBuffer(pctxt); status < 0) return status;
   if (!hasContextBuffer(pctxt->stream) &&
       !(pctxt->bufDynamic && hot::streamActive(pctxt))) // none of its own
      return fitsBuffer(pctxt, numocts) ? RTX_OK : recordFailure(pctxt, RTX_E_BUFFER_FULL);
   // That of a buffer which was there when the stream came is not known to it.
   pctxt->stream->ctxtBufSize = std::max(pctxt->stream->ctxtBufSize, pctxt->bufSize);
   if (const int status = catchUp(pctxt); status < 0) return status;
   RtxStream* stream = pctxt->stream;
   const size_t base = addSizes(stream->bufBase, pctxt->bufByteIndex);
   // Octets beyond the limit belong to somebody else: they stay where they are.
   numocts = std::min(numocts, stream->inputLimit - std::min(stream->inputLimit, base));
   if (addSizes(pctxt->bufByteIndex, numocts) > stream->ctxtBufSize) {
      const int status = makeRoom(pctxt, numocts);
      if (status < 0) return status;
   }
   const size_t need = addSizes(pctxt->bufByteIndex, numocts);
   while (pctxt->bufSize < need) {
      stream = pctxt->stream;
      const size_t loaded = addSizes(stream->bufBase, pctxt->bufSize);
      const size_t room = std::min(stream->ctxtBufSize - pctxt->bufSize,
                                   stream->inputLimit - std::min(stream->inputLimit, loaded));
      const ptrdiff_t got = readInto(pctxt, pctxt->bufData + pctxt->bufSize, room);
      if (got < 0) return static_cast<int>(got);
      if (got == 0) break;
      pctxt->bufSize += static_cast<size_t>(got);
   }
   return RTX_OK;
}

Layer* pushLayer(RtxContext* pctxt, size_t size) {
   RtxStream* inner = pctxt->stream;
   if (pctxt->flags & RTX_CTXT_BUFFER_MODE) { // the buffer is not the stream's any more
      pctxt->flags &= ~RTX_CTXT_BUFFER_MODE;
      if (inner->kind != RTX_STREAM_KIND_MEMORY || memoryStashed(inner)) dropBuffer(pctxt);
      clearFlags(inner, RTX_STREAM_CTXT_BUF);
   }
   if (writable(inner) && hasContextBuffer(inner) && pctxt->bufData != nullptr &&
       rtxFlushOutputBuffer(pctxt) < 0)
      return nullptr;
   auto* layer = static_cast<Layer*>(newRecord(pctxt, size));
   auto* stream = layer == nullptr ? nullptr : static_cast<RtxStream*>(newRecord(pctxt, sizeof(RtxStream)));
   if (stream == nullptr) {
      rtxMemHeapSysFreePtr(pctxt, layer);
      return nullptr;
   }
   stream->flags = inner->flags & directions;
   stream->inputLimit = allOnes;
   stream->extra = layer;
   layer->pctxt = pctxt;
   layer->inner = inner;
   if (inner->kind == RTX_STREAM_KIND_MEMORY && !memoryStashed(inner)) {
      stashMemory(inner);
   } else if (readable(inner) && hasContextBuffer(inner)) {
      stream->bufBase = inner->bufBase + pctxt->bufByteIndex;
      shiftBuffer(pctxt, std::min(pctxt->bufByteIndex, pctxt->bufSize));
      pctxt->bufByteIndex = 0;
      stream->ctxtBufSize = inner->ctxtBufSize;
   }
   clearFlags(inner, RTX_STREAM_BUF_MARK); // its octets have gone
   pctxt->bufMark = allOnes;
   pctxt->stream = stream;
   return layer;
}

void popLayer(RtxContext* pctxt, bool keepBuffer) {
   RtxStream* stream = pctxt->stream;
   auto* layer = recordOf<Layer>(stream);
   RtxStream* inner = layer->inner;
   const bool memory = inner->kind == RTX_STREAM_KIND_MEMORY;
   const bool own = hasContextBuffer(stream) && pctxt->bufData != nullptr;
   const bool caller = !own && pctxt->bufData != nullptr; // whose buffer has taken the place of the layer's
   const bool unread = readable(stream) && (octetsAtHand(pctxt) != 0 || keepBuffer);
   if (own && (unread || buffersItself(inner))) {
      setFlags(inner, RTX_STREAM_CTXT_BUF);
      inner->ctxtBufSize = stream->ctxtBufSize;
      inner->inputLimit = stream->inputLimit;
      if (readable(stream)) inner->bufBase = stream->bufBase;
      if (stream->flags & RTX_STREAM_BUF_MARK) { // which the octets outlive
         setFlags(inner, RTX_STREAM_BUF_MARK);
         inner->bufMarkBase = stream->bufMarkBase;
      }
   } else {
      if (readable(stream) && !memory) inner->bufBase = stream->bufBase + (caller ? 0 : pctxt->bufByteIndex);
      if (own) dropBuffer(pctxt);
      if (memory && !caller) unstashMemory(inner);
   }
   inner->ioBytes += stream->ioBytes;
   if (inner->capture == nullptr) inner->capture = stream->capture;
   pctxt->bufMark = allOnes;
   pctxt->stream = inner;
   rtxMemHeapSysFreePtr(pctxt, layer);
   rtxMemHeapSysFreePtr(pctxt, stream);
}

} // namespace quorva::stream

int rtxStreamLoadInputBuffer(RtxContext* pctxt, size_t numocts) {
   if (pctxt == nullptr) return RTX_E_BAD_ARGUMENT;
   const RtxStream* stream = pctxt->stream;
   if (!readable(stream) || stream->read == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   if (pctxt->bufData == nullptr && !buffersItself(stream)) {
      const int status = rtxStreamInitCtxtBuf(pctxt);
      if (status < 0) return status;
   }
   if (addSizes(pctxt->bufSize, stream->bufBase) == stream->inputLimit)
      return recordFailure(pctxt, RTX_E_END_OF_DATA);
   lapseMark(pctxt, numocts);
   const bool itself = buffersItself(stream);
   const int status = fillInput(pctxt, numocts);
   if (status < 0) return status;
   stream = pctxt->stream;
   if (addSizes(pctxt->bufSize, stream->bufBase) > stream->inputLimit) // it came when more had been loaded
      pctxt->bufSize = stream->inputLimit - std::min(stream->inputLimit, stream->bufBase);
   // The layers that buffer themselves end with -2 where others leave a short load to the reader.
   return itself && octetsAtHand(pctxt) < numocts ? recordNewFailure(pctxt, RTX_E_END_OF_DATA) : RTX_OK;
}
