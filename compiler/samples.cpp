#include "compiler/samples.h"

#include "compiler/layout.h"
#include "compiler/naming.h"
#include "compiler/walk.h"

#include <algorithm>
#include <set>
#include <span>

namespace l3c {

namespace {

constexpr uint64_t kFewOctets = 4;
constexpr uint64_t kFewEntries = 2;
constexpr uint64_t kRestOctets = 100; // what `rest` gives while a sample is chosen
constexpr uint64_t kParameter = 1;    // what a type with parameters takes them to be

const std::vector<uint64_t> kSmall = {2, 1, 3, 0, 4}; // for counts and conditions

uint64_t hashOf(const std::string& text) {
   uint64_t hash = 14695981039346656037u;
   for (char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211u;
   return hash ^ hash >> 29;
}

uint64_t within(uint64_t wish, const Bounds& bounds, uint64_t most) {
   if (!bounds.values.empty()) {
      uint64_t best = bounds.values.front();
      for (uint64_t value : bounds.values)
         if (value <= most && value >= best && (value <= wish || best == 0)) best = value;
      return best;
   }
   return std::min(std::max(wish, bounds.low.value_or(0)), std::min(bounds.high.value_or(most), most));
}

uint64_t anyNumber(const std::string& name, unsigned bits, const Bounds& bounds) {
   if (!bounds.values.empty()) return bounds.values.back();
   const uint64_t most = std::min<uint64_t>(maxOf(bits), UINT32_MAX);
   const uint64_t low = bounds.low.value_or(0);
   const uint64_t high = std::min(bounds.high.value_or(most), most);
   return low + hashOf(name) % (high - low + 1);
}

const Type* valueType(const Field& field) {
   if (field.kind != Kind::Named || field.type.type == nullptr) return nullptr;
   const Type& base = baseType(*field.type.type);
   return base.kind == TypeKind::Enum || base.kind == TypeKind::Number ? &base : nullptr;
}

// Does a sample of the type, messages by pointer included, come to hold a record of `target`?
bool reaches(const Type& from, const Type& target, std::set<const Type*>& seen) {
   const Type& base = baseType(from);
   if (&base == &target) return true;
   if (!seen.insert(&base).second) return false;
   bool found = false;
   eachField(base.fields, [&](const Field& field) {
      if (field.type.type != nullptr && reaches(*field.type.type, target, seen)) found = true;
   });
   if (base.base.type != nullptr) found |= reaches(*base.base.type, target, seen);
   for (auto& row : base.table)
      if (!found && row.record.type != nullptr) found |= reaches(*row.record.type, target, seen);
   return found;
}

// Bits of so many cells, TS 44.018, 9.1.54; as the run time has them.
uint64_t cellBits(bool tdd, uint64_t cells) {
   static constexpr uint8_t fdd[] = {0, 10, 19, 28, 36, 44, 52, 60, 67, 74, 81, 88, 95, 102, 109, 116, 122};
   static constexpr uint8_t other[] = {0,  9,  17, 25, 32,  39,  46,  53,  59,  65, 71,
                                       77, 83, 89, 95, 101, 106, 111, 116, 121, 126};
   const std::span<const uint8_t> table =
         tdd ? std::span<const uint8_t>(other) : std::span<const uint8_t>(fdd);
   return cells < table.size() ? table[cells] : 0;
}

const TableRow* pickMessage(const Type& pdu) {
   const Field* messages = nullptr;
   for (auto& field : pdu.fields)
      if (field->kind == Kind::Messages && messages == nullptr) messages = field.get();
   if (messages == nullptr) return nullptr;
   if (messages->sample)
      for (auto& row : pdu.table)
         if (row.selector == *messages->sample) return &row;
   for (auto& row : pdu.table) {
      std::set<const Type*> seen;
      if (row.record.type != nullptr && !row.inlineValue && !reaches(*row.record.type, pdu, seen))
         return &row;
   }
   return pdu.table.empty() ? nullptr : &pdu.table.front();
}

} // namespace

Sample::Sample(const Type& type) : type_(type) {
   if (const TableRow* row = message(type)) {
      for (auto& field : type.fields) {
         if (field->name == "protoDiscr") steering({field.get()}).wishes = {row->disc};
         if (field->name == "msgType") steering({field.get()}).wishes = {row->msgType};
      }
   }
   collect(type.fields);
   wish(type.times.get(), kSmall);
   solve();
}

const TableRow* Sample::message(const Type& pdu) const {
   return pdu.kind == TypeKind::Pdu ? pickMessage(pdu) : nullptr;
}

Sample::Steering& Sample::steering(const Path& path) {
   for (auto& number : steering_)
      if (number.path == path) return number;
   steering_.push_back({path, {}, 0});
   return steering_.back();
}

// The numbers that an expression names may take these values.
void Sample::wish(const Expr* expr, const std::vector<uint64_t>& values) {
   if (expr == nullptr) return;
   wish(expr->left.get(), values);
   wish(expr->right.get(), values);
   if (expr->op != Expr::Op::Name || expr->path.empty()) return;
   auto& wishes = steering(expr->path).wishes;
   wishes.insert(wishes.end(), values.begin(), values.end());
}

void Sample::collect(const std::vector<std::unique_ptr<Field>>& fields) {
   for (auto& field : fields) collect(*field);
}

void Sample::collect(const Field& field) {
   if (field.kind == Kind::Choice) {
      std::vector<uint64_t> values;
      for (const Arm& arm : field.arms)
         for (auto& range : arm.values) values.push_back(range.low);
      wish(field.argument.get(), values);
   }
   wish(field.argument.get(), kSmall);
   wish(field.when.get(), kSmall);
   wish(field.second.get(), kSmall);
   if (field.entry) wish(field.entry->argument.get(), kSmall);
   collect(field.fields);
   for (const Arm& arm : field.arms) collect(*arm.field);
}

uint64_t Sample::typeNumber(const Type& type) {
   const Type& base = baseType(type);
   if (base.kind == TypeKind::Number) return anyNumber(recordName(base), base.bits, base.bounds);
   // The last row often bounds the field and names nothing.
   const size_t rows = base.rows.size() > 2 ? base.rows.size() - 1 : base.rows.size();
   return base.rows[hashOf(recordName(base)) % rows].value;
}

uint64_t Sample::typeCount(const Type& type) {
   const Type& base = baseType(type);
   const uint64_t most = base.storage.heap ? 20 : base.storage.capacity;
   if (base.kind == TypeKind::List && base.times && base.times->op == Expr::Op::Number)
      return base.times->number;
   if (base.kind == TypeKind::Bits) return base.storage.heap ? 16 : std::min<uint64_t>(16, most);
   if (base.kind == TypeKind::List)
      return base.times ? kParameter + 1 : within(kFewEntries, base.bounds, most);
   return within(kFewOctets, base.bounds, most);
}

uint64_t Sample::plainNumber(const Field& field) {
   if (field.sample) return *field.sample;
   if (field.init.value_or(0) != 0) return *field.init;
   if (const Type* type = valueType(field)) return typeNumber(*type);
   return anyNumber(field.name, field.kind == Kind::Flag ? 1 : field.bits, field.bounds);
}

uint64_t Sample::value(const Path& path) const {
   for (auto& number : steering_)
      if (number.path == path) return number.value;
   return plainNumber(*path.back());
}

uint64_t Sample::number(const Field& field) const {
   for (auto& number : steering_)
      if (number.path.back() == &field) return number.value;
   return plainNumber(field);
}

bool Sample::reachable(uint64_t value, const Field& field) {
   if (const Type* type = valueType(field)) {
      if (type->kind == TypeKind::Enum)
         return std::any_of(type->rows.begin(), type->rows.end(),
                            [&](const EnumRow& row) { return row.value == value; });
      return value <= maxOf(type->bits) && value >= type->bounds.low.value_or(0) &&
             value <= type->bounds.high.value_or(UINT64_MAX);
   }
   if (field.kind == Kind::Flag) return value <= 1;
   return value <= maxOf(field.bits) && value >= field.bounds.low.value_or(0) &&
          value <= field.bounds.high.value_or(UINT64_MAX);
}

std::vector<uint64_t> Sample::candidates(const Steering& number) const {
   const Field& field = *number.path.back();
   if (field.sample) return {*field.sample};
   if (number.path.size() == 1 && type_.kind == TypeKind::Pdu &&
       (field.name == "protoDiscr" || field.name == "msgType") && message(type_) != nullptr)
      return {number.wishes.front()};
   std::vector<uint64_t> all;
   for (uint64_t value : number.wishes)
      if (reachable(value, field) && std::find(all.begin(), all.end(), value) == all.end())
         all.push_back(value);
   if (const Type* type = valueType(field); type != nullptr && type->kind == TypeKind::Enum)
      for (auto& row : type->rows) all.push_back(row.value);
   all.push_back(plainNumber(field));
   return all;
}

// Each number in turn takes the value that makes the most of the record; some rounds, as they depend on one
// another.
void Sample::solve() {
   for (auto& number : steering_) number.value = candidates(number).front();
   for (int round = 0; round < 3; ++round) {
      for (auto& number : steering_) {
         int best = INT32_MIN;
         uint64_t winner = number.value;
         for (uint64_t candidate : candidates(number)) {
            number.value = candidate;
            if (const int points = score(type_.fields); points > best) {
               best = points;
               winner = candidate;
            }
         }
         number.value = winner;
      }
   }
}

uint64_t Sample::evaluate(const Expr& e) const {
   const auto left = [&] { return evaluate(*e.left); };
   const auto right = [&] { return evaluate(*e.right); };
   switch (e.op) {
   case Expr::Op::Number: return e.number;
   case Expr::Op::Name:
      if (e.parameter && type_.owner != nullptr && !e.path.empty()) return Sample(*type_.owner).value(e.path);
      return e.parameter ? kParameter : value(e.path);
   case Expr::Op::Call: return cellBits(e.name == "q", left());
   case Expr::Op::Rest: return kRestOctets;
   case Expr::Op::Add: return left() + right();
   case Expr::Op::Sub: return left() - right();
   case Expr::Op::Mul: return left() * right();
   case Expr::Op::Eq: return left() == right();
   case Expr::Op::Ne: return left() != right();
   case Expr::Op::Lt: return left() < right();
   case Expr::Op::Gt: return left() > right();
   case Expr::Op::Le: return left() <= right();
   case Expr::Op::Ge: return left() >= right();
   case Expr::Op::And: return left() && right();
   }
   return 0;
}

int Sample::scoreCount(uint64_t count, const Bounds& bounds, const Storage& storage) const {
   const uint64_t most = storage.heap ? bounds.high.value_or(UINT64_MAX) : storage.capacity;
   if (count < bounds.low.value_or(0) || count > most || count > 1000) return -10000;
   if (count == 0) return 0;
   return count <= 20 ? 40 - static_cast<int>(count) : 0;
}

int Sample::score(const std::vector<std::unique_ptr<Field>>& fields) const {
   int points = 0;
   for (auto& field : fields) points += score(*field);
   return points;
}

int Sample::score(const Field& field) const {
   if (field.when && evaluate(*field.when) == 0) return 0;
   int points = field.when ? 30 : 0;
   points += score(field.fields);
   switch (field.kind) {
   case Kind::Each:
      if (field.argument && !field.freeCount)
         points += scoreCount(evaluate(*field.argument), field.bounds, field.storage);
      break;
   case Kind::Sized:
   case Kind::SizedBits: {
      // Octets' worth of bits.
      const uint64_t count = evaluate(*field.argument);
      const bool bits = field.kind == Kind::SizedBits;
      const Storage storage{field.storage.heap,
                            bits ? (field.storage.capacity + 7) / 8 : field.storage.capacity};
      points += scoreCount(bits ? (count + 7) / 8 : count, field.bounds, storage);
      break;
   }
   case Kind::Named:
      if (field.argument && field.type.type != nullptr && field.type.type->presized) {
         const Type& type = *field.type.type;
         const bool bits = type.kind == TypeKind::Bits;
         const uint64_t count = sizeOf(field);
         const Storage storage{type.storage.heap,
                               bits ? (type.storage.capacity + 7) / 8 : type.storage.capacity};
         points += scoreCount(bits ? (count + 7) / 8 : count, type.bounds, storage);
         break;
      }
      if (field.argument && !field.valueOnly && field.type.type != nullptr) {
         const Type& type = baseType(*field.type.type);
         if (type.kind != TypeKind::Digits && type.kind != TypeKind::Text)
            points += evaluate(*field.argument) == kParameter ? 40 : -10000;
      }
      break;
   case Kind::Choice: {
      const uint64_t on = selector(field);
      const Arm* chosen = nullptr;
      for (const Arm& arm : field.arms) {
         if (arm.isElse && chosen == nullptr) chosen = &arm;
         for (auto& range : arm.values)
            if (on >= range.low && on <= range.high) chosen = &arm;
      }
      if (chosen == nullptr) return points - 10000;
      points += chosen->field->kind == Kind::Null ? 1 : 20;
      // Arms are tried in order; earlier ones win a tie.
      points += score(*chosen->field);
      break;
   }
   default: break;
   }
   return points;
}

uint64_t Sample::sizeOf(const Field& field) const {
   return evaluate(*field.argument);
}

uint64_t Sample::selector(const Field& field) const {
   if (field.kind == Kind::Messages) {
      const TableRow* row = pickMessage(type_);
      return row != nullptr ? row->selector : 0;
   }
   if (field.selector == Selector::Field) return evaluate(*field.argument);
   if (field.sample) return *field.sample;
   for (const Arm& arm : field.arms)
      if (arm.field->kind != Kind::Null && !arm.values.empty()) return arm.values.front().low;
   return field.arms.front().values.empty() ? 1 : field.arms.front().values.front().low;
}

bool Sample::absent(const Field& field) const {
   // A PDU stands without its security header.
   if (field.optional && type_.kind == TypeKind::Pdu) return true;
   if (field.when) return evaluate(*field.when) == 0;
   const bool number = field.kind == Kind::Uint || field.kind == Kind::Flag || valueType(field) != nullptr;
   return (field.optional || field.kind == Kind::Since) && !number && field.sample == 0;
}

uint64_t Sample::count(const Field& field) const {
   const uint64_t most = field.storage.heap ? 20 : field.storage.capacity;
   switch (field.kind) {
   case Kind::Each:
      if (field.argument) return evaluate(*field.argument);
      if (field.entry && field.entry->kind == Kind::Fill) return 1; // it takes all that is left
      return within(field.sample.value_or(kFewEntries), field.bounds, most);
   case Kind::Sized:
   case Kind::SizedBits: return evaluate(*field.argument);
   case Kind::FillBits:
   case Kind::BitTail: {
      bool found = false;
      const auto ahead = bitsAhead(type_.fields, field, found);
      if (type_.cls == Class::LB || !ahead) return field.sample.value_or(kFewOctets);
      return (8 - *ahead % 8) % 8; // the rest of the last octet
   }
   default: return within(field.sample.value_or(kFewOctets), field.bounds, most);
   }
}

std::vector<Sample::Override> Sample::overridesBehind(const Field& field) const {
   std::vector<Override> all;
   const bool number = valueType(field) != nullptr;
   for (auto& [path, wishes, value] : steering_) {
      // The first record of another type on the way, or the number itself.
      auto leaves =
            std::find_if(path.begin(), path.end(), [](const Field* f) { return f->kind == Kind::Named; });
      if (leaves == path.end() || *leaves != &field) continue;
      if (number || value != plainNumber(*path.back())) all.push_back({path, value});
   }
   if (all.empty() && number && (field.sample || field.init)) all.push_back({{&field}, plainNumber(field)});
   return all;
}

// Widths on the wire, for the bits that fill up the last octet.

std::optional<uint64_t> Sample::bitsAhead(const std::vector<std::unique_ptr<Field>>& fields,
                                          const Field& stop, bool& found) const {
   uint64_t sum = 0;
   for (auto& field : fields) {
      if (field.get() == &stop) {
         found = true;
         return sum;
      }
      if (field->onlyOnWire() && field->kind != Kind::Chain) {
         if (field->kind == Kind::Frame || field->kind == Kind::Bare) sum += field->bits;
         const auto inner = bitsAhead(field->fields, stop, found);
         if (!inner) return std::nullopt;
         sum += *inner;
         if (found) return sum;
         continue;
      }
      for (const Arm& arm : field->arms)
         if (arm.field.get() == &stop) {
            found = true;
            return sum + arm.pattern.size() + field->bits;
         }
      const auto one = bits(*field);
      if (!one) return std::nullopt;
      sum += *one;
   }
   return sum;
}

std::optional<uint64_t> Sample::bits(const Field& field) const {
   uint64_t sum = field.lead != Lead::None ? 1 : 0;
   if (field.aside) return sum;
   if (absent(field)) return sum;
   const auto plus = [&](std::optional<uint64_t> more) {
      return more ? std::optional<uint64_t>(sum + *more) : std::nullopt;
   };
   switch (field.kind) {
   case Kind::Flag: return sum + 1;
   case Kind::Uint:
   case Kind::Const: return sum + field.bits;
   case Kind::Octets: return sum + 8 * field.count;
   case Kind::Bits: return sum + field.count;
   case Kind::Named:
      if (field.type.type != nullptr && field.type.type->presized) return std::nullopt;
      return field.type.type != nullptr ? plus(bitsOf(*field.type.type)) : std::nullopt;
   case Kind::Counted: return sum + field.bits + 8 * count(field);
   case Kind::Sized:
   case Kind::Fill:
   case Kind::Tail: return sum + 8 * count(field);
   case Kind::FillBits:
   case Kind::SizedBits:
   case Kind::BitTail: return sum + count(field);
   case Kind::Unary: return sum + number(field) + 1;
   case Kind::Padding: return std::nullopt;
   case Kind::Each: {
      const auto one =
            field.type.type != nullptr ? bitsOf(*field.type.type) : std::optional<uint64_t>(field.bits);
      if (!one || field.entry) return std::nullopt;
      sum += count(field) * (*one + (field.entries != Entries::Rest ? 1 : 0));
      return sum + (field.entries == Entries::Flags ? 1 : 0);
   }
   case Kind::Choice: {
      const uint64_t on = selector(field);
      sum += field.selector == Selector::Bits ? field.bits : 0;
      if (field.selector == Selector::Pattern && on >= 1 && on <= field.arms.size())
         sum += field.arms[on - 1].pattern.size();
      for (const Arm& arm : field.arms) {
         bool here = arm.isElse;
         for (auto& range : arm.values) here |= on >= range.low && on <= range.high;
         if (here) return plus(bits(*arm.field));
      }
      return sum;
   }
   case Kind::Null: return sum;
   case Kind::Messages: return std::nullopt;
   default: break;
   }
   // What holds fields.
   if (field.kind == Kind::Frame || field.kind == Kind::Bare) sum += field.bits;
   for (auto& inner : field.fields) {
      const auto one = bits(*inner);
      if (!one) return std::nullopt;
      sum += *one + (field.kind == Kind::Chain ? 1 : 0);
   }
   return sum;
}

std::optional<uint64_t> Sample::bitsOf(const Type& own) {
   const Type& type = baseType(own);
   switch (type.kind) {
   case TypeKind::Enum:
   case TypeKind::Number: return type.bits + lengthBits(type);
   case TypeKind::Octets: return lengthBits(type) + 8 * (type.count != 0 ? type.count : typeCount(type));
   case TypeKind::Empty: return 0;
   case TypeKind::List: {
      const auto one =
            type.base.type != nullptr ? bitsOf(*type.base.type) : std::optional<uint64_t>(type.bits);
      if (!one) return std::nullopt;
      return typeCount(type) * (*one + (type.entries != Entries::Rest ? 1 : 0)) +
             (type.entries == Entries::Flags ? 1 : 0);
   }
   case TypeKind::Record: {
      const Sample sample(type);
      uint64_t sum = lengthBits(type);
      for (auto& field : type.fields) {
         const auto one = sample.bits(*field);
         if (!one) return std::nullopt;
         sum += *one;
      }
      return sum;
   }
   default: return std::nullopt;
   }
}

} // namespace l3c
