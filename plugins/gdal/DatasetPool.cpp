// SPDX-License-Identifier: MIT
#include "DatasetPool.h"

#include "GdalScope.h"

#include <utility>

namespace KxC {

DatasetPool::DatasetPool(std::string path, std::string driver)
    : m_path(std::move(path)), m_driver(std::move(driver))
{
    m_idle.reserve(kMostOpen); // giving back must not fail
    LiveHolders::Instance().Add(*this);
}

DatasetPool::~DatasetPool()
{
    LiveHolders::Instance().Remove(*this);
    DropIdle();
}

std::unique_ptr<RasterFile> DatasetPool::Borrow()
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_returned.wait(lock, [this] { return m_lent < kMostOpen; });
        ++m_lent;
        if (!m_idle.empty()) {
            std::unique_ptr<RasterFile> file = std::move(m_idle.back());
            m_idle.pop_back();
            return file;
        }
    }
    if (LiveHolders::Instance().IsClosed())
        return nullptr;
    // Outside the lock: it takes milliseconds.
    try {
        return RasterFile::Open(m_path, m_driver);
    } catch (...) {
        GiveBack(nullptr);
        throw;
    }
}

void DatasetPool::GiveBack(std::unique_ptr<RasterFile> file)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_lent;
        if (file != nullptr && m_idle.size() < kMostOpen)
            m_idle.push_back(std::move(file));
    }
    m_returned.notify_one();
}

void DatasetPool::DropIdle()
{
    std::vector<std::unique_ptr<RasterFile>> idle;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        idle.swap(m_idle);
    }
    if (idle.empty())
        return; // GDAL need not be there
    const GdalScope scope;
    idle.clear();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_idle.reserve(kMostOpen);
}

} // namespace KxC
