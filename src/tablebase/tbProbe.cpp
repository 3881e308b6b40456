#include "tablebase/tbProbe.h"

#include <algorithm>

#include "tablebase/tbRegistry.h"

namespace tarvonel
{

int probeTable(const tbPosition &position, int wdl, int &success, tbKind kind)
{
    const std::uint64_t signature = materialSignature(position, white);
    if (signature == 0 && kind == wdlKind)
        return 0; // bare kings

    tablebaseEntry *entry = findTb(signature);
    const mappedTablebase *table =
        entry == nullptr || (kind == dtzKind && !entry->hasDtz) ? nullptr : openTb(*entry, kind);
    if (table == nullptr)
    {
        success = 0;
        return 0;
    }

    const bool flip = entry->material.symmetric ? position.turn == 0 : signature != entry->signature;
    int value = 0;
    const lookUp answer = lookUpTb(*table, entry->material, kind, position, flip, wdl, value);
    if (answer == lookUp::found && !isDamaged(table->mapping))
        return value;
    if (answer == lookUp::otherSide)
    {
        success = -1;
        return 0;
    }
    if (answer != lookUp::notStored)
        disableTb(*entry, kind);
    success = 0;
    return 0;
}

namespace
{

constexpr int loss = -2, draw = 0, win = 2;
constexpr int noCapture = -3; ///< below any value
constexpr int unreached = 0x7FFFFFFF;
constexpr int illegalScore = 32767;

/// Values of `success`.
enum probeResult : int
{
    failed = 0,
    fromTable = 1,
    fromCapture = 2,
};

/// By wdl + 2: the distance if the next move is a zeroing move.
constexpr int zeroingDistances[] = {-1, -101, 0, 101, 1};
int zeroingDistance(int wdl) { return zeroingDistances[wdl - loss]; }

/// Alpha-beta over captures, with the stored value for all other moves. After the first capture there is no
/// en passant.
int probeCaptures(const tbPosition &position, int alpha, int beta, int &success)
{
    tbPosition next;
    for (const tbMove move : tbCaptures(position))
    {
        if (!applyTbMove(next, position, move))
            continue;
        const int value = -probeCaptures(next, -beta, -alpha, success);
        if (success == failed)
            return 0;
        if (value > alpha)
        {
            if (value >= beta)
                return value;
            alpha = value;
        }
    }
    const int stored = probeTable(position, 0, success, wdlKind);
    return std::max(alpha, stored);
}

/// Whether there is a legal move other than en passant captures.
bool hasOrdinaryMove(const tbPosition &position)
{
    tbPosition next;
    for (const tbMove move : tbMoves(position))
        if (!isTbEnPassant(position, move) && applyTbMove(next, position, move))
            return true;
    return false;
}

/// The value of the best capture as the value of the position. If it does not win, another move may be as
/// good, so the distance is unknown.
int captureValue(int value, int &success)
{
    success = value > draw ? fromCapture : fromTable;
    return value;
}

/// The distance if the file has only the other side to move: one more than that of the best successor.
/// Winning captures and pawn moves have been tried before; the others do not matter.
int searchOnePly(const tbPosition &position, int wdl, int &success)
{
    success = fromTable;
    int best = wdl > draw ? unreached : zeroingDistance(wdl);
    tbPosition next;
    for (const tbMove move : tbMoves(position))
    {
        if (isTbCapture(position, move) || isTbPawnMove(position, move) || !applyTbMove(next, position, move))
            continue;
        int nextSuccess = fromTable;
        const int value = -probeDtz(next, nextSuccess);
        if (nextSuccess == failed)
        {
            success = failed;
            return 0;
        }
        if (value == 1 && isTbMate(next))
            best = 1;
        else if (wdl <= draw)
            best = std::min(best, value - 1);
        else if (value > 0 && value + 1 < best)
            best = value + 1;
    }
    return best;
}

/// The distance of a root move from the mover's view; `next` is the position after it.
int rootScore(const tbPosition &next, int rootDistance, int &success)
{
    if (rootDistance > 0 && isTbMate(next))
        return 1;
    if (next.rule50 == 0)
    {
        const int wdl = -probeWdl(next, success);
        return success == failed ? 0 : zeroingDistance(wdl);
    }
    const int value = -probeDtz(next, success);
    return value + (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0);
}

/// One of the drawing moves. The choice depends on the material, so it is always the same in a position.
tbMove drawingMove(const tbPosition &position, const tbMoveList &list, const int *scores)
{
    const auto draws = static_cast<std::uint64_t>(std::count(scores, scores + list.count, 0));
    if (draws == 0)
        return tbStalemateCode;
    std::uint64_t skip = materialSignature(position, sideToMove(position)) % draws;
    for (int i = 0;; ++i)
        if (scores[i] == 0 && skip-- == 0)
            return list.moves[i];
}

} // namespace

int probeWdl(const tbPosition &position, int &success)
{
    success = fromTable;
    if (popCount(allPieces(position)) > maxTbPieces)
    {
        success = failed;
        return 0;
    }

    int bestCapture = noCapture, bestEnPassant = noCapture;
    tbPosition next;
    for (const tbMove move : tbCaptures(position))
    {
        if (!applyTbMove(next, position, move))
            continue;
        const int value = -probeCaptures(next, loss, -bestCapture, success);
        if (success == failed)
            return 0;
        if (value <= bestCapture)
            continue;
        if (value == win)
        {
            success = fromCapture;
            return win;
        }
        if (isTbEnPassant(position, move))
            bestEnPassant = std::max(bestEnPassant, value);
        else
            bestCapture = value;
    }

    const int stored = probeTable(position, 0, success, wdlKind);
    if (success == failed)
        return 0;
    if (bestEnPassant > bestCapture)
    {
        if (bestEnPassant > stored)
        {
            success = fromCapture;
            return bestEnPassant;
        }
        if (bestEnPassant == stored)
            return captureValue(bestEnPassant, success);
    }
    else if (bestCapture >= stored)
        return captureValue(bestCapture, success);

    // Stored values ignore en passant, so a stored draw may be a stalemate that en passant avoids.
    if (bestEnPassant == noCapture || stored != draw || hasOrdinaryMove(position) || isTbCheck(position))
        return stored;
    success = fromCapture;
    return bestEnPassant;
}

int probeDtz(const tbPosition &position, int &success)
{
    const int wdl = probeWdl(position, success);
    if (success == failed || wdl == draw)
        return 0;
    if (success == fromCapture)
        return zeroingDistance(wdl);

    if (wdl > draw)
    {
        tbPosition next;
        for (const tbMove move : tbLegalMoves(position))
        {
            if (!isTbPawnMove(position, move) || isTbCapture(position, move))
                continue;
            applyTbMove(next, position, move);
            const int value = -probeWdl(next, success);
            if (success == failed)
                return 0;
            if (value == wdl)
                return zeroingDistance(wdl);
        }
    }

    success = fromTable;
    const int stored = probeTable(position, wdl, success, dtzKind);
    if (success == failed)
        return 0;
    if (success < failed)
        return searchOnePly(position, wdl, success);
    return zeroingDistance(wdl) + (wdl > draw ? stored : -stored);
}

tbMove probeRoot(const tbPosition &position, int &success, int &dtz)
{
    const int distance = probeDtz(position, success);
    if (success == failed)
        return 0;

    const tbMoveList list = tbMoves(position);
    int scores[tbListRoom];
    tbPosition next;
    for (int i = 0; i < list.count; ++i)
    {
        scores[i] = illegalScore;
        if (!applyTbMove(next, position, list.moves[i]))
            continue;
        scores[i] = rootScore(next, distance, success);
        if (success == failed)
            return 0;
    }
    dtz = distance;
    if (distance == 0)
        return drawingMove(position, list, scores);

    int best = distance > 0 ? illegalScore : 0;
    tbMove bestMove = distance > 0 ? tbMove{0} : tbCheckmateCode;
    for (int i = 0; i < list.count; ++i)
        if (scores[i] < best && (distance < 0 || scores[i] > 0))
        {
            best = scores[i];
            bestMove = list.moves[i];
        }
    return bestMove;
}

} // namespace tarvonel
