// What encoder and decoder share: names, trace, the way a failure goes out.
#pragma once

#include "quorva/rtxBits.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "runtime/core/rtxInline.h"
#include "runtime/stream/wholeMessage.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

#define L3_INLINE __attribute__((always_inline)) inline
#define L3_COLD [[gnu::cold, gnu::noinline]]
#define L3_INLINE_LAMBDA __attribute__((always_inline))

// Hands a failure on as it is. Whoever detected it has logged it, or left that to the caller on purpose.
#define L3_TRY(...)                                                                                          \
   do {                                                                                                      \
      if (const int status_ = (__VA_ARGS__); status_ < 0) [[unlikely]]                                       \
         return status_;                                                                                     \
   } while (0)

// First words of a codec. The outermost one on an active stream begins anew, on the whole message in the
// buffer.
#define L3_FROM_STREAM(...)                                                                                  \
   if (quorva::hot::streamActive(pctxt)) [[unlikely]]                                                        \
   return quorva::stream::fromStream(pctxt, [=] { return __VA_ARGS__; })
#define L3_TO_STREAM(...)                                                                                    \
   if (quorva::hot::streamActive(pctxt)) [[unlikely]]                                                        \
   return quorva::stream::toStream(pctxt, [=] { return __VA_ARGS__; })
// Those of an encoder by hand. Called from outside in standard mode it comes back when the record is tested.
#define L3_ENCODES(TYPE)                                                                                     \
   L3_TO_STREAM(NASEnc_##TYPE(pctxt, pvalue));                                                               \
   if (quorva::frame::isUntested(pctxt)) [[unlikely]]                                                        \
   return quorva::type::TYPE::encodeByRows(pctxt, pvalue)

namespace quorva::frame {

// Records a status and gives what the codec returns: the overall status of the context, negative in any case
// (with no memory left for a record the overall status can be 0). failAnew: in a record of its own.
L3_COLD int fail(RtxContext* ctxt, int status);
L3_COLD int failAnew(RtxContext* ctxt, int status);

// The logged form of a bound failure: element path, value, -16.
L3_COLD int failBound(RtxContext* ctxt, uint64_t value);

// Names. There are thousands of places that push and pop one, so the inline form has room for the common case
// alone, in which other names stand below.
L3_COLD int pushFirstName(RtxContext* ctxt, const char* name);
L3_COLD void popFirstName(RtxContext* ctxt);
L3_COLD int pushFarIndex(RtxContext* ctxt, size_t index);
int pushOutermost(RtxContext* ctxt, const char* typeName);
void popOutermost(RtxContext* ctxt);

L3_INLINE int pushName(RtxContext* ctxt, const char* name) {
   RtxDList& names = ctxt->elemNames;
   RtxDListNode* below = names.tail;
   if (below == nullptr) [[unlikely]]
      return pushFirstName(ctxt, name);
   RtxMemHeap* heap = ctxt->memHeap; // the names below came from it
   RtxDListNode* node = heap->spareNames;
   ++ctxt->level;
   if (node != nullptr) [[likely]] {
      heap->spareNames = node->next;
   } else if ((node = hot::newNameNode(ctxt)) == nullptr) {
      return RTX_E_NOMEM;
   }
   node->data = const_cast<char*>(name);
   node->next = nullptr;
   node->prev = below;
   below->next = node;
   names.tail = node;
   ++names.count;
   return 0;
}

L3_INLINE void popName(RtxContext* ctxt) {
   RtxDList& names = ctxt->elemNames;
   if (names.count < 2) [[unlikely]]
      return popFirstName(ctxt);
   RtxMemHeap* heap = ctxt->memHeap;
   RtxDListNode* node = names.tail;
   RtxDListNode* below = node->prev;
   --names.count;
   names.tail = below;
   below->next = nullptr;
   node->next = heap->spareNames;
   heap->spareNames = node;
   --ctxt->level;
}

// Names of array elements, "elem[0]" and on.
struct IndexName {
   char text[16];
};
struct IndexNames {
   IndexName all[256];
   constexpr IndexNames();
};
extern const IndexNames kIndexNames;

// No trace list and no stream: the short forms below leave nothing out that anybody could see.
L3_INLINE bool isPlain(const RtxContext* ctxt) {
   return (reinterpret_cast<uintptr_t>(ctxt->bitFields) | reinterpret_cast<uintptr_t>(ctxt->stream)) == 0;
}

L3_INLINE size_t cursorBits(const RtxContext* ctxt) {
   return ctxt->bufByteIndex * 8 + 8 - static_cast<size_t>(ctxt->bufBitsLeft);
}

L3_INLINE void advanceBits(RtxContext* ctxt, size_t nbits) {
   if (nbits % 8 == 0) {
      ctxt->bufByteIndex += nbits / 8;
      return;
   }
   const size_t used = 8 - static_cast<size_t>(ctxt->bufBitsLeft) + nbits;
   ctxt->bufByteIndex += used >> 3;
   ctxt->bufBitsLeft = static_cast<int16_t>(8 - (used & 7));
}

// True if the cursor stands on an octet boundary and `nocts` octets are there (or have room) behind it.
L3_INLINE bool hasOctets(const RtxContext* ctxt, size_t nocts) {
   return ctxt->bufBitsLeft == 8 && ctxt->bufByteIndex <= ctxt->bufSize &&
          ctxt->bufSize - ctxt->bufByteIndex >= nocts;
}

// Octets of a word in wire order.
L3_INLINE uint64_t toBigEndian(uint64_t word) {
   if constexpr (std::endian::native == std::endian::little) return __builtin_bswap64(word);
   return word;
}

// Context flag, set while an element is coded in full: those inside it are not tried in short. Not one of the
// caller's flags.
constexpr uint32_t kInFull = 0x00000002;

// Context flag, set ahead of a codec by hand whose short form has been tried where the cursor is. It takes
// the flag off. Not one of the caller's flags.
constexpr uint32_t kTried = 0x00000008;

// Bracket of the full form of an element.
class InFull {
public:
   explicit InFull(RtxContext* ctxt) : ctxt_(ctxt), outer_(ctxt->flags & kInFull) { ctxt->flags |= kInFull; }
   ~InFull() { ctxt_->flags = (ctxt_->flags & ~kInFull) | outer_; }
   InFull(const InFull&) = delete;
   InFull& operator=(const InFull&) = delete;

private:
   RtxContext* ctxt_;
   uint32_t outer_;
};

// Does the context's release know the groups of `release`? 0 is the newest: the difference is in 16 bits.
inline bool knowsRelease(const RtxContext* ctxt, unsigned release) {
   return static_cast<uint16_t>(ctxt->protocolRelease - 1) > release - 2;
}

// Is coded as the standards say, rather than in the family's own way?
L3_INLINE bool isStandard(const RtxContext* ctxt) {
   return (ctxt->flags & RTX_CTXT_STANDARD) != 0;
}

// Context flag of standard mode, set while a record is encoded that has been found initialised. Not one of
// the caller's flags.
constexpr uint32_t kTested = 0x00000004;

L3_INLINE bool isUntested(const RtxContext* ctxt) {
   return (ctxt->flags & (RTX_CTXT_STANDARD | kTested)) == RTX_CTXT_STANDARD;
}

// A value of a type by hand from outside, which comes back tested; a text is read alone.
template <class Type>
int encodeByRows(RtxContext* ctxt, const void* value) {
   return Type::encodeByRows(ctxt, const_cast<void*>(value));
}

// What encoders and decoders have in common.
class Codec {
public:
   static constexpr bool kShort = false; // of the two forms, this is the full one

   explicit Codec(RtxContext* ctxt) : ctxt_(ctxt) {}

   RtxContext* ctxt() const { return ctxt_; }
   bool standard() const { return isStandard(ctxt_); }

   // Only the outermost type of a message stands among the names.
   L3_INLINE int begin(const char* typeName) {
      return ctxt_->elemNames.head != nullptr ? 0 : pushOutermost(ctxt_, typeName);
   }
   L3_INLINE int done(int status = 0) {
      if (ctxt_->elemNames.count == 1) [[unlikely]]
         popOutermost(ctxt_);
      return status;
   }

   L3_INLINE int push(const char* name) { return pushName(ctxt_, name); }
   L3_INLINE void pop() { popName(ctxt_); }

   // Bracket of the element number `index` of a repetition.
   L3_INLINE int pushIndex(size_t index) {
      return index < 256 ? pushName(ctxt_, kIndexNames.all[index].text) : pushFarIndex(ctxt_, index);
   }
   L3_INLINE void popIndex(size_t index) {
      if (index < 256) [[likely]] {
         popName(ctxt_);
      } else {
         rtxCtxtPopArrayElemName(ctxt_);
      }
   }

   int failed(int status) { return fail(ctxt_, status); }
   int badChoice() { return fail(ctxt_, RTX_E_BAD_CHOICE); }
   int badBound(uint64_t value) { return failBound(ctxt_, value); }

   size_t offset() const { return hot::bitOffset(ctxt_); }
   // Does the container have something left?
   L3_INLINE bool more() const { return hot::containerHasRemBits(ctxt_); }
   // On to the next octet, if the cursor is inside one.
   void align() {
      if (ctxt_->bufBitsLeft == 8) return;
      ++ctxt_->bufByteIndex;
      ctxt_->bufBitsLeft = 8;
   }

   // An element without contents.
   L3_INLINE int nothing(const char* name) {
      L3_TRY(push(name));
      pop();
      return 0;
   }

   // A primitive under a trace field of its own kind, without an element name.
   template <class Primitive>
   int traced(const char* kind, Primitive primitive) {
      if (ctxt_->bitFields != nullptr) rtxDiagNewBitField(ctxt_->bitFields, kind);
      if (const int status = primitive(); status < 0) return failed(status);
      if (ctxt_->bitFields != nullptr) rtxDiagSetBitFldCount(ctxt_->bitFields);
      return 0;
   }

   // A nested codec under its element name.
   template <class Function, class... Arguments>
   L3_INLINE int item(const char* name, Function function, Arguments... arguments) {
      L3_TRY(push(name));
      if (const int status = function(ctxt_, arguments...); status < 0) [[unlikely]]
         return failed(status);
      pop();
      return 0;
   }

protected:
   RtxContext* ctxt_;
};

// Bounds of a length or count; with a mask only the values whose bit is set (all below 64).
struct Limits {
   uint64_t low = 0;
   uint64_t high = std::numeric_limits<uint64_t>::max();
   uint64_t mask = 0;
   constexpr bool allow(uint64_t value) const {
      return value >= low && value <= high && (mask == 0 || (value < 64 && (mask >> value & 1) != 0));
   }
};

// A status that is dropped, unless memory ran out: then the name of the field is missing.
L3_INLINE int unlessMemory(int status) {
   return status == RTX_E_NOMEM ? status : 0;
}

// The same of a codec by hand: in standard mode no status is dropped.
template <class Coder>
L3_INLINE int unlessDropped(Coder& coder, int status) {
   if (!coder.standard()) return unlessMemory(status);
   return status < 0 ? coder.failed(status) : 0;
}

// Legal values of an enumeration of up to 8 bits.
struct LegalSet {
   uint64_t words[4];
   constexpr bool has(uint32_t value) const {
      const uint64_t above = words[1] | words[2] | words[3];
      if (__builtin_constant_p(above) && above == 0) // of most: no load
         return value < 64 && (words[0] >> value & 1) != 0;
      return value < 256 && (words[value >> 6] >> (value & 63) & 1) != 0;
   }
};

} // namespace quorva::frame
