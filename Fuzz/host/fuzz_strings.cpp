/**
 * @file   fuzz_strings.cpp
 * @brief  Any text into PrimeCount_ExprPrimePi: digits of pi(x) with code 0, or code 6 and everything as it was.
 *
 * Counts are aborted at once where the text turns out to name a large number, so that each input is quick.
 */
#include <cstdlib>
#include <string>

#include "support/test_host.h"

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using kesh::test::TestHost;
    TestHost& host = TestHost::instance();
    host.reset();
    host.abort = 1;
    static char* previous = nullptr;
    static std::string previous_text;

    const std::string text(reinterpret_cast<const char*>(data), size);
    // Powers and shifts grow without bound before the parser can refuse them, and large tables are set up before the first poll.
    if (size > 24 || text.find_first_of("^eE*<") != std::string::npos) return 0;
    if (text.find_first_of("0123456789") != std::string::npos && size > 13) return 0;
    char* argument = host.new_string(text);
    char* result = nullptr;
    MArgument slot;
    slot.utf8string = &argument;
    MArgument result_slot;
    result_slot.utf8string = &result;
    const int code = kesh::test::Library::instance().get("PrimeCount_ExprPrimePi")(host.data(), 1, &slot, result_slot);
    if (code == LIBRARY_NO_ERROR) {
        const std::string digits = result;
        require(!digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos);
        require(host.disowned().size() == 1 && host.disowned()[0] == argument);
        previous = result;
        previous_text = digits;
    } else {
        require(code == LIBRARY_FUNCTION_ERROR);
        require(result == nullptr && host.disowned().empty());
        require(previous == nullptr || previous_text == previous);
    }
    return 0;
}
