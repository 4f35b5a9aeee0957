// Bits that fields and types take on the wire.
#include "compiler/walk.h"

#include <algorithm>
#include <map>

namespace l3c {
namespace {

// The widths of the types that were met on the way: each is worked out once, and one that contains itself
// ends.
using Known = std::map<const Type*, Width>;

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

Width of(const Type& type, Known& known);
Width of(const Field& field, Known& known);

Width sum(const std::vector<std::unique_ptr<Field>>& fields, Known& known) {
   Width total;
   for (auto& field : fields) total = plus(total, of(*field, known));
   return total;
}

Width widest(const std::vector<Arm>& arms, Known& known) {
   Width all{UINT64_MAX, 0, false};
   for (const Arm& arm : arms) {
      Width one = arm.field ? of(*arm.field, known) : Width{};
      one = plus(one, fixed(arm.pattern.size()));
      all = {std::min(all.low, one.low), std::max(all.high, one.high), all.open || one.open};
   }
   return arms.empty() ? Width{} : all;
}

Width contents(const Field& field, Known& known) {
   switch (field.kind) {
   case Kind::Flag: return fixed(1);
   case Kind::Uint:
   case Kind::Const: return fixed(field.bits);
   case Kind::Octets: return octets(field.count, field.count);
   case Kind::Bits: return fixed(field.count);
   case Kind::Unary: return {1, 0, true};
   case Kind::Padding: return {0, 7, false};
   case Kind::Named: return field.type.type && !field.valueOnly ? of(*field.type.type, known) : anything();
   case Kind::Counted: {
      const uint64_t low = field.bounds.low.value_or(0);
      return plus(fixed(field.bits), field.storage.heap ? Width{std::min(low, kMany) * 8, 0, true}
                                                        : octets(low, field.storage.capacity));
   }
   case Kind::Group:
   case Kind::Swap: return sum(field.fields, known);
   case Kind::Frame:
   case Kind::Bare: return plus(fixed(field.bits), sum(field.fields, known));
   case Kind::Since: return {0, sum(field.fields, known).high, sum(field.fields, known).open};
   case Kind::Choice: return plus(fixed(field.bits), widest(field.arms, known));
   case Kind::Null: return {};
   case Kind::Chain: return {1, 0, true};
   case Kind::Sized:
   case Kind::Fill:
   case Kind::Tail:
   case Kind::BitTail:
   case Kind::SizedBits:
   case Kind::FillBits:
   case Kind::Each:
   case Kind::Messages: break;
   }
   return anything();
}

Width of(const Field& field, Known& known) {
   if (field.aside) return sum(field.fields, known);
   Width width = contents(field, known);
   if (field.optional || field.guarded) width.low = 0;
   if (field.bareBits) width = plus(width, fixed(field.bareBits));
   width = plus(width, fixed(field.zeros));
   return field.lead == Lead::None ? width : plus(width, fixed(1));
}

Width compute(const Type& type, Known& known) {
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
      return sum(type.fields, known);
   case TypeKind::Alias:
   case TypeKind::OneElement: return type.base.type ? of(*type.base.type, known) : anything();
   case TypeKind::Empty: return {};
   case TypeKind::List: {
      if (!type.times || type.times->op != Expr::Op::Number || type.entries != Entries::Rest)
         return anything();
      const Width entry = type.base.type ? of(*type.base.type, known) : fixed(type.bits);
      const uint64_t times = std::min(type.times->number, kMany);
      return {std::min(entry.low * times, kMany), std::min(entry.high * times, kMany), entry.open};
   }
   case TypeKind::Digits:
   case TypeKind::Text:
   case TypeKind::Message:
   case TypeKind::Pdu: break;
   }
   return anything();
}

Width of(const Type& type, Known& known) {
   if (type.figure) return of(*type.figure, known);
   auto [place, fresh] = known.emplace(&type, anything());
   if (fresh) {
      const Width width = compute(type, known);
      known[&type] = width;
      return width;
   }
   return place->second;
}

} // namespace

Width widthOf(const Field& field) {
   Known known;
   return of(field, known);
}
Width widthOf(const Type& type) {
   Known known;
   return of(type, known);
}
Width widthOf(const std::vector<std::unique_ptr<Field>>& fields) {
   Known known;
   return sum(fields, known);
}

namespace {

bool asksRest(const Expr* expr) {
   return expr != nullptr &&
          (expr->op == Expr::Op::Rest || asksRest(expr->left.get()) || asksRest(expr->right.get()));
}

bool endsByItself(const Field& field) {
   if (field.bareBits != 0) return true; // a length of its own
   if (field.guarded || field.ahead != 0 || field.zeros != 0 || field.own || field.lead == Lead::High ||
       asksRest(field.when.get()) || asksRest(field.argument.get()) || asksRest(field.second.get()))
      return false;
   if (field.optional && field.ieiBits == 0 && field.when == nullptr &&
       (field.lead == Lead::None || field.truncatable))
      return false;
   const auto all = [](auto& fields) {
      return std::ranges::all_of(fields, [](auto& inner) { return endsByItself(*inner); });
   };
   switch (field.kind) {
   case Kind::Flag:
   case Kind::Uint:
   case Kind::Const:
   case Kind::Octets:
   case Kind::Bits:
   case Kind::Null:
   case Kind::Counted:
   case Kind::Sized: return true;
   case Kind::Frame:
   case Kind::Bare: return !field.aside || all(field.fields);
   case Kind::Group:
   case Kind::Swap:
   case Kind::Chain: return all(field.fields);
   case Kind::Named:
      return field.type.type != nullptr && (field.valueOnly || l3c::endsByItself(*field.type.type));
   case Kind::Choice:
      return std::ranges::all_of(field.arms,
                                 [](auto& arm) { return arm.field == nullptr || endsByItself(*arm.field); });
   default: return false;
   }
}

} // namespace

bool endsByItself(const Type& type) {
   const Type* base = withoutAliases(&type);
   if (base == nullptr || base->structure || base->pattern || base->presized) return false;
   switch (base->kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return true;
   case TypeKind::Octets: return !base->fill;
   case TypeKind::Digits: return base->cls == Class::V; // as many as it is told
   case TypeKind::List: return base->cls == Class::LV || base->cls == Class::LVE;
   case TypeKind::Record:
      if (base->cls != Class::V) return base->cls == Class::LV || base->cls == Class::LVE;
      return std::ranges::all_of(base->fields, [](auto& field) { return endsByItself(*field); });
   default: return false;
   }
}

bool elementsEndByThemselves(const Type& message) {
   return message.kind == TypeKind::Message && !message.custom &&
          std::ranges::all_of(message.fields, [](auto& field) { return endsByItself(*field); });
}

Class classOnWire(const Type& type) {
   if (type.cls != Class::V || type.fields.empty()) return type.cls;
   const Field& first = *type.fields.front();
   if (first.kind != Kind::Frame || first.aside || first.inBits || first.optional) return Class::V;
   return first.bits == 8 ? Class::LV : first.bits == 16 ? Class::LVE : Class::V;
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
