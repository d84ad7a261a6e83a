// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Source.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace KxTileHost::Serve {

/// The sources of one moment, by name and in their order. Never changed; any thread.
class SourceList
{
public:
    SourceList() = default;
    explicit SourceList(std::vector<SourcePtr> sources);

    /// Null when there is none.
    const Source* Find(const std::string& id) const;
    SourcePtr Share(const std::string& id) const;
    const std::vector<SourcePtr>& All() const { return m_sources; }

private:
    std::vector<SourcePtr> m_sources;
    std::unordered_map<std::string, std::size_t> m_byId;
};

/// The sources that are served now. Any thread.
class SourceTable
{
public:
    std::shared_ptr<const SourceList> Get() const;
    void Set(std::vector<SourcePtr> sources);

private:
    mutable std::mutex m_lock;
    std::shared_ptr<const SourceList> m_list = std::make_shared<SourceList>();
};

} // namespace KxTileHost::Serve
