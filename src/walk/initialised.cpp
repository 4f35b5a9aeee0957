#include "src/walk/initialised.h"

#include "src/frame/base.h"

#include <algorithm>

namespace quorva::walk {

using namespace frame;

namespace {

// Longer than any string or list of a message: lengths have two octets.
constexpr uint64_t kMostOctets = 65535;
// A message holds messages, and each may be the last.
constexpr unsigned kDeepest = 32;

// Memory that nobody has set seldom holds zeros at a pointer's place, and a process has no data in the half
// of the addresses that is the kernel's. Processors that ignore the highest octet tell by the bit below it.
bool isAddress(const void* pointer) {
#if defined(__aarch64__)
   constexpr unsigned bit = 55;
#else
   constexpr unsigned bit = 8 * sizeof(void*) - 1;
#endif
   return (reinterpret_cast<uintptr_t>(pointer) >> bit & 1) == 0;
}

// The bits from `used` on are 0.
bool endsClear(const uint8_t* bits, unsigned octets, unsigned used) {
   if (used % 8 != 0 && bits[used / 8] >> used % 8 != 0) return false;
   return std::all_of(bits + (used + 7) / 8, bits + octets, [](uint8_t octet) { return octet == 0; });
}

// One pass for the verdict, and another one with names for the path of what fails.
template <bool Named>
class Test : public frame::Codec {
public:
   using Codec::Codec;

   int type(const Module& module, const Type& itself, uint8_t* value, uint64_t outer = kNoOuter) {
      const Type& type = formOf(ctxt_, module, itself);
      if (type.form == Form::Alias) {
         const Module& other = *modules[type.rows];
         return this->type(other, other.types[type.first], value, outer);
      }
      if (type.form == Form::Empty || depth_ == kDeepest) return 0;
      if (type.presenceOctets != 0 &&
          !endsClear(value + type.presenceOffset, type.presenceOctets, type.presenceBits))
         return refused(RTX_E_NOT_INIT);
      if (type.appendixOctets != 0 &&
          !endsClear(value + type.appendixOffset, type.appendixOctets, type.appendixBits))
         return refused(RTX_E_NOT_INIT);
      if (type.lengthBits != 0 && (type.flags & kBare) == 0)
         L3_TRY(length(module, itself, type, load(value + type.lengthOffset, lengthOctets(type))));
      if (type.bits != 0) return fits(load(value, 4), type.bits, RTX_E_BAD_ENUM);
      ++depth_;
      L3_TRY(block({module, type, value, outer}, firstOnWire(type), behindRows(type)));
      --depth_;
      return 0;
   }

private:
   // Whose rows are at hand.
   struct Place {
      const Module& module;
      const Type& type;
      uint8_t* record;
      uint64_t outer;

      uint64_t value(unsigned expression) const {
         return expression == 0 ? 0 : module.expressions[expression](record, nullptr, outer);
      }
   };

   int refused(int status) { return Named ? failed(status) : status; }
   int fits(uint64_t number, unsigned bits, int status = RTX_E_CONSTRAINT) {
      return bits == 0 || bits >= 64 || number >> bits == 0 ? 0 : refused(status);
   }
   int named(const char* name) { return Named ? push(name) : 0; }
   void unnamed() {
      if constexpr (Named) pop();
   }

   // 0, or what a codec of either mode has left.
   int length(const Module& module, const Type& own, const Type& standard, uint64_t octets) {
      if (octets == 0 || (standard.flags & kCountsBits) != 0) return fits(octets, standard.lengthBits);
      if (module.limits[own.limits].allow(octets) || module.limits[standard.limits].allow(octets)) return 0;
      L3_TRY(named("length"));
      return refused(RTX_E_NOT_INIT);
   }

   int block(const Place& at, unsigned first, unsigned behind) {
      const bool csn1 = (at.type.flags & kCsn1) != 0;
      bool ended = false;
      for (unsigned i = first; i < behind; ++i) {
         const Row& row = at.module.rows[i];
         const bool there =
               row.presence == kNone || row.kind == Kind::Chain || hasBit(at.record, row.presence);
         // Most rows are flags.
         if (!Named && there && !csn1 && row.kind == Kind::Flag) {
            if (at.record[row.offset] > 1) return RTX_E_CONSTRAINT;
            continue;
         }
         // The first part of a run of CSN.1 that is absent ends it.
         const bool inRun = csn1 && (at.module.wires[i].flags & kIfMore) != 0;
         if (inRun && ended) continue;
         ended = inRun && !there;
         if (there) L3_TRY(field(at, i));
      }
      return 0;
   }

   int field(const Place& at, unsigned index) {
      const Row& row = at.module.rows[index];
      const Wire& wire = at.module.wires[index];
      if (row.kind == Kind::Store || row.kind == Kind::Constant || row.kind == Kind::Null) return 0;
      const bool hasName = (wire.flags & kUnnamedOnWire) == 0;
      if (hasName) L3_TRY(named(at.module.texts + wire.name));
      // A length has its name for itself, not for what it is the length of.
      const bool isLength = row.kind == Kind::Length;
      if (isLength && row.width != 0) L3_TRY(fits(load(at.record + row.offset, row.width), wire.bits));
      if (isLength && hasName) unnamed();
      L3_TRY(contents(at, row, wire));
      if (!isLength && hasName) unnamed();
      return 0;
   }

   int contents(const Place& at, const Row& row, const Wire& wire) {
      uint8_t* place = at.record + row.offset;
      switch (row.kind) {
      case Kind::Flag: return fits(*place, 1);
      case Kind::Number:
      case Kind::NamedNumber:
         // The encoder sets it, or its bits are as many as its value, or codecs by hand know better.
         if ((wire.flags & (kCounts | kPatterns)) != 0 || at.type.codec == walk::Codec::ByHand) return 0;
         return wire.bits == 8u * row.width ? 0 : fits(load(place, row.width), wire.bits);
      case Kind::CountedOctets:
      case Kind::CountedBits:
      case Kind::CountedUnits: return counted(row, at.record, row.kind == Kind::CountedBits ? 8 : 1);
      case Kind::Text: return text(row, place);
      case Kind::Group:
         if (row.capacity != 0 && !endsClear(at.record + row.count, row.width, row.capacity))
            return refused(RTX_E_NOT_INIT);
         return block(at, row.first, unsigned{row.first} + row.rows);
      case Kind::Nested: {
         const Module& module = *modules[row.module];
         return type(module, module.types[row.index], place,
                     wire.second != 0 ? at.value(wire.second) : kNoOuter);
      }
      case Kind::Message: {
         uint8_t* message;
         std::memcpy(&message, place, sizeof message);
         if (!isAddress(message)) return refused(RTX_E_NOT_INIT);
         const Module& module = *modules[row.module];
         return message == nullptr ? 0 : type(module, module.types[row.index], message);
      }
      case Kind::List: return list(at, row, wire);
      case Kind::Choice: return choice(at, row, wire);
      case Kind::Length:
      case Kind::Since:
      case Kind::Swap:
      case Kind::Span: return block(at, row.first, unsigned{row.first} + row.rows);
      case Kind::Chain: return chain(at, row);
      default: return 0;
      }
   }

   int counted(const Row& row, uint8_t* record, unsigned unit) {
      const uint64_t count = load(record + row.count, row.width);
      const bool heap = (row.flags & kHeap) != 0;
      if (count > (heap ? kMostOctets * unit : row.capacity)) return refused(RTX_E_CONSTRAINT);
      return count == 0 || !heap || isAddress(contentsOf(row, record)) ? 0 : refused(RTX_E_NOT_INIT);
   }
   int text(const Row& row, uint8_t* place) {
      if ((row.flags & kHeap) == 0)
         return std::memchr(place, 0, row.capacity + size_t{1}) != nullptr ? 0 : refused(RTX_E_NOT_INIT);
      const void* characters;
      std::memcpy(&characters, place, sizeof characters);
      return isAddress(characters) ? 0 : refused(RTX_E_NOT_INIT);
   }

   int list(const Place& at, const Row& row, const Wire& wire) {
      L3_TRY(counted(row, at.record, 1));
      const uint64_t count = load(at.record + row.count, row.width);
      const bool timed = (wire.flags & kTimes) != 0 && (wire.flags & kFree) == 0;
      const uint64_t times = timed ? std::min(count, at.value(wire.argument)) : count;
      uint8_t* entries = contentsOf(row, at.record);
      const Row& entry = at.module.rows[row.first];
      if (entries == nullptr) return 0;
      for (uint64_t i = 0; i < times; ++i) {
         if constexpr (Named) L3_TRY(pushIndex(i));
         uint8_t* place = entries + i * row.stride;
         if (entry.kind == Kind::Nested) {
            const Module& module = *modules[entry.module];
            L3_TRY(type(module, module.types[entry.index], place, at.outer));
         } else {
            L3_TRY(contents({at.module, at.type, place, at.outer}, entry, at.module.wires[row.first]));
         }
         if constexpr (Named) popIndex(i);
      }
      return 0;
   }

   // Where there is no arm the encoder says so.
   int choice(const Place& at, const Row& row, const Wire& wire) {
      const bool own = (row.flags & kOwnSelector) != 0;
      const uint64_t on = own ? load(at.record + row.count, 4) : at.value(wire.argument);
      const Row* arm = findArm(at.module, row, on);
      if (arm == nullptr || !hasBit(at.record, arm->presence)) return 0;
      // That of a message has the name of the union ahead, as with its encoder.
      const Arm* arms = at.module.arms + row.first;
      const bool ofMessages = Named && std::any_of(arms, arms + row.rows, [&](const Arm& each) {
                                 return at.module.rows[each.row].kind == Kind::Message;
                              });
      if (ofMessages) L3_TRY(push("u"));
      L3_TRY(field(at, static_cast<unsigned>(arm - at.module.rows)));
      if (ofMessages) pop();
      return 0;
   }

   int chain(const Place& at, const Row& chain) {
      for (unsigned i = chain.first; i < unsigned{chain.first} + chain.rows; ++i) {
         const Row& row = at.module.rows[i];
         if (row.kind != Kind::List && !hasBit(at.record, row.presence)) return 0;
         L3_TRY(field(at, i));
      }
      return 0;
   }

   unsigned depth_ = 0;
};

} // namespace

int testInitialised(RtxContext* ctxt, const Module& module, unsigned type, uint8_t* value) {
   if (Test<false>(ctxt).type(module, module.types[type], value) >= 0) return 0;
   Test<true> test(ctxt);
   L3_TRY(test.begin(module.texts + module.types[type].name));
   return test.type(module, module.types[type], value);
}

} // namespace quorva::walk
