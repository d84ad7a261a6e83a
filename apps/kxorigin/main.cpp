// SPDX-License-Identifier: MIT
#include "Options.h"
#include "Server.h"

#include <csignal>
#include <cstdio>
#include <exception>

namespace {

/// Blocks the signals that end the service, before any thread starts, so that every thread does.
sigset_t BlockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void Serve(const KxOrigin::Options& options)
{
    const sigset_t endSignals = BlockEndSignals();
    // A client that hangs up is not a reason to end.
    std::signal(SIGPIPE, SIG_IGN);

    KxOrigin::RequestLog log(options.log);
    KxOrigin::Service service(KxOrigin::DecodePicture(KxOrigin::EmbeddedBlueMarble()));
    const KxOrigin::Server server(service, log, options.bind, options.port);
    std::printf("kxorigin listening on http://%s:%u\n",
                options.bind.c_str(),
                static_cast<unsigned int>(server.Port()));
    std::fflush(stdout);

    int received = 0;
    sigwait(&endSignals, &received);
}

} // namespace

int main(int argc, char** argv)
try {
    const KxOrigin::Options options = KxOrigin::ReadOptions(argc, argv);
    if (options.exitCode)
        return *options.exitCode;
    Serve(options);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "kxorigin: %s\n", error.what());
    return 1;
}
