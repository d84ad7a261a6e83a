// SPDX-License-Identifier: MIT
#include "CaFile.h"

#include <cstdlib>
#include <utility>

namespace KxC::Http {

namespace {

/// Our own name first; the others are those that curl and OpenSSL made usual.
constexpr const char* kVariables[] = {"KXTILE_CA_FILE", "CURL_CA_BUNDLE", "SSL_CERT_FILE"};

std::string FromEnvironment()
{
    for (const char* name : kVariables) {
        // A program that runs with more rights than its caller must not trust whom he names.
        // NOLINTNEXTLINE(concurrency-mt-unsafe): hosts set their environment before they start
        const char* const path = ::secure_getenv(name);
        if (path != nullptr && *path != '\0')
            return path;
    }
    return {};
}

} // namespace

void CaFile::Set(std::string path)
{
    const std::lock_guard lock(m_lock);
    m_path = std::move(path);
}

std::string CaFile::Get() const
{
    {
        const std::lock_guard lock(m_lock);
        if (!m_path.empty())
            return m_path;
    }
    return FromEnvironment();
}

} // namespace KxC::Http
