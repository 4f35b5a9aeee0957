// The direct-buffer layer: a caller works in `bufData` itself, and says how far ahead it has to be filled.
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <cstring>

using namespace quorva;
using namespace quorva::stream;

namespace {

struct DirectBuf : Layer {
   uint32_t savedFlags; // the context's, at the mark
};

DirectBuf* directOf(const RtxStream* stream) {
   return recordOf<DirectBuf>(stream);
}

bool isReader(const RtxStream* stream) {
   return isOf(stream, RTX_STREAM_KIND_DIRECT_BUF, RTX_STREAM_READ);
}

/** Counts in the whole stream. */
int dirbufGetPos(RtxStream* stream, size_t* ppos) {
   if (stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   *ppos = stream->bufBase + directOf(stream)->pctxt->bufByteIndex;
   return RTX_OK;
}

int dirbufMark(RtxStream* stream, size_t limit) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   DirectBuf* layer = directOf(stream);
   layer->pctxt->bufMark = layer->pctxt->bufByteIndex;
   layer->savedFlags = layer->pctxt->flags;
   stream->markLimit = limit;
   stream->bufMarkBase = stream->bufBase;
   return RTX_OK;
}

int dirbufReset(RtxStream* stream) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   DirectBuf* layer = directOf(stream);
   RtxContext* pctxt = layer->pctxt;
   if (pctxt->bufMark == allOnes ||
       (pctxt->bufByteIndex > pctxt->bufMark && pctxt->bufByteIndex - pctxt->bufMark > stream->markLimit))
      return RTX_E_BAD_ARGUMENT;
   pctxt->bufByteIndex = pctxt->bufMark;
   // Who owns the buffer by now is not a matter of the mark.
   constexpr uint32_t own = RTX_CTXT_SYS_BUFFER | RTX_CTXT_BUFFER_MODE;
   pctxt->flags = (layer->savedFlags & ~own) | (pctxt->flags & own);
   stream->bufBase = stream->bufMarkBase;
   return RTX_OK;
}

/** Beyond what is loaded, too. */
int dirbufSetPos(RtxStream* stream, size_t pos) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   DirectBuf* layer = directOf(stream);
   RtxContext* pctxt = layer->pctxt;
   const bool own = onTop(stream);
   if (own && pos >= stream->bufBase) {
      pctxt->bufByteIndex = pos - stream->bufBase;
      return RTX_OK;
   }
   const int status = rtxiStreamSetPos(pctxt, layer->inner, pos);
   if (status < 0) return status;
   if (own) pctxt->bufByteIndex = pctxt->bufSize = 0;
   pctxt->bufMark = allOnes;
   stream->bufBase = layer->inner->kind == RTX_STREAM_KIND_MEMORY ? pos : layer->inner->bufBase;
   return RTX_OK;
}

int preRead(RtxContext* pctxt, size_t numocts) {
   lapseMark(pctxt, numocts);
   const int status = fillInput(pctxt, numocts);
   if (status < 0) return status;
   return octetsAtHand(pctxt) < numocts ? recordNewFailure(pctxt, RTX_E_END_OF_DATA) : RTX_OK;
}

int dirbufSkip(RtxStream* stream, size_t numocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   DirectBuf* layer = directOf(stream);
   RtxContext* pctxt = layer->pctxt;
   if (!onTop(stream)) return skipInner(layer, numocts);
   RtxStream* inner = layer->inner;
   lapseMark(pctxt, numocts);
   if (numocts <= octetsAtHand(pctxt)) {
      pctxt->bufByteIndex += numocts;
      return RTX_OK;
   }
   // A mark needs the octets; a source that can't skip has to be read.
   if (pctxt->bufMark != allOnes || inner->skip == nullptr || numocts <= stream->ctxtBufSize) {
      const int status = preRead(pctxt, numocts);
      if (status < 0) return status;
      pctxt->bufByteIndex += numocts;
      return RTX_OK;
   }
   const size_t rest = addSizes(numocts, pctxt->bufByteIndex) - pctxt->bufSize; // the cursor may be beyond
   const int status = skipInner(layer, rest);
   if (status < 0) return status;
   stream->bufBase += pctxt->bufSize + rest;
   pctxt->bufByteIndex = pctxt->bufSize = 0;
   return RTX_OK;
}

/** With a null target the octets are loaded, and stay at the cursor. */
ptrdiff_t dirbufRead(RtxStream* stream, uint8_t* target, size_t numocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   if (!onTop(stream) && target != nullptr) return readInner(directOf(stream), target, numocts);
   RtxContext* pctxt = directOf(stream)->pctxt;
   const int status = preRead(pctxt, numocts);
   if (status < 0) return status;
   if (target != nullptr && numocts != 0) {
      std::memcpy(target, pctxt->bufData + pctxt->bufByteIndex, numocts);
      pctxt->bufByteIndex += numocts;
   }
   return static_cast<ptrdiff_t>(numocts);
}

int dirbufClose(RtxStream* stream) {
   if (stream->kind != RTX_STREAM_KIND_DIRECT_BUF || stream->extra == nullptr) return RTX_E_BAD_ARGUMENT;
   DirectBuf* layer = directOf(stream);
   RtxContext* pctxt = layer->pctxt;
   const bool neither = (stream->flags & directions) == 0;
   const int flushed = writable(stream) ? layerFlush(stream) : RTX_OK;
   const int closed = closeInner(layer);
   if (pctxt->bufDynamic) dropBuffer(pctxt);
   rtxMemHeapSysFreePtr(pctxt, layer);
   stream->extra = nullptr;
   if (neither) return RTX_E_NOT_INIT;
   return flushed < 0 ? flushed : closed;
}

} // namespace

namespace quorva::stream {

void lapseMark(RtxContext* pctxt, size_t numocts) {
   const RtxStream* stream = pctxt->stream;
   if (stream->kind != RTX_STREAM_KIND_DIRECT_BUF || pctxt->bufMark == allOnes) return;
   const size_t end = addSizes(pctxt->bufByteIndex, numocts);
   if (end > pctxt->bufMark && end - pctxt->bufMark > stream->markLimit) pctxt->bufMark = allOnes;
}

} // namespace quorva::stream

int rtxStreamDirectBufCreate(RtxContext* pctxt) {
   int status = RTX_OK;
   auto* layer = static_cast<DirectBuf*>(
         pushBufferLayer(pctxt, RTX_STREAM_KIND_DIRECT_BUF, sizeof(DirectBuf), status));
   if (layer == nullptr) return status;
   layer->savedFlags = static_cast<uint32_t>(-1);
   RtxStream* stream = pctxt->stream;
   stream->close = dirbufClose;
   if (writable(stream)) {
      stream->write = layerWrite;
      stream->flush = layerFlush;
      return RTX_OK;
   }
   stream->read = dirbufRead;
   stream->skip = dirbufSkip;
   stream->mark = dirbufMark;
   stream->reset = dirbufReset;
   stream->getPos = dirbufGetPos;
   stream->setPos = dirbufSetPos;
   return RTX_OK;
}

int rtxStreamDirectBufCheck(RtxContext* pctxt) {
   if (!hot::streamActive(pctxt)) return recordFailure(pctxt, RTX_E_NOT_INIT);
   const uint32_t kind = pctxt->stream->kind;
   if (kind == RTX_STREAM_KIND_MEMORY || kind == RTX_STREAM_KIND_DIRECT_BUF || kind == 7) return RTX_OK;
   return rtxStreamDirectBufCreate(pctxt);
}

int rtxStreamDirectBufPreRead(RtxContext* pctxt, size_t numocts) {
   const int status = rtxStreamDirectBufCheck(pctxt);
   if (status < 0) return status;
   if (!readable(pctxt->stream)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (fitsBuffer(pctxt, numocts)) return RTX_OK;
   // A memory holds all that there is.
   if (pctxt->stream->kind == RTX_STREAM_KIND_MEMORY) return recordNewFailure(pctxt, RTX_E_END_OF_DATA);
   return preRead(pctxt, numocts);
}
