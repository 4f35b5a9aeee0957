#include "compiler/csn1.h"

#include "compiler/walk.h"

namespace l3c {
namespace {

std::string text(uint64_t value) {
   return std::to_string(value);
}

std::string inBinary(uint64_t value, unsigned bits) {
   std::string digits;
   while (bits-- != 0) digits += (value >> bits & 1) != 0 ? '1' : '0';
   return digits;
}

class Grammar {
public:
   std::string run(const Type& type) {
      line("< " + type.name + " > ::=");
      ++depth_;
      body(type);
      out_.back() == '\n' ? out_.insert(out_.size() - 1, " ;") : out_.append(" ;");
      return out_;
   }

private:
   void line(const std::string& words) { out_ += std::string(3 * depth_, ' ') + words + '\n'; }
   void open(const std::string& words) {
      line(words);
      ++depth_;
   }
   void close(const std::string& words) {
      --depth_;
      line(words);
   }

   void body(const Type& type) {
      switch (type.kind) {
      case TypeKind::Record:
         if (type.cls != Class::V)
            line(std::string(type.bare ? "< length of what follows" : "< length") + " in octets : bit (" +
                 text(lengthBits(type)) + ") >");
         for (auto& field : type.fields) one(*field);
         return;
      case TypeKind::List: {
         const bool zeros = type.entries == Entries::Zeros, highs = type.entries == Entries::Highs;
         const std::string entry =
               type.base.type ? "< " + type.base.name + " >" : "bit (" + text(type.bits) + ")";
         const bool nest = type.base.type && type.base.type->placed;
         if (type.entries == Entries::Rest) {
            const std::string times = type.times      ? " * (" + spelled(*type.times) + ")"
                                      : type.presized ? " * (as many as its holder says)"
                                                      : " **";
            if (!nest) return line(entry + times);
            open("{");
            body(*type.base.type);
            return close("}" + times);
         }
         const std::string lead = zeros ? "0" : highs ? "H" : "1", end = zeros ? "1" : highs ? "L" : "0";
         if (!nest) return line("{ " + lead + " " + entry + " } ** " + end);
         open("{ " + lead);
         body(*type.base.type);
         return close("} ** " + end);
      }
      case TypeKind::Bits:
      case TypeKind::Octets: {
         const std::string unit = type.kind == TypeKind::Bits ? "bit" : "octet";
         return line(type.count      ? unit + " (" + text(type.count) + ")"
                     : type.presized ? unit + " * (as many as its holder says)"
                                     : unit + " **");
      }
      case TypeKind::Enum: return line(type.pattern ? "L | H" : "bit (" + text(type.bits) + ")");
      case TypeKind::Number: return line("bit (" + text(type.bits) + ")");
      default: return line(type.base.type ? "< " + type.base.name + " >" : "...");
      }
   }

   void one(const Field& field) {
      const bool led = field.lead != Lead::None;
      const std::string absent = field.lead == Lead::High ? "L" : "0", there = absent == "L" ? "H" : "1";
      if (led) {
         line(std::string("{ ") + (field.truncatable ? "null | " : "") + absent + " | " + there);
         ++depth_;
      } else if (field.when) {
         open("{ if (" + spelled(*field.when) + ")");
      } else if (field.optional || field.guarded) {
         open("{ null |");
      }
      contents(field);
      if (led || field.when || field.optional || field.guarded) close("}");
   }

   void named(const std::string& name, const std::string& what) { line("< " + name + " : " + what + " >"); }

   void contents(const Field& field) {
      const Type* type = field.type.type;
      switch (field.kind) {
      case Kind::Flag: return named(field.name, "bit");
      case Kind::Uint:
         if (!field.bounds.empty() && field.bounds.low == field.bounds.high)
            return named(field.name, inBinary(*field.bounds.low, field.bits));
         return named(field.name, "bit (" + text(field.bits) + ")");
      case Kind::Const:
         return line("< spare bit (" + text(field.bits) + ") : " + inBinary(0, field.bits) + " >");
      case Kind::Bits: return named(field.name, "bit (" + text(field.count) + ")");
      case Kind::Octets: return named(field.name, "octet (" + text(field.count) + ")");
      case Kind::SizedBits: return named(field.name, "bit (" + spelled(*field.argument) + ")");
      case Kind::Sized: return named(field.name, "octet (" + spelled(*field.argument) + ")");
      case Kind::FillBits:
      case Kind::BitTail: return named(field.name, "bit **");
      case Kind::Fill:
      case Kind::Tail: return named(field.name, "octet **");
      case Kind::Unary: return named(field.name, "H ** L");
      case Kind::Padding: return line("< spare padding >");
      case Kind::Null: return line("< " + (field.name.empty() ? "nothing" : field.name) + " : null >");
      case Kind::Choice: return choice(field);
      case Kind::Frame:
      case Kind::Bare:
         named(field.name.empty() ? "length" : field.name,
               "bit (" + text(field.bits) + ")" + (field.inBits ? ", in bits" : ", in octets") +
                     (field.less ? " less " + text(field.less) : ""));
         for (auto& inner : field.fields) one(*inner);
         return;
      case Kind::Named:
         if (type && type->presized) {
            const std::string what = type->kind == TypeKind::Bits     ? "bit ("
                                     : type->kind == TypeKind::Octets ? "octet ("
                                     : type->base.type                ? "< " + type->base.name + " > * ("
                                                                      : "bit (" + text(type->bits) + ") * (";
            return named(field.name, what + spelled(*field.argument) + ")");
         }
         if (type && type->placed) {
            open("< " + field.name + " :");
            body(*type);
            return close(">");
         }
         named(field.name, "< " + field.type.name + " >");
         if (field.zeros) line("< spare bit (" + text(field.zeros) + ") : 0 >");
         return;
      default: return named(field.name, field.type.name);
      }
   }

   void choice(const Field& field) {
      open("{");
      bool first = true;
      for (const Arm& arm : field.arms) {
         line((first ? "" : "| ") + arm.pattern);
         first = false;
         ++depth_;
         if (arm.field) contents(*arm.field);
         --depth_;
      }
      close("}");
   }

   std::string out_;
   size_t depth_ = 0;
};

} // namespace

std::string csn1(const Type& type) {
   return Grammar().run(type);
}

} // namespace l3c
