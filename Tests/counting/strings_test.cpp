/**
 * @file   strings_test.cpp
 * @brief  Counts of numbers given as text, on the host's thread and as tasks: values, refused texts, and who owns the
 *         strings.
 */
#include <limits>
#include <stdexcept>

#include "counting/counting.h"

namespace kesh::test {
namespace {

class Strings : public CountingTest {};

std::string count(const std::string& x) {
    const StringCall call = call_string("PrimeCount_ExprPrimePi", x);
    EXPECT_EQ(call.code, 0) << x;
    return call.text == nullptr ? "nothing" : call.text;
}

TEST_F(Strings, Values) {
    EXPECT_EQ(count("100"), "25");
    EXPECT_EQ(count("0"), "0");
    EXPECT_EQ(count("1"), "0");
    EXPECT_EQ(count("2"), "1");
    EXPECT_EQ(count("1000000000000000"), "29844570422669");
}

TEST_F(Strings, TextsThatPrimecountTakes) {
    EXPECT_EQ(count("1e3"), "168");
    EXPECT_EQ(count("10^3"), "168");
    EXPECT_EQ(count(" 100 "), "25");
    EXPECT_EQ(count("+100"), "25");
    EXPECT_EQ(count("(10 + 10) * 5"), "25");
    EXPECT_EQ(count("0x64"), "25");
}

TEST_F(Strings, NegativeNumbers) {
    // -10^30 narrowed to 64 bits would be positive.
    for (const char* x : {"-5", "-1", "-1e30", "0-2^64", "3-5"}) EXPECT_EQ(count(x), "0") << x;
}

TEST_F(Strings, TextsThatFail) {
    for (const char* x : {"", " ", "12a", "a", "5 5", "1.5", "-", "()", "1/0", "1e40", "1e33", "2^110",
                          "99999999999999999999999999999999999999999999999999", "\xC3\xA9"}) {
        const StringCall call = call_string("PrimeCount_ExprPrimePi", x);
        EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR) << '"' << x << '"';
        EXPECT_EQ(call.text, nullptr) << '"' << x << '"';
    }
    EXPECT_EQ(host.handed_back(), 0u) << "the text goes back to the host with a result only";
}

/** Modulo 2^128 each of these is a small integer, whose count is quick, or a negative one. */
TEST_F(Strings, NumbersThatWouldWrapFail) {
    for (const char* x : {"10^39", "1e100", "10^400", "2^128+100", " 340282366920938463463374607431768211556", "2^127",
                          "1<<128", "0xffffffffffffffffffffffffffffffffff"}) {
        EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", x).code, LIBRARY_FUNCTION_ERROR) << x;
    }
    EXPECT_EQ(count("0-10^39"), "0");
    EXPECT_EQ(count("10^400/10^395"), "9592") << "only the value has to be small";
}

TEST_F(Strings, BeyondTheLargestCountableNumber) {
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "303*10^29").code, LIBRARY_FUNCTION_ERROR);
}

TEST_F(Strings, DeepNestingFails) {
    const std::string x = std::string(100'000, '(') + "100" + std::string(100'000, ')');
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", x).code, LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(count(std::string(5000, '(') + "100" + std::string(5000, ')')), "25");
    EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", x)).name, "Error");
}

TEST_F(Strings, WrongArgumentCounts) {
    const StringCall first = call_string("PrimeCount_ExprPrimePi", "100");
    for (const mint arity : {0, 2}) {
        char* result = nullptr;
        MArgument slot;
        slot.utf8string = &result;
        EXPECT_EQ(Library::instance().get("PrimeCount_ExprPrimePi")(nullptr, arity, nullptr, slot),
                  LIBRARY_FUNCTION_ERROR);
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_STREQ(first.text, "25");
    // The table of the successful call is still in use.
    EXPECT_EQ(call_integer("PrimeCount_LMO", {power_of_ten(13)}).result, pi_of_power_of_ten[13]);
    EXPECT_GT(host.abort_calls, 0);
}

TEST_F(Strings, TheTextIsHandedBackAfterAResult) {
    char* const text = host.new_string("100");
    EXPECT_EQ(call_string_at("PrimeCount_ExprPrimePi", text).code, 0);
    EXPECT_FALSE(host.lent(text));
    EXPECT_EQ(host.handed_back(), 1u);
}

TEST_F(Strings, AFailureKeepsTheLastResult) {
    const StringCall first = call_string("PrimeCount_ExprPrimePi", "1000");
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "12a").code, LIBRARY_FUNCTION_ERROR);
    EXPECT_STREQ(first.text, "168");
    EXPECT_EQ(count("100"), "25");  // and the next success is free to replace it
}

TEST_F(Strings, ResultsOfManyLengths) {
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (int k = 0; k <= 12; ++k) {
            EXPECT_EQ(count(std::to_string(power_of_ten(k))),
                      std::to_string(pi_of_power_of_ten[static_cast<size_t>(k)]));
        }
    }
}

TEST_F(Strings, NullPointer) {
    const StringCall first = call_string("PrimeCount_ExprPrimePi", "100");
    EXPECT_THROW(call_string_at("PrimeCount_ExprPrimePi", static_cast<char*>(nullptr)), std::logic_error);
    EXPECT_STREQ(first.text, "25");
    EXPECT_THROW(submit_string(1, nullptr), std::logic_error);
    EXPECT_EQ(host.handed_back(), 1u);
    EXPECT_TRUE(host.events().empty());
}

TEST_F(Strings, AbortEndsTheCount) {
    host.abort = 1;
    const StringCall call = call_string("PrimeCount_ExprPrimePi", "10^15");
    EXPECT_EQ(call.code, LIBRARY_FUNCTION_ERROR);
    EXPECT_EQ(call.text, nullptr);
    EXPECT_EQ(host.handed_back(), 0u);
    host.abort = 0;
    EXPECT_EQ(count("10^12"), std::to_string(pi_of_power_of_ten[12]));
}

TEST_F(Strings, AbortEndsACountBeyond64Bits) {
    host.abort = 1;
    EXPECT_EQ(call_string("PrimeCount_ExprPrimePi", "10^20").code, LIBRARY_FUNCTION_ERROR);
}

TEST_F(Strings, Long_Above10To17) {
    EXPECT_EQ(count("100000000000000000"), std::to_string(pi_of_power_of_ten[17]));
    EXPECT_EQ(count("1000000000000000000"), std::to_string(pi_of_power_of_ten[18]));
}

TEST_F(Strings, Long_BeyondTheHostsIntegers) {
    EXPECT_EQ(count("10^19"), "234057667276344607");
}

// --- as tasks ---------------------------------------------------------------------------------------------------

TEST_F(Strings, SubmittedTextIsHandedBackAtOnce) {
    char* const text = host.new_string("100");
    const mint task = call_integer("PrimeCount_CreateTask", {}).result;
    EXPECT_EQ(submit_string(task, text), 0);
    EXPECT_FALSE(host.lent(text));
    EXPECT_EQ(host.handed_back(), 1u);
    const Event report = report_of(task);
    ASSERT_EQ(report.name, "Result");
    EXPECT_EQ(std::get<std::string>(report.value.value()), "25");
}

TEST_F(Strings, SubmitWithWrongArgumentCounts) {
    for (const mint arity : {0, 1, 3}) {
        EXPECT_EQ(Library::instance().get("PrimeCount_SubmitExprPrimePi")(host.data(), arity, nullptr, MArgument{}),
                  LIBRARY_FUNCTION_ERROR);
    }
    EXPECT_EQ(host.handed_back(), 0u);
    EXPECT_TRUE(host.events().empty());
}

TEST_F(Strings, TasksThatFail) {
    for (const char* x : {"", "12a", "1e40", "10^39"})
        EXPECT_EQ(report_of(submit("PrimeCount_SubmitExprPrimePi", x)).name, "Error") << x;
    EXPECT_EQ(host.handed_back(), 4u) << "a submitted text goes back whatever becomes of it";
}

TEST_F(Strings, NegativeNumberAsTask) {
    EXPECT_EQ(std::get<std::string>(report_of(submit("PrimeCount_SubmitExprPrimePi", "-5")).value.value()), "0");
}

TEST_F(Strings, ResultsOfTasksStayReadable) {
    // A host may read the pointer long after the event: the library never releases it.
    static std::vector<const char*> results;
    results.clear();
    st_VelmoraIOLibrary_Functions io = host.io;
    io.DataStore_addString = [](DataStore store, char* text) {
        results.push_back(text);
        TestHost::instance().io.DataStore_addString(store, text);
    };
    st_VelmoraLibraryData data = host.table;
    data.ioLibraryFunctions = &io;
    for (int k = 1; k <= 9; ++k) {
        const mint task = call_integer("PrimeCount_CreateTask", {}).result;
        EXPECT_EQ(submit_string(task, host.new_string("10^" + std::to_string(k)), &data), 0);
        report_of(task);
    }
    ASSERT_EQ(results.size(), 9u);
    for (int k = 1; k <= 9; ++k) {
        EXPECT_EQ(results[static_cast<size_t>(k) - 1], std::to_string(pi_of_power_of_ten[static_cast<size_t>(k)]));
    }
}

}  // namespace
}  // namespace kesh::test
