// Statuses in words.
#pragma once

#include <string>

namespace quorva::tool {

// "RTX_E_NOMEM (-10)"; a number without a name stands alone.
std::string statusName(int status);

// Shows what a status means, by its number or its name, or with an empty text all of them. False if there is
// none.
bool showStatuses(const std::string& sought);

} // namespace quorva::tool
