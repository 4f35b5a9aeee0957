// The constant table of a module, one row a field, and the printers and sample builders that walk it.

#include "compiler/emit.h"
#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/samples.h"
#include "compiler/table_text.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace l3c {

namespace {

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

class TableEmitter {
public:
   // `entries`: types of which lists initialise entries.
   TableEmitter(const Model& model, const Module& module, const std::set<const Type*>& entries)
         : module_(module), entries_(entries) {
      for (size_t i = 0; i < model.modules.size(); ++i) moduleNumbers_[model.modules[i].get()] = i;
      const auto& types = module.types;
      // Optional elements with two octets of length; no protocol with codesets has them.
      sixes_ = std::ranges::none_of(types, [](auto& type) { return type->shifts; }) &&
               std::ranges::any_of(types, [](auto& type) {
                  return std::ranges::any_of(lower(*type).optional,
                                             [](auto& step) { return classOf(step) == Class::LVE; });
               });
   }

   std::string run() {
      for (auto& type : module_.types)
         if (type->standard) standards_.push_back(type->standard.get());
      for (auto& type : module_.types) this->type(*type);
      for (const Type* type : standards_) this->type(*type);
      return table_.text(module_);
   }

private:
   std::string filled(std::string_view form, const std::string& member) const {
      return forms_.filled(form, {{"member", member}});
   }
   std::string offset(const std::string& member) const {
      return member.empty() ? "0" : filled("offsetof($record, $member)", member);
   }
   std::string sizeOf(const std::string& member) const {
      return filled("sizeof(static_cast<$record*>(nullptr)->$member)", member);
   }
   std::string bit(const BitPlace& place) const {
      if (!place) return "kNone";
      return forms_.filled(place.record.empty() ? "$number$absent" : "$m * 8 + $number$absent",
                           {{"m", offset(place.record + "m")},
                            {"number", place.number},
                            {"absent", place.absent ? " + kAbsent" : ""}});
   }

   size_t limits(const Bounds& bounds) { return table_.limits("frame::" + limitsText(bounds)); }
   // Of an integer: with no bounds of its own one of whole octets takes any value.
   size_t range(unsigned bits, const Bounds& bounds) {
      if (bounds.empty() && bits % 8 == 0) return 0;
      return table_.limits(
            forms_.filled("frame::Limits{$low, $high}",
                          {{"low", bounds.low.value_or(0)}, {"high", bounds.high.value_or(maxOf(bits))}}));
   }

   size_t expression(const Term& term) {
      if (term.expr == nullptr) return 0;
      const std::string record = forms_.filled("static_cast<const $record*>(record)->");
      return table_.expression(
            forms_.filled("static_cast<uint64_t>($value)",
                          {{"value", written(term, record, "octetsLeft(ctxt)", "parameter")}}));
   }

   void type(const Type& type) {
      const Sample sample(type);
      sample_ = &sample;
      type_ = &type;
      record_ = "::" + recordName(type);
      forms_ = Writer({{"record", record_}});
      TypeText text;
      text.size = forms_.filled("sizeof($record)");
      text.codec = type.custom ? "ByHand" : "Element";
      const std::vector<RowText> block = contents(text);
      const bool isElement = text.codec == "Element", isMessage = text.codec == "Message";
      // Ahead of the contents of most types stands their length.
      Bounds bounds;
      if (isElement && type.kind == TypeKind::Record) {
         text.lengthBits = lengthBits(type);
         if (text.lengthBits != 0) bounds = type.bounds;
         if (text.lengthBits != 0 && !type.bare) text.lengthOffset = offset("length");
      } else if (isElement && type.bare) {
         text.lengthBits = type.cls == Class::LVE ? 16 : 8;
         bounds = boundsOfBare(type);
      }
      const auto flag = [&](const char* name, bool holds) {
         if (holds) text.flags.push_back(name);
      };
      flag("kBare", type.bare);
      flag("kAligned", type.aligned);
      flag("kCountsBits", type.cls == Class::LB);
      flag("kTailStays", type.leaveTail);
      flag("kShifts", type.shifts);
      flag("kTailStops", type.tailstop);
      flag("kCsn1", type.pattern || type.structure);
      flag("kSixes", isMessage && sixes_);
      const Type& owner = type.original != nullptr ? *type.original : type;
      flag("kStandardForm", type.original != nullptr && !owner.widens);
      flag("kShortLength", type.original != nullptr && type.cls == Class::LVE && owner.cls == Class::LV);
      flag("kEndsByItself", (isElement || shortByHand(type)) && endsByItself(type));
      flag("kElementsEnd", isMessage && elementsEndByThemselves(type));
      if (text.form != "Alias") {
         text.first = table_.add(block);
         text.rows = block.size();
      }
      text.limits = limits(bounds);
      if (const auto bits = presenceBits(owner.fields); text.form == "Record" && !bits.empty()) {
         text.presenceOctets = sizeOf("m");
         text.presenceOffset = offset("m");
         text.presenceBits = bits.size();
      }
      if (const auto appended = appendedFields(owner); !appended.empty()) {
         text.appendixOffset = offset("standard.m");
         text.appendixOctets = sizeOf("standard.m");
         text.appendixBits = appended.size();
      }
      if (type.standard)
         text.standard =
               module_.types.size() +
               static_cast<size_t>(std::ranges::find(standards_, type.standard.get()) - standards_.begin());
      text.name = encodedName(type);
      text.decodedName = decodedName(type);
      text.doc = type.doc;
      text.functions = functions(type, text.codec, entries_.count(&type) != 0);
      table_.add(text);
   }

   // The rows of a type, and what it is by them.
   std::vector<RowText> contents(TypeText& text) {
      const Type& type = *type_;
      std::vector<RowText> block, stores;
      switch (type.kind) {
      case TypeKind::Alias:
      case TypeKind::OneElement:
         text.form = "Alias";
         if (type.kind == TypeKind::OneElement) text.codec = "OneElement";
         text.first = typeNumber(*type.base.type);
         text.rows = moduleNumbers_.at(type.base.type->module);
         return block;
      case TypeKind::Enum: {
         RowText& row = block.emplace_back();
         row.kind = type.unchecked ? "OpenEnumeration" : "Enumeration";
         row.width = 4;
         row.index = names(type);
         row.sample = Sample::typeNumber(type);
         text.bits = type.bits;
         if (!type.unchecked && type.rows.size() != (uint64_t{1} << type.bits))
            text.legal = table_.legal("type::" + recordName(type) + "::legal");
         else if (type.checked)
            text.flags.push_back("kTestsNumber");
         return block;
      }
      case TypeKind::Digits:
      case TypeKind::Text: {
         text.codec = "ByHand";
         RowText& row = block.emplace_back();
         row.kind = "Text";
         row.capacity = type.storage.capacity;
         if (type.storage.heap) row.flags.push_back("kHeap");
         if (type.kind == TypeKind::Text) row.flags.push_back("kCharacters");
         return block;
      }
      case TypeKind::Empty:
         text.form = "Empty";
         text.codec = "Message";
         text.size = 0;
         return block;
      case TypeKind::Record:
         text.form = "Record";
         if (!type.bare && type.cls != Class::V) {
            RowText& row = block.emplace_back();
            row.name = "length";
            row.kind = "Number";
            row.offset = offset("length");
            row.width = (type.original != nullptr ? *type.original : type).cls == Class::LVE ? 2 : 1;
         }
         break;
      case TypeKind::Message:
         text.form = "Record";
         text.codec = type.custom ? "ByHand" : "Message";
         break;
      case TypeKind::Pdu:
         text.form = "Record";
         text.codec = type.table.empty() ? "Pdu" : "ByHand";
         break;
      default: break;
      }
      const Program program = lower(type);
      level(program.steps, block, stores);
      text.mandatory = block.size();
      for (auto& step : program.optional)
         if (step.ieiBits == 4) text.halfOctets |= 1u << step.iei;
      level(program.optional, block, stores);
      if (type.kind == TypeKind::Pdu) typesOfMessages(type, block);
      block.insert(block.end(), stores.begin(), stores.end());
      return block;
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

   // Short form, codec of a message, codec of another kind, initialiser.
   static std::string functions(const Type& type, const std::string& codec, bool isEntry) {
      const Type& base = baseType(type);
      const bool byHand = codec == "ByHand", own = byHand || type.original == nullptr;
      // One that quits can be told only by callers of the type itself.
      const bool callable = own && codec == "Element" && (!quits(base) || leavesContainer(base));
      const char* shorts = "nullptr, nullptr";
      if (own && shortByHand(type))
         shorts = R"(
[](const uint8_t* a, const uint8_t* e, RtxContext* c, void* v) -> const uint8_t* { return shortDec_$record(a, e, c$target); },
nullptr)";
      else if (callable && isUniform(base))
         shorts = "shortDec_$base, shortEnc_$base";
      else if (callable && hasShortEntry(base) && base.kind != TypeKind::Digits &&
               base.kind != TypeKind::Text && base.parameters.empty())
         shorts = R"(
[](const uint8_t* a, const uint8_t* e, RtxContext* c, void* v) -> const uint8_t* { return shortDec_$base(a, e, c$baseTarget); },
[](uint8_t* a, uint8_t* e, RtxContext* c, void* v) -> uint8_t* { return shortEnc_$base(a, e, c$baseValue); })";
      const size_t parameters = type.kind == TypeKind::Digits ? 1 : type.parameters.size();
      const char* sizes[] = {"", ", static_cast<uint32_t>(a)",
                             ", static_cast<uint32_t>(a), static_cast<uint32_t>(b)"};
      Holes holes = namesOf(type);
      holes.emplace_back("target", targetOf(type));
      holes.emplace_back("value", valueOf(type, false));
      holes.emplace_back("baseTarget", targetOf(base));
      holes.emplace_back("baseValue", valueOf(base, false));
      holes.emplace_back("a", parameters > 0 ? " a" : "");
      holes.emplace_back("b", parameters > 1 ? " b" : "");
      holes.emplace_back("sizes", sizes[parameters]);
      const Writer w(std::move(holes));
      return w.filled(
            "$shorts, $message, $codec, $init",
            {{"shorts", w.filled(shorts)},
             {"message", w.filled(codec == "Message" && own && hasMessageForm(type)
                                        ? "messageDec_$record, messageEnc_$record"
                                        : "nullptr, nullptr")},
             {"codec", w.filled(!byHand ? "nullptr, nullptr" : R"(
[](RtxContext* c, void* v, uint64_t$a, uint64_t$b) -> int { return $decoder(c$target$sizes); },
[](RtxContext* c, void* v) -> int { return $encoder(c$value); })")},
             {"init",
              w.filled(own && isEntry ? "[](void* v) -> int { return $init(static_cast<$record*>(v)); }"
                                      : "nullptr")}});
   }

   size_t names(const Type& type) {
      return table_.names(type.kind == TypeKind::Enum ? "::" + recordName(type) + "_ENUMTAB" : "", type.rows);
   }
   // Of numbers that print as such; 0 is for those without.
   size_t plainNames(const std::vector<EnumRow>& rows) {
      return rows.empty() ? 0 : table_.names("", rows) + 1;
   }

   void counted(RowText& row, const std::string& kind, const std::string& count, const std::string& data,
                const Storage& storage, uint64_t few) {
      row.kind = kind;
      row.count = offset(count);
      row.offset = offset(data);
      row.capacity = storage.capacity;
      row.width = widthOfCount(storage);
      row.sample = few;
      if (storage.heap) row.flags.push_back("kHeap");
      // An entry of a list has its own coordinates.
      if (type_->original == nullptr || (count == "numocts" && type_->kind == TypeKind::Record)) return;
      row.width = sizeOf(count);
      if (storage.heap)
         guard(data, "==", "sizeof(void*)");
      else
         guard(data, ">=", kind == "List" ? 1 : storage.capacity);
   }
   // The record of a standard form is that of the type's own: its member must have so many octets.
   void guard(const std::string& member, const char* compares, const Cell& octets) {
      if (type_->original != nullptr && !member.empty())
         table_.guard(
               forms_.filled("$size $compares $octets",
                             {{"size", sizeOf(member)}, {"compares", compares}, {"octets", octets.text}}));
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
            row.number = step.countsPlus;
            row.count = offset(counted.member + ".numocts");
            row.capacity = counted.storage.heap ? Cell("kNone") : Cell(counted.storage.capacity);
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
      if (step.appended && !step.optional) row.flags.push_back("kMustBe");
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
      if (step.hasPatterns()) row.wire.push_back("kPatterns");
      if (step.inBits) row.wire.push_back("kInBits");
      if (step.name.empty()) row.wire.push_back("kUnnamedOnWire");
      row.argument = expression(step.argument);
      row.second = expression(step.second);
      if (step.keepsTail) row.wire.push_back("kKeepsTail");
      if (step.beside) row.wire.push_back("kBeside");
      if (step.bareAround) {
         row.wire.push_back("kBareAround");
         row.lead = step.bareAround;
      }
      if (step.ieiBits != 0) {
         row.iei = step.iei;
         row.ieiBits = step.ieiBits;
         row.format =
               forms_.filled("static_cast<uint8_t>(frame::Format::$format)", {{"format", scanFormat(step)}});
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
         row.width = 1;
         row.sample = sample_->number(step);
         break;
      case Op::Integer:
         row.kind = "Number";
         row.offset = offset(step.member);
         row.width = widthOfUint(step.bits);
         guard(step.member, "==", row.width);
         row.limits = range(step.bits, step.bounds);
         row.sample = sample_->number(step);
         if (step.init.value_or(0) != 0) {
            row.wire.push_back("kInitial");
            row.second = *step.init;
         }
         if (step.names != nullptr) {
            row.first = plainNames(*step.names);
         } else if (field == nullptr && !type_->rows.empty()) {
            row.kind = "NamedNumber";
            row.index = names(*type_);
         }
         break;
      case Op::Constant:
         row.kind = "Constant";
         row.flags.push_back("kWireOnly");
         row.number = step.number;
         break;
      case Op::Octets:
      case Op::Bits:
         row.kind = step.op == Op::Octets ? "Octets" : "Bits";
         row.offset = offset(step.member);
         row.capacity = step.count;
         guard(step.member, ">=", step.op == Op::Octets ? step.count : (step.count + 7) / 8);
         break;
      case Op::Counted:
      case Op::Sized: {
         const std::string place = step.member.empty() ? "" : step.member + ".";
         const uint64_t few = sample_->count(step);
         if (step.wide)
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
         row.width = 1;
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
         guard(step.member, "==", "sizeof(::" + recordName(*step.type) + ")");
         row.sample = step.sizes ? sample_->sizeOf(step) + 1 : step.sample.value_or(0);
         if (step.zeros != 0) row.lead = step.zeros;
         if (step.sizes && namesOuter(*step.argument.expr)) row.number = 1;
         if (step.op == Op::Message) row.wire.push_back("kInner");
         if (step.ahead != 0) {
            row.wire.push_back("kAhead");
            row.number = step.ahead;
         } else if (step.op == Op::Contents) {
            row.wire.push_back("kContents");
         }
         break;
      case Op::Group:
         row.kind = "Group";
         row.offset = offset(step.member);
         if (!presenceBits(field->fields).empty()) {
            row.count = offset(step.member + ".m");
            row.width = sizeOf(step.member + ".m");
            // The record is laid out by the type's own form, whose bits here can be others.
            if (type_->original == nullptr) row.capacity = presenceBits(field->fields).size();
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
            row.width = widthOfUint(step.bits);
         }
         row.number = step.count;
         inside(step, row);
         break;
      case Op::Span:
         row.kind = "Span";
         row.offset = offset(step.member);
         row.width = widthOfUint(step.bits);
         inside(step, row);
         break;
      case Op::Chain:
         row.kind = "Chain";
         if (step.skips) row.wire.push_back("kSkips");
         inside(step, row);
         break;
      case Op::Swap:
         row.kind = "Swap";
         inside(step, row);
         break;
      case Op::Since:
         row.kind = "Since";
         row.number = step.number;
         row.lead = step.needs;
         if (step.returns) row.wire.push_back("kQuits");
         inside(step, row);
         break;
      }
      return row;
   }

   void inside(const Step& step, RowText& row) {
      std::vector<RowText> block, stores;
      level(step.steps, block, stores);
      block.insert(block.end(), stores.begin(), stores.end());
      row.first = table_.add(block);
      row.rows = block.size();
   }

   void list(const Step& step, RowText& row) {
      const std::string place = step.member.empty() ? "" : step.member + ".";
      counted(row, "List", place + "n", place + "elem", step.storage, sample_->count(step));
      if (isLed(step.entries)) row.width = 8;
      row.stride = sizeOf(place + "elem[0]");
      if (type_->original != nullptr && !step.storage.heap)
         row.capacity = forms_.filled("static_cast<uint32_t>($all / $one)",
                                      {{"all", sizeOf(place + "elem")}, {"one", row.stride.text}});
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
         entry.width = widthOfCount(storage);
         entry.count = 0;
         entry.offset = entry.width; // count and octets stand side by side
         entry.capacity = storage.capacity;
         entry.presence = entry.group = "kNone";
         entry.sample = step.steps.front().rest ? std::min<uint64_t>(storage.capacity, 4)
                                                : sample_->count(step.steps.front());
      } else {
         entry.kind = "Number";
         entry.bits = step.bits;
         entry.limits = range(step.bits, Bounds());
         entry.width = widthOfUint(step.bits);
         entry.sample = (step.bits < 8 ? 1u << step.bits : 256u) - 2;
      }
      row.first = table_.add({entry});
   }

   void choice(const Step& step, RowText& row) {
      const Expr* by = step.argument.expr;
      const std::string inner = step.name.empty() ? step.place : step.member + ".";
      row.kind = "Choice";
      row.sample = sample_->selector(step);
      if (step.name.empty()) row.flags.push_back("kUnnamed");
      if (step.selector != Selector::Field) {
         row.flags.push_back("kOwnSelector");
         row.count = offset(inner + "t");
         row.width = 4;
         if (step.selector == Selector::Record) {
            row.bits = 0;
            row.number = step.steps.front().arm->values.front().low;
         }
      } else if (by->op == Expr::Op::Name && !by->parameter &&
                 std::ranges::none_of(by->path, [](const Field* f) { return f->optional; })) {
         row.count = offset(pathMember(by->path));
         row.width = widthOfNumber(*by->path.back());
      } else {
         row.flags.push_back("kSteeredByExpression");
      }
      if (step.steps.size() == 1 && !step.steps.front().name.empty()) row.wire.push_back("kSingle");
      // Rows of the arms first, for those within may bring arms of their own.
      std::vector<size_t> places;
      for (const Step& arm : step.steps) {
         RowText content = this->row(arm);
         std::erase(content.flags, "kNoSample"); // the selector decides
         places.push_back(table_.add({content}));
      }
      row.first = table_.arms();
      for (size_t i = 0; i < places.size(); ++i)
         for (auto& range : step.steps[i].arm->values)
            table_.addArm(range.low, range.high, places[i], step.steps[i].arm->pattern);
      for (size_t i = 0; i < places.size(); ++i)
         if (step.steps[i].arm->isElse) table_.addArm(0, UINT32_MAX, places[i], "");
      row.rows = table_.arms() - row.first;
   }

   void messages(const Step& step, RowText& row) {
      row.kind = "Choice";
      const auto& table = *step.table;
      if (&table == &type_->table) row.wire.push_back("kOfMessages");
      row.flags.push_back("kOwnSelector");
      row.count = offset(step.member + ".t");
      row.width = 4;
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
         places.emplace_back(line.selector, table_.add({content}));
      }
      row.first = table_.arms();
      for (auto& [selector, at] : places) table_.addArm(selector, selector, at, "");
      row.rows = places.size();
   }

   const Module& module_;
   const std::set<const Type*>& entries_;
   std::map<const Module*, size_t> moduleNumbers_;
   std::vector<const Type*> standards_; // standard forms, which follow the types
   bool sixes_ = false;
   TableText table_;
   // Of the type at hand
   const Type* type_ = nullptr;
   const Sample* sample_ = nullptr;
   std::string record_;
   Writer forms_;
};

// Collects types of which lists initialise entries.
void collectEntries(const std::vector<Step>& steps, std::set<const Type*>& entries) {
   for (auto& step : steps) {
      if (step.entryInits) entries.insert(step.type);
      collectEntries(step.steps, entries);
   }
}

// What all files begin with; $includes has lines.
constexpr const char* kPrologue = R"(
// $what of module $module. Generated by l3c from $file.l3d.

#include "quorva/$module.h"
$includes

namespace quorva::walk {
extern const Module table_$module;
} // namespace quorva::walk

)";

std::string printer(const Type& type) {
   const char* value = nullptr;
   switch (passing(type)) {
   case Passing::Value:
   case Passing::TextPointer: value = "&value"; break;
   case Passing::Array:
   case Passing::Text: value = "value"; break;
   case Passing::Nothing: value = "nullptr"; break;
   case Passing::Pointer: value = "pvalue"; break;
   }
   return Writer(namesOf(type))
         .lines(R"(
int $printer(RtxContext* pctxt, const char* name$printParameters) {
   return quorva::walk::print(pctxt, name, $rows, $value);
}
)",
                {{"value", value}});
}

std::string builder(const Type& type) {
   const Passing how = passing(type);
   return Writer(namesOf(type))
         .lines(how == Passing::Text          ? R"(
char* $sample(RtxContext*, char* value) {
   quorva::walk::fillSample(value, $rows);
   return value;
}
)"
                : how == Passing::TextPointer ? R"(
const char* $sample(void) {
   const char* value = nullptr;
   quorva::walk::fillSample(&value, $rows);
   return value;
}
)"
                                              : R"(
$record* $sample(RtxContext* pctxt) {
   return static_cast<$record*>(quorva::walk::sample(pctxt, $rows));
}
)");
}

} // namespace

std::string tableArguments(const Type& type) {
   return tableName(*type.module) + ", " + std::to_string(typeNumber(type));
}

void emitWalk(const Model& model, Outputs& out) {
   std::set<const Type*> entries;
   for (auto& module : model.modules)
      for (auto& type : module->types) {
         collectEntries(lower(*type).steps, entries);
         if (type->standard) collectEntries(lower(*type->standard).steps, entries);
      }
   for (auto& module : model.modules) {
      Writer table(namesOf(*module)), printers(namesOf(*module)), samples(namesOf(*module));
      table.fill(kPrologue, {{"what", "The table"}, {"includes", table.filled(R"(
#include "quorva/TS44018Misc.h"
#include "src/${file}Types.h"
#include "src/walk/codec.h"
#include "src/frame/scan.h"
)")}});
      table.fill(R"(
namespace quorva::walk {

$table

} // namespace quorva::walk
)",
                 {{"table", TableEmitter(model, *module, entries).run()}});
      printers.fill(kPrologue, {{"what", "Printers"}, {"includes", "#include \"src/walk/print.h\""}});
      samples.fill(kPrologue,
                   {{"what", "Samples and selectors"}, {"includes", "#include \"src/walk/sample.h\""}});
      for (auto& type : module->types) {
         printers.raw(printer(*type));
         if (hasSample(*type)) samples.raw(builder(*type));
         if (type->kind == TypeKind::Pdu) samples.raw(selectorFunctions(*type));
      }
      out["src/" + module->file + "Table.cpp"] = table.text();
      out["src/" + module->file + "PrtToStrm.cpp"] = printers.text();
      out["src/" + module->file + "Test.cpp"] = samples.text();
   }
}

} // namespace l3c
