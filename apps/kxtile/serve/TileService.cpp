// SPDX-License-Identifier: MIT
#include "serve/TileService.h"

#include "KxWMTileDataCache.h"
#include "serve/OutputDisk.h"
#include "serve/Transcode.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace KxTileHost::Serve {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kOutput[] = "output";
constexpr char kUpstream[] = "upstream";
/// What an answer takes beside its picture: headers, the response made of them, its place.
constexpr std::size_t kAnswerBytes = 2500;

/// Lets go of the decoded tiles that the library keeps valid until the thread's next operation,
/// which may be long in coming.
class ThreadTiles
{
public:
    ThreadTiles() = default;
    ~ThreadTiles() { KxC::m_gWMTileDataCacheManager.ReleaseThreadTiles(); }
    ThreadTiles(const ThreadTiles&) = delete;
    ThreadTiles& operator=(const ThreadTiles&) = delete;
};

double MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string KeyOf(const char* what, const Source& source, const TileRequest& tile)
{
    return fmt::format("{}/{}/{}/{}/{}/{}/{}/{}",
                       what,
                       source.m_generation,
                       tile.m_z,
                       tile.m_x,
                       tile.m_y,
                       tile.m_size,
                       static_cast<int>(tile.m_format),
                       tile.m_day);
}

/// Services send GIF, too.
std::string MimeOfPicture(const Body& body)
{
    const std::string mime = MimeOf(FormatOf(body.Data(), body.Size()));
    return mime.empty() ? "image/gif" : mime;
}

TileRequest AsNatural(TileRequest tile)
{
    tile.m_format = TileFormat::Natural;
    return tile;
}

std::unique_ptr<KxC::KxRawData> CopyOf(const Body& body)
{
    auto copy = std::make_unique<KxC::KxRawData>();
    auto* const bytes = static_cast<unsigned char*>(std::malloc(body.Size()));
    if (bytes == nullptr)
        throw std::bad_alloc();
    std::memcpy(bytes, body.Data(), body.Size());
    copy->Attach(bytes, static_cast<unsigned int>(body.Size()));
    return copy;
}

/// Another answer of the same content.
std::shared_ptr<Answer> Again(const Answer& answer)
{
    auto again = std::make_shared<Answer>();
    again->m_status = answer.m_status;
    again->m_contentType = answer.m_contentType;
    again->m_body = answer.m_body;
    again->m_etag = answer.m_etag;
    again->m_cacheControl = answer.m_cacheControl;
    return again;
}

/// Brings a tile into a format.
/// @param bytes  null afterwards when they do not decode
/// @return whether they are others now: what has the format already stays as it is
bool Convert(std::unique_ptr<KxC::KxRawData>& bytes, TileFormat format)
{
    if (bytes == nullptr || format == TileFormat::Natural ||
        FormatOf(bytes->GetData(), bytes->GetSize()) == format)
        return false;
    bytes = Transcode(bytes->GetData(), bytes->GetSize(), format);
    return true;
}

/// @return as of Convert
bool ConvertOrFail(MadeTile& made, TileFormat format)
{
    const bool isTile = made.m_bytes != nullptr;
    const bool isChanged = Convert(made.m_bytes, format);
    if (isTile && made.m_bytes == nullptr) {
        made.m_outcome = MadeTile::kFailed;
        made.m_cause = "the source's picture does not decode";
    }
    return isChanged;
}

/// Whether the tiles, as they come, are the service's own, or a pack's, which have a place on disk
/// already.
bool AreKeptAsSourceTiles(const Source& source, int size)
{
    const bool isStored = source.m_isPack && size == kTileSize;
    return isStored || source.HandsOutOwnTiles(size);
}

} // namespace

TileService::TileService(const Options& options, Metrics& metrics)
    : m_options(options),
      m_cacheControl(fmt::format("public, max-age={}", options.m_maxAgeSeconds)),
      m_metrics(metrics), m_kept(options.m_memory)
{
}

Outcome TileService::Tile(const SourcePtr& source, const TileRequest& tile)
{
    Outcome outcome;
    outcome.m_label = "tile";
    outcome.m_answer = FindAnswer(*source, tile);
    if (outcome.m_answer != nullptr) {
        m_metrics.NoteTile(kOutput);
        return outcome;
    }
    if (!LiesInBounds(*source, tile)) {
        outcome.m_answer = AnswerMissing(source->m_missing, tile);
        return outcome;
    }
    outcome.m_key = KeyOf("tile", *source, tile);
    outcome.m_lane = source->m_id;
    outcome.m_work = [this, source, tile] { return Work(*source, tile); };
    return outcome;
}

/// The tile, or the natural one where that has the format.
AnswerPtr TileService::FindAnswer(const Source& source, const TileRequest& tile)
{
    AnswerPtr kept = m_kept.Find({source.m_generation, tile});
    if (kept != nullptr || tile.m_format == TileFormat::Natural)
        return kept;
    kept = m_kept.Find({source.m_generation, AsNatural(tile)});
    return kept != nullptr && kept->m_contentType == MimeOf(tile.m_format) ? kept : nullptr;
}

Outcome TileService::RawTile(const SourcePtr& source, const TileRequest& tile)
{
    Outcome outcome;
    outcome.m_label = "raw";
    outcome.m_key = KeyOf("raw", *source, tile);
    outcome.m_lane = source->m_id;
    outcome.m_work = [this, source, tile] { return WorkRaw(*source, tile); };
    return outcome;
}

AnswerPtr TileService::Work(const Source& source, const TileRequest& tile)
{
    const ThreadTiles heldUntilTheEnd;
    const auto start = Clock::now();
    MadeTile made = FindKept(source, tile);
    if (made.m_outcome != MadeTile::kTile)
        made = MakeAnew(source, tile);
    const bool isTile = made.m_outcome == MadeTile::kTile;
    AnswerPtr answer = AnswerOf(source.m_missing, tile, std::move(made), MillisecondsSince(start));
    if (isTile)
        Keep({source.m_generation, tile}, *answer);
    return answer;
}

AnswerPtr TileService::WorkRaw(const Source& source, const TileRequest& tile) const
{
    const ThreadTiles heldUntilTheEnd;
    const auto start = Clock::now();
    MadeTile made = FetchRawTile(source, tile, m_options.m_timeoutMs);
    ConvertOrFail(made, tile.m_format);
    NoteUpstream(source, made);
    // The service has none: a blank one would not be its own.
    const MissingTile missing =
        source.m_missing == MissingTile::NoContent ? MissingTile::NoContent : MissingTile::NotFound;
    return AnswerOf(missing, tile, std::move(made), MillisecondsSince(start));
}

/// What is kept on disk, or in the natural format in either place.
MadeTile TileService::FindKept(const Source& source, const TileRequest& tile)
{
    MadeTile kept;
    kept.m_cacheState = kOutput;
    const bool isNatural = tile.m_format == TileFormat::Natural;
    if (!isNatural || !AreKeptAsSourceTiles(source, tile.m_size))
        kept.m_bytes = LoadOutput(source, tile);
    if (kept.m_bytes == nullptr && !isNatural) {
        kept.m_bytes = FindNatural(source, AsNatural(tile));
        if (Convert(kept.m_bytes, tile.m_format) && kept.m_bytes != nullptr)
            SaveOutput(source, tile, *kept.m_bytes);
    }
    if (kept.m_bytes != nullptr)
        kept.m_outcome = MadeTile::kTile;
    return kept;
}

/// What is kept of a tile in the natural format.
std::unique_ptr<KxC::KxRawData> TileService::FindNatural(const Source& source,
                                                         const TileRequest& natural)
{
    if (const AnswerPtr answer = m_kept.Find({source.m_generation, natural}))
        return CopyOf(answer->m_body);
    return AreKeptAsSourceTiles(source, natural.m_size) ? nullptr : LoadOutput(source, natural);
}

MadeTile TileService::MakeAnew(const Source& source, const TileRequest& tile) const
{
    MadeTile made = MakeTile(source, tile, m_options.m_timeoutMs);
    const bool isChanged = ConvertOrFail(made, tile.m_format);
    NoteUpstream(source, made);
    if (made.m_outcome == MadeTile::kTile &&
        (isChanged || !AreKeptAsSourceTiles(source, tile.m_size)))
        SaveOutput(source, tile, *made.m_bytes);
    return made;
}

void TileService::NoteUpstream(const Source& source, const MadeTile& made) const
{
    if (made.m_cacheState != std::string_view(kUpstream))
        return;
    m_metrics.NoteUpstream(source.m_id, made.m_outcome);
    if (made.m_outcome == MadeTile::kTile)
        DescribeSourceTiles(source);
}

/// Later answers share the picture; only what is said of its way is another.
void TileService::Keep(const TileKey& key, const Answer& made)
{
    const auto kept = Again(made);
    kept->m_cacheState = kOutput;
    kept->m_milliseconds = 0.0;
    m_kept.Put(key, kept, kept->m_body.Size() + kAnswerBytes);
}

AnswerPtr TileService::AnswerOf(MissingTile missing,
                                const TileRequest& tile,
                                MadeTile made,
                                double milliseconds) const
{
    std::shared_ptr<Answer> answer;
    if (made.m_outcome == MadeTile::kTile) {
        m_metrics.NoteTile(made.m_cacheState);
        const Body body = Body::OfRawData(std::move(made.m_bytes));
        answer = DocumentAnswer(MimeOfPicture(body), body, m_cacheControl);
    } else if (made.m_outcome == MadeTile::kNoTile) {
        answer = Again(*AnswerMissing(missing, tile));
    } else {
        const bool isLate = made.m_outcome == MadeTile::kTooSlow;
        answer = TextAnswer(isLate ? Status::kGatewayTimeout : Status::kBadGateway, made.m_cause);
    }
    answer->m_cacheState = made.m_cacheState;
    answer->m_milliseconds = milliseconds;
    return answer;
}

AnswerPtr TileService::AnswerMissing(MissingTile missing, const TileRequest& tile) const
{
    if (missing == MissingTile::NotFound)
        return TextAnswer(Status::kNotFound, "the source has no tile there");
    if (missing == MissingTile::Blank)
        return BlankAnswer(tile);
    auto answer = std::make_shared<Answer>();
    answer->m_status = Status::kNoContent;
    answer->m_cacheControl = m_cacheControl;
    return answer;
}

/// Encoding takes milliseconds, and the thread that asks may be the one that all requests share.
const AnswerPtr& TileService::BlankAnswer(const TileRequest& tile) const
{
    const std::size_t size = tile.m_size == kTileSize ? 0 : 1;
    MadeOnce& blank = m_blank[size * kFormats + static_cast<std::size_t>(tile.m_format)];
    std::call_once(blank.m_once, [&] {
        const Body body = Body::OfRawData(BlankTile(tile.m_size, tile.m_format));
        blank.m_answer = DocumentAnswer(MimeOfPicture(body), body, m_cacheControl);
    });
    return blank.m_answer;
}

} // namespace KxTileHost::Serve
