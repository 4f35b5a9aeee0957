// The canonical layout of a description. It works on the tokens of each line: lines stay lines, comments stay
// where they are, and the fields of one bracket share their columns.
#include "compiler/lexer.h"

#include <algorithm>
#include <cstring>

namespace l3c {
namespace {

// What the lines in a bracket are, and so which columns they have.
enum class Body { Top, Fields, Message, Rows, Arms, Table, Expression };

struct Line {
   std::vector<Token> tokens; // without the remark
   std::string remark;        // with its lead
   size_t indent = 0;
   size_t bracket = 0; // whose columns it shares; 0 for none
   std::vector<std::string> cells;
   size_t number = SIZE_MAX; // the cell that stands flush right
};

bool isSign(const Token& token, const char* sign) {
   return token.kind == Tok::Sign && token.text == sign;
}
bool isWord(const Token& token, const char* word) {
   return token.kind == Tok::Word && token.text == word;
}
bool opens(const Token& token) {
   return isSign(token, "{") || isSign(token, "(");
}
bool closes(const Token& token) {
   return isSign(token, "}") || isSign(token, ")");
}

bool among(const Token& token, std::initializer_list<const char*> words) {
   return std::any_of(words.begin(), words.end(), [&](const char* word) { return isWord(token, word); });
}

// Brackets of fields, as against those of expressions, which have no blanks inside.
bool opensFields(const std::vector<Token>& tokens, size_t at) {
   if (isSign(tokens[at], "{")) return true;
   if (at == 0) return false;
   const Token& before = tokens[at - 1];
   if (among(before, {"ext", "swap"})) return true;
   // `= bits - 1 ( … )`
   const bool lessBits = at > 3 && before.kind == Tok::Number && isSign(tokens[at - 2], "-") &&
                         isWord(tokens[at - 3], "bits") && isSign(tokens[at - 4], "=");
   const bool counted =
         at > 1 && (isWord(before, "octets") || isWord(before, "bits")) && isSign(tokens[at - 2], "=");
   return lessBits || counted || (at > 1 && before.kind == Tok::Number && isWord(tokens[at - 2], "since"));
}

std::string shown(const Token& token) {
   return token.kind == Tok::Text ? '"' + token.text + '"' : token.text;
}

class Formatter {
public:
   explicit Formatter(const std::vector<Token>& tokens) { split(tokens); }

   std::string run() {
      for (Line& line : lines_) layOut(line);
      measure();
      std::string out;
      bool blank = true; // none ahead of the first line
      for (const Line& line : lines_) {
         const std::string text = print(line);
         if (!text.empty() || !blank) out += text + '\n';
         blank = text.empty();
      }
      if (out.ends_with("\n\n")) out.pop_back();
      return out;
   }

private:
   struct Bracket {
      Body body;
      size_t number;
      bool fields = true; // blanks inside
      bool flows = false; // several rows on a line: no columns
   };

   void split(const std::vector<Token>& tokens) {
      lines_.emplace_back();
      for (const Token& token : tokens) {
         if (token.kind == Tok::End) break;
         if (token.kind == Tok::LineEnd)
            lines_.emplace_back();
         else if (token.kind == Tok::Doc)
            lines_.back().remark = token.text.empty() ? "--" : "-- " + token.text;
         else if (token.kind == Tok::Comment)
            lines_.back().remark = '#' + token.text;
         else
            lines_.back().tokens.push_back(token);
      }
      if (lines_.back().tokens.empty() && lines_.back().remark.empty()) lines_.pop_back();
   }

   // Indentation and cells of a line, and what it opens and closes.
   void layOut(Line& line) {
      const std::vector<Token>& tokens = line.tokens;
      size_t closers = 0;
      while (closers < tokens.size() && closes(tokens[closers])) ++closers;
      line.indent = 4 * (stack_.size() - std::min(closers, stack_.size()));
      if (tokens.empty()) return;
      Bracket* around = stack_.empty() ? nullptr : &stack_.back();
      const bool label = around && around->body == Body::Message && tokens.size() == 2 &&
                         isWord(tokens[0], "group") && isSign(tokens[1], "?");
      if (label) line.indent -= 2;
      std::vector<size_t> cuts; // tokens at which a new cell begins
      if (around && around->body == Body::Rows && several(tokens)) around->flows = true;
      if (around && !label && closers == 0 && !around->flows && !several(tokens)) {
         cuts = columns(tokens, *around);
         if (!cuts.empty()) line.bracket = around->number;
         if (around->body == Body::Rows) line.number = 1;
         if (around->body == Body::Table) line.number = 2;
      }
      line.cells = {""};
      const size_t known = brackets_;
      size_t item = 0; // where the present field or row began
      for (size_t i = 0; i < tokens.size(); ++i) {
         for (size_t cut : cuts)
            if (cut == i) line.cells.emplace_back();
         if (i && !line.cells.back().empty() && blankAhead(tokens, i)) line.cells.back() += ' ';
         line.cells.back() += shown(tokens[i]);
         if (opens(tokens[i])) {
            stack_.push_back({bodyOf(tokens, item, i), ++brackets_, opensFields(tokens, i), false});
            if (stack_.back().fields) item = i + 1;
         } else if (closes(tokens[i]) && !stack_.empty()) {
            stack_.pop_back();
         } else if (isSign(tokens[i], ",")) {
            item = i + 1;
         }
      }
      if (!stack_.empty() && stack_.back().body == Body::Rows && !opens(tokens.back()) &&
          stack_.back().number > known)
         stack_.back().flows = true; // rows behind the bracket on its own line
      if (stack_.empty()) declaration_.clear();
   }

   Body bodyOf(const std::vector<Token>& tokens, size_t item, size_t at) {
      if (!opensFields(tokens, at)) return Body::Expression;
      if (stack_.empty()) {
         declaration_ = tokens[isWord(tokens[0], "figure") && tokens.size() > 1 ? 1 : 0].text;
         const bool list = tokens.size() > 2 && isSign(tokens[2], "*"); // of structures
         if (declaration_ == "enum" || (declaration_ == "type" && !list)) return Body::Rows;
         if (declaration_ == "table") return Body::Table;
         return declaration_ == "message" ? Body::Message : Body::Fields;
      }
      for (size_t i = item; i < at; ++i)
         if (isWord(tokens[i], "choice")) return isWord(tokens[i + 1], "unsent") ? Body::Fields : Body::Arms;
      return Body::Fields;
   }

   // Several fields on one line flow without columns.
   static bool several(const std::vector<Token>& tokens) {
      int depth = 0;
      for (const Token& token : tokens) {
         if (opens(token) || isSign(token, "[")) ++depth;
         if (closes(token) || isSign(token, "]")) --depth;
         if (depth == 0 && isSign(token, ",")) return true;
      }
      return false;
   }

   static std::vector<size_t> columns(const std::vector<Token>& tokens, const Bracket& around) {
      switch (around.body) {
      case Body::Rows: return {1};
      case Body::Table: return {1, 2, 3, 4};
      case Body::Arms: {
         size_t value = 1;
         while (value < tokens.size() && (isSign(tokens[value], "..") || isSign(tokens[value], "|") ||
                                          tokens[value - 1].kind == Tok::Sign))
            ++value;
         return {value, behindName(tokens, value)};
      }
      case Body::Message:
         // Name under name: a mandatory element has an empty cell where the others have their IEI.
         if (nameless(tokens)) return {0};
         if (leadsWithIei(tokens)) return {1, 2};
         return {0, behindName(tokens, 0)};
      case Body::Fields:
         return nameless(tokens) ? std::vector<size_t>{} : std::vector<size_t>{behindName(tokens, 0)};
      case Body::Top:
      case Body::Expression: break;
      }
      return {};
   }

   // Behind a name and its marks, `?` and `*` with the count.
   static size_t behindName(const std::vector<Token>& tokens, size_t name) {
      size_t at = name + 1;
      while (at < tokens.size() && (isSign(tokens[at], "?") || isSign(tokens[at], "*"))) ++at;
      if (at >= tokens.size() || !isSign(tokens[at], "(") || !isSign(tokens[at - 1], "*")) return at;
      for (int depth = 0; at < tokens.size(); ++at) {
         depth += opens(tokens[at]) ? 1 : closes(tokens[at]) ? -1 : 0;
         if (depth == 0) return at + 1;
      }
      return at;
   }

   static bool leadsWithIei(const std::vector<Token>& tokens) {
      const std::string& text = tokens[0].text;
      return tokens.size() > 2 && text.size() == 2 && tokens[1].kind == Tok::Word &&
             text.find_first_not_of("0123456789ABCDEF-") == std::string::npos;
   }

   static bool nameless(const std::vector<Token>& tokens) {
      if (tokens.size() < 2) return false;
      if (isWord(tokens[0], "choice"))
         return isSign(tokens[1], "{") || (tokens.size() > 2 && among(tokens[1], {"by", "unsent"}));
      if (among(tokens[0], {"ext", "swap"})) return isSign(tokens[1], "(");
      return among(tokens[0], {"bare", "since"}) && tokens[1].kind == Tok::Number;
   }

   bool blankAhead(const std::vector<Token>& tokens, size_t at) const {
      const Token &a = tokens[at - 1], &b = tokens[at];
      const bool fields = stack_.empty() || stack_.back().fields;
      if (isSign(b, ",") || isSign(b, "?") || isSign(b, "]") || isSign(a, "[")) return false;
      if (isSign(a, ".") || isSign(b, ".") || isSign(b, "|")) return false;
      if (isSign(a, "|")) // `null| 4`, but `null|0|1`
         return at > 1 && isWord(tokens[at - 2], "null") &&
                !(at + 1 < tokens.size() && isSign(tokens[at + 1], "|"));
      if (closes(b) || opens(a)) return fields;
      if (isSign(b, "..")) return a.kind != Tok::Number;
      if (isSign(a, "..")) return b.kind != Tok::Number;
      if (fields && isSign(b, "*")) return a.kind == Tok::Number;
      if (isSign(b, "(") && !opensFields(tokens, at))
         return a.kind == Tok::Sign ? !(fields && isSign(a, "*")) : among(a, {"if", "by", "and"});
      return true;
   }

   // Width of each column of each bracket.
   void measure() {
      widths_.assign(brackets_ + 1, {});
      for (const Line& line : lines_) {
         if (!line.bracket) continue;
         std::vector<size_t>& widths = widths_[line.bracket];
         if (widths.size() < line.cells.size()) widths.resize(line.cells.size());
         // The last cell ends the line and needs no room, unless it stands flush right.
         for (size_t i = 0; i < line.cells.size(); ++i)
            if (i + 1 < line.cells.size() || i == line.number)
               widths[i] = std::max(widths[i], line.cells[i].size());
      }
   }

   std::string print(const Line& line) const {
      std::string text(line.indent, ' ');
      size_t at = line.indent;
      for (size_t i = 0; i < line.cells.size(); ++i) {
         size_t from = at;
         if (i == line.number) from += widths_[line.bracket][i] - line.cells[i].size();
         if (!line.cells[i].empty() && text.size() < from) text.append(from - text.size(), ' ');
         text += line.cells[i];
         if (line.bracket && widths_[line.bracket][i]) at += widths_[line.bracket][i] + 2;
      }
      text.erase(text.find_last_not_of(' ') + 1);
      if (line.remark.empty()) return text;
      return text.empty() ? std::string(line.indent, ' ') + line.remark : text + "  " + line.remark;
   }

   std::vector<Line> lines_;
   std::vector<Bracket> stack_;
   std::vector<std::vector<size_t>> widths_;
   std::string declaration_;
   size_t brackets_ = 0;
};

} // namespace

std::string format(const Model& model, int file) {
   std::string text;
   for (const std::string& line : model.files.at(static_cast<size_t>(file)).lines) text += line + '\n';
   Diagnostics ignored(model); // the reader has told them
   return Formatter(lex(text, file, ignored)).run();
}

} // namespace l3c
