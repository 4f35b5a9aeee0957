// The way through a value that JSON and visitors share: what is there, in the order of its print.
#pragma once

#include "runtime/text/textSteps.h"
#include "src/walk/shape.h"

namespace quorva::walk {

// What a value is called: a field's name, or an entry's number in its list, which has the name; the value
// that a walk begins with has neither.
struct Label {
   const char* name = nullptr;
   size_t index = 0;
   bool isEntry = false;
   const Module* module = nullptr; // of a field
   const Row* row = nullptr;
};

// Told are begin and end of records, lists and choices, and leaves; a status other than 0 ends the walk.
template <class Sink>
class Fields {
public:
   Fields(Sink& sink, Rows by) : sink_(sink), by_(by) {}

   int value(const Label& label, const Shape& shape) {
      switch (shape.kind) {
      case Kind::Group:
         QUORVA_PRINT_STEP(sink_.begin(label, shape));
         QUORVA_PRINT_STEP(block(*shape.module, shape.first, shape.rows, shape.record));
         return sink_.end(label, shape);
      case Kind::List: {
         const Row& row = *shape.row;
         const auto entries = contentsOf(row, shape.record) == nullptr ? 0 : countOf(row, shape.record);
         QUORVA_PRINT_STEP(sink_.begin(label, shape));
         for (uint64_t i = 0; i < entries; ++i)
            QUORVA_PRINT_STEP(value({label.name, static_cast<size_t>(i), true}, entryOf(shape, i, by_)));
         return sink_.end(label, shape);
      }
      case Kind::Choice:
         QUORVA_PRINT_STEP(sink_.begin(label, shape));
         QUORVA_PRINT_STEP(arms(*shape.module, *shape.row, shape.record));
         return sink_.end(label, shape);
      default: return sink_.leaf(label, shape);
      }
   }

private:
   int block(const Module& module, unsigned first, unsigned rows, uint8_t* record) {
      for (unsigned i = first; i < first + rows; ++i) {
         const Row& row = module.rows[i];
         if (isThere(row, record)) QUORVA_PRINT_STEP(field(module, row, record));
      }
      return 0;
   }

   int field(const Module& module, const Row& row, uint8_t* record) {
      if (isUnnamedChoice(row)) return arms(module, row, record);
      if (isField(row)) {
         const Shape shape = shapeOf(module, row, record, by_);
         if (shape.there) QUORVA_PRINT_STEP(value({nameOf(module, row), 0, false, &module, &row}, shape));
      }
      return isWireGroup(row) ? block(module, row.first, row.rows, record) : 0;
   }

   // The arm that is selected; what its name doesn't tell of the selector ahead of it.
   int arms(const Module& module, const Row& choice, uint8_t* record) {
      const uint64_t selector = selectorOf(module, choice, record);
      const Arm* arm = armOf(module, choice, selector);
      const Row* row = arm == nullptr ? nullptr : &module.rows[arm->row];
      const bool shown = row != nullptr && *nameOf(module, *row) != 0 && isThere(*row, record) &&
                         (isWireGroup(*row) || (isField(*row) && shapeOf(module, *row, record, by_).there));
      if ((choice.flags & kOwnSelector) != 0 && !(shown && arm->low == selector) &&
          (arm != nullptr || selector != 0))
         QUORVA_PRINT_STEP(sink_.selector(selector));
      return shown ? field(module, *row, record) : 0;
   }

   Sink& sink_;
   Rows by_;
};

} // namespace quorva::walk
