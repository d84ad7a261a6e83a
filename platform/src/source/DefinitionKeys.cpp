// SPDX-License-Identifier: MIT
#include "DefinitionKeys.h"

#include <algorithm>
#include <array>

namespace KxC {

namespace {

constexpr std::string_view kDefinitionKeys =
    "url servers scheme datum rows axis_order tile_size level_offset format version user_agent "
    "headers script attr1 attr2 attr3 attr4 attr5 option1 option2 option3 value1 value2 value3 "
    "bounds name attribution terms notes enabled";
constexpr std::string_view kBoundsKeys = "west south east north min_level max_level";

/// Longer words are no slip of the finger; it also bounds the work for a hostile file.
constexpr std::size_t kLongestWord = 31;

template <class Visitor>
void ForEachWord(std::string_view words, Visitor visit)
{
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        visit(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

bool Contains(std::string_view words, std::string_view wanted)
{
    bool found = false;
    ForEachWord(words, [&](std::string_view word) { found = found || word == wanted; });
    return found;
}

char Lower(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// Letters to insert, drop or change on the way from one word to the other (Levenshtein).
std::size_t Distance(std::string_view from, std::string_view to)
{
    std::array<std::size_t, kLongestWord + 1> row{};
    for (std::size_t j = 0; j <= to.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t change = diagonal + (Lower(from[i - 1]) != Lower(to[j - 1]) ? 1 : 0);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[to.size()];
}

} // namespace

bool IsDefinitionKey(std::string_view key)
{
    return Contains(kDefinitionKeys, key);
}

bool IsBoundsKey(std::string_view key)
{
    return Contains(kBoundsKeys, key);
}

std::string_view NearestDefinitionKey(std::string_view key)
{
    return NearestWord(key, kDefinitionKeys);
}

std::string_view NearestBoundsKey(std::string_view key)
{
    return NearestWord(key, kBoundsKeys);
}

std::string_view NearestWord(std::string_view word, std::string_view candidates)
{
    std::string_view nearest;
    std::size_t least = std::min<std::size_t>(3, word.size() / 2 + 1);
    if (word.size() > kLongestWord)
        return nearest;
    ForEachWord(candidates, [&](std::string_view candidate) {
        const std::size_t distance = Distance(word, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    });
    return nearest;
}

} // namespace KxC
