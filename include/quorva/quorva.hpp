/**
 * @file quorva.hpp
 * The library for C++17 and later, in a header alone: a context that ends itself, records by their types, and
 * results that tell why and where they failed. It goes with -fno-exceptions and -fno-rtti as well.
 *
 *     #include <quorva/quorva.hpp>
 *     #include <quorva/TS24301Msg.h>
 *
 *     quorva::Context ctxt;
 *     auto pdu = ctxt.decode<TS24301Msg_PDU>(octets);
 *     if (!pdu) std::cerr << pdu.error().what() << "\n";
 *     else std::cout << pdu->msgType << "\n" << ctxt.to_json(*pdu) << "\n";
 *
 * Each result can be asked, as above, or taken with `value()`, which throws what went wrong:
 *
 *     TS24301Msg_PDU& pdu = ctxt.decode<TS24301Msg_PDU>(octets).value();
 *
 * Records that a context decodes, reads or makes lie in its heap, zeroed and initialised; they stand until
 * its reset() or its end. Functions of the C interface take a quorva::Context where they want a RtxContext*.
 */
#ifndef QUORVA_QUORVA_HPP
#define QUORVA_QUORVA_HPP

#include "quorva/json.h"
#include "quorva/reflect.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rtxError.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/values.hpp"

#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace quorva {

QUORVA_BEGIN_MODE

namespace detail {

/** Writes zeros that no optimiser leaves out. */
inline void erase(volatile void* memory, size_t size) {
   auto* octets = static_cast<volatile unsigned char*>(memory);
   while (size > 0) octets[--size] = 0;
}

} // namespace detail

/**
 * RtxContext with its end, and with keys that outlive resets and are erased. One that was moved from, or got
 * no memory without exceptions, is false, and all it does gives RTX_E_NOT_INIT; another may be moved into it.
 */
class Context {
public:
   /** @param flags RTX_CTXT_STANDARD or 0. */
   explicit Context(uint32_t flags = 0) : state_(new (std::nothrow) State) {
      if (state_ != nullptr && rtInitContext(&state_->ctxt) < 0) state_.reset();
      if (state_ != nullptr) rtxCtxtSetFlag(&state_->ctxt, flags);
#if QUORVA_THROWS
      if (state_ == nullptr) throw Error(RTX_E_NOMEM);
#endif
   }
   /** Is it one? */
   explicit operator bool() const noexcept {
      return state_ != nullptr;
   }
   /** For the C interface; null of one that is none. */
   operator RtxContext*() const noexcept {
      return state_ == nullptr ? nullptr : &state_->ctxt;
   }

   /** Ends all records of the context; its keys stay. */
   void reset() {
      if (state_ != nullptr) state_->reset();
   }

   /**
    * Takes a copy of keys for the messages that follow, to be erased with the context, by clear_keys() or by
    * others. Algorithms as of rtx3gppAssignAlgorithmKeys: 2 is AES, 0 none, with no key needed.
    * @return RTX_E_BAD_ARGUMENT for a key that is needed and has not 16 octets; RTX_E_UNSUPPORTED.
    */
   Outcome set_keys(int integrity, Octets integrityKey, int ciphering, Octets cipherKey) {
      return state_ == nullptr ? Error(RTX_E_NOT_INIT)
                               : state_->setKeys(integrity, integrityKey, ciphering, cipherKey);
   }
   /** Erases the keys; protected messages give RTX_E_NO_SECURITY from now on. */
   void clear_keys() {
      if (state_ != nullptr) state_->clearKeys();
   }

   /**
    * Says which message comes next: where it comes from and, if there are keys, its NAS COUNT and bearer,
    * which is 0 in EPS and 1 in 5GS over 3GPP access (see rtx3gppSetCount).
    */
   void next(QuorvaDirection direction, uint32_t count = 0, uint8_t bearer = 0) {
      if (state_ == nullptr) return;
      rtxCtxtClearFlag(&state_->ctxt, RTX_CTXT_UPLINK);
      if (direction == QUORVA_UPLINK) rtxCtxtSetFlag(&state_->ctxt, RTX_CTXT_UPLINK);
      state_->direction = direction == QUORVA_UPLINK ? RTX_NAS_UPLINK : RTX_NAS_DOWNLINK;
      state_->count = count;
      state_->bearer = bearer;
   }

   /** A new record. */
   template <class T>
   T& make() {
      void* record = state_ == nullptr ? nullptr : quorvaNew(*this, &type_of<T>());
      if (record == nullptr) detail::fail(Error(state_ == nullptr ? RTX_E_NOT_INIT : RTX_E_NOMEM));
      return *static_cast<T*>(record);
   }

   /** Decodes a message or an element from a copy of its octets, which is deciphered if need be. */
   template <class T>
   Result<T&> decode(Octets octets) {
      Value value(type_of<T>(), nullptr);
      Error error = decodeCopy(value, octets);
      return {std::move(error), static_cast<T*>(value.record)};
   }
   /** The same of a message whose PDU its first octets tell (quorvaTypeOf). */
   Result<Value> decode(Octets octets) {
      if (state_ == nullptr) return Error(RTX_E_NOT_INIT);
      const bool uplink = (state_->ctxt.flags & RTX_CTXT_UPLINK) != 0;
      const QuorvaType* type =
            quorvaTypeOf(octets.data(), octets.size(), uplink ? QUORVA_UPLINK : QUORVA_DOWNLINK);
      if (type == nullptr) return Error(RTX_E_BAD_CHOICE, {}, "octets of no known protocol");
      Value value(*type, nullptr);
      Error error = decodeCopy(value, octets);
      return {std::move(error), value};
   }
   /** Those of the message that was decoded last, deciphered if it was; until the next call of this context.
    */
   Octets octets() const {
      return state_ == nullptr ? Octets() : Octets(state_->ctxt.bufData, state_->ctxt.bufSize);
   }

   /** Encodes a value; lengths and codes are written into it. RTX_E_NULL for none. */
   Result<std::vector<uint8_t>> encode(Value value) {
      if (state_ == nullptr) return Error(RTX_E_NOT_INIT);
      if (value.record == nullptr) return Error(RTX_E_NULL);
      RtxContext& ctxt = state_->ctxt;
      int status = state_->begin(nullptr, 0);
      if (status >= 0) status = value.type->encode(&ctxt, value.record);
      std::vector<uint8_t> octets;
      Error error = state_->errorOf(*value.type, status);
      if (status >= 0) octets.assign(ctxt.bufData, ctxt.bufData + ctxt.bufByteIndex + (ctxt.bufBitsLeft < 8));
      if (ctxt.bufDynamic != 0) rtxMemHeapFreePtr(&ctxt, ctxt.bufData);
      ctxt.bufDynamic = 0;
      ctxt.bufData = nullptr;
      ctxt.bufSize = 0;
      return {std::move(error), std::move(octets)};
   }

   /** The text of asn1PrtToStrm_, under a name; "" of no value. */
   std::string to_string(View value, const char* name = "value") {
      if (state_ == nullptr || value.record == nullptr) return {};
      RtxContext& ctxt = state_->ctxt;
      const RtxPrintStream before = ctxt.printStream == nullptr ? RtxPrintStream{} : *ctxt.printStream;
      std::string text(4096, '\0');
      for (;; text.resize(4 * text.size())) {
         RtxPrintToStringBuffer buffer = {&text[0], text.size(), 0};
         if (rtxSetPrintStream(&ctxt, rtxPrintStreamToStringCB, &buffer) < 0) return {};
         value.type->print(&ctxt, name, value.record);
         rtxPrintStreamRelease(&ctxt);
         if (buffer.used + 1 >= text.size()) continue; // it was cut, or nearly so
         text.resize(buffer.used);
         if (before.pfn != nullptr) rtxSetPrintStream(&ctxt, before.pfn, before.pUserData);
         return text;
      }
   }

   /** One line of JSON without a line end, as quorva/json.h tells; "" of no value. */
   std::string to_json(View value) const {
      std::string text(1024, '\0');
      size_t length = 0;
      while (quorvaToJson(*this, value.type, value.record, &text[0], text.size(), &length) == RTX_E_TOO_SMALL)
         text.resize(length + 1);
      text.resize(length);
      return text;
   }
   /** Reads JSON; of a failure `octet()` is the place in the text. */
   template <class T>
   Result<T&> from_json(std::string_view text) {
      Result<Value> value = from_json(type_of<T>(), text);
      return {value.error(), static_cast<T*>(value->record)};
   }
   /** The same of a type that is known at run time. */
   Result<Value> from_json(const QuorvaType& type, std::string_view text) {
      if (state_ == nullptr) return Error(RTX_E_NOT_INIT);
      rtxErrReset(*this);
      const Value value(type, quorvaNew(*this, &type));
      if (value.record == nullptr) return Error(RTX_E_NOMEM);
      QuorvaJsonFault fault = {};
      const int status = quorvaFromJson(*this, &type, value.record, text.data(), text.size(), &fault);
      if (status >= 0) return value;
      std::string reason = fault.reason == nullptr ? "" : fault.reason;
      reason += " (line " + std::to_string(fault.line) + ", column " + std::to_string(fault.column) + ")";
      return {Error(status, fault.path, reason, fault.offset), value};
   }

   /** Text of the field at a path; statuses of quorvaGet. */
   Result<std::string> get(View value, const char* path) {
      QuorvaItem item = {};
      const int status =
            state_ == nullptr ? RTX_E_NOT_INIT : quorvaGet(*this, value.type, value.record, path, &item);
      if (status < 0) return Error(status, path);
      return std::string(item.text);
   }
   /** Sets the field at a path, and all bits and selectors on the way to it; statuses of quorvaSet. */
   Outcome set(Value value, const char* path, const char* text) {
      const int status =
            state_ == nullptr ? RTX_E_NOT_INIT : quorvaSet(*this, value.type, value.record, path, text);
      return status < 0 ? Error(status, path) : Error();
   }
   /** Calls `leaf(const QuorvaItem&)` for each field that is there; see quorvaVisit. */
   template <class Leaf>
   Outcome visit(View value, Leaf&& leaf) {
      if (state_ == nullptr) return Error(RTX_E_NOT_INIT);
      Visit<Leaf> visit = {leaf, nullptr};
      const QuorvaVisitor visitor = {nullptr, Visit<Leaf>::call, nullptr, &visit};
      const int status = quorvaVisit(*this, value.type, value.record, &visitor);
#if QUORVA_THROWS
      if (visit.thrown != nullptr) std::rethrow_exception(visit.thrown);
#endif
      return status < 0 ? Error(status) : Error();
   }

private:
   struct State {
      RtxContext ctxt = {};
      uint32_t count = 0;
      uint8_t bearer = 0, direction = RTX_NAS_DOWNLINK;
      bool secured = false;
      int algorithms[2] = {};
      uint8_t keys[2][16] = {}; // which the security record points to

      ~State() {
         clearKeys();
         rtFreeContext(&ctxt);
      }

      /** Has a security record for the next message, anew if a reset has ended it. */
      int arm() {
         if (!secured) return 0;
         int status = rtx3gppSetCount(&ctxt, count, bearer, direction);
         if (status != RTX_E_NO_SECURITY) return status;
         rtxErrReset(&ctxt);
         status = rtx3gppSecInitialize(&ctxt);
         if (status >= 0)
            status = rtx3gppAssignAlgorithmKeys(&ctxt, keys[0], keys[1], algorithms[0], algorithms[1]);
         return status < 0 ? status : rtx3gppSetCount(&ctxt, count, bearer, direction);
      }

      Error setKeys(int integrity, Octets integrityKey, int ciphering, Octets cipherKey) {
         if ((integrity != 0 && integrityKey.size() != sizeof keys[0]) ||
             (ciphering != 0 && cipherKey.size() != sizeof keys[1]))
            return Error(RTX_E_BAD_ARGUMENT, {}, "a key of 16 octets is needed");
         clearKeys();
         if (integrity != 0) std::memcpy(keys[0], integrityKey.data(), sizeof keys[0]);
         if (ciphering != 0) std::memcpy(keys[1], cipherKey.data(), sizeof keys[1]);
         algorithms[0] = integrity;
         algorithms[1] = ciphering;
         secured = true;
         rtxErrReset(&ctxt);
         const int status = arm();
         if (status < 0) clearKeys();
         return status < 0 ? Error(status) : Error();
      }

      void clearKeys() {
         if (secured) rtx3gppSecFree(&ctxt);
         detail::erase(keys, sizeof keys);
         secured = false;
      }

      void reset() {
         // What was computed from the keys lies in memory that the reset gives to others.
         // Asked so that a record which a reset of the C interface has ended is not looked at.
         if (secured && rtx3gppSetCount(&ctxt, 0, 0, RTX_NAS_DOWNLINK) >= 0) {
            const RtxNasSecContext& record = *ctxt.nasSec;
            if (record.cmacSubkeys != nullptr) detail::erase(record.cmacSubkeys, 32);
            if (record.aesSchedules != nullptr) detail::erase(record.aesSchedules, 2 * 44 * 4);
         }
         rtxMemReset(&ctxt);
         rtxCtxtSetBufPtr(&ctxt, keys[0], 0); // not what was in the heap
      }

      /** Ahead of a codec: no errors of the message before, its buffer, its keys. */
      int begin(uint8_t* data, size_t size) {
         rtxErrReset(&ctxt);
         const int status = arm();
         return status < 0 ? status : rtxCtxtSetBufPtr(&ctxt, data, size);
      }

      Error errorOf(const QuorvaType& type, int status) const {
         if (status >= 0) return {};
         const char* own = std::strchr(type.name, '_'); // behind the module's name
         std::string path;
         for (const RtxDListNode* node = ctxt.elemNames.head; node != nullptr; node = node->next) {
            std::string name = static_cast<const char*>(node->data);
            for (char& c : name)
               if (c == '-') c = '_'; // the stack has the names of the standards, and the record those of C
            // The first one is that of the type, unless a look ahead has taken it away.
            if (node == ctxt.elemNames.head && own != nullptr && name == own + 1) continue;
            path += (path.empty() ? "" : ".") + name;
         }
         return Error(status, path, {}, ctxt.bufByteIndex);
      }
   };

   template <class Leaf>
   struct Visit {
      Leaf& leaf;
      std::exception_ptr thrown;
      static int call(void* user, const QuorvaItem* item) {
         auto& visit = *static_cast<Visit*>(user);
#if QUORVA_THROWS
         try { // the library has no way for exceptions
            visit.leaf(*item);
         } catch (...) {
            visit.thrown = std::current_exception();
            return 1;
         }
#else
         visit.leaf(*item);
#endif
         return 0;
      }
   };

   Error decodeCopy(Value& value, Octets octets) {
      if (state_ == nullptr) return Error(RTX_E_NOT_INIT);
      if (value.type->decode == nullptr)
         return Error(RTX_E_CANNOT_DO, {}, "a part with no decoder of its own");
      value.record = quorvaNew(*this, value.type);
      auto* copy = static_cast<uint8_t*>(rtxMemHeapAlloc(*this, octets.size()));
      if (value.record == nullptr || copy == nullptr) return Error(RTX_E_NOMEM);
      if (octets.size() > 0) std::memcpy(copy, octets.data(), octets.size());
      int status = state_->begin(copy, octets.size());
      if (status >= 0) status = value.type->decode(*this, value.record);
      return state_->errorOf(*value.type, status);
   }

   std::unique_ptr<State> state_;
};

QUORVA_END_MODE

} // namespace quorva

#endif
