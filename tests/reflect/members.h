// What members.py tells of the records of the headers.
#ifndef QUORVA_TESTS_MEMBERS_H
#define QUORVA_TESTS_MEMBERS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CMember {
   const char *record, *path;
   const char* type; // "" without a name
   size_t offset, size;
   size_t entry; // size of one, of the entries of a list
} CMember;
extern const CMember cMembers[];
extern const size_t cMemberCount;

typedef struct CBit {
   const char *record, *path;
   size_t (*number)(void); // as in QuorvaField
} CBit;
extern const CBit cBits[];
extern const size_t cBitCount;

#ifdef __cplusplus
}
#endif

#endif
