// SPDX-License-Identifier: MIT
#include "UrlTokens.h"

#include "Report.h"
#include "TextRules.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace KxC {

namespace {

constexpr std::size_t kMaxPlaceholders = 64;
constexpr std::size_t kMaxServers = 64;
constexpr std::size_t kMaxWarnings = 8;
/// What may stand between braces and still be meant as a placeholder.
constexpr std::size_t kLongestGroup = 1024;

struct Word
{
    std::string_view word;
    UrlTokenKind kind;
};

constexpr std::array<Word, 6> kOwnWords = {{{"$x", UrlTokenKind::Column},
                                            {"$y", UrlTokenKind::Row},
                                            {"$z", UrlTokenKind::Level},
                                            {"$quadkey", UrlTokenKind::Quadkey},
                                            {"$serverpart", UrlTokenKind::Server},
                                            {"$Serverpart", UrlTokenKind::Server}}};

/// What QGIS, Leaflet, OpenLayers, MapLibre, JOSM and WMTS call them.
constexpr std::array<Word, 15> kWords = {{{"x", UrlTokenKind::Column},
                                          {"col", UrlTokenKind::Column},
                                          {"TileCol", UrlTokenKind::Column},
                                          {"y", UrlTokenKind::Row},
                                          {"row", UrlTokenKind::Row},
                                          {"TileRow", UrlTokenKind::Row},
                                          {"-y", UrlTokenKind::RowFromSouth},
                                          {"z", UrlTokenKind::Level},
                                          {"zoom", UrlTokenKind::Level},
                                          {"level", UrlTokenKind::Level},
                                          {"TileMatrix", UrlTokenKind::Level},
                                          {"q", UrlTokenKind::Quadkey},
                                          {"quadkey", UrlTokenKind::Quadkey},
                                          {"s", UrlTokenKind::Server},
                                          {"subdomain", UrlTokenKind::Server}}};

constexpr std::array<Word, 5> kMapProxyWords = {{{"x", UrlTokenKind::Column},
                                                 {"y", UrlTokenKind::Row},
                                                 {"z", UrlTokenKind::Level},
                                                 {"quadkey", UrlTokenKind::Quadkey},
                                                 {"tc_path", UrlTokenKind::TileCachePath}}};

template <std::size_t Size>
const Word* Find(const std::array<Word, Size>& words, std::string_view word)
{
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const Word& w) { return w.word == word; });
    return found == words.end() ? nullptr : &*found;
}

bool IsLetter(char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

/// Whether a group in braces looks like a name rather than like a text that happens to have them.
bool LooksNamed(std::string_view group)
{
    const auto inName = [](char byte) {
        return IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' ||
               byte == '.' || byte == '+' || byte == '!' || byte == '$';
    };
    return !group.empty() && group.size() <= 32 && std::all_of(group.begin(), group.end(), inName);
}

std::optional<int> SmallNumber(std::string_view digits)
{
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool good = error == std::errc() && end == digits.data() + digits.size() &&
                      digits.size() <= 4 && !digits.empty() && digits[0] != '-';
    return good ? std::optional(number) : std::nullopt;
}

/// {z+1}, {zoom-1}: what is added to the level.
std::optional<int> LevelOffset(std::string_view group)
{
    const std::size_t sign = group.find_first_of("+-");
    if (sign == std::string_view::npos || sign == 0)
        return std::nullopt;
    const std::string_view name = group.substr(0, sign);
    const std::optional<int> number = SmallNumber(group.substr(sign + 1));
    if ((name != "z" && name != "zoom") || !number || *number > 30)
        return std::nullopt;
    return group[sign] == '-' ? -*number : *number;
}

/// {a-c}: its letters.
std::vector<std::string> LetterRange(std::string_view group)
{
    std::vector<std::string> letters;
    if (group.size() == 3 && group[1] == '-' && IsLetter(group[0]) && IsLetter(group[2]) &&
        (group[0] >= 'a') == (group[2] >= 'a'))
        for (char letter = group[0]; letter <= group[2]; ++letter)
            letters.emplace_back(1, letter);
    return letters;
}

/// {0-3}: its numbers, as many as there may be and one more.
std::vector<std::string> NumberRange(std::string_view group)
{
    const std::size_t dash = std::min(group.find('-'), group.size());
    const std::optional<int> first = SmallNumber(group.substr(0, dash));
    const std::optional<int> last = SmallNumber(group.substr(std::min(dash + 1, group.size())));
    std::vector<std::string> numbers;
    if (first && last)
        for (int number = *first; number <= *last && numbers.size() <= kMaxServers; ++number)
            numbers.push_back(std::to_string(number));
    return numbers;
}

std::vector<std::string> Choices(std::string_view list)
{
    std::vector<std::string> choices;
    while (choices.size() <= kMaxServers) {
        const std::size_t comma = std::min(list.find(','), list.size());
        choices.emplace_back(list.substr(0, comma));
        if (comma == list.size())
            break;
        list.remove_prefix(comma + 1);
    }
    return choices;
}

class UrlTokenReader
{
public:
    UrlTokenReader(std::string_view url, UrlDialect dialect) : m_url(url), m_dialect(dialect) {}

    UrlTokens Read()
    {
        while (m_at < m_url.size() && m_result.errors.empty())
            ReadOne();
        KeepOneServerSpelling();
        return std::move(m_result);
    }

private:
    void ReadOne()
    {
        const char byte = m_url[m_at];
        if (m_dialect == UrlDialect::MapProxy && byte == '%' && ReadPercent())
            return;
        if (byte == '$' && m_at + 1 < m_url.size() && m_url[m_at + 1] == '{')
            ReadDollar();
        else if (byte != '{' || !ReadGroup(m_at + 1, m_at))
            AddText(m_url.substr(m_at++, 1));
    }

    /// "${...}" is a placeholder for GDAL, and a plain text (what "$${" gave) for the others.
    void ReadDollar()
    {
        if (m_dialect == UrlDialect::Gdal && ReadGroup(m_at + 2, m_at))
            return;
        const std::size_t close = m_url.find('}', m_at);
        if (m_dialect == UrlDialect::Web && close != std::string_view::npos)
            Warn(Printable(m_url.substr(m_at, close - m_at + 1)) +
                 " is not filled in here; write {x}, {y} and {z} without the dollar sign");
        AddText(m_url.substr(m_at, 2));
        m_at += 2;
    }

    /// The group whose word begins at `from`, as a placeholder that is written from `start` on.
    bool ReadGroup(std::size_t from, std::size_t start)
    {
        const std::size_t close = m_url.substr(0, from + kLongestGroup).find('}', from);
        if (close == std::string_view::npos)
            return false;
        const std::string_view group = m_url.substr(from, close - from);
        const std::string_view written = m_url.substr(start, close + 1 - start);
        if (!TakeWord(group, written) && !TakeServers(group, written) && !TakeOther(group, written))
            return false;
        m_at = close + 1;
        return true;
    }

    bool TakeWord(std::string_view group, std::string_view written)
    {
        const Word* own = Find(kOwnWords, group);
        const Word* word = own != nullptr ? own : Find(kWords, group);
        const std::optional<int> offset = LevelOffset(group);
        if (word == nullptr && !offset)
            return false;
        m_result.foreign = m_result.foreign || own == nullptr;
        Add({word != nullptr ? word->kind : UrlTokenKind::Level,
             std::string(written),
             offset.value_or(0),
             {}});
        return true;
    }

    bool TakeServers(std::string_view group, std::string_view written)
    {
        constexpr std::string_view kSwitch = "switch:";
        std::vector<std::string> servers = LetterRange(group);
        if (servers.empty())
            servers = NumberRange(group);
        if (group.substr(0, kSwitch.size()) == kSwitch)
            servers = Choices(group.substr(kSwitch.size()));
        else if (group == "server_num" && m_dialect == UrlDialect::Gdal)
            servers = {"0", "1", "2", "3"};
        if (servers.empty())
            return false;
        AddServers(std::move(servers), written);
        return true;
    }

    void AddServers(std::vector<std::string> servers, std::string_view written)
    {
        const bool bad = std::any_of(servers.begin(), servers.end(), [](const std::string& server) {
            return server.empty() || HasControl(server) || server.find(' ') != std::string::npos;
        });
        if (bad)
            Error(Printable(written) + " has a choice that is empty or holds a blank; write a "
                                       "text for each, such as {switch:a,b}");
        if (servers.size() > kMaxServers)
            Error(Printable(written) + " names more than 64 servers; name fewer");
        m_result.foreign = true;
        Add({UrlTokenKind::Server, std::string(written), 0, std::move(servers)});
    }

    /// Placeholders that mean something but not a tile's number; false for what is none.
    bool TakeOther(std::string_view group, std::string_view written)
    {
        if (group == "r") {
            Warn("{r} is left empty, so tiles come in their plain size; for those of twice the "
                 "size write a definition of its own with @2x in its place and tile_size = 512");
            m_result.foreign = true;
            return true;
        }
        if (LooksNamed(group))
            NoteUnknown(group, written);
        return false;
    }

    void NoteUnknown(std::string_view group, std::string_view written)
    {
        const std::string text = Printable(written) + Verdict(group);
        if (m_dialect == UrlDialect::Toml)
            Warn(text);
        else
            Error(text);
    }

    static std::string Verdict(std::string_view group)
    {
        const bool own = group[0] == '$';
        const std::string lower = Lower(group);
        const std::string bare = own ? lower.substr(1) : lower;
        const Word* word = own ? Find(kOwnWords, lower) : Find(kWords, lower);
        if (word != nullptr)
            return " is no placeholder here; write {" + std::string(word->word) + "}";
        if (own && Find(kWords, bare) != nullptr)
            return " is no placeholder here; write " + OwnSpelling(Find(kWords, bare)->kind);
        if (bare.find("bbox") != std::string::npos || IsOneOf(bare, "width height proj wkid crs"))
            return " belongs to a map service that is asked by extent, which cannot be expressed; "
                   "find its address by tile numbers";
        return " is not known; the placeholders are {$x}, {$y}, {$z}, {$quadkey} and "
               "{$serverpart}";
    }

    static std::string OwnSpelling(UrlTokenKind kind)
    {
        switch (kind) {
        case UrlTokenKind::Column:
            return "{$x}";
        case UrlTokenKind::Row:
            return "{$y}";
        case UrlTokenKind::RowFromSouth:
            return "{$y} together with rows = \"SouthToNorth\"";
        case UrlTokenKind::Level:
            return "{$z}";
        case UrlTokenKind::Quadkey:
            return "{$quadkey}";
        default:
            return "{$serverpart} together with the key servers";
        }
    }

    /// MapProxy's "%(x)s" and "%%"; false where a percent sign stands for itself.
    bool ReadPercent()
    {
        if (m_url.substr(m_at, 2) == "%%") {
            AddText("%");
            m_at += 2;
            return true;
        }
        const std::size_t close = m_url.substr(0, m_at + 64).find(')', m_at);
        const bool named = m_url.substr(m_at, 2) == "%(" && close != std::string_view::npos &&
                           close + 1 < m_url.size();
        if (!named || (m_url[close + 1] != 's' && m_url[close + 1] != 'd'))
            return false;
        TakePercent(m_url.substr(m_at + 2, close - m_at - 2), m_url.substr(m_at, close + 2 - m_at));
        m_at = close + 2;
        return true;
    }

    void TakePercent(std::string_view word, std::string_view written)
    {
        m_result.foreign = true;
        if (const Word* known = Find(kMapProxyWords, word)) {
            Add({known->kind, std::string(written), 0, {}});
        } else if (word == "arcgiscache_path") {
            Add({UrlTokenKind::ArcGisPath, std::string(written), 0, {}});
        } else if (word == "tms_path") {
            Add({UrlTokenKind::Level, std::string(written), 0, {}});
            AddText("/");
            Add({UrlTokenKind::Column, "", 0, {}});
            AddText("/");
            Add({UrlTokenKind::Row, "", 0, {}});
        } else {
            Error(Printable(written) +
                  (word == "bbox" ? " asks by extent, which cannot be expressed; find the "
                                    "service's address by tile numbers"
                                  : " is not known; the placeholders are %(z)s, %(x)s, %(y)s, "
                                    "%(quadkey)s, %(tms_path)s, %(tc_path)s and "
                                    "%(arcgiscache_path)s"));
        }
    }

    /// A record replaces one spelling of the server placeholder; beside {$serverpart} the other
    /// one stays a text.
    void KeepOneServerSpelling()
    {
        const auto spelled = [](std::string_view spelling) {
            return [spelling](const UrlToken& token) {
                return token.kind == UrlTokenKind::Server && token.text == spelling;
            };
        };
        std::vector<UrlToken>& tokens = m_result.tokens;
        if (std::none_of(tokens.begin(), tokens.end(), spelled("{$serverpart}")) ||
            std::none_of(tokens.begin(), tokens.end(), spelled("{$Serverpart}")))
            return;
        Warn("{$Serverpart} stays as it is beside {$serverpart}; write both alike");
        UrlTokens merged = std::move(m_result);
        m_result.tokens.clear();
        for (UrlToken& token : merged.tokens) {
            if (token.kind == UrlTokenKind::Text || token.text == "{$Serverpart}")
                AddText(token.text);
            else
                m_result.tokens.push_back(std::move(token));
        }
        m_result.foreign = merged.foreign;
        m_result.errors = std::move(merged.errors);
        m_result.warnings = std::move(merged.warnings);
    }

    void Add(UrlToken token)
    {
        m_result.tokens.push_back(std::move(token));
        if (++m_placeholders > kMaxPlaceholders)
            Error("holds more than 64 placeholders; an address needs few");
    }

    void AddText(std::string_view text)
    {
        if (m_result.tokens.empty() || m_result.tokens.back().kind != UrlTokenKind::Text)
            m_result.tokens.push_back({});
        m_result.tokens.back().text += text;
    }

    void Error(const std::string& text) { m_result.errors.push_back(text); }
    void Warn(const std::string& text)
    {
        if (m_result.warnings.size() < kMaxWarnings)
            m_result.warnings.push_back(text);
    }

    std::string_view m_url;
    UrlDialect m_dialect;
    std::size_t m_at = 0;
    std::size_t m_placeholders = 0;
    UrlTokens m_result;
};

} // namespace

UrlTokens ReadUrlTokens(std::string_view url, UrlDialect dialect)
{
    return UrlTokenReader(url, dialect).Read();
}

} // namespace KxC
