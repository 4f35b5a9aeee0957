/** Growable octet buffer. */
#include "quorva/rtxMemBuf.h"

#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"

#include <cstring>
#include <functional>

namespace {

/** Gives the buffer's own memory a new capacity. */
uint8_t* regrow(RtxMemBuf* buf, size_t capacity) {
   void* data = buf->bufferData;
   if (buf->useSysMem != 0) return static_cast<uint8_t*>(rtxMemHeapSysRealloc(buf->pctxt, data, capacity));
   const RtxMemHeap* heap = buf->pctxt->memHeap;
   if (heap != nullptr && (heap->flags & RTX_MH_STATIC) != 0)
      return static_cast<uint8_t*>(rtxMemHeapReallocStatic(buf->pctxt, data, buf->capacity, capacity));
   return static_cast<uint8_t*>(rtxMemHeapRealloc(buf->pctxt, data, capacity));
}

/** Memory of the buffer's own in place of none or of the caller's, with what that held. */
uint8_t* takeMemory(RtxMemBuf* buf, size_t capacity) {
   void* data = buf->useSysMem != 0 ? rtxMemHeapSysAlloc(buf->pctxt, capacity)
                                    : rtxMemHeapAlloc(buf->pctxt, capacity);
   if (data != nullptr && buf->usedCount != 0) std::memcpy(data, buf->bufferData, buf->usedCount);
   return static_cast<uint8_t*>(data);
}

bool isSpaceW(const uint8_t* unit) {
   return unit[0] == 0 && ((unit[1] >= 0x09 && unit[1] <= 0x0D) || unit[1] == 0x20);
}

} // namespace

void rtxMemBufInit(RtxContext* pctxt, RtxMemBuf* buf, size_t segSize) {
   *buf = {pctxt, segSize != 0 ? segSize : 1024, 0, 0, 0, 0, nullptr, 1, 1, 0};
}

void rtxMemBufInitBuffer(RtxContext* pctxt, RtxMemBuf* buf, uint8_t* octets, size_t size, size_t segSize) {
   *buf = {pctxt, segSize, 0, 0, size, 0, octets, 0, 1, 0};
}

void rtxMemBufReset(RtxMemBuf* buf) {
   buf->startIndex = 0;
   buf->usedCount = 0;
   buf->bitOffset = 0;
}

void rtxMemBufFree(RtxMemBuf* buf) {
   if (buf->isDynamic != 0) {
      if (buf->useSysMem != 0)
         rtxMemHeapSysFreePtr(buf->pctxt, buf->bufferData);
      else
         rtxMemHeapFreePtr(buf->pctxt, buf->bufferData);
      buf->bufferData = nullptr;
      buf->capacity = 0;
   }
   rtxMemBufReset(buf);
}

int rtxMemBufPreAllocate(RtxMemBuf* buf, size_t nbytes) {
   if (nbytes <= buf->capacity - buf->usedCount) return RTX_OK;
   const bool regrows = buf->isDynamic != 0 && buf->bufferData != nullptr;
   size_t capacity;
   uint8_t* data = nullptr;
   if (buf->segSize != 0 && !__builtin_add_overflow(buf->usedCount, nbytes, &capacity)) {
      const RtxMemHeap* heap = buf->pctxt->memHeap;
      const bool exact =
            regrows && buf->useSysMem == 0 && heap != nullptr && (heap->flags & RTX_MH_STATIC) != 0;
      if (exact || !__builtin_mul_overflow((capacity - 1) / buf->segSize + 1, buf->segSize, &capacity))
         data = regrows ? regrow(buf, capacity) : takeMemory(buf, capacity);
   }
   if (data == nullptr) return quorva::recordNoMemory(buf->pctxt);
   buf->bufferData = data;
   buf->capacity = capacity;
   buf->isDynamic = 1;
   return RTX_OK;
}

int rtxMemBufAppend(RtxMemBuf* buf, const uint8_t* octets, size_t nbytes) {
   // The buffer's own octets may move when it grows.
   const uint8_t* begin = buf->bufferData;
   const bool own = octets != nullptr && begin != nullptr && !std::less<>()(octets, begin) &&
                    std::less<>()(octets, begin + buf->usedCount);
   const size_t offset = own ? static_cast<size_t>(octets - begin) : 0;
   const int status = rtxMemBufPreAllocate(buf, nbytes);
   if (status < 0 || octets == nullptr || nbytes == 0) return status;
   std::memmove(buf->bufferData + buf->usedCount, own ? buf->bufferData + offset : octets, nbytes);
   buf->usedCount += nbytes;
   return RTX_OK;
}

int rtxMemBufSet(RtxMemBuf* buf, uint8_t value, size_t nbytes) {
   const int status = rtxMemBufPreAllocate(buf, nbytes);
   if (status < 0 || nbytes == 0) return status;
   std::memset(buf->bufferData + buf->usedCount, value, nbytes);
   buf->usedCount += nbytes;
   return RTX_OK;
}

int rtxMemBufCut(RtxMemBuf* buf, size_t from, size_t nbytes) {
   const size_t length = rtxMemBufGetDataLen(buf);
   if (from > length || nbytes > length - from) return RTX_E_BAD_ARGUMENT;
   if (nbytes == 0) return RTX_OK;
   uint8_t* begin = buf->bufferData + buf->startIndex + from;
   std::memmove(begin, begin + nbytes, length - from - nbytes);
   buf->usedCount -= nbytes;
   return RTX_OK;
}

uint8_t* rtxMemBufGetData(const RtxMemBuf* buf, int32_t* plength) {
   size_t length;
   uint8_t* data = rtxMemBufGetDataExt(buf, &length);
   if (plength != nullptr) *plength = length < 0x80000000u ? static_cast<int32_t>(length) : -1;
   return data;
}

uint8_t* rtxMemBufGetDataExt(const RtxMemBuf* buf, size_t* plength) {
   if (plength != nullptr) *plength = rtxMemBufGetDataLen(buf);
   return buf->bufferData == nullptr ? nullptr : buf->bufferData + buf->startIndex;
}

size_t rtxMemBufGetDataLen(const RtxMemBuf* buf) {
   return buf->usedCount < buf->startIndex ? 0 : buf->usedCount - buf->startIndex;
}

size_t rtxMemBufTrimW(RtxMemBuf* buf) {
   while (rtxMemBufGetDataLen(buf) >= 2 && isSpaceW(buf->bufferData + buf->startIndex)) buf->startIndex += 2;
   while (rtxMemBufGetDataLen(buf) >= 2 && isSpaceW(buf->bufferData + buf->usedCount - 2))
      buf->usedCount -= 2;
   return rtxMemBufGetDataLen(buf);
}

int rtxMemBufSetExpandable(RtxMemBuf* buf, int isExpandable) {
   const int old = buf->isExpandable;
   buf->isExpandable = isExpandable != 0;
   return old;
}

int rtxMemBufSetUseSysMem(RtxMemBuf* buf, int useSysMem) {
   const int old = buf->useSysMem;
   buf->useSysMem = useSysMem != 0;
   return old;
}
