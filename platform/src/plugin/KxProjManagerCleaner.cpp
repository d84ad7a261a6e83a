// SPDX-License-Identifier: MIT
#include "KxProjManagerCleaner.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

namespace KxC {

namespace {

using ReleaseFunction = void (*)();

struct Releases
{
    std::mutex m_mutex;
    std::vector<ReleaseFunction> m_functions;
};

/// Never destroyed: a host's own cleaner may be among the last objects of the process.
Releases& TheReleases()
{
    static auto* releases = new Releases;
    return *releases;
}

std::vector<ReleaseFunction> RegisteredFunctions()
{
    Releases& releases = TheReleases();
    const std::lock_guard<std::mutex> lock(releases.m_mutex);
    return {releases.m_functions.rbegin(), releases.m_functions.rend()};
}

} // namespace

KxProjManagerCleaner::~KxProjManagerCleaner()
{
    // Called without the lock: a release may end objects that register something themselves.
    try {
        for (ReleaseFunction release : RegisteredFunctions())
            release();
    } catch (const std::bad_alloc&) {
        return; // what is not released goes with the process
    }
}

unsigned char KxProjManagerCleaner::AddRelease(void (*release)())
{
    if (release == nullptr)
        return 0;
    try {
        Releases& releases = TheReleases();
        const std::lock_guard<std::mutex> lock(releases.m_mutex);
        std::vector<ReleaseFunction>& functions = releases.m_functions;
        if (std::find(functions.begin(), functions.end(), release) == functions.end())
            functions.push_back(release);
        return 1;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

} // namespace KxC
