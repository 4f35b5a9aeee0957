#include "src/walk/shape.h"

#include "quorva/rtxMemHeap.h"
#include "runtime/core/ascii.h"
#include "runtime/text/textSteps.h"
#include "src/frame/base.h"
#include "src/walk/enums.h"
#include "src/walk/registry.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace quorva::walk {

// Does it hold a member that standard mode alone has?
static bool holdsAppendix(const Type& type, const uint8_t* record) {
   const uint8_t* bits = record + type.appendixOffset;
   return std::any_of(bits, bits + type.appendixOctets, [](uint8_t octet) { return octet != 0; });
}

Shape shapeOf(unsigned module, unsigned type, uint8_t* value, Rows by) {
   const Module* table = modules[module];
   const Type* form = &table->types[type];
   while (form->form == Form::Alias) {
      table = modules[form->rows];
      form = &table->types[form->first];
   }
   const QuorvaType* named = &registered(module, type);
   if (form->standard != 0 && (by == Rows::Standard || (by == Rows::Held && holdsAppendix(*form, value))))
      form = &table->types[form->standard];
   if (form->form == Form::Value) {
      Shape shape = shapeOf(*table, table->rows[form->first], value, by);
      shape.type = named;
      shape.place = value;
      return shape;
   }
   const bool record = form->form == Form::Record;
   return {.kind = record ? Kind::Group : Kind::Null,
           .module = table,
           .first = record ? form->first : 0u,
           .rows = record ? form->rows : 0u,
           .record = value,
           .place = value,
           .form = record ? form : nullptr,
           .type = named};
}

bool shapeOf(const QuorvaType* type, const void* value, Shape& shape, Rows by) {
   if (!isRegistered(type) || (value == nullptr && type->size != 0)) return false;
   const TypePlace place = registryPlaces[type - registry];
   shape = shapeOf(place.module, place.type, static_cast<uint8_t*>(const_cast<void*>(value)), by);
   return true;
}

QuorvaKind publicKind(Kind kind) {
   switch (kind) {
   case Kind::Flag: return QUORVA_FLAG;
   case Kind::Number:
   case Kind::NamedNumber:
   case Kind::Length:
   case Kind::Span: return QUORVA_NUMBER;
   case Kind::Enumeration:
   case Kind::OpenEnumeration: return QUORVA_ENUM;
   case Kind::Octets:
   case Kind::CountedOctets: return QUORVA_OCTETS;
   case Kind::Bits:
   case Kind::CountedBits: return QUORVA_BITS;
   case Kind::CountedUnits: return QUORVA_UNITS;
   case Kind::Text: return QUORVA_TEXT;
   case Kind::Group: return QUORVA_RECORD;
   case Kind::List: return QUORVA_LIST;
   case Kind::Choice: return QUORVA_CHOICE;
   default: return QUORVA_NULL;
   }
}

uint64_t countOf(const Row& row, const uint8_t* record) {
   const uint64_t stored = load(record + row.count, row.width);
   return (row.flags & kHeap) != 0 ? stored : std::min<uint64_t>(stored, row.capacity);
}

uint64_t selectorOf(const Module& module, const Row& choice, const uint8_t* record) {
   if ((choice.flags & kSteeredByExpression) == 0) return load(record + choice.count, choice.width);
   return module.expressions[wireOf(module, choice).argument](record, nullptr, 0);
}

bool isNamed(const Module& module, const Row& row, std::string_view name) {
   const char* text = nameOf(module, row);
   for (const char c : name)
      if (*text++ != c || c == 0) return false;
   return *text == 0;
}

const Arm* armNamed(const Module& module, const Row& choice, std::string_view name) {
   if (name.empty()) return nullptr;
   for (unsigned i = 0; i < choice.rows; ++i) {
      const Arm& arm = module.arms[choice.first + i];
      if (isNamed(module, module.rows[arm.row], name)) return &arm;
   }
   return nullptr;
}

bool findField(const Module& module, unsigned first, unsigned behind, std::string_view name, Hit& hit) {
   for (unsigned i = first; i < behind; ++i) {
      const Row& row = module.rows[i];
      if (isUnnamedChoice(row)) {
         const Arm* arm = armNamed(module, row, name);
         if (arm == nullptr && ((row.flags & kOwnSelector) == 0 || name != "t")) continue;
         hit.row = arm == nullptr ? nullptr : &module.rows[arm->row];
         hit.choice = &row;
         return true;
      }
      if (isField(row) && isNamed(module, row, name)) {
         hit.row = &row;
         return true;
      }
      if (isWireGroup(row) && hit.depth < Hit::kMostGroups) {
         hit.groups[hit.depth++] = &row;
         if (findField(module, row.first, unsigned{row.first} + row.rows, name, hit)) return true;
         --hit.depth;
      }
   }
   return false;
}

const char* docOf(const Module& module, const Row* row, const QuorvaType* type) {
   if (row != nullptr) {
      const auto number = static_cast<uint16_t>(row - module.rows);
      const RowDoc* end = module.rowDocs + module.rowDocCount;
      const RowDoc* at = std::lower_bound(
            module.rowDocs, end, number, [](const RowDoc& doc, uint16_t wanted) { return doc.row < wanted; });
      if (at != end && at->row == number) return module.texts + at->text;
   }
   if (type == nullptr) return "";
   const TypePlace place = registryPlaces[type - registry];
   return modules[place.module]->texts + modules[place.module]->typeDocs[place.type];
}

// The three digits of a network code are coded each by itself, whatever is ahead of it: what is no digit
// there is a NUL.
static bool holdsNuls(const Row& row) {
   return (row.flags & (kHeap | kCharacters)) == 0 && row.capacity <= 3;
}

static size_t textLength(const Row& row, const char* text) {
   if ((row.flags & kHeap) != 0) return std::strlen(text);
   if (!holdsNuls(row)) return strnlen(text, row.capacity);
   size_t length = row.capacity;
   while (length > 0 && text[length - 1] == 0) --length;
   return length;
}

Names namesOf(const Shape& shape) {
   switch (shape.kind) {
   case Kind::Enumeration:
   case Kind::OpenEnumeration:
   case Kind::NamedNumber: return shape.module->names[shape.row->index];
   case Kind::Number:
      // Titles of messages are no names that a value could be set by.
      if (shape.row->first != 0 && shape.row->rows == 0) return shape.module->names[shape.row->first - 1];
      break;
   default: break;
   }
   return {nullptr, 0};
}

const char* meaningOf(const Module& module, const Row& row, const uint8_t* record) {
   if (row.kind != Kind::Number || row.first == 0) return "";
   uint64_t value = load(record + row.offset, row.width);
   if (row.rows != 0) {
      const Row& choice = (&row)[row.rows];
      const Row* message = findArm(module, choice, load(record + choice.count, choice.width));
      if (message == nullptr || wireOf(module, *message).iei != value) return "";
      value |= uint64_t{wireOf(module, *message).number} << 8;
   }
   const Names& names = module.names[row.first - 1];
   const RtxEnumItem* item = findValue(names.items, names.count, static_cast<uint32_t>(value));
   return item == nullptr ? "" : item->name;
}

Leaf leafOf(const Shape& shape) {
   Leaf leaf;
   if (shape.row == nullptr) return leaf;
   const Row& row = *shape.row;
   switch (shape.kind) {
   case Kind::Flag: leaf.number = shape.record[row.offset]; break;
   case Kind::Number: leaf.number = load(shape.record + row.offset, row.width); break;
   case Kind::Enumeration:
   case Kind::OpenEnumeration:
   case Kind::NamedNumber: {
      leaf.number = load(shape.record + row.offset, row.width);
      const Names& names = shape.module->names[row.index];
      leaf.item = findValue(names.items, names.count, static_cast<uint32_t>(leaf.number));
      break;
   }
   case Kind::Octets:
   case Kind::Bits:
      leaf.data = shape.record + row.offset;
      leaf.count = row.capacity;
      break;
   case Kind::CountedOctets:
   case Kind::CountedBits:
   case Kind::CountedUnits:
      leaf.data = contentsOf(row, shape.record);
      leaf.count = leaf.data == nullptr ? 0 : static_cast<size_t>(countOf(row, shape.record));
      break;
   case Kind::Text:
      leaf.data = contentsOf(row, shape.record);
      if (leaf.data == nullptr) break;
      leaf.count = textLength(row, reinterpret_cast<const char*>(leaf.data));
      break;
   default: break;
   }
   return leaf;
}

void clear(const Module& module, const Row& row, uint8_t* record, Rows by) {
   uint8_t* place = record + row.offset;
   const bool heap = (row.flags & kHeap) != 0;
   switch (row.kind) {
   case Kind::Flag:
   case Kind::Enumeration:
   case Kind::OpenEnumeration:
   case Kind::NamedNumber: return store(place, row.width, 0);
   case Kind::Number: {
      const Wire& wire = wireOf(module, row);
      return store(place, row.width, (wire.flags & kInitial) != 0 ? wire.second : 0);
   }
   case Kind::Octets: std::memset(place, 0, row.capacity); return;
   case Kind::Bits: std::memset(place, 0, (row.capacity + 7) / 8); return;
   case Kind::CountedOctets:
   case Kind::CountedBits:
   case Kind::CountedUnits:
   case Kind::List:
      store(record + row.count, row.width, 0);
      if (heap) std::memset(place, 0, sizeof(void*));
      return;
   case Kind::Text: std::memset(place, 0, heap ? sizeof(void*) : row.capacity + size_t{1}); return;
   case Kind::Message: std::memset(place, 0, sizeof(void*)); return;
   case Kind::Nested:
   case Kind::Group: return clear(shapeOf(module, row, record, by), by);
   case Kind::Choice:
      if ((row.flags & kOwnSelector) != 0) store(record + row.count, row.width, 0);
      if (const Row* arm = findArm(module, row, selectorOf(module, row, record)))
         begin(module, *arm, record, by);
      return;
   case Kind::Length:
   case Kind::Span:
      if (row.width != 0) store(place, row.width, 0);
      [[fallthrough]];
   case Kind::Chain:
   case Kind::Since:
   case Kind::Swap:
      for (unsigned i = row.first; i < unsigned{row.first} + row.rows; ++i)
         if (isInitial(module.rows[i])) clear(module, module.rows[i], record, by);
      return;
   case Kind::Null:
   case Kind::Store:
   case Kind::Padding:
   case Kind::Constant: return;
   }
}

void begin(const Module& module, const Row& arm, uint8_t* record, Rows by) {
   clear(module, arm, record, by);
   if ((arm.flags & kMustBe) != 0) setBit(record, arm.presence);
   clearAbsent(record, arm.presence);
}

void clearFamily(const Shape& shape) {
   Shape family;
   if (shape.form != nullptr && shapeOf(shape.type, shape.place, family, Rows::Family) &&
       family.form != shape.form)
      clear(family);
}

void clear(const Shape& shape, Rows by) {
   if (shape.kind != Kind::Group) {
      if (shape.row != nullptr) clear(*shape.module, *shape.row, shape.record, by);
      return;
   }
   if (by == Rows::Standard) clearFamily(shape);
   clearPresence(shape);
   for (unsigned i = shape.first; i < shape.first + shape.rows; ++i)
      if (isInitial(shape.module->rows[i])) clear(*shape.module, shape.module->rows[i], shape.record, by);
}

int storeNumber(const Shape& shape, uint64_t number) {
   const Row& row = *shape.row;
   if (shape.kind == Kind::Flag ? number > 1 : row.width < 8 && number >> 8 * row.width != 0)
      return RTX_E_OVERFLOW;
   store(shape.record + row.offset, shape.kind == Kind::Flag ? 1u : row.width, number);
   return 0;
}

uint8_t* makeRoom(RtxContext* ctxt, const Shape& shape, uint64_t count, int& status) {
   const Row& row = *shape.row;
   uint8_t* place = shape.record + row.offset;
   if (shape.kind == Kind::Octets || shape.kind == Kind::Bits) {
      status = count == row.capacity ? 0 : RTX_E_CONSTRAINT;
      return status == 0 ? place : nullptr;
   }
   const bool heap = (row.flags & kHeap) != 0;
   status =
         (heap ? row.width < 8 && count >> 8 * row.width != 0 : count > row.capacity) ? RTX_E_CONSTRAINT : 0;
   if (status < 0) return nullptr;
   if (heap) {
      const auto octets = static_cast<size_t>(shape.kind == Kind::CountedBits    ? (count + 7) / 8
                                              : shape.kind == Kind::CountedUnits ? 2 * count
                                                                                 : count);
      const auto room = static_cast<size_t>(roomOf(*shape.module, row, octets));
      void* data = room == octets ? rtxMemHeapAlloc(ctxt, std::max<size_t>(octets, 1))
                                  : rtxMemHeapAllocZ(ctxt, room);
      if (data == nullptr) {
         status = RTX_E_NOMEM;
         return nullptr;
      }
      std::memcpy(place, &data, sizeof data);
      place = static_cast<uint8_t*>(data);
   }
   store(shape.record + row.count, row.width, count);
   return place;
}

int storeOctets(RtxContext* ctxt, const Shape& shape, const uint8_t* octets, size_t count) {
   int status;
   uint8_t* place = makeRoom(ctxt, shape, count, status);
   if (place != nullptr && count != 0) std::memcpy(place, octets, count);
   return status;
}

// The value of each character as a hexadecimal digit; more for those that are none.
constexpr auto kHexValues = [] {
   std::array<uint8_t, 256> values{};
   for (int c = 0; c < 256; ++c) values[static_cast<size_t>(c)] = static_cast<uint8_t>(hexDigitValue(c));
   return values;
}();

bool areHexDigits(std::string_view text) {
   uint8_t all = 0;
   for (const char c : text) all |= kHexValues[static_cast<uint8_t>(c)];
   return all < 16;
}

void octetsOfHex(std::string_view digits, uint8_t* octets) {
   const auto value = [&](size_t i) { return kHexValues[static_cast<uint8_t>(digits[i])]; };
   for (size_t i = 0; i + 1 < digits.size(); i += 2)
      *octets++ = static_cast<uint8_t>(value(i) << 4 | value(i + 1));
}

int storeHex(RtxContext* ctxt, const Shape& shape, std::string_view digits) {
   const bool bits = shape.kind == Kind::Bits || shape.kind == Kind::CountedBits;
   uint64_t count = 0;
   if (const size_t slash = digits.find('/'); bits && slash != std::string_view::npos) {
      const char* end = digits.data() + digits.size();
      const auto read = std::from_chars(digits.data() + slash + 1, end, count);
      if (read.ec != std::errc() || read.ptr != end) return RTX_E_BAD_VALUE;
      digits = digits.substr(0, slash);
      if (digits.size() != (count + 7) / 8 * 2) return RTX_E_BAD_VALUE;
   } else {
      if (digits.size() % 2 != 0) return RTX_E_BAD_HEX;
      count = bits ? digits.size() * 4 : digits.size() / 2;
   }
   if (!areHexDigits(digits)) return RTX_E_BAD_HEX;
   int status;
   uint8_t* place = makeRoom(ctxt, shape, count, status);
   if (place != nullptr) octetsOfHex(digits, place);
   return status;
}

int storeText(RtxContext* ctxt, const Shape& shape, const char* text, size_t length) {
   const Row& row = *shape.row;
   if (!holdsNuls(row) && std::memchr(text, 0, length) != nullptr) return RTX_E_BAD_CHAR;
   auto* place = reinterpret_cast<char*>(shape.record + row.offset);
   if ((row.flags & kHeap) != 0) {
      auto* copy = static_cast<char*>(rtxMemHeapAlloc(ctxt, length + 1));
      if (copy == nullptr) return RTX_E_NOMEM;
      std::memcpy(place, &copy, sizeof copy);
      place = copy;
   } else if (length > row.capacity) {
      return RTX_E_CONSTRAINT;
   } else {
      std::memset(place, 0, row.capacity);
   }
   std::memcpy(place, text, length);
   place[length] = 0;
   return 0;
}

bool isUtf8(std::string_view text) {
   while (!text.empty()) {
      // Most texts are ASCII.
      if (uint64_t eight; text.size() >= sizeof eight) {
         std::memcpy(&eight, text.data(), sizeof eight);
         if ((eight & 0x8080808080808080) == 0) {
            text.remove_prefix(sizeof eight);
            continue;
         }
      }
      const size_t size = utf8Sequence(text.data(), text.size());
      if (size == 0) return false;
      text.remove_prefix(size);
   }
   return true;
}

namespace {

// UTF-8, where a surrogate without its other half may stand as a character of its own.
int storeUnits(RtxContext* ctxt, const Shape& shape, std::string_view text) {
   const auto eachUnit = [&](auto take) {
      for (size_t at = 0; at < text.size();) {
         const auto octet = [&](size_t i) { return uint32_t{static_cast<uint8_t>(text[at + i])}; };
         size_t size = utf8Sequence(text.data() + at, text.size() - at);
         if (size == 0 && text.size() - at >= 3 && octet(0) == 0xED && octet(1) >> 6 == 2 &&
             octet(2) >> 6 == 2)
            size = 3;
         uint32_t code = octet(0);
         if (size == 0) return false;
         if (size > 1) code &= 0x7Fu >> size;
         for (size_t i = 1; i < size; ++i) code = code << 6 | (octet(i) & 0x3F);
         at += size;
         if (code >= 0x10000) {
            take(static_cast<uint16_t>(0xD7C0 + (code >> 10)));
            code = 0xDC00 | (code & 0x3FF);
         }
         take(static_cast<uint16_t>(code));
      }
      return true;
   };
   size_t count = 0;
   if (!eachUnit([&](uint16_t) { ++count; })) return RTX_E_BAD_UTF8;
   int status;
   uint8_t* place = makeRoom(ctxt, shape, count, status);
   if (place == nullptr) return status;
   (void)eachUnit([&](uint16_t unit) {
      std::memcpy(place, &unit, sizeof unit);
      place += sizeof unit;
   });
   return 0;
}

int storeName(const Shape& shape, std::string_view text) {
   if (shape.kind == Kind::Flag) {
      if (text == "true" || text == "false") return storeNumber(shape, text == "true");
   } else if (const Names names = namesOf(shape); names.count != 0) {
      const int row = rtxLookupEnum(text.data(), text.size(), names.items, names.count);
      if (row >= 0) return storeNumber(shape, static_cast<uint32_t>(names.items[row].value));
      if (text.empty() || !isDigit(text[0])) return RTX_E_BAD_ENUM;
   }
   const bool hex = text.starts_with("0x");
   if (hex) text.remove_prefix(2);
   uint64_t number = 0;
   const char* end = text.data() + text.size();
   const auto read = std::from_chars(text.data(), end, number, hex ? 16 : 10);
   if (read.ec == std::errc::result_out_of_range) return RTX_E_OVERFLOW;
   return read.ptr == end && read.ec == std::errc() ? storeNumber(shape, number) : RTX_E_BAD_VALUE;
}

} // namespace

int storeAnyText(RtxContext* ctxt, const Shape& shape, std::string_view text) {
   switch (publicKind(shape.kind)) {
   case QUORVA_FLAG:
   case QUORVA_NUMBER:
   case QUORVA_ENUM: return storeName(shape, text);
   case QUORVA_OCTETS:
   case QUORVA_BITS: return storeHex(ctxt, shape, text);
   case QUORVA_TEXT: return storeText(ctxt, shape, text.data(), text.size());
   case QUORVA_UNITS: return storeUnits(ctxt, shape, text);
   default: return text.empty() ? 0 : RTX_E_VALUE_TYPE;
   }
}

Shape entryOf(const Shape& list, uint64_t index, Rows by) {
   const Row& row = *list.row;
   return shapeOf(*list.module, list.module->rows[row.first],
                  contentsOf(row, list.record) + static_cast<size_t>(index) * row.stride, by);
}

int resize(RtxContext* ctxt, const Shape& list, uint64_t count) {
   const Row& row = *list.row;
   uint64_t old = countOf(row, list.record);
   if (contentsOf(row, list.record) == nullptr) old = 0;
   if (count > old && (row.flags & kHeap) != 0) {
      if ((row.width < 8 && count >> 8 * row.width != 0) || count > SIZE_MAX / 2 / row.stride)
         return RTX_E_CONSTRAINT;
      void* entries =
            rtxMemHeapAllocZ(ctxt, static_cast<size_t>(roomOf(*list.module, row, count)) * row.stride);
      if (entries == nullptr) return RTX_E_NOMEM;
      if (old != 0) std::memcpy(entries, contentsOf(row, list.record), static_cast<size_t>(old) * row.stride);
      std::memcpy(list.record + row.offset, &entries, sizeof entries);
   } else if ((row.flags & kHeap) == 0 && count > row.capacity) {
      return RTX_E_CONSTRAINT;
   }
   store(list.record + row.count, row.width, count);
   for (; old < count; ++old) clear(entryOf(list, old, madeRows(ctxt)), madeRows(ctxt));
   return 0;
}

int select(const Module& module, const Row& choice, const Arm& arm, uint8_t* record, const Shape& pdu,
           Rows by) {
   if ((choice.flags & kSteeredByExpression) != 0) return RTX_E_BAD_CHOICE;
   store(record + choice.count, choice.width, arm.low);
   const Row& row = module.rows[arm.row];
   begin(module, row, record, by);
   if ((wireOf(module, choice).flags & kOfMessages) == 0) return 0;
   for (unsigned i = pdu.first; i < pdu.first + pdu.rows; ++i)
      storeHeader(module, choice, row, module.rows[i], pdu.record);
   return 0;
}

void storeHeader(const Module& module, const Row& messages, const Row& message, const Row& field,
                 uint8_t* pdu) {
   const Wire& tells = wireOf(module, message);
   if (isNamed(module, field, "protoDiscr")) (void)storeNumber(shapeOf(module, field, pdu), tells.number);
   if (isNamed(module, field, "msgType")) (void)storeNumber(shapeOf(module, field, pdu), tells.iei);
   if (tells.lead == 0 || field.kind != Kind::Nested) return;
   const Shape header = shapeOf(module, field, pdu);
   if (header.rows != 1 || !isUnnamedChoice(header.module->rows[header.first])) return;
   const Row& choice = header.module->rows[header.first];
   const uint64_t now = selectorOf(*header.module, choice, header.record);
   const Arm* arms = module.arms + messages.first;
   const bool others = std::any_of(arms, arms + messages.rows, [&](const Arm& other) {
      return wireOf(module, module.rows[other.row]).lead == now;
   });
   const Arm* arm = armOf(*header.module, choice, tells.lead);
   if (arm != nullptr && now != tells.lead && (now == 0 || others))
      (void)select(*header.module, choice, *arm, header.record, {});
}

int makeMessage(RtxContext* ctxt, const Row& row, uint8_t* record) {
   uint8_t* place = record + row.offset;
   const size_t size = registered(row.module, row.index).size;
   auto* message = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt, std::max<size_t>(size, 1)));
   if (message == nullptr) return RTX_E_NOMEM;
   std::memcpy(place, &message, sizeof message);
   clear(shapeOf(row.module, row.index, message, madeRows(ctxt)), madeRows(ctxt));
   return 0;
}

} // namespace quorva::walk
