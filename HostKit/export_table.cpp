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

constexpr std::string_view count_error = "6 on a wrong number of arguments";
constexpr std::string_view sieve_errors =
    "6 on a wrong number of arguments; primesieve's exceptions pass through. A negative bound is taken as its 64-bit "
    "pattern, 2^63 or more; where b is far above a that starts a very long count";
constexpr std::string_view algorithm_errors = "6 on a wrong number of arguments; primecount's exceptions pass through";
constexpr std::string_view submit_errors =
    "6 on a wrong number of arguments, and no thread is started; a failed or stopped count raises \"Error\" with "
    "\"$Failed\"";
constexpr std::string_view formula_cost =
    "O(n) in theory, divided by powers of log n; measured, it grows as about n^(3/4) from 10^11 to 10^14";
constexpr std::string_view sieve_cost = "O((b - a) log log b) plus O(sqrt(b)) to start";

constexpr std::string_view pieces_stop =
    "the call itself cannot be stopped; kesh-host makes long ones in pieces, and Ctrl-C stops between two";
constexpr std::string_view abort_stop =
    "the host's AbortQ, asked up to 100 times a second; 0.5 s may pass between two questions at 10^18, 2.3 s at 2^63 - "
    "1";
constexpr std::string_view callback_stop =
    "PrimeCount_StopTask from another thread, which leaves as an exception; noticed between two pieces of work";
constexpr std::string_view phi_stop =
    "as PrimeCount_LMO, but the first and longest part, phi(n, a), cannot be stopped: up to half a minute at 10^15, "
    "minutes from about 10^16; Lehmer's count of 10^17 ended 4.5 minutes after the request";
constexpr std::string_view easy_leaves_stop =
    "as PrimeCount_LMO, but within the easy leaves, two thirds of the time, a request is noticed at their end: 3 s at "
    "10^15, 12 s at 10^16, minutes at 10^18";
constexpr std::string_view task_stop =
    "PrimeCount_StopTask once it counts, noticed as by the count named above; a queued task cannot be stopped";
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
         .summary = "version of the library-link interface that the library is written against",
         .sentence = "The library speaks version {r} of the interface.",
         .errors = "none",
         .cost = "constant",
         .example = {},
         .example_result = "7"});
    add({.name = "VelmoraLibrary_initialize",
         .family = Family::lifecycle,
         .parameters = {},
         .result = Kind::none,
         .summary = "called once after loading; keeps nothing",
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
         .errors = "6 on a wrong number of arguments, when the count fails and when the host aborts it",
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
         .errors =
             "6 on a wrong number of arguments, for n < 1 and n > 216289611853439384, and when the host aborts it",
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
         .summary = "pi(x) for an x beyond 64 bits, digits in and digits out",
         .sentence = "There {r?is|are} {r} {r?prime|primes} up to {0}.",
         .errors =
             "6 on a wrong number of arguments, on malformed text, for an x above 3.0258 10^31 or too large for the "
             "memory (10^29 on 23 GiB), and when the host aborts the count",
         .cost = "O(x^(2/3) / log^2 x)",
         .stop = "as PrimeCount_PrimePi; beyond 64 bits 18 s may pass between two questions at 10^20, minutes from "
                 "about 10^22 on",
         .example = {"1000000000000"},
         .example_result = "37607912018",
         .route = Route::as_task,
         .task_form = "PrimeCount_SubmitExprPrimePi"});
    add({.name = "PrimeCount_Coprime",
         .family = Family::counting,
         .parameters = {{"a", Kind::integer, "upper end of the count"},
                        {"b", Kind::integer, "how many of the first primes are sieved out"}},
         .result = Kind::integer,
         .summary = "phi(a, b), how many numbers up to a no one of the first b primes divides",
         .sentence = "{r} {r?number|numbers} up to {0} {r?is|are} divisible by none of the first {1} {1?prime|primes}.",
         .errors = algorithm_errors,
         .cost = "grows steeply with b for a fixed a",
         .stop = "cannot be stopped; minutes for a from about 10^16 on with large b",
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
                  "cannot be stopped: all of it is phi(n, a), half a minute at 10^15 and minutes from about 10^16"));
    add(algorithm("PrimeCount_PrimeSieve", "pi(n) by sieving with primesieve", "O(n log log n)", callback_stop));
    add({.name = "PrimeCount_GetThreads",
         .family = Family::counting,
         .parameters = {},
         .result = Kind::integer,
         .summary = "how many threads a count uses",
         .sentence = "Counts use {r} {r?thread|threads}.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});
    add({.name = "PrimeCount_SetThreads",
         .family = Family::counting,
         .parameters = {{"n", Kind::integer, "wanted number of threads; its low 32 bits count"}},
         .result = Kind::integer,
         .summary = "asks for n threads and answers how many counts will use",
         .sentence = "Counts now use {r} {r?thread|threads}.",
         .errors = count_error,
         .cost = "constant",
         .example = {"1"},
         .example_result = "1"});

    add({.name = "PrimeCount_CreateTask",
         .family = Family::tasks,
         .parameters = {},
         .result = Kind::task,
         .summary = "a new asynchronous task, to be given a count",
         .sentence = "Task {r} is ready for a count.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});
    add({.name = "PrimeCount_SubmitPrimePi",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "task id, or 'new' to create one"},
                        {"n", Kind::integer, "upper end of the count"}},
         .result = Kind::none,
         .summary = "starts pi(n) as task; events \"Status\", then \"Result\" or \"Error\"",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count as PrimeCount_PrimePi",
         .stop = task_stop,
         .example = {"new", "10^12"},
         .example_result = "37607912018"});
    add({.name = "PrimeCount_SubmitPrime",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "task id, or 'new' to create one"},
                        {"n", Kind::integer, "index of the prime, from 1"}},
         .result = Kind::none,
         .summary = "starts the search for the n-th prime as task",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count as PrimeCount_Prime",
         .stop = task_stop,
         .example = {"new", "10^9"},
         .example_result = "22801763489"});
    add({.name = "PrimeCount_SubmitExprPrimePi",
         .family = Family::tasks,
         .parameters = {{"task", Kind::task, "task id, or 'new' to create one"},
                        {"x", Kind::text, "upper end of the count: an integer, or an expression such as 10^20"}},
         .result = Kind::none,
         .summary = "starts pi(x) for an x beyond 64 bits as task; the result is a string of digits",
         .sentence = "",
         .errors = submit_errors,
         .cost = "returns at once; the count as PrimeCount_ExprPrimePi",
         .stop = task_stop,
         .example = {"new", "1000000000000"},
         .example_result = "37607912018"});
    add({.name = "PrimeCount_StopTask",
         .family = Family::tasks,
         .parameters = {},
         .result = Kind::none,
         .summary = "ends the task that is counting now; queued tasks go on",
         .sentence = "The running count, if there is one, has been asked to end.",
         .errors = "none; extra arguments are ignored",
         .cost = "constant",
         .example = {},
         .example_result = ""});

    add(range_count("PrimeSieve_CountPrimes", "how many primes lie in [a, b]",
                    "There {r?is|are} {r} {r?prime|primes} from {0} to {1}.", "78498"));
    add(range_count("PrimeSieve_CountTwins", "how many prime twins (p, p+2) lie in [a, b]",
                    "There {r?is|are} {r} {r?pair|pairs} of twin primes from {0} to {1}.", "8169"));
    add(range_count("PrimeSieve_CountTriplets", "how many prime triplets lie in [a, b]",
                    "There {r?is|are} {r} prime {r?triplet|triplets} from {0} to {1}.", "2837"));
    add(range_count("PrimeSieve_CountQuadruplets", "how many prime quadruplets lie in [a, b]",
                    "There {r?is|are} {r} prime {r?quadruplet|quadruplets} from {0} to {1}.", "166"));
    add(range_count("PrimeSieve_CountQuintuplets", "how many prime quintuplets lie in [a, b]",
                    "There {r?is|are} {r} prime {r?quintuplet|quintuplets} from {0} to {1}.", "65"));
    add(range_count("PrimeSieve_CountSextuplets", "how many prime sextuplets lie in [a, b]",
                    "There {r?is|are} {r} prime {r?sextuplet|sextuplets} from {0} to {1}.", "5"));
    add({.name = "PrimeSieve_NthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::integer, "index of the prime, from 1"}},
         .result = Kind::pattern,
         .summary = "the n-th prime, found by sieving",
         .sentence = "Prime number {0} is {r}.",
         .errors =
             "6 on a wrong number of arguments; primesieve's exceptions pass through (n < 0, a prime beyond 2^64)",
         .cost = "O(n log n log log n)",
         .stop = pieces_stop,
         .example = {"10^6"},
         .example_result = "15485863",
         .route = Route::nth_pieces});
    add({.name = "PrimeSieve_NextPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start, itself excluded"}},
         .result = Kind::pattern,
         .summary = "the smallest prime above n",
         .sentence = "The next prime after {0} is {r}.",
         .errors =
             "6 on a wrong number of arguments; \"cannot generate primes > 2^64\" is thrown past the last 64-bit prime",
         .cost = "O(sqrt(n)) to start; for a large n the command next-prime is quicker",
         .example = {"2^40"},
         .example_result = "1099511627791"});
    add({.name = "PrimeSieve_PreviousPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start, itself excluded"}},
         .result = Kind::pattern,
         .summary = "the largest prime below n; 0 when there is none",
         .sentence = "The last prime before {0} is {r}.",
         .errors = count_error,
         .cost = "O(sqrt(n)) to start; for a large n the command previous-prime is quicker",
         .example = {"2^40"},
         .example_result = "1099511627689"});
    add({.name = "PrimeSieve_NextKthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start, itself excluded"},
                        {"k", Kind::integer, "how many primes to go"}},
         .result = Kind::pattern,
         .summary = "the k-th prime after n",
         .sentence = "Prime number {1} after {0} is {r}.",
         .errors = "6 on a wrong number of arguments; \"cannot generate primes > 2^64\" is thrown past the last 64-bit "
                   "prime. "
                   "For k <= 0 the result has no meaning",
         .cost = "O(k log n) plus O(sqrt(n)) to start",
         .stop = pieces_stop,
         .example = {"10^12", "1000"},
         .example_result = "1000000027577",
         .route = Route::walk_pieces});
    add({.name = "PrimeSieve_PreviousKthPrime",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "where to start, itself excluded"},
                        {"k", Kind::integer, "how many primes to go back"}},
         .result = Kind::pattern,
         .summary = "the k-th prime before n; 0 when there are fewer",
         .sentence = "Prime number {1} before {0} is {r}.",
         .errors = "6 on a wrong number of arguments. For k <= 0 the result has no meaning",
         .cost = "O(k log n) plus O(sqrt(n)) to start",
         .stop = pieces_stop,
         .example = {"10^12", "1000"},
         .example_result = "999999972149",
         .route = Route::walk_pieces});
    add({.name = "PrimeSieve_PrimeSum",
         .family = Family::sieve,
         .parameters = {{"n", Kind::pattern, "upper end, itself excluded"}},
         .result = Kind::pattern,
         .summary = "the sum of the primes below n, modulo 2^64",
         .sentence = "The primes below {0} add up to {r}.",
         .errors = "6 on a wrong number of arguments; a sum above 2^64 - 1 wraps",
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
         .errors =
             "6 on a wrong number of arguments; a sum above 2^64 - 1 wraps. a = 0 starts at the top of the 64-bit "
             "range (a - 1 wraps), b from 2^64 - 59 to 2^64 - 2 walks past the last 64-bit prime, and both throw "
             "\"cannot "
             "generate primes > 2^64\"; b = 2^64 - 1, or -1, gives 0 (b + 1 wraps) for a up to 2^64 - 59",
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
         .summary = "the primes in [a, b] as a tensor; primes above 2^31 - 1 keep their low 32 bits, with sign",
         .sentence = "{r} {r?prime|primes} from {0} to {1}.",
         .errors = "6 on a wrong number of arguments; the code of MTensor_new when that fails; "
                   "std::length_error or std::bad_alloc pass through when the list does not fit the memory",
         .cost = "O((b - a) log log b); 12 bytes a prime while it runs",
         .stop = no_stop,
         .example = {"100", "130"},
         .example_result = "{101, 103, 107, 109, 113, 127}",
         .default_begin = "0"});
    add({.name = "PrimeSieve_ListNPrimes",
         .family = Family::sieve,
         .parameters = {{"n", Kind::integer, "how many"}},
         .result = Kind::tensor,
         .summary = "the first n primes as a tensor",
         .sentence = "The first {0} {0?prime|primes}.",
         .errors = "6 on a wrong number of arguments; the code of MTensor_new when that fails; "
                   "std::length_error \"vector::reserve\" passes through for a negative n",
         .cost = "O(n log n log log n); 12 bytes a prime while it runs",
         .stop = no_stop,
         .example = {"10"},
         .example_result = "{2, 3, 5, 7, 11, 13, 17, 19, 23, 29}"});

    add({.name = "KESH_PrimeQ",
         .family = Family::primality,
         .parameters = {{"n", Kind::limbs, "unsigned integer of up to 1024 bits; several may be given"}},
         .result = Kind::boolean,
         .summary = "whether n is prime (up to 64 bits proven, above a Baillie-PSW verdict)",
         .sentence = "",
         .errors = "the C function answers 0, and writes nothing, for a length outside 1 to 16 limbs",
         .cost = "O(bits^3) for a prime; most composites are settled by trial division",
         .example = {"2^521-1"},
         .example_result = "prime"});
    add({.name = "KESH_RT_PrimeQ",
         .family = Family::primality,
         .parameters = {{"n", Kind::tensor, "limbs as {low, ..., high}, or an unsigned integer"}},
         .result = Kind::boolean,
         .summary = "cannot test a number: it calls KESH_PrimeQ, the function to use, without the limbs of its tensor",
         .sentence = "",
         .errors =
             "6 on a wrong number of arguments; the code of MTensor_getInteger when that fails; 6 when that leaves a "
             "length outside 1 to 16; otherwise the process crashes, because the limb pointer is null",
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
    static const std::vector<Export> table = make_table();
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
            return "no host error code";
    }
}

}  // namespace kesh_host
