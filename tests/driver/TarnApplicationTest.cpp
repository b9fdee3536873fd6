// Settings and their change counters, the error channel, time-outs and log filters.
#include "driver/TarnApplication.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/MemoryApplication.h"

namespace {

// Any application serves; this one keeps what it writes.
struct App : MemoryAssemblerApplication {
    App() : MemoryAssemblerApplication({"/usr/bin/tnasm"}) {}
};

}  // namespace

TEST(TarnApplication, EachSetterRaisesOnlyItsOwnCounter) {
    App app;
    app.SetLanguage("de-DE", -1);
    app.SetLanguage("fr-FRxx", 5);
    EXPECT_STREQ(app.language().c_str(), "fr-FR");
    EXPECT_EQ(app.languagecount(), 3);
    app.SetDefaultLanguage("it", -1);
    EXPECT_EQ(app.defaultlanguagecount(), 2);
    EXPECT_EQ(app.charsetcount(), 1);
    app.SetCharacterSet("iso-8859-1", -1);
    app.SetCharacterSet("utf-8x", 5);  // counted: "utf-8"
    EXPECT_TRUE(app.CharacterSetIsUTF8());
    EXPECT_EQ(app.charsetcount(), 3);
}

TEST(TarnApplication, ErrorsGoToTheErrorStreamAtOnce) {
    App app;
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

TEST(TarnApplication, ParseLogFilter) {
    App app;
    EXPECT_EQ(app.ParseLogFilter(" 16, 0x30:main ,, !4096 "), 0);
    const LogFilterEntry* entry = app.logfilter();
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->events, 16u);
    EXPECT_TRUE(entry->function_name.empty());
    entry = entry->next;
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->events, 0x30u);
    EXPECT_STREQ(entry->function_name.c_str(), "main");
    EXPECT_EQ(entry->next, nullptr);
    ASSERT_NE(app.logexclusions(), nullptr);
    EXPECT_EQ(app.logexclusions()->events, 4096u);

    EXPECT_EQ(app.ParseLogFilter("32,abc,64"), 1);
    int count = 0;
    for (entry = app.logfilter(); entry != nullptr; entry = entry->next) ++count;
    EXPECT_EQ(count, 3);  // 32 was added before the bad item
    EXPECT_EQ(app.ParseLogFilter(":main"), 1);
}
