// SPDX-License-Identifier: MIT
// kxtile_fetch_probe WARM URL TIMEOUT: fetches WARM, so that the libraries have started, then URL,
// and prints as JSON how the second request ended and by how much it raised the process's memory.
#include <KxNetGetch.h>
#include <KxRawData.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

/// A line of /proc/self/status in bytes; see proc(5).
long long StatusBytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stoll(line.substr(name.size() + 1)) * 1024;
    return -1;
}

int Fetch(const char* url, int timeoutMs)
{
    KxC::KxRawData data;
    return KxC::KxNetGetch::RequestData(data, url, "", "", 0, 1, timeoutMs, "", nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4 || Fetch(argv[1], 0) != KxC::NetError_Success)
        return 2;
    const long long reserved = StatusBytes("VmSize");
    const long long resident = StatusBytes("VmRSS");
    const int result = Fetch(argv[2], std::atoi(argv[3]));
    const KxC::KxNetRequestInfo& info = KxC::KxNetGetch::GetLastRequestInfo();
    const nlohmann::json report{{"result", result},
                                {"cause", info.m_strCause.Cstr()},
                                {"reserved", StatusBytes("VmPeak") - reserved},
                                {"resident", StatusBytes("VmHWM") - resident}};
    std::puts(report.dump().c_str());
    return 0;
}
