// Entry point of tnasm-lsp: the language server over standard input and output. It reads
// whatever arrives, hands it to the server and writes the answers, until the editor sends
// `exit` or closes the input.
#include <mpdecimal.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "driver/TarnApplication.h"
#include "driver/lsp/LanguageServer.h"
#include "foundation/OutOfMemory.h"

namespace {

bool write_all(const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        done += static_cast<size_t>(written);
    }
    return true;
}

}  // namespace

int main() {
    // Memory that runs out ends the server with the one report and status 1, as it ends tnasm,
    // rather than with an uncaught allocation failure.
    tarn_report_out_of_memory();
    mpd_ieee_context(&Tarn_MPD_Context, 64);
    // An editor that goes away closes the pipe: the next write then fails and the server ends
    // with status 1, instead of being killed by the signal.
    std::signal(SIGPIPE, SIG_IGN);
    tarn_lsp::LanguageServer server;
    char buffer[65536];
    while (!server.exited()) {
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return 1;
        server.Receive(buffer, static_cast<size_t>(count));
        if (!write_all(server.TakeOutput())) return 1;
    }
    return server.exit_status();
}
