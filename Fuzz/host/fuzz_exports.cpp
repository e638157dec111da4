/**
 * @file   fuzz_exports.cpp
 * @brief  Every host export with any number of arguments and any values that keep the call short.
 *
 * A call must end in one of the ways that the arguments allow: code 6 for a wrong count, the host's code if the host
 * failed, an exception if the dependency throws, else code 0 and, up to a million, the result of a sieve of our own.
 * The result slot is written with code 0 only. Texts, tasks and limbs have fuzz targets of their own.
 */
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "breach.h"
#include "show.h"
#include "support/test_host.h"

namespace {

using kesh::test::Library;
using kesh::test::TestHost;
using kesh::test::unwritten;

void require(bool condition) {
    if (!condition) std::abort();
}

/** The expected result of a call with the right number of arguments; none if only the code is known. */
using Answer = std::optional<mint>;
using Arguments = std::vector<mint>;

/** The sieve below knows every result up to here. */
constexpr mint sieved = 1'000'000;

/** The primes up to a little above that, by the sieve of Eratosthenes. */
const std::vector<mint>& primes() {
    static const std::vector<mint> list = [] {
        constexpr size_t end = sieved + 1000;
        std::vector<bool> composite(end);
        std::vector<mint> found;
        for (size_t n = 2; n < end; ++n) {
            if (composite[n]) continue;
            found.push_back(static_cast<mint>(n));
            for (size_t m = n * n; m < end; m += n) composite[m] = true;
        }
        return found;
    }();
    return list;
}

bool in_sieve(const Arguments& arguments) {
    for (const mint n : arguments) {
        if (n < 0 || n > sieved) return false;
    }
    return true;
}

/** The number of primes below n. */
mint below(mint n) {
    return std::lower_bound(primes().begin(), primes().end(), n) - primes().begin();
}

mint prime(mint index) {
    return index < 1 ? 0 : primes().at(static_cast<size_t>(index - 1));
}

Answer count(const Arguments& n) {
    if (!in_sieve(n)) return {};
    return std::max<mint>(0, below(n[1] + 1) - below(n[0]));
}

/** The number of groups of primes p + d in the range, where d runs through one of the patterns. */
Answer groups(const Arguments& n, const std::vector<std::vector<mint>>& patterns) {
    if (!in_sieve(n)) return {};
    mint found = 0;
    for (mint i = below(n[0]); i < below(n[1] + 1); ++i) {
        for (const std::vector<mint>& pattern : patterns) {
            bool all = true;
            for (const mint d : pattern) {
                const mint member = prime(i + 1) + d;
                all = all && member <= n[1] && below(member + 1) > below(member);
            }
            found += all ? 1 : 0;
        }
    }
    return found;
}

Answer twins(const Arguments& n) {
    return groups(n, {{2}});
}
Answer triplets(const Arguments& n) {
    return groups(n, {{2, 6}, {4, 6}});
}
Answer quadruplets(const Arguments& n) {
    return groups(n, {{2, 6, 8}});
}
Answer quintuplets(const Arguments& n) {
    return groups(n, {{2, 6, 8, 12}, {4, 6, 10, 12}});
}
Answer sextuplets(const Arguments& n) {
    return groups(n, {{4, 6, 10, 12, 16}});
}

Answer prime_count(const Arguments& n) {
    if (n[0] > sieved) return {};
    return n[0] < 2 ? 0 : below(n[0] + 1);
}
Answer nth(const Arguments& n) {
    return prime(std::max<mint>(n[0], 1));  // primesieve takes the prime number 0 for the first
}
Answer next(const Arguments& n) {
    if (!in_sieve(n)) return {};
    return prime(below(n[0] + 1) + 1);
}
Answer previous(const Arguments& n) {
    if (!in_sieve(n)) return {};
    return prime(below(n[0]));
}
Answer kth_next(const Arguments& n) {
    if (!in_sieve(n) || n[1] < 1 || below(n[0] + 1) + n[1] > below(sieved)) return {};
    return prime(below(n[0] + 1) + n[1]);
}
Answer kth_previous(const Arguments& n) {
    if (!in_sieve(n) || n[1] < 1) return {};
    return prime(below(n[0]) - n[1] + 1);
}
Answer sum(const Arguments& n) {
    if (!in_sieve(n)) return {};
    return std::accumulate(primes().begin(), primes().begin() + below(n[0]), mint{0});
}
Answer interval_sum(const Arguments& n) {
    if (!in_sieve(n) || n[1] < n[0]) return {};
    return *sum({n[1] + 1}) - *sum({n[0]});
}
Answer coprime(const Arguments& n) {
    if (!in_sieve(n) || n[1] < 0) return {};
    mint left = 0;
    for (mint m = 1; m <= n[0] && n[0] <= 10'000; ++m) {
        bool free = true;
        for (mint i = 1; free && i <= n[1] && prime(i) <= m; ++i) free = m % prime(i) != 0;
        left += free ? 1 : 0;
    }
    return n[0] <= 10'000 ? Answer(left) : std::nullopt;
}
Answer unknown(const Arguments&) {
    return {};
}

struct Target {
    const char* name;
    /** -1: the export takes any number and reads none. */
    int count;
    enum { range, point, index } arguments;
    /** The largest first argument for which the call is short. */
    mint largest;
    Answer (*answer)(const Arguments&);
    /** Other values for which the call is quick, and whether they make it throw or fail. */
    std::vector<mint> edges = {};
    enum { answers, throws, fails } at_edges = answers;
};

constexpr mint trillion = 1'000'000'000'000;
constexpr mint billion = 1'000'000'000;
constexpr mint lowest = INT64_MIN;
constexpr mint highest = INT64_MAX;

const std::vector<Target>& targets() {
    static const std::vector<Target> list = {
        {"PrimeSieve_CountPrimes", 2, Target::range, trillion, count},
        {"PrimeSieve_CountTwins", 2, Target::range, trillion, twins},
        {"PrimeSieve_CountTriplets", 2, Target::range, trillion, triplets},
        {"PrimeSieve_CountQuadruplets", 2, Target::range, trillion, quadruplets},
        {"PrimeSieve_CountQuintuplets", 2, Target::range, trillion, quintuplets},
        {"PrimeSieve_CountSextuplets", 2, Target::range, trillion, sextuplets},
        {"PrimeSieve_NthPrime", 1, Target::point, 70'000, nth, {-1, lowest}, Target::throws},
        {"PrimeSieve_NextPrime", 1, Target::point, trillion, next},
        {"PrimeSieve_PreviousPrime", 1, Target::point, trillion, previous},
        {"PrimeSieve_NextKthPrime", 2, Target::index, trillion, kth_next},
        {"PrimeSieve_PreviousKthPrime", 2, Target::index, trillion, kth_previous},
        {"PrimeSieve_PrimeSum", 1, Target::point, sieved, sum},
        {"PrimeSieve_PrimeSumInterval", 2, Target::range, trillion, interval_sum},
        {"PrimeSieve_ListPrimes", 2, Target::range, trillion, count},
        {"PrimeSieve_ListNPrimes",
         1,
         Target::point,
         70'000,
         [](const Arguments& n) { return Answer(n[0]); },
         {-1, lowest},
         Target::throws},
        {"PrimeCount_PrimePi", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_Prime", 1, Target::point, 70'000, nth, {-1, 0, lowest, highest}, Target::fails},
        {"PrimeCount_Coprime", 2, Target::index, billion, coprime},
        {"PrimeCount_Meissel", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_DelegliseRivat", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_Legendre", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_Lehmer", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_LMO", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_PrimeSieve", 1, Target::point, billion, prime_count, {-1, lowest}},
        {"PrimeCount_GetThreads", -1, Target::point, highest, unknown},
        {"PrimeCount_SetThreads", 1, Target::point, highest, unknown, {-1, lowest, highest, (1LL << 32) + 3}},
        {"PrimeCount_CreateTask", -1, Target::point, highest, unknown},
        {"PrimeCount_StopTask", -1, Target::point, highest, unknown},
        // For these only the number of arguments is tested here.
        {"PrimeCount_ExprPrimePi", 1, Target::point, 0, unknown},
        {"PrimeCount_SubmitExprPrimePi", 2, Target::point, 0, unknown},
        {"PrimeCount_SubmitPrimePi", 2, Target::point, 0, unknown},
        {"PrimeCount_SubmitPrime", 2, Target::point, 0, unknown},
    };
    return list;
}

class Call {
  public:
    Call(FuzzedDataProvider& input, const Target& target)
        : input_(input), target_(target), name_(target.name), gives_tensor_(name_.starts_with("PrimeSieve_List")) {}

    void run() {
        host_.reset();
        choose_arguments();
        if (target_.largest == 0 && right_count()) return;
        const int fault = input_.ConsumeBool() ? input_.ConsumeIntegralInRange(0, 7) : 0;
        host_.fail("MTensor_new", fault);
        host_.abort = input_.ConsumeBool();
        show(fault);
        union {
            mint integer = unwritten;
            MTensor tensor;
        } slot;
        try {
            const int code = call(&slot.integer);
            if (!right_count()) return require(code == LIBRARY_FUNCTION_ERROR && slot.integer == unwritten);
            if (code != 0) require(slot.integer == unwritten);
            if (fails()) return require(code == LIBRARY_FUNCTION_ERROR);
            if (code == LIBRARY_FUNCTION_ERROR && may_be_aborted()) return;
            require(!throws());
            if (gives_tensor_) {
                require(code == fault);
                if (code == 0) check_list(slot.tensor->data());
                return;
            }
            require(code == 0 && (slot.integer == unwritten) == (name_ == "PrimeCount_StopTask"));
            if (const Answer answer = target_.answer(arguments_)) require(slot.integer == *answer);
        } catch (const std::exception&) {
            require(slot.integer == unwritten && right_count() && (throws() || may_be_aborted()));
        }
    }

  private:
    void choose_arguments() {
        const int given = input_.ConsumeBool() ? std::max(target_.count, 0) : input_.ConsumeIntegralInRange(0, 4);
        const bool far = input_.ConsumeBool();
        const mint most = far ? target_.largest : std::min(target_.largest, sieved);
        for (int i = 0; i < given; ++i) arguments_.push_back(input_.ConsumeIntegralInRange<mint>(0, most));
        if (right_count() && given == 1 && !target_.edges.empty() && input_.ConsumeBool()) {
            at_edge_ = true;
            arguments_[0] = target_.edges[input_.ConsumeIntegralInRange<size_t>(0, target_.edges.size() - 1)];
        }
        if (given != 2) return;
        if (target_.arguments == Target::index) arguments_[1] %= 1000;
        if (target_.arguments != Target::range) return;
        // The sum's own wrap at 0 would walk at the top of the 64-bit range for seconds.
        if (name_ == "PrimeSieve_PrimeSumInterval" && arguments_[0] == 0) arguments_[0] = 1;
        if (arguments_[1] > arguments_[0] + 100'000) arguments_[1] = arguments_[0] + arguments_[1] % 100'000;
    }

    void show(int fault) const {
        if (!kesh::fuzz::showing()) return;
        std::cout << name_;
        for (const mint n : arguments_) std::cout << ' ' << n;
        if (fault != 0) std::cout << ", MTensor_new returns " << fault;
        if (host_.abort != 0) std::cout << ", AbortQ returns 1";
        std::cout << std::endl;
    }

    int call(mint* storage) {
        std::vector<MArgument> slots(arguments_.size());
        for (size_t i = 0; i < slots.size(); ++i) slots[i].integer = &arguments_[i];
        MArgument result;
        result.integer = storage;
        return host_.announced(name_, std::nullopt, [&] {
            return Library::instance().get(name_)(host_.data(), static_cast<mint>(slots.size()), slots.data(), result);
        });
    }

    bool right_count() const {
        return target_.count < 0 || arguments_.size() == static_cast<size_t>(target_.count);
    }
    bool throws() const {
        return at_edge_ && target_.at_edges == Target::throws;
    }
    bool fails() const {
        return (at_edge_ || (name_ == "PrimeCount_Prime" && right_count() && arguments_[0] == 0)) &&
               target_.at_edges == Target::fails;
    }
    bool may_be_aborted() const {
        return host_.abort != 0 && name_.starts_with("PrimeCount_");
    }

    void check_list(std::span<const mint> list) const {
        const mint first = target_.arguments == Target::range ? below(arguments_[0]) : 0;
        if (const Answer length = target_.answer(arguments_)) {
            require(list.size() == static_cast<size_t>(*length));
            for (size_t i = 0; i < list.size(); ++i) require(list[i] == prime(first + static_cast<mint>(i) + 1));
        }
        // Larger primes keep their low 32 bits: these are odd too.
        for (const mint p : list) require(p == 2 || p % 2 != 0);
    }

    FuzzedDataProvider& input_;
    const Target& target_;
    const std::string name_;
    const bool gives_tensor_;
    TestHost& host_ = TestHost::instance();
    Arguments arguments_;
    bool at_edge_ = false;
};

/** The export that never gets its limbs: it returns the code of the host's element read, else 6. */
void call_with_tensor(FuzzedDataProvider& input) {
    TestHost::instance().reset();
    const int fault = input.ConsumeIntegralInRange(0, 7);
    TestHost::instance().fail("MTensor_getInteger", fault);
    std::vector<MArgument> slots(input.ConsumeIntegralInRange<size_t>(0, 3));
    kesh::fuzz::show("KESH_RT_PrimeQ with ", slots.size(), " tensors, MTensor_getInteger returns ", fault);
    MTensor tensor = nullptr;
    for (MArgument& slot : slots) slot.tensor = &tensor;
    mbool answer = -1;
    MArgument result;
    result.boolean = &answer;
    const auto test = Library::instance().get("KESH_RT_PrimeQ");
    const int code = test(TestHost::instance().data(), static_cast<mint>(slots.size()), slots.data(), result);
    // Without a fault the host reports that a null handle is no tensor.
    const int of_the_host = fault != 0 ? fault : LIBRARY_TYPE_ERROR;
    require(code == (slots.size() == 1 ? of_the_host : LIBRARY_FUNCTION_ERROR) && answer == -1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const auto choice = input.ConsumeIntegralInRange<size_t>(0, targets().size());
    if (choice == targets().size()) {
        call_with_tensor(input);
    } else {
        Call(input, targets()[choice]).run();
    }
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kesh::fuzz::end_at_a_breach();
    require(Library::instance().get<mint (*)()>("VelmoraLibrary_getVersion")() == VelmoraLibraryVersion);
    const auto initialize = Library::instance().get<int (*)(VelmoraLibraryData)>("VelmoraLibrary_initialize");
    require(initialize(TestHost::instance().data()) == LIBRARY_NO_ERROR);
    for (const Target& target : targets()) {
        const kesh_host::Export* entry = kesh_host::find_export(target.name);
        require(entry != nullptr && entry->parameters.size() == static_cast<size_t>(std::max(target.count, 0)));
    }
    return 0;
}
