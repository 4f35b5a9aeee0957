/**
 * @file result.hpp
 * What the functions of quorva.hpp take and return: octets, errors, and results that are one thing or the
 * other.
 */
#ifndef QUORVA_RESULT_HPP
#define QUORVA_RESULT_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
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
#define QUORVA_BEGIN_MODE inline namespace throwing {
#else
#define QUORVA_BEGIN_MODE inline namespace unthrowing {
#endif
#define QUORVA_END_MODE }

namespace quorva {

QUORVA_BEGIN_MODE

/** Octets of somebody else: a std::vector, std::array, std::string, std::span or array of them, or a pointer.
 */
class Octets {
public:
   constexpr Octets() = default;
   constexpr Octets(const uint8_t* data, size_t size) : data_(data), size_(size) {}
   template <class Range, class = std::enable_if_t<sizeof(*std::data(std::declval<const Range&>())) == 1>>
   Octets(const Range& range)
         : data_(reinterpret_cast<const uint8_t*>(std::data(range))), size_(std::size(range)) {}
   constexpr const uint8_t* data() const { return data_; }
   constexpr size_t size() const { return size_; }
   constexpr const uint8_t* begin() const { return data_; }
   constexpr const uint8_t* end() const { return data_ + size_; }

private:
   const uint8_t* data_ = nullptr;
   size_t size_ = 0;
};

/** Why something failed, and where. */
class Error : public std::exception {
public:
   Error() = default;
   /** @param reason In words, in place of the status. */
   explicit Error(int status, std::string path = {}, std::string_view reason = {}, size_t octet = 0)
         : status_(status), octet_(octet), path_(std::move(path)) {
      text_ = reason.empty() ? "status " + std::to_string(status) : std::string(reason);
      if (!path_.empty()) text_ += " at " + path_;
   }
   /** One of quorva/rtxStatus.h; 0 if nothing failed. */
   int status() const noexcept { return status_; }
   /** Of the field, from the value on, as quorvaGet takes it; "" if it is not known, or the whole. */
   const std::string& path() const noexcept { return path_; }
   /** Index of the octet at which a decoder or encoder stopped, or of the character in a JSON text. */
   size_t octet() const noexcept { return octet_; }
   /** All of this in a line. */
   const char* what() const noexcept override { return text_.c_str(); }

private:
   int status_ = 0;
   size_t octet_ = 0;
   std::string path_, text_;
};

namespace detail {

[[noreturn]] inline void fail(const Error& error) {
#if QUORVA_THROWS
   throw error;
#else
   std::fprintf(stderr, "quorva: %s\n", error.what());
   std::abort();
#endif
}

} // namespace detail

/** What there is, or why there is none; Result<void> tells the latter alone. */
template <class V>
class Result;

template <>
class [[nodiscard]] Result<void> {
public:
   Result() = default;
   Result(Error error) : error_(std::move(error)) {}
   explicit operator bool() const noexcept { return status() >= 0; }
   int status() const noexcept { return error_.status(); }
   const Error& error() const noexcept { return error_; }
   /** Throws the error, if there is one. */
   void value() const {
      if (!*this) detail::fail(error_);
   }

private:
   Error error_;
};

template <class V>
class [[nodiscard]] Result : public Result<void> {
public:
   Result(V value) : value_(std::move(value)) {}
   Result(Error error, V value = {}) : Result<void>(std::move(error)), value_(std::move(value)) {}
   const V& value() const& { return Result<void>::value(), value_; }
   V&& value() && { return Result<void>::value(), std::move(value_); }
   /** Without a look at the status: of a failure what was had until then. */
   const V& operator*() const& { return value_; }
   V&& operator*() && { return std::move(value_); }
   const V* operator->() const { return &value_; }

private:
   V value_;
};

/** A record in the heap of a context. */
template <class T>
class [[nodiscard]] Result<T&> : public Result<void> {
public:
   Result(Error error, T* value) : Result<void>(std::move(error)), value_(value) {}
   T& value() const { return Result<void>::value(), *value_; }
   T& operator*() const { return *value_; }
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
