#include "movegen/legality.h"

#include <memory>
#include <set>

#include <gtest/gtest.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "movegen/edgePositions.h"
#include "movegen/gameRules.h"
#include "movegen/generators.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

using bruteForce::letterBoard;
using moveSet = std::set<moveCode>;

moveSet legalCodes(const letterBoard &board)
{
    moveSet codes;
    for (const bruteForce::letterMove &move : bruteForce::legalMoves(board))
        codes.insert(bruteForce::codeOf(board, move));
    return codes;
}

moveSet listOf(const pos &position)
{
    moveSet moves;
    for (const moveCode *move = position.info[0].listStart; move < position.info[0].listEnd; ++move)
        moves.insert(*move & moveIdentityMask);
    return moves;
}

/// Legality of generated moves, the legal list and the count.
void checkLegality(pos &position, const letterBoard &board)
{
    const moveSet legal = legalCodes(board);
    moveCode *slot = position.info[0].listStart;
    position.info[0].inCheck = 7; // computed anew by the count
    EXPECT_EQ(countLegalMoves(0, slot, position), static_cast<int>(legal.size())) << bruteForce::writeFen(board);
    const bool isInCheck = bruteForce::isInCheck(board, board.whiteToMove);
    EXPECT_EQ(position.info[0].inCheck, isInCheck ? 1 : 0);

    for (const moveCode move : listOf(position))
    {
        const bool isLegal = legal.count(move) != 0;
        EXPECT_TRUE(isLegal || !isInCheck);
        if (!isInCheck)
            EXPECT_EQ(isMoveLegal(position, 0, move), isLegal) << bruteForce::writeFen(board) << ' ' << move;
        if (!isInCheck)
            EXPECT_EQ(isMoveLegalSlow(position, 0, move), isLegal) << bruteForce::writeFen(board) << ' ' << move;
    }

    buildLegalList(0, slot, position);
    EXPECT_EQ(listOf(position), legal) << bruteForce::writeFen(board);
    EXPECT_EQ(position.info[1].listStart, position.info[0].listEnd);
}

/// Moves with the moving piece as extra byte, as the hash table and killers supply them.
using movePool = std::set<moveCode>;

void collect(const pos &position, const letterBoard &board, movePool &pool)
{
    for (const moveCode move : legalCodes(board))
        pool.insert(withExtra(move, position.board[moveFrom(move)]));
}

/// Accepts exactly the legal moves of the pool.
void checkValidity(pos &position, const letterBoard &board, const movePool &pool)
{
    const moveSet legal = legalCodes(board);
    for (const moveCode move : pool)
    {
        // Castling with the king on its target is refused because the target is occupied.
        const bool isKingThere = isCastling(move) && isKing(position.board[moveTo(move)]);
        const bool isExpected = !isKingThere && legal.count(move & moveIdentityMask) != 0 &&
                                moveExtra(move) == position.board[moveFrom(move)];
        ASSERT_EQ(isMoveValid(position, 0, move) && leavesKingSafe(position, 0, move), isExpected)
            << bruteForce::writeFen(board) << ' ' << moveText(move, position.sideToMove, position);
    }
}

class legalityInBothVariants : public ::testing::TestWithParam<bool>
{
};

TEST_P(legalityInBothVariants, generatedMovesAreJudgedByTheRules)
{
    playRandomGames({.seed = 5, .games = 30, .plies = 180, .chess960 = GetParam()}, checkLegality);
}

TEST_P(legalityInBothVariants, foreignMovesAreJudgedByTheRules)
{
    const randomGamePlan plan{.seed = 6, .games = 12, .plies = 150, .chess960 = GetParam()};
    movePool pool;
    playRandomGames(plan, [&](pos &position, const letterBoard &board) { collect(position, board, pool); });
    playRandomGames(plan, [&](pos &position, const letterBoard &board) { checkValidity(position, board, pool); });
}

INSTANTIATE_TEST_SUITE_P(legality, legalityInBothVariants, ::testing::Bool());

TEST(legality, edgeCasesAreJudgedByTheRules)
{
    movePool pool;
    for (const bool isJudging : {false, true})
        for (const edgePosition &edge : edgePositions)
        {
            SCOPED_TRACE(edge.what);
            const variantScope variant(edge.chess960);
            ownedPosition position(edge.fen);
            const letterBoard board = bruteForce::readFen(edge.fen);
            if (!isJudging)
            {
                collect(*position, board, pool);
                continue;
            }
            checkValidity(*position, board, pool);
            checkLegality(*position, board);
        }
}

// Moves that fit no legal position: castling without its rook, wrong flags, capture of a king.
TEST(legality, impossibleMovesAreRefused)
{
    const struct
    {
        const char *fen;
        moveCode move;
    } refused[] = {
        {"4k3/8/8/8/8/8/8/B3K2R w KQ - 0 1", encodeMove(e1, c1, castleQueenSide, whiteKing)},
        {"r3k2n/8/8/8/8/8/8/4K3 b kq - 0 1", encodeMove(e8, g8, castleKingSide, blackKing)},
        {"4k3/8/8/8/8/2N5/8/4K3 w - - 0 1", encodeMove(c3, b1, promoteQueen, whiteKnight)},
        {"4k3/8/8/8/8/5Q2/8/4K3 w - - 0 1", encodeMove(f3, f5, doubleStep, whiteQueen)},
        {"4k3/8/8/8/8/8/8/4K3 w - - 0 1", encodeMove(e1, d1, enPassantCapture, whiteKing)},
        {"4k3/8/8/P2p4/8/8/8/4K3 w - d6 0 1", encodeMove(a5, d5, enPassantCapture, whitePawn)},
        {"4k3/8/2P5/3p4/8/8/8/4K3 w - d6 0 1", encodeMove(c6, d5, enPassantCapture, whitePawn)},
        {"4k3/4R3/8/8/8/8/8/4K3 w - - 0 1", encodeMove(e7, e8, plainMove, whiteRook)},
        {startPositionFen, encodeMove(e7, e5, doubleStep, blackPawn)},
        {startPositionFen, noMove},
    };
    for (const auto &entry : refused)
        EXPECT_FALSE(isMoveValid(*ownedPosition(entry.fen), 0, entry.move)) << entry.fen << ' ' << entry.move;
}

// By two kings that lose a move each: the positions of a shuffle repeat after four plies.
TEST(gameRules, aCycleOfSixPliesRepeats)
{
    const auto board = std::make_unique<posWithMoves>();
    ASSERT_EQ(setupPlayablePosition("k7/8/8/8/8/8/7R/1K6 w - - 0 1", board->position), "");
    for (const gameEnd expected : {gameEnd::none, gameEnd::repetition})
    {
        for (const char *move : {"b1a1", "a8b8", "a1a2", "b8a7", "a2b1", "a7a8"})
            playGameMove(board->position, parseMoveText(move, board->position));
        EXPECT_EQ(endOfGame(*board, legalMoves(*board)), expected);
    }
}

} // namespace
} // namespace tarvonel
