// tnasm-lsp through its protocol: the assembler's reports placed on their tokens (with the
// place of the cause where the report comes later), the going on after an error, the
// JSON-RPC errors, and navigation, renaming and completion under the assembler's own rules.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "driver/lsp/LanguageServer.h"
#include "driver/lsp/SourceDocument.h"

namespace {

using json = nlohmann::json;
using tarn_lsp::Position;

std::string frame(const std::string& body) {
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

class Session {
  public:
    explicit Session(bool initialize = true) {
        if (initialize) Request("initialize", json::object());
    }
    // Sends raw bytes; returns every message that came back.
    std::vector<json> Raw(const std::string& bytes) {
        server_.Receive(bytes.data(), bytes.size());
        std::vector<json> messages;
        std::string out = server_.TakeOutput();
        while (!out.empty()) {
            const size_t end = out.find("\r\n\r\n");
            const size_t length = std::stoul(out.substr(16, end - 16));
            messages.push_back(json::parse(out.substr(end + 4, length)));
            out.erase(0, end + 4 + length);
        }
        return messages;
    }
    json Request(const std::string& method, json params) {
        const std::vector<json> answers = Raw(frame(
            json{{"jsonrpc", "2.0"}, {"id", ++id_}, {"method", method}, {"params", params}}
                .dump()));
        return answers.empty() ? json() : answers.back();
    }
    json Notify(const std::string& method, json params) {
        const std::vector<json> answers =
            Raw(frame(json{{"jsonrpc", "2.0"}, {"method", method}, {"params", params}}.dump()));
        return answers.empty() ? json() : answers.back()["params"]["diagnostics"];
    }
    json Open(const std::string& text) {
        return Notify("textDocument/didOpen",
                      {{"textDocument", {{"uri", "file:///t.s"}, {"text", text}}}});
    }
    json At(const std::string& method, int line, int character, json extra = json::object()) {
        extra["textDocument"] = {{"uri", "file:///t.s"}};
        extra["position"] = {{"line", line}, {"character", character}};
        return Request(method, extra);
    }

  private:
    tarn_lsp::LanguageServer server_;
    int id_ = 0;
};

std::string where(const json& range) {
    return std::to_string(range["start"]["line"].get<int>()) + ":" +
           std::to_string(range["start"]["character"].get<int>()) + "-" +
           std::to_string(range["end"]["character"].get<int>());
}

// One line per diagnostic: code, place, message, and the related place when there is one.
std::string summary(const json& diagnostics) {
    std::string text;
    for (const json& d : diagnostics) {
        text += d["code"].get<std::string>() + " " + where(d["range"]) + " " +
                d["message"].get<std::string>();
        if (d.contains("relatedInformation")) {
            text += " @" + where(d["relatedInformation"][0]["location"]["range"]);
        }
        text += "\n";
    }
    return text;
}

}  // namespace

TEST(LanguageServer, DiagnosesEachFunctionOnItsOwnTokens) {
    const struct {
        const char* source;
        const char* expected;
    } cases[] = {
        {"pop\n", ""},
        {"  pushx\n", "AE_315 0:2-7 unrecognized operation code: pushx\n"},
        // A missing comma is said of the last operand, which the message quotes.
        {"  pushdc a\n", "AE_302 0:9-10 String constant identifier a not found\n"},
        {".string a \"x\"\n  pushdc a\n", "AE_326 1:9-10 Expected comma, found a\n"},
        {".function f privat\n.endfunction\n",
         "AE_328 0:12-18 Unrecognized function qualifier \"privat\"\n"},
        {".local x \"a\"\n.local x \"b\"\n", "AE_331 1:7-8 Duplicate variable identifier x\n"},
        // Reports made later than their cause point back to it.
        {".function f\n  jmp nowhere\n.endfunction\n",
         "AE_333 2:0-12 Label nowhere not defined @1:6-13\n"},
        {"  call Main\n.function main\n.endfunction\n",
         "AE_313 3:0-0 Unable to resolve function \"Main\" @0:7-11\n"},
        {".function f\n  pop\n", "AE_313 2:0-0 Found end of file inside a .function declaration @0:10-11\n"},
        // After an error each later function is read on its own; calls to a function whose
        // body failed still find it.
        {".function a\n  pushl x\n.endfunction\n.function b\n  bad\n.endfunction\n"
         ".function c\n  call a\n  pushg g\n.endfunction\n",
         "AE_332 1:8-9 Reference to local x not resolvable\n"
         "AE_315 4:2-5 unrecognized operation code: bad\n"
         "AE_304 8:8-9 Global variable identifier g not found\n"},
        // A header being written above the next function fails alone.
        {".function\n.function b\n  pushl x\n.endfunction\n",
         "AE_321 0:9-9 Expected underscore or letter\n"
         "AE_332 2:8-9 Reference to local x not resolvable\n"},
        {"  pop ,\n  pop :x\n", "AE_318 0:6-6 Unexpected comma\n"
                                 "AE_314 1:6-7 Unrecognized directive or punctuation mark: :x\n\n"},
    };
    for (const auto& c : cases) {
        Session session;
        EXPECT_EQ(summary(session.Open(c.source)), c.expected) << c.source;
    }
}

TEST(LanguageServer, AnswersBadMessagesWithTheirErrors) {
    const std::string hover =
        R"({"jsonrpc":"2.0","id":7,"method":"textDocument/hover","params":{"textDocument":{"uri":"file:///t.s"}}})";
    const struct {
        bool initialized;
        std::string bytes;
        int code;
    } cases[] = {
        {true, frame("{x"), -32700},
        {true, "Content-Type: x\r\n\r\n", -32700},
        {true, frame("[1]"), -32600},
        {true, frame(R"({"jsonrpc":"1.0","id":1,"method":"shutdown"})"), -32600},
        {true, frame(R"({"jsonrpc":"2.0","id":[],"method":"shutdown"})"), -32600},
        {false, frame(R"({"jsonrpc":"2.0","id":1,"method":"shutdown"})"), -32002},
        {true, frame(R"({"jsonrpc":"2.0","id":1,"method":"workspace/symbol"})"), -32601},
        {true, frame(hover), -32602},
        {true, frame(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{}})"), -32600},
    };
    for (const auto& c : cases) {
        Session session(c.initialized);
        const std::vector<json> answers = session.Raw(c.bytes);
        ASSERT_EQ(answers.size(), 1u) << c.bytes;
        EXPECT_EQ(answers[0]["error"]["code"], c.code) << c.bytes;
    }
    // A message cut anywhere is answered once it is whole.
    Session session;
    const std::string bytes = frame(R"({"jsonrpc":"2.0","id":3,"method":"shutdown"})");
    EXPECT_TRUE(session.Raw(bytes.substr(0, 20)).empty());
    EXPECT_EQ(session.Raw(bytes.substr(20))[0]["id"], 3);
}

TEST(LanguageServer, NavigatesWithTheAssemblersScopes) {
    Session session;
    session.Open(
        ".string s \"text\"\n"                                // 0
        ".function main\n"                                    // 1
        ".parameter p \"pp\"\n"                               // 2
        "top: pushl p\n"                                      // 3
        "  jmp top\n"                                         // 4
        "  call other\n"                                      // 5
        ".endfunction\n"                                      // 6
        ".function other\n"                                   // 7
        ".local p \"q\"\n"                                    // 8
        "top: pushl p\n"                                      // 9
        "  jmp_eq top\n"                                      // 10
        "  pushc s\n"                                         // 11
        ".endfunction\n");
    EXPECT_EQ(where(session.At("textDocument/definition", 4, 7)["result"]["range"]), "3:0-3");
    EXPECT_EQ(where(session.At("textDocument/definition", 10, 10)["result"]["range"]), "9:0-3");
    EXPECT_EQ(where(session.At("textDocument/definition", 5, 8)["result"]["range"]), "7:10-15");
    EXPECT_EQ(session.At("textDocument/references", 9, 11)["result"].size(), 2u);
    EXPECT_EQ(session.At("textDocument/references", 0, 8)["result"].size(), 2u);
    EXPECT_EQ(session.At("textDocument/hover", 9, 11)["result"]["contents"]["value"],
              "```tnasm\n.local p \"q\"\n```\n\nlocal variable `p` of function `other`\n\n"
              "run-time name `q`, slot 0");

    const struct {
        int line, character;
        const char* name;
        const char* refusal;  // null: renamed
        size_t edits;
    } renames[] = {
        {3, 12, "count", nullptr, 2},  {9, 0, "again", nullptr, 2},
        {1, 11, "OTHER", "'OTHER' is already declared as function 'other'", 0},
        {8, 7, "1x", "'1x' is not an identifier", 0},
        {2, 0, "x", "There is no symbol to rename here", 0},
    };
    for (const auto& r : renames) {
        const json answer =
            session.At("textDocument/rename", r.line, r.character, {{"newName", r.name}});
        if (r.refusal != nullptr) {
            EXPECT_EQ(answer["error"]["message"], r.refusal);
        } else {
            EXPECT_EQ(answer["result"]["changes"]["file:///t.s"].size(), r.edits) << r.name;
        }
    }
    const json symbols = session.Request("textDocument/documentSymbol",
                                         {{"textDocument", {{"uri", "file:///t.s"}}}})["result"];
    ASSERT_EQ(symbols.size(), 3u);
    EXPECT_EQ(symbols[1]["children"].size(), 2u);
}

TEST(LanguageServer, CompletesWhatMayStandThere) {
    Session session;
    session.Open(".string s \"x\"\n.global g \"y\"\n.function f\n.local l \"z\"\nL1: pop\n"
                 "  pushl \n  jmp_eq \n  call \n  pushc \n.endfunction\n.function h \n.fu\n.endfunction\n"
                 ".abcdefghijklmnopqrstuvwxyz-\n");
    auto labels = [&session](int line, int character) {
        std::string text;
        const json answer = session.At("textDocument/completion", line, character);
        for (const json& item : answer["result"]["items"]) text += item["label"].get<std::string>() + " ";
        return text;
    };
    EXPECT_EQ(labels(5, 8), "l ");
    EXPECT_EQ(labels(6, 9), "L1 ");
    EXPECT_EQ(labels(7, 7), "f h ");
    EXPECT_EQ(labels(8, 8), "s ");
    EXPECT_EQ(labels(10, 12).substr(0, 9), "external ");
    EXPECT_EQ(labels(11, 3).find("pushl"), std::string::npos);
    EXPECT_NE(labels(11, 3).find(".function .endfunction .parameter"), std::string::npos);
    EXPECT_NE(labels(4, 4).find("pushl"), std::string::npos);
    // A dash before the end of the line once took the length of the token before it.
    EXPECT_EQ(labels(13, 28), "");
}

TEST(SourceDocument, CountsColumnsInUtf16AndAppliesEdits) {
    tarn_lsp::SourceDocument document("a\xC3\xA9\xF0\x9F\x98\x80z\n\xFFq");
    EXPECT_EQ(document.PositionOf(7).character, 4);  // 'z': a, é, and two units for the emoji
    EXPECT_EQ(document.OffsetOf(Position{0, 4}), 7);
    EXPECT_EQ(document.OffsetOf(Position{1, 1}), 10);  // a stray byte counts one
    EXPECT_EQ(document.OffsetOf(Position{0, 99}), 8);
    document.Replace(Position{1, 0}, Position{0, 1}, "-\n");
    EXPECT_EQ(document.text(), "a-\n\xFFq");
    EXPECT_EQ(document.line_count(), 2);
}
