#include "compiler/csn1.h"

#include "compiler/program.h"
#include "compiler/walk.h"

namespace l3c {
namespace {

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

   // How many of a string or a list there are.
   static std::string many(const Step& step, const char* by) {
      return step.argument.expr ? by + spelled(*step.argument.expr) + ")"
             : step.preset      ? " * (as many as its holder says)"
                                : " **";
   }

   void body(const Type& type) {
      switch (type.kind) {
      case TypeKind::Record:
         if (type.cls != Class::V)
            line(std::string(type.bare ? "< length of what follows" : "< length") + " in octets : bit (" +
                 text(lengthBits(type)) + ") >");
         break;
      case TypeKind::Enum: return line(type.pattern ? "L | H" : "bit (" + text(type.bits) + ")");
      case TypeKind::List:
      case TypeKind::Bits:
      case TypeKind::Octets:
      case TypeKind::Number: break;
      default: return line(type.base.type ? "< " + type.base.name + " >" : "...");
      }
      for (auto& step : lower(type).steps) one(step);
   }

   void one(const Step& step) {
      if (step.isLed())
         open(std::string("{ ") + (step.when == When::ByBitIfMore ? "null | " : "") +
              (step.high ? "L | H" : "0 | 1"));
      else if (step.when == When::IfTest)
         open("{ if (" + spelled(*step.test.expr) + ")");
      else if (step.isOptional() || step.guarded)
         open("{ null |");
      contents(step);
      if (step.isOptional() || step.guarded) close("}");
   }

   // A value without a name is all of its type.
   void named(const Step& step, const std::string& what) {
      line(step.name.empty() ? what : "< " + step.name + " : " + what + " >");
   }

   void contents(const Step& step) {
      switch (step.op) {
      case Op::Flag: return named(step, "bit");
      case Op::Integer:
         if (!step.bounds.empty() && step.bounds.low == step.bounds.high && !step.name.empty())
            return named(step, inBinary(*step.bounds.low, step.bits));
         return named(step, "bit (" + text(step.bits) + ")");
      case Op::Constant:
         return line("< spare bit (" + text(step.bits) + ") : " + inBinary(step.number, step.bits) + " >");
      case Op::Bits: return named(step, "bit (" + text(step.count) + ")");
      case Op::Octets: return named(step, "octet (" + text(step.count) + ")");
      case Op::SizedBits: return named(step, "bit" + many(step, " ("));
      case Op::Sized: return named(step, "octet" + many(step, " ("));
      case Op::RestBits: return named(step, "bit **");
      case Op::Unary: return named(step, "H ** L");
      case Op::Padding: return line("< spare padding >");
      case Op::Nothing: return line("< " + (step.name.empty() ? "nothing" : step.name) + " : null >");
      case Op::Choice: return choice(step);
      case Op::List: return list(step);
      case Op::Length:
         named(step, "bit (" + text(step.bits) + ")" + (step.inBits ? ", in bits" : ", in octets") +
                           (step.count ? " less " + text(step.count) : ""));
         for (auto& inner : step.steps) one(inner);
         return;
      default: return call(step);
      }
   }

   void call(const Step& step) {
      const Type& type = *step.type;
      if (step.sizes) {
         const std::string what = type.kind == TypeKind::Bits     ? "bit ("
                                  : type.kind == TypeKind::Octets ? "octet ("
                                  : type.base.type                ? "< " + type.base.name + " > * ("
                                                                  : "bit (" + text(type.bits) + ") * (";
         return named(step, what + spelled(*step.argument.expr) + ")");
      }
      if (type.placed) {
         open("< " + step.name + " :");
         body(type);
         return close(">");
      }
      named(step, "< " + step.typeName + " >");
      if (step.zeros) line("< spare bit (" + text(step.zeros) + ") : 0 >");
   }

   // A list is a type of its own; its entries stand where it does if they are types by place.
   void list(const Step& step) {
      const bool led = step.entries != Entries::Rest, zeros = step.entries == Entries::Zeros,
                 highs = step.entries == Entries::Highs;
      const std::string lead = !led ? "" : zeros ? "0 " : highs ? "H " : "1 ";
      const std::string end = led ? " ** " + std::string(zeros   ? "1"
                                                         : highs ? "L"
                                                                 : "0")
                                  : many(step, " * (");
      const std::string entry = step.type ? "< " + step.typeName + " >" : "bit (" + text(step.bits) + ")";
      if (step.type == nullptr || !step.type->placed)
         return line(led ? "{ " + lead + entry + " }" + end : entry + end);
      open(led ? "{ " + lead.substr(0, 1) : "{");
      body(*step.type);
      close("}" + end);
   }

   void choice(const Step& step) {
      open("{");
      for (const Step& arm : step.steps) {
         open((&arm == &step.steps.front() ? "" : "| ") + arm.arm->pattern);
         contents(arm);
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
