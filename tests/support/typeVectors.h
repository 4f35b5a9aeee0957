// The octets that descriptions tell of their types, and where.
#ifndef QUORVA_TESTS_SUPPORT_TYPEVECTORS_H
#define QUORVA_TESTS_SUPPORT_TYPEVECTORS_H

namespace quorva::test {

struct TypeVector {
   const char *type, *octets, *place;
};
constexpr TypeVector kVectors[] = {
#include "tests/vectors.inc"
};

} // namespace quorva::test

#endif
