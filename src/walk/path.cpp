// Fields of values by their paths.

#include "src/walk/item.h"

#include "quorva/rtxMemHeap.h"
#include "runtime/core/ascii.h"
#include "src/frame/base.h"

#include <algorithm>

namespace quorva::walk {

namespace {

constexpr unsigned kMostSteered = 64; // choices on the way
constexpr unsigned kMostOwners = 64;  // records of types in each other

// The records of types on a way: a number may steer choices of any of them.
struct Owners {
   Shape shapes[kMostOwners];
   unsigned count = 0;
   Rows by = Rows::Held; // what goes along
   Shape last() const { return count == 0 ? Shape() : shapes[count - 1]; }
};

// The arms of the choices that numbers steer. Where one changes, what the new one begins with must not be
// what the old one left.
class Steered {
public:
   explicit Steered(const Owners& owners) : owners_(owners) { all(true); }
   void settle() { all(false); }

private:
   void all(bool note) {
      count_ = 0;
      for (unsigned i = 0; i < owners_.count; ++i)
         each(owners_.shapes[i], owners_.shapes[i].first, owners_.shapes[i].rows, note);
   }
   void each(const Shape& owner, unsigned first, unsigned rows, bool note) {
      const Module& module = *owner.module;
      for (unsigned i = first; i < first + rows; ++i) {
         const Row& row = module.rows[i];
         if (row.kind == Kind::Group || isWireGroup(row)) each(owner, row.first, row.rows, note);
         if (row.kind != Kind::Choice || (row.flags & kOwnSelector) != 0 || count_ == kMostSteered) continue;
         const Row* arm = findArm(module, row, selectorOf(module, row, owner.record));
         if (note)
            arms_[count_] = arm;
         else if (arm != arms_[count_] && arm != nullptr)
            begin(module, *arm, owner.record, owners_.by);
         ++count_;
      }
   }

   const Owners& owners_;
   const Row* arms_[kMostSteered];
   unsigned count_ = 0;
};

// Goes along a path.
class Way {
public:
   // With `make` what isn't there becomes so. Memory is the context's.
   Way(RtxContext* ctxt, bool make) : ctxt_(ctxt), make_(make), by_(make ? madeRows(ctxt) : shownRows(ctxt)) {
      owners.by = by_;
   }

   int go(const QuorvaType* type, const void* value, std::string_view path) {
      Shape root;
      if (!shapeOf(type, value, root, by_)) return RTX_E_BAD_ARGUMENT;
      enter(root);
      while (!path.empty()) {
         if (owners.count == kMostOwners) return RTX_E_BAD_FORMAT;
         if (special != 0) return RTX_E_UNKNOWN_NAME;
         if (path[0] == '[') {
            L3_TRY(entry(path));
         } else {
            const size_t size = std::min(path.find_first_of(".["), path.size());
            if (size == 0) return RTX_E_BAD_FORMAT;
            L3_TRY(step(path.substr(0, size)));
            path.remove_prefix(size);
         }
         if (path.empty() || path[0] == '[') continue;
         if (path[0] != '.' || path.size() == 1) return RTX_E_BAD_FORMAT;
         path.remove_prefix(1);
         if (path[0] == '[') return RTX_E_BAD_FORMAT;
      }
      return 0;
   }

   Shape shape;
   Owners owners;    // that it stands in, or is
   char special = 0; // 'n': the count of the list, 't': the selector of the choice
   // The last field: its name, row, and the record that the row is in.
   const char* name = "";
   size_t index = 0;
   const Module* module = nullptr;
   const Row* row = nullptr;
   uint8_t* record = nullptr;

private:
   void enter(const Shape& inner) {
      shape = inner;
      if (inner.form != nullptr) owners.shapes[owners.count++] = inner;
   }

   int entry(std::string_view& path) {
      const size_t end = path.find(']');
      uint64_t number = 0;
      if (end == std::string_view::npos) return RTX_E_BAD_FORMAT;
      const auto read = std::from_chars(path.data() + 1, path.data() + end, number);
      if (read.ec != std::errc() || read.ptr != path.data() + end) return RTX_E_BAD_FORMAT;
      if (shape.kind != Kind::List) return RTX_E_UNKNOWN_NAME;
      const uint64_t count =
            contentsOf(*shape.row, shape.record) == nullptr ? 0 : countOf(*shape.row, shape.record);
      if (number > count || (number == count && !make_)) return RTX_E_INDEX;
      if (number == count) L3_TRY(resize(ctxt_, shape, count + 1));
      index = static_cast<size_t>(number);
      row = nullptr;
      path.remove_prefix(end + 1);
      enter(entryOf(shape, number, by_));
      return 0;
   }

   int step(std::string_view word) {
      if (shape.kind == Kind::List) {
         if (word == "n") special = 'n';
         return word == "n" || word == "elem" ? 0 : RTX_E_UNKNOWN_NAME;
      }
      if (shape.kind == Kind::Choice) {
         const Arm* arm = armNamed(*shape.module, *shape.row, word);
         if (arm == nullptr && word == "u") return 0;
         if (arm == nullptr && word == "t" && (shape.row->flags & kOwnSelector) != 0)
            return selector(*shape.row);
         if (arm == nullptr) return RTX_E_UNKNOWN_NAME;
         return this->arm(*shape.module, *shape.row, shape.record, *arm);
      }
      if (shape.kind != Kind::Group) return RTX_E_UNKNOWN_NAME;
      Hit hit;
      const Module& table = *shape.module;
      if (!findField(table, shape.first, shape.first + shape.rows, word, hit)) {
         const auto unnamed = [&] {
            for (unsigned i = shape.first; i < shape.first + shape.rows; ++i)
               if (isUnnamedChoice(table.rows[i])) return true;
            return false;
         };
         return word == "u" && unnamed() ? 0 : RTX_E_UNKNOWN_NAME;
      }
      uint8_t* place = shape.record;
      for (unsigned i = 0; i < hit.depth; ++i) L3_TRY(there(table, *hit.groups[i], place));
      if (hit.choice == nullptr) return field(table, *hit.row, place);
      L3_TRY(there(table, *hit.choice, place));
      if (hit.row != nullptr) return arm(table, *hit.choice, place, *armNamed(table, *hit.choice, word));
      shape.module = &table;
      return selector(*hit.choice);
   }

   int selector(const Row& choice) {
      special = 't';
      shape.row = &choice;
      return 0;
   }

   int there(const Module& table, const Row& which, uint8_t* place) {
      if (isThere(which, place)) return 0;
      if (!make_) return RTX_E_NOT_INIT;
      Steered steered(owners);
      // A group's bit may be set already, or that of a field in a group that is not there.
      clear(table, which, place, by_);
      makeThere(which, place);
      steered.settle();
      return 0;
   }

   int arm(const Module& table, const Row& choice, uint8_t* place, const Arm& wanted) {
      const Row* now = findArm(table, choice, selectorOf(table, choice, place));
      // Several arms may have one name.
      const bool selected =
            now != nullptr && std::strcmp(nameOf(table, *now), nameOf(table, table.rows[wanted.row])) == 0;
      if (!selected) {
         if (!make_) return RTX_E_NOT_INIT;
         Steered steered(owners);
         L3_TRY(select(table, choice, wanted, place, owners.last(), by_));
         steered.settle();
         now = &table.rows[wanted.row];
      }
      return field(table, *now, place);
   }

   int field(const Module& table, const Row& which, uint8_t* place) {
      L3_TRY(there(table, which, place));
      name = nameOf(table, which);
      index = 0;
      module = &table;
      row = &which;
      record = place;
      Shape inner = shapeOf(table, which, place, by_);
      if (!inner.there) {
         if (!make_) return RTX_E_NOT_INIT;
         L3_TRY(makeMessage(ctxt_, which, place));
         inner = shapeOf(table, which, place, by_);
      }
      enter(inner);
      return 0;
   }

   RtxContext* ctxt_;
   bool make_;
   Rows by_;
};

bool isNumber(const Shape& shape) {
   const QuorvaKind kind = publicKind(shape.kind);
   return kind == QUORVA_FLAG || kind == QUORVA_NUMBER || kind == QUORVA_ENUM;
}

uint64_t specialNumber(const Way& way) {
   return way.special == 'n' ? countOf(*way.shape.row, way.shape.record)
                             : load(way.shape.record + way.shape.row->count, way.shape.row->width);
}

int setSpecial(RtxContext* ctxt, const Way& way, uint64_t number) {
   if (way.special == 'n') return resize(ctxt, way.shape, number);
   if (number > UINT32_MAX) return RTX_E_OVERFLOW;
   const Arm* arm = armOf(*way.shape.module, *way.shape.row, number);
   if (arm != nullptr && specialNumber(way) != number)
      L3_TRY(select(*way.shape.module, *way.shape.row, *arm, way.shape.record, way.owners.last()));
   store(way.shape.record + way.shape.row->count, way.shape.row->width, number);
   return 0;
}

int wayTo(Way& way, const QuorvaType* type, const void* value, const char* path) {
   return path == nullptr ? RTX_E_BAD_ARGUMENT : way.go(type, value, path);
}

const char* wordsOf(const Way& way) {
   return way.row == nullptr ? docOf(*way.shape.module, nullptr, way.shape.type)
                             : docOf(*way.module, way.row, way.shape.type);
}

// A leaf by a function that stores it.
template <class Store>
int setLeaf(const Way& way, Store store) {
   Steered steered(way.owners);
   const int status = store();
   steered.settle();
   return status;
}

} // namespace

int shapeAt(RtxContext* ctxt, const QuorvaType* type, const void* value, const char* path, Shape& shape,
            const char*& doc, const char*& around) {
   Way way(ctxt, false);
   L3_TRY(wayTo(way, type, value, path));
   if (way.special != 0) return RTX_E_UNKNOWN_NAME;
   shape = way.shape;
   doc = wordsOf(way);
   // Of an octet's own type no standard has a clause.
   around = "";
   for (unsigned i = way.owners.count;
        i-- > 0 && std::strstr(*around != 0 ? around : doc, "TS ") == nullptr;) {
      around = docOf(*way.owners.shapes[i].module, nullptr, way.owners.shapes[i].type);
      if (*doc == 0) std::swap(doc, around);
   }
   return 0;
}

} // namespace quorva::walk

using namespace quorva::walk;

int quorvaGet(RtxContext* pctxt, const QuorvaType* type, const void* value, const char* path,
              QuorvaItem* item) {
   Way way(pctxt, false);
   L3_TRY(wayTo(way, type, value, path));
   *item = {};
   const size_t size = std::strlen(path) + 1;
   auto* copy = static_cast<char*>(rtxMemHeapAlloc(pctxt, size));
   if (copy == nullptr) return RTX_E_NOMEM;
   std::memcpy(copy, path, size);
   item->path = copy;
   item->name = way.special == 'n' ? "n" : way.special == 't' ? "t" : way.name;
   item->index = way.index;
   HeapOut out(pctxt);
   if (way.special != 0) {
      item->kind = QUORVA_NUMBER;
      item->doc = item->meaning = "";
      item->number = specialNumber(way);
      item->data = way.shape.record + way.shape.row->count;
      out.putNumber(item->number);
   } else {
      if (!describe(way.shape, wordsOf(way), out, *item)) return RTX_E_NOMEM;
   }
   item->text = out.text();
   return out.release() == nullptr ? RTX_E_NOMEM : 0;
}

int quorvaSet(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path, const char* text) {
   if (text == nullptr) return RTX_E_BAD_ARGUMENT;
   Way way(pctxt, true);
   L3_TRY(wayTo(way, type, value, path));
   if (way.special != 0) {
      uint64_t number = 0;
      const char* end = text + std::strlen(text);
      const auto read = std::from_chars(text, end, number);
      if (read.ec != std::errc() || read.ptr != end) return RTX_E_BAD_VALUE;
      return setSpecial(pctxt, way, number);
   }
   return setLeaf(way, [&] { return storeAnyText(pctxt, way.shape, text); });
}

int quorvaSetNumber(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path,
                    uint64_t number) {
   Way way(pctxt, true);
   L3_TRY(wayTo(way, type, value, path));
   if (way.special != 0) return setSpecial(pctxt, way, number);
   if (!isNumber(way.shape)) return RTX_E_VALUE_TYPE;
   return setLeaf(way, [&] { return storeNumber(way.shape, number); });
}

int quorvaRemove(RtxContext* pctxt, const QuorvaType* type, void* value, const char* path) {
   Way way(pctxt, false);
   const int status = wayTo(way, type, value, path);
   if (status == RTX_E_NOT_INIT) return 0;
   if (status < 0) return status;
   if (way.special != 0 || way.row == nullptr || way.row->presence == kNone) return RTX_E_CANNOT_DO;
   Steered steered(way.owners);
   // An encoder may go by the count of a list alone.
   if (way.row->kind == Kind::List) clear(*way.module, *way.row, way.record);
   clearBit(way.record, way.row->presence);
   steered.settle();
   return 0;
}
