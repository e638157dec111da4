/**
 * @file   page_process_test.cpp
 * @brief  The documents about kesh-host agree with the program: the reference page, the man page, the shell's
 * completion, the plots as files.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "host/process.h"

namespace {

using namespace kesh::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string file_text(const std::string& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> lines_of(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(HostPages, TheReferencePageIsFresh) {
    EXPECT_EQ(file_text(KESH_SOURCE_DIR "/docs/functions.md"), run_host({"--functions-page"}).output)
        << "renew it: kesh-host --functions-page > docs/functions.md";
}

TEST(HostPages, EveryOptionAndCommandIsInTheManPageAndTheManual) {
    std::string man = file_text(KESH_SOURCE_DIR "/BenchHost/kesh-host.1");
    man.erase(std::remove(man.begin(), man.end(), '\\'), man.end());
    const std::string manual = file_text(KESH_SOURCE_DIR "/docs/kesh-host.md");
    const auto options = lines_of(run_host({"--complete", "options"}).output);
    EXPECT_GT(options.size(), 20U);
    for (const std::string& option : options) {
        EXPECT_THAT(man, HasSubstr(option));
        EXPECT_THAT(manual, HasSubstr("`" + option)) << option;
    }
    const auto commands = nlohmann::json::parse(run_host({"help", "--json"}).output);
    EXPECT_GT(commands.size(), 10U);
    for (const auto& command : commands) {
        EXPECT_THAT(man, HasSubstr(command["command"]));
        EXPECT_THAT(manual, HasSubstr("`" + command["command"].get<std::string>()));
    }
    const auto plots = lines_of(run_host({"--complete", "plot"}).output);
    EXPECT_GE(plots.size(), 4U);
    for (const std::string& plot : plots) {
        EXPECT_THAT(man, HasSubstr("plot " + plot));
        EXPECT_THAT(manual, HasSubstr("`plot " + plot));
    }
    const auto settings = lines_of(run_host({"--complete", "set"}).output);
    EXPECT_GE(settings.size(), 4U);
    for (const std::string& setting : settings) EXPECT_THAT(manual, HasSubstr(setting));
}

/** The matches of the pattern's first group in the file, each once. */
std::set<std::string> names_in(const std::string& path, const std::string& pattern) {
    const std::string text = file_text(path);
    const std::regex expression(pattern);
    std::set<std::string> names;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
        names.insert((*match)[1]);
    return names;
}

TEST(HostPages, EveryErrorCodeAndBuildOptionHasALine) {
    const auto codes = names_in(KESH_SOURCE_DIR "/HostInterface/VelmoraLibrary.h", "(LIBRARY_[A-Z_]+) = ");
    EXPECT_EQ(codes.size(), 8U);
    const std::string interface_page = file_text(KESH_SOURCE_DIR "/docs/host-interface.md");
    for (const std::string& code : codes) EXPECT_THAT(interface_page, HasSubstr('`' + code + '`'));

    const auto options = names_in(KESH_SOURCE_DIR "/CMakeLists.txt", "(?:option|set)\\((KESH_[A-Z]+) ");
    EXPECT_GE(options.size(), 5U);
    const std::string building_page = file_text(KESH_SOURCE_DIR "/docs/building.md");
    for (const std::string& option : options) EXPECT_THAT(building_page, HasSubstr('`' + option + '`'));
}

TEST(HostPages, CompletionInTheShell) {
    const auto complete = [](const std::string& words, int index) {
        const std::string folder = std::filesystem::path(KESH_HOST_PROGRAM).parent_path();
        const std::string script = "source '" KESH_SOURCE_DIR "/BenchHost/kesh-host.bash'; PATH='" + folder +
                                   "':$PATH; COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(index) +
                                   "; _kesh_host 2>/dev/null; echo \"${COMPREPLY[@]}\"";
        FILE* pipe = popen(("bash -c \"" +
                            [&] {
                                std::string quoted;
                                for (const char c : script)
                                    quoted +=
                                        c == '"' || c == '$' || c == '\\' ? std::string("\\") + c : std::string(1, c);
                                return quoted;
                            }() +
                            "\"")
                               .c_str(),
                           "r");
        std::string text;
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
        pclose(pipe);
        return text;
    };
    EXPECT_EQ(complete("kesh-host PrimeSieve_Nth", 1), "PrimeSieve_NthPrime\n");
    EXPECT_EQ(complete("kesh-host PrimeSieve_NthPrime 5 --js", 3), "--json\n");
    EXPECT_EQ(complete("kesh-host nthp", 1), "PrimeSieve_NthPrime\n") << "in the middle, in small letters";
    EXPECT_EQ(complete("kesh-host plot tw", 2), "twins\n");
    EXPECT_EQ(complete("kesh-host --json KESH_R", 2), "KESH_RT_PrimeQ\n");
    EXPECT_EQ(complete("kesh-host --color al", 2), "always\n");
    EXPECT_EQ(complete("kesh-host --fail UTF8", 2), "UTF8String_disown=\n");
    EXPECT_EQ(complete("kesh-host --events /etc/host", 2), complete("kesh-host --library /etc/host", 2));
    EXPECT_THAT(complete("kesh-host --events /etc/host", 2), HasSubstr("/etc/hostname"));
    EXPECT_EQ(complete("kesh-host --threads --js", 2), "\n") << "a number is expected";
    EXPECT_EQ(complete("kesh-host --json --qu", 2), "--quiet\n") << "a flag takes nothing";
    EXPECT_EQ(complete("kesh-host PrimeSieve_NthPrime Prime", 2), "\n") << "arguments are numbers";
}

TEST(HostPages, PlotsInTheTerminalAndAsFiles) {
    EXPECT_THAT(run_host({"plot", "pi", "1000"}).output,
                AllOf(HasSubstr("pi(x) = 168"), HasSubstr("Li(x)"), HasSubstr("│")));
    EXPECT_THAT(run_host({"plot", "pi", "1000"}, {.environment = {{"LC_ALL", "C"}}}).output,
                AllOf(HasSubstr("*"), testing::Not(HasSubstr("│"))));
    const auto data = nlohmann::json::parse(run_host({"plot", "twins", "1000", "--points", "5", "--json"}).output);
    EXPECT_EQ(data["curves"][0]["points"].back()[1], 35);
    EXPECT_THAT(run_host({"plot", "events", "PrimeCount_PrimePi", "10^12"}).output, HasSubstr("Result 37607912018"));

    const std::string svg = testing::TempDir() + "kesh_plot.svg";
    const std::string png = testing::TempDir() + "kesh_plot.png";
    const Finished drawn = run_host({"plot", "gaps", "0", "10^5", "--svg", svg, "--png", png});
    if (drawn.errors.find("gnuplot is not installed") != std::string::npos) GTEST_SKIP() << "no gnuplot";
    EXPECT_EQ(drawn.code, 0) << drawn.errors;
    EXPECT_THAT(file_text(svg), AllOf(HasSubstr("<svg"), HasSubstr("Gaps between neighbouring primes")));
    EXPECT_THAT(file_text(png), StartsWith("\x89PNG"));
    EXPECT_EQ(run_host({"plot", "pi", "10^4", "--svg", svg}).code, 0);
    EXPECT_THAT(file_text(svg), AllOf(HasSubstr("pi(x)"), HasSubstr("x / ln x"), HasSubstr("Li(x)")));
    std::remove(svg.c_str());
    std::remove(png.c_str());
}

TEST(HostPages, EventsAsCsv) {
    const std::string path = testing::TempDir() + "kesh_events.csv";
    EXPECT_EQ(run_host({"PrimeCount_PrimePi", "10^13", "--progress", "--events", path}).code, 0);
    const auto lines = lines_of(file_text(path));
    ASSERT_GT(lines.size(), 3U);
    EXPECT_EQ(lines[0], "seconds,task,event,value");
    EXPECT_THAT(lines[1], HasSubstr(",1,Status,"));
    EXPECT_THAT(lines[lines.size() - 2], HasSubstr(",1,Result,346065536839"));
    EXPECT_THAT(lines.back(), HasSubstr(",1,removed,"));
    std::remove(path.c_str());
}

}  // namespace
