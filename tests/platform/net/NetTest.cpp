// SPDX-License-Identifier: MIT
#include "NetTest.h"

#include <cstdlib>

namespace KxC::Testing {

Fetched Fetch(const std::string& url, const Wish& wish)
{
    KxArray<KxString> lines;
    for (const KxString& line : wish.lines)
        lines.Add(line);
    KxRawData data;
    Fetched fetched;
    fetched.result = KxNetGetch::RequestData(data,
                                             {url.data(), static_cast<int>(url.size())},
                                             "",
                                             "",
                                             0,
                                             1,
                                             wish.timeoutMs,
                                             wish.userAgent,
                                             &lines);
    if (data.GetData() != nullptr)
        fetched.body.assign(reinterpret_cast<const char*>(data.GetData()), data.GetSize());
    fetched.info = KxNetGetch::GetLastRequestInfo();
    return fetched;
}

NetTest::NetTest()
{
    ::setenv("no_proxy", "127.0.0.1", 1); // NOLINT(concurrency-mt-unsafe): no other threads yet
}

} // namespace KxC::Testing
