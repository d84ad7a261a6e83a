// SPDX-License-Identifier: MIT
#include "FaultStage.h"

#include <microhttpd.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

namespace KxOrigin {

namespace {

int SocketOf(MHD_Connection* connection)
{
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

} // namespace

FaultStage::FaultStage() : m_stopSignal(::eventfd(0, EFD_CLOEXEC))
{
    if (m_stopSignal < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

FaultStage::~FaultStage()
{
    Stop();
    ::close(m_stopSignal);
}

bool FaultStage::Play(MHD_Connection* connection, const Fault& fault, const Response& tile)
{
    const std::lock_guard lock(m_mutex);
    SweepUp();
    if (m_isStopping || m_acts.size() >= kMostAtOnce)
        return false;
    MHD_suspend_connection(connection);
    try {
        Begin(connection, fault, tile);
    } catch (const std::exception&) {
        // No thread: the client sees a dropped connection, which is a fault too.
        MHD_resume_connection(connection);
    }
    return true;
}

void FaultStage::Begin(MHD_Connection* connection, const Fault& fault, const Response& tile)
{
    Act& act = m_acts.emplace_back();
    try {
        act.thread = std::thread([this, &act, connection, fault, tile] {
            try {
                RawSocket socket(SocketOf(connection), m_stopSignal, kLongest);
                KxOrigin::Play(socket, fault, tile);
            } catch (const std::exception&) {
                // Out of memory: the connection is dropped.
            }
            MHD_resume_connection(connection);
            act.isOver = true;
        });
    } catch (...) {
        m_acts.pop_back();
        throw;
    }
}

void FaultStage::SweepUp()
{
    m_acts.remove_if([](Act& act) {
        if (act.isOver)
            act.thread.join();
        return act.isOver.load();
    });
}

void FaultStage::Stop()
{
    std::list<Act> acts;
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        acts.swap(m_acts);
    }
    const eventfd_t one = 1;
    ::eventfd_write(m_stopSignal, one);
    for (Act& act : acts)
        act.thread.join();
}

} // namespace KxOrigin
