// SPDX-License-Identifier: MIT
#include "Redirect.h"

#include <curl/curl.h>
#include <strings.h>

#include <memory>
#include <new>

namespace KxC::Http {

namespace {

/// As forgiving as the client library is with the redirects that it follows itself.
constexpr unsigned int kForgiving = CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE | CURLU_ALLOW_SPACE;

/// An address in its parts.
class Url
{
public:
    Url() : m_url(curl_url())
    {
        if (m_url == nullptr)
            throw std::bad_alloc();
    }
    /// A relative address goes on from the one that was set before.
    /// @return false when the text is no address
    bool GoTo(const std::string& address) { return Set(CURLUPART_URL, address, kForgiving); }
    /// @param text  in the form that Get gives
    /// @return false when the text cannot stand there
    bool Set(CURLUPart part, const std::string& text, unsigned int flags = 0)
    {
        return IsDone(curl_url_set(m_url.get(), part, text.c_str(), flags));
    }
    /// Empty when it is not there.
    std::string Get(CURLUPart part, unsigned int flags = 0) const
    {
        char* text = nullptr;
        if (!IsDone(curl_url_get(m_url.get(), part, &text, flags)))
            return {};
        const std::unique_ptr<char, FreeText> owner(text);
        return text;
    }
    bool IsScheme(const char* scheme) const
    {
        return ::strcasecmp(Get(CURLUPART_SCHEME).c_str(), scheme) == 0;
    }
    std::string Port() const { return Get(CURLUPART_PORT, CURLU_DEFAULT_PORT); }

private:
    struct Clean
    {
        void operator()(CURLU* url) const { curl_url_cleanup(url); }
    };
    struct FreeText
    {
        void operator()(char* text) const { curl_free(text); }
    };
    static bool IsDone(CURLUcode code)
    {
        if (code == CURLUE_OUT_OF_MEMORY)
            throw std::bad_alloc();
        return code == CURLUE_OK;
    }
    std::unique_ptr<CURLU, Clean> m_url;
};

bool IsSafer(const Url& from, const Url& to)
{
    return from.IsScheme("http") && from.Port() == "80" && to.IsScheme("https") &&
           to.Port() == "443";
}

bool IsSameOrigin(const Url& from, const Url& to)
{
    const std::string host = from.Get(CURLUPART_HOST);
    return ::strcasecmp(host.c_str(), to.Get(CURLUPART_HOST).c_str()) == 0 &&
           (from.Port() == to.Port() || IsSafer(from, to));
}

/// The user that the caller named goes on to the same host, unless the server names another.
void KeepUser(const Url& from, Url& to)
{
    const std::string user = from.Get(CURLUPART_USER);
    const std::string password = from.Get(CURLUPART_PASSWORD);
    if (!to.Get(CURLUPART_USER).empty())
        return;
    if (!user.empty())
        to.Set(CURLUPART_USER, user);
    if (!password.empty())
        to.Set(CURLUPART_PASSWORD, password);
}

Redirect::Verdict VerdictOn(const Url& from, const Url& to)
{
    if (!to.IsScheme("http") && !to.IsScheme("https"))
        return Redirect::Verdict::OtherScheme;
    if (from.IsScheme("https") && to.IsScheme("http"))
        return Redirect::Verdict::LeavesTls;
    return Redirect::Verdict::Follow;
}

} // namespace

Redirect
JudgeRedirect(const std::string& asked, const std::string& from, const std::string& location)
{
    Url start;
    Url here;
    Url there;
    Redirect redirect;
    if (!start.GoTo(asked) || !here.GoTo(from) || !there.GoTo(from) || !there.GoTo(location))
        return redirect;
    redirect.verdict = VerdictOn(here, there);
    redirect.isOwnOrigin = IsSameOrigin(start, there);
    if (redirect.isOwnOrigin)
        KeepUser(start, there);
    redirect.url = there.Get(CURLUPART_URL);
    return redirect;
}

} // namespace KxC::Http
