#include "tools/quorva/statusName.h"

#include "quorva/rtxStatus.h"

namespace quorva::tool {

struct StatusRow {
   int status;
   const char* name;
};

static constexpr StatusRow kStatusRows[] = {
#include "statusRows.inc"
};

std::string statusName(int status) {
   for (const StatusRow& row : kStatusRows)
      if (row.status == status) return std::string(row.name) + " (" + std::to_string(status) + ")";
   return std::to_string(status);
}

} // namespace quorva::tool
