#include "src/walk/print.h"

#include "quorva/rtPrintToStream.h"
#include "quorva/rtxCharStr.h"
#include "quorva/rtxPrintToStream.h"
#include "src/walk/enums.h"

#include <algorithm>

namespace quorva::walk {

namespace {

constexpr size_t kMaxName = 512; // an element name; a longer one loses its last pieces

const void* pointerAt(const uint8_t* place) {
   return *reinterpret_cast<const void* const*>(place);
}

class Printer {
public:
   explicit Printer(RtxContext* ctxt) : ctxt_(ctxt) {}

   void type(const Module& module, const Type& type, const char* name, const uint8_t* value) {
      switch (type.form) {
      case Form::Record:
         rtxPrintToStreamOpenBrace(ctxt_, name);
         block(module, type.first, type.rows, value);
         rtxPrintToStreamCloseBrace(ctxt_);
         return;
      case Form::Value: return row(module, module.rows[type.first], name, value);
      case Form::Empty: return null(name);
      }
   }

private:
   static bool bit(const uint8_t* record, uint32_t number) {
      return number == kNone || (record[number / 8] >> number % 8 & 1) != 0;
   }

   void block(const Module& module, unsigned first, unsigned rows, const uint8_t* record) {
      for (unsigned i = first; i < first + rows; ++i) {
         const Row& field = module.rows[i];
         if (bit(record, field.group) && bit(record, field.presence))
            row(module, field, module.texts + field.name, record);
      }
   }

   void null(const char* name) {
      rtxPrintToStreamIndent(ctxt_);
      rtxPrintToStreamNull(ctxt_, name);
   }

   // The lower of the stored count and what the record has room for.
   static size_t count(const Row& row, const uint8_t* record) {
      const uint64_t stored = load(record + row.count, row.width);
      return static_cast<size_t>(row.flags & kHeap ? stored : std::min<uint64_t>(stored, row.capacity));
   }

   static const uint8_t* contents(const Row& row, const uint8_t* record) {
      const uint8_t* place = record + row.offset;
      return row.flags & kHeap ? static_cast<const uint8_t*>(pointerAt(place)) : place;
   }

   void row(const Module& module, const Row& row, const char* name, const uint8_t* record) {
      const uint8_t* place = record + row.offset;
      switch (row.kind) {
      case Kind::Group:
         rtxPrintToStreamOpenBrace(ctxt_, name);
         block(module, row.first, row.rows, record);
         rtxPrintToStreamCloseBrace(ctxt_);
         return;
      case Kind::Nested: return nested(row, name, place);
      case Kind::Message:
         if (const void* message = pointerAt(place)) nested(row, name, static_cast<const uint8_t*>(message));
         return;
      case Kind::List: return list(module, row, name, record);
      case Kind::Choice: return choice(module, row, name, record);
      case Kind::Null: return null(name);
      case Kind::Store: return;
      default: break;
      }
      rtxPrintToStreamIndent(ctxt_);
      switch (row.kind) {
      case Kind::Flag: rtxPrintToStreamBoolean(ctxt_, name, *place); return;
      case Kind::Number: return number(name, load(place, row.width), row.width);
      case Kind::Enumeration:
      case Kind::OpenEnumeration: return enumeration(module, row, name, load(place, row.width));
      case Kind::NamedNumber: return namedNumber(module, row, name, load(place, row.width));
      case Kind::Octets: rtxPrintToStreamHexStr(ctxt_, name, row.capacity, place); return;
      case Kind::CountedOctets:
         rtxPrintToStreamHexStr(ctxt_, name, count(row, record), contents(row, record));
         return;
      case Kind::Bits: rtPrintToStreamBitStrBraceText(ctxt_, name, row.capacity, place); return;
      case Kind::CountedBits:
         rtPrintToStreamBitStrBraceText(ctxt_, name, static_cast<uint32_t>(count(row, record)),
                                        contents(row, record));
         return;
      case Kind::CountedUnits: {
         const Rtx16BitCharString text{static_cast<uint32_t>(count(row, record)),
                                       reinterpret_cast<const uint16_t*>(contents(row, record))};
         rtPrintToStreamUnicodeCharStr(ctxt_, name, &text);
         return;
      }
      case Kind::Text:
         rtxPrintToStreamCharStr(ctxt_, name, reinterpret_cast<const char*>(contents(row, record)));
         return;
      default: return;
      }
   }

   void nested(const Row& row, const char* name, const uint8_t* value) {
      const Module& module = *modules[row.module];
      type(module, module.types[row.index], name, value);
   }

   void number(const char* name, uint64_t value, unsigned width) {
      if (width > 4)
         rtxPrintToStreamUInt64(ctxt_, name, value);
      else
         rtxPrintToStreamUnsigned(ctxt_, name, static_cast<uint32_t>(value));
   }

   // A text that is itself the format, as the callbacks expect it of names and of rows.
   void literal(const char* text) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      rtxPrintToStream(ctxt_, text);
#pragma GCC diagnostic pop
   }

   void enumeration(const Module& module, const Row& row, const char* name, uint64_t value) {
      literal(name); // a percent sign in it acts as a directive: names are the callers' own
      const Names& names = module.names[row.index];
      if (const RtxEnumItem* item = findValue(names.items, names.count, static_cast<uint32_t>(value)))
         rtxPrintToStream(ctxt_, " = %s\n", item->name);
      else if (row.kind == Kind::OpenEnumeration)
         rtxPrintToStreamUnsigned(ctxt_, "", static_cast<uint32_t>(value));
      else
         literal(" = ???\n");
   }

   void namedNumber(const Module& module, const Row& row, const char* name, uint64_t value) {
      const Names& names = module.names[row.index];
      const RtxEnumItem* item = findValue(names.items, names.count, static_cast<uint32_t>(value));
      if (item == nullptr) return number(name, value, row.width);
      char text[kMaxName];
      rtxStrcpy(text, sizeof text, name);
      rtxStrcat(text, sizeof text, " = ");
      rtxStrcat(text, sizeof text, item->name);
      rtxStrcat(text, sizeof text, "\n");
      literal(text);
   }

   void list(const Module& module, const Row& row, const char* name, const uint8_t* record) {
      const size_t entries = count(row, record);
      const Row& element = module.rows[row.first];
      const uint8_t* entry = contents(row, record);
      for (size_t i = 0; i < entries; ++i, entry += row.stride) {
         char index[32];
         char elementName[kMaxName];
         rtxUIntToCharStr(static_cast<uint32_t>(i), index, sizeof index, 0);
         rtxStrJoin(elementName, sizeof elementName, name, "[", index, "]", nullptr);
         this->row(module, element, elementName, entry);
      }
   }

   void choice(const Module& module, const Row& row, const char* name, const uint8_t* record) {
      const uint64_t value = row.flags & kSteeredByExpression ? module.expressions[row.index](record)
                                                              : load(record + row.count, row.width);
      const Row* arm = findArm(module, row, value);
      if (!(row.flags & kUnnamed)) rtxPrintToStreamOpenBrace(ctxt_, name);
      if (arm != nullptr && module.texts[arm->name] != 0 && bit(record, arm->presence))
         this->row(module, *arm, module.texts + arm->name, record);
      if (!(row.flags & kUnnamed)) rtxPrintToStreamCloseBrace(ctxt_);
   }

   RtxContext* ctxt_;
};

} // namespace

int print(RtxContext* pctxt, const char* name, const Module& module, unsigned type, const void* value) {
   Printer(pctxt).type(module, module.types[type], name, static_cast<const uint8_t*>(value));
   return 0;
}

} // namespace quorva::walk
