// SPDX-License-Identifier: MIT
#include "serve/PageAssets.h"

#include <array>
#include <map>
#include <string_view>
#include <utility>

namespace KxTileHost::Serve {

/// A file as the build put it into the program.
struct EmbeddedFile
{
    const char* m_name;
    const unsigned char* m_begin;
    const unsigned char* m_end;
};

extern const EmbeddedFile kEmbeddedFiles[];
extern const std::size_t kEmbeddedFileCount;

namespace {

/// Pages change with the program only, but under the same names: they are asked for each time, and
/// the ETag spares sending them.
constexpr char kCacheControl[] = "no-cache";

/// The page runs its own script alone and asks the gateway alone, whatever sources are called.
constexpr char kPolicy[] = "default-src 'none'; script-src 'self'; style-src 'self'; "
                           "img-src 'self'; connect-src 'self'; base-uri 'none'; "
                           "form-action 'none'; frame-ancestors 'none'";

AnswerPtr MakeAnswer(const std::string& contentType, const Body& body)
{
    const std::shared_ptr<Answer> answer = DocumentAnswer(contentType, body, kCacheControl);
    answer->m_headers.emplace_back("Content-Security-Policy", kPolicy);
    return answer;
}

std::map<std::string, AnswerPtr> MakeAnswers()
{
    std::map<std::string, AnswerPtr> answers;
    for (std::size_t i = 0; i < kEmbeddedFileCount; ++i) {
        const EmbeddedFile& file = kEmbeddedFiles[i];
        const Body body =
            Body::OfStatic(file.m_begin, static_cast<std::size_t>(file.m_end - file.m_begin));
        answers[file.m_name] = MakeAnswer(ContentTypeOf(file.m_name), body);
    }
    return answers;
}

} // namespace

std::string ContentTypeOf(const std::string& name)
{
    static constexpr std::array<std::pair<std::string_view, const char*>, 14> kTypes{{
        {".html", "text/html; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".json", "application/json"},
        {".map", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".webp", "image/webp"},
        {".ico", "image/x-icon"},
        {".woff2", "font/woff2"},
        {".txt", "text/plain; charset=utf-8"},
        {".webmanifest", "application/manifest+json"},
    }};
    for (const auto& [extension, type] : kTypes)
        if (std::string_view(name).ends_with(extension))
            return type;
    return "application/octet-stream";
}

AnswerPtr FindAsset(const std::string& name)
{
    static const std::map<std::string, AnswerPtr> kAnswers = MakeAnswers();
    const auto found = kAnswers.find(name);
    return found == kAnswers.end() ? nullptr : found->second;
}

} // namespace KxTileHost::Serve
