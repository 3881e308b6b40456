#include "board/makeMove.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/moveCode.h"
#include "board/setup.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

using bruteForce::letterBoard;

template <typename T> bool sameBytes(const T &a, const T &b) { return bytesOf(a) == bytesOf(b); }

void expectSamePosition(const posHead &a, const posHead &b)
{
    EXPECT_TRUE(sameBytes(a.board, b.board) && sameBytes(a.bitboards, b.bitboards));
    EXPECT_TRUE(a.key == b.key && a.pawnKey == b.pawnKey);
    EXPECT_TRUE(sameBytes(a.material, b.material) && sameBytes(a.squareScore, b.squareScore) && a.phase == b.phase);
    EXPECT_EQ(a.sideToMove, b.sideToMove);
    EXPECT_EQ(a.keyCount, b.keyCount);
    EXPECT_EQ(a.fiftyCount, b.fiftyCount);
}

/// Making a move gives the same position as setting up the resulting FEN; unmaking restores everything.
void checkMove(pos &position, const letterBoard &board, const bruteForce::letterMove &letterMove)
{
    static ownedPosition fresh(startPositionFen);
    const moveCode move = bruteForce::codeOf(board, letterMove);
    const std::string fen = bruteForce::writeFen(bruteForce::play(board, letterMove));
    SCOPED_TRACE(fen);
    ASSERT_EQ(setupPosition(fen, *fresh), "");

    const posHead before = position;
    const std::string root = bytesOf(position.info[0]);
    position.accumulatorBlocks[1].computed = true;
    makeMove(position, 0, move);

    expectSamePosition(position, *fresh);
    EXPECT_EQ(position.keyHistory[position.keyCount - 1], position.key);
    EXPECT_EQ(position.info[1].castling, fresh->info[0].castling);
    EXPECT_EQ(position.info[1].enPassant, fresh->info[0].enPassant);
    EXPECT_FALSE(position.accumulatorBlocks[1].computed);
    EXPECT_EQ(movedPieceAfter(position, move), before.board[moveFrom(move)]);
    const bool takes = bruteForce::isCapture(board, letterMove);
    EXPECT_EQ(position.info[1].captured, takes ? before.board[moveTo(move)] : pieceCode{emptySquare});

    unmakeMove(position, 0, move);
    expectSamePosition(before, position);
    EXPECT_TRUE(bytesOf(position.info[0]) == root);

    makeBoardOnly(position, 0, move);
    EXPECT_TRUE(sameBytes(position.board, fresh->board) && sameBytes(position.bitboards, fresh->bitboards));
    unmakeBoardOnly(position, 0, move);
    expectSamePosition(before, position);
}

class makeMoveInBothVariants : public ::testing::TestWithParam<bool>
{
};

TEST_P(makeMoveInBothVariants, incrementalValuesEqualThoseOfAFreshSetup)
{
    playRandomGames({.seed = 77, .games = 16, .plies = 160, .chess960 = GetParam()},
                    [](pos &position, const letterBoard &board)
                    {
                        // All special moves, some of the others.
                        std::size_t index = 0;
                        for (const bruteForce::letterMove &move : bruteForce::legalMoves(board))
                            if (moveFlagOf(bruteForce::codeOf(board, move)) != plainMove || index++ % 5 == 0)
                                checkMove(position, board, move);
                    });
}

INSTANTIATE_TEST_SUITE_P(makeMove, makeMoveInBothVariants, ::testing::Bool());

struct specialMove
{
    const char *what, *fen;
    bool chess960;
    const char *move, *changes; ///< each changed piece: letter, from, to
};

const specialMove specialMoves[] = {
    {"castling", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 4 9", false, "e1g1", "Ke1g1 Rh1f1 "},
    {"king and rook change places", "4k3/8/8/8/8/8/8/5KR1 w G - 4 9", true, "f1g1", "Kf1g1 Rg1f1 "},
    {"king stays", "4k3/8/8/8/8/8/8/6KR w H - 4 9", true, "g1h1", "Kg1g1 Rh1f1 "},
    {"rook stays", "4k3/8/8/8/8/8/8/3RK3 w D - 4 9", true, "e1d1", "Ke1c1 Rd1d1 "},
    {"rook over the king", "4k3/8/8/8/8/8/8/RK6 w A - 4 9", true, "b1a1", "Kb1c1 Ra1d1 "},
    {"rook on the king's target", "4k3/8/8/8/8/8/8/2RK4 w C - 4 9", true, "d1c1", "Kd1c1 Rc1d1 "},
    {"promotion takes a castling rook", "r3k3/1P6/8/8/8/8/8/4K3 w q - 4 9", false, "b7a8n", "Pb7-- N--a8 ra8-- "},
    {"rook comes home without its right", "4k3/8/8/8/8/8/R7/4K2R w K - 4 9", false, "a2a1", "Ra2a1 "},
    {"rook takes rook, both lose a right", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 4 9", false, "h1h8", "Rh1h8 rh8-- "},
    {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 4 9", false, "e5d6", "Pe5d6 pd5-- "},
};

TEST(makeMove, specialMovesChangeWhatTheyShould)
{
    const auto textOf = [](int square) { return square == noSquare ? "--" : squareText(square); };
    for (const specialMove &special : specialMoves)
    {
        SCOPED_TRACE(special.what);
        const variantScope variant(special.chess960);
        ownedPosition position(special.fen);
        const letterBoard board = bruteForce::readFen(special.fen);
        const moveCode move = parseMoveText(special.move, *position);
        for (const bruteForce::letterMove &legal : bruteForce::legalMoves(board))
            if (bruteForce::codeOf(board, legal) == move)
                checkMove(*position, board, legal);
        makeMove(*position, 0, move);
        const pieceChange &changes = position->pieceChanges[1];
        std::string text;
        for (int entry = 0; entry < changes.count; ++entry)
            text += pieceLetters[changes.piece[entry]] + textOf(changes.from[entry]) + textOf(changes.to[entry]) + ' ';
        EXPECT_EQ(text, special.changes);
    }
}

TEST(makeMove, nullMovePassesTheTurnAlone)
{
    ownedPosition position("r3k2r/8/8/3pP3/8/8/8/R3K2R w KQkq d6 4 9");
    ownedPosition passed("r3k2r/8/8/3pP3/8/8/8/R3K2R b KQkq - 4 9");
    const posHead before = *position;
    position->info[0].playedMove = encodeMove(a1, b1);
    for (const bool computed : {true, false})
    {
        position->accumulatorBlocks[0].computed = computed;
        position->accumulatorBlocks[0].accumulator[black][accumulatorLanes - 1] = 4711;
        position->pieceChanges[1].count = 2;
        const std::uint64_t savedKey = makeNullMove(*position, 0);
        EXPECT_EQ(position->key, passed->key);
        EXPECT_EQ(position->info[0].playedMove, noMove);
        EXPECT_EQ(position->info[1].castling, passed->info[0].castling);
        EXPECT_EQ(position->pieceChanges[1].count, 0);
        EXPECT_EQ(position->keyCount, before.keyCount) << "no key is recorded";
        EXPECT_EQ(position->fiftyCount, before.fiftyCount);
        EXPECT_EQ(position->accumulatorBlocks[1].computed, computed);
        EXPECT_EQ(position->accumulatorBlocks[1].accumulator[black][accumulatorLanes - 1], 4711);
        unmakeNullMove(*position, savedKey);
        expectSamePosition(before, *position);
    }
}

TEST(playGameMove, aGameOfAnyLengthKeepsItsLatestKeys)
{
    ownedPosition position(startPositionFen);
    const char *const shuffle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    std::vector<std::uint64_t> played;
    for (int ply = 0; ply < 5000; ++ply)
    {
        playGameMove(*position, parseMoveText(shuffle[ply % 4], *position));
        played.push_back(position->key);
        ASSERT_LE(position->keyCount + plyCount, keyHistorySize);
        const auto kept = std::min<std::ptrdiff_t>(ply + 1, std::min<int>(position->keyCount, 200));
        ASSERT_TRUE(std::equal(played.end() - kept, played.end(), position->keyHistory + position->keyCount - kept));
    }
}

// Well-formed move text that is impossible in a game.
TEST(playGameMove, impossibleMovesLeaveBoardAndSumsInStep)
{
    const char *const bareKings = "4k3/8/8/8/8/8/8/4K3 w - - 0 1";
    const struct
    {
        const char *fen, *move;
        bool playable;
    } impossibles[] = {{startPositionFen, "e1g1", true}, // own pieces in the way
                       {bareKings, "e1e8", false},
                       {"4k3/P7/8/8/8/8/8/4K3 w - - 0 1", "a7a8", false},
                       {"7k/8/8/8/8/8/p7/7K b - - 0 1", "a2a1", false},
                       {"4k3/8/8/4P3/8/8/8/4K3 w - - 0 1", "e5d6", true}, // en passant of nothing
                       {startPositionFen, "a1a2", true},
                       {startPositionFen, "b1c3q", false}, // a seventeenth piece
                       {"4k3/8/8/8/8/8/4P3/4K3 w - - 0 1", "e2e8", false}};
    for (const auto &[fen, text, playable] : impossibles)
    {
        ownedPosition position(fen);
        const moveCode move = parseMoveText(text, *position);
        ASSERT_NE(move, noMove) << text;
        playGameMove(*position, move);
        EXPECT_TRUE(isBoardConsistent(*position)) << text;
        EXPECT_EQ(isPlayable(*position), playable) << text;
        const positionSums sums = computeSums(*position);
        EXPECT_TRUE(sums.phase == position->phase && sameBytes(sums.material, position->material)) << text;
    }
}

} // namespace
} // namespace tarvonel
