// Initialisers: the stores that make a record safe to fill, in the order of its steps.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"

namespace l3c {

namespace {

using Lines = std::vector<std::string>;

// A few stores stand where they are needed; a long row of them is called.
constexpr size_t kMostInline = 8;

// The stores of an initialiser: what tells what is there, and the values that a description gives.
class Stores {
public:
   static Lines of(const Type& type, const std::string& root) {
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
      return std::move(stores.lines_);
   }

private:
   explicit Stores(const std::string& root) : root_(root) {}

   void store(const std::string& member, const std::string& value) {
      lines_.push_back(root_ + member + " = " + value + ";");
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
         for (auto& step : steps) step.field->appended ? one(step) : self(self, step.steps);
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
      lines_.push_back("std::memset(&" + root_ + place + "u, 0, sizeof(" + root_ + place + "u));");
   }

   void one(const Step& step) {
      switch (step.op) {
      case Op::Flag:
      case Op::Integer:
      case Op::Span:
         if (step.field != nullptr && clearsField(*step.field))
            store(step.member, std::to_string(step.field->init.value_or(0)));
         return steps(step.steps);
      case Op::Counted:
      case Op::Sized: return array(step, step.field ? countMember(*step.field) : "numocts", "data");
      case Op::RestBits:
      case Op::SizedBits: return array(step, "numbits", "data");
      case Op::List: return array(step, "n", "elem");
      case Op::Choice:
      case Op::Pointers: {
         const std::string place = step.name.empty() ? step.place : step.member + ".";
         if (step.op == Op::Pointers || step.field->selector != Selector::Field) store(place + "t", "0");
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
      const auto& init = step.field->init;
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
      const Lines inner = of(base, root_ + step.member + ".");
      if (hasInit(type) && (inner.size() > kMostInline || !appendedFields(base).empty()))
         lines_.push_back(initName(type) + "(&" + root_ + step.member + ");");
      else
         lines_.insert(lines_.end(), inner.begin(), inner.end());
   }

   const std::string root_; // of the record, with what parts it from its members
   Lines lines_;
};

// The rest of what shows: no presence bit, selector or count guards it.
class ValueClearer {
public:
   void contents(const Type& type, const std::string& root) {
      const Type& base = baseType(type);
      if (base.kind == TypeKind::Record && !base.bare && base.cls != Class::V) text_ += root + "length = 0; ";
      steps(lower(base).steps, root);
   }
   std::string text() const { return text_; }

private:
   void steps(const std::vector<Step>& steps, const std::string& root) {
      for (auto& step : steps) // presence bits guard these
         if (step.field != nullptr && !step.field->optional && step.op != Op::Since) one(step, root);
   }

   void one(const Step& step, const std::string& root) {
      const std::string lvalue = root + step.member;
      switch (step.op) {
      case Op::Flag:
      case Op::Integer:
      case Op::Length:
      case Op::Span:
         if (!step.member.empty() && !clearsField(*step.field)) text_ += lvalue + " = 0; ";
         return steps(step.steps, root);
      case Op::Octets:
      case Op::Bits: return fill(lvalue);
      case Op::Call:
      case Op::Contents:
      case Op::Message:
         if (!step.field->init) value(*step.type, lvalue);
         return;
      case Op::Choice:
      case Op::List: return;
      default: return steps(step.steps, root);
      }
   }

   void fill(const std::string& lvalue) {
      text_ += "std::memset(&" + lvalue + ", 0, sizeof " + lvalue + "); ";
   }

   void value(const Type& type, const std::string& lvalue) {
      switch (passing(type)) {
      case Passing::Value: text_ += lvalue + " = {}; "; return;
      case Passing::Array: return fill(lvalue);
      default: return contents(type, lvalue + ".");
      }
   }

   std::string text_;
};

} // namespace

std::string clearValues(const Type& message, const std::string& place) {
   ValueClearer clearer;
   clearer.contents(message, place);
   return clearer.text();
}

void emitInits(const Model&, const Module& module, Outputs& out) {
   Writer w;
   w.line("// Initialisers of module " + module.name + ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   w.line("#include \"quorva/" + module.name + ".h\"");
   w.line();
   w.line("#include <cstring>");
   w.line();
   for (auto& type : module.types) {
      if (!hasInit(*type)) continue;
      w.open("int " + initName(*type) + "(" + recordName(*type) + "* pvalue) {");
      const Type& base = baseType(*type);
      if (&base != type.get()) {
         w.line("return " + initName(base) + "(pvalue);");
      } else {
         const bool record = base.kind == TypeKind::Message || base.kind == TypeKind::Pdu;
         if (record && isPlain(base)) { // values alone
            w.line("*pvalue = {};");
         } else {
            for (auto& line : Stores::of(base, "pvalue->")) w.line(line);
         }
         w.line("return 0;");
      }
      w.close();
      w.line();
   }
   out["src/" + module.file + "Init.cpp"] = w.text();
}

} // namespace l3c
