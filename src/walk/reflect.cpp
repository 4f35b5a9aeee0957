// Types and values by the names of their fields.

#include "src/walk/item.h"

#include "quorva/rtxMemHeap.h"
#include "src/frame/base.h"
#include "src/walk/registry.h"

#include <algorithm>

namespace quorva::walk {

namespace {

// Where a row's octets are, from the start of its type's record.
struct Extent {
   size_t begin = SIZE_MAX, end = 0;
   void add(size_t from, size_t to) {
      begin = std::min(begin, from);
      end = std::max(end, to);
   }
};

void extend(Extent& extent, const Module& module, const Row& row) {
   const size_t offset = row.offset;
   const bool heap = (row.flags & kHeap) != 0;
   const auto counted = [&](size_t each) {
      extent.add(row.count, row.count + row.width);
      extent.add(offset, offset + (heap ? sizeof(void*) : each));
   };
   const auto inside = [&] {
      for (unsigned i = row.first; i < unsigned{row.first} + row.rows; ++i)
         extend(extent, module, module.rows[i]);
   };
   switch (row.kind) {
   case Kind::Flag: return extent.add(offset, offset + 1);
   case Kind::Number:
   case Kind::Enumeration:
   case Kind::OpenEnumeration:
   case Kind::NamedNumber: return extent.add(offset, offset + row.width);
   case Kind::Octets: return extent.add(offset, offset + row.capacity);
   case Kind::Bits: return extent.add(offset, offset + (row.capacity + 7) / 8);
   case Kind::CountedOctets: return counted(row.capacity);
   case Kind::CountedBits: return counted((row.capacity + 7) / 8);
   case Kind::CountedUnits: return counted(2 * size_t{row.capacity});
   case Kind::List: return counted(size_t{row.stride} * row.capacity);
   case Kind::Text: return extent.add(offset, offset + (heap ? sizeof(void*) : row.capacity + 1));
   case Kind::Nested: return extent.add(offset, offset + registered(row.module, row.index).size);
   case Kind::Message: return extent.add(offset, offset + sizeof(void*));
   case Kind::Group:
      if (row.width != 0) extent.add(row.count, row.count + row.width);
      return inside();
   case Kind::Choice:
      if ((row.flags & kOwnSelector) != 0) extent.add(row.count, row.count + row.width);
      for (unsigned i = 0; i < row.rows; ++i)
         extend(extent, module, module.rows[module.arms[row.first + i].row]);
      return;
   case Kind::Length:
   case Kind::Span:
      if (row.width != 0) extent.add(offset, offset + row.width);
      return inside();
   case Kind::Chain:
   case Kind::Since:
   case Kind::Swap: return inside();
   case Kind::Null:
   case Kind::Store:
   case Kind::Padding:
   case Kind::Constant: return;
   }
}

// On the wire, of a leaf.
uint32_t bitsOf(const Shape& shape) {
   switch (shape.kind) {
   case Kind::Flag: return 1;
   case Kind::Number:
   case Kind::NamedNumber: return wireOf(*shape.module, *shape.row).bits;
   case Kind::Octets: return 8 * shape.row->capacity;
   case Kind::Bits: return shape.row->capacity;
   case Kind::Enumeration:
   case Kind::OpenEnumeration: {
      // The type of the row knows it, which the field's row leads to.
      if (shape.type == nullptr) return 0;
      const TypePlace place = registryPlaces[shape.type - registry];
      const Module* module = modules[place.module];
      const Type* type = &module->types[place.type];
      while (type->form == Form::Alias) {
         module = modules[type->rows];
         type = &module->types[type->first];
      }
      return type->bits;
   }
   default: return 0;
   }
}

// What a row describes, where there is no record.
uint8_t nowhere[1]; // never read or written
Shape described(const Module& module, const Row& row) {
   return row.kind == Kind::Message ? shapeOf(row.module, row.index, nowhere, Rows::Family)
                                    : shapeOf(module, row, nowhere, Rows::Family);
}

class Lister {
public:
   Lister(QuorvaField* fields, size_t room) : fields_(fields), room_(fields == nullptr ? 0 : room) {}

   // The fields among rows, those within wire groups too.
   void block(const Module& module, unsigned first, unsigned rows, uint32_t group = QUORVA_NONE) {
      for (unsigned i = first; i < first + rows; ++i) {
         const Row& row = module.rows[i];
         if (isUnnamedChoice(row) || isField(row)) field(module, row, QUORVA_NONE, group);
         if (isWireGroup(row))
            block(module, row.first, row.rows, row.presence != QUORVA_NONE ? row.presence : group);
      }
   }

   void arms(const Module& module, const Row& choice) {
      for (unsigned i = 0; i < choice.rows; ++i) {
         const Arm& arm = module.arms[choice.first + i];
         const bool again = i > 0 && module.arms[choice.first + i - 1].row == arm.row;
         if (!again && *nameOf(module, module.rows[arm.row]) != 0)
            field(module, module.rows[arm.row], arm.low);
      }
   }

   void field(const Module& module, const Row& row, uint32_t selector, uint32_t group = QUORVA_NONE) {
      if (count_++ >= room_) return;
      QuorvaField& field = fields_[count_ - 1];
      const Shape shape = described(module, row);
      Extent extent;
      extend(extent, module, row);
      if (row.kind == Kind::Length || row.kind == Kind::Span) {
         extent = {};
         extent.add(row.offset, size_t{row.offset} + row.width);
      }
      field = {};
      field.name = nameOf(module, row);
      field.kind = publicKind(shape.kind);
      field.type = shape.type;
      field.doc = docOf(module, &row, shape.type);
      field.offset = extent.end == 0 ? 0 : extent.begin;
      field.size = extent.end == 0 ? 0 : extent.end - extent.begin;
      field.bits = bitsOf(shape);
      field.presenceBit = row.presence;
      field.groupBit = row.group != QUORVA_NONE ? row.group : group;
      const Wire& wire = wireOf(module, row);
      const bool isArm = selector != QUORVA_NONE;
      field.iei = wire.ieiBits != 0 && !isArm ? wire.iei : QUORVA_NONE;
      field.selector = selector;
      field.high = UINT64_MAX;
      if (shape.row != nullptr) {
         const Row& leaf = *shape.row;
         if ((leaf.flags & kHeap) == 0) field.capacity = leaf.capacity;
         const frame::Limits& limits = shape.module->limits[wireOf(*shape.module, leaf).limits];
         field.low = limits.low;
         field.high = limits.high;
         const Names names = namesOf(shape);
         field.names = names.items;
         field.nameCount = names.count;
      }
      field.module_ = &module;
      field.row_ = &row;
   }

   // What is in a shape.
   void inside(const Shape& shape) {
      switch (shape.kind) {
      case Kind::Group: return block(*shape.module, shape.first, shape.rows);
      case Kind::List: return field(*shape.module, shape.module->rows[shape.row->first], QUORVA_NONE);
      case Kind::Choice: return arms(*shape.module, *shape.row);
      default: return;
      }
   }

   size_t count() const { return count_; }

private:
   QuorvaField* fields_;
   size_t room_, count_ = 0;
};

// Tells a visitor; keeps the path.
class VisitSink {
public:
   VisitSink(RtxContext* ctxt, const QuorvaVisitor& visitor) : visitor_(visitor), path_(ctxt), text_(ctxt) {}

   int begin(const Label& label, const Shape& shape) {
      append(label);
      return tell(visitor_.begin, label, shape);
   }
   int end(const Label& label, const Shape& shape) {
      const int status = tell(visitor_.end, label, shape);
      cut(label);
      return status;
   }
   int leaf(const Label& label, const Shape& shape) {
      append(label);
      const int status = tell(visitor_.leaf, label, shape);
      cut(label);
      return status;
   }
   // As a leaf "t".
   int selector(uint64_t number) {
      if (visitor_.leaf == nullptr) return 0;
      const Label label{"t"};
      append(label);
      text_.cut(0);
      text_.putNumber(number);
      QuorvaItem item{};
      item.path = path_.text();
      item.name = label.name;
      item.kind = QUORVA_NUMBER;
      item.doc = item.meaning = "";
      item.text = text_.text();
      item.number = number;
      if (item.text == nullptr || item.path == nullptr) return RTX_E_NOMEM;
      const int status = visitor_.leaf(visitor_.user, &item);
      cut(label);
      return status;
   }

private:
   void append(const Label& label) {
      size_ = path_.size();
      if (label.isEntry) {
         path_.put('[');
         path_.putNumber(label.index);
         path_.put(']');
      } else if (label.name != nullptr) {
         if (size_ > 0) path_.put('.');
         path_.put(label.name);
      }
   }
   void cut(const Label& label) {
      size_t more = 0;
      if (label.isEntry) {
         more = 3;
         for (size_t rest = label.index; rest > 9; rest /= 10) ++more;
      } else if (label.name != nullptr) {
         more = std::strlen(label.name);
         if (path_.size() > more) ++more;
      }
      path_.cut(path_.size() - std::min(more, path_.size()));
   }

   int tell(int (*told)(void*, const QuorvaItem*), const Label& label, const Shape& shape) {
      if (told == nullptr) return 0;
      QuorvaItem item{};
      item.path = path_.text();
      item.name = label.name == nullptr ? "" : label.name;
      item.index = label.index;
      const char* doc = label.row == nullptr ? docOf(*shape.module, nullptr, shape.type)
                                             : docOf(*label.module, label.row, shape.type);
      text_.cut(0);
      if (!describe(shape, doc, text_, item) || item.path == nullptr) return RTX_E_NOMEM;
      return told(visitor_.user, &item);
   }

   const QuorvaVisitor& visitor_;
   HeapOut path_, text_;
   size_t size_ = 0;
};

} // namespace

bool describe(const Shape& shape, const char* doc, HeapOut& out, QuorvaItem& item) {
   item.kind = publicKind(shape.kind);
   item.type = shape.type;
   item.doc = doc;
   const Leaf leaf = leafOf(shape);
   item.number = leaf.number;
   item.data = leaf.data;
   item.count = leaf.count;
   item.meaning = shape.kind == Kind::Number ? meaningOf(*shape.module, *shape.row, shape.record) : "";
   if (shape.kind == Kind::Choice) item.number = selectorOf(*shape.module, *shape.row, shape.record);
   if (shape.kind == Kind::List) item.count = static_cast<size_t>(countOf(*shape.row, shape.record));
   if (leaf.data == nullptr) item.data = shape.place;
   putText(out, shape, leaf);
   item.text = out.text();
   return item.text != nullptr;
}

} // namespace quorva::walk

using namespace quorva::walk;

size_t quorvaFields(const QuorvaType* type, QuorvaField* fields, size_t room) {
   if (!isRegistered(type)) return 0;
   const TypePlace place = registryPlaces[type - registry];
   const Shape shape = shapeOf(place.module, place.type, nowhere, Rows::Family);
   Lister lister(fields, room);
   if (shape.kind == Kind::Group)
      lister.inside(shape);
   else if (shape.row != nullptr)
      lister.field(*shape.module, *shape.row, QUORVA_NONE);
   return lister.count();
}

size_t quorvaFieldsIn(const QuorvaField* field, QuorvaField* fields, size_t room) {
   if (field == nullptr || field->row_ == nullptr) return 0;
   const Row& row = *static_cast<const Row*>(field->row_);
   const Module& module = *static_cast<const Module*>(field->module_);
   Lister lister(fields, room);
   lister.inside(described(module, row));
   return lister.count();
}

const char* quorvaDoc(const QuorvaType* type) {
   if (!isRegistered(type)) return "";
   const TypePlace place = registryPlaces[type - registry];
   return docOf(*modules[place.module], nullptr, type);
}

const RtxEnumItem* quorvaEnumNames(const QuorvaType* type, size_t* count) {
   QuorvaField field{};
   size_t names = 0;
   const RtxEnumItem* items = nullptr;
   if (quorvaFields(type, &field, 1) == 1 && *field.name == 0) {
      items = field.names;
      names = field.nameCount;
   }
   if (count != nullptr) *count = names;
   return items;
}

const QuorvaType* quorvaTypeOf(const uint8_t* octets, size_t count, QuorvaDirection direction) {
   if (octets == nullptr || count == 0) return nullptr;
   if (octets[0] == 0x7E || octets[0] == 0x2E) return quorvaFindType("TS24501Msg_PDU");
   switch (octets[0] & 15) {
   case 2:
   case 7: return quorvaFindType("TS24301Msg_PDU");
   case 3:
   case 5:
   case 8:
   case 10:
   case 11: return quorvaFindType("TS24008Msg_PDU");
   case 6:
      return quorvaFindType(direction == QUORVA_UPLINK ? "TS44018Msg_UL_DCCH_PDU" : "TS44018Msg_DL_DCCH_PDU");
   case 9: return quorvaFindType("TS24011Msg_CP_PDU");
   default: return nullptr;
   }
}

void* quorvaNew(RtxContext* pctxt, const QuorvaType* type) {
   if (!isRegistered(type)) return nullptr;
   void* value = rtxMemHeapAllocZ(pctxt, std::max<size_t>(type->size, 1));
   if (value == nullptr) return nullptr;
   if (type->init != nullptr) (void)type->init(value);
   return value;
}

int quorvaVisit(RtxContext* pctxt, const QuorvaType* type, const void* value, const QuorvaVisitor* visitor) {
   Shape shape;
   const Rows by = shownRows(pctxt);
   if (visitor == nullptr || !shapeOf(type, value, shape, by)) return RTX_E_BAD_ARGUMENT;
   VisitSink sink(pctxt, *visitor);
   return Fields(sink, by).value({}, shape);
}
