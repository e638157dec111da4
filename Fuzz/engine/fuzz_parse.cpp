/**
 * @file   fuzz_parse.cpp
 * @brief  Any text for from_string: accepted exactly when GMP reads it as a number that fits, with the same value.
 */

#include <cstdlib>
#include <iomanip>
#include <string>

#include "show.h"
#include "support/agreement.h"

namespace {

using namespace kesh;

/** The digits of a well-formed text and their base; an empty string for anything else. */
std::string digits_of(const std::string& text, int& base) {
    const bool prefixed = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    base = prefixed ? 16 : 10;
    const std::string digits = prefixed ? text.substr(2) : text;
    const char* const allowed = prefixed ? "0123456789abcdefABCDEF" : "0123456789";
    return digits.find_first_not_of(allowed) == std::string::npos ? digits : std::string();
}

template <mint N>
void check(const std::string& text) {
    uintx_t<N> value(77);
    const bool accepted = from_string(text, value);
    int base = 10;
    const std::string digits = digits_of(text, base);
    const mpz_class expected(digits.empty() ? "77" : digits, digits.empty() ? 10 : base);
    const bool fits = !digits.empty() && mpz_sizeinbase(expected.get_mpz_t(), 2) <= static_cast<std::size_t>(N);
    if (accepted != fits) std::abort();
    if (test::as_mpz(value) != (accepted ? expected : mpz_class(77))) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    kesh::fuzz::show("from_string ", std::quoted(text));
    check<128>(text);
    check<1024>(text);
    return 0;
}
