/**
 * @file   print_test.cpp
 * @brief  Tables, sentences and JSON of outcomes that this test constructs.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>

#include "HostKit/export_table.h"
#include "HostKit/task.h"
#include "HostKit/tensors.h"
#include "answers/export_help.h"
#include "answers/json.h"
#include "answers/outcome_text.h"
#include "answers/print_look.h"
#include "answers/tasks_text.h"
#include "calls/arguments.h"
#include "calls/call.h"
#include "calls/expression.h"
#include "calls/sum_check.h"
#include "terminal/layout.h"
#include "terminal/terminal.h"

namespace {

using namespace kesh_host;
using testing::HasSubstr;

Outcome outcome_of(const char* name, const std::vector<std::string>& words) {
    Outcome outcome;
    outcome.entry = find_export(name);
    outcome.arguments = bind_arguments(*outcome.entry, words, false);
    outcome.seconds = 0.5;
    return outcome;
}

std::size_t longest_line(const std::string& text) {
    std::istringstream lines(text);
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);) longest = std::max(longest, line.size());
    return longest;
}

TEST(Print, IntegerResult) {
    Outcome outcome = outcome_of("PrimeSieve_CountPrimes", {"0", "10^10"});
    outcome.result = mint{455052511};
    EXPECT_EQ(result_text(outcome, {}), "455052511\nThere are 455,052,511 primes from 0 to 10^10.  (0.50 s)\n");
    EXPECT_EQ(result_text(outcome, {.style = {}, .width = 80, .quiet = true, .whole_tensors = false}), "455052511\n");
    EXPECT_EQ(failure_text(outcome, {}), "");
    const auto json = to_json(outcome);
    EXPECT_EQ(json["result"]["value"], 455052511);
    EXPECT_EQ(json["arguments"][1]["value"], "10000000000");
    EXPECT_EQ(json["status"], "ok");
}

TEST(Print, PatternsAboveTheSign) {
    Outcome outcome = outcome_of("PrimeSieve_NextPrime", {"2^64-100"});
    outcome.result = mint{-95};
    EXPECT_THAT(result_text(outcome, {}),
                testing::AllOf(testing::StartsWith("-95\n"), HasSubstr("18,446,744,073,709,551,521")));
    EXPECT_EQ(to_json(outcome)["result"]["unsigned"], "18446744073709551521");
}

/** The second line of the text, without the time. */
std::string sentence(const Outcome& outcome) {
    const std::string text = result_text(outcome, {.style = {}, .width = 80, .quiet = false, .whole_tensors = true});
    const std::size_t begin = text.find('\n') + 1;
    return text.substr(begin, text.rfind("  (") - begin);
}

std::string sentence(const char* name, const std::vector<std::string>& words, mint result) {
    Outcome outcome = outcome_of(name, words);
    outcome.result = result;
    return sentence(outcome);
}

TEST(Print, OneIsNotMany) {
    EXPECT_EQ(sentence("PrimeSieve_CountPrimes", {"0", "2"}, 1), "There is 1 prime from 0 to 2.");
    EXPECT_EQ(sentence("PrimeSieve_CountTwins", {"0", "6"}, 1), "There is 1 pair of twin primes from 0 to 6.");
    EXPECT_EQ(sentence("PrimeSieve_CountSextuplets", {"0", "30"}, 1), "There is 1 prime sextuplet from 0 to 30.");
    EXPECT_EQ(sentence("PrimeCount_LMO", {"2"}, 1), "There is 1 prime up to 2.");
    EXPECT_EQ(sentence("PrimeCount_SetThreads", {"1"}, 1), "Counts now use 1 thread.");
    EXPECT_EQ(sentence("PrimeCount_Coprime", {"5", "1"}, 3),
              "3 numbers up to 5 are divisible by none of the first 1 prime.");
    EXPECT_EQ(sentence("PrimeCount_Coprime", {"1", "2"}, 1),
              "1 number up to 1 is divisible by none of the first 2 primes.");
    EXPECT_EQ(sentence("PrimeSieve_CountPrimes", {"0", "1"}, 0), "There are 0 primes from 0 to 1.");
}

TEST(Print, BoundsThatTheLibraryTakesForOthersAreNamed) {
    EXPECT_EQ(sentence("PrimeSieve_CountPrimes", {"-10", "10"}, 0),
              "There are 0 primes from 18,446,744,073,709,551,606 to 10. The library takes -10 as its 64-bit pattern, "
              "18,446,744,073,709,551,606.");
    EXPECT_EQ(sentence("PrimeSieve_CountPrimes", {"2^64-10", "2^64-9"}, 0),
              "There are 0 primes from 2^64-10 to 2^64-9.");
    EXPECT_EQ(sentence("PrimeSieve_NthPrime", {"0"}, 2), "Prime number 1 is 2. The library takes 0 as 1.");
    EXPECT_EQ(sentence("PrimeCount_Coprime", {"100", "-5"}, 100),
              "100 numbers up to 100 are divisible by none of the first 0 primes. The library takes -5 as 0.");
    EXPECT_EQ(sentence("PrimeCount_PrimePi", {"-5"}, 0), "There are 0 primes up to -5.") << "no pattern";
    EXPECT_EQ(sentence("PrimeCount_SetThreads", {"2^32+1"}, 1),
              "Counts now use 1 thread. The library takes 2^32+1 as 1.");
    EXPECT_EQ(sentence("PrimeCount_SetThreads", {"-1"}, 1), "Counts now use 1 thread.");
    Outcome outcome = outcome_of("PrimeSieve_CountPrimes", {"-10", "10"});
    outcome.result = mint{0};
    const auto json = to_json(outcome);
    EXPECT_EQ(json["bounds_reinterpreted"], nlohmann::ordered_json({"a"}));
    EXPECT_EQ(json["arguments"][0]["taken_as"], "18446744073709551606");
    EXPECT_FALSE(json["arguments"][1].contains("taken_as"));
}

TEST(Print, ASignBeforeAPowerIsExplained) {
    const auto said = [](const std::string& text) {
        Outcome outcome = outcome_of("PrimeCount_ExprPrimePi", {text});
        outcome.result = std::string("2");
        return sentence(outcome).find("-2^2 is 4") != std::string::npos;
    };
    for (const char* text : {"-2^2", "- 2 ** 2", "5+-2^2", "-(1+1)^2", "3*-2^2"}) EXPECT_TRUE(said(text)) << text;
    for (const char* text : {"4", "-4", "2^2", "10-2^2", "(-2)^2", "2^-2", "5-3"}) EXPECT_FALSE(said(text)) << text;
}

TEST(Print, AResultThatStandsForNoneSaysSo) {
    EXPECT_EQ(sentence("PrimeSieve_PreviousPrime", {"2"}, 0), "There is no prime before 2; the result is then 0.");
    EXPECT_EQ(sentence("PrimeSieve_PreviousPrime", {"3"}, 2), "The last prime before 3 is 2.");
    EXPECT_EQ(sentence("PrimeSieve_PreviousKthPrime", {"10", "5"}, 0),
              "There are fewer than 5 primes before 10; the result is then 0.");
    EXPECT_EQ(sentence("PrimeSieve_PreviousKthPrime", {"2", "1"}, 0),
              "There is no prime before 2; the result is then 0.");
    EXPECT_EQ(sentence("PrimeSieve_NextKthPrime", {"10", "-1"}, 0),
              "For k = -1 the library looks for no prime: the result has no meaning.");
    EXPECT_EQ(sentence("PrimeCount_CreateTask", {}, -1), "No task was created: the host refused it.");
    EXPECT_EQ(sentence("PrimeCount_CreateTask", {}, 1), "Task 1 is ready for a count.");
    EXPECT_EQ(sentence("PrimeSieve_PrimeSumInterval", {"5", "2^64-1"}, 0),
              "No prime was added: the library adds the primes below b + 1, and b + 1 wraps to 0.");
    Outcome outcome = outcome_of("PrimeSieve_PreviousPrime", {"2"});
    outcome.result = mint{0};
    EXPECT_EQ(to_json(outcome)["result"]["stand_in"], true);
    outcome.result = mint{2};
    EXPECT_FALSE(to_json(outcome)["result"].contains("stand_in"));
}

TEST(Print, SumsThatWrapSaySo) {
    Outcome outcome = outcome_of("PrimeSieve_PrimeSumInterval", {"10^18", "10^18+2000"});
    outcome.result = mint{5106511852580937606};
    outcome.sum = SumCheck{Wrapped::no, std::nullopt};
    EXPECT_EQ(sentence(outcome), "The primes from 10^18 to 10^18+2000 add up to 5,106,511,852,580,937,606.");
    outcome.sum = SumCheck{Wrapped::yes, cpp_int("42000000000000040838")};
    EXPECT_EQ(sentence(outcome),
              "The primes from 10^18 to 10^18+2000 add up to 42,000,000,000,000,040,838, which is "
              "5,106,511,852,580,937,606 modulo 2^64.");
    EXPECT_EQ(to_json(outcome)["result"]["wrapped"], true);
    EXPECT_EQ(to_json(outcome)["result"]["exact"], "42000000000000040838");
    outcome.sum = SumCheck{Wrapped::yes, std::nullopt};
    EXPECT_THAT(sentence(outcome), HasSubstr("5,106,511,852,580,937,606 modulo 2^64; the sum itself is larger."));
    outcome.sum = SumCheck{};
    EXPECT_THAT(sentence(outcome), HasSubstr("5,106,511,852,580,937,606 modulo 2^64; the sum itself may be larger."));
    EXPECT_TRUE(to_json(outcome)["result"]["wrapped"].is_null());
}

TEST(Print, NarrowedListsSaySo) {
    const auto list = [](const std::vector<std::string>& words, const std::vector<mint>& values) {
        Outcome outcome = outcome_of("PrimeSieve_ListPrimes", words);
        auto* tensor = new st_MTensor;
        tensor->dimensions = {static_cast<mint>(values.size())};
        tensor->values = std::make_unique<mint[]>(values.size());
        std::copy(values.begin(), values.end(), tensor->values.get());
        tensor->length = static_cast<mint>(values.size());
        outcome.result = TensorResult(tensor);
        return outcome;
    };
    const auto narrowed = [&](const std::vector<std::string>& words, const std::vector<mint>& values) {
        const Outcome outcome = list(words, values);
        const bool said = sentence(outcome).find("low 32 bits") != std::string::npos;
        EXPECT_EQ(to_json(outcome)["result"]["narrowed"], said);
        return said;
    };
    EXPECT_FALSE(narrowed({"0", "10"}, {2, 3, 5, 7}));
    EXPECT_FALSE(narrowed({"2^31-10", "2^31+10"}, {2147483647}));
    EXPECT_TRUE(narrowed({"2^31-10", "2^31+11"}, {2147483647, -2147483637}));
    EXPECT_TRUE(narrowed({"2^32", "2^32+20"}, {15})) << "low bits that look like a prime";
    EXPECT_EQ(sentence(list({"2^32", "2^32+20"}, {15})),
              "1 prime from 2^32 to 2^32+20. The list has the low 32 bits of each prime, with sign: for primes above "
              "2^31 - 1, "
              "the elements are not the primes themselves.");
    EXPECT_FALSE(narrowed({"2^32", "2^32+2"}, {}));
    EXPECT_EQ(sentence(list({"2", "2"}, {2})), "1 prime from 2 to 2.");
}

TEST(Print, ShortTensorWhole) {
    const std::vector<mint> values = {2, 3, 5, 7};
    EXPECT_EQ(tensor_table(values, {}), " 1:  2  3  5  7\n");
    EXPECT_EQ(tensor_table({}, {}), "{}\n");
}

TEST(Print, LongTensorShortenedInTheMiddle) {
    std::vector<mint> values(1000);
    std::iota(values.begin(), values.end(), 1000000);
    for (const unsigned width : {40U, 80U, 200U}) {
        const std::string text =
            tensor_table(values, {.style = {}, .width = width, .quiet = false, .whole_tensors = false});
        EXPECT_LE(longest_line(text), width);
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 13);
        EXPECT_THAT(text, testing::AllOf(HasSubstr("1000000"), HasSubstr("1000999"), HasSubstr("more")));
    }
    const std::string whole = tensor_table(values, {.style = {}, .width = 80, .quiet = false, .whole_tensors = true});
    EXPECT_THAT(whole, testing::AllOf(HasSubstr("1000500"), testing::Not(HasSubstr("more"))));
}

TEST(Print, AnyWidthHasRoomForAColumn) {
    const std::vector<mint> values = {2, 3, 5, 7};
    for (unsigned width = 1; width < 7; ++width) {
        EXPECT_EQ(tensor_table(values, {.style = {}, .width = width, .quiet = false, .whole_tensors = false}),
                  " 1:  2\n 2:  3\n 3:  5\n 4:  7\n")
            << width;
    }
}

TEST(Print, LeftOutElementsAreCountedRight) {
    std::vector<mint> values(1003);
    std::iota(values.begin(), values.end(), 0);
    const std::string text = tensor_table(values, {.style = {}, .width = 80, .quiet = false, .whole_tensors = false});
    // 10 columns, 101 rows: 12 rows stay, the last of them short.
    EXPECT_THAT(text, HasSubstr("... 890 more ..."));
}

TEST(Print, Failures) {
    Outcome outcome = outcome_of("PrimeSieve_ListPrimes", {"0", "10"});
    outcome.status = Status::error;
    outcome.code = 5;
    EXPECT_EQ(result_text(outcome, {}), "");
    EXPECT_THAT(failure_text(outcome, {}), HasSubstr("returned 5, LIBRARY_MEMORY_ERROR"));
    outcome.status = Status::exception;
    outcome.code = 0;
    outcome.exception_type = "std::length_error";
    outcome.exception_text = "vector::reserve";
    EXPECT_EQ(failure_text(outcome, {}),
              "exception: std::length_error left PrimeSieve_ListPrimes(0, 10): vector::reserve\n");
    EXPECT_EQ(to_json(outcome)["exception"]["type"], "std::length_error");
    outcome.status = Status::missing;
    EXPECT_THAT(failure_text(outcome, {}), HasSubstr("not exported"));
}

TEST(Print, ErrorNames) {
    EXPECT_EQ(error_name(0), "LIBRARY_NO_ERROR");
    EXPECT_EQ(error_name(7), "LIBRARY_VERSION_ERROR");
    EXPECT_EQ(error_name(8), "not an error code of the host");
}

TEST(Print, ListAndHelpFitTheWidth) {
    for (const unsigned width : {80U, 200U}) {
        const PrintLook look{.style = {}, .width = width, .quiet = false, .whole_tensors = false};
        EXPECT_LE(longest_line(list_text(look)), width);
        for (const Export& entry : export_table()) {
            EXPECT_THAT(list_text(look), HasSubstr(std::string(entry.name) + "("));
            EXPECT_LE(longest_line(export_help(entry, look)), width) << entry.name;
        }
    }
}

TEST(Print, NoColourWithoutATerminal) {
    EXPECT_EQ(Style().red("x"), "x");
    EXPECT_EQ(Style(1, ColourChoice::never).red("x"), "x");
    EXPECT_EQ(Style(1, ColourChoice::always).dim("x"), "\033[2mx\033[0m");
}

TEST(Print, TasksFitATerminal) {
    EXPECT_EQ(tasks_text({}, {}), "no tasks\n");
    Task done;
    done.id = 1;
    done.state = TaskState::removed;
    done.what = "PrimeCount_PrimePi(10^15)";
    done.percent = 100;
    done.status_events = 5;
    done.result = mint{29844570422669};
    done.submitted = Task::Clock::now();
    done.ended = done.submitted + std::chrono::milliseconds(3210);
    Task fresh;
    fresh.id = 2;
    const std::string text = tasks_text({done, fresh}, {});
    EXPECT_LE(longest_line(text), 80U);
    EXPECT_THAT(text, testing::AllOf(
                          HasSubstr("   1  done       100.0      3.21 s  PrimeCount_PrimePi(10^15)  29844570422669\n"),
                          HasSubstr("   2  created")));
}

TEST(Layout, LongLinesAreWrappedWithTheirIndentation) {
    EXPECT_EQ(fitted_to_width("short\n  one two three four\n\nlast", 11),
              "short\n  one two\n  three\n  four\n\nlast\n");
    EXPECT_EQ(fitted_to_width("one two three", 13), "one two three\n") << "it fits exactly";
    EXPECT_EQ(fitted_to_width("one two three", 12), "one two\nthree\n");
    EXPECT_EQ(fitted_to_width("    unbreakable", 6), "    unbreakable\n");
    // Escape sequences have no width, and a character of several bytes has one.
    EXPECT_EQ(fitted_to_width("\033[1mone\033[0m \u03c0\u03c0 \u03c0", 8), "\033[1mone\033[0m \u03c0\u03c0 \u03c0\n");
    EXPECT_EQ(fitted_to_width("\033[1mone\033[0m \u03c0\u03c0 \u03c0", 7), "\033[1mone\033[0m \u03c0\u03c0\n\u03c0\n");
    EXPECT_EQ(fitted("no terminal here, and so a line of any length", -1),
              "no terminal here, and so a line of any length");
}

}  // namespace
