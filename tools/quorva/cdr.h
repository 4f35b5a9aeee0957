// The command "cdr": charging files, TS 32.297.
#pragma once

#include <string>

namespace quorva::tool {

// Lists the header of a file, then its records, and tells whether lengths and counts agree. False if not, or
// if the file can't be read.
bool listRecords(const std::string& file, bool octets);

} // namespace quorva::tool
