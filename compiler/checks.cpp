// What a description must keep to, told in plain sentences.
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace l3c {
namespace {

using Fields = std::vector<std::unique_ptr<Field>>;

constexpr int64_t kAnySelector = 1 << 16;

class Checker {
public:
   Checker(const Model& model, Diagnostics& diagnostics) : model_(model), diagnostics_(diagnostics) {}

   void run() {
      for (auto& module : model_.modules) {
         std::set<std::string> names;
         for (auto& one : module->types) {
            if (!names.insert(printName(one->name)).second)
               error(DuplicateType, one->pos, "A type " + quoted(one->name) + " is already in this module.");
            type(*one);
            standard_ = true; // where all values are known
            if (one->standard) type(*one->standard);
            standard_ = false;
         }
      }
   }

private:
   void error(int number, Pos pos, std::string sentence) {
      diagnostics_.error(number, pos, std::move(sentence));
   }

   void type(const Type& type) {
      bounds(type.bounds, type.pos);
      switch (type.kind) {
      case TypeKind::Enum:
      case TypeKind::Number: values(type); break;
      case TypeKind::Octets:
      case TypeKind::Bits:
         if (!type.storage.heap && !type.storage.capacity)
            error(NoCapacity, type.pos, quoted(type.name) + " can hold no octets.");
         boundsFit(type.bounds, lengthBits(type), type.pos, "a length");
         break;
      case TypeKind::Record:
      case TypeKind::Message:
      case TypeKind::Pdu: record(type); break;
      case TypeKind::List: entries(type.bits, type.base, type.pos); break;
      case TypeKind::Digits:
      case TypeKind::Text:
         if (!type.storage.heap && !type.storage.capacity)
            error(NoCapacity, type.pos, quoted(type.name) + " can hold no characters.");
         break;
      case TypeKind::Alias:
      case TypeKind::OneElement:
      case TypeKind::Empty: break;
      }
      std::vector<const Type*> way;
      if (holds(type, type, way))
         error(ContainsItself, type.pos,
               quoted(type.name) + " contains itself, " +
                     (type.structure ? "as often as bits say." : "with no pointer between."));
   }

   // Bounds

   void bounds(const Bounds& bounds, Pos pos) {
      if (bounds.low && bounds.high && *bounds.low > *bounds.high)
         error(BoundsReversed, pos,
               "The lower bound " + text(*bounds.low) + " is above " + text(*bounds.high) + ".");
   }

   void boundsFit(const Bounds& bounds, unsigned bits, Pos pos, const char* what) {
      uint64_t top = std::max(bounds.low.value_or(0), bounds.high.value_or(0));
      if (bits && top > maxOf(bits))
         error(BoundsTooWide, pos,
               "The bound " + text(top) + " is beyond " + what + " of " + text(bits) + " bits.");
   }

   void rows(const std::vector<EnumRow>& rows, unsigned bits) {
      std::set<std::string> names;
      std::set<uint64_t> seen;
      for (const EnumRow& row : rows) {
         if (!names.insert(printName(row.name)).second)
            error(DuplicateRow, row.pos, "A value " + quoted(row.name) + " is already there.");
         if (!seen.insert(row.value).second)
            error(DuplicateRow, row.pos, "The value " + text(row.value) + " has a name already.");
         if (row.value > maxOf(bits))
            error(ValueTooWide, row.pos,
                  "The value " + text(row.value) + " is beyond " + text(bits) + " bits.");
      }
   }

   void values(const Type& type) {
      boundsFit(type.bounds, type.bits, type.pos, "a number");
      rows(type.rows, type.bits);
      if (type.pattern && type.rows.size() < 2)
         error(NoRows, type.pos, quoted(type.name) + " has a value for L and one for H.");
      if (type.kind == TypeKind::Enum && type.rows.empty() && !type.pattern && !type.unchecked &&
          !type.checked)
         error(NoRows, type.pos, quoted(type.name) + " has no legal value.");
   }

   // Records

   void record(const Type& type) {
      boundsFit(type.bounds, lengthBits(type), type.pos, "a length");
      if (type.fields.empty()) error(NoFields, type.pos, quoted(type.name) + " has no fields.");
      bool lengthField = type.cls != Class::V && !type.bare;
      fieldNames(type.fields, lengthField ? "length" : "");
      eachField(type.fields, [&](const Field& field) { this->field(field, type); });
      if (type.cls == Class::LV || type.cls == Class::LVE) {
         Width width = widthOf(type.fields);
         if (width.fixed() && width.low % 4 != 0 && !type.standard) // its own is looked at
            error(OddBits, type.pos,
                  "The contents take " + text(width.low) + " bits, no whole number of half octets.");
      }
      if (type.kind == TypeKind::Message) elements(type);
      if (type.kind == TypeKind::Pdu) table(type);
   }

   void fieldNames(const Fields& fields, const char* taken) {
      std::set<std::string> names;
      if (*taken) names.insert(taken);
      bool presence = false;
      fieldNames(fields, names, presence);
      if (presence && names.count("m"))
         error(DuplicateField, fields.front()->pos, "`m` is the name of the presence bits.");
   }

   void fieldNames(const Fields& fields, std::set<std::string>& names, bool& presence) {
      auto claim = [&](const Field& field, const std::string& name) {
         if (!names.insert(name).second)
            error(DuplicateField, field.pos, "The record has a field " + quoted(name) + " already.");
      };
      for (auto& field : fields) {
         presence |= field->optional || field->kind == Kind::Since;
         if (!field->name.empty()) claim(*field, printName(field->name));
         if (field->kind == Kind::Choice && field->name.empty()) {
            claim(*field, "u");
            if (field->selector != Selector::Field) claim(*field, "t");
         }
         if (field->onlyOnWire())
            fieldNames(field->fields, names, presence);
         else if (field->kind == Kind::Group)
            fieldNames(field->fields, "");
         std::set<std::string> arms;
         for (const Arm& arm : field->arms) {
            if (!arm.field) continue;
            presence |= arm.field->optional;
            if (!arm.field->name.empty() && !arms.insert(printName(arm.field->name)).second)
               error(DuplicateField, arm.pos,
                     "The choice has an arm " + quoted(arm.field->name) + " already.");
            fieldNames(arm.field->fields, "");
         }
      }
   }

   void field(const Field& field, const Type& type) {
      bounds(field.bounds, field.pos);
      words(field, type);
      switch (field.kind) {
      case Kind::Uint:
      case Kind::Frame:
      case Kind::Bare:
      case Kind::Counted:
         boundsFit(field.bounds, field.bits, field.pos, field.kind == Kind::Uint ? "an integer" : "a length");
         rows(field.rows, field.bits);
         if (const Type* names = field.namesOf.type;
             names != nullptr && (!names->plain || names->rows.empty()))
            error(UnknownName, field.namesOf.pos, quoted(names->name) + " has no names of plain numbers.");
         break;
      case Kind::Bits:
         if (field.count == 0) error(NoCapacity, field.pos, quoted(field.name) + " can hold no bits.");
         break;
      case Kind::Octets:
      case Kind::Sized:
      case Kind::SizedBits:
      case Kind::Fill:
         if (!field.storage.heap && !field.storage.capacity)
            error(NoCapacity, field.pos, quoted(field.name) + " needs `inline` with a capacity, or `heap`.");
         break;
      case Kind::Named: named(field, type); break;
      case Kind::Each:
         entries(field.bits, field.type, field.pos);
         if (field.entry && !field.entry->storage.capacity)
            error(NoCapacity, field.entry->pos, "The entries need `inline` with a capacity.");
         break;
      case Kind::Choice: choice(field); break;
      case Kind::Messages:
         if (type.kind != TypeKind::Pdu)
            error(MisplacedWord, field.pos, "`messages` stands in a pdu alone.");
         else if (type.table.empty())
            error(NotInTable, field.pos, "No table says which messages there are.");
         break;
      case Kind::Swap:
         if (field.fields.size() != 2) error(SwapNotTwo, field.pos, "`swap` takes two fields.");
         break;
      default: break;
      }
      bool bracket = field.onlyOnWire() || field.kind == Kind::Group;
      if (bracket && field.fields.empty()) error(NoFields, field.pos, "There are no fields in the bracket.");
      const Type* own = field.kind == Kind::Named ? withoutAliases(field.type.type) : nullptr;
      const unsigned bits = own ? own->bits : field.bits;
      if (field.init && bits && *field.init > maxOf(bits))
         error(ValueTooWide, field.pos,
               "The value " + text(*field.init) + " is beyond " + text(bits) + " bits.");
   }

   // Words that go with some kinds only.
   void words(const Field& field, const Type& type) {
      auto refuse = [&](bool given, bool fits, const char* sentence) {
         if (given && !fits) error(MisplacedWord, field.pos, sentence);
      };
      const Type* own = field.kind == Kind::Named ? withoutAliases(field.type.type) : nullptr;
      const bool valued = own && (own->kind == TypeKind::Enum || own->kind == TypeKind::Number);
      const bool cleared = own && own->kind == TypeKind::Record && field.init == 0;
      refuse(field.init.has_value(),
             field.kind == Kind::Uint || field.kind == Kind::Flag || valued || cleared,
             "`init` goes with an integer or an enumeration, `init 0` with a record too.");
      const bool varies = (field.kind == Kind::Each && !field.argument) || field.kind == Kind::Messages ||
                          (field.kind == Kind::Choice && field.selector != Selector::Field) ||
                          field.kind == Kind::Counted || field.kind == Kind::Fill ||
                          field.kind == Kind::Tail || field.kind == Kind::BitTail ||
                          field.kind == Kind::FillBits || field.kind == Kind::Unary;
      refuse(field.sample && !(field.optional && *field.sample == 0),
             varies || field.kind == Kind::Uint || field.kind == Kind::Flag || field.kind == Kind::Named,
             "`sample` goes with what no other field tells.");
      refuse(field.beside, type.cls == Class::L4 && &field == type.fields.front().get(),
             "`beside` goes with the first field behind a length of 4 bits.");
   }

   void named(const Field& field, const Type& owner) {
      const Type* type = withoutAliases(field.type.type);
      if (!type) return;
      if (!type->parameters.empty() && !field.argument && !owner.custom)
         error(ArgumentMissing, field.type.pos,
               quoted(field.type.name) + " needs " + quoted(type->parameters.front()) + " in brackets.");
      if (type->parameters.empty() && !field.valueOnly && field.argument && !type->presized)
         error(ArgumentUnused, field.type.pos, quoted(field.type.name) + " takes nothing in brackets.");
      const bool lengthed = type->cls != Class::V && type->kind == TypeKind::Record && !type->custom;
      if (field.valueOnly && !lengthed)
         error(ValueOfNoLength, field.type.pos,
               quoted(field.type.name) + " is no described record with a length that could be left out.");
   }

   void entries(unsigned bits, const TypeRef& ref, Pos pos) {
      if (bits || !ref.type) return;
      Width width = widthOf(*ref.type);
      if (!width.open && width.high == 0)
         error(NoEntryBits, pos, quoted(ref.name) + " takes no bits, so that the repetition has no end.");
   }

   static const Type* closedEnum(const Expr& by) {
      const Field* field = by.path.empty() ? nullptr : by.path.back();
      const Type* type = field && field->kind == Kind::Named ? withoutAliases(field->type.type) : nullptr;
      return type && type->kind == TypeKind::Enum && !type->unchecked && !type->checked ? type : nullptr;
   }

   void choice(const Field& field) {
      if (field.arms.empty()) error(EmptyChoice, field.pos, "The choice has no arms.");
      // Another selector than an expression has been told by the reader.
      const bool by = field.selector == Selector::Field;
      if (field.selector == Selector::Pattern) patterns(field);
      const Range all = by ? rangeOf(*field.argument) : Range{0, kAnySelector};
      const Type* closed = by && !standard_ ? closedEnum(*field.argument) : nullptr;
      std::vector<Arm::Range> seen;
      const Arm* otherwise = nullptr;
      for (const Arm& arm : field.arms) {
         if (arm.isElse && otherwise) error(DuplicateArm, arm.pos, "The choice has an `else` already.");
         if (arm.isElse) otherwise = &arm;
         for (const Arm::Range& range : arm.values) {
            if (range.low > range.high)
               error(BoundsReversed, arm.pos,
                     "The range " + text(range.low) + ".." + text(range.high) + " is empty.");
            const auto low = static_cast<uint64_t>(std::max<int64_t>(all.low, 0));
            const auto high = static_cast<uint64_t>(all.high);
            const bool named = !closed || std::ranges::any_of(closed->rows, [&](const EnumRow& row) {
               return row.value >= range.low && row.value <= range.high;
            });
            if (range.high > high || range.low < low || !named)
               error(ValueTooWide, arm.pos,
                     "The selector cannot have the value " +
                           text(range.high > high ? range.high : range.low) + ".");
            for (const Arm::Range& other : seen)
               if (range.low <= other.high && other.low <= range.high) {
                  error(DuplicateArm, arm.pos,
                        by ? "The value " + text(std::max(range.low, other.low)) + " has an arm already."
                           : "These bits lead an arm already.");
                  break;
               }
            seen.push_back(range);
         }
      }
      int64_t left = all.high - all.low + 1;
      for (const Arm::Range& range : seen) left -= static_cast<int64_t>(range.high - range.low) + 1;
      if (otherwise && left <= 0)
         error(UnreachableArm, otherwise->pos,
               "Each value of the selector has an arm, none is left for `else`.");
   }

   // A pattern that begins with another one would never be met.
   void patterns(const Field& field) {
      const auto high = [](const Arm& arm) { return arm.pattern.find_first_of("LH") != std::string::npos; };
      for (const Arm& arm : field.arms)
         for (const Arm& other : field.arms)
            if (&arm != &other && high(arm) == high(other) && arm.pattern.starts_with(other.pattern) &&
                (arm.pattern != other.pattern || &other < &arm))
               error(DuplicateArm, arm.pos, "These bits lead an arm already.");
      for (const Arm& arm : field.arms)
         if (high(arm) != high(field.arms.front()))
            error(UnevenPatterns, arm.pos, "The arms of a choice are led by plain bits, or all by L and H.");
   }

   // Messages

   void elements(const Type& message) {
      std::map<unsigned, const Field*> seen;
      unsigned halves = 0; // bit per half-octet IEI
      eachField(message.fields, [&](const Field& field) {
         if (field.ieiBits == 4) halves |= 1u << field.iei;
      });
      eachField(message.fields, [&](const Field& field) {
         if (!field.ieiBits) return;
         // The scan looks up by value alone, so that 8- and 08 are one.
         if (!seen.emplace(field.iei, &field).second && !message.twins)
            error(DuplicateIei, field.pos, "An element of this message has that IEI already.");
         if (field.ieiBits == 4 && field.iei < 8)
            error(HalfOctetRange, field.pos, "A half-octet IEI is 8 to F.");
         Width width =
               field.kind == Kind::Named && field.type.type ? widthOf(*field.type.type) : widthOf(field);
         bool four = width.fixed() && width.low == 4;
         if (field.kind != Kind::Named) four = !width.open && width.high == 4;
         if (field.ieiBits == 4 && !field.present && !four)
            error(HalfOctetWidth, field.pos,
                  "Behind a half-octet IEI stand 4 bits, and this element is none of 4 bits.");
         if (field.ieiBits == 8 && (halves >> (field.iei >> 4) & 1))
            error(HiddenIei, field.pos, "The scan takes this octet for a half-octet element of the message.");
      });
   }

   void table(const Type& pdu) {
      bool unioned = false;
      eachField(pdu.fields, [&](const Field& field) { unioned |= field.kind == Kind::Messages; });
      if (!unioned && !pdu.table.empty())
         error(NoUnion, pdu.table.front().pos,
               quoted(pdu.name) + " has no field of `messages` for the table.");
      for (auto* rows : {&pdu.table, &pdu.secondTable}) {
         std::map<uint64_t, const TableRow*> selectors;
         std::set<std::pair<uint64_t, uint64_t>> keys;
         std::set<std::pair<std::string, uint64_t>> arms;
         for (const TableRow& row : *rows) {
            if (!row.header.empty() && arms.emplace(row.header, row.arm).second && !hasArm(pdu, row))
               error(UnknownName, row.pos,
                     "The field " + quoted(row.header) + " is no record of one `choice unsent` with arm " +
                           text(row.arm) + ".");
            if (!keys.emplace(row.disc, row.msgType).second)
               error(DuplicateMessage, row.pos,
                     "A message with this discriminator and type is already there.");
            auto [hit, fresh] = selectors.emplace(row.selector, &row);
            if (!fresh && hit->second->member != row.member)
               error(DuplicateSelector, row.pos,
                     "The selector " + text(row.selector) + " is that of " + quoted(hit->second->member) +
                           " already.");
         }
      }
   }

   static bool hasArm(const Type& pdu, const TableRow& row) {
      for (auto& field : pdu.fields) {
         const Type* type = field->name == row.header ? withoutAliases(field->type.type) : nullptr;
         if (type == nullptr || type->fields.size() != 1 || type->fields[0]->selector != Selector::Record)
            continue;
         return row.arm >= 1 && row.arm <= type->fields[0]->arms.size();
      }
      return false;
   }

   // Does `at` hold `goal` inline, or a structure another one in a list, which bits could nest without end?
   bool holds(const Type& at, const Type& goal, std::vector<const Type*>& way) {
      if (std::find(way.begin(), way.end(), &at) != way.end()) return false;
      way.push_back(&at);
      auto into = [&](const Type* inner) { return inner && (inner == &goal || holds(*inner, goal, way)); };
      const bool any = goal.structure;
      bool found = at.kind != TypeKind::List || !at.storage.heap || any ? into(at.base.type) : false;
      for (const TableRow& row : at.table) found = found || (row.inlineValue && into(row.record.type));
      eachField(at.fields, [&](const Field& field) {
         bool inlined =
               field.kind == Kind::Named || (field.kind == Kind::Each && (!field.storage.heap || any));
         found = found || (inlined && into(field.type.type));
      });
      return found;
   }

   const Model& model_;
   Diagnostics& diagnostics_;
   bool standard_ = false;
};

} // namespace

void check(const Model& model, Diagnostics& diagnostics) {
   Checker(model, diagnostics).run();
   checkCoding(model, diagnostics);
}

} // namespace l3c
