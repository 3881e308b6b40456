// The position record of one search thread: board, sums, keys, the per-ply stack and the move
// ordering tables, in one flat block; and the record that adds the move stack.
//
// A `pos` has no pointers into itself and is copied by assignment. Make and unmake change it in place;
// `info[ply]` holds what belongs to a ply. Ply 0 is the root.
//
// Threads: a `pos` belongs to one thread. While that thread searches, others may read its three node
// counters only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "board/bits.h"
#include "board/moveCode.h"
#include "board/piece.h"
#include "board/pieceValues.h"
#include "board/square.h"
#include "platform/relaxed.h"

namespace tarvonel
{

struct pawnEntry;
struct evalCacheEntry;
struct accumulatorCacheEntry;

inline constexpr int maxPly = 127;          ///< deepest ply; no move is made at it
inline constexpr int plyCount = maxPly + 1; ///< number of plies, 0 to maxPly
inline constexpr int moveStackSize = 8192;  ///< moves of all plies on the current path
inline constexpr int moveListReserve = 256; ///< a node with fewer free slots does not generate moves
inline constexpr int moveStackCapacity = moveStackSize + moveListReserve; ///< lists of more than 256 moves still fit
inline constexpr int keyHistorySize = 1024;                               ///< keys of the game and the search path
inline constexpr int accumulatorLanes = 256;        ///< width of one side of the network's first layer
inline constexpr int maxPieceChanges = 3;           ///< a promotion with capture changes three pieces
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

/// The pieces changed by one move, for the network. `from` or `to` is `noSquare` for a piece that
/// appears or disappears. The first entry is the piece that moved.
struct pieceChange
{
    std::uint8_t count;
    std::uint8_t piece[maxPieceChanges];
    std::uint8_t from[maxPieceChanges];
    std::uint8_t to[maxPieceChanges];
};

/// First network layer of one ply, from each side's point of view.
struct accumulatorBlock
{
    alignas(64) std::int16_t accumulator[colourCount][accumulatorLanes];
    bool computed;
};

/// One ply. The saved fields and `captured` belong to the move that led to it; `enPassant`, `castling`
/// and `inCheck` to the position of the ply itself.
struct posinfo
{
    combEval savedMaterial[colourCount];
    combEval savedSquareScore[colourCount];
    std::uint64_t savedKey;
    std::uint64_t savedPawnKey;
    moveCode *listEnd;    ///< one past the last move of this ply's list
    moveCode *listCursor; ///< the move picker's position in the list
    moveCode *quietStart; ///< first quiet move
    moveCode *captureEnd; ///< one past the last capture
    moveCode *listStart;  ///< first move of this ply's list
    moveCode playedMove;  ///< move made at this ply, extra = moving piece; 0 for a null move
    moveCode hashMove;    ///< 0 if there is none
    moveCode killers[2];
    moveCode nodeCounterMove;
    moveCode pvMove;          ///< best move at this ply; at ply 0 of the whole search
    bitboard unpinned;        ///< all squares except those of own pieces pinned to the own king
    std::int16_t staticEval;  ///< noScore when in check
    std::uint16_t noNullMove; ///< nonzero in and below a singular extension search
    std::int32_t savedFifty;
    std::uint64_t quietsScoredAt; ///< `historyUpdates` when the quiets were scored; 0 if not yet
    std::int16_t savedPhase;
    pieceCode captured;       ///< piece captured by that move, 0 if none
    std::int8_t enPassant;    ///< square of the pawn that just made a double step, else 0
    std::uint8_t castling;    ///< bit set of castlingRight
    std::uint8_t stage;       ///< move picker stage
    std::uint8_t inCheck = 0; ///< 1 if the side to move is in check
};

/// The current position and its search counters: everything that does not belong to a ply.
struct posHead
{
    pieceCode board[squareCount];
    bitboard bitboards[pieceCodeCount]; ///< 0 and 1: all white, all black pieces; then by piece code
    std::uint64_t key;
    std::uint64_t pawnKey;             ///< pawns and kings only
    combEval material[colourCount];    ///< sum of pieceValue without the king
    combEval squareScore[colourCount]; ///< sum of pieceSquareScore, positive is good for its owner
    std::int16_t phase;                ///< sum of phaseValue of both colours, not clamped
    std::uint8_t sideToMove = white;
    pawnEntry *pawnTable = nullptr; ///< owned by the worker, as are the other tables
    evalCacheEntry *evalCache = nullptr;
    accumulatorCacheEntry *accumulatorCache = nullptr; ///< optional: if null, refreshes start from scratch
    std::int16_t (*contHistoryTwoBack)[historyRows] = nullptr;
    std::int16_t (*contHistoryOneBack)[historyRows] = nullptr;
    std::int32_t *quietScores = nullptr; ///< scores of the quiet moves, parallel to the move stack
    std::uint64_t historyUpdates = 1;    ///< 1 + number of changes to the histories
    relaxed<std::uint64_t> searchNodes{0};
    relaxed<std::uint64_t> quiescenceNodes{0};
    relaxed<std::uint64_t> tablebaseHits{0};
    std::int16_t keyCount = 0; ///< used entries of keyHistory
    std::int16_t fiftyCount;   ///< plies since the last capture or pawn move
    std::int16_t rootChanges;  ///< best move changes at the root in this iteration
    std::int16_t rootScore;
    std::int16_t rootDepth;
    std::uint8_t rootDepthDone; ///< 1 if the iteration of rootDepth was completed
    std::int32_t pollCountdown; ///< nodes until the clock is read again
    std::int32_t threadIndex;
    std::uint8_t pvLast = 0; ///< ply of the last PV move
    std::uint8_t selDepth = 0;
    /// Start squares of the castling rooks, by wing and colour; constant during a game.
    std::int8_t castleRook[2][colourCount] = {{h1, h8}, {a1, a8}};
};

struct pos : posHead
{
    pieceChange pieceChanges[plyCount]; ///< record p: the move from ply p - 1 to p
    accumulatorBlock accumulatorBlocks[plyCount];
    posinfo info[plyCount + 1];
    std::uint64_t keyHistory[keyHistorySize]; ///< 0 for plies before the set-up position
    std::int16_t quietHistory[historyRows];   ///< by (piece code - 2) x 64 + destination
    moveCode counterMoves[historyRows];       ///< replies, indexed by the move replied to
};

/// All pieces of both colours.
inline bitboard occupancy(const pos &position) { return position.bitboards[white] | position.bitboards[black]; }

inline int kingSquare(const pos &position, colour side) { return lowestSquare(position.bitboards[whiteKing + side]); }

/// Whether `side` has a piece other than king and pawns.
inline bool hasPieces(const pos &position, colour side)
{
    return (position.bitboards[side] &
            ~(position.bitboards[whitePawn + side] | position.bitboards[whiteKing + side])) != 0;
}

/// A position and its move stack. Too large for a thread's stack. Not copyable: the lists of the copy
/// would be in the original's move stack.
struct posWithMoves
{
    posWithMoves() { position.info[0].listStart = firstMove(); }
    posWithMoves(const posWithMoves &) = delete;
    posWithMoves &operator=(const posWithMoves &) = delete;

    /// Start of the list of ply 0.
    moveCode *firstMove() { return moveStack + 1; }

    /// Copies `other` without its move stack.
    void adopt(const pos &other)
    {
        position = other;
        position.info[0].listStart = firstMove();
    }

    pos position{};
    moveCode moveStack[1 + moveStackCapacity]{}; ///< slot 0 is unused: a picker starts one slot before its list
};

} // namespace tarvonel
