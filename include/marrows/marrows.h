/*
 * marrows.h: the client interface of libmarrows.so, the local working store of a
 * product-data-management client. Plain C (C99 and later), usable from C++.
 *
 * Common rules of every export:
 *
 * - Results. Every function returns a signed 32-bit int, except the nyxError... readers, which
 *   return a record pointer, a text or nothing. 0 is success; any other value is the code of the
 *   error record that caused it. Most exports return the code on top of the error stack, so a
 *   record that an earlier call left there keeps showing until the client calls
 *   PDMErrorClearStack(). Codes: 101 internal failure, 102 not supported, 110 a required handle
 *   was null (arguments: the export's name and the kind of handle), and the codes of the
 *   operations behind the exports.
 *
 * - Parameters. The handle acted on comes first, then inputs, then output pointers. Booleans are
 *   int: outputs receive 0 or 1, inputs count as true when non-zero. Output pointers themselves
 *   are never tested; passing null for one is a client fault. Read an output only when the result
 *   is 0: on failure it holds a defined "nothing" value (null, 0 or the empty string), or, for
 *   some exports, whatever it held before.
 *
 * - Handles are the plain addresses of the library's objects. The library recognises a null
 *   handle and nothing else: a stale or wrong-kind handle is not detected. Handles of stored
 *   objects belong to the open database and are never released by the client; an LDBHandle is
 *   counted by PDMLDBConnect/PDMLDBCreate and PDMLDBDisconnect; a CursorHandle and a PairHandle
 *   belong to the client, which releases them with PDMCursorDelete and PDMStringPairDelete.
 *
 * - Returned strings are const char* that the client must never free. Each is either the text
 *   of a member of the object (valid until that member changes or the object goes; never null
 *   for a member that was never set, but the shared empty string) or a text from the library's
 *   ring of 32 computed texts (valid for the next 31 texts that the library computes).
 *
 * - Threads. The library keeps process-wide state without locks: at most one thread may be
 *   inside it at any time.
 */
#ifndef MARROWS_MARROWS_H
#define MARROWS_MARROWS_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "marrows_export.h"

#ifdef __cplusplus
#include "nyxmessagearg.h"
#endif

/* Compile-time checks of the record layouts; a negative array size where neither C11 nor C++11
 * offers a static assertion. */
#define MARROWS_CONCAT_(a, b) a##b
#define MARROWS_CONCAT(a, b) MARROWS_CONCAT_(a, b)
#if defined(__cplusplus) && __cplusplus >= 201103L
#define MARROWS_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#elif !defined(__cplusplus) && defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define MARROWS_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#else
#define MARROWS_STATIC_ASSERT(cond, msg) \
    typedef char MARROWS_CONCAT(marrows_static_assert_, __LINE__)[(cond) ? 1 : -1]
#endif

#if defined(__GNUC__)
#define MARROWS_ALIGN8 __attribute__((aligned(8)))
#else
#define MARROWS_ALIGN8
#endif

/* A one-byte boolean of the exported data: bool in C++, unsigned char in C. */
#ifdef __cplusplus
#define MARROWS_BYTE_BOOL bool
#else
#define MARROWS_BYTE_BOOL unsigned char
#endif

#ifdef __cplusplus
class btkMemMgr;
#else
struct btkMemMgr;
typedef struct btkMemMgr btkMemMgr;
#endif

#ifdef __cplusplus
extern "C" {
#endif

MARROWS_STATIC_ASSERT(sizeof(int) == 4, "results, booleans and counts are 32-bit ints");

/* ---------------------------------------------------------------------------------------------
 * Handles: one opaque pointer type per kind of object. Null stands for "no object".
 * ------------------------------------------------------------------------------------------- */

typedef struct PDMOpaqueLDB* LDBHandle;                   /* an open local database */
typedef struct PDMOpaqueLDBObject* LDBObjectHandle;       /* any stored object */
typedef struct PDMOpaqueWorkspace* WorkspaceHandle;       /* a workspace */
typedef struct PDMOpaqueWorkspaceState* WorkspaceStateHandle; /* one state of a workspace */
typedef struct PDMOpaqueWSPI* WSPIHandle;                 /* an item of a workspace */
typedef struct PDMOpaqueWSPIV* WSPIVHandle;               /* a version of an item */
typedef struct PDMOpaqueWSDependency* WSDependencyHandle; /* a dependency of a version */
typedef struct PDMOpaqueWSGIR* WSGIRHandle;               /* a generic-to-instance relation */
typedef struct PDMOpaqueWSLIL* WSLILHandle;               /* a library */
typedef struct PDMOpaqueWSLILV* WSLILVHandle;             /* a version of a library */
typedef struct PDMOpaqueWSPITypeDef* WSPITypeDefHandle;   /* an item type definition */
typedef struct PDMOpaqueCursor* CursorHandle;             /* client-owned: PDMCursorDelete */
typedef struct PDMOpaquePair* PairHandle;                 /* client-owned: PDMStringPairDelete */

/* One record of the error stack. Valid until it is popped. */
typedef struct nyxError nyxError;

/* ---------------------------------------------------------------------------------------------
 * Records that the client lays out.
 * ------------------------------------------------------------------------------------------- */

/* A time stamp: seconds since 1970-01-01 00:00:00 UTC, signed 32-bit. 0 also means "invalid". */
typedef int32_t PDMDateTime;

/* A broken-down time, read and written as UTC. */
typedef struct PDMDateTimeInfo {
    int32_t year;   /* the full year, e.g. 2001 */
    int32_t month;  /* 1 to 12 */
    int32_t day;    /* day of the month */
    int32_t hour;   /* 0 to 23 */
    int32_t minute; /* 0 to 59 */
    int32_t second; /* 0 to 59 */
} PDMDateTimeInfo;

/* Kinds of an attribute value. PDM_ATTR_OBJECT exists only at the PDMLDBObject... exports; the
 * item and dependency exports know kinds 0 to 5 and report any other kind as error 1113. */
enum PDMAttrKind {
    PDM_ATTR_NONE = 0,     /* not set; value is eight zero bytes when the library writes it */
    PDM_ATTR_INTEGER = 1,  /* value.i */
    PDM_ATTR_DOUBLE = 2,   /* value.d, all 64 bits kept, NaNs included */
    PDM_ATTR_BOOLEAN = 3,  /* value.b: written as 0 or 1, true when non-zero on input */
    PDM_ATTR_STRING = 4,   /* value.s; null on input stores an empty string */
    PDM_ATTR_DATETIME = 5, /* value.dt */
    PDM_ATTR_OBJECT = 6    /* value.obj */
};

/* An attribute value: 16 bytes. kind at offset 0, 4 reserved bytes that the library neither
 * reads nor writes, and an 8-byte payload at offset 8 (on 64-bit hosts it holds a pointer).
 * The record never owns anything: input texts are copied before the export returns; an output
 * text is either the stored text (PDMWSPIVGetAttribute, PDMWSPIGetCurrWSPIVAttribute: valid
 * until the attribute changes) or a ring text (PDMWSDependencyGetAttribute,
 * PDMLDBObjectGetLDBAttribute). Never free it. */
typedef struct PDMAttrValue {
    int32_t kind;     /* enum PDMAttrKind */
    int32_t reserved;
    union MARROWS_ALIGN8 {
        int32_t i;
        double d;
        int32_t b;
        const char* s;
        PDMDateTime dt;
        LDBObjectHandle obj;
    } value;
} PDMAttrValue;

/* Options and results of PDMLDBCompact: eleven 32-bit words. At least one of compact and trim
 * must be non-zero (else error 101). Words 3 to 10 are written by the job. */
typedef struct PDMLDBCompactOptions {
    int32_t compact;        /* in: non-zero rewrites the file without its dead space */
    int32_t trim;           /* in: non-zero first cuts the file to its used length */
    int32_t reserved2;      /* not touched */
    uint32_t topBefore;     /* out: used length of the store before the job */
    uint32_t reserved4;     /* out: 0 */
    uint32_t reserved5;     /* out: 0 */
    uint32_t reserved6;     /* out: 0 */
    uint32_t topAfter;      /* out: used length after the job; topBefore if no compaction ran */
    uint32_t reserved8;     /* out: 0 */
    uint32_t reserved9;     /* out: 0 */
    uint32_t recordsCopied; /* out: objects and blocks copied; 0 if no compaction ran */
} PDMLDBCompactOptions;

/* The plain form of one error record, filled by PDMErrorGetDetails. On LP64 there are 4 bytes of
 * padding before arguments (24 bytes in all; 16 on 32-bit hosts). arguments is null when
 * argumentCount is 0; the array belongs to the library and is valid until the next
 * PDMErrorGetDetails, its texts until the record is popped. */
typedef struct PDMErrorDetails {
    int32_t code;
    int32_t severity; /* NYX_SEVERITY_INFO, _WARNING or _FATAL as stored; anything else as _ERROR */
    int32_t argumentCount;
    const char** arguments;
} PDMErrorDetails;

MARROWS_STATIC_ASSERT(sizeof(PDMDateTime) == 4, "PDMDateTime is 32-bit");
MARROWS_STATIC_ASSERT(sizeof(PDMDateTimeInfo) == 24, "PDMDateTimeInfo is six 32-bit fields");
MARROWS_STATIC_ASSERT(sizeof(PDMAttrValue) == 16, "PDMAttrValue is 16 bytes");
MARROWS_STATIC_ASSERT(offsetof(PDMAttrValue, value) == 8, "PDMAttrValue payload at offset 8");
MARROWS_STATIC_ASSERT(sizeof(PDMLDBCompactOptions) == 44, "PDMLDBCompactOptions is 11 words");
MARROWS_STATIC_ASSERT(offsetof(PDMErrorDetails, arguments) == (sizeof(void*) == 8 ? 16 : 12),
                      "PDMErrorDetails arguments after three 32-bit fields");
MARROWS_STATIC_ASSERT(sizeof(PDMErrorDetails) == (sizeof(void*) == 8 ? 24 : 16),
                      "PDMErrorDetails is 24 bytes on LP64");

/* Originators and severities of error records. Every record that the library pushes has
 * originator NYX_MODULE_MFTOOLKIT and, as a rule, severity NYX_SEVERITY_ERROR; internal failures
 * (code 101) have NYX_SEVERITY_FATAL but stop nothing. The library's own sources have these
 * names as enumerations. */
#ifndef MARROWS_BUILDING_LIBRARY
#define NYX_MODULE_NONE 0
#define NYX_MODULE_MFTOOLKIT 1
#define NYX_MODULE_ORACLE 2
#define NYX_MODULE_MARROWFIN 3

#define NYX_SEVERITY_INFO 0
#define NYX_SEVERITY_WARNING 1
#define NYX_SEVERITY_ERROR 2
#define NYX_SEVERITY_FATAL 3
#endif

/* ---------------------------------------------------------------------------------------------
 * Library and database. PDMLDBConnect and PDMLDBCreate count one reference on success, and
 * PDMLDBDisconnect takes it away; the last one closes the store. Between transactions the file
 * is closed and unlocked; a transaction holds it locked from start to commit or abort.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMGetLibVersion(int* major, int* minor, int* patch); /* always 0 */
/* *compatible is 0 only for a file newer than the library (result 2404). version isn't read. */
MARROWS_API int PDMIsLDBCompatible(const char* path, const char* version, int* compatible);
MARROWS_API int PDMLDBCreate(const char* path, LDBHandle* ldb);
MARROWS_API int PDMLDBConnect(const char* path, LDBHandle* ldb);
MARROWS_API int PDMLDBDisconnect(LDBHandle ldb);
MARROWS_API int PDMLDBUpgrade(const char* path);
MARROWS_API int PDMLDBCompact(const char* path, PDMLDBCompactOptions* options);

MARROWS_API int PDMLDBGetPath(LDBHandle ldb, const char** path);
MARROWS_API int PDMLDBStartTransaction(LDBHandle ldb);
MARROWS_API int PDMLDBCommitTransaction(LDBHandle ldb);
MARROWS_API int PDMLDBAbortTransaction(LDBHandle ldb);
MARROWS_API int PDMIsLDBTransactionInProgress(LDBHandle ldb, int* inProgress);
/* *found is 1 if the check printed a finding on standard output. */
MARROWS_API int PDMLDBCheckIntegrity(LDBHandle ldb, int* found);
/* Not found is no error: *ws stays null. */
MARROWS_API int PDMLDBGetWorkspaceByName(LDBHandle ldb, const char* name, WorkspaceHandle* ws);
MARROWS_API int PDMLDBGetWorkspaces(LDBHandle ldb, CursorHandle* cursor);

/* Generic stored objects with open-ended attributes. Where an LDBObjectHandle is asked for, the
 * client may cast an LDBHandle (for the database's root attributes) or the handle of any stored
 * object, a WorkspaceHandle for instance. */
MARROWS_API int PDMLDBObjectCreate(LDBHandle ldb, const char* typeName, LDBObjectHandle* object);
MARROWS_API int PDMLDBObjectGetType(LDBObjectHandle object, const char** typeName); /* ring */
MARROWS_API int PDMLDBObjectGetLDBAttribute(LDBObjectHandle object, const char* name,
                                            PDMAttrValue* value);
/* Kind PDM_ATTR_NONE removes the attribute. */
MARROWS_API int PDMLDBObjectSetLDBAttribute(LDBObjectHandle object, const char* name,
                                            const PDMAttrValue* value);
/* Two-phase: call with names null to learn *count, then with an array of *count pointers. */
MARROWS_API int PDMLDBObjectGetLDBAttributeNames(LDBObjectHandle object, int* count,
                                                 const char** names);
MARROWS_API int PDMLDBGetAttrDefs(LDBHandle ldb, const char* typeName, CursorHandle* cursor);
MARROWS_API int PDMLDBAttrDefGetByName(LDBHandle ldb, const char* typeName, const char* name,
                                       LDBObjectHandle* attrDef);

/* ---------------------------------------------------------------------------------------------
 * Cursors and string pairs. A cursor yields one handle per PDMCursorGetNext and null at the
 * end; it has no count and no rewind. The client deletes every cursor it receives, and every
 * pair it creates. Deleting null is harmless.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMCursorGetNext(CursorHandle cursor, void** element);
MARROWS_API int PDMCursorDelete(CursorHandle cursor);
MARROWS_API int PDMStringPairCreate(const char* first, const char* second, PairHandle* pair);
/* which: 1 for the first text, 2 for the second. The text is valid until the pair is deleted. */
MARROWS_API int PDMStringPairGetString(PairHandle pair, int which, const char** text);
MARROWS_API int PDMStringPairDelete(PairHandle pair);

/* ---------------------------------------------------------------------------------------------
 * Workspaces and their states. Returned texts are member texts. List exports give a cursor.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMWorkspaceCreate(LDBHandle ldb, const char* name, const char* directory,
                                   const char* description, WorkspaceHandle* ws);
MARROWS_API int PDMWorkspaceDelete(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceGetLDB(WorkspaceHandle ws, LDBHandle* ldb);
MARROWS_API int PDMWorkspaceGetName(WorkspaceHandle ws, const char** name);
MARROWS_API int PDMWorkspaceGetPath(WorkspaceHandle ws, const char** path);
MARROWS_API int PDMWorkspaceGetDescription(WorkspaceHandle ws, const char** text);
MARROWS_API int PDMWorkspaceSetDescription(WorkspaceHandle ws, const char* text);
MARROWS_API int PDMWorkspaceGetUserDataId(WorkspaceHandle ws, int* id);
MARROWS_API int PDMWorkspaceSetUserDataId(WorkspaceHandle ws, int id);
MARROWS_API int PDMWorkspaceIsUnderIntegration(WorkspaceHandle ws, int* flag);
MARROWS_API int PDMWorkspaceSetUnderIntegration(WorkspaceHandle ws, int flag);
MARROWS_API int PDMWorkspaceCheckIntegrity(WorkspaceHandle ws, int* found);
/* An unknown typeName creates the item type definition first. */
MARROWS_API int PDMWorkspaceCreatePI(WorkspaceHandle ws, const char* name, const char* typeName,
                                     WSPIHandle* item);
MARROWS_API int PDMWorkspaceGetWSPIByName(WorkspaceHandle ws, const char* name, WSPIHandle* item);
MARROWS_API int PDMWorkspaceGetWSPIs(WorkspaceHandle ws, CursorHandle* cursor);
MARROWS_API int PDMWorkspaceGetModifiedWSPIs(WorkspaceHandle ws, CursorHandle* cursor);
MARROWS_API int PDMWorkspaceGetUnmodifiedWSPIs(WorkspaceHandle ws, CursorHandle* cursor);
MARROWS_API int PDMWorkspaceGetModifiedLILs(WorkspaceHandle ws, CursorHandle* cursor);
MARROWS_API int PDMWorkspaceCleanUnusedLPIs(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceCleanUnusedLPIs1(LDBHandle ldb, const char* workspaceName);

MARROWS_API int PDMWorkspaceCreateState(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceUndo(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceRedo(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceCanUndo(WorkspaceHandle ws, int* can);
MARROWS_API int PDMWorkspaceCanRedo(WorkspaceHandle ws, int* can);
MARROWS_API int PDMWorkspacePurge(WorkspaceHandle ws, int stateNumber);
MARROWS_API int PDMWorkspacePurgeRedoStack(WorkspaceHandle ws);
MARROWS_API int PDMWorkspaceRefocus(WorkspaceHandle ws, WSPIVHandle version);
MARROWS_API int PDMWorkspaceGetCurrentState(WorkspaceHandle ws, WorkspaceStateHandle* state);
MARROWS_API int PDMWorkspaceGetCurrentStateNumber(WorkspaceHandle ws, int* number);
MARROWS_API int PDMWorkspaceGetStateCount(WorkspaceHandle ws, int* count);
MARROWS_API int PDMWorkspaceGetAllStates(WorkspaceHandle ws, CursorHandle* cursor);
MARROWS_API int PDMWorkspaceGetCurrentStateUserDataId(WorkspaceHandle ws, int* id);
MARROWS_API int PDMWorkspaceSetCurrentStateUserDataId(WorkspaceHandle ws, int id);
/* Two-phase: *count always gets the number of states; ids, if not null, receives one id each. */
MARROWS_API int PDMWorkspaceGetAllStatesUserDataIds(WorkspaceHandle ws, int* count, int* ids);
MARROWS_API int PDMWorkspaceStateGetDescription(WorkspaceStateHandle state, const char** text);
MARROWS_API int PDMWorkspaceStateSetDescription(WorkspaceStateHandle state, const char* text);
MARROWS_API int PDMWorkspaceStateGetModifiedWSPIVs(WorkspaceStateHandle state,
                                                   CursorHandle* cursor);

/* Integration information: a set of (old name, new name) pairs kept with the workspace; their
 * order isn't kept. The array that PDMWorkspaceGetIntegrateInfo returns comes from malloc and is
 * released with free(); each pair in it is released with PDMStringPairDelete. */
MARROWS_API int PDMWorkspaceGetIntegrateInfo(WorkspaceHandle ws, PairHandle** pairs, int* count);
MARROWS_API int PDMWorkspaceStoreIntegrateInfo(WorkspaceHandle ws, PairHandle* pairs, int count);

/* ---------------------------------------------------------------------------------------------
 * Item versions. Texts are member texts unless marked "ring"; an unset text is the empty string.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMWSPIVGetName(WSPIVHandle version, const char** name);
MARROWS_API int PDMWSPIVGetTypeName(WSPIVHandle version, const char** typeName);
MARROWS_API int PDMWSPIVGetDescription(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetSourceBranchName(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetSourceRevision(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetSourceReleaseLevel(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetSourceFolder(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetTargetBranchName(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetTargetRevision(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetTargetReleaseLevel(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetTargetFolder(WSPIVHandle version, const char** text);
MARROWS_API int PDMWSPIVGetSourcePIVID(WSPIVHandle version, unsigned* id);
MARROWS_API int PDMWSPIVGetSourceVersion(WSPIVHandle version, unsigned* sourceVersion);
MARROWS_API int PDMWSPIVGetModCount(WSPIVHandle version, int* count);
MARROWS_API int PDMWSPIVGetUserDataId(WSPIVHandle version, int* id);
MARROWS_API int PDMWSPIVIsModified(WSPIVHandle version, int* modified);
MARROWS_API int PDMWSPIVIsInstance(WSPIVHandle version, int* isInstance);
MARROWS_API int PDMWSPIVHasInstance(WSPIVHandle version, int* hasInstance);
MARROWS_API int PDMWSPIVIsLibraryMember(WSPIVHandle version, int* isMember);
MARROWS_API int PDMWSPIVIsHoldFromSubmission(WSPIVHandle version, int* hold);
MARROWS_API int PDMWSPIVHasFile(WSPIVHandle version, int* hasFile);
MARROWS_API int PDMWSPIVFileIsModified(WSPIVHandle version, int* modified);
MARROWS_API int PDMWSPIVFileIsRepository(WSPIVHandle version, int* repository);
MARROWS_API int PDMWSPIVGetFileVersion(WSPIVHandle version, unsigned* fileVersion);
MARROWS_API int PDMWSPIVGetLIL(WSPIVHandle version, WSLILHandle* library);
MARROWS_API int PDMWSPIVGetGeneric(WSPIVHandle version, WSGIRHandle* relation);
MARROWS_API int PDMWSPIVGetTopGeneric(WSPIVHandle version, WSPIHandle* item);
MARROWS_API int PDMWSPIVGetWSPI(WSPIVHandle version, WSPIHandle* item);
MARROWS_API int PDMWSPIVGetOwner(WSPIVHandle version, WorkspaceHandle* ws);
/* Paths of the first local file, ring texts. They keep '|' as separator. */
MARROWS_API int PDMWSPIVGetPathForRead(WSPIVHandle version, const char** path);
MARROWS_API int PDMWSPIVGetPathForLocalize(WSPIVHandle version, const char** path);

/* A name never used as an attribute reads as PDM_ATTR_NONE with result 0. A string value points
 * into the stored value. */
MARROWS_API int PDMWSPIVGetAttribute(WSPIVHandle version, const char* name, PDMAttrValue* value);
MARROWS_API int PDMWSPIVIsAttributeSet(WSPIVHandle version, const char* name, int* set);
MARROWS_API int PDMWSPIVIsAttributeFileBased(WSPIVHandle version, const char* name, int* based);
MARROWS_API int PDMWSPIVIsAttributeModified(WSPIVHandle version, const char* name,
                                            int* modified);
/* Two-phase, as PDMLDBObjectGetLDBAttributeNames. */
MARROWS_API int PDMWSPIVGetAttributeNames(WSPIVHandle version, int* count, const char** names);
MARROWS_API int PDMWSPIVGetUnSetAttributeNames(WSPIVHandle version, int* count,
                                               const char** names);
MARROWS_API int PDMWSPIVGetDependencies(WSPIVHandle version, CursorHandle* cursor);
MARROWS_API int PDMWSPIVGetDependenciesToAsStoredChildName(WSPIVHandle version, const char* name,
                                                           CursorHandle* cursor);
/* Every filter is optional: null (or 0 for depType) leaves it out. */
MARROWS_API int PDMWSPIVSelectDependenciesToChildName(WSPIVHandle version, const char* childName,
                                                      const char* depClass, int depType,
                                                      const char* attrName,
                                                      const PDMAttrValue* attrValue,
                                                      CursorHandle* cursor);
MARROWS_API int PDMWSPIVGetGIRs(WSPIVHandle version, CursorHandle* cursor);
MARROWS_API int PDMWSPIVGetGIRsRecursive(WSPIVHandle version, CursorHandle* cursor);
MARROWS_API int PDMWSPIVSetHoldFromSubmission(WSPIVHandle version, int flag);
MARROWS_API int PDMWSPIVSetMarkedForCheckIn(WSPIVHandle version, int flag);

/* ---------------------------------------------------------------------------------------------
 * Items. The ...CurrWSPIV... exports act on the item's current version; on a deleted item they
 * report 110 naming the version export and "WSPIVHandle".
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMWSPIGetName(WSPIHandle item, const char** name);
MARROWS_API int PDMWSPIGetOwner(WSPIHandle item, WorkspaceHandle* ws);
MARROWS_API int PDMWSPIIsNew(WSPIHandle item, int* isNew);
MARROWS_API int PDMWSPIGetCurrWSPIV(WSPIHandle item, WSPIVHandle* version);
MARROWS_API int PDMWSPIGetWSPIVs(WSPIHandle item, CursorHandle* cursor);
MARROWS_API int PDMWSPIGetWhereUsed(WSPIHandle item, CursorHandle* cursor);
MARROWS_API int PDMWSPIDelete(WSPIHandle item);
MARROWS_API int PDMWSPIRename(WSPIHandle item, const char* name);
MARROWS_API int PDMWSPISetCurrentWSPIV(WSPIHandle item, WSPIVHandle version);
MARROWS_API int PDMWSPIMarkModifiedInLibrary(WSPIHandle item);
MARROWS_API int PDMWSPIAddInstance(WSPIHandle item, const char* name, const char* typeName,
                                   WSPIHandle* instance);
MARROWS_API int PDMWSPIAddCurrWSPIVFile(WSPIHandle item, const char** path); /* ring */
MARROWS_API int PDMWSPIDeleteCurrWSPIVFile(WSPIHandle item);
MARROWS_API int PDMWSPIGetCurrWSPIVPathForWrite(WSPIHandle item, const char** path); /* ring */
MARROWS_API int PDMWSPIGetCurrWSPIVSourcePIVID(WSPIHandle item, unsigned* id);
MARROWS_API int PDMWSPIAddCurrWSPIVDependency(WSPIHandle item, WSPIHandle child,
                                              const char* depClass, int depType,
                                              WSDependencyHandle* dependency);
MARROWS_API int PDMWSPIAddCurrWSPIVDependencyByChildName(WSPIHandle item, const char* childName,
                                                         const char* depClass, int depType,
                                                         WSDependencyHandle* dependency);
MARROWS_API int PDMWSPIDeleteCurrWSPIVDependency(WSPIHandle item, WSDependencyHandle dependency);
MARROWS_API int PDMWSPIDeleteCurrWSPIVDependencyKeepLPI(WSPIHandle item,
                                                        WSDependencyHandle dependency);
MARROWS_API int PDMWSPISetCurrWSPIVDepAsStoredChildName(WSPIHandle item,
                                                        WSDependencyHandle dependency,
                                                        const char* name);
MARROWS_API int PDMWSPIGetCurrWSPIVUserDataId(WSPIHandle item, int* id);
MARROWS_API int PDMWSPISetCurrWSPIVUserDataId(WSPIHandle item, int id);
MARROWS_API int PDMWSPIGetCurrWSPIVWorkspaceStatus(WSPIHandle item, int* status);
MARROWS_API int PDMWSPISetCurrWSPIVWorkspaceStatus(WSPIHandle item, int status);
MARROWS_API int PDMWSPIGetCurrWSPIVModificationStamp(WSPIHandle item, unsigned* stamp);
MARROWS_API int PDMWSPISetCurrWSPIVDescription(WSPIHandle item, const char* text);
MARROWS_API int PDMWSPISetCurrWSPIVTargetBranchName(WSPIHandle item, const char* text);
MARROWS_API int PDMWSPISetCurrWSPIVTargetRevision(WSPIHandle item, const char* text);
MARROWS_API int PDMWSPISetCurrWSPIVTargetReleaseLevel(WSPIHandle item, const char* text);
MARROWS_API int PDMWSPISetCurrWSPIVTargetFolder(WSPIHandle item, const char* text);

/* Attribute writers. An unknown name is defined on first use; a null value writes
 * PDM_ATTR_NONE. PDM_ATTR_OBJECT is refused with 1113. */
MARROWS_API int PDMWSPISetCurrWSPIVAttribute(WSPIHandle item, const char* name,
                                             const PDMAttrValue* value);
MARROWS_API int PDMWSPISetCurrWSPIVFileBasedAttribute(WSPIHandle item, const char* name,
                                                      const PDMAttrValue* value);
MARROWS_API int PDMWSPISetCurrWSPIVDBAttribute(WSPIHandle item, const char* name, int flag,
                                               const PDMAttrValue* value);
MARROWS_API int PDMWSPISetCurrWSPIVDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                           const char* name, const PDMAttrValue* value);
MARROWS_API int PDMWSPISetCurrWSPIVFileBasedDepAttr(WSPIHandle item,
                                                    WSDependencyHandle dependency,
                                                    const char* name, const PDMAttrValue* value);
MARROWS_API int PDMWSPISetCurrWSPIVDBDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                             const char* name, const PDMAttrValue* value);
MARROWS_API int PDMWSPIUnSetCurrWSPIVAttribute(WSPIHandle item, const char* name);
MARROWS_API int PDMWSPIUnSetCurrWSPIVDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                             const char* name);

/* The same as the PDMWSPIV... export of the same verb, on the current version. */
MARROWS_API int PDMWSPIGetCurrWSPIVAttribute(WSPIHandle item, const char* name,
                                             PDMAttrValue* value);
MARROWS_API int PDMWSPIGetCurrWSPIVAttributeNames(WSPIHandle item, int* count,
                                                  const char** names);
MARROWS_API int PDMWSPIGetCurrWSPIVUnSetAttrNames(WSPIHandle item, int* count,
                                                  const char** names);
MARROWS_API int PDMWSPIGetCurrWSPIVDependencies(WSPIHandle item, CursorHandle* cursor);
MARROWS_API int PDMWSPIGetCurrWSPIVDependenciesToAsStoredChildName(WSPIHandle item,
                                                                   const char* name,
                                                                   CursorHandle* cursor);
MARROWS_API int PDMWSPISelectCurrWSPIVDependenciesToChildName(WSPIHandle item,
                                                              const char* childName,
                                                              const char* depClass, int depType,
                                                              const char* attrName,
                                                              const PDMAttrValue* attrValue,
                                                              CursorHandle* cursor);
MARROWS_API int PDMWSPIGetCurrWSPIVName(WSPIHandle item, const char** name);
MARROWS_API int PDMWSPIGetCurrWSPIVTypeName(WSPIHandle item, const char** typeName);
MARROWS_API int PDMWSPIGetCurrWSPIVDescription(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVSourceBranchName(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVSourceRevision(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVSourceReleaseLevel(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVSourceFolder(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVTargetBranchName(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVTargetRevision(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVTargetReleaseLevel(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVTargetFolder(WSPIHandle item, const char** text);
MARROWS_API int PDMWSPIGetCurrWSPIVSourceVersion(WSPIHandle item, unsigned* sourceVersion);
MARROWS_API int PDMWSPIGetCurrWSPIVModCount(WSPIHandle item, int* count);
MARROWS_API int PDMWSPIGetCurrWSPIVFileVersion(WSPIHandle item, unsigned* fileVersion);
MARROWS_API int PDMWSPIGetCurrWSPIVLIL(WSPIHandle item, WSLILHandle* library);
MARROWS_API int PDMWSPIGetCurrWSPIVPathForRead(WSPIHandle item, const char** path);
MARROWS_API int PDMWSPIGetCurrWSPIVPathForLocalize(WSPIHandle item, const char** path);
MARROWS_API int PDMWSPIHasCurrWSPIVFile(WSPIHandle item, int* hasFile);
MARROWS_API int PDMWSPIHasCurrWSPIVInstance(WSPIHandle item, int* hasInstance);
MARROWS_API int PDMWSPIIsCurrWSPIVAttributeSet(WSPIHandle item, const char* name, int* set);
MARROWS_API int PDMWSPIIsCurrWSPIVAttributeFileBased(WSPIHandle item, const char* name,
                                                     int* based);
MARROWS_API int PDMWSPIIsCurrWSPIVAttributeModified(WSPIHandle item, const char* name,
                                                    int* modified);
MARROWS_API int PDMWSPIIsCurrWSPIVHoldFromSubmission(WSPIHandle item, int* hold);
MARROWS_API int PDMWSPIIsCurrWSPIVInstance(WSPIHandle item, int* isInstance);
MARROWS_API int PDMWSPIIsCurrWSPIVLibraryMember(WSPIHandle item, int* isMember);
MARROWS_API int PDMWSPIIsCurrWSPIVModified(WSPIHandle item, int* modified);
MARROWS_API int PDMWSPIIsCurrWSPIVFileModified(WSPIHandle item, int* modified);
MARROWS_API int PDMWSPIIsCurrWSPIVFileRepository(WSPIHandle item, int* repository);
MARROWS_API int PDMWSPISetCurrWSPIVHoldFromSubmission(WSPIHandle item, int flag);

/* Item type definitions. The texts are member texts; null when the call failed. */
MARROWS_API int PDMWSPITypeDefGetList(LDBHandle ldb, CursorHandle* cursor);
MARROWS_API int PDMWSPITypeDefGetName(WSPITypeDefHandle typeDef, const char** text);
MARROWS_API int PDMWSPITypeDefGetDescription(WSPITypeDefHandle typeDef, const char** text);
MARROWS_API int PDMWSPITypeDefGetEditor(WSPITypeDefHandle typeDef, const char** text);
MARROWS_API int PDMWSPITypeDefGetViewer(WSPITypeDefHandle typeDef, const char** text);
MARROWS_API int PDMWSPITypeDefGetDiscriminator(WSPITypeDefHandle typeDef, const char** text);

/* ---------------------------------------------------------------------------------------------
 * Libraries and their versions. The PDMWSLIL... exports that concern contents act on the
 * current library version. Paths are ring texts.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMWSLILGetName(WSLILHandle library, const char** name);
MARROWS_API int PDMWSLILIsNew(WSLILHandle library, int* isNew);
MARROWS_API int PDMWSLILGetCurrentLILV(WSLILHandle library, WSLILVHandle* version);
MARROWS_API int PDMWSLILGetTargetFolder(WSLILHandle library, const char** folder);
MARROWS_API int PDMWSLILSetTargetFolder(WSLILHandle library, const char* folder);
MARROWS_API int PDMWSLILGetPathForRead(WSLILHandle library, const char** path);
MARROWS_API int PDMWSLILGetPathForWrite(WSLILHandle library, const char** path);
MARROWS_API int PDMWSLILGetPathForLocalize(WSLILHandle library, const char** path);
MARROWS_API int PDMWSLILAddFile(WSLILHandle library, const char** path);
MARROWS_API int PDMWSLILDeleteFile(WSLILHandle library);
MARROWS_API int PDMWSLILRename(WSLILHandle library, const char* name);
MARROWS_API int PDMWSLILDeleteInstance(WSLILHandle library, WSPIHandle instance);
MARROWS_API int PDMWSLILExtractInstance(WSLILHandle library, WSPIHandle instance);
MARROWS_API int PDMWSLILDeleteWithMemberWSPIs(WSLILHandle library);

MARROWS_API int PDMWSLILVGetName(WSLILVHandle version, const char** name);
MARROWS_API int PDMWSLILVGetLIL(WSLILVHandle version, WSLILHandle* library);
MARROWS_API int PDMWSLILVGetSourceVersion(WSLILVHandle version, int* sourceVersion);
MARROWS_API int PDMWSLILVGetTargetFolder(WSLILVHandle version, const char** folder);
MARROWS_API int PDMWSLILVIsModified(WSLILVHandle version, int* modified);
MARROWS_API int PDMWSLILVHasFile(WSLILVHandle version, int* hasFile);
MARROWS_API int PDMWSLILVFileIsModified(WSLILVHandle version, int* flag);
MARROWS_API int PDMWSLILVFileIsRepository(WSLILVHandle version, int* flag);
MARROWS_API int PDMWSLILVGetFileVersion(WSLILVHandle version, unsigned* fileVersion);
MARROWS_API int PDMWSLILVGetPathForRead(WSLILVHandle version, const char** path);
MARROWS_API int PDMWSLILVGetWSPIs(WSLILVHandle version, CursorHandle* cursor);
/* Two-phase: *count always gets the number of ids; ids, if not null, receives them. */
MARROWS_API int PDMWSLILVGetRepositoryPIVIDs(WSLILVHandle version, int* count, unsigned* ids);
MARROWS_API int PDMWSLILVGetRemovedPIVIDs(WSLILVHandle version, int* count, unsigned* ids);

/* ---------------------------------------------------------------------------------------------
 * Dependencies (written through the item exports) and generic-to-instance relations. Texts are
 * member texts; null when the call failed.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMWSDependencyGetChildName(WSDependencyHandle dependency, const char** name);
MARROWS_API int PDMWSDependencyGetAsStoredChildName(WSDependencyHandle dependency,
                                                    const char** name);
MARROWS_API int PDMWSDependencyGetClass(WSDependencyHandle dependency, const char** depClass);
MARROWS_API int PDMWSDependencyGetType(WSDependencyHandle dependency, int* depType);
MARROWS_API int PDMWSDependencyGetParentPIV(WSDependencyHandle dependency, WSPIVHandle* version);
MARROWS_API int PDMWSDependencyIsChildInWS(WSDependencyHandle dependency, int* inWorkspace);
/* A string value is a ring text. */
MARROWS_API int PDMWSDependencyGetAttribute(WSDependencyHandle dependency, const char* name,
                                            PDMAttrValue* value);
MARROWS_API int PDMWSDependencyGetAttributeNames(WSDependencyHandle dependency, int* count,
                                                 const char** names);
MARROWS_API int PDMWSDependencyIsAttributeSet(WSDependencyHandle dependency, const char* name,
                                              int* set);
MARROWS_API int PDMWSDependencyIsAttributeFileBased(WSDependencyHandle dependency,
                                                    const char* name, int* based);

MARROWS_API int PDMWSGIRGetGenericPIVID(WSGIRHandle relation, unsigned* id);
MARROWS_API int PDMWSGIRGetInstancePIVID(WSGIRHandle relation, unsigned* id);
MARROWS_API int PDMWSGIRGetGenericWSPI(WSGIRHandle relation, WSPIHandle* item);
MARROWS_API int PDMWSGIRGetInstanceWSPI(WSGIRHandle relation, WSPIHandle* item);
MARROWS_API int PDMWSGIRGetAsStoredInstanceName(WSGIRHandle relation, const char** name);
MARROWS_API int PDMWSGIRSetAsStoredInstanceName(WSGIRHandle relation, const char* name);

/* ---------------------------------------------------------------------------------------------
 * Date and time. Conversions treat the broken-down form as UTC. Julian texts ("'day:seconds'")
 * are ring texts.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMDateTimeCreate(const PDMDateTimeInfo* info, PDMDateTime* value);
MARROWS_API int PDMDateTimeGetInfo(PDMDateTime value, PDMDateTimeInfo* info);
MARROWS_API int PDMDateTimeGetJulianString(PDMDateTime value, const char** text);
MARROWS_API int PDMDateTimeInfoGetJulianString(const PDMDateTimeInfo* info, const char** text);

/* ---------------------------------------------------------------------------------------------
 * The error stack: one process-wide stack of records, newest on top. Records stay until the
 * client removes them. A record pointer is valid until that record is popped; delete a cursor
 * from PDMErrorGetStack before popping.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMErrorClearStack(void);          /* always 0 */
MARROWS_API int PDMErrorDumpStack(FILE* stream);   /* null stream: stderr; always 0 */
/* A null error fills zeros; a null details does nothing. Always 0. */
MARROWS_API int PDMErrorGetDetails(nyxError* error, PDMErrorDetails* details);
/* A cursor over the records, newest first (null on an empty stack). Always 0. */
MARROWS_API int PDMErrorGetStack(CursorHandle* cursor);

/* Pushes a record with count text arguments, at most nine. Pass the texts as const char*, and
 * a null text as (const char*)0, never a bare 0. */
MARROWS_API nyxError* nyxErrorPush(int module, int code, int severity, int count, ...);
MARROWS_API nyxError* nyxErrorGetCurrent(void);
MARROWS_API nyxError* nyxErrorGetPrevious(nyxError* error);
MARROWS_API int nyxErrorGetErrorCode(nyxError* error);
MARROWS_API int nyxErrorGetOriginator(nyxError* error);
MARROWS_API int nyxErrorGetSeverity(nyxError* error);
/* The rendered message, owned by the record; null if none can be rendered. */
MARROWS_API const char* nyxErrorGetMessage(nyxError* error);
MARROWS_API int nyxErrorGetArgumentCount(nyxError* error);
/* The index-th argument text, 0-based; null out of range. Owned by the record. */
MARROWS_API const char* nyxErrorGetArgument(nyxError* error, int index);
/* Pops records down to and including error; a null or unknown error empties the stack. */
MARROWS_API void nyxErrorPop(nyxError* error);
MARROWS_API void nyxErrorClear(void);
MARROWS_API void nyxErrorDumpStack(FILE* stream); /* null stream: stderr */
MARROWS_API int nyxErrorPushOracleError(void);    /* does nothing, returns 0 */
MARROWS_API int nyxErrorPushSQLError(void);       /* does nothing, returns 0 */

/* ---------------------------------------------------------------------------------------------
 * Not supported. These touch nothing, push nothing and look at no argument. The first group
 * returns 102; the PDMWorkspaceLUF... group returns 101.
 * ------------------------------------------------------------------------------------------- */

MARROWS_API int PDMCAPIGetRegistry(void);
MARROWS_API int PDMLDBUserDataGetAllAttributeDefs(void);
MARROWS_API int PDMLDBUserDataSetAllAttributeDefs(void);
MARROWS_API int PDMLDBUserDataGetPIAthorization(void);
MARROWS_API int PDMLDBUserDataSetPIAthorization(void);
MARROWS_API int PDMLDBUserDataGetPICSStatus(void);
MARROWS_API int PDMLDBUserDataSetPICSStatus(void);
MARROWS_API int PDMLDBUserDataIsWSUnderIntegration(void);
MARROWS_API int PDMLDBUserDataSetWSUnderIntegration(void);
MARROWS_API int PDMLDBUserDataWSIntegrationGetNamePair(void);
MARROWS_API int PDMLDBUserDataWSIntegrationSetNamePair(void);
MARROWS_API int PDMUDAuthGetAuthType(void);
MARROWS_API int PDMUDAuthGetCheckOrNotFlag(void);
MARROWS_API int PDMUDAuthHasAuth(void);
MARROWS_API int PDMUDCSStatusGetLockType(void);
MARROWS_API int PDMUDCSStatusGetUserName(void);
MARROWS_API int PDMUDGenAVGetAttrValue(void);
MARROWS_API int PDMUDGenAVGetName(void);
MARROWS_API int PDMUDGenAVSetAttrValue(void);
MARROWS_API int PDMUDNamePairGetNewName(void);
MARROWS_API int PDMUDNamePairGetOldName(void);

/* Use PDMWorkspaceStateGetDescription, PDMWorkspaceStateGetModifiedWSPIVs and
 * PDMWorkspaceStateSetDescription instead. */
MARROWS_API int PDMWorkspaceLUFGetDescription(WorkspaceStateHandle state, const char** text);
MARROWS_API int PDMWorkspaceLUFGetModifiedWSPIVs(WorkspaceStateHandle state,
                                                 CursorHandle* cursor);
MARROWS_API int PDMWorkspaceLUFSetDescription(WorkspaceStateHandle state, const char* text);

/* ---------------------------------------------------------------------------------------------
 * Exported data of the base toolkit. The library reads only theCTState.noInteract and
 * s_bThreadingEnabled; the rest is kept for clients that expect the names.
 * ------------------------------------------------------------------------------------------- */

/* Set at load from the environment: a field is 1 when its variable exists (NOINTERACT, NOEXIT,
 * HARDMEMDEBUG). Set them in the environment before the process starts. */
struct baselibState {
    MARROWS_BYTE_BOOL noInteract;
    MARROWS_BYTE_BOOL noExit;
    MARROWS_BYTE_BOOL hardMemDebug;
};
MARROWS_STATIC_ASSERT(sizeof(struct baselibState) == 3, "three one-byte booleans");
MARROWS_API extern struct baselibState theCTState;

MARROWS_API extern uint32_t GCMemUsed; /* 0; never changed */

/* The allocators. pDefMemMgr is the plain heap (malloc/free); pBlkObjMemMgr is a pool and
 * pArrayMemMgr a buddy allocator, whose blocks are 8-byte aligned (the buddy's may be 4-byte
 * aligned for small alignment requests), less than max_align_t on x86-64. pStringMemMgr is the
 * same object as pArrayMemMgr. */
MARROWS_API extern btkMemMgr* pDefMemMgr;
MARROWS_API extern btkMemMgr* pBlkObjMemMgr;
MARROWS_API extern btkMemMgr* pArrayMemMgr;
MARROWS_API extern btkMemMgr* pStringMemMgr;

/* Off at load. Turning it on makes the toolkit's mutexes lock; the library itself stays
 * single-threaded. */
MARROWS_API extern MARROWS_BYTE_BOOL s_bThreadingEnabled;
MARROWS_API extern void* badThreadHandle;   /* null */
MARROWS_API extern int32_t badProcHandle;   /* 0 */
MARROWS_API extern void* badIOCtrlHandle;   /* all bits set: (void*)-1 */

/* "WIN32" and "i486_nt": the platform identity of the original toolkit, kept as data. */
MARROWS_API extern const char* MAR_OS_TYPE;
MARROWS_API extern const char* MAR_MACHINE_TYPE;

#ifdef __cplusplus
} /* extern "C" */

MARROWS_STATIC_ASSERT(sizeof(bool) == 1, "one-byte booleans in the exported data");

/* Class statics of the toolkit, exported under their C++ names. The library keeps only these
 * members of the classes; all are null or 0 and nothing in the library uses them. */
class btkOBSFunc;

class btkCSBuf {
public:
    MARROWS_API static char* emptyStringBuf; /* a narrow counted buffer; null */
};

class btkWSBuf {
public:
    MARROWS_API static wchar_t* emptyStringBuf; /* a wide counted buffer; null */
};

class btkMBStrFunc {
public:
    MARROWS_API static btkOBSFunc* mbsMode; /* null */
};

class btkEvent {
public:
    MARROWS_API static int32_t CurrentKind; /* 0 */
};
#endif /* __cplusplus */

#endif /* MARROWS_MARROWS_H */
