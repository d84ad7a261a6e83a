// SPDX-License-Identifier: MIT
#include "EarthOrders.h"

#include "Paths.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace KxOrigin {

namespace {

struct OptionWord
{
    std::string_view word;
    bool EarthOptions::*option;
};

constexpr std::array<OptionWord, 9> kOptionWords{{
    {"proto", &EarthOptions::isWrapped},
    {"png", &EarthOptions::isPng},
    {"alpha", &EarthOptions::hasAlpha},
    {"plain", &EarthOptions::isPlain},
    {"swapped", &EarthOptions::isSwapped},
    {"anyversion", &EarthOptions::takesAnyVersion},
    {"empty", &EarthOptions::answersEmpty},
    {"key", &EarthOptions::isGuarded},
    {"graticule", &EarthOptions::isGraticule},
}};

struct FaultWord
{
    std::string_view word;
    EarthFault fault;
    bool ofRoot;
    bool ofQuadtree;
    bool ofImage;
};

constexpr std::array<FaultWord, 20> kFaultWords{{
    {"truncated", EarthFault::Truncated, true, true, true},
    {"empty", EarthFault::Empty, true, true, true},
    {"html", EarthFault::Html, true, true, true},
    {"noise", EarthFault::Noise, true, true, true},
    {"wrong-key", EarthFault::WrongKey, true, true, true},
    {"wrong-magic", EarthFault::WrongMagic, true, true, false},
    {"wrong-size", EarthFault::WrongSize, true, true, false},
    {"huge-size", EarthFault::HugeSize, true, true, false},
    {"short-stream", EarthFault::ShortStream, true, true, false},
    {"bomb", EarthFault::Bomb, true, true, false},
    {"hidden-bomb", EarthFault::HiddenBomb, true, true, false},
    {"counts", EarthFault::Counts, true, true, true},
    {"missing", EarthFault::Missing, false, true, false},
    {"deep", EarthFault::Deep, true, true, true},
    {"endless", EarthFault::Endless, false, true, false},
    {"no-packet", EarthFault::NoPacket, false, true, false},
    {"no-key", EarthFault::NoKey, true, false, false},
    {"short-key", EarthFault::ShortKey, true, false, false},
    {"half", EarthFault::Half, false, false, true},
    {"small", EarthFault::Small, false, false, true},
}};

std::optional<EarthPart> TakePart(std::string_view& word)
{
    constexpr std::array<std::pair<std::string_view, EarthPart>, 3> kParts{{
        {"dbroot-", EarthPart::Root},
        {"quadtree-", EarthPart::Quadtree},
        {"image-", EarthPart::Image},
    }};
    for (const auto& [start, part] : kParts) {
        if (!word.starts_with(start))
            continue;
        word.remove_prefix(start.size());
        return part;
    }
    return std::nullopt;
}

bool IsIn(const FaultWord& fault, EarthPart part)
{
    switch (part) {
    case EarthPart::Quadtree:
        return fault.ofQuadtree;
    case EarthPart::Image:
        return fault.ofImage;
    case EarthPart::Root:
        break;
    }
    return fault.ofRoot;
}

/// A number without a sign that fills the text.
std::optional<int> ReadDigits(std::string_view text, int base)
{
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    if (error != std::errc() || stop != end || value < 0)
        return std::nullopt;
    return value;
}

/// Takes what stands before a separator; all of it when there is none.
std::string_view TakeUntil(std::string_view& text, char separator)
{
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return part;
}

/// The first part of a query that is not name=value: what is asked for.
std::string_view FindToken(std::string_view query)
{
    while (!query.empty()) {
        const std::string_view part = TakeUntil(query, '&');
        if (!part.empty() && part.find('=') == std::string_view::npos)
            return part;
    }
    return {};
}

/// "q2-0213-q.42", or without the last part.
std::optional<EarthPacketOrder> ReadPacketOrder(std::string_view token)
{
    TakeUntil(token, '-');
    const auto tile = ReadEarthPath(TakeUntil(token, '-'));
    if (!tile)
        return std::nullopt;
    if (token.empty())
        return EarthPacketOrder{*tile, std::nullopt};
    const auto version = token.starts_with("q.") ? ReadDigits(token.substr(2), 10) : std::nullopt;
    if (!version)
        return std::nullopt;
    return EarthPacketOrder{*tile, version};
}

/// "f1-0213-i.9" or "f1-0213-i.9-fc82f".
std::optional<EarthImageOrder> ReadImageOrder(std::string_view token)
{
    TakeUntil(token, '-');
    const auto tile = ReadEarthPath(TakeUntil(token, '-'));
    if (!tile || !token.starts_with("i."))
        return std::nullopt;
    token.remove_prefix(2);
    const auto version = ReadDigits(TakeUntil(token, '-'), 10);
    if (!version)
        return std::nullopt;
    if (token.empty())
        return EarthImageOrder{*tile, *version, std::nullopt};
    const auto date = ReadDigits(token, 16);
    if (!date)
        return std::nullopt;
    return EarthImageOrder{*tile, *version, date};
}

std::optional<EarthOrder> ReadFlatfile(EarthOrder order, std::string_view token)
{
    const std::string_view kind = token.substr(0, token.find('-'));
    const bool isCurrent = order.database == EarthDatabase::Current;
    if (kind == (isCurrent ? "q2" : "qp")) {
        const auto packet = ReadPacketOrder(token);
        if (!packet)
            return std::nullopt;
        order.what = *packet;
        return order;
    }
    const auto image = kind == "f1" ? ReadImageOrder(token) : std::nullopt;
    if (!image)
        return std::nullopt;
    order.what = *image;
    return order;
}

EarthPart PartOf(const EarthOrder& order)
{
    if (std::holds_alternative<EarthPacketOrder>(order.what))
        return EarthPart::Quadtree;
    if (std::holds_alternative<EarthImageOrder>(order.what))
        return EarthPart::Image;
    return EarthPart::Root;
}

} // namespace

EarthFault EarthOrder::Fault() const
{
    return options.faultyPart == PartOf(*this) ? options.fault : EarthFault::None;
}

std::optional<EarthOptions> ReadEarthOptions(std::string_view words)
{
    EarthOptions options;
    while (!words.empty()) {
        const std::string_view word = TakeUntil(words, ',');
        const auto* found = std::find_if(kOptionWords.begin(),
                                         kOptionWords.end(),
                                         [&](const auto& known) { return known.word == word; });
        if (found == kOptionWords.end())
            return std::nullopt;
        options.*(found->option) = true;
    }
    return options;
}

std::optional<EarthOptions> ReadEarthFault(std::string_view word)
{
    EarthOptions options;
    const auto part = TakePart(word);
    const auto* found = std::find_if(kFaultWords.begin(),
                                     kFaultWords.end(),
                                     [&](const auto& known) { return known.word == word; });
    if (!part || found == kFaultWords.end() || !IsIn(*found, *part))
        return std::nullopt;
    options.faultyPart = *part;
    options.fault = found->fault;
    return options;
}

std::optional<EarthOrder> ReadEarthOrder(std::string_view file, std::string_view query)
{
    EarthOrder order;
    const std::string_view database = QueryValue(query, "db");
    if (!database.empty() && database != "tm")
        return std::nullopt;
    if (database == "tm")
        order.database = EarthDatabase::History;
    if (file == "flatfile")
        return ReadFlatfile(order, FindToken(query));
    if (file != "dbRoot.v5")
        return std::nullopt;
    order.what = EarthRootOrder{QueryValue(query, "output") == "proto"};
    return order;
}

} // namespace KxOrigin
