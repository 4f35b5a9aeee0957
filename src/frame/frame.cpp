// The full forms of the frame's words: names, trace and logging, out of line.

#include "quorva/rtx3GPP.h"
#include "runtime/core/rtxMemHeapInline.h"
#include "runtime/nas/csn1.h"
#include "src/frame/decoder.h"
#include "src/frame/encoder.h"
#include "src/frame/scan.h"

#include <algorithm>

namespace quorva::frame {

namespace {

constexpr IndexName makeIndexName(unsigned index) {
   IndexName name{};
   const char prefix[] = "elem[";
   size_t at = 0;
   for (; prefix[at] != 0; ++at) name.text[at] = prefix[at];
   char digits[4]{};
   int n = 0;
   do {
      digits[n++] = static_cast<char>('0' + index % 10);
      index /= 10;
   } while (index != 0);
   while (n > 0) name.text[at++] = digits[--n];
   name.text[at] = ']';
   return name;
}

L3_INLINE void openTrace(RtxContext* ctxt, const char* kind) {
   if (ctxt->bitFields != nullptr) rtxDiagNewBitField(ctxt->bitFields, kind);
}
L3_INLINE void closeTrace(RtxContext* ctxt) {
   if (ctxt->bitFields != nullptr) rtxDiagSetBitFldCount(ctxt->bitFields);
}

// The integer of a field in the record, whatever its size.
void store(void* field, unsigned bytes, uint32_t value) {
   switch (bytes) {
   case 1: *static_cast<uint8_t*>(field) = static_cast<uint8_t>(value); break;
   case 2: *static_cast<uint16_t*>(field) = static_cast<uint16_t>(value); break;
   default: *static_cast<uint32_t*>(field) = value; break;
   }
}

int readInteger(RtxContext* ctxt, unsigned bits, uint32_t* value) {
   if (bits <= 8) {
      uint8_t octet = 0;
      const int status = rtxDecBitsToByte(ctxt, &octet, static_cast<uint8_t>(bits));
      *value = octet;
      return status;
   }
   if (bits == 16) {
      uint16_t word = 0;
      const int status = rtxDecUInt16(ctxt, &word, 2);
      *value = word;
      return status;
   }
   if (bits % 8 == 0) return rtxDecUInt32(ctxt, value, bits / 8);
   return rtxDecBits(ctxt, value, bits);
}

int writeInteger(RtxContext* ctxt, unsigned bits, uint32_t value) {
   if (bits == 24) { // the high octet is lost
      const uint8_t octets[3] = {static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
                                 static_cast<uint8_t>(value)};
      return rtxEncBitsFromByteArray(ctxt, octets, 24);
   }
   return bits % 8 == 0 ? rtxEncUInt32(ctxt, value, bits / 8) : rtxEncBits(ctxt, value, bits);
}

} // namespace

constexpr IndexNames::IndexNames() : all() {
   for (unsigned i = 0; i < 256; ++i) all[i] = makeIndexName(i);
}
constinit const IndexNames kIndexNames;

int pushFirstName(RtxContext* ctxt, const char* name) {
   return hot::pushElemName(ctxt, name);
}
void popFirstName(RtxContext* ctxt) {
   hot::popElemName(ctxt);
}
// Each message passes these two, with no other name on the list.
int pushOutermost(RtxContext* ctxt, const char* typeName) {
   RtxMemHeap* heap = ctxt->memHeap;
   RtxDListNode* node = heap == nullptr ? nullptr : heap->spareNames;
   if (node == nullptr) [[unlikely]]
      return hot::pushTypeName(ctxt, typeName);
   heap->spareNames = node->next;
   *node = {const_cast<char*>(typeName), nullptr, nullptr};
   ctxt->elemNames = {1, node, node};
   return 0;
}
void popOutermost(RtxContext* ctxt) {
   RtxDListNode* node = ctxt->elemNames.tail;
   node->next = ctxt->memHeap->spareNames;
   ctxt->memHeap->spareNames = node;
   ctxt->elemNames = {};
}
int pushFarIndex(RtxContext* ctxt, size_t index) {
   return rtxCtxtPushArrayElemName(ctxt, "elem", static_cast<uint32_t>(index));
}

int fail(RtxContext* ctxt, int status) {
   return hot::isOnRecord(ctxt, status) ? status : recordFailure(ctxt, status);
}

int failAnew(RtxContext* ctxt, int status) {
   const int overall = rtxErrSetNewData(ctxt, status, nullptr, 0);
   return overall < 0 ? overall : status;
}

int failBound(RtxContext* ctxt, uint64_t value) {
   rtxErrAddElemNameParm(ctxt);
   rtxErrAddUIntParm(ctxt, static_cast<uint32_t>(value));
   return fail(ctxt, RTX_E_CONSTRAINT);
}

namespace {

// A primitive in its trace field, under its name if it has one.
template <class Primitive>
L3_INLINE int field(RtxContext* ctxt, const char* name, const char* kind, Primitive primitive) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, kind);
   if (const int status = primitive(); status < 0) return fail(ctxt, status);
   closeTrace(ctxt);
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

} // namespace

int encFlag(RtxContext* ctxt, const char* name, uint8_t value) {
   return field(ctxt, name, "BOOLEAN", [=] { return rtxEncBit(ctxt, value); });
}

int decFlag(RtxContext* ctxt, const char* name, uint8_t* value) {
   return field(ctxt, name, "BOOLEAN", [=] { return rtxDecBit(ctxt, value); });
}

int encEnumeration(RtxContext* ctxt, uint32_t value, unsigned bits) {
   return field(ctxt, nullptr, "ENUMERATED", [=] { return rtxEncBits(ctxt, value, bits); });
}

int decEnumeration(RtxContext* ctxt, uint32_t* value, unsigned bits) {
   uint8_t octet = 0;
   L3_TRY(field(ctxt, nullptr, "ENUMERATED",
                [&] { return rtxDecBitsToByte(ctxt, &octet, static_cast<uint8_t>(bits)); }));
   *value = octet;
   return 0;
}

int encInteger(RtxContext* ctxt, const char* name, uint32_t value, const IntegerRule& rule) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   if (value < rule.low || value > rule.high) return rule.logged ? failBound(ctxt, value) : RTX_E_CONSTRAINT;
   openTrace(ctxt, "INTEGER");
   if (const int status = writeInteger(ctxt, rule.bits, value); status < 0) return fail(ctxt, status);
   closeTrace(ctxt);
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

int decInteger(RtxContext* ctxt, const char* name, void* value, const IntegerRule& rule) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, "INTEGER");
   uint32_t read = 0;
   if (const int status = readInteger(ctxt, rule.bits, &read); status < 0) return fail(ctxt, status);
   store(value, rule.bytes, read);
   closeTrace(ctxt);
   if (read < rule.low || read > rule.high) return rule.logged ? failBound(ctxt, read) : RTX_E_CONSTRAINT;
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

const uint8_t* heapCopy(RtxContext* ctxt, const uint8_t* octets, size_t count) {
   void* copy = hot::alloc(ctxt, count);
   if (copy != nullptr) copyOctets(copy, octets, count);
   return static_cast<const uint8_t*>(copy);
}

const uint8_t* shortEnd(const RtxContext* ctxt, bool endsByItself) {
   return findShortEnd(ctxt, endsByItself);
}

const uint8_t* messageEnd(const RtxContext* ctxt, bool elementsEnd) {
   const hot::RtxContainer* top = hot::topContainer(ctxt);
   const bool cut = elementsEnd && top != nullptr && top->byteIndex > ctxt->bufSize;
   return cut && (ctxt->flags & kInFull) != 0 ? nullptr : shortEnd(ctxt, cut);
}

namespace {

// What a codec that failed inside a short form leaves is taken back: the exact form leaves it anew.
class Before {
public:
   explicit Before(RtxContext* ctxt)
         : ctxt_(ctxt), index_(ctxt->bufByteIndex), flags_(ctxt->flags), names_(ctxt->elemNames.count),
           containers_(ctxt->containers.dlist.count), level_(ctxt->level) {}

   L3_COLD void comeBack() const {
      rtxErrResetErrInfo(ctxt_);
      while (ctxt_->elemNames.count > names_ + (placed_ ? 1 : 0)) hot::removeName(ctxt_);
      ctxt_->level = static_cast<uint8_t>(level_ + (placed_ ? 1 : 0));
      while (ctxt_->containers.dlist.count > containers_) hot::popContainer(ctxt_);
      goBack();
      ctxt_->flags = flags_;
   }
   // A name alone would be taken for that of the type inside, which pops its own.
   int placeName() {
      if (names_ != 1) return 0;
      placed_ = true;
      return pushName(ctxt_, "");
   }
   void goBack() const {
      if (placed_) [[unlikely]]
         popName(ctxt_);
      ctxt_->bufByteIndex = index_;
      ctxt_->bufBitsLeft = 8;
   }

private:
   RtxContext* ctxt_;
   size_t index_;
   uint32_t flags_;
   size_t names_, containers_;
   uint8_t level_;
   bool placed_ = false;
};

} // namespace

const uint8_t* decodeInside(RtxContext* ctxt, const uint8_t* at, const uint8_t* end,
                            int (*decode)(RtxContext*, void*), void* value) {
   if (!hot::nothingRecorded(ctxt)) return nullptr;
   Before before(ctxt);
   if (before.placeName() < 0) return nullptr;
   ctxt->bufByteIndex = static_cast<size_t>(at - ctxt->bufData);
   int status = hot::pushContainerBytes(ctxt, static_cast<size_t>(end - at));
   bool stopped = true;
   if (status >= 0) {
      const uint32_t outer = ctxt->flags & kMessageOpen;
      ctxt->flags |= kMessageOpen;
      status = decode(ctxt, value);
      stopped = (ctxt->flags & kMessageOpen) != 0;
      ctxt->flags = (ctxt->flags & ~kMessageOpen) | outer;
   }
   const uint8_t* behind = ctxt->bufData + ctxt->bufByteIndex;
   const bool fine = (status >= 0 || !stopped) && ctxt->bufBitsLeft == 8 && behind <= end;
   if (!fine || ctxt->errList.count != 0) {
      before.comeBack();
      return nullptr;
   }
   hot::popContainer(ctxt);
   before.goBack();
   return behind;
}

uint8_t* encodeInside(RtxContext* ctxt, uint8_t* at, int (*encode)(RtxContext*, void*), void* value) {
   if (!hot::nothingRecorded(ctxt)) return nullptr;
   Before before(ctxt);
   const uint8_t* buffer = ctxt->bufData;
   const size_t size = ctxt->bufSize;
   if (before.placeName() < 0) return nullptr;
   ctxt->bufByteIndex = static_cast<size_t>(at - buffer);
   // A buffer that grows on demand may have moved or got another end, and what the short forms around know of
   // it is void.
   if (encode(ctxt, value) < 0 || ctxt->bufBitsLeft != 8 || ctxt->bufData != buffer ||
       ctxt->bufSize != size) {
      before.comeBack();
      return nullptr;
   }
   uint8_t* behind = ctxt->bufData + ctxt->bufByteIndex;
   before.goBack();
   return behind;
}

int leaveContainer(RtxContext* ctxt, const uint8_t* end, unsigned extra) {
   const size_t index = ctxt->bufByteIndex;
   const int16_t left = ctxt->bufBitsLeft;
   ctxt->bufByteIndex = static_cast<size_t>(end - ctxt->bufData);
   ctxt->bufBitsLeft = static_cast<int16_t>(8 - extra);
   const int status = hot::pushContainerBits(ctxt, 0);
   ctxt->bufByteIndex = index;
   ctxt->bufBitsLeft = left;
   return status;
}

void takeContainersBack(RtxContext* ctxt, unsigned count) {
   while (count-- != 0) hot::popContainer(ctxt);
}

uint64_t loadEnd(const uint8_t* octets, size_t count) {
   uint64_t word = 0;
   for (size_t i = 0; i < count; ++i) word |= uint64_t{octets[i]} << (56 - 8 * i);
   return word;
}

void storeRest(uint8_t* octets, size_t count, uint64_t word) {
   for (size_t i = 1; i < count; ++i) octets[i] = static_cast<uint8_t>(word >> (56 - 8 * i));
}

namespace {

bool holds(const RtxContext* ctxt, size_t numocts) {
   const int64_t left = hot::containerRemBits(ctxt);
   return left >= 0 && numocts <= static_cast<uint64_t>(left) / 8;
}

} // namespace

int mustHold(RtxContext* ctxt, size_t numocts) {
   if (!isStandard(ctxt) || holds(ctxt, numocts)) return 0;
   const bool beyondAll = cursorBits(ctxt) + numocts * 8 > ctxt->bufSize * 8;
   return fail(ctxt, beyondAll ? RTX_E_END_OF_DATA : RTX_E_LENGTH_OVERRUN);
}

int openInFull(RtxContext* ctxt, const char* name, unsigned bits, void* value, unsigned bytes,
               const Limits& limits, bool push, Length& length) {
   // The usual one, of which nobody sees name and trace.
   const size_t octets = bits / 8;
   if (isPlain(ctxt) && bits % 8 == 0 && octets <= 2 && hasOctets(ctxt, octets)) {
      const uint8_t* at = ctxt->bufData + ctxt->bufByteIndex;
      const unsigned count = octets == 2 ? unsigned{at[0]} << 8 | at[1] : at[0];
      const bool held = !push || !isStandard(ctxt) || holds(ctxt, octets + count);
      if (limits.allow(count) && held) {
         ctxt->bufByteIndex += octets;
         store(value, bytes, count);
         length.end = (ctxt->bufByteIndex + count) * 8;
         const int status = push ? hot::pushContainerBytes(ctxt, count) : 0;
         if (status >= 0) [[likely]]
            return 0;
         L3_TRY(hot::pushElemName(ctxt, name));
         return fail(ctxt, status);
      }
   }
   L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, "INTEGER");
   uint32_t count = 0;
   if (const int status = readInteger(ctxt, bits, &count); status != 0) return fail(ctxt, status);
   store(value, bytes, count);
   const size_t start = hot::bitOffset(ctxt);
   if (!limits.allow(count)) return RTX_E_CONSTRAINT;
   if (push) {
      L3_TRY(mustHold(ctxt, count));
      if (const int status = hot::pushContainerBytes(ctxt, count); status < 0) return fail(ctxt, status);
   }
   closeTrace(ctxt);
   hot::popElemName(ctxt);
   length.end = start + size_t{8} * count;
   return 0;
}

int closeInFull(RtxContext* ctxt, Length length) {
   const size_t offset = hot::bitOffset(ctxt);
   if (offset > length.end) return fail(ctxt, RTX_E_LENGTH_OVERRUN);
   hot::setBitOffset(ctxt, length.end);
   hot::popContainer(ctxt);
   return 0;
}

namespace {

int encString(RtxContext* ctxt, const char* name, const char* kind, const uint8_t* data, size_t numbits,
              bool fits) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   if (!fits) return RTX_E_CONSTRAINT;
   openTrace(ctxt, kind);
   const int status = rtxEncBitsFromByteArray(ctxt, data, numbits);
   closeTrace(ctxt);
   if (name != nullptr) hot::popElemName(ctxt);
   return status;
}

} // namespace

int decOctets(RtxContext* ctxt, const char* name, uint8_t* data, size_t numocts) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, "OCTET STRING");
   const int status = rtxDecBitsToByteArray(ctxt, data, numocts, numocts * 8);
   // What fails leaves no old memory in a record that decodes for all that.
   if (status < 0) std::memset(data, 0, numocts);
   closeTrace(ctxt);
   if (name != nullptr) hot::popElemName(ctxt);
   return status;
}

int decBitField(RtxContext* ctxt, const char* name, uint8_t* data, size_t numbits) {
   return field(ctxt, name, "BIT STRING",
                [=] { return rtxDecBitsToByteArray(ctxt, data, (numbits + 7) / 8, numbits); });
}

int encBitField(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits) {
   return field(ctxt, name, "BIT STRING", [=] { return rtxEncBitsFromByteArray(ctxt, data, numbits); });
}

int encOctets(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts) {
   return encString(ctxt, name, "OCTET STRING", data, numocts * 8, true);
}

int encBitString(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numbits, bool fits) {
   return encString(ctxt, name, "BIT STRING", data, numbits, fits);
}

namespace {

int readOctets(RtxContext* ctxt, uint8_t* data, size_t numocts) {
   if (numocts == 0) return 0;
   L3_TRY(mustHold(ctxt, numocts));
   if (const int status = rtxDecBitsToByteArray(ctxt, data, numocts, numocts * 8); status < 0) {
      std::memset(data, 0, numocts); // the count is in the record already
      return fail(ctxt, status);
   }
   return 0;
}

// Memory for octets of the input: never more than what is there, so that a count can't ask for much.
int readOctetsToHeap(RtxContext* ctxt, size_t numocts, const uint8_t** data) {
   if (ctxt->bufByteIndex > ctxt->bufSize || numocts > ctxt->bufSize - ctxt->bufByteIndex)
      return fail(ctxt, RTX_E_END_OF_DATA);
   auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt, numocts));
   if (octets == nullptr) return fail(ctxt, RTX_E_NOMEM);
   L3_TRY(readOctets(ctxt, octets, numocts));
   *data = octets;
   return 0;
}

int readCount(RtxContext* ctxt, unsigned countOctets, uint32_t* count) {
   if (const int status = readInteger(ctxt, countOctets * 8, count); status < 0) return fail(ctxt, status);
   return 0;
}

} // namespace

int decCounted(RtxContext* ctxt, const char* name, unsigned countOctets, uint8_t* data, size_t capacity,
               const Limits& limits, uint32_t* count) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, "OCTET STRING");
   L3_TRY(readCount(ctxt, countOctets, count));
   if (*count > capacity) {
      // Read, but not stored.
      const int status = rtxSkipBytes(ctxt, *count);
      *count = 0;
      return status < 0 ? fail(ctxt, status) : RTX_E_CONSTRAINT;
   }
   L3_TRY(readOctets(ctxt, data, *count));
   closeTrace(ctxt);
   if (!limits.allow(*count)) return RTX_E_CONSTRAINT;
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

int decCountedHeap(RtxContext* ctxt, const char* name, unsigned countOctets, const Limits& limits,
                   RtxDynOctStr* value) {
   uint32_t count = 0;
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   openTrace(ctxt, "OCTET STRING");
   L3_TRY(readCount(ctxt, countOctets, &count));
   const uint8_t* octets = nullptr;
   L3_TRY(readOctetsToHeap(ctxt, count, &octets));
   value->numocts = count;
   value->data = octets;
   closeTrace(ctxt);
   if (!limits.allow(count)) return RTX_E_CONSTRAINT;
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

namespace {

size_t octetsLeft(RtxContext* ctxt, size_t numocts) {
   if (numocts != kRest) return numocts;
   const int64_t bits = hot::containerRemBits(ctxt);
   return bits > 0 ? static_cast<size_t>(bits) >> 3 : 0;
}

} // namespace

int decSized(RtxContext* ctxt, const char* name, size_t numocts, uint8_t* data, size_t capacity,
             const Limits& limits, uint32_t* count) {
   numocts = octetsLeft(ctxt, numocts);
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   *count = 0;
   if (numocts > capacity) return RTX_E_CONSTRAINT;
   *count = static_cast<uint32_t>(numocts);
   if (numocts != 0) {
      openTrace(ctxt, "OCTET STRING");
      L3_TRY(readOctets(ctxt, data, numocts));
      closeTrace(ctxt);
   }
   if (!limits.allow(numocts)) return RTX_E_CONSTRAINT;
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

int decSizedHeap(RtxContext* ctxt, const char* name, size_t numocts, RtxDynOctStr* value) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   numocts = octetsLeft(ctxt, numocts);
   value->numocts = static_cast<uint32_t>(numocts);
   if (numocts != 0) {
      openTrace(ctxt, "OCTET STRING");
      L3_TRY(readOctetsToHeap(ctxt, numocts, &value->data));
      closeTrace(ctxt);
   }
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

namespace {

size_t bitsLeft(const RtxContext* ctxt) {
   const int64_t left = hot::containerRemBits(ctxt);
   return left > 0 ? static_cast<size_t>(left) : 0;
}

int readBits(RtxContext* ctxt, uint8_t* data, size_t capacity, size_t numbits) {
   openTrace(ctxt, "BIT STRING");
   if (const int status = rtxDecBitsToByteArray(ctxt, data, capacity, numbits); status < 0)
      return fail(ctxt, status);
   closeTrace(ctxt);
   return 0;
}

} // namespace

int decRestBits(RtxContext* ctxt, const char* name, RtxDynBitStr* value) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   const size_t numbits = bitsLeft(ctxt);
   value->numbits = 0;
   if (numbits != 0) {
      const size_t numocts = (numbits >> 3) + 1;
      if (cursorBits(ctxt) + numbits > ctxt->bufSize * 8) return fail(ctxt, RTX_E_END_OF_DATA);
      auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt, numocts));
      if (octets == nullptr) return fail(ctxt, RTX_E_NOMEM);
      L3_TRY(readBits(ctxt, octets, numocts, numbits));
      value->numbits = static_cast<uint32_t>(numbits);
      value->data = octets;
   }
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

int decBitsInline(RtxContext* ctxt, const char* name, uint8_t* data, size_t capacity, size_t wanted,
                  uint32_t* numbits) {
   if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
   const size_t count = wanted == kRest ? bitsLeft(ctxt) : wanted;
   *numbits = 0;
   if (count > capacity) return RTX_E_CONSTRAINT;
   if (count != 0) L3_TRY(readBits(ctxt, data, (capacity + 7) / 8, count));
   *numbits = static_cast<uint32_t>(count);
   if (name != nullptr) hot::popElemName(ctxt);
   return 0;
}

int decLeadBit(RtxContext* ctxt, const char* kind, uint8_t* bit) {
   return field(ctxt, nullptr, kind, [=] { return hot::decBit(ctxt, bit); });
}

int decHighBit(RtxContext* ctxt, const char* kind, uint8_t* bit) {
   return field(ctxt, nullptr, kind, [=] { return hot::decBitLH(ctxt, bit); });
}

int decHighEnumeration(RtxContext* ctxt, uint32_t* value) {
   uint8_t bit = 0;
   L3_TRY(decHighBit(ctxt, "ENUMERATED", &bit));
   *value = bit;
   return 0;
}

int decUnary(RtxContext* ctxt, const char* name, uint8_t* value) {
   return field(ctxt, name, "INTEGER",
                [=] { return rtx3GPPDecIntAsBitsPattern(ctxt, value, csn1::kPaddingInverse); });
}

int decSelector(RtxContext* ctxt, unsigned bits, uint32_t* selector) {
   uint32_t value = 0;
   L3_TRY(field(ctxt, nullptr, "choice selector", [&] { return hot::decBits(ctxt, &value, bits); }));
   *selector = value + 1;
   return 0;
}

int skipExtensions(RtxContext* ctxt) {
   uint8_t octet = 0;
   do {
      // Senders ask for an octet that the length does not have.
      if (isStandard(ctxt) && !hot::containerHasRemBits(ctxt)) return 0;
      if (const int status = rtxDecBitsToByte(ctxt, &octet, 8); status < 0) return fail(ctxt, status);
   } while ((octet & 0x80) == 0);
   return 0;
}

int growArray(RtxContext* ctxt, void** elem, size_t used, size_t* capacity, size_t size) {
   // Most lists of small elements fit in the first piece; large elements come one by one.
   const size_t first = size <= 512 / 16 ? 16 : std::max<size_t>(512 / size, 1);
   const size_t grown = used == 0 ? first : 2 * used;
   void* array = hot::alloc(ctxt, grown * size);
   if (array == nullptr) return RTX_E_NOMEM;
   if (used != 0) {
      std::memcpy(array, *elem, used * size);
      rtxMemHeapFreePtr(ctxt, *elem);
   }
   *elem = array;
   *capacity = grown;
   return 0;
}

int encOpenInFull(RtxContext* ctxt, const char* name, unsigned bits, OpenLength& length) {
   return field(ctxt, name, "INTEGER", [&] {
      const int status = rtxEncBits(ctxt, 0, bits);
      length.start = hot::bitOffset(ctxt);
      return status;
   });
}

bool putShifted(RtxContext* ctxt, uint64_t value, unsigned nbits) {
   const size_t index = ctxt->bufByteIndex;
   const unsigned used = 8 - static_cast<unsigned>(ctxt->bufBitsLeft);
   if (index * 8 + used + nbits > ctxt->bufSize * 8) return false;
   uint8_t* at = ctxt->bufData + index;
   // Some of the primitives of the full form leave what stands behind the cursor in its octet.
   if (used != 0 && (*at & (0xFFu >> used)) != 0) return false;
   const uint64_t ahead = used == 0 ? 0 : *at;
   const uint64_t word = value << (64 - nbits) >> used | ahead << 56;
   const unsigned octets = (used + nbits + 7) / 8;
   for (unsigned i = 0; i < octets; ++i) at[i] = static_cast<uint8_t>(word >> (56 - 8 * i));
   advanceBits(ctxt, nbits);
   return true;
}

namespace {

// The count into its placeholder.
int mergeLength(RtxContext* ctxt, unsigned bits, const OpenLength& length, uint32_t count) {
   const size_t end = hot::bitOffset(ctxt);
   if (const int status = hot::setBitOffset(ctxt, length.start - bits); status < 0) return fail(ctxt, status);
   if (const int status = rtxMergeBits(ctxt, count, static_cast<int>(bits)); status < 0)
      return fail(ctxt, status);
   return hot::setBitOffset(ctxt, end);
}

} // namespace

int encCloseInFull(RtxContext* ctxt, unsigned bits, const OpenLength& length, uint32_t* count, bool keepTail,
                   bool fromStart) {
   const size_t from = fromStart ? length.start : 0;
   const size_t over = (hot::bitOffset(ctxt) - from) % 8;
   if ((ctxt->flags & RTX_CTXT_RAW_TAIL) != 0) {
      if (over != 0) return failAnew(ctxt, RTX_E_NOT_OCTET_END);
      if (!keepTail) rtxCtxtClearFlag(ctxt, RTX_CTXT_RAW_TAIL);
   } else if (from % 8 == 0) {
      Codec(ctxt).align();
   } else if (over != 0) {
      if (const int status = rtxEncBits(ctxt, 0, 8 - over); status < 0) return fail(ctxt, status);
   }
   *count = static_cast<uint32_t>((hot::bitOffset(ctxt) - length.start) / 8);
   return mergeLength(ctxt, bits, length, *count);
}

int encCloseBits(RtxContext* ctxt, unsigned bits, const OpenLength& length, uint32_t* count, size_t less) {
   const size_t behind = hot::bitOffset(ctxt) - length.start;
   if (behind < less) return RTX_E_CONSTRAINT;
   *count = static_cast<uint32_t>(behind - less);
   return mergeLength(ctxt, bits, length, *count);
}

int encCounted(RtxContext* ctxt, const char* name, unsigned countOctets, const uint8_t* data, size_t numocts,
               size_t capacity) {
   if (numocts > capacity || numocts >> (8 * countOctets) != 0) {
      if (name != nullptr) L3_TRY(hot::pushElemName(ctxt, name));
      return RTX_E_CONSTRAINT;
   }
   return field(ctxt, name, "OCTET STRING", [=] {
      L3_TRY(rtxEncUInt32(ctxt, static_cast<uint32_t>(numocts), countOctets));
      return rtxEncBitsFromByteArray(ctxt, data, numocts * 8);
   });
}

int encSized(RtxContext* ctxt, const char* name, const uint8_t* data, size_t numocts, bool fits, bool tail) {
   const int status = encString(ctxt, name, "OCTET STRING", data, numocts * 8, fits);
   if (fits && tail) rtxCtxtSetFlag(ctxt, RTX_CTXT_RAW_TAIL);
   return status;
}

int encLeadBit(RtxContext* ctxt, const char* kind, bool bit) {
   return field(ctxt, nullptr, kind, [=] { return hot::encBit(ctxt, bit); });
}

int encHighBit(RtxContext* ctxt, const char* kind, bool high) {
   return field(ctxt, nullptr, kind, [=] { return hot::encBitLH(ctxt, high); });
}

int encHighEnumeration(RtxContext* ctxt, uint32_t value) {
   return field(ctxt, nullptr, "ENUMERATED", [=] { return hot::encAltDetmnt(ctxt, value, 1, 0x80000000); });
}

int encUnary(RtxContext* ctxt, const char* name, uint8_t value) {
   return field(ctxt, name, "INTEGER",
                [=] { return rtx3GPPEncIntAsBitsPattern(ctxt, value, csn1::kPaddingInverse); });
}

int encPattern(RtxContext* ctxt, unsigned pattern, unsigned bits, bool high) {
   const uint32_t mask = high ? ~uint32_t{0} << (32 - bits) : 0;
   return field(ctxt, nullptr, "choice selector",
                [=] { return hot::encAltDetmnt(ctxt, pattern, bits, mask); });
}

int encPadding(RtxContext* ctxt, uint8_t pattern) {
   if (ctxt->bufBitsLeft == 8) return 0;
   const int status = rtxEncBits(ctxt, pattern, static_cast<size_t>(ctxt->bufBitsLeft));
   return status < 0 ? fail(ctxt, status) : 0;
}

int encSelector(RtxContext* ctxt, unsigned bits, uint32_t selector) {
   return field(ctxt, nullptr, "choice selector", [=] { return rtxEncBits(ctxt, selector - 1, bits); });
}

int encIei(RtxContext* ctxt, unsigned bits, uint32_t iei) {
   const int status = rtxEncBits(ctxt, iei, bits);
   return status < 0 ? fail(ctxt, status) : 0;
}

bool Scan::next(Decoder& decoder) {
   const bool standard = decoder.standard();
   if (standard) place_.codeset = outerCodeset_;
   do {
      if (!read(decoder)) return false;
   } while (shifts_ && (standard ? shiftedByStandard() : isShift(iei_, place_.codeset)));
   return true;
}

// TS 24.007, 11.2.1.1.3: a locking shift goes up only, one that does not lock is for the next element.
bool Scan::shiftedByStandard() {
   if (half_ || iei_ >> 4 != 9) return false;
   const unsigned codeset = iei_ & 7;
   if ((iei_ & 8) != 0)
      place_.codeset = codeset;
   else if (codeset > outerCodeset_)
      place_.codeset = outerCodeset_ = codeset;
   return true;
}

bool Scan::read(Decoder& decoder) {
   RtxContext* ctxt = decoder.ctxt();
   if (!decoder.more()) return end(messageStatus(ctxt));
   // An IEI that is not there ends the message without a failure, so it is looked for before it is read.
   if (cursorBits(ctxt) + 8 > ctxt->bufSize * 8) return end(messageStatus(ctxt));
   const auto stop = [&](int status) {
      failed_ = true;
      return end(fail(ctxt, status));
   };
   uint8_t octet = 0;
   openTrace(ctxt, "IEI");
   int status = rtxDecBitsToByte(ctxt, &octet, 8);
   if (status == RTX_E_END_OF_DATA) return end(messageStatus(ctxt));
   if (status != 0) return stop(status);
   closeTrace(ctxt);
   if ((halfOctets_ >> (octet >> 4) & 1) != 0) {
      --ctxt->bufByteIndex;
      status = rtxDecBitsToByte(ctxt, &octet, 4);
      if (status < 0) return stop(status);
      closeTrace(ctxt);
   }
   iei_ = octet;
   half_ = (octet >> 3) == 1 && ctxt->bufBitsLeft == 4;
   return true;
}

int Scan::skipOctets(Decoder& decoder, unsigned lengthOctets, size_t numocts) {
   RtxContext* ctxt = decoder.ctxt();
   for (unsigned i = 0; i < lengthOctets; ++i) {
      uint8_t octet = 0;
      if (const int status = rtxDecBitsToByte(ctxt, &octet, 8); status < 0) return fail(ctxt, status);
      numocts = numocts << 8 | octet;
   }
   L3_TRY(mustHold(ctxt, numocts));
   const int status = numocts == 0 ? 0 : rtxSkipBytes(ctxt, numocts);
   return status < 0 ? fail(ctxt, status) : 0;
}

int Scan::skip(Decoder& decoder, Format format, size_t valueOctets) {
   switch (format) {
   case Format::T: return 0;
   case Format::HalfOctet: return decoder.skipBits(4);
   case Format::TV: return skipOctets(decoder, 0, valueOctets);
   case Format::TLV: return skipOctets(decoder, 1, 0);
   case Format::TLVE: return skipOctets(decoder, 2, 0);
   }
   return 0;
}

int Scan::unknownToStandard(Decoder& decoder, bool sixes) {
   RtxContext* ctxt = decoder.ctxt();
   if (half_) return decoder.skipBits(4);
   if ((iei_ & 0x80) != 0) return 0;
   L3_TRY(skipOctets(decoder, sixes && (iei_ & 0x70) == 0x70 ? 2 : 1, 0));
   // TS 24.007, 11.2.5: a high half octet of 0 asks for comprehension.
   constexpr size_t kMostRecords = 16;
   if (((iei_ & 0xF0) | place_.codeset) == 0 && ctxt->errList.count < kMostRecords) {
      rtxErrAddIntParm(ctxt, static_cast<int>(iei_));
      failAnew(ctxt, RTX_E_BAD_IEI);
   }
   return 0;
}

int Scan::drop(Decoder& decoder, Format format, size_t valueOctets) {
   RtxContext* ctxt = decoder.ctxt();
   place_.previous = iei_;
   size_t length = 0;
   if (format == Format::TLV) {
      uint8_t octet = 0;
      if (const int status = rtxDecBitsToByte(ctxt, &octet, 8); status < 0) return fail(ctxt, status);
      length = octet;
   } else if (format == Format::TV) {
      length = valueOctets;
   }
   if (length != 0) {
      if (const int status = rtxSkipBytes(ctxt, length); status < 0) return fail(ctxt, status);
   }
   return 0;
}

int Scan::unknown(Decoder& decoder) {
   RtxContext* ctxt = decoder.ctxt();
   const unsigned last = place_.previous;
   place_.previous = iei_;
   if ((iei_ & 0x80) != 0) return 0; // one octet
   uint8_t length = 0;
   if (const int status = rtxDecBitsToByte(ctxt, &length, 8); status < 0) return fail(ctxt, status);
   if (length != 0) {
      if (const int status = rtxSkipBytes(ctxt, length); status < 0) return fail(ctxt, status);
   }
   // The low nibble decides, and a direct repetition of the same unknown IEI is tolerated, so that a run of
   // one kind counts as a single error. In a shifted codeset nothing is reported.
   // Once several failures are on record more of them tell nothing: the message's result stays the same, and
   // its sender would have memory for the asking.
   constexpr size_t kMostRecords = 16; // eight such IEIs exist
   if (((iei_ & 0x0F) | place_.codeset) == 0 && iei_ != last &&
       (ctxt->errList.count < kMostRecords || rtxErrGetStatus(ctxt) != RTX_E_MULTIPLE)) {
      rtxErrAddIntParm(ctxt, static_cast<int>(iei_));
      failAnew(ctxt, RTX_E_BAD_IEI);
   }
   return 0;
}

} // namespace quorva::frame
