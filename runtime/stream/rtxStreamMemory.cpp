// Streams over memory: the buffer of the context is the data.
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxInline.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <cstring>

using namespace quorva;
using namespace quorva::stream;

namespace {

struct MemoryStream {
   RtxContext* pctxt;
   bool attached; // the caller owns the memory
   bool stashed;
   bool half; // the last octet of the text was a digit alone
   size_t savedIndex;
   // What the context holds otherwise.
   uint8_t* data;
   size_t index;
   size_t size;
};

/** The data and the position in it, wherever they are at the moment. */
struct Place {
   uint8_t*& data;
   size_t& index;
   size_t& size;

   size_t left() const { return index < size ? size - index : 0; }
};

Place placeOf(MemoryStream* memory) {
   if (memory->stashed) return {memory->data, memory->index, memory->size};
   RtxContext* pctxt = memory->pctxt;
   return {pctxt->bufData, pctxt->bufByteIndex, pctxt->bufSize};
}

MemoryStream* memoryOf(const RtxStream* stream) {
   return recordOf<MemoryStream>(stream);
}

bool isReader(const RtxStream* stream) {
   return isOf(stream, RTX_STREAM_KIND_MEMORY, RTX_STREAM_READ);
}

ptrdiff_t memRead(RtxStream* stream, uint8_t* target, size_t maxocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   MemoryStream* memory = memoryOf(stream);
   const Place place = placeOf(memory);
   if (stream->flags & RTX_STREAM_HEX_TEXT) {
      return readHexText(
            target, maxocts, memory->half,
            [&] { return place.left() != 0 ? place.data[place.index++] : endOfText; },
            [&](size_t n) { place.index -= n; });
   }
   const size_t run = std::min(maxocts, place.left());
   if (run == 0) return 0;
   if (target != nullptr) std::memcpy(target, place.data + place.index, run);
   place.index += run;
   return static_cast<ptrdiff_t>(run);
}

int memSkip(RtxStream* stream, size_t numocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   const Place place = placeOf(memoryOf(stream));
   const size_t start = place.index;
   if (stream->flags & RTX_STREAM_HEX_TEXT) { // two digits an octet
      uint8_t octet;
      for (size_t i = 0; i < numocts; ++i) {
         const ptrdiff_t got = memRead(stream, &octet, 1);
         if (got == 1) continue;
         place.index = start;
         if (got < 0) return static_cast<int>(got);
         return i == 0 ? RTX_E_END_OF_DATA : RTX_E_BUFFER_FULL;
      }
      return RTX_OK;
   }
   if (numocts == 0) return RTX_OK;
   if (place.left() == 0) return RTX_E_END_OF_DATA;
   if (numocts > place.left()) return RTX_E_BUFFER_FULL;
   place.index += numocts;
   return RTX_OK;
}

/** Makes room for `numocts` octets at the position. */
int growMemory(MemoryStream* memory, const Place& place, size_t numocts) {
   if (place.index <= place.size && numocts <= place.size - place.index) return RTX_OK;
   if (memory->attached) return RTX_E_BUFFER_FULL;
   // A buffer that the caller has given the context meanwhile stays where it is.
   if (!memory->stashed && place.data != nullptr && (memory->pctxt->flags & RTX_CTXT_SYS_BUFFER) == 0)
      return RTX_E_BUFFER_FULL;
   const size_t size = addSizes(addSizes(numocts, place.index), 512);
   if (size > static_cast<size_t>(PTRDIFF_MAX)) return RTX_E_NOMEM;
   auto* data = static_cast<uint8_t*>(rtxMemHeapSysRealloc(memory->pctxt, place.data, size));
   if (data == nullptr) return RTX_E_NOMEM;
   // The position may have been set beyond the end.
   if (place.index > place.size) std::memset(data + place.size, 0, place.index - place.size);
   place.data = data;
   place.size = size;
   if (!memory->stashed) { // it may be the first one
      memory->pctxt->flags |= RTX_CTXT_SYS_BUFFER;
      memory->pctxt->bufDynamic = 1;
   }
   return RTX_OK;
}

int memWrite(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (!isOf(stream, RTX_STREAM_KIND_MEMORY, RTX_STREAM_WRITE)) return RTX_E_BAD_ARGUMENT;
   if (numocts == 0) return RTX_OK;
   MemoryStream* memory = memoryOf(stream);
   const Place place = placeOf(memory);
   const bool text = (stream->flags & RTX_STREAM_HEX_TEXT) != 0;
   // The octets may lie in the memory that grows.
   const uint8_t* before = place.data;
   const bool own = before != nullptr && octets >= before && octets < before + place.size;
   const int status = growMemory(memory, place, text ? addSizes(numocts, numocts) : numocts);
   if (status < 0) return status;
   if (own) octets = place.data + (octets - before);
   if (text) {
      // From the end, as the text of octets at the position itself runs over them.
      uint8_t* to = place.data + place.index;
      const bool overlap = own && octets >= to;
      if (overlap) std::memmove(to, octets, numocts);
      const uint8_t* from = overlap ? to : octets;
      for (size_t i = numocts; i-- > 0;) {
         char digits[3];
         rtxByteToHexChar(from[i], digits, sizeof digits);
         std::memcpy(to + 2 * i, digits, 2);
      }
      place.index += 2 * numocts;
      return RTX_OK;
   }
   std::memmove(place.data + place.index, octets, numocts);
   place.index += numocts;
   return RTX_OK;
}

/** Position of what is read next: that of the data, less what a context buffer above it holds unread. */
size_t position(RtxStream* stream) {
   MemoryStream* memory = memoryOf(stream);
   const Place place = placeOf(memory);
   if (!memory->stashed || !hasContextBuffer(stream)) return place.index;
   const size_t unread = octetsAtHand(memory->pctxt);
   if (stream->flags & RTX_STREAM_HEX_TEXT)
      return hexTextBefore(std::min(place.index, place.size), unread, memory->half,
                           [&](size_t at) { return place.data[at]; });
   return place.index - std::min(unread, place.index);
}

void setPosition(RtxStream* stream, size_t pos) {
   MemoryStream* memory = memoryOf(stream);
   placeOf(memory).index = pos;
   if (!memory->stashed || !hasContextBuffer(stream)) return;
   stream->bufBase = pos;
   memory->pctxt->bufByteIndex = memory->pctxt->bufSize = 0;
   memory->pctxt->bufMark = allOnes;
}

int memMark(RtxStream* stream, size_t limit) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   memoryOf(stream)->savedIndex = position(stream);
   stream->markLimit = limit;
   stream->bufMarkBase = stream->bufBase;
   return RTX_OK;
}

int memReset(RtxStream* stream) {
   if (!isReader(stream) || memoryOf(stream)->savedIndex == allOnes) return RTX_E_BAD_ARGUMENT;
   setPosition(stream, memoryOf(stream)->savedIndex);
   stream->bufBase = stream->bufMarkBase;
   stream->markLimit = noMarkLimit;
   setFlags(stream, RTX_STREAM_MARK_SET);
   return RTX_OK;
}

int memGetPos(RtxStream* stream, size_t* ppos) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   *ppos = position(stream);
   return RTX_OK;
}

/** Beyond the end, too. */
int memSetPos(RtxStream* stream, size_t pos) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   setPosition(stream, pos);
   return RTX_OK;
}

int memClose(RtxStream* stream) {
   MemoryStream* memory = memoryOf(stream);
   if (memory == nullptr) return RTX_OK;
   if (memory->stashed && !memory->attached) rtxMemHeapSysFreePtr(memory->pctxt, memory->data);
   rtxMemHeapSysFreePtr(memory->pctxt, memory);
   stream->extra = nullptr;
   return RTX_OK;
}

/** A stream of kind 3 with its record; the failure is recorded. */
int makeMemory(RtxContext* pctxt, uint16_t flags, bool attached) {
   if (!oneDirection(flags)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const int status = makeRoomForStream(pctxt);
   if (status < 0) return status;
   RtxStream* stream = pctxt->stream;
   auto* memory = static_cast<MemoryStream*>(newRecord(pctxt, sizeof(MemoryStream)));
   if (memory == nullptr) {
      rtxStreamRelease(pctxt);
      return RTX_E_NOMEM;
   }
   memory->pctxt = pctxt;
   memory->attached = attached;
   memory->savedIndex = allOnes;
   stream->kind = RTX_STREAM_KIND_MEMORY;
   stream->extra = memory;
   stream->close = memClose;
   stream->inputLimit = allOnes;
   stream->flags = flags;
   setFlags(stream, RTX_STREAM_MARK_SET);
   if (flags & RTX_STREAM_READ) {
      stream->read = memRead;
      stream->skip = memSkip;
   } else {
      stream->write = memWrite;
   }
   return RTX_OK;
}

void setCursor(RtxContext* pctxt, uint8_t* data, size_t size) {
   pctxt->bufData = data;
   pctxt->bufSize = size;
   pctxt->bufByteIndex = 0;
   pctxt->bufBitsLeft = 8;
   pctxt->bufMark = allOnes;
}

} // namespace

namespace quorva::stream {

void stashMemory(RtxStream* stream) {
   MemoryStream* memory = memoryOf(stream);
   if (memory->stashed) return;
   RtxContext* pctxt = memory->pctxt;
   memory->data = pctxt->bufData;
   memory->index = pctxt->bufByteIndex;
   memory->size = pctxt->bufSize;
   memory->stashed = true;
   // The caller may have given the context a buffer of his own meanwhile.
   if (memory->data != nullptr) memory->attached = (pctxt->flags & RTX_CTXT_SYS_BUFFER) == 0;
   setCursor(pctxt, nullptr, 0);
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
}

void unstashMemory(RtxStream* stream) {
   MemoryStream* memory = memoryOf(stream);
   if (!memory->stashed) return;
   memory->stashed = false;
   RtxContext* pctxt = memory->pctxt;
   setCursor(pctxt, memory->data, memory->size);
   pctxt->bufByteIndex = memory->index;
   pctxt->bufDynamic = !memory->attached;
   if (!memory->attached && memory->data != nullptr) pctxt->flags |= RTX_CTXT_SYS_BUFFER;
   clearFlags(stream, RTX_STREAM_CTXT_BUF);
   stream->bufBase = 0;
}

bool memoryStashed(const RtxStream* stream) {
   return stream->extra != nullptr && memoryOf(stream)->stashed;
}

} // namespace quorva::stream

int rtxStreamMemoryCreate(RtxContext* pctxt, uint16_t flags) {
   if (!oneDirection(flags)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   if (rtxStreamIsOpened(pctxt)) rtxStreamClose(pctxt);
   const size_t size = pctxt->bufSize != 0 ? pctxt->bufSize : 512;
   const int status = makeMemory(pctxt, flags, false);
   if (status < 0) return status;
   if (pctxt->bufData != nullptr && pctxt->bufDynamic) dropBuffer(pctxt);
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
   setCursor(pctxt, nullptr, 0);
   if (flags & RTX_STREAM_READ) return RTX_OK;
   pctxt->bufData = static_cast<uint8_t*>(rtxMemHeapSysAlloc(pctxt, size));
   if (pctxt->bufData == nullptr) { // not recorded
      rtxStreamRelease(pctxt);
      return RTX_E_NOMEM;
   }
   pctxt->bufSize = size;
   pctxt->bufDynamic = 1;
   pctxt->flags |= RTX_CTXT_SYS_BUFFER;
   return RTX_OK;
}

int rtxStreamMemoryAttach(RtxContext* pctxt, uint8_t* octets, size_t size, uint16_t flags) {
   if (octets == nullptr || size == 0) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const int status = makeMemory(pctxt, flags, true);
   if (status < 0) return status;
   RtxStream* stream = pctxt->stream;
   if (flags & RTX_STREAM_READ) { // those that write can't be marked
      stream->mark = memMark;
      stream->reset = memReset;
      stream->getPos = memGetPos;
      stream->setPos = memSetPos;
   }
   if (pctxt->bufData != nullptr && pctxt->bufDynamic) dropBuffer(pctxt);
   pctxt->flags &= ~RTX_CTXT_SYS_BUFFER;
   setCursor(pctxt, octets, size);
   pctxt->bufDynamic = 0;
   return RTX_OK;
}

int rtxStreamMemoryCreateReader(RtxContext* pctxt, uint8_t* octets, size_t size) {
   return rtxStreamMemoryAttach(pctxt, octets, size, RTX_STREAM_READ);
}

int rtxStreamMemoryCreateWriter(RtxContext* pctxt, uint8_t* octets, size_t size) {
   if (octets != nullptr) return rtxStreamMemoryAttach(pctxt, octets, size, RTX_STREAM_WRITE);
   if (rtxStreamIsOpened(pctxt)) rtxStreamClose(pctxt); // which clears the size
   pctxt->bufSize = size;
   return rtxStreamMemoryCreate(pctxt, RTX_STREAM_WRITE);
}

uint8_t* rtxStreamMemoryGetBuffer(RtxContext* pctxt, size_t* pcount) {
   RtxStream* stream = pctxt->stream;
   if (pcount != nullptr) *pcount = 0;
   if (stream == nullptr) return nullptr;
   const RtxStream* bottom = stream;
   while (bottom != nullptr &&
          (bottom->kind == RTX_STREAM_KIND_DIRECT_BUF || bottom->kind == RTX_STREAM_KIND_CTXT_BUF))
      bottom = recordOf<Layer>(bottom)->inner;
   if (bottom == nullptr || bottom->kind != RTX_STREAM_KIND_MEMORY || bottom->extra == nullptr)
      return nullptr;
   if (bottom != stream && writable(stream)) rtxStreamFlush(pctxt);
   const Place place = placeOf(memoryOf(bottom));
   const bool begun = writable(stream) && bottom == stream && !hot::octetAligned(pctxt);
   if (pcount != nullptr) *pcount = place.index + begun;
   return place.data;
}

int rtxStreamMemoryResetWriter(RtxContext* pctxt) {
   RtxStream* stream = pctxt->stream;
   if (!writable(stream) || stream->extra == nullptr) return recordFailure(pctxt, RTX_E_NOT_INIT);
   pctxt->bufByteIndex = 0;
   return RTX_OK;
}
