// SPDX-License-Identifier: MIT
#pragma once

#include "EnvironmentVariable.h"
#include "NetTest.h"
#include "ServerProgram.h"
#include "support/TempFolder.h"

#include <memory>
#include <string>

namespace KxC::Testing {

/// Certificates made for the test, and servers that show them. They serve "/tile". No variable of
/// the environment names a CA file, and none is set.
class TlsTest : public NetTest
{
protected:
    TlsTest();
    ~TlsTest() override;

    /// A new certification authority. @return the path of its certificate
    std::string MakeCa(const std::string& name);
    /// Makes the certificate of a server, signed by the authority "ca".
    /// @param hosts  as openssl's subjectAltName, such as "IP:127.0.0.1,DNS:maps.invalid"
    void MakeCertificate(const std::string& name, const std::string& hosts);
    /// HTTP/2, which it offers over TLS.
    std::unique_ptr<ServerProgram> ServeHttp2(const std::string& certificate = "server");
    /// HTTP/1.0 over TLS.
    /// @param form  "-WWW" for files that are bodies, "-HTTP" for files that are whole answers
    std::unique_ptr<ServerProgram> ServeHttp1(const std::string& form = "-WWW");

    std::string File(const std::string& name) const { return m_folder.File(name); }
    const std::string& CaFile() const { return m_caFile; }

    static constexpr const char* kTile = "the tile's bytes";

private:
    TempFolder m_folder;
    EnvironmentVariable m_ours{"KXTILE_CA_FILE", std::nullopt};
    EnvironmentVariable m_curls{"CURL_CA_BUNDLE", std::nullopt};
    EnvironmentVariable m_openssls{"SSL_CERT_FILE", std::nullopt};
    std::string m_caFile;
};

} // namespace KxC::Testing
