// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileFetcher.h"
#include "unit/support/ScriptedRequests.h"
#include "unit/support/TemporaryFolder.h"
#include "unit/support/TinyPng.h"

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <cstdint>
#include <string>

namespace KxC::Testing {

inline Bytes Gzip(const Bytes& bytes)
{
    libdeflate_compressor* compressor = libdeflate_alloc_compressor(9);
    Bytes zipped(libdeflate_gzip_compress_bound(compressor, bytes.size()));
    zipped.resize(libdeflate_gzip_compress(
        compressor, bytes.data(), bytes.size(), zipped.data(), zipped.size()));
    libdeflate_free_compressor(compressor);
    return zipped;
}

/// The tiny picture with so many zeros behind it that it deflates to less than half.
inline Bytes CompressiblePng()
{
    Bytes bytes = kTinyPng;
    bytes.resize(bytes.size() + 10000, 0);
    return bytes;
}

inline Bytes TruncatedPng()
{
    return {kTinyPng.begin(), kTinyPng.end() - 14};
}

/// A picture that is whole, each of its parts having the right check sum, and yet does not decode.
inline Bytes UndecodablePng()
{
    constexpr std::size_t kDataChunk = 8 + 25; // behind the signature and the header chunk
    Bytes bytes = kTinyPng;
    bytes[kDataChunk + 8] = 0xFF; // no deflate stream begins so
    const std::size_t length = bytes[kDataChunk + 3];
    const std::uint32_t sum = libdeflate_crc32(0, bytes.data() + kDataChunk + 4, length + 4);
    for (std::size_t i = 0; i < 4; ++i)
        bytes[kDataChunk + 8 + length + i] = static_cast<unsigned char>(sum >> (24 - 8 * i));
    return bytes;
}

/// A source, a scripted service, empty caches and the switches as a test sets them.
class RetrievalTest : public ::testing::Test
{
protected:
    RetrievalTest()
    {
        m_source.LoadFromParam("http://s/{$z}/{$x}/{$y}", "", 10, 0, 1, 0, 256, "", 0, KxTime());
        m_source.m_strUserAgent = "agent of the source";
        KxTileFetcher::m_sbMemCacheUsed = 1;
        KxTileFetcher::m_sbLocalCacheUsed = 0;
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
        m_gWMTileDataCacheManager.Clear();
    }
    ~RetrievalTest() override
    {
        KxTileFetcher::m_sbMemCacheUsed = 1;
        KxTileFetcher::m_sbLocalCacheUsed = 0;
    }

    /// FetchWMData of the tile at level 3, row 2, column 1: http://s/3/1/2.
    NetError Fetch(KxWMImageTileData*& tile, int requestParam = 0)
    {
        return KxTileFetcher::FetchWMData(tile, &m_source, 3, 2, 1, requestParam);
    }
    NetError Download(KxWMImageTileData*& tile)
    {
        return KxTileFetcher::DownLoadWMData(tile, &m_source, 3, 2, 1, 0);
    }
    std::size_t Requests() const { return m_service.m_sent.size() + m_service.m_earthSent.size(); }

    static constexpr char kUrl[] = "http://s/3/1/2";
    TemporaryFolder m_folder;
    ScriptedRequests m_service;
    KxTSDParamItem m_source;
};

} // namespace KxC::Testing
