// Every naming rule of the generated code.
#pragma once

#include "compiler/model.h"

#include <string>

namespace l3c {

std::string cName(const std::string& name);     // hyphens to underscores, keywords get a trailing one
std::string printName(const std::string& name); // the C name without the keyword's underscore
std::string recordName(const Type& type);       // M_X, the C type
std::string presenceName(const Field& field);   // xPresent
std::string groupName(int group);               // groupNPresent
std::string encoderName(const Type& type);      // NASEnc_M_X
std::string decoderName(const Type& type);      // NASDec_M_X
std::string printerName(const Type& type);      // asn1PrtToStrm_M_X
std::string initName(const Type& type);         // asn1Init_M_X
std::string sampleName(const Type& type);       // asn1Test_M_X
std::string enumeratorName(const Type& type, const EnumRow& row); // M_X_row
// Name and clause of a type, from the description's comment.
std::string titleOf(const Type& type);
// The standard's title of a message, "Attach Request", from the words at its row or else at its record.
std::string titleOf(const TableRow& row);

} // namespace l3c
