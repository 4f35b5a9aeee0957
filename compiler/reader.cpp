// Declarations: the module line, types, tables and vectors.
#include "compiler/reader.h"

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
   if (value >= 1 && value <= 64) return static_cast<unsigned>(value);
   diagnostics_.error(BadWidth, pos, "A width is 1 to 64 bits.");
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
}

void Reader::moduleLine() {
   module_->pos = peek().pos;
   if (!atWord("module")) {
      diagnostics_.error(NoModule, peek().pos, "A description begins with `module NAME file FILE uses …`.");
      return;
   }
   module_->doc = docAtStart();
   take();
   module_->name = module_->file = expectWord("the module's name");
   if (acceptWord("file")) module_->file = expectWord("the name of the generated files");
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
         {"number", {TypeKind::Number, &Reader::number}},
         {"octets", {TypeKind::Octets, &Reader::octets}},
         {"digits", {TypeKind::Digits, &Reader::digits}},
         {"element", {TypeKind::Record, &Reader::element}},
         {"list", {TypeKind::List, &Reader::list}},
         {"alias", {TypeKind::Alias, &Reader::alias}},
         {"message", {TypeKind::Message, &Reader::message}},
         {"pdu", {TypeKind::Pdu, &Reader::pdu}},
         {"text", {TypeKind::Text, &Reader::characters}},
   };
   if (atWord("table")) return table();
   if (atWord("test")) return test();
   for (auto& [word, head] : heads) {
      if (!atWord(word)) continue;
      std::string doc = docAtStart();
      take();
      // The type joins the module at once, so that later errors don't make it unknown too.
      Pos pos = peek().pos;
      std::string name = expectWord("the type's name");
      Type& type = *module_->types.emplace_back(std::make_unique<Type>());
      type.pos = pos;
      type.name = name;
      type.kind = head.first;
      type.doc = doc;
      type.module = module_;
      module_->byName.emplace(name, &type);
      if (atSign("(")) parameters(type);
      (this->*head.second)(type);
      type.doc = docAtEnd(type.doc);
      return;
   }
   diagnostics_.error(NoDeclaration, peek().pos,
                      "`" + peek().text +
                            "` doesn't begin a declaration (enum, number, octets, digits, element, "
                            "text, list, alias, message, pdu, table, test).");
   throw SyntaxError{};
}

// Words behind a head, in any order.
void Reader::typeWords(Type& type) {
   static const std::pair<const char*, bool Type::*> words[] = {
         {"custom", &Type::custom},       {"noencoder", &Type::noEncoder}, {"nodecoder", &Type::noDecoder},
         {"nosample", &Type::noSample},   {"ownsample", &Type::ownSample}, {"noprinter", &Type::noPrinter},
         {"unchecked", &Type::unchecked}, {"checked", &Type::checked},     {"twins", &Type::twins},
         {"tailstop", &Type::tailstop},   {"shifts", &Type::shifts},       {"leavetail", &Type::leaveTail},
         {"padded", &Type::padded},       {"aligned", &Type::aligned},     {"short", &Type::shortForm},
         {"amongbits", &Type::amongBits},
   };
   for (bool more = true; more;) {
      more = false;
      for (auto& [word, flag] : words) {
         if (!atWord(word)) continue;
         bool ofEnum = flag == &Type::unchecked || flag == &Type::checked;
         bool ofMessage = flag == &Type::twins || flag == &Type::tailstop || flag == &Type::shifts;
         if ((ofEnum && type.kind != TypeKind::Enum) || (ofMessage && type.kind != TypeKind::Message))
            diagnostics_.error(MisplacedWord, peek().pos,
                               std::string("`") + word + "` goes with " +
                                     (ofEnum ? "an enum." : "a message."));
         take();
         type.*flag = more = true;
      }
   }
}

bool Reader::classWord(Class& cls) {
   if (acceptWord("V"))
      cls = Class::V;
   else if (acceptWord("LV"))
      cls = Class::LV;
   else if (acceptWord("LV-E"))
      cls = Class::LVE;
   else if (acceptWord("L4"))
      cls = Class::L4;
   else
      return false;
   return true;
}

void Reader::enumRows(Type& type) {
   Pos opened = peek().pos;
   if (!acceptSign("{")) return;
   while (!closes("}", opened)) {
      try {
         EnumRow row;
         row.doc = docAtStart();
         row.pos = peek().pos;
         row.name = expectWord("a value's name");
         row.value = expectNumber("the value");
         type.rows.push_back(row);
         endOfItem("}");
      } catch (const SyntaxError&) {
         skipItem();
         if (atSign(")") || atSign("]")) take();
      }
   }
}

void Reader::enumeration(Type& type) {
   type.bits = expectWidth("the width in bits");
   typeWords(type);
   if (!atSign("{")) unexpected("`{`");
   enumRows(type);
}

void Reader::number(Type& type) {
   type.bare = acceptWord("bare");
   if (type.bare && !classWord(type.cls)) unexpected("`LV`");
   type.bits = expectWidth("the width in bits");
   if (atSign("[")) type.bounds = bracketBounds();
   typeWords(type);
   enumRows(type);
}

// What the caller of the type's decoder hands over.
void Reader::parameters(Type& type) {
   expectSign("(");
   do type.parameters.push_back(expectWord("a parameter's name"));
   while (acceptSign(","));
   expectSign(")");
}

void Reader::octets(Type& type) {
   if (acceptWord("fill")) {
      Pos pos = peek().pos;
      type.fill = true;
      if (!storage(type.storage, type.bounds))
         diagnostics_.error(NoCapacity, pos, "`fill` needs `inline` with a capacity, or `heap`.");
      return typeWords(type);
   }
   type.bare = acceptWord("bare");
   bool lengthed = classWord(type.cls);
   if (!lengthed || type.bare) {
      type.count = type.storage.capacity = expectNumber("the number of octets");
   } else {
      type.bounds = bounds();
      storage(type.storage, type.bounds);
   }
   typeWords(type);
}

void Reader::digits(Type& type) {
   type.parameters = {"octets"};
   capacity(type);
}

void Reader::capacity(Type& type) {
   if (atNumber()) type.count = type.storage.capacity = expectNumber("the number of digits");
   if (acceptWord("heap"))
      type.storage = {true, 0};
   else if (!type.count)
      unexpected("the number of characters or `heap`");
   if (type.kind == TypeKind::Digits) type.open = acceptWord("open");
   typeWords(type);
}

void Reader::element(Type& type) {
   type.bare = acceptWord("bare");
   uint64_t width;
   if (peek().kind == Tok::Word && peek().text.starts_with("LB") &&
       parseNumber(peek().text.substr(2), width) && width >= 1 && width <= 16) {
      take();
      type.cls = Class::LB;
      type.bits = static_cast<unsigned>(width);
   } else if (!classWord(type.cls)) {
      unexpected("`V`, `LV`, `LV-E`, `L4` or `LB7`");
   }
   type.bounds = atSign("[") ? bracketBounds() : bounds();
   typeWords(type);
   expectSign("{");
   fields(type.fields, "}", Place::Record);
}

// A text, its codec by hand: its capacity, and what the caller of the decoder hands over.
void Reader::characters(Type& type) {
   type.bare = acceptWord("bare");
   if (type.bare && !classWord(type.cls)) unexpected("`LV`");
   capacity(type);
   if (atSign("(")) parameters(type);
   typeWords(type);
}

void Reader::list(Type& type) {
   type.bare = acceptWord("bare");
   if (type.bare && !classWord(type.cls)) unexpected("`LV`");
   if (atNumber())
      type.bits = expectWidth("the width of an entry");
   else
      type.base = typeRef();
   if (acceptWord("chain"))
      type.entries = Entries::Ext;
   else if (acceptWord("flags"))
      type.entries = Entries::Flags;
   if (atWord("x") && atSign("(", 1)) {
      take();
      type.times = bracketed();
      type.freeCount = acceptWord("free");
   }
   if (atSign("[")) type.bounds = bracketBounds();
   typeWords(type);
}

void Reader::alias(Type& type) {
   type.base = typeRef();
   typeWords(type);
}

void Reader::message(Type& type) {
   typeWords(type);
   if (acceptWord("is")) {
      type.kind = TypeKind::OneElement;
      type.base = typeRef();
      typeWords(type);
   } else if (acceptWord("empty")) {
      type.kind = TypeKind::Empty;
      typeWords(type);
   } else {
      expectSign("{");
      fields(type.fields, "}", Place::Message);
   }
}

void Reader::pdu(Type& type) {
   typeWords(type);
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
   Pos opened = peek().pos;
   expectSign("{");
   while (!closes("}", opened)) {
      try {
         table.rows.push_back(tableRow());
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
         for (TableRow& row : table.rows) pdu->table.push_back(std::move(row));
      } else {
         diagnostics_.error(UnknownPdu, table.pos, "`" + table.pdu + "` is no pdu of this module.");
      }
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
