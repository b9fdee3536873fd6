// Fuzz target: any bytes through tnasm-lsp. The input is cut at each zero byte into pieces; a
// piece that begins with '{' is sent as a message body under a correct Content-Length header,
// a piece that begins with '!' goes in raw, framing and all, and any other piece becomes the
// text of the open document, followed by a request of every kind at a place drawn from it.
// Whatever comes in, the server must answer in whole framed messages and never stop.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <mpdecimal.h>

#include "driver/TarnApplication.h"
#include "driver/lsp/LanguageServer.h"

namespace {

std::string frame(const std::string& body) {
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// The JSON text of 'text' as a string literal.
std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x80) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            out += escape;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

// Every answer must be a whole framed message.
void check_framing(const std::string& output) {
    size_t at = 0;
    while (at < output.size()) {
        if (output.compare(at, 16, "Content-Length: ") != 0) std::abort();
        const size_t end = output.find("\r\n\r\n", at);
        if (end == std::string::npos) std::abort();
        const size_t length = std::strtoul(output.c_str() + at + 16, nullptr, 10);
        at = end + 4 + length;
        if (at > output.size()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    tarn_lsp::LanguageServer server;
    std::string output;
    auto send = [&server, &output](const std::string& bytes) {
        server.Receive(bytes.data(), bytes.size());
        output += server.TakeOutput();
    };
    send(frame(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{}})"));
    const std::string input(reinterpret_cast<const char*>(data), size);
    size_t start = 0;
    int id = 1;
    while (start <= input.size() && !server.exited()) {
        size_t end = input.find('\0', start);
        if (end == std::string::npos) end = input.size();
        const std::string piece = input.substr(start, end - start);
        start = end + 1;
        if (!piece.empty() && piece[0] == '{') {
            send(frame(piece));
        } else if (!piece.empty() && piece[0] == '!') {
            send(piece.substr(1));
        } else {
            send(frame(R"({"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"f:a","text":)" +
                       quoted(piece) + "}}}"));
            const unsigned seed = piece.empty() ? 0 : static_cast<unsigned char>(piece.back());
            const std::string where = R"("textDocument":{"uri":"f:a"},"position":{"line":)" +
                                      std::to_string(seed % 8) + R"(,"character":)" +
                                      std::to_string(seed / 8) + "}";
            for (const char* method : {"definition", "references", "hover", "completion",
                                       "documentSymbol"}) {
                send(frame(R"({"jsonrpc":"2.0","id":)" + std::to_string(id++) +
                           R"(,"method":"textDocument/)" + method + R"(","params":{)" + where +
                           "}}"));
            }
            send(frame(R"({"jsonrpc":"2.0","id":)" + std::to_string(id++) +
                       R"(,"method":"textDocument/rename","params":{)" + where +
                       R"(,"newName":"renamed"}})"));
        }
    }
    check_framing(output);
    return 0;
}
