// The tests at the start of a node, shared by the main search and quiescence: draws, mate distance,
// transposition table.
#pragma once

#include <algorithm>
#include <optional>

#include "board/pieceValues.h"
#include "eval/evaluate.h"
#include "search/score.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

/// Prefetches what a node reads first: its TT cluster and its slot of the evaluation cache.
inline void prefetchNode(const pos &position)
{
    ttPrefetch(position.key);
    prefetch(&position.evalCache[position.key & (evalCacheSize - 1)]);
}

/// Whether the node is a draw by repetition: its position has occurred once on the search path, or twice in
/// the game.
inline bool isRepetition(int ply, const pos &position)
{
    constexpr int shortestRepetition = 4; // plies
    if (position.fiftyCount < shortestRepetition)
        return false;
    const int count = position.keyCount;
    const int lowest = std::max(count - position.fiftyCount - 1, 0);
    bool isSecond = false;
    for (int i = count - 1 - shortestRepetition; i >= lowest; i -= 2)
        if (position.keyHistory[i] == position.key)
        {
            const bool isOnSearchPath = i > count - ply - 1;
            if (isOnSearchPath || isSecond)
                return true;
            isSecond = true;
        }
    return false;
}

/// Whether there are no pawns and neither side has more than a bishop.
inline bool isMaterialDraw(const pos &position)
{
    constexpr int minorValue = mgOf(pieceValue[bishop]);
    return (position.bitboards[whitePawn] | position.bitboards[blackPawn]) == 0 &&
           mgOf(position.material[white]) <= minorValue && mgOf(position.material[black]) <= minorValue;
}

/// The score of a repetition: +1 or -1 by the parity of the node count, so that the search does not
/// consider all repetitions equal.
constexpr int repetitionScore(std::uint64_t nodes) { return static_cast<int>(nodes & 1) * 2 - 1; }

/// Mate distance pruning: narrows the window to the scores that are still possible at this ply. With
/// alpha >= beta the node is decided.
inline void clampMateDistance(int ply, int &alpha, int &beta)
{
    alpha = std::max(alpha, ply - scoreMate);
    beta = std::min(beta, scoreMate + 1 - ply);
}

/// Whether the search cannot go deeper, for lack of plies or of space for moves.
inline bool isStackEnd(int ply, const pos &position)
{
    return ply >= maxPly || position.info[ply].listStart - position.info[0].listStart > moveStackSize - moveListReserve;
}

/// The score of a node that needs no search: a draw, a window outside all mates still possible, the end
/// of the stack. Otherwise narrows the window by mate distance. `nodes` counts the caller's kind of
/// nodes, including this one.
[[gnu::always_inline]] inline std::optional<int> decideAtEntry(int ply, std::uint64_t nodes, int &alpha, int &beta,
                                                               pos &position)
{
    if (isRepetition(ply, position))
        return repetitionScore(nodes);
    if (isMaterialDraw(position))
        return scoreDraw;
    clampMateDistance(ply, alpha, beta);
    if (alpha >= beta)
        return alpha;
    if (isStackEnd(ply, position))
        return evaluate(ply, position);
    return std::nullopt;
}

/// Whether the bound of a TT entry decides a node with this window. `value` is relative to the node.
inline bool ttCutsOff(ttEntry entry, int value, int alpha, int beta)
{
    return entry.bound() == boundExact || (entry.bound() == boundLower && value >= beta) ||
           (entry.bound() == boundUpper && value <= alpha);
}

/// The TT value if its bound makes it a better estimate than the static evaluation, else the evaluation.
inline int refineEvaluation(int evaluation, ttEntry entry, int ttValue)
{
    const bool isTtBetter = entry.bound() == boundExact || (entry.bound() == boundLower && evaluation < ttValue) ||
                            (entry.bound() == boundUpper && evaluation > ttValue);
    return isTtBetter ? ttValue : evaluation;
}

} // namespace tarvonel
