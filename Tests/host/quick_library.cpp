/**
 * @file   quick_library.cpp
 * @brief  A library in which every export returns at once, whatever the arguments. Random command lines are tried with
 * it, so that a command that does not end is the host's fault.
 */
#include <algorithm>

#include "VelmoraIOLibraryFunctions.h"
#include "VelmoraLibrary.h"

#define QUICK_EXPORT(name) \
    extern "C" int name(VelmoraLibraryData data, mint count, MArgument* arguments, MArgument result)

namespace {

/** Checks the number of arguments, and returns a function of two numbers; if there is only one, the second is 0. */
template <typename Answer>
int answer(mint wanted, mint count, MArgument* arguments, MArgument result, Answer compute) {
    if (count != wanted) return LIBRARY_FUNCTION_ERROR;
    const auto number = [&](mint i) { return i < wanted ? static_cast<umint>(*arguments[i].integer) : 0; };
    *result.integer = static_cast<mint>(compute(number(0), number(1)));
    return LIBRARY_NO_ERROR;
}

umint pi(umint n, umint) {
    return n / 20;
}
umint in_range(umint a, umint b) {
    return b < a ? 0 : (b - a) / 20;
}
umint forward(umint n, umint k) {
    return n + 20 * k + 1;
}
umint back(umint n, umint k) {
    return n < 20 * k + 1 ? 0 : n - 20 * k - 1;
}

/** The numbers from `first` on, at most ten of them. */
int list(VelmoraLibraryData data, umint first, umint last, MArgument result) {
    const mint length = last < first ? 0 : static_cast<mint>(std::min<umint>(last - first + 1, 10));
    MTensor tensor = nullptr;
    if (const int code = data->MTensor_new(2, 1, &length, &tensor); code != LIBRARY_NO_ERROR) return code;
    mint* elements = data->MTensor_getIntegerData(tensor);
    for (mint i = 0; i < length; ++i) elements[i] = static_cast<int>(first + static_cast<umint>(i));
    *result.tensor = tensor;
    return LIBRARY_NO_ERROR;
}

char status[] = "Status";
char reported[] = "Result";

/** A task that is done before its submission returns. */
template <typename Add>
int finish(VelmoraLibraryData data, mint count, MArgument* arguments, Add add) {
    if (count != 2) return LIBRARY_FUNCTION_ERROR;
    VelmoraIOLibrary_Functions io = data->ioLibraryFunctions;
    if (io == nullptr) return LIBRARY_FUNCTION_ERROR;
    const mint task = *arguments[0].integer;
    DataStore progress = io->createDataStore();
    io->DataStore_addReal(progress, 50);
    io->raiseAsyncEvent(task, status, progress);
    DataStore store = io->createDataStore();
    add(io, store);
    io->raiseAsyncEvent(task, reported, store);
    io->removeAsynchronousTask(task);
    return LIBRARY_NO_ERROR;
}

}  // namespace

extern "C" mint VelmoraLibrary_getVersion() {
    return VelmoraLibraryVersion;
}

extern "C" int VelmoraLibrary_initialize(VelmoraLibraryData) {
    return LIBRARY_NO_ERROR;
}

#define QUICK_NUMBER(name, wanted, compute)                       \
    QUICK_EXPORT(name) {                                          \
        (void)data;                                               \
        return answer(wanted, count, arguments, result, compute); \
    }
QUICK_NUMBER(PrimeCount_PrimePi, 1, pi)
QUICK_NUMBER(PrimeCount_Prime, 1, forward)
QUICK_NUMBER(PrimeCount_Coprime, 2, in_range)
QUICK_NUMBER(PrimeCount_Meissel, 1, pi)
QUICK_NUMBER(PrimeCount_DelegliseRivat, 1, pi)
QUICK_NUMBER(PrimeCount_Legendre, 1, pi)
QUICK_NUMBER(PrimeCount_Lehmer, 1, pi)
QUICK_NUMBER(PrimeCount_LMO, 1, pi)
QUICK_NUMBER(PrimeCount_PrimeSieve, 1, pi)
QUICK_NUMBER(PrimeCount_SetThreads, 1, pi)
QUICK_NUMBER(PrimeSieve_NthPrime, 1, forward)
QUICK_NUMBER(PrimeSieve_CountPrimes, 2, in_range)
QUICK_NUMBER(PrimeSieve_CountTwins, 2, in_range)
QUICK_NUMBER(PrimeSieve_CountTriplets, 2, in_range)
QUICK_NUMBER(PrimeSieve_CountQuadruplets, 2, in_range)
QUICK_NUMBER(PrimeSieve_CountQuintuplets, 2, in_range)
QUICK_NUMBER(PrimeSieve_CountSextuplets, 2, in_range)
QUICK_NUMBER(PrimeSieve_NextPrime, 1, forward)
QUICK_NUMBER(PrimeSieve_PreviousPrime, 1, back)
QUICK_NUMBER(PrimeSieve_NextKthPrime, 2, forward)
QUICK_NUMBER(PrimeSieve_PreviousKthPrime, 2, back)
QUICK_NUMBER(PrimeSieve_PrimeSum, 1, pi)
QUICK_NUMBER(PrimeSieve_PrimeSumInterval, 2, in_range)

QUICK_EXPORT(PrimeSieve_ListPrimes) {
    if (count != 2) return LIBRARY_FUNCTION_ERROR;
    return list(data, static_cast<umint>(*arguments[0].integer), static_cast<umint>(*arguments[1].integer), result);
}

QUICK_EXPORT(PrimeSieve_ListNPrimes) {
    if (count != 1) return LIBRARY_FUNCTION_ERROR;
    return list(data, 2, static_cast<umint>(*arguments[0].integer), result);
}

QUICK_EXPORT(PrimeCount_ExprPrimePi) {
    if (count != 1) return LIBRARY_FUNCTION_ERROR;
    static char digits[] = "25";
    data->UTF8String_disown(*arguments[0].utf8string);
    *result.utf8string = digits;
    return LIBRARY_NO_ERROR;
}

QUICK_EXPORT(PrimeCount_GetThreads) {
    (void)data, (void)count, (void)arguments;
    *result.integer = 1;
    return LIBRARY_NO_ERROR;
}

QUICK_EXPORT(PrimeCount_CreateTask) {
    (void)count, (void)arguments;
    if (data->ioLibraryFunctions == nullptr) return LIBRARY_FUNCTION_ERROR;
    *result.integer = data->ioLibraryFunctions->createAsynchronousTaskWithoutThread();
    return LIBRARY_NO_ERROR;
}

QUICK_EXPORT(PrimeCount_StopTask) {
    (void)data, (void)count, (void)arguments, (void)result;
    return LIBRARY_NO_ERROR;
}

QUICK_EXPORT(PrimeCount_SubmitPrimePi) {
    (void)result;
    return finish(data, count, arguments,
                  [](VelmoraIOLibrary_Functions io, DataStore store) { io->DataStore_addInteger(store, 25); });
}

QUICK_EXPORT(PrimeCount_SubmitPrime) {
    (void)result;
    return finish(data, count, arguments,
                  [](VelmoraIOLibrary_Functions io, DataStore store) { io->DataStore_addInteger(store, 541); });
}

QUICK_EXPORT(PrimeCount_SubmitExprPrimePi) {
    (void)result;
    if (count == 2) data->UTF8String_disown(*arguments[1].utf8string);
    return finish(data, count, arguments, [](VelmoraIOLibrary_Functions io, DataStore store) {
        static char digits[] = "25";
        io->DataStore_addString(store, digits);
    });
}

QUICK_EXPORT(KESH_RT_PrimeQ) {
    (void)arguments, (void)result;
    if (count != 1) return LIBRARY_FUNCTION_ERROR;
    mint position = 1;
    return data->MTensor_getInteger(*arguments[0].tensor, &position, nullptr);
}

extern "C" mbool KESH_PrimeQ(const umint* limbs, mint, mbool* prime) {
    *prime = static_cast<mbool>(limbs[0] & 1);
    return 1;
}
