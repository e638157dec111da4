/**
 * @file   failure_process_test.cpp
 * @brief  Failures: each prints a line and has its exit code, so that no failed command looks successful, and no input
 * ends the process.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/process.h"

namespace {

using namespace kesh::test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::vector<json> objects_of(const std::string& text) {
    std::istringstream lines(text);
    std::vector<json> objects;
    for (std::string line; std::getline(lines, line);) objects.push_back(json::parse(line));
    return objects;
}

TEST(HostFailure, JsonOfArgumentsOfAnyBytes) {
    for (const char* word : {"1é", "\xff", "é", "12\xc3", "\xed\xa0\x80", "\x1b[1m", "7\x01"}) {
        const Finished run = run_host({"PrimeSieve_NextPrime", word, "--json"});
        EXPECT_EQ(run.code, 2) << word;
        EXPECT_EQ(json::parse(run.output)["status"], "bad input") << word;
        const Finished text = run_host({"PrimeCount_ExprPrimePi", word, "--json"});
        EXPECT_EQ(text.code, 1) << word;
        EXPECT_EQ(json::parse(text.output)["code"], 6) << word;
        EXPECT_EQ(
            objects_of(run_host({"KESH_PrimeQ", "-", "--json"}, {.input = std::string(word) + "\n7\n"}).output).size(),
            3U);
    }
    EXPECT_THAT(run_host({"PrimeSieve_NextPrime", "1é", "--json"}).output, HasSubstr("'é' is not expected"));
}

TEST(HostFailure, AScriptGoesOnAfterALineOfAnyBytes) {
    const Finished run = run_host({"--json"}, {.input = "PrimeSieve_NextPrime \xff\n\xfe\n'\nPrimeSieve_NthPrime 1\n"});
    const auto objects = objects_of(run.output);
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_EQ(objects[3]["result"]["value"], 2);
    EXPECT_EQ(run.code, 2);
}

TEST(HostFailure, MessagesAreOnePrintableLine) {
    for (const char* word : {"1\r", "1\n2", "\x1b[2J", "\xff"}) {
        const Finished run = run_host({"PrimeSieve_NextPrime", word});
        EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << run.errors;
        EXPECT_THAT(run.errors, AllOf(HasSubstr("\\x"), Not(HasSubstr("\r")), Not(HasSubstr("\x1b"))));
    }
}

TEST(HostFailure, JsonModeIsJsonForEveryCommand) {
    for (const Arguments& words :
         {Arguments{"version"}, Arguments{"--version"}, Arguments{"list"}, Arguments{"help"}, Arguments{"--help"},
          Arguments{"help", "PrimeSieve_NthPrime"}, Arguments{"help", "plot"}, Arguments{"faults"}, Arguments{"endure"},
          Arguments{"--no-such-option"}, Arguments{"nonsense"}, Arguments{"--library", "/nonexistent/\xff"}}) {
        Arguments arguments = words;
        arguments.push_back("--json");
        const Finished run = run_host(arguments);
        EXPECT_EQ(objects_of(run.output).size(), 1U) << words[0];
        EXPECT_THAT(run.errors, IsEmpty()) << words[0];
    }
    EXPECT_EQ(json::parse(run_host({"version", "--json"}).output)["interface_version"], 7);
    const Finished script =
        run_host({"--json"}, {.input = "tasks\nset\nPrimeCount_PrimePi 100 --async\nwait\ntasks\n"});
    EXPECT_EQ(objects_of(script.output).back()[0]["state"], "done") << script.output;
}

TEST(HostFailure, WithoutACodeThereIsNone) {
    const json thrown = json::parse(run_host({"PrimeSieve_ListNPrimes", "-1", "--json"}).output);
    EXPECT_EQ(thrown["status"], "exception");
    EXPECT_TRUE(thrown["code"].is_null());
    EXPECT_TRUE(thrown["code_name"].is_null());
    const json failed = json::parse(run_host({"PrimeCount_SubmitExprPrimePi", "new", "no number", "--json"}).output);
    EXPECT_EQ(failed["status"], "error");
    EXPECT_TRUE(failed["code"].is_null());
    EXPECT_EQ(failed["task"]["state"], "failed");
    const json fine = json::parse(run_host({"PrimeSieve_NthPrime", "4", "--json"}).output);
    EXPECT_EQ(fine["code_name"], "LIBRARY_NO_ERROR");
}

TEST(HostFailure, AFullDeviceIsNoSuccess) {
    EXPECT_EQ(run_host({"PrimeSieve_NthPrime", "4"}, {.output_file = "/dev/full"}).code, 1);
    const Finished run = run_host({"KESH_PrimeQ", "-"}, {.input = "7\n", .output_file = "/dev/full"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.errors, HasSubstr("standard output"));
    EXPECT_EQ(run_host({"nonsense"}, {.output_file = "/dev/full"}).code, 2) << "the larger code";
}

TEST(HostFailure, PicturesThatCannotBeWritten) {
    const Finished folder = run_host({"plot", "pi", "100", "--svg", testing::TempDir()});
    if (folder.errors.find("gnuplot is not installed") != std::string::npos) GTEST_SKIP() << "no gnuplot";
    EXPECT_EQ(folder.code, 2);
    EXPECT_THAT(folder.errors, HasSubstr("is a folder"));
    const Finished nowhere = run_host({"plot", "pi", "10^17", "--svg", "/nonexistent/x.svg"});
    EXPECT_EQ(nowhere.code, 2) << "said before the work";
    EXPECT_THAT(nowhere.errors, HasSubstr("No such file or directory"));
    const Finished inside_a_file = run_host({"plot", "pi", "10^17", "--svg", KESH_SOURCE_DIR "/README.md/x.svg"});
    EXPECT_EQ(inside_a_file.code, 2) << "said before the work";
    EXPECT_THAT(inside_a_file.errors, HasSubstr("README.md is not a folder"));
    for (const char* option : {"--svg", "--png"}) {
        const Finished full = run_host({"plot", "pi", "100", option, "/dev/full"});
        EXPECT_EQ(full.code, 1);
        EXPECT_THAT(full.errors, HasSubstr("/dev/full cannot be written"));
        EXPECT_THAT(full.output, Not(HasSubstr("written to")));
    }
}

TEST(HostFailure, APictureWithoutGnuplot) {
    const std::string folder = testing::TempDir() + "kesh_no_gnuplot";
    mkdir(folder.c_str(), 0755);
    const Finished none =
        run_host({"plot", "pi", "100", "--svg", folder + "/x.svg"}, {.environment = {{"PATH", folder}}});
    EXPECT_EQ(none.code, 2);
    EXPECT_THAT(none.errors, HasSubstr("gnuplot is not installed"));
    // A gnuplot that exists and fails.
    const std::string program = folder + "/gnuplot";
    std::ofstream(program) << "#!/bin/sh\nexit 1\n";
    chmod(program.c_str(), 0755);
    const Finished fails =
        run_host({"plot", "pi", "100", "--svg", folder + "/x.svg"}, {.environment = {{"PATH", folder}}});
    EXPECT_EQ(fails.code, 1);
    EXPECT_THAT(fails.errors, HasSubstr("gnuplot could not draw"));
    std::remove(program.c_str());
    std::remove(folder.c_str());
}

TEST(HostFailure, AFolderIsNoFileOfNumbers) {
    for (const Finished& run : {run_host({"KESH_PrimeQ", "--file", testing::TempDir()}),
                                run_host({"KESH_PrimeQ", "-"}, {.input_file = testing::TempDir()})}) {
        EXPECT_EQ(run.code, 2);
        EXPECT_THAT(run.output, IsEmpty());
        EXPECT_THAT(run.errors, HasSubstr("is a folder"));
    }
    const Finished script = run_host({}, {.input_file = testing::TempDir()});
    EXPECT_EQ(script.code, 1);
    EXPECT_THAT(script.errors, HasSubstr("could not be read completely"));
}

TEST(HostFailure, EventsWithoutATerminal) {
    const std::string path = testing::TempDir() + "kesh_events_plain.csv";
    EXPECT_EQ(run_host({"PrimeCount_PrimePi", "10^9", "--events", path}).code, 0);
    const auto text = [&path] {
        std::stringstream stream;
        stream << std::ifstream(path).rdbuf();
        return stream.str();
    };
    EXPECT_THAT(text(), HasSubstr(",1,Result,50847534\n"));
    for (const Arguments& call : {Arguments{"PrimeSieve_NthPrime", "4"}, Arguments{"KESH_PrimeQ", "7"},
                                  Arguments{"next-prime", "7"}, Arguments{"plot", "pi", "100"}, Arguments{"list"}}) {
        Arguments arguments = call;
        arguments.insert(arguments.end(), {"--events", path});
        const Finished none = run_host(arguments);
        EXPECT_EQ(none.code, 0);
        EXPECT_THAT(none.errors, HasSubstr("no events: " + call[0] + " ran no task"));
    }
    EXPECT_THAT(run_host({"--events", path}, {.input = "PrimeSieve_NthPrime 4\n"}).errors,
                HasSubstr("no events: the script ran no task"));
    EXPECT_THAT(run_host({"plot", "events", "PrimeCount_PrimePi", "10^9", "--events", path}).errors, IsEmpty());
    EXPECT_THAT(text(), HasSubstr(",1,Result,50847534\n"));
    EXPECT_THAT(run_host({}, {.input = "PrimeCount_PrimePi 10^8 --async --events " + path + "\nwait\n"}).errors,
                IsEmpty());
    EXPECT_THAT(text(), HasSubstr(",1,Result,5761455\n"));
    EXPECT_EQ(run_host({"PrimeCount_PrimePi", "10^9", "--events", "/nonexistent/x.csv"}).code, 2);
    const Finished script = run_host({"--events", "/nonexistent/x.csv"},
                                     {.input = "PrimeSieve_NthPrime 4\nPrimeCount_PrimePi 5 --async\n"});
    EXPECT_EQ(script.code, 2);
    EXPECT_THAT(script.output, IsEmpty());
    EXPECT_THAT(script.errors, Not(HasSubstr("no events")));
    std::remove(path.c_str());
}

TEST(HostFailure, AnOptionBeforeTheExportSwallowsNothing) {
    const Finished run = run_host({"--fail", "MTensor_new=5", "PrimeSieve_ListPrimes", "0", "10"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.errors, HasSubstr("PrimeSieve_ListPrimes(0, 10) returned 5"));
    const Finished two =
        run_host({"--fail", "AbortQ=slow", "--fail", "MTensor_new=3", "PrimeSieve_ListPrimes", "0", "10"});
    EXPECT_THAT(two.errors, HasSubstr("returned 3"));
}

TEST(HostFailure, AbortAfterWorksAwayFromATerminal) {
    for (const Arguments& call :
         {Arguments{"PrimeSieve_CountPrimes", "0", "10^13"}, Arguments{"PrimeSieve_PrimeSum", "10^13"},
          Arguments{"PrimeSieve_PrimeSumInterval", "1", "10^13"}, Arguments{"PrimeSieve_NthPrime", "10^12"},
          Arguments{"PrimeSieve_NextKthPrime", "0", "10^11"}, Arguments{"plot", "pi", "10^18"},
          Arguments{"plot", "gaps", "0", "10^13"}, Arguments{"plot", "twins", "10^15"},
          Arguments{"plot", "events", "PrimeCount_PrimePi", "10^18"}, Arguments{"PrimeCount_PrimePi", "10^18"}}) {
        Arguments arguments = {"--abort-after", "0.2"};
        arguments.insert(arguments.end(), call.begin(), call.end());
        const Finished run = run_host(arguments);
        EXPECT_EQ(run.code, 1) << call[0] << call[1];
        EXPECT_THAT(run.errors, HasSubstr("stopped: " + call[0])) << call[1];
    }
    for (const Arguments& call :
         {Arguments{"PrimeSieve_CountPrimes", "0", "10^15", "--bare"}, Arguments{"PrimeCount_Legendre", "10^18"},
          Arguments{"PrimeCount_Coprime", "10^18", "10^8"}, Arguments{"PrimeSieve_ListPrimes", "0", "10^10"}}) {
        Arguments arguments = {"--abort-after", "0.2"};
        arguments.insert(arguments.end(), call.begin(), call.end());
        const Finished left = run_host(arguments);
        EXPECT_EQ(left.code, 1) << call[0];
        EXPECT_THAT(left.errors, HasSubstr("ended in the middle of the call")) << call[0] << " cannot be stopped";
    }
    EXPECT_EQ(run_host({"--abort-after", "0", "PrimeCount_PrimePi", "10^18"}).code, 1);
    for (const char* seconds : {"nan", "-1", "x"})
        EXPECT_EQ(run_host({"--abort-after", seconds, "PrimeCount_PrimePi", "5"}).code, 2) << seconds;
}

TEST(HostFailure, LinesThatEndAsWindowsEndsThem) {
    const Finished run = run_host({}, {.input = "# a comment\r\n\r\nPrimeSieve_NthPrime 4 -q\r\nquit\r\nnonsense\r\n"});
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ(run.output, "7\n");
}

TEST(HostFailure, TasksAreNamedByWhatTheyDo) {
    const Finished run = run_host(
        {}, {.input = "PrimeCount_PrimePi 100 --async\nwait\nPrimeCount_ExprPrimePi x --async\nwait\ntasks\n"});
    EXPECT_THAT(run.output, AllOf(HasSubstr("   1  done "), HasSubstr("   2  failed "), Not(HasSubstr("removed"))));
}

}  // namespace
