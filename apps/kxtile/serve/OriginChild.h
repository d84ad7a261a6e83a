// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>

namespace KxTileHost::Serve {

/// The tile service that comes with the program, as a child on a port of its own. It ends with
/// this object, and with the program however that ends.
class OriginChild
{
public:
    /// Starts it and waits until it answers. To be called before any thread is started, by the
    /// thread that lives to the end.
    /// @throws CommandError when it cannot be started
    OriginChild();
    ~OriginChild();
    OriginChild(const OriginChild&) = delete;
    OriginChild& operator=(const OriginChild&) = delete;

    /// "http://127.0.0.1:40123"
    const std::string& Address() const { return m_address; }
    /// Ends it without waiting.
    void Stop() const noexcept;

private:
    pid_t m_child = -1;
    std::string m_address;
};

} // namespace KxTileHost::Serve
