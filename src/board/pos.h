// The position record: board, sums, keys, the per-ply stack and the move ordering tables of one
// search thread, in one flat block.
//
// It holds no pointer into itself, so a `pos` is copied by one assignment. The current position is
// kept once and changed in place by make and unmake; what a ply has to remember stands in
// `info[ply]`, ply 0 being the root.
//
// Threads: a `pos` belongs to one thread at a time. Only the three node counters may be read by
// others while it is searched.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/bits.h"
#include "board/combEval.h"
#include "board/moveCode.h"
#include "board/piece.h"
#include "board/square.h"
#include "platform/relaxed.h"

namespace tarvonel
{

struct pawnEntry;
struct evalCacheEntry;
struct accumulatorCacheEntry;

inline constexpr int maxPly = 127;          ///< deepest ply; no move is made there
inline constexpr int plyCount = maxPly + 1; ///< plies that can be stood at
inline constexpr int moveStackSize = 8192;  ///< moves of all plies on the current path
inline constexpr int moveListReserve = 256; ///< a node with less room left does not generate
inline constexpr int moveStackCapacity = moveStackSize + moveListReserve; ///< room for freak positions
inline constexpr int keyHistorySize = 1024;                               ///< keys of game and search path
inline constexpr int accumulatorLanes = 256;                              ///< width of one side's first network layer
inline constexpr int maxPieceChanges = 3;           ///< a capture with promotion changes three men
inline constexpr int historyRows = pieceKinds * 64; ///< (piece code - 2) x 64 + square

/// Castling rights: 1 << (2 x wing + colour).
enum castlingRight : std::uint8_t
{
    whiteKingSide = 1,
    blackKingSide = 2,
    whiteQueenSide = 4,
    blackQueenSide = 8,
};
enum castlingWing : int
{
    kingSide,
    queenSide
};
constexpr std::uint8_t castlingRightOf(int wing, colour side)
{
    return static_cast<std::uint8_t>(1 << (2 * wing + side));
}
constexpr int castlingRightsOf(colour side) { return (whiteKingSide | whiteQueenSide) << side; }

/// What one move did to the board, for the network: `from` or `to` is `noSquare` for a man that
/// comes on to the board or leaves it. The first entry is the man that moved.
struct pieceChange
{
    std::uint8_t count;
    std::uint8_t piece[maxPieceChanges];
    std::uint8_t from[maxPieceChanges];
    std::uint8_t to[maxPieceChanges];
};

/// First network layer of one ply, from white's and from black's side.
struct accumulatorBlock
{
    alignas(64) std::int16_t accumulator[colourCount][accumulatorLanes];
    bool computed;
};

/// One ply. The saved fields and `captured` describe the step that led here; `enPassant`,
/// `castling` and `inCheck` the position of the ply itself.
struct posinfo
{
    combEval savedMaterial[colourCount];
    combEval savedSquareScore[colourCount];
    std::uint64_t savedKey;
    std::uint64_t savedPawnKey;
    moveCode *listEnd;    ///< one past the last move of this ply's list
    moveCode *listCursor; ///< where the move picker stands
    moveCode *quietStart; ///< where the quiet moves begin
    moveCode *captureEnd; ///< end of the capture section
    moveCode *listStart;  ///< first move of this ply's list
    moveCode playedMove;  ///< the move made from here, extra = moving piece; 0 for a null move
    moveCode hashMove;    ///< transposition table move, 0 if none
    moveCode killers[2];
    moveCode nodeCounterMove;
    moveCode pvMove;          ///< best move of this ply; at ply 0 of the whole search
    bitboard unpinned;        ///< all squares but those of own men pinned to the own king
    std::int16_t staticEval;  ///< noScore when in check
    std::uint16_t noNullMove; ///< not 0 in and below a singular verification
    std::int32_t savedFifty;
    std::uint64_t quietsScoredAt; ///< `historyUpdates` when the quiet moves were scored; 0 before
    std::int16_t savedPhase;
    pieceCode captured;       ///< what that move captured, 0 if nothing
    std::int8_t enPassant;    ///< square of the pawn that has just made a double step, else 0
    std::uint8_t castling;    ///< set of castlingRight
    std::uint8_t stage;       ///< move picker stage
    std::uint8_t inCheck = 0; ///< 1 if the side to move is in check
};

/// The current position and the counters of its search: everything that is not bound to a ply.
struct posHead
{
    pieceCode board[squareCount];
    bitboard bitboards[pieceCodeCount]; ///< 0 and 1: all white, all black men; then by piece code
    std::uint64_t key;
    std::uint64_t pawnKey;             ///< pawns and kings only
    combEval material[colourCount];    ///< sum of pieceValue without the king
    combEval squareScore[colourCount]; ///< sum of pieceSquareScore, positive is good for its owner
    std::int16_t phase;                ///< sum of phaseValue of both colours, not clamped
    std::uint8_t sideToMove = white;
    pawnEntry *pawnTable = nullptr; ///< the tables lie outside, where a record of the thread attaches them
    evalCacheEntry *evalCache = nullptr;
    accumulatorCacheEntry *accumulatorCache = nullptr; ///< may stay missing; then sums start from nothing
    std::int16_t (*contHistoryTwoBack)[historyRows] = nullptr;
    std::int16_t (*contHistoryOneBack)[historyRows] = nullptr;
    std::int32_t *quietScores = nullptr; ///< of the quiet moves, slot for slot beside the move stack
    std::uint64_t historyUpdates = 1;    ///< how often the histories have changed, and 1
    relaxed<std::uint64_t> searchNodes{0};
    relaxed<std::uint64_t> quiescenceNodes{0};
    relaxed<std::uint64_t> tablebaseHits{0};
    std::int16_t keyCount = 0; ///< used entries of keyHistory
    std::int16_t fiftyCount;   ///< plies since the last capture or pawn move
    std::int16_t rootChanges;  ///< new best root moves of this iteration
    std::int16_t rootScore;
    std::int16_t rootDepth;
    std::uint8_t rootDepthDone; ///< 1 when the iteration of rootDepth was finished
    std::int32_t pollCountdown; ///< nodes until the clock is read again
    std::int32_t threadIndex;
    std::uint8_t pvLast = 0; ///< last info record that holds a move of the variation
    std::uint8_t selDepth = 0;
    /// Start squares of the castling rooks, by wing and colour; they never change during play.
    std::int8_t castleRook[2][colourCount] = {{h1, h8}, {a1, a8}};
};

struct pos : posHead
{
    pieceChange pieceChanges[plyCount]; ///< record p: the move from ply p - 1 to p
    accumulatorBlock accumulatorBlocks[plyCount];
    posinfo info[plyCount + 1];
    std::uint64_t keyHistory[keyHistorySize]; ///< zeros for plies before the set-up position
    std::int16_t quietHistory[historyRows];   ///< by (piece code - 2) x 64 + destination
    moveCode counterMoves[historyRows];       ///< the same of the move replied to
};

/// All men of both colours.
inline bitboard occupancy(const pos &position) { return position.bitboards[white] | position.bitboards[black]; }

inline int kingSquare(const pos &position, colour side) { return lowestSquare(position.bitboards[whiteKing + side]); }

/// Whether `side` has a man other than king and pawns.
inline bool hasPieces(const pos &position, colour side)
{
    return (position.bitboards[side] &
            ~(position.bitboards[whitePawn + side] | position.bitboards[whiteKing + side])) != 0;
}

/// The position that the console commands work on; it has a move stack and no tables.
extern pos &mainPos;

} // namespace tarvonel
