/**
 * @file   fuzz_exports.cpp
 * @brief  Every export with any number of arguments and any values that keep the call short.
 *
 * Whatever comes back must be a documented code or an exception derived from std::exception, and the result slot may
 * be written only with code 0. The sanitizers watch the rest.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/test_host.h"

namespace {

using kesh::test::Library;
using kesh::test::TestHost;

void require(bool condition) {
    if (!condition) std::abort();
}

/** The exports with integer arguments, their counts, and how large the arguments may be for a call of milliseconds. */
struct Target {
    const char* name;
    int count;
    enum { range, point, index } arguments;
    mint largest;
};

constexpr mint trillion = 1'000'000'000'000;
constexpr Target targets[] = {
    {"PrimeSieve_NthPrime", 1, Target::point, 10'000},
    {"PrimeSieve_CountPrimes", 2, Target::range, trillion},
    {"PrimeSieve_CountTwins", 2, Target::range, trillion},
    {"PrimeSieve_CountTriplets", 2, Target::range, trillion},
    {"PrimeSieve_CountQuadruplets", 2, Target::range, trillion},
    {"PrimeSieve_CountQuintuplets", 2, Target::range, trillion},
    {"PrimeSieve_CountSextuplets", 2, Target::range, trillion},
    {"PrimeSieve_NextPrime", 1, Target::point, trillion},
    {"PrimeSieve_PreviousPrime", 1, Target::point, trillion},
    {"PrimeSieve_NextKthPrime", 2, Target::index, trillion},
    {"PrimeSieve_PreviousKthPrime", 2, Target::index, trillion},
    {"PrimeSieve_PrimeSum", 1, Target::point, 1'000'000},
    {"PrimeSieve_PrimeSumInterval", 2, Target::range, trillion},
    {"PrimeSieve_ListPrimes", 2, Target::range, trillion},
    {"PrimeSieve_ListNPrimes", 1, Target::point, 10'000},
    {"PrimeCount_PrimePi", 1, Target::point, 10'000'000},
    {"PrimeCount_Prime", 1, Target::point, 100'000},
    {"PrimeCount_Coprime", 2, Target::range, 1'000'000},
    {"PrimeCount_Meissel", 1, Target::point, 10'000'000},
    {"PrimeCount_DelegliseRivat", 1, Target::point, 10'000'000},
    {"PrimeCount_Legendre", 1, Target::point, 10'000'000},
    {"PrimeCount_Lehmer", 1, Target::point, 10'000'000},
    {"PrimeCount_LMO", 1, Target::point, 10'000'000},
    {"PrimeCount_PrimeSieve", 1, Target::point, 10'000'000},
    {"PrimeCount_GetThreads", -1, Target::point, 0},
    {"PrimeCount_SetThreads", 1, Target::point, 4},
    {"PrimeCount_CreateTask", -1, Target::point, 0},
    {"PrimeCount_StopTask", -1, Target::point, 0},
};

bool returns_tensor(const std::string& name) {
    return name == "PrimeSieve_ListPrimes" || name == "PrimeSieve_ListNPrimes";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    TestHost& host = TestHost::instance();
    host.reset();

    const Target& target = input.PickValueInArray(targets);
    const int given = input.ConsumeBool() ? std::max(target.count, 0) : input.ConsumeIntegralInRange(0, 4);
    std::vector<mint> arguments;
    for (int i = 0; i < given; ++i) arguments.push_back(input.ConsumeIntegralInRange<mint>(-1, target.largest));
    if (given == 2 && target.arguments == Target::range) {
        // Short ranges; and the sum's own wrap at 0 would walk at the top of the 64-bit range for seconds.
        if (std::string(target.name) == "PrimeSieve_PrimeSumInterval" && arguments[0] == 0) arguments[0] = 1;
        for (mint& argument : arguments) argument = std::max<mint>(argument, 0);
        if (arguments[1] > arguments[0] + 100'000) arguments[1] = arguments[0] + arguments[1] % 100'000;
    } else if (given >= 1 && std::string(target.name) != "PrimeSieve_ListNPrimes") {
        if (std::string(target.name).starts_with("PrimeSieve_")) arguments[0] = std::max<mint>(arguments[0], 0);
        if (given == 2) arguments[1] %= 1000;
    }
    if (input.ConsumeBool()) host.fail("MTensor_new", input.ConsumeIntegralInRange(0, 7));
    host.abort = input.ConsumeBool();

    std::vector<MArgument> slots(arguments.size());
    for (size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments[i];
    union {
        mint integer;
        MTensor tensor;
    } storage;
    storage.integer = kesh::test::unwritten;
    MArgument result;
    result.integer = &storage.integer;
    int code = -1;
    try {
        code = Library::instance().get(target.name)(host.data(), given, slots.data(), result);
    } catch (const std::exception&) {
        require(storage.integer == kesh::test::unwritten);
        return 0;
    }
    require(code >= 0 && code <= 7);
    if (code != 0) require(storage.integer == kesh::test::unwritten);
    if (target.count >= 0 && given != target.count) require(code == LIBRARY_FUNCTION_ERROR);
    if (code == 0 && returns_tensor(target.name)) {
        mint previous = 1;
        for (const mint prime : storage.tensor->data) {
            // Below 2^31 the list is what it says; above, elements are narrowed and nothing is known of their order.
            if (target.arguments == Target::range && arguments[1] > 2'147'483'647) break;
            require(prime > previous);
            previous = prime;
        }
    }
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    GTEST_FLAG_SET(break_on_failure, true);
    return 0;
}
