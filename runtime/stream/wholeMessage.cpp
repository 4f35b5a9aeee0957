#include "runtime/stream/wholeMessage.h"

#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>

using namespace quorva;
using namespace quorva::stream;

namespace {

/** The codec sees no stream at all, and takes its short forms. */
class Aside {
public:
   explicit Aside(RtxContext* pctxt) : pctxt_(pctxt), stream_(pctxt->stream) { pctxt_->stream = nullptr; }
   ~Aside() { pctxt_->stream = stream_; }
   Aside(const Aside&) = delete;
   Aside& operator=(const Aside&) = delete;

private:
   RtxContext* pctxt_;
   RtxStream* stream_;
};

bool isHexText(const RtxStream* stream) {
   return stream->kind == RTX_STREAM_KIND_MEMORY && (stream->flags & RTX_STREAM_HEX_TEXT);
}

/** Is `bufData` the data of a memory stream? */
bool isPlainMemory(const RtxStream* stream) {
   return stream->kind == RTX_STREAM_KIND_MEMORY && !isHexText(stream) && !memoryStashed(stream);
}

/** Octets ahead of the stream's limit, counted from the start of the buffer. */
size_t limitInBuffer(const RtxStream* stream) {
   return stream->inputLimit - std::min(stream->inputLimit, stream->bufBase);
}

int loadAll(RtxContext* pctxt) {
   if (isPlainMemory(pctxt->stream)) return RTX_OK;
   if (isHexText(pctxt->stream)) stashMemory(pctxt->stream);
   if (pctxt->bufData == nullptr) {
      const size_t limit = pctxt->stream->inputLimit;
      const int status = rtxStreamInitCtxtBuf(pctxt);
      if (status < 0) return status;
      if (limit != 0) pctxt->stream->inputLimit = limit; // 0 in a record that nobody filled in
   }
   if (!hasContextBuffer(pctxt->stream)) return RTX_OK; // the caller's buffer, which nothing is loaded into
   for (;;) {
      const size_t before = octetsAtHand(pctxt);
      if (pctxt->bufSize >= limitInBuffer(pctxt->stream)) return RTX_OK;
      const int status = fillInput(pctxt, addSizes(before, std::max(before, maxLoad)));
      if (status < 0) return status;
      if (octetsAtHand(pctxt) == before) return RTX_OK; // the end
   }
}

/** In a trace, positions count from the start of the stream. */
void shiftTrace(const RtxContext* pctxt, const RtxSListNode* last, size_t numocts) {
   if (numocts == 0 || pctxt->bitFields == nullptr) return;
   const RtxSListNode* node = last != nullptr ? last->next : pctxt->bitFields->fieldList.head;
   for (; node != nullptr; node = node->next)
      static_cast<RtxDiagBitField*>(node->data)->bitOffset += 8 * numocts;
}

/** What the cursor stands on. */
struct Cursor {
   explicit Cursor(const RtxContext* pctxt)
         : index(pctxt->bufByteIndex), bitsLeft(pctxt->bufBitsLeft),
           octet(bitsLeft != 8 && index < pctxt->bufSize ? pctxt->bufData[index] : uint8_t{0}) {}

   void restore(RtxContext* pctxt) const {
      pctxt->bufByteIndex = index;
      pctxt->bufBitsLeft = bitsLeft;
      if (bitsLeft != 8 && index < pctxt->bufSize) pctxt->bufData[index] = octet;
   }

   size_t index;
   int16_t bitsLeft;
   uint8_t octet;
};

/** In a buffer of its own, where the stream has none to hold octets: they go out as text. */
int encodeAside(RtxContext* pctxt, int (*encode)(void* argument), void* argument) {
   uint8_t* const data = pctxt->bufData;
   const size_t index = pctxt->bufByteIndex, size = pctxt->bufSize;
   const uint8_t dynamic = pctxt->bufDynamic;
   const uint32_t system = pctxt->flags & RTX_CTXT_SYS_BUFFER;
   int status = newSystemBuffer(pctxt, 1024);
   if (status < 0) return status;
   {
      const Aside aside(pctxt);
      status = encode(argument);
   }
   uint8_t* const octets = pctxt->bufData;
   const size_t numocts = pctxt->bufByteIndex + (hot::octetAligned(pctxt) ? 0 : 1);
   pctxt->bufData = data;
   pctxt->bufByteIndex = index;
   pctxt->bufSize = size;
   pctxt->bufBitsLeft = 8;
   pctxt->bufDynamic = dynamic;
   pctxt->flags = (pctxt->flags & ~RTX_CTXT_SYS_BUFFER) | system;
   if (status >= 0 && numocts != 0) {
      const int written = rtxStreamWrite(pctxt, octets, numocts);
      if (written < 0) status = written;
   }
   rtxMemHeapSysFreePtr(pctxt, octets);
   return status;
}

} // namespace

namespace quorva::stream {

int loadWhole(RtxContext* pctxt) {
   return hot::streamActive(pctxt) && readable(pctxt->stream) ? loadAll(pctxt) : RTX_OK;
}

int decodeWhole(RtxContext* pctxt, int (*decode)(void* argument), void* argument) {
   RtxStream* stream = pctxt->stream;
   if (!readable(stream) || stream->read == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   int status = loadAll(pctxt);
   if (status < 0) return status;
   stream = pctxt->stream;
   const RtxSListNode* lastField = pctxt->bitFields != nullptr ? pctxt->bitFields->fieldList.tail : nullptr;
   const size_t loaded = pctxt->bufSize;
   pctxt->bufSize = std::min(loaded, limitInBuffer(stream)); // octets beyond belong to what follows
   {
      const Aside aside(pctxt);
      status = decode(argument);
   }
   // A failed skip leaves the cursor beyond the message, in what is not its own; maybe by bits alone.
   if (pctxt->bufByteIndex >= pctxt->bufSize) {
      pctxt->bufByteIndex = pctxt->bufSize;
      pctxt->bufBitsLeft = 8;
   }
   pctxt->bufSize = loaded;
   shiftTrace(pctxt, lastField, stream->bufBase);
   return status;
}

int encodeWhole(RtxContext* pctxt, int (*encode)(void* argument), void* argument) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream)) return recordFailure(pctxt, RTX_E_NOT_INIT);
   const bool memory = isPlainMemory(stream);
   if (pctxt->bufData == nullptr && !memory && (stream->flags & RTX_STREAM_TEXT_FILTER) == 0 &&
       !isHexText(stream)) {
      const int status = rtxStreamInitCtxtBuf(pctxt);
      if (status < 0) return status;
   }
   if (!memory && !hasContextBuffer(stream)) return encodeAside(pctxt, encode, argument);

   const Cursor start(pctxt);
   int status;
   {
      const Aside aside(pctxt);
      status = encode(argument);
   }
   if (hasContextBuffer(stream)) stream->ctxtBufSize = pctxt->bufSize;
   if (status < 0) {
      start.restore(pctxt);
      return status;
   }
   if (memory) {
      if (pctxt->bufByteIndex > start.index) {
         stream->ioBytes += pctxt->bufByteIndex - start.index;
         capture(pctxt, stream, pctxt->bufData + start.index, pctxt->bufByteIndex - start.index);
      }
      return status;
   }
   if (stream->flags & RTX_STREAM_BUF_MARK) return status; // which needs what is in the buffer
   const int written = rtxFlushOutputBuffer(pctxt);
   if (written >= 0) return status;
   start.restore(pctxt);
   return written;
}

} // namespace quorva::stream
