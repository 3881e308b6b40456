#include "learning/trainingData.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <numeric>

#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "eval/accumulator.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "learning/trainerModel.h"

namespace tarvonel
{

namespace
{

constexpr std::uint64_t pieceBytes = 1 << 18;

int codeOf(const trainingPosition &position, int index) { return position.men[index / 2] >> (index % 2 * 4) & 15; }

bool isLegal(posWithMoves &board, moveCode move)
{
    const std::vector<moveCode> moves = legalMoves(board);
    return std::any_of(moves.begin(), moves.end(), [&](moveCode other) { return sameMove(move, other); });
}

/// Of the men's places (FNV-1a). Chooses the games for validation: those of one start go together, and
/// stay there whatever other files a later run reads.
std::uint64_t hashOf(const storedStart &start)
{
    constexpr std::uint64_t offset = 14695981039346656037U;
    constexpr std::uint64_t prime = 1099511628211;
    return std::accumulate(std::begin(start.board), std::end(start.board), offset,
                           [](std::uint64_t hash, std::uint8_t byte) { return (hash ^ byte) * prime; });
}

bool isForValidation(const storedGame &game, const dataFilter &filter)
{
    return hashOf(game.start) % static_cast<std::uint64_t>(filter.validationShare) == 0;
}

/// Replays a game and appends its positions; false if it holds a move that is not legal.
bool takeGame(storedGame &game, posWithMoves &board, const dataFilter &filter, std::vector<trainingPosition> &positions)
{
    if (!unpackStart(game.start, board).empty())
        return false;
    std::vector<storedMove> targets = game.moves;
    mixLaterScores(targets, filter.laterScores, filter.scoreScale);
    int ply = game.earlierPlies;
    for (std::size_t i = 0; i < game.moves.size(); ++i, ++ply)
    {
        const pos &position = board.position;
        const moveCode move = unpackMove(game.moves[i].move);
        if (!isLegal(board, move))
            return false;
        if (ply >= filter.firstPly && isWorthLearning(position, move, game.moves[i].score, filter))
        {
            const int points = position.sideToMove == white ? game.whitePoints : 2 - game.whitePoints;
            positions.push_back(packPosition(position, targets[i].score, points));
        }
        playGameMove(board.position, move);
    }
    return true;
}

/// What one piece holds.
struct pieceContent
{
    std::vector<trainingPosition> training;
    std::vector<trainingPosition> validation;
    std::uint64_t badGames = 0;
};

pieceContent readPiece(const trainingData &data, const gamePiece &piece, const dataFilter &filter)
{
    gameReader reader = data.files[piece.file];
    reader.offset = piece.begin;
    const auto board = std::make_unique<posWithMoves>();
    pieceContent content;
    for (storedGame game; reader.offset < piece.end && nextGame(reader, game);)
    {
        const bool validates = isForValidation(game, filter);
        content.badGames += takeGame(game, *board, filter, validates ? content.validation : content.training) ? 0 : 1;
    }
    return content;
}

/// Passes through a file to its end, and tells where its pieces lie.
std::vector<gamePiece> cutIntoPieces(gameReader &reader, std::size_t file)
{
    std::vector<gamePiece> pieces;
    std::uint64_t begin = 0;
    for (storedGame game; nextGame(reader, game);)
        if (reader.offset - begin >= pieceBytes)
        {
            pieces.push_back({file, begin, reader.offset, 0});
            begin = reader.offset;
        }
    if (reader.summary.soundEnd > begin)
        pieces.push_back({file, begin, reader.summary.soundEnd, 0});
    return pieces;
}

} // namespace

trainingPosition packPosition(const pos &position, int score, int points)
{
    trainingPosition packed;
    packed.occupied = occupancy(position);
    int index = 0;
    for (bitboard left = packed.occupied; left != 0 && index < mostMen; ++index)
    {
        const int code = position.board[popLowest(left)];
        packed.men[index / 2] |= static_cast<std::uint8_t>(code << (index % 2 * 4));
    }
    packed.score = static_cast<std::int16_t>(score);
    packed.points = static_cast<std::uint8_t>(points);
    packed.sideToMove = position.sideToMove;
    packed.pawns =
        static_cast<std::uint8_t>(popCount(position.bitboards[whitePawn]) + popCount(position.bitboards[blackPawn]));
    packed.phase = static_cast<std::uint8_t>(std::clamp<int>(position.phase, 0, fullPhase));
    packed.hasCastling = position.info[0].castling != 0 ? 1 : 0;
    return packed;
}

bool isWorthLearning(const pos &position, moveCode best, int score, const dataFilter &filter)
{
    const bool isCapture = !isCastling(best) && position.board[moveTo(best)] != emptySquare;
    return score != unscored && position.info[0].inCheck == 0 && !isCapture && !isPromotion(best) &&
           std::abs(score) <= filter.highestScore && std::abs(egOf(balance(position))) <= filter.widestBalance;
}

std::string openData(trainingData &data, const std::vector<std::string> &paths, const dataFilter &filter,
                     std::uint64_t capacity, workCrew &crew)
{
    for (const std::string &path : paths)
        if (!openGames(data.files.emplace_back(), path))
            return "cannot read " + path;
    std::vector<std::vector<gamePiece>> piecesOfFile(paths.size());
    crew.share(paths.size(), 1, [&](std::size_t file) { piecesOfFile[file] = cutIntoPieces(data.files[file], file); });
    for (std::size_t file = 0; file < paths.size(); ++file)
    {
        const gameFileSummary &summary = data.files[file].summary;
        data.games += summary.games;
        data.positions += summary.positions;
        data.damagedBytes += summary.damagedBytes;
        data.pieces.insert(data.pieces.end(), piecesOfFile[file].begin(), piecesOfFile[file].end());
    }

    std::vector<pieceContent> contents(data.pieces.size());
    crew.share(contents.size(), 1,
               [&](std::size_t i)
               {
                   contents[i] = readPiece(data, data.pieces[i], filter);
                   data.pieces[i].positions = contents[i].training.size();
                   contents[i].training = {};
               });
    std::size_t taken = 0;
    for (; taken < contents.size() && data.learnable < capacity; ++taken)
        data.learnable += data.pieces[taken].positions;
    data.pieces.resize(taken);
    for (const pieceContent &content : contents)
    {
        data.badGames += content.badGames;
        data.validation.insert(data.validation.end(), content.validation.begin(), content.validation.end());
    }
    return {};
}

void closeData(trainingData &data)
{
    for (gameReader &reader : data.files)
        closeGames(reader);
    data = {};
}

void readPieces(std::vector<trainingPosition> &positions, const trainingData &data,
                std::span<const std::uint32_t> numbers, const dataFilter &filter, workCrew &crew)
{
    std::vector<std::size_t> places;
    std::size_t count = 0;
    for (const std::uint32_t number : numbers)
    {
        places.push_back(count);
        count += data.pieces[number].positions;
    }
    positions.resize(count);
    crew.share(numbers.size(), 1,
               [&](std::size_t i)
               {
                   const pieceContent content = readPiece(data, data.pieces[numbers[i]], filter);
                   const std::size_t promised = data.pieces[numbers[i]].positions;
                   std::copy_n(content.training.begin(), std::min(content.training.size(), promised),
                               positions.begin() + static_cast<std::ptrdiff_t>(places[i]));
               });
}

double expectedResult(double score, double scoreScale) { return 1.0 / (1.0 + std::exp(-score / scoreScale)); }

void mixLaterScores(std::span<storedMove> moves, double factor, double scoreScale)
{
    // From the last ply on, as the side that moves there sees it; less than 0 while there is none.
    double later = -1;
    for (std::size_t i = factor > 0 ? moves.size() : 0; i-- > 0;)
    {
        if (later >= 0)
            later = 1 - later;
        if (moves[i].score == unscored)
            continue;
        const double own = expectedResult(moves[i].score, scoreScale);
        later = later < 0 ? own : (1 - factor) * own + factor * later;
        constexpr double edge = 1e-9; // an expected result of 0 or 1 has no score
        const double mixed = std::clamp(later, edge, 1 - edge);
        moves[i].score = static_cast<std::int16_t>(
            std::clamp(std::lround(scoreScale * std::log(mixed / (1 - mixed))), -32000L, 32000L));
    }
}

void listFeatures(const trainingPosition &position, featureList &list)
{
    const int flip = position.isMirrored != 0 ? flipFiles : 0;
    int kings[colourCount] = {0, 0};
    int index = 0;
    for (bitboard left = position.occupied; left != 0; ++index)
    {
        const int square = popLowest(left) ^ flip;
        const int code = codeOf(position, index);
        if (isKing(code))
            kings[colourOf(code)] = square;
    }
    list.count = index;
    index = 0;
    for (bitboard left = position.occupied; left != 0; ++index)
    {
        const int square = popLowest(left) ^ flip;
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
