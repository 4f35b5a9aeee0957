#include "src/frame/pdu.h"

#include "runtime/core/rtxMemHeapInline.h"

namespace quorva::frame {

namespace {

int pushBothInFull(RtxContext* ctxt, const char* choice, const char* member) {
   L3_TRY(hot::pushElemName(ctxt, choice));
   return hot::pushElemName(ctxt, member);
}

// The names of the choice and of its member, which go together.
L3_INLINE int pushBoth(RtxContext* ctxt, const char* choice, const char* member) {
   RtxMemHeap* heap = ctxt->memHeap;
   RtxDListNode* outer = heap == nullptr ? nullptr : heap->spareNames;
   RtxDListNode* inner = outer == nullptr ? nullptr : outer->next;
   if (inner == nullptr) [[unlikely]]
      return pushBothInFull(ctxt, choice, member);
   heap->spareNames = inner->next;
   RtxDList& names = ctxt->elemNames;
   RtxDListNode* below = names.tail;
   outer->data = const_cast<char*>(choice);
   outer->prev = below; // its `next` is the inner one already
   inner->data = const_cast<char*>(member);
   inner->next = nullptr;
   inner->prev = outer;
   (below != nullptr ? below->next : names.head) = outer;
   names.tail = inner;
   names.count += 2;
   ctxt->level = static_cast<uint8_t>(ctxt->level + 2);
   return 0;
}

L3_INLINE void popBoth(RtxContext* ctxt) {
   RtxMemHeap* heap = ctxt->memHeap;
   RtxDList& names = ctxt->elemNames;
   RtxDListNode* inner = names.tail;
   RtxDListNode* outer = inner->prev;
   RtxDListNode* below = outer->prev;
   (below != nullptr ? below->next : names.head) = nullptr;
   names.tail = below;
   names.count -= 2;
   inner->next = heap->spareNames;
   heap->spareNames = outer;
   ctxt->level = static_cast<uint8_t>(ctxt->level - 2);
}

// A message of its header alone.
L3_COLD int nameMessage(RtxContext* ctxt, const char* choice, const char* member) {
   L3_TRY(pushBoth(ctxt, choice, member));
   popBoth(ctxt);
   return 0;
}

} // namespace

int decodeMessage(Decoder d, const MessageRow& row, const char* choice, void* data, int* reported) {
   RtxContext* ctxt = d.ctxt();
   if (row.decode == nullptr) [[unlikely]]
      return nameMessage(ctxt, choice, row.member);
   L3_TRY(pushBoth(ctxt, choice, row.member));
   void* record = data;
   if (!row.isInline) [[likely]] {
      record = hot::alloc(ctxt, row.size);
      if (record == nullptr) [[unlikely]] {
         d.pop(); // the member is not at hand yet
         return RTX_E_NOMEM;
      }
      std::memcpy(data, &record, sizeof record);
   }
   const uint8_t* end = ctxt->bufBitsLeft == 8 && !isStandard(ctxt) ? findShortEnd(ctxt, false) : nullptr;
   const auto decode = [&](RtxContext*, void*) L3_INLINE_LAMBDA { return row.decode(ctxt, record, end); };
   L3_TRY(d.inner(decode, record, reported));
   popBoth(ctxt);
   return 0;
}

int encodeMessage(Encoder e, const MessageRow* row, const char* choice, void* data) {
   RtxContext* ctxt = e.ctxt();
   if (row == nullptr) [[unlikely]] {
      L3_TRY(e.push(choice));
      return e.failed(RTX_E_BAD_CHOICE);
   }
   if (row->encode == nullptr) [[unlikely]]
      return nameMessage(ctxt, choice, row->member);
   L3_TRY(pushBoth(ctxt, choice, row->member));
   void* record = data;
   if (!row->isInline) [[likely]] {
      std::memcpy(&record, data, sizeof record);
      if (record == nullptr) [[unlikely]]
         return e.failed(RTX_E_NULL);
   }
   if (const int status = row->encode(ctxt, record); status < 0) [[unlikely]]
      return e.failed(status);
   popBoth(ctxt);
   return 0;
}

int unknownMessage(Decoder d, const char* choice, unsigned type) {
   RtxContext* ctxt = d.ctxt();
   L3_TRY(d.push(choice));
   return failAnew(ctxt, rtxErrInvUIntOpt(ctxt, type));
}

} // namespace quorva::frame
