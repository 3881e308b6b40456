#include "board/moveCode.h"

#include <gtest/gtest.h>

#include "board/setup.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

class moveTextInBothVariants : public ::testing::TestWithParam<bool>
{
};

TEST_P(moveTextInBothVariants, whatIsWrittenReadsBackAsTheSameMove)
{
    playRandomGames({.seed = 3, .games = 20, .plies = 160, .chess960 = GetParam()},
                    [](pos &position, const bruteForce::letterBoard &board)
                    {
                        for (const bruteForce::letterMove &move : bruteForce::legalMoves(board))
                        {
                            const moveCode code = bruteForce::codeOf(board, move);
                            const std::string text = moveText(code, position.sideToMove, position);
                            EXPECT_EQ(parseMoveText(text, position), code) << text;
                            if (move.castlingWing == bruteForce::nowhere || engineOptions.chess960)
                            {
                                std::string expected = squareText(move.from) + squareText(move.to);
                                if (move.promotion != 0)
                                    expected += move.promotion;
                                EXPECT_EQ(text, expected);
                            }
                        }
                    });
}

INSTANTIATE_TEST_SUITE_P(moveText, moveTextInBothVariants, ::testing::Bool());

struct textCase
{
    const char *what, *fen;
    bool chess960;
    const char *text;
    moveCode move;
};

const char *const bothRooks = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1";
const char *const bothRooksBlack = "r3k2r/8/8/8/8/8/8/R3K2R b KQkq - 0 1";
const char *const pawns = "1n2k3/P7/8/3pP3/8/8/7P/4K3 w - d6 0 1";

const textCase textCases[] = {
    {"castling", bothRooks, false, "e1g1", encodeMove(e1, g1, castleKingSide)},
    {"black castles", bothRooksBlack, false, "e8c8", encodeMove(e8, c8, castleQueenSide)},
    {"a king off e1 moves", "4k3/8/8/8/8/8/8/3K3R w - - 0 1", false, "d1f1", encodeMove(d1, f1)},
    {"a rook on e1 moves", "4k3/8/8/8/8/8/8/4R1K1 w - - 0 1", false, "e1c1", encodeMove(e1, c1)},
    {"king takes rook", bothRooks, true, "e1h1", encodeMove(e1, g1, castleKingSide)},
    {"king takes rook, queen's side", bothRooksBlack, true, "e8a8", encodeMove(e8, c8, castleQueenSide)},
    {"rook next to the king", "4k3/8/8/8/8/8/8/5KR1 w G - 0 1", true, "f1g1", encodeMove(f1, g1, castleKingSide)},
    {"king takes a rook without a right", "4k3/8/8/8/8/8/8/R3K1RR w GA - 0 1", true, "e1h1", noMove},
    {"no rook to castle with", "4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", false, "e1g1", noMove},
    {"double step", pawns, false, "h2h4", encodeMove(h2, h4, doubleStep)},
    {"en passant", pawns, false, "e5d6", encodeMove(e5, d5, enPassantCapture)},
    {"promotion", pawns, false, "a7a8n", encodeMove(a7, a8, promoteKnight)},
    {"promotion by capture", pawns, false, "a7b8q", encodeMove(a7, b8, promoteQueen)},
    {"upper case", pawns, false, "a7a8Q", noMove},
    {"promotion to a pawn", pawns, false, "a7a8p", noMove},
    {"too short", pawns, false, "h2h", noMove},
    {"off the board", pawns, false, "h2h9", noMove},
    {"empty from square", pawns, false, "c3c4", noMove},
};

TEST(moveText, readsWhatControllersSend)
{
    for (const textCase &entry : textCases)
    {
        const variantScope variant(entry.chess960);
        ownedPosition position(entry.fen);
        EXPECT_EQ(parseMoveText(entry.text, *position), entry.move) << entry.what;
    }
}

TEST(moveText, castlingIsWrittenByVariantAndNoMoveAsA1)
{
    ownedPosition position(bothRooks);
    const moveCode move = encodeMove(e1, c1, castleQueenSide);
    EXPECT_EQ(moveText(move, white, *position), "e1c1");
    EXPECT_EQ(moveText(noMove, white, *position), "a1a1");
    const variantScope variant(true);
    EXPECT_EQ(moveText(move, white, *position), "e1a1");
}

} // namespace
} // namespace tarvonel
