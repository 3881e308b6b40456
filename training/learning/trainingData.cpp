#include "learning/trainingData.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <numeric>

#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "eval/accumulator.h"
#include "eval/evaluate.h"
#include "learning/trainerModel.h"

namespace tarvonel
{

namespace
{

// Of the engine's last step: score = raw x ((pawns + 55) x 16 + phase x 11) / 24576.
constexpr int pawnOffset = 55;
constexpr int pawnWeight = 16;
constexpr int phaseWeight = 11;
constexpr double scoreDivisor = 24576.0;

int codeOf(const trainingPosition &position, int index) { return position.men[index / 2] >> (index % 2 * 4) & 15; }

bool isLegal(gameBoard &board, moveCode move)
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

/// Replays a game; false if it holds a move that is not legal.
bool takeGame(const storedGame &game, gameBoard &board, const dataFilter &filter,
              std::vector<trainingPosition> &positions)
{
    int ply = game.earlierPlies;
    for (const storedMove &stored : game.moves)
    {
        const pos &position = board.position;
        const moveCode move = unpackMove(stored.move);
        if (!isLegal(board, move))
        {
            return false;
        }
        if (ply >= filter.firstPly && isWorthLearning(position, move, stored.score, filter))
        {
            const int points = position.sideToMove == white ? game.whitePoints : 2 - game.whitePoints;
            positions.push_back(packPosition(position, stored.score, points));
        }
        playGameMove(board.position, move);
        ++ply;
    }
    return true;
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

std::string loadPositions(trainingData &data, const std::string &path, const dataFilter &filter, std::size_t capacity)
{
    gameReader reader;
    if (!openGames(reader, path))
    {
        return "cannot read " + path;
    }
    const auto board = std::make_unique<gameBoard>();
    for (storedGame game; data.training.size() < capacity && nextGame(reader, game);)
    {
        const bool validates = hashOf(game.start) % static_cast<std::uint64_t>(filter.validationShare) == 0;
        if (!unpackStart(game.start, *board).empty() ||
            !takeGame(game, *board, filter, validates ? data.validation : data.training))
        {
            ++data.badGames;
        }
        ++data.games;
        data.positions += game.moves.size();
    }
    data.damagedBytes += reader.summary.damagedBytes;
    closeGames(reader);
    return {};
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
        {
            kings[colourOf(code)] = square;
        }
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
    const int factor = (position.pawns + pawnOffset) * pawnWeight + position.phase * phaseWeight;
    return rawPerOutput * factor / scoreDivisor;
}

} // namespace tarvonel
