// The constant table of a module, and the printers and sample builders that walk it.

#include "compiler/emit.h"
#include "compiler/enum_rows.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/samples.h"

#include <algorithm>
#include <map>
#include <utility>

namespace l3c {

namespace {

std::string number(uint64_t value) {
   return std::to_string(value);
}

std::string tableName(const Module& module) {
   return "quorva::walk::table_" + module.name;
}

// Number by which rows refer to a type of a module: aliases have none of their own.
size_t typeNumber(const Type& type) {
   const Type& base = baseType(type);
   size_t at = 0;
   for (auto& other : base.module->types) {
      if (other.get() == &base) return at;
      if (&baseType(*other) == other.get()) ++at;
   }
   return at;
}

// Octets of the C type of an integer.
unsigned widthOfUint(uint64_t bits) {
   return bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 32 ? 4 : 8;
}
unsigned widthOfCount(const Storage& storage) {
   return storage.heap ? 4 : storage.capacity <= 255 ? 1 : storage.capacity <= 65535 ? 2 : 4;
}

// One row of the table, its members as C++ expressions.
struct RowText {
   std::string name;
   std::string offset = "0", count = "0", capacity = "0", stride = "0";
   std::string presence = "kNone", group = "kNone";
   uint64_t sample = 0;
   size_t first = 0, rows = 0, index = 0, module = 0;
   std::string kind;
   unsigned width = 0;
   std::vector<std::string> flags;
};

class TableEmitter {
public:
   TableEmitter(const Model& model, const Module& module) : module_(module) {
      for (size_t i = 0; i < model.modules.size(); ++i) moduleNumbers_[model.modules[i].get()] = i;
      textAt_[""] = 0;
      texts_.push_back("");
      textSize_ = 1;
   }

   std::string run() {
      for (auto& type : module_.types)
         if (&baseType(*type) == type.get()) types_.push_back(this->type(*type));
      Writer w;
      w.line("namespace {");
      w.line();
      namesOut(w);
      for (size_t i = 0; i < expressions_.size(); ++i) {
         w.open("uint64_t expression" + number(i) + "(const void* record) {");
         w.line("return " + expressions_[i] + ";");
         w.close();
         w.line();
      }
      w.open("constexpr char kTexts[] =");
      for (auto& text : texts_) w.line("\"" + text + "\\0\"");
      w.close("      ;");
      w.line();
      array(w, "Row", "kRows", rows_);
      array(w, "Arm", "kArms", arms_);
      array(w, "Type", "kTypes", types_);
      std::vector<std::string> functions;
      for (size_t i = 0; i < expressions_.size(); ++i) functions.push_back("expression" + number(i));
      array(w, "Expression", "kExpressions", functions);
      w.line("} // namespace");
      w.line();
      w.line("const Module table_" + module_.name +
             " = {kTexts, kTypes, kRows, kArms, kNames, kExpressions};");
      return w.text();
   }

private:
   // An array always has an entry, for the compiler's sake.
   static void array(Writer& w, const std::string& type, const std::string& name,
                     const std::vector<std::string>& items) {
      w.open("constexpr " + type + " " + name + "[] = {");
      for (auto& item : items) w.line(item + ",");
      if (items.empty()) w.line("{},");
      w.close("};");
      w.line();
   }

   void namesOut(Writer& w) const {
      std::vector<std::string> rows;
      for (size_t i = 0; i < names_.size(); ++i) {
         const Type& type = *names_[i];
         std::string items = "::" + recordName(type) + "_ENUMTAB";
         if (type.kind == TypeKind::Number) {
            items = "kNames_" + recordName(type);
            w.open("constexpr RtxEnumItem " + items + "[] = {");
            for (auto& row : enumTableRows(type.rows)) w.line(row + ",");
            w.close("};");
            w.line();
         }
         rows.push_back("{" + items + ", " + number(type.rows.size()) + "}");
      }
      array(w, "Names", "kNames", rows);
   }

   std::string text(const std::string& name) {
      auto [hit, fresh] = textAt_.emplace(name, textSize_);
      if (fresh) {
         texts_.push_back(name);
         textSize_ += name.size() + 1;
      }
      return number(hit->second);
   }

   size_t add(const std::vector<RowText>& block) {
      const size_t first = rows_.size();
      for (auto& row : block) {
         std::string flags;
         for (auto& flag : row.flags) flags += (flags.empty() ? "" : " | ") + flag;
         rows_.push_back("{" + text(row.name) + ", " + row.offset + ", " + row.count + ", " + row.capacity +
                         ", " + row.stride + ", " + row.presence + ", " + row.group + ", " +
                         number(row.sample) + ", " + number(row.first) + ", " + number(row.rows) + ", " +
                         number(row.index) + ", " + number(row.module) + ", Kind::" + row.kind + ", " +
                         number(row.width) + ", " + (flags.empty() ? "0" : flags) + "}");
      }
      return first;
   }

   std::string offset(const std::string& member) const {
      return member.empty() ? "0" : "offsetof(" + record_ + ", " + member + ")";
   }

   // The row of the table for a type.
   std::string type(const Type& type) {
      const Sample sample(type);
      sample_ = &sample;
      record_ = "::" + recordName(type);
      std::vector<RowText> block;
      std::string form = "Value";
      std::string size = "sizeof(" + record_ + ")";
      RowText row;
      switch (type.kind) {
      case TypeKind::Enum:
         row.kind = type.unchecked ? "OpenEnumeration" : "Enumeration";
         row.width = 4;
         row.index = names(type);
         row.sample = Sample::typeNumber(type);
         block.push_back(row);
         break;
      case TypeKind::Number:
         row.kind = type.rows.empty() ? "Number" : "NamedNumber";
         if (!type.rows.empty()) row.index = names(type);
         row.width = widthOfUint(type.bits);
         row.sample = Sample::typeNumber(type);
         block.push_back(row);
         break;
      case TypeKind::Octets:
         if (type.count != 0) {
            row.kind = "Octets";
            row.capacity = number(type.count);
         } else {
            counted(row, "CountedOctets", "numocts", "data", type.storage, Sample::typeCount(type));
         }
         block.push_back(row);
         break;
      case TypeKind::Digits:
      case TypeKind::Text:
         row.kind = "Text";
         row.capacity = number(type.storage.capacity);
         if (type.storage.heap) row.flags.push_back("kHeap");
         if (type.kind == TypeKind::Text) row.flags.push_back("kCharacters");
         block.push_back(row);
         break;
      case TypeKind::List:
         counted(row, "List", "n", "elem", type.storage, Sample::typeCount(type));
         row.stride = "sizeof(*" + record_ + "::elem)";
         row.first = add({element(type.base.type, type.bits)});
         block.push_back(row);
         break;
      case TypeKind::Empty:
         form = "Empty";
         size = "0";
         break;
      default:
         form = "Record";
         if (type.kind == TypeKind::Record && !type.bare && type.cls != Class::V) {
            row.name = "length";
            row.kind = "Number";
            row.offset = offset("length");
            row.width = type.cls == Class::LVE ? 2 : 1;
            block.push_back(row);
         }
         type_ = &type;
         fields(type.fields, "", block);
      }
      const size_t first = add(block);
      return "{" + size + ", " + number(first) + ", " + number(block.size()) + ", Form::" + form + "}";
   }

   size_t names(const Type& type) {
      names_.push_back(&type);
      return names_.size() - 1;
   }

   void counted(RowText& row, const std::string& kind, const std::string& count, const std::string& data,
                const Storage& storage, uint64_t few) const {
      row.kind = kind;
      row.count = offset(count);
      row.offset = offset(data);
      row.capacity = number(storage.capacity);
      row.width = widthOfCount(storage);
      row.sample = few;
      if (storage.heap) row.flags.push_back("kHeap");
   }

   void nested(RowText& row, const Type& type) const {
      const Type& base = baseType(type);
      row.kind = "Nested";
      row.module = moduleNumbers_.at(base.module);
      row.index = typeNumber(base);
   }

   // An entry of a repetition, from its own start.
   RowText element(const Type* type, unsigned bits) const {
      RowText row;
      if (type != nullptr) {
         nested(row, *type);
      } else {
         row.kind = "Number";
         row.width = widthOfUint(bits);
         row.sample = (bits < 8 ? 1u << bits : 256u) - 2;
      }
      return row;
   }

   // The presence bits of one record, as numbers from the start of the type's record.
   struct Presence {
      std::map<const Field*, std::string> fields;
      std::map<int, std::string> groups;
   };
   Presence presence(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place) const {
      Presence all;
      size_t at = 0;
      for (auto& bit : presenceBits(fields)) {
         const std::string place8 = place.empty() ? "" : offset(place + "m") + " * 8 + ";
         const std::string text = place8 + number(at++);
         if (bit.field != nullptr)
            all.fields[bit.field] = text;
         else
            all.groups[bit.group] = text;
      }
      return all;
   }

   void fields(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place,
               std::vector<RowText>& block) {
      const Presence bits = presence(fields, place);
      level(fields, place, bits, "kNone", false, block);
   }

   // The fields of a record, those within wire groups too.
   void level(const std::vector<std::unique_ptr<Field>>& fields, const std::string& place,
              const Presence& bits, const std::string& outerGroup, bool absent, std::vector<RowText>& block) {
      for (auto& field : fields) {
         std::string group = outerGroup;
         bool left = absent;
         if (field->kind == Kind::Since || field->ieiBits != 0) {
            auto hit = bits.groups.find(field->group);
            if (hit != bits.groups.end() && (field->kind == Kind::Since || field->group != 0))
               group = hit->second;
         }
         if (field->kind == Kind::Since) left |= sample_->absent(*field);
         if (field->kind == Kind::Frame) one(*field, place, bits, group, left, block);
         if (field->onlyOnWire())
            level(field->fields, place, bits, group, left, block);
         else
            one(*field, place, bits, group, left, block);
      }
   }

   void one(const Field& field, const std::string& place, const Presence& bits, const std::string& group,
            bool absent, std::vector<RowText>& block) {
      if (field.kind == Kind::Const || (field.kind == Kind::Null && field.name.empty())) return;
      const Presence* around = std::exchange(bits_, &bits);
      RowText row = this->row(field, place);
      bits_ = around;
      row.group = group;
      if (auto hit = bits.fields.find(&field); hit != bits.fields.end()) row.presence = hit->second;
      if (absent || sample_->absent(field)) row.flags.push_back("kNoSample");
      block.push_back(row);
      for (auto& set : sample_->overridesBehind(field)) block.push_back(store(set, place));
   }

   RowText store(const Sample::Override& set, const std::string& place) const {
      RowText row;
      row.kind = "Store";
      row.offset = offset(set.path.size() == 1 ? place + cName(set.path[0]->name) : pathMember(set.path));
      row.width = widthOfNumber(*set.path.back());
      row.sample = set.value;
      return row;
   }

   static unsigned widthOfNumber(const Field& field) {
      if (field.kind == Kind::Flag) return 1;
      if (field.kind != Kind::Named) return widthOfUint(field.bits);
      const Type& type = baseType(*field.type.type);
      return type.kind == TypeKind::Enum ? 4 : widthOfUint(type.bits);
   }

   static std::string pathMember(const std::vector<const Field*>& path) {
      std::string member;
      for (auto* field : path) {
         if (!field->name.empty()) member += (member.empty() ? "" : ".") + cName(field->name);
         if (field->kind == Kind::Choice) member += member.empty() ? "u" : ".u";
      }
      return member;
   }

   RowText row(const Field& field, const std::string& place) {
      const std::string member = place + cName(field.name);
      RowText row;
      row.name = printName(field.name);
      switch (field.kind) {
      case Kind::Flag:
         row.kind = "Flag";
         row.offset = offset(member);
         row.width = 1;
         row.sample = sample_->number(field);
         break;
      case Kind::Uint:
      case Kind::Frame:
         row.kind = "Number";
         row.offset = offset(member);
         row.width = widthOfUint(field.bits);
         // The encoder sets what frames and aside fields say.
         row.sample = field.kind == Kind::Frame || field.aside ? 0 : sample_->number(field);
         break;
      case Kind::Octets:
      case Kind::Bits:
         row.kind = field.kind == Kind::Octets ? "Octets" : "Bits";
         row.offset = offset(member);
         row.capacity = number(field.count);
         break;
      case Kind::Named:
         if (field.present) {
            row.kind = "Null";
            break;
         }
         nested(row, *field.type.type);
         row.offset = offset(member);
         row.sample = field.sample.value_or(0);
         break;
      case Kind::Counted:
      case Kind::Sized:
      case Kind::Fill:
      case Kind::Tail:
         if (field.kind == Kind::Fill && field.bits == 16)
            counted(row, "CountedUnits", member + ".nchars", member + ".data", Storage{true, 0},
                    sample_->count(field));
         else
            counted(row, "CountedOctets", member + ".numocts", member + ".data", field.storage,
                    sample_->count(field));
         break;
      case Kind::BitTail: {
         const bool heap = field.storage.heap || field.storage.capacity == 0;
         const Storage inBits{heap, field.storage.capacity * 8};
         counted(row, "CountedBits", member + ".numbits", member + ".data", inBits, sample_->count(field));
         break;
      }
      case Kind::Group: {
         row.kind = "Group";
         std::vector<RowText> inner;
         fields(field.fields, member + ".", inner);
         row.first = add(inner);
         row.rows = inner.size();
         break;
      }
      case Kind::Each: {
         counted(row, "List", member + ".n", member + ".elem", field.storage, sample_->count(field));
         row.stride = "sizeof(*static_cast<" + record_ + "*>(nullptr)->" + member + ".elem)";
         RowText entry = element(field.type.type, field.bits);
         if (field.entry) {
            const Storage& storage = field.entry->storage;
            entry = RowText();
            entry.kind = "CountedOctets";
            entry.width = widthOfCount(storage);
            entry.offset = number(entry.width); // count and octets stand side by side
            entry.capacity = number(storage.capacity);
            entry.sample = field.entry->kind == Kind::Sized ? sample_->count(*field.entry)
                                                            : std::min<uint64_t>(storage.capacity, 4);
         }
         row.first = add({entry});
         break;
      }
      case Kind::Choice: choice(field, place, row); break;
      case Kind::Messages: messages(field, place, row); break;
      default: row.kind = "Null"; break;
      }
      return row;
   }

   void arm(uint64_t low, uint64_t high, size_t row) {
      arms_.push_back("{" + number(low) + "u, " + number(high) + "u, " + number(row) + "}");
   }

   void choice(const Field& field, const std::string& place, RowText& row) {
      const std::string inner = field.name.empty() ? place : place + cName(field.name) + ".";
      row.kind = "Choice";
      row.sample = sample_->selector(field);
      if (field.name.empty()) row.flags.push_back("kUnnamed");
      if (field.selector != Selector::Field) {
         row.flags.push_back("kOwnSelector");
         row.count = offset(inner + "t");
         row.width = 4;
      } else if (field.argument->op == Expr::Op::Name && !field.argument->parameter &&
                 std::none_of(field.argument->path.begin(), field.argument->path.end(),
                              [](const Field* f) { return f->optional; })) {
         row.count = offset(pathMember(field.argument->path));
         row.width = widthOfNumber(*field.argument->path.back());
      } else {
         row.flags.push_back("kSteeredByExpression");
         row.index = expressions_.size();
         expressions_.push_back(expression(*field.argument));
      }
      // Rows of the arms first, for those within may bring arms of their own.
      std::vector<size_t> places;
      for (const Arm& arm : field.arms) {
         RowText content = this->row(*arm.field, inner + "u.");
         if (auto hit = bits_->fields.find(arm.field.get()); hit != bits_->fields.end())
            content.presence = hit->second;
         places.push_back(add({content}));
      }
      row.first = arms_.size();
      for (size_t i = 0; i < field.arms.size(); ++i)
         for (auto& range : field.arms[i].values) arm(range.low, range.high, places[i]);
      for (size_t i = 0; i < field.arms.size(); ++i)
         if (field.arms[i].isElse) arm(0, UINT32_MAX, places[i]);
      row.rows = arms_.size() - row.first;
   }

   void messages(const Field& field, const std::string& place, RowText& row) {
      const std::string member = place + cName(field.name);
      row.kind = "Choice";
      row.flags.push_back("kOwnSelector");
      row.count = offset(member + ".t");
      row.width = 4;
      row.sample = sample_->selector(field);
      std::vector<std::pair<uint64_t, size_t>> places;
      for (auto& line : type_->table) {
         RowText content;
         content.name = printName(line.member);
         content.kind = "Null";
         if (line.record.type != nullptr) {
            nested(content, *line.record.type);
            if (!line.inlineValue) content.kind = "Message";
            content.offset = offset(member + ".u." + cName(line.member));
         }
         places.emplace_back(line.selector, add({content}));
      }
      row.first = arms_.size();
      for (auto& [selector, at] : places) arm(selector, selector, at);
      row.rows = places.size();
   }

   // The number at a path; 0 if an optional field on the way is absent, as for the codecs.
   std::string path(const std::vector<const Field*>& fields) const {
      const std::string record = "static_cast<const " + record_ + "*>(record)->";
      std::string conditions;
      std::vector<const Field*> way;
      for (auto* field : fields) {
         const std::string owner = way.empty() ? "" : pathMember(way) + ".";
         if (field->optional) conditions += record + owner + "m." + presenceName(*field) + " == 0 ? 0 : ";
         way.push_back(field);
      }
      const std::string number = "uint64_t{" + record + pathMember(fields) + "}";
      return conditions.empty() ? number : "(" + conditions + number + ")";
   }

   std::string expression(const Expr& e) const {
      const auto binary = [&](const char* op) {
         return "(" + expression(*e.left) + " " + op + " " + expression(*e.right) + ")";
      };
      switch (e.op) {
      case Expr::Op::Number: return "uint64_t{" + number(e.number) + "}";
      case Expr::Op::Name: return path(e.path);
      case Expr::Op::Rest: return "uint64_t{0}"; // nothing is left of a record that is there
      case Expr::Op::Add: return binary("+");
      case Expr::Op::Sub: return binary("-");
      case Expr::Op::Mul: return binary("*");
      case Expr::Op::Eq: return binary("==");
      case Expr::Op::Ne: return binary("!=");
      case Expr::Op::Lt: return binary("<");
      case Expr::Op::Gt: return binary(">");
      case Expr::Op::Le: return binary("<=");
      case Expr::Op::Ge: return binary(">=");
      case Expr::Op::And: return binary("&&");
      case Expr::Op::Or: return binary("||");
      case Expr::Op::Not: return "!" + expression(*e.left);
      }
      return "0";
   }

   const Module& module_;
   std::map<const Module*, size_t> moduleNumbers_;
   std::map<std::string, size_t> textAt_;
   std::vector<std::string> texts_;
   size_t textSize_ = 0;
   std::vector<std::string> rows_, arms_, types_, expressions_;
   std::vector<const Type*> names_;
   // Of the type at hand
   const Type* type_ = nullptr;
   const Sample* sample_ = nullptr;
   const Presence* bits_ = nullptr; // of the record at hand
   std::string record_;
};

void declareTables(const Module& module, Writer& w) {
   std::vector<const Module*> used = {&module};
   for (auto& type : module.types) {
      const Module* other = baseType(*type).module;
      if (std::find(used.begin(), used.end(), other) == used.end()) used.push_back(other);
   }
   w.line("namespace quorva::walk {");
   for (auto* other : used) w.line("extern const Module table_" + other->name + ";");
   w.line("} // namespace quorva::walk");
   w.line();
}

void prologue(const Module& module, const std::string& what, const std::string& include, Writer& w) {
   w.line("// " + what + " of module " + module.name + ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   w.line("#include \"quorva/" + module.name + ".h\"");
   w.line("#include \"src/walk/" + include + ".h\"");
   w.line();
   declareTables(module, w);
}

void printer(const Type& type, Writer& w) {
   std::string place = "pvalue";
   switch (passing(type)) {
   case Passing::Value:
   case Passing::TextPointer: place = "&value"; break;
   case Passing::Array:
   case Passing::Text: place = "value"; break;
   case Passing::Nothing: place = "nullptr"; break;
   case Passing::Pointer: break;
   }
   w.open("int " + printerName(type) + "(RtxContext* pctxt, const char* name" + printParameters(type) +
          ") {");
   w.line("return quorva::walk::print(pctxt, name, " + tableArguments(type) + ", " + place + ");");
   w.close();
}

void builder(const Type& type, Writer& w) {
   const std::string record = recordName(type);
   switch (passing(type)) {
   case Passing::Text:
      w.open("char* " + sampleName(type) + "(RtxContext*, char* value) {");
      w.line("quorva::walk::fillSample(value, " + tableArguments(type) + ");");
      w.line("return value;");
      break;
   case Passing::TextPointer:
      w.open("const char* " + sampleName(type) + "(void) {");
      w.line("const char* value = nullptr;");
      w.line("quorva::walk::fillSample(&value, " + tableArguments(type) + ");");
      w.line("return value;");
      break;
   default:
      w.open(record + "* " + sampleName(type) + "(RtxContext* pctxt) {");
      w.line("return static_cast<" + record + "*>(quorva::walk::sample(pctxt, " + tableArguments(type) +
             "));");
   }
   w.close();
}

// The functions that make a PDU hold a message: discriminator, message type, selector and pointer agree.
void selectors(const Type& pdu, Writer& w) {
   const Field* messages = nullptr;
   bool discriminator = false;
   for (auto& field : pdu.fields) {
      if (field->kind == Kind::Messages) messages = field.get();
      discriminator |= field->name == "protoDiscr";
   }
   if (messages == nullptr) return;
   const std::string data = "pdu->" + cName(messages->name);
   for (auto& row : pdu.table) {
      std::string value;
      if (row.record.type != nullptr)
         value = ", " + recordName(*row.record.type) + (row.inlineValue ? " value" : "* value");
      w.open("void asn1SetTC_" + recordName(pdu) + "_" + cName(row.member) + "(RtxContext*, " +
             recordName(pdu) + "* pdu" + value + ") {");
      if (discriminator) w.line("pdu->protoDiscr = " + number(row.disc) + ";");
      w.line("pdu->msgType = " + number(row.msgType) + ";");
      w.line(data + ".t = " + number(row.selector) + ";");
      if (!value.empty()) w.line(data + ".u." + cName(row.member) + " = value;");
      w.close();
   }
}

} // namespace

std::string tableArguments(const Type& type) {
   return tableName(*baseType(type).module) + ", " + number(typeNumber(type));
}

void emitWalk(const Model& model, const Module& module, Outputs& out) {
   Writer printers;
   prologue(module, "Printers and the table that they walk", "print", printers);
   printers.line("namespace quorva::walk {");
   printers.line();
   printers.raw(TableEmitter(model, module).run());
   printers.line();
   printers.line("} // namespace quorva::walk");
   printers.line();
   Writer samples;
   prologue(module, "Samples and selectors", "sample", samples);
   for (auto& type : module.types) {
      if (!type->noPrinter) printer(*type, printers);
      if (hasSample(*type)) builder(*type, samples);
      if (type->kind == TypeKind::Pdu) selectors(*type, samples);
   }
   out["src/" + module.file + "PrtToStrm.cpp"] = printers.text();
   out["src/" + module.file + "Test.cpp"] = samples.text();
}

} // namespace l3c
