// JSON into values: one pass over the text, straight into the records. Members may stand in any order; where
// one is steered by another that comes later it is read again behind it.

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/ascii.h"
#include "src/frame/base.h"
#include "src/walk/json.h"

#include <algorithm>

namespace quorva::walk {

namespace {

constexpr unsigned kMostDepth = 200;  // of values in values
constexpr unsigned kMostFields = 192; // of an object
constexpr unsigned kMostChosen = 32;  // steered choices of a record

const char* reasonOf(int status) {
   switch (status) {
   case RTX_E_UNKNOWN_NAME: return "no such field";
   case RTX_E_VALUE_TYPE: return "a value of another kind";
   case RTX_E_BAD_ENUM: return "no such name";
   case RTX_E_BAD_HEX: return "no octets in hexadecimal digits";
   case RTX_E_BAD_VALUE: return "no such number";
   case RTX_E_BAD_UTF8: return "no UTF-8";
   case RTX_E_BAD_CHAR: return "a character that a text can't hold";
   case RTX_E_OVERFLOW: return "a number too large";
   case RTX_E_CONSTRAINT: return "more, or of a fixed size less, than there is room for";
   case RTX_E_BAD_CHOICE: return "not the arm that is selected";
   case RTX_E_NOMEM: return "no memory";
   default: return "no JSON";
   }
}

class Reader {
public:
   Reader(RtxContext* ctxt, const char* text, size_t length, QuorvaJsonFault& fault)
         : ctxt_(ctxt), start_(text), at_(text), end_(text + length), fault_(fault) {}

   int whole(const Shape& shape) {
      Owner owner;
      blanks();
      L3_TRY(value(shape, owner));
      L3_TRY(finish(owner));
      blanks();
      return at_ == end_ ? 0 : fail(RTX_E_BAD_FORMAT);
   }

   int member(std::string_view name, std::string_view& found) {
      blanks();
      L3_TRY(expect('{'));
      for (bool more = !ends('}'); more;) {
         std::string_view key;
         L3_TRY(this->key(key));
         const char* value = at_;
         L3_TRY(skip());
         if (key == name) {
            found = {value, static_cast<size_t>(at_ - value)};
            return 0;
         }
         L3_TRY(goOn('}', more));
      }
      return RTX_E_UNKNOWN_NAME;
   }

private:
   // A steered choice, and what was read for it.
   struct Chosen {
      const Module* module;
      const Row* choice;
      uint8_t* record;
      const Row* arm;  // null: none yet
      const char* key; // of the member; null: there is none
   };
   // The record of a type: its fields may steer each other.
   struct Owner {
      Chosen chosen[kMostChosen];
      unsigned count = 0;
   };
   // The selector of a choice in its record.
   struct Selected {
      bool number = false; // given as such
      const Row* arm = nullptr;
   };
   // Those of the choices without a name; a record has one, or two.
   struct Selections {
      const Row* choices[2] = {};
      Selected all[2];
      Selected& of(const Row* choice) {
         const unsigned i = choices[0] != nullptr && choices[0] != choice ? 1 : 0;
         choices[i] = choice;
         return all[i];
      }
   };
   // Fields of an object that were met.
   struct Seen {
      const Row* rows[kMostFields];
      unsigned count = 0;
      bool has(const Row* row) const { return std::find(rows, rows + count, row) != rows + count; }
   };

   // The text.

   int fail(int status) { return fail(status, at_, reasonOf(status)); }
   int fail(int status, const char* place, const char* reason) {
      fault_.offset = static_cast<size_t>(place - start_);
      fault_.reason = reason;
      return status;
   }
   // The path grows from its end on; what is too long loses its beginning.
   int within(int status, std::string_view name, std::string_view separator) {
      char* path = fault_.path;
      const size_t old = std::strlen(path);
      const std::string_view joint = old == 0 || *path == '[' ? std::string_view() : separator;
      if (old + name.size() + joint.size() >= sizeof fault_.path) return status;
      std::memmove(path + name.size() + joint.size(), path, old + 1);
      std::copy(joint.begin(), joint.end(), std::copy(name.begin(), name.end(), path));
      return status;
   }

   static bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
   void blanks() {
      // Mostly there are none.
      if (at_ == end_ || *at_ > ' ') return;
      while (at_ != end_ && isBlank(*at_)) ++at_;
   }
   char peek() const { return at_ != end_ ? *at_ : '\0'; }
   int expect(char character) {
      if (peek() != character) return fail(RTX_E_BAD_FORMAT);
      ++at_;
      blanks();
      return 0;
   }
   // The end of an object or array that has nothing in it.
   bool ends(char bracket) {
      if (peek() != bracket) return false;
      ++at_;
      return true;
   }
   // Behind a member or entry: is there another?
   int goOn(char bracket, bool& more) {
      blanks();
      more = peek() == ',';
      if (!more) {
         if (peek() != bracket) return fail(RTX_E_BAD_FORMAT);
         ++at_;
         return 0;
      }
      ++at_;
      blanks();
      return 0;
   }

   // What is between quotes, as it stands; the cursor goes behind them.
   int quoted(std::string_view& text, bool& escaped) {
      if (peek() != '"') return fail(at_ == end_ ? RTX_E_BAD_FORMAT : RTX_E_VALUE_TYPE);
      const char *begin = at_ + 1, *at = begin;
      escaped = false;
      while (end_ - at >= 8 && arePlain(at)) at += 8;
      for (; at != end_ && *at != '"'; ++at) {
         if (static_cast<uint8_t>(*at) < 0x20) {
            at_ = at;
            return fail(RTX_E_BAD_FORMAT);
         }
         if (*at != '\\') continue;
         escaped = true;
         if (++at == end_) break;
      }
      at_ = at;
      if (at == end_) return fail(RTX_E_BAD_FORMAT);
      text = {begin, static_cast<size_t>(at_++ - begin)};
      return 0;
   }
   // Eight characters, of which none ends a text or stands for another.
   static bool arePlain(const char* text) {
      constexpr uint64_t ones = 0x0101010101010101, high = ones << 7;
      uint64_t word;
      std::memcpy(&word, text, sizeof word);
      const auto below = [&](uint64_t x, uint64_t least) { return (x - ones * least) & ~x & high; };
      return (below(word, 0x20) | below(word ^ ones * '"', 1) | below(word ^ ones * '\\', 1)) == 0;
   }
   int hex4(const char*& at, const char* end, uint32_t& code) {
      code = 0;
      for (unsigned i = 0; i < 4; ++i, ++at) {
         const int digit = at == end ? -1 : hexDigitValue(*at);
         if (digit < 0) return fail(RTX_E_BAD_FORMAT, at, reasonOf(RTX_E_BAD_FORMAT));
         code = code << 4 | static_cast<uint32_t>(digit);
      }
      return 0;
   }
   // Without its escapes; a surrogate alone becomes three octets, which no text but one of 16-bit characters
   // takes. The result has no more octets than the text.
   int unescape(std::string_view text, char* out, size_t& size) {
      static constexpr char kLetters[] = "\"\\/bfnrt", kMeant[] = "\"\\/\b\f\n\r\t";
      const char *at = text.data(), *end = at + text.size();
      char* to = out;
      while (at != end) {
         if (*at != '\\') {
            *to++ = *at++;
            continue;
         }
         const char* letter = std::strchr(kLetters, *++at);
         if (letter != nullptr && *letter != 0) {
            *to++ = kMeant[letter - kLetters];
            ++at;
            continue;
         }
         if (*at++ != 'u') return fail(RTX_E_BAD_FORMAT, at - 1, reasonOf(RTX_E_BAD_FORMAT));
         uint32_t code, low;
         L3_TRY(hex4(at, end, code));
         if (code >> 10 == 0x36 && end - at >= 6 && at[0] == '\\' && at[1] == 'u') {
            const char* next = at + 2;
            L3_TRY(hex4(next, end, low));
            if (low >> 10 == 0x37) {
               code = (code << 10) + low - 0x35FDC00;
               at = next;
            }
         }
         to += rtxUTF8EncodeChar(code, reinterpret_cast<uint8_t*>(to), 4);
      }
      size = static_cast<size_t>(to - out);
      return 0;
   }
   // A text without escapes: in place where it has none, else on the heap, to be given back.
   int plain(std::string_view& text, char*& memory) {
      bool escaped;
      L3_TRY(quoted(text, escaped));
      memory = nullptr;
      if (!escaped) return 0;
      memory = static_cast<char*>(rtxMemHeapAlloc(ctxt_, text.size()));
      if (memory == nullptr) return fail(RTX_E_NOMEM);
      size_t size = 0;
      if (const int status = unescape(text, memory, size); status < 0) {
         rtxMemHeapFreePtr(ctxt_, memory);
         return status;
      }
      text = {memory, size};
      return 0;
   }
   // The name of a member and the colon behind it.
   int key(std::string_view& name) {
      bool escaped;
      if (peek() != '"') return fail(RTX_E_BAD_FORMAT);
      L3_TRY(quoted(name, escaped));
      if (escaped) {
         // Longer than any field's name it can stay as it is.
         size_t size = 0;
         if (name.size() <= sizeof key_) {
            L3_TRY(unescape(name, key_, size));
            name = {key_, size};
         }
      }
      blanks();
      return expect(':');
   }

   // What is neither a choice nor fields of the record around.
   static bool hasValueAlone(const Row& row) {
      constexpr auto bit = [](Kind kind) { return 1u << static_cast<unsigned>(kind); };
      constexpr unsigned kinds = bit(Kind::Flag) | bit(Kind::Number) | bit(Kind::Enumeration) |
                                 bit(Kind::OpenEnumeration) | bit(Kind::NamedNumber) | bit(Kind::Octets) |
                                 bit(Kind::Bits) | bit(Kind::CountedOctets) | bit(Kind::CountedBits) |
                                 bit(Kind::CountedUnits) | bit(Kind::Text) | bit(Kind::Group) |
                                 bit(Kind::Nested) | bit(Kind::Message) | bit(Kind::List);
      return (bit(row.kind) & kinds) != 0;
   }
   // A member that is one of the next few rows: past its name, in one go.
   const Row* likely(const Module& module, unsigned first, unsigned behind) {
      if (peek() != '"') return nullptr;
      const char *const begin = at_ + 1, *const end = end_;
      behind = std::min(behind, first + 4);
      for (unsigned i = first; i < behind; ++i) {
         const Row& row = module.rows[i];
         // What may have fields ahead of it that are among these is looked for in full.
         if (!hasValueAlone(row) && (!isField(row) || isWireGroup(row))) return nullptr;
         const char *name = nameOf(module, row), *at = begin;
         while (at != end && *at == *name && *name != 0) ++at, ++name;
         if (*name != 0 || end - at < 2 || at[0] != '"' || at[1] != ':') continue;
         at_ = at + 2;
         blanks();
         return &row;
      }
      return nullptr;
   }
   // Most leaves: a flag, or a number in a few digits. False for all else, and for what won't do.
   bool quickly(const Row& row, uint8_t* record) {
      const char* at = at_;
      switch (row.kind) {
      case Kind::Flag: {
         const bool set = at != end_ && *at == 't';
         if (set ? !word("true") : !word("false")) return false;
         record[row.offset] = set;
         return true;
      }
      case Kind::Number:
      case Kind::Enumeration:
      case Kind::OpenEnumeration:
      case Kind::NamedNumber: {
         uint64_t number = 0;
         const char* stop = at + std::min<ptrdiff_t>(end_ - at, 9);
         for (; at != stop && isDigit(*at); ++at) number = 10 * number + static_cast<uint64_t>(*at - '0');
         // More may follow.
         if (at == at_ || at == stop || (*at_ == '0' && at - at_ > 1) || *at == '.' || (*at | 0x20) == 'e')
            return false;
         if (row.width < 8 && number >> 8 * row.width != 0) return false;
         store(record + row.offset, row.width, number);
         at_ = at;
         return true;
      }
      default: return false;
      }
   }

   // Past a value, which is looked at no closer than that takes.
   int skip() {
      size_t open = 0;
      do {
         const char c = peek();
         if (c == '"') {
            std::string_view text;
            bool escaped;
            L3_TRY(quoted(text, escaped));
         } else if (c == '{' || c == '[') {
            ++open;
            ++at_;
         } else if (c == '}' || c == ']') {
            if (open-- == 0) return fail(RTX_E_BAD_FORMAT);
            ++at_;
         } else if (at_ == end_) {
            return fail(RTX_E_BAD_FORMAT);
         } else {
            const char* begin = at_;
            while (at_ != end_ && std::strchr(",:]}[{\" \n\r\t", *at_) == nullptr) ++at_;
            if (at_ == begin) {
               if (open == 0 || (c != ',' && c != ':')) return fail(RTX_E_BAD_FORMAT);
               ++at_;
            }
         }
         if (open > 0) blanks();
      } while (open > 0);
      return 0;
   }

   // Values.

   int value(const Shape& shape, Owner& owner) {
      if (at_ == end_) return fail(RTX_E_BAD_FORMAT);
      if (++depth_ > kMostDepth) return fail(RTX_E_BAD_FORMAT, at_, "nested too deeply");
      int status = 0;
      switch (shape.kind) {
      case Kind::Group: status = record(shape, owner); break;
      case Kind::List: status = list(shape, owner); break;
      case Kind::Choice: status = choice(shape, owner); break;
      default: status = leaf(shape);
      }
      --depth_;
      return status;
   }

   int leaf(const Shape& shape) {
      const char* begin = at_;
      const char first = peek();
      int status = 0;
      switch (publicKind(shape.kind)) {
      case QUORVA_FLAG:
         if (!word("true") && !word("false")) return fail(RTX_E_VALUE_TYPE);
         return storeNumber(shape, *begin == 't');
      case QUORVA_NUMBER:
      case QUORVA_ENUM:
         if (isDigit(first)) {
            uint64_t number = 0;
            L3_TRY(this->number(number));
            status = storeNumber(shape, number);
         } else if (first == '"' && shape.kind != Kind::Number) {
            status = name(shape);
         } else {
            return fail(first == '-' ? RTX_E_BAD_VALUE : RTX_E_VALUE_TYPE);
         }
         break;
      case QUORVA_OCTETS:
      case QUORVA_BITS: {
         std::string_view digits;
         bool escaped;
         L3_TRY(quoted(digits, escaped));
         status = storeHex(ctxt_, shape, digits);
         break;
      }
      case QUORVA_TEXT:
      case QUORVA_UNITS: status = text(shape, begin); break;
      default:
         if (!word("null")) return fail(RTX_E_VALUE_TYPE);
      }
      return status < 0 && fault_.reason == nullptr ? fail(status, begin, reasonOf(status)) : status;
   }

   template <size_t Size>
   bool word(const char (&word)[Size]) {
      if (static_cast<size_t>(end_ - at_) < Size - 1 || std::memcmp(at_, word, Size - 1) != 0) return false;
      at_ += Size - 1;
      return true;
   }

   int number(uint64_t& number) {
      const char* begin = at_;
      const auto read = std::from_chars(at_, end_, number);
      at_ = read.ptr;
      if (*begin == '0' && at_ - begin > 1) return fail(RTX_E_BAD_FORMAT, begin, reasonOf(RTX_E_BAD_FORMAT));
      if (peek() == '.' || peek() == 'e' || peek() == 'E')
         return fail(RTX_E_BAD_VALUE, begin, reasonOf(RTX_E_BAD_VALUE));
      return read.ec == std::errc() ? 0 : fail(RTX_E_OVERFLOW, begin, reasonOf(RTX_E_OVERFLOW));
   }

   int name(const Shape& shape) {
      std::string_view text;
      char* memory;
      L3_TRY(plain(text, memory));
      const Names& names = shape.module->names[shape.row->index];
      const int row = rtxLookupEnum(text.data(), text.size(), names.items, names.count);
      if (memory != nullptr) rtxMemHeapFreePtr(ctxt_, memory);
      return row < 0 ? row : storeNumber(shape, static_cast<uint32_t>(names.items[row].value));
   }

   int text(const Shape& shape, const char* begin) {
      const bool units = shape.kind == Kind::CountedUnits;
      if (peek() == '{') return octetsOfText(shape);
      if (!units && (shape.row->flags & kHeap) != 0 && word("null")) {
         clear(shape, madeRows(ctxt_));
         return 0;
      }
      std::string_view text;
      char* memory;
      L3_TRY(plain(text, memory));
      int status = units || isUtf8(text) ? storeAnyText(ctxt_, shape, text) : RTX_E_BAD_UTF8;
      if (memory != nullptr) rtxMemHeapFreePtr(ctxt_, memory);
      return status < 0 ? fail(status, begin, reasonOf(status)) : 0;
   }
   // {"hex": "…"}
   int octetsOfText(const Shape& shape) {
      std::string_view name, digits;
      bool escaped;
      L3_TRY(expect('{'));
      const char* place = at_;
      L3_TRY(key(name));
      if (name != "hex") return fail(RTX_E_UNKNOWN_NAME, place, reasonOf(RTX_E_UNKNOWN_NAME));
      L3_TRY(quoted(digits, escaped));
      const size_t width = shape.kind == Kind::CountedUnits ? 4 : 2;
      if (digits.size() % width != 0 || !areHexDigits(digits)) return fail(RTX_E_BAD_HEX);
      auto* octets = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt_, digits.size() / 2 + 1));
      if (octets == nullptr) return fail(RTX_E_NOMEM);
      octetsOfHex(digits, octets);
      int status = 0;
      if (width == 2) {
         status = storeText(ctxt_, shape, reinterpret_cast<const char*>(octets), digits.size() / 2);
      } else if (uint8_t* place = makeRoom(ctxt_, shape, digits.size() / 4, status)) {
         for (size_t i = 0; i < digits.size() / 2; i += 2)
            store(place + i, 2, static_cast<uint64_t>(octets[i] << 8 | octets[i + 1]));
      }
      rtxMemHeapFreePtr(ctxt_, octets);
      if (status < 0) return fail(status);
      blanks();
      return peek() == '}' ? (++at_, 0) : fail(RTX_E_BAD_FORMAT);
   }

   int list(const Shape& shape, Owner& owner) {
      const Row& row = *shape.row;
      const Row& entry = shape.module->rows[row.first];
      const bool heap = (row.flags & kHeap) != 0;
      const uint64_t most = !heap           ? row.capacity
                            : row.width < 8 ? (uint64_t{1} << 8 * row.width) - 1
                                            : SIZE_MAX;
      uint8_t* entries = heap ? nullptr : shape.record + row.offset;
      size_t count = 0, room = heap ? 0 : row.capacity;
      clear(*shape.module, row, shape.record, madeRows(ctxt_));
      if (peek() != '[') return fail(RTX_E_VALUE_TYPE);
      L3_TRY(expect('['));
      for (bool more = !ends(']'); more; ++count) {
         if (count == most) return fail(RTX_E_CONSTRAINT);
         if (count == room) {
            room = std::max<size_t>(2 * room, 4);
            auto* grown = room > SIZE_MAX / 2 / row.stride
                                ? nullptr
                                : static_cast<uint8_t*>(rtxMemHeapRealloc(ctxt_, entries, room * row.stride));
            if (grown == nullptr) return fail(RTX_E_NOMEM);
            entries = grown;
         }
         Shape place = shapeOf(*shape.module, entry, entries + count * row.stride, madeRows(ctxt_));
         if (const int status = value(place, owner); status < 0) {
            char index[32] = "[";
            char* behind = std::to_chars(index + 1, index + 30, count).ptr;
            *behind++ = ']';
            return within(status, {index, static_cast<size_t>(behind - index)}, ".");
         }
         L3_TRY(goOn(']', more));
      }
      if (const auto least = static_cast<size_t>(roomOf(*shape.module, row, count)); heap && least != count) {
         if (room < least)
            entries = static_cast<uint8_t*>(rtxMemHeapRealloc(ctxt_, entries, least * row.stride));
         if (entries == nullptr) return fail(RTX_E_NOMEM);
         std::memset(entries + count * row.stride, 0, (least - count) * row.stride);
      }
      if (heap) std::memcpy(shape.record + row.offset, &entries, sizeof entries);
      store(shape.record + row.count, row.width, count);
      return 0;
   }

   // Records.

   int record(const Shape& shape, Owner& around) {
      if (shape.form == nullptr) return fields(shape, around);
      if (isStandardMode(ctxt_)) clearFamily(shape);
      Owner own;
      L3_TRY(fields(shape, own));
      return finish(own);
   }

   int fields(const Shape& shape, Owner& owner) {
      const Module& module = *shape.module;
      const unsigned behind = shape.first + shape.rows;
      unsigned next = shape.first; // what most likely comes next
      Seen seen;
      if (peek() != '{') return fail(RTX_E_VALUE_TYPE);
      L3_TRY(expect('{'));
      clearPresence(shape);
      Selections selections;
      for (bool more = !ends('}'); more;) {
         const char* place = at_;
         if (const Row* row = likely(module, next, behind); row != nullptr && seen.count < kMostFields) {
            // In its order it can't come twice.
            next = static_cast<unsigned>(row - module.rows) + 1;
            seen.rows[seen.count++] = row;
            makeThere(*row, shape.record);
            if (depth_ == kMostDepth || !quickly(*row, shape.record))
               if (const int status = field(module, *row, shape.record, owner); status < 0)
                  return within(status, nameOf(module, *row), ".");
            L3_TRY(goOn('}', more));
            continue;
         }
         at_ = place;
         std::string_view name;
         L3_TRY(key(name));
         Hit hit;
         if (!findField(module, next, behind, name, hit) && !findField(module, shape.first, next, name, hit))
            return within(fail(RTX_E_UNKNOWN_NAME, place, reasonOf(RTX_E_UNKNOWN_NAME)), name, ".");
         const Row* outermost = hit.depth > 0 ? hit.groups[0] : hit.choice != nullptr ? hit.choice : hit.row;
         // Members in their order can't come twice.
         const bool ordered = outermost == hit.row && hit.row >= module.rows + next;
         if ((!ordered && seen.has(hit.row == nullptr || hit.choice == nullptr ? hit.row : hit.choice)) ||
             seen.count == kMostFields)
            return within(fail(RTX_E_BAD_FORMAT, place, "a field twice"), name, ".");
         next = std::max(next, static_cast<unsigned>(outermost - module.rows) + (ordered ? 1u : 0u));
         for (unsigned i = 0; i < hit.depth; ++i) makeThere(*hit.groups[i], shape.record);
         if (hit.choice != nullptr) makeThere(*hit.choice, shape.record);
         int status;
         if (hit.choice == nullptr) {
            seen.rows[seen.count++] = hit.row;
            makeThere(*hit.row, shape.record);
            status = field(module, *hit.row, shape.record, owner);
         } else if (hit.row == nullptr) {
            seen.rows[seen.count++] = nullptr;
            status = selector(module, *hit.choice, shape.record, selections.of(hit.choice));
         } else {
            seen.rows[seen.count++] = hit.choice;
            status = arm(module, *hit.choice, *armNamed(module, *hit.choice, name), shape.record, place, name,
                         owner, selections.of(hit.choice));
         }
         if (status < 0) return within(status, hit.row != nullptr ? nameOf(module, *hit.row) : "t", ".");
         L3_TRY(goOn('}', more));
      }
      return complete(module, shape.first, behind, shape, seen, selections, owner);
   }

   int field(const Module& module, const Row& row, uint8_t* record, Owner& owner) {
      if (row.kind == Kind::Message) {
         if (const int status = makeMessage(ctxt_, row, record); status < 0) return fail(status);
      }
      return value(shapeOf(module, row, record, madeRows(ctxt_)), owner);
   }

   // What no member told.
   int complete(const Module& module, unsigned first, unsigned behind, const Shape& shape, const Seen& seen,
                Selections& selections, Owner& owner) {
      unsigned ahead = 0; // of those seen, which mostly are in order
      for (unsigned i = first; i < behind; ++i) {
         const Row& row = module.rows[i];
         const bool met = ahead < seen.count && seen.rows[ahead] == &row;
         if (met) ++ahead;
         if (!isThere(row, shape.record)) {
            if (isInitial(row)) clear(module, row, shape.record, madeRows(ctxt_));
            continue;
         }
         if (met && hasValueAlone(row)) continue;
         const bool absent = !met && !seen.has(&row);
         if (isWireGroup(row)) {
            if (absent && row.width != 0) store(shape.record + row.offset, row.width, 0);
            L3_TRY(complete(module, row.first, unsigned{row.first} + row.rows, shape, seen, selections,
                            owner));
         } else if (absent && row.kind == Kind::Choice && (row.flags & kOwnSelector) == 0) {
            L3_TRY(remember(owner, {&module, &row, shape.record, nullptr, nullptr}));
         } else if (absent && isUnnamedChoice(row) && selections.of(&row).number) {
            if (const Row* arm = findArm(module, row, load(shape.record + row.count, row.width)))
               begin(module, *arm, shape.record, madeRows(ctxt_));
         } else if (absent) {
            clear(module, row, shape.record, madeRows(ctxt_));
            setAbsent(shape.record, row.presence);
         }
         if (row.kind == Kind::Choice && (wireOf(module, row).flags & kOfMessages) != 0)
            header(module, row, shape, seen);
      }
      return 0;
   }
   // Of a message in a PDU: discriminator, type and arm of the header, unless they were given.
   static void header(const Module& module, const Row& choice, const Shape& pdu, const Seen& seen) {
      const Row* arm = findArm(module, choice, load(pdu.record + choice.count, choice.width));
      if (arm == nullptr) return;
      for (unsigned i = pdu.first; i < pdu.first + pdu.rows; ++i)
         if (!seen.has(&module.rows[i])) storeHeader(module, choice, *arm, module.rows[i], pdu.record);
   }

   // Choices.

   int choice(const Shape& shape, Owner& owner) {
      const Module& module = *shape.module;
      const Row& row = *shape.row;
      const bool own = (row.flags & kOwnSelector) != 0;
      Selected selected;
      bool any = false;
      if (peek() != '{') return fail(RTX_E_VALUE_TYPE);
      L3_TRY(expect('{'));
      for (bool more = !ends('}'); more;) {
         const char* place = at_;
         std::string_view name;
         L3_TRY(key(name));
         int status;
         const Arm* named = armNamed(module, row, name);
         if (own && name == "t" && named == nullptr) {
            status = selected.number ? fail(RTX_E_BAD_FORMAT, place, "a field twice")
                                     : selector(module, row, shape.record, selected);
         } else if (any) {
            status = fail(RTX_E_BAD_CHOICE, place, "a second arm");
         } else if (named == nullptr) {
            status = fail(RTX_E_UNKNOWN_NAME, place, reasonOf(RTX_E_UNKNOWN_NAME));
         } else {
            any = true;
            status = arm(module, row, *named, shape.record, place, name, owner, selected);
         }
         if (status < 0) return within(status, name, ".");
         L3_TRY(goOn('}', more));
      }
      if (any) return 0;
      if (!own) return remember(owner, {&module, &row, shape.record, nullptr, nullptr});
      if (!selected.number) store(shape.record + row.count, row.width, 0);
      if (const Row* arm = findArm(module, row, load(shape.record + row.count, row.width)))
         begin(module, *arm, shape.record, madeRows(ctxt_));
      return 0;
   }

   // The selector by itself, ahead of its arm or behind it.
   int selector(const Module& module, const Row& choice, uint8_t* record, Selected& selected) {
      const char* place = at_;
      uint64_t number = 0;
      if (!isDigit(peek())) return fail(RTX_E_VALUE_TYPE);
      L3_TRY(this->number(number));
      if (number > UINT32_MAX) return fail(RTX_E_OVERFLOW, place, reasonOf(RTX_E_OVERFLOW));
      if (selected.arm != nullptr && findArm(module, choice, number) != selected.arm)
         return fail(RTX_E_BAD_CHOICE, place, reasonOf(RTX_E_BAD_CHOICE));
      selected.number = true;
      store(record + choice.count, choice.width, number);
      return 0;
   }

   // The member of an arm, whose value begins at the cursor.
   int arm(const Module& module, const Row& choice, const Arm& named, uint8_t* record, const char* place,
           std::string_view name, Owner& owner, Selected& selected) {
      const bool own = (choice.flags & kOwnSelector) != 0;
      if (own && !selected.number) store(record + choice.count, choice.width, named.low);
      const Row* row = findArm(module, choice, selectorOf(module, choice, record));
      const bool fits = row != nullptr && isNamed(module, *row, name);
      if (own && !fits) return fail(RTX_E_BAD_CHOICE, place, reasonOf(RTX_E_BAD_CHOICE));
      selected.arm = row;
      if (!own) L3_TRY(remember(owner, {&module, &choice, record, fits ? row : nullptr, place}));
      // What steers it may come later.
      return fits ? armValue(module, *row, record, owner) : skip();
   }
   int armValue(const Module& module, const Row& row, uint8_t* record, Owner& owner) {
      makeThere(row, record);
      return field(module, row, record, owner);
   }

   int remember(Owner& owner, const Chosen& chosen) {
      if (owner.count == kMostChosen) return fail(RTX_E_BAD_FORMAT, at_, "too many choices");
      owner.chosen[owner.count++] = chosen;
      return 0;
   }

   // All that steers is known: what was read for another arm is read anew.
   int finish(Owner& owner) {
      for (unsigned i = 0; i < owner.count; ++i) {
         const Chosen chosen = owner.chosen[i];
         const Module& module = *chosen.module;
         const Row* row = findArm(module, *chosen.choice, selectorOf(module, *chosen.choice, chosen.record));
         if (chosen.key == nullptr) {
            if (row != nullptr) begin(module, *row, chosen.record, madeRows(ctxt_));
            continue;
         }
         if (row == chosen.arm && row != nullptr) continue;
         const char* behind = at_;
         at_ = chosen.key;
         std::string_view name;
         L3_TRY(key(name));
         if (row == nullptr || !isNamed(module, *row, name))
            return within(fail(RTX_E_BAD_CHOICE, chosen.key, reasonOf(RTX_E_BAD_CHOICE)), name, ".");
         if (const int status = armValue(module, *row, chosen.record, owner); status < 0)
            return within(status, name, ".");
         at_ = behind;
      }
      return 0;
   }

   RtxContext* ctxt_;
   const char *start_, *at_, *end_;
   QuorvaJsonFault& fault_;
   unsigned depth_ = 0;
   char key_[64]; // of a member whose name has escapes
};

} // namespace

int readJson(RtxContext* ctxt, const Shape& shape, const char* text, size_t length, QuorvaJsonFault& fault) {
   fault = {};
   const int status = Reader(ctxt, text, length, fault).whole(shape);
   if (status >= 0) return 0;
   fault.line = 1;
   size_t begin = 0;
   for (size_t i = 0; i < fault.offset; ++i) {
      if (text[i] != '\n') continue;
      ++fault.line;
      begin = i + 1;
   }
   fault.column = fault.offset - begin + 1;
   return status;
}

} // namespace quorva::walk

using namespace quorva::walk;

int quorvaFromJson(RtxContext* pctxt, const QuorvaType* type, void* value, const char* text, size_t length,
                   QuorvaJsonFault* fault) {
   QuorvaJsonFault own;
   if (fault == nullptr) fault = &own;
   *fault = {};
   fault->reason = "no value to read into";
   Shape shape;
   if (pctxt == nullptr || !shapeOf(type, value, shape, madeRows(pctxt))) return RTX_E_BAD_ARGUMENT;
   return readJson(pctxt, shape, length == 0 ? "" : text, length, *fault);
}

int quorvaJsonMember(const char* text, size_t length, const char* name, const char** member, size_t* size) {
   QuorvaJsonFault fault = {};
   std::string_view found;
   const int status = Reader(nullptr, text, length, fault).member(name, found);
   if (status < 0) return status;
   *member = found.data();
   *size = found.size();
   return 0;
}
