// The bits of messages and what they say.

#include "quorva/annotate.h"
#include "modules/records.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/TS24301IE.h"
#include "support/vectors.h"

using namespace quorva::test;
using quorva_test::Capture;

namespace {

struct Note {
   size_t offset, count;
   std::string path, kind, text, doc;
};

int take(void* user, const QuorvaNote* note) {
   static_cast<std::vector<Note>*>(user)->push_back(
         {note->bitOffset, note->bitCount, note->path, note->kind, note->text, note->doc});
   return 0;
}

std::vector<Note> notesOf(Capture& capture, const QuorvaType& type, Octets& octets, int* status = nullptr) {
   RtxContext* ctxt = &capture.ctxt;
   auto* list = static_cast<RtxDiagBitFieldList*>(rtxMemHeapAlloc(ctxt, sizeof(RtxDiagBitFieldList)));
   rtxDiagBitFieldListInit(ctxt, list);
   ctxt->bitFields = list;
   Room place(type, 0);
   const int result = decode(*ctxt, type, octets, place.get());
   if (status != nullptr) *status = result;
   std::vector<Note> notes;
   EXPECT_EQ(quorvaNotes(ctxt, &type, place.get(), take, &notes), 0);
   ctxt->bitFields = nullptr;
   return notes;
}

// The bits of a message, as the standard has them.
TEST(Annotate, TellsEachFieldOfAMessage) {
   Capture capture;
   Octets octets = octetsFromHex("0744035f0104a3");
   const struct {
      size_t offset, count;
      const char *path, *kind, *text, *doc;
   } expected[] = {
         {0, 4, "l3HdrOpts.skipInd", "INTEGER", "0",
          "Half octet ahead of the protocol discriminator, TS 24.007, 11.2.3.1"},
         {4, 4, "protoDiscr", "ENUMERATED", "epsMobMgmt", "Protocol discriminator, TS 24.007, 11.2.3.1.1"},
         {8, 8, "msgType", "INTEGER", "68",
          "EPS NAS message: mobility or session management, plain or protected, TS 24.301, 9.1"},
         {16, 8, "data.obj_AttachReject.emmCause", "ENUMERATED", "illegalUE",
          "EMM cause, TS 24.301, 9.9.3.9"},
         {24, 8, "data.obj_AttachReject.t3346Value", "IEI", "0x5f", "GPRS timer 2, TS 24.008, 10.5.7.4"},
         {32, 8, "data.obj_AttachReject.t3346Value.length", "INTEGER", "1",
          "GPRS timer 2, TS 24.008, 10.5.7.4"},
         {40, 3, "data.obj_AttachReject.t3346Value.value.unit", "INTEGER", "0",
          "GPRS timer, TS 24.008, 10.5.7.3"},
         {43, 5, "data.obj_AttachReject.t3346Value.value.timerValue", "INTEGER", "4",
          "GPRS timer, TS 24.008, 10.5.7.3"},
         {48, 4, "data.obj_AttachReject.extEMMCause", "IEI", "0x0a",
          "Extended EMM cause, TS 24.301, 9.9.3.26A"},
         {52, 1, "data.obj_AttachReject.extEMMCause.spare", "BOOLEAN", "false",
          "Extended EMM cause, TS 24.301, 9.9.3.26A"},
   };
   const auto notes = notesOf(capture, *quorvaFindType("TS24301Msg_PDU"), octets);
   ASSERT_EQ(notes.size(), 13u);
   for (size_t i = 0; i < std::size(expected); ++i) {
      SCOPED_TRACE(expected[i].path);
      EXPECT_EQ(notes[i].offset, expected[i].offset);
      EXPECT_EQ(notes[i].count, expected[i].count);
      EXPECT_EQ(notes[i].path, expected[i].path);
      EXPECT_EQ(notes[i].kind, expected[i].kind);
      EXPECT_EQ(notes[i].text, expected[i].text);
      EXPECT_EQ(notes[i].doc, expected[i].doc);
   }
}

// A type by itself bears its name in the trace, or none.
TEST(Annotate, TellsFieldsOfATypeByItself) {
   const struct {
      const char *type, *octets, *path, *text;
      size_t note;
   } cases[] = {
         {"TS24301Msg_AttachReject", "035f0104", "t3346Value", "0x5f", 1},
         {"TS24301IE_EMMCause", "03", "", "illegalUE", 0},
         {"TS24301IE_TrackingAreaIdentListItem", "2000f1100001", "elements.partTrkIdentList1.mcc_mnc",
          "{\"mcc\":\"001\",\"mnc\":\"01\"}", 3},
         {"TS24501Msg_PDU", "7e005b01", "data.obj_IdentityRequest5G.identity.typeOfIdent", "suci", 6},
   };
   for (const auto& c : cases) {
      SCOPED_TRACE(c.type);
      Capture capture;
      Octets octets = octetsFromHex(c.octets);
      const auto notes = notesOf(capture, *quorvaFindType(c.type), octets);
      ASSERT_GT(notes.size(), c.note);
      EXPECT_EQ(notes[c.note].path, c.path);
      EXPECT_EQ(notes[c.note].text, c.text);
   }
}

// Of every message: notes follow one another, leave little out, bear words with a clause, and say of numbers
// what their bits say.
TEST(Annotate, NotesOfAllMessagesFit) {
   size_t all = 0, covered = 0;
   for (auto& [name, vector] : messageVectors(QUORVA_TEST_DATA "/vectors")) {
      SCOPED_TRACE(vector.name);
      Capture capture;
      int status;
      size_t behind = 0;
      const auto notes = notesOf(capture, *quorvaFindType(name), vector.octets, &status);
      if (status == 0) all += vector.octets.size() * 8;
      for (const Note& note : notes) {
         SCOPED_TRACE(note.path);
         EXPECT_GE(note.offset, behind);
         behind = note.offset + note.count;
         EXPECT_LE(behind, vector.octets.size() * 8);
         if (status == 0) covered += note.count;
         EXPECT_NE(note.text, "");
         EXPECT_NE(note.doc.find(", TS "), std::string::npos) << note.doc;
         // Of a message type of TS 24.008 two bits are a sequence number.
         const bool digits = note.text.find_first_not_of("0123456789") == std::string::npos;
         if (note.kind != "INTEGER" || note.count > 32 || !digits || note.path == "msgType") continue;
         uint64_t number = 0;
         for (size_t bit = note.offset; bit < behind; ++bit)
            number = number << 1 | (vector.octets[bit / 8] >> (7 - bit % 8) & 1);
         EXPECT_EQ(note.text, std::to_string(number));
      }
   }
   EXPECT_GT(covered * 100, all * 94); // the padding of radio blocks is no field
}

TEST(Annotate, IsWrittenAsJson) {
   Capture capture;
   RtxContext* ctxt = &capture.ctxt;
   const QuorvaType& type = *quorvaFindType("TS24301IE_EMMCause");
   Octets octets = octetsFromHex("03");
   std::string text;
   const auto put = [](void* user, const char* piece, size_t size) {
      static_cast<std::string*>(user)->append(piece, size);
      return 0;
   };
   TS24301IE_EMMCause cause = 0;
   EXPECT_EQ(quorvaAnnotate(ctxt, &type, &cause, put, &text), RTX_E_NOT_INIT);
   RtxDiagBitFieldList list;
   rtxDiagBitFieldListInit(ctxt, &list);
   ctxt->bitFields = &list;
   ASSERT_EQ(decode(*ctxt, type, octets, &cause), 0);
   EXPECT_EQ(quorvaAnnotate(ctxt, &type, &cause, put, &text), 0);
   EXPECT_EQ(text, R"({"octets":"03","notes":[{"bit":0,"bits":8,"path":"","kind":"ENUMERATED",)"
                   R"("text":"illegalUE","doc":"EMM cause, TS 24.301, 9.9.3.9"}]})");
}

} // namespace
