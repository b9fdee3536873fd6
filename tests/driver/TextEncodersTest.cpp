// The application's text encoders: HTML entities and attributes, NUL removal, JavaScript
// string escapes with and without UTF-8.
#include <gtest/gtest.h>

#include <string>

#include "driver/TarnApplication.h"
#include "driver/UNIXAssemblerApplication.h"
#include "foundation/LinkBuffer.h"

namespace {

using Encoder = char* (*)(const char*, int, int*, int*);

std::string Apply(Encoder encoder, const std::string& text) {
    int length = -1, size = -1;
    char* result = encoder(text.data(), static_cast<int>(text.size()), &length, &size);
    EXPECT_GE(size, length + 1);
    EXPECT_EQ(result[length], '\0');
    std::string s(result, static_cast<size_t>(length));
    delete[] result;
    return s;
}

std::string JavaScript(TarnApplication* app, const std::string& text) {
    LinkBuffer* buffer =
        app->EncodeJavaScriptString(text.data(), static_cast<int>(text.size()), nullptr);
    int length = 0, capacity = 0;
    const char* data = buffer->data(&length, &capacity);
    std::string s(data, static_cast<size_t>(length));
    delete buffer;
    return s;
}

char program[] = "tnasm";
char* arguments[] = {program, nullptr};

}  // namespace

TEST(TextEncoders, Table) {
    std::string amps;
    for (int i = 0; i < 3000; ++i) amps += "&amp;";
    struct Row {
        Encoder encoder;
        std::string in;
        std::string out;
    } rows[] = {
        {TarnApplication::EncodeEntities, "a<b>&\"c\"(d)'e'",
         "a&lt;b&gt;&amp;&quot;c&quot;&#40;d&#41;'e'"},
        {TarnApplication::EncodeAttribute, "it's\t<ok>", "it&#39;s&#9;&lt;ok&gt;"},
        {TarnApplication::DecodeEntities, "&lt;p&gt; &amp;amp; &quot;&apos;", "<p> &amp; \"'"},
        {TarnApplication::DecodeEntities, "&#40;&#x41;&#233;&#x20AC;", "(A\xC3\xA9\xE2\x82\xAC"},
        {TarnApplication::DecodeEntities, "&bogus; &#x; &#12 &#1114112;",
         "&bogus; &#x; &#12 &#1114112;"},
        {TarnApplication::StripNULLs, std::string("\0a\0\0b\0", 6), "ab"},
        {TarnApplication::EncodeEntities, std::string(3000, '&'), amps},  // several blocks
    };
    for (const Row& row : rows) EXPECT_EQ(Apply(row.encoder, row.in), row.out) << row.in;

    // Whatever EncodeAttribute writes, DecodeAttribute reads back.
    std::string every_byte;
    for (int byte = 1; byte < 256; ++byte) every_byte += static_cast<char>(byte);
    EXPECT_EQ(Apply(TarnApplication::DecodeAttribute,
                    Apply(TarnApplication::EncodeAttribute, every_byte)),
              every_byte);
}

TEST(TextEncoders, JavaScriptString) {
    UNIXAssemblerApplication app(1, arguments);
    struct Row {
        std::string in;
        std::string out;
    } ascii[] = {
        {"Az09 $+,-.:@_", "Az09 $+,-.:@_"},
        {"\b\t\n\f\r", "\\b\\t\\n\\f\\r"},
        {"\"/\\", "\\\"\\/\\\\"},
        {"'<\x01\x7f", "\\u0027\\u003C\\u0001\\u007F"},
    };
    for (const Row& row : ascii) EXPECT_EQ(JavaScript(&app, row.in), row.out) << row.in;

    Row utf8[] = {
        {"\xE2\x82\xAC", "\\u20AC"},
        // Plane 2 shows that 0x10000 is not taken off before the split.
        {"\xF0\xA0\x80\x80", "\\uD800\\uDC00"},
        // Cut off by the end: each byte alone.
        {"\xE2\x82", "\\u00E2\\u0082"},
    };
    for (const Row& row : utf8) EXPECT_EQ(JavaScript(&app, row.in), row.out) << row.out;

    app.SetCharacterSet("iso-8859-1", -1);
    EXPECT_EQ(JavaScript(&app, "\xC3\xA9\xE2\x82\xAC"), "\\u00C3\\u00A9\\u00E2\\u0082\\u00AC");
}
