// Types as the standards show them: elements as octet figures, messages as the table of their elements.
#include "compiler/csn1.h"
#include "compiler/figure.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
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

using Table = std::vector<std::vector<std::string>>;

// The type as its octets have it, behind aliases.
const Type& drawn(const Type& type) {
   const Type& base = baseType(type);
   return base.figure ? *base.figure : base;
}

std::string digits(uint64_t value, int count) {
   return hex(value, count).substr(2);
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

std::string typed(const Step& step) {
   if (step.name.empty()) return step.typeName;
   return step.typeName.empty() ? step.name : step.name + ": " + step.typeName;
}

bool isNamed(const Step& step) {
   return step.op == Op::Call || step.op == Op::Contents || step.op == Op::Message;
}

// What a step is, in words: for arms.
std::string inWords(const Step& step) {
   const std::string name = step.name.empty() ? "" : step.name + ": ";
   switch (step.op) {
   case Op::Octets: return name + text(step.count) + " octets";
   case Op::Flag: return name + "1 bit";
   case Op::Bits: return name + text(step.count) + " bits";
   case Op::Integer:
   case Op::Constant: return name + text(step.bits) + " bits";
   case Op::Call:
   case Op::Contents:
   case Op::Message: return typed(step);
   case Op::List: return typed(step) + ", repeated";
   case Op::Group: {
      std::string result = name + '{';
      for (auto& inner : step.steps) {
         result += (result.back() == '{' ? " " : ", ") + inner.name;
         if (inner.op == Op::Span) result += ", " + inner.steps.front().name;
      }
      return result + " }";
   }
   default: return step.name;
   }
}

class Explainer {
public:
   std::string element(const Type& type) {
      const Program program = lower(type);
      const Width contents = widthOf(program.steps);
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
      all(program.steps, false);
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
      const Width width =
            type.base.type ? widthOf(drawn(*type.base.type)) : Width{type.bits, type.bits, false};
      Bounds octets;
      if (!width.fixed() || width.low % 8 != 0) return octets;
      if (type.bounds.low) octets.low = *type.bounds.low * width.low / 8;
      if (type.bounds.high) octets.high = *type.bounds.high * width.low / 8;
      return octets;
   }

   void all(const std::vector<Step>& steps, bool optional) {
      for (auto& step : steps) one(step, optional);
   }

   void one(const Step& step, bool outer) {
      const bool optional = outer || step.isOptional();
      if (step.when == When::ByBit || step.when == When::ByBitIfMore) {
         figure_.loosen();
         figure_.bits(step.name + " follows: 1, or 0", 1, outer);
      }
      figure_.bits("length", step.bareAround, optional);
      switch (step.op) {
      case Op::Flag:
      case Op::Integer: return figure_.bits(step.name + range(step.bounds, ""), step.bits, optional);
      case Op::Constant:
         return figure_.bits((step.name.empty() ? "" : step.name + " ") + text(step.number), step.bits,
                             optional);
      case Op::Octets: return figure_.bits(step.name, step.count * 8, optional);
      case Op::Bits: return figure_.bits(step.name, step.count, optional);
      case Op::Call:
      case Op::Contents:
      case Op::Message: return named(step, optional);
      case Op::Counted:
         figure_.bits("length of " + step.name + range(step.bounds, ""), step.bits, optional);
         return figure_.open({step.name}, optional);
      case Op::Sized: {
         const Expr* size = step.argument.expr;
         return figure_.open({size ? step.name + " (" + spelled(*size) + " octets)" : step.name}, optional);
      }
      case Op::Pointers: return figure_.open({step.name}, optional);
      case Op::SizedBits:
      case Op::Unary:
      case Op::Padding: // of structures alone, which are written in CSN.1
      case Op::RestBits: figure_.loosen(); return figure_.open({step.name}, optional);
      case Op::List: return list(step, optional);
      case Op::Choice: return choice(step, optional);
      case Op::Nothing: return;
      case Op::Length:
         figure_.bits(step.name + range(step.bounds, ""), step.bits, optional);
         return all(step.steps, optional);
      case Op::Group:
      case Op::Span: return all(step.steps, optional);
      case Op::Chain: return chain(step, optional);
      case Op::Since: figure_.note("since release " + text(step.number)); return all(step.steps, true);
      case Op::Swap:
         for (auto inner = step.steps.rbegin(); inner != step.steps.rend(); ++inner) one(*inner, optional);
         return;
      }
   }

   // Small records are shown by their fields, as the standards do.
   void named(const Step& step, bool optional) {
      const Type& type = drawn(*step.type);
      const Width width = widthOf(type);
      const bool contents = step.op == Op::Contents && step.ahead == 0;
      if (!width.fixed() || contents) return figure_.open({typed(step)}, optional);
      if (type.kind == TypeKind::Record && type.cls == Class::V && width.low >= 1 && width.low <= 8 &&
          !figure_.loose()) {
         const Program program = lower(type);
         if (std::ranges::find(program.steps, Op::Choice, &Step::op) == program.steps.end())
            return all(program.steps, optional);
      }
      const bool valued = type.kind == TypeKind::Enum || type.kind == TypeKind::Number;
      figure_.bits(valued ? step.name : typed(step), width.low, optional);
   }

   void list(const Step& step, bool optional) {
      std::string line =
            step.typeName.empty() && step.bits ? step.name + ": " + text(step.bits) + " bits" : typed(step);
      if (step.argument.expr)
         line += ", " + spelled(*step.argument.expr) + " times";
      else if (step.entries == Entries::Flags)
         line += ", each behind a 1; 0 at the end";
      else
         line += ", repeated";
      if (step.entries == Entries::Flags) figure_.loosen();
      figure_.open({line + range(step.bounds, "")}, optional);
   }

   void choice(const Step& step, bool optional) {
      const Width width = step.steps.front().width;
      const bool same = std::ranges::all_of(
            step.steps, [&](const Step& arm) { return arm.width.fixed() && arm.width.low == width.low; });
      if (step.selector == Selector::Bits) {
         figure_.loosen();
         figure_.bits("selector", step.bits, optional);
      }
      std::vector<std::string> lines{step.name.empty() ? "one of" : step.name};
      if (step.argument.expr) lines[0] += " by " + spelled(*step.argument.expr);
      for (const Step& one : step.steps) {
         std::string line;
         for (const Arm::Range& values : one.arm->values) {
            if (!line.empty()) line += '|';
            line += text(values.low) + (values.low == values.high ? "" : ".." + text(values.high));
         }
         lines.push_back((one.arm->isElse ? "else" : line) + ' ' + inWords(one));
      }
      if (!same) return figure_.open(lines, optional);
      std::string all = lines[0] + ':';
      for (size_t i = 1; i < lines.size(); ++i) all += (i > 1 ? "; " : " ") + lines[i];
      figure_.bits(all, width.low, optional);
   }

   // Octets 3, 3a, 3b: an ext bit ahead of seven bits each.
   void chain(const Step& step, bool outer) {
      const std::string number = figure_.octetName();
      char letter = 'a';
      for (auto& inner : step.steps) {
         const bool first = &inner == &step.steps.front(), optional = outer || !first || inner.present;
         if (!first && !figure_.loose()) figure_.label(number + letter++);
         figure_.bits("ext", 1, optional);
         if (inner.op == Op::List && !figure_.loose()) { // an octet an entry
            figure_.label((first ? number : number + static_cast<char>(letter - 1)) + " etc.");
            figure_.bits(typed(inner) + ", repeated", 7, optional);
         } else {
            one(inner, optional);
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

// The type whose class and width an element has.
const Type* typeOf(const Step& step) {
   return isNamed(step) ? &drawn(*step.type) : nullptr;
}

std::string formatOf(const Step& step) {
   const std::string lead = step.ieiBits ? "T" : "";
   if (step.ieiBits && step.op == Op::Nothing) return lead;
   switch (classOf(step)) {
   case Class::LV: return lead + "LV";
   case Class::LVE: return lead + "LV-E";
   default: return lead + "V";
   }
}

std::string upTo(uint64_t low, std::optional<uint64_t> high) {
   if (!high) return text(low) + "-n";
   return low == *high ? text(low) : text(low) + '-' + text(*high);
}

// Octets with IEI and length, as the standards count them: 1/2, 4, 3-n.
std::string lengthOf(const Step& step) {
   if (step.ieiBits == 4 || (step.ieiBits && step.op == Op::Nothing)) return "1";
   const uint64_t lead = step.ieiBits ? 1 : 0;
   const Type* type = typeOf(step);
   if (type && type->cls != Class::V && !type->bare) {
      const uint64_t octets = lead + (lengthBits(*type) + 7) / 8;
      const auto& high = type->bounds.high;
      return upTo(octets + type->bounds.low.value_or(0), high ? std::optional(octets + *high) : high);
   }
   Width width = type ? widthOf(*type) : step.width;
   if (!type && (step.ieiBits || step.isOptional())) width.low = width.open ? 0 : width.high;
   if (width.fixed() && width.low == 4 && !lead) return "1/2";
   const auto octets = [&](uint64_t bits) { return lead + (bits + 7) / 8; };
   return upTo(octets(width.low), width.open ? std::nullopt : std::optional(octets(width.high)));
}

std::string ieiOf(const Step& step) {
   if (!step.ieiBits) return {};
   return step.ieiBits == 4 ? digits(step.iei, 1) + '-' : digits(step.iei, 2);
}

// With `groups` the presence group of each besides, whose bit it needs as well as its own.
void elements(const std::vector<Step>& steps, bool groups, Table& table) {
   for (auto& step : steps) {
      if (step.op == Op::Swap) { // the upper half octet comes first
         for (auto half = step.steps.rbegin(); half != step.steps.rend(); ++half)
            elements({*half}, groups, table);
      } else if (step.op == Op::Length || step.op == Op::Chain || step.op == Op::Since ||
                 step.op == Op::Span) {
         elements(step.steps, groups, table);
      } else if (step.op == Op::Choice && step.name.empty()) {
         for (const Step& arm : step.steps) table.push_back({"", arm.name, arm.typeName, "C", "V", "0-n"});
      } else {
         table.push_back({ieiOf(step), step.name, isNamed(step) ? step.typeName : "",
                          step.ieiBits || step.isOptional() ? "O" : "M", formatOf(step), lengthOf(step)});
         if (groups) table.back().push_back(step.groupNumber ? std::to_string(step.groupNumber) : "");
      }
   }
}

const std::vector<std::string> kElements = {"IEI", "Element", "Type", "Presence", "Format", "Length"};

std::string message(const Type& type) {
   const Program program = lower(type);
   Table table{kElements};
   const bool groups =
         std::ranges::any_of(program.optional, [](auto& step) { return step.groupNumber != 0; });
   if (groups) table[0].push_back("Group");
   elements(program.steps, groups, table);
   elements(program.optional, groups, table);
   return printed(table);
}

std::string oneElement(const Type& type) {
   Step step;
   step.op = Op::Call;
   step.type = type.base.type;
   step.typeName = type.base.name;
   Table table{kElements};
   elements({step}, false, table);
   return printed(table);
}

std::string values(const std::vector<EnumRow>& rows) {
   Table table{{"Value", "Name"}};
   for (const EnumRow& row : rows) table.push_back({text(row.value), row.name});
   return printed(table);
}

// Of the numbers among the steps that have names of their own.
std::string values(const std::vector<Step>& steps) {
   std::string result;
   for (auto& step : steps) {
      if (step.names) result += step.name + '\n' + values(*step.names);
      if (step.op != Op::Choice && step.op != Op::Contents) result += values(step.steps);
   }
   return result;
}

std::string messages(const Type& pdu) {
   Table table{{"Discriminator", "Type", "Selector", "Member", "Record", "Message"}};
   for (const TableRow& row : pdu.table)
      table.push_back({digits(row.disc, 1), digits(row.msgType, 2), text(row.selector), row.member,
                       row.record.name.empty() ? "-" : row.record.name, titleOf(row)});
   return printed(table);
}

} // namespace

std::string explain(const Type& type) {
   if (type.figure) return explain(*type.figure);
   if (type.structure) return csn1(type);
   switch (type.kind) {
   case TypeKind::Record: return Explainer().element(type) + values(lower(type).steps);
   case TypeKind::Message: return message(type);
   case TypeKind::OneElement: return oneElement(type);
   case TypeKind::Empty: return "no elements\n";
   case TypeKind::Alias: return explain(baseType(type));
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
