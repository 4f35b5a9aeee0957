// Words, numbers and signs of a description, with the documentation and comments between them.
#pragma once

#include "compiler/diagnostics.h"

#include <map>
#include <string>
#include <vector>

namespace l3c {

enum class Tok { Word, Number, Text, Sign, Doc, Comment, LineEnd, End };

struct Token {
   Tok kind = Tok::End;
   std::string text; // Text: without the quotes; Doc, Comment: without the lead
   Pos pos;
   bool first = false; // first of its line
};

// All tokens of a file, documentation and comments among them, with a LineEnd for each line and one End.
std::vector<Token> lex(const std::string& text, int file, Diagnostics& diagnostics);

// What the reader walks: no comments, runs of line ends folded into one, documentation set aside.
struct TokenStream {
   struct Item : Token {
      std::string doc; // documentation on lines of its own ahead of the token
   };
   std::vector<Item> items;
   std::map<int, std::string> trailing; // documentation at the end of a line
   static TokenStream from(const std::vector<Token>& tokens);
};

bool parseNumber(const std::string& text, uint64_t& value); // decimal, or hex with 0x
bool parseHex(const std::string& text, uint64_t& value);    // hex with or without 0x

} // namespace l3c
