// The values of piece placement, mobility, threats, space and king danger.
//
// Boards are laid out with a8 at the top left, as white sees its own men (`tableSquare`). Tables by
// piece type have an unused first and last entry for pawn and king.
#pragma once

#include "board/combEval.h"
#include "board/piece.h"

namespace tarvonel
{

/// Points of danger; only their sum is turned into a score.
struct kingDangerTerms
{
    int flankAttack; ///< per attack on the king's flank
    int queenCheck;  ///< one safe check of the kind is possible
    int rookCheck;
    int bishopCheck;
    int knightCheck;
    int unsafeCheck;                  ///< per square of a check that can be answered by capture
    int pinnedInZone;                 ///< per own pinned man in the king's zone
    int weakInZone;                   ///< per weak square in the king's zone
    int adjacentAttack;               ///< per attack on a square next to the king
    int attackWeight[pieceTypeCount]; ///< of a piece that bears on the zone
    int withQueen;                    ///< the attacker has a queen
    int withoutQueen;
    int harmless; ///< danger up to this much is worth nothing
};

struct pieceTerms
{
    combEval pinnedUnderPawn[pieceTypeCount]; ///< pinned to the own king while attacked by a pawn
    combEval pinned[pieceTypeCount];
    combEval discoverer[pieceTypeCount]; ///< alone between an own slider and the enemy king

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
    combEval rookOnSeventh;     ///< with the enemy king behind it
    combEval queenOnSeventh;
    combEval minorBehindPawn;
    combEval passedStopAttacked;                ///< per passed pawn whose stop square the own side attacks
    combEval spaceWeight[maxPiecesPerSide + 1]; ///< per space square, by the number of own men

    combEval pushThreat; ///< per enemy man that a safe push attacks
    combEval loosePiece; ///< attacked, and defended only once; this and the next are penalties
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

// clang-format off
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
// clang-format on

} // namespace tarvonel
