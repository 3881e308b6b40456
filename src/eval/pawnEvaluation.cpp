#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

constexpr int firstKingSideFile = fileE;
constexpr int noPawnDistance = 7; ///< index for a file without an enemy pawn

/// The middle of the three files around the king.
int kingFileCentre(int kingSq) { return std::clamp(fileOf(kingSq), int{fileB}, int{fileG}); }

/// Ranks from the king of `Side` to the nearest of the pawns ahead.
template <colour Side> int ranksToNearest(bitboard pawnsAhead, int kingSq)
{
    if (pawnsAhead == 0)
        return noPawnDistance;
    return Side == white ? rankOf(lowestSquare(pawnsAhead)) - rankOf(kingSq)
                         : rankOf(kingSq) - rankOf(highestSquare(pawnsAhead));
}

/// Pawn storm: the nearest enemy pawn ahead of the king on each of the three files around it.
template <const evalTerms &Terms, colour Side> combEval stormScore(const pos &position, bool kingsOnSameWing)
{
    const int kingSq = kingSquare(position, Side);
    const bitboard ahead = ranksAhead[Side][kingSq];
    const bitboard ownAhead = position.bitboards[whitePawn + Side] & ahead;
    const bitboard enemyAhead = position.bitboards[whitePawn + opponent(Side)] & ahead;
    const int centre = kingFileCentre(kingSq);

    combEval score = 0;
    for (int file = centre - 1; file <= centre + 1; ++file)
    {
        const int enemyDistance = ranksToNearest<Side>(enemyAhead & fileBits(file), kingSq);
        const int ownDistance = ranksToNearest<Side>(ownAhead & fileBits(file), kingSq);
        const bool blocked = enemyDistance != noPawnDistance && ownDistance == enemyDistance - 1;
        score += Terms.pawns.storm[2 * kingsOnSameWing + blocked][file][enemyDistance];
    }
    return score;
}

/// A passed pawn's square, and the kings' distances to its stop square.
template <const evalTerms &Terms, colour Side> combEval passedPawnScore(const pos &position, int square)
{
    const int rank = relativeRank(Side, square);
    const int stop = square + forward(Side);
    return distance[kingSquare(position, opponent(Side))][stop] * Terms.pawns.passedEnemyKing[rank] +
           distance[kingSquare(position, Side)][stop] * Terms.pawns.passedOwnKing[rank] +
           Terms.pawns.passedSquare[tableSquare(Side, square)];
}

/// All terms of one pawn; adds a passed pawn to `passed`.
template <const evalTerms &Terms, colour Side> combEval pawnScore(const pos &position, int square, bitboard &passed)
{
    constexpr colour enemySide = opponent(Side);
    const pawnTerms &terms = Terms.pawns;
    const bitboard own = position.bitboards[whitePawn + Side];
    const bitboard enemy = position.bitboards[whitePawn + enemySide];
    const int file = fileOf(square);
    const int rank = relativeRank(Side, square);
    const int stop = square + forward(Side);
    const bool nearKing = std::abs(file - kingFileCentre(kingSquare(position, Side))) <= 1;

    const bitboard attackers = pawnAttackers[enemySide][square] & enemy;
    const bitboard stopAttackers = pawnAttackers[enemySide][stop] & enemy;
    const bitboard supporters = pawnAttackers[Side][square] & own;
    const bitboard phalanx = pawnAttackers[Side][stop] & own;
    const bitboard stoppers = passedMask[Side][square] & enemy;

    combEval score = 0;
    if (stoppers == 0)
    {
        passed |= bit(square);
        score += passedPawnScore<Terms, Side>(position, square);
    }
    else if ((stoppers & ~stopAttackers) == attackers && popCount(phalanx) >= popCount(stopAttackers))
        score += terms.candidate[popCount(supporters) >= popCount(attackers)][rank];

    if ((own & adjacentFiles[square]) == 0)
    {
        score += terms.isolated[file];
        if (nearKing)
            score += terms.isolatedNearKing;
    }

    // Looks towards higher squares for both colours: for white all but the front pawn are doubled, for
    // black all but the rear pawn.
    const bitboard higherSquares = ~bitboard{1} << square;
    if ((own & fileBits(file) & higherSquares) != 0)
    {
        score += terms.doubled[file];
        if (nearKing)
            score += terms.doubledNearKing;
    }

    if ((passedMask[enemySide][square] & own) == 0 && stopAttackers != 0)
    {
        if (nearKing)
            score += terms.backwardNearKing;
        if ((enemy & fileBits(file)) == 0)
            score += terms.backwardOpen[file];
    }

    if (supporters != 0)
        score += terms.supported[rank];
    if (phalanx != 0)
        score += terms.sideBySide[rank];
    return score;
}

template <const evalTerms &Terms, colour Side>
combEval sideScore(const pos &position, bool kingsOnSameWing, bitboard &passed)
{
    combEval score = stormScore<Terms, Side>(position, kingsOnSameWing);
    for (bitboard pawns = position.bitboards[whitePawn + Side]; pawns != 0;)
        score += pawnScore<Terms, Side>(position, popLowest(pawns), passed);
    return score;
}

} // namespace

template <const evalTerms &Terms> const pawnEntry &evaluatePawns(const pos &position)
{
    pawnEntry &entry = position.pawnTable[position.pawnKey & (pawnTableSize - 1)];
    if (entry.pawnKey == position.pawnKey)
        return entry;

    const bool kingsOnSameWing = (fileOf(kingSquare(position, white)) < firstKingSideFile) ==
                                 (fileOf(kingSquare(position, black)) < firstKingSideFile);
    entry.pawnKey = position.pawnKey;
    entry.passed = 0;
    entry.score = sideScore<Terms, white>(position, kingsOnSameWing, entry.passed);
    entry.score -= sideScore<Terms, black>(position, kingsOnSameWing, entry.passed);
    return entry;
}

template const pawnEntry &evaluatePawns<shippedTerms>(const pos &position);
template const pawnEntry &evaluatePawns<tunableTerms>(const pos &position);

} // namespace tarvonel
