// A limit of the compiled format reached for real: version 1.8 and later tag each language's
// index with the language's number in 16 bits, so 65536 languages are written and the 65537th
// would share its tag with the first. At the limit the file is written and the last language's
// index is found; one past it, no file is begun.
#include <gtest/gtest.h>

#include <string>

#include "compiled/Dictionary.h"
#include "compiled/LocalizedLanguages.h"
#include "compiled/TaggedFile.h"
#include "tests/support/MemoryApplication.h"

namespace {

std::string languages_source(int count) {
    std::string source = ".version 1.8\n";
    for (int i = 0; i < count; ++i) {
        source +=
            ".localized \"L" + std::to_string(i) + "\" \"k\" \"t" + std::to_string(i) + "\"\n";
    }
    return source;
}

}  // namespace

TEST(Limits, LanguagesWithAnIndexEachStopAt65536) {
    {
        MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
        application.files.Put("in.s", languages_source(65536));
        ASSERT_EQ(0, application.Go()) << application.capture->err;
        TaggedFile file(&application.files);
        ASSERT_TRUE(file.Open("out.tnc", FILE_MODE_READ));
        Dictionary dictionary;
        ASSERT_TRUE(dictionary.Read(&file));
        LocalizedLanguages languages(&application, &dictionary, &file, 12, 8);
        ASSERT_TRUE(languages.Read());
        ASSERT_EQ(65536, languages.Entries());
        _LL_Entry* last = languages.Get_Language_Entry("L65535", 6);
        ASSERT_NE(nullptr, last);
        ASSERT_NE(nullptr, last->index);
        EXPECT_EQ(65535, last->index->language());
        EXPECT_EQ(1, last->index->Entries());
    }
    MemoryAssemblerApplication application({"tnasm", "-o", "out.tnc", "in.s"});
    application.files.Put("in.s", languages_source(65537));
    EXPECT_EQ(1, application.Go());
    EXPECT_EQ("tnasm: Unable to create 'out.tnc': More than 65536 languages with an index each\n",
              application.capture->err);
    EXPECT_FALSE(application.files.Has("out.tnc"));
}
