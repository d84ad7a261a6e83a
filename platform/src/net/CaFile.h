// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>

namespace KxC::Http {

/// Which file names the certificates to trust: the one set, else the first that the environment
/// names in KXTILE_CA_FILE, CURL_CA_BUNDLE or SSL_CERT_FILE. Any thread.
class CaFile
{
public:
    /// @param path  empty takes the setting back
    void Set(std::string path);
    /// @return empty when the system's certificates are to be trusted
    std::string Get() const;

private:
    mutable std::mutex m_lock; ///< guards the path
    std::string m_path;
};

} // namespace KxC::Http
