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
   const auto to = [&](const TypeRef& ref) {
      return ref.type != nullptr && reaches(*ref.type, target, seen);
   };
   return anyField(base.fields, [&](const Field& field) { return to(field.type); }) || to(base.base) ||
          std::ranges::any_of(base.table, [&](const TableRow& row) { return to(row.record); });
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

const TableRow* pickMessage(const Type& pdu, const std::vector<Step>& steps) {
   const auto messages = std::ranges::find(steps, Op::Pointers, &Step::op);
   if (messages == steps.end()) return nullptr;
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

Sample::Sample(const Type& type) : type_(type), program_(lower(type)) {
   if (type.kind == TypeKind::Pdu) row_ = pickMessage(type, program_.steps);
   if (row_ != nullptr) {
      for (auto& step : program_.steps) {
         if (step.name == "protoDiscr") steering({step.field}).wishes = {row_->disc};
         if (step.name == "msgType") steering({step.field}).wishes = {row_->msgType};
      }
   }
   collect(program_.steps);
   collect(program_.optional);
   solve();
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

void Sample::collect(const std::vector<Step>& steps) {
   for (auto& step : steps) {
      if (step.op == Op::Choice) {
         std::vector<uint64_t> values;
         for (auto& arm : step.steps)
            for (auto& range : arm.arm->values) values.push_back(range.low);
         wish(step.argument.expr, values);
      }
      for (const Term* term : {&step.argument, &step.test, &step.second}) wish(term->expr, kSmall);
      if (step.op != Op::Contents) collect(step.steps);
   }
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

uint64_t Sample::number(const Step& step) const {
   if (step.field == nullptr) return typeNumber(type_);
   for (auto& number : steering_)
      if (number.path.back() == step.field) return number.value;
   return plainNumber(*step.field);
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
       (field.name == "protoDiscr" || field.name == "msgType") && row_ != nullptr)
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
            if (const int points = score(program_.steps) + score(program_.optional); points > best) {
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

int Sample::scoreCount(uint64_t count, const Bounds& bounds, const Storage& storage, bool bits) {
   uint64_t most = storage.heap ? bounds.high.value_or(UINT64_MAX) : storage.capacity;
   if (bits) { // octets' worth of them
      count = (count + 7) / 8;
      if (!storage.heap) most = (most + 7) / 8;
   }
   if (count < bounds.low.value_or(0) || count > most || count > 1000) return -10000;
   if (count == 0) return 0;
   return count <= 20 ? 40 - static_cast<int>(count) : 0;
}

int Sample::score(const std::vector<Step>& steps) const {
   int points = 0;
   for (auto& step : steps) points += score(step);
   return points;
}

int Sample::score(const Step& step) const {
   const int there = step.test.expr ? 30 : 0;
   if (there != 0 && evaluate(*step.test.expr) == 0) return 0;
   const Expr* const argument = step.argument.expr;
   switch (step.op) {
   case Op::List:
      if (!argument || step.freeCount) return there;
      return there + scoreCount(evaluate(*argument), step.bounds, step.storage, false);
   case Op::Sized:
   case Op::SizedBits:
      if (!argument) return there;
      return there + scoreCount(evaluate(*argument), step.bounds, step.storage, step.op == Op::SizedBits);
   case Op::Call:
   case Op::Message: {
      if (!argument) return there;
      const Type& type = baseType(*step.type);
      if (step.sizes)
         return there +
                scoreCount(evaluate(*argument), type.bounds, type.storage, type.kind == TypeKind::Bits);
      if (type.kind == TypeKind::Digits || type.kind == TypeKind::Text) return there;
      return there + (evaluate(*argument) == kParameter ? 40 : -10000);
   }
   case Op::Choice: {
      const Step* arm = chosen(step);
      if (arm == nullptr) return there - 10000;
      return there + (arm->op == Op::Nothing ? 1 : 20) + score(*arm);
   }
   case Op::Contents: return there;
   default: return there + score(step.steps);
   }
}

uint64_t Sample::sizeOf(const Step& step) const {
   return evaluate(*step.argument.expr);
}

// Arms are tried in order; the last one wins, and `else` if there is none.
const Step* Sample::chosen(const Step& choice) const {
   const uint64_t on = selector(choice);
   const Step* hit = nullptr;
   for (const Step& step : choice.steps) {
      if (step.arm->isElse && hit == nullptr) hit = &step;
      for (auto& range : step.arm->values)
         if (on >= range.low && on <= range.high) hit = &step;
   }
   return hit;
}

uint64_t Sample::selector(const Step& step) const {
   if (step.op == Op::Pointers) return row_ != nullptr ? row_->selector : 0;
   if (step.selector == Selector::Field) return evaluate(*step.argument.expr);
   if (step.sample) return *step.sample;
   for (const Step& arm : step.steps)
      if (arm.op != Op::Nothing && !arm.arm->values.empty()) return arm.arm->values.front().low;
   const auto& values = step.steps.front().arm->values;
   return values.empty() ? 1 : values.front().low;
}

bool Sample::absent(const Step& step) const {
   // A PDU stands without its security header.
   if (step.optional && type_.kind == TypeKind::Pdu) return true;
   if (step.test.expr) return evaluate(*step.test.expr) == 0;
   const bool number = step.op == Op::Integer || step.op == Op::Flag ||
                       (step.op == Op::Call && valueType(*step.field) != nullptr);
   return (step.optional || step.op == Op::Since) && !number && step.sample == 0;
}

uint64_t Sample::count(const Step& step) const {
   if (step.field == nullptr) return typeCount(type_);
   const uint64_t most = step.storage.heap ? 20 : step.storage.capacity;
   if (step.argument.expr) return evaluate(*step.argument.expr);
   if (step.op == Op::List) {
      if (!step.steps.empty() && step.steps.front().rest) return 1; // it takes all that is left
      return within(step.sample.value_or(kFewEntries), step.bounds, most);
   }
   if (step.op == Op::RestBits) {
      bool found = false;
      const auto ahead = bits(program_.steps, step.field, found);
      if (type_.cls == Class::LB || !ahead) return step.sample.value_or(kFewOctets);
      return (8 - *ahead % 8) % 8; // the rest of the last octet
   }
   return within(step.sample.value_or(kFewOctets), step.bounds, most);
}

std::vector<Sample::Override> Sample::overridesBehind(const Step& step) const {
   std::vector<Override> all;
   if (step.field == nullptr) return all;
   const Field& field = *step.field;
   const bool number = valueType(field) != nullptr;
   for (auto& [path, wishes, value] : steering_) {
      // The first record of another type on the way, or the number itself.
      auto leaves = std::ranges::find(path, Kind::Named, &Field::kind);
      if (leaves == path.end() || *leaves != &field) continue;
      if (number || value != plainNumber(*path.back())) all.push_back({path, value});
   }
   if (all.empty() && number && (field.sample || field.init)) all.push_back({{&field}, plainNumber(field)});
   return all;
}

// Widths on the wire, for the bits that fill up the last octet.

std::optional<uint64_t> Sample::bits(const std::vector<Step>& steps, const Field* stop, bool& found) const {
   uint64_t sum = 0;
   for (auto& step : steps) {
      if (step.field == stop) found = true;
      if (found) return sum;
      const auto one = bits(step, stop, found);
      if (!one) return std::nullopt;
      sum += *one;
   }
   return sum;
}

std::optional<uint64_t> Sample::bits(const Step& step, const Field* stop, bool& found) const {
   uint64_t sum = step.isLed() ? 1 : 0;
   if (absent(step)) return sum;
   const auto plus = [&](std::optional<uint64_t> more) {
      return more ? std::optional<uint64_t>(sum + *more) : std::nullopt;
   };
   switch (step.op) {
   case Op::Flag:
   case Op::Integer:
   case Op::Constant: return sum + step.bits;
   case Op::Octets: return sum + 8 * step.count;
   case Op::Bits: return sum + step.count;
   case Op::Nothing: return sum;
   case Op::Call:
   case Op::Contents:
   case Op::Message: return step.sizes ? std::nullopt : plus(bitsOf(*step.type));
   case Op::Counted: return sum + step.bits + 8 * count(step);
   case Op::Sized: return sum + 8 * count(step);
   case Op::RestBits:
   case Op::SizedBits: return sum + count(step);
   case Op::Unary: return sum + number(step) + 1;
   case Op::List: {
      const auto one = step.type != nullptr ? bitsOf(*step.type) : std::optional<uint64_t>(step.bits);
      if (!one || !step.steps.empty()) return std::nullopt;
      sum += count(step) * (*one + (step.entries != Entries::Rest ? 1 : 0));
      return sum + (step.entries == Entries::Flags ? 1 : 0);
   }
   case Op::Choice: {
      sum += step.bits;
      for (const Step& arm : step.steps)
         if (arm.field == stop) {
            found = true;
            return sum + arm.arm->pattern.size();
         }
      const Step* arm = chosen(step);
      return arm == nullptr ? sum : plus(bits(*arm, stop, found));
   }
   case Op::Padding:
   case Op::Pointers: return std::nullopt;
   case Op::Length: sum += step.bits; break;
   case Op::Chain: sum += step.steps.size(); break;
   case Op::Group:
   case Op::Since:
   case Op::Swap:
   case Op::Span: break;
   }
   return plus(bits(step.steps, stop, found));
}

std::optional<uint64_t> Sample::bitsOf(const Type& own) {
   const Type& type = baseType(own);
   if (const Width width = widthOf(type); width.fixed()) return width.low;
   switch (type.kind) {
   case TypeKind::Octets: return lengthBits(type) + 8 * typeCount(type);
   case TypeKind::List: {
      const auto one =
            type.base.type != nullptr ? bitsOf(*type.base.type) : std::optional<uint64_t>(type.bits);
      if (!one) return std::nullopt;
      return typeCount(type) * (*one + (type.entries != Entries::Rest ? 1 : 0)) +
             (type.entries == Entries::Flags ? 1 : 0);
   }
   case TypeKind::Record: {
      bool found = false;
      const Sample sample(type);
      const auto all = sample.bits(sample.program_.steps, nullptr, found);
      return all ? std::optional<uint64_t>(lengthBits(type) + *all) : std::nullopt;
   }
   default: return std::nullopt;
   }
}

} // namespace l3c
