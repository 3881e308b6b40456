#include "games/gameFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <span>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

#include "board/setup.h"
#include "platform/fileMapping.h"
#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

constexpr std::array<std::uint8_t, 4> marker = {'T', 'V', 'G', '1'};
constexpr std::size_t checksumSize = 4;

/// The first 50 bytes of a record.
struct recordHeader
{
    std::array<std::uint8_t, 4> marker;
    std::uint16_t plies;
    std::uint8_t whitePoints;
    std::uint8_t zero;
    storedStart start;
    std::uint16_t earlierPlies;
};
static_assert(sizeof(recordHeader) == 50 && sizeof(storedMove) == 4, "both are copied from and to files");

constexpr std::array<std::uint32_t, 256> makeCrcTable()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i)
    {
        std::uint32_t value = i;
        for (int step = 0; step < 8; ++step)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
        table[i] = value;
    }
    return table;
}

std::uint32_t crc32(const std::uint8_t *bytes, std::size_t count)
{
    static constexpr std::array<std::uint32_t, 256> table = makeCrcTable();
    std::uint32_t value = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < count; ++i)
        value = table[(value ^ bytes[i]) & 0xFF] ^ (value >> 8);
    return ~value;
}

/// Size of the whole record that begins here, or 0 if none does.
std::size_t recordSize(const std::uint8_t *bytes, std::size_t available)
{
    if (available < sizeof(recordHeader) + checksumSize)
        return 0;
    const auto header = readLittle<recordHeader>(bytes);
    const std::size_t checked = sizeof header + header.plies * sizeof(storedMove);
    const bool isWhole = header.marker == marker && header.whitePoints <= 2 && checked + checksumSize <= available &&
                         crc32(bytes, checked) == readLittle<std::uint32_t>(bytes + checked);
    return isWhole ? checked + checksumSize : 0;
}

void decodeGame(const std::uint8_t *bytes, storedGame &game)
{
    const auto header = readLittle<recordHeader>(bytes);
    game.whitePoints = header.whitePoints;
    game.start = header.start;
    game.earlierPlies = header.earlierPlies;
    game.moves.resize(header.plies);
    if (header.plies != 0)
        std::memcpy(game.moves.data(), bytes + sizeof header, header.plies * sizeof(storedMove));
}

bool writeAll(int descriptor, const std::uint8_t *bytes, std::size_t count)
{
    while (count > 0)
    {
        const ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR)
            return false;
        const std::size_t done = written > 0 ? static_cast<std::size_t>(written) : 0;
        bytes += done;
        count -= done;
    }
    return true;
}

/// Reads up to `count` bytes; less only at the end of the file or on an error.
std::size_t readAt(int descriptor, std::uint8_t *bytes, std::size_t count, std::uint64_t offset)
{
    std::size_t done = 0;
    while (done < count)
    {
        const ssize_t size = pread(descriptor, bytes + done, count - done, static_cast<off_t>(offset + done));
        if (size == 0 || (size < 0 && errno != EINTR))
            break;
        done += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    return done;
}

/// The bytes from the reader's offset on: at least a whole record, unless the file ends before.
std::span<const std::uint8_t> nextBytes(gameReader &reader)
{
    constexpr std::uint64_t maxRecord = sizeof(recordHeader) + UINT16_MAX * sizeof(storedMove) + checksumSize;
    constexpr std::uint64_t bufferSize = 4 * maxRecord;
    const std::uint64_t left = reader.end - reader.offset;
    const std::uint64_t wantedEnd = reader.offset + std::min(left, maxRecord);
    if (reader.offset < reader.bufferOffset || wantedEnd > reader.bufferOffset + reader.buffer.size())
    {
        reader.buffer.resize(std::min(left, bufferSize));
        reader.buffer.resize(readAt(reader.descriptor, reader.buffer.data(), reader.buffer.size(), reader.offset));
        reader.bufferOffset = reader.offset;
        if (reader.offset + reader.buffer.size() < wantedEnd)
            reader.end = reader.offset + reader.buffer.size(); // the file has become shorter
    }
    return std::span<const std::uint8_t>(reader.buffer).subspan(reader.offset - reader.bufferOffset);
}

/// Whether the file is empty or begins with a game, perhaps one that was cut off.
bool beginsLikeGames(int descriptor)
{
    std::uint8_t head[marker.size()];
    const ssize_t size = pread(descriptor, head, sizeof head, 0);
    return size >= 0 && std::memcmp(head, marker.data(), static_cast<std::size_t>(size)) == 0;
}

[[noreturn]] void failToWrite(const std::string &path, int error)
{
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

/// Cuts the file to its whole records.
bool cutToSoundEnd(const gameWriter &writer)
{
    return ftruncate(writer.descriptor, static_cast<off_t>(writer.summary.soundEnd)) == 0 &&
           lseek(writer.descriptor, 0, SEEK_END) >= 0;
}

} // namespace

storedStart packStart(const pos &position)
{
    storedStart start;
    for (int square = 0; square < squareCount; ++square)
        start.board[square / 2] |= static_cast<std::uint8_t>(position.board[square] << (square % 2 * 4));
    start.sideToMove = position.sideToMove;
    start.castling = position.info[0].castling;
    for (int i = 0; i < 4; ++i)
        start.castleRook[i] = static_cast<std::uint8_t>(position.castleRook[i / 2][i % 2]);
    start.enPassant = static_cast<std::uint8_t>(position.info[0].enPassant);
    start.fiftyCount = static_cast<std::uint8_t>(position.fiftyCount);
    return start;
}

std::string unpackStart(const storedStart &start, posWithMoves &board)
{
    // Goes through FEN text for the checks that are made there.
    const auto bare = std::make_unique<pos>();
    for (int square = 0; square < squareCount; ++square)
    {
        const int code = start.board[square / 2] >> (square % 2 * 4) & 15;
        if (code == 1 || code > 13)
            return "unknown piece code";
        bare->board[square] = static_cast<pieceCode>(code);
    }
    for (int i = 0; i < 4; ++i)
        bare->castleRook[i / 2][i % 2] = static_cast<std::int8_t>(start.castleRook[i] & 63);
    bare->sideToMove = start.sideToMove & 1;
    bare->info[0].castling = start.castling & 15;
    const bool validStep = start.enPassant == 0 || (start.enPassant >= 24 && start.enPassant < 40);
    bare->info[0].enPassant = static_cast<std::int8_t>(validStep ? start.enPassant : 0);
    bare->fiftyCount = start.fiftyCount;
    return setupPlayablePosition(fenOf(*bare, true, 1), board.position);
}

bool isLegal(posWithMoves &board, moveCode move)
{
    const std::vector<moveCode> moves = legalMoves(board);
    return std::any_of(moves.begin(), moves.end(), [&](moveCode other) { return sameMove(move, other); });
}

std::vector<std::uint8_t> encodeGame(const storedGame &game)
{
    const recordHeader header = {.marker = marker,
                                 .plies = static_cast<std::uint16_t>(game.moves.size()),
                                 .whitePoints = static_cast<std::uint8_t>(game.whitePoints),
                                 .zero = 0,
                                 .start = game.start,
                                 .earlierPlies = static_cast<std::uint16_t>(game.earlierPlies)};
    std::vector<std::uint8_t> bytes;
    bytes.reserve(sizeof header + game.moves.size() * sizeof(storedMove) + checksumSize);
    appendLittle(bytes, header);
    for (const storedMove &move : game.moves)
        appendLittle(bytes, move);
    appendLittle(bytes, crc32(bytes.data(), bytes.size()));
    return bytes;
}

bool openGames(gameReader &reader, const std::string &path)
{
    reader = {};
    const std::int64_t size = readableFileSize(path);
    if (size < 0)
        return false;
    reader.end = static_cast<std::uint64_t>(size);
    reader.descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return reader.descriptor >= 0;
}

bool nextGame(gameReader &reader, storedGame &game)
{
    while (reader.offset < reader.end)
    {
        const std::span<const std::uint8_t> bytes = nextBytes(reader);
        const std::size_t size = recordSize(bytes.data(), bytes.size());
        if (size == 0)
        {
            ++reader.offset;
            ++reader.summary.damagedBytes;
            continue;
        }
        decodeGame(bytes.data(), game);
        reader.offset += size;
        ++reader.summary.games;
        reader.summary.positions += game.moves.size();
        reader.summary.soundEnd = reader.offset;
        return true;
    }
    return false;
}

void closeGames(gameReader &reader)
{
    if (reader.descriptor >= 0)
        close(reader.descriptor);
    reader = {};
}

gameFileSummary summariseGames(const std::string &path)
{
    gameReader reader;
    if (!openGames(reader, path))
        return {};
    for (storedGame game; nextGame(reader, game);)
    {
    }
    const gameFileSummary summary = reader.summary;
    closeGames(reader);
    return summary;
}

void openForAppending(gameWriter &writer, const std::string &path)
{
    writer = {.path = path, .descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644), .summary = {}};
    if (writer.descriptor < 0)
        failToWrite(path, errno);
    try
    {
        if (flock(writer.descriptor, LOCK_EX) != 0)
            failToWrite(path, errno);
        if (!beginsLikeGames(writer.descriptor))
            throw std::runtime_error(path + " holds something other than games");
        writer.summary = summariseGames(path);
        if (!cutToSoundEnd(writer))
            failToWrite(path, errno);
    }
    catch (...)
    {
        closeWriter(writer);
        throw;
    }
}

void appendGame(gameWriter &writer, const storedGame &game)
{
    const std::vector<std::uint8_t> bytes = encodeGame(game);
    if (!writeAll(writer.descriptor, bytes.data(), bytes.size()))
    {
        const int error = errno;
        cutToSoundEnd(writer);
        failToWrite(writer.path, error);
    }
    ++writer.summary.games;
    writer.summary.positions += game.moves.size();
    writer.summary.soundEnd += bytes.size();
}

void closeWriter(gameWriter &writer)
{
    if (writer.descriptor >= 0)
        close(writer.descriptor);
    writer.descriptor = -1;
}

} // namespace tarvonel
