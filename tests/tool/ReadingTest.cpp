// What a reader gets beside the library's text: statuses in words, names of numbers, texts that can't lie.
#include "tool/program.h"

#include "support/vectors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using quorva_test::Folder;
using quorva_test::run;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

TEST(Status, ByNumberOrName) {
   for (const char* sought : {"-71", "71", "RTX_E_NO_SECURITY", "no_security"}) {
      const auto result = run(std::string("status ") + sought);
      EXPECT_EQ(result.code, 0) << sought;
      EXPECT_THAT(result.text, StartsWith("RTX_E_NO_SECURITY (-71)\n   A protected message")) << sought;
   }
   EXPECT_THAT(run("status").text,
               HasSubstr("   -67  RTX_E_BAD_IEI           complete           An unknown"));
   EXPECT_EQ(run("status 5").code, 1);
   // A report on neighbours that does not end where the results do.
   std::string results;
   for (int i = 0; i < 30; ++i) results += "2b";
   EXPECT_THAT(run("decode --sacch --uplink 0615" + results).text, HasSubstr("RTX_E_SIZE_MISMATCH (-101)"));
   EXPECT_THAT(run("status -101").text, HasSubstr("Record of a message: up to the failure."));
}

// Messages with a cause or a type that the record holds as a number.
struct Named {
   const char* arguments;
   const char* lines[2]; // of the text
};

constexpr Named kNamed[] = {
      {"074403", {"   msgType = 68 (Attach Reject)\n", "emmCause = illegalUE\n"}},
      {"7e00641b", {"   msgType = 100 (5GMM Status)\n", "cause = 27 (n1ModeNotAllowed)\n"}},
      {"2e0101d643", {"   msgType = 214 (5GSM Status)\n", "cause = 67 (insuffResourcesForSliceAndDNN)\n"}},
      {"08206f", {"   msgType = 32 (GMM Status)\n", "obj_GMMStatus = 111 (protocolErrUnspec)\n"}},
      {"0a551b", {"   msgType = 85 (SM Status)\n", "obj_SMStatus = 27 (missingOrUnknownAPN)\n"}},
      {"--type TS24008IE_SMCause2Value 0124", {"SMCause2Value = 36 (regularDeactivation)\n", ""}},
      {"832502e090", {"   msgType = 37 (Disconnect)\n", "causeValue = 16 (normalClearing)\n"}},
      // Mobility messages have their type in six bits; without a record they have a title all the same.
      {"0551", {"   msgType = 17 (Authentication Reject)\n", "obj_AuthenticationReject = <null>\n"}},
      {"891051", {"   msgType = 16 (CP-ERROR)\n", "value = 81 (invTransactionIdent)\n"}},
      {"--type TS24011Msg_RP_PDU 04010160",
       {"rpMsgType = 4 (rpErrorToNet)\n", "causeValue = 96 (invMandInfo)\n"}},
      {"060d00", {"   msgType = 13 (Channel Release)\n", "= 0 (normalEvent)\n"}},
      // A value that the standard does not have.
      {"7e0064fa", {"   msgType = 100 (5GMM Status)\n", "cause = 250\n"}}};

TEST(Names, StandBesideNumbersInTheText) {
   for (const Named& each : kNamed) {
      SCOPED_TRACE(each.arguments);
      const std::string text = run(std::string("decode ") + each.arguments).text;
      EXPECT_THAT(text, AllOf(HasSubstr(each.lines[0]), HasSubstr(each.lines[1])));
      // The library's own text has none.
      EXPECT_THAT(run(std::string("decode --raw ") + each.arguments).text, Not(HasSubstr(" (")));
   }
}

TEST(Names, AreInTheOtherViewsToo) {
   EXPECT_THAT(run("decode --trace 7e00641b").text,
               AllOf(HasSubstr("\nmsgType INTEGER = 100 (5GMM Status)\nbit offset: 16\t"),
                     HasSubstr("cause INTEGER = 27 (n1ModeNotAllowed)\nbit offset: 24\t")));
   EXPECT_THAT(run("decode --annotate 7e00641b").text, HasSubstr("cause = 27 (n1ModeNotAllowed)  -- 5GMM"));
   EXPECT_THAT(run("diff 7e00641b 7e006403").text,
               HasSubstr("+ data.obj_MMStatus5G.cause = 3 (illegalUE)\n"));
   const auto json = run("decode --json 7e00641b").text;
   EXPECT_THAT(json, HasSubstr(R"("meanings":{"msgType":"5GMM Status","data.obj_MMStatus5G.cause":)"
                               R"("n1ModeNotAllowed"},"record":{)"));
   // The record still has numbers, and goes back.
   EXPECT_THAT(json, HasSubstr(R"({"cause":27})"));
   const Folder folder;
   EXPECT_EQ(run("encode " + folder.write("message.json", json)).text, "7e00641b\n");
   EXPECT_THAT(run("explain TS24501IE_MMCause").text, HasSubstr("\n27     n1ModeNotAllowed\n"));
   EXPECT_THAT(run("explain TS24008IE_Cause").text,
               HasSubstr("\ncauseValue\nValue  Name\n1      unassigned"));
   EXPECT_THAT(run("explain TS24301Msg_PDU").text, HasSubstr("obj_DetachAccept              -               "
                                                             "          Detach Accept\n"));
}

// An access point name of these characters.
std::string messageWith(const std::string& text) {
   const std::vector<uint8_t> head = {
         0x02, 0x01, 0xDA, 0x28, static_cast<uint8_t>(text.size() + 1), static_cast<uint8_t>(text.size())};
   return quorva::test::hexFromOctets(head) + quorva::test::hexFromOctets({text.begin(), text.end()});
}

TEST(Texts, CannotPassForLinesOrSteerATerminal) {
   const std::string name = "accessPointName = ";
   const std::string forged = messageWith("x'\n   imsi = '001010000000001");
   const auto text = run("decode " + forged).text;
   EXPECT_THAT(text, HasSubstr(name + R"('x\'\n   imsi = \'001010000000001')" + "\n"));
   EXPECT_THAT(text, Not(HasSubstr("\n   imsi")));
   EXPECT_THAT(run("decode --raw " + forged).text, HasSubstr(name + "'x'\n   imsi = '001010000000001'\n"));
   EXPECT_EQ(run("decode --get '**.accessPointName' --get msgType " + forged).text,
             "x'\\n   imsi = '001010000000001\t218\n");
   EXPECT_THAT(run("diff 0201da2803026162 " + forged).text,
               EndsWith(name + R"(x'\n   imsi = '001010000000001)"
                               "\n"));
   // Control characters, in UTF-8 too; a change of direction; what is no UTF-8; letters stay.
   const std::string odd = messageWith("\x1B]0;\x07\xC2\x9B"
                                       "\xE2\x80\xAE\xE9\\\t\xC3\xA9");
   constexpr char kShown[] = R"(\x1b]0;\x07\u009b\u202e\xe9\\\té)";
   EXPECT_THAT(run("decode " + odd).text, HasSubstr(name + "'" + kShown + "'\n"));
   EXPECT_EQ(run("decode --get '**.accessPointName' " + odd).text, std::string(kShown) + "\n");
   EXPECT_THAT(run("decode --annotate " + odd).text, Not(HasSubstr("\x1B")));
   // Characters of a page's listing.
   const Folder folder;
   EXPECT_EQ(run("decode --quiet --html " + folder.file("page.html") + " " + messageWith("<!--&")).code, 0);
   EXPECT_THAT(Folder::read(folder.file("page.html")), AllOf(HasSubstr("&lt;!"), Not(HasSubstr("<!-"))));
}

// Ciphered messages with an integrity key alone, and with a wrong ciphering key.
TEST(Ciphered, IsNotTakenForPlain) {
   size_t seen = 0;
   for (const auto& vector : quorva::test::loadVectors(QUORVA_TEST_DATA "/vectors/nas-security.txt")) {
      if (!vector.has("plain") || vector.number("cipher-algorithm") != 2 || seen == 4) continue;
      SCOPED_TRACE(vector.name);
      ++seen;
      const std::string letter = vector.fact("family") == "5gs" ? "n" : "e";
      const auto decode = [&](const std::string& integrityKey, const std::string& more) {
         return run("decode --" + letter + "ia2 " + integrityKey + " --count " + vector.fact("count") +
                    (vector.number("direction") == 0 ? " --uplink" : "") + " --bearer " +
                    vector.fact("bearer") + more + " " + quorva::test::hexFromOctets(vector.octets));
      };
      const std::string advice = "ciphered; give --" + letter + "ea2 or --" + letter + "ea0\n";
      const auto result = decode(vector.fact("integrity-key"), "");
      EXPECT_EQ(result.code, 1);
      EXPECT_THAT(result.text,
                  AllOf(StartsWith("   MAC right, COUNT "), HasSubstr(advice), Not(HasSubstr("msgType"))));
      const std::string wrong(32, '1');
      EXPECT_THAT(decode(wrong, "").text, AllOf(StartsWith("   MAC wrong, COUNT "), HasSubstr(advice)));
      const auto doubtful = decode(vector.fact("integrity-key"), " --" + letter + "ea2 " + wrong).text;
      if (doubtful.find("\nstatus: RTX_E_BAD_CHOICE") != std::string::npos)
         EXPECT_THAT(doubtful, StartsWith("   MAC right, ciphering key doubtful\n"));
      else
         EXPECT_THAT(doubtful, Not(HasSubstr("status: RTX_E_BAD_CHOICE")));
   }
   EXPECT_EQ(seen, 4u);
}

} // namespace
