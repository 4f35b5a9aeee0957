// The codecs of types by their rows: what a caller of NASEnc_ and NASDec_ functions gets.
#pragma once

#include "src/walk/table.h"

namespace quorva::frame {
class Codec;
class Scan;
} // namespace quorva::frame

namespace quorva::walk {

// In CSN.1 the parameter of a type by place is a field of the structure around that sizes something in it.
// Where nobody hands it on, the counts in the record hold.
constexpr uint64_t kNoOuter = UINT64_MAX;

// The short form if that will do, else the exact one: names, trace, containers and error records on the way.
// `parameter` is what the decoder of a partial list is told.
int decode(RtxContext* ctxt, const Module& module, unsigned type, void* value, uint64_t parameter = 0);
int encode(RtxContext* ctxt, const Module& module, unsigned type, void* value);

// A type whose short form has been tried.
int decodeExactly(RtxContext* ctxt, const Module& module, unsigned type, void* value);

// A message from a row of its own on, whose short form has been tried, to its end: status of the message.
int decodeRest(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row);
int encodeRest(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row);
// The same from behind the mandatory part, where that is coded by hand.
int decodeOptional(RtxContext* ctxt, const Module& module, unsigned type, void* record);
int encodeOptional(RtxContext* ctxt, const Module& module, unsigned type, void* record);

// The optional element of a message's row, with its IEI.
int encodeElement(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row);
// What is behind the IEI of a message's scan.
int decodeElement(RtxContext* ctxt, const Module& module, unsigned type, void* record, frame::Scan& scan);

// Octets that the container at hand has left, of which expressions speak. None without a context.
uint64_t octetsLeft(const RtxContext* ctxt);

// Octets of the value of a counted string and the like: inline or by pointer.
inline uint8_t* contentsOf(const Row& row, uint8_t* record) {
   uint8_t* place = record + row.offset;
   if ((row.flags & kHeap) == 0) return place;
   uint8_t* data;
   __builtin_memcpy(&data, place, sizeof data);
   return data;
}

inline bool hasBit(const uint8_t* record, uint32_t number) {
   if (number == kNone) return true;
   return ((record[(number & ~kAbsent) / 8] >> number % 8 & 1u) ^ (number >> 31)) != 0;
}
inline void setAt(uint8_t* record, uint32_t number) {
   record[number / 8] = static_cast<uint8_t>(record[number / 8] | 1u << number % 8);
}
inline void setBit(uint8_t* record, uint32_t number) {
   if (number < kAbsent) setAt(record, number);
}
inline void setAbsent(uint8_t* record, uint32_t number) {
   if (number != kNone && number >= kAbsent) setAt(record, number - kAbsent);
}
inline void clearAt(uint8_t* record, uint32_t number) {
   record[number / 8] = static_cast<uint8_t>(record[number / 8] & ~(1u << number % 8));
}
inline void clearAbsent(uint8_t* record, uint32_t number) {
   if (number != kNone && number >= kAbsent) clearAt(record, number - kAbsent);
}
// What a bit stands for is not there: the bit is 0, or 1 if it says so.
inline void clearBit(uint8_t* record, uint32_t number) {
   if (number < kAbsent) clearAt(record, number);
   setAbsent(record, number);
}
// Octets of the record's length.
inline unsigned lengthOctets(const Type& type) {
   return type.lengthBits == 16 && (type.flags & kShortLength) == 0 ? 2 : 1;
}

inline bool isStandardMode(const RtxContext* ctxt) {
   return ctxt != nullptr && (ctxt->flags & RTX_CTXT_STANDARD) != 0;
}

// The form of a type that the context asks for. Messages in another than the family's own go by their rows.
inline const Type& formOf(const RtxContext* ctxt, const Module& module, const Type& type) {
   return type.standard != 0 && isStandardMode(ctxt) ? module.types[type.standard] : type;
}

// A field's bit and that of its group. By the standards no group is known: a field's own bit suffices.
inline bool isThere(const RtxContext* ctxt, const Row& row, const uint8_t* record) {
   const bool grouped = row.group == kNone || isStandardMode(ctxt);
   return (grouped || hasBit(record, row.group)) && hasBit(record, row.presence);
}

// No arm of a choice fits: -9. Where a single arm may be, the refusal bears its name.
int refuseChoice(frame::Codec& codec, const Module& module, unsigned row);

// Are the length and its row of the record the first of the type's rows?
inline unsigned firstOnWire(const Type& type) {
   return type.first +
          (type.form == Form::Record && type.lengthBits != 0 && (type.flags & kBare) == 0 ? 1u : 0u);
}
inline unsigned behindRows(const Type& type) {
   return unsigned{type.first} + type.rows;
}

} // namespace quorva::walk
