#include "compiler/lexer.h"

#include <charconv>
#include <cstring>

namespace l3c {
namespace {

bool isWordChar(char c) {
   return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool allDigits(const std::string& text) {
   return text.find_first_not_of("0123456789") == std::string::npos;
}

class Lexer {
public:
   Lexer(const std::string& text, int file, Diagnostics& diagnostics)
         : text_(text), file_(file), diagnostics_(diagnostics) {}

   std::vector<Token> run() {
      while (at_ < text_.size()) step();
      if (!tokens_.empty() && tokens_.back().kind != Tok::LineEnd) put(Tok::LineEnd, "", at_);
      put(Tok::End, "", at_);
      return std::move(tokens_);
   }

private:
   Pos posAt(size_t offset) const { return {file_, line_, static_cast<int>(offset - lineStart_) + 1}; }

   void put(Tok kind, std::string text, size_t offset) {
      bool first = tokens_.empty() || tokens_.back().kind == Tok::LineEnd;
      tokens_.push_back({kind, std::move(text), posAt(offset), first});
   }

   bool startsWith(const char* text) const { return text_.compare(at_, std::strlen(text), text) == 0; }

   size_t lineEnd() const {
      size_t end = text_.find('\n', at_);
      return end == std::string::npos ? text_.size() : end;
   }

   void step() {
      char c = text_[at_];
      if (c == '\n') {
         put(Tok::LineEnd, "", at_++);
         ++line_;
         lineStart_ = at_;
      } else if (c == ' ' || c == '\t' || c == '\r') {
         ++at_;
      } else if (c == '#') {
         remark(Tok::Comment, 1);
      } else if (startsWith("--")) {
         remark(Tok::Doc, 2);
      } else if (c == '"') {
         quoted();
      } else if (isWordChar(c)) {
         word();
      } else {
         sign();
      }
   }

   void remark(Tok kind, size_t lead) {
      size_t end = lineEnd();
      std::string text = text_.substr(at_ + lead, end - at_ - lead);
      text.erase(text.find_last_not_of(" \t\r") + 1);
      if (kind == Tok::Doc) text.erase(0, text.find_first_not_of(" \t"));
      put(kind, std::move(text), at_);
      at_ = end;
   }

   void quoted() {
      size_t start = at_, end = text_.find_first_of("\"\n", at_ + 1);
      if (end == std::string::npos || text_[end] == '\n') {
         diagnostics_.error(UnclosedText, posAt(start), "The quoted text has no end on its line.");
         end = lineEnd();
         put(Tok::Text, text_.substr(start + 1, end - start - 1), start);
         at_ = end;
         return;
      }
      put(Tok::Text, text_.substr(start + 1, end - start - 1), start);
      at_ = end + 1;
   }

   void word() {
      size_t start = at_;
      while (at_ < text_.size() && (isWordChar(text_[at_]) || (text_[at_] == '-' && !startsWith("--"))))
         ++at_;
      std::string text = text_.substr(start, at_ - start);
      uint64_t value;
      bool number = allDigits(text);
      if (number && !parseNumber(text, value))
         diagnostics_.error(NumberTooLarge, posAt(start), "The number " + text + " doesn't fit 64 bits.");
      put(number ? Tok::Number : Tok::Word, std::move(text), start);
   }

   void sign() {
      for (const char* two : {"..", "!=", "<=", ">="})
         if (startsWith(two)) {
            put(Tok::Sign, two, at_);
            at_ += 2;
            return;
         }
      char c = text_[at_];
      if (std::strchr("{}()[],?|.=<>+-*", c) && c)
         put(Tok::Sign, std::string(1, c), at_);
      else
         diagnostics_.error(BadCharacter, posAt(at_), "This character has no place in a description.");
      ++at_;
      while (at_ < text_.size() && (text_[at_] & 0xC0) == 0x80) ++at_; // the rest of a UTF-8 character
   }

   const std::string& text_;
   int file_;
   Diagnostics& diagnostics_;
   size_t at_ = 0, lineStart_ = 0;
   int line_ = 1;
   std::vector<Token> tokens_;
};

void append(std::string& doc, const std::string& line) {
   if (!doc.empty()) doc += '\n';
   doc += line;
}

} // namespace

std::vector<Token> lex(const std::string& text, int file, Diagnostics& diagnostics) {
   return Lexer(text, file, diagnostics).run();
}

TokenStream TokenStream::from(const std::vector<Token>& tokens) {
   TokenStream stream;
   std::string doc;
   for (const Token& token : tokens) {
      if (token.kind == Tok::Comment) continue;
      if (token.kind == Tok::Doc) {
         append(token.first ? doc : stream.trailing[token.pos.line], token.text);
         continue;
      }
      if (token.kind == Tok::LineEnd && !stream.items.empty() && stream.items.back().kind == Tok::LineEnd)
         continue;
      Item item;
      static_cast<Token&>(item) = token;
      if (token.kind != Tok::LineEnd) item.doc.swap(doc);
      stream.items.push_back(std::move(item));
   }
   return stream;
}

bool parseNumber(const std::string& text, uint64_t& value) {
   if (text.size() > 2 && text[0] == '0' && text[1] == 'x') return parseHex(text, value);
   auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
   return error == std::errc() && end == text.data() + text.size();
}

bool parseHex(const std::string& text, uint64_t& value) {
   size_t lead = text.size() > 2 && text[0] == '0' && text[1] == 'x' ? 2 : 0;
   auto [end, error] = std::from_chars(text.data() + lead, text.data() + text.size(), value, 16);
   return error == std::errc() && end == text.data() + text.size() && text.size() > lead;
}

} // namespace l3c
