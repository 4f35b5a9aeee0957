// Initialisers: the stores that make a record safe to fill, in the order of its steps.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"

#include <algorithm>

namespace l3c {

namespace {

// A few stores stand where they are needed; a long row of them is called.
constexpr std::ptrdiff_t kMostInline = 8;

// Does an initialiser store a value in this number: the one that the description gives, or 0 in spare bits?
bool clears(const Step& step) {
   const bool number = step.op == Op::Flag || step.op == Op::Integer;
   return step.init || (number && step.name.starts_with("spare"));
}

// The stores of an initialiser: what tells what is there, and the values that a description gives.
class Stores {
public:
   static std::string of(const Type& type, const std::string& root) {
      Stores stores(root);
      stores.record(type.fields, "");
      const Program program = lower(type);
      stores.steps(program.steps);
      stores.steps(program.optional);
      // Not the whole of it, which default mode never reads and which lies far from all else.
      if (!appendedFields(type).empty()) {
         stores.clear("standard.m");
         stores.appended(lower(*type.standard));
      }
      return stores.w_.text();
   }

private:
   explicit Stores(const std::string& root) : root_(root), w_({{"root", root}}) {}

   void store(const std::string& member, const std::string& value) {
      w_.fill("$root$member = $value;", {{"member", member}, {"value", value}});
   }
   void clear(const std::string& member) { store(member, "{}"); }

   void record(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place) {
      if (!presenceBits(fields).empty()) clear(place + "m");
   }

   void steps(const std::vector<Step>& steps) {
      for (auto& step : steps) one(step);
   }

   void appended(const Program& program) {
      const auto all = [this](auto& self, const std::vector<Step>& steps) -> void {
         for (auto& step : steps) step.appended ? one(step) : self(self, step.steps);
      };
      all(all, program.steps);
      all(all, program.optional);
   }

   // An array or a string of a member, or the value itself: its count, and where it lies.
   void array(const Step& step, const std::string& count, const char* data) {
      const std::string place = step.member.empty() ? "" : step.member + ".";
      store(place + count, "0");
      if (step.storage.heap) store(place + data, "nullptr");
   }

   // The arms share their storage, and which of them comes is not known yet.
   void clearUnion(const std::string& place) {
      w_.fill("std::memset(&$root${place}u, 0, sizeof($root${place}u));", {{"place", place}});
   }

   void one(const Step& step) {
      switch (step.op) {
      case Op::Flag:
      case Op::Integer:
      case Op::Span:
         if (clears(step)) store(step.member, std::to_string(step.init.value_or(0)));
         return steps(step.steps);
      case Op::Counted:
      case Op::Sized: return array(step, step.wide ? "nchars" : "numocts", "data");
      case Op::RestBits:
      case Op::SizedBits: return array(step, "numbits", "data");
      case Op::List: return array(step, "n", "elem");
      case Op::Choice:
      case Op::Pointers: {
         const std::string place = step.name.empty() ? step.place : step.member + ".";
         if (step.op == Op::Pointers || step.selector != Selector::Field) store(place + "t", "0");
         return clearUnion(place);
      }
      case Op::Group: record(step.field->fields, step.member + "."); return steps(step.steps);
      case Op::Call:
      case Op::Contents:
      case Op::Message: return value(step);
      default: return steps(step.steps);
      }
   }

   // A value of another type.
   void value(const Step& step) {
      const Type& type = *step.type;
      const auto& init = step.init;
      switch (passing(type)) {
      case Passing::Text: return store(step.member + "[0]", "0");
      case Passing::TextPointer: return store(step.member, "nullptr");
      case Passing::Value:
         if (init) store(step.member, std::to_string(*init));
         return;
      default: break;
      }
      if (init) return clear(step.member);
      const Type& base = baseType(type);
      const std::string inner = of(base, root_ + step.member + ".");
      const auto stores = std::ranges::count(inner, '\n');
      if (hasInit(type) && (stores > kMostInline || !appendedFields(base).empty()))
         w_.fill("$init(&$root$member);", {{"init", initName(type)}, {"member", step.member}});
      else
         w_.raw(inner);
   }

   const std::string root_; // of the record, with what parts it from its members
   Writer w_;
};

// The rest of what shows: no presence bit, selector or count guards it.
class ValueClearer {
public:
   void contents(const Type& type, const std::string& root) {
      const Type& base = baseType(type);
      if (base.kind == TypeKind::Record && !base.bare && base.cls != Class::V) clear(root + "length", "0");
      steps(lower(base).steps, root);
   }
   std::string text() const { return text_; }

private:
   void steps(const std::vector<Step>& steps, const std::string& root) {
      for (auto& step : steps) // presence bits guard these
         if (!step.optional && step.op != Op::Since) one(step, root);
   }

   void one(const Step& step, const std::string& root) {
      const std::string lvalue = root + step.member;
      switch (step.op) {
      case Op::Flag:
      case Op::Integer:
      case Op::Length:
      case Op::Span:
         if (!step.member.empty() && !clears(step)) clear(lvalue, "0");
         return steps(step.steps, root);
      case Op::Octets:
      case Op::Bits: return fill(lvalue);
      case Op::Call:
      case Op::Contents:
      case Op::Message:
         if (!step.init) value(*step.type, lvalue);
         return;
      case Op::Choice:
      case Op::List: return;
      default: return steps(step.steps, root);
      }
   }

   void clear(const std::string& lvalue, const char* empty) {
      text_ += Writer().filled("$lvalue = $empty; ", {{"lvalue", lvalue}, {"empty", empty}});
   }
   void fill(const std::string& lvalue) {
      text_ += Writer().filled("std::memset(&$lvalue, 0, sizeof $lvalue); ", {{"lvalue", lvalue}});
   }

   void value(const Type& type, const std::string& lvalue) {
      switch (passing(type)) {
      case Passing::Value: return clear(lvalue, "{}");
      case Passing::Array: return fill(lvalue);
      default: return contents(type, lvalue + ".");
      }
   }

   std::string text_;
};

std::string initialiser(const Type& type) {
   const Type& base = baseType(type);
   if (&base != &type) return "return " + initName(base) + "(pvalue);";
   const bool message = base.kind == TypeKind::Message || base.kind == TypeKind::Pdu;
   return (message && isPlain(base) ? "*pvalue = {};\n" : Stores::of(base, "pvalue->")) + "return 0;";
}

} // namespace

std::string clearValues(const Type& message, const std::string& place) {
   ValueClearer clearer;
   clearer.contents(message, place);
   return clearer.text();
}

void emitInits(const Model&, const Module& module, Outputs& out) {
   Writer w(namesOf(module));
   w.fill(R"(
// Initialisers of module $module. Generated by l3c from $file.l3d.

#include "quorva/$module.h"

#include <cstring>

)");
   for (auto& type : module.types)
      if (hasInit(*type))
         w.fill(R"(
int $init($record* pvalue) {
   $stores
}

)",
                {{"init", initName(*type)}, {"record", recordName(*type)}, {"stores", initialiser(*type)}});
   out["src/" + module.file + "Init.cpp"] = w.text();
}

} // namespace l3c
