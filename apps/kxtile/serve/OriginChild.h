// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

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
    /// Starts it and waits until it answers. To be called before any other thread is started, with
    /// the signals blocked that end the program, by the thread that lives to the end.
    /// @throws CommandError when it cannot be started
    OriginChild();
    ~OriginChild();
    OriginChild(const OriginChild&) = delete;
    OriginChild& operator=(const OriginChild&) = delete;

    /// "http://127.0.0.1:40123"
    const std::string& Address() const { return m_address; }
    /// Ends it without waiting. To be followed by the end of the program, or of this object.
    void Stop() const noexcept;

private:
    std::string Start(const std::string& port, std::unique_lock<std::mutex>& guard);
    void Watch();
    bool StartAgain(std::unique_lock<std::mutex>& guard);

    std::string m_program;
    std::string m_address;
    mutable std::mutex m_lock; ///< for those below: a child that was waited for has no number more
    std::condition_variable m_changed;
    pid_t m_child = -1;
    bool m_ends = false;
    std::thread m_watch;
};

} // namespace KxTileHost::Serve
