#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>

#include "eval/network.h"

namespace tarvonel
{

namespace
{

constexpr bitboard queenSideFiles = 0x0F0F0F0F0F0F0F0F;
constexpr bitboard kingSideFiles = ~queenSideFiles;

/// Promotions can raise the phase above that of the start position.
int clampedPhase(const pos &position) { return std::clamp<int>(position.phase, 0, fullPhase); }

template <const evalTerms &Terms, colour Side> combEval bishopPairScore(const pos &position)
{
    const bitboard bishops = position.bitboards[whiteBishop + Side];
    return moreThanOne(bishops) && exactlyOne(bishops & (bishops - 1)) ? Terms.global.bishopPair : 0;
}

/// A correction to the end-game score for how hard the position is to win. Raises the score of the better
/// side, or lowers it to no less than 0.
template <const evalTerms &Terms> int complexityScore(const pos &position, int endGameScore)
{
    const globalTerms &terms = Terms.global;
    const bitboard pawns = position.bitboards[whitePawn] | position.bitboards[blackPawn];
    const bitboard kings = position.bitboards[whiteKing] | position.bitboards[blackKing];
    const bool bothWings = (pawns & queenSideFiles) != 0 && (pawns & kingSideFiles) != 0;
    const bool pawnEnding = occupancy(position) == (pawns | kings);

    const int complexity = terms.complexityPerPawn * popCount(pawns) + (bothWings ? terms.complexityBothWings : 0) +
                           (pawnEnding ? terms.complexityPawnEnding : terms.complexityWithPieces);
    const int sign = (endGameScore > 0) - (endGameScore < 0);
    return sign * std::max(complexity, -std::abs(endGameScore));
}

template <const evalTerms &Terms> int handSet(const pos &position)
{
    const pawnEntry &pawns = evaluatePawns<Terms>(position);
    combEval total = balance(position) + pawns.score + evaluatePieces<Terms>(position, pawns);
    total += bishopPairScore<Terms, white>(position) - bishopPairScore<Terms, black>(position);
    total += X(0, complexityScore<Terms>(position, egOf(total)));
    total += position.sideToMove == white ? Terms.global.tempo : -Terms.global.tempo;

    const int phase = clampedPhase(position);
    return (egOf(total) * (fullPhase - phase) + mgOf(total) * phase) / fullPhase;
}

/// Converts between the side to move's and white's view of a score.
int switchView(const pos &position, int score) { return position.sideToMove == white ? score : -score; }

template <const evalTerms &Terms> int evaluateWith(int ply, pos &position)
{
    evalCacheEntry &slot = position.evalCache[position.key & (evalCacheSize - 1)];
    if (slot.key != position.key)
    {
        const bool balanced = std::abs(egOf(balance(position))) < networkLimit;
        const int whiteScore = balanced ? switchView(position, networkScore(position, ply, clampedPhase(position)))
                                        : handSet<Terms>(position);
        slot = {position.key, static_cast<std::int16_t>(whiteScore)};
    }
    return static_cast<std::int16_t>(switchView(position, slot.score));
}

} // namespace

int evaluate(int ply, pos &position) { return evaluateWith<shippedTerms>(ply, position); }
int evaluateTunable(int ply, pos &position) { return evaluateWith<tunableTerms>(ply, position); }
int handSetScore(const pos &position) { return handSet<shippedTerms>(position); }

} // namespace tarvonel
