// Fields of fixed width, the parts of a run. A run is read or written as one word when nothing can go wrong
// and nobody looks; otherwise field by field in the full form, with names, trace and checks.
#pragma once

#include "src/frame/base.h"

#include <tuple>
#include <type_traits>

namespace quorva::frame {

// Full forms, out of line. Each brackets the field with its name and trace field.
L3_COLD int encFlag(RtxContext* ctxt, const char* name, uint8_t value);
L3_COLD int decFlag(RtxContext* ctxt, const char* name, uint8_t* value);

// An enumeration, by itself: the encoder tests before it writes, the decoder when it has read and stored. The
// test returns directly, -4.
L3_COLD int encEnumeration(RtxContext* ctxt, uint32_t value, unsigned bits);
L3_COLD int decEnumeration(RtxContext* ctxt, uint32_t* value, unsigned bits);

// Bounds of an integer field; `logged` is the form that arms of a choice use.
struct IntegerRule {
   uint8_t bits;
   uint8_t bytes; // of the field in the record
   bool logged;
   uint64_t low, high;
};
L3_COLD int encInteger(RtxContext* ctxt, const char* name, uint32_t value, const IntegerRule& rule);
L3_COLD int decInteger(RtxContext* ctxt, const char* name, void* value, const IntegerRule& rule);

constexpr uint64_t lowBits(unsigned n) {
   return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1;
}

// Each kind of part has: `bits`; take(word): store the value, false if it is not legal; give(word&): the
// value, false if it is not legal; decode and encode: the full form.

template <class T>
struct Flag {
   static constexpr unsigned bits = 1;
   const char* name;
   T* value;

   L3_INLINE bool take(uint64_t word) const {
      *value = static_cast<T>(word);
      return true;
   }
   L3_INLINE bool give(uint64_t& word) const {
      word = *value != 0;
      return true;
   }
   int decode(RtxContext* ctxt) const { return decFlag(ctxt, name, value); }
   int encode(RtxContext* ctxt) const { return encFlag(ctxt, name, *value); }
};

// Integer of N bits. Without bounds of its own one of whole octets takes any value (the high octets of a
// wider one are lost), any other one 0 to 2^N - 1.
template <unsigned N, class T, uint64_t Low, uint64_t High, bool Logged>
struct Integer {
   static constexpr unsigned bits = N;
   static constexpr IntegerRule rule{N, sizeof(T), Logged, Low, High};
   const char* name;
   T* value;

   L3_INLINE bool take(uint64_t word) const {
      *value = static_cast<T>(word);
      return (Low == 0 || word >= Low) && (High >= lowBits(N) || word <= High);
   }
   L3_INLINE bool give(uint64_t& word) const {
      word = *value & lowBits(N);
      return (Low == 0 || *value >= Low) && (High >= std::numeric_limits<T>::max() || *value <= High);
   }
   int decode(RtxContext* ctxt) const { return decInteger(ctxt, name, value, rule); }
   int encode(RtxContext* ctxt) const { return encInteger(ctxt, name, *value, rule); }
};

// A value of an enumeration or integer type with a codec of its own, `Type::encode` and `Type::decode`.
template <class Type>
struct Value {
   static constexpr unsigned bits = Type::bits;
   const char* name;
   typename Type::Record* value;

   L3_INLINE bool take(uint64_t word) const {
      *value = static_cast<typename Type::Record>(word);
      return Type::legalOnWire(static_cast<uint32_t>(word));
   }
   L3_INLINE bool give(uint64_t& word) const {
      word = *value & lowBits(bits);
      return Type::legalInRecord(*value);
   }
   int decode(RtxContext* ctxt) const { return Codec(ctxt).item(name, Type::decode, value); }
   int encode(RtxContext* ctxt) const { return Codec(ctxt).item(name, Type::encode, *value); }
};

template <class... Parts>
constexpr unsigned totalBits() {
   return (0u + ... + Parts::bits);
}

// Takes the parts out of the low `totalBits` bits of a word, first part highest. Nothing is stored behind one
// that is not legal, as in the full form.
template <class... Parts>
L3_INLINE bool takeAll(uint64_t word, const Parts&... parts) {
   unsigned shift = totalBits<Parts...>();
   return ((shift -= Parts::bits, parts.take((word >> shift) & lowBits(Parts::bits))) && ...);
}

template <class... Parts>
L3_INLINE bool giveAll(uint64_t& word, const Parts&... parts) {
   uint64_t value = 0;
   word = 0;
   bool legal = true;
   ((legal &= parts.give(value), word = Parts::bits < 64 ? word << Parts::bits | value : value), ...);
   return legal;
}

// A nested record that is a run itself: `Type::withParts` hands its fields to a function.
template <class Type>
struct Record {
   static constexpr unsigned bits = Type::bits;
   const char* name;
   typename Type::Record* value;

   L3_INLINE bool take(uint64_t word) const {
      return Type::withParts(*value, [word](const auto&... parts)
                                           L3_INLINE_LAMBDA { return takeAll(word, parts...); });
   }
   L3_INLINE bool give(uint64_t& word) const {
      return Type::withParts(*value, [&word](const auto&... parts)
                                           L3_INLINE_LAMBDA { return giveAll(word, parts...); });
   }
   int decode(RtxContext* ctxt) const { return Codec(ctxt).item(name, Type::decode, value); }
   int encode(RtxContext* ctxt) const { return Codec(ctxt).item(name, Type::encode, value); }
};

// Fields in a record of their own under one name, without a codec of its own.
template <class... Parts>
struct Group {
   static constexpr unsigned bits = totalBits<Parts...>();
   const char* name;
   std::tuple<Parts...> parts;

   L3_INLINE bool take(uint64_t word) const {
      return std::apply([word](const auto&... part) L3_INLINE_LAMBDA { return takeAll(word, part...); },
                        parts);
   }
   L3_INLINE bool give(uint64_t& word) const {
      return std::apply([&word](const auto&... part) L3_INLINE_LAMBDA { return giveAll(word, part...); },
                        parts);
   }
   int decode(RtxContext* ctxt) const {
      return each(ctxt, [&](const auto& part) { return part.decode(ctxt); });
   }
   int encode(RtxContext* ctxt) const {
      return each(ctxt, [&](const auto& part) { return part.encode(ctxt); });
   }

private:
   template <class Function>
   int each(RtxContext* ctxt, Function function) const {
      L3_TRY(hot::pushElemName(ctxt, name));
      int status = 0;
      std::apply([&](const auto&... part) { (void)(((status = function(part)) >= 0) && ...); }, parts);
      if (status >= 0) hot::popElemName(ctxt);
      return status;
   }
};

// The words of generated code.
template <class... Parts>
L3_INLINE Group<Parts...> group(const char* name, const Parts&... parts) {
   return {name, {parts...}};
}
template <class T>
L3_INLINE Flag<T> flag(const char* name, T& value) {
   return {name, &value};
}

template <unsigned N>
constexpr uint64_t defaultHigh() {
   return N % 8 == 0 ? ~uint64_t{0} : lowBits(N);
}

template <unsigned N, uint64_t Low = 0, uint64_t High = defaultHigh<N>(), class T>
L3_INLINE Integer<N, T, Low, High, false> integer(const char* name, T& value) {
   return {name, &value};
}
// In the arm of a choice.
template <unsigned N, uint64_t Low = 0, uint64_t High = defaultHigh<N>(), class T>
L3_INLINE Integer<N, T, Low, High, true> armInteger(const char* name, T& value) {
   return {name, &value};
}
template <class Type>
L3_INLINE Value<Type> value(const char* name, typename Type::Record& record) {
   return {name, &record};
}
template <class Type>
L3_INLINE Record<Type> record(const char* name, typename Type::Record& record) {
   return {name, &record};
}

} // namespace quorva::frame
