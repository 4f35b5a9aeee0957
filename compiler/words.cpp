// What the header says of a member that its description has no words for.
#include "compiler/csn1.h"
#include "compiler/emit.h"
#include "compiler/naming.h"

namespace l3c {

namespace {

std::string boundsWords(const Bounds& bounds) {
   if (bounds.empty()) return {};
   const std::string low = std::to_string(bounds.low.value_or(0));
   if (!bounds.high) return ", " + low + " or more";
   return ", " + (bounds.low == bounds.high ? low : low + " to " + std::to_string(*bounds.high));
}

std::string counted(uint64_t count, const std::string& unit) {
   return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

std::string many(const Step& step, const std::string& unit) {
   if (step.argument.expr) return unit + ", as many as: " + spelled(*step.argument.expr);
   std::string left = unit;
   left[0] = static_cast<char>(left[0] - 'A' + 'a');
   return "All " + left + " that are left" + (step.opensTail ? ", an open tail" : "");
}

} // namespace

std::string selectorWords(const Step& choice) {
   return choice.argument.expr ? spelled(*choice.argument.expr) : "`t`";
}

std::string memberWords(const Step& step) {
   const Field& field = *step.field;
   if (!field.doc.empty()) return field.doc;
   const std::string number = counted(step.bits, "bit") + boundsWords(step.bounds);
   if (!field.counts.empty()) return number + "; set by the encoder, from the octets of " + field.counts;
   switch (step.op) {
   case Op::Flag: return "One bit";
   case Op::Unary: return "As many H as the number, and an L";
   case Op::Integer: return number;
   case Op::Length:
   case Op::Span:
      return number + ": the " + (step.inBits ? "bits" : "octets") +
             " of what it stands ahead of, set by the encoder";
   case Op::Octets: return counted(step.count, "octet");
   case Op::Bits: return counted(step.count, "bit");
   case Op::Call:
   case Op::Contents:
   case Op::Message: return titleOf(*step.type);
   case Op::Counted: return "Octets behind their count of " + number;
   case Op::Sized: return step.wide ? "All that is left, in characters of 16 bits" : many(step, "Octets");
   case Op::RestBits:
   case Op::SizedBits: return many(step, "Bits");
   case Op::Group: return "Fields that stand together";
   case Op::List:
      if (step.list != nullptr) return titleOf(*step.list);
      return "A list of: " + (step.type != nullptr  ? titleOf(*step.type)
                              : !step.steps.empty() ? memberWords(step.steps.front())
                                                    : counted(step.bits, "bit"));
   case Op::Choice: return "One of the arms, by " + selectorWords(step);
   case Op::Pointers: return "The message that `t` selects in the table of the PDU";
   default: return step.name;
   }
}

} // namespace l3c
