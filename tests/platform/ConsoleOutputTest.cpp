// Console output channel over pipes: buffering of ordinary output, immediacy of error reports.
#include "platform/ConsoleOutput.h"

#include <gtest/gtest.h>

#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Everything that is waiting in the pipe, without blocking.
std::string Drain(int fd) {
    std::string text;
    char bytes[4096];
    ssize_t n;
    while ((n = read(fd, bytes, sizeof bytes)) > 0) text.append(bytes, static_cast<size_t>(n));
    return text;
}

struct Pipe {
    int fds[2];
    Pipe() {
        EXPECT_EQ(pipe(fds), 0);
        fcntl(fds[0], F_SETFL, O_NONBLOCK);
    }
    ~Pipe() {
        close(fds[0]);
        close(fds[1]);
    }
};

}  // namespace

TEST(ConsoleOutput, BuffersOutputButNotErrors) {
    Pipe out, err;
    {
        ConsoleOutput console(8, out.fds[1], err.fds[1]);
        EXPECT_EQ(console.Write("abc", 3), 3);
        EXPECT_EQ(console.WriteError("oops\n", 5), 5);
        EXPECT_EQ(Drain(out.fds[0]), "");
        EXPECT_EQ(Drain(err.fds[0]), "oops\n");
        // Filling past the buffer sends what was held first, in order.
        EXPECT_EQ(console.Write("defgh", 5), 5);
        EXPECT_EQ(Drain(out.fds[0]), "");
        EXPECT_EQ(console.Write("i", 1), 1);
        EXPECT_EQ(Drain(out.fds[0]), "abcdefgh");
        // A piece bigger than the buffer goes straight through, after the held bytes.
        EXPECT_EQ(console.Write("0123456789", 10), 10);
        EXPECT_EQ(Drain(out.fds[0]), "i0123456789");
        EXPECT_EQ(console.Write("end", 3), 3);
    }
    EXPECT_EQ(Drain(out.fds[0]), "end");  // flushed by the destructor
}
