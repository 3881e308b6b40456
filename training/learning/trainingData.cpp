#include "learning/trainingData.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <numeric>
#include <random>

#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "learning/trainerModel.h"

namespace tarvonel
{

namespace
{

constexpr std::uint64_t chunkBytes = 1 << 18;

int codeOf(const trainingPosition &position, int index) { return position.pieces[index / 2] >> (index % 2 * 4) & 15; }

/// FNV-1a over the board. It selects the games for validation: all games of one start, and the same ones
/// whatever other files a run reads.
std::uint64_t hashOf(const storedStart &start)
{
    constexpr std::uint64_t offset = 14695981039346656037U;
    constexpr std::uint64_t prime = 1099511628211;
    return std::accumulate(std::begin(start.board), std::end(start.board), offset,
                           [](std::uint64_t hash, std::uint8_t byte) { return (hash ^ byte) * prime; });
}

bool isForValidation(const storedGame &game, const dataSettings &settings)
{
    return hashOf(game.start) % static_cast<std::uint64_t>(settings.validationShare) == 0;
}

/// Replays a game and appends its suitable positions; false if its start or a move is illegal.
bool replayGame(const storedGame &game, posWithMoves &board, const dataSettings &settings,
                std::vector<trainingPosition> &positions)
{
    if (!unpackStart(game.start, board).empty())
        return false;
    const std::vector<double> targets = gameTargets(game, settings.target);
    int ply = game.earlierPlies;
    for (std::size_t i = 0; i < game.moves.size(); ++i, ++ply)
    {
        const pos &position = board.position;
        const moveCode move = unpackMove(game.moves[i].move);
        if (!isLegal(board, move))
            return false;
        if (ply >= settings.filter.firstPly && isSuitable(position, move, game.moves[i].score, settings.filter))
            positions.push_back(packPosition(position, targets[i]));
        playGameMove(board.position, move);
    }
    return true;
}

/// How many of a game's positions a pass takes: at least one, where there is one.
std::size_t sampleSize(std::size_t positions, double gameShare)
{
    const auto size = static_cast<std::size_t>(std::ceil(gameShare * static_cast<double>(positions)));
    return std::min(size, positions);
}

/// Keeps of a game's positions, from `first` on, those that the pass takes. `game` identifies the game.
void sampleGame(std::vector<trainingPosition> &positions, std::size_t first, double gameShare, const passNumber &pass,
                std::uint64_t game)
{
    const std::size_t count = positions.size() - first;
    const std::size_t size = sampleSize(count, gameShare);
    if (size == count)
        return;
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), first);
    std::seed_seq seeds{pass.seed, game, game >> 32};
    std::mt19937_64 random(seeds);
    std::ranges::shuffle(order, random);
    std::vector<trainingPosition> sample;
    for (std::size_t i = 0; i < size; ++i)
        sample.push_back(positions[order[(pass.pass * size + i) % count]]);
    std::ranges::copy(sample, positions.begin() + static_cast<std::ptrdiff_t>(first));
    positions.resize(first + size);
}

/// What one chunk holds.
struct chunkContent
{
    std::vector<trainingPosition> training;
    std::vector<trainingPosition> validation;
    std::uint64_t badGames = 0;
};

chunkContent readChunk(const trainingData &data, const gameChunk &chunk, const dataSettings &settings,
                       const passNumber &pass)
{
    gameReader reader = data.files[chunk.file];
    reader.offset = chunk.begin;
    reader.end = chunk.end;
    const auto board = std::make_unique<posWithMoves>();
    chunkContent content;
    for (storedGame game; nextGame(reader, game);)
    {
        const bool isValidating = isForValidation(game, settings);
        std::vector<trainingPosition> &positions = isValidating ? content.validation : content.training;
        const std::size_t before = positions.size();
        content.badGames += replayGame(game, *board, settings, positions) ? 0 : 1;
        if (!isValidating)
            sampleGame(positions, before, settings.gameShare, pass, reader.offset);
    }
    return content;
}

/// Reads a file to its end and divides it into chunks.
std::vector<gameChunk> cutIntoChunks(gameReader &reader, std::size_t file)
{
    std::vector<gameChunk> chunks;
    std::uint64_t begin = 0;
    for (storedGame game; nextGame(reader, game);)
        if (reader.offset - begin >= chunkBytes)
        {
            chunks.push_back({file, begin, reader.offset, 0});
            begin = reader.offset;
        }
    if (reader.summary.soundEnd > begin)
        chunks.push_back({file, begin, reader.summary.soundEnd, 0});
    reader.buffer = {};
    return chunks;
}

} // namespace

trainingPosition packPosition(const pos &position, double target)
{
    trainingPosition packed;
    packed.occupied = occupancy(position);
    int index = 0;
    for (bitboard rest = packed.occupied; rest != 0 && index < maxPieces; ++index)
    {
        const int code = position.board[popLowest(rest)];
        packed.pieces[index / 2] |= static_cast<std::uint8_t>(code << (index % 2 * 4));
    }
    packed.target = static_cast<std::uint16_t>(std::lround(target * fullTarget));
    packed.sideToMove = position.sideToMove;
    packed.pawns =
        static_cast<std::uint8_t>(popCount(position.bitboards[whitePawn]) + popCount(position.bitboards[blackPawn]));
    packed.phase = static_cast<std::uint8_t>(std::clamp<int>(position.phase, 0, fullPhase));
    packed.hasCastling = position.info[0].castling != 0 ? 1 : 0;
    return packed;
}

void openData(trainingData &data, const std::vector<std::string> &paths, const dataSettings &settings,
              std::uint64_t capacity, threadPool &pool)
{
    for (const std::string &path : paths)
        if (!openGames(data.files.emplace_back(), path))
            throw std::runtime_error("cannot read " + path);
    std::vector<std::vector<gameChunk>> chunksOfFile(paths.size());
    pool.parallelFor(paths.size(), 1,
                     [&](std::size_t file) { chunksOfFile[file] = cutIntoChunks(data.files[file], file); });
    for (std::size_t file = 0; file < paths.size(); ++file)
    {
        const gameFileSummary &summary = data.files[file].summary;
        data.games += summary.games;
        data.positions += summary.positions;
        data.damagedBytes += summary.damagedBytes;
        data.chunks.insert(data.chunks.end(), chunksOfFile[file].begin(), chunksOfFile[file].end());
    }

    std::vector<chunkContent> contents(data.chunks.size());
    pool.parallelFor(contents.size(), 1,
                     [&](std::size_t i)
                     {
                         contents[i] = readChunk(data, data.chunks[i], settings, {});
                         data.chunks[i].positions = contents[i].training.size();
                         contents[i].training = {};
                     });
    std::size_t taken = 0;
    for (; taken < contents.size() && data.passPositions < capacity; ++taken)
        data.passPositions += data.chunks[taken].positions;
    data.chunks.resize(taken);
    for (const chunkContent &content : contents)
    {
        data.badGames += content.badGames;
        data.validation.insert(data.validation.end(), content.validation.begin(), content.validation.end());
    }
}

void closeData(trainingData &data)
{
    for (gameReader &reader : data.files)
        closeGames(reader);
    data = {};
}

void readChunks(std::vector<trainingPosition> &positions, const trainingData &data,
                std::span<const std::uint32_t> numbers, const dataSettings &settings, const passNumber &pass,
                threadPool &pool)
{
    std::vector<std::size_t> places;
    std::size_t count = 0;
    for (const std::uint32_t number : numbers)
    {
        places.push_back(count);
        count += data.chunks[number].positions;
    }
    positions.resize(count);
    std::atomic<bool> isChanged{false};
    pool.parallelFor(numbers.size(), 1,
                     [&](std::size_t i)
                     {
                         const gameChunk &chunk = data.chunks[numbers[i]];
                         const std::vector<trainingPosition> found = readChunk(data, chunk, settings, pass).training;
                         if (found.size() == chunk.positions)
                             std::ranges::copy(found, positions.begin() + static_cast<std::ptrdiff_t>(places[i]));
                         else
                             isChanged = true;
                     });
    if (isChanged)
        throw gameFileChanged("a game file changed while it was in use");
}

double expectedResult(double score, double scoreScale) { return 1.0 / (1.0 + std::exp(-score / scoreScale)); }

std::vector<double> gameTargets(const storedGame &game, const targetSettings &settings)
{
    const double result = game.whitePoints / 2.0; // this and `expected` from white's view
    double expected = result;
    double wdlWeight = settings.wdlWeight;
    std::vector<double> targets(game.moves.size());
    for (std::size_t i = targets.size(); i-- > 0;)
    {
        const bool isWhite = (game.start.sideToMove & 1U) == i % 2;
        const auto turned = [&](double value) { return isWhite ? value : 1 - value; };
        if (game.moves[i].score != unscored)
        {
            const double own = turned(expectedResult(game.moves[i].score, settings.scoreScale));
            expected = (1 - settings.tdLambda) * own + settings.tdLambda * expected;
        }
        targets[i] = turned(wdlWeight * result + (1 - wdlWeight) * expected);
        wdlWeight *= settings.wdlDecay;
    }
    return targets;
}

void listFeatures(const trainingPosition &position, featureList &list)
{
    const int flip = position.isMirrored != 0 ? flipFiles : 0;
    int kings[colourCount] = {0, 0};
    int index = 0;
    for (bitboard rest = position.occupied; rest != 0; ++index)
    {
        const int square = popLowest(rest) ^ flip;
        const int code = codeOf(position, index);
        if (isKing(code))
            kings[colourOf(code)] = square;
    }
    list.count = index;
    index = 0;
    for (bitboard rest = position.occupied; rest != 0; ++index)
    {
        const int square = popLowest(rest) ^ flip;
        const int code = codeOf(position, index);
        for (const int half : {0, 1})
        {
            const colour view = position.sideToMove ^ half;
            list.features[half][index] = static_cast<std::uint16_t>(featureIndex(view, kings[view], code, square));
        }
    }
}

double outputScale(const trainingPosition &position)
{
    return rawPerOutput * outputFactor(position.pawns, position.phase) / scoreDivisor;
}

} // namespace tarvonel
