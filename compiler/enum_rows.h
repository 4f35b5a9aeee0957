// Rows of an enumeration in the two orders that its table has.
#pragma once

#include "compiler/model.h"

#include <string>
#include <vector>

namespace l3c {

// The initialisers of an RtxEnumItem array, one a row: by name, with the index of the k-th smallest value.
std::vector<std::string> enumTableRows(const std::vector<EnumRow>& rows);

} // namespace l3c
