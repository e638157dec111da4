/**
 * @file   progress_test.cpp
 * @brief  Durations and the progress line's shape.
 */

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "terminal/duration.h"
#include "terminal/progress_line.h"
#include "terminal/progress_text.h"

namespace {

using kesh_host::format_duration;
using kesh_host::ProgressLook;
using kesh_host::render_progress;

TEST(Progress, Durations) {
    EXPECT_EQ(format_duration(0), "1 us");
    EXPECT_EQ(format_duration(0.00035), "350 us");
    EXPECT_EQ(format_duration(0.0024), "2.4 ms");
    EXPECT_EQ(format_duration(0.42), "0.42 s");
    EXPECT_EQ(format_duration(12.34), "12.3 s");
    EXPECT_EQ(format_duration(125), "2 min 05 s");
    EXPECT_EQ(format_duration(3 * 3600 + 180), "3 h 03 min");
}

TEST(Progress, FitsItsWidth) {
    const ProgressLook plain;
    const std::string label = "PrimeCount_SomethingWithAVeryLongName(123456789012345678901234567890)";
    for (const unsigned width : {40U, 80U, 200U}) {
        for (const double fraction : {0.0, 0.3, 1.0, 7.0}) {
            EXPECT_LT(render_progress(label, fraction, 100, "", width, plain).size(), width) << width;
        }
        EXPECT_LT(render_progress(label, std::nullopt, 100, "", width, plain).size(), width) << width;
    }
}

TEST(Progress, SaysWhatIsLeft) {
    const ProgressLook plain;
    EXPECT_THAT(
        render_progress("x", 0.25, 10, "", 80, plain),
        testing::AllOf(testing::HasSubstr("25.0 %"), testing::HasSubstr("30.0 s left"), testing::HasSubstr("#")));
    EXPECT_THAT(render_progress("x", 0.001, 1, "", 80, plain), testing::Not(testing::HasSubstr("left")));
    EXPECT_THAT(render_progress("x", 0.001, 10, "", 80, plain), testing::HasSubstr("2 h 46 min left"));
    EXPECT_THAT(render_progress("x", 0, 10, "", 80, plain), testing::Not(testing::HasSubstr("left")));
    EXPECT_THAT(render_progress("x", 0.5, 10, "stopping", 80, plain),
                testing::AllOf(testing::HasSubstr("stopping"), testing::Not(testing::HasSubstr("left"))));
    EXPECT_THAT(render_progress("x", std::nullopt, 10, "", 80, plain),
                testing::AllOf(testing::HasSubstr("10.0 s"), testing::Not(testing::HasSubstr("%"))));
}

TEST(Progress, TicksAndEndsQuickly) {
    std::atomic<int> ticks = 0;
    {
        const kesh_host::ProgressLine line(ProgressLook{}, "x", {.fraction = {}, .note = {}, .tick = [&] { ++ticks; }});
        while (ticks < 2) std::this_thread::yield();
    }
    EXPECT_GE(ticks, 2);
}

}  // namespace
