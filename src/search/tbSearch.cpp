#include "search/tbSearch.h"

#include <algorithm>
#include <cstdlib>

#include "board/makeMove.h"
#include "movegen/legality.h"
#include "search/score.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "tablebase/tbProbe.h"

namespace tarvonel
{

namespace
{

constexpr int fiftyMoveHorizon = 101; // distances from here on are drawn by the fifty-move rule

tbPosition toTbPosition(const pos &position, int ply, int rule50)
{
    const auto unionOf = [&](int type)
    { return position.bitboards[pieceOf(type, white)] | position.bitboards[pieceOf(type, black)]; };
    const int enPassant = position.info[ply].enPassant;
    tbPosition table{};
    table.white = position.bitboards[white];
    table.black = position.bitboards[black];
    for (int type = pawn; type <= king; ++type)
        table.*typeSets[type] = unionOf(type);
    table.rule50 = static_cast<std::uint8_t>(std::clamp(rule50, 0, UINT8_MAX));
    table.ep = static_cast<std::uint8_t>(enPassant == 0 ? 0 : enPassant + forward(position.sideToMove));
    table.turn = position.sideToMove == white ? 1 : 0;
    return table;
}

/// The outcome for a distance and a fifty-move count. Inconsistent files can give INT_MAX as the distance,
/// so nothing is added to it.
tbOutcome classify(int dtz, int rule50)
{
    const int pliesLeft = fiftyMoveHorizon - rule50;
    if (dtz > 0)
        return dtz < pliesLeft ? tbWin : tbCursedWin;
    if (dtz < 0)
        return dtz > -pliesLeft ? tbLoss : tbBlessedLoss;
    return tbDraw;
}

int rootScore(tbOutcome outcome, int dtz)
{
    if (outcome == tbWin)
        return tablebaseWin - std::abs(dtz);
    if (outcome == tbLoss)
        return std::abs(dtz) - tablebaseWin;
    return scoreDraw;
}

moveCode toMoveCode(const pos &position, const tbPosition &table, tbMove move)
{
    constexpr int flagOfPromotion[] = {plainMove, promoteQueen, promoteRook, promoteBishop, promoteKnight};
    constexpr int twoRanks = 16;
    const int from = tbFrom(move);
    const int to = tbTo(move);
    const int piece = position.board[from];
    if (isTbEnPassant(table, move))
        return encodeMove(from, to - forward(position.sideToMove), enPassantCapture, piece);
    if (isPawn(piece) && std::abs(to - from) == twoRanks)
        return encodeMove(from, to, doubleStep, piece);
    return encodeMove(from, to, flagOfPromotion[tbPromotionOf(move)], piece);
}

} // namespace

int probeInTree(int ply, const pos &position)
{
    int success = 0;
    const int wdl = probeWdl(toTbPosition(position, ply, 0), success);
    return success == 0 ? tbFailed : wdl + tbDraw;
}

std::optional<int> probeForCutoff(int ply, int depth, int alpha, int beta, pos &position)
{
    const int outcome = probeInTree(ply, position);
    if (outcome == tbFailed)
        return std::nullopt;
    position.tablebaseHits.add(1);

    int score = scoreDraw;
    ttBound bound = boundExact;
    if (outcome == tbWin)
    {
        score = tablebaseWin - ply;
        bound = boundLower;
        if (score < beta)
            return std::nullopt;
    }
    else if (outcome == tbLoss)
    {
        score = ply - tablebaseWin;
        bound = boundUpper;
        if (score > alpha)
            return std::nullopt;
    }
    const int storedDepth = std::min(static_cast<int>(tableCardinality.load()) + depth, maxPly);
    ttStore(position.key, noMove, score, storedDepth, bound, ply);
    return score;
}

bool isTbRoot(const pos &position)
{
    const int cardinality = static_cast<int>(tableCardinality.load());
    return cardinality > 0 && position.info[0].castling == 0 && popCount(occupancy(position)) <= cardinality;
}

moveCode probeAtRoot(pos &position)
{
    const int rule50 = position.fiftyCount;
    const tbPosition table = toTbPosition(position, 0, rule50);
    if (!tbValid(table))
        return noMove;
    int success = 0;
    int dtz = 0;
    const tbMove found = probeRoot(table, success, dtz);
    if (success == 0 || found == 0 || found == tbCheckmateCode || found == tbStalemateCode)
        return noMove;

    const moveCode move = toMoveCode(position, table, found);
    if (!isMoveValid(position, 0, move) || !leavesKingSafe(position, 0, move))
        return noMove;
    position.rootScore = static_cast<std::int16_t>(rootScore(classify(dtz, rule50), dtz));
    reporter.rootTbMove(position, position.rootScore, move);
    return move;
}

} // namespace tarvonel
