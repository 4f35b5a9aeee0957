#include "src/walk/sample.h"

#include "quorva/rtxMemHeap.h"
#include "src/walk/codec.h"

#include <algorithm>
#include <cstring>

namespace quorva::walk {

namespace {

// Messages inside of messages; a sample goes no deeper.
constexpr unsigned kMaxDepth = 4;

// Octets differ from field to field; the names tell the fields apart on every host alike.
uint32_t seedOf(const char* text) {
   uint32_t hash = 2166136261u;
   for (; *text != 0; ++text) hash = (hash ^ static_cast<uint8_t>(*text)) * 16777619u;
   return hash;
}

class Filler {
public:
   explicit Filler(RtxContext* ctxt) : ctxt_(ctxt) {}

   // `selector`, if not 0, is the arm that the record's own choice takes. False if memory is exhausted.
   bool type(const Module& module, const Type& itself, uint8_t* value, uint32_t selector = 0) {
      const Type& type = formOf(ctxt_, module, itself);
      if (type.form == Form::Empty) return true;
      if (type.form == Form::Alias) {
         const Module& other = *modules[type.rows];
         return this->type(other, other.types[type.first], value, selector);
      }
      for (unsigned i = type.first; i < unsigned{type.first} + type.rows; ++i)
         if (!field(module, module.rows[i], value, selector)) return false;
      return true;
   }

private:
   bool field(const Module& module, const Row& row, uint8_t* record, uint32_t selector) {
      if (row.flags & kNoSample) return true;
      if (!fill(module, row, record, selector)) return false;
      setBit(record, row.group);
      setBit(record, row.presence);
      return true;
   }

   bool fill(const Module& module, const Row& row, uint8_t* record, uint32_t selector) {
      uint8_t* place = record + row.offset;
      switch (row.kind) {
      case Kind::Flag:
      case Kind::Number:
      case Kind::Enumeration:
      case Kind::OpenEnumeration:
      case Kind::NamedNumber:
      case Kind::Store: store(place, row.width, row.sample); return true;
      case Kind::Octets: octets(module, row, place, row.capacity); return true;
      case Kind::Bits: bits(module, row, place, row.capacity); return true;
      case Kind::CountedOctets:
      case Kind::CountedBits:
      case Kind::CountedUnits: return counted(module, row, record, countOf(module, row, selector));
      case Kind::Text: text(module, row, place); return true;
      case Kind::Length:
      case Kind::Span:
         if (row.width != 0) store(place, row.width, row.sample); // the encoder sets it
         return block(module, row, record);
      case Kind::Group:
      case Kind::Chain:
      case Kind::Since:
      case Kind::Swap: return block(module, row, record);
      case Kind::Nested: return nested(row, place, row.sample);
      case Kind::Message: return message(row, place);
      case Kind::List: return list(module, row, record, countOf(module, row, selector));
      case Kind::Choice: {
         const uint32_t value = row.flags & kOwnSelector && selector != 0 ? selector : row.sample;
         if (row.flags & kOwnSelector) store(record + row.count, row.width, value);
         const Row* arm = findArm(module, row, value);
         return arm == nullptr || field(module, *arm, record, 0);
      }
      case Kind::Null:
      case Kind::Padding:
      case Kind::Constant: return true;
      }
      return true;
   }

   bool block(const Module& module, const Row& row, uint8_t* record) {
      for (unsigned i = row.first; i < unsigned{row.first} + row.rows; ++i)
         if (!field(module, module.rows[i], record, 0)) return false;
      return true;
   }

   bool nested(const Row& row, uint8_t* place, uint32_t selector) {
      const Module& module = *modules[row.module];
      return type(module, module.types[row.index], place, selector);
   }

   bool message(const Row& row, uint8_t* place) {
      if (depth_ == kMaxDepth) return true;
      const Type& type = modules[row.module]->types[row.index];
      void* record = rtxMemHeapAllocZ(ctxt_, type.size);
      if (record == nullptr) return false;
      ++depth_;
      const bool filled = nested(row, static_cast<uint8_t*>(record), 0);
      --depth_;
      std::memcpy(place, &record, sizeof record);
      return filled;
   }

   static void octets(const Module& module, const Row& row, uint8_t* place, size_t count) {
      const uint32_t seed = seedOf(module.texts + row.name);
      for (size_t i = 0; i < count; ++i) place[i] = static_cast<uint8_t>(seed + 29 * i);
   }

   // What is left of the last octet stays 0.
   static void bits(const Module& module, const Row& row, uint8_t* place, size_t count) {
      octets(module, row, place, (count + 7) / 8);
      if (count % 8 != 0) place[count / 8] = static_cast<uint8_t>(place[count / 8] & 0xFF00u >> count % 8);
   }

   // What does not tell its size on the wire is told by whoever holds it.
   static size_t countOf(const Module& module, const Row& row, uint32_t wanted) {
      const bool preset = (module.wires[&row - module.rows].flags & kPreset) != 0;
      return preset && wanted != 0 ? wanted - 1 : row.sample;
   }

   bool counted(const Module& module, const Row& row, uint8_t* record, size_t count) {
      const size_t size = row.kind == Kind::CountedBits    ? (count + 7) / 8
                          : row.kind == Kind::CountedUnits ? count * 2
                                                           : count;
      uint8_t* place = record + row.offset;
      if (row.flags & kHeap) {
         uint8_t* data = nullptr;
         if (size != 0 && (data = static_cast<uint8_t*>(rtxMemHeapAlloc(ctxt_, size))) == nullptr)
            return false;
         std::memcpy(place, &data, sizeof data);
         place = data;
      }
      store(record + row.count, row.width, count);
      if (row.kind == Kind::CountedOctets)
         octets(module, row, place, count);
      else if (row.kind == Kind::CountedBits)
         bits(module, row, place, count);
      else
         for (size_t i = 0; i < count; ++i) store(place + 2 * i, 2, static_cast<uint8_t>("Quorva"[i % 6]));
      return true;
   }

   static void text(const Module& module, const Row& row, uint8_t* place) {
      static const char* const kDigits[] = {"702ac*ba", "8*ba52977"};
      static const char* const kNetworkCodes[] = {"633", "604", "310"};
      const uint32_t seed = seedOf(module.texts + row.name);
      if (row.flags & kHeap) {
         const char* text = row.flags & kCharacters ? "internet" : kDigits[seed % 2];
         std::memcpy(place, &text, sizeof text);
      } else {
         const char* text = row.flags & kCharacters ? "internet"
                            : row.capacity <= 3     ? kNetworkCodes[seed % 3]
                                                    : "3080072428153906";
         const size_t length = std::min<size_t>(std::strlen(text), row.capacity);
         std::memcpy(place, text, length);
         place[length] = 0;
      }
   }

   bool list(const Module& module, const Row& row, uint8_t* record, size_t entries) {
      uint8_t* entry = record + row.offset;
      if (row.flags & kHeap) {
         void* array = nullptr;
         if (entries != 0 && (array = rtxMemHeapAllocZ(ctxt_, entries * row.stride)) == nullptr) return false;
         std::memcpy(entry, &array, sizeof array);
         entry = static_cast<uint8_t*>(array);
      }
      store(record + row.count, row.width, entries);
      for (size_t i = 0; i < entries; ++i)
         if (!field(module, module.rows[row.first], entry + i * row.stride, 0)) return false;
      return true;
   }

   RtxContext* ctxt_;
   unsigned depth_ = 0;
};

} // namespace

void* sample(RtxContext* pctxt, const Module& module, unsigned type) {
   const Type& form = module.types[type];
   auto* value = static_cast<uint8_t*>(rtxMemHeapAllocZ(pctxt, form.size));
   return value != nullptr && Filler(pctxt).type(module, form, value) ? value : nullptr;
}

void fillSample(void* place, const Module& module, unsigned type) {
   (void)Filler(nullptr).type(module, module.types[type], static_cast<uint8_t*>(place));
}

} // namespace quorva::walk
