/** Process-wide defaults of new heaps, and the bump allocator that can stand for the system. */
#include "runtime/core/rtxMemHeapStatic.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"

#include <cstdlib>

RtxMallocFunc g_malloc_func = std::malloc;
RtxReallocFunc g_realloc_func = std::realloc;
RtxFreeFunc g_free_func = std::free;
uint32_t g_defBlkSize = 4096;

namespace {
uint8_t* staticBuffer;
size_t staticBufferSize;
size_t staticBufferUsed;
} // namespace

void quorva::heap::alignStaticAlloc() {
   const size_t odd = (reinterpret_cast<uintptr_t>(staticBuffer) + staticBufferUsed) % 8;
   if (odd != 0 && staticBufferSize - staticBufferUsed >= 8 - odd) staticBufferUsed += 8 - odd;
}

void rtxMemSetAllocFuncs(RtxMallocFunc mallocFn, RtxReallocFunc reallocFn, RtxFreeFunc freeFn) {
   const bool given = mallocFn != nullptr && freeFn != nullptr;
   g_malloc_func = given ? mallocFn : std::malloc;
   g_realloc_func = given ? reallocFn : std::realloc;
   g_free_func = given ? freeFn : std::free;
}

int rtxMemSetDefBlkSize(uint32_t blkSize) {
   if (blkSize == 0) return RTX_E_BAD_ARGUMENT;
   g_defBlkSize = blkSize;
   return RTX_OK;
}

uint32_t rtxMemGetDefBlkSize() {
   return g_defBlkSize;
}

void rtxMemSetStaticAlloc(void* buffer, size_t size) {
   staticBuffer = static_cast<uint8_t*>(buffer);
   staticBufferSize = buffer == nullptr ? 0 : size;
   staticBufferUsed = 0;
   rtxMemSetAllocFuncs(rtxMemStaticAlloc_Alloc, rtxMemStaticAlloc_Realloc, rtxMemStaticAlloc_Free);
}

void* rtxMemStaticAlloc_Alloc(size_t nbytes) {
   if (staticBuffer == nullptr || nbytes > staticBufferSize - staticBufferUsed) return nullptr;
   void* ptr = staticBuffer + staticBufferUsed;
   staticBufferUsed += nbytes;
   return ptr;
}

void* rtxMemStaticAlloc_Realloc(void* /*ptr*/, size_t nbytes) {
   return rtxMemStaticAlloc_Alloc(nbytes); // no copy: the old size is not known
}

void rtxMemStaticAlloc_Free(void* /*ptr*/) {}

void rtxMemFreeStatic() {
   staticBufferUsed = 0;
}
