// SPDX-License-Identifier: MIT
#include "TileProbe.h"

#include "Command.h"
#include "EarthSource.h"
#include "KxCompress.h"
#include "KxGeFetcher.h"
#include "KxImgUtility.h"
#include "KxNetGetch.h"
#include "SourceFormat.h"
#include "StatusHint.h"
#include "TileUrl.h"
#include "forms/Schemes.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace KxTileHost {

namespace {

using KxC::KxImgUtility;
using KxC::KxNetGetch;
using KxC::KxNetRequestInfo;

/// The library's own rule for this scheme, whatever the record says.
constexpr char kAgentOfScheme3[] = "kh_lt/LT3.0.0762";

bool IsGzip(const KxC::KxRawData& body)
{
    return body.GetSize() >= 2 && body.GetData()[0] == 0x1f && body.GetData()[1] == 0x8b;
}

/// What a body that is no picture begins with.
std::string Beginning(const KxC::KxRawData& body)
{
    constexpr unsigned int kShown = 60;
    std::string text;
    for (unsigned int i = 0; i < std::min(body.GetSize(), kShown); ++i) {
        const unsigned char byte = body.GetData()[i];
        text += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '.';
    }
    return text;
}

/// How to understand a body of no known picture format.
std::string HintForStranger(const KxC::KxRawData& body)
{
    if (IsGzip(body))
        return "The answer is compressed: let the definition's format end in gzip, as in "
               "format = \"png gzip\".";
    const char first = body.GetSize() > 0 ? static_cast<char>(body.GetData()[0]) : '\0';
    if (first == '<' || first == '{')
        return "It is a text, most likely an error message: check the address, key, headers and "
               "user agent.";
    return "Pictures are PNG, JPEG, WebP or GIF; other tiles, such as vector tiles, cannot be "
           "used.";
}

std::string NoTileHint(int level)
{
    return fmt::format("That is an answer, not a failure: the service has nothing at this place "
                       "or at level {}. Try another tile with --tile or --at.",
                       level);
}

} // namespace

TileProbe::TileProbe(KxC::KxTSDParamItem& source, const HostTile& tile, int timeoutMs)
    : m_source(source), m_timeoutMs(timeoutMs)
{
    m_facts = {{"x", tile.m_x}, {"y", tile.m_y}, {"z", tile.m_z}};
    Run(tile);
}

ProbeStep::Verdict TileProbe::Verdict() const
{
    ProbeStep::Verdict worst = ProbeStep::kGood;
    for (const ProbeStep& step : m_steps)
        worst = std::max(worst, step.m_verdict);
    return worst;
}

void TileProbe::Run(const HostTile& tile)
{
    const bool isEarth = m_source.m_pGeFetcher != nullptr;
    const bool hasBody = isEarth ? NameServer() && RequestFromEarth(tile)
                                 : AskForUrl(tile) && Request() && Inflate();
    if (hasBody && Recognise())
        Decode();
}

/// @return whether to go on
bool TileProbe::Add(std::string name,
                    ProbeStep::Verdict verdict,
                    std::string text,
                    std::string hint)
{
    m_steps.push_back({std::move(name), verdict, std::move(text), std::move(hint)});
    return verdict == ProbeStep::kGood || verdict == ProbeStep::kDoubtful;
}

bool TileProbe::AskForUrl(const HostTile& tile)
try {
    if (m_source.m_strUrlTemplate.IsEmpty() != 0 && m_source.m_bLuaScripted == 0)
        return Add("url", ProbeStep::kBad, "the source has neither URL nor script");
    m_url = TileUrlOf(m_source, tile);
    m_facts["url"] = m_url;
    if (m_source.m_nTileScheme == Scheme::kBingMap && tile.m_z == 0)
        return Add("url",
                   ProbeStep::kNoTile,
                   "services by quadkey have no level 0",
                   "Name a tile of level 1 or more.");
    return Add("url", ProbeStep::kGood, m_url);
} catch (const CommandError& error) {
    return Add("url", ProbeStep::kBad, error.what(), error.m_hint);
}

bool TileProbe::NameServer()
{
    if (m_source.m_strUrlTemplate.IsEmpty() != 0)
        return Add("server",
                   ProbeStep::kBad,
                   "the source has no address",
                   "Write the earth server's address as the definition's url.");
    return Add("server", ProbeStep::kGood, m_source.m_strUrlTemplate.Cstr());
}

/// The fetcher reads the server's database and quadtree on its way: what fails names its address.
bool TileProbe::RequestFromEarth(const HostTile& tile)
{
    const auto start = std::chrono::steady_clock::now();
    KxC::KxString unused;
    const KxC::NetError result = m_source.m_pGeFetcher->FetchImageRawData(
        m_body, tile.m_z, tile.RowFromSouth(), tile.m_x, unused, 0);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    const KxC::KxGeFetchInfo& fetch = KxC::KxGeFetcher::GetLastFetchInfo();
    NoteRequest();
    m_facts["url"] = KxNetGetch::GetLastRequestInfo().m_strUrl.Cstr();
    m_facts["milliseconds"] = took.count();
    m_facts["cause"] = fetch.m_strCause.Cstr();
    if (result == KxC::NetError_NoData)
        return Add("request",
                   ProbeStep::kNoTile,
                   "the server has no imagery there, or none of that date or before",
                   "'kxtile history dates' lists the days that it has at a place.");
    if (result != KxC::NetError_Success)
        return Add("request",
                   ProbeStep::kBad,
                   fetch.m_strCause.Cstr(),
                   HintForStatus(KxNetGetch::GetLastRequestInfo().m_nHttpStatus));
    m_facts["imagery_date"] = fetch.m_time.GetYear() > 0 ? FormatDate(fetch.m_time) : "";
    m_facts["imagery_level"] = fetch.m_nLevel;
    return Add("request",
               ProbeStep::kGood,
               fmt::format("{} bytes in {:.0f} ms: {} imagery of level {}",
                           m_body.GetSize(),
                           took.count(),
                           fetch.m_time.GetYear() > 0 ? FormatDate(fetch.m_time) : "undated",
                           fetch.m_nLevel));
}

/// What the last request says, for programs.
void TileProbe::NoteRequest()
{
    const KxNetRequestInfo& info = KxNetGetch::GetLastRequestInfo();
    m_facts["http_status"] = info.m_nHttpStatus;
    m_facts["attempts"] = info.m_nAttempts;
    m_facts["bytes"] = info.m_nBytes;
    m_facts["milliseconds"] = info.m_dSeconds * 1000.0;
    m_facts["content_type"] = info.m_strContentType.Cstr();
    m_facts["cause"] = info.m_strCause.Cstr();
}

bool TileProbe::Request()
{
    const KxC::KxString agent =
        m_source.m_nTileScheme == 3 ? kAgentOfScheme3 : m_source.m_strUserAgent;
    const KxC::NetError result = KxNetGetch::RequestData(
        m_body, m_url.c_str(), "", "", 0, 1, m_timeoutMs, agent, &m_source.m_arrRequestHeaders);
    const KxNetRequestInfo& info = KxNetGetch::GetLastRequestInfo();
    NoteRequest();
    const std::string text =
        fmt::format("HTTP status {}, {} attempt{}, {} bytes of type '{}' in {:.0f} ms",
                    info.m_nHttpStatus,
                    info.m_nAttempts,
                    info.m_nAttempts == 1 ? "" : "s",
                    info.m_nBytes,
                    info.m_strContentType.Cstr(),
                    info.m_dSeconds * 1000.0);
    const int level = m_facts["z"].get<int>();
    if (result == KxC::NetError_NoData)
        return Add("request", ProbeStep::kNoTile, text + ": no tile there", NoTileHint(level));
    if (result != KxC::NetError_Success)
        return Add("request",
                   ProbeStep::kBad,
                   fmt::format("{}: {}", text, info.m_strCause.Cstr()),
                   HintForStatus(info.m_nHttpStatus));
    if (m_body.GetSize() == 0)
        return Add("request",
                   ProbeStep::kNoTile,
                   text + ": an empty answer, which counts as no tile",
                   NoTileHint(level));
    return Add("request", ProbeStep::kGood, text);
}

bool TileProbe::Inflate()
{
    m_facts["gzip"] = IsGzip(m_body);
    if (!FormatEndsIn(m_source, "gzip"))
        return true; // what is compressed all the same shows when it is no picture
    // The room that the library gives: twice the size, no more.
    const unsigned int room = 2 * m_body.GetSize();
    std::unique_ptr<unsigned char, decltype(&std::free)> output(
        static_cast<unsigned char*>(std::malloc(room)), &std::free);
    unsigned int size = room;
    if (output == nullptr || !IsGzip(m_body))
        return Add("inflate",
                   ProbeStep::kBad,
                   "the definition's format ends in gzip, but the answer is not compressed",
                   "Take gzip out of the definition's format.");
    if (KxC::KxCompress::GZipDecompress(m_body.GetData(), m_body.GetSize(), output.get(), size) !=
        0)
        return Add("inflate",
                   ProbeStep::kBad,
                   "the compressed answer is damaged, or inflates to more than twice its size");
    const std::string text = fmt::format("{} bytes become {}", m_body.GetSize(), size);
    m_body.Attach(output.release(), size);
    return Add("inflate", ProbeStep::kGood, text);
}

bool TileProbe::Recognise()
{
    const KxC::KxString ext = KxImgUtility::TellImgExt(m_body.GetData(), m_body.GetSize());
    const std::string format = ext.IsEmpty() != 0 ? "" : ext.Cstr() + 1;
    const bool whole = KxImgUtility::IsCompletedImage(m_body.GetData(), m_body.GetSize(), "") != 0;
    m_facts["image"] = format;
    m_facts["whole"] = whole;
    if (format.empty())
        return Add(
            "picture",
            ProbeStep::kBad,
            fmt::format("no PNG, JPEG, WebP or GIF; it begins with \"{}\"", Beginning(m_body)),
            HintForStranger(m_body));
    if (!whole)
        return Add("picture",
                   ProbeStep::kBad,
                   fmt::format("a {} that is damaged or not whole", format),
                   "The answer may have been cut off on its way: try again.");
    m_body.SetExt(ext);
    Add("picture", ProbeStep::kGood, fmt::format("a whole {}", format));
    CompareFormat(format);
    return true;
}

/// Only an ending "png" means something to the library: such tiles have room for transparency.
void TileProbe::CompareFormat(const std::string& format)
{
    if (FormatEndsIn(m_source, "png") && format != "png")
        Add("format",
            ProbeStep::kDoubtful,
            fmt::format("the definition says '{}', the picture is {}",
                        m_source.m_strImageFormat.Cstr(),
                        format),
            fmt::format("Write format = \"{}\", unless other tiles of the service are PNG.",
                        format));
}

bool TileProbe::Decode()
{
    const std::unique_ptr<KxC::KxImageData> image(
        KxImgUtility::LoadImageData(m_body.GetData(), m_body.GetSize(), "", 1, 1));
    m_facts["decoded"] = image != nullptr;
    if (image == nullptr)
        return Add("decode",
                   ProbeStep::kBad,
                   "the picture is whole but does not decode",
                   "Animated pictures, and those beyond 16384 pixels a side, are not decoded.");
    const bool alpha = image->GetPixelSize() == 4;
    m_facts["width"] = image->GetWidth();
    m_facts["height"] = image->GetHeight();
    m_facts["alpha"] = alpha;
    m_facts["tile_size"] = m_source.m_nTileSize;
    Add("decode",
        ProbeStep::kGood,
        fmt::format("{} x {} pixels, {} transparency",
                    image->GetWidth(),
                    image->GetHeight(),
                    alpha ? "with" : "without"));
    CompareSize(image->GetWidth(), image->GetHeight());
    return true;
}

void TileProbe::CompareSize(int width, int height)
{
    const int size = m_source.m_nTileSize;
    const std::string said = fmt::format("tile_size is {}", size);
    if (width == size && height == size)
        Add("size", ProbeStep::kGood, said + ", as the picture");
    else if (width == height)
        Add("size",
            ProbeStep::kBad,
            fmt::format("{}, but the picture has {} x {} pixels", said, width, height),
            fmt::format("Write tile_size = {} into the definition (--tile-size {} for a URL "
                        "template).",
                        width,
                        width));
    else
        Add("size",
            ProbeStep::kBad,
            fmt::format("{}, but the picture has {} x {} pixels", said, width, height),
            "Tiles are square: this is some other picture.");
}

} // namespace KxTileHost
