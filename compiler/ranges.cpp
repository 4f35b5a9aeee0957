// The values that expressions can have.
#include "compiler/walk.h"

#include <algorithm>

namespace l3c {
namespace {

constexpr int64_t kMost = int64_t{1} << 31; // stands for all beyond, so that a product is none too large

Range clamp(int64_t low, int64_t high) {
   return {std::clamp(low, -kMost, 2 * kMost), std::clamp(high, -kMost, 2 * kMost)};
}

int64_t number(uint64_t value) {
   return static_cast<int64_t>(std::min<uint64_t>(value, 2 * kMost));
}

Range of(const Bounds& bounds, unsigned bits) {
   return {number(bounds.low.value_or(0)), number(bounds.high.value_or(maxOf(bits)))};
}

} // namespace

std::optional<Range> rangeOf(const Field& field) {
   if (field.kind == Kind::Flag) return Range{0, 1};
   if (field.kind == Kind::Unary) return Range{0, 255};
   if (field.kind == Kind::Uint || field.kind == Kind::Frame) return of(field.bounds, field.bits);
   const Type* type = field.kind == Kind::Named ? withoutAliases(field.type.type) : nullptr;
   if (!type || (type->kind != TypeKind::Enum && type->kind != TypeKind::Number)) return std::nullopt;
   if (type->kind == TypeKind::Number || type->unchecked || type->rows.empty())
      return of(type->bounds, type->bits);
   const auto [low, high] = std::ranges::minmax(type->rows, {}, &EnumRow::value);
   return Range{number(low.value), number(high.value)};
}

Range rangeOf(const Expr& e) {
   const Range a = e.left ? rangeOf(*e.left) : Range{0, 0}, b = e.right ? rangeOf(*e.right) : Range{0, 0};
   switch (e.op) {
   case Expr::Op::Number: return {number(e.number), number(e.number)};
   case Expr::Op::Rest: return {0, 65535};
   case Expr::Op::Name: {
      if (e.path.empty()) return {0, kMost};
      Range all = rangeOf(*e.path.back()).value_or(Range{0, kMost});
      // What is absent counts as 0.
      if (std::ranges::any_of(e.path, [](const Field* field) { return field->optional; })) all.low = 0;
      return all;
   }
   case Expr::Op::Call: return {0, 126};
   case Expr::Op::Add: return clamp(a.low + b.low, a.high + b.high);
   case Expr::Op::Sub: return clamp(a.low - b.high, a.high - b.low);
   case Expr::Op::Mul: return clamp(a.low * b.low, a.high * b.high); // of what is not below 0
   default: return {0, 1};
   }
}

} // namespace l3c
