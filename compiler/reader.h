// The reader's parts: one class over the tokens of a file, shared by the two sources that hold its rules.
#pragma once

#include "compiler/lexer.h"
#include "compiler/model.h"

namespace l3c {

// Leaves a field, row or declaration; its loop goes on at the next one.
struct SyntaxError {};

class Reader {
public:
   Reader(Model& model, Diagnostics& diagnostics, TokenStream stream)
         : model_(model), diagnostics_(diagnostics), stream_(std::move(stream)) {}
   void run(); // declarations.cpp: the module line and its declarations

private:
   using Item = TokenStream::Item;
   enum class Place { Record, Message, Optional, Arm };
   struct Table {
      Pos pos;
      std::string pdu, field; // empty: its only one, or the first
      Pos headerPos;
      std::vector<TableRow> rows;
   };

   // Tokens
   const Item& peek(size_t ahead = 0) const;
   Item take();
   bool atSign(const char* sign, size_t ahead = 0) const;
   bool atWord(const char* word, size_t ahead = 0) const;
   bool atSeparator(size_t ahead = 0) const;
   bool acceptSign(const char* sign);
   bool acceptWord(const char* word);
   void expectSign(const char* sign);
   std::string expectWord(const char* what);
   uint64_t expectNumber(const char* what);
   uint64_t expectHex(const char* what);
   unsigned expectWidth(const char* what);
   bool atNumber(size_t ahead = 0) const;
   [[noreturn]] void unexpected(const std::string& wanted);
   void skipSeparators();
   void skipItem(); // behind an error: to the end of the field or row
   bool closes(const char* closer, const Pos& opened);
   void endOfItem(const char* closer);
   std::string docAtStart();
   std::string docAtEnd(std::string doc);

   // Declarations
   void moduleLine();
   void declaration();
   bool onlyInOtherMode();
   void reorder(std::vector<std::unique_ptr<Field>>& fields, const std::vector<unsigned>& order);
   void enumeration(Type& type);
   void plainType(Type& type);
   void plainKind(Type& type);
   void element(Type& type);
   void structure(Type& type);
   bool classWord(Type& type);
   void parameters(Type& type);
   void message(Type& type);
   void pdu(Type& type);
   void table();
   void test();
   std::vector<Item> quirkWords();
   void misplaced(const Item& word);
   void quirks(Type& type);
   void enumRows(std::vector<EnumRow>& rows);
   TableRow tableRow();
   bool lengthWord(Class& cls);
   bool bareLength(Class& cls);
   void fillTables();
   void fillNames();

   // Fields
   void fields(std::vector<std::unique_ptr<Field>>& out, const char* closer, Place place);
   std::unique_ptr<Field> field(Place place);
   bool nameless(Field& field);
   bool acceptIei(Field& field);
   bool acceptFlag(const char* no, const char* yes);
   bool acceptLead(Field& field);
   void unit(Field& field);
   void bits(Field& field);
   void entry(Field& field);
   void presence(Field& field);
   void times(Field& field);
   void kind(Field& field, Place place);
   void integer(Field& field);
   void octets(Field& field);
   void choice(Field& field);
   void arm(Field& choice);
   void armValues(Arm& arm);
   void pattern(Field& choice, Arm& arm);
   void ownPattern(Arm& arm);
   void named(Field& field);
   void behind(Field& field);
   void quirks(Field& field);
   bool storage(Storage& storage, const Bounds& bounds);
   void bracket(Field& field);
   Bounds bracketBounds();
   TypeRef typeRef();

   // Expressions
   using ExprPtr = std::unique_ptr<Expr>;
   ExprPtr expression(); // loosest: and
   ExprPtr comparison();
   ExprPtr sum();
   ExprPtr product();
   ExprPtr primary();
   ExprPtr bracketed();
   ExprPtr binary(Expr::Op op, Pos pos, ExprPtr left, ExprPtr right);

   Model& model_;
   Diagnostics& diagnostics_;
   TokenStream stream_;
   size_t at_ = 0;
   int depth_ = 0;
   int operators_ = 0;     // of the present field
   bool unclosed_ = false; // told once a file
   // A type that departs from the standards is read twice, once for either coding.
   bool standard_ = false; // this is the second time
   bool departs_ = false;  // words of the other coding were met,
   bool recoded_ = false;  // other than wider bounds
   int lastLine_ = 0;      // of the last token taken
   Module* module_ = nullptr;
   std::vector<Table> tables_;
   std::vector<std::unique_ptr<Type>> figures_; // of types by hand

   // Guards the recursion against hostile depth.
   class Deeper {
   public:
      explicit Deeper(Reader& reader);
      ~Deeper() { --reader_.depth_; }

   private:
      Reader& reader_;
   };
};

} // namespace l3c
