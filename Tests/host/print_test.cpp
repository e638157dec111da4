/**
 * @file   print_test.cpp
 * @brief  Tables, sentences and JSON of outcomes that are made up here.
 */
#include "print.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>

#include "tensors.h"

namespace {

using namespace bench_host;
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
    EXPECT_EQ(error_name(8), "no host error code");
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
                          HasSubstr("   1  removed    100.0      3.21 s  PrimeCount_PrimePi(10^15)  29844570422669\n"),
                          HasSubstr("   2  created")));
}

}  // namespace
