#include "src/walk/print.h"

#include "quorva/rtxCharStr.h"
#include "src/walk/codec.h"
#include "src/walk/enums.h"
#include "src/walk/lines.h"
#include "src/walk/shape.h"

#include <algorithm>

namespace quorva::walk {

namespace {

constexpr size_t kMaxName = 512; // an element name; a longer one loses its last pieces

const void* pointerAt(const uint8_t* place) {
   return *reinterpret_cast<const void* const*>(place);
}

// Walks a record and hands each line on.
template <class Lines>
class Printer {
public:
   Printer(Lines lines, const RtxContext* ctxt)
         : lines_(lines), ctxt_(ctxt), names_(ctxt != nullptr && (ctxt->flags & RTX_CTXT_NAMES) != 0) {}

   void type(const Module& module, const Type& itself, const char* name, const uint8_t* value) {
      const Type& type = formOf(ctxt_, module, itself);
      switch (type.form) {
      case Form::Record:
         lines_.open(name);
         block(module, type.first, type.rows, value);
         lines_.close();
         return;
      case Form::Value: return row(module, module.rows[type.first], name, value);
      case Form::Empty: return lines_.null(name);
      case Form::Alias: {
         const Module& other = *modules[type.rows];
         return this->type(other, other.types[type.first], name, value);
      }
      }
   }

private:
   void block(const Module& module, unsigned first, unsigned rows, const uint8_t* record) {
      for (unsigned i = first; i < first + rows; ++i) {
         const Row& field = module.rows[i];
         if (isThere(ctxt_, field, record)) row(module, field, module.texts + field.name, record);
      }
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
         lines_.open(name);
         block(module, row.first, row.rows, record);
         lines_.close();
         return;
      case Kind::Nested: return nested(row, name, place);
      case Kind::Message:
         if (const void* message = pointerAt(place)) nested(row, name, static_cast<const uint8_t*>(message));
         return;
      case Kind::List: return list(module, row, name, record);
      case Kind::Choice: return choice(module, row, name, record);
      case Kind::Null:
         if ((row.flags & kWireOnly) == 0) lines_.null(name);
         return;
      case Kind::Store:
      case Kind::Padding:
      case Kind::Constant: return;
      case Kind::Length:
      case Kind::Span:
         if (row.width != 0) lines_.number(name, load(place, row.width), row.width);
         return block(module, row.first, row.rows, record);
      case Kind::Chain:
      case Kind::Since:
      case Kind::Swap: return block(module, row.first, row.rows, record);
      case Kind::Flag: return lines_.boolean(name, *place);
      case Kind::Number:
         if (names_ && row.first != 0) {
            if (const char* meaning = meaningOf(module, row, record); *meaning != 0)
               return lines_.number(name, load(place, row.width), meaning);
         }
         return lines_.number(name, load(place, row.width), row.width);
      case Kind::Enumeration:
      case Kind::OpenEnumeration: return enumeration(module, row, name, load(place, row.width));
      case Kind::NamedNumber: return namedNumber(module, row, name, load(place, row.width));
      case Kind::Octets: return lines_.octets(name, row.capacity, place);
      case Kind::CountedOctets: return lines_.octets(name, count(row, record), contents(row, record));
      case Kind::Bits: return lines_.bits(name, row.capacity, place);
      case Kind::CountedBits:
         return lines_.bits(name, static_cast<uint32_t>(count(row, record)), contents(row, record));
      case Kind::CountedUnits:
         return lines_.units(name, {static_cast<uint32_t>(count(row, record)),
                                    reinterpret_cast<const uint16_t*>(contents(row, record))});
      case Kind::Text: return lines_.text(name, reinterpret_cast<const char*>(contents(row, record)));
      }
   }

   static Expression expression(const Module& module, const Row& row) {
      return module.expressions[module.wires[&row - module.rows].argument];
   }

   void nested(const Row& row, const char* name, const uint8_t* value) {
      const Module& module = *modules[row.module];
      type(module, module.types[row.index], name, value);
   }

   void enumeration(const Module& module, const Row& row, const char* name, uint64_t value) {
      const Names& names = module.names[row.index];
      if (const RtxEnumItem* item = findValue(names.items, names.count, static_cast<uint32_t>(value)))
         lines_.named(name, item->name);
      else if (row.kind == Kind::OpenEnumeration)
         lines_.unlisted(name, static_cast<uint32_t>(value));
      else
         lines_.unlisted(name);
   }

   void namedNumber(const Module& module, const Row& row, const char* name, uint64_t value) {
      const Names& names = module.names[row.index];
      const RtxEnumItem* item = findValue(names.items, names.count, static_cast<uint32_t>(value));
      if (item == nullptr) return lines_.number(name, value, row.width);
      char text[kMaxName];
      rtxStrcpy(text, sizeof text, name);
      rtxStrcat(text, sizeof text, " = ");
      rtxStrcat(text, sizeof text, item->name);
      rtxStrcat(text, sizeof text, "\n");
      lines_.line(text);
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
      const uint64_t value = row.flags & kSteeredByExpression ? expression(module, row)(record, nullptr, 0)
                                                              : load(record + row.count, row.width);
      const Row* arm = findArm(module, row, value);
      if (!(row.flags & kUnnamed)) lines_.open(name);
      if (arm != nullptr && module.texts[arm->name] != 0 && hasBit(record, arm->presence))
         this->row(module, *arm, module.texts + arm->name, record);
      if (!(row.flags & kUnnamed)) lines_.close();
   }

   Lines lines_;
   const RtxContext* ctxt_;
   const bool names_; // of plain numbers are shown
};

} // namespace

int print(RtxContext* pctxt, const char* name, const Module& module, unsigned type, const void* value) {
   const Type& row = module.types[type];
   const auto* record = static_cast<const uint8_t*>(value);
   TextWriter out(pctxt);
   if (out.direct())
      Printer(WrittenLines(pctxt, out), pctxt).type(module, row, name, record);
   else
      Printer(CalledLines(pctxt), pctxt).type(module, row, name, record);
   return 0;
}

} // namespace quorva::walk
