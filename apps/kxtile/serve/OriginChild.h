// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace KxTileHost::Serve {

/// The tile service that comes with the program, as a child on a port of its own. It ends with
/// this object, and with the program however that ends; ends it before, it is started again on the
/// same port.
class OriginChild
{
public:
    /// What is started, and how long it may take.
    struct Program
    {
        std::string m_path; ///< called with --port and --log; says its address on its first line
        std::chrono::milliseconds m_timeToStart{10000};      ///< until that line
        std::chrono::milliseconds m_timeToStartAgain{10000}; ///< the same, of later starts
        std::chrono::milliseconds m_timeToEnd{1000};         ///< after SIGTERM; then it is killed
    };
    /// The one beside this program.
    /// @throws CommandError when it is not there
    static Program FindProgram();

    /// Starts it and waits until it answers. To be called with the signals blocked that end the
    /// program, by the thread that lives to the end.
    /// @throws CommandError when it cannot be started
    explicit OriginChild(Program program);
    ~OriginChild();
    OriginChild(const OriginChild&) = delete;
    OriginChild& operator=(const OriginChild&) = delete;

    /// "http://127.0.0.1:40123"
    const std::string& Address() const { return m_address; }
    /// Ends it without waiting. To be followed by the end of the program, or of this object.
    void Stop() const noexcept;

private:
    std::string Start(const std::string& port,
                      std::chrono::milliseconds time,
                      std::unique_lock<std::mutex>& guard);
    void Watch();
    bool StartAgain(std::unique_lock<std::mutex>& guard);

    const Program m_program;
    std::string m_address;
    mutable std::mutex m_lock; ///< for those below: a child that was waited for has no number more
    std::condition_variable m_changed;
    pid_t m_child = -1;
    bool m_ends = false;
    std::thread m_watch;
};

} // namespace KxTileHost::Serve
