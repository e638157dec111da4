/**
 * @file   export_table.cpp
 * @brief  The table of exports: arguments, results, errors, costs and examples of every export, and the names of kinds,
 *         families and error codes.
 */
#include "HostKit/export_table.h"

#include <algorithm>

#include "VelmoraLibrary.h"

namespace kesh_host {

namespace {

constexpr std::string_view count_error = "6 if the number of arguments is wrong";
constexpr std::string_view sieve_errors =
    "6 if the number of arguments is wrong; primesieve's exceptions pass through. A negative bound is taken as its "
    "64-bit pattern, 2^63 or more; if b is then far above a, the call takes very long";
constexpr std::string_view algorithm_errors =
    "6 if the number of arguments is wrong; primecount's exceptions pass through";
constexpr std::string_view submit_errors =
    "6 if the number of arguments is wrong (no thread is started then); a count that fails or is stopped raises "
    "\"Error\" with \"$Failed\"";
constexpr std::string_view formula_cost =
    "in theory O(n) divided by powers of log n; as measured from 10^11 to 10^14, about n^(3/4)";
constexpr std::string_view sieve_cost = "O((b - a) log log b) plus O(sqrt(b)) to start";

constexpr std::string_view pieces_stop =
    "the call itself cannot be stopped; kesh-host splits a long call into pieces, and Ctrl-C stops between two pieces";
constexpr std::string_view abort_stop =
    "the host's AbortQ, which is called up to 100 times a second; up to 0.5 s may pass between two of these calls at "
    "10^18, and up to 2.3 s at 2^63 - 1";
constexpr std::string_view callback_stop =
    "PrimeCount_StopTask on another thread; the request is noticed between two pieces of work, and then an exception "
    "leaves the export";
constexpr std::string_view phi_stop =
    "as for PrimeCount_LMO, but the first and longest part, phi(n, a), cannot be stopped: it takes up to half a minute "
    "at 10^15 and minutes from about 10^16 on (a count at 10^17 by Lehmer's formula ended 4.5 minutes after the "
    "request)";
constexpr std::string_view easy_leaves_stop =
    "as for PrimeCount_LMO, but a request during the easy leaves is noticed only at their end; they take two thirds of "
    "the time: 3 s at 10^15, 12 s at 10^16, minutes at 10^18";
constexpr std::string_view task_stop =
    "PrimeCount_StopTask while the task counts; the request is noticed as in the function that is named under cost; a "
    "queued task cannot be stopped";
constexpr std::string_view no_stop = "cannot be stopped";

Export range_count(std::string_view name, std::string_view what, std::string_view sentence,
                   std::string_view example_result) {
    return {.name = name,
            .family = Family::sieve,
            .parameters = {{"a", Kind::pattern, "first number of the range"},
                           {"b", Kind::pattern, "last number of the range"}},
            .result = Kind::pattern,
            .summary = what,
            .sentence = sentence,
            .errors = sieve_errors,
            .cost = sieve_cost,
            .stop = pieces_stop,
            .example = {"0", "10^6"},
            .example_result = example_result,
            .route = Route::range_pieces,
            .default_begin = "0"};
}

Export algorithm(std::string_view name, std::string_view summary, std::string_view cost, std::string_view stop) {
    return {.name = name,
            .family = Family::counting,
            .parameters = {{"n", Kind::integer, "upper end of the count"}},
            .result = Kind::integer,
            .summary = summary,
            .sentence = "There {r?is|are} {r} {r?prime|primes} up to {0}.",
            .errors = algorithm_errors,
            .cost = cost,
            .stop = stop,
            .example = {"10^9"},
            .example_result = "50847534",
            .route = Route::status};
}

std::vector<Export> make_table() {
    std::vector<Export> table;
    const auto add = [&](Export entry) { table.push_back(std::move(entry)); };

    add({.name = "VelmoraLibrary_getVersion",
         .family = Family::lifecycle,
         .parameters = {},
         .result = Kind::integer,
         .summary = "the version of the library-link interface for which the library is written",
         .sentence = "The library uses version {r} of the interface.",
         .errors = "none",
         .cost = "constant",
         .example = {},
         .example_result = "7"});
    add({.name = "VelmoraLibrary_initialize",
         .family = Family::lifecycle,
         .parameters = {},
         .result = Kind::none,
         .summary = "the host calls it once after loading; it keeps nothing",
         .sentence = "The library is initialised.",
         .errors = "none: always 0, also for a null table",
         .cost = "constant",
         .example = {},
         .example_result = ""});

    add({.name = "PrimeCount_PrimePi",
         .family = Family::counting,
         .parameters = {{"n", Kind::integer, "upper end of the count"}},
         .result = Kind::integer,
         .summary = "pi(n), the number of primes up to n",
         .sentence = "There {r?is|are} {r} {r?prime|primes} up to {0}.",
         .errors = "6 if the number of arguments is wrong, if the count fails, and if the host aborts it",
         .cost = "O(n^(2/3) / log^2 n)",
         .stop = abort_stop,
         .example = {"10^12"},
         .example_result = "37607912018",
         .route = Route::as_task,
         .task_form = "PrimeCount_SubmitPrimePi"});
    add({.name = "PrimeCount_Prime",
         .family = Family::counting,
         .parameters = {{"n", Kind::integer, "index of the prime, from 1"}},
         .result = Kind::integer,
         .summary = "the n-th prime",
         .sentence = "Prime number {0} is {r}.",
         .errors = "6 if the number of arguments is wrong, if n < 1 or n > 216289611853439384, and if the host aborts "
                   "the count",
         .cost = "O(n^(2/3))",
         .stop = abort_stop,
         .example = {"10^9"},
         .example_result = "22801763489",
         .route = Route::as_task,
         .task_form = "PrimeCount_SubmitPrime"});
    add({.name = "PrimeCount_ExprPrimePi",
         .family = Family::counting,
         .parameters = {{"x", Kind::text, "upper end of the count: an integer, or an expression such as 10^20"}},
         .result = Kind::text,
         .summary = "pi(x) for x up to 3.0258 10^31; x and the result are text",
         .sentence = "There {r?is|are} {r} {r?prime|primes} up to {0}.",
         .errors = "6 if the number of arguments is wrong, if the text is malformed, if x is above 3.0258 10^31 or too "
                   "large for the memory (10^29 is too large for 23 GiB), and if the host aborts the count",
         .cost = "O(x^(2/3) / log^2 x)",
         .stop = "as for PrimeCount_PrimePi; if x has more than 64 bits, up to 18 s may pass between two calls of "
                 "AbortQ at 10^20, and minutes from about 10^22 on",
         .example = {"1000000000000"},
         .example_result = "37607912018",
         .route = Route::as_task,
         .task_form = "PrimeCount_SubmitExprPrimePi"});
    add({.name = "PrimeCount_Coprime",
         .family = Family::counting,
         .parameters = {{"a", Kind::integer, "upper end of the count"},
                        {"b", Kind::integer, "how many of the first primes must not divide an integer"}},
         .result = Kind::integer,
         .summary = "phi(a, b), the number of integers from 1 to a that none of the first b primes divides",
         .sentence = "{r} {r?number|numbers} up to {0} {r?is|are} divisible by none of the first {1} {1?prime|primes}.",
         .errors = algorithm_errors,
         .cost = "grows fast with b if a is fixed",
         .stop = "cannot be stopped; takes minutes for a from about 10^16 on if b is large",
         .example = {"10^9", "100"},
         .example_result = "88905088",
         .route = Route::status});
    add(algorithm("PrimeCount_DelegliseRivat", "pi(n) by the algorithm of Deleglise and Rivat", "O(n^(2/3) / log^2 n)",
                  easy_leaves_stop));
    add(algorithm("PrimeCount_LMO", "pi(n) by the algorithm of Lagarias, Miller and Odlyzko", "O(n^(2/3) / log n)",
                  callback_stop));
    add(algorithm("PrimeCount_Lehmer", "pi(n) by Lehmer's formula", formula_cost, phi_stop));
    add(algorithm("PrimeCount_Meissel", "pi(n) by Meissel's formula", formula_cost, phi_stop));
    add(algorithm("PrimeCount_Legendre", "pi(n) by Legendre's formula", formula_cost,
                  "cannot be stopped: the whole count is phi(n, a), which takes half a minute at 10^15 and minutes "
                  "from about 10^16 on"));
    add(algorithm("PrimeCount_PrimeSieve", "pi(n) by sieving with primesieve", "O(n log log n)", callback_stop));
    add({.name = "PrimeCount_GetThreads",
         .family = Family::counting,
         .parameters = {},
         .result = Kind::integer,
         .summary = "the number of threads that a count uses",
         .sentence = "Counts use {r} {r?thread|threads}.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});
    add({.name = "PrimeCount_SetThreads",
         .family = Family::counting,
         .parameters = {{"n", Kind::integer, "number of threads; only its low 32 bits are used"}},
         .result = Kind::integer,
         .summary = "asks for n threads and returns the number of threads that counts will use",
         .sentence = "Counts now use {r} {r?thread|threads}.",
         .errors = count_error,
         .cost = "constant",
         .example = {"1"},
         .example_result = "1"});

    add({.name = "PrimeCount_CreateTask",
         .family = Family::tasks,
         .parameters = {},
         .result = Kind::task,
         .summary = "creates an asynchronous task, to which a count can be submitted",
         .sentence = "Task {r} is ready for a count.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});
    add({.name = "PrimeCount_SubmitPrimePi",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "an existing task, or 'new' to create one"},
                        {"n", Kind::integer, "upper end of the count"}},
         .result = Kind::none,
         .summary =
             "starts the count pi(n) as a task, which raises the events \"Status\", then \"Result\" or \"Error\"",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count takes as long as PrimeCount_PrimePi",
         .stop = task_stop,
         .example = {"new", "10^12"},
         .example_result = "37607912018"});
    add({.name = "PrimeCount_SubmitPrime",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "an existing task, or 'new' to create one"},
                        {"n", Kind::integer, "index of the prime, from 1"}},
         .result = Kind::none,
         .summary = "starts the search for the n-th prime as a task",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count takes as long as PrimeCount_Prime",
         .stop = task_stop,
         .example = {"new", "10^9"},
         .example_result = "22801763489"});
    add({.name = "PrimeCount_SubmitExprPrimePi",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "an existing task, or 'new' to create one"},
                        {"x", Kind::text, "upper end of the count: an integer, or an expression such as 10^20"}},
         .result = Kind::none,
         .summary = "starts the count pi(x) for x up to 3.0258 10^31 as a task; the result is a string of digits",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count takes as long as PrimeCount_ExprPrimePi",
         .stop = task_stop,
         .example = {"new", "1000000000000"},
         .example_result = "37607912018"});
    add({.name = "PrimeCount_StopTask",
         .family = Family::tasks,
         .parameters = {},
         .result = Kind::none,
         .summary = "stops the count that is running now; queued tasks are not affected",
         .sentence = "The running count, if there is one, has been asked to end.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});

    add(range_count("PrimeSieve_CountPrimes", "the number of primes in [a, b]",
                    "There {r?is|are} {r} {r?prime|primes} from {0} to {1}.", "78498"));
    add(range_count("PrimeSieve_CountTwins", "the number of prime twins (p, p+2) in [a, b]",
                    "There {r?is|are} {r} {r?pair|pairs} of twin primes from {0} to {1}.", "8169"));
    add(range_count("PrimeSieve_CountTriplets", "the number of prime triplets in [a, b]",
                    "There {r?is|are} {r} prime {r?triplet|triplets} from {0} to {1}.", "2837"));
    add(range_count("PrimeSieve_CountQuadruplets", "the number of prime quadruplets in [a, b]",
                    "There {r?is|are} {r} prime {r?quadruplet|quadruplets} from {0} to {1}.", "166"));
    add(range_count("PrimeSieve_CountQuintuplets", "the number of prime quintuplets in [a, b]",
                    "There {r?is|are} {r} prime {r?quintuplet|quintuplets} from {0} to {1}.", "65"));
    add(range_count("PrimeSieve_CountSextuplets", "the number of prime sextuplets in [a, b]",
                    "There {r?is|are} {r} prime {r?sextuplet|sextuplets} from {0} to {1}.", "5"));
    add({.name = "PrimeSieve_NthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::integer, "index of the prime, from 1"}},
         .result = Kind::pattern,
         .summary = "the n-th prime, found by sieving",
         .sentence = "Prime number {0} is {r}.",
         .errors = "6 if the number of arguments is wrong; primesieve's exceptions pass through (if n < 0 or the prime "
                   "is beyond 2^64)",
         .cost = "O(n log n log log n)",
         .stop = pieces_stop,
         .example = {"10^6"},
         .example_result = "15485863",
         .route = Route::nth_pieces});
    add({.name = "PrimeSieve_NextPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start; n itself is not included"}},
         .result = Kind::pattern,
         .summary = "the smallest prime above n",
         .sentence = "The next prime after {0} is {r}.",
         .errors = "6 if the number of arguments is wrong; the exception \"cannot generate primes > 2^64\" if there is "
                   "no such prime below 2^64",
         .cost = "O(sqrt(n)) to start; for a large n the command next-prime is faster",
         .example = {"2^40"},
         .example_result = "1099511627791"});
    add({.name = "PrimeSieve_PreviousPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start; n itself is not included"}},
         .result = Kind::pattern,
         .summary = "the largest prime below n; 0 if there is none",
         .sentence = "The last prime before {0} is {r}.",
         .errors = count_error,
         .cost = "O(sqrt(n)) to start; for a large n the command previous-prime is faster",
         .example = {"2^40"},
         .example_result = "1099511627689"});
    add({.name = "PrimeSieve_NextKthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start; n itself is not included"},
                        {"k", Kind::integer, "how many primes to go forward"}},
         .result = Kind::pattern,
         .summary = "the k-th prime after n",
         .sentence = "Prime number {1} after {0} is {r}.",
         .errors = "6 if the number of arguments is wrong; the exception \"cannot generate primes > 2^64\" if there is "
                   "no such prime below 2^64. For k <= 0 the result has no meaning",
         .cost = "O(k log n) plus O(sqrt(n)) to start",
         .stop = pieces_stop,
         .example = {"10^12", "1000"},
         .example_result = "1000000027577",
         .route = Route::walk_pieces});
    add({.name = "PrimeSieve_PreviousKthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start; n itself is not included"},
                        {"k", Kind::integer, "how many primes to go back"}},
         .result = Kind::pattern,
         .summary = "the k-th prime before n; 0 if there are fewer primes below n",
         .sentence = "Prime number {1} before {0} is {r}.",
         .errors = "6 if the number of arguments is wrong. For k <= 0 the result has no meaning",
         .cost = "O(k log n) plus O(sqrt(n)) to start",
         .stop = pieces_stop,
         .example = {"10^12", "1000"},
         .example_result = "999999972149",
         .route = Route::walk_pieces});
    add({.name = "PrimeSieve_PrimeSum",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "upper end, not included"}},
         .result = Kind::pattern,
         .summary = "the sum of the primes below n, modulo 2^64",
         .sentence = "The primes below {0} add up to {r}.",
         .errors = "6 if the number of arguments is wrong; a sum above 2^64 - 1 is reduced modulo 2^64",
         .cost = "O(n log log n), one thread",
         .stop = pieces_stop,
         .example = {"10^8"},
         .example_result = "279209790387276",
         .route = Route::sum_pieces});
    add({.name = "PrimeSieve_PrimeSumInterval",
         .family = Family::sieve,
         .parameters = {{"a", Kind::pattern, "first number of the range"},
                        {"b", Kind::pattern, "last number of the range"}},
         .result = Kind::pattern,
         .summary = "the sum of the primes in [a, b], modulo 2^64",
         .sentence = "The primes from {0} to {1} add up to {r}.",
         .errors = "6 if the number of arguments is wrong; a sum above 2^64 - 1 is reduced modulo 2^64. If a = 0 (a - "
                   "1 wraps to 2^64 - 1), or if b is from 2^64 - 59 to 2^64 - 2, the call passes the last 64-bit prime "
                   "and throws \"cannot generate primes > 2^64\"; if b = 2^64 - 1, or -1, b + 1 wraps to 0, and the "
                   "result is 0 for a up to 2^64 - 59",
         .cost = "O((b - a) log log b) plus O(sqrt(b)) to start, one thread",
         .stop = pieces_stop,
         .example = {"10^6", "2*10^6"},
         .example_result = "105363426899",
         .route = Route::sum_pieces,
         .default_begin = "1"});
    add({.name = "PrimeSieve_ListPrimes",
         .family = Family::sieve,
         .parameters = {{"a", Kind::pattern, "first number of the range"},
                        {"b", Kind::pattern, "last number of the range"}},
         .result = Kind::tensor,
         .summary = "the primes in [a, b] as a tensor; of primes above 2^31 - 1 it has the low 32 bits, with sign",
         .sentence = "{r} {r?prime|primes} from {0} to {1}.",
         .errors = "6 if the number of arguments is wrong; the code of MTensor_new if that fails; the exceptions "
                   "std::length_error or std::bad_alloc if the list does not fit into memory",
         .cost = "O((b - a) log log b); 12 bytes of memory per prime while it runs",
         .stop = no_stop,
         .example = {"100", "130"},
         .example_result = "{101, 103, 107, 109, 113, 127}",
         .default_begin = "0"});
    add({.name = "PrimeSieve_ListNPrimes",
         .family = Family::sieve,
         .parameters = {{"n", Kind::integer, "how many primes"}},
         .result = Kind::tensor,
         .summary = "the first n primes as a tensor",
         .sentence = "The first {0} {0?prime|primes}.",
         .errors = "6 if the number of arguments is wrong; the code of MTensor_new if that fails; the exception "
                   "std::length_error \"vector::reserve\" if n is negative",
         .cost = "O(n log n log log n); 12 bytes of memory per prime while it runs",
         .stop = no_stop,
         .example = {"10"},
         .example_result = "{2, 3, 5, 7, 11, 13, 17, 19, 23, 29}"});

    add({.name = "KESH_PrimeQ",
         .family = Family::primality,
         .parameters = {{"n", Kind::limbs, "unsigned integer of up to 1024 bits; more than one number is allowed"}},
         .result = Kind::boolean,
         .summary = "whether n is prime: proven up to 64 bits, by a Baillie-PSW test above",
         .sentence = "",
         .errors = "the C function returns 0 and writes nothing if the length is not 1 to 16 limbs",
         .cost = "O(bits^3) for a prime; most composites are found by trial division",
         .example = {"2^521-1"},
         .example_result = "prime"});
    add({.name = "KESH_RT_PrimeQ",
         .family = Family::primality,
         .parameters = {{"n", Kind::tensor, "limbs as {low, ..., high}, or an unsigned integer"}},
         .result = Kind::boolean,
         .summary =
             "cannot test a number: it calls KESH_PrimeQ without the limbs of its tensor; use KESH_PrimeQ instead",
         .sentence = "",
         .errors = "6 if the number of arguments is wrong; the code of MTensor_getInteger if that fails; 6 if that "
                   "leaves a length outside 1 to 16; otherwise the process crashes, because the limb pointer is null",
         .cost = "constant",
         .example = {"7"},
         .example_result = ""});
    return table;
}

}  // namespace

std::string_view kind_name(Kind kind) {
    switch (kind) {
        case Kind::none:
            return "nothing";
        case Kind::integer:
        case Kind::pattern:
            return "integer";
        case Kind::task:
            return "task id";
        case Kind::text:
            return "string";
        case Kind::tensor:
            return "tensor";
        case Kind::boolean:
            return "boolean";
        case Kind::limbs:
            return "limbs";
    }
    return "";
}

std::string_view family_title(Family family) {
    switch (family) {
        case Family::lifecycle:
            return "Lifecycle";
        case Family::counting:
            return "Prime counting";
        case Family::tasks:
            return "Prime counting as asynchronous tasks";
        case Family::sieve:
            return "Prime sieving";
        case Family::primality:
            return "Primality";
    }
    return "";
}

const std::vector<Export>& export_table() {
    // Never destroyed: other threads may still make calls while the process exits.
    static const auto& table = *new const std::vector<Export>(make_table());
    return table;
}

bool can_be_stopped(const Export& entry) {
    return !entry.stop.starts_with(no_stop);
}

const Export* find_export(std::string_view name) {
    const auto& table = export_table();
    const auto found =
        std::find_if(table.begin(), table.end(), [&](const Export& entry) { return entry.name == name; });
    return found == table.end() ? nullptr : &*found;
}

std::string usage_line(const Export& entry) {
    std::string line(entry.name);
    for (const Parameter& parameter : entry.parameters) line.append(" ").append(parameter.name);
    return line;
}

std::string_view error_name(int code) {
    switch (code) {
        case LIBRARY_NO_ERROR:
            return "LIBRARY_NO_ERROR";
        case LIBRARY_TYPE_ERROR:
            return "LIBRARY_TYPE_ERROR";
        case LIBRARY_RANK_ERROR:
            return "LIBRARY_RANK_ERROR";
        case LIBRARY_DIMENSION_ERROR:
            return "LIBRARY_DIMENSION_ERROR";
        case LIBRARY_NUMERICAL_ERROR:
            return "LIBRARY_NUMERICAL_ERROR";
        case LIBRARY_MEMORY_ERROR:
            return "LIBRARY_MEMORY_ERROR";
        case LIBRARY_FUNCTION_ERROR:
            return "LIBRARY_FUNCTION_ERROR";
        case LIBRARY_VERSION_ERROR:
            return "LIBRARY_VERSION_ERROR";
        default:
            return "not an error code of the host";
    }
}

}  // namespace kesh_host
