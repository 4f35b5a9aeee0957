#include "src/walk/table.h"

#include "runtime/core/rtxInline.h"
#include "src/frame/base.h"
#include "src/walk/codec.h"

#include <cstring>

namespace quorva::walk {

namespace {

template <class Number>
Number loadAs(const void* place) {
   Number number;
   std::memcpy(&number, place, sizeof number);
   return number;
}

template <class Number>
void storeAs(void* place, uint64_t value) {
   const auto number = static_cast<Number>(value);
   std::memcpy(place, &number, sizeof number);
}

} // namespace

uint64_t load(const void* place, unsigned width) {
   switch (width) {
   case 1: return loadAs<uint8_t>(place);
   case 2: return loadAs<uint16_t>(place);
   case 4: return loadAs<uint32_t>(place);
   default: return loadAs<uint64_t>(place);
   }
}

void store(void* place, unsigned width, uint64_t value) {
   switch (width) {
   case 1: return storeAs<uint8_t>(place, value);
   case 2: return storeAs<uint16_t>(place, value);
   case 4: return storeAs<uint32_t>(place, value);
   default: return storeAs<uint64_t>(place, value);
   }
}

uint64_t octetsLeft(const RtxContext* ctxt) {
   if (ctxt == nullptr) return 0;
   const int64_t bits = hot::containerRemBits(ctxt);
   return bits > 0 ? static_cast<uint64_t>(bits) >> 3 : 0;
}

int refuseChoice(frame::Codec& codec, const Module& module, unsigned row) {
   if ((module.wires[row].flags & kSingle) != 0)
      L3_TRY(codec.push(module.texts + module.wires[module.arms[module.rows[row].first].row].name));
   return codec.failed(RTX_E_BAD_CHOICE);
}

const Arm* armOf(const Module& module, const Row& choice, uint64_t value) {
   for (unsigned i = 0; i < choice.rows; ++i) {
      const Arm& arm = module.arms[choice.first + i];
      if (value >= arm.low && value <= arm.high) return &arm;
   }
   return nullptr;
}

const Row* findArm(const Module& module, const Row& choice, uint64_t value) {
   const Arm* arm = armOf(module, choice, value);
   return arm == nullptr ? nullptr : &module.rows[arm->row];
}

} // namespace quorva::walk
