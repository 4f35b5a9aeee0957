// The exact decoder: one body for all types, over their rows.

#include "quorva/rtx3GPP.h"
#include "runtime/core/rtxMemHeapInline.h"
#include "runtime/nas/csn1.h"
#include "src/frame/scan.h"
#include "src/walk/codec.h"

#include <algorithm>

namespace quorva::walk {

using namespace frame;

namespace {

constexpr size_t kNoEnd = ~size_t{0};

// A type at the cursor, as its function would.
int decodeType(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value,
               uint64_t parameter = 0, uint64_t second = 0);
// The same without the short form, and if that has failed at the cursor.
int decodeInFull(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value, uint64_t parameter,
                 uint64_t second);
L3_INLINE int decodeTried(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value,
                          uint64_t parameter, uint64_t second) {
   if (type.codec == walk::Codec::ByHand && type.shortDecode != nullptr && !isStandard(ctxt))
      ctxt->flags |= kTried;
   return decodeInFull(ctxt, module, type, value, parameter, second);
}

class Decoding : public Decoder {
public:
   Decoding(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* record, uint64_t parameter = 0)
         : Decoder(ctxt), module_(module), type_(type), record_(record), parameter_(parameter) {}

   int element() {
      L3_TRY(begin(module_.texts + type_.decodedName));
      if (type_.form == Form::Alias) return alias();
      prepare();
      frame::Length length{kNoEnd};
      if (type_.lengthBits != 0) L3_TRY(openType(length));
      if (type_.bits != 0)
         L3_TRY(enumeration());
      else
         L3_TRY(block(firstOnWire(type_), behindRows(type_), length.end));
      if (quit_)
         return 0; // the early way out leaves the container and the names pushed; callers see it by them
      if ((type_.flags & kAligned) != 0) align();
      if (type_.lengthBits != 0) L3_TRY(closeType(length));
      if ((type_.flags & kAligned) != 0) align();
      return done(result_);
   }

   // Mandatory part, then the scan.
   [[gnu::noinline]] int message() {
      L3_TRY(begin(module_.texts + type_.decodedName));
      prepare();
      return messageFrom(0);
   }
   // From a row on whose short form has been tried.
   int messageRest(unsigned row) {
      L3_TRY(begin(module_.texts + type_.decodedName));
      tried_ = true;
      return messageFrom(row);
   }
   // The element behind an IEI.
   int behindIei(Scan& scan) {
      tried_ = true;
      return optional(scan, firstOptional());
   }

   // The codec of one element under the name of a message.
   [[gnu::noinline]] int oneElement() {
      L3_TRY(begin(module_.texts + type_.decodedName));
      const Module& module = *modules[type_.rows];
      const Type& base = module.types[type_.first];
      int result = 0;
      if (base.codec == walk::Codec::Message) {
         // What that message reports is no failure: it comes out at the end.
         L3_TRY(inner(module, base, record_));
         result = messageStatus(ctxt_);
      } else {
         if (const int status = decodeType(ctxt_, module, base, record_); status < 0) return failed(status);
         L3_TRY(nonImperative(0));
      }
      return ended(result);
   }

   // A PDU that needs no table; its end reports what the message inside did.
   [[gnu::noinline]] int pdu() {
      L3_TRY(begin(module_.texts + type_.decodedName));
      prepare();
      L3_TRY(block(type_.first, behindRows(type_), kNoEnd));
      return ended(messageStatus(ctxt_));
   }

private:
   unsigned firstOptional() const { return unsigned{type_.first} + type_.mandatory; }
   int messageFrom(unsigned row) {
      const unsigned first = firstOptional();
      if (type_.form != Form::Empty) L3_TRY(block(type_.first + row, first, kNoEnd));
      if (!standard() && (first >= behindRows(type_) || module_.rows[first].kind == Kind::Store)) {
         L3_TRY(nonImperative((type_.flags & kShifts) != 0 ? 1 : 0));
         return ended();
      }
      tried_ = false;
      Scan scan(type_.halfOctets, (type_.flags & kShifts) != 0);
      while (scan.next(*this)) L3_TRY(optional(scan, first));
      return scan.finish(*this);
   }

   uint64_t value(unsigned expression) const {
      return expression == 0 ? 0 : module_.expressions[expression](record_, ctxt_, parameter_);
   }
   void prepare() {
      // What the standards have not is left empty; whether an element is there its bit tells, and messages
      // are large.
      if ((type_.flags & kStandardForm) != 0) std::memset(record_, 0, aheadOfOptional());
      clearPresence(type_.presenceOffset, type_.presenceOctets);
      clearPresence(type_.appendixOffset, type_.appendixOctets);
   }
   size_t aheadOfOptional() const {
      size_t size = type_.size;
      if (type_.codec != walk::Codec::Message) return size;
      for (unsigned i = firstOptional(); i < behindRows(type_) && module_.rows[i].kind != Kind::Store; ++i)
         size = std::min<size_t>(size, module_.rows[i].offset);
      return size;
   }
   // A type without contents has no record.
   void clearPresence(uint32_t offset, unsigned octets) {
      if (octets != 0) std::memset(record_ + offset, 0, octets);
   }

   [[gnu::noinline]] int alias() {
      const Module& module = *modules[type_.rows];
      const Type& base = module.types[type_.first];
      if (base.codec == walk::Codec::Message) {
         L3_TRY(inner(module, base, record_));
         return done(messageStatus(ctxt_));
      }
      if (const int status = decodeType(ctxt_, module, base, record_, parameter_); status < 0)
         return failed(status);
      return done();
   }

   int openType(frame::Length& length) {
      uint16_t unused = 0;
      const bool bare = (type_.flags & kBare) != 0;
      void* place = bare ? static_cast<void*>(&unused) : record_ + type_.lengthOffset;
      const unsigned octets = lengthOctets(type_);
      const Limits& limits = module_.limits[type_.limits];
      const bool countsBits = (type_.flags & kCountsBits) != 0;
      if (type_.lengthBits == 8 && octets == 1 && !countsBits && isPlain(ctxt_) && hasOctets(ctxt_, 1) &&
          !standard() && limits.allow(ctxt_->bufData[ctxt_->bufByteIndex])) [[likely]] {
         // As below, and nobody sees the name.
         const uint8_t count = ctxt_->bufData[ctxt_->bufByteIndex];
         ++ctxt_->bufByteIndex;
         *static_cast<uint8_t*>(place) = count;
         length.end = (ctxt_->bufByteIndex + count) * 8;
         const int status = hot::pushContainerBytes(ctxt_, count);
         if (status >= 0) [[likely]]
            return 0;
         L3_TRY(push("length"));
         return failed(status);
      }
      if (type_.lengthBits == 4 && !countsBits)
         return openNibble(*static_cast<uint8_t*>(place), limits, length);
      if (!countsBits)
         return openInFull(ctxt_, "length", type_.lengthBits, place, octets, limits, true, length);
      L3_TRY(openInFull(ctxt_, "length", type_.lengthBits, place, octets, Limits{}, false, length));
      const auto bits = static_cast<size_t>(load(place, octets));
      length.end = hot::bitOffset(ctxt_) + bits;
      const int status = hot::pushContainerBits(ctxt_, bits);
      return status < 0 ? failed(status) : 0;
   }
   // What stands beside a length of 4 bits in its octet is outside of the container.
   [[gnu::noinline]] int openNibble(uint8_t& place, const Limits& limits, frame::Length& length) {
      L3_TRY(openInFull(ctxt_, "length", 4, &place, 1, Limits{}, false, length));
      if (!limits.allow(place)) {
         L3_TRY(push("length"));
         return badBound(place);
      }
      for (unsigned i = firstOnWire(type_); i < behindRows(type_); ++i)
         if ((module_.wires[i].flags & kBeside) != 0) L3_TRY(field(i, kNoEnd));
      besideDone_ = true;
      return pushContainer(place, length);
   }
   int closeType(const frame::Length& length) {
      if ((type_.flags & kCountsBits) == 0) return closeInFull(ctxt_, length);
      // Such an element ends where it ends: nothing is skipped.
      if (hot::bitOffset(ctxt_) > length.end) return failed(RTX_E_LENGTH_OVERRUN);
      hot::popContainer(ctxt_);
      return 0;
   }

   [[gnu::noinline]] int enumeration() {
      uint32_t number = 0;
      std::memcpy(&number, record_, sizeof number);
      const int status = (type_.flags & kCsn1) != 0 && type_.legal == 0
                               ? decHighEnumeration(ctxt_, &number)
                               : decEnumeration(ctxt_, &number, type_.bits);
      std::memcpy(record_, &number, sizeof number);
      L3_TRY(status);
      // Values that a standard reserves are kept as numbers.
      return standard() || type_.legal == 0 || module_.legals[type_.legal].has(number) ? 0 : RTX_E_BAD_ENUM;
   }

   int block(unsigned first, unsigned behind, size_t end) {
      const bool plain = isPlain(ctxt_) && (type_.flags & kCsn1) == 0;
      for (unsigned i = first; i < behind; ++i) {
         if (plain && !tried_ && mayPass(i) && (i = passQuickly(i, behind, end)) == behind) break;
         if (module_.rows[i].kind == Kind::Store) continue;
         if (besideDone_ && (module_.wires[i].flags & kBeside) != 0) continue;
         L3_TRY(field(i, end));
         tried_ = false;
         if (quit_) return 0;
      }
      return 0;
   }

   // Fields that are there and legal, when nobody looks: neither their names nor their places are seen, and
   // they are most of what stands ahead of a failure. Gives the first one that has to be looked at more
   // closely.
   static constexpr uint32_t kAside =
         kIfTest | kBareAround | kQuits | kContents | kAhead | kInner | kBeside | kHigh | kPatterns;
   // Can the row at hand be one of those? Most often it is what fails.
   bool mayPass(unsigned index) const {
      constexpr auto bit = [](Kind kind) { return 1u << static_cast<unsigned>(kind); };
      constexpr uint32_t kPassing = bit(Kind::Flag) | bit(Kind::Number) | bit(Kind::NamedNumber) |
                                    bit(Kind::Constant) | bit(Kind::Octets) | bit(Kind::Nested);
      const Row& row = module_.rows[index];
      if ((kPassing >> static_cast<unsigned>(row.kind) & 1) == 0) return false;
      const size_t left = ctxt_->bufSize - ctxt_->bufByteIndex;
      if (left == 0 || (row.kind == Kind::Octets && left < row.capacity)) return false;
      if ((module_.wires[index].flags & kAside) != 0) return false;
      if (row.kind != Kind::Nested) return true;
      const Type& type = modules[row.module]->types[row.index];
      return type.bits != 0 || type.shortDecode != nullptr;
   }
   unsigned passQuickly(unsigned index, unsigned behind, size_t end) {
      constexpr uint32_t kLed = kByBit | kByBitIfMore;
      constexpr uint32_t kAsksMore = kIfMore | kGuarded | kByBitIfMore;
      const uint8_t* const data = ctxt_->bufData;
      const size_t size = ctxt_->bufSize * 8, tested = std::min(end, size);
      const hot::RtxContainer* top = hot::topContainer(ctxt_);
      const size_t around =
            top == nullptr ? size : top->byteIndex * 8 + 8 - static_cast<size_t>(top->bitsLeft);
      uint8_t* const record = record_;
      const Limits* const limits = module_.limits;
      const Row* row = module_.rows + index;
      const Wire* wire = module_.wires + index;
      const Row* const behindAll = module_.rows + behind;
      size_t at = cursorBits(ctxt_);
      for (; row != behindAll; ++row, ++wire) {
         const uint32_t flags = wire->flags;
         size_t most = size, from = at;
         if ((flags & (kAside | kAsksMore | kLed | kEndTested)) != 0) {
            if ((flags & kAside) != 0 || ((flags & kAsksMore) != 0 && at >= around)) break;
            if ((flags & (kEndTested | kByBitIfMore)) != 0) most = tested;
            if ((flags & kLed) != 0) {
               if (++from > most || row->kind == Kind::List) break;
               if ((data[at / 8] >> (7 - at % 8) & 1) == 0) {
                  at = from;
                  continue;
               }
            }
         }
         uint8_t* const place = record + row->offset;
         size_t next = from + wire->bits;
         switch (row->kind) {
         case Kind::Flag:
            next = from + 1;
            if (next > most) goto out;
            *place = data[from / 8] >> (7 - from % 8) & 1;
            break;
         case Kind::Number:
         case Kind::NamedNumber: {
            if (next > most) goto out;
            const uint32_t number = bitsAt(data, from, wire->bits);
            if (wire->limits != 0 &&
                (number < limits[wire->limits].low || number > limits[wire->limits].high))
               goto out;
            if (row->width == 1)
               *place = static_cast<uint8_t>(number);
            else
               store(place, row->width, number);
            break;
         }
         case Kind::Constant:
            if (next > most) goto out;
            break;
         case Kind::Octets:
            next = from + size_t{8} * row->capacity;
            if (from % 8 != 0 || next > most) goto out;
            copyOctets(place, data + from / 8, row->capacity);
            break;
         case Kind::Nested:
            next = behindNested(*row, *wire, from, most);
            if (next == 0) goto out;
            break;
         default: goto out;
         }
         at = next;
         if (row->presence != kNone) setBit(record, row->presence);
      }
   out:
      const auto reached = static_cast<unsigned>(row - module_.rows);
      if (reached != index) {
         result_ = 0;
         hot::setBitOffset(ctxt_, at);
      }
      return reached;
   }
   // Up to 32 bits, which are there.
   static L3_INLINE uint32_t bitsAt(const uint8_t* data, size_t at, unsigned bits) {
      const unsigned total = at % 8 + bits;
      data += at / 8;
      if (total <= 8) return data[0] >> (8 - total) & (0xFFu >> (8 - bits));
      return static_cast<uint32_t>(loadEnd(data, (total + 7) / 8) << at % 8 >> (64 - bits));
   }
   // An enumeration, or an element that has a short form wherever it stands: the offset behind it, or 0.
   size_t behindNested(const Row& row, const Wire& wire, size_t at, size_t most) {
      if ((wire.flags & (kUnnamedOnWire | kPreset)) != 0 || tried_) return 0;
      const Module& module = *modules[row.module];
      const Type& type = module.types[row.index];
      uint8_t* place = record_ + row.offset;
      if ((type.flags & kCsn1) != 0) return 0;
      if (type.bits != 0 && type.lengthBits == 0 && type.codec == walk::Codec::Element) {
         if (at + type.bits > most) return 0;
         const uint32_t number = bitsAt(ctxt_->bufData, at, type.bits);
         if (type.legal != 0 && !module.legals[type.legal].has(number)) return 0;
         std::memcpy(place, &number, sizeof number);
         return at + type.bits;
      }
      if (standard() || (type.flags & kEndsByItself) == 0 || type.shortDecode == nullptr || at % 8 != 0 ||
          at >= most)
         return 0;
      const uint8_t* behind =
            type.shortDecode(ctxt_->bufData + at / 8, ctxt_->bufData + ctxt_->bufSize, ctxt_, place);
      tried_ = behind == nullptr; // once is enough
      const size_t next = behind == nullptr ? 0 : static_cast<size_t>(behind - ctxt_->bufData) * 8;
      return next <= most ? next : 0;
   }

   // One field with its option.
   static constexpr uint32_t kAsked = kIfMore | kIfTest | kByBit | kByBitIfMore | kGuarded;
   int field(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const uint32_t flags = module_.wires[index].flags;
      if ((flags & (kAsked | kBareAround | kQuits)) != 0 || row.kind == Kind::Since)
         return fieldAside(index, end);
      L3_TRY(contents(index, end));
      setBit(record_, row.presence);
      return (flags & kEndTested) != 0 ? within({end}) : 0;
   }
   [[gnu::noinline]] int fieldAside(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const bool csn1 = (type_.flags & kCsn1) != 0;
      if (csn1 && (wire.flags & kQuits) != 0 && !more()) {
         quit_ = true;
         return blank(index);
      }
      if ((wire.flags & kBareAround) != 0) return aroundBare(index, end);
      if ((wire.flags & kAsked) != 0 && row.kind != Kind::Chain) {
         bool there = (wire.flags & kIfTest) != 0 ? value(wire.test) != 0 : more();
         if ((wire.flags & (kByBit | kByBitIfMore)) != 0) {
            uint8_t bit = 0;
            if (there || (wire.flags & kByBit) != 0)
               L3_TRY((wire.flags & kHigh) != 0 ? decHighBit(ctxt_, "optional bit", &bit)
                                                : decLeadBit(ctxt_, "optional bit", &bit));
            if ((wire.flags & kByBitIfMore) != 0) L3_TRY(within({end}));
            there = bit != 0;
         }
         if (!there && csn1 && (wire.flags & kGuarded) != 0) return blank(index);
         if (!there) return absent(row, wire);
      }
      if (row.kind == Kind::Since) {
         bool known = more() && knowsRelease(ctxt_, wire.number);
         if (wire.lead != 0) {
            // With fewer bits left, all later groups are given up too.
            if (groups_ && known) groups_ = hot::bitOffset(ctxt_) + wire.lead <= end;
            known = known && groups_;
         }
         if (!known) return 0;
      }
      L3_TRY(contents(index, end));
      setBit(record_, row.presence);
      if ((wire.flags & kEndTested) != 0) L3_TRY(within({end}));
      if ((wire.flags & kQuits) != 0 && !csn1 && offset() == end) quit_ = true;
      return 0;
   }
   // A part of a structure that ends ahead of it: L, and nothing that is optional.
   [[gnu::noinline]] int blank(unsigned index) {
      const Row& row = module_.rows[index];
      uint8_t* place = record_ + row.offset;
      switch (row.kind) {
      case Kind::Flag: *place = 0; return 0;
      case Kind::Number: store(place, row.width, 0); return 0;
      case Kind::Nested: {
         const Type& type = modules[row.module]->types[row.index];
         if (type.form != Form::Record)
            std::memset(place, 0, type.size);
         else if (type.presenceOctets != 0)
            std::memset(place + type.presenceOffset, 0, type.presenceOctets);
         return 0;
      }
      case Kind::Choice: store(record_ + row.count, 4, 1); return blank(module_.arms[row.first].row);
      default: return 0;
      }
   }
   [[gnu::noinline]] int absent(const Row& row, const Wire& wire) {
      setAbsent(record_, row.presence);
      if (row.kind == Kind::List && row.presence != kNone) store(record_ + row.count, row.width, 0);
      if ((wire.flags & kGuarded) != 0 && row.kind == Kind::Nested) {
         const Type& type = modules[row.module]->types[row.index];
         if (type.codec == walk::Codec::ByHand && type.form == Form::Value)
            emptyText(row, *modules[row.module], type);
      }
      return 0;
   }
   void emptyText(const Row& row, const Module& module, const Type& type) {
      const Row& text = module.rows[type.first];
      if (text.kind != Kind::Text || (text.flags & kHeap) == 0) return;
      const char* empty = "";
      std::memcpy(record_ + row.offset, &empty, sizeof empty);
   }
   // A bare length is always there; what is left in it tells whether an optional field is, and a guarded one
   // is 0 without it.
   [[gnu::noinline]] int aroundBare(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      L3_TRY(push(module_.texts + wire.name));
      uint16_t unused = 0;
      frame::Length length;
      L3_TRY(openInFull(ctxt_, "length", wire.lead, &unused, wire.lead / 8u, Limits{}, true, length));
      const bool guarded = (wire.flags & kGuarded) != 0;
      if ((row.presence == kNone && !guarded) || more()) {
         L3_TRY(contents(index, kNoEnd, true));
         setBit(record_, row.presence);
      } else if (guarded) {
         blank(index);
      } else if (row.kind == Kind::List) {
         store(record_ + row.count, row.width, 0);
      }
      L3_TRY(closeInFull(ctxt_, length));
      pop();
      return (wire.flags & kEndTested) != 0 ? within({end}) : 0;
   }

   // `unnamed`: the name is pushed already.
   int contents(unsigned index, size_t end, bool unnamed = false) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const char* name = unnamed || (wire.flags & kUnnamedOnWire) != 0 ? nullptr : module_.texts + wire.name;
      uint8_t* place = record_ + row.offset;
      if (row.kind != Kind::Octets) result_ = 0;
      switch (row.kind) {
      case Kind::Flag: return decFlag(ctxt_, name, place);
      case Kind::Number:
      case Kind::NamedNumber: return integer(index, name, place);
      case Kind::Constant: return constant(wire, name, end);
      case Kind::Octets: return octets(row, wire, name);
      case Kind::Bits: return decBitField(ctxt_, name, place, row.capacity);
      case Kind::Padding: align(); return 0;
      case Kind::CountedOctets: return countedOctets(index, name);
      case Kind::CountedBits: return countedBits(index, name);
      case Kind::Null: return null(name);
      case Kind::Nested: return nested(index, name, place);
      case Kind::Group: return group(row, name);
      case Kind::Choice: return choice(index, name, end);
      case Kind::List: return list(index, name);
      case Kind::Length: return lengthAhead(row, wire);
      case Kind::Chain: return chain(index, end);
      case Kind::Since: return block(row.first, unsigned{row.first} + row.rows, end);
      case Kind::Swap: return swapped(row, end);
      case Kind::Span: return span(row, end);
      default: return 0;
      }
   }

   // The kinds stand alone, so that none pays for another's registers.
   [[gnu::noinline]] int constant(const Wire& wire, const char* name, size_t end) {
      uint32_t unused;
      // Zeros behind all else of a length need not all be there.
      if ((type_.flags & kCsn1) != 0 && end != kNoEnd && offset() + wire.bits > end)
         return skipBits(static_cast<uint32_t>(end > offset() ? end - offset() : 0));
      return decInteger(ctxt_, name, &unused, {wire.bits, 4, false, 0, ~uint64_t{0}});
   }
   [[gnu::noinline]] int group(const Row& row, const char* name) {
      if (name != nullptr) L3_TRY(push(name));
      clearPresence(row.count, row.width);
      L3_TRY(block(row.first, unsigned{row.first} + row.rows, kNoEnd));
      if (name != nullptr) pop();
      return 0;
   }
   [[gnu::noinline]] int choice(unsigned index, const char* name, size_t end) {
      if (name != nullptr) L3_TRY(push(name));
      L3_TRY(choice(index, end));
      if (name != nullptr) pop();
      return 0;
   }
   [[gnu::noinline]] int lengthAhead(const Row& row, const Wire& wire) {
      uint16_t unused = 0;
      frame::Length length;
      uint8_t* place = record_ + row.offset;
      void* target = row.width == 0 ? static_cast<void*>(&unused) : place;
      const bool inBits = (wire.flags & kInBits) != 0;
      L3_TRY(openInFull(ctxt_, module_.texts + wire.name, wire.bits, target, wire.bits == 16 ? 2 : 1,
                        module_.limits[wire.limits], !inBits, length));
      if (inBits) {
         const auto bits = static_cast<size_t>(load(place, row.width)) + wire.number;
         length.end = offset() + bits;
         if (const int status = hot::pushContainerBits(ctxt_, bits); status < 0) return failed(status);
      }
      L3_TRY(block(row.first, unsigned{row.first} + row.rows, length.end));
      return quit_ ? 0 : closeInFull(ctxt_, length);
   }
   [[gnu::noinline]] int swapped(const Row& row, size_t end) {
      for (unsigned i = row.rows; i-- > 0;) L3_TRY(field(row.first + i, end));
      return 0;
   }
   [[gnu::noinline]] int span(const Row& row, size_t end) {
      const size_t start = offset();
      L3_TRY(block(row.first, unsigned{row.first} + row.rows, end));
      store(record_ + row.offset, row.width, (offset() - start) / 8);
      return 0;
   }

   [[gnu::noinline]] int null(const char* name) { return name != nullptr ? nothing(name) : 0; }
   // Octets of a fixed number: their status is the codec's own if they come last, and dropped
   // otherwise, as all codecs of the family do: what follows meets the same end.
   [[gnu::noinline]] int octets(const Row& row, const Wire& wire, const char* name) {
      const int status = decOctets(ctxt_, name, record_ + row.offset, row.capacity);
      result_ = 0;
      if ((type_.flags & kCsn1) != 0 || standard()) return status < 0 ? failed(status) : 0;
      if ((wire.flags & kLast) == 0) return unlessMemory(status);
      result_ = status;
      return 0;
   }
   [[gnu::noinline]] int integer(unsigned index, const char* name, uint8_t* place) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const Limits& limits = module_.limits[wire.limits];
      if ((wire.flags & kPatterns) != 0) return decUnary(ctxt_, name, place);
      return decInteger(ctxt_, name, place,
                        {wire.bits, row.width, (wire.flags & kLogged) != 0, limits.low, limits.high});
   }
   [[gnu::noinline]] int countedOctets(unsigned index, const char* name, uint8_t* record) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const Limits& limits = module_.limits[wire.limits];
      uint8_t* data = record + row.offset;
      const bool own = wire.bits != 0;
      const size_t numocts = own                               ? 0
                             : (wire.flags & walk::kRest) != 0 ? frame::kRest
                             : (wire.flags & kPreset) != 0     ? load(record + row.count, row.width)
                                                               : static_cast<size_t>(value(wire.argument));
      if ((row.flags & kHeap) != 0) {
         auto* string = reinterpret_cast<RtxDynOctStr*>(record + row.count);
         return own ? decCountedHeap(ctxt_, name, wire.bits / 8u, limits, string)
                    : decSizedHeap(ctxt_, name, numocts, string);
      }
      uint32_t count = 0;
      const int status = own ? decCounted(ctxt_, name, wire.bits / 8u, data, row.capacity, limits, &count)
                             : decSized(ctxt_, name, numocts, data, row.capacity, limits, &count);
      store(record + row.count, row.width, count);
      return status;
   }
   int countedOctets(unsigned index, const char* name) { return countedOctets(index, name, record_); }
   [[gnu::noinline]] int countedBits(unsigned index, const char* name) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      if ((row.flags & kHeap) != 0)
         return decRestBits(ctxt_, name, reinterpret_cast<RtxDynBitStr*>(record_ + row.count));
      uint32_t count = 0;
      const size_t wanted = (wire.flags & kPreset) != 0 ? load(record_ + row.count, row.width)
                            : wire.argument != 0        ? static_cast<size_t>(value(wire.argument))
                                                        : frame::kRest;
      const int status = decBitsInline(ctxt_, name, record_ + row.offset, row.capacity, wanted, &count);
      store(record_ + row.count, row.width, count);
      return status;
   }

   // A message that stands inside something else.
   [[gnu::noinline]] int inner(const Module& module, const Type& type, uint8_t* value) {
      return Decoder::inner(
            [&](RtxContext* ctxt, uint8_t* place) { return decodeType(ctxt, module, type, place); }, value);
   }
   [[gnu::noinline]] int nested(unsigned index, const char* name, uint8_t* place) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const Module& module = *modules[row.module];
      const Type& type = module.types[row.index];
      if (name != nullptr) L3_TRY(push(name));
      if ((wire.flags & (kContents | kAhead)) != 0) {
         L3_TRY(inside(index, module, formOf(ctxt_, module, type), place));
      } else if ((wire.flags & kInner) != 0) {
         L3_TRY(inner(module, type, place));
      } else {
         const uint64_t first = value(wire.argument), second = value(wire.second);
         if ((wire.flags & kPreset) != 0 && (wire.number == 0 || parameter_ != kNoOuter))
            L3_TRY(setSize(module, type, place, first));
         const int status = tried_ ? decodeTried(ctxt_, module, type, place, first, second)
                                   : decodeType(ctxt_, module, type, place, first, second);
         if (status < 0) return fail(ctxt_, status);
         if ((type_.flags & kCsn1) != 0 && wire.lead != 0) L3_TRY(skipBits(wire.lead));
      }
      if (name != nullptr) pop();
      return 0;
   }
   // Strings and arrays that don't tell their size on the wire are told here.
   int setSize(const Module& module, const Type& type, uint8_t* value, uint64_t count) {
      const Row& row = module.rows[type.first];
      const bool inlined = (row.flags & kHeap) == 0;
      if (inlined && count > row.capacity) return RTX_E_CONSTRAINT;
      store(value + row.count, row.width, count);
      return 0;
   }
   // The n-th bit behind the cursor, which stays; 0 if it is not there.
   uint32_t bitAhead(unsigned n) const {
      const size_t at = offset() + n - 1;
      return at / 8 < ctxt_->bufSize ? ctxt_->bufData[at / 8] >> (7 - at % 8) & 1u : 0;
   }
   // The contents of a type with a length, without it; or its choice, by a bit further on.
   [[gnu::noinline]] int inside(unsigned index, const Module& module, const Type& type, uint8_t* place) {
      const Wire& wire = module_.wires[index];
      Decoding contents(ctxt_, module, type, place);
      const unsigned first = firstOnWire(type);
      if ((wire.flags & kAhead) != 0) {
         store(place + module.rows[first].count, 4, 1 + bitAhead(wire.number));
         return contents.arms(first, load(place + module.rows[first].count, 4), kNoEnd);
      }
      const size_t start = offset();
      contents.prepare();
      frame::Length length;
      L3_TRY(contents.pushContainer(static_cast<size_t>(value(wire.argument)), length));
      L3_TRY(contents.block(first, behindRows(type), length.end));
      L3_TRY(closeInFull(ctxt_, length));
      if (first != type.first) store(place + type.lengthOffset, lengthOctets(type), (offset() - start) / 8);
      return 0;
   }

   int choice(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      if ((row.flags & kOwnSelector) == 0) return arms(index, value(wire.argument), end);
      if ((wire.flags & kPatterns) != 0) return patterns(index, end);
      uint32_t t = wire.number; // no octet tells the arm: the first one, until the caller knows better
      if (wire.bits != 0) L3_TRY(decSelector(ctxt_, wire.bits, &t));
      store(record_ + row.count, 4, t);
      return arms(index, t, end);
   }
   // Bits are read until they are those of an arm.
   [[gnu::noinline]] int patterns(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const bool high = (module_.wires[index].flags & kHigh) != 0;
      unsigned longest = 0;
      for (unsigned i = 0; i < row.rows; ++i)
         longest = std::max<unsigned>(longest, module_.arms[row.first + i].bits);
      uint32_t t = 0;
      L3_TRY(traced("choice selector", [&] {
         unsigned read = 0;
         for (unsigned n = 1; n <= longest && t == 0; ++n) {
            uint8_t bit = 0;
            L3_TRY(high ? hot::decBitLH(ctxt_, &bit) : hot::decBit(ctxt_, &bit));
            read = read << 1 | bit;
            for (unsigned i = 0; i < row.rows && t == 0; ++i) {
               const Arm& arm = module_.arms[row.first + i];
               if (arm.bits == n && arm.pattern == read) t = arm.low;
            }
         }
         return 0;
      }));
      if (t == 0) return refuseChoice(*this, module_, index);
      store(record_ + row.count, 4, t);
      return arms(index, t, end);
   }
   int arms(unsigned index, uint64_t on, size_t end) {
      const Row& row = module_.rows[index];
      if (const Row* arm = findArm(module_, row, static_cast<uint32_t>(on)))
         return field(static_cast<unsigned>(arm - module_.rows), end);
      return refuseChoice(*this, module_, index);
   }

   // Entries: how many, how they are led, where they go.
   [[gnu::noinline]] int list(unsigned index, const char* name) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const bool heap = (row.flags & kHeap) != 0, timed = (wire.flags & kTimes) != 0;
      const bool outside = (wire.flags & kLedOutside) != 0;
      const bool byExt = (wire.flags & kLedByExt) != 0;
      const bool led = byExt || outside || (wire.flags & kLedByFlags) != 0;
      const bool toEnd = !timed && !led && (wire.flags & kPreset) == 0;
      const bool preset = (wire.flags & kPreset) != 0;
      const size_t times = timed    ? static_cast<size_t>(value(wire.argument))
                           : preset ? static_cast<size_t>(load(record_ + row.count, row.width))
                                    : 0;
      const uint64_t most = row.width >= 4 ? UINT32_MAX : (uint64_t{1} << 8 * row.width) - 1;
      if (name != nullptr) L3_TRY(push(name));
      void* array = heap ? nullptr : record_ + row.offset;
      size_t count = 0, capacity = heap ? 0 : row.capacity;
      for (bool more = true; more;) {
         // The end of the data ends a list of led entries as their bit does; in standard mode their
         // container's.
         const bool byData = led && ((type_.flags & kCsn1) != 0 || !standard());
         if (timed || preset ? count >= times
             : byData        ? ctxt_->bufByteIndex >= ctxt_->bufSize
             : led           ? !this->more()
                             : !hasEntry(row))
            break;
         if (toEnd && heap && count == most) return RTX_E_CONSTRAINT;
         if (outside) {
            bool another = false;
            L3_TRY(leadOutside(wire, another));
            if (!another) break;
         } else if (led) {
            uint8_t bit = 0;
            L3_TRY(decLeadBit(ctxt_, byExt ? "ext bit" : "eol bit", &bit));
            if (byExt) ext_ = bit;
            if (!byExt && bit == 0) break;
            more = !byExt || bit == 0;
         }
         if (count == capacity) {
            if (!heap) return RTX_E_CONSTRAINT;
            if (const int status = growArray(ctxt_, &array, count, &capacity, row.stride); status < 0)
               return byExt ? fail(ctxt_, status) : status;
         }
         const size_t before = offset();
         L3_TRY(pushIndex(count));
         uint8_t* target = static_cast<uint8_t*>(array) + count * row.stride;
         if (const int status = entry(index, target); status < 0) return fail(ctxt_, status);
         popIndex(count);
         ++count;
         if (toEnd && offset() == before) return RTX_E_CONSTRAINT; // an element that takes nothing
      }
      store(record_ + row.count, row.width, timed || preset ? times : count);
      if (heap) std::memcpy(record_ + row.offset, &array, sizeof array);
      if (!led && !module_.limits[wire.limits].allow(timed ? times : count)) return RTX_E_CONSTRAINT;
      if (name != nullptr) pop();
      return 0;
   }
   // Of a list to the end: is there as much as an entry has at least?
   bool hasEntry(const Row& row) const {
      if ((type_.flags & kCsn1) == 0 || module_.rows[row.first].kind != Kind::Number) return more();
      return hot::containerRemBits(ctxt_) >= int64_t{module_.wires[row.first].bits};
   }
   // Another entry, or the end, told by a bit ahead of it.
   int leadOutside(const Wire& wire, bool& another) {
      const unsigned left = static_cast<unsigned>(ctxt_->bufBitsLeft) - 1;
      const bool high = (wire.flags & kHigh) != 0, zeros = (wire.flags & kLedByZeros) != 0;
      unsigned bit = ctxt_->bufData[ctxt_->bufByteIndex] >> left & 1u;
      if (high) bit ^= csn1::kPadding >> left & 1u;
      another = (bit != 0) != zeros;
      uint8_t unused = 0;
      return decLeadBit(ctxt_, another ? "ext bit" : "eol bit", &unused);
   }
   int entry(unsigned index, uint8_t* target) {
      const unsigned at = module_.rows[index].first;
      const Row& row = module_.rows[at];
      if (row.kind == Kind::Nested) {
         const Module& module = *modules[row.module];
         const Type& type = module.types[row.index];
         if ((module_.wires[index].flags & kInits) != 0) type.init(target);
         return decodeType(ctxt_, module, type, target, 0, parameter_);
      }
      return row.kind == Kind::Number ? integer(at, nullptr, target) : countedOctets(at, nullptr, target);
   }

   // Octets led by an ext bit, each under its own name: 1 ends the chain.
   [[gnu::noinline]] int chain(unsigned index, size_t end) {
      const Row& row = module_.rows[index];
      const Wire& wire = module_.wires[index];
      const bool skips = (wire.flags & kSkips) != 0;
      if ((wire.flags & kIfMore) == 0 || more()) {
         L3_TRY(chainOctet(row.first, end));
      } else if (!skips) {
         return 0;
      }
      // Without its first octet a chain that skips goes by the ext bit of the chain ahead.
      for (unsigned i = 1; i < row.rows && ext_ == 0; ++i) L3_TRY(chainOctet(row.first + i, end));
      if (skips && ext_ == 0) {
         ext_ = 1;
         L3_TRY(skipExtensions(ctxt_));
      }
      return skips && (wire.flags & kEndTested) != 0 ? within({end}) : 0;
   }
   int chainOctet(unsigned index, size_t end) {
      if (module_.rows[index].kind != Kind::List) {
         L3_TRY(push(module_.texts + module_.wires[index].name));
         L3_TRY(decLeadBit(ctxt_, "ext bit", &ext_));
         pop();
      }
      L3_TRY(contents(index, end));
      setBit(record_, module_.rows[index].presence);
      return (module_.wires[index].flags & kEndTested) != 0 ? within({end}) : 0;
   }

   int optional(Scan& scan, unsigned first) {
      if (standard()) return inAnyOrder(scan, first);
      const unsigned iei = scan.iei();
      const Wire* known = nullptr;
      for (unsigned i = first; i < behindRows(type_) && module_.rows[i].kind != Kind::Store; ++i) {
         if (module_.wires[i].iei != iei) continue;
         if (known == nullptr) known = &module_.wires[i];
         if (!scan.expects(i - first)) continue;
         L3_TRY(contents(i, kNoEnd));
         setBit(record_, module_.rows[i].group);
         setBit(record_, module_.rows[i].presence);
         scan.took(i - first);
         return 0;
      }
      if (known == nullptr) return scan.unknown(*this);
      return scan.drop(*this, static_cast<Format>(known->format), known->lead);
   }

   // As the standards have it: the first of a kind counts, wherever it stands. Of elements that share an IEI
   // those of later places come first, so that a repeat indicator goes to what follows it.
   int inAnyOrder(Scan& scan, unsigned first) {
      constexpr unsigned kNotFound = ~0u;
      unsigned found = kNotFound;
      const Wire* known = nullptr;
      for (unsigned i = first; i < behindRows(type_) && module_.rows[i].kind != Kind::Store; ++i) {
         const Wire& wire = module_.wires[i];
         if (wire.iei != scan.iei() || (wire.ieiBits == 4) != scan.isHalf()) continue;
         known = &wire;
         if (hasBit(record_, module_.rows[i].presence)) continue;
         if (found == kNotFound || !scan.expects(found - first)) found = i;
      }
      if (known == nullptr) return scan.unknownToStandard(*this, (type_.flags & kSixes) != 0);
      if (found == kNotFound) return scan.skip(*this, static_cast<Format>(known->format), known->lead);
      L3_TRY(contents(found, kNoEnd));
      setBit(record_, module_.rows[found].group);
      setBit(record_, module_.rows[found].presence);
      scan.took(found - first);
      return 0;
   }

   const Module& module_;
   const Type& type_;
   uint8_t* record_;
   uint64_t parameter_;
   int result_ = 0;
   uint8_t ext_ = 1;
   bool groups_ = true;
   bool quit_ = false;
   bool besideDone_ = false;
   bool tried_ = false; // the short form of the row at hand
};

[[gnu::noinline]] int decodeElementInFull(RtxContext* ctxt, const Module& module, const Type& type,
                                          uint8_t* value, uint64_t parameter) {
   return Decoding(ctxt, module, type, value, parameter).element();
}
[[gnu::noinline]] int decodeMessageInFull(RtxContext* ctxt, const Module& module, const Type& type,
                                          uint8_t* value) {
   Decoding decoding(ctxt, module, type, value);
   switch (type.codec) {
   case walk::Codec::Message: return decoding.message();
   case walk::Codec::OneElement: return decoding.oneElement();
   default: return decoding.pdu();
   }
}

int decodeInFull(RtxContext* ctxt, const Module& module, const Type& itself, uint8_t* value,
                 uint64_t parameter, uint64_t second) {
   const Type& type = formOf(ctxt, module, itself);
   switch (type.codec) {
   case walk::Codec::Element:
      // What is inside is tried in short again: most of it is well, and a failure lies deep down.
      return decodeElementInFull(ctxt, module, type, value, (type.flags & kCsn1) != 0 ? second : parameter);
   case walk::Codec::ByHand: return type.decode(ctxt, value, parameter, second);
   default: return decodeMessageInFull(ctxt, module, type, value);
   }
}

// In short form at the cursor; false if that will not do.
L3_INLINE bool decodeShortly(RtxContext* ctxt, const Type& type, uint8_t* value, const uint8_t* end) {
   const uint8_t* behind = type.shortDecode(ctxt->bufData + ctxt->bufByteIndex, end, ctxt, value);
   if (behind == nullptr) [[unlikely]]
      return false;
   ctxt->bufByteIndex = static_cast<size_t>(behind - ctxt->bufData);
   return true;
}

int decodeType(RtxContext* ctxt, const Module& module, const Type& type, uint8_t* value, uint64_t parameter,
               uint64_t second) {
   if (type.messageDecode != nullptr) {
      const uint8_t* end = ctxt->bufBitsLeft == 8 && !isStandard(ctxt)
                                 ? messageEnd(ctxt, (type.flags & kElementsEnd) != 0)
                                 : nullptr;
      return end != nullptr ? type.messageDecode(ctxt, value, end)
                            : decodeInFull(ctxt, module, type, value, parameter, second);
   }
   const uint8_t* end = ctxt->bufBitsLeft == 8 ? shortEnd(ctxt, (type.flags & kEndsByItself) != 0) : nullptr;
   if (end != nullptr) [[likely]] {
      if (type.shortDecode != nullptr)
         return decodeShortly(ctxt, type, value, end)
                      ? frame::Codec(ctxt).done()
                      : decodeTried(ctxt, module, type, value, parameter, second);
      // A message of one element, with nothing behind it.
      if (type.codec == walk::Codec::OneElement) {
         const Type& base = modules[type.rows]->types[type.first];
         if (base.shortDecode != nullptr && decodeShortly(ctxt, base, value, end)) {
            Decoder decoder(ctxt);
            if (ctxt->bufData + ctxt->bufByteIndex != end) L3_TRY(decoder.nonImperative(0));
            return decoder.ended();
         }
      }
   }
   return decodeInFull(ctxt, module, type, value, parameter, second);
}

} // namespace

int decode(RtxContext* ctxt, const Module& module, unsigned type, void* value, uint64_t parameter) {
   if (hot::streamActive(ctxt)) [[unlikely]]
      return stream::fromStream(ctxt, [=, &module] { return decode(ctxt, module, type, value, parameter); });
   const size_t before = ctxt->errList.count;
   const int status =
         decodeType(ctxt, module, module.types[type], static_cast<uint8_t*>(value), parameter, kNoOuter);
   // Standard mode drops no status: what a message inside has reported, while no other waits for it.
   if (ctxt->errList.count != before && status == 0 && isStandard(ctxt) && ctxt->elemNames.head == nullptr)
         [[unlikely]]
      return messageStatus(ctxt);
   return status;
}

int decodeExactly(RtxContext* ctxt, const Module& module, unsigned type, void* value) {
   return decodeInFull(ctxt, module, module.types[type], static_cast<uint8_t*>(value), 0, kNoOuter);
}

int decodeRest(RtxContext* ctxt, const Module& module, unsigned type, void* record, unsigned row) {
   return Decoding(ctxt, module, module.types[type], static_cast<uint8_t*>(record)).messageRest(row);
}

int decodeOptional(RtxContext* ctxt, const Module& module, unsigned type, void* record) {
   return decodeRest(ctxt, module, type, record, module.types[type].mandatory);
}

int decodeElement(RtxContext* ctxt, const Module& module, unsigned type, void* record, Scan& scan) {
   return Decoding(ctxt, module, module.types[type], static_cast<uint8_t*>(record)).behindIei(scan);
}

} // namespace quorva::walk
