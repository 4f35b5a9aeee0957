// Bits that fields and types take on the wire.
#include "compiler/walk.h"

#include <algorithm>

namespace l3c {
namespace {

constexpr int kMaxDepth = 24; // a type that contains itself ends here
constexpr uint64_t kMany = uint64_t{1} << 40;

Width plus(Width a, Width b) {
   return {std::min(a.low + b.low, kMany), std::min(a.high + b.high, kMany), a.open || b.open};
}

Width fixed(uint64_t bits) {
   return {std::min(bits, kMany), std::min(bits, kMany), false};
}
Width octets(uint64_t low, uint64_t high) {
   return {std::min(low, kMany) * 8, std::min(high, kMany) * 8, false};
}
Width anything() {
   return {0, 0, true};
}

Width of(const Type& type, int depth);
Width of(const Field& field, int depth);

Width sum(const std::vector<std::unique_ptr<Field>>& fields, int depth) {
   Width total;
   for (auto& field : fields) total = plus(total, of(*field, depth));
   return total;
}

Width widest(const std::vector<Arm>& arms, int depth) {
   Width all{UINT64_MAX, 0, false};
   for (const Arm& arm : arms) {
      Width one = arm.field ? of(*arm.field, depth) : Width{};
      all = {std::min(all.low, one.low), std::max(all.high, one.high), all.open || one.open};
   }
   return arms.empty() ? Width{} : all;
}

Width contents(const Field& field, int depth) {
   switch (field.kind) {
   case Kind::Flag: return fixed(1);
   case Kind::Uint:
   case Kind::Const: return fixed(field.bits);
   case Kind::Octets: return octets(field.count, field.count);
   case Kind::Bits: return fixed(field.count);
   case Kind::Named: return field.type.type && !field.valueOnly ? of(*field.type.type, depth) : anything();
   case Kind::Counted:
      return plus(fixed(field.bits), octets(field.bounds.low.value_or(0), field.storage.capacity));
   case Kind::Group:
   case Kind::Swap: return sum(field.fields, depth);
   case Kind::Frame:
   case Kind::Bare: return plus(fixed(field.bits), sum(field.fields, depth));
   case Kind::Since: return {0, sum(field.fields, depth).high, sum(field.fields, depth).open};
   case Kind::Choice: return plus(fixed(field.bits), widest(field.arms, depth));
   case Kind::Null: return {};
   case Kind::Chain: return {1, 0, true};
   case Kind::Sized:
   case Kind::Fill:
   case Kind::Tail:
   case Kind::BitTail:
   case Kind::Each:
   case Kind::Messages: break;
   }
   return anything();
}

Width of(const Field& field, int depth) {
   if (field.aside) return sum(field.fields, depth + 1);
   if (depth > kMaxDepth) return anything();
   Width width = contents(field, depth + 1);
   if (field.optional || field.guarded) width.low = 0;
   if (field.bareBits) width = plus(width, fixed(field.bareBits));
   return field.lead == Lead::None ? width : plus(width, fixed(1));
}

Width of(const Type& type, int depth) {
   if (depth > kMaxDepth) return anything();
   switch (type.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return fixed(type.bits + lengthBits(type));
   case TypeKind::Octets:
      if (type.fill) return anything();
      if (type.cls == Class::V) return octets(type.count, type.count);
      if (type.bare) return plus(fixed(lengthBits(type)), octets(type.count, type.count));
      return {lengthBits(type) + std::min(type.bounds.low.value_or(0), kMany) * 8, 0, true};
   case TypeKind::Record:
      if (type.cls != Class::V) return {lengthBits(type), 0, true};
      return sum(type.fields, depth + 1);
   case TypeKind::Alias:
   case TypeKind::OneElement: return type.base.type ? of(*type.base.type, depth + 1) : anything();
   case TypeKind::Empty: return {};
   case TypeKind::Digits:
   case TypeKind::Text:
   case TypeKind::List:
   case TypeKind::Message:
   case TypeKind::Pdu: break;
   }
   return anything();
}

} // namespace

Width widthOf(const Field& field) {
   return of(field, 0);
}
Width widthOf(const Type& type) {
   return of(type, 0);
}
Width widthOf(const std::vector<std::unique_ptr<Field>>& fields) {
   return sum(fields, 0);
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
