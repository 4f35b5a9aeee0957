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
         : pdu_(pdu), table_(table), forms_({{"pdu", recordName(pdu)},
                                             {"messages", cName(messages.name)},
                                             {"_messages", first ? "" : "_" + cName(messages.name)}}) {}

   std::string define() const {
      std::string all;
      for (auto& row : table_)
         all += forms_.lines(R"(
void asn1SetTC_$pdu${_messages}_$member(RtxContext*, $pdu* pdu$value) {
   $discriminated? pdu->protoDiscr = $discriminator;
   pdu->msgType = $msgType;
   pdu->$messages.t = $selector;
   $value? pdu->$messages.u.$member = value;
   $header
}
)",
                             {{"member", cName(row.member)},
                              {"value", value(row)},
                              {"discriminated", hasDiscriminator(pdu_)},
                              {"discriminator", row.disc},
                              {"msgType", row.msgType},
                              {"selector", row.selector},
                              {"header", header(row)}});
      return all;
   }

   // A call with a sample, for the tests.
   std::string call(const TableRow& row) const {
      const Type* type = row.record.type;
      return forms_.filled(
            type == nullptr ? "asn1SetTC_$pdu${_messages}_$member(c, pdu);"
            : row.inlineValue
                  ? R"(asn1SetTC_$pdu${_messages}_$member(c, pdu, *sample<$record>(c, "$record"));)"
                  : R"(asn1SetTC_$pdu${_messages}_$member(c, pdu, sample<$record>(c, "$record"));)",
            {{"member", cName(row.member)}, {"record", type == nullptr ? "" : recordName(*type)}});
   }

private:
   static std::string value(const TableRow& row) {
      if (row.record.type == nullptr) return "";
      return ", " + recordName(*row.record.type) + (row.inlineValue ? " value" : "* value");
   }

   // An arm that the caller has chosen stays, unless it is that of another protocol of this PDU.
   std::string header(const TableRow& row) const {
      std::string all;
      for (auto& field : pdu_.fields) {
         if (!isHeaderChoice(*field)) continue;
         const uint64_t arm = headerArm(*field, row);
         std::set<uint64_t> others;
         for (auto& other : table_) others.insert(headerArm(*field, other));
         others.erase(arm);
         others.insert(0);
         std::vector<std::string> wrong;
         for (const uint64_t other : others)
            wrong.push_back(forms_.filled("pdu->$field.t == $other",
                                          {{"field", cName(field->name)}, {"other", other}}));
         all += forms_.lines(R"(
if ($wrong) {
   pdu->$field = {};
   pdu->$field.t = $arm;
}
)",
                             {{"wrong", joined(wrong, " || ")}, {"field", cName(field->name)}, {"arm", arm}});
      }
      return all;
   }

   const Type& pdu_;
   const std::vector<TableRow>& table_;
   const Writer forms_;
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
      std::string constants;
      for (auto& row : rows) {
         std::string name = row.name;
         while (!taken_.insert(name).second) name += '_';
         constants +=
               w_.lines("$name = $value$comma /**< $doc */", {{"name", name},
                                                              {"value", row.value},
                                                              {"comma", &row == &rows.back() ? "" : ","},
                                                              {"doc", row.doc}});
      }
      w_.fill(R"(
/** $doc */
enum {
   $constants
};

)",
              {{"doc", doc}, {"constants", constants}});
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
   std::string all;
   bool first = true;
   for (auto& field : pdu.fields) {
      if (field->kind != Kind::Messages) continue;
      all += Setters(pdu, *field, tableOf(pdu, *field), first).define();
      first = false;
   }
   return all;
}

void emitSelectorCalls(const Model& model, Outputs& out) {
   Writer w;
   w.line("// PDU, member, selector, and what makes a PDU hold a sample of it. Generated by l3c.");
   for (auto& module : model.modules)
      for (auto& type : module->types)
         for (auto& row : type->table) {
            std::vector<std::string> calls;
            bool first = true;
            for (auto& field : type->fields) {
               if (field->kind != Kind::Messages) continue;
               auto& table = tableOf(*type, *field);
               for (auto& other : table)
                  if (other.selector == row.selector && other.msgType == row.msgType)
                     calls.push_back(Setters(*type, *field, table, first).call(other));
               first = false;
            }
            w.fill(
                  R"({"$pdu", "$member", $selector, [](RtxContext* c, void* place) { auto* pdu = static_cast<$pdu*>(place); $calls }},)",
                  {{"pdu", recordName(*type)},
                   {"member", row.member},
                   {"selector", row.selector},
                   {"calls", joined(calls, " ")}});
         }
   out["tests/selectors.inc"] = w.text();
}

std::string constants(const Module& module) {
   return Constants(module).run();
}

} // namespace l3c
