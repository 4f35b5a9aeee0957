// The constant table of a module that the cold rules walk: what a record holds, where, and under which name.
//
// A table holds no pointers but those of its module record: rows refer to texts, rows, arms and types by
// number, so that it needs no relocation and stays small. l3c writes the tables; offsets come from offsetof
// on the generated records, so that the two can't differ.
#pragma once

#include "quorva/rtxEnum.h"

#include <cstddef>
#include <cstdint>

namespace quorva::walk {

enum class Kind : uint8_t {
   Flag,            // octet, 0 or 1
   Number,          // unsigned integer of `width` octets
   Enumeration,     // 32-bit value with names
   OpenEnumeration, // the same; a value without a name is no surprise
   NamedNumber,     // integer of which some values have names
   Octets,          // `capacity` octets
   Bits,            // `capacity` bits
   CountedOctets,   // count and octets
   CountedBits,     // count and bits
   CountedUnits,    // count and 16-bit characters
   Text,            // text with its NUL; `capacity` characters, or by pointer
   Group,           // record of its own: `rows` rows from `first`, in the same coordinates
   Nested,          // value of the type `index` of module `module`
   Message,         // pointer to such a value
   List,            // count and entries; row `first` describes an entry from its own start
   Choice,          // `rows` arms from `first`; steered by the number at `count` or by expression `index`
   Null,            // nothing
   Store,           // nothing; a sample stores a number there
};

enum Flags : uint8_t {
   kHeap = 1,        // octets or entries by pointer
   kOwnSelector = 2, // Choice: the selector stands in the record for this choice alone
   kSteeredByExpression = 4,
   kUnnamed = 8,     // Choice: prints its arm without a block
   kNoSample = 16,   // optional, and absent in samples
   kCharacters = 32, // Text: words rather than digits
};

constexpr uint32_t kNone = UINT32_MAX;

struct Row {
   uint32_t name;     // where the name begins among the module's texts
   uint32_t offset;   // of the value, from the start of the type's record
   uint32_t count;    // offset of the count or of the steering number
   uint32_t capacity; // of what lies inline: octets, bits, characters or entries
   uint32_t stride;   // List: from entry to entry
   uint32_t presence; // number of the presence bit, from the start of the record; kNone: always there
   uint32_t group;    // the same for the bit of its group
   uint32_t sample;   // number or selector in a sample; otherwise how many
   uint16_t first;
   uint16_t rows;
   uint16_t index; // type, names or expression
   uint8_t module;
   Kind kind;
   uint8_t width; // octets of the number, count or steering number
   uint8_t flags;
};

// Values of a choice that lead to a row; the first arm that fits counts.
struct Arm {
   uint32_t low, high;
   uint16_t row;
};

enum class Form : uint8_t { Record, Value, Empty };

// Record: rows in a block. Value: the one row tells all.
struct Type {
   uint32_t size;
   uint16_t first, rows;
   Form form;
};

// Values with names.
struct Names {
   const RtxEnumItem* items;
   uint16_t count;
};

using Expression = uint64_t (*)(const void* record);

struct Module {
   const char* texts;
   const Type* types;
   const Row* rows;
   const Arm* arms;
   const Names* names;
   const Expression* expressions;
};

// All modules, in the order of their numbers.
extern const Module* const modules[];

// The number of `width` octets at a place.
uint64_t load(const void* place, unsigned width);
void store(void* place, unsigned width, uint64_t value);

// The arm of a choice for a value; null if there is none.
const Row* findArm(const Module& module, const Row& choice, uint64_t value);

} // namespace quorva::walk
