// SPDX-License-Identifier: MIT
#pragma once

#include "LiveHolders.h"
#include "RasterFile.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KxC {

/// The open datasets of one raster. GDAL's serve one thread at a time, so each reading thread
/// borrows one; beyond kMostOpen of them, threads wait for each other. Any thread.
class DatasetPool final : private IdleHolder
{
public:
    static constexpr int kMostOpen = 8;

    /// @param driver  the name that CheckRasterFile gave for the path
    DatasetPool(std::string path, std::string driver);
    ~DatasetPool();
    DatasetPool(const DatasetPool&) = delete;
    DatasetPool& operator=(const DatasetPool&) = delete;

    /// A dataset, given back at the end of its scope, which lies in a GdalScope.
    class Loan
    {
    public:
        /// @throws RasterError when the raster does not open, or no longer
        explicit Loan(DatasetPool& pool) : m_pool(pool), m_file(pool.Borrow()) {}
        ~Loan() { m_pool.GiveBack(std::move(m_file)); }
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        /// Null at the end of the process, when nothing is read any more.
        RasterFile* Get() const { return m_file.get(); }

    private:
        DatasetPool& m_pool;
        std::unique_ptr<RasterFile> m_file;
    };

private:
    void DropIdle() override;
    std::unique_ptr<RasterFile> Borrow();
    void GiveBack(std::unique_ptr<RasterFile> file);

    const std::string m_path;
    const std::string m_driver;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    int m_lent = 0;
    std::vector<std::unique_ptr<RasterFile>> m_idle;
};

} // namespace KxC
