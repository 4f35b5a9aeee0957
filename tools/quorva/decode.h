// The command "decode".
#pragma once

#include "tools/quorva/headline.h"
#include "tools/quorva/input.h"
#include "tools/quorva/security.h"
#include "tools/quorva/session.h"

#include <optional>
#include <string>
#include <vector>

namespace quorva::tool {

struct DecodeOptions {
   std::string type; // name of the type to decode, or of a radio channel; empty: by each discriminator
   SecurityOptions security;
   bool status = false;            // show the status of good messages too
   bool quiet = false;             // show statuses only
   bool summary = false;           // a line a message
   bool trace = false;             // list the bits
   bool openRP = false;            // open SMS transfer down to the RP message
   bool json = false;              // an object a message, on a line of its own
   bool annotate = false;          // octets with their meaning, in place of the text
   std::vector<std::string> paths; // of fields: a column each, a line a message
   std::string htmlFile;           // page of the bits; empty: none
   std::string annotationFile;     // page of octets and fields that point at each other; empty: none

   bool lines() const { return json || !paths.empty(); }
};

// Decodes and prints messages, one after the other.
class Decoding {
public:
   explicit Decoding(const DecodeOptions& options) : options_(options), security_(options.security) {}

   // True if the message has status 0.
   bool decode(const Message& message);

private:
   struct Given;
   bool decode(const Given& given);
   std::optional<bool> decodeQuickly(const Given& given);
   bool decodeTraced(const Given& given);
   bool isMessage(const Given& given, Octets octets, int status);
   bool opens(const Given& given);
   static bool doubtsKey(const Given& given, const RtxContext* ctxt, int status);
   bool decodeInner(const Given& given, const struct InnerMessage& inner);
   void showHead(const Given& given, Octets octets, int status);
   void showEnd(const QuorvaType& type, const RtxContext* ctxt, size_t size);
   bool showsText() const { return !options_.quiet && !options_.summary && !options_.lines(); }
   void showLine(const Given& given, Octets octets, RtxContext* ctxt, const void* value, int status,
                 const struct Stop& stop);
   std::string nameOf(const Given& given, Octets octets);
   Direction directionOf(const Message& message) const;
   const QuorvaType* typeOf(const Message& message);
   bool writePage(const Given& given, RtxContext* ctxt);
   bool writeAnnotation(const Given& given, RtxContext* ctxt, const void* value);
   std::string pageName(const std::string& first, size_t number) const;

   const DecodeOptions& options_;
   Security security_;
   MessageNames names_;
   Headlines headlines_;
   std::optional<Session> session_;    // of messages that decode well
   std::optional<Session> collecting_; // the same of those whose text is collected
   const QuorvaType* type_ = nullptr;  // of the last message
   std::vector<uint8_t> copy_;
   size_t printed_ = 0;                 // messages
   size_t pages_ = 0, annotations_ = 0; // of HTML
};

} // namespace quorva::tool
