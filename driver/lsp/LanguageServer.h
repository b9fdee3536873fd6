// tnasm-lsp's protocol side: JSON-RPC messages framed by Content-Length headers, the
// documents the editor has open, and the answers drawn from each document's analysis.
#ifndef TARN_DRIVER_LSP_LANGUAGESERVER_H
#define TARN_DRIVER_LSP_LANGUAGESERVER_H

#include <cstddef>
#include <memory>
#include <string>

namespace tarn_lsp {

class LanguageServer {
  public:
    LanguageServer();
    ~LanguageServer();
    LanguageServer(const LanguageServer&) = delete;
    LanguageServer& operator=(const LanguageServer&) = delete;

    // Takes input as it arrives, in pieces of any size; whole messages are answered at once.
    void Receive(const char* bytes, size_t count);
    // The framed messages written since the last call.
    std::string TakeOutput();

    // Set once the editor has sent `exit`; the process then ends with exit_status(): 0 after
    // a `shutdown`, 1 without.
    bool exited() const;
    int exit_status() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tarn_lsp

#endif
