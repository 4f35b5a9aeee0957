#include "tools/quorva/statusName.h"

#include "quorva/rtxStatusText.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace quorva::tool {

std::string statusName(int status) {
   const char* const name = quorvaStatusName(status);
   return name == nullptr ? std::to_string(status) : std::string(name) + " (" + std::to_string(status) + ")";
}

static const char* recordText(const QuorvaStatus& status) {
   switch (status.record) {
   case QUORVA_RECORD_COMPLETE: return "complete";
   case QUORVA_RECORD_DEPENDS: return "depends";
   case QUORVA_RECORD_PARTIAL: return "up to the failure";
   case QUORVA_RECORD_NONE: break;
   }
   return "-";
}

static void showRow(const QuorvaStatus& row) {
   std::printf("%s\n   %s.\n", statusName(row.status).c_str(), row.text);
   if (row.record != QUORVA_RECORD_NONE) std::printf("   Record of a message: %s.\n", recordText(row));
   if (*row.advice != 0) std::printf("   %s.\n", row.advice);
}

// A number, also without its sign, or a name, also without what all begin with.
static const QuorvaStatus* statusOf(std::string text) {
   int number = 0;
   const char* const end = text.data() + text.size();
   if (const auto read = std::from_chars(text.data(), end, number); read.ptr == end && read.ec == std::errc())
      return quorvaFindStatus(number > 0 ? -number : number);
   for (char& letter : text) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
   size_t count = 0;
   const QuorvaStatus* rows = quorvaStatuses(&count);
   for (size_t i = 0; i < count; ++i)
      for (const std::string_view prefix : {"", "RTX_", "RTX_E_"})
         if (std::string(prefix) + text == rows[i].name) return &rows[i];
   return nullptr;
}

bool showStatuses(const std::string& sought) {
   if (!sought.empty()) {
      if (const QuorvaStatus* row = statusOf(sought)) {
         showRow(*row);
         return true;
      }
      std::fprintf(stderr, "quorva: '%s' is no status; see: quorva status\n", sought.c_str());
      return false;
   }
   size_t count = 0;
   const QuorvaStatus* rows = quorvaStatuses(&count);
   std::printf("%6s  %-24s%-19s%s\n", "Status", "Name", "Record", "Meaning");
   for (size_t i = 0; i < count; ++i)
      std::printf("%6d  %-24s%-19s%s\n", rows[i].status, rows[i].name, recordText(rows[i]), rows[i].text);
   return true;
}

} // namespace quorva::tool
