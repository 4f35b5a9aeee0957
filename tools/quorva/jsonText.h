// JSON for the program's output.
#pragma once

#include "quorva/registry.h"

#include <string>
#include <string_view>

namespace quorva::tool {

// A text in quotes. What is no UTF-8 in it, as in the names of some files, shows as the replacement
// character.
std::string quoted(std::string_view text);

// A value, on one line.
std::string jsonOf(const RtxContext* ctxt, const QuorvaType& type, const void* value);

} // namespace quorva::tool
