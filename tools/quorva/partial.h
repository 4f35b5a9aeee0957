// The part of a record's text that was decoded before a failure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

// Cuts the printed text of a record in front of the element at which its decoder stopped, and closes the
// braces that are open there. `path` are the names on the context's name stack, outermost first. Where an
// element of the path has no line of its own, all of the block around it stays.
std::string textUpTo(const std::string& text, const std::vector<std::string>& path);

} // namespace quorva::tool
