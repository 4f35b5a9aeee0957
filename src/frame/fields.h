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

// Flags that lie side by side in the record go as one word: an octet of them is one multiplication, one by
// one it is some forty steps. How many there are from a part on, 8 at most.
template <class Part>
inline constexpr bool kIsFlag = false;
template <>
inline constexpr bool kIsFlag<Flag<uint8_t>> = true;
template <size_t From, class... Parts>
consteval size_t flagsFrom() {
   constexpr bool flags[] = {kIsFlag<Parts>...};
   size_t count = 0;
   while (From + count < sizeof...(Parts) && count < 8 && flags[From + count]) ++count;
   return count;
}
constexpr size_t kFewFlags = 3; // up to here one by one

L3_INLINE uint64_t littleEndian(uint64_t word) {
   if constexpr (std::endian::native == std::endian::big) return __builtin_bswap64(word);
   return word;
}

// The low N bits, the first of them highest, to an octet each. The multiplication puts bit 7 - k of an octet
// on top of octet k, and nothing overlaps: copies of eight bits stand nine apart.
template <size_t N>
L3_INLINE void spreadFlags(uint64_t bits, uint8_t* to) {
   const uint64_t octet = (bits & lowBits(N)) << (8 - N);
   uint64_t word;
   if constexpr (N <= 4)
      word = (static_cast<uint32_t>(octet) * 0x08040201u >> 7) & 0x01010101u;
   else
      word = (octet * 0x8040201008040201 >> 7) & 0x0101010101010101;
   word = littleEndian(word);
   std::memcpy(to, &word, N);
}
// And back: an octet that is not 0 is a flag that is set.
template <size_t N>
L3_INLINE uint64_t gatherFlags(const uint8_t* from) {
   constexpr uint64_t sevens = 0x7F7F7F7F7F7F7F7F;
   uint64_t word = 0;
   std::memcpy(&word, from, N);
   word = littleEndian(word);
   word = ((((word & sevens) + sevens) | word) & ~sevens) >> 7;
   return word * 0x8040201008040201 >> (64 - N);
}

template <size_t From, class... Parts, size_t... I>
L3_INLINE bool areSideBySide(const std::tuple<const Parts&...>& parts, std::index_sequence<I...>) {
   return ((std::get<From + I>(parts).value == std::get<From>(parts).value + I) && ...);
}

template <size_t From, class... Parts>
L3_INLINE bool takeFrom(uint64_t word, unsigned shift, const std::tuple<const Parts&...>& parts) {
   if constexpr (From == sizeof...(Parts)) {
      return true;
   } else if constexpr (constexpr size_t count = flagsFrom<From, Parts...>(); count > kFewFlags) {
      shift -= static_cast<unsigned>(count);
      constexpr std::make_index_sequence<count> places;
      if (areSideBySide<From>(parts, places))
         spreadFlags<count>(word >> shift, std::get<From>(parts).value);
      else
         [&]<size_t... I>(std::index_sequence<I...>) L3_INLINE_LAMBDA {
            (std::get<From + I>(parts).take((word >> (shift + count - 1 - I)) & 1), ...);
         }
      (places);
      return takeFrom<From + count>(word, shift, parts);
   } else {
      const auto& part = std::get<From>(parts);
      constexpr unsigned bits = std::remove_cvref_t<decltype(part)>::bits;
      shift -= bits;
      return part.take((word >> shift) & lowBits(bits)) && takeFrom<From + 1>(word, shift, parts);
   }
}

// Takes the parts out of the low `totalBits` bits of a word, first part highest. Nothing is stored behind one
// that is not legal, as in the full form.
template <class... Parts>
L3_INLINE bool takeAll(uint64_t word, const Parts&... parts) {
   return takeFrom<0>(word, totalBits<Parts...>(), std::tuple<const Parts&...>(parts...));
}

template <size_t From, class... Parts>
L3_INLINE bool giveFrom(uint64_t& word, const std::tuple<const Parts&...>& parts) {
   if constexpr (From == sizeof...(Parts)) {
      return true;
   } else if constexpr (constexpr size_t count = flagsFrom<From, Parts...>(); count > kFewFlags) {
      constexpr std::make_index_sequence<count> places;
      if (areSideBySide<From>(parts, places))
         word = word << count | gatherFlags<count>(std::get<From>(parts).value);
      else
         [&]<size_t... I>(std::index_sequence<I...>) L3_INLINE_LAMBDA {
            ((word = word << 1 | (*std::get<From + I>(parts).value != 0)), ...);
         }
      (places);
      return giveFrom<From + count>(word, parts);
   } else {
      const auto& part = std::get<From>(parts);
      constexpr unsigned bits = std::remove_cvref_t<decltype(part)>::bits;
      uint64_t value = 0;
      const bool legal = part.give(value);
      word = bits < 64 ? word << bits | value : value;
      return legal & giveFrom<From + 1>(word, parts);
   }
}

template <class... Parts>
L3_INLINE bool giveAll(uint64_t& word, const Parts&... parts) {
   word = 0;
   return giveFrom<0>(word, std::tuple<const Parts&...>(parts...));
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
