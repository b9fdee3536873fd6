// The error channel.
#include "driver/TarnApplication.h"

#include <gtest/gtest.h>

#include "tests/support/MemoryApplication.h"

TEST(TarnApplication, ErrorsGoToTheErrorStreamAtOnce) {
    MemoryAssemblerApplication app({"/usr/bin/tnasm"});
    CapturedOutput* capture = app.capture;
    EXPECT_EQ(app.Error(String("one\n")), 0);
    EXPECT_EQ(app.Error("two\n"), 0);
    EXPECT_EQ(app.Error("three\nxx", 6), 0);
    EXPECT_EQ(app.Notify_FatalError(String("four\n")), 0);
    EXPECT_EQ(app.Notify_RuntimeError(7, String("hidden\n"), false), 0);
    EXPECT_EQ(app.Notify_RuntimeError(7, String("five\n"), true), 0);
    EXPECT_EQ(capture->err, "one\ntwo\nthree\nfour\nfive\n");
    EXPECT_EQ(capture->out, "");
}
