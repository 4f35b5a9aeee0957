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

// `a..b`, `a..`, `..b`, `a` or `a|b|c`; nothing if none stands here.
Bounds Reader::bounds() {
   Bounds bounds;
   if (atNumber()) {
      bounds.low = expectNumber("a number");
      if (atSign("|")) {
         bounds.values.push_back(*bounds.low);
         while (acceptSign("|")) bounds.values.push_back(expectNumber("a number"));
         std::sort(bounds.values.begin(), bounds.values.end());
         bounds.low = bounds.values.front();
      }
      if (!bounds.values.empty() || !acceptSign("..")) {
         bounds.high = bounds.values.empty() ? bounds.low : bounds.values.back();
         return bounds;
      }
   } else if (!acceptSign("..")) {
      return bounds;
   }
   if (atNumber()) bounds.high = expectNumber("a number");
   return bounds;
}

Bounds Reader::bracketBounds() {
   expectSign("[");
   Bounds result = bounds();
   if (result.empty()) unexpected("a bound");
   expectSign("]");
   return result;
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
      if (presenceLine(place, group)) continue;
      try {
         auto one = field(place, group);
         endOfItem(closer);
         out.push_back(std::move(one));
      } catch (const SyntaxError&) {
         skipItem();
         // A bracket without partner: pass it, or the loop would stand still.
         if (atSign("]") || (atSign(")") && closer[0] != ')')) take();
      }
   }
}

// `optional` and `group` stand alone on their lines.
bool Reader::presenceLine(Place& place, int& group) {
   if (place != Place::Message && place != Place::Optional) return false;
   bool first = atWord("optional") && place == Place::Message, next = atWord("group");
   if ((!first && !next) || !atSeparator(1)) return false;
   take();
   place = Place::Optional;
   if (next) ++group;
   return true;
}

bool Reader::namelessLead() const {
   if (atWord("choice"))
      return atSign("{", 1) ||
             ((atWord("by", 1) || atWord("bit", 1) || atWord("lh", 1)) && !atSeparator(2)) ||
             (atWord("bits", 1) && atNumber(2));
   if (atWord("chain") || atWord("swap")) return atSign("(", 1);
   return (atWord("bare") || atWord("since")) && atNumber(1);
}

std::unique_ptr<Field> Reader::field(Place place, int group) {
   auto result = std::make_unique<Field>();
   Field& field = *result;
   field.pos = peek().pos;
   field.doc = docAtStart();
   operators_ = 0;
   if (!namelessLead()) {
      field.name = expectWord("a field");
      field.optional = acceptSign("?");
   }
   if (place == Place::Optional) {
      field.optional = true;
      field.group = group;
      iei(field);
   }
   if (field.ieiBits && atWord("T") && atSeparator(1)) {
      take();
      field.kind = Kind::Null;
      field.present = true;
   } else if (field.ieiBits && atSeparator()) {
      unexpected("the element's type");
   } else {
      kind(field, place);
   }
   behind(field);
   field.doc = docAtEnd(field.doc);
   return result;
}

// Two hex digits, or one and a dash for a half octet.
void Reader::iei(Field& field) {
   const Item& item = peek();
   bool half = item.text.size() == 2 && item.text[1] == '-';
   uint64_t value = 0;
   if ((item.kind != Tok::Word && item.kind != Tok::Number) || item.text.size() != 2 ||
       !parseHex(half ? item.text.substr(0, 1) : item.text, value)) {
      diagnostics_.error(BadIei, item.pos, "An optional element has its IEI behind the name: `78`, or `A-`.");
      throw SyntaxError{};
   }
   field.iei = static_cast<unsigned>(value);
   field.ieiBits = half ? 4 : 8;
   field.hexIei = true;
   take();
}

bool Reader::atBehind() const {
   return atWord("bit") || atWord("lh") || atWord("when") || atWord("const") || atWord("aside") ||
          atWord("guarded") || atWord("leavetail") || atWord("counts") || atWord("init") ||
          atWord("sample") || atWord("beside") || atWord("ahead");
}

void Reader::kind(Field& field, Place place) {
   if (atSeparator() || atSign("}") || atSign(")") || atBehind()) {
      field.kind = place == Place::Arm ? Kind::Null : Kind::Flag;
      field.bits = field.kind == Kind::Flag ? 1 : 0;
   } else if (atNumber()) {
      kindByNumber(field);
   } else if (acceptSign("{")) {
      field.kind = Kind::Group;
      fields(field.fields, "}", Place::Record);
   } else if (peek().kind == Tok::Word) {
      kindByWord(field);
   } else {
      unexpected("a field's kind");
   }
}

void Reader::kindByNumber(Field& field) {
   if (atWord("octets", 1) || atWord("bits", 1)) {
      field.count = expectNumber("the size");
      field.kind = atWord("octets") ? Kind::Octets : Kind::Bits;
      field.storage.capacity = field.count;
      take();
      return;
   }
   field.bits = expectWidth("the width in bits");
   field.kind = Kind::Uint;
   if (acceptWord("frame")) {
      field.kind = Kind::Frame;
      wireGroup(field);
   } else if (atSign("[")) {
      field.bounds = bracketBounds();
   }
}

// Bounds and the bracket of a frame or bare length.
void Reader::wireGroup(Field& field) {
   if (atSign("[")) field.bounds = bracketBounds();
   expectSign("(");
   fields(field.fields, ")", Place::Record);
}

void Reader::kindByWord(Field& field) {
   if (acceptWord("lv")) return counted(field, 8);
   if (acceptWord("lv-e")) return counted(field, 16);
   if (acceptWord("each")) return each(field);
   if (acceptWord("choice")) return choice(field);
   if (acceptWord("chain")) return chain(field);
   if (acceptWord("since")) return since(field);
   if (acceptWord("octets")) {
      field.kind = Kind::Sized;
      field.argument = expression();
      storage(field.storage, field.bounds);
      if (atSign("[")) field.bounds = bracketBounds();
   } else if (atWord("fill") || atWord("tail") || atWord("bittail")) {
      field.kind = atWord("fill") ? Kind::Fill : atWord("tail") ? Kind::Tail : Kind::BitTail;
      take();
      bool given = storage(field.storage, field.bounds);
      if (atSign("[")) field.bounds = bracketBounds();
      if (!given) storage(field.storage, field.bounds);
   } else if (acceptWord("null")) {
      field.kind = Kind::Null;
   } else if (atWord("ucs2") && (atWord("heap", 1) || atWord("inline", 1))) {
      take();
      field.kind = Kind::Fill;
      field.bits = 16;
      storage(field.storage, field.bounds);
   } else if (acceptWord("messages")) {
      field.kind = Kind::Messages;
   } else if (acceptWord("bare")) {
      field.kind = Kind::Bare;
      field.bits = expectWidth("the width of the length");
      wireGroup(field);
   } else if (acceptWord("swap")) {
      field.kind = Kind::Swap;
      wireGroup(field);
   } else {
      named(field);
   }
}

void Reader::named(Field& field) {
   field.kind = Kind::Named;
   field.type = typeRef();
   if (atSign("(")) arguments(field);
   if (atWord("value") && atSign("(", 1)) {
      take();
      field.valueOnly = true;
      field.argument = bracketed();
   }
}

void Reader::counted(Field& field, unsigned bits) {
   field.kind = Kind::Counted;
   field.bits = bits;
   field.bounds = atSign("[") ? bracketBounds() : bounds();
   storage(field.storage, field.bounds);
}

void Reader::each(Field& field) {
   field.kind = Kind::Each;
   if (atNumber())
      field.bits = expectWidth("the width of an entry");
   else if (atWord("fill") || atWord("octets"))
      entry(field);
   else
      field.type = typeRef();
   for (bool more = true; more;) {
      more = true;
      if (atWord("x") && atSign("(", 1)) {
         take();
         field.argument = bracketed();
      } else if (atSign("[")) {
         field.bounds = bracketBounds();
      } else if (acceptWord("tail")) {
         field.tail = true;
      } else if (acceptWord("flags")) {
         field.entries = Entries::Flags;
      } else if (atWord("free") && field.argument) {
         take();
         field.freeCount = true;
      } else {
         more = storage(field.storage, field.bounds);
      }
   }
}

// Entries that are octets without a count: `octets e inline N` or `fill inline N`.
void Reader::entry(Field& field) {
   field.entry = std::make_unique<Field>();
   Field& entry = *field.entry;
   entry.pos = peek().pos;
   entry.kind = atWord("fill") ? Kind::Fill : Kind::Sized;
   take();
   if (entry.kind == Kind::Sized) entry.argument = expression();
   if (!storage(entry.storage, entry.bounds)) unexpected("`inline` with a capacity, or `heap`");
}

void Reader::choice(Field& field) {
   field.kind = Kind::Choice;
   field.selector = Selector::Record;
   if (acceptWord("by")) {
      field.selector = Selector::Field;
      field.argument = expression();
   } else if (acceptWord("bit")) {
      field.selector = Selector::Bits;
      field.bits = 1;
   } else if (acceptWord("bits")) {
      field.selector = Selector::Bits;
      field.bits = expectWidth("the width of the selector");
   } else if (acceptWord("lh")) {
      field.selector = Selector::LH;
      field.bits = 1;
   }
   arms(field);
}

void Reader::arms(Field& field) {
   Deeper deeper(*this);
   Pos opened = peek().pos;
   expectSign("{");
   while (!closes("}", opened)) {
      try {
         Arm arm;
         arm.pos = peek().pos;
         std::string doc = docAtStart();
         if (acceptWord("else"))
            arm.isElse = true;
         else
            armValues(arm);
         if (atSeparator() || atSign("}") || (atWord("null") && (atSeparator(1) || atSign("}", 1)))) {
            arm.field = std::make_unique<Field>(); // nothing on the wire, and no name
            arm.field->pos = arm.pos;
            arm.field->kind = Kind::Null;
            acceptWord("null");
         } else {
            arm.field = this->field(Place::Arm, 0);
         }
         if (!doc.empty()) arm.field->doc = doc;
         field.arms.push_back(std::move(arm));
         endOfItem("}");
      } catch (const SyntaxError&) {
         skipItem();
         if (atSign("]") || atSign(")")) take();
      }
   }
}

void Reader::armValues(Arm& arm) {
   do {
      Arm::Range range;
      range.low = range.high = expectNumber("an arm's value or `else`");
      if (acceptSign("..")) range.high = expectNumber("the end of the range");
      arm.values.push_back(range);
   } while (acceptSign("|"));
}

void Reader::chain(Field& field) {
   field.kind = Kind::Chain;
   expectSign("(");
   fields(field.fields, ")", Place::Record);
   field.skip = acceptWord("skip");
}

void Reader::since(Field& field) {
   field.kind = Kind::Since;
   field.number = expectNumber("the release");
   if (acceptWord("needs")) field.needs = expectNumber("the number of bits");
   field.quits = acceptWord("quits");
   expectSign("(");
   fields(field.fields, ")", Place::Record);
}

// Words behind a kind, in any order.
void Reader::behind(Field& field) {
   for (;;) {
      Pos pos = peek().pos;
      if (acceptWord("bit")) {
         if (field.lead == Lead::None) field.lead = Lead::Bit;
      } else if (acceptWord("lh")) {
         field.lead = Lead::LH;
      } else if (acceptWord("when")) {
         field.when = atSign("(") ? bracketed() : expression();
      } else if (acceptWord("const")) {
         if (field.kind != Kind::Uint && field.kind != Kind::Flag) {
            diagnostics_.error(MisplacedWord, pos, "`const` goes with a width in bits.");
            throw SyntaxError{};
         }
         field.kind = Kind::Const;
         field.number = expectNumber("the constant");
      } else if (acceptWord("aside")) {
         field.aside = true;
         if (field.kind == Kind::Uint && atSign("(")) {
            field.kind = Kind::Frame;
            wireGroup(field);
         }
      } else if (acceptWord("guarded")) {
         field.guarded = true;
      } else if (acceptWord("leavetail")) {
         field.leaveTail = true;
      } else if (atWord("as") && field.ieiBits) {
         take();
         if (!classWord(field.cls)) unexpected("`V`, `LV` or `LV-E`");
      } else if (acceptWord("beside")) {
         field.beside = true;
      } else if (acceptWord("ahead")) {
         field.ahead = expectWidth("the place of the bit");
      } else if (acceptWord("bare")) {
         field.bareBits = expectWidth("the width of the length");
      } else if (acceptWord("init")) {
         field.init = expectNumber("the initial value");
      } else if (acceptWord("sample")) {
         field.sample = expectNumber("the value in samples");
      } else if (acceptWord("counts")) {
         field.counts = expectWord("the field that is counted");
         if (acceptSign("+")) field.countsPlus = expectNumber("a number");
      } else {
         return;
      }
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
   ExprPtr left = conjunction();
   while (atWord("or")) {
      Pos pos = take().pos;
      left = binary(Expr::Op::Or, pos, std::move(left), conjunction());
   }
   return left;
}

Reader::ExprPtr Reader::conjunction() {
   ExprPtr left = negation();
   while (atWord("and")) {
      Pos pos = take().pos;
      left = binary(Expr::Op::And, pos, std::move(left), negation());
   }
   return left;
}

Reader::ExprPtr Reader::negation() {
   if (!atWord("not")) return comparison();
   Deeper deeper(*this);
   Pos pos = take().pos;
   return binary(Expr::Op::Not, pos, negation(), nullptr);
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
   }
   return result;
}

void Reader::arguments(Field& field) {
   expectSign("(");
   field.argument = expression();
   if (acceptSign(",")) field.second = expression();
   expectSign(")");
}

Reader::ExprPtr Reader::bracketed() {
   expectSign("(");
   ExprPtr result = expression();
   expectSign(")");
   return result;
}

} // namespace l3c
