// What makes a PDU hold a message, and names for the numbers that tell what is in a choice or a message.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace l3c {

namespace {

std::string number(uint64_t value) {
   return std::to_string(value);
}

bool hasDiscriminator(const Type& pdu) {
   return std::ranges::any_of(pdu.fields, [](auto& field) { return field->name == "protoDiscr"; });
}

// A field of a PDU whose arm no octet tells: the half octet ahead of the discriminator.
bool isHeaderChoice(const Field& field) {
   if (field.kind != Kind::Named || field.type.type == nullptr) return false;
   const auto& fields = baseType(*field.type.type).fields;
   return fields.size() == 1 && fields[0]->name.empty() && fields[0]->kind == Kind::Choice &&
          fields[0]->selector == Selector::Record;
}

// The arm of such a field that goes with a message.
uint64_t headerArm(const Field& field, const TableRow& row) {
   return row.header == field.name ? row.arm : field.sample.value_or(1);
}

const std::string& armName(const Field& field, uint64_t arm) {
   static const std::string none;
   for (auto& one : baseType(*field.type.type).fields[0]->arms)
      if (!one.values.empty() && one.values.front().low == arm) return one.field->name;
   return none;
}

// The functions of one union of a PDU.
class Setters {
public:
   Setters(const Type& pdu, const Field& messages, const std::vector<TableRow>& table, bool first)
         : pdu_(pdu), table_(table), record_(recordName(pdu)), data_("pdu->" + cName(messages.name)),
           prefix_("asn1SetTC_" + record_ + '_' + (first ? "" : cName(messages.name) + '_')) {}

   void define(Writer& w) const {
      for (auto& row : table_) {
         w.open("void " + prefix_ + cName(row.member) + "(RtxContext*, " + record_ + "* pdu" + value(row) +
                ") {");
         if (hasDiscriminator(pdu_)) w.line("pdu->protoDiscr = " + number(row.disc) + ";");
         w.line("pdu->msgType = " + number(row.msgType) + ";");
         w.line(data_ + ".t = " + number(row.selector) + ";");
         if (row.record.type != nullptr) w.line(data_ + ".u." + cName(row.member) + " = value;");
         header(row, w);
         w.close();
      }
   }

   // A call with a sample, for the tests.
   std::string call(const TableRow& row) const {
      std::string text = prefix_ + cName(row.member) + "(c, pdu";
      if (row.record.type != nullptr) {
         const std::string record = recordName(*row.record.type);
         text +=
               std::string(row.inlineValue ? ", *" : ", ") + "sample<" + record + ">(c, \"" + record + "\")";
      }
      return text + ");";
   }

private:
   std::string value(const TableRow& row) const {
      if (row.record.type == nullptr) return "";
      return ", " + recordName(*row.record.type) + (row.inlineValue ? " value" : "* value");
   }

   // An arm that the caller has chosen stays, unless it is that of another protocol of this PDU.
   void header(const TableRow& row, Writer& w) const {
      for (auto& field : pdu_.fields) {
         if (!isHeaderChoice(*field)) continue;
         const std::string place = "pdu->" + cName(field->name);
         std::string wrong = place + ".t == 0";
         std::set<uint64_t> others;
         for (auto& other : table_) others.insert(headerArm(*field, other));
         others.erase(headerArm(*field, row));
         for (const uint64_t other : others) wrong += " || " + place + ".t == " + number(other);
         w.open("if (" + wrong + ") {");
         w.line(place + " = {};");
         w.line(place + ".t = " + number(headerArm(*field, row)) + ";");
         w.close();
      }
   }

   const Type& pdu_;
   const std::vector<TableRow>& table_;
   const std::string record_, data_, prefix_;
};

// Constants of one module. A name that is taken gets a trailing underscore.
class Constants {
public:
   explicit Constants(const Module& module) : module_(module) {
      for (auto& type : module.types) {
         taken_.insert(recordName(*type));
         for (auto& row : type->rows) taken_.insert(enumeratorName(*type, row));
      }
   }

   std::string run() {
      messageTypes();
      for (auto& type : module_.types) {
         const std::string name = recordName(*type);
         if (type->kind == TypeKind::Record || type->kind == TypeKind::Pdu ||
             type->kind == TypeKind::Message) {
            fields(type->fields, type.get(), name);
            if (type->standard) standard(*type->standard, name);
         }
      }
      return w_.text();
   }

private:
   struct Row {
      std::string name;
      uint64_t value;
      std::string doc;
   };

   void block(const std::string& doc, const std::vector<Row>& rows) {
      if (rows.empty()) return;
      w_.line("/** " + doc + " */");
      w_.open("enum {");
      for (size_t i = 0; i < rows.size(); ++i) {
         std::string name = rows[i].name;
         while (!taken_.insert(name).second) name += '_';
         w_.line(name + " = " + number(rows[i].value) + (i + 1 < rows.size() ? ", /**< " : " /**< ") +
                 rows[i].doc + " */");
      }
      w_.close("};");
      w_.line();
   }

   static std::string title(const TableRow& row) {
      std::string doc = row.record.type != nullptr ? row.record.type->doc : row.doc;
      doc = doc.substr(0, doc.find(';'));
      if (doc.empty()) doc = message(row) + (row.record.type == nullptr ? ", its header alone" : "");
      return doc + '.';
   }

   // Types that all PDUs of a module agree on have the module's name. A PDU with a short header counts by
   // itself.
   void messageTypes() {
      std::map<std::string, std::set<uint64_t>> values;
      for (auto& type : module_.types)
         if (hasDiscriminator(*type))
            for (auto& row : type->table) values[message(row)].insert(row.msgType);
      std::set<std::string> told;
      for (auto& type : module_.types) {
         std::vector<Row> rows;
         for (auto& row : type->table) {
            const bool common = hasDiscriminator(*type) && values[message(row)].size() == 1;
            const std::string prefix = common ? module_.name : recordName(*type);
            const std::string name = prefix + "_msgType_" + message(row);
            if (told.insert(name).second) rows.push_back({name, row.msgType, title(row)});
         }
         block("Message types, as `msgType` of " + recordName(*type) + " holds them.", rows);
      }
   }

   static std::string message(const TableRow& row) {
      return printName(row.member.starts_with("obj_") ? row.member.substr(4) : row.member);
   }

   void fields(const std::vector<std::unique_ptr<Field>>& all, const Type* pdu, const std::string& place) {
      bool first = true; // of the unions of messages: that of the PDU itself
      for (auto& field : all) {
         const std::string inner = field->name.empty() ? place : place + '_' + cName(field->name);
         if (field->onlyOnWire()) fields(field->fields, nullptr, place);
         if (field->kind == Kind::Group) fields(field->fields, nullptr, inner);
         if (field->kind == Kind::Choice) choice(*field, inner);
         if (field->kind == Kind::Messages && pdu != nullptr) {
            std::vector<Row> rows;
            const std::string prefix = first ? place : inner;
            for (auto& row : tableOf(*pdu, *field))
               rows.push_back({prefix + "_t_" + printName(row.member), row.selector, title(row)});
            block("Selectors `" + cName(field->name) + ".t` of " + place + ".", rows);
            first = false;
         }
      }
   }

   // Selectors, or values of the number that steers the choice where these have no names of their own.
   void choice(const Field& field, const std::string& place) {
      std::string word = "t";
      if (field.selector == Selector::Field) {
         word.clear();
         if (field.argument && field.argument->op == Expr::Op::Name && !field.argument->path.empty()) {
            const Field& steering = *field.argument->path.back();
            if (steering.kind == Kind::Uint && steering.bits > 1) word = cName(steering.name);
         }
      }
      std::map<std::string, int> uses;
      for (auto& arm : field.arms) ++uses[arm.field->name];
      std::vector<Row> rows;
      for (auto& arm : field.arms) {
         const bool one = arm.values.size() == 1 && arm.values[0].low == arm.values[0].high;
         if (!word.empty() && one && uses[arm.field->name] == 1 && !arm.field->name.empty())
            rows.push_back({place + '_' + word + '_' + printName(arm.field->name), arm.values[0].low,
                            arm.field->kind == Kind::Null ? "Nothing but this."
                                                          : "`u." + cName(arm.field->name) + "`."});
      }
      block(word == "t" ? "Selectors `t` of " + place + "." : "Values of `" + word + "` for " + place + ".",
            rows);
      for (auto& arm : field.arms) {
         const std::string inner = place + '_' + cName(arm.field->name);
         if (arm.field->kind == Kind::Group) fields(arm.field->fields, nullptr, inner);
         if (arm.field->kind == Kind::Choice) choice(*arm.field, inner);
      }
   }

   // Arms that the standard form alone has.
   void standard(const Type& type, const std::string& place) {
      eachField(type.fields, [&](const Field& field) {
         if (field.kind != Kind::Choice || field.selector == Selector::Field) return;
         std::vector<Row> rows;
         for (auto& arm : field.arms)
            if (arm.field->appended && arm.values.size() == 1)
               rows.push_back({place + (field.name.empty() ? "" : '_' + cName(field.name)) + "_t_" +
                                     printName(arm.field->name),
                               arm.values[0].low,
                               "With RTX_CTXT_STANDARD: `standard." + cName(arm.field->name) + "`."});
         block("Selectors `t` of " + place + " with RTX_CTXT_STANDARD alone.", rows);
      });
   }

   const Module& module_;
   std::set<std::string> taken_;
   Writer w_;
};

} // namespace

uint64_t headerArm(const Type& pdu, const TableRow& row) {
   const auto field = std::ranges::find_if(pdu.fields, [](auto& each) { return isHeaderChoice(*each); });
   return field == pdu.fields.end() ? 0 : headerArm(**field, row);
}

std::string headerWords(const Type& pdu, const TableRow& row) {
   std::string text;
   for (auto& field : pdu.fields)
      if (isHeaderChoice(*field))
         text += ", `" + cName(field->name) + "` to " + armName(*field, headerArm(*field, row));
   return text;
}

std::string selectorFunctions(const Type& pdu) {
   Writer w;
   bool first = true;
   for (auto& field : pdu.fields) {
      if (field->kind != Kind::Messages) continue;
      Setters(pdu, *field, tableOf(pdu, *field), first).define(w);
      first = false;
   }
   return w.text();
}

void emitSelectorCalls(const Model& model, Outputs& out) {
   Writer w;
   w.line("// PDU, member, selector, and what makes a PDU hold a sample of it. Generated by l3c.");
   for (auto& module : model.modules)
      for (auto& type : module->types)
         for (auto& row : type->table) {
            std::string calls;
            bool first = true;
            for (auto& field : type->fields) {
               if (field->kind != Kind::Messages) continue;
               auto& table = tableOf(*type, *field);
               for (auto& other : table)
                  if (other.selector == row.selector && other.msgType == row.msgType)
                     calls += ' ' + Setters(*type, *field, table, first).call(other);
               first = false;
            }
            const std::string record = recordName(*type);
            w.line("{\"" + record + "\", \"" + row.member + "\", " + number(row.selector) +
                   ", [](RtxContext* c, void* place) { auto* pdu = static_cast<" + record + "*>(place);" +
                   calls + " }},");
         }
   out["tests/selectors.inc"] = w.text();
}

std::string constants(const Module& module) {
   return Constants(module).run();
}

} // namespace l3c
