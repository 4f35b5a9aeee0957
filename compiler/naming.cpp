#include "compiler/naming.h"

#include <algorithm>
#include <set>

namespace l3c {
namespace {

const std::set<std::string>& keywords() {
   static const std::set<std::string> all = {
         // C11 and C17
         "auto", "break", "case", "char", "const", "continue", "default", "do", "double", "else", "enum",
         "extern", "float", "for", "goto", "if", "inline", "int", "long", "register", "restrict", "return",
         "short", "signed", "sizeof", "static", "struct", "switch", "typedef", "union", "unsigned", "void",
         "volatile", "while",
         // C++ up to 20
         "alignas", "alignof", "and", "and_eq", "asm", "bitand", "bitor", "bool", "catch", "char8_t",
         "char16_t", "char32_t", "class", "compl", "concept", "consteval", "constexpr", "constinit",
         "const_cast", "co_await", "co_return", "co_yield", "decltype", "delete", "dynamic_cast", "explicit",
         "export", "false", "friend", "mutable", "namespace", "new", "noexcept", "not", "not_eq", "nullptr",
         "operator", "or", "or_eq", "private", "protected", "public", "reinterpret_cast", "requires",
         "static_assert", "static_cast", "template", "this", "thread_local", "throw", "true", "try", "typeid",
         "typename", "using", "virtual", "wchar_t", "xor", "xor_eq"};
   return all;
}

} // namespace

std::string printName(const std::string& name) {
   std::string result = name;
   std::replace(result.begin(), result.end(), '-', '_');
   return result;
}

std::string cName(const std::string& name) {
   std::string result = printName(name);
   return keywords().count(result) ? result + '_' : result;
}

std::string recordName(const Type& type) {
   return type.module->name + '_' + printName(type.name);
}
std::string presenceName(const Field& field) {
   return printName(field.name) + "Present";
}
std::string groupName(int group) {
   return "group" + std::to_string(group) + "Present";
}
std::string encoderName(const Type& type) {
   return "NASEnc_" + recordName(type);
}
std::string decoderName(const Type& type) {
   return "NASDec_" + recordName(type);
}
std::string printerName(const Type& type) {
   // A type with nothing in it bears a trailing underscore there.
   return "asn1PrtToStrm_" + recordName(type) + (type.kind == TypeKind::Empty ? "_" : "");
}
std::string initName(const Type& type) {
   return "asn1Init_" + recordName(type);
}
std::string sampleName(const Type& type) {
   return "asn1Test_" + recordName(type);
}

std::string enumeratorName(const Type& type, const EnumRow& row) {
   return recordName(type) + '_' + printName(row.name);
}

std::string titleOf(const Type& type) {
   return type.doc.empty() ? type.name : type.doc.substr(0, type.doc.find(';'));
}

std::string titleOf(const TableRow& row) {
   static const std::set<std::string> small = {"and", "by", "for", "from", "in",
                                               "of",  "on", "the", "to",   "with"};
   std::string title = !row.doc.empty() || row.record.type == nullptr ? row.doc : row.record.type->doc;
   title = title.substr(0, title.find_first_of(",;\n"));
   for (size_t at = 0; at < title.size();) {
      const size_t end = std::min(title.find(' ', at), title.size());
      const bool lower = title[at] >= 'a' && title[at] <= 'z';
      if (lower && (at == 0 || !small.contains(title.substr(at, end - at))))
         title[at] = static_cast<char>(title[at] - 'a' + 'A');
      at = end + 1;
   }
   return title;
}

} // namespace l3c
