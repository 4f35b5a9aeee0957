/**
 * @file values.hpp
 * What the functions of quorva.hpp take and return: octets, records with their types, errors, and results.
 */
#ifndef QUORVA_VALUES_HPP
#define QUORVA_VALUES_HPP

#include "quorva/registry.h"
#include "quorva/rtxStatusText.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/** 1: `value()` and what can only fail for want of memory throw; 0: they end the program. Ask ahead then. */
#ifndef QUORVA_THROWS
#ifdef __cpp_exceptions
#define QUORVA_THROWS 1
#else
#define QUORVA_THROWS 0
#endif
#endif

// Parts of a program may differ in this, and the linker must not take the functions of one for the other's.
#if QUORVA_THROWS
/** Ahead of what exists for both. */
#define QUORVA_BEGIN_MODE inline namespace throwing {
#else
/** Ahead of what exists for both. */
#define QUORVA_BEGIN_MODE inline namespace unthrowing {
#endif
/** Behind it. */
#define QUORVA_END_MODE }

namespace quorva {

QUORVA_BEGIN_MODE

/** Octets of somebody else, who keeps them while they are looked at. A std::span can be made of them. */
class Octets {
public:
   /** None. */
   constexpr Octets() = default;
   /** Those behind a pointer. */
   constexpr Octets(const uint8_t* data, size_t size) : data_(data), size_(size) {}
   /** Those of a std::vector, std::array, std::span, std::string_view or array; not of a literal with its
    * NUL. */
   template <class Range,
             class = std::enable_if_t<sizeof(*std::data(std::declval<const Range&>())) == 1 &&
                                      !std::is_same<std::decay_t<const Range>, char*>::value &&
                                      !std::is_same<std::decay_t<const Range>, const char*>::value>>
   Octets(const Range& range)
         : data_(reinterpret_cast<const uint8_t*>(std::data(range))), size_(std::size(range)) {}
   /** The first one. */
   constexpr const uint8_t* data() const { return data_; }
   /** How many there are. */
   constexpr size_t size() const { return size_; }
   /** The first one. */
   constexpr const uint8_t* begin() const { return data_; }
   /** Behind the last one. */
   constexpr const uint8_t* end() const { return data_ + size_; }

private:
   const uint8_t* data_ = nullptr;
   size_t size_ = 0;
};

/** Why something failed, and where. */
class Error : public std::exception {
public:
   /** None. */
   Error() = default;
   /** @param reason In words, in place of the status. */
   explicit Error(int status, const std::string& path = {}, std::string_view reason = {}, size_t octet = 0)
         : status_(status) {
      const char* name = quorvaStatusName(status);
      std::string text(reason.empty() && name != nullptr ? name : reason);
      if (reason.empty()) text += " (" + std::to_string(status) + ")";
      if (!path.empty()) text += " at " + path;
      place_ = std::make_shared<const Place>(Place{octet, path, std::move(text)});
   }
   /** One of quorva/rtxStatus.h; 0 if nothing failed. */
   int status() const noexcept { return status_; }
   /** Of the field, from the value on, as quorvaGet takes it; "" if it is not known, or the whole. A part for
    * which the record has no field, like a length, ends it by the name that the bit trace has for it. */
   const char* path() const noexcept { return place_ == nullptr ? "" : place_->path.c_str(); }
   /** Index of the octet at which a decoder or encoder stopped, or of the character in a JSON text. */
   size_t octet() const noexcept { return place_ == nullptr ? 0 : place_->octet; }
   /** All of this in a line. */
   const char* what() const noexcept override { return place_ == nullptr ? "" : place_->text.c_str(); }

private:
   struct Place {
      size_t octet;
      std::string path, text;
   };
   int status_ = 0;
   std::shared_ptr<const Place> place_; // no price for what did not fail, and copies that can't fail
};

namespace detail {

/** Throws the error, or ends the program. */
[[noreturn]] inline void fail(const Error& error) {
#if QUORVA_THROWS
   throw error;
#else
   std::fprintf(stderr, "quorva: %s\n", error.what());
   std::abort();
#endif
}

/** Name of a record's type as the compiler writes it: that is how the registry has it. */
template <class T>
constexpr std::string_view name_of() {
   std::string_view text = __PRETTY_FUNCTION__; // "... [T = Name]" or "... [with T = Name; ...]"
   text.remove_prefix(text.find("T = ") + 4);
   return text.substr(0, text.find_first_of(";]"));
}
static_assert(name_of<RtxContext>() == "RtxContext", "a compiler that writes the names of types otherwise");

/** Numbers, texts and choices of the modules have no type of their own in C++. */
template <class T>
constexpr bool is_record() {
   constexpr std::string_view name = name_of<T>();
   return std::is_class<T>::value && name.substr(0, 2) == "TS" && name.find_first_of(":(<") == name.npos;
}

} // namespace detail

/** What the registry tells of a record. */
template <class T>
const QuorvaType& type_of() {
   static_assert(detail::is_record<T>(), "no record of a module, as TS24301Msg_PDU is one");
   static const QuorvaType* const type = quorvaFindType(std::string(detail::name_of<T>()).c_str());
   if (type == nullptr) detail::fail(Error(RTX_E_BAD_ARGUMENT, {}, "a record that the library doesn't have"));
   return *type;
}

/** A value to be read, with its type: any record, or what is known at run time only. */
struct View {
   /** None. */
   View() = default;
   /** A value of a type that is known at run time. */
   View(const QuorvaType& itsType, const void* value) : type(&itsType), record(value) {}
   /** A record. */
   template <class T, class = std::enable_if_t<detail::is_record<T>()>>
   View(const T& value) : View(type_of<T>(), &value) {}
   const QuorvaType* type = nullptr; /**< Of the registry; null if there is no value. */
   const void* record = nullptr;     /**< The value itself. */
};

/** A value that may be changed. */
struct Value {
   /** None. */
   Value() = default;
   /** A value of a type that is known at run time. */
   Value(const QuorvaType& itsType, void* value) : type(&itsType), record(value) {}
   /** A record. */
   template <class T, class = std::enable_if_t<detail::is_record<T>()>>
   Value(T& value) : Value(type_of<T>(), &value) {}
   /** To be read. */
   operator View() const { return type == nullptr ? View() : View(*type, record); }
   /** The record, or null if it is another. */
   template <class T>
   T* as() const {
      return type == &type_of<T>() ? static_cast<T*>(record) : nullptr;
   }
   const QuorvaType* type = nullptr; /**< Of the registry; null if there is no value. */
   void* record = nullptr;           /**< The value itself. */
};

/** Whether something was done, or why not. */
class [[nodiscard]] Outcome {
public:
   /** It was done. */
   Outcome() = default;
   /** It was not, unless the status is 0. */
   Outcome(Error error) : error_(std::move(error)) {}
   /** Was it done? */
   explicit operator bool() const noexcept { return status() >= 0; }
   /** 0, or a status of quorva/rtxStatus.h. */
   int status() const noexcept { return error_.status(); }
   /** What went wrong. */
   const Error& error() const noexcept { return error_; }
   /** Throws the error, if there is one. */
   void value() const {
      if (!*this) detail::fail(error_);
   }

private:
   Error error_;
};

/** What there is, or why there is none. */
template <class V>
class [[nodiscard]] Result : public Outcome {
public:
   /** This. */
   Result(V value) : value_(std::move(value)) {}
   /** An error, and what was had until then. */
   Result(Error error, V value = {}) : Outcome(std::move(error)), value_(std::move(value)) {}
   /** What there is; throws the error, if there is one. */
   const V& value() const& { return Outcome::value(), value_; }
   /** The same of a result that ends here. */
   V value() && { return Outcome::value(), std::move(value_); }
   /** Without a look at the status: of a failure what was had until then. */
   const V& operator*() const& { return value_; }
   /** The same of a result that ends here. */
   V operator*() && { return std::move(value_); }
   /** The same. */
   const V* operator->() const { return &value_; }

private:
   V value_;
};

/** A record in the heap of a context, or why there is none. */
template <class T>
class [[nodiscard]] Result<T&> : public Outcome {
public:
   /** A record as far as it was had, or null. */
   Result(Error error, T* value) : Outcome(std::move(error)), value_(value) {}
   /** The record; throws the error, if there is one. */
   T& value() const { return Outcome::value(), *value_; }
   /** Without a look at the status. */
   T& operator*() const { return *value_; }
   /** The same. */
   T* operator->() const { return value_; }
   /** The record as far as it was read when decoding failed: with RTX_E_MAC_MISMATCH or RTX_E_BAD_IEI to its
    *  end. Null if there was no memory for it. */
   T* partial() const { return value_; }

private:
   T* value_;
};

QUORVA_END_MODE

} // namespace quorva

#endif
