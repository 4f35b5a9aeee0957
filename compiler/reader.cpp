// Declarations: the module line, types, tables and vectors.
#include "compiler/reader.h"

#include "compiler/places.h"

#include <algorithm>
#include <sstream>

namespace l3c {

const Reader::Item& Reader::peek(size_t ahead) const {
   size_t at = at_ + ahead;
   return at < stream_.items.size() ? stream_.items[at] : stream_.items.back();
}

Reader::Item Reader::take() {
   Item item = peek();
   lastLine_ = item.pos.line;
   if (at_ + 1 < stream_.items.size()) ++at_;
   return item;
}

bool Reader::atSign(const char* sign, size_t ahead) const {
   return peek(ahead).kind == Tok::Sign && peek(ahead).text == sign;
}

bool Reader::atWord(const char* word, size_t ahead) const {
   return peek(ahead).kind == Tok::Word && peek(ahead).text == word;
}

bool Reader::atSeparator(size_t ahead) const {
   Tok kind = peek(ahead).kind;
   return kind == Tok::LineEnd || kind == Tok::End || atSign(",", ahead);
}

bool Reader::atNumber(size_t ahead) const {
   uint64_t value;
   const Item& item = peek(ahead);
   return item.kind == Tok::Number || (item.kind == Tok::Word && parseNumber(item.text, value));
}

bool Reader::acceptSign(const char* sign) {
   if (!atSign(sign)) return false;
   take();
   return true;
}

bool Reader::acceptWord(const char* word) {
   if (!atWord(word)) return false;
   take();
   return true;
}

void Reader::expectSign(const char* sign) {
   if (!acceptSign(sign)) unexpected(std::string("`") + sign + "`");
}

std::string Reader::expectWord(const char* what) {
   if (peek().kind != Tok::Word) unexpected(what);
   return take().text;
}

uint64_t Reader::expectNumber(const char* what) {
   uint64_t value = 0;
   if (!atNumber()) unexpected(what);
   parseNumber(take().text, value);
   return value;
}

uint64_t Reader::expectHex(const char* what) {
   uint64_t value = 0;
   if ((peek().kind != Tok::Number && peek().kind != Tok::Word) || !parseHex(peek().text, value))
      unexpected(what);
   take();
   return value;
}

unsigned Reader::expectWidth(const char* what) {
   Pos pos = peek().pos;
   uint64_t value = expectNumber(what);
   if (value >= 1 && value <= 32) return static_cast<unsigned>(value);
   diagnostics_.error(BadWidth, pos, "A width is 1 to 32 bits.");
   return 8;
}

void Reader::unexpected(const std::string& wanted) {
   const Item& item = peek();
   std::string found = item.kind == Tok::End       ? "the end of the file"
                       : item.kind == Tok::LineEnd ? "the end of the line"
                                                   : "`" + item.text + "`";
   diagnostics_.error(Unexpected, item.pos, "Here stands " + found + " where " + wanted + " should.");
   throw SyntaxError{};
}

void Reader::skipSeparators() {
   while (atSeparator() && peek().kind != Tok::End) take();
}

// Stops at a separator outside of the brackets that open on the way, or ahead of a bracket that closes.
void Reader::skipItem() {
   int open = 0;
   for (;; take()) {
      if (peek().kind == Tok::End) return;
      if (atSign("{") || atSign("(") || atSign("[")) ++open;
      if (atSign("}") || atSign(")") || atSign("]")) {
         if (open == 0) return;
         --open;
      }
      if (open == 0 && atSeparator()) return;
   }
}

// True behind the closer; a file that ends first is told once.
bool Reader::closes(const char* closer, const Pos& opened) {
   skipSeparators();
   if (acceptSign(closer)) return true;
   bool outer = closer[0] == ')' && atSign("}"); // that of a record around
   if (peek().kind != Tok::End && !outer) return false;
   if (!unclosed_) diagnostics_.error(Unclosed, opened, std::string("The bracket has no `") + closer + "`.");
   unclosed_ = true;
   return true;
}

void Reader::endOfItem(const char* closer) {
   if (!atSeparator() && !atSign(closer)) unexpected(std::string("a line end, `,` or `") + closer + "`");
}

// Documentation ahead of the item that begins here, and that at the end of its line.
std::string Reader::docAtStart() {
   std::string doc = peek().doc;
   auto trailing = stream_.trailing.extract(peek().pos.line);
   if (!trailing) return doc;
   return doc.empty() ? trailing.mapped() : doc + '\n' + trailing.mapped();
}

// Adds what stands behind the item's last bracket.
std::string Reader::docAtEnd(std::string doc) {
   auto trailing = stream_.trailing.extract(lastLine_);
   if (!trailing) return doc;
   return doc.empty() ? trailing.mapped() : doc + '\n' + trailing.mapped();
}

Reader::Deeper::Deeper(Reader& reader) : reader_(reader) {
   if (++reader_.depth_ <= 64) return;
   --reader_.depth_;
   reader_.diagnostics_.error(TooDeep, reader_.peek().pos, "This is nested more than 64 levels deep.");
   throw SyntaxError{};
}

void Reader::run() {
   module_ = model_.modules.emplace_back(std::make_unique<Module>()).get();
   skipSeparators();
   try {
      moduleLine();
   } catch (const SyntaxError&) {
      skipItem();
   }
   for (skipSeparators(); peek().kind != Tok::End; skipSeparators()) {
      size_t before = at_;
      try {
         declaration();
         endOfItem("");
      } catch (const SyntaxError&) {
         skipItem();
         if (at_ == before || !atSeparator()) take(); // a closing bracket too many
      }
   }
   fillTables();
   fillNames();
   for (auto& figure : figures_) {
      Type* type = const_cast<Type*>(module_->find(figure->name));
      if (type != nullptr && type->custom && type->figure == nullptr)
         type->figure = std::move(figure);
      else
         diagnostics_.error(UnknownType, figure->pos,
                            "No type by hand called `" + figure->name + "` is here that has no figure yet.");
   }
}

void Reader::moduleLine() {
   module_->pos = peek().pos;
   if (!atWord("module")) {
      diagnostics_.error(NoModule, peek().pos, "A description begins with `module NAME file FILE uses …`.");
      return;
   }
   module_->doc = docAtStart();
   take();
   const Pos named = peek().pos;
   const std::string name = expectWord("the module's name");
   if (acceptWord("more")) {
      model_.modules.pop_back();
      module_ = model_.find(name);
      if (module_ == nullptr) {
         diagnostics_.error(UnknownModule, named,
                            "No file before this one begins the module `" + name + "`.");
         module_ = model_.modules.emplace_back(std::make_unique<Module>()).get();
      }
      return;
   }
   module_->name = module_->file = name;
   if (acceptWord("file")) module_->file = expectWord("the name of the generated files");
   if (acceptWord("lists")) module_->lists = expectWord("what the names of lists begin with");
   if (acceptWord("uses")) {
      do {
         if (peek().kind == Tok::LineEnd) take();
         module_->uses.push_back(expectWord("a module's name"));
      } while (acceptSign(","));
   }
   if (!atSeparator()) unexpected("the end of the line");
}

void Reader::declaration() {
   static const std::pair<const char*, std::pair<TypeKind, void (Reader::*)(Type&)>> heads[] = {
         {"enum", {TypeKind::Enum, &Reader::enumeration}},
         {"type", {TypeKind::Alias, &Reader::plainType}},
         {"element", {TypeKind::Record, &Reader::element}},
         {"structure", {TypeKind::Record, &Reader::structure}},
         {"message", {TypeKind::Message, &Reader::message}},
         {"pdu", {TypeKind::Pdu, &Reader::pdu}},
   };
   if (atWord("table")) return table();
   const bool figure = atWord("figure");
   if (figure) take();
   if (atWord("test")) return test();
   for (auto& [word, head] : heads) {
      if (!atWord(word)) continue;
      std::string doc = docAtStart();
      take();
      // The type joins the module at once, so that later errors don't make it unknown too.
      Pos pos = peek().pos;
      std::string name = expectWord("the type's name");
      auto& types = figure ? figures_ : module_->types;
      Type& type = *types.emplace_back(std::make_unique<Type>());
      type.pos = pos;
      type.name = name;
      type.kind = head.first;
      type.doc = doc;
      type.module = module_;
      if (!figure) module_->byName.emplace(name, &type);
      const size_t begin = at_;
      departs_ = recoded_ = false;
      (this->*head.second)(type);
      if (departs_) {
         const size_t behind = at_;
         const int last = lastLine_;
         type.widens = !recoded_;
         type.standard = std::make_unique<Type>();
         type.standard->pos = pos;
         type.standard->name = name;
         type.standard->kind = head.first;
         type.standard->module = module_;
         type.standard->original = &type;
         at_ = begin;
         standard_ = true;
         (this->*head.second)(*type.standard);
         standard_ = false;
         at_ = behind;
         lastLine_ = last;
      }
      type.doc = docAtEnd(type.doc);
      return;
   }
   diagnostics_.error(NoDeclaration, peek().pos,
                      "`" + peek().text +
                            "` doesn't begin a declaration (enum, type, element, structure, message, pdu, "
                            "figure, table, test).");
   throw SyntaxError{};
}

// The words behind `but`.
std::vector<Reader::Item> Reader::quirkWords() {
   std::vector<Item> words;
   if (!acceptWord("but")) return words;
   if (peek().kind != Tok::Word) unexpected("a quirk");
   while (peek().kind == Tok::Word) words.push_back(take());
   return words;
}

void Reader::quirks(Type& type) {
   using Fits = bool (*)(const Type&);
   static const Fits always = [](const Type&) { return true; };
   static const Fits message = [](const Type& t) { return t.kind == TypeKind::Message; };
   static const Fits lengthed = [](const Type& t) { return t.kind == TypeKind::Record && t.cls != Class::V; };
   static const Fits octets = [](const Type& t) {
      return t.kind == TypeKind::Record && (t.cls == Class::LV || t.cls == Class::LVE);
   };
   static const struct {
      const char* word;
      bool Type::*flag;
      Fits fits;
   } table[] = {
         {"custom", &Type::custom, always},
         {"nodecoder", &Type::noDecoder, always},
         {"ownsample", &Type::ownSample, [](const Type& t) { return t.kind == TypeKind::Record; }},
         {"twins", &Type::twins, message},
         {"tailstop", &Type::tailstop, message},
         {"shifts", &Type::shifts, message},
         {"leavetail", &Type::leaveTail, octets},
         {"aligned", &Type::aligned, octets},
         {"returns", &Type::returns, [](const Type& t) { return lengthed(t) || t.structure; }},
         {"free", &Type::freeCount, [](const Type& t) { return t.times != nullptr; }},
   };
   const std::vector<Item> words = quirkWords();
   for (const Item& word : words)
      for (auto& row : table) type.*row.flag |= word.text == row.word;
   // No standard lets a decoder return early.
   if (type.returns && !type.structure) departs_ = recoded_ = true;
   if (standard_) type.returns = false;
   for (const Item& word : words) {
      const bool known =
            std::ranges::any_of(table, [&](auto& row) { return word.text == row.word && row.fits(type); });
      if (!known) misplaced(word);
   }
}

void Reader::misplaced(const Item& word) {
   diagnostics_.error(MisplacedWord, word.pos, "`" + word.text + "` is no quirk that this can have.");
}

// The optional elements with these IEIs stand in this order, among the places that they have.
void Reader::reorder(std::vector<std::unique_ptr<Field>>& fields, const std::vector<unsigned>& order) {
   std::vector<size_t> places;
   for (size_t i = 0; i < fields.size(); ++i)
      if (fields[i]->ieiBits != 0 && std::ranges::count(order, fields[i]->iei) != 0) places.push_back(i);
   if (places.size() != order.size()) {
      diagnostics_.error(BadIei, peek().pos,
                         "The order names an IEI that the message has not, or has twice.");
      return;
   }
   for (size_t i = 0; i < places.size(); ++i)
      for (size_t k = i; k < places.size(); ++k)
         if (fields[places[k]]->iei == order[i]) std::swap(fields[places[i]], fields[places[k]]);
}

// A length of whole octets.
bool Reader::lengthWord(Class& cls) {
   const auto at = [&](size_t ahead) { return atWord("LV", ahead) || atWord("LV-E", ahead); };
   const auto word = [&] { return take().text == "LV" ? Class::LV : Class::LVE; };
   if (!at(0)) return false;
   cls = word();
   if (!atWord("standard") || !at(1)) return true;
   take();
   const Class other = word();
   departs_ = recoded_ = true;
   if (standard_) cls = other;
   return true;
}

// `bare` and the class of a length that no record holds.
bool Reader::bareLength(Class& cls) {
   if (!acceptWord("bare")) return false;
   if (!lengthWord(cls)) unexpected("`LV` or `LV-E`");
   return true;
}

void Reader::enumRows(std::vector<EnumRow>& rows) {
   Pos opened = peek().pos;
   if (!acceptSign("{")) return;
   while (!closes("}", opened)) {
      try {
         EnumRow row;
         row.doc = docAtStart();
         row.pos = peek().pos;
         row.name = expectWord("a value's name");
         row.value = expectNumber("the value");
         rows.push_back(row);
         endOfItem("}");
      } catch (const SyntaxError&) {
         skipItem();
         if (atSign(")") || atSign("]")) take();
      }
   }
}

void Reader::enumeration(Type& type) {
   type.pattern = acceptWord("LH");
   type.bits = type.pattern ? 1 : expectWidth("the width in bits");
   type.unchecked = !type.pattern && acceptWord("open");
   type.checked = !type.pattern && !type.unchecked && acceptWord("full");
   if (!atSign("{")) unexpected("`{`");
   enumRows(type.rows);
}

// What the caller of the type's decoder hands over.
void Reader::parameters(Type& type) {
   if (!acceptSign("(")) return;
   do type.parameters.push_back(expectWord("a parameter's name"));
   while (acceptSign(","));
   expectSign(")");
}

void Reader::plainType(Type& type) {
   parameters(type);
   const bool list = acceptSign("*");
   if (list) {
      type.kind = TypeKind::List;
      Field count;
      if (acceptWord("ext"))
         count.entries = Entries::Ext;
      else
         times(count);
      if (atSign("[")) count.bounds = bracketBounds();
      type.entries = count.entries;
      type.times = std::move(count.argument);
      type.bounds = count.bounds;
   }
   type.bare = bareLength(type.cls);
   type.structure = module_->isCsn1();
   Field entries; // of a structure's list: may be nests, whose types are named by place
   if (list && type.structure && (atNumber() || atSign("{") || atWord("choice"))) {
      entries.kind = Kind::Each;
      kind(entries, Place::Record);
      type.bits = entries.bits;
   } else if (list) {
      type.base = typeRef();
   } else {
      plainKind(type);
   }
   quirks(type);
   if (type.kind == TypeKind::Number) {
      type.plain = acceptWord("plain");
      if (type.plain && !atSign("{"))
         type.namesOf = expectWord("`{`, or the type that has the names");
      else
         enumRows(type.rows);
   }
   if (entries.entry) placeEntries(*module_, type, entries);
}

void Reader::plainKind(Type& type) {
   if (atNumber()) {
      type.kind = TypeKind::Number;
      type.bits = expectWidth("the width in bits");
      if (atSign("[")) type.bounds = bracketBounds();
   } else if (!type.bare && lengthWord(type.cls)) {
      if (!acceptWord("octets")) unexpected("`octets`");
      type.kind = TypeKind::Octets;
      if (atSign("[")) type.bounds = bracketBounds();
      storage(type.storage, type.bounds);
   } else if (atWord("octets") || (atWord("bits") && !type.bare)) {
      type.kind = atWord("octets") ? TypeKind::Octets : TypeKind::Bits;
      take();
      expectSign("(");
      type.fill = !type.bare && acceptWord("rest");
      if (!type.fill) type.count = type.storage.capacity = expectNumber("the number of octets or `rest`");
      expectSign(")");
      if (type.fill) storage(type.storage, type.bounds);
   } else if ((atWord("digits") && !type.bare) || atWord("text")) {
      type.kind = atWord("digits") ? TypeKind::Digits : TypeKind::Text;
      if (type.kind == TypeKind::Digits) type.parameters = {"octets"};
      take();
      expectSign("(");
      type.storage.heap = acceptWord("heap");
      if (!type.storage.heap)
         type.count = type.storage.capacity = expectNumber("the number of characters or `heap`");
      type.open = type.kind == TypeKind::Digits && type.count && acceptSign("..");
      expectSign(")");
   } else if (type.bare) {
      unexpected("a width, `octets`, `text` or `*`");
   } else {
      type.base = typeRef();
   }
}

void Reader::structure(Type& type) {
   type.structure = true;
   if (!module_->isCsn1())
      diagnostics_.error(MisplacedWord, type.pos,
                         "A structure stands in a module that tells how its `lists` are called.");
   type.bare = bareLength(type.cls);
   if (!type.bare) lengthWord(type.cls);
   if (type.cls != Class::V && atSign("[")) type.bounds = bracketBounds();
   quirks(type);
   expectSign("{");
   fields(type.fields, "}", Place::Record);
   placeTypes(*module_, type);
}

void Reader::element(Type& type) {
   parameters(type);
   uint64_t width;
   type.bare = bareLength(type.cls);
   if (type.bare || lengthWord(type.cls) || acceptWord("V")) {
   } else if (acceptWord("L4")) {
      type.cls = Class::L4;
   } else if (peek().kind == Tok::Word && peek().text.starts_with("LB") &&
              parseNumber(peek().text.substr(2), width) && width >= 1 && width <= 16) {
      take();
      type.cls = Class::LB;
      type.bits = static_cast<unsigned>(width);
   } else {
      unexpected("`V`, `LV`, `LV-E`, `L4` or `LB7`");
   }
   if (type.cls != Class::V && atSign("[")) type.bounds = bracketBounds();
   quirks(type);
   expectSign("{");
   fields(type.fields, "}", Place::Record);
}

void Reader::message(Type& type) {
   if (acceptSign("=")) {
      type.kind = TypeKind::OneElement;
      type.base = typeRef();
      return quirks(type);
   }
   const bool ordered = acceptWord("order");
   std::vector<unsigned> order;
   while (ordered && !atSign("{") && !atWord("but")) {
      Field element;
      if (!acceptIei(element)) unexpected("an IEI or `{`");
      order.push_back(element.iei);
   }
   if (ordered) departs_ = recoded_ = true;
   quirks(type);
   expectSign("{");
   if (!atSign("}", peek().kind == Tok::LineEnd ? 1 : 0)) {
      fields(type.fields, "}", Place::Message);
      if (standard_) reorder(type.fields, order);
      return;
   }
   skipSeparators();
   take();
   type.kind = TypeKind::Empty;
}

void Reader::pdu(Type& type) {
   quirks(type);
   expectSign("{");
   fields(type.fields, "}", Place::Record);
}

TableRow Reader::tableRow() {
   TableRow row;
   row.doc = docAtStart();
   row.pos = peek().pos;
   row.disc = expectHex("the discriminator in hex");
   row.msgType = expectHex("the message type in hex");
   row.selector = expectNumber("the selector");
   row.member = expectWord("the union member");
   if (!acceptSign("-")) {
      row.record = typeRef();
      row.inlineValue = acceptWord("inline");
   }
   endOfItem("}");
   return row;
}

void Reader::table() {
   take();
   Table table;
   table.pos = peek().pos;
   table.pdu = expectWord("the PDU's name");
   if (acceptSign(".")) table.field = expectWord("the field of `messages`");
   std::string header;
   uint64_t arm = 0;
   if (acceptWord("with")) {
      table.headerPos = peek().pos;
      header = expectWord("a field of the header");
      arm = expectNumber("the number of its arm");
   }
   Pos opened = peek().pos;
   expectSign("{");
   while (!closes("}", opened)) {
      try {
         table.rows.push_back(tableRow());
         table.rows.back().header = header;
         table.rows.back().arm = arm;
      } catch (const SyntaxError&) {
         skipItem();
         if (atSign(")") || atSign("]")) take();
      }
   }
   tables_.push_back(std::move(table));
}

// A table may stand ahead of its PDU, so that the rows move there at the end.
void Reader::fillTables() {
   for (Table& table : tables_) {
      Type* pdu = nullptr;
      for (auto& type : module_->types)
         if (type->name == table.pdu && type->kind == TypeKind::Pdu) pdu = type.get();
      if (pdu) {
         const Field* second = nullptr; // of the fields of `messages`
         int unions = 0;
         for (auto& field : pdu->fields)
            if (field->kind == Kind::Messages && ++unions == 2) second = field.get();
         const bool toSecond = second != nullptr && table.field == second->name;
         const bool known = std::ranges::any_of(pdu->fields, [&](auto& field) {
            return field->kind == Kind::Messages && field->name == table.field;
         });
         if (!table.field.empty() && !known)
            diagnostics_.error(UnknownName, table.pos,
                               "`" + table.pdu + "` has no `messages` called `" + table.field + "`.");
         const std::string& header = table.rows.empty() ? std::string() : table.rows.front().header;
         if (!header.empty() &&
             std::ranges::none_of(pdu->fields, [&](auto& field) { return field->name == header; }))
            diagnostics_.error(UnknownName, table.headerPos,
                               "`" + table.pdu + "` has no field called `" + header + "`.");
         if (toSecond) pdu->second = table.field;
         auto& into = toSecond ? pdu->secondTable : pdu->table;
         for (TableRow& row : table.rows) into.push_back(std::move(row));
      } else {
         diagnostics_.error(UnknownPdu, table.pos, "`" + table.pdu + "` is no pdu of this module.");
      }
   }
}

// Names that a type shares with another.
void Reader::fillNames() {
   for (auto& type : module_->types) {
      if (type->namesOf.empty()) continue;
      const auto other =
            std::ranges::find(module_->types, type->namesOf, [](auto& each) { return each->name; });
      if (other == module_->types.end() || !(*other)->plain || (*other)->rows.empty())
         diagnostics_.error(UnknownName, type->pos, "`" + type->namesOf + "` has no names of plain numbers.");
      else
         type->rows = (*other)->rows;
   }
}

void Reader::test() {
   take();
   TestVector vector;
   vector.pos = peek().pos;
   vector.type = typeRef();
   if (peek().kind != Tok::Text) unexpected("the octets in quotes");
   while (peek().kind == Tok::Text) {
      Item item = take();
      std::string digits;
      for (char c : item.text)
         if (c != ' ' && c != '\t') digits += c;
      bool whole = digits.size() % 2 == 0;
      for (size_t i = 0; whole && i < digits.size(); i += 2) {
         uint64_t octet;
         whole = digits[i] != '0' || digits[i + 1] != 'x';
         whole = whole && parseHex(digits.substr(i, 2), octet);
         if (whole) vector.octets.push_back(static_cast<uint8_t>(octet));
      }
      if (!whole) diagnostics_.error(BadOctets, item.pos, "The text is not whole octets in hex.");
   }
   module_->tests.push_back(std::move(vector));
}

bool bringsMore(const std::string& text) {
   Model model;
   Diagnostics diagnostics(model);
   const TokenStream stream = TokenStream::from(lex(text, 0, diagnostics));
   size_t at = 0;
   while (at < stream.items.size() && stream.items[at].kind == Tok::LineEnd) ++at;
   return at + 2 < stream.items.size() && stream.items[at].text == "module" &&
          stream.items[at + 2].text == "more";
}

void readDescription(Model& model, const std::string& path, const std::string& text,
                     Diagnostics& diagnostics) {
   int file = static_cast<int>(model.files.size());
   SourceFile& source = model.files.emplace_back();
   source.path = path;
   std::istringstream in(text);
   for (std::string line; std::getline(in, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      source.lines.push_back(line);
   }
   Reader(model, diagnostics, TokenStream::from(lex(text, file, diagnostics))).run();
}

} // namespace l3c
