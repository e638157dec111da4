/**
 * @file   fuzz_strings.cpp
 * @brief  Any text for PrimeCount_ExprPrimePi: the digits of pi(x) with code 0, or code 6 and nothing changed.
 *
 * Counts are aborted at their first progress, so that each input is quick; short ones end before and must be right.
 */
#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <string>

#include "breach.h"
#include "show.h"
#include "support/test_host.h"

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

bool only_digits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/**
 * Whether the count takes milliseconds. Counts of 2^63 and more, which powers, shifts and products soon reach, set
 * up large tables before their first progress.
 */
bool quick(const std::string& text) {
    if (text.find_first_of("^eE*<") != std::string::npos) return false;
    const auto digits = std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digits <= 12 || (digits > 33 && only_digits(text) && text[0] != '0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using kesh::test::TestHost;
    TestHost& host = TestHost::instance();
    host.reset();
    static char* previous = nullptr;
    static std::string previous_text;

    // As the host passes it: up to the first NUL.
    const std::string text = std::string(reinterpret_cast<const char*>(data), size).c_str();
    if (size > 80 || !quick(text)) return 0;
    kesh::fuzz::show("PrimeCount_ExprPrimePi ", std::quoted(text));
    // Small counts run to their end, so that the result is known; the others are aborted, or are out of range.
    const bool small = only_digits(text) && text.size() < 9;
    host.abort = small ? 0 : 1;
    char* argument = host.new_string(text);
    char* result = nullptr;
    MArgument slot;
    slot.utf8string = &argument;
    MArgument result_slot;
    result_slot.utf8string = &result;
    const std::string name = "PrimeCount_ExprPrimePi";
    const int code = host.announced(name, std::nullopt, [&] {
        return kesh::test::Library::instance().get(name)(host.data(), 1, &slot, result_slot);
    });
    if (code == LIBRARY_NO_ERROR) {
        require(only_digits(result) && !(only_digits(text) && text.size() > 33));
        require(host.handed_back() == 1 && !host.lent(argument));
        previous = result;
        previous_text = result;
        if (!small) return 0;
        const auto sieved = kesh::test::call_integer("PrimeSieve_CountPrimes", {0, std::stoll(text)});
        require(sieved.code == LIBRARY_NO_ERROR && std::to_string(sieved.result) == result);
    } else {
        require(code == LIBRARY_FUNCTION_ERROR && !small);
        require(result == nullptr && host.handed_back() == 0 && host.lent(argument) && text == argument);
        require(previous == nullptr || previous_text == previous);
    }
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kesh::fuzz::end_at_a_breach();
    return 0;
}
