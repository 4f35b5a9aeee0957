// The exact encoder: one body for all types, over their rows.

#include "runtime/nas/csn1.h"
#include "src/frame/decoder.h"
#include "src/frame/encoder.h"
#include "src/walk/codec.h"
#include "src/walk/initialised.h"

#include <algorithm>

namespace quorva::walk {

using namespace frame;

namespace {

int encodeType(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value,
               uint64_t outer = kNoOuter);
// The same without the short form.
int encodeInFull(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value,
                 uint64_t outer = kNoOuter);

class Encoding : public frame::Codec {
public:
   Encoding(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* record,
            uint64_t outer = kNoOuter)
         : Codec(ctxt), module_(module), type_(type), record_(record), outer_(outer) {}

   int element() {
      L3_TRY(begin(module_.texts + type_.name));
      if (type_.form == Form::Alias) {
         const Module& module = *modules[type_.rows];
         if (const int status = encodeType(ctxt_, module, module.types[type_.first], record_); status < 0)
            return failed(status);
         return done();
      }
      OpenLength length{};
      inLength_ = type_.lengthBits != 0;
      if (inLength_) L3_TRY(encOpenInFull(ctxt_, "length", type_.lengthBits, length));
      if (type_.bits != 0)
         L3_TRY(enumeration());
      else
         L3_TRY(contents());
      if ((type_.flags & kAligned) != 0) align();
      if (inLength_) L3_TRY(closeType(length));
      if ((type_.flags & kAligned) != 0) align();
      return done(result_);
   }

   int message() {
      L3_TRY(begin(module_.texts + type_.name));
      return messageFrom(0);
   }
   int elementOf(unsigned row) {
      L3_TRY(begin(module_.texts + type_.name));
      return optional(type_.first + row);
   }
   // From a row on whose short form has been tried.
   int messageRest(unsigned row) {
      L3_TRY(begin(module_.texts + type_.name));
      tried_ = true;
      return messageFrom(row);
   }

private:
   int messageFrom(unsigned row) {
      // Of an earlier message, that failed.
      if (standard()) rtxCtxtClearFlag(ctxt_, RTX_CTXT_RAW_TAIL);
      if (type_.form == Form::Empty) return done();
      const unsigned first = unsigned{type_.first} + type_.mandatory;
      if (row < type_.mandatory) L3_TRY(block(type_.first + row, first));
      for (unsigned i = std::max(type_.first + row, first); i < behindRows(type_); ++i) {
         const Row& next = module_.rows[i];
         if (next.kind == Kind::Store) break;
         if (isThere(ctxt_, next, record_) &&
             ((type_.flags & kTailStops) == 0 || (ctxt_->flags & RTX_CTXT_RAW_TAIL) == 0))
            L3_TRY(optional(i));
         tried_ = false;
      }
      if (standard()) rtxCtxtClearFlag(ctxt_, RTX_CTXT_RAW_TAIL); // nothing is open behind a message
      return done();
   }

   uint64_t value(unsigned expression) const {
      return expression == 0 ? 0 : module_.expressions[expression](record_, nullptr, outer_);
   }

   int contents() {
      const unsigned first = firstOnWire(type_), behind = behindRows(type_);
      if (type_.lengthBits != 4) return block(first, behind);
      // What stands beside a length of 4 bits comes ahead of all else.
      for (unsigned i = first; i < behind; ++i)
         if ((module_.wires[i].flags & kBeside) != 0) L3_TRY(field(i));
      besideDone_ = true;
      return block(first, behind);
   }

   int enumeration() {
      uint32_t number;
      std::memcpy(&number, record_, sizeof number);
      if (standard()         ? number >> type_.bits != 0
          : type_.legal != 0 ? !module_.legals[type_.legal].has(number)
                             : (type_.flags & kTestsNumber) != 0 && number >> type_.bits != 0)
         return RTX_E_BAD_ENUM;
      if ((type_.flags & kCsn1) != 0 && type_.legal == 0) return encHighEnumeration(ctxt_, number);
      return encEnumeration(ctxt_, number, type_.bits);
   }

   int closeType(const OpenLength& length) {
      const bool bare = (type_.flags & kBare) != 0;
      const unsigned bits = type_.lengthBits;
      uint32_t count = 0;
      if ((type_.flags & kCountsBits) != 0) {
         L3_TRY(encCloseBits(ctxt_, bits, length, &count));
         if (!bare) store(record_ + type_.lengthOffset, 1, count);
         return count < (1u << bits) ? 0 : RTX_E_CONSTRAINT;
      }
      L3_TRY(encCloseInFull(ctxt_, bits, length, &count, (type_.flags & kTailStays) != 0,
                            (type_.flags & kCsn1) != 0));
      if (!bare) store(record_ + type_.lengthOffset, lengthOctets(type_), count);
      const Limits limits = bare ? Limits{} : module_.limits[type_.limits];
      if (limits.allow(count) && count >> bits == 0) return 0;
      return bits == 4 ? failBound(ctxt_, count) : RTX_E_CONSTRAINT;
   }

   int block(unsigned first, unsigned behind) {
      for (unsigned i = first; i < behind; ++i) {
         if (module_.rows[i].kind == Kind::Store) continue;
         if (besideDone_ && (module_.wires[i].flags & kBeside) != 0) continue;
         L3_TRY(field(i));
         tried_ = false;
      }
      return 0;
   }

   int optional(unsigned index) {
      const Wire& wire = module_.wires[index];
      L3_TRY(push(module_.texts + wire.name));
      L3_TRY(encIei(ctxt_, wire.ieiBits, wire.iei));
      L3_TRY(contents(index, true));
      pop();
      return 0;
   }

   // One field with its option.
   int field(unsigned index) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      if ((wire.flags & kCounts) != 0 && row.kind == Kind::Number) L3_TRY(countAhead(row, wire));
      if ((wire.flags & kBareAround) != 0) return aroundBare(index);
      // A chain looks at each of its octets itself.
      if (row.presence != kNone && row.kind != Kind::Chain) {
         const bool there = hasBit(record_, row.presence);
         if (!there && (row.flags & kMustBe) != 0) {
            L3_TRY(push(module_.texts + wire.name));
            return RTX_E_CONSTRAINT;
         }
         if ((wire.flags & (kByBit | kByBitIfMore)) != 0)
            L3_TRY((wire.flags & kHigh) != 0 ? encHighBit(ctxt_, "optional bit", there)
                                             : encLeadBit(ctxt_, "optional bit", there));
         // Of parts that no bits lead the first one that is absent ends them all.
         const bool inRun = (type_.flags & kCsn1) != 0 && (wire.flags & kIfMore) != 0;
         if (inRun && runEnded_) return 0;
         runEnded_ = inRun && !there;
         if (!there) return 0;
      }
      return contents(index);
   }
   // The number of octets of a later string.
   int countAhead(const Row& row, const Wire& wire) {
      uint64_t octets = hasBit(record_, row.stride) ? load(record_ + row.count, row.index) : 0;
      if (octets > row.capacity) return RTX_E_CONSTRAINT;
      store(record_ + row.offset, row.width, octets + wire.number);
      return 0;
   }
   int aroundBare(unsigned index) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const bool around = inLength_;
      OpenLength length{};
      L3_TRY(push(module_.texts + wire.name));
      L3_TRY(encOpenInFull(ctxt_, "length", wire.lead, length));
      inLength_ = true;
      if (hasBit(record_, row.presence)) L3_TRY(contents(index, true));
      inLength_ = around;
      L3_TRY(close(index, wire.lead, Limits{}, length, nullptr));
      pop();
      return 0;
   }
   int close(unsigned index, unsigned bits, const Limits& limits, const OpenLength& length, uint8_t* place) {
      uint32_t count = 0;
      const bool keeps = (module_.wires[index].flags & kKeepsTail) != 0;
      L3_TRY(encCloseInFull(ctxt_, bits, length, &count, keeps, (type_.flags & kCsn1) != 0));
      if (place != nullptr) store(place, module_.rows[index].width, count);
      return limits.allow(count) && count >> bits == 0 ? 0 : RTX_E_CONSTRAINT;
   }

   // `unnamed`: the name is pushed already.
   int contents(unsigned index, bool unnamed = false) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const char* name = unnamed || (wire.flags & kUnnamedOnWire) != 0 ? nullptr : module_.texts + wire.name;
      uint8_t* place = record_ + row.offset;
      if (row.kind != Kind::Octets) result_ = 0;
      switch (row.kind) {
      case Kind::Flag: return encFlag(ctxt_, name, *place);
      case Kind::Number:
      case Kind::NamedNumber: return integer(index, name, load(place, row.width));
      case Kind::Constant: return integer(index, name, wire.number);
      case Kind::Octets: return untested(wire, encOctets(ctxt_, name, place, row.capacity));
      case Kind::Bits: return encBitField(ctxt_, name, place, row.capacity);
      case Kind::Padding: return encPadding(ctxt_, csn1::kPadding); // TS 44.018, 10.5.2: spare bits are L
      case Kind::CountedOctets: return countedOctets(index, name, record_);
      case Kind::CountedBits: return countedBits(index, name);
      case Kind::Null: return name != nullptr ? nothing(name) : 0;
      case Kind::Nested: return nested(index, name, place);
      case Kind::Group:
         if (name != nullptr) L3_TRY(push(name));
         L3_TRY(block(row.first, unsigned{row.first} + row.rows));
         if (name != nullptr) pop();
         return 0;
      case Kind::Choice:
         if (name != nullptr) L3_TRY(push(name));
         L3_TRY(choice(index));
         if (name != nullptr) pop();
         return 0;
      case Kind::List: return list(index, name);
      case Kind::Length: {
         const bool around = inLength_;
         OpenLength length{};
         L3_TRY(encOpenInFull(ctxt_, module_.texts + wire.name, wire.bits, length));
         inLength_ = true;
         L3_TRY(block(row.first, unsigned{row.first} + row.rows));
         inLength_ = around;
         if ((wire.flags & kInBits) != 0) {
            uint32_t count = 0;
            L3_TRY(encCloseBits(ctxt_, wire.bits, length, &count, wire.number));
            store(place, row.width, count);
            return count >> wire.bits == 0 ? 0 : RTX_E_CONSTRAINT;
         }
         if (row.width == 0) return close(index, wire.bits, Limits{}, length, nullptr);
         return close(index, wire.bits, module_.limits[wire.limits], length, place);
      }
      case Kind::Chain: return chain(row);
      case Kind::Since: return block(row.first, unsigned{row.first} + row.rows);
      case Kind::Swap:
         for (unsigned i = row.rows; i-- > 0;) L3_TRY(field(row.first + i));
         return 0;
      case Kind::Span: {
         const size_t start = offset();
         L3_TRY(block(row.first, unsigned{row.first} + row.rows));
         store(place, row.width, (offset() - start) / 8);
         return 0;
      }
      default: return 0;
      }
   }

   // Their status is the codec's own if they come last and no length is closed behind them.
   int untested(const Wire& wire, int status) {
      result_ = 0;
      if ((type_.flags & kCsn1) != 0 || standard()) return status < 0 ? failed(status) : 0;
      if ((wire.flags & kLast) == 0 || inLength_) return unlessMemory(status);
      result_ = status;
      return 0;
   }
   int integer(unsigned index, const char* name, uint64_t number) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const Limits& limits = module_.limits[wire.limits];
      if ((wire.flags & kPatterns) != 0) return encUnary(ctxt_, name, static_cast<uint8_t>(number));
      return encInteger(ctxt_, name, static_cast<uint32_t>(number),
                        {wire.bits, row.width, (wire.flags & kLogged) != 0, limits.low, limits.high});
   }
   int countedOctets(unsigned index, const char* name, uint8_t* record) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const uint8_t* data = contentsOf(row, record);
      const auto numocts = static_cast<size_t>(load(record + row.count, row.width));
      const size_t capacity = (row.flags & kHeap) != 0 ? ~size_t{0} : row.capacity;
      if (wire.bits != 0) return encCounted(ctxt_, name, wire.bits / 8u, data, numocts, capacity);
      const bool free = (wire.flags & (walk::kRest | kByCount | kPreset)) != 0;
      const bool fits = numocts <= capacity && (free || numocts == value(wire.argument));
      return encSized(ctxt_, name, data, numocts, fits, (wire.flags & kOpensTail) != 0);
   }
   int countedBits(unsigned index, const char* name) {
      const Row& row = module_.rows[index];
      const auto numbits = static_cast<size_t>(load(record_ + row.count, row.width));
      const Wire& wire = module_.wires[index];
      const bool fits = ((row.flags & kHeap) != 0 || numbits <= row.capacity) &&
                        (wire.argument == 0 || numbits == value(wire.argument));
      const uint8_t* data = contentsOf(row, record_);
      const int status = fits && (type_.flags & kCsn1) != 0
                               ? encBitField(ctxt_, name, data, numbits)
                               : encBitString(ctxt_, name, data, fits ? numbits : 0, fits);
      if (fits && (wire.flags & kOpensTail) != 0) rtxCtxtSetFlag(ctxt_, RTX_CTXT_RAW_TAIL);
      return status;
   }

   int nested(unsigned index, const char* name, uint8_t* place) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const Module& module = *modules[row.module];
      const Type& type = module.types[row.index];
      if (name != nullptr) L3_TRY(push(name));
      if ((wire.flags & (kContents | kAhead)) != 0) {
         L3_TRY(inside(wire, module, formOf(ctxt_, module, type), place));
      } else {
         const uint64_t outer = wire.second != 0 ? value(wire.second) : kNoOuter;
         if ((wire.flags & kPreset) != 0 && (wire.number == 0 || outer_ != kNoOuter))
            return sized(index, module, type, place, name, outer);
         const int status = tried_ ? encodeInFull(ctxt_, module, type, place, outer)
                                   : encodeType(ctxt_, module, type, place, outer);
         if (status < 0) return fail(ctxt_, status);
         if ((type_.flags & kCsn1) != 0 && wire.lead != 0) {
            if (const int zeros = rtxEncBits(ctxt_, 0, wire.lead); zeros < 0) return failed(zeros);
         }
      }
      if (name != nullptr) pop();
      return 0;
   }
   // Strings and arrays that don't tell their size on the wire: as many as the record says elsewhere.
   int sized(unsigned index, const Module& module, const Type& type, uint8_t* value, const char* name,
             uint64_t outer) {
      const Row& row = module.rows[type.first];
      const uint64_t wanted = this->value(module_.wires[index].argument);
      const uint64_t count = load(value + row.count, row.width);
      const bool list = row.kind == Kind::List;
      if (list ? count < wanted : count != wanted) return RTX_E_CONSTRAINT;
      store(value + row.count, row.width, wanted);
      const int status = encodeType(ctxt_, module, type, value, outer);
      store(value + row.count, row.width, count);
      if (status < 0) return fail(ctxt_, status);
      if (name != nullptr) pop();
      return 0;
   }
   // The contents of a type with a length, without it; or its choice, whose selector stands elsewhere.
   int inside(const Wire& wire, const Module& module, const Type& type, uint8_t* place) {
      Encoding contents(ctxt_, module, type, place);
      contents.inLength_ = inLength_;
      const unsigned first = firstOnWire(type);
      if ((wire.flags & kAhead) != 0) return contents.arms(first, load(place + module.rows[first].count, 4));
      const size_t start = offset();
      L3_TRY(contents.block(first, behindRows(type)));
      if (first != type.first) store(place + type.lengthOffset, lengthOctets(type), (offset() - start) / 8);
      return 0;
   }

   int choice(unsigned index) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      if ((row.flags & kOwnSelector) == 0) return arms(index, value(wire.argument));
      const auto t = static_cast<uint32_t>(load(record_ + row.count, 4));
      if ((wire.flags & kPatterns) != 0) {
         for (unsigned i = 0; i < row.rows; ++i) {
            const Arm& arm = module_.arms[row.first + i];
            if (arm.low != t) continue;
            L3_TRY(encPattern(ctxt_, arm.pattern, arm.bits, (wire.flags & kHigh) != 0));
            return field(arm.row);
         }
         return refuseChoice(*this, module_, index);
      }
      if (wire.bits != 0) L3_TRY(encSelector(ctxt_, wire.bits, t));
      return arms(index, t);
   }
   int arms(unsigned index, uint64_t on) {
      if (const Row* arm = findArm(module_, module_.rows[index], static_cast<uint32_t>(on)))
         return field(static_cast<unsigned>(arm - module_.rows));
      return refuseChoice(*this, module_, index);
   }

   int list(unsigned index, const char* name) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const bool byExt = (wire.flags & kLedByExt) != 0, byFlags = (wire.flags & kLedByFlags) != 0;
      const bool outside = (wire.flags & kLedOutside) != 0;
      const auto n = static_cast<size_t>(load(record_ + row.count, row.width));
      const bool timed = (wire.flags & kTimes) != 0 && (wire.flags & kFree) == 0;
      const size_t times = timed ? static_cast<size_t>(value(wire.argument)) : n;
      if (name != nullptr) L3_TRY(push(name));
      if (!byExt && !byFlags && (!module_.limits[wire.limits].allow(times) || times > n))
         return RTX_E_CONSTRAINT;
      uint8_t* entries = contentsOf(row, record_);
      if (times != 0 && entries == nullptr) return fail(ctxt_, RTX_E_NULL);
      for (size_t i = 0; i < times; ++i) {
         if (outside) L3_TRY(leadOutside(wire, true));
         L3_TRY(pushIndex(i));
         if (byExt) L3_TRY(encLeadBit(ctxt_, "ext bit", i + 1 == times));
         if (byFlags) L3_TRY(encLeadBit(ctxt_, "eol bit", true));
         if (const int status = entry(index, entries + i * row.stride); status < 0)
            return fail(ctxt_, status);
         popIndex(i);
      }
      if (byFlags) L3_TRY(encLeadBit(ctxt_, "eol bit", false));
      if (outside) L3_TRY(leadOutside(wire, false));
      if (name != nullptr) pop();
      if ((wire.flags & kOpensTail) != 0) rtxCtxtSetFlag(ctxt_, RTX_CTXT_RAW_TAIL);
      return 0;
   }
   int leadOutside(const Wire& wire, bool another) {
      const char* kind = another ? "ext bit" : "eol bit";
      if ((wire.flags & kHigh) != 0) return encHighBit(ctxt_, kind, another);
      return encLeadBit(ctxt_, kind, another != ((wire.flags & kLedByZeros) != 0));
   }
   int entry(unsigned index, uint8_t* place) {
      const unsigned at = module_.rows[index].first;
      const Row& row = module_.rows[at];
      if (row.kind == Kind::Nested) {
         const Module& module = *modules[row.module];
         return encodeType(ctxt_, module, module.types[row.index], place, outer_);
      }
      return row.kind == Kind::Number ? integer(at, nullptr, load(place, row.width))
                                      : countedOctets(at, nullptr, place);
   }

   // Octets led by an ext bit: 1 where no other one follows.
   int chain(const Row& chain) {
      for (unsigned i = chain.first; i < unsigned{chain.first} + chain.rows; ++i) {
         const Row& row = module_.rows[i];
         if (row.kind == Kind::List) {
            if (load(record_ + row.count, row.width) != 0)
               L3_TRY(list(i, module_.texts + module_.wires[i].name));
            continue;
         }
         if (!hasBit(record_, row.presence)) return 0;
         const bool more = i + 1 < unsigned{chain.first} + chain.rows && follows(module_.rows[i + 1]);
         L3_TRY(push(module_.texts + module_.wires[i].name));
         L3_TRY(encLeadBit(ctxt_, "ext bit", !more));
         pop();
         L3_TRY(contents(i));
      }
      return 0;
   }
   bool follows(const Row& row) const {
      return row.kind == Kind::List ? load(record_ + row.count, row.width) != 0
                                    : hasBit(record_, row.presence);
   }

   const Module& module_;
   const Type& type_;
   uint8_t* record_;
   int result_ = 0;
   bool inLength_ = false;
   bool runEnded_ = false;
   uint64_t outer_;
   bool besideDone_ = false;
   bool tried_ = false; // the short form of the row at hand
};

int encodeInFull(RtxContext* ctxt, const Module& module, const Type& itself, uint8_t* value, uint64_t outer) {
   const Type& type = formOf(ctxt, module, itself);
   switch (type.codec) {
   case walk::Codec::Message: return Encoding(ctxt, module, type, value).message();
   case walk::Codec::ByHand: return type.encode(ctxt, value);
   default: break;
   }
   return Encoding(ctxt, module, type, value, outer).element();
}

int encodeType(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value, uint64_t outer) {
   if (canWriteShort(ctxt)) [[likely]] {
      if (type.messageEncode != nullptr && !isStandard(ctxt)) return type.messageEncode(ctxt, value);
      const Type& base = type.codec == walk::Codec::OneElement ? modules[type.rows]->types[type.first] : type;
      if (base.shortEncode != nullptr) {
         const uint32_t flags = ctxt->flags;
         uint8_t* at = ctxt->bufData + ctxt->bufByteIndex;
         uint8_t* behind = base.shortEncode(at, ctxt->bufData + ctxt->bufSize, ctxt, value);
         if (behind != nullptr) [[likely]] {
            ctxt->bufByteIndex += static_cast<size_t>(behind - at);
            return frame::Codec(ctxt).done();
         }
         ctxt->flags = flags;
      }
   }
   return encodeInFull(ctxt, module, type, value, outer);
}

// The outermost value in standard mode.
L3_COLD int encodeTested(RtxContext* ctxt, const Module& module, unsigned type, uint8_t* value) {
   L3_TRY(testInitialised(ctxt, module, type, value));
   ctxt->flags |= kTested;
   const int status = encodeType(ctxt, module, module.types[type], value);
   ctxt->flags &= ~kTested;
   return status;
}

} // namespace

int encode(RtxContext* ctxt, const Module& module, unsigned type, void* value) {
   if (hot::streamActive(ctxt)) [[unlikely]]
      return stream::toStream(ctxt, [=, &module] { return encode(ctxt, module, type, value); });
   if (isUntested(ctxt)) [[unlikely]]
      return encodeTested(ctxt, module, type, static_cast<uint8_t*>(value));
   return encodeType(ctxt, module, module.types[type], static_cast<uint8_t*>(value));
}

int encodeElement(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row) {
   return Encoding(ctxt, module, module.types[type], static_cast<uint8_t*>(record)).elementOf(row);
}

int encodeRest(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row) {
   return Encoding(ctxt, module, module.types[type], static_cast<uint8_t*>(record)).messageRest(row);
}

int encodeOptional(RtxContext* ctxt, const Module& module, unsigned type, void* record) {
   return encodeRest(ctxt, module, type, record, module.types[type].mandatory);
}

} // namespace quorva::walk
