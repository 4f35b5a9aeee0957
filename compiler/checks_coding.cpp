// What the frame has no words for, and what no octets can be: order in a container, expressions, lengths,
// vectors.
#include "compiler/walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace l3c {
namespace {

using Fields = std::vector<std::unique_ptr<Field>>;

// What the fields of a container have come to: one that takes all that is left, so that nothing may
// follow, and one that is there only if something is left, so that nothing may follow that must be there.
struct Flow {
   const Field* taker = nullptr;
   const Field* perhaps = nullptr;
};

// Where in an octet something may begin or end: bit k for k bits behind its start.
using Places = unsigned;
constexpr Places kStart = 1, kAnywhere = 255, kBroken = 256;

Places moved(Places at, unsigned bits) {
   bits %= 8;
   return ((at << bits | (at & kAnywhere) >> (8 - bits)) & kAnywhere) | (at & kBroken);
}

class CodingChecker {
public:
   CodingChecker(const Model& model, Diagnostics& diagnostics) : model_(model), diagnostics_(diagnostics) {}

   void run() {
      for (auto& module : model_.modules) {
         for (auto& one : module->types) {
            type(*one);
            if (one->standard) type(*one->standard);
         }
         for (auto& test : module->tests) vector(test);
      }
   }

private:
   void error(int number, Pos pos, std::string sentence) {
      diagnostics_.error(number, pos, std::move(sentence));
   }
   void refuse(bool given, Pos pos, const char* sentence) {
      if (given) error(NotCoded, pos, sentence);
   }

   void type(const Type& type) {
      const bool list = type.kind == TypeKind::List;
      refuse(list && type.entries != Entries::Rest && (!type.storage.heap || !type.bounds.empty()), type.pos,
             "What bits of its own count is kept on the heap and has no bounds.");
      refuse(type.bare && type.bits % 8 != 0, type.pos, "Behind a length stand whole octets.");
      refuse(type.cls == Class::LB && !type.bounds.empty(), type.pos, "A length in bits has no bounds.");
      if (type.times) {
         expression(*type.times, !type.freeCount);
         count(*type.times, type.storage, type.bounds, type.pos);
      }
      if (type.structure) return structure(type);
      plain(type);
      if (type.custom || !type.table.empty()) return; // what their codecs by hand do is their own
      container(type.fields, true);
      through(type.fields, type.cls == Class::LV || type.cls == Class::LVE ? kStart : kAnywhere, true);
      for (auto& field : type.fields) this->field(*field, type.cls != Class::V);
      if (type.kind == TypeKind::Record && type.cls != Class::V && type.cls != Class::L4)
         lengthFits(type.fields, type.bounds, lengthBits(type), type.cls == Class::LB ? 1 : 8, type.pos);
   }

   // What CSN.1 alone has goes with the codecs of structures.
   void plain(const Type& type) {
      static const char* const alone = "This stands in a structure alone.";
      refuse(type.pattern && !type.module->isCsn1(), type.pos, alone);
      refuse(list(type) && (type.entries == Entries::Zeros || type.entries == Entries::Highs), type.pos,
             alone);
      eachField(type.fields, [this](const Field& field) {
         const Type* own = withoutAliases(field.type.type);
         refuse(field.lead == Lead::High || field.kind == Kind::Padding || field.kind == Kind::Const ||
                      field.kind == Kind::Unary || field.kind == Kind::SizedBits ||
                      field.kind == Kind::FillBits || field.own || field.inBits || field.zeros != 0 ||
                      field.selector == Selector::Pattern || (own != nullptr && own->pattern) ||
                      (field.kind == Kind::Each && field.entries != Entries::Rest &&
                       field.entries != Entries::Flags),
                field.pos, alone);
         for (const Expr* e : {field.argument.get(), field.second.get(), field.when.get()})
            if (e != nullptr) calls(*e);
      });
   }
   void calls(const Expr& e) {
      refuse(e.op == Expr::Op::Call, e.pos, "Only structures have functions.");
      for (const Expr* inner : {e.left.get(), e.right.get()})
         if (inner != nullptr) calls(*inner);
   }
   static bool list(const Type& type) { return type.kind == TypeKind::List; }

   // CSN.1 knows no octets but those of its lengths, and its parts may end anywhere.
   void structure(const Type& type) {
      refuse(type.entries == Entries::Ext, type.pos, "A structure has no ext bits.");
      refuse(type.returns && type.cls != Class::V, type.pos,
             "Nothing closes the length of what returns early.");
      if (type.custom) return;
      container(type.fields, true);
      eachField(type.fields, [this](const Field& field) {
         refuse(field.kind == Kind::Group || (field.kind == Kind::Each && !field.type.type), field.pos,
                "What a structure has inside has a type by place.");
         refuse(field.kind == Kind::Chain || field.kind == Kind::Since || field.kind == Kind::Swap ||
                      field.kind == Kind::Counted || field.aside || field.valueOnly || field.ahead ||
                      field.bareBits || field.counted || (field.kind == Kind::Fill && field.bits == 16),
                field.pos, "A structure has no words of octets but its lengths.");
         refuse(field.kind == Kind::Choice && field.selector != Selector::Pattern, field.pos,
                "The arms of a structure's choice are led by bits.");
         for (const Arm& arm : field.arms) brackets(arm);
         refuse(field.truncatable && field.when, field.pos, "A condition needs no bit of its own.");
         refuse((field.kind == Kind::SizedBits || field.kind == Kind::FillBits ||
                 field.kind == Kind::BitTail) &&
                      !field.bounds.empty(),
                field.pos, "Bits have no bounds but their capacity.");
         refuse(field.kind == Kind::SizedBits && field.storage.heap, field.pos,
                "Bits of a size are kept inline.");
         refuse(field.guarded && !goesBlank(field), field.pos,
                "What is not there is read as 0: an integer, an L or a structure.");
         if (field.when) ownFieldsAlone(*field.when);
         if (field.kind == Kind::Frame || field.kind == Kind::Bare) length(field);
         expressions(field);
      });
   }

   static bool goesBlank(const Field& field) {
      if (field.kind != Kind::Named)
         return field.kind == Kind::Uint || field.kind == Kind::Flag || field.kind == Kind::BitTail;
      const Type* type = withoutAliases(field.type.type);
      if (type == nullptr || type->presized) return false;
      if (type->kind == TypeKind::Record) // without a selector, which would have to name an arm
         return std::ranges::none_of(type->fields, [](auto& one) { return one->kind == Kind::Choice; });
      return type->kind == TypeKind::Enum || type->kind == TypeKind::Number;
   }

   // A condition is asked where a codec of a type by place is called alone, too.
   void ownFieldsAlone(const Expr& e) {
      refuse(e.parameter && !e.path.empty(), e.pos, "The structure around tells sizes alone.");
      for (const Expr* inner : {e.left.get(), e.right.get()})
         if (inner != nullptr) ownFieldsAlone(*inner);
   }

   void length(const Field& field) {
      const bool octets = !field.inBits && (field.bits == 8 || field.bits == 16);
      if (field.bits > 8 && !octets)
         error(BadWidth, field.pos, "A length in a structure has 1 to 8 bits, or 16 if it counts octets.");
      refuse(field.kind == Kind::Bare && !octets, field.pos, "A bare length has 8 or 16 bits.");
      refuse(!field.bounds.empty() && !octets, field.pos, "A length of such a width has no bounds.");
      const Width width = widthOf(field.fields);
      const uint64_t least = field.inBits ? width.low : (width.low + 7) / 8, less = field.less;
      if (least > maxOf(field.bits) + less || (!width.open && width.high < less))
         error(LengthUnfit, field.pos, "The length doesn't allow what stands in it.");
   }

   // Order in a container

   Flow container(const Fields& fields, bool tell, Flow flow = {}) {
      for (auto& field : fields)
         if (!field->ieiBits && !(field->aside && field->kind == Kind::Uint)) step(*field, flow, tell);
      return flow;
   }

   void step(const Field& field, Flow& flow, bool tell) {
      const bool passable = field.optional || field.guarded || field.kind == Kind::Since;
      if (field.kind == Kind::Padding || field.kind == Kind::Const) return; // is passed over where it isn't
      if (flow.taker && !(flow.taker->kind == Kind::Each && passable)) {
         if (tell)
            error(AfterTail, field.pos,
                  quoted(flow.taker->name) + " takes all that is left, so that nothing may follow it.");
         flow.taker = nullptr;
      }
      if (flow.perhaps && !passable && leastBits(field) > 0) {
         if (tell)
            error(NotLast, field.pos,
                  quoted(flow.perhaps->name) + " is there if something is left, which this always is.");
         flow.perhaps = nullptr;
      }
      Flow inner = passable ? Flow{} : flow;
      if (field.kind == Kind::Bare || (field.kind == Kind::Frame && !field.aside))
         container(field.fields, tell);
      else if (field.kind != Kind::Chain)
         inner = container(field.fields, tell, inner);
      for (const Arm& arm : field.arms) {
         Flow own;
         step(*arm.field, own, tell);
         if (own.taker) inner.taker = &field;
         if (own.perhaps) inner.perhaps = &field;
      }
      const Type* type =
            field.kind == Kind::Named && !field.valueOnly ? withoutAliases(field.type.type) : nullptr;
      if (tell && field.kind == Kind::Each && field.type.type && endOf(*field.type.type).taker)
         error(AfterTail, field.type.pos,
               quoted(field.type.name) + " takes all that is left, so that no entry may follow it.");
      if (type && !field.bareBits) {
         const Flow own = endOf(*type);
         if (own.taker) inner.taker = &field;
         if (own.perhaps) inner.perhaps = &field;
      }
      const bool all = field.kind == Kind::Tail || field.kind == Kind::BitTail || field.kind == Kind::Fill ||
                       field.kind == Kind::FillBits ||
                       (field.kind == Kind::Each && !field.argument && field.entries == Entries::Rest);
      if (all && !field.bareBits) inner.taker = &field;
      const bool byRest = !field.when && field.lead == Lead::None;
      if (passable && !byRest) return;
      if (inner.taker) flow.taker = inner.taker;
      if (inner.perhaps) flow.perhaps = inner.perhaps;
      // How often a counted one is there its count tells.
      const bool counted = field.kind == Kind::Each && field.argument;
      if (passable && !field.guarded && !counted) flow.perhaps = &field;
      if (field.kind == Kind::Chain && !field.fields.empty() && field.fields[0]->optional)
         flow.perhaps = field.fields[0].get();
   }

   static uint64_t leastBits(const Field& field) {
      if (field.kind == Kind::Chain) return !field.fields.empty() && field.fields[0]->optional ? 0 : 1;
      return widthOf(field).low;
   }

   // What a type without a length leaves to the fields behind it.
   Flow endOf(const Type& type) {
      static const Field some; // only its being there is looked at
      const bool open = type.kind == TypeKind::List && !type.bare && !type.times && !type.presized &&
                        type.entries == Entries::Rest;
      const bool string = type.kind == TypeKind::Octets || type.kind == TypeKind::Bits;
      if (open || (string && type.fill)) return {&some, nullptr};
      if (type.kind != TypeKind::Record || type.cls != Class::V || type.custom) return {};
      auto [place, fresh] = ends_.emplace(&type, Flow{});
      if (fresh) {
         const Flow flow = container(type.fields, false);
         ends_[&type] = flow;
         return flow;
      }
      return place->second;
   }

   // Octets

   // The frame codes lengths of octets, and what they hold, at the start of an octet. These follow the fields
   // from where they may begin to where they may end, and give kBroken with it if a length cannot.
   Places through(const Fields& fields, Places at, bool tell) {
      for (auto& field : fields)
         if (!field->ieiBits && !(field->aside && field->kind == Kind::Uint)) at = through(*field, at, tell);
      return at;
   }

   Places through(const Field& field, Places at, bool tell) {
      if (field.lead != Lead::None) at = moved(at, 1);
      Places end = at;
      if (field.kind == Kind::Each && !field.bareBits) {
         const unsigned flag = field.entries == Entries::Flags ? 1 : 0;
         for (Places before = 0; before != end;) {
            before = end;
            end |= contents(field, moved(end, flag));
         }
         end = moved(end, flag);
      } else {
         end = contents(field, at);
         if (field.optional || field.guarded || field.kind == Kind::Since) end |= at;
      }
      if (tell && (end & kBroken) && !(at & kBroken)) {
         error(NotCoded, field.pos,
               "A length of octets stands at the start of an octet, and this is inside one.");
         return kAnywhere;
      }
      return end;
   }

   static Places length(Places at) { return at & kStart ? kStart : kStart | kBroken; }

   Places contents(const Field& field, Places at) {
      if (field.bareBits || field.kind == Kind::Counted) return length(at) | (at & kBroken);
      switch (field.kind) {
      case Kind::Flag:
      case Kind::Uint: return moved(at, field.bits);
      case Kind::BitTail: return at | kAnywhere;
      case Kind::Named:
         return field.valueOnly || field.ahead ? at : contents(withoutAliases(field.type.type), at);
      case Kind::Each:
         return field.type.type ? contents(withoutAliases(field.type.type), at) : moved(at, field.bits);
      case Kind::Frame:
      case Kind::Bare: return field.aside ? through(field.fields, at, false) : length(at) | (at & kBroken);
      case Kind::Group:
      case Kind::Since:
      case Kind::Swap: return through(field.fields, at, false);
      case Kind::Choice: {
         Places end = 0;
         for (const Arm& arm : field.arms) end |= through(*arm.field, moved(at, field.bits), false);
         return end;
      }
      default: return at; // octets, chains, nothing
      }
   }

   Places contents(const Type* type, Places at) {
      if (!type) return kAnywhere;
      if (type->cls == Class::LV || type->cls == Class::LVE) return length(at) | (at & kBroken);
      if (type->cls == Class::L4) { // ends an octet, with or without what is beside it
         const bool beside = !type->fields.empty() && type->fields.front()->beside;
         return length(beside ? at : moved(at, 4)) | (at & kBroken);
      }
      if (type->custom || type->cls != Class::V) return at | kAnywhere;
      if (type->kind == TypeKind::Enum || type->kind == TypeKind::Number) return moved(at, type->bits);
      if (type->kind == TypeKind::List) return at | kAnywhere;
      if (type->kind != TypeKind::Record) return at;
      auto [place, fresh] = ways_.emplace(std::pair(type, at), kAnywhere);
      if (fresh) {
         const Places end = through(type->fields, at, false);
         ways_[{type, at}] = end;
         return end;
      }
      return place->second;
   }

   // Fields

   // `lengthed`: right inside a length.
   void field(const Field& field, bool lengthed) {
      const bool frame = (field.kind == Kind::Frame && !field.aside) || field.kind == Kind::Bare;
      const bool passable = field.optional || field.guarded;
      refuse(field.kind == Kind::Each && field.entries != Entries::Rest &&
                   (!field.storage.heap || !field.bounds.empty()),
             field.pos, "What bits of its own count is kept on the heap and has no bounds.");
      refuse(field.kind == Kind::Fill && field.bits == 16, field.pos, "Characters are coded by hand alone.");
      refuse(field.lead != Lead::None && field.truncatable != lengthed, field.pos,
             lengthed ? "Right inside a length a leading bit may be missing: `null|0|1`."
                      : "No length is around that could end ahead of the bit: `0|1`.");
      const bool octets = field.kind == Kind::Sized || field.kind == Kind::Fill || field.kind == Kind::Tail;
      refuse(!field.bounds.empty() && (field.aside || (octets && field.storage.heap)), field.pos,
             "What is unsent or on the heap has no bounds but those of its count.");
      refuse(field.aside && passable, field.pos, "What is unsent is always there.");
      refuse(field.bareBits &&
                   (field.lead != Lead::None || field.when || (field.guarded && field.kind != Kind::Uint)),
             field.pos, "Whether a field in a bare length is there tells what is left in it.");
      refuse(field.kind == Kind::Since && !lengthed, field.pos, "`since` stands right inside a length.");
      refuse(field.ahead && !isLedChoice(field.type.type), field.type.pos,
             "`ahead` goes with a record that is one choice by a bit, without a name.");
      if (frame && field.bits != 8 && field.bits != 16)
         error(BadWidth, field.pos, "A length around fields has 8 or 16 bits.");
      if (field.ieiBits) element(field);
      if (field.kind == Kind::Chain) chain(field);
      if (field.counted) counted(field, *field.counted);
      if (frame) lengthFits(field.fields, field.bounds, field.bits, 8, field.pos);
      expressions(field);
      const bool inside = frame || (lengthed && field.onlyOnWire());
      for (auto& inner : field.fields) this->field(*inner, inside);
      for (const Arm& arm : field.arms) {
         refuse(arm.field->aside, arm.pos, "What is unsent is no arm of a choice.");
         brackets(arm);
         this->field(*arm.field, false);
      }
   }

   void brackets(const Arm& arm) {
      refuse(arm.field->onlyOnWire() && !arm.field->aside, arm.pos,
             "Fields without a record around them are no arm of a choice.");
   }

   static bool isLedChoice(const Type* type) {
      type = withoutAliases(type);
      if (!type || type->kind != TypeKind::Record || type->fields.size() != 1) return false;
      const Field& choice = *type->fields.front();
      return choice.kind == Kind::Choice && choice.name.empty() && choice.selector == Selector::Bits &&
             choice.bits == 1;
   }

   void element(const Field& field) {
      const bool choice = field.kind == Kind::Choice;
      const bool number = field.kind == Kind::Uint && field.ieiBits == 4;
      refuse(!choice && !field.present && !number &&
                   (field.kind != Kind::Named || field.argument || field.ahead || field.bareBits),
             field.pos, "An optional element is a type, `T` or a choice.");
      refuse(choice != (field.cls != Class::V), field.pos,
             "`as` gives the class of a choice, and each needs one.");
   }

   void chain(const Field& chain) {
      for (auto& one : chain.fields) {
         const Field& field = *one;
         const Type* type = field.kind == Kind::Named ? withoutAliases(field.type.type) : nullptr;
         const bool list = field.kind == Kind::Each || (type && type->kind == TypeKind::List);
         refuse(field.onlyOnWire() || field.lead != Lead::None || field.when || field.guarded ||
                      field.aside || field.bareBits || (field.kind == Kind::Each && !field.type.type),
                field.pos, "The ext bit alone tells whether an octet of the chain follows.");
         refuse(&one != &chain.fields.front() && !field.optional && !list, field.pos,
                "Behind the first octet of a chain each is optional.");
      }
   }

   void counted(const Field& number, const Field& octets) {
      const bool counts = octets.kind == Kind::Sized || octets.kind == Kind::Tail ||
                          octets.kind == Kind::Counted || (octets.kind == Kind::Fill && octets.bits != 16);
      refuse(!counts, number.pos, "What `= octets` counts is a field of octets.");
      if (octets.storage.capacity > maxOf(number.bits) - std::min(number.countsPlus, maxOf(number.bits)))
         error(BoundsTooWide, number.pos,
               "The octets of " + quoted(octets.name) + " can be more than " + text(number.bits) +
                     " bits tell.");
   }

   // Expressions

   void expressions(const Field& field) {
      const Expr* argument = field.argument.get();
      const bool sizes = field.type.type && field.type.type->presized;
      const bool decoderOnly =
            (field.kind == Kind::Named && !sizes) || (field.kind == Kind::Each && field.freeCount);
      if (argument) expression(*argument, !decoderOnly);
      if (field.second) expression(*field.second, false);
      if (field.when) expression(*field.when, false);
      if (field.entry && field.entry->argument) expression(*field.entry->argument, true);
      if (argument &&
          (field.kind == Kind::Each || field.kind == Kind::Sized || field.kind == Kind::SizedBits))
         count(*argument, field.storage, field.bounds, field.pos);
   }

   void expression(const Expr& e, bool encoder) {
      refuse(encoder && (e.op == Expr::Op::Rest || (e.parameter && e.path.empty())), e.pos,
             "`rest` and what a type is called with are known to decoders alone.");
      const Field* named = e.op == Expr::Op::Name && !e.path.empty() ? e.path.back() : nullptr;
      if (named && !rangeOf(*named)) error(NoNumber, e.pos, quoted(e.name) + " is no number.");
      const Range range = rangeOf(e);
      if (range.low < 0) error(ValueOutOfRange, e.pos, "The difference can be below 0.");
      if (range.high > int64_t{UINT32_MAX} && e.left && range.low >= 0)
         error(ValueOutOfRange, e.pos, "The value can be beyond 32 bits.");
      if (range.low < 0) return;
      if (e.left) expression(*e.left, encoder);
      if (e.right) expression(*e.right, encoder);
   }

   void count(const Expr& e, const Storage& storage, const Bounds& bounds, Pos pos) {
      const uint64_t most =
            std::min(storage.heap ? UINT64_MAX : storage.capacity, bounds.high.value_or(UINT64_MAX));
      const int64_t least = rangeOf(e).low;
      if (least > 0 && static_cast<uint64_t>(least) > most)
         error(CountTooLarge, pos,
               "There are at least " + text(static_cast<uint64_t>(least)) + ", and room for " + text(most) +
                     ".");
   }

   // Lengths and vectors

   void lengthFits(const Fields& fields, const Bounds& bounds, unsigned bits, unsigned unit, Pos pos) {
      const Width width = widthOf(fields);
      const uint64_t least = (width.low + unit - 1) / unit, most = (width.high + unit - 1) / unit;
      const bool none = !bounds.values.empty() && std::ranges::none_of(bounds.values, [&](uint64_t one) {
         return one >= least && (width.open || one <= most);
      });
      if (none || least > bounds.high.value_or(maxOf(bits)) || (!width.open && most < bounds.low.value_or(0)))
         error(LengthUnfit, pos,
               "The contents take " + text(least) +
                     (width.open      ? " or more"
                      : most == least ? ""
                                      : " to " + text(most)) +
                     ", which the length doesn't allow.");
   }

   void vector(const TestVector& test) {
      const Type* type = withoutAliases(test.type.type);
      if (!type || type->kind == TypeKind::Message || type->kind == TypeKind::Pdu) return;
      const size_t size = test.octets.size();
      const Width width = widthOf(*type);
      bool fits = size * 8 + 7 >= width.low && (width.open || size * 8 <= width.high + 7);
      if (type->cls == Class::LV || type->cls == Class::LVE) {
         const size_t head = type->cls == Class::LV ? 1 : 2;
         uint64_t length = 0;
         for (size_t i = 0; i < head && i < size; ++i) length = length << 8 | test.octets[i];
         const Bounds& bounds = type->bounds;
         const bool number =
               type->kind == TypeKind::Number || type->kind == TypeKind::List; // bounds are not the length's
         fits = fits && size == head + length &&
                (number || (length >= bounds.low.value_or(0) && length <= bounds.high.value_or(length)));
      }
      if (!fits) error(BadVector, test.pos, "These are no octets of " + quoted(test.type.name) + ".");
   }

   const Model& model_;
   Diagnostics& diagnostics_;
   std::map<const Type*, Flow> ends_;
   std::map<std::pair<const Type*, Places>, Places> ways_;
};

} // namespace

void checkCoding(const Model& model, Diagnostics& diagnostics) {
   CodingChecker(model, diagnostics).run();
}

} // namespace l3c
