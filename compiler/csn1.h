// Structures written as TS 44.018 and TS 44.060 write them, in CSN.1.
#pragma once

#include "compiler/model.h"

#include <string>

namespace l3c {

// The type in CSN.1, with the names of its fields; types by place stand where they are used.
std::string csn1(const Type& type);

// An expression as the description has it.
std::string spelled(const Expr& e);

} // namespace l3c
