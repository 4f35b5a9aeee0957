// Names of statuses.
#pragma once

#include <string>

namespace quorva::tool {

// "RTX_E_NOMEM (-10)"; a number without a name stands alone.
std::string statusName(int status);

} // namespace quorva::tool
