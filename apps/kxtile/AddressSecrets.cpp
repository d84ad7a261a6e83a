// SPDX-License-Identifier: MIT
#include "AddressSecrets.h"

#include <algorithm>
#include <cctype>

namespace KxTileHost {

namespace {

constexpr char kAuthorityMark[] = "://";
/// Ends an address inside a text, such as a list of servers.
constexpr char kSeparators[] = " ,\t\r\n\"'<>";
/// Words that queries hold, such as "image/png" and "GoogleMapsCompatible:18", are shorter than
/// keys or harmless to hide.
constexpr std::size_t kLongEnoughAlone = 16;

class PieceCollector
{
public:
    explicit PieceCollector(const std::string& name) : m_name(name) {}

    /// A piece between two marks of the address, either of which may be empty.
    void Add(const std::string& before, const std::string& piece, const std::string& after)
    {
        m_pieces.emplace_back(before + piece + after, before + m_name + after);
        if (piece.size() >= kLongEnoughAlone)
            m_pieces.emplace_back(piece, m_name);
    }

    /// @param rest  what follows "://"
    void AddUser(const std::string& rest)
    {
        const std::string authority = rest.substr(0, rest.find_first_of("/?#"));
        const std::size_t end = authority.rfind('@');
        if (end == std::string::npos || end == 0)
            return;
        const std::string user = authority.substr(0, end);
        const std::size_t colon = user.find(':');
        Add("", user, "@");
        if (colon != std::string::npos && colon + 1 < user.size())
            Add(":", user.substr(colon + 1), "@");
    }

    /// @param query  with the "?" in front
    void AddQuery(const std::string& query)
    {
        for (std::size_t at = 0; at < query.size();) {
            const std::size_t end = std::min(query.find_first_of("&;", at + 1), query.size());
            AddParameter(query.substr(at, end - at));
            at = end;
        }
    }

    std::vector<Replacement> Take() { return std::move(m_pieces); }

private:
    /// "?name=value" or "&name=value"; without "=" all of it counts as the value.
    void AddParameter(const std::string& parameter)
    {
        const std::size_t equals = parameter.find('=');
        const std::size_t from = equals == std::string::npos ? 1 : equals + 1;
        const std::string value = parameter.substr(from);
        const bool placeholder =
            !value.empty() && value.front() == '{' && value.find('}') + 1 == value.size();
        if (!value.empty() && !placeholder)
            Add(parameter.substr(0, from), value, "");
    }

    const std::string& m_name;
    std::vector<Replacement> m_pieces;
};

} // namespace

bool IsAddress(const std::string& text)
{
    const std::size_t mark = text.find(kAuthorityMark);
    return mark != std::string::npos && mark > 0 &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(mark), [](char c) {
               return std::isalpha(static_cast<unsigned char>(c)) != 0;
           });
}

std::vector<Replacement> SecretPiecesOf(const std::string& address, const std::string& name)
{
    PieceCollector pieces(name);
    // One value may hold several addresses, and a query another one.
    for (std::size_t at = address.find(kAuthorityMark); at != std::string::npos;
         at = address.find(kAuthorityMark, at + 1)) {
        const std::size_t from = at + sizeof(kAuthorityMark) - 1;
        const std::size_t end = std::min(address.find_first_of(kSeparators, from), address.size());
        const std::string rest = address.substr(from, end - from);
        pieces.AddUser(rest);
        const std::string shown = rest.substr(0, rest.find('#'));
        if (const std::size_t query = shown.find('?'); query != std::string::npos)
            pieces.AddQuery(shown.substr(query));
    }
    return pieces.Take();
}

} // namespace KxTileHost
