// SPDX-License-Identifier: MIT
// A tile's address from a record filled with anything. An input is numbers, then lines of text:
// the template and the servers.
#include "FuzzBytes.h"
#include "FuzzTarget.h"
#include "KxTileFetcher.h"

namespace {

using namespace KxC;

void FillFrom(Fuzz::ByteSource& input, KxTSDParamItem& source)
{
    const int scheme = input.Number();
    const int datum = input.Number();
    const int southToNorth = input.Byte() % 2;
    const int levelOffset = input.Number();
    const auto history = static_cast<unsigned char>(input.Byte() % 2);
    const KxTime date(input.Number(), input.Byte(), input.Byte());
    const int axisOrder = input.Number();
    const KxString urlTemplate = input.Line();
    const KxString servers = input.Line();
    source.LoadFromParam(
        urlTemplate, servers, scheme, datum, southToNorth, levelOffset, 256, "", history, date);
    // As a definition file could have left it; 64 and above leave the template's own.
    if (axisOrder < 64)
        source.m_nAxisOrder = axisOrder;
    source.m_strVersion = input.Line();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzz::ByteSource input(bytes, size);
    const int level = input.Number();
    const int row = input.Number();
    const int column = input.Number();
    KxTSDParamItem source;
    FillFrom(input, source);
    const KxString first = KxTileFetcher::GetURL(&source, level, row, column);
    const KxString second = KxTileFetcher::GetURL(&source, level, row, column);
    Fuzz::Require(source.m_bHasServerPart != 0 || first == second,
                  "one tile has one address, but for the server's turn");
    return 0;
}
