/**
 * @file rtxInline.h
 * The primitives that codecs call for every field, in inline form: each has its short path here and leaves
 * the rest to a function in a source file. The exported functions of the same purpose call these.
 */
#ifndef QUORVA_RUNTIME_CORE_RTXINLINE_H
#define QUORVA_RUNTIME_CORE_RTXINLINE_H

#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"

namespace quorva {

/**
 * Records a failure in the manner of rtxErrSetData and gives the status to return. Overall status 0 (nothing
 * but the fixed out-of-memory record, or non-fatal ones, on record) becomes `status`: a failure of a
 * primitive never looks like success.
 */
int recordFailure(RtxContext* pctxt, int status);

/** The same by rtxErrSetNewData. */
int recordNewFailure(RtxContext* pctxt, int status);

/** Records exhausted memory; returns the negative status to hand on. */
inline int recordNoMemory(RtxContext* pctxt) {
   return recordNewFailure(pctxt, RTX_E_NOMEM);
}

/** Empties the list of errors without a look at what was there: its memory has ended, or is about to. */
void dropErrors(RtxContext* pctxt);

/** For a context whose heap has ended all allocations since: drops errors and security state. */
void forgetEnded(RtxContext* pctxt);

/** Have errors and security state of the context ended with its heap's allocations? */
inline bool haveEnded(const RtxContext* pctxt) {
   return pctxt->memHeap != nullptr && pctxt->memHeap->epoch != pctxt->heapEpoch;
}

/** Drops them if they have; ahead of any use. */
inline void dropEnded(RtxContext* pctxt) {
   if (haveEnded(pctxt)) [[unlikely]]
      forgetEnded(pctxt);
}

namespace hot {

/** End of a length-delimited element: a position of the bit cursor. */
struct RtxContainer {
   size_t byteIndex;
   int16_t bitsLeft;
};

/* Uncommon cases, out of line. */
RtxDListNode* newNameNode(RtxContext* pctxt);
RtxDListNode* newContainerNode(RtxContext* pctxt);
size_t streamBitOffset(const RtxContext* pctxt);
int refuseSetBitOffset(RtxContext* pctxt);
int decBitsSlow(RtxContext* pctxt, uint32_t* pvalue, size_t nbits);
int decBitSlow(RtxContext* pctxt, uint8_t* pvalue);
int decBitsToByteSlow(RtxContext* pctxt, uint8_t* pvalue, size_t nbits);
int encBitsSlow(RtxContext* pctxt, uint32_t value, size_t nbits);
int encBitSlow(RtxContext* pctxt, bool value);

/** Do bits go through the attached stream? */
inline bool streamActive(const RtxContext* pctxt) {
   return pctxt->stream != nullptr && (pctxt->flags & RTX_CTXT_BUFFER_MODE) == 0;
}

/** Bit offset of the cursor in the buffer, or in the whole stream when one is active. */
inline size_t bitOffset(const RtxContext* pctxt) {
   if (streamActive(pctxt)) [[unlikely]]
      return streamBitOffset(pctxt);
   return pctxt->bufByteIndex * 8 + 8 - static_cast<size_t>(pctxt->bufBitsLeft);
}

/** Moves the cursor; bounds are the business of the read or write that follows. Not on an active stream. */
inline int setBitOffset(RtxContext* pctxt, size_t offset) {
   if (streamActive(pctxt)) [[unlikely]]
      return refuseSetBitOffset(pctxt);
   pctxt->bufByteIndex = offset / 8;
   pctxt->bufBitsLeft = static_cast<int16_t>(8 - offset % 8);
   return RTX_OK;
}

/** Does the cursor stand on an octet boundary? */
inline bool octetAligned(const RtxContext* pctxt) {
   return (pctxt->bufBitsLeft & ~8) == 0;
}

/** Is there no error, nor a part of one? */
inline bool nothingRecorded(const RtxContext* pctxt) {
   const RtxErrInfo& fixed = pctxt->errFixed;
   return pctxt->errList.head == nullptr && fixed.parmCount == 0 && fixed.elemName == nullptr;
}

/** Has rtxErrReset nothing to do? */
inline bool nothingOpen(const RtxContext* pctxt) {
   return pctxt->elemNames.head == nullptr && pctxt->containers.dlist.head == nullptr &&
          nothingRecorded(pctxt);
}

/** Is a failure on record, and nothing else? Then it passes through a level that records it again. */
inline bool isOnRecord(const RtxContext* pctxt, int status) {
   const RtxDListNode* only = pctxt->errList.head;
   if (only == nullptr || haveEnded(pctxt) || only->next != nullptr) return false;
   const auto* info = static_cast<const RtxErrInfo*>(only->data);
   return info->status == status && status < 0 && info->fatal != 0 && status != RTX_E_OVERFLOW;
}

/* Name stack. Nodes are taken from the heap's spare ones and go back there; they are never searched for, and
 * no reset of the heap takes away what is in use. */

inline int appendName(RtxContext* pctxt, const char* name) {
   RtxMemHeap* heap = pctxt->memHeap;
   RtxDListNode* node;
   if (heap != nullptr && heap->spareNames != nullptr) [[likely]] {
      node = heap->spareNames;
      heap->spareNames = node->next;
   } else if ((node = newNameNode(pctxt)) == nullptr) {
      return RTX_E_NOMEM;
   }
   RtxDList& names = pctxt->elemNames;
   node->data = const_cast<char*>(name);
   node->next = nullptr;
   node->prev = names.tail;
   if (names.tail != nullptr)
      names.tail->next = node;
   else
      names.head = node;
   names.tail = node;
   ++names.count;
   return RTX_OK;
}

inline const char* removeName(RtxContext* pctxt) {
   RtxDList& names = pctxt->elemNames;
   RtxDListNode* node = names.tail;
   if (node == nullptr) return nullptr;
   names.tail = node->prev;
   if (names.tail != nullptr)
      names.tail->next = nullptr;
   else
      names.head = nullptr;
   --names.count;
   RtxMemHeap* heap = pctxt->memHeap;
   node->next = heap->spareNames;
   heap->spareNames = node;
   return static_cast<const char*>(node->data);
}

/** RTX_E_NOMEM, not recorded, if there is no memory. */
inline int pushElemName(RtxContext* pctxt, const char* name) {
   ++pctxt->level;
   return appendName(pctxt, name);
}

inline const char* popElemName(RtxContext* pctxt) {
   --pctxt->level;
   return removeName(pctxt);
}

/** Only the outermost type of a message stands in the path. */
inline int pushTypeName(RtxContext* pctxt, const char* name) {
   return pctxt->elemNames.head != nullptr ? RTX_OK : appendName(pctxt, name);
}

inline const char* popTypeName(RtxContext* pctxt) {
   return pctxt->elemNames.count == 1 ? removeName(pctxt) : nullptr;
}

/* Container stack. The top is the head of the list. */

inline const RtxContainer* topContainer(const RtxContext* pctxt) {
   const RtxDListNode* node = pctxt->containers.dlist.head;
   return node == nullptr ? nullptr : static_cast<const RtxContainer*>(node->data);
}

/** Failure is recorded. */
inline int pushContainer(RtxContext* pctxt, size_t byteIndex, int bitsLeft) {
   RtxMemHeap* heap = pctxt->memHeap;
   RtxDListNode* node;
   if (heap != nullptr && heap->spareContainers != nullptr) [[likely]] {
      node = heap->spareContainers;
      heap->spareContainers = node->next;
   } else if ((node = newContainerNode(pctxt)) == nullptr) {
      return recordNoMemory(pctxt);
   }
   auto* entry = static_cast<RtxContainer*>(node->data);
   entry->byteIndex = byteIndex;
   entry->bitsLeft = static_cast<int16_t>(bitsLeft);
   RtxDList& list = pctxt->containers.dlist;
   node->prev = nullptr;
   node->next = list.head;
   if (list.head != nullptr)
      list.head->prev = node;
   else
      list.tail = node;
   list.head = node;
   ++list.count;
   return RTX_OK;
}

inline int pushContainerBytes(RtxContext* pctxt, size_t numocts) {
   return pushContainer(pctxt, pctxt->bufByteIndex + numocts, pctxt->bufBitsLeft);
}

inline int pushContainerBits(RtxContext* pctxt, size_t nbits) {
   size_t index = pctxt->bufByteIndex + nbits / 8;
   int left = pctxt->bufBitsLeft - static_cast<int>(nbits % 8);
   if (left <= 0) { // a limit on an octet boundary reads as the next octet with 8 bits
      ++index;
      left += 8;
   }
   return pushContainer(pctxt, index, left);
}

/** An empty stack is no failure. */
inline void popContainer(RtxContext* pctxt) {
   RtxDList& list = pctxt->containers.dlist;
   RtxDListNode* node = list.head;
   if (node == nullptr) return;
   list.head = node->next;
   if (list.head != nullptr)
      list.head->prev = nullptr;
   else
      list.tail = nullptr;
   --list.count;
   RtxMemHeap* heap = pctxt->memHeap;
   node->next = heap->spareContainers;
   heap->spareContainers = node;
}

/** Without a container an octet that is read in part counts: the position inside it is not looked at. */
inline bool containerHasRemBits(const RtxContext* pctxt) {
   const RtxContainer* top = topContainer(pctxt);
   if (top == nullptr) return pctxt->bufByteIndex < pctxt->bufSize;
   return top->byteIndex > pctxt->bufByteIndex ||
          (top->byteIndex == pctxt->bufByteIndex && pctxt->bufBitsLeft > top->bitsLeft);
}

/** Exactly at the end; a cursor beyond it gives false. */
inline bool containerEnd(const RtxContext* pctxt) {
   const RtxContainer* top = topContainer(pctxt);
   if (top == nullptr) return pctxt->bufByteIndex == pctxt->bufSize;
   return top->byteIndex == pctxt->bufByteIndex && top->bitsLeft == pctxt->bufBitsLeft;
}

/** Negative when the cursor has passed the limit. */
inline int64_t containerRemBits(const RtxContext* pctxt) {
   const RtxContainer* top = topContainer(pctxt);
   const size_t index = top == nullptr ? pctxt->bufSize : top->byteIndex;
   const int left = top == nullptr ? 8 : top->bitsLeft;
   return static_cast<int64_t>((index - pctxt->bufByteIndex) * 8) + pctxt->bufBitsLeft - left;
}

/* Bits. The short path is a field inside one octet that is at hand; null targets are allowed. */

inline bool fieldInOctet(const RtxContext* pctxt, size_t nbits) {
   return nbits - 1 < static_cast<size_t>(pctxt->bufBitsLeft) && pctxt->bufByteIndex < pctxt->bufSize;
}

inline unsigned takeBits(RtxContext* pctxt, size_t nbits) {
   const unsigned left = static_cast<unsigned>(pctxt->bufBitsLeft) - static_cast<unsigned>(nbits);
   const unsigned value = (pctxt->bufData[pctxt->bufByteIndex] >> left) & (0xFFu >> (8 - nbits));
   pctxt->bufByteIndex += left == 0;
   pctxt->bufBitsLeft = static_cast<int16_t>(left == 0 ? 8 : left);
   return value;
}

/** 0 to 32 bits, right aligned. */
inline int decBits(RtxContext* pctxt, uint32_t* pvalue, size_t nbits) {
   if (!fieldInOctet(pctxt, nbits)) return decBitsSlow(pctxt, pvalue, nbits);
   const unsigned value = takeBits(pctxt, nbits);
   if (pvalue != nullptr) *pvalue = value;
   return RTX_OK;
}

/** 0 to 8 bits, right aligned. */
inline int decBitsToByte(RtxContext* pctxt, uint8_t* pvalue, size_t nbits) {
   if (!fieldInOctet(pctxt, nbits)) return decBitsToByteSlow(pctxt, pvalue, nbits);
   const unsigned value = takeBits(pctxt, nbits);
   if (pvalue != nullptr) *pvalue = static_cast<uint8_t>(value);
   return RTX_OK;
}

/** One bit, stored as 0 or 1. */
inline int decBit(RtxContext* pctxt, uint8_t* pvalue) {
   if (!fieldInOctet(pctxt, 1)) return decBitSlow(pctxt, pvalue);
   const unsigned value = takeBits(pctxt, 1);
   if (pvalue != nullptr) *pvalue = static_cast<uint8_t>(value);
   return RTX_OK;
}

/** The low `nbits` of `value`, 0 to 32. The rest of the last octet is cleared. */
inline int encBits(RtxContext* pctxt, uint32_t value, size_t nbits) {
   if (!fieldInOctet(pctxt, nbits) || pctxt->stream != nullptr) return encBitsSlow(pctxt, value, nbits);
   const unsigned have = static_cast<unsigned>(pctxt->bufBitsLeft);
   const unsigned left = have - static_cast<unsigned>(nbits);
   uint8_t& octet = pctxt->bufData[pctxt->bufByteIndex];
   octet = static_cast<uint8_t>((octet & (0xFFu << have)) | ((value & (0xFFu >> (8 - nbits))) << left));
   pctxt->bufByteIndex += left == 0;
   pctxt->bufBitsLeft = static_cast<int16_t>(left == 0 ? 8 : left);
   return RTX_OK;
}

/** One bit. At the start of an octet it clears the other bits, within one it is ORed in. */
inline int encBit(RtxContext* pctxt, bool value) {
   if (pctxt->bufByteIndex >= pctxt->bufSize) [[unlikely]]
      return encBitSlow(pctxt, value);
   const unsigned left = static_cast<unsigned>(pctxt->bufBitsLeft) - 1;
   uint8_t& octet = pctxt->bufData[pctxt->bufByteIndex];
   const unsigned bit = static_cast<unsigned>(value) << left;
   octet = static_cast<uint8_t>(left == 7 ? bit : octet | bit);
   pctxt->bufByteIndex += left == 0;
   pctxt->bufBitsLeft = static_cast<int16_t>(left == 0 ? 8 : left);
   return RTX_OK;
}

} // namespace hot
} // namespace quorva

#endif
