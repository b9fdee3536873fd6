// tnasm_measure COMMAND [ARGS...]: runs the command and prints its wall time in seconds, its
// peak resident memory in kilobytes and its exit status, on one line to standard error.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s COMMAND [ARGS...]\n", argv[0]);
        return 2;
    }
    auto start = std::chrono::steady_clock::now();
    pid_t child = fork();
    if (child == 0) {
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    int status = 0;
    struct rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) < 0) {
        std::perror("tnasm_measure");
        return 2;
    }
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::fprintf(stderr, "wall %.6f rss_kb %ld status %d\n", seconds, usage.ru_maxrss, code);
    return code;
}
