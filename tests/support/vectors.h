/**
 * @file vectors.h
 * Reader of the message vectors in tests/vectors. A file is a list of blocks parted by one blank line:
 *
 *     # name | direction | what it is | source
 *     octets in hex
 *     key: value
 *
 * The direction is `ul`, `dl` or `either`, names are unique within a file, and there may be any number of
 * facts. A file that breaks the format throws std::runtime_error with file, line and reason: a test that uses
 * it then fails.
 */
#ifndef QUORVA_TESTS_SUPPORT_VECTORS_H
#define QUORVA_TESTS_SUPPORT_VECTORS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorva::test {

using Octets = std::vector<uint8_t>;

/** Octets of an even number of hex digits; throws std::invalid_argument otherwise. */
inline Octets octetsFromHex(std::string_view hex) {
   const auto digit = [](char ch) -> unsigned {
      if (ch >= '0' && ch <= '9') return static_cast<unsigned>(ch - '0');
      if (ch >= 'a' && ch <= 'f') return static_cast<unsigned>(ch - 'a' + 10);
      if (ch >= 'A' && ch <= 'F') return static_cast<unsigned>(ch - 'A' + 10);
      throw std::invalid_argument("not a hex digit: '" + std::string(1, ch) + "'");
   };
   if (hex.size() % 2 != 0) throw std::invalid_argument("odd number of hex digits");
   Octets octets;
   octets.reserve(hex.size() / 2);
   for (size_t i = 0; i < hex.size(); i += 2)
      octets.push_back(static_cast<uint8_t>(digit(hex[i]) << 4 | digit(hex[i + 1])));
   return octets;
}

inline std::string hexFromOctets(const uint8_t* octets, size_t count) {
   std::string hex;
   for (size_t i = 0; i < count; ++i) {
      hex += "0123456789abcdef"[octets[i] >> 4];
      hex += "0123456789abcdef"[octets[i] & 15];
   }
   return hex;
}

inline std::string hexFromOctets(const Octets& octets) {
   return hexFromOctets(octets.data(), octets.size());
}

/** One block of a vector file. */
struct Vector {
   std::string name;
   std::string direction; ///< "ul", "dl" or "either"
   std::string what;
   std::string source;
   Octets octets;
   std::vector<std::pair<std::string, std::string>> facts; ///< in the order of the file; keys may repeat

   bool has(std::string_view key) const { return find(key) != nullptr; }

   /** Value of the first fact with this key; throws std::out_of_range if there is none. */
   const std::string& fact(std::string_view key) const {
      if (const std::string* value = find(key)) return *value;
      throw std::out_of_range("vector " + name + " has no fact " + std::string(key));
   }

   /** Values of all facts with this key. */
   std::vector<std::string> all(std::string_view key) const {
      std::vector<std::string> values;
      for (const auto& [k, value] : facts)
         if (k == key) values.push_back(value);
      return values;
   }

   /** A fact that is one number, decimal or with 0x. */
   uint64_t number(std::string_view key) const {
      const std::string& text = fact(key);
      size_t used = 0;
      uint64_t value = 0;
      try {
         value = std::stoull(text, &used, 0);
      } catch (const std::logic_error&) {}
      if (used == 0 || used != text.size())
         throw std::runtime_error("vector " + name + ": " + std::string(key) + " is no number: " + text);
      return value;
   }

   /** A fact that is a run of octets in hex. */
   Octets hex(std::string_view key) const { return octetsFromHex(fact(key)); }

private:
   const std::string* find(std::string_view key) const {
      for (const auto& [k, value] : facts)
         if (k == key) return &value;
      return nullptr;
   }
};

namespace detail {

class VectorReader {
public:
   explicit VectorReader(const std::string& path) : path_(path), file_(path) {
      if (!file_) throw std::runtime_error(path + ": can't be opened");
   }

   std::vector<Vector> read() {
      std::vector<Vector> vectors;
      while (next()) {
         if (line_.empty()) refuse("blank line where a block begins");
         vectors.push_back(block());
         if (!names_.insert(vectors.back().name).second)
            refuse("second vector of the name " + vectors.back().name);
      }
      if (vectors.empty()) refuse("no vectors");
      return vectors;
   }

private:
   /** A block, up to the blank line behind it or the end of the file. */
   Vector block() {
      Vector vector;
      head(vector);
      if (!next()) refuse("file ends behind a head line");
      try {
         vector.octets = octetsFromHex(line_);
      } catch (const std::invalid_argument& reason) {
         refuse(reason.what());
      }
      if (vector.octets.empty()) refuse("no octets");
      while (next() && !line_.empty()) {
         const size_t colon = line_.find(':');
         if (colon == 0 || colon == std::string::npos) refuse("no `key: value`");
         const size_t value = line_.find_first_not_of(' ', colon + 1);
         vector.facts.emplace_back(line_.substr(0, colon),
                                   value == std::string::npos ? "" : line_.substr(value));
      }
      return vector;
   }

   void head(Vector& vector) {
      if (line_.compare(0, 2, "# ") != 0) refuse("no head line");
      const std::array<std::string*, 4> fields = {&vector.name, &vector.direction, &vector.what,
                                                  &vector.source};
      size_t begin = 2;
      for (std::string* field : fields) {
         const bool last = field == fields.back();
         const size_t end = last ? line_.size() : line_.find(" | ", begin);
         if (end == std::string::npos) refuse("fewer than four fields in a head line");
         *field = line_.substr(begin, end - begin);
         if (field->empty()) refuse("empty field in a head line");
         begin = end + 3;
      }
      if (vector.source.find(" | ") != std::string::npos) refuse("more than four fields in a head line");
      const std::array<std::string_view, 3> directions = {"ul", "dl", "either"};
      if (std::find(directions.begin(), directions.end(), vector.direction) == directions.end())
         refuse("direction is not ul, dl or either: " + vector.direction);
   }

   bool next() {
      if (!std::getline(file_, line_)) return false;
      ++number_;
      if (!line_.empty() && line_.back() == '\r') line_.pop_back();
      return true;
   }

   [[noreturn]] void refuse(const std::string& reason) const {
      throw std::runtime_error(path_ + ":" + std::to_string(number_) + ": " + reason);
   }

   std::string path_;
   std::ifstream file_;
   std::string line_;
   size_t number_ = 0;
   std::set<std::string> names_;
};

} // namespace detail

/** All vectors of a file, in its order. */
inline std::vector<Vector> loadVectors(const std::string& path) {
   return detail::VectorReader(path).read();
}

/** The PDU of a radio resource message: behind a pseudo length, or of its channel and direction. */
inline const char* radioPdu(const Vector& vector) {
   if (vector.octets.at(1) == 6) return "TS44018Msg_L2_PSEUDO_LEN_PDU";
   if (vector.octets[1] == 21) return "TS44018Msg_UL_SACCH_PDU";
   return vector.direction == "ul" ? "TS44018Msg_UL_DCCH_PDU" : "TS44018Msg_DL_DCCH_PDU";
}

/** The PDU that decodes a malformed message. */
inline const char* pduOf(const Vector& vector) {
   const std::string& family = vector.fact("family");
   if (family == "eps") return "TS24301Msg_PDU";
   if (family == "5gs") return "TS24501Msg_PDU";
   if (family == "l2-pseudo-length") return "TS44018Msg_L2_PSEUDO_LEN_PDU";
   return (vector.octets[0] & 15) == 9 ? "TS24011Msg_CP_PDU" : "TS24008Msg_PDU";
}

/** All NAS, SMS and radio vectors of a folder, each with the name of the PDU that decodes it. */
inline std::vector<std::pair<const char*, Vector>> messageVectors(const std::string& folder) {
   static const struct {
      const char *file, *type;
   } kFiles[] = {{"eps", "TS24301Msg_PDU"},     {"5gs", "TS24501Msg_PDU"},
                 {"ts24008", "TS24008Msg_PDU"}, {"ts24011", "TS24011Msg_CP_PDU"},
                 {"rr-ccch", nullptr},          {"rr-dcch", nullptr},
                 {"rr-sacch", nullptr}};
   std::vector<std::pair<const char*, Vector>> all;
   for (const auto& file : kFiles)
      for (Vector& vector : loadVectors(folder + "/" + file.file + ".txt"))
         all.emplace_back(file.type != nullptr ? file.type : radioPdu(vector), std::move(vector));
   return all;
}

} // namespace quorva::test

#endif
