// SPDX-License-Identifier: MIT
#include "UrlWords.h"

#include "TextRules.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace KxC {

namespace {

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

constexpr std::array<Word, 6> kMapProxyWords = {{{"x", UrlTokenKind::Column},
                                                 {"y", UrlTokenKind::Row},
                                                 {"z", UrlTokenKind::Level},
                                                 {"quadkey", UrlTokenKind::Quadkey},
                                                 {"tc_path", UrlTokenKind::TileCachePath},
                                                 {"arcgiscache_path", UrlTokenKind::ArcGisPath}}};

template <std::size_t Size>
std::optional<UrlTokenKind> Find(const std::array<Word, Size>& words, std::string_view word)
{
    const auto found =
        std::find_if(words.begin(), words.end(), [&](const Word& w) { return w.word == word; });
    return found == words.end() ? std::nullopt : std::optional(found->kind);
}

bool IsLetter(char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

std::optional<int> SmallNumber(std::string_view digits)
{
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool good = error == std::errc() && end == digits.data() + digits.size() &&
                      digits.size() <= 4 && !digits.empty() && digits[0] != '-';
    return good ? std::optional(number) : std::nullopt;
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

std::string OwnSpelling(UrlTokenKind kind)
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

} // namespace

std::optional<UrlTokenKind> MeaningOfOwnWord(std::string_view word)
{
    return Find(kOwnWords, word);
}

std::optional<UrlTokenKind> MeaningOfWord(std::string_view word)
{
    return Find(kWords, word);
}

std::optional<UrlTokenKind> MeaningOfMapProxyWord(std::string_view word)
{
    return Find(kMapProxyWords, word);
}

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

std::vector<std::string> ServersOf(std::string_view group)
{
    constexpr std::string_view kSwitch = "switch:";
    if (group.substr(0, kSwitch.size()) == kSwitch)
        return Choices(group.substr(kSwitch.size()));
    const std::vector<std::string> letters = LetterRange(group);
    return letters.empty() ? NumberRange(group) : letters;
}

bool LooksNamed(std::string_view group)
{
    const auto inName = [](char byte) {
        return IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' ||
               byte == '.' || byte == '+' || byte == '!' || byte == '$';
    };
    return !group.empty() && group.size() <= 32 && std::all_of(group.begin(), group.end(), inName);
}

bool IsMisspelt(std::string_view group)
{
    const std::string lower = Lower(group);
    const std::string_view bare = std::string_view(lower).substr(lower[0] == '$' ? 1 : 0);
    return MeaningOfOwnWord(lower) || MeaningOfWord(bare);
}

std::string VerdictOnUnknown(std::string_view group)
{
    const bool own = group[0] == '$';
    const std::string lower = Lower(group);
    const std::string bare = own ? lower.substr(1) : lower;
    if (own ? MeaningOfOwnWord(lower) : MeaningOfWord(lower))
        return " is no placeholder here; write {" + lower + "}";
    if (const std::optional<UrlTokenKind> kind = MeaningOfWord(bare))
        return " is no placeholder here; write " + OwnSpelling(*kind);
    if (bare.find("bbox") != std::string::npos || IsOneOf(bare, "width height proj wkid crs"))
        return " belongs to a map service that is asked by extent, which cannot be expressed; "
               "find its address by tile numbers";
    return " is not known; the placeholders are {$x}, {$y}, {$z}, {$quadkey} and {$serverpart}";
}

} // namespace KxC
