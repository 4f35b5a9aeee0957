#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/program.h"
#include "compiler/walk.h"

#include <algorithm>
#include <map>

namespace l3c {

namespace {

using Fields = std::vector<std::unique_ptr<Field>>;

// The end of a record, for what only the standard form of the type has.
constexpr const char* kAppendix = "standard.";

// Is there a codec by hand behind a length in the type? One that finds its length used up returns with its
// record as it was, counts and pointers included.
bool mayStayUnset(const Type& type) {
   const Type& base = baseType(type);
   return (base.custom && base.cls != Class::V) || anyField(base.fields, [](const Field& field) {
             return field.type.type != nullptr && mayStayUnset(*field.type.type);
          });
}

// Where the fields at hand lie.
struct Place {
   std::string record;    // prefix of their members
   bool inLength = false; // among the octets of a length
   bool arm = false;
   std::string root;              // record that expressions begin at
   const Fields* level = nullptr; // the record with their presence bits
   std::string levelRecord;       // and its prefix

   Place inner() const {
      Place place = *this;
      place.inLength = false;
      return place;
   }
   // A record of its own among the same.
   Place recordAt(const std::string& prefix, const Fields& fields) const {
      Place place = inner();
      place.record = place.levelRecord = prefix;
      place.level = &fields;
      return place;
   }
};

bool isPassable(const Field& field) {
   return field.optional || field.guarded || field.kind == Kind::Since;
}

class Lowering {
public:
   explicit Lowering(const Type& type) : type_(type) { program_.type = &type; }

   Program run() {
      Place place;
      place.level = &type_.fields;
      const bool byLength = type_.cls != Class::V;
      switch (type_.kind) {
      case TypeKind::Number: {
         Step& step = program_.steps.emplace_back(value(Op::Integer));
         step.bits = type_.bits;
         step.bounds = type_.bounds;
         if (type_.plain) step.names = &type_.rows;
         break;
      }
      case TypeKind::Octets:
      case TypeKind::Bits: string(); break;
      case TypeKind::List: {
         Step& step = program_.steps.emplace_back(value(Op::List));
         list(step, type_.base.type, type_.bits, type_.bounds, type_.storage, type_.entries);
         step.typeName = type_.base.name;
         step.freeCount = type_.freeCount;
         step.preset = type_.presized;
         step.argument = term(type_.times.get(), place);
         break;
      }
      case TypeKind::Record: sequence(type_.fields, withLength(place, byLength), true, program_.steps); break;
      case TypeKind::Message:
         sequence(type_.fields, place, false, program_.steps);
         for (auto& field : type_.fields)
            if (field->ieiBits != 0) program_.optional.push_back(element(*field, place));
         break;
      case TypeKind::Pdu: sequence(type_.fields, place, false, program_.steps); break;
      default: break;
      }
      return std::move(program_);
   }

private:
   static Place withLength(Place place, bool inLength) {
      place.inLength = inLength;
      return place;
   }

   static Step value(Op op) {
      Step step;
      step.op = op;
      return step;
   }

   void string() {
      const bool bits = type_.kind == TypeKind::Bits;
      Step& step = program_.steps.emplace_back(value(Op::Counted));
      if (type_.count != 0)
         step.op = bits ? Op::Bits : Op::Octets;
      else if (bits)
         step.op = type_.presized ? Op::SizedBits : Op::RestBits;
      else if (type_.fill || type_.presized)
         step.op = Op::Sized;
      step.count = type_.count;
      step.bits = bits ? 0 : type_.cls == Class::LVE ? 16 : 8;
      step.bounds = type_.bounds;
      step.storage = type_.storage;
      step.rest = step.op == Op::Sized && type_.fill;
      step.preset = type_.presized;
      step.opensTail = type_.opensTail;
      step.last = true;
   }

   static Term term(const Expr* expr, const Place& place) { return {expr, place.root, place.record}; }

   static void list(Step& step, const Type* entry, unsigned bits, const Bounds& bounds,
                    const Storage& storage, Entries entries) {
      step.type = entry;
      step.bits = bits;
      step.bounds = bounds;
      step.storage = storage;
      step.entries = entries;
      // No initialiser of the record around an array has been at its elements.
      step.entryInits = entry != nullptr && (storage.heap || mayStayUnset(*entry)) && hasInit(*entry);
   }

   const std::vector<PresenceBit>& bitsOf(const Fields& level) const {
      const auto [hit, fresh] = bits_.try_emplace(&level);
      if (fresh) hit->second = presenceBits(level);
      return hit->second;
   }
   BitPlace bit(const Place& place, const Field* field, int group) const {
      const auto& bits = bitsOf(*place.level);
      for (size_t i = 0; i < bits.size(); ++i)
         if (field != nullptr ? bits[i].field == field : bits[i].field == nullptr && bits[i].group == group)
            return {place.levelRecord, bits[i].name, numberOf(place, bits[i].name, i)};
      return {};
   }
   // A standard form goes by the bits of the type itself.
   size_t numberOf(const Place& place, const std::string& name, size_t number) const {
      if (type_.original == nullptr || place.level != &type_.fields) return number;
      const auto& bits = bitsOf(type_.original->fields);
      const auto hit = std::ranges::find_if(bits, [&](auto& bit) { return bit.name == name; });
      return hit == bits.end() ? number : static_cast<size_t>(hit - bits.begin());
   }
   void append(Step& step, const Field& field) const {
      const auto all = appendedFields(*type_.original);
      const auto at = std::ranges::find(all, &field) - all.begin();
      step.present = {std::string(kAppendix), appendixBit(field), static_cast<size_t>(at), field.mayMiss};
   }

   // Fields one behind the other. `last`: nothing follows in the codec that must be there.
   void sequence(const Fields& fields, const Place& place, bool last, std::vector<Step>& steps) {
      const size_t first = steps.size();
      for (size_t i = 0; i < fields.size() && fields[i]->ieiBits == 0; ++i) {
         const Field& field = *fields[i];
         bool isLast = last;
         for (size_t next = i + 1; next < fields.size(); ++next) isLast = isLast && isPassable(*fields[next]);
         if (field.aside && field.kind != Kind::Frame && i + 1 < fields.size()) {
            Step span = base(Op::Span, field, place);
            span.bits = field.bits;
            span.steps.push_back(one(*fields[++i], place, false));
            span.width = span.steps.front().width;
            steps.push_back(std::move(span));
         } else if (field.beside) {
            steps.push_back(one(field, place.inner(), false));
         } else {
            steps.push_back(one(field, place, isLast));
         }
      }
      for (size_t i = first; i < steps.size(); ++i) {
         if (steps[i].field->counted == nullptr) continue;
         for (size_t j = i + 1; j < steps.size(); ++j) {
            if (steps[j].field != steps[i].field->counted) continue;
            steps[i].counts = j - i;
            steps[i].countsPlus = steps[i].field->countsPlus;
            steps[j].byCount = true;
         }
      }
   }

   Step base(Op op, const Field& field, const Place& place) const {
      Step step;
      step.op = op;
      step.field = &field;
      step.name = field.name;
      step.typeName = field.type.name;
      step.width = widthOf(field);
      step.keepsTail = field.leaveTail;
      step.appended = field.appended;
      step.beside = field.beside;
      step.optional = field.optional;
      step.init = field.init;
      step.sample = field.sample;
      if (!field.names().empty()) step.names = &field.names();
      step.place = field.appended ? std::string(kAppendix) : place.record;
      step.member = step.place + cName(field.name);
      step.logged = place.arm;
      return step;
   }

   // One field with its option.
   Step one(const Field& field, const Place& place, bool last) {
      Step step = contents(field, field.optional || field.guarded ? place.inner() : place, last);
      step.run = runBits(field);
      step.bareAround = field.bareBits;
      if (field.bareBits != 0) step.last = false;
      const bool chain = field.kind == Kind::Chain;
      step.quits = type_.returns && type_.structure && field.kind != Kind::Padding;
      if (!field.optional || chain) {
         step.guarded = field.guarded;
         step.endTested = place.inLength && field.kind != Kind::Null && field.kind != Kind::Swap &&
                          field.kind != Kind::Padding && !(field.kind == Kind::Frame && field.aside);
         if (field.appended) append(step, field);
         return step;
      }
      step.present = bit(place, &field, 0);
      if (field.appended || field.mayMiss) append(step, field);
      if (field.bareBits != 0) {
         step.when = When::IfMore;
         return step;
      }
      step.endTested = place.inLength;
      if (field.lead != Lead::None) {
         const bool perhaps = type_.structure ? field.truncatable : place.inLength;
         step.when = perhaps ? When::ByBitIfMore : When::ByBit;
         step.high = field.lead == Lead::High;
      } else {
         step.when = field.when ? When::IfTest : When::IfMore;
      }
      if (field.when) step.test = term(field.when.get(), place);
      return step;
   }

   // An optional element of a message.
   Step element(const Field& field, const Place& place) {
      Step step = contents(field, place, false);
      if (field.present) step.op = Op::Nothing;
      step.run = field.present ? 0 : runBits(field);
      step.iei = field.iei;
      step.ieiBits = field.ieiBits;
      step.cls = field.cls;
      step.groupNumber = field.appended ? 0 : field.group;
      step.present = bit(place, &field, 0);
      if (field.appended) append(step, field);
      if (field.group != 0 && !field.appended) step.group = bit(place, nullptr, field.group);
      return step;
   }

   Step contents(const Field& field, const Place& place, bool last) {
      Step step = base(Op::Nothing, field, place);
      step.bits = field.bits;
      step.bounds = field.bounds;
      step.storage = field.storage;
      step.count = field.count;
      switch (field.kind) {
      case Kind::Flag: step.op = Op::Flag; break;
      case Kind::Uint: step.op = Op::Integer; break;
      case Kind::Const:
         step.op = Op::Constant;
         step.number = field.number;
         break;
      case Kind::Octets:
      case Kind::Bits:
         step.op = field.kind == Kind::Octets ? Op::Octets : Op::Bits;
         step.last = last;
         break;
      case Kind::Named: named(step, place, last); break;
      case Kind::Counted: step.op = Op::Counted; break;
      case Kind::Sized:
         step.op = Op::Sized;
         step.argument = term(field.argument.get(), place);
         break;
      case Kind::Fill:
      case Kind::Tail:
         step.op = Op::Sized;
         step.rest = true;
         step.wide = field.kind == Kind::Fill && field.bits == 16;
         step.opensTail = field.kind == Kind::Tail;
         break;
      case Kind::BitTail:
      case Kind::FillBits:
         step.op = Op::RestBits;
         step.storage.heap = field.storage.heap || field.storage.capacity == 0;
         step.opensTail = type_.cls != Class::LB && field.kind == Kind::BitTail;
         break;
      case Kind::SizedBits:
         step.op = Op::SizedBits;
         step.argument = term(field.argument.get(), place);
         break;
      case Kind::Unary: step.op = Op::Unary; break;
      case Kind::Padding: step.op = Op::Padding; break;
      case Kind::Group:
         step.op = Op::Group;
         sequence(field.fields, place.recordAt(step.member + ".", field.fields), last, step.steps);
         break;
      case Kind::Each:
         step.op = Op::List;
         list(step, field.type.type, field.bits, field.bounds, field.storage, field.entries);
         step.argument = term(field.argument.get(), place);
         step.freeCount = field.freeCount;
         step.opensTail = field.tail;
         if (field.entry != nullptr) {
            Step entry = value(Op::Sized);
            entry.field = field.entry.get();
            entry.rest = field.entry->kind == Kind::Fill;
            if (!entry.rest) entry.argument = term(field.entry->argument.get(), place);
            entry.storage = field.entry->storage;
            step.steps.push_back(entry);
         }
         break;
      case Kind::Choice: choice(step, place, last); break;
      case Kind::Null: break;
      case Kind::Messages:
         step.op = Op::Pointers;
         step.table = !type_.second.empty() && field.name == type_.second ? &type_.secondTable : &type_.table;
         break;
      case Kind::Frame:
      case Kind::Bare: {
         step.op = field.aside ? Op::Span : Op::Length;
         Place inner = place;
         inner.inLength = inner.inLength || !field.aside;
         step.inBits = field.inBits;
         step.count = field.less;
         if (field.kind == Kind::Bare) step.member.clear();
         if (!field.aside && field.name.empty()) step.name = "length";
         sequence(field.fields, inner, last, step.steps);
         break;
      }
      case Kind::Swap:
         step.op = Op::Swap;
         for (auto& inner : field.fields) step.steps.push_back(one(*inner, place, false));
         break;
      case Kind::Since:
         step.op = Op::Since;
         step.groupNumber = field.group;
         step.number = field.number;
         step.present = bit(place, nullptr, field.group);
         step.returns = type_.returns;
         sequence(field.fields, place, last, step.steps);
         if (!step.returns) step.needs = widthOf(step.steps).low;
         break;
      case Kind::Chain: chain(step, place); break;
      }
      return step;
   }

   void named(Step& step, const Place& place, bool last) {
      const Field& field = *step.field;
      const Type& type = *field.type.type;
      const Type& base = baseType(type);
      step.type = &type;
      step.argument = term(field.argument.get(), place);
      step.second = term(field.second.get(), place);
      step.ahead = field.ahead;
      step.zeros = field.zeros;
      step.sizes = type.presized && field.argument != nullptr;
      step.op = base.kind == TypeKind::Pdu || base.kind == TypeKind::Message ? Op::Message : Op::Call;
      if (!field.valueOnly && field.ahead == 0) return;
      step.op = Op::Contents;
      Place inner = place.recordAt(step.member + ".", base.fields);
      inner.root = inner.record;
      inner.inLength = field.valueOnly;
      if (field.valueOnly)
         sequence(base.fields, inner, last, step.steps);
      else
         step.steps.push_back(contents(*base.fields.front(), inner, last));
   }

   void choice(Step& step, const Place& place, bool last) {
      const Field& field = *step.field;
      step.op = Op::Choice;
      if (field.name.empty()) step.member = place.record; // of `t` and `u`
      const std::string prefix = field.name.empty() ? place.record : step.member + ".";
      if (field.selector == Selector::Field) step.argument = term(field.argument.get(), place);
      step.selector = field.selector;
      step.high = field.selector == Selector::Pattern &&
                  field.arms.front().pattern.find_first_of("LH") != std::string::npos;
      Place inner = place.inner();
      inner.record = prefix + "u.";
      inner.arm = true;
      for (auto& arm : field.arms) {
         step.steps.push_back(one(*arm.field, inner, last));
         step.steps.back().arm = &arm;
      }
   }

   void chain(Step& step, const Place& place) {
      step.op = Op::Chain;
      step.skips = step.field->skip;
      for (auto& octet : step.field->fields) {
         Step inner = contents(*octet, place, false);
         inner.run = runBits(*octet);
         inner.endTested = place.inLength;
         if (octet->optional) inner.present = bit(place, octet.get(), 0);
         if (octet->kind == Kind::Named && baseType(*octet->type.type).kind == TypeKind::List) {
            const Type& type = baseType(*octet->type.type);
            inner.op = Op::List;
            inner.list = inner.type;
            list(inner, type.base.type, type.bits, type.bounds, type.storage, Entries::Ext);
         }
         step.steps.push_back(std::move(inner));
      }
      if (step.field->fields.front()->optional) step.when = When::IfMore;
   }

   const Type& type_;
   Program program_;
   mutable std::map<const Fields*, std::vector<PresenceBit>> bits_; // of each record, once
};

// A path begins at the record of the type. An optional field that is absent counts as 0.
std::string writtenPath(const Term& term, const Expr& e, const std::string& record) {
   std::string text = record + term.root, present;
   for (size_t i = 0; i < e.path.size(); ++i) {
      const Field& field = *e.path[i];
      if (i != 0 && text.back() != '>' && text.back() != '.') text += '.';
      if (field.optional && !(record + term.inside).starts_with(text + cName(field.name) + "."))
         present = text + (field.appended ? kAppendix : "") + "m." + presenceName(field);
      if (field.appended) text += kAppendix;
      if (!field.name.empty()) text += cName(field.name);
      if (field.kind == Kind::Choice) text += field.name.empty() ? "u" : ".u";
   }
   return present.empty() ? text : "(" + present + " ? " + text + " : 0)";
}

} // namespace

Program lower(const Type& type) {
   return Lowering(type).run();
}

Width widthOf(const std::vector<Step>& steps) {
   Width total;
   for (auto& step : steps) total = plus(total, step.width);
   return total;
}

namespace {

bool asksRest(const Expr* expr) {
   return expr != nullptr &&
          (expr->op == Expr::Op::Rest || asksRest(expr->left.get()) || asksRest(expr->right.get()));
}

bool endByThemselves(const std::vector<Step>& steps) {
   return std::ranges::all_of(steps, [](const Step& step) {
      if (step.bareAround != 0) return true; // a length of its own
      const bool byEnd = step.guarded || step.when == When::IfMore || step.when == When::ByBitIfMore;
      if (byEnd || asksRest(step.test.expr) || asksRest(step.argument.expr) || asksRest(step.second.expr))
         return false;
      switch (step.op) {
      case Op::Flag:
      case Op::Integer:
      case Op::Constant:
      case Op::Octets:
      case Op::Bits:
      case Op::Nothing:
      case Op::Counted:
      case Op::Length: return true;
      case Op::Sized: return !step.rest;
      case Op::Call: return endsByItself(*step.type);
      case Op::Contents: return step.ahead == 0;
      case Op::Group:
      case Op::Choice:
      case Op::Swap:
      case Op::Span: return endByThemselves(step.steps);
      case Op::Chain: // an octet that need not follow asks whether there is one
         return endByThemselves(step.steps) &&
                std::ranges::none_of(step.steps, [](auto& octet) { return bool(octet.present); });
      default: return false;
      }
   });
}

} // namespace

bool endsByItself(const Type& type) {
   const Type& base = baseType(type);
   if (base.structure || base.pattern || base.presized) return false;
   switch (base.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return true;
   case TypeKind::Octets: return !base.fill;
   case TypeKind::Digits: return base.cls == Class::V; // as many as it is told
   case TypeKind::List: return base.cls == Class::LV || base.cls == Class::LVE;
   case TypeKind::Record:
      if (base.cls != Class::V) return base.cls == Class::LV || base.cls == Class::LVE;
      return endByThemselves(lower(base).steps);
   default: return false;
   }
}

bool elementsEndByThemselves(const Type& message) {
   if (message.kind != TypeKind::Message || message.custom) return false;
   const Program program = lower(message);
   return endByThemselves(program.steps) && endByThemselves(program.optional);
}

Class classOf(const Step& step) {
   if (step.cls != Class::V) return step.cls;
   unsigned bits = step.bareAround != 0 ? step.bareAround : step.op == Op::Counted ? step.bits : 0;
   if (step.op == Op::Call || step.op == Op::Contents) {
      const Type& type = baseType(*step.type);
      if (type.cls != Class::V || type.kind != TypeKind::Record) return type.cls;
      const Program program = lower(type);
      const Step& first = program.steps.front();
      if (first.op == Op::Length && !first.inBits && !first.isOptional() && !first.member.empty())
         bits = first.bits;
   }
   return bits == 8 ? Class::LV : bits == 16 ? Class::LVE : Class::V;
}

namespace {

// Expressions in C.
struct Writing {
   const Term& term;
   const std::string &record, &rest, &parameter;

   // As a part of another one.
   std::string operator()(const Expr& e) const { return e.right ? "(" + whole(e) + ")" : whole(e); }

   std::string whole(const Expr& e) const {
      static const char* const signs[] = {
            " + ", " - ", " * ", " == ", " != ", " < ", " > ", " <= ", " >= ", " && "};
      switch (e.op) {
      case Expr::Op::Number: return std::to_string(e.number);
      case Expr::Op::Rest: return rest;
      case Expr::Op::Name:
         if (e.parameter) return parameter.empty() ? cName(e.name) : parameter;
         return writtenPath(term, e, record);
      case Expr::Op::Call: // TS 44.018, 9.1.54: the bits of so many cells
         return "TS44018Msg_" + e.name + "(static_cast<uint32_t>(" + (*this)(*e.left) + "))";
      default: {
         const auto sign = static_cast<size_t>(e.op) - static_cast<size_t>(Expr::Op::Add);
         return (*this)(*e.left) + signs[sign] + (*this)(*e.right);
      }
      }
   }
};

} // namespace

std::string written(const Term& term, const std::string& record, const std::string& rest,
                    const std::string& parameter) {
   return Writing{term, record, rest, parameter}(*term.expr);
}

std::string condition(const Term& term, const std::string& record, const std::string& rest) {
   return Writing{term, record, rest, ""}.whole(*term.expr);
}

} // namespace l3c
