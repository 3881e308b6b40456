// The parameters of the hand-set evaluation.
//
// The evaluation functions take an `evalTerms` record as a template argument. The engine uses the
// constant `shippedTerms`, so that the compiler can fold the values into the code. Tuner and tests can
// change `tunableTerms`.
//
// Boards have a8 at the top left, from the owner's point of view (`tableSquare`). Ranks count from the
// owner's back rank. Tables by piece type do not use the entries for pawn and king.
//
// Threads: write `tunableTerms` only while no thread evaluates with it.
#pragma once

#include "board/pieceValues.h"

namespace tarvonel
{

inline constexpr int ranksOnBoard = 8;
inline constexpr int filesOnBoard = 8;

struct pawnTerms
{
    combEval passedEnemyKing[ranksOnBoard]; ///< times the enemy king's distance to the stop square, by rank
    combEval passedOwnKing[ranksOnBoard];   ///< the same for the own king
    combEval candidate[2][ranksOnBoard];    ///< [at least as many supporters as attackers][rank]
    combEval supported[ranksOnBoard];
    combEval sideBySide[ranksOnBoard]; ///< phalanx
    combEval isolated[filesOnBoard];
    combEval doubled[filesOnBoard];
    combEval backwardOpen[filesOnBoard]; ///< no enemy pawn on the file
    combEval isolatedNearKing;
    combEval doubledNearKing;
    combEval backwardNearKing;
    combEval passedSquare[squareCount];
    /// [2 x kings on the same wing + blocked][file][ranks from the king to the nearest enemy pawn, 7 for none]
    combEval storm[4][filesOnBoard][ranksOnBoard];
};

/// King danger in points. The score is computed from their sum.
struct kingDangerTerms
{
    int flankAttack; ///< per attack on the king's flank
    int queenCheck;  ///< if a queen has a safe check; likewise the next three
    int rookCheck;
    int bishopCheck;
    int knightCheck;
    int unsafeCheck;                  ///< per check square that can be recaptured on
    int pinnedInZone;                 ///< per own pinned piece in the king's zone
    int weakInZone;                   ///< per weak square in the king's zone
    int adjacentAttack;               ///< per attack on a square next to the king
    int attackWeight[pieceTypeCount]; ///< of a piece that attacks the zone
    int withQueen;                    ///< the attacker has a queen
    int withoutQueen;
    int harmless; ///< danger up to this costs nothing
};

struct pieceTerms
{
    combEval pinnedUnderPawn[pieceTypeCount]; ///< pinned and attacked by a pawn
    combEval pinned[pieceTypeCount];
    combEval discoverer[pieceTypeCount]; ///< can discover check

    combEval knightMobility[9]; ///< by the number of squares in the mobility area
    combEval bishopMobility[14];
    combEval rookMobility[15];
    combEval queenMobility[28];
    combEval pawnMobility; ///< per safe pawn push

    combEval outpostBare[pieceTypeCount];
    combEval outpostSupported[pieceTypeCount];
    combEval minorKingDistance; ///< per king step between a minor and its own king
    combEval bishopBlockedPawn; ///< per blocked own pawn on the bishop's colour
    combEval rookOpenFile;      ///< no pawn on the file
    combEval rookHalfOpenFile;  ///< enemy pawns only
    combEval rookOnSeventh;     ///< with the enemy king on the seventh or eighth
    combEval queenOnSeventh;
    combEval minorBehindPawn;
    combEval passedStopAttacked;                ///< per passed pawn whose stop square its side attacks
    combEval spaceWeight[maxPiecesPerSide + 1]; ///< per space square, by the number of own pieces

    combEval pushThreat; ///< per enemy piece that a safe pawn push attacks
    combEval loosePiece; ///< attacked and defended exactly once; a penalty, as are those below
    combEval queenAttacked;
    combEval rookAttacked;
    combEval weakMinorUnderHeavy;
    combEval minorUnderMinor;
    combEval minorUnderPawn;
    combEval weakPawn;

    combEval pawnlessFlank; ///< no own pawn on the king's flank
    combEval kingShelter[squareCount];
    kingDangerTerms danger;
};

/// Terms of the whole position. The complexity values add up to a change of the end-game score: away from
/// 0 if positive, towards 0 but no further if negative.
struct globalTerms
{
    combEval bishopPair; ///< for exactly two bishops
    combEval tempo;      ///< for the side to move
    int complexityPerPawn;
    int complexityBothWings; ///< pawns on files a to d and e to h
    int complexityPawnEnding;
    int complexityWithPieces; ///< not a pawn ending
};

struct evalTerms
{
    globalTerms global;
    pawnTerms pawns;
    pieceTerms pieces;
};

// clang-format off
inline constexpr pawnTerms shippedPawnTerms = {
    .passedEnemyKing = {
        X(   0,    0), X(   0,    2), X(   0,    4), X(   0,   10), X(   0,   18), X(   0,   35), X(   0,   49), X(   0,    0)},
    .passedOwnKing = {
        X(   0,    0), X(   0,   -2), X(   0,   -4), X(   0,   -8), X(   0,  -11), X(   0,  -21), X(   0,  -32), X(   0,    0)},
    .candidate = {
        {X(   0,    0), X( -44,  -10), X( -17,    7), X( -21,   24), X( -12,   46), X(  29,   29), X(   0,    0), X(   0,    0)},
        {X(   0,    0), X( -21,   17), X(  -6,   18), X(   0,   38), X(  35,   62), X(  64,   46), X(   0,    0), X(   0,    0)},
    },
    .supported = {
        X(   0,    0), X(   0,    0), X(  12,   10), X(   8,    9), X(  18,   15), X(  41,   57), X( 154,   76), X(   0,    0)},
    .sideBySide = {
        X(   0,    0), X(   0,    1), X(   6,    2), X(   9,    3), X(  14,   19), X(  57,   62), X( 191,   46), X(   0,    0)},
    .isolated = {
        X(   1,   -4), X(  -5,  -10), X(  -8,   -7), X(  -8,   -7), X( -12,   -9), X(  -8,   -7), X( -11,   -4), X(  -1,   -4)},
    .doubled = {
        X( -28,  -32), X( -12,  -18), X( -12,  -19), X( -10,  -25), X( -19,  -16), X( -12,  -11), X(  -9,  -20), X( -20,  -36)},
    .backwardOpen = {
        X(  -7,  -13), X( -13,  -14), X( -10,  -13), X( -10,  -12), X( -14,  -11), X( -10,  -15), X( -13,  -18), X(   0,  -16)},
    .isolatedNearKing = X(0, -6),
    .doubledNearKing = X(4, 7),
    .backwardNearKing = X(-2, 0),
    .passedSquare = {
        X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0),
        X( 114,   40), X( 131,   57), X( 140,   64), X( 179,   51), X( 158,   69), X( 170,   38), X(  64,   76), X(  91,   53),
        X(  59,   87), X(  66,   94), X(  68,   91), X(  75,   55), X(  66,   60), X(  65,   81), X(  55,   86), X(  56,   90),
        X(  24,   54), X(  23,   58), X(  26,   51), X(  21,   54), X(  22,   55), X(  15,   57), X(  20,   65), X(  20,   58),
        X(   7,   32), X(   0,   40), X( -13,   36), X( -10,   30), X( -14,   34), X( -18,   38), X( -16,   48), X(  -5,   36),
        X( -11,   21), X( -15,   26), X( -19,   18), X( -19,   15), X( -12,   14), X( -26,   15), X( -25,   27), X(  -4,   14),
        X( -25,   23), X( -22,   26), X( -15,   11), X( -17,    6), X(  -6,   -4), X( -19,    7), X( -20,   20), X(   2,    8),
        X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0), X(   0,    0),
    },
    .storm = {
        { // kings on different wings, not blocked
            {X(   2,   49), X(  67,   32), X( -22,   31), X(  -5,    9), X(   0,    3), X(   8,    3), X(   2,    5), X( -16,    8)},
            {X(  15,   54), X(  68,   18), X( -15,   22), X(   1,   11), X(   8,    9), X(  25,    0), X(  14,    5), X( -14,   11)},
            {X(  23,   48), X(  11,   27), X( -19,   26), X(  -6,   20), X(   7,   17), X(  14,   12), X(  24,    0), X(   6,    9)},
            {X(  25,   28), X(  -8,   23), X( -37,   22), X( -12,   17), X(  -5,   16), X(  12,    3), X(  11,    4), X(  -2,   12)},
            {X(  29,   19), X(  -6,   29), X( -17,   17), X(   6,   11), X(  10,   12), X(  24,    5), X(  24,   -3), X(   0,   13)},
            {X(  32,   35), X(   0,   25), X( -20,   21), X(   3,   12), X(   8,   10), X(  15,    5), X(  18,   -5), X(   7,   11)},
            {X(  27,   50), X(  35,   27), X( -17,   26), X(   6,   12), X(  21,    4), X(  37,   -6), X(  31,   -4), X( -14,   14)},
            {X(  16,   40), X(  94,   22), X(   0,   29), X(  12,    4), X(  11,    3), X(  28,   -7), X(  28,   -8), X( -13,   10)},
        },
        { // kings on different wings, blocked
            {X(  10,   10), X( 285, -103), X( -14,   -6), X(  41,  -13), X(  23,   13), X(  33,  -20), X(  60,    9), X(  10,   10)},
            {X(  10,   10), X( -34,  -18), X( -35,   -5), X(  46,  -10), X(  16,    1), X(  46,  -27), X(  32,    3), X(  10,   10)},
            {X(  10,   10), X(  23,   13), X( -14,    0), X(  15,    0), X(  17,  -11), X(  21,  -26), X(  24,   16), X(  10,   10)},
            {X(  10,   10), X(  37,  -15), X( -18,    3), X(  -9,   15), X(  -1,    9), X(  17,  -42), X(  43,  -52), X(  10,   10)},
            {X(  10,   10), X(  47,  -42), X(  13,   -8), X(  16,    7), X(  14,    4), X(  12,  -24), X( -24,  -23), X(  10,   10)},
            {X(  10,   10), X(  -4,   14), X(  -1,   -4), X(  26,    1), X(  22,   -7), X(  14,  -15), X(  16,  -52), X(  10,   10)},
            {X(  10,   10), X(  30,  -27), X(   0,  -13), X(  49,  -10), X(  49,  -10), X(  55,  -24), X(  22,  -25), X(  10,   10)},
            {X(  10,   10), X(  28,   47), X(  11,  -19), X(  62,  -22), X(  29,    9), X(  34,  -11), X(  30,   10), X(  10,   10)},
        },
        { // kings on the same wing, not blocked
            {X(  10,   48), X(  61,   34), X( -29,   35), X( -14,   13), X(   3,    8), X(   3,    7), X(   3,   17), X(   5,   -2)},
            {X(   3,   63), X(  14,   33), X( -28,   28), X(  11,   12), X(  15,   12), X(  18,    6), X(   8,    7), X(  10,    9)},
            {X(  25,   34), X(   7,   28), X( -33,   23), X(   5,    6), X(  17,    6), X(  20,    1), X(  19,  -12), X(  16,    9)},
            {X(  23,   34), X(  -4,   17), X( -11,   15), X( -13,   13), X(  -1,   13), X(  12,   -1), X(   7,    2), X(   0,   12)},
            {X(  46,   30), X(  -8,   26), X(  -3,   19), X(   5,   13), X(   5,   20), X(  20,   12), X(  15,   10), X(   4,   16)},
            {X(  14,   40), X( -10,   29), X( -12,   25), X(  -5,   19), X(   5,   17), X(   8,    8), X(  13,   -9), X(  13,   17)},
            {X(  -3,   52), X(  42,   28), X(   0,   26), X(  16,   16), X(  23,   16), X(  22,   10), X(  19,    9), X(   9,    9)},
            {X(   4,   36), X(  79,   18), X(  -9,   31), X(   7,    5), X(  11,    4), X(  11,    8), X(   5,   25), X(   3,    1)},
        },
        { // kings on the same wing, blocked
            {X(  10,   10), X( 104,   82), X( -48,    6), X(  32,  -11), X(  32,    3), X(  56,  -20), X(  61,   32), X(  10,   10)},
            {X(  10,   10), X(-432,  -48), X( -37,   -3), X(  20,   -1), X(  14,    2), X(  14,  -13), X(  77,  -55), X(  10,   10)},
            {X(  10,   10), X( -82,   36), X( -16,    7), X(   9,    7), X(   1,    0), X(  16,  -17), X(  17,  -43), X(  10,   10)},
            {X(  10,   10), X( 127,  -63), X(  -9,   -7), X(   4,    9), X(  13,   -7), X(  22,  -48), X(  30,  -15), X(  10,   10)},
            {X(  10,   10), X( -39,   -6), X(   8,    1), X(  11,   14), X(  17,    9), X(  18,  -22), X(  45,  -31), X(  10,   10)},
            {X(  10,   10), X( -29,   26), X( -19,   14), X(  -1,   21), X(   3,    0), X(  -8,  -11), X(  31,  -37), X(  10,   10)},
            {X(  10,   10), X(  -2,  -25), X(   7,   -6), X(  50,   -2), X(  33,    3), X(  26,   -3), X(  60,   -6), X(  10,   10)},
            {X(  10,   10), X( -42,   -6), X(  10,  -15), X(  38,  -11), X(  28,    7), X(  22,    8), X(  27,   34), X(  10,   10)},
        },
    },
};
inline constexpr pieceTerms shippedPieceTerms = {
    //                          knight      bishop      rook        queen
    .pinnedUnderPawn = {X(0, 0), X(34, -4), X(47, -7), X(26, 28), X(74, -165), X(0, 0)},
    .pinned          = {X(0, 0), X(47, 32), X(55, 40), X(29, 57), X(56, 60),   X(0, 0)},
    .discoverer      = {X(0, 0), X(24, 20), X(31, 19), X(20, 51), X(77, 95),   X(0, 0)},
    .knightMobility = {
        X( -31,    5), X( -29,  -57), X(  -9,   -4), X(   0,   30), X(  11,   38), X(  14,   53), X(  20,   57), X(  28,   57),
        X(  38,   47),
    },
    .bishopMobility = {
        X( -62,   -3), X( -49,  -64), X( -25,  -24), X( -18,    5), X(  -8,   15), X(  -1,   31), X(   1,   44), X(   2,   49),
        X(   2,   58), X(   8,   61), X(  11,   60), X(  29,   54), X(  41,   61), X(  55,   44),
    },
    .rookMobility = {
        X(  -8,  -31), X( -42,  -52), X(  -9,  -57), X(   2,  -17), X(   5,    4), X(   4,   23), X(   5,   34), X(  12,   35),
        X(  18,   40), X(  24,   42), X(  27,   48), X(  33,   51), X(  35,   55), X(  45,   47), X(  77,   28),
    },
    .queenMobility = {
        X( -45,  -40), X( -69,  -12), X( -68,   -7), X( -71,    2), X( -50,  -51), X( -32,  -65), X( -27,  -40), X( -26,  -16),
        X( -23,   -9), X( -21,   10), X( -17,   16), X( -15,   28), X( -12,   26), X( -10,   33), X(  -9,   35), X( -10,   42),
        X(  -8,   43), X( -12,   46), X( -14,   51), X(  -8,   44), X(  -8,   41), X(  -1,   36), X(  -1,   37), X(  -1,   30),
        X(  -1,   25), X( -13,   26), X(  15,   35), X(  37,    6),
    },
    .pawnMobility = X(-2, 6),
    .outpostBare      = {X(0, 0), X(11, -20), X(12, -5), X(0, 0), X(0, 0), X(0, 0)},
    .outpostSupported = {X(0, 0), X(29, 7),   X(38, 4),  X(0, 0), X(0, 0), X(0, 0)},
    .minorKingDistance = X(-1, -2),
    .bishopBlockedPawn = X(-3, -14),
    .rookOpenFile = X(25, 8),
    .rookHalfOpenFile = X(8, 13),
    .rookOnSeventh = X(2, 31),
    .queenOnSeventh = X(-36, 38),
    .minorBehindPawn = X(5, 11),
    .passedStopAttacked = X(0, 9),
    .spaceWeight = {
        X(   0,    0), X(   0,    0), X( 225,    1), X(   5,   -1), X(   8,   -4), X(   2,   -3), X(  -3,   -2), X(  -6,   -1),
        X(  -6,   -1), X(  -6,    1), X(  -5,    1), X(  -4,    2), X(  -3,    3), X(  -2,    3), X(  -2,    7), X(  -2,   10),
        X(  -2, -274),
    },
    .pushThreat = X(14, 19),
    .loosePiece = X(-6, -11),
    .queenAttacked = X(-44, -9),
    .rookAttacked = X(-41, -22),
    .weakMinorUnderHeavy = X(-28, -40),
    .minorUnderMinor = X(-22, -30),
    .minorUnderPawn = X(-45, -57),
    .weakPawn = X(-13, -30),
    .pawnlessFlank = X(-20, -12),
    .kingShelter = {
          0,   0,   0,   0,   0,   0,   0,   0,
         77, 109, 234, 118, 148, 238,  96,  39,
        118, 182, 190, 148,  72,  86, 102,  45,
         34,  74,  72,  52,  24,   9,  25,  18,
         28,  22,   8,   7,   9,   2,   5,  12,
         39,  37,  11,  12,  15,   3,  19,  15,
         34,  47,  41,  29,  17,  34,  29,  12,
          0,   0,   0,   0,   0,   0,   0,   0,
    },
    .danger = {
        .flankAttack = 11,
        .queenCheck = 282,
        .rookCheck = 289,
        .bishopCheck = 179,
        .knightCheck = 373,
        .unsafeCheck = 57,
        .pinnedInZone = -14,
        .weakInZone = 85,
        .adjacentAttack = 81,
        .attackWeight = {0, 13, 15, 24, 19, 0},
        .withQueen = -253,
        .withoutQueen = -800,
        .harmless = 100,
    },
};

inline constexpr evalTerms shippedTerms = {
    .global = {
        .bishopPair = X(20, 58),
        .tempo = X(25, 17),
        .complexityPerPawn = 4,
        .complexityBothWings = 67,
        .complexityPawnEnding = -24,
        .complexityWithPieces = -102,
    },
    .pawns = shippedPawnTerms,
    .pieces = shippedPieceTerms,
};
// clang-format on

inline evalTerms tunableTerms = shippedTerms;

} // namespace tarvonel
