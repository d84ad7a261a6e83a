// SPDX-License-Identifier: MIT
#include "StandardOutput.h"

#include "Command.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace KxTileHost {

void OccupyClosedStreams()
{
    // In this order, because opening takes the lowest number that is free.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1 &&
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) == -1)
            return;
}

int FinishStandardOutput(int exitCode)
{
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0;
    // An earlier write may have failed though nothing is left to write now.
    if (flushed && std::ferror(stdout) == 0)
        return exitCode;
    const char* const reason = errno != 0 ? std::strerror(errno) : "an earlier write failed";
    std::fprintf(stderr, "kxtile: cannot write the answer to standard output: %s\n", reason);
    return exitCode == kExitDone ? kExitFailed : exitCode;
}

} // namespace KxTileHost
