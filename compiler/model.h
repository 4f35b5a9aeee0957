// The model of a description: what the reader builds, the resolver completes and the emitters print.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace l3c {

struct Pos {
   int file = 0; // index into Model::files
   int line = 0;
   int column = 0;
};

// Bounds as written: `a..b`, `a..`, `..b`; a missing end is open. `1|5|9` besides: these values alone.
struct Bounds {
   std::optional<uint64_t> low, high;
   std::vector<uint64_t> values; // of a list, ascending; low and high are then its ends
   bool empty() const { return !low && !high; }
};

// Bits on the wire: at least `low`; at most `high` unless open.
struct Width {
   uint64_t low = 0, high = 0;
   bool open = false;
   bool fixed() const { return !open && low == high; }
};

struct Type;
struct Field;

// Expressions of `by`, `if`, `*(…)`, `octets(…)`.
struct Expr {
   enum class Op { Number, Name, Rest, Call, Add, Sub, Mul, Eq, Ne, Lt, Gt, Le, Ge, And };
   Op op = Op::Number;
   Pos pos;
   uint64_t number = 0;
   std::string name;               // Name: dotted path as written; Call: the function, of `left`
   bool parameter = false;         // Name: a parameter of the type, with no `path`; or the field `outer`
   std::vector<const Field*> path; // Name, resolved: the fields from the outermost record inwards
   std::unique_ptr<Expr> left, right;
};

struct TypeRef {
   Pos pos;
   std::string name;           // as written, with or without module
   const Type* type = nullptr; // resolved
};

// How many octets or entries a field can store, and where.
struct Storage {
   bool heap = false;
   uint64_t capacity = 0; // octets, bits or entries; 0 with heap
};

struct Arm {
   Pos pos;
   struct Range {
      uint64_t low, high;
   };
   std::vector<Range> values; // empty: `else`
   bool isElse = false;
   std::string pattern;          // Selector::Pattern: the bits that lead it, of 0, 1, L, H
   std::unique_ptr<Field> field; // its name is the arm's name; kind Null for an arm without contents
};

enum class Kind {
   Flag,      // one bit
   Uint,      // `bits` bits
   Octets,    // fixed: `count` octets
   Bits,      // fixed bit string: `count` bits
   Named,     // `type`; `argument` for digit types; `valueOnly` for `as V(e)`
   Counted,   // LV octets, LV-E octets: own count of `bits` 8 or 16, `bounds`, `storage`
   Sized,     // octets(e): `argument` octets
   Fill,      // all that is left in the container; `bits` 16: as 16-bit characters
   Tail,      // the same as an open tail
   BitTail,   // open tail in bits
   SizedBits, // bits(e): `argument` bits
   FillBits,  // all bits that are left
   Unary,     // as many H as the value, then L
   Padding,   // the padding pattern to the octet's end
   Group,     // { … }: a record of its own; `fields`
   Each,   // repetition of `type`, or of `bits`-bit integers if type is not set; `argument` counts it if set
   Choice, // `arms`; `argument` steers it if set
   Null,   // nothing on the wire
   Const,  // `bits` bits of value `number`, no field in the record
   Messages, // data messages: selector and union of pointers from the PDU's tables
   // Wire groups: no record of their own, `fields` belong to the enclosing record.
   Frame, // `name` of `bits` bits holds the octets that `fields` take
   Bare,  // the same without a field
   Chain, // octets led by ext bits
   Since, // presence group of a release
   Swap,  // two fields coded in the other order
};

// What tells that another entry comes: bits left in the container, an ext bit, a 1 ahead of each entry; in
// CSN.1 a 1, a 0 or an H ahead of it, outside of the entry.
enum class Entries { Rest, Ext, Flags, Ones, Zeros, Highs };
enum class Class { V, LV, LVE, L4, LB }; // LB: the length counts bits
enum class Lead { None, Bit, High };     // optional field led by a bit of its own, or by H in place of L
// Steered by a field, by `t` alone, `t` - 1 in bits; by the bits of the arm's own pattern.
enum class Selector { Field, Record, Bits, Pattern };

struct EnumRow {
   Pos pos;
   std::string name;
   std::string doc;
   uint64_t value = 0;
};

struct Field {
   Pos pos;
   std::string name; // empty: part of the enclosing record
   std::string doc;
   Kind kind = Kind::Flag;
   bool optional = false;
   Lead lead = Lead::None;
   bool truncatable = false;   // the container may end ahead of the leading bit, or of the guarded field
   std::unique_ptr<Expr> when; // decoder's presence test
   unsigned bits = 0;          // Uint, Frame, Bare, Counted, Const, Each of integers, Selector::Bits
   uint64_t count = 0;         // Octets, Bits
   uint64_t number = 0;        // Const; Since: release; Null: unused
   Bounds bounds;
   Storage storage;
   TypeRef type;                   // Named, Each
   std::unique_ptr<Expr> argument; // Sized, Each *(e), digit octets, Choice by
   std::unique_ptr<Expr> second;   // of a text type with two parameters
   Selector selector = Selector::Field;
   bool aside = false;     // in the record, not on the wire; a Frame besides: its octets in the record alone
   bool valueOnly = false; // contents of an LV type without its length octet
   bool freeCount = false; // Each *(e): the encoder goes by the count of the record
   Entries entries = Entries::Rest; // Each
   bool skip = false;               // Chain: skip unknown octets
   bool guarded = false;            // mandatory, yet the decoder reads it only if the container has bits
   bool leaveTail = false;          // Frame, Bare: closing leaves the open tail's flag as it is
   std::string counts;              // Uint: the encoder takes it from the octet count of this later field
   const Field* counted = nullptr;  // that field, resolved
   uint64_t countsPlus = 0;         // and adds so many
   std::unique_ptr<Field> entry;    // Each of octets: an entry, Sized or Fill; no type and no bits then
   bool tail = false;               // Each: sets the open tail's flag
   bool beside = false;             // stands in the octet of an L4 length, outside of its container
   unsigned ahead = 0;    // the decoder takes the selector of the choice in `type` from the n-th bit ahead
   Class cls = Class::V;  // message element with a kind that shows no class: what the scan skips
   unsigned bareBits = 0; // width of a bare length around this field alone
   bool own = false;      // in a structure: a string of a type by place
   unsigned zeros = 0;    // Named, in a structure: bits behind it that no field holds
   bool inBits = false;   // Frame: the number counts bits, less `less`
   uint64_t less = 0;
   std::optional<uint64_t> init;   // value that the initialiser gives
   std::optional<uint64_t> sample; // value in samples, where not any value makes one; Messages: the selector
   bool present = false;           // message element of type T: the IEI alone
   unsigned iei = 0;               // 8-bit IEI, or 4-bit if ieiBits is 4
   unsigned ieiBits = 0;           // 0: mandatory
   int group = 0;                  // message element: 0 first run, k the k-th group; since: its group number
   bool appended = false;          // of a standard form: its place is at the record's end
   std::vector<EnumRow> rows;      // Uint: names of values, beside the number that the print shows
   TypeRef namesOf;                // Uint: or those of this type
   const std::vector<EnumRow>& names() const;
   bool mayMiss = false; // of a standard form: optional there alone, and absent by a bit at that end
   std::vector<std::unique_ptr<Field>> fields;
   std::vector<Arm> arms;

   bool onlyOnWire() const {
      return kind == Kind::Frame || kind == Kind::Bare || kind == Kind::Chain || kind == Kind::Since ||
             kind == Kind::Swap;
   }
};

enum class TypeKind {
   Enum,
   Number,
   Octets,
   Bits, // bit string
   Digits,
   Record,
   List,
   Alias,
   Message,
   OneElement,
   Empty,
   Pdu,
   Text
};

struct TableRow {
   Pos pos;
   uint64_t disc = 0, msgType = 0, selector = 0;
   std::string member; // obj_…
   std::string doc;
   TypeRef record; // name empty: header alone
   bool inlineValue = false;
   std::string header; // field of the PDU whose arm goes with the message, and that arm
   uint64_t arm = 0;
};

struct Type {
   Pos pos;
   std::string name; // without module
   std::string doc;
   TypeKind kind = TypeKind::Record;
   Class cls = Class::V;
   bool bare = false;      // the length is on the wire only
   Bounds bounds;          // of the length, of a count, of a number
   bool structure = false; // of CSN.1: what is inside has types by place
   bool presized = false;  // Octets, Bits, List: whoever holds one stores its count ahead of decoding
   bool pattern = false;   // Enum: one bit, L or H
   bool opensTail = false; // Octets, Bits
   unsigned bits = 0;      // Enum, Number: width; List of integers: of an entry; class LB: of the length
   uint64_t count = 0;     // Octets of fixed size; Digits: characters
   Storage storage;        // Octets, Digits
   bool unchecked = false; // Enum: no legal set
   bool checked = false;   // Enum: all legal, the encoder tests
   bool twins = false;     // Message: an IEI may stand twice
   bool tailstop = false;  // Message
   bool shifts = false;    // Message
   bool aligned = false;   // Record: goes on to the octet's end ahead of the closing steps
   Entries entries = Entries::Rest;     // List
   std::vector<std::string> parameters; // what the decoder's caller hands over; Digits: octets
   std::unique_ptr<Expr> times;         // List: number of entries
   bool freeCount = false;              // List: as with Each
   bool fill = false;                   // Octets: all that is left in the container
   bool leaveTail = false;              // Record: closing leaves the open tail's flag as it is
   bool open = false;                   // Digits: the text has the room that the count asks for
   bool returns = false;                // Record: its release groups quit
   bool amongBits = false;              // it stands behind a bit inside an octet
   bool custom = false, noDecoder = false;
   std::vector<EnumRow> rows; // Enum; Number: named values
   bool plain = false;        // Number: the print shows numbers, and the names are beside them
   std::string namesOf;       // Number: the names are those of this type of the module
   TypeRef base;              // Alias, OneElement, List
   std::vector<std::unique_ptr<Field>> fields;
   std::vector<TableRow> table; // Pdu
   std::string second;          // Pdu: a second union, and its rows
   std::vector<TableRow> secondTable;
   // The same type as the standards code it, where the family departs from them: other fields over one
   // record.
   std::unique_ptr<Type> standard;
   const Type* original = nullptr;     // of a standard form the type itself
   bool widens = false;                // its standard form differs by wider bounds alone
   std::unique_ptr<Type> figure;       // custom: what its octets look like, where its fields don't tell
   mutable std::optional<Width> width; // when it has been asked for
   struct Module* module = nullptr;
   bool placed = false;          // by place
   Type* owner = nullptr;        // by place: the structure around
   const Field* outer = nullptr; // by place: a field of that structure that sizes something in here
   bool nested = false;    // of a field of another type, whose name and an underscore its own begins with
   bool ownSample = false; // nested, yet with a builder of samples
};

inline const std::vector<EnumRow>& Field::names() const {
   return namesOf.type != nullptr ? namesOf.type->rows : rows;
}

struct TestVector {
   Pos pos;
   TypeRef type;
   std::vector<uint8_t> octets;
};

struct Module {
   Pos pos;
   std::string name; // TS24301IE
   std::string file; // TS24301IES
   std::string doc;
   std::vector<std::string> uses;
   std::string lists; // prefix of the names of lists; the module is one of CSN.1 then
   bool isCsn1() const { return !lists.empty(); }
   std::vector<std::unique_ptr<Type>> types; // declaration order
   std::vector<TestVector> tests;
   unsigned units = 1; // translation units that its encoders and its decoders are split into
   const Type* find(const std::string& name) const {
      auto hit = byName.find(name);
      return hit == byName.end() ? nullptr : hit->second;
   }
   std::map<std::string, const Type*> byName;
};

struct SourceFile {
   std::string path;
   std::vector<std::string> lines;
};

struct Model {
   std::vector<SourceFile> files;
   std::vector<std::unique_ptr<Module>> modules; // in the order given, used ones first
   Module* find(const std::string& name) const {
      for (auto& module : modules)
         if (module->name == name) return module.get();
      return nullptr;
   }
};

} // namespace l3c
