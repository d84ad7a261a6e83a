// SPDX-License-Identifier: MIT
#include "TlsTest.h"

#include <cstdlib>
#include <stdexcept>

namespace KxC::Testing {

namespace {

/// Runs openssl's request command for a certificate with a key of its own.
void RequestCertificate(const TempFolder& folder, const std::string& name, const std::string& more)
{
    const std::string command = std::string(OPENSSL_PROGRAM) +
                                " req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes"
                                " -days 2 -subj \"/CN=" +
                                name + "\" -keyout " + folder.File(name + ".key") + " -out " +
                                folder.File(name + ".pem") + " " + more + " 2>" +
                                folder.File("openssl.log");
    // NOLINTNEXTLINE(concurrency-mt-unsafe,cert-env33-c): the command is the test's own
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error(ReadFile(folder.File("openssl.log")));
}

} // namespace

TlsTest::TlsTest() : m_caFile(MakeCa("ca"))
{
    MakeCertificate("server", "IP:127.0.0.1,DNS:maps.invalid");
    WriteFile(File("tile"), kTile);
}

TlsTest::~TlsTest()
{
    KxC::KxNetGetch::SetCaFile("");
}

std::string TlsTest::MakeCa(const std::string& name)
{
    RequestCertificate(m_folder, name, "");
    return File(name + ".pem");
}

void TlsTest::MakeCertificate(const std::string& name, const std::string& hosts)
{
    RequestCertificate(
        m_folder,
        name,
        "-CA " + File("ca.pem") + " -CAkey " + File("ca.key") +
            " -addext basicConstraints=critical,CA:FALSE -addext subjectAltName=" + hosts);
}

std::unique_ptr<ServerProgram> TlsTest::ServeHttp2(const std::string& certificate)
{
    const std::vector<std::string> command{NGHTTPD_PROGRAM,
                                           "-a",
                                           "127.0.0.1",
                                           "-d",
                                           m_folder.Path().string(),
                                           "0",
                                           File(certificate + ".key"),
                                           File(certificate + ".pem")};
    return std::make_unique<ServerProgram>(command, m_folder.Path().string());
}

std::unique_ptr<ServerProgram> TlsTest::ServeHttp1(const std::string& form)
{
    const std::vector<std::string> command{OPENSSL_PROGRAM,
                                           "s_server",
                                           "-accept",
                                           "127.0.0.1:0",
                                           "-key",
                                           File("server.key"),
                                           "-cert",
                                           File("server.pem"),
                                           form};
    return std::make_unique<ServerProgram>(command, m_folder.Path().string());
}

} // namespace KxC::Testing
