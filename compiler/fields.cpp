// Fields, their kinds and their expressions.
#include "compiler/reader.h"

#include <algorithm>

namespace l3c {

TypeRef Reader::typeRef() {
   TypeRef ref;
   ref.pos = peek().pos;
   ref.name = expectWord("a type's name");
   return ref;
}

// `[a..b]`, `[a..]`, `[..b]`, `[a]` or `[a|b|c]`.
Bounds Reader::bracketBounds() {
   Bounds bounds;
   expectSign("[");
   if (atNumber()) bounds.low = expectNumber("a number");
   if (bounds.low && atSign("|")) {
      bounds.values.push_back(*bounds.low);
      while (acceptSign("|")) bounds.values.push_back(expectNumber("a number"));
      std::sort(bounds.values.begin(), bounds.values.end());
      bounds.low = bounds.values.front();
      bounds.high = bounds.values.back();
   } else if (!acceptSign("..")) {
      bounds.high = bounds.low;
   } else if (atNumber()) {
      bounds.high = expectNumber("a number");
   }
   if (bounds.empty()) unexpected("a bound");
   expectSign("]");
   if (!atWord("standard") || !atSign("[", 1)) return bounds;
   take();
   const Bounds other = bracketBounds();
   departs_ = true;
   recoded_ |= !other.values.empty() || !bounds.values.empty() ||
               other.low.value_or(0) > bounds.low.value_or(0) ||
               other.high.value_or(UINT64_MAX) < bounds.high.value_or(UINT64_MAX);
   return standard_ ? other : bounds;
}

// `heap`, `inline N`, or `inline` up to the upper bound.
bool Reader::storage(Storage& storage, const Bounds& bounds) {
   if (acceptWord("heap")) {
      storage = {true, 0};
      return true;
   }
   Pos pos = peek().pos;
   if (!acceptWord("inline")) return false;
   storage.heap = false;
   storage.capacity = atNumber() ? expectNumber("the capacity") : bounds.high.value_or(0);
   if (!storage.capacity)
      diagnostics_.error(NoCapacity, pos, "`inline` needs a capacity, or an upper bound ahead of it.");
   return true;
}

void Reader::fields(std::vector<std::unique_ptr<Field>>& out, const char* closer, Place place) {
   Deeper deeper(*this);
   const Pos opened = stream_.items[at_ - 1].pos; // the bracket is taken
   int group = 0;
   while (!closes(closer, opened)) {
      if (place != Place::Record && atWord("group") && atSign("?", 1) && atSeparator(2)) {
         take(), take();
         place = Place::Optional;
         ++group;
         continue;
      }
      try {
         auto one = field(place);
         const bool other = onlyInOtherMode();
         endOfItem(closer);
         if (one->ieiBits) {
            place = Place::Optional;
            one->group = group;
         }
         if (!other) out.push_back(std::move(one));
      } catch (const SyntaxError&) {
         skipItem();
         // A bracket without partner: pass it, or the loop would stand still.
         if (atSign("]") || (atSign(")") && closer[0] != ')')) take();
      }
   }
}

// The mark at the end of a line that only one of the codings has.
bool Reader::onlyInOtherMode() {
   const bool inDefault = atWord("default");
   if (!inDefault && !atWord("standard")) return false;
   take();
   departs_ = recoded_ = true;
   return inDefault == standard_;
}

std::unique_ptr<Field> Reader::field(Place place) {
   auto result = std::make_unique<Field>();
   Field& field = *result;
   field.pos = peek().pos;
   field.doc = docAtStart();
   operators_ = 0;
   const bool message = place == Place::Message || place == Place::Optional;
   if (message && acceptIei(field)) {
      field.optional = true;
      field.name = expectWord("the element's name");
      field.present = atWord("T") && atSeparator(1);
      if (atSeparator()) unexpected("the element's type");
      if (field.present) take();
      if (field.present)
         field.kind = Kind::Null;
      else
         kind(field, place);
   } else if (place == Place::Optional) {
      diagnostics_.error(BadIei, field.pos, "Optional elements begin with their IEI: `78`, or `A-`.");
      throw SyntaxError{};
   } else if (!nameless(field)) {
      field.name = expectWord("a field");
      presence(field);
      kind(field, place);
   }
   behind(field);
   if (atWord("standard") && atSign("?", 1) && (atSeparator(2) || atSign("}", 2) || atSign(")", 2))) {
      take(), take();
      departs_ = recoded_ = true;
      if (standard_) field.optional = true;
   }
   if (atWord("standard") && !atSeparator(1) && !atSign("}", 1) && !atSign(")", 1)) {
      take();
      auto other = std::make_unique<Field>();
      other->pos = field.pos;
      other->name = field.name;
      other->doc = field.doc;
      other->iei = field.iei;
      other->ieiBits = field.ieiBits;
      other->optional = field.ieiBits != 0;
      if (field.ieiBits == 0) presence(*other);
      kind(*other, place);
      behind(*other);
      departs_ = recoded_ = true;
      if (standard_) result = std::move(other);
   }
   result->doc = docAtEnd(result->doc);
   return result;
}

// Two hex digits in capitals, or one and a dash for a half octet.
bool Reader::acceptIei(Field& field) {
   const std::string text = peek().text;
   const bool half = text.size() == 2 && text[1] == '-';
   uint64_t value = 0;
   if ((peek().kind != Tok::Word && peek().kind != Tok::Number) || text.size() != 2 ||
       text.find_first_not_of("0123456789ABCDEF-") != std::string::npos ||
       !parseHex(text.substr(0, half ? 1 : 2), value))
      return false;
   field.iei = static_cast<unsigned>(value);
   field.ieiBits = half ? 4 : 8;
   take();
   return true;
}

// Fields without a name of their own.
bool Reader::nameless(Field& field) {
   if (atWord("choice") &&
       (atSign("{", 1) || (!atSeparator(2) && (atWord("by", 1) || atWord("unsent", 1))))) {
      take();
      choice(field);
   } else if ((atWord("ext") || atWord("swap")) && atSign("(", 1)) {
      field.kind = atWord("ext") ? Kind::Chain : Kind::Swap;
      field.skip = field.kind == Kind::Chain;
      take();
      bracket(field);
   } else if (atWord("since") && atNumber(1)) {
      take();
      field.kind = Kind::Since;
      field.number = expectNumber("the release");
      bracket(field);
   } else if (atWord("bare") && atNumber(1)) {
      take();
      field.kind = Kind::Bare;
      field.bits = expectWidth("the width of the length");
      if (atSign("[")) field.bounds = bracketBounds();
      expectSign("=");
      if (!acceptWord("octets")) unexpected("`octets`");
      bracket(field);
   } else if (atWord("zeros") && atNumber(1)) {
      take();
      field.kind = Kind::Const;
      field.bits = expectWidth("the number of bits");
   } else if (atWord("padding") && module_->isCsn1() &&
              (atSeparator(1) || atSign("}", 1) || atSign(")", 1))) {
      take();
      field.kind = Kind::Padding;
   } else {
      return false;
   }
   return true;
}

// Fields on the wire alone.
void Reader::bracket(Field& field) {
   expectSign("(");
   fields(field.fields, ")", Place::Record);
}

// What tells, behind the name, whether the field is there, and how often.
void Reader::presence(Field& field) {
   field.optional = acceptSign("?");
   field.truncatable = atWord("null") && atSign("|", 1);
   if (field.truncatable) take(), take();
   if (field.optional && (field.truncatable || peek(1).text == "|")) {
      if (acceptFlag("0", "1"))
         field.lead = Lead::Bit;
      else if (acceptFlag("L", "H"))
         field.lead = Lead::High;
      else
         unexpected("`0|1` or `L|H`");
   } else if (field.truncatable) {
      field.guarded = true;
   } else if (field.optional && atWord("if") && atSign("(", 1)) {
      take();
      field.when = bracketed();
   }
   if (!acceptSign("*")) return;
   field.kind = Kind::Each;
   times(field);
   if (atSign("[")) field.bounds = bracketBounds();
   storage(field.storage, field.bounds);
}

bool Reader::acceptFlag(const char* no, const char* yes) {
   if (!(peek().text == no && atSign("|", 1) && peek(2).text == yes)) return false;
   take(), take(), take();
   return true;
}

// How many entries there are; to the end of the container if nothing tells.
void Reader::times(Field& field) {
   if (atSign("("))
      field.argument = bracketed();
   else if (acceptFlag("0", "1"))
      field.entries = module_->isCsn1() ? Entries::Ones : Entries::Flags;
   else if (acceptFlag("1", "0"))
      field.entries = Entries::Zeros;
   else if (acceptFlag("L", "H"))
      field.entries = Entries::Highs;
}

// The kind of a field, or of the entries of a repetition.
void Reader::kind(Field& field, Place place) {
   const bool each = field.kind == Kind::Each;
   if (atWord("bare")) {
      take();
      Class cls;
      if (!lengthWord(cls)) unexpected("`LV` or `LV-E`");
      field.bareBits = cls == Class::LV ? 8 : 16;
   }
   field.own = acceptWord("own");
   if (field.own && !atWord("bits") && !atWord("octets")) unexpected("`bits` or `octets`");
   const bool facts =
         atWord("init") || atWord("sample") || atWord("but") || atWord("default") || atWord("standard");
   if (atSeparator() || atSign("}") || atSign(")") || facts) {
      if (each || field.bareBits) unexpected("a kind");
      field.kind = place == Place::Arm ? Kind::Null : Kind::Flag;
      field.bits = field.kind == Kind::Flag ? 1 : 0;
   } else if (atNumber()) {
      each ? void(field.bits = expectWidth("the width of an entry")) : integer(field);
   } else if (atWord("octets")) {
      octets(field);
   } else if (each && (atSign("{") || atWord("choice"))) {
      entry(field);
   } else if (place == Place::Arm && acceptSign("-")) {
      field.kind = Kind::Null;
   } else if (!each && atWord("bits") && atSign("(", 1)) {
      bits(field);
   } else if (!each && atWord("unary") && atSign("|", 2)) {
      take();
      if (!acceptFlag("L", "H")) unexpected("`L|H`");
      field.kind = Kind::Unary;
      field.bits = 8;
   } else if (each) {
      field.type = typeRef();
   } else if (acceptSign("{")) {
      field.kind = Kind::Group;
      fields(field.fields, "}", Place::Record);
   } else if (atWord("LV") || atWord("LV-E")) {
      field.kind = Kind::Counted;
      field.bits = take().text == "LV" ? 8 : 16;
      if (!acceptWord("octets")) unexpected("`octets`");
      if (atSign("[")) field.bounds = bracketBounds();
      storage(field.storage, field.bounds);
   } else if (acceptWord("choice")) {
      choice(field);
   } else if (atWord("ucs2") && atSign("(", 1)) {
      field.kind = Kind::Fill;
      field.bits = 16;
      take(), take();
      if (!acceptWord("rest")) unexpected("`rest`");
      expectSign(")");
      storage(field.storage, field.bounds);
   } else if (acceptWord("null")) {
      field.kind = Kind::Null;
   } else if (acceptWord("messages")) {
      field.kind = Kind::Messages;
   } else if (peek().kind == Tok::Word) {
      named(field);
   } else {
      unexpected("a field's kind");
   }
}

void Reader::integer(Field& field) {
   field.kind = Kind::Uint;
   field.bits = expectWidth("the width in bits");
   if (atSign("[")) field.bounds = bracketBounds();
   if (acceptWord("plain")) {
      if (atSign("{")) return enumRows(field.rows);
      field.namesOf = typeRef();
      return;
   }
   field.aside = acceptWord("unsent");
   if (!field.aside && !atSign("=")) return;
   expectSign("=");
   if (acceptWord("bits")) {
      field.inBits = true;
      if (acceptSign("-")) field.less = expectNumber("a number");
      field.kind = Kind::Frame;
      return bracket(field);
   }
   if (!acceptWord("octets")) unexpected("`octets`");
   if (atSign("(")) {
      field.kind = Kind::Frame;
      return bracket(field);
   }
   field.counts = expectWord("the field that is counted, or `(`");
   if (!field.aside && acceptSign("+")) field.countsPlus = expectNumber("a number");
}

// `octets(4)`, `octets(size - 2)`, `octets(rest)`, `octets(tail)`; those of a repetition are its entries.
void Reader::octets(Field& field) {
   Field* into = &field;
   if (field.kind == Kind::Each) {
      field.entry = std::make_unique<Field>();
      into = field.entry.get();
      into->pos = peek().pos;
   }
   take();
   expectSign("(");
   into->kind = Kind::Sized;
   if (atSign(")", 1) && (atWord("rest") || (atWord("tail") && into == &field)))
      into->kind = take().text == "rest" ? Kind::Fill : Kind::Tail;
   else
      into->argument = expression();
   expectSign(")");
   if (into == &field && into->kind != Kind::Tail && !atSign("[") && into->argument &&
       into->argument->op == Expr::Op::Number && !atWord("inline") && !atWord("heap")) {
      into->kind = Kind::Octets;
      into->count = into->storage.capacity = into->argument->number;
      into->argument.reset();
      return;
   }
   if (into == &field && atSign("[")) into->bounds = bracketBounds();
   storage(into->storage, into->bounds);
}

// `bits(124)`, `bits(size + 1)`, `bits(rest)`, `bits(tail)`; capacities count bits.
void Reader::bits(Field& field) {
   take(), take();
   if (atWord("tail") || atWord("rest")) {
      field.kind = take().text == "tail" ? Kind::BitTail : Kind::FillBits;
   } else {
      field.kind = Kind::SizedBits;
      field.argument = expression();
   }
   expectSign(")");
   if (field.argument && field.argument->op == Expr::Op::Number && !atWord("inline") && !atWord("heap")) {
      field.kind = Kind::Bits;
      field.count = field.argument->number;
      field.argument.reset();
      return;
   }
   storage(field.storage, field.bounds);
}

// The entries of a structure's list, if they are structures or choices themselves.
void Reader::entry(Field& field) {
   field.entry = std::make_unique<Field>();
   field.entry->pos = peek().pos;
   if (acceptWord("choice")) return choice(*field.entry);
   take();
   field.entry->kind = Kind::Group;
   fields(field.entry->fields, "}", Place::Record);
}

void Reader::named(Field& field) {
   field.kind = Kind::Named;
   field.type = typeRef();
   if (acceptSign("(")) {
      field.argument = expression();
      if (acceptSign(",")) field.second = expression();
      expectSign(")");
   } else if (atWord("as") && atWord("V", 1)) {
      take(), take();
      field.valueOnly = true;
      field.argument = bracketed();
   } else if (acceptWord("ahead")) {
      field.ahead = expectWidth("the place of the bit");
   }
}

void Reader::choice(Field& field) {
   Deeper deeper(*this);
   field.kind = Kind::Choice;
   field.selector = Selector::Bits;
   if (acceptWord("by")) {
      field.selector = Selector::Field;
      field.argument = primary();
   } else if (acceptWord("unsent")) {
      field.selector = Selector::Record;
   } else if (module_->isCsn1()) {
      field.selector = Selector::Pattern;
   }
   const Pos opened = peek().pos;
   expectSign("{");
   while (!closes("}", opened)) {
      try {
         arm(field);
      } catch (const SyntaxError&) {
         skipItem();
         if (atSign("]") || atSign(")")) take();
      }
   }
}

void Reader::arm(Field& choice) {
   Arm arm;
   arm.pos = peek().pos;
   std::string doc = docAtStart();
   switch (choice.selector) {
   case Selector::Record: {
      const uint64_t place = choice.arms.size() + 1;
      arm.values.push_back({place, place});
      break;
   }
   case Selector::Field: armValues(arm); break;
   case Selector::Pattern: {
      ownPattern(arm);
      const uint64_t place = choice.arms.size() + 1;
      arm.values.push_back({place, place});
      break;
   }
   default: pattern(choice, arm); break;
   }
   if (acceptSign("-")) {
      arm.field = std::make_unique<Field>(); // nothing on the wire, and no name
      arm.field->pos = arm.pos;
      arm.field->kind = Kind::Null;
   } else {
      arm.field = this->field(Place::Arm);
   }
   if (!doc.empty()) arm.field->doc = doc;
   if (!onlyInOtherMode()) choice.arms.push_back(std::move(arm));
   endOfItem("}");
}

void Reader::armValues(Arm& arm) {
   arm.isElse = acceptWord("else");
   if (arm.isElse) return;
   do {
      Arm::Range range;
      range.low = range.high = expectNumber("an arm's value or `else`");
      if (acceptSign("..")) range.high = expectNumber("the end of the range");
      arm.values.push_back(range);
   } while (acceptSign("|"));
}

// The bits that lead an arm: as many in each.
void Reader::pattern(Field& choice, Arm& arm) {
   const std::string bits = peek().text;
   if (peek().kind != Tok::Number || bits.find_first_not_of("01") != std::string::npos || bits.size() > 8)
      unexpected("the bits of an arm");
   take();
   uint64_t value = 1; // the selector of the first arm
   for (size_t i = 0; i < bits.size(); ++i) value += uint64_t{bits[i] == '1'} << (bits.size() - 1 - i);
   arm.values.push_back({value, value});
   if (!choice.bits) choice.bits = static_cast<unsigned>(bits.size());
   if (choice.bits != bits.size())
      diagnostics_.error(UnevenPatterns, arm.pos, "The arms of a choice are led by as many bits each.");
}

// The bits that lead an arm, as many as it takes: plain ones, or L and H.
void Reader::ownPattern(Arm& arm) {
   arm.pattern = peek().text;
   const bool plain = arm.pattern.find_first_not_of("01") == std::string::npos;
   if (arm.pattern.empty() || arm.pattern.size() > 8 ||
       (!plain && arm.pattern.find_first_not_of("LH") != std::string::npos))
      unexpected("the bits of an arm");
   take();
}

// Facts behind a kind.
void Reader::behind(Field& field) {
   if (field.ieiBits && acceptWord("as")) {
      if (!lengthWord(field.cls)) unexpected("`LV` or `LV-E`");
   }
   if (field.kind == Kind::Named && atWord("zeros") && module_->isCsn1()) {
      take();
      field.zeros = expectWidth("the number of bits");
   }
   if (acceptWord("init")) field.init = expectNumber("the initial value");
   // A fixed field has its value from the start, or no record would encode as it is initialised.
   if (field.kind == Kind::Uint && !field.init && field.bounds.low && field.bounds.low == field.bounds.high)
      field.init = field.bounds.low;
   if (acceptWord("sample")) field.sample = expectNumber("the value in samples");
   quirks(field);
}

void Reader::quirks(Field& field) {
   const bool frame =
         (field.kind == Kind::Frame && !field.aside) || field.kind == Kind::Bare || field.bareBits;
   for (const Item& word : quirkWords()) {
      if (word.text == "leavetail" && frame)
         field.leaveTail = true;
      else if (word.text == "tail" && field.kind == Kind::Each)
         field.tail = true;
      else if (word.text == "free" && field.kind == Kind::Each && field.argument)
         field.freeCount = true;
      else if (word.text == "strict" && field.kind == Kind::Chain)
         field.skip = false;
      else if (word.text == "beside")
         field.beside = true;
      else
         misplaced(word);
   }
}

Reader::ExprPtr Reader::binary(Expr::Op op, Pos pos, ExprPtr left, ExprPtr right) {
   if (++operators_ > 100) { // the tree is walked by recursion
      diagnostics_.error(TooDeep, pos, "An expression has at most 100 operators.");
      throw SyntaxError{};
   }
   auto result = std::make_unique<Expr>();
   result->op = op;
   result->pos = pos;
   result->left = std::move(left);
   result->right = std::move(right);
   return result;
}

Reader::ExprPtr Reader::expression() { // the loosest binding first
   Deeper deeper(*this);
   ExprPtr left = comparison();
   while (atWord("and")) {
      Pos pos = take().pos;
      left = binary(Expr::Op::And, pos, std::move(left), comparison());
   }
   return left;
}

Reader::ExprPtr Reader::comparison() {
   static const std::pair<const char*, Expr::Op> signs[] = {{"=", Expr::Op::Eq},  {"!=", Expr::Op::Ne},
                                                            {"<=", Expr::Op::Le}, {">=", Expr::Op::Ge},
                                                            {"<", Expr::Op::Lt},  {">", Expr::Op::Gt}};
   ExprPtr left = sum();
   for (auto& [sign, op] : signs) {
      if (!atSign(sign)) continue;
      Pos pos = take().pos;
      return binary(op, pos, std::move(left), sum());
   }
   return left;
}

Reader::ExprPtr Reader::sum() {
   ExprPtr left = product();
   while (atSign("+") || atSign("-")) {
      Item sign = take();
      left = binary(sign.text == "+" ? Expr::Op::Add : Expr::Op::Sub, sign.pos, std::move(left), product());
   }
   return left;
}

Reader::ExprPtr Reader::product() {
   ExprPtr left = primary();
   while (atSign("*")) {
      Pos pos = take().pos;
      left = binary(Expr::Op::Mul, pos, std::move(left), primary());
   }
   return left;
}

Reader::ExprPtr Reader::primary() {
   if (atSign("(")) return bracketed();
   auto result = std::make_unique<Expr>();
   result->pos = peek().pos;
   if (atNumber()) {
      result->number = expectNumber("a number");
   } else if (acceptWord("rest")) {
      result->op = Expr::Op::Rest;
   } else {
      result->op = Expr::Op::Name;
      result->name = expectWord("a field's name or a number");
      while (acceptSign(".")) result->name += "." + expectWord("a field's name");
      if (atSign("(")) {
         result->op = Expr::Op::Call;
         result->left = bracketed();
      }
   }
   return result;
}

Reader::ExprPtr Reader::bracketed() {
   expectSign("(");
   ExprPtr result = expression();
   expectSign(")");
   return result;
}

} // namespace l3c
