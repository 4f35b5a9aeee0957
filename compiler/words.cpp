// What the header says of a member that its description has no words for.
#include "compiler/csn1.h"
#include "compiler/emit.h"
#include "compiler/layout.h"

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

// Name and clause of a type.
std::string titleOf(const Type& type) {
   return type.doc.empty() ? type.name : type.doc.substr(0, type.doc.find(';'));
}

std::string many(const Field& field, const std::string& unit) {
   return field.argument ? unit + ", as many as: " + spelled(*field.argument) : unit;
}

} // namespace

std::string selectorWords(const Field& choice) {
   return choice.selector == Selector::Field && choice.argument ? spelled(*choice.argument) : "`t`";
}

std::string memberWords(const Field& field) {
   if (!field.doc.empty()) return field.doc;
   switch (field.kind) {
   case Kind::Flag: return "One bit";
   case Kind::Unary: return "As many H as the number, and an L";
   case Kind::Uint:
      return counted(field.bits, "bit") + boundsWords(field.bounds) +
             (field.counts.empty() ? "" : "; set by the encoder, from the octets of " + field.counts);
   case Kind::Frame:
      return counted(field.bits, "bit") + boundsWords(field.bounds) + ": the " +
             (field.inBits ? "bits" : "octets") + " of what it stands ahead of, set by the encoder";
   case Kind::Octets: return counted(field.count, "octet");
   case Kind::Bits: return counted(field.count, "bit");
   case Kind::Named: return titleOf(*field.type.type);
   case Kind::Counted:
      return "Octets behind their count of " + counted(field.bits, "bit") + boundsWords(field.bounds);
   case Kind::Sized: return many(field, "Octets");
   case Kind::SizedBits: return many(field, "Bits");
   case Kind::Fill:
      return field.bits == 16 ? "All that is left, in characters of 16 bits" : "All octets that are left";
   case Kind::FillBits: return "All bits that are left";
   case Kind::Tail: return "All octets that are left, an open tail";
   case Kind::BitTail: return "All bits that are left, an open tail";
   case Kind::Group: return "Fields that stand together";
   case Kind::Each:
      return "A list of: " + (field.type.type != nullptr ? titleOf(*field.type.type)
                              : field.entry != nullptr   ? memberWords(*field.entry)
                                                         : counted(field.bits, "bit"));
   case Kind::Choice: return "One of the arms, by " + selectorWords(field);
   case Kind::Messages: return "The message that `t` selects in the table of the PDU";
   default: return field.name;
   }
}

} // namespace l3c
