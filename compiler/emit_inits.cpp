// Initialisers: the stores that make a record safe to fill, in the order of its fields.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"

namespace l3c {

namespace {

class InitEmitter {
public:
   std::string type(const Type& type) {
      w_ = Writer();
      w_.open("int " + initName(type) + "(" + recordName(type) + "* pvalue) {");
      if (&baseType(type) != &type)
         w_.line("return " + initName(baseType(type)) + "(pvalue);");
      else
         contents(type);
      w_.close();
      return w_.text();
   }

private:
   void contents(const Type& type) {
      if (type.kind == TypeKind::Octets) {
         countAndOctets("pvalue->", type.storage.heap);
      } else if (type.kind == TypeKind::Bits) {
         countAndOctets("pvalue->", type.storage.heap, "numbits");
      } else if (type.kind == TypeKind::List) {
         countAndEntries("pvalue->", type.storage.heap);
      } else if (!isPlain(type)) {
         record(type.fields, "pvalue->");
         // Not the whole of it, which default mode never reads and which lies far from all else.
         const auto appended = appendedFields(type);
         if (!appended.empty()) w_.line("pvalue->standard.m = {};");
         for (const Field* field : appended)
            if (field->appended) one(*field, "pvalue->standard.");
      } else { // plain values alone
         w_.line("*pvalue = {};");
      }
      w_.line("return 0;");
   }

   void record(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place) {
      if (!presenceBits(fields).empty()) w_.line(place + "m = {};");
      for (auto* field : recordFields(fields)) one(*field, place);
   }

   void countAndOctets(const std::string& place, bool heap, const std::string& count = "numocts") {
      w_.line(place + count + " = 0;");
      if (heap) w_.line(place + "data = nullptr;");
   }

   void countAndEntries(const std::string& place, bool heap) {
      w_.line(place + "n = 0;");
      if (heap) w_.line(place + "elem = nullptr;");
   }

   // The arms share their storage, and which of them comes is not known yet.
   void clearUnion(const std::string& place) {
      w_.line("std::memset(&" + place + "u, 0, sizeof(" + place + "u));");
   }

   void one(const Field& field, const std::string& place) {
      const std::string lvalue = place + cName(field.name);
      switch (field.kind) {
      case Kind::Named: return named(field, lvalue);
      case Kind::Counted:
      case Kind::Sized:
      case Kind::Fill:
      case Kind::Tail: return countAndOctets(lvalue + ".", field.storage.heap, countMember(field));
      case Kind::BitTail:
      case Kind::FillBits:
      case Kind::SizedBits: return countAndOctets(lvalue + ".", field.storage.heap, "numbits");
      case Kind::Each: return countAndEntries(lvalue + ".", field.storage.heap);
      case Kind::Group: return record(field.fields, lvalue + ".");
      case Kind::Choice: {
         const std::string inner = field.name.empty() ? place : lvalue + ".";
         if (field.selector != Selector::Field) w_.line(inner + "t = 0;");
         return clearUnion(inner);
      }
      case Kind::Messages: w_.line(lvalue + ".t = 0;"); return clearUnion(lvalue + ".");
      case Kind::Flag:
      case Kind::Uint:
         if (clearsField(field)) w_.line(lvalue + " = " + std::to_string(field.init.value_or(0)) + ";");
         return;
      default: return;
      }
   }

   void named(const Field& field, const std::string& lvalue) {
      if (field.present) return;
      const Type& type = *field.type.type;
      switch (passing(type)) {
      case Passing::Text: w_.line(lvalue + "[0] = 0;"); return;
      case Passing::TextPointer: w_.line(lvalue + " = nullptr;"); return;
      case Passing::Value:
         if (field.init) w_.line(lvalue + " = " + std::to_string(*field.init) + ";");
         return;
      default: break;
      }
      const Type& base = baseType(type);
      if (field.init) {
         w_.line(lvalue + " = {};");
      } else if (!hasInit(type)) { // spare bits alone
         if (base.kind == TypeKind::Record) record(base.fields, lvalue + ".");
      } else if (stores(base) > kMostInline ||
                 !appendedFields(base).empty()) { // a few stores stand here; a long row of them is called

         w_.line(initName(type) + "(&" + lvalue + ");");
      } else if (base.kind == TypeKind::Octets || base.kind == TypeKind::Bits) {
         countAndOctets(lvalue + ".", base.storage.heap, base.kind == TypeKind::Bits ? "numbits" : "numocts");
      } else if (base.kind == TypeKind::List) {
         countAndEntries(lvalue + ".", base.storage.heap);
      } else {
         record(base.fields, lvalue + ".");
      }
   }

   static constexpr size_t kMostInline = 8;

   static size_t stores(const Type& type) {
      const Passing how = passing(type);
      const Type& base = baseType(type);
      if (!hasInit(type) && base.kind != TypeKind::Record)
         return how == Passing::Text || how == Passing::TextPointer;
      if (base.kind == TypeKind::Record || base.kind == TypeKind::Message || base.kind == TypeKind::Pdu)
         return stores(base.fields);
      return 1;
   }

   static size_t stores(const std::vector<std::unique_ptr<Field>>& fields) {
      size_t sum = !presenceBits(fields).empty();
      for (auto* field : recordFields(fields)) {
         switch (field->kind) {
         case Kind::Named:
            sum += field->init ? 1 : field->type.type != nullptr ? stores(*field->type.type) : 0;
            break;
         case Kind::Group: sum += stores(field->fields); break;
         case Kind::Choice:
         case Kind::Messages: sum += 2; break;
         case Kind::Counted:
         case Kind::Sized:
         case Kind::Fill:
         case Kind::Tail:
         case Kind::BitTail:
         case Kind::FillBits:
         case Kind::SizedBits:
         case Kind::Each: sum += 1; break;
         default: sum += clearsField(*field); break;
         }
      }
      return sum;
   }

   Writer w_;
};

// The rest of what shows: no presence bit, selector or count guards it.
class ValueClearer {
public:
   void contents(const Type& type, const std::string& place) {
      const Type& base = baseType(type);
      if (base.kind == TypeKind::Record && !base.bare && base.cls != Class::V)
         text_ += place + "length = 0; ";
      fields(base.fields, place);
   }
   std::string text() const { return text_; }

private:
   void fields(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place) {
      for (auto& field : fields) { // presence bits guard these
         if (field->optional || field->ieiBits != 0 || field->kind == Kind::Since) continue;
         one(*field, place + cName(field->name));
         if (field->onlyOnWire()) this->fields(field->fields, place);
      }
   }

   void one(const Field& field, const std::string& lvalue) {
      switch (field.kind) {
      case Kind::Flag:
      case Kind::Uint:
      case Kind::Frame:
         if (!clearsField(field)) text_ += lvalue + " = 0; ";
         return;
      case Kind::Octets:
      case Kind::Bits: text_ += "std::memset(&" + lvalue + ", 0, sizeof " + lvalue + "); "; return;
      case Kind::Group: return fields(field.fields, lvalue + ".");
      case Kind::Named:
         if (!field.present && !field.init) named(*field.type.type, lvalue);
         return;
      default: return;
      }
   }

   void named(const Type& type, const std::string& lvalue) {
      switch (passing(type)) {
      case Passing::Value: text_ += lvalue + " = {}; "; return;
      case Passing::Array: text_ += "std::memset(&" + lvalue + ", 0, sizeof " + lvalue + "); "; return;
      default: break;
      }
      contents(type, lvalue + ".");
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
   InitEmitter emitter;
   for (auto& type : module.types)
      if (hasInit(*type)) w.raw(emitter.type(*type) + "\n");
   out["src/" + module.file + "Init.cpp"] = w.text();
}

} // namespace l3c
