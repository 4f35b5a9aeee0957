// The constant table of a module, one row a field, and the printers and sample builders that walk it.

#include "compiler/emit.h"
#include "compiler/enum_rows.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/samples.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace l3c {

namespace {

std::string number(uint64_t value) {
   return std::to_string(value);
}

std::string tableName(const Module& module) {
   return "quorva::walk::table_" + module.name;
}

// Number of a type in its module's table.
size_t typeNumber(const Type& type) {
   const auto& types = type.module->types;
   return static_cast<size_t>(std::ranges::find_if(types, [&](auto& t) { return t.get() == &type; }) -
                              types.begin());
}

// Octets of the C type of an integer.
unsigned widthOfUint(uint64_t bits) {
   return bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 32 ? 4 : 8;
}
unsigned widthOfCount(const Storage& storage) {
   return storage.heap ? 4 : storage.capacity <= 255 ? 1 : storage.capacity <= 65535 ? 2 : 4;
}

// Texts, each once, and where they begin.
class Texts {
public:
   Texts() { (void)at(""); }
   size_t at(const std::string& text) {
      auto [hit, fresh] = at_.emplace(text, size_);
      if (fresh) {
         all_.push_back(text);
         size_ += text.size() + 1;
      }
      return hit->second;
   }
   const std::vector<std::string>& all() const { return all_; }

private:
   std::map<std::string, size_t> at_;
   std::vector<std::string> all_;
   size_t size_ = 0;
};

// Entries of a table, each once, and their numbers; the first one stands there from the start.
class Numbered {
public:
   explicit Numbered(const std::string& first) { (void)at(first); }
   size_t at(const std::string& entry) {
      auto [hit, fresh] = at_.emplace(entry, all_.size());
      if (fresh) all_.push_back(entry);
      return hit->second;
   }
   const std::vector<std::string>& all() const { return all_; }

private:
   std::map<std::string, size_t> at_;
   std::vector<std::string> all_;
};

// A text as it stands in a literal.
std::string escaped(const std::string& text) {
   std::string all;
   for (char c : text) {
      if (c == '"' || c == '\\') all += '\\';
      if (c == '\n')
         all += "\\n";
      else
         all += c;
   }
   return all;
}

std::string joined(const std::vector<std::string>& words, const char* none = "0") {
   std::string text;
   for (auto& word : words) text += (text.empty() ? "" : " | ") + word;
   return text.empty() ? none : text;
}

// One row of the table, its members as C++ expressions.
struct RowText {
   std::string name, wireName, doc;
   std::string offset = "0", count = "0", capacity = "0", stride = "0";
   std::string presence = "kNone", group = "kNone";
   uint64_t sample = 0;
   size_t first = 0, rows = 0, index = 0, module = 0;
   std::string kind;
   std::string width = "0";
   std::vector<std::string> flags;

   std::vector<std::string> wire;
   size_t argument = 0, test = 0, second = 0, limits = 0;
   uint64_t number = 0, lead = 0;
   unsigned bits = 0, iei = 0, ieiBits = 0;
   std::string format = "0";
};

class TableEmitter {
public:
   TableEmitter(const Model& model, const Module& module) : module_(module) {
      for (auto& user : model.modules)
         for (auto& type : user->types) {
            collectEntries(lower(*type).steps);
            if (type->standard) collectEntries(lower(*type->standard).steps);
         }
      for (size_t i = 0; i < model.modules.size(); ++i) moduleNumbers_[model.modules[i].get()] = i;
   }

   std::string run() {
      for (auto& type : module_.types)
         if (type->standard) standards_.push_back(type->standard.get());
      std::vector<std::string> docs;
      for (auto& type : module_.types) {
         types_.push_back(this->type(*type));
         docs.push_back(number(texts_.at(type->doc)));
      }
      for (const Type* type : standards_) {
         types_.push_back(this->type(*type));
         docs.push_back(number(texts_.at(type->doc)));
      }
      Writer w;
      w.line("namespace {");
      w.line();
      namesOut(w);
      for (size_t i = 1; i < expressions_.all().size(); ++i) {
         w.open("uint64_t expression" + number(i) +
                "([[maybe_unused]] const void* record, [[maybe_unused]] const RtxContext* ctxt,");
         w.line("                     [[maybe_unused]] uint64_t parameter) {");
         w.line("return " + expressions_.all()[i] + ";");
         w.close();
         w.line();
      }
      w.open("constexpr char kTexts[] =");
      for (auto& text : texts_.all()) w.line("\"" + escaped(text) + "\\0\"");
      w.close("      ;");
      w.line();
      array(w, "Row", "kRows", rows_);
      array(w, "Wire", "kWires", wires_);
      array(w, "Arm", "kArms", arms_);
      array(w, "Type", "kTypes", types_);
      array(w, "uint32_t", "kTypeDocs", docs);
      array(w, "RowDoc", "kRowDocs", rowDocs_);
      array(w, "frame::Limits", "kLimits", limits_.all());
      array(w, "frame::LegalSet", "kLegals", legals_.all());
      std::vector<std::string> functions = {"nullptr"};
      for (size_t i = 1; i < expressions_.all().size(); ++i) functions.push_back("expression" + number(i));
      array(w, "Expression", "kExpressions", functions);
      for (auto& guard : guards_)
         w.line("static_assert(" + guard + ", \"a standard form that the record can't hold\");");
      w.line("} // namespace");
      w.line();
      w.line("const Module table_" + module_.name + " = {kTexts, kTypes, kRows, kWires, kArms, kNames,");
      w.line("      kExpressions, kLimits, kLegals, kTypeDocs, kRowDocs, " + number(rowDocs_.size()) + "};");
      return w.text();
   }

private:
   // Types of which lists initialise entries.
   void collectEntries(const std::vector<Step>& steps) {
      for (auto& step : steps) {
         if (step.entryInits) entries_.insert(step.type);
         collectEntries(step.steps);
      }
   }

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
      for (const ValueNames& names : names_) {
         std::string items = names.table;
         if (items.empty()) {
            items = "kNames" + number(rows.size());
            w.open("constexpr RtxEnumItem " + items + "[] = {");
            for (auto& row : enumTableRows(names.rows)) w.line(row + ",");
            w.close("};");
            w.line();
         }
         rows.push_back("{" + items + ", " + number(names.rows.size()) + "}");
      }
      array(w, "Names", "kNames", rows);
   }

   size_t add(const std::vector<RowText>& block) {
      const size_t first = rows_.size();
      for (auto& row : block) {
         const size_t name = texts_.at(row.name);
         if (!row.doc.empty())
            rowDocs_.push_back("{" + number(rows_.size()) + ", " + number(texts_.at(row.doc)) + "}");
         rows_.push_back("{" + number(name) + ", " + row.offset + ", " + row.count + ", " + row.capacity +
                         ", " + row.stride + ", " + row.presence + ", " + row.group + ", " +
                         number(row.sample) + ", " + number(row.first) + ", " + number(row.rows) + ", " +
                         number(row.index) + ", " + number(row.module) + ", Kind::" + row.kind + ", " +
                         row.width + ", " + joined(row.flags) + "}");
         wires_.push_back("{" + number(row.wireName.empty() ? name : texts_.at(row.wireName)) + ", " +
                          joined(row.wire) + ", " + number(row.argument) + ", " + number(row.test) + ", " +
                          number(row.second) + ", " + number(row.number) + ", " + number(row.bits) + ", " +
                          number(row.limits) + ", " + hex(row.iei, 2) + ", " + number(row.ieiBits) + ", " +
                          row.format + ", " + number(row.lead) + "}");
      }
      return first;
   }

   std::string offset(const std::string& member) const {
      return member.empty() ? "0" : "offsetof(" + record_ + ", " + member + ")";
   }
   std::string sizeOf(const std::string& member) const {
      return "sizeof(static_cast<" + record_ + "*>(nullptr)->" + member + ")";
   }
   std::string bit(const BitPlace& place) const {
      if (!place) return "kNone";
      return (place.record.empty() ? "" : offset(place.record + "m") + " * 8 + ") + number(place.number) +
             (place.absent ? " + kAbsent" : "");
   }

   size_t limits(const Bounds& bounds) { return limits_.at("frame::" + limitsText(bounds)); }
   // Of an integer: with no bounds of its own one of whole octets takes any value.
   size_t range(unsigned bits, const Bounds& bounds) {
      if (bounds.empty() && bits % 8 == 0) return 0;
      return limits_.at("frame::Limits{" + number(bounds.low.value_or(0)) + ", " +
                        number(bounds.high.value_or(maxOf(bits))) + "}");
   }

   size_t expression(const Term& term) {
      if (term.expr == nullptr) return 0;
      return expressions_.at(
            "static_cast<uint64_t>(" +
            written(term, "static_cast<const " + record_ + "*>(record)->", "octetsLeft(ctxt)", "parameter") +
            ")");
   }

   // The row of the table for a type.
   std::string type(const Type& type) {
      const Sample sample(type);
      sample_ = &sample;
      type_ = &type;
      record_ = "::" + recordName(type);
      const Program program = lower(type);
      std::vector<RowText> block;
      std::string form = "Value", codec = type.custom ? "ByHand" : "Element",
                  size = "sizeof(" + record_ + ")";
      std::string firstRow, rowCount;
      std::vector<std::string> flags;
      size_t mandatory = 0, legal = 0;
      unsigned halfOctets = 0;
      switch (type.kind) {
      case TypeKind::Alias:
      case TypeKind::OneElement:
         form = "Alias";
         if (type.kind == TypeKind::OneElement) codec = "OneElement";
         firstRow = number(typeNumber(*type.base.type));
         rowCount = number(moduleNumbers_.at(type.base.type->module));
         break;
      case TypeKind::Enum: {
         RowText& row = block.emplace_back(RowText{});
         row.kind = type.unchecked ? "OpenEnumeration" : "Enumeration";
         row.width = "4";
         row.index = names(type);
         row.sample = Sample::typeNumber(type);
         if (!type.unchecked && type.rows.size() != (uint64_t{1} << type.bits))
            legal = legals_.at("type::" + recordName(type) + "::legal");
         else if (type.checked)
            flags.push_back("kTestsNumber");
         break;
      }
      case TypeKind::Digits:
      case TypeKind::Text: {
         codec = "ByHand";
         RowText& row = block.emplace_back(RowText{});
         row.kind = "Text";
         row.capacity = number(type.storage.capacity);
         if (type.storage.heap) row.flags.push_back("kHeap");
         if (type.kind == TypeKind::Text) row.flags.push_back("kCharacters");
         break;
      }
      case TypeKind::Empty:
         form = "Empty";
         codec = "Message";
         size = "0";
         break;
      default:
         if (type.kind == TypeKind::Message) codec = type.custom ? "ByHand" : "Message";
         if (type.kind == TypeKind::Pdu) codec = type.table.empty() ? "Pdu" : "ByHand";
         if (type.kind != TypeKind::Number && type.kind != TypeKind::Octets && type.kind != TypeKind::Bits &&
             type.kind != TypeKind::List)
            form = "Record";
         if (form == "Record" && type.kind == TypeKind::Record && !type.bare && type.cls != Class::V) {
            RowText& row = block.emplace_back(RowText{});
            row.name = "length";
            row.kind = "Number";
            row.offset = offset("length");
            row.width = (type.original != nullptr ? *type.original : type).cls == Class::LVE ? "2" : "1";
         }
         std::vector<RowText> stores;
         level(program.steps, block, stores);
         mandatory = block.size();
         for (auto& step : program.optional)
            if (step.field->ieiBits == 4) halfOctets |= 1u << step.field->iei;
         level(program.optional, block, stores);
         if (type.kind == TypeKind::Pdu) typesOfMessages(type, block);
         block.insert(block.end(), stores.begin(), stores.end());
      }
      // Ahead of the contents of most types stands their length.
      unsigned length = 0;
      Bounds bounds = type.bounds;
      if (codec == "Element") {
         if (type.kind == TypeKind::Record) {
            length = lengthBits(type);
         } else if (type.bare) {
            length = type.cls == Class::LVE ? 16 : 8;
            bounds = boundsOfBare(type);
         }
      }
      if (length == 0) bounds = Bounds();
      if (type.bare) flags.push_back("kBare");
      if (type.aligned) flags.push_back("kAligned");
      if (type.cls == Class::LB) flags.push_back("kCountsBits");
      if (type.leaveTail) flags.push_back("kTailStays");
      if (type.shifts) flags.push_back("kShifts");
      if (type.tailstop) flags.push_back("kTailStops");
      if (type.pattern || type.structure) flags.push_back("kCsn1");
      // No protocol with codesets has them.
      const bool shifts = std::ranges::any_of(module_.types, [](auto& t) { return t->shifts; });
      if (codec == "Message" && !shifts && hasSixes()) flags.push_back("kSixes");
      if (type.original != nullptr) {
         if (!type.original->widens) flags.push_back("kStandardForm");
         if (type.cls == Class::LVE && type.original->cls == Class::LV) flags.push_back("kShortLength");
      }
      const Type& owner = type.original != nullptr ? *type.original : type;
      const bool hasBits = form == "Record" && !presenceBits(owner.fields).empty();
      const bool hasAppendix = !appendedFields(owner).empty();
      const auto standard = std::ranges::find(standards_, type.standard.get()) - standards_.begin();
      if ((codec == "Element" || shortByHand(type)) && endsByItself(type)) flags.push_back("kEndsByItself");
      if (codec == "Message" && elementsEndByThemselves(type)) flags.push_back("kElementsEnd");
      if (firstRow.empty()) {
         firstRow = number(add(block));
         rowCount = number(block.size());
      }
      const bool hasLength = length != 0 && !type.bare;
      return "{" + size + ", " + firstRow + ", " + rowCount + ", Form::" + form + ", Codec::" + codec + ", " +
             joined(flags) + ", " + number(length) + ", " + number(limits(bounds)) + ", " +
             number(type.kind == TypeKind::Enum ? type.bits : 0) + ", " + number(legal) + ", " +
             (hasBits ? sizeOf("m") : "0") + ", " + (hasBits ? offset("m") : "0") + ", " +
             (hasLength ? offset("length") : "0") + ", " + number(mandatory) + ", " + hex(halfOctets, 4) +
             ", " + number(texts_.at(encodedName(type))) + ", " + number(texts_.at(decodedName(type))) +
             ", " + (type.standard ? number(module_.types.size() + static_cast<size_t>(standard)) : "0") +
             ", " + (hasAppendix ? offset("standard.m") : "0") + ", " +
             (hasAppendix ? sizeOf("standard.m") : "0") + ", " +
             number(hasBits ? presenceBits(owner.fields).size() : 0) + ", " +
             number(appendedFields(owner).size()) + ",\n      " +
             functions(type, codec, entries_.count(&type) != 0) + "}";
   }

   // The number that is the type of the message knows the titles, and how far behind it the message is.
   void typesOfMessages(const Type& pdu, std::vector<RowText>& block) {
      const auto number = std::ranges::find(block, "msgType", &RowText::name);
      const auto messages = std::ranges::find_if(
            block, [](const RowText& row) { return std::ranges::count(row.wire, "kOfMessages") != 0; });
      if (number == block.end() || messages == block.end() || messages < number) return;
      std::vector<EnumRow> titles;
      for (const TableRow& row : pdu.table)
         if (const std::string title = titleOf(row); !title.empty())
            titles.push_back({row.pos, title, "", row.disc << 8 | row.msgType});
      number->first = plainNames(titles);
      number->rows = static_cast<size_t>(messages - number);
   }

   // Has the protocol optional elements with two octets of length?
   bool hasSixes() const {
      return std::ranges::any_of(module_.types, [](auto& type) {
         return std::ranges::any_of(lower(*type).optional,
                                    [](const Step& step) { return classOf(step) == Class::LVE; });
      });
   }

   // The spelling of a type's name in the trace: the decoders of these know it by its C name where the
   // encoders keep the hyphens. The difference stays.
   static std::string encodedName(const Type& type) {
      std::string name = type.name;
      if (type.module->isCsn1()) std::replace(name.begin() + 1, name.end(), '_', '-');
      return name;
   }
   static std::string decodedName(const Type& type) {
      const bool differs = type.name == "MsgType-MM-CC-SS" || type.kind == TypeKind::Pdu;
      return differs ? cName(type.name) : type.name;
   }

   // Has a codec by hand a short form that rows can call?
   static bool shortByHand(const Type& type) {
      return type.custom && type.kind == TypeKind::Record && type.parameters.empty() && hasShortForm(type) &&
             !leavesContainer(type) && endsByItself(type);
   }

   // Short form, codec of a kind of its own, initialiser.
   static std::string functions(const Type& type, const std::string& codec, bool isEntry) {
      std::string shorts = "nullptr, nullptr, ", own = "nullptr, nullptr, ", message = "nullptr, nullptr, ";
      const Type& base = baseType(type);
      if (type.original != nullptr && codec != "ByHand") return shorts + message + own + "nullptr";
      if (shortByHand(type)) {
         shorts = "[](const uint8_t* a, const uint8_t* e, RtxContext* c, void* v) -> const uint8_t* { return "
                  "shortDec_" +
                  recordName(type) + "(a, e, c" + targetOf(type) + "); },\n      nullptr, ";
      } else if (codec != "Element" || (quits(base) && !leavesContainer(base))) {
         // none that callers of the type itself could take
      } else if (isUniform(base)) {
         shorts = "shortDec_" + recordName(base) + ", shortEnc_" + recordName(base) + ", ";
      } else if (hasShortEntry(base) && base.kind != TypeKind::Digits && base.kind != TypeKind::Text &&
                 base.parameters.empty()) {
         shorts = "[](const uint8_t* a, const uint8_t* e, RtxContext* c, void* v) -> const uint8_t* { return "
                  "shortDec_" +
                  recordName(base) + "(a, e, c" + targetOf(base) +
                  "); },\n      "
                  "[](uint8_t* a, uint8_t* e, RtxContext* c, void* v) -> uint8_t* { return shortEnc_" +
                  recordName(base) + "(a, e, c" + valueOf(base, false) + "); }, ";
      }
      if (codec == "Message" && hasMessageForm(type)) {
         message = "messageDec_" + recordName(type) + ", messageEnc_" + recordName(type) + ", ";
      } else if (codec == "ByHand") {
         std::string more;
         const size_t parameters = type.kind == TypeKind::Digits ? 1 : type.parameters.size();
         if (parameters > 0) more += ", static_cast<uint32_t>(a)";
         if (parameters > 1) more += ", static_cast<uint32_t>(b)";
         own = "[](RtxContext* c, void* v, " + std::string(parameters > 0 ? "uint64_t a" : "uint64_t") +
               ", " + (parameters > 1 ? "uint64_t b" : "uint64_t") + ") -> int { return " +
               decoderName(type) + "(c" + targetOf(type) + more +
               "); },\n      [](RtxContext* c, void* v) -> int { return " + encoderName(type) + "(c" +
               valueOf(type, false) + "); }, ";
      }
      return shorts + message + own +
             (isEntry ? "[](void* v) -> int { return " + initName(type) + "(static_cast<" + recordName(type) +
                              "*>(v)); }"
                      : "nullptr");
   }

   size_t names(const Type& type) {
      names_.push_back({type.kind == TypeKind::Enum ? "::" + recordName(type) + "_ENUMTAB" : "", type.rows});
      return names_.size() - 1;
   }
   // Of numbers that print as such; 0 is for those without.
   size_t plainNames(const std::vector<EnumRow>& rows) {
      if (rows.empty()) return 0;
      names_.push_back({"", rows});
      return names_.size();
   }

   void counted(RowText& row, const std::string& kind, const std::string& count, const std::string& data,
                const Storage& storage, uint64_t few) const {
      row.kind = kind;
      row.count = offset(count);
      row.offset = offset(data);
      row.capacity = number(storage.capacity);
      row.width = number(widthOfCount(storage));
      row.sample = few;
      if (storage.heap) row.flags.push_back("kHeap");
      // An entry of a list has its own coordinates.
      if (type_->original == nullptr || (count == "numocts" && type_->kind == TypeKind::Record)) return;
      row.width = "sizeof(static_cast<" + record_ + "*>(nullptr)->" + count + ")";
      guards_.push_back("sizeof(static_cast<" + record_ + "*>(nullptr)->" + data + ")" +
                        (storage.heap ? " == " : " >= ") +
                        (storage.heap ? "sizeof(void*)" : number(kind == "List" ? 1 : storage.capacity)));
   }
   // A member of the record has at least so many octets.
   void guard(const std::string& member, const std::string& least, const char* sign = " >= ") const {
      if (type_->original != nullptr && !member.empty()) guards_.push_back(sizeOf(member) + sign + least);
   }

   void nested(RowText& row, const Type& type) const {
      row.kind = "Nested";
      row.module = moduleNumbers_.at(type.module);
      row.index = typeNumber(type);
   }

   // The fields of a record, those within wire groups too. What a sample stores comes behind all of them, so
   // that the number of a row is that of its step.
   void level(const std::vector<Step>& steps, std::vector<RowText>& block, std::vector<RowText>& stores) {
      for (size_t i = 0; i < steps.size(); ++i) {
         const Step& step = steps[i];
         RowText row = this->row(step);
         if (step.counts != 0) {
            const Step& counted = steps[i + step.counts];
            row.wire.push_back("kCounts");
            row.number = step.field->countsPlus;
            row.count = offset(counted.member + ".numocts");
            row.capacity = counted.storage.heap ? "kNone" : number(counted.storage.capacity);
            row.stride = bit(counted.present);
            row.index = widthOfCount(counted.storage);
         }
         block.push_back(row);
         for (auto& set : sample_->overridesBehind(step)) stores.push_back(store(set, step.place));
      }
   }

   RowText store(const Sample::Override& set, const std::string& place) const {
      RowText row;
      row.kind = "Store";
      row.offset = offset(set.path.size() == 1 ? place + cName(set.path[0]->name) : pathMember(set.path));
      row.width = number(widthOfNumber(*set.path.back()));
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

   // What all rows have: when the step is taken, how its failures go out.
   void common(const Step& step, RowText& row) {
      row.presence = bit(step.present);
      row.group = bit(step.group);
      switch (step.when) {
      case When::Always: break;
      case When::IfMore: row.wire.push_back("kIfMore"); break;
      case When::IfTest: row.wire.push_back("kIfTest"); break;
      case When::ByBit: row.wire.push_back("kByBit"); break;
      case When::ByBitIfMore: row.wire.push_back("kByBitIfMore"); break;
      }
      if (step.test.expr != nullptr) {
         row.test = expression(step.test);
         if (step.when != When::IfTest) row.wire.push_back("kIfTest");
      }
      if (step.guarded) row.wire.push_back("kGuarded");
      if (step.field != nullptr && step.field->appended && !step.field->optional)
         row.flags.push_back("kMustBe");
      if (step.endTested) row.wire.push_back("kEndTested");
      if (step.logged) row.wire.push_back("kLogged");
      if (step.last) row.wire.push_back("kLast");
      if (step.opensTail) row.wire.push_back("kOpensTail");
      const bool counted = step.op == Op::List || step.op == Op::Sized || step.op == Op::SizedBits;
      if (counted && step.argument.expr != nullptr && type_->custom) row.wire.push_back("kUnasked");
      if (step.rest) row.wire.push_back("kRest");
      if (step.byCount) row.wire.push_back("kByCount");
      if (step.high) row.wire.push_back("kHigh");
      if (step.quits) row.wire.push_back("kQuits");
      if (step.preset || step.sizes) row.wire.push_back("kPreset");
      if (step.patterns) row.wire.push_back("kPatterns");
      if (step.inBits) row.wire.push_back("kInBits");
      if (step.name.empty()) row.wire.push_back("kUnnamedOnWire");
      row.argument = expression(step.argument);
      row.second = expression(step.second);
      if (step.field == nullptr) return;
      const Field& field = *step.field;
      if (field.leaveTail) row.wire.push_back("kKeepsTail");
      if (field.beside) row.wire.push_back("kBeside");
      if (step.bareAround) {
         row.wire.push_back("kBareAround");
         row.lead = field.bareBits;
      }
      if (field.ieiBits != 0) {
         row.iei = field.iei;
         row.ieiBits = field.ieiBits;
         row.format = "static_cast<uint8_t>(frame::Format::" + scanFormat(step) + ")";
         if (step.type != nullptr && classOf(step) == Class::V)
            row.lead = static_cast<unsigned>(widthOf(*step.type).high / 8);
      }
      if (sample_->absent(step)) row.flags.push_back("kNoSample");
   }

   // What an optional element takes behind its IEI, for the skip of one that is out of order.
   static std::string scanFormat(const Step& step) {
      if (step.op == Op::Nothing) return "T";
      if (step.ieiBits == 4) return "HalfOctet";
      const Class cls = classOf(step);
      return cls == Class::LVE ? "TLVE" : cls == Class::LV ? "TLV" : "TV";
   }

   RowText row(const Step& step) {
      RowText row;
      const Field* field = step.field;
      if (field != nullptr) {
         row.name = printName(field->name);
         row.doc = field->doc;
      }
      row.wireName = step.name;
      common(step, row);
      row.bits = step.bits;
      switch (step.op) {
      case Op::Flag:
         row.kind = "Flag";
         row.offset = offset(step.member);
         row.width = "1";
         row.sample = sample_->number(step);
         break;
      case Op::Integer:
         row.kind = "Number";
         row.offset = offset(step.member);
         row.width = number(widthOfUint(step.bits));
         guard(step.member, row.width, " == ");
         row.limits = range(step.bits, step.bounds);
         if (field != nullptr) {
            if (field->init.value_or(0) != 0) {
               row.wire.push_back("kInitial");
               row.second = *field->init;
            }
            row.sample = sample_->number(step);
            row.first = plainNames(field->names());
         } else {
            row.sample = sample_->number(step);
            if (type_->plain) {
               row.first = plainNames(type_->rows);
            } else if (!type_->rows.empty()) {
               row.kind = "NamedNumber";
               row.index = names(*type_);
            }
         }
         break;
      case Op::Constant:
         row.kind = "Constant";
         row.flags.push_back("kWireOnly");
         row.number = field->number;
         break;
      case Op::Octets:
      case Op::Bits:
         row.kind = step.op == Op::Octets ? "Octets" : "Bits";
         row.offset = offset(step.member);
         row.capacity = number(step.count);
         guard(step.member, number(step.op == Op::Octets ? step.count : (step.count + 7) / 8));
         break;
      case Op::Counted:
      case Op::Sized: {
         const std::string place = step.member.empty() ? "" : step.member + ".";
         const uint64_t few = sample_->count(step);
         if (field != nullptr && field->kind == Kind::Fill && field->bits == 16)
            counted(row, "CountedUnits", place + "nchars", place + "data", Storage{true, 0}, few);
         else
            counted(row, "CountedOctets", place + "numocts", place + "data", step.storage, few);
         row.limits = limits(step.bounds);
         // Behind a count of their own.
         row.bits = step.op == Op::Counted ? step.bits : 0;
         break;
      }
      case Op::RestBits:
      case Op::SizedBits: {
         const std::string place = step.member.empty() ? "" : step.member + ".";
         counted(row, "CountedBits", place + "numbits", place + "data", step.storage, sample_->count(step));
         break;
      }
      case Op::Unary:
         row.kind = "Number";
         row.wire.push_back("kPatterns");
         row.offset = offset(step.member);
         row.width = "1";
         row.sample = sample_->number(step);
         break;
      case Op::Padding:
         row.kind = "Padding";
         row.flags.push_back("kWireOnly");
         break;
      case Op::Nothing:
      case Op::Pointers:
         row.kind = "Null";
         if (step.op == Op::Pointers)
            messages(step, row);
         else if (step.name.empty())
            row.flags.push_back("kWireOnly");
         break;
      case Op::Call:
      case Op::Contents:
      case Op::Message:
         nested(row, *step.type);
         row.offset = offset(step.member);
         guard(step.member, "sizeof(::" + recordName(*step.type) + ")", " == ");
         row.sample = step.sizes ? sample_->sizeOf(step) + 1 : field->sample.value_or(0);
         if (field->zeros != 0) row.lead = field->zeros;
         if (step.sizes && namesOuter(*step.argument.expr)) row.number = 1;
         if (step.op == Op::Message) row.wire.push_back("kInner");
         if (field->valueOnly) row.wire.push_back("kContents");
         if (field->ahead != 0) {
            row.wire.push_back("kAhead");
            row.number = field->ahead;
         }
         break;
      case Op::Group:
         row.kind = "Group";
         row.offset = offset(step.member);
         if (!presenceBits(field->fields).empty()) {
            row.count = offset(step.member + ".m");
            row.width = sizeOf(step.member + ".m");
            // The record is laid out by the type's own form, whose bits here can be others.
            if (type_->original == nullptr) row.capacity = number(presenceBits(field->fields).size());
         }
         inside(step, row);
         break;
      case Op::List: list(step, row); break;
      case Op::Choice: choice(step, row); break;
      case Op::Length:
         row.kind = "Length";
         row.limits = limits(step.bounds);
         if (step.member.empty()) {
            row.flags.push_back("kUnnamed");
         } else {
            row.offset = offset(step.member);
            row.width = number(widthOfUint(step.bits));
         }
         row.number = step.count;
         inside(step, row);
         break;
      case Op::Span:
         row.kind = "Span";
         row.offset = offset(step.member);
         row.width = number(widthOfUint(step.bits));
         inside(step, row);
         break;
      case Op::Chain:
         row.kind = "Chain";
         if (field->skip) row.wire.push_back("kSkips");
         inside(step, row);
         break;
      case Op::Swap:
         row.kind = "Swap";
         inside(step, row);
         break;
      case Op::Since:
         row.kind = "Since";
         row.number = field->number;
         row.lead = field->needs;
         if (field->quits) row.wire.push_back("kQuits");
         inside(step, row);
         break;
      }
      return row;
   }

   void inside(const Step& step, RowText& row) {
      std::vector<RowText> block, stores;
      level(step.steps, block, stores);
      block.insert(block.end(), stores.begin(), stores.end());
      row.first = add(block);
      row.rows = block.size();
   }

   void list(const Step& step, RowText& row) {
      const std::string place = step.member.empty() ? "" : step.member + ".";
      counted(row, "List", place + "n", place + "elem", step.storage, sample_->count(step));
      if (isLed(step.entries)) row.width = "8";
      row.stride = sizeOf(place + "elem[0]");
      if (type_->original != nullptr && !step.storage.heap)
         row.capacity = "static_cast<uint32_t>(" + sizeOf(place + "elem") + " / " + row.stride + ")";
      row.limits = limits(step.bounds);
      row.bits = 0;
      switch (step.entries) {
      case Entries::Rest: break;
      case Entries::Ext: row.wire.push_back("kLedByExt"); break;
      case Entries::Flags: row.wire.push_back("kLedByFlags"); break;
      case Entries::Ones: row.wire.push_back("kLedOutside"); break;
      case Entries::Zeros: row.wire.push_back("kLedOutside | kLedByZeros"); break;
      case Entries::Highs: row.wire.push_back("kLedOutside | kHigh"); break;
      }
      if (step.argument.expr != nullptr) row.wire.push_back("kTimes");
      if (step.freeCount) row.wire.push_back("kFree");
      if (step.entryInits) row.wire.push_back("kInits");
      // An entry, from its own start.
      RowText entry;
      entry.wire.push_back("kUnnamedOnWire");
      if (step.type != nullptr) {
         nested(entry, *step.type);
      } else if (!step.steps.empty()) {
         const Storage& storage = step.steps.front().storage;
         entry = this->row(step.steps.front());
         entry.name.clear();
         entry.kind = "CountedOctets";
         entry.width = number(widthOfCount(storage));
         entry.count = "0";
         entry.offset = entry.width; // count and octets stand side by side
         entry.capacity = number(storage.capacity);
         entry.presence = entry.group = "kNone";
         entry.sample = step.steps.front().rest ? std::min<uint64_t>(storage.capacity, 4)
                                                : sample_->count(step.steps.front());
      } else {
         entry.kind = "Number";
         entry.bits = step.bits;
         entry.limits = range(step.bits, Bounds());
         entry.width = number(widthOfUint(step.bits));
         entry.sample = (step.bits < 8 ? 1u << step.bits : 256u) - 2;
      }
      row.first = add({entry});
   }

   void arm(uint64_t low, uint64_t high, size_t row, const std::string& pattern = "") {
      arms_.push_back(
            "{" + number(low) + "u, " + number(high) + "u, " + number(row) +
            (pattern.empty() ? "" : ", " + hex(patternBits(pattern), 2) + ", " + number(pattern.size())) +
            "}");
   }

   void choice(const Step& step, RowText& row) {
      const Field& field = *step.field;
      const std::string inner = field.name.empty() ? step.place : step.member + ".";
      row.kind = "Choice";
      row.sample = sample_->selector(step);
      if (field.name.empty()) row.flags.push_back("kUnnamed");
      if (field.selector != Selector::Field) {
         row.flags.push_back("kOwnSelector");
         row.count = offset(inner + "t");
         row.width = "4";
         if (field.selector == Selector::Record) {
            row.bits = 0;
            row.number = field.arms.front().values.front().low;
         }
      } else if (field.argument->op == Expr::Op::Name && !field.argument->parameter &&
                 std::ranges::none_of(field.argument->path, [](const Field* f) { return f->optional; })) {
         row.count = offset(pathMember(field.argument->path));
         row.width = number(widthOfNumber(*field.argument->path.back()));
      } else {
         row.flags.push_back("kSteeredByExpression");
      }
      if (field.arms.size() == 1 && !field.arms.front().field->name.empty()) row.wire.push_back("kSingle");
      // Rows of the arms first, for those within may bring arms of their own.
      std::vector<size_t> places;
      for (const Step& arm : step.steps) {
         RowText content = this->row(arm);
         std::erase(content.flags, "kNoSample"); // the selector decides
         places.push_back(add({content}));
      }
      row.first = arms_.size();
      for (size_t i = 0; i < field.arms.size(); ++i)
         for (auto& range : field.arms[i].values)
            arm(range.low, range.high, places[i], field.arms[i].pattern);
      for (size_t i = 0; i < field.arms.size(); ++i)
         if (field.arms[i].isElse) arm(0, UINT32_MAX, places[i]);
      row.rows = arms_.size() - row.first;
   }

   void messages(const Step& step, RowText& row) {
      row.kind = "Choice";
      const auto& table = tableOf(*type_, *step.field);
      if (&table == &type_->table) row.wire.push_back("kOfMessages");
      row.flags.push_back("kOwnSelector");
      row.count = offset(step.member + ".t");
      row.width = "4";
      row.sample = sample_->selector(step);
      std::vector<std::pair<uint64_t, size_t>> places;
      for (auto& line : table) {
         RowText content;
         content.name = printName(line.member);
         content.kind = "Null";
         content.doc = line.doc;
         content.iei = static_cast<unsigned>(line.msgType);
         content.number = line.disc;
         content.lead = headerArm(*type_, line);
         if (line.record.type != nullptr) {
            nested(content, *line.record.type);
            if (!line.inlineValue) content.kind = "Message";
            content.offset = offset(step.member + ".u." + cName(line.member));
         }
         places.emplace_back(line.selector, add({content}));
      }
      row.first = arms_.size();
      for (auto& [selector, at] : places) arm(selector, selector, at);
      row.rows = places.size();
   }

   const Module& module_;
   std::map<const Module*, size_t> moduleNumbers_;
   Texts texts_;
   std::vector<std::string> rows_, wires_, arms_, types_, rowDocs_;
   std::vector<const Type*> standards_; // standard forms, which follow the types
   mutable std::vector<std::string> guards_;
   Numbered expressions_{""}, limits_{"frame::Limits{}"}, legals_{"frame::LegalSet{}"};
   struct ValueNames {
      std::string table; // that the header declares; empty: one of its own
      std::vector<EnumRow> rows;
   };
   std::vector<ValueNames> names_;
   std::set<const Type*> entries_;
   // Of the type at hand
   const Type* type_ = nullptr;
   const Sample* sample_ = nullptr;
   std::string record_;
};

void prologue(const Module& module, const std::string& what, const std::vector<std::string>& includes,
              Writer& w) {
   w.line("// " + what + " of module " + module.name + ". Generated by l3c from " + module.file + ".l3d.");
   w.line();
   for (auto& include : includes) w.line("#include \"" + include + "\"");
   w.line();
   w.line("namespace quorva::walk {");
   w.line("extern const Module table_" + module.name + ";");
   w.line("} // namespace quorva::walk");
   w.line();
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

} // namespace

std::string tableArguments(const Type& type) {
   return tableName(*type.module) + ", " + number(typeNumber(type));
}

void emitWalk(const Model& model, const Module& module, Outputs& out) {
   const std::string header = "quorva/" + module.name + ".h";
   Writer table, printers, samples;
   prologue(module, "The table",
            {header, "quorva/TS44018Misc.h", "src/" + module.file + "Types.h", "src/walk/codec.h",
             "src/frame/scan.h"},
            table);
   table.line("namespace quorva::walk {");
   table.line();
   table.raw(TableEmitter(model, module).run());
   table.line();
   table.line("} // namespace quorva::walk");
   prologue(module, "Printers", {header, "src/walk/print.h"}, printers);
   prologue(module, "Samples and selectors", {header, "src/walk/sample.h"}, samples);
   for (auto& type : module.types) {
      printer(*type, printers);
      if (hasSample(*type)) builder(*type, samples);
      if (type->kind == TypeKind::Pdu) samples.raw(selectorFunctions(*type));
   }
   out["src/" + module.file + "Table.cpp"] = table.text();
   out["src/" + module.file + "PrtToStrm.cpp"] = printers.text();
   out["src/" + module.file + "Test.cpp"] = samples.text();
}

} // namespace l3c
