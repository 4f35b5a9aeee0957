// Ways through a model that several passes take.
#pragma once

#include "compiler/diagnostics.h"
#include "compiler/model.h"

#include <algorithm>

namespace l3c {

// All fields below, arms and nested records too, each ahead of what it holds.
template <class Visit>
void eachField(Field& field, Visit& visit) {
   visit(field);
   for (auto& inner : field.fields) eachField(*inner, visit);
   for (Arm& arm : field.arms)
      if (arm.field) eachField(*arm.field, visit);
}

template <class Visit>
void eachField(const std::vector<std::unique_ptr<Field>>& fields, Visit&& visit) {
   for (auto& field : fields) eachField(*field, visit);
}

// Does one of them pass the test?
template <class Test>
bool anyField(const std::vector<std::unique_ptr<Field>>& fields, const Test& test) {
   return std::ranges::any_of(fields, [&](auto& field) {
      return test(*field) || anyField(field->fields, test) ||
             std::ranges::any_of(field->arms, [&](auto& arm) {
                return test(*arm.field) || anyField(arm.field->fields, test);
             });
   });
}

// The type whose record or value an alias or a one-element message has; null in a circle or if unresolved.
inline const Type* withoutAliases(const Type* type) {
   for (int steps = 0; type && steps < 32; ++steps) {
      if (type->kind != TypeKind::Alias && type->kind != TypeKind::OneElement) return type;
      type = type->base.type;
   }
   return nullptr;
}

// The same in a model that is sound.
inline const Type& baseType(const Type& type) {
   return *withoutAliases(&type);
}

// Bits on the wire. Checks and layout ask for them ahead of the lowering, which says them at each step.
Width plus(Width a, Width b);
Width widthOf(const Field& field);
Width widthOf(const Type& type);
Width widthOf(const std::vector<std::unique_ptr<Field>>& fields);

unsigned lengthBits(const Type& type); // of the length field; 0 for class V

// The least and the largest value of an expression, and of a field that is a number; those beyond 32 bits are
// not told apart.
struct Range {
   int64_t low = 0, high = 0;
};
Range rangeOf(const Expr& expr);
std::optional<Range> rangeOf(const Field& field);

// The largest value of so many bits.
inline uint64_t maxOf(unsigned bits) {
   return bits >= 64 ? UINT64_MAX : (uint64_t{1} << bits) - 1;
}

} // namespace l3c
