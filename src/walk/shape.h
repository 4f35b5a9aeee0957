// What stands at a place of a value, once the names of types are taken off; and its leaves as texts.
#pragma once

#include "quorva/reflect.h"
#include "src/walk/codec.h"

#include <string_view>

namespace quorva::walk {

struct Shape {
   Kind kind = Kind::Null; // Group: a record; Null: nothing; else as in rows
   bool there = true;      // false: a message without a record
   const Module* module = nullptr;
   const Row* row = nullptr;         // of all but the record of a type, and an empty type
   unsigned first = 0, rows = 0;     // Group
   uint8_t* record = nullptr;        // in whose coordinates these rows are
   uint8_t* place = nullptr;         // where the value begins
   const Type* form = nullptr;       // Group: its type, unless it has none
   const QuorvaType* type = nullptr; // outermost type with a name
};

// By which rows a record is told that has others in standard mode: by those if it holds what they alone have;
// or by what the caller says, who makes the record, or has none.
enum class Rows { Held, Family, Standard };
inline Rows madeRows(const RtxContext* ctxt) {
   return isStandardMode(ctxt) ? Rows::Standard : Rows::Family;
}
inline Rows shownRows(const RtxContext* ctxt) {
   return isStandardMode(ctxt) ? Rows::Standard : Rows::Held;
}

Shape shapeOf(unsigned module, unsigned type, uint8_t* value, Rows by = Rows::Held);
inline Shape shapeOf(const Module& module, const Row& row, uint8_t* record, Rows by = Rows::Held) {
   uint8_t* place = record + row.offset;
   if (row.kind == Kind::Nested) return shapeOf(row.module, row.index, place, by);
   if (row.kind == Kind::Message) {
      uint8_t* message;
      __builtin_memcpy(&message, place, sizeof message);
      return message != nullptr ? shapeOf(row.module, row.index, message, by) : Shape{.there = false};
   }
   const bool group = row.kind == Kind::Group, number = row.kind == Kind::Length || row.kind == Kind::Span;
   return {.kind = number ? Kind::Number : row.kind,
           .module = &module,
           .row = &row,
           .first = group ? row.first : 0u,
           .rows = group ? row.rows : 0u,
           .record = record,
           .place = place};
}
// A value of a registered type; false for another type, and for no value.
bool shapeOf(const QuorvaType* type, const void* value, Shape& shape, Rows by = Rows::Held);

QuorvaKind publicKind(Kind kind);

// Do the fields in it stand among those around it? An unnamed choice does so with its arms.
inline bool isWireGroup(const Row& row) {
   return row.kind == Kind::Length || row.kind == Kind::Span || row.kind == Kind::Chain ||
          row.kind == Kind::Since || row.kind == Kind::Swap;
}
inline bool isUnnamedChoice(const Row& row) {
   return row.kind == Kind::Choice && (row.flags & kUnnamed) != 0;
}
// Has it a name among the fields?
inline bool isField(const Row& row) {
   switch (row.kind) {
   case Kind::Store:
   case Kind::Padding:
   case Kind::Constant:
   case Kind::Chain:
   case Kind::Since:
   case Kind::Swap: return false;
   case Kind::Length:
   case Kind::Span: return row.width != 0;
   case Kind::Null: return (row.flags & kWireOnly) == 0;
   case Kind::Choice: return (row.flags & kUnnamed) == 0;
   default: return true;
   }
}

inline const Wire& wireOf(const Module& module, const Row& row) {
   return module.wires[&row - module.rows];
}
inline const char* nameOf(const Module& module, const Row& row) {
   return module.texts + row.name;
}
inline bool isThere(const Row& row, const uint8_t* record) {
   return hasBit(record, row.group) && hasBit(record, row.presence);
}

// Octets, bits, characters or entries: the lower of the stored count and what the record has room for.
uint64_t countOf(const Row& row, const uint8_t* record);

// The number that steers a choice.
uint64_t selectorOf(const Module& module, const Row& choice, const uint8_t* record);

// A field by its name among the fields of a record: its row, and what it stands in without a name of its own.
struct Hit {
   static constexpr unsigned kMostGroups = 8;
   const Row* row = nullptr;
   const Row* choice = nullptr;    // whose arm the row is; without a row its selector "t" is meant
   const Row* groups[kMostGroups]; // `depth` of them
   unsigned depth = 0;
};
bool findField(const Module& module, unsigned first, unsigned behind, std::string_view name, Hit& hit);
bool isNamed(const Module& module, const Row& row, std::string_view name);
// The first arm of that name; null if there is none.
const Arm* armNamed(const Module& module, const Row& choice, std::string_view name);
inline void makeThere(const Row& row, uint8_t* record) {
   setBit(record, row.group);
   setBit(record, row.presence);
   clearAbsent(record, row.presence);
}

// The words of the description for a row, or else for the type; "" without.
const char* docOf(const Module& module, const Row* row, const QuorvaType* type);

// A leaf's value.
struct Leaf {
   uint64_t number = 0;
   const RtxEnumItem* item = nullptr; // the number's name
   const uint8_t* data = nullptr;
   size_t count = 0; // octets, bits, or characters
};
Leaf leafOf(const Shape& shape);

// Names that the value of a leaf may have, in prints or beside them.
Names namesOf(const Shape& leaf);

// What a number means that prints as such: its name, of the type of a message the title of the one selected;
// "" if nobody says.
const char* meaningOf(const Module& module, const Row& row, const uint8_t* record);

// The first state of a field: numbers, counts and selectors 0 or what the description says, optional fields
// absent. Nothing is freed. By Rows::Standard records get the first state of both modes.
void clear(const Module& module, const Row& row, uint8_t* record, Rows by = Rows::Family);
void clear(const Shape& record, Rows by = Rows::Family);
// The same for an arm that has just been selected. One that standard mode alone has is there from now on, or
// a look without that mode would take what another arm has left for the family's.
void begin(const Module& module, const Row& arm, uint8_t* record, Rows by = Rows::Family);
// Of a record told by its rows in standard mode what the family has: a look without that mode shows it as
// long as nothing is appended.
void clearFamily(const Shape& record);
// Is it to be cleared with its record? In standard mode some optional lists go by their count alone.
inline bool isInitial(const Row& row) {
   return row.presence == kNone || row.kind == Kind::List;
}
// The presence bits of a record or group, and all that it has for standard mode alone, which no row tells of.
inline void clearPresence(const Shape& shape) {
   if (shape.form == nullptr) {
      __builtin_memset(shape.record + shape.row->count, 0, shape.row->width);
      return;
   }
   __builtin_memset(shape.record + shape.form->presenceOffset, 0, shape.form->presenceOctets);
   if (shape.form->appendixOctets != 0)
      __builtin_memset(shape.record + shape.form->appendixOffset, 0,
                       shape.form->size - shape.form->appendixOffset);
}

// Number into a leaf that is one: RTX_E_OVERFLOW if it has no room.
int storeNumber(const Shape& shape, uint64_t number);
// What the texts of the other leaves say. Memory of the context's heap.
int storeOctets(RtxContext* ctxt, const Shape& shape, const uint8_t* octets, size_t count);
int storeText(RtxContext* ctxt, const Shape& shape, const char* text, size_t length);
// A leaf of any kind, by a text as in QuorvaItem.
int storeAnyText(RtxContext* ctxt, const Shape& shape, std::string_view text);
// Entries, or octets, that a list on the heap gets room for, those behind `count` cleared. Where an encoder
// goes by another field alone it may write as many as that says, 15 at most (TS 24.008, 10.5.6.12).
inline uint64_t roomOf(const Module& module, const Row& row, uint64_t count) {
   return (wireOf(module, row).flags & kUnasked) != 0 && count < 15 ? 15 : count;
}
// Room for so many octets, bits or characters, with the count stored; null if there is none, with the status.
uint8_t* makeRoom(RtxContext* ctxt, const Shape& shape, uint64_t count, int& status);
bool areHexDigits(std::string_view text);
// Two digits an octet.
void octetsOfHex(std::string_view digits, uint8_t* octets);
// From hexadecimal digits, two an octet, or the octets' number of bits behind a slash.
int storeHex(RtxContext* ctxt, const Shape& shape, std::string_view digits);

// Entries: a list gets so many; those behind the old ones are in their first state.
int resize(RtxContext* ctxt, const Shape& list, uint64_t count);
Shape entryOf(const Shape& list, uint64_t index, Rows by = Rows::Held);

// Selects an arm; in a PDU what goes with the message besides. `pdu`: the record around. RTX_E_BAD_CHOICE if
// no number can.
int select(const Module& module, const Row& choice, const Arm& arm, uint8_t* record, const Shape& pdu,
           Rows by = Rows::Family);

// What goes with the message of a PDU into one of the PDU's fields: discriminator, type, and the arm of the
// header, where one that is chosen stays unless it is that of the PDU's other protocol.
void storeHeader(const Module& module, const Row& messages, const Row& message, const Row& field,
                 uint8_t* pdu);

// The record of a message that has none yet.
int makeMessage(RtxContext* ctxt, const Row& row, uint8_t* record);

bool isUtf8(std::string_view text);

} // namespace quorva::walk
