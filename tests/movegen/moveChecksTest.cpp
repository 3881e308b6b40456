#include "movegen/moveChecks.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "board/setup.h"
#include "movegen/edgePositions.h"
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

std::vector<moveCode> listOf(const pos &position)
{
    std::vector<moveCode> moves(position.info[0].listStart, position.info[0].listEnd);
    for (moveCode &move : moves)
        move &= moveIdentityMask;
    return moves;
}

/// The list with each illegal move replaced by the last one left.
std::vector<moveCode> withoutIllegal(std::vector<moveCode> moves, const moveSet &legal)
{
    for (std::size_t index = 0; index < moves.size();)
    {
        if (legal.count(moves[index]) == 0)
        {
            moves[index] = moves.back();
            moves.pop_back();
        }
        else
        {
            ++index;
        }
    }
    return moves;
}

/// Legality of generated moves, and the list and the count that stand on it.
void checkLegality(pos &position, const letterBoard &board)
{
    const moveSet legal = legalCodes(board);
    moveCode *slot = position.info[0].listStart;
    position.info[0].inCheck = 7; // computed anew by the count
    EXPECT_EQ(countLegalMoves(0, slot, position), static_cast<int>(legal.size())) << bruteForce::writeFen(board, true);
    const bool isInCheck = bruteForce::isInCheck(board, board.whiteToMove);
    EXPECT_EQ(position.info[0].inCheck, isInCheck ? 1 : 0);

    const std::vector<moveCode> generated = listOf(position);
    for (const moveCode move : generated)
    {
        const bool isLegal = legal.count(move) != 0;
        if (isInCheck)
        {
            EXPECT_TRUE(isLegal);
            continue;
        }
        EXPECT_EQ(isMoveLegal(position, 0, move), isLegal) << bruteForce::writeFen(board, true) << ' ' << move;
        EXPECT_EQ(isMoveLegalUnaided(position, 0, move), isLegal) << bruteForce::writeFen(board, true) << ' ' << move;
    }

    buildLegalList(0, slot, position);
    EXPECT_EQ(listOf(position), withoutIllegal(generated, legal)) << bruteForce::writeFen(board, true);
    EXPECT_EQ(position.info[1].listStart, position.info[0].listEnd);
}

/// Whether some position has this as a legal move of the man: what can come out of the
/// transposition table or a killer slot.
bool isMoveOfMan(int piece, int from, int to, int flag)
{
    const colour side = colourOf(piece);
    const int files = std::abs(fileOf(to) - fileOf(from));
    const int ranks = relativeRank(side, to) - relativeRank(side, from);
    const bool stepsOn = ranks == 1 && files <= 1;
    switch (typeOf(piece))
    {
    case pawn:
        switch (flag)
        {
        case plainMove:
            return stepsOn && relativeRank(side, to) != rank8 && relativeRank(side, from) != rank1;
        case doubleStep:
            return relativeRank(side, from) == rank2 && ranks == 2 && files == 0;
        case enPassantCapture:
            return relativeRank(side, from) == rank5 && ranks == 0 && files == 1;
        default:
            return flag >= promoteKnight && flag <= promoteQueen && flag % 2 == 0 && stepsOn &&
                   relativeRank(side, to) == rank8;
        }
    case knight:
        return flag == plainMove && files * std::abs(ranks) == 2;
    case king:
        return isCastling(encodeMove(from, to, flag))
                   ? relativeRank(side, from) == rank1 && to == castlingTarget(flag - castleKingSide, side)
                   : flag == plainMove && from != to && files <= 1 && std::abs(ranks) <= 1;
    default:
        return flag == plainMove && (typeOf(piece) != bishop || files == std::abs(ranks)) &&
               (typeOf(piece) != rook || files * ranks == 0) && (files == std::abs(ranks) || files * ranks == 0) &&
               from != to;
    }
}

/// Every move of every man on the board, own or not, against the legal ones.
void checkValidity(pos &position, const letterBoard &board)
{
    const moveSet legal = legalCodes(board);
    moveSet accepted;
    moveSet expected;
    for (int from = 0; from < squareCount; ++from)
    {
        const int piece = position.board[from];
        for (int to = 0; piece != emptySquare && to < squareCount; ++to)
        {
            for (int flag = plainMove; flag <= castleQueenSide; ++flag)
            {
                const moveCode move = encodeMove(from, to, flag);
                // A king that stands where castling takes it is refused as a man on the target.
                const bool isKingThere = flag >= castleKingSide && isKing(position.board[to]);
                if (legal.count(move) != 0 && !isKingThere)
                    expected.insert(move);
                if (isMoveOfMan(piece, from, to, flag) && isMoveValid(position, 0, withExtra(move, piece)) &&
                    leavesKingSafe(position, 0, move))
                    accepted.insert(move);
            }
        }
    }
    EXPECT_EQ(accepted, expected) << bruteForce::writeFen(board, true);
}

class moveChecksInBothVariants : public ::testing::TestWithParam<bool>
{
};

TEST_P(moveChecksInBothVariants, generatedMovesAreJudgedByTheRules)
{
    playRandomGames({.seed = 5, .games = 30, .plies = 180, .chess960 = GetParam()}, checkLegality);
}

TEST_P(moveChecksInBothVariants, foreignMovesAreJudgedByTheRules)
{
    int turn = 0;
    playRandomGames({.seed = 6, .games = 12, .plies = 150, .chess960 = GetParam()},
                    [&turn](pos &position, const letterBoard &board)
                    {
                        if (turn++ % 3 == 0)
                            checkValidity(position, board);
                    });
}

INSTANTIATE_TEST_SUITE_P(moveChecks, moveChecksInBothVariants, ::testing::Bool());

TEST(moveChecks, edgeCasesAreJudgedByTheRules)
{
    for (const edgePosition &edge : edgePositions)
    {
        SCOPED_TRACE(edge.what);
        const variantScope variant(edge.chess960);
        ownedPosition position(edge.fen);
        const letterBoard board = bruteForce::readFen(edge.fen);
        checkValidity(*position, board);
        checkLegality(*position, board);
    }
}

// The check of foreign moves has to cope with rights whose rook is gone or changed.
TEST(moveChecks, aRightWithoutItsRookCastlesNobody)
{
    ownedPosition position("r3k2n/8/8/8/8/8/8/B3K2R w KQkq - 0 1");
    checkValidity(*position, bruteForce::readFen("r3k2n/8/8/8/8/8/8/B3K2R w Kq - 0 1"));
}

TEST(moveChecks, aMoveOfAnotherManIsRefused)
{
    const char *const fen = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1";
    ownedPosition position(fen);
    const letterBoard board = bruteForce::readFen(fen);
    EXPECT_FALSE(isMoveValid(*position, 0, noMove));
    for (const moveCode move : legalCodes(board))
        for (int piece = 0; piece < pieceCodeCount; ++piece)
            EXPECT_EQ(isMoveValid(*position, 0, withExtra(move, piece)), piece == position->board[moveFrom(move)]);
    // Promotion, double step and en passant are for pawns alone.
    EXPECT_FALSE(isMoveValid(*position, 0, encodeMove(c3, b1, promoteQueen, whiteKnight)));
    EXPECT_FALSE(isMoveValid(*position, 0, encodeMove(f3, f5, doubleStep, whiteQueen)));
    EXPECT_FALSE(isMoveValid(*position, 0, encodeMove(e1, d1, enPassantCapture, whiteKing)));
    ownedPosition rook("4k3/4R3/8/8/8/8/8/4K3 w - - 0 1");
    EXPECT_FALSE(isMoveValid(*rook, 0, encodeMove(e7, e8, plainMove, whiteRook))) << "takes the king";
}

} // namespace
} // namespace tarvonel
