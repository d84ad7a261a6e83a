// SPDX-License-Identifier: MIT
#include "SourceTexts.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace KxC {

namespace {

struct Keyword
{
    const char* m_text;
    int m_code;
};

constexpr std::array kSchemes{Keyword{"TianDiTuLatLon", kSchemeTianDiTuLatLon},
                              Keyword{"LatLonWGS84", kSchemeLatLonWgs84},
                              Keyword{"WebMercatorWGS84", kSchemeWebMercatorWgs84},
                              Keyword{"BingMap", kSchemeBingMap}};
constexpr std::array kDatums{Keyword{"GCJ02", 1}, Keyword{"BD09", 2}};
constexpr std::array kAxisOrders{Keyword{"Z,X,Y", 0},
                                 Keyword{"X,Y,Z", 1},
                                 Keyword{"Z,Y,X", 2},
                                 Keyword{"X,Z,Y", 3},
                                 Keyword{"Y,X,Z", 4},
                                 Keyword{"Y,Z,X", 5}};

/// Code of the first keyword that the text equals.
template <std::size_t N>
std::optional<int> FindKeyword(const std::array<Keyword, N>& keywords, const KxString& text)
{
    const auto found = std::find_if(keywords.begin(), keywords.end(), [&](const Keyword& keyword) {
        return text.CompareNoCase(keyword.m_text) == 0;
    });
    return found == keywords.end() ? std::nullopt : std::optional(found->m_code);
}

bool IsBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Leading blanks, an optional sign, digits up to the first other character.
int LeadingInteger(const char* text)
{
    while (IsBlank(*text))
        ++text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    // A bound beyond 32 bits keeps the sum from overflowing however many digits follow.
    constexpr std::int64_t kEnough = std::int64_t{1} << 40;
    std::int64_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        value = std::min(value * 10 + (*text - '0'), kEnough);
    return static_cast<int>(std::clamp<std::int64_t>(negative ? -value : value,
                                                     std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

} // namespace

int SchemeFromText(const KxString& text)
{
    const std::optional<int> code = FindKeyword(kSchemes, text);
    return code ? *code : LeadingInteger(text.Cstr());
}

int DatumFromText(const KxString& text)
{
    return FindKeyword(kDatums, text).value_or(0);
}

std::optional<int> AxisOrderFromText(const KxString& text)
{
    return FindKeyword(kAxisOrders, text);
}

bool IsSouthToNorth(const KxString& text)
{
    return text.CompareNoCase("SouthToNorth") == 0 || text.CompareNoCase("1") == 0;
}

void SplitServerParts(const KxString& text, KxArray<KxString>& parts)
{
    if (text.IsEmpty() == 0)
        text.Split(parts, " ,", 0);
}

bool ReplaceServerPart(KxString& urlTemplate)
{
    return urlTemplate.Replace("{$serverpart}", "%s") > 0 ||
           urlTemplate.Replace("{$Serverpart}", "%s") > 0;
}

KxString
SourceKey(const KxString& urlTemplate, unsigned char historyDataUsed, const KxTime& historyTime)
{
    if (historyDataUsed == 0)
        return urlTemplate;
    KxString date;
    date.Format("%d_%d_%d", historyTime.GetYear(), historyTime.GetMonth(), historyTime.GetDay());
    return urlTemplate + "_" + date;
}

} // namespace KxC
