/**
 * @file   VelmoraLibrary.h
 * @brief  The host's library-link interface, version 7: scalar and handle types, the argument slot, the error
 *         codes and the callback table that the host passes to every exported function.
 *
 * This folder replaces the host's include directory. The host passes pointers to its own tables, and a library reads
 * their slots by position. So the order of the members below is a binary contract; the assertions at the end check it.
 * The header is valid C and C++.
 */
#ifndef VELMORA_LIBRARY_H
#define VELMORA_LIBRARY_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int64_t mint;
typedef uint64_t umint;
typedef int mbool;
typedef double mreal;
typedef struct mcomplex {
    mreal ri[2];
} mcomplex;
typedef int type_t;
typedef int errcode_t;

typedef struct st_MTensor* MTensor;
typedef struct st_MNumericArray* MNumericArray;
typedef struct st_MRawArray* MRawArray;
typedef struct st_MSparseArray* MSparseArray;
typedef struct st_MImage* MImage;
typedef struct st_DataStore* DataStore;
typedef struct st_DataStoreNode* DataStoreNode;

typedef struct st_VelmoraLibraryData* VelmoraLibraryData;
typedef struct st_VelmoraIOLibrary_Functions* VelmoraIOLibrary_Functions;

/** One argument or result slot: each member points to host-owned storage of one value of its kind. */
typedef union {
    mbool* boolean;
    mint* integer;
    mreal* real;
    mcomplex* cmplex;
    MTensor* tensor;
    MSparseArray* sparse;
    MNumericArray* numeric;
    MImage* image;
    char** utf8string;
} MArgument;

enum {
    LIBRARY_NO_ERROR = 0,
    LIBRARY_TYPE_ERROR = 1,
    LIBRARY_RANK_ERROR = 2,
    LIBRARY_DIMENSION_ERROR = 3,
    LIBRARY_NUMERICAL_ERROR = 4,
    LIBRARY_MEMORY_ERROR = 5,
    LIBRARY_FUNCTION_ERROR = 6,
    LIBRARY_VERSION_ERROR = 7
};

/** Element type code of an integer tensor (`MTensor_new`). */
enum { MType_Integer = 2 };

/** The version of the interface that this header describes. */
enum { VelmoraLibraryVersion = 7 };

struct st_VelmoraRuntimeData;
struct st_VelmoraCompileLibrary_Functions;
typedef struct st_VelmoraLink* VelmoraLink;

/** The host's callback table. Slots after `ioLibraryFunctions` exist in the host and are not declared here. */
struct st_VelmoraLibraryData {
    void (*UTF8String_disown)(char*);

    int (*MTensor_new)(mint type, mint rank, const mint* dims, MTensor* out);
    void (*MTensor_free)(MTensor);
    int (*MTensor_clone)(MTensor, MTensor*);
    mint (*MTensor_shareCount)(MTensor);
    void (*MTensor_disown)(MTensor);
    void (*MTensor_disownAll)(MTensor);
    int (*MTensor_setInteger)(MTensor, mint* pos, mint value);
    int (*MTensor_setReal)(MTensor, mint* pos, mreal value);
    int (*MTensor_setComplex)(MTensor, mint* pos, mcomplex value);
    int (*MTensor_setMTensor)(MTensor, MTensor, mint* pos, mint level);
    int (*MTensor_getInteger)(MTensor, mint* pos, mint* out);
    int (*MTensor_getReal)(MTensor, mint* pos, mreal* out);
    int (*MTensor_getComplex)(MTensor, mint* pos, mcomplex* out);
    int (*MTensor_getMTensor)(MTensor, mint* pos, mint level, MTensor* out);
    mint (*MTensor_getRank)(MTensor);
    const mint* (*MTensor_getDimensions)(MTensor);
    mint (*MTensor_getType)(MTensor);
    mint (*MTensor_getFlattenedLength)(MTensor);
    mint* (*MTensor_getIntegerData)(MTensor);
    mreal* (*MTensor_getRealData)(MTensor);
    mcomplex* (*MTensor_getComplexData)(MTensor);

    void (*Message)(const char*);
    mint (*AbortQ)(void);

    VelmoraLink (*getLink)(VelmoraLibraryData);
    int (*processLink)(VelmoraLink);
    int (*evaluateExpression)(VelmoraLibraryData, char*, int, mint, void*);

    struct st_VelmoraRuntimeData* runtimeData;
    struct st_VelmoraCompileLibrary_Functions* compileLibraryFunctions;
    mint VersionNumber;

    mbool (*registerInputStreamMethod)(const char*, void*, void*, void*, void*, void*);
    mbool (*unregisterInputStreamMethod)(const char*);
    mbool (*registerOutputStreamMethod)(const char*, void*, void*, void*, void*, void*);
    mbool (*unregisterOutputStreamMethod)(const char*);

    VelmoraIOLibrary_Functions ioLibraryFunctions;
};

#ifdef __cplusplus
}

static_assert(sizeof(mint) == 8 && sizeof(umint) == 8 && sizeof(mbool) == 4 && sizeof(mreal) == 8);
static_assert(sizeof(MArgument) == 8);
// Slot k of the table is at offset 8 (k - 1).
static_assert(offsetof(st_VelmoraLibraryData, UTF8String_disown) == 0);
static_assert(offsetof(st_VelmoraLibraryData, MTensor_new) == 8);
static_assert(offsetof(st_VelmoraLibraryData, MTensor_getInteger) == 88);
static_assert(offsetof(st_VelmoraLibraryData, MTensor_getIntegerData) == 152);
static_assert(offsetof(st_VelmoraLibraryData, AbortQ) == 184);
static_assert(offsetof(st_VelmoraLibraryData, VersionNumber) == 232);
static_assert(offsetof(st_VelmoraLibraryData, ioLibraryFunctions) == 272);
static_assert(sizeof(st_VelmoraLibraryData) == 280);
#endif

#endif
