// Bits that fields and types take on the wire.
#include "compiler/walk.h"

#include <algorithm>

namespace l3c {
namespace {

constexpr uint64_t kMany = uint64_t{1} << 40;

Width fixed(uint64_t bits) {
   return {std::min(bits, kMany), std::min(bits, kMany), false};
}
Width octets(uint64_t low, uint64_t high) {
   return {std::min(low, kMany) * 8, std::min(high, kMany) * 8, false};
}
Width anything() {
   return {0, 0, true};
}

Width widest(const std::vector<Arm>& arms) {
   Width all{UINT64_MAX, 0, false};
   for (const Arm& arm : arms) {
      Width one = arm.field ? widthOf(*arm.field) : Width{};
      one = plus(one, fixed(arm.pattern.size()));
      all = {std::min(all.low, one.low), std::max(all.high, one.high), all.open || one.open};
   }
   return arms.empty() ? Width{} : all;
}

Width contents(const Field& field) {
   switch (field.kind) {
   case Kind::Flag: return fixed(1);
   case Kind::Uint:
   case Kind::Const: return fixed(field.bits);
   case Kind::Octets: return octets(field.count, field.count);
   case Kind::Bits: return fixed(field.count);
   case Kind::Unary: return {1, 0, true};
   case Kind::Padding: return {0, 7, false};
   case Kind::Named: return field.type.type && !field.valueOnly ? widthOf(*field.type.type) : anything();
   case Kind::Counted: {
      const uint64_t low = field.bounds.low.value_or(0);
      return plus(fixed(field.bits), field.storage.heap ? Width{std::min(low, kMany) * 8, 0, true}
                                                        : octets(low, field.storage.capacity));
   }
   case Kind::Group:
   case Kind::Swap: return widthOf(field.fields);
   case Kind::Frame:
   case Kind::Bare: return plus(fixed(field.bits), widthOf(field.fields));
   case Kind::Since: return {0, widthOf(field.fields).high, widthOf(field.fields).open};
   case Kind::Choice: return plus(fixed(field.bits), widest(field.arms));
   case Kind::Null: return {};
   case Kind::Chain: return {1, 0, true};
   default: return anything();
   }
}

Width compute(const Type& type) {
   switch (type.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return fixed(type.bits + lengthBits(type));
   case TypeKind::Octets:
      if (type.fill || type.presized) return anything();
      if (type.cls == Class::V) return octets(type.count, type.count);
      if (type.bare) return plus(fixed(lengthBits(type)), octets(type.count, type.count));
      return {lengthBits(type) + std::min(type.bounds.low.value_or(0), kMany) * 8, 0, true};
   case TypeKind::Bits: return type.count != 0 ? fixed(type.count) : anything();
   case TypeKind::Record:
      if (type.cls != Class::V) return {lengthBits(type), 0, true};
      if (type.returns) return anything();
      return widthOf(type.fields);
   case TypeKind::Alias:
   case TypeKind::OneElement: return type.base.type ? widthOf(*type.base.type) : anything();
   case TypeKind::Empty: return {};
   case TypeKind::List: {
      if (!type.times || type.times->op != Expr::Op::Number || type.entries != Entries::Rest)
         return anything();
      const Width entry = type.base.type ? widthOf(*type.base.type) : fixed(type.bits);
      const uint64_t times = std::min(type.times->number, kMany);
      return {std::min(entry.low * times, kMany), std::min(entry.high * times, kMany), entry.open};
   }
   default: return anything();
   }
}

} // namespace

Width plus(Width a, Width b) {
   return {std::min(a.low + b.low, kMany), std::min(a.high + b.high, kMany), a.open || b.open};
}

Width widthOf(const Field& field) {
   if (field.aside) return widthOf(field.fields);
   Width width = contents(field);
   if (field.optional || field.guarded) width.low = 0;
   if (field.bareBits) width = plus(width, fixed(field.bareBits));
   width = plus(width, fixed(field.zeros));
   return field.lead == Lead::None ? width : plus(width, fixed(1));
}

Width widthOf(const Type& type) {
   if (type.figure) return widthOf(*type.figure);
   if (!type.width) {
      type.width = anything(); // for one that contains itself
      type.width = compute(type);
   }
   return *type.width;
}

Width widthOf(const std::vector<std::unique_ptr<Field>>& fields) {
   Width total;
   for (auto& field : fields) total = plus(total, widthOf(*field));
   return total;
}

unsigned lengthBits(const Type& type) {
   switch (type.cls) {
   case Class::V: return 0;
   case Class::LV: return 8;
   case Class::LVE: return 16;
   case Class::L4: return 4;
   case Class::LB: return type.bits;
   }
   return 0;
}

} // namespace l3c
