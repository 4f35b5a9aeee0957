#include "compiler/table_text.h"

#include "compiler/enum_rows.h"
#include "compiler/layout.h"

namespace l3c {

namespace {

// A text as it stands in a literal.
std::string escaped(const std::string& text) {
   std::string all;
   for (char c : text) {
      if (c == '"' || c == '\\') all += '\\';
      if (c == '\n')
         all += "\\n";
      else
         all += c;
   }
   return all;
}

std::string flags(const std::vector<std::string>& names) {
   return names.empty() ? "0" : joined(names, " | ");
}

// The members of a struct in their order.
std::string members(std::initializer_list<Cell> cells) {
   std::string all;
   for (auto& cell : cells) (all += all.empty() ? "" : ", ") += cell.text;
   return all;
}

} // namespace

// Where it begins among all texts.
size_t TableText::textAt(const std::string& text) {
   const auto [hit, fresh] = textsAt_.emplace(text, textSize_);
   if (fresh) {
      texts_ += forms_.lines(R"("$text\0")", {{"text", escaped(text)}});
      textSize_ += text.size() + 1;
   }
   return hit->second;
}

size_t TableText::add(const std::vector<RowText>& block) {
   for (auto& row : block) {
      const size_t name = textAt(row.name);
      if (!row.doc.empty()) {
         rowDocs_ += forms_.lines("{$row, $text},", {{"row", rowCount_}, {"text", textAt(row.doc)}});
         ++docCount_;
      }
      const std::string all = members({name, row.offset, row.count, row.capacity, row.stride, row.presence,
                                       row.group, row.sample, row.first, row.rows, row.index, row.module,
                                       "Kind::" + row.kind, row.width, flags(row.flags)});
      const std::string wire = members({row.wireName.empty() ? name : textAt(row.wireName), flags(row.wire),
                                        row.argument, row.test, row.second, row.number, row.bits, row.limits,
                                        hex(row.iei, 2), row.ieiBits, row.format, row.lead});
      rows_ += forms_.lines("{$row},", {{"row", all}});
      wires_ += forms_.lines("{$wire},", {{"wire", wire}});
      ++rowCount_;
   }
   return rowCount_ - block.size();
}

void TableText::add(const TypeText& type) {
   const size_t decodedName = textAt(type.decodedName), name = textAt(type.name);
   const std::string all = members({type.size,
                                    type.first,
                                    type.rows,
                                    "Form::" + type.form,
                                    "Codec::" + type.codec,
                                    flags(type.flags),
                                    type.lengthBits,
                                    type.limits,
                                    type.bits,
                                    type.legal,
                                    type.presenceOctets,
                                    type.presenceOffset,
                                    type.lengthOffset,
                                    type.mandatory,
                                    hex(type.halfOctets, 4),
                                    name,
                                    decodedName,
                                    type.standard,
                                    type.appendixOffset,
                                    type.appendixOctets,
                                    type.presenceBits,
                                    type.appendixBits});
   types_ += forms_.lines(R"(
{$members,
   $functions},
)",
                          {{"members", all}, {"functions", type.functions}});
   typeDocs_ += forms_.lines("$text,", {{"text", textAt(type.doc)}});
}

void TableText::addArm(uint64_t low, uint64_t high, size_t row, const std::string& pattern) {
   arms_ += forms_.lines(pattern.empty() ? "{${low}u, ${high}u, $row},"
                                         : "{${low}u, ${high}u, $row, $pattern, $bits},",
                         {{"low", low},
                          {"high", high},
                          {"row", row},
                          {"pattern", hex(patternBits(pattern), 2)},
                          {"bits", pattern.size()}});
   ++armCount_;
}

size_t TableText::names(const std::string& table, const std::vector<EnumRow>& rows) {
   const std::string array = table.empty() ? "kNames" + std::to_string(nameCount_) : table;
   if (table.empty())
      nameArrays_ += forms_.lines(R"(
constexpr RtxEnumItem $array[] = {
   $rows,
};

)",
                                  {{"array", array}, {"rows", joined(enumTableRows(rows), ",\n")}});
   names_ += forms_.lines("{$array, $count},", {{"array", array}, {"count", rows.size()}});
   return nameCount_++;
}

void TableText::guard(const std::string& condition) {
   guards_ += forms_.lines(R"(static_assert($condition, "a standard form that the record can't hold");)",
                           {{"condition", condition}});
}

std::string TableText::text(const Module& module) const {
   // The compiler wants an entry in each.
   const auto array = [&](const char* type, const char* name, const std::string& items) {
      return forms_.lines(R"(
constexpr $type $name[] = {
   $items
};

)",
                          {{"type", type}, {"name", name}, {"items", items.empty() ? "{}," : items}});
   };
   std::string functions, expressions = "nullptr,\n";
   for (size_t i = 1; i < expressions_.all().size(); ++i) {
      const Holes holes = {{"i", i}, {"value", expressions_.all()[i]}};
      expressions += forms_.lines("expression$i,", holes);
      functions += forms_.lines(R"(
uint64_t expression$i([[maybe_unused]] const void* record, [[maybe_unused]] const RtxContext* ctxt,
                        [[maybe_unused]] uint64_t parameter) {
   return $value;
}

)",
                                holes);
   }
   return forms_.lines(
         R"(
namespace {

$nameArrays
$names
$functions
constexpr char kTexts[] =
   $texts
      ;

$arrays
$guards
} // namespace

const Module table_$module = {kTexts, kTypes, kRows, kWires, kArms, kNames,
      kExpressions, kLimits, kLegals, kTypeDocs, kRowDocs, $rowDocs};
)",
         {{"nameArrays", nameArrays_},
          {"names", array("Names", "kNames", names_)},
          {"functions", functions},
          {"texts", texts_},
          {"arrays", array("Row", "kRows", rows_) + array("Wire", "kWires", wires_) +
                           array("Arm", "kArms", arms_) + array("Type", "kTypes", types_) +
                           array("uint32_t", "kTypeDocs", typeDocs_) + array("RowDoc", "kRowDocs", rowDocs_) +
                           array("frame::Limits", "kLimits", joined(limits_.all(), ",\n") + ",") +
                           array("frame::LegalSet", "kLegals", joined(legals_.all(), ",\n") + ",") +
                           array("Expression", "kExpressions", expressions)},
          {"guards", guards_},
          {"module", module.name},
          {"rowDocs", docCount_}});
}

} // namespace l3c
