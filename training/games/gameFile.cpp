#include "games/gameFile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

#include "board/setup.h"
#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

constexpr std::uint8_t marker[4] = {'T', 'V', 'G', '1'};
constexpr std::size_t headSize = 50;
constexpr std::size_t bytesPerMove = 4;
constexpr std::size_t checksumSize = 4;

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
    if (available < headSize + checksumSize || std::memcmp(bytes, marker, sizeof marker) != 0)
        return 0;
    const std::size_t plies = readLittle<std::uint16_t>(bytes + 4);
    const std::size_t size = headSize + plies * bytesPerMove + checksumSize;
    return size <= available && bytes[6] <= 2 &&
                   crc32(bytes, size - checksumSize) == readLittle<std::uint32_t>(bytes + size - checksumSize)
               ? size
               : 0;
}

void decodeGame(const std::uint8_t *bytes, storedGame &game)
{
    game.whitePoints = bytes[6];
    std::memcpy(game.start.board, bytes + 8, sizeof game.start.board);
    game.start.sideToMove = bytes[40];
    game.start.castling = bytes[41];
    std::memcpy(game.start.castleRook, bytes + 42, sizeof game.start.castleRook);
    game.start.enPassant = bytes[46];
    game.start.fiftyCount = bytes[47];
    game.earlierPlies = readLittle<std::uint16_t>(bytes + 48);
    game.moves.resize(readLittle<std::uint16_t>(bytes + 4));
    const std::uint8_t *next = bytes + headSize;
    for (storedMove &move : game.moves)
    {
        move.move = readLittle<std::uint16_t>(next);
        move.score = readLittle<std::int16_t>(next + 2);
        next += bytesPerMove;
    }
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

/// Whether what the file begins with could be a game, perhaps one that was cut off.
bool beginsLikeGames(int descriptor)
{
    std::uint8_t head[sizeof marker];
    const ssize_t size = pread(descriptor, head, sizeof head, 0);
    return size >= 0 && std::memcmp(head, marker, static_cast<std::size_t>(size)) == 0;
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
    // A bare record with what a FEN tells; the text then goes through the same checks as any other.
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

std::vector<std::uint8_t> encodeGame(const storedGame &game)
{
    std::vector<std::uint8_t> bytes(std::begin(marker), std::end(marker));
    appendLittle(bytes, static_cast<std::uint16_t>(game.moves.size()));
    appendLittle(bytes, static_cast<std::uint16_t>(game.whitePoints));
    bytes.insert(bytes.end(), std::begin(game.start.board), std::end(game.start.board));
    bytes.push_back(game.start.sideToMove);
    bytes.push_back(game.start.castling);
    bytes.insert(bytes.end(), std::begin(game.start.castleRook), std::end(game.start.castleRook));
    bytes.push_back(game.start.enPassant);
    bytes.push_back(game.start.fiftyCount);
    appendLittle(bytes, static_cast<std::uint16_t>(game.earlierPlies));
    for (const storedMove &move : game.moves)
    {
        appendLittle(bytes, move.move);
        appendLittle(bytes, move.score);
    }
    appendLittle(bytes, crc32(bytes.data(), bytes.size()));
    return bytes;
}

bool openGames(gameReader &reader, const std::string &path)
{
    reader = {};
    const std::int64_t size = readableFileSize(path);
    return size == 0 || (size > 0 && mapFile(path, reader.mapping) == mappingResult::mapped);
}

bool nextGame(gameReader &reader, storedGame &game)
{
    while (reader.offset < reader.mapping.size)
    {
        const std::uint8_t *bytes = reader.mapping.data + reader.offset;
        const std::size_t size = recordSize(bytes, reader.mapping.size - reader.offset);
        if (size == 0)
        {
            ++reader.offset;
            ++reader.summary.damagedBytes;
            continue;
        }
        decodeGame(bytes, game);
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
    unmapFile(reader.mapping);
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

std::string openForAppending(gameWriter &writer, const std::string &path)
{
    writer.descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    const bool isLocked = writer.descriptor >= 0 && flock(writer.descriptor, LOCK_EX) == 0;
    if (isLocked && !beginsLikeGames(writer.descriptor))
    {
        closeWriter(writer);
        return path + " is no file of games";
    }
    writer.summary = summariseGames(path);
    if (!isLocked || ftruncate(writer.descriptor, static_cast<off_t>(writer.summary.soundEnd)) != 0 ||
        lseek(writer.descriptor, 0, SEEK_END) < 0)
    {
        std::string error = "cannot write " + path + ": " + std::strerror(errno);
        closeWriter(writer);
        return error;
    }
    return {};
}

bool appendGame(gameWriter &writer, const storedGame &game)
{
    const std::vector<std::uint8_t> bytes = encodeGame(game);
    if (!writeAll(writer.descriptor, bytes.data(), bytes.size()))
        return false;
    ++writer.summary.games;
    writer.summary.positions += game.moves.size();
    writer.summary.soundEnd += bytes.size();
    return true;
}

void closeWriter(gameWriter &writer)
{
    if (writer.descriptor >= 0)
        close(writer.descriptor);
    writer.descriptor = -1;
}

} // namespace tarvonel
