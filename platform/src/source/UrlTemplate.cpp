// SPDX-License-Identifier: MIT
#include "UrlTemplate.h"

#include "Report.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

namespace KxC {

namespace {

enum Kind { kX, kY, kZ, kQuadkey, kServerPart };

struct Placeholder
{
    std::string_view text;
    Kind kind;
};

constexpr std::array<Placeholder, 6> kPlaceholders = {{{"{$x}", kX},
                                                       {"{$y}", kY},
                                                       {"{$z}", kZ},
                                                       {"{$quadkey}", kQuadkey},
                                                       {"{$serverpart}", kServerPart},
                                                       {"{$Serverpart}", kServerPart}}};

/// What other tools' placeholders are called here, by the word inside their braces.
struct ForeignForm
{
    std::string_view word;
    std::string_view ours;
};

constexpr std::array<ForeignForm, 16> kForeignForms = {
    {{"x", "{$x}"},
     {"col", "{$x}"},
     {"tilecol", "{$x}"},
     {"y", "{$y}"},
     {"row", "{$y}"},
     {"tilerow", "{$y}"},
     {"-y", "{$y} together with rows = \"SouthToNorth\""},
     {"z", "{$z}"},
     {"zoom", "{$z}"},
     {"level", "{$z}"},
     {"tilematrix", "{$z}"},
     {"q", "{$quadkey}"},
     {"quadkey", "{$quadkey}"},
     {"s", "{$serverpart} together with the key servers"},
     {"serverpart", "{$serverpart} together with the key servers"},
     {"subdomain", "{$serverpart} together with the key servers"}}};

std::optional<Placeholder> PlaceholderAt(std::string_view url, std::size_t at)
{
    for (const Placeholder& placeholder : kPlaceholders) {
        if (url.substr(at, placeholder.text.size()) == placeholder.text)
            return placeholder;
    }
    return std::nullopt;
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    for (char& byte : lower)
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    return lower;
}

class UrlTemplateParser
{
public:
    explicit UrlTemplateParser(std::string_view url) : m_url(url) {}

    UrlTemplate Parse()
    {
        FindPlaceholders();
        CheckPlaceholders();
        Render();
        return std::move(m_result);
    }

private:
    static constexpr std::size_t kAbsent = std::string_view::npos;

    bool Has(Kind kind) const { return m_first[kind] != kAbsent; }
    bool HasTileNumber() const { return Has(kX) || Has(kY) || Has(kZ); }
    void Error(const std::string& text) { m_result.errors.push_back(text); }
    void Warn(const std::string& text) { m_result.warnings.push_back(text); }

    void FindPlaceholders()
    {
        std::size_t at = 0;
        while ((at = m_url.find('{', at)) != kAbsent) {
            const std::optional<Placeholder> placeholder = PlaceholderAt(m_url, at);
            if (placeholder)
                Note(placeholder->kind, at);
            else
                NoteForeign(at);
            at += placeholder ? placeholder->text.size() : 1;
        }
        m_result.hasQuadkey = Has(kQuadkey);
        m_result.hasServerPart = Has(kServerPart);
        m_result.hasPlaceholders = HasTileNumber() || Has(kQuadkey);
    }

    void Note(Kind kind, std::size_t at)
    {
        m_repeated = m_repeated || Has(kind);
        if (!Has(kind))
            m_first[kind] = at;
    }

    void NoteForeign(std::size_t at)
    {
        constexpr std::size_t kLongestWord = 16;
        const std::size_t close = m_url.substr(0, at + kLongestWord + 3).find('}', at);
        const bool variable = at > 0 && m_url[at - 1] == '$';
        if (close == kAbsent || variable || m_result.warnings.size() > 8)
            return;
        const std::string_view group = m_url.substr(at, close - at + 1);
        const bool dollar = group.size() > 2 && group[1] == '$';
        const std::string word =
            Lower(group.substr(dollar ? 2 : 1, group.size() - (dollar ? 3 : 2)));
        const auto* form = std::find_if(kForeignForms.begin(),
                                        kForeignForms.end(),
                                        [&](const ForeignForm& f) { return f.word == word; });
        if (form != kForeignForms.end())
            Warn(Printable(group) + " is no placeholder here; write " + std::string(form->ours));
        else if (dollar)
            Warn(Printable(group) + " is not known; the placeholders are {$x}, {$y}, {$z}, "
                                    "{$quadkey} and {$serverpart}");
    }

    void CheckPlaceholders()
    {
        if (m_repeated)
            Error("names a placeholder twice, which only a script can express (key script)");
        if (Has(kQuadkey) && HasTileNumber())
            Error("holds {$quadkey} beside {$x}, {$y} or {$z}; a quadkey already says all three, "
                  "so keep one kind");
        CheckServerPartStandsFirst();
        WarnOfMissingNumbers();
    }

    void CheckServerPartStandsFirst()
    {
        const std::size_t named =
            std::min({m_first[kX], m_first[kY], m_first[kZ], m_first[kQuadkey]});
        const std::size_t tile = m_result.hasPlaceholders ? named : m_url.find("%d");
        if (Has(kServerPart) && tile < m_first[kServerPart])
            Error("holds {$serverpart} after a tile number; the server part has to stand before "
                  "all of them, anything else needs a script (key script)");
    }

    void WarnOfMissingNumbers()
    {
        if (!HasTileNumber() || (Has(kX) && Has(kY) && Has(kZ)))
            return;
        Warn("holds some of {$x}, {$y} and {$z} but not all; the missing ones count as standing "
             "first, so those that are there receive the wrong numbers");
    }

    /// X, Y and Z by their places; absent ones first, those in a tie in this order.
    std::string AxisOrder() const
    {
        std::array<Kind, 3> order = {kX, kY, kZ};
        std::stable_sort(order.begin(), order.end(), [this](Kind left, Kind right) {
            return m_first[left] + 1 < m_first[right] + 1; // absent wraps to 0
        });
        std::string text;
        for (const Kind kind : order)
            text += (text.empty() ? "" : ",") + std::string(1, "XYZ"[kind]);
        return text;
    }

    void Render()
    {
        if (!m_result.hasPlaceholders) {
            m_result.text = m_url;
            return;
        }
        for (std::size_t at = 0; at < m_url.size();)
            at += RenderAt(at);
        if (HasTileNumber())
            m_result.axisOrder = AxisOrder();
    }

    /// Appends what stands at `at`; returns how many bytes of the URL that was.
    std::size_t RenderAt(std::size_t at)
    {
        const std::optional<Placeholder> placeholder = PlaceholderAt(m_url, at);
        if (!placeholder) {
            m_result.text += m_url[at];
            if (m_url[at] == '%' && WouldConvert(at + 1))
                m_result.text += '%';
            return 1;
        }
        if (placeholder->kind == kServerPart)
            m_result.text += placeholder->text;
        else
            m_result.text += placeholder->kind == kQuadkey ? "%s" : "%d";
        return placeholder->text.size();
    }

    /// Whether a percent sign before `next` would be read together with what follows it. A
    /// placeholder will itself begin with one.
    bool WouldConvert(std::size_t next) const
    {
        if (next >= m_url.size())
            return false;
        const char byte = m_url[next];
        return byte == 's' || byte == 'd' || byte == '%' || PlaceholderAt(m_url, next);
    }

    std::string_view m_url;
    UrlTemplate m_result;
    std::array<std::size_t, 5> m_first = {kAbsent, kAbsent, kAbsent, kAbsent, kAbsent};
    bool m_repeated = false;
};

} // namespace

UrlTemplate ParseUrlTemplate(std::string_view url)
{
    return UrlTemplateParser(url).Parse();
}

} // namespace KxC
