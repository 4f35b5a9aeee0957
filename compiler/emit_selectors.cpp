// What makes a PDU hold a message, and names for the numbers that tell what is in a choice or a message.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace l3c {

namespace {

bool hasDiscriminator(const Type& pdu) {
   return std::ranges::any_of(pdu.fields, [](auto& field) { return field->name == "protoDiscr"; });
}

// What no octet of a PDU tells: the arm of the half octet ahead of the discriminator.
struct HeaderChoice {
   std::string name;
   uint64_t otherwise = 1;                              // the arm of a message whose row doesn't say
   std::vector<std::pair<uint64_t, std::string>> names; // of the arms

   uint64_t arm(const TableRow& row) const { return row.header == name ? row.arm : otherwise; }
   std::string armName(const TableRow& row) const {
      const auto hit = std::ranges::find(names, arm(row), &std::pair<uint64_t, std::string>::first);
      return hit == names.end() ? "" : hit->second;
   }
};

std::vector<HeaderChoice> headerChoices(const Type& pdu) {
   std::vector<HeaderChoice> all;
   for (auto& step : lower(pdu).steps) {
      if (step.op != Op::Call) continue;
      const Program inner = lower(baseType(*step.type));
      if (inner.steps.size() != 1 || inner.steps[0].selector != Selector::Record) continue;
      HeaderChoice& choice = all.emplace_back(HeaderChoice{step.name, step.sample.value_or(1), {}});
      for (auto& arm : inner.steps[0].steps)
         if (!arm.arm->values.empty()) choice.names.emplace_back(arm.arm->values.front().low, arm.name);
   }
   return all;
}

// The functions of one union of a PDU.
class Setters {
public:
   Setters(const Type& pdu, const Step& messages, bool first)
         : pdu_(pdu), table_(*messages.table), choices_(headerChoices(pdu)),
           forms_({{"pdu", recordName(pdu)},
                   {"messages", cName(messages.name)},
                   {"_messages", first ? "" : "_" + cName(messages.name)}}) {}

   static std::vector<Setters> of(const Type& pdu) {
      std::vector<Setters> all;
      for (auto& step : lower(pdu).steps)
         if (step.op == Op::Pointers) all.emplace_back(pdu, step, all.empty());
      return all;
   }

   const std::vector<TableRow>& rows() const { return table_; }

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
      for (auto& choice : choices_) {
         const uint64_t arm = choice.arm(row);
         std::set<uint64_t> others;
         for (auto& other : table_) others.insert(choice.arm(other));
         others.erase(arm);
         others.insert(0);
         std::vector<std::string> wrong;
         for (const uint64_t other : others)
            wrong.push_back(forms_.filled("pdu->$field.t == $other",
                                          {{"field", cName(choice.name)}, {"other", other}}));
         all += forms_.lines(R"(
if ($wrong) {
   pdu->$field = {};
   pdu->$field.t = $arm;
}
)",
                             {{"wrong", joined(wrong, " || ")}, {"field", cName(choice.name)}, {"arm", arm}});
      }
      return all;
   }

   const Type& pdu_;
   const std::vector<TableRow>& table_;
   const std::vector<HeaderChoice> choices_;
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
            const Program program = lower(*type);
            steps(program.steps, name);
            steps(program.optional, name);
            if (!type->standard) continue;
            const Program other = lower(*type->standard);
            standard(other.steps, name);
            standard(other.optional, name);
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

   void steps(const std::vector<Step>& all, const std::string& place) {
      bool first = true; // of the unions of messages: that of the PDU itself
      for (auto& step : all) {
         if (step.op == Op::Pointers) {
            std::vector<Row> rows;
            const std::string prefix = first ? place : place + '_' + cName(step.name);
            for (auto& row : *step.table)
               rows.push_back({prefix + "_t_" + printName(row.member), row.selector, title(row)});
            block("Selectors `" + cName(step.name) + ".t` of " + place + ".", rows);
            first = false;
         } else if (step.op == Op::Choice || step.op == Op::Group) {
            nest(step, step.name.empty() ? place : place + '_' + cName(step.name));
         } else if (step.op != Op::Contents && step.op != Op::List) {
            steps(step.steps, place);
         }
      }
   }

   void nest(const Step& step, const std::string& place) {
      if (step.op == Op::Group) steps(step.steps, place);
      if (step.op == Op::Choice) choice(step, place);
   }

   // Selectors, or values of the number that steers the choice where these have no names of their own.
   void choice(const Step& choice, const std::string& place) {
      std::string word = "t";
      if (const Expr* by = choice.argument.expr) {
         word.clear();
         if (by->op == Expr::Op::Name && !by->path.empty()) {
            const Field& steering = *by->path.back();
            if (steering.kind == Kind::Uint && steering.bits > 1) word = cName(steering.name);
         }
      }
      std::map<std::string, int> uses;
      for (auto& arm : choice.steps) ++uses[arm.name];
      std::vector<Row> rows;
      for (auto& arm : choice.steps) {
         const auto& values = arm.arm->values;
         const bool one = values.size() == 1 && values[0].low == values[0].high;
         if (!word.empty() && one && uses[arm.name] == 1 && !arm.name.empty())
            rows.push_back({place + '_' + word + '_' + printName(arm.name), values[0].low,
                            arm.op == Op::Nothing ? "Nothing but this." : "`u." + cName(arm.name) + "`."});
      }
      block(word == "t" ? "Selectors `t` of " + place + "." : "Values of `" + word + "` for " + place + ".",
            rows);
      for (auto& arm : choice.steps) nest(arm, place + '_' + cName(arm.name));
   }

   // Arms that the standard form alone has.
   void standard(const std::vector<Step>& all, const std::string& place) {
      for (auto& step : all) {
         std::vector<Row> rows;
         for (auto& arm : step.steps)
            if (arm.appended && arm.arm != nullptr && step.selector != Selector::Field &&
                arm.arm->values.size() == 1)
               rows.push_back(
                     {place + (step.name.empty() ? "" : '_' + cName(step.name)) + "_t_" + printName(arm.name),
                      arm.arm->values[0].low, "With RTX_CTXT_STANDARD: `standard." + cName(arm.name) + "`."});
         block("Selectors `t` of " + place + " with RTX_CTXT_STANDARD alone.", rows);
         standard(step.steps, place);
      }
   }

   const Module& module_;
   std::set<std::string> taken_;
   Writer w_;
};

} // namespace

uint64_t headerArm(const Type& pdu, const TableRow& row) {
   const auto choices = headerChoices(pdu);
   return choices.empty() ? 0 : choices.front().arm(row);
}

std::string headerWords(const Type& pdu, const TableRow& row) {
   std::string text;
   for (auto& choice : headerChoices(pdu)) text += ", `" + cName(choice.name) + "` to " + choice.armName(row);
   return text;
}

std::string selectorFunctions(const Type& pdu) {
   std::string all;
   for (auto& setters : Setters::of(pdu)) all += setters.define();
   return all;
}

void emitSelectorCalls(const Model& model, Outputs& out) {
   Writer w;
   w.line("// PDU, member, selector, and what makes a PDU hold a sample of it. Generated by l3c.");
   for (auto& module : model.modules)
      for (auto& type : module->types) {
         const auto unions = Setters::of(*type);
         for (auto& row : type->table) {
            std::vector<std::string> calls;
            for (auto& setters : unions)
               for (auto& other : setters.rows())
                  if (other.selector == row.selector && other.msgType == row.msgType)
                     calls.push_back(setters.call(other));
            w.fill(
                  R"({"$pdu", "$member", $selector, [](RtxContext* c, void* place) { auto* pdu = static_cast<$pdu*>(place); $calls }},)",
                  {{"pdu", recordName(*type)},
                   {"member", row.member},
                   {"selector", row.selector},
                   {"calls", joined(calls, " ")}});
         }
      }
   out["tests/selectors.inc"] = w.text();
}

std::string constants(const Module& module) {
   return Constants(module).run();
}

} // namespace l3c
