// Pieces and kings, in two passes over both colours. The first scores placement and mobility and collects
// attack maps; the second uses the maps of both colours for threats, space and king danger.
#include "eval/evaluate.h"

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

constexpr bitboard files(int first, int last)
{
    bitboard set = 0;
    for (int file = first; file <= last; ++file)
        set |= fileBits(file);
    return set;
}

constexpr bitboard ranks(int first, int last)
{
    bitboard set = 0;
    for (int rank = first; rank <= last; ++rank)
        set |= rankBits(rank);
    return set;
}

/// By the king's file: the files of the flank it is attacked on.
constexpr bitboard kingFlank[] = {files(fileA, fileC), files(fileA, fileD), files(fileA, fileD), files(fileC, fileF),
                                  files(fileC, fileF), files(fileE, fileH), files(fileE, fileH), files(fileF, fileH)};
constexpr bitboard camp[colourCount] = {ranks(rank1, rank5), ranks(rank4, rank8)};
constexpr bitboard outpostRanks[colourCount] = {ranks(rank4, rank6), ranks(rank3, rank5)};
constexpr bitboard behindPawnRanks[colourCount] = {ranks(rank2, rank4), ranks(rank5, rank7)};
constexpr bitboard thirdRank[colourCount] = {rankBits(rank3), rankBits(rank6)};
constexpr bitboard centreFiles = files(fileC, fileF);

constexpr int dangerSquareDivisor = 4096; ///< middle game: danger squared / this
constexpr int dangerDivisor = 32;         ///< end game: danger / this

struct sideState
{
    int kingSq;
    bitboard zone; ///< of the own king
    bitboard attackedByType[pieceTypeCount];
    bitboard attackedBy;
    bitboard attackedBy2; ///< attacked at least twice
    bitboard blockedPawns;
    bitboard pawnPushes; ///< destinations of pawn steps
    bitboard pinned;
    bitboard discoverers;
    bitboard mobilityArea;
    combEval mobility;
    combEval score;
    int kingAttackers; ///< attackers of the enemy king's zone
    int kingAttackWeight;
    int kingAdjacent; ///< attacks on squares next to the enemy king
};

struct evaluationState
{
    const pos &position;
    bitboard occupied;
    sideState sides[colourCount];
};

template <colour Side> void preparePawns(evaluationState &state)
{
    sideState &own = state.sides[Side];
    const bitboard pawns = state.position.bitboards[whitePawn + Side];
    own.attackedByType[pawn] = pawnAttackSet<Side>(pawns);
    own.attackedBy2 = pawnAttacksBy9<Side>(pawns) & pawnAttacksBy7<Side>(pawns);
    own.blockedPawns = pawns & shiftForward<opponent(Side)>(state.occupied);
}

/// Needs both colours' pawn attacks.
template <colour Side> void preparePushes(evaluationState &state)
{
    sideState &own = state.sides[Side];
    const bitboard enemyPawnAttacks = state.sides[opponent(Side)].attackedByType[pawn];
    const bitboard single = shiftForward<Side>(state.position.bitboards[whitePawn + Side]) & ~state.occupied;
    const bitboard stepsOn = single & thirdRank[Side] & ~enemyPawnAttacks;
    own.pawnPushes = single | (shiftForward<Side>(stepsOn) & ~state.occupied);
}

/// Pieces pinned to the king of `Side`, and enemy pieces that can discover check on it.
template <colour Side> void prepareBlockers(evaluationState &state)
{
    constexpr colour enemySide = opponent(Side);
    const pos &position = state.position;
    const bitboard blockers = sliderBlockers(position, state.sides[Side].kingSq, enemySide);
    state.sides[Side].pinned = blockers & position.bitboards[Side];
    state.sides[enemySide].discoverers = blockers & position.bitboards[enemySide];
}

/// Shelter: the rearmost own pawn on each file of the king's zone. Counts half without an enemy queen.
template <const evalTerms &Terms, colour Side> combEval shelterScore(const evaluationState &state)
{
    const pos &position = state.position;
    combEval shelter = 0;
    for (bitboard pawns = position.bitboards[whitePawn + Side] & state.sides[Side].zone; pawns != 0;)
    {
        const int square = Side == white ? lowestSquare(pawns) : highestSquare(pawns);
        shelter += Terms.pieces.kingShelter[tableSquare(Side, square)];
        pawns &= ~fileBits(fileOf(square));
    }
    return position.bitboards[whiteQueen + opponent(Side)] == 0 ? shelter / 2 : shelter;
}

/// Attacks of a piece, with x-rays through own pieces that move along the same lines.
template <colour Side, pieceType Type> bitboard xrayAttacks(const evaluationState &state, int square)
{
    const pos &position = state.position;
    const bitboard withoutQueens = state.occupied ^ position.bitboards[whiteQueen + Side];
    const bitboard withoutHeavies = withoutQueens ^ position.bitboards[whiteRook + Side];
    if constexpr (Type == knight)
        return knightAttacks[square];
    else if constexpr (Type == bishop)
        return bishopAttacks(square, withoutQueens);
    else if constexpr (Type == rook)
        return rookAttacks(square, withoutHeavies);
    else
        return rookAttacks(square, withoutHeavies) | bishopAttacks(square, withoutQueens);
}

template <const evalTerms &Terms, pieceType Type> combEval mobilityScore(int squares)
{
    if constexpr (Type == knight)
        return Terms.pieces.knightMobility[squares];
    else if constexpr (Type == bishop)
        return Terms.pieces.bishopMobility[squares];
    else if constexpr (Type == rook)
        return Terms.pieces.rookMobility[squares];
    else
        return Terms.pieces.queenMobility[squares];
}

/// Knight or bishop: distance to the own king, outposts, and blocked pawns on a bishop's colour.
template <const evalTerms &Terms, colour Side, pieceType Type>
combEval minorExtras(const evaluationState &state, int square)
{
    const pieceTerms &terms = Terms.pieces;
    const sideState &own = state.sides[Side];
    const bitboard enemyPawns = state.position.bitboards[whitePawn + opponent(Side)];
    combEval score = distance[square][own.kingSq] * terms.minorKingDistance;

    if ((outpostRanks[Side] & bit(square)) != 0 && (passedMask[Side][square] & adjacentFiles[square] & enemyPawns) == 0)
    {
        const bool supported = (own.attackedByType[pawn] & bit(square)) != 0;
        score += supported ? terms.outpostSupported[Type] : terms.outpostBare[Type];
    }
    if constexpr (Type == bishop)
    {
        const bitboard sameColour = (lightSquares & bit(square)) != 0 ? lightSquares : darkSquares;
        score += popCount(own.blockedPawns & sameColour) * terms.bishopBlockedPawn;
    }
    return score;
}

/// Rook or queen: open files, and the seventh rank with the enemy king on the seventh or eighth.
template <const evalTerms &Terms, colour Side, pieceType Type>
combEval heavyExtras(const evaluationState &state, int square)
{
    const pieceTerms &terms = Terms.pieces;
    const pos &position = state.position;
    combEval score = 0;
    if constexpr (Type == rook)
    {
        const bitboard file = fileBits(fileOf(square));
        if ((position.bitboards[whitePawn + Side] & file) == 0)
            score += (position.bitboards[whitePawn + opponent(Side)] & file) == 0 ? terms.rookOpenFile
                                                                                  : terms.rookHalfOpenFile;
    }
    const int enemyKing = state.sides[opponent(Side)].kingSq;
    if (relativeRank(Side, square) == rank7 && relativeRank(Side, enemyKing) >= rank7)
        score += Type == rook ? terms.rookOnSeventh : terms.queenOnSeventh;
    return score;
}

/// Scores all pieces of a type and colour and adds their attacks to the attack maps.
template <const evalTerms &Terms, colour Side, pieceType Type> void evaluateType(evaluationState &state)
{
    constexpr colour enemySide = opponent(Side);
    const pieceTerms &terms = Terms.pieces;
    sideState &own = state.sides[Side];
    const sideState &enemy = state.sides[enemySide];

    bitboard typeAttacks = 0;
    for (bitboard pieces = state.position.bitboards[pieceOf(Type, Side)]; pieces != 0;)
    {
        const int square = popLowest(pieces);
        bitboard attacks = xrayAttacks<Side, Type>(state, square);

        if ((own.pinned & bit(square)) != 0)
        {
            attacks &= line[own.kingSq][square];
            own.score +=
                (enemy.attackedByType[pawn] & bit(square)) != 0 ? terms.pinnedUnderPawn[Type] : terms.pinned[Type];
        }
        if ((own.discoverers & bit(square)) != 0)
            own.score += terms.discoverer[Type];

        own.attackedBy2 |= own.attackedBy & attacks;
        own.attackedBy |= attacks;
        typeAttacks |= attacks;
        own.mobility += mobilityScore<Terms, Type>(popCount(attacks & own.mobilityArea));

        if ((attacks & enemy.zone) != 0)
        {
            ++own.kingAttackers;
            own.kingAttackWeight += terms.danger.attackWeight[Type];
            own.kingAdjacent += popCount(attacks & kingAttacks[enemy.kingSq]);
        }

        if constexpr (Type == knight || Type == bishop)
            own.score += minorExtras<Terms, Side, Type>(state, square);
        else
            own.score += heavyExtras<Terms, Side, Type>(state, square);
    }
    own.attackedByType[Type] = typeAttacks;
}

template <const evalTerms &Terms, colour Side> void firstPass(evaluationState &state)
{
    sideState &own = state.sides[Side];
    const sideState &enemy = state.sides[opponent(Side)];
    own.score = shelterScore<Terms, Side>(state);
    own.mobilityArea = ~(bit(own.kingSq) | enemy.attackedByType[pawn] | own.blockedPawns);
    own.kingAttackers = popCount(own.attackedByType[pawn] & enemy.zone);

    own.attackedByType[king] = kingAttacks[own.kingSq];
    own.attackedBy2 |= own.attackedByType[pawn] & own.attackedByType[king];
    own.attackedBy = own.attackedByType[pawn] | own.attackedByType[king];

    evaluateType<Terms, Side, knight>(state);
    evaluateType<Terms, Side, bishop>(state);
    evaluateType<Terms, Side, rook>(state);
    evaluateType<Terms, Side, queen>(state);
}

/// Space: free squares up to four ranks to the rear of the own centre pawns.
template <const evalTerms &Terms, colour Side> combEval spaceScore(const evaluationState &state)
{
    const pos &position = state.position;
    bitboard rear = shiftForward<opponent(Side)>(position.bitboards[whitePawn + Side] & centreFiles);
    rear |= shiftForward<opponent(Side)>(rear);
    rear |= shiftForward<opponent(Side)>(shiftForward<opponent(Side)>(rear));
    const bitboard space = rear & ~position.bitboards[Side] & ~state.sides[opponent(Side)].attackedByType[pawn];
    return popCount(space) * Terms.pieces.spaceWeight[popCount(position.bitboards[Side])];
}

/// Threats by safe pawn pushes, and penalties for own pieces under attack.
template <const evalTerms &Terms, colour Side>
combEval threatScore(const evaluationState &state, bitboard safePushes, bitboard minors)
{
    constexpr colour enemySide = opponent(Side);
    const pieceTerms &terms = Terms.pieces;
    const pos &position = state.position;
    const sideState &own = state.sides[Side];
    const sideState &enemy = state.sides[enemySide];
    const bitboard rooks = position.bitboards[whiteRook + Side];
    const bitboard queens = position.bitboards[whiteQueen + Side];
    const bitboard byPawns = enemy.attackedByType[pawn];
    const bitboard byMinors = enemy.attackedByType[knight] | enemy.attackedByType[bishop];
    const bitboard byHeavies = enemy.attackedByType[rook] | enemy.attackedByType[queen];
    const bitboard weak =
        (enemy.attackedBy2 & ~own.attackedBy2 & ~own.attackedByType[pawn]) | (enemy.attackedBy & ~own.attackedBy);

    const bitboard pushAttacks = pawnAttackSet<Side>(safePushes & ~byPawns) & ~own.attackedByType[pawn];
    combEval score = sparseCount(pushAttacks & position.bitboards[enemySide]) * terms.pushThreat;
    score += sparseCount((minors | rooks | queens) & enemy.attackedBy & own.attackedBy & ~own.attackedBy2) *
             terms.loosePiece;
    score += sparseCount(queens & enemy.attackedBy) * terms.queenAttacked;
    score += sparseCount(rooks & (byMinors | byPawns)) * terms.rookAttacked;
    score += sparseCount(minors & weak & byHeavies) * terms.weakMinorUnderHeavy;
    score += sparseCount(minors & byMinors) * terms.minorUnderMinor;
    score += sparseCount(minors & byPawns) * terms.minorUnderPawn;
    score += sparseCount(position.bitboards[whitePawn + Side] & weak & ~byPawns) * terms.weakPawn;
    return score;
}

/// Danger points for the enemy's possible checks to the king of `Side`.
template <const evalTerms &Terms, colour Side> int checkDanger(const evaluationState &state, bitboard weakSquares)
{
    constexpr colour enemySide = opponent(Side);
    const kingDangerTerms &terms = Terms.pieces.danger;
    const pos &position = state.position;
    const sideState &own = state.sides[Side];
    const sideState &enemy = state.sides[enemySide];
    const bitboard safe = ((enemy.attackedBy2 & weakSquares) | ~own.attackedBy) & ~position.bitboards[enemySide];
    const bitboard withoutQueens = state.occupied ^ position.bitboards[whiteQueen + Side];
    const bitboard rookRay = rookAttacks(own.kingSq, withoutQueens);
    const bitboard bishopRay = bishopAttacks(own.kingSq, withoutQueens);

    int danger = 0;
    if (((rookRay | bishopRay) & enemy.attackedByType[queen] & ~own.attackedByType[queen] & safe) != 0)
        danger += terms.queenCheck;

    bitboard unsafe = 0;
    const auto addChecks = [&](bitboard checks, int worth)
    {
        if ((checks & safe) != 0)
            danger += worth;
        else
            unsafe |= checks;
    };
    addChecks(rookRay & enemy.attackedByType[rook], terms.rookCheck);
    addChecks(bishopRay & enemy.attackedByType[bishop], terms.bishopCheck);
    addChecks(knightAttacks[own.kingSq] & enemy.attackedByType[knight], terms.knightCheck);
    return danger + terms.unsafeCheck * sparseCount(unsafe & enemy.mobilityArea);
}

/// Penalty for the danger to the king of `Side`; 0 if too few pieces attack.
template <const evalTerms &Terms, colour Side> combEval kingDangerScore(const evaluationState &state)
{
    constexpr colour enemySide = opponent(Side);
    const kingDangerTerms &terms = Terms.pieces.danger;
    const pos &position = state.position;
    const sideState &own = state.sides[Side];
    const sideState &enemy = state.sides[enemySide];
    const bitboard enemyQueens = position.bitboards[whiteQueen + enemySide];
    if (sparseCount(enemyQueens) + enemy.kingAttackers <= 1)
        return 0;

    const bitboard flankAttacks = camp[Side] & kingFlank[fileOf(own.kingSq)] & enemy.attackedBy;
    const int flank =
        popCount(flankAttacks) + 2 * popCount(flankAttacks & enemy.attackedBy2 & ~own.attackedByType[pawn]);
    const bitboard weakSquares =
        enemy.attackedBy & ~own.attackedBy2 & (~own.attackedBy | own.attackedByType[king] | own.attackedByType[queen]);

    const int danger =
        terms.flankAttack * flank + checkDanger<Terms, Side>(state, weakSquares) +
        terms.pinnedInZone * sparseCount(own.pinned & own.zone) + terms.weakInZone * popCount(weakSquares & own.zone) +
        (mgOf(enemy.mobility) - mgOf(own.mobility)) / 2 + enemy.kingAttackers * enemy.kingAttackWeight +
        terms.adjacentAttack * enemy.kingAdjacent + (enemyQueens != 0 ? terms.withQueen : terms.withoutQueen);
    if (danger <= terms.harmless)
        return 0;
    return -X(danger * danger / dangerSquareDivisor, danger / dangerDivisor);
}

template <const evalTerms &Terms, colour Side> void secondPass(evaluationState &state, bitboard passed)
{
    const pieceTerms &terms = Terms.pieces;
    const pos &position = state.position;
    sideState &own = state.sides[Side];
    const bitboard pawns = position.bitboards[whitePawn + Side];
    const bitboard minors = position.bitboards[whiteKnight + Side] | position.bitboards[whiteBishop + Side];

    const bitboard safePushes = own.pawnPushes & (~state.sides[opponent(Side)].attackedBy | own.attackedBy);
    own.mobility += popCount(safePushes) * terms.pawnMobility;

    own.score += sparseCount(shiftForward<Side>(passed & pawns) & own.attackedBy) * terms.passedStopAttacked;
    own.score +=
        sparseCount(minors & shiftForward<opponent(Side)>(pawns) & behindPawnRanks[Side]) * terms.minorBehindPawn;
    own.score += spaceScore<Terms, Side>(state);
    own.score += threatScore<Terms, Side>(state, safePushes, minors);
    if ((pawns & kingFlank[fileOf(own.kingSq)]) == 0)
        own.score += terms.pawnlessFlank;
    own.score += kingDangerScore<Terms, Side>(state);
}

} // namespace

template <const evalTerms &Terms> combEval evaluatePieces(const pos &position, const pawnEntry &pawns)
{
    evaluationState state{position, occupancy(position), {}};
    for (const colour side : {white, black})
    {
        state.sides[side].kingSq = kingSquare(position, side);
        state.sides[side].zone = kingZone[side][state.sides[side].kingSq];
    }
    preparePawns<white>(state);
    preparePawns<black>(state);
    preparePushes<white>(state);
    preparePushes<black>(state);
    prepareBlockers<white>(state);
    prepareBlockers<black>(state);

    firstPass<Terms, white>(state);
    firstPass<Terms, black>(state);
    secondPass<Terms, white>(state, pawns.passed);
    secondPass<Terms, black>(state, pawns.passed);

    const sideState &whiteSide = state.sides[white];
    const sideState &blackSide = state.sides[black];
    return whiteSide.score + whiteSide.mobility - blackSide.score - blackSide.mobility;
}

template combEval evaluatePieces<shippedTerms>(const pos &position, const pawnEntry &pawns);
template combEval evaluatePieces<tunableTerms>(const pos &position, const pawnEntry &pawns);

} // namespace tarvonel
