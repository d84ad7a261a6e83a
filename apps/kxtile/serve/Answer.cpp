// SPDX-License-Identifier: MIT
#include "serve/Answer.h"

#include "KxUtility.h"

#include <algorithm>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kHashDigits = 32;

/// A message may quote what others wrote; it stays one line.
std::string OneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    return text + "\n";
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace

Body Body::OfText(std::string text)
{
    Body body;
    auto owner = std::make_shared<const std::string>(std::move(text));
    body.m_data = reinterpret_cast<const unsigned char*>(owner->data());
    body.m_size = owner->size();
    body.m_owner = std::move(owner);
    return body;
}

Body Body::OfRawData(std::unique_ptr<KxC::KxRawData> data)
{
    Body body;
    body.m_data = data->GetData();
    body.m_size = data->GetSize();
    body.m_owner = std::shared_ptr<const KxC::KxRawData>(std::move(data));
    return body;
}

Body Body::OfStatic(const void* bytes, std::size_t size)
{
    Body body;
    body.m_data = static_cast<const unsigned char*>(bytes);
    body.m_size = size;
    return body;
}

std::shared_ptr<Answer> TextAnswer(int status, const std::string& line)
{
    auto answer = std::make_shared<Answer>();
    answer->m_status = status;
    answer->m_contentType = "text/plain; charset=utf-8";
    answer->m_body = Body::OfText(OneLine(line));
    answer->m_cacheControl = "no-store";
    return answer;
}

std::shared_ptr<Answer> BusyAnswer(const std::string& line, int retryAfterSeconds)
{
    auto answer = TextAnswer(Status::kUnavailable, line);
    answer->m_headers.emplace_back("Retry-After", std::to_string(retryAfterSeconds));
    return answer;
}

std::shared_ptr<Answer>
DocumentAnswer(const std::string& contentType, Body body, const std::string& cacheControl)
{
    auto answer = std::make_shared<Answer>();
    answer->m_contentType = contentType;
    answer->m_etag = ETagOf(body);
    answer->m_body = std::move(body);
    answer->m_cacheControl = cacheControl;
    return answer;
}

std::string ETagOf(const Body& body)
{
    const KxC::KxString bytes(reinterpret_cast<const char*>(body.Data()),
                              static_cast<int>(body.Size()));
    // The key begins with what is readable of the text; the hash stands at its end.
    const std::string key = KxC::KxUtility::GetValidHashKey(bytes).Cstr();
    return "\"" + key.substr(key.size() - std::min(key.size(), kHashDigits)) + "\"";
}

bool MatchesETag(const std::string& ifNoneMatch, const std::string& etag)
{
    for (std::size_t at = 0; at < ifNoneMatch.size();) {
        const std::size_t end = std::min(ifNoneMatch.find(',', at), ifNoneMatch.size());
        std::string tag = Trimmed(ifNoneMatch.substr(at, end - at));
        // A cache on the way may have weakened it; for this comparison that does not count.
        if (tag.compare(0, 2, "W/") == 0)
            tag.erase(0, 2);
        if (tag == "*" || tag == etag)
            return true;
        at = end + 1;
    }
    return false;
}

} // namespace KxTileHost::Serve
