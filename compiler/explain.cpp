// Types as the standards show them: elements as octet figures, messages as the table of their elements.
#include "compiler/csn1.h"
#include "compiler/figure.h"
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <algorithm>

namespace l3c {
std::string spelled(const Expr& expr) {
   using Op = Expr::Op;
   auto joined = [&](const char* sign) {
      auto side = [](const Expr& part) { return part.left ? '(' + spelled(part) + ')' : spelled(part); };
      return side(*expr.left) + sign + side(*expr.right);
   };
   switch (expr.op) {
   case Op::Number: return std::to_string(expr.number);
   case Op::Name: return expr.name;
   case Op::Rest: return "rest";
   case Op::Call: return expr.name + '(' + spelled(*expr.left) + ')';
   case Op::Add: return joined(" + ");
   case Op::Sub: return joined(" - ");
   case Op::Mul: return joined(" * ");
   case Op::Eq: return joined(" = ");
   case Op::Ne: return joined(" != ");
   case Op::Lt: return joined(" < ");
   case Op::Gt: return joined(" > ");
   case Op::Le: return joined(" <= ");
   case Op::Ge: return joined(" >= ");
   case Op::And: return joined(" and ");
   }
   return {};
}

namespace {

using Fields = std::vector<std::unique_ptr<Field>>;
using Table = std::vector<std::vector<std::string>>;

// The type as its octets have it, behind aliases.
const Type* drawn(const Type* type) {
   type = withoutAliases(type);
   return type != nullptr && type->figure ? type->figure.get() : type;
}

std::string text(uint64_t value) {
   return std::to_string(value);
}

std::string hex(uint64_t value, int digits) {
   std::string result;
   for (; digits > 0 || value; value >>= 4, --digits)
      result.insert(result.begin(), "0123456789ABCDEF"[value & 15]);
   return result;
}

std::string range(const Bounds& bounds, const char* unit) {
   if (bounds.empty()) return {};
   std::string result = " (";
   for (size_t i = 0; i < bounds.values.size(); ++i) result += (i ? ", " : "") + text(bounds.values[i]);
   if (bounds.values.empty()) {
      result += bounds.low ? text(*bounds.low) : "0";
      if (!bounds.high)
         result += " or more";
      else if (bounds.low != bounds.high)
         result += " to " + text(*bounds.high);
   }
   return result + unit + ")";
}

std::string typed(const Field& field) {
   if (field.name.empty()) return field.type.name;
   return field.type.name.empty() ? field.name : field.name + ": " + field.type.name;
}

// What a field is, in words: for arms and repetitions.
std::string inWords(const Field& field) {
   const std::string name = field.name.empty() ? "" : field.name + ": ";
   switch (field.kind) {
   case Kind::Null: return field.name;
   case Kind::Octets: return name + text(field.count) + " octets";
   case Kind::Flag: return name + "1 bit";
   case Kind::Bits: return name + text(field.count) + " bits";
   case Kind::Uint:
   case Kind::Const: return name + text(field.bits) + " bits";
   case Kind::Named: return typed(field);
   case Kind::Each: return typed(field) + ", repeated";
   case Kind::Group: {
      std::string result = name + '{';
      for (auto& inner : field.fields) result += (result.back() == '{' ? " " : ", ") + inner->name;
      return result + " }";
   }
   default: return field.name;
   }
}

class Explainer {
public:
   std::string element(const Type& type) {
      const Width contents = widthOf(type.fields);
      const unsigned length = lengthBits(type);
      if (type.cls == Class::LV || type.cls == Class::LVE) {
         figure_.bits("IEI", 8, false); // the standards count octets from it
         figure_.bits("length" + range(type.bounds, ""), length, false);
      } else if (length) {
         figure_.bits("length" + range(type.bounds, ""), length, false);
      } else if (contents.fixed() && contents.low == 4) {
         figure_.bits("IEI", 4, false);
      }
      if (type.cls == Class::LB) figure_.loosen();
      fields(type.fields, false);
      return figure_.draw();
   }

   // A type without fields: octets, a number, a repetition.
   std::string plain(const Type& type) {
      const unsigned length = lengthBits(type);
      if (length >= 8) {
         figure_.bits("IEI", 8, false);
         figure_.bits("length" + range(octetsOf(type), ""), length, false);
      }
      const Width width = widthOf(type);
      if (type.kind == TypeKind::Octets && type.count)
         figure_.bits(type.name, type.count * 8, false);
      else if (type.kind == TypeKind::List)
         figure_.open({type.base.name + range(type.bounds, " times")}, false);
      else if (width.fixed())
         figure_.bits(type.name + range(type.bounds, ""), width.low - length, false);
      else
         figure_.open({type.name}, false);
      return figure_.draw();
   }

private:
   // Bounds of the length: those of a list are of its entries.
   static Bounds octetsOf(const Type& type) {
      if (type.kind != TypeKind::List) return type.bounds;
      const Type* entry = drawn(type.base.type);
      const Width width = entry ? widthOf(*entry) : Width{type.bits, type.bits, false};
      Bounds octets;
      if (!width.fixed() || width.low % 8 != 0) return octets;
      if (type.bounds.low) octets.low = *type.bounds.low * width.low / 8;
      if (type.bounds.high) octets.high = *type.bounds.high * width.low / 8;
      return octets;
   }

   void fields(const Fields& fields, bool optional) {
      for (auto& field : fields) one(*field, optional);
   }

   void one(const Field& field, bool outer) {
      if (field.aside && field.kind == Kind::Uint) return;
      const bool optional = outer || field.optional;
      if (field.lead != Lead::None) {
         figure_.loosen();
         figure_.bits(field.name + " follows: 1, or 0", 1, outer);
      }
      if (field.bareBits) figure_.bits("length", field.bareBits, optional);
      switch (field.kind) {
      case Kind::Flag:
      case Kind::Uint: return figure_.bits(field.name + range(field.bounds, ""), field.bits, optional);
      case Kind::Const:
         return figure_.bits((field.name.empty() ? "" : field.name + " ") + text(field.number), field.bits,
                             optional);
      case Kind::Octets: return figure_.bits(field.name, field.count * 8, optional);
      case Kind::Bits: return figure_.bits(field.name, field.count, optional);
      case Kind::Named: return named(field, optional);
      case Kind::Counted:
         figure_.bits("length of " + field.name + range(field.bounds, ""), field.bits, optional);
         return figure_.open({field.name}, optional);
      case Kind::Sized:
         return figure_.open({field.name + " (" + spelled(*field.argument) + " octets)"}, optional);
      case Kind::Fill:
      case Kind::Tail:
      case Kind::Messages: return figure_.open({field.name}, optional);
      case Kind::SizedBits:
      case Kind::FillBits:
      case Kind::Unary:
      case Kind::Padding: // of structures alone, which are written in CSN.1
      case Kind::BitTail: figure_.loosen(); return figure_.open({field.name}, optional);
      case Kind::Group: return fields(field.fields, optional);
      case Kind::Each: return each(field, optional);
      case Kind::Choice: return choice(field, optional);
      case Kind::Null: return;
      case Kind::Frame:
      case Kind::Bare:
         if (!field.aside)
            figure_.bits((field.name.empty() ? "length" : field.name) + range(field.bounds, ""), field.bits,
                         optional);
         return fields(field.fields, optional);
      case Kind::Chain: return chain(field, optional);
      case Kind::Since:
         figure_.note("since release " + text(field.number));
         return fields(field.fields, true);
      case Kind::Swap:
         for (size_t i = field.fields.size(); i-- > 0;) one(*field.fields[i], optional);
         return;
      }
   }

   // Small records are shown by their fields, as the standards do.
   void named(const Field& field, bool optional) {
      const Type* type = drawn(field.type.type);
      if (!type) return figure_.open({typed(field)}, optional);
      const Width width = widthOf(*type);
      const bool choice = std::any_of(type->fields.begin(), type->fields.end(),
                                      [](auto& inner) { return inner->kind == Kind::Choice; });
      if (type->kind == TypeKind::Record && type->cls == Class::V && width.fixed() && width.low >= 1 &&
          width.low <= 8 && !choice && !field.valueOnly && !figure_.loose())
         return fields(type->fields, optional);
      if (width.fixed() && !field.valueOnly) {
         const bool valued = type->kind == TypeKind::Enum || type->kind == TypeKind::Number;
         return figure_.bits(valued ? field.name : typed(field), width.low, optional);
      }
      figure_.open({typed(field)}, optional);
   }

   void each(const Field& field, bool optional) {
      std::string line = field.type.name.empty() && field.bits
                               ? field.name + ": " + text(field.bits) + " bits"
                               : typed(field);
      if (field.argument)
         line += ", " + spelled(*field.argument) + " times";
      else if (field.entries == Entries::Flags)
         line += ", each behind a 1; 0 at the end";
      else
         line += ", repeated";
      if (field.entries == Entries::Flags) figure_.loosen();
      figure_.open({line + range(field.bounds, "")}, optional);
   }

   void choice(const Field& field, bool optional) {
      Width width;
      bool same = !field.arms.empty();
      for (const Arm& arm : field.arms) {
         const Width one = arm.field ? widthOf(*arm.field) : Width{};
         if (&arm == &field.arms.front()) width = one;
         same = same && one.fixed() && one.low == width.low;
      }
      if (field.selector == Selector::Bits) {
         figure_.loosen();
         figure_.bits("selector", field.bits, optional);
      }
      std::vector<std::string> lines{field.name.empty() ? "one of" : field.name};
      if (field.argument) lines[0] += " by " + spelled(*field.argument);
      for (const Arm& arm : field.arms) {
         std::string line;
         for (const Arm::Range& values : arm.values) {
            if (!line.empty()) line += '|';
            line += text(values.low) + (values.low == values.high ? "" : ".." + text(values.high));
         }
         lines.push_back((arm.isElse ? "else" : line) + ' ' + (arm.field ? inWords(*arm.field) : ""));
      }
      if (!same) return figure_.open(lines, optional);
      std::string all = lines[0] + ':';
      for (size_t i = 1; i < lines.size(); ++i) all += (i > 1 ? "; " : " ") + lines[i];
      figure_.bits(all, width.low, optional);
   }

   // Octets 3, 3a, 3b: an ext bit ahead of seven bits each.
   void chain(const Field& field, bool optional) {
      const std::string number = figure_.octetName();
      char letter = 'a';
      for (auto& inner : field.fields) {
         const bool first = inner == field.fields.front();
         if (!first && !figure_.loose()) figure_.label(number + letter++);
         figure_.bits("ext", 1, optional || !first || inner->optional);
         const Type* list = drawn(inner->type.type);
         if (list != nullptr && list->kind == TypeKind::List && !figure_.loose()) { // an octet an entry
            figure_.label((first ? number : number + static_cast<char>(letter - 1)) + " etc.");
            figure_.bits(typed(*inner) + ", repeated", 7, optional || !first || inner->optional);
         } else {
            one(*inner, optional || !first);
         }
         figure_.label("");
      }
   }

   Figure figure_;
};

std::string printed(const Table& table) {
   std::vector<size_t> widths;
   for (auto& row : table)
      for (size_t i = 0; i < row.size(); ++i) {
         if (widths.size() <= i) widths.push_back(0);
         widths[i] = std::max(widths[i], row[i].size());
      }
   std::string out;
   for (auto& row : table) {
      std::string line;
      for (size_t i = 0; i < row.size(); ++i) {
         line += row[i];
         line.append(widths[i] - row[i].size() + 2, ' ');
      }
      line.erase(line.find_last_not_of(' ') + 1);
      out += line + '\n';
   }
   return out;
}

// The class on the wire: of the type behind a name, or what the description says.
Class classOf(const Field& field) {
   if (field.cls != Class::V) return field.cls;
   if (field.bareBits) return field.bareBits == 16 ? Class::LVE : Class::LV;
   if (field.kind == Kind::Counted) return field.bits == 16 ? Class::LVE : Class::LV;
   const Type* type = field.kind == Kind::Named ? drawn(field.type.type) : nullptr;
   return type ? classOnWire(*type) : Class::V;
}

std::string formatOf(const Field& field) {
   if (field.present) return "T";
   const std::string lead = field.ieiBits ? "T" : "";
   switch (classOf(field)) {
   case Class::LV: return lead + "LV";
   case Class::LVE: return lead + "LV-E";
   default: return lead + "V";
   }
}

// Octets with IEI and length, as the standards count them: 1/2, 4, 3-n.
std::string lengthOf(const Field& field) {
   if (field.present || field.ieiBits == 4) return "1";
   const uint64_t lead = field.ieiBits ? 1 : 0;
   const Type* type = field.kind == Kind::Named ? drawn(field.type.type) : nullptr;
   if (type && type->cls != Class::V && !type->bare) {
      const uint64_t octets = lead + (lengthBits(*type) + 7) / 8;
      const uint64_t low = octets + type->bounds.low.value_or(0);
      if (!type->bounds.high) return text(low) + "-n";
      const uint64_t high = octets + *type->bounds.high;
      return low == high ? text(low) : text(low) + '-' + text(high);
   }
   Width width = type ? widthOf(*type) : widthOf(field);
   if (!type && field.optional) width.low = width.open ? 0 : width.high;
   if (width.fixed() && width.low == 4 && !lead) return "1/2";
   const uint64_t low = lead + (width.low + 7) / 8;
   if (width.open) return text(low) + "-n";
   const uint64_t high = lead + (width.high + 7) / 8;
   return low == high ? text(low) : text(low) + '-' + text(high);
}

std::string ieiOf(const Field& field) {
   if (!field.ieiBits) return {};
   return field.ieiBits == 4 ? hex(field.iei, 1) + '-' : hex(field.iei, 2);
}

// With `groups` the presence group of each besides, whose bit it needs as well as its own.
void elements(const Fields& fields, bool groups, Table& table) {
   for (auto& field : fields) {
      if (field->onlyOnWire()) {
         const size_t first = table.size();
         elements(field->fields, groups, table);
         if (field->kind == Kind::Swap) // the upper half octet comes first
            std::reverse(table.begin() + static_cast<std::ptrdiff_t>(first), table.end());
         continue;
      }
      if (field->kind == Kind::Choice && field->name.empty()) {
         for (const Arm& arm : field->arms)
            table.push_back({"", arm.field->name, arm.field->type.name, "C", "V", "0-n"});
         continue;
      }
      const std::string type = field->kind == Kind::Named ? field->type.name
                               : field->present           ? ""
                                                          : inWords(*field);
      table.push_back({ieiOf(*field), field->name, field->kind == Kind::Named || field->present ? type : "",
                       field->optional ? "O" : "M", formatOf(*field), lengthOf(*field)});
      if (groups) table.back().push_back(field->group ? text(static_cast<uint64_t>(field->group)) : "");
   }
}

std::string message(const Fields& fields) {
   Table table{{"IEI", "Element", "Type", "Presence", "Format", "Length"}};
   const bool groups = std::ranges::any_of(fields, [](auto& field) { return field->group != 0; });
   if (groups) table[0].push_back("Group");
   elements(fields, groups, table);
   return printed(table);
}

std::string oneElement(const Type& type) {
   Field field;
   field.kind = Kind::Named;
   field.type.name = type.base.name;
   field.type.type = type.base.type;
   return printed({{"IEI", "Element", "Type", "Presence", "Format", "Length"},
                   {"", "", field.type.name, "M", formatOf(field), lengthOf(field)}});
}

std::string values(const std::vector<EnumRow>& rows) {
   Table table{{"Value", "Name"}};
   for (const EnumRow& row : rows) table.push_back({text(row.value), row.name});
   return printed(table);
}

// Of the numbers among fields that have names of their own.
std::string values(const Fields& fields) {
   std::string result;
   for (auto& field : fields) {
      if (!field->names().empty()) result += field->name + '\n' + values(field->names());
      result += values(field->fields);
   }
   return result;
}

std::string messages(const Type& pdu) {
   Table table{{"Discriminator", "Type", "Selector", "Member", "Record", "Message"}};
   for (const TableRow& row : pdu.table)
      table.push_back({hex(row.disc, 1), hex(row.msgType, 2), text(row.selector), row.member,
                       row.record.name.empty() ? "-" : row.record.name, titleOf(row)});
   return printed(table);
}

} // namespace

std::string explain(const Type& type) {
   if (type.figure) return explain(*type.figure);
   if (type.structure) return csn1(type);
   switch (type.kind) {
   case TypeKind::Record: return Explainer().element(type) + values(type.fields);
   case TypeKind::Message: return message(type.fields);
   case TypeKind::OneElement: return oneElement(type);
   case TypeKind::Empty: return "no elements\n";
   case TypeKind::Alias: {
      const Type* base = withoutAliases(&type);
      return base ? explain(*base) : "";
   }
   case TypeKind::Pdu: return Explainer().element(type) + messages(type);
   case TypeKind::Enum: return Explainer().plain(type) + values(type.rows);
   case TypeKind::Number: return Explainer().plain(type) + (type.rows.empty() ? "" : values(type.rows));
   case TypeKind::Bits:
   case TypeKind::Octets:
   case TypeKind::Digits:
   case TypeKind::Text:
   case TypeKind::List: break;
   }
   return Explainer().plain(type);
}

} // namespace l3c
